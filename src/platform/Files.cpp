// Files and directories on POSIX calls. File handles are descriptors.
#define _FILE_OFFSET_BITS 64

#include "platform/Files.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <climits>

namespace kerrow::platform {
namespace {

constexpr uint32_t kAttributeReadOnly = 1;
constexpr uint32_t kAttributeArchive = 32;

bool StatPath(const std::string& path, struct stat* info) {
    return stat(NativePath(path).c_str(), info) == 0;
}

// One call moves at most what the 32-bit result can report.
size_t Clamp(uint32_t length) { return std::min<uint32_t>(length, INT32_MAX); }

}  // namespace

std::string NativePath(const std::string& path) {
    std::string native = path;
    std::replace(native.begin(), native.end(), '\\', '/');
    return native;
}

int32_t FileSize32(const std::string& path) {
    struct stat info {};
    if (!StatPath(path, &info)) return -1;
    // A directory has no size of its own here; one too big for the 32-bit
    // size is an error, as in the run-time library.
    if (S_ISDIR(info.st_mode)) return 0;
    if (info.st_size > INT32_MAX) return -1;
    return static_cast<int32_t>(info.st_size);
}

int MakeDirectory(const std::string& path) {
    return mkdir(NativePath(path).c_str(), 0755) == 0 ? 0 : -1;
}

bool FindFirstAttribute(const std::string& path, uint32_t* attribute) {
    struct stat info {};
    if (!StatPath(path, &info)) return false;
    if (attribute != nullptr) {
        if (S_ISDIR(info.st_mode)) {
            *attribute = kAttributeDirectory;
        } else {
            *attribute = kAttributeArchive;
            if ((info.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0) {
                *attribute |= kAttributeReadOnly;
            }
        }
    }
    return true;
}

int32_t OpenFileForRead(const std::string& path) {
    const int fd = open(NativePath(path).c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return kInvalidFileHandle;
    struct stat info {};
    if (fstat(fd, &info) != 0 || S_ISDIR(info.st_mode)) {  // a directory is not a file
        close(fd);
        return kInvalidFileHandle;
    }
    return fd;
}

int32_t CreateFileForWrite(const std::string& path) {
    const int fd = open(NativePath(path).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    return fd < 0 ? kInvalidFileHandle : fd;
}

int32_t ReadFile(int32_t handle, void* buffer, uint32_t length) {
    if (handle < 0 || (buffer == nullptr && length > 0)) return -1;
    ssize_t n;
    do {
        n = read(handle, buffer, Clamp(length));
    } while (n < 0 && errno == EINTR);
    return n < 0 ? -1 : static_cast<int32_t>(n);
}

// A write to a file completes in full unless the file system fails.
int32_t WriteFile(int32_t handle, const void* buffer, uint32_t length) {
    if (buffer == nullptr && length > 0) return -1;
    const ByteSpan span = {buffer, static_cast<uint32_t>(Clamp(length))};
    return static_cast<int32_t>(WriteFileGather(handle, &span, 1));
}

int64_t WriteFileGather(int32_t handle, const ByteSpan* spans, size_t count) {
    if (handle < 0) return -1;
    constexpr size_t kMaxSpans = 64;  // well below IOV_MAX
    iovec vectors[kMaxSpans];
    int64_t total = 0;
    while (count > 0) {
        const size_t batch = std::min(count, kMaxSpans);
        size_t left = 0;
        for (size_t i = 0; i < batch; ++i) {
            vectors[i].iov_base = const_cast<void*>(spans[i].data);
            vectors[i].iov_len = spans[i].length;
            left += spans[i].length;
        }
        // A short write continues where it stopped.
        iovec* next = vectors;
        size_t remaining = batch;
        while (left > 0) {
            const ssize_t n = writev(handle, next, static_cast<int>(remaining));
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) return -1;
            total += n;
            left -= static_cast<size_t>(n);
            size_t done = static_cast<size_t>(n);
            while (remaining > 0 && done >= next->iov_len) {
                done -= next->iov_len;
                ++next;
                --remaining;
            }
            if (remaining > 0) {
                next->iov_base = static_cast<char*>(next->iov_base) + done;
                next->iov_len -= done;
            }
        }
        spans += batch;
        count -= batch;
    }
    return total;
}

void CloseFile(int32_t handle) {
    if (handle >= 0) close(handle);
}

int64_t OpenFileSize(int32_t handle) {
    if (handle < 0) return -1;
    const off_t end = lseek(handle, 0, SEEK_END);
    return end < 0 ? -1 : static_cast<int64_t>(end);
}

}  // namespace kerrow::platform
