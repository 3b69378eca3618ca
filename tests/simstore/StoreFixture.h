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
