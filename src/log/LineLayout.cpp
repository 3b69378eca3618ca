// One log line: "%d [%t] %p - %m%n" as log4cpp's PatternLayout prints it.
#include "log/LineLayout.h"

#include <time.h>

#include <cstring>
#include <ctime>
#include <log4cpp/Priority.hh>

namespace kerrow::log {
namespace {

// PatternLayout's "%d" is its ISO 8601 format "%Y-%m-%d %H:%M:%S,%l", where
// "%l" is the milliseconds in three digits, zero-padded.
constexpr char kSecondFormat[] = "%Y-%m-%d %H:%M:%S,";
constexpr size_t kFormattedMax = 100;  // PatternLayout's strftime buffer

void AppendMillis(int millis, std::string& out) {
    if (millis < 0 || millis > 999) {
        // Not reached with log4cpp's own timestamps; printed as the stream
        // would, at least three characters wide.
        std::string digits = std::to_string(millis);
        if (digits.size() < 3) digits.insert(0, 3 - digits.size(), '0');
        out += digits;
        return;
    }
    const char digits[3] = {static_cast<char>('0' + millis / 100),
                            static_cast<char>('0' + millis / 10 % 10),
                            static_cast<char>('0' + millis % 10)};
    out.append(digits, sizeof(digits));
}

}  // namespace

void LineLayout::AppendSecond(int seconds, std::string& out) {
    std::lock_guard<std::mutex> guard(cacheLock_);
    if (!cached_ || cachedSecond_ != seconds) {
        const std::time_t t = seconds;
        struct tm local;
        std::memset(&local, 0, sizeof(local));
        ::localtime_r(&t, &local);
        char formatted[kFormattedMax];
        const size_t size = std::strftime(formatted, sizeof(formatted), kSecondFormat, &local);
        cachedText_.assign(formatted, size);
        cachedSecond_ = seconds;
        cached_ = true;
    }
    out += cachedText_;
}

std::string LineLayout::format(const log4cpp::LoggingEvent& event) {
    const std::string& priority = log4cpp::Priority::getPriorityName(event.priority);
    std::string line;
    line.reserve(32 + event.threadName.size() + priority.size() + event.message.size());
    AppendSecond(event.timeStamp.getSeconds(), line);
    AppendMillis(event.timeStamp.getMilliSeconds(), line);
    line += " [";
    line += event.threadName;
    line += "] ";
    line += priority;
    line += " - ";
    line += event.message;
    line += '\n';
    return line;
}

}  // namespace kerrow::log
