// A seeded simulator of its own for each test, in the test's working
// directory, and the helpers that the C++ layer and kerrowctl tests share.
#pragma once

#include <dirent.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

#include "kerrow-sim/Simulator.h"
#include "kerrow/kerrow.hpp"

namespace kerrow::test {

class SimTest : public ::testing::Test {
  protected:
    void SetUp() override {
        static int count = 0;
        char cwd[PATH_MAX];
        ASSERT_NE(nullptr, getcwd(cwd, sizeof cwd));
        dir_ = std::string(cwd) + "/case" + std::to_string(++count);
        sim::Options options;
        options.dataDir = dir_ + "/data";
        options.seed = true;
        sim_ = std::make_unique<sim::Simulator>(options);
        std::string error;
        ASSERT_TRUE(sim_->Start(&error)) << error;
    }
    void TearDown() override { sim_->Stop(); }

    void Faults(const std::string& rules) {
        std::string error;
        ASSERT_TRUE(sim_->SetFaults(rules, &error)) << error;
    }
    ConnectionSettings Settings(const std::string& camera = "cam-1") const {
        ConnectionSettings s;
        s.port = sim_->Port();
        s.cameraId = camera;
        return s;
    }
    std::string Path(const std::string& name) const { return dir_ + "/" + name; }

    std::string dir_;
    std::unique_ptr<sim::Simulator> sim_;
};

// Whether this process holds a descriptor open on the file.
inline bool FileIsOpen(const std::string& path) {
    char real[PATH_MAX];
    if (realpath(path.c_str(), real) == nullptr) return false;
    DIR* fds = opendir("/proc/self/fd");
    bool open = false;
    while (dirent* e = readdir(fds)) {
        char target[PATH_MAX] = {};
        const std::string link = std::string("/proc/self/fd/") + e->d_name;
        if (readlink(link.c_str(), target, sizeof target - 1) > 0 && std::string(target) == real) {
            open = true;
        }
    }
    closedir(fds);
    return open;
}

// Counts bytes from a worker thread; tests await a count instead of sleeping.
class ByteCounter {
  public:
    void Add(size_t n) {
        std::lock_guard<std::mutex> lock(mutex_);
        bytes_ += n;
        changed_.notify_all();
    }
    size_t Bytes() {
        std::lock_guard<std::mutex> lock(mutex_);
        return bytes_;
    }
    bool AwaitMoreThan(size_t n, std::chrono::milliseconds timeout = std::chrono::seconds(5)) {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, timeout, [&] { return bytes_ > n; });
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    size_t bytes_ = 0;
};

}  // namespace kerrow::test
