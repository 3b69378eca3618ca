// The file catalogue: what a listing matches, ids and names, permissions
// and deletion, uploads.
#include <fstream>
#include <set>

#include "StoreFixture.h"

namespace kerrow::sim::test {
namespace {

class SimCatalogueTest : public SimStoreTest {
  protected:
    // Four files: alarm on a [T0, T0+10], manual on b [T0+100, T0+105],
    // uploads [T0+200, T0+230] labelled a and labelled by no camera.
    void SetUp() override {
        SimStoreTest::SetUp();
        ASSERT_EQ(store_->AddCamera(Camera("a"), now_), kStoreOk);
        ASSERT_EQ(store_->AddCamera(Camera("b"), now_), kStoreOk);
        AlarmRequest alarm;
        alarm.camera = Camera("a");
        alarm.alarmType = "motion";
        alarm.alarmDatetime = At(0);
        alarm.maxRecordTime = 10;
        ASSERT_EQ(store_->RaiseAlarm(alarm, now_, nullptr), kStoreOk);
        ASSERT_EQ(store_->Tick(now_ + 10), 1);
        AddPolicyRequest manual;
        manual.cameraGuid = "b";
        manual.recordType = kRecordManual;
        manual.maxRecordTime = 60;
        ASSERT_EQ(store_->StartManualRecording(manual, now_ + 100, nullptr), kStoreOk);
        ASSERT_EQ(store_->StopManualRecording(CameraSelector{"b"}, now_ + 105), kStoreOk);
        Upload("a", "clip bytes of a");
        Upload("no such camera", "other bytes");
    }
    std::string At(int64_t offset) { return FormatWallTime(now_ + offset); }
    void Upload(const std::string& label, const std::string& bytes) {
        const std::string path = store_->NewUploadPath();
        std::ofstream(path, std::ios::binary) << bytes;
        UploadRequest request;
        request.Label = label;
        request.StartTime = At(200);
        request.EndTime = At(230);
        FileEntry entry;
        ASSERT_EQ(store_->AddUploadedFile(request, path, now_, &entry), kStoreOk);
        EXPECT_EQ(entry.fileSize, bytes.size());
        EXPECT_EQ(FileBytes(path), -1) << "the upload was copied, not moved";
    }
    // "camera/type" of each listed file, in order.
    std::vector<std::string> List(const FileQuery& query) {
        std::vector<FileEntry> files;
        EXPECT_EQ(store_->ListFiles(query, &files), kStoreOk);
        std::vector<std::string> out;
        for (const FileEntry& f : files) {
            out.push_back(f.cameraGuid + "/" + std::to_string(f.recordType));
        }
        return out;
    }
};

TEST_F(SimCatalogueTest, ListingMatchesCameraRecordTypeAndOverlappingSpan) {
    using V = std::vector<std::string>;
    struct Case {
        std::string camera;
        int16_t type;
        int64_t start, end;  // offsets; kOpen: the all-zero text
        V expected;
    };
    const int64_t kOpen = -99999;
    const Case cases[] = {
        {"", 0, kOpen, kOpen, V{"a/2", "b/3", "a/4", "upload/4"}},
        {"a", 0, kOpen, kOpen, V{"a/2", "a/4"}},
        {"a", 2, kOpen, kOpen, V{"a/2"}},
        {"", 3, kOpen, kOpen, V{"b/3"}},
        {"", 4, kOpen, kOpen, V{"a/4", "upload/4"}},
        {"", -1, kOpen, kOpen, V{"a/2", "b/3", "a/4", "upload/4"}},
        {"", 0, 5, 5, V{"a/2"}},               // inside a file
        {"", 0, 10, 100, V{"a/2", "b/3"}},     // bounds touch both ends
        {"", 0, 11, 99, V{}},                  // between files
        {"", 0, kOpen, 150, V{"a/2", "b/3"}},  // open start
        {"", 0, 104, kOpen, V{"b/3", "a/4", "upload/4"}},
        {"b", 2, kOpen, kOpen, V{}},
        {"nobody", 0, kOpen, kOpen, V{}},
    };
    for (const Case& c : cases) {
        FileQuery q;
        q.cameraGuid = c.camera;
        q.recordType = c.type;
        q.startTime = c.start == kOpen ? "0000-00-00 00:00:00" : At(c.start);
        q.endTime = c.end == kOpen ? "" : At(c.end);
        EXPECT_EQ(List(q), c.expected)
            << c.camera << " type " << c.type << " " << q.startTime << " .. " << q.endTime;
    }
}

TEST_F(SimCatalogueTest, EntriesCarryTheirRecordingAndUniqueNames) {
    std::vector<StoredFile> files;
    ASSERT_EQ(store_->FilesForSpan(FileQuery{}, &files), kStoreOk);
    ASSERT_EQ(files.size(), 4u);
    const FileEntry& alarm = files[0].entry;
    EXPECT_EQ(alarm.alarmType, "motion");
    EXPECT_EQ(alarm.alarmDatetime, At(0));
    EXPECT_EQ(alarm.startTime, At(0));
    EXPECT_EQ(alarm.endTime, At(10));
    EXPECT_EQ(files[1].entry.startTime, At(100));
    EXPECT_EQ(files[1].entry.endTime, At(105)) << "a stopped recording ends when stopped";
    std::set<uint32_t> ids;
    for (const StoredFile& f : files) {
        ids.insert(f.entry.fileId);
        EXPECT_EQ(FileBytes(f.path), f.entry.fileSize);
        EXPECT_EQ(store_->FilePath(f.entry.fileId), f.path);
        const std::string name = StoredFileName(f.entry.recordType, f.entry.fileId);
        EXPECT_EQ(name.size(), 12u);
        EXPECT_EQ(name[0] - '0', f.entry.recordType);
        EXPECT_EQ(std::stoul(name.substr(1)), f.entry.fileId);
    }
    EXPECT_EQ(ids.size(), 4u);
    EXPECT_EQ(StoredFileName(1, 4711), "100000004711");
    EXPECT_EQ(StoredFileName(2, kMaxFileId), "202147483647");
}

TEST_F(SimCatalogueTest, ProtectedFilesAreNotDeleted) {
    std::vector<StoredFile> files;
    ASSERT_EQ(store_->FilesForSpan(FileQuery{"a", 2, "", "", ""}, &files), kStoreOk);
    ASSERT_EQ(files.size(), 1u);
    const uint32_t id = files[0].entry.fileId;
    const std::string path = files[0].path;
    auto record = [&](int16_t type, uint16_t permission, uint32_t fileId) {
        FileRecord r;
        r.fileId = fileId;
        r.recordType = type;
        r.filePermission = permission;
        return r;
    };
    struct Step {
        bool erase;  // delete, else set the permission
        FileRecord file;
        StoreResult expected;
        bool bytesRemain;
    };
    const Step steps[] = {
        {false, record(2, 1, id), kStoreOk, true},
        {true, record(2, 0, id), kProtectedFile, true},
        {false, record(2, 2, id), kBadRequest, true},
        {false, record(3, 0, id), kUnknownFile, true},  // wrong record type
        {true, record(2, 0, id), kProtectedFile, true},
        {false, record(2, 0, id), kStoreOk, true},
        {true, record(1, 0, id), kUnknownFile, true},
        {true, record(2, 0, id), kStoreOk, false},
        {true, record(2, 0, id), kUnknownFile, false},
        {false, record(2, 1, id), kUnknownFile, false},
    };
    int n = 0;
    for (const Step& s : steps) {
        SCOPED_TRACE("step " + std::to_string(n++));
        EXPECT_EQ(s.erase ? store_->DeleteFile(s.file) : store_->SetFilePermission(s.file),
                  s.expected);
        EXPECT_EQ(FileBytes(path) >= 0, s.bytesRemain);
    }
    EXPECT_EQ(List(FileQuery{}), (std::vector<std::string>{"b/3", "a/4", "upload/4"}));
    // Ids are never given again, also after a restart.
    Reopen();
    Upload("b", "x");
    std::vector<FileEntry> all;
    ASSERT_EQ(store_->ListFiles(FileQuery{"b", 4, "", "", ""}, &all), kStoreOk);
    ASSERT_EQ(all.size(), 1u);
    EXPECT_GT(all[0].fileId, id + 3);
}

}  // namespace
}  // namespace kerrow::sim::test
