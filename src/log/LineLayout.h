// The layout of every line of the log file: what log4cpp's PatternLayout
// writes for "%d [%t] %p - %m%n", byte for byte, without its per-line costs.
//
//   2024-03-05 08:00:00,042 [140234567890] INFO -  Client_Connect id:5\n
//
// PatternLayout builds two string streams (and with them a locale), a
// strftime format and a broken-down local time for every line. Here the
// "YYYY-MM-DD HH:MM:SS," part is made once per second of the timestamps seen
// and the milliseconds are three digits appended to it; the rest is plain
// appending.
//
// The local time of a second is taken when that second is first formatted; a
// change of the process's time zone (TZ and tzset) shows from the next second
// on.
#pragma once

#include <log4cpp/Layout.hh>
#include <log4cpp/LoggingEvent.hh>
#include <mutex>
#include <string>

namespace kerrow::log {

class LineLayout : public log4cpp::Layout {
  public:
    std::string format(const log4cpp::LoggingEvent& event) override;

  private:
    // Appends "YYYY-MM-DD HH:MM:SS," of the second to out.
    void AppendSecond(int seconds, std::string& out);

    // log4cpp calls an appender's layout under the category's lock; the lock
    // here keeps the cache safe for any other caller.
    std::mutex cacheLock_;
    bool cached_ = false;
    int cachedSecond_ = 0;
    std::string cachedText_;
};

}  // namespace kerrow::log
