// Many connections' threads using one store at once.
#include <atomic>
#include <fstream>
#include <map>
#include <set>
#include <thread>

#include "StoreFixture.h"

namespace kerrow::sim::test {
namespace {

TEST_F(SimStoreTest, ManyThreadsAtOnceLoseAndMixNothing) {
    constexpr int kThreads = 32;
    constexpr int kAlarms = 4;
    std::atomic<bool> done{false};
    std::atomic<int> failures{0};
    auto expect = [&](bool ok) {
        if (!ok) ++failures;
    };
    std::vector<uint32_t> policyIds(kThreads);
    // A ticker finishes whatever is due while the threads work; each alarm
    // still makes exactly one file, by the tick or by the stop.
    std::thread ticker([&] {
        while (!done.load()) {
            store_->Tick(now_ + 100000);
            std::vector<FileEntry> all;
            expect(store_->ListFiles(FileQuery{}, &all) == kStoreOk);
        }
    });
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, i] {
            const std::string guid = "t" + std::to_string(i);
            expect(store_->AddCamera(Camera(guid), now_) == kStoreOk);
            AddPolicyRequest policy;
            policy.cameraGuid = guid;
            policy.recordType = 1;
            policy.tasks.resize(2);
            expect(store_->AddPolicy(policy, now_, &policyIds[i]) == kStoreOk);
            for (int k = 0; k < kAlarms; ++k) {
                AlarmRequest alarm;
                alarm.camera = Camera(guid);
                alarm.maxRecordTime = 1;
                const int64_t at = now_ + k * 10;
                expect(store_->RaiseAlarm(alarm, at, nullptr) == kStoreOk);
                expect(store_->StopAlarm(CameraSelector{guid}, at + 1) == kStoreOk);
                std::vector<TaskRecord> tasks;
                expect(store_->QueryTasks(TaskQuery{1, guid, -1, -1}, &tasks) == kStoreOk);
                expect(tasks.size() == size_t(3 + k));
            }
            const std::string path = store_->NewUploadPath();
            std::ofstream(path, std::ios::binary) << "upload of " << guid;
            UploadRequest upload;
            upload.Label = guid;
            expect(store_->AddUploadedFile(upload, path, now_, nullptr) == kStoreOk);
        });
    }
    for (std::thread& t : threads) t.join();
    done = true;
    ticker.join();
    EXPECT_EQ(failures.load(), 0);

    std::vector<StoredFile> files;
    ASSERT_EQ(store_->FilesForSpan(FileQuery{}, &files), kStoreOk);
    EXPECT_EQ(files.size(), size_t(kThreads * (kAlarms + 1)));
    std::set<uint32_t> ids;
    std::map<std::string, int> perCamera;
    for (const StoredFile& f : files) {
        ids.insert(f.entry.fileId);
        ++perCamera[f.entry.cameraGuid];
        EXPECT_EQ(FileBytes(f.path), f.entry.fileSize) << f.path;
    }
    EXPECT_EQ(ids.size(), files.size());
    EXPECT_EQ(perCamera.size(), size_t(kThreads));
    for (const auto& [camera, count] : perCamera) {
        EXPECT_EQ(count, kAlarms + 1) << camera;
    }
    EXPECT_EQ(std::set<uint32_t>(policyIds.begin(), policyIds.end()).size(), size_t(kThreads));
}

}  // namespace
}  // namespace kerrow::sim::test
