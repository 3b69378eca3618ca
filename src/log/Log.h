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

#include <cstdint>
#include <sstream>
#include <string>

namespace kerrow::log {

enum Priority { kError = 300, kInfo = 600 };

// Process-wide names, set by the load hook.
void SetNames(const char* categoryName, const char* filePath);

// Writes one message at the priority, configuring the log on first use.
void Write(Priority priority, const std::string& message);

class Line {
  public:
    explicit Line(Priority priority) : priority_(priority) {}
    ~Line() { Write(priority_, stream_.str()); }
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    Line& operator<<(const char* text) {
        stream_ << text;
        return *this;
    }
    Line& operator<<(const std::string& text) {
        stream_ << text;
        return *this;
    }
    // Numbers are printed as numbers, never as characters.
    Line& operator<<(int8_t v) { return Signed(v); }
    Line& operator<<(uint8_t v) { return Unsigned(v); }
    Line& operator<<(int16_t v) { return Signed(v); }
    Line& operator<<(uint16_t v) { return Unsigned(v); }
    Line& operator<<(int v) { return Signed(v); }
    Line& operator<<(unsigned v) { return Unsigned(v); }
    Line& operator<<(long v) { return Signed(v); }
    Line& operator<<(unsigned long v) { return Unsigned(v); }
    Line& operator<<(long long v) { return Signed(v); }
    Line& operator<<(unsigned long long v) { return Unsigned(v); }

  private:
    Line& Signed(long long v) {
        stream_ << v;
        return *this;
    }
    Line& Unsigned(unsigned long long v) {
        stream_ << v;
        return *this;
    }
    Priority priority_;
    std::ostringstream stream_;
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
