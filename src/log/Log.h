// The library's log: one rolling file, two priorities, two line shapes.
//
//   short line:   KLOG_INFO << "Client_Connect id:" << id;
//                 writes " Client_Connect id:5"
//   located line: KLOG_ERROR_AT("VideoManage::Connect", ".\\VideoManage", 150) << "text";
//                 writes "VideoManage::Connect(): .\VideoManage:150 text"
//
// The line is written when the statement ends. The function name, source path
// and line number of a located line are the ones operators grep for; they are
// given at the call site, never taken from the compiler.
#pragma once

#include <charconv>
#include <cstdint>
#include <string>

namespace kerrow::log {

enum Priority { kError = 300, kInfo = 600 };

// Process-wide names, set by the load hook.
void SetNames(const char* categoryName, const char* filePath);

// Writes one message at the priority, configuring the log on first use.
void Write(Priority priority, const std::string& message);

// The pieces of one line, appended as a default-formatted output stream
// would print them (a null text, like a stream's bad state, ends the line's
// text there), without the stream's construction on every line.
class Line {
  public:
    explicit Line(Priority priority) : priority_(priority) { text_.reserve(kReserve); }
    ~Line() { Write(priority_, text_); }
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    Line& operator<<(const char* text) {
        if (text == nullptr) {
            bad_ = true;
        } else if (!bad_) {
            text_ += text;
        }
        return *this;
    }
    Line& operator<<(const std::string& text) {
        if (!bad_) text_ += text;
        return *this;
    }
    // Numbers are printed as numbers, never as characters.
    Line& operator<<(int8_t v) { return Number(static_cast<long long>(v)); }
    Line& operator<<(uint8_t v) { return Number(static_cast<unsigned long long>(v)); }
    Line& operator<<(int16_t v) { return Number(static_cast<long long>(v)); }
    Line& operator<<(uint16_t v) { return Number(static_cast<unsigned long long>(v)); }
    Line& operator<<(int v) { return Number(static_cast<long long>(v)); }
    Line& operator<<(unsigned v) { return Number(static_cast<unsigned long long>(v)); }
    Line& operator<<(long v) { return Number(static_cast<long long>(v)); }
    Line& operator<<(unsigned long v) { return Number(static_cast<unsigned long long>(v)); }
    Line& operator<<(long long v) { return Number(v); }
    Line& operator<<(unsigned long long v) { return Number(v); }

  private:
    static constexpr size_t kReserve = 256;

    template <typename T>
    Line& Number(T v) {
        if (bad_) return *this;
        char digits[24];
        const std::to_chars_result end = std::to_chars(digits, digits + sizeof(digits), v);
        text_.append(digits, end.ptr);
        return *this;
    }
    Priority priority_;
    bool bad_ = false;
    std::string text_;
};

// The log file's path as the library names it.
std::string FilePath();

// At unload: shuts log4cpp down and frees the log's state. No line may be
// written after it.
void Shutdown();

}  // namespace kerrow::log

#define KLOG_INFO ::kerrow::log::Line(::kerrow::log::kInfo) << " "
#define KLOG_ERROR ::kerrow::log::Line(::kerrow::log::kError) << " "
#define KLOG_AT(priority, function, file, line) \
    ::kerrow::log::Line(priority) << function << "(): " << file << ":" << (line) << " "
#define KLOG_INFO_AT(function, file, line) KLOG_AT(::kerrow::log::kInfo, function, file, line)
#define KLOG_ERROR_AT(function, file, line) KLOG_AT(::kerrow::log::kError, function, file, line)
