// Alarms and manual recordings: recording tasks that become files when
// their time is up or when they are stopped; restarts keep every state.
#include <functional>

#include "StoreFixture.h"
#include "TestPattern.h"

namespace kerrow::sim::test {
namespace {

class SimRecordingTest : public SimStoreTest {
  protected:
    void SetUp() override {
        SimStoreTest::SetUp();
        ASSERT_EQ(store_->AddCamera(Camera("a"), now_), kStoreOk);
    }
    StoreResult Alarm(const std::string& camera, uint16_t seconds, int64_t at,
                      uint32_t* task = nullptr) {
        AlarmRequest alarm;
        alarm.camera = Camera(camera);
        alarm.alarmType = "motion";
        alarm.alarmDatetime = FormatWallTime(at);
        alarm.maxRecordTime = seconds;
        return store_->RaiseAlarm(alarm, at, task);
    }
    StoreResult Manual(const std::string& camera, uint16_t seconds, int64_t at) {
        AddPolicyRequest r;
        r.cameraGuid = camera;
        r.recordType = kRecordManual;
        r.maxRecordTime = seconds;
        return store_->StartManualRecording(r, at, nullptr);
    }
    TaskRecord Task(uint32_t id) {
        std::vector<TaskRecord> tasks;
        EXPECT_EQ(store_->QueryTasks(TaskQuery{0, "", -1, -1}, &tasks), kStoreOk);
        for (const TaskRecord& t : tasks) {
            if (t.taskId == id) return t;
        }
        ADD_FAILURE() << "no task " << id;
        return TaskRecord{};
    }
    std::vector<FileEntry> Files() {
        std::vector<FileEntry> files;
        EXPECT_EQ(store_->ListFiles(FileQuery{}, &files), kStoreOk);
        return files;
    }
};

TEST_F(SimRecordingTest, AnAlarmRecordsUntilItsTimeIsUpThenItsFileIsListed) {
    uint32_t id = 0;
    ASSERT_EQ(Alarm("a", 3, now_, &id), kStoreOk);
    TaskRecord running = Task(id);
    EXPECT_EQ(running.taskStatus, kTaskRecording);
    EXPECT_EQ(running.recordType, kRecordAlarm);
    EXPECT_EQ(running.alarmType, "motion");
    EXPECT_EQ(running.endDatetime, FormatWallTime(now_ + 3));
    EXPECT_EQ(running.fileName, "");
    EXPECT_EQ(store_->NextRecordingEnd(), now_ + 3);
    EXPECT_EQ(store_->Tick(now_ + 2), 0);
    uint32_t again = 0;
    ASSERT_EQ(Alarm("a", 3, now_ + 2, &again), kStoreOk);
    EXPECT_EQ(again, id) << "a new alarm extends the running recording";
    EXPECT_EQ(store_->Tick(now_ + 4), 0);
    EXPECT_TRUE(Files().empty());
    EXPECT_EQ(store_->Tick(now_ + 9), 1);
    EXPECT_EQ(store_->Tick(now_ + 9), 0);
    EXPECT_EQ(store_->NextRecordingEnd(), 0);

    const TaskRecord done = Task(id);
    EXPECT_EQ(done.taskStatus, kTaskFinished);
    EXPECT_EQ(done.endDatetime, FormatWallTime(now_ + 5)) << "ends when due, not when seen";
    const std::vector<FileEntry> files = Files();
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(done.fileName, StoredFileName(kRecordAlarm, files[0].fileId));
    EXPECT_EQ(done.fileSize, PatternBytes(5));
    EXPECT_EQ(files[0].fileSize, PatternBytes(5));
    EXPECT_EQ(files[0].startTime, FormatWallTime(now_));
    EXPECT_EQ(files[0].endTime, FormatWallTime(now_ + 5));
    EXPECT_EQ(files[0].alarmType, "motion");
    EXPECT_EQ(files[0].filePermission, kFileDeletable);
    EXPECT_EQ(FileBytes(store_->FilePath(files[0].fileId)), int64_t(PatternBytes(5)));

    // A stop that comes after the time was up (no tick in between) ends the
    // recording when it was due.
    ASSERT_EQ(Alarm("a", 2, now_ + 20), kStoreOk);
    ASSERT_EQ(store_->StopAlarm({"a"}, now_ + 30), kStoreOk);
    ASSERT_EQ(Files().size(), 2u);
    EXPECT_EQ(Files()[1].endTime, FormatWallTime(now_ + 22));
}

TEST_F(SimRecordingTest, StartsAndStopsOfEachKind) {
    struct Case {
        const char* what;
        std::function<StoreResult()> act;
        StoreResult result;
        int64_t plannedEnd;  // of the camera's newest recording task, 0: no task
        size_t files;
    };
    const int64_t t = now_;
    const Case cases[] = {
        {"alarm of 0 s", [&] { return Alarm("a", 0, t); }, kStoreOk, t + kDefaultRecordingSeconds,
         0},
        {"stop it at once", [&] { return store_->StopAlarm(CameraSelector{"a"}, t); }, kStoreOk,
         t + 1, 1},  // at least one second
        {"stop with nothing running", [&] { return store_->StopAlarm(CameraSelector{"a"}, t); },
         kStoreOk, t + 1, 1},
        {"manual of 60000 s", [&] { return Manual("a", 60000, t + 10); }, kStoreOk,
         t + 10 + kMaxRecordingSeconds, 1},
        {"alarm beside it", [&] { return Alarm("a", 5, t + 11); }, kStoreOk, t + 16, 1},
        {"stop the manual one", [&] { return store_->StopManualRecording({"a"}, t + 14); },
         kStoreOk, t + 16, 2},
        {"manual of an unknown camera", [&] { return Manual("x", 5, t); }, kUnknownCamera, t + 16,
         2},
        {"stop of an unknown camera", [&] { return store_->StopAlarm({"x"}, t); }, kUnknownCamera,
         t + 16, 2},
        {"stop manual of an unknown camera", [&] { return store_->StopManualRecording({"x"}, t); },
         kUnknownCamera, t + 16, 2},
        {"alarm without camera", [&] { return Alarm("", 5, t); }, kBadRequest, t + 16, 2},
        {"delete the camera", [&] { return store_->DeleteCamera("a", t + 12); }, kStoreOk, 0, 3},
        {"delete it again", [&] { return store_->DeleteCamera("a", t + 12); }, kUnknownCamera, 0,
         3},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(c.act(), c.result);
        std::vector<TaskRecord> tasks;
        ASSERT_EQ(store_->QueryTasks(TaskQuery{1, "a", -1, -1}, &tasks), kStoreOk);
        EXPECT_EQ(tasks.empty() ? 0 : Wall(tasks.back().endDatetime.c_str()), c.plannedEnd);
        EXPECT_EQ(Files().size(), c.files);
    }
    // The manual recording ran from t+10 to t+14; the camera's deletion
    // ended the alarm at t+12 (a second after it began).
    const std::vector<FileEntry> files = Files();
    ASSERT_EQ(files.size(), 3u);
    EXPECT_EQ(files[1].recordType, kRecordManual);
    EXPECT_EQ(files[1].endTime, FormatWallTime(t + 14));
    EXPECT_EQ(files[2].recordType, kRecordAlarm);
    EXPECT_EQ(files[2].endTime, FormatWallTime(t + 12));
    EXPECT_TRUE(store_->Cameras().empty());
    // An alarm registers the camera it describes.
    ASSERT_EQ(Alarm("new", 5, t), kStoreOk);
    ASSERT_EQ(store_->Cameras().size(), 1u);
    EXPECT_EQ(store_->Cameras()[0].cameraName, "Name of new");
}

TEST_F(SimRecordingTest, ARestartFindsEverythingAsItWas) {
    AddPolicyRequest policy;
    policy.cameraGuid = "a";
    policy.recordType = 1;
    policy.cronType = 2;
    policy.tasks.resize(2);
    policy.tasks[0].startYearMonth = "202612";
    ASSERT_EQ(store_->AddPolicy(policy, now_, nullptr), kStoreOk);
    ASSERT_EQ(store_->Seed(now_), kStoreNotEmpty);
    ASSERT_EQ(Alarm("a", 5, now_), kStoreOk);
    ASSERT_EQ(store_->StopAlarm({"a"}, now_ + 2), kStoreOk);
    ASSERT_EQ(Manual("a", 20, now_ + 3), kStoreOk);
    FileRecord file;
    file.fileId = Files()[0].fileId;
    file.recordType = kRecordAlarm;
    file.filePermission = kFileProtected;
    ASSERT_EQ(store_->SetFilePermission(file), kStoreOk);
    std::vector<PolicyEntry> policies;
    std::vector<TaskRecord> tasks;
    ASSERT_EQ(store_->QueryPolicies(PolicyQuery{}, &policies), kStoreOk);
    ASSERT_EQ(store_->QueryTasks(TaskQuery{0, "", -1, -1}, &tasks), kStoreOk);
    const std::string before = Dump(policies) + Dump(tasks) + Dump(Files());
    const size_t cameras = store_->Cameras().size();
    std::string error;
    EXPECT_EQ(Store::Open(dir_, &error), nullptr) << "a second store on the same directory";
    EXPECT_NE(error, "");

    Reopen();
    policies.clear();
    tasks.clear();
    ASSERT_EQ(store_->QueryPolicies(PolicyQuery{}, &policies), kStoreOk);
    ASSERT_EQ(store_->QueryTasks(TaskQuery{0, "", -1, -1}, &tasks), kStoreOk);
    EXPECT_EQ(Dump(policies) + Dump(tasks) + Dump(Files()), before);
    EXPECT_EQ(store_->Cameras().size(), cameras);
    EXPECT_EQ(store_->DeleteFile(file), kProtectedFile);
    // The manual recording went on running across the restart.
    EXPECT_EQ(store_->NextRecordingEnd(), now_ + 23);
    EXPECT_EQ(store_->Tick(now_ + 60), 1);
    ASSERT_EQ(Files().size(), 2u);
    EXPECT_EQ(Files()[1].endTime, FormatWallTime(now_ + 23));
}

}  // namespace
}  // namespace kerrow::sim::test
