// What the store's tests share: a store in a fresh data directory of the
// test's working directory, and a fixed wall time.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <memory>
#include <string>

#include "Store.h"
#include "TimeText.h"

namespace kerrow::sim::test {

inline int64_t Wall(const char* text) {
    int64_t wall = 0;
    EXPECT_TRUE(ParseWallTime(text, &wall)) << text;
    return wall;
}

inline CameraRequest Camera(const std::string& guid) {
    CameraRequest c;
    c.guid = c.cameraId = guid;
    c.cameraName = "Name of " + guid;
    c.encoderPort = 8000;
    return c;
}

inline int64_t FileBytes(const std::string& path) {
    struct stat st {};
    return stat(path.c_str(), &st) == 0 ? static_cast<int64_t>(st.st_size) : -1;
}

class SimStoreTest : public ::testing::Test {
  protected:
    const int64_t now_ = Wall("2026-11-23 12:00:00");
    const std::string dir_ = "data";

    void SetUp() override { Reopen(); }
    void Reopen() {
        store_.reset();
        std::string error;
        store_ = Store::Open(dir_, &error);
        ASSERT_NE(store_, nullptr) << error;
    }
    std::unique_ptr<Store> store_;
};

}  // namespace kerrow::sim::test

namespace kerrow::sim::test {

// One line per item, every field, for comparing whole query results.
inline std::string Dump(const std::vector<PolicyEntry>& policies) {
    std::string s;
    for (const PolicyEntry& p : policies) {
        s += std::to_string(p.policyId) + " " + p.cameraGuid + " " + std::to_string(p.recordType) +
             " " + std::to_string(p.cronType) + " " + std::to_string(p.policyStatus) + " " +
             p.createTime + " " + p.updateTime + " " + std::to_string(p.taskCount) + "\n";
        for (const PolicyTaskItem& t : p.tasks) {
            s += "  " + std::to_string(t.taskId) + " " + t.startYearMonth + " " +
                 std::to_string(t.startDay) + " " + std::to_string(t.dayOfWeek) + " " +
                 t.startTime + " " + t.endYearMonth + " " + std::to_string(t.endDay) + " " +
                 t.endTime + " " + std::to_string(t.status) + "\n";
        }
    }
    return s;
}

inline std::string Dump(const std::vector<TaskRecord>& tasks) {
    std::string s;
    for (const TaskRecord& t : tasks) {
        s += std::to_string(t.taskId) + " " + t.cameraGuid + " " + t.alarmType + " " +
             t.alarmDatetime + " " + std::to_string(t.recordType) + " " +
             std::to_string(t.cronType) + " " + std::to_string(t.dayOfWeek) + " " +
             t.startDatetime + " " + t.endDatetime + " " + t.fileName + " " +
             std::to_string(t.fileSize) + " " + std::to_string(t.taskStatus) + "\n";
    }
    return s;
}

inline std::string Dump(const std::vector<FileEntry>& files) {
    std::string s;
    for (const FileEntry& f : files) {
        s += std::to_string(f.fileId) + " " + f.cameraGuid + " " + f.alarmType + " " +
             f.alarmDatetime + " " + std::to_string(f.recordType) + " " +
             std::to_string(f.fileSize) + " " + f.startTime + " " + f.endTime + " " +
             std::to_string(f.fileStatus) + " " + std::to_string(f.filePermission) + "\n";
    }
    return s;
}

}  // namespace kerrow::sim::test
