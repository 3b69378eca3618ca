// Shared pieces of the download and upload tests: the server's start reply,
// local files, a terminal-callback recorder and a bounded wait on a state.
#pragma once

#include <dirent.h>
#include <limits.h>
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <fstream>
#include <functional>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "client/ClientTesting.h"
#include "support/TransferReplies.h"

namespace kerrow::test {

constexpr uint32_t kTaskId = 77;

inline std::string ReadWhole(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

inline void WriteWhole(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

inline bool Exists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

// Whether this process holds the file open (one of its descriptors leads there).
inline bool HeldOpen(const std::string& path) {
    char wanted[PATH_MAX];
    if (realpath(path.c_str(), wanted) == nullptr) return false;
    DIR* dir = opendir("/proc/self/fd");
    if (dir == nullptr) return false;
    bool found = false;
    while (dirent* entry = readdir(dir)) {
        char target[PATH_MAX];
        const std::string link = std::string("/proc/self/fd/") + entry->d_name;
        const ssize_t n = readlink(link.c_str(), target, sizeof target - 1);
        if (n > 0 && std::string(target, static_cast<size_t>(n)) == wanted) found = true;
    }
    closedir(dir);
    return found;
}

// Records the terminal callbacks of one transfer.
struct TerminalCalls {
    struct Call {
        uint32_t connection;
        uint32_t handle;
        uint32_t finished;
    };
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<Call> calls;

    static void KERROW_CALL Record(uint32_t connection, uint32_t handle, uint32_t finished,
                                   void* user) {
        auto* self = static_cast<TerminalCalls*>(user);
        std::lock_guard<std::mutex> lock(self->mutex);
        self->calls.push_back({connection, handle, finished});
        self->changed.notify_all();
    }
    bool WaitFirst() {
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_for(lock, std::chrono::seconds(5), [this] { return !calls.empty(); });
    }
    std::vector<Call> Taken() {
        std::lock_guard<std::mutex> lock(mutex);
        return calls;
    }
};

}  // namespace kerrow::test
