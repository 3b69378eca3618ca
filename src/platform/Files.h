// Files and directories. Paths are given in the library's own form, with
// backslashes (".\\log\\PellamKerrowSDK.log"); they are turned into native
// paths here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace kerrow::platform {

// ".\\log\\x.log" -> "./log/x.log".
std::string NativePath(const std::string& path);

// _stat64i32: the size of a file, or -1 when it cannot be read.
int32_t FileSize32(const std::string& path);

// _mkdir: 0 on success, -1 otherwise (an existing directory is a failure).
int MakeDirectory(const std::string& path);

// _findfirst64i32 and the attribute of what it found: false when nothing is
// found; otherwise the Win32 attribute word (16 for a plain directory, 32 for
// a plain file, plus 1 for read-only and 2 for hidden).
constexpr uint32_t kAttributeDirectory = 16;
bool FindFirstAttribute(const std::string& path, uint32_t* attribute);

// CreateFileA / ReadFile / WriteFile / CloseHandle on a 32-bit handle word;
// -1 is the invalid handle.
constexpr int32_t kInvalidFileHandle = -1;
int32_t OpenFileForRead(const std::string& path);
int32_t CreateFileForWrite(const std::string& path);  // created or truncated
// Bytes read or written, or -1 on failure; a read of 0 is the end of the file.
int32_t ReadFile(int32_t handle, void* buffer, uint32_t length);
int32_t WriteFile(int32_t handle, const void* buffer, uint32_t length);
// Several blocks written one after another in a single call (a gather
// write): the bytes written, or -1 on failure.
struct ByteSpan {
    const void* data;
    uint32_t length;
};
int64_t WriteFileGather(int32_t handle, const ByteSpan* spans, size_t count);
void CloseFile(int32_t handle);
// The size of an open file (the offset of its end), or -1.
int64_t OpenFileSize(int32_t handle);

// One open file handle, closed by its owner's end at the latest.
class File {
  public:
    File() = default;
    explicit File(int32_t handle) : handle_(handle) {}
    ~File() { Close(); }
    File(File&& other) noexcept : handle_(other.handle_) { other.handle_ = kInvalidFileHandle; }
    File& operator=(File&& other) noexcept {
        if (this != &other) {
            Close();
            handle_ = other.handle_;
            other.handle_ = kInvalidFileHandle;
        }
        return *this;
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    int32_t Get() const { return handle_; }
    bool IsOpen() const { return handle_ != kInvalidFileHandle; }
    void Close() {
        if (handle_ != kInvalidFileHandle) CloseFile(handle_);
        handle_ = kInvalidFileHandle;
    }

  private:
    int32_t handle_ = kInvalidFileHandle;
};

}  // namespace kerrow::platform
