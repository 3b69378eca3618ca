// The log's own layout writes exactly what log4cpp's PatternLayout writes with
// "%d [%t] %p - %m%n": the same event formatted by both, over dates, time
// zones, milliseconds, priorities, threads and message bytes; and the same
// lines logged through one category into two files, one per layout.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

#include <algorithm>
#include <fstream>
#include <log4cpp/Category.hh>
#include <log4cpp/FileAppender.hh>
#include <log4cpp/PatternLayout.hh>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "log/LineLayout.h"

namespace {

using log4cpp::LoggingEvent;
using log4cpp::TimeStamp;

class LayoutPair {
  public:
    LayoutPair() { pattern_.setConversionPattern("%d [%t] %p - %m%n"); }
    // Both layouts' lines for the event; the test compares them.
    void Expect(const LoggingEvent& event) {
        const std::string expected = pattern_.format(event);
        const std::string actual = line_.format(event);
        ASSERT_EQ(expected, actual)
            << "seconds " << event.timeStamp.getSeconds() << " micros "
            << event.timeStamp.getMicroSeconds() << " priority " << event.priority;
        ++compared_;
    }
    int Compared() const { return compared_; }

  private:
    log4cpp::PatternLayout pattern_;
    kerrow::log::LineLayout line_;
    int compared_ = 0;
};

LoggingEvent Event(int seconds, int micros, int priority, const std::string& message) {
    LoggingEvent event("default", message, "", priority);
    event.timeStamp = TimeStamp(static_cast<unsigned>(seconds), static_cast<unsigned>(micros));
    return event;
}

// Seconds around the dates that change the most digits at once, leap days and
// the daylight-saving changes of the zones below.
std::vector<int> Seconds() {
    std::vector<int> seconds = {
        0,          1,          59,         60,         3599,       86399,      86400,
        951782399,  951782400,  951868800,  978307199,  978307200,  1709596800, 1709625599,
        1710054000, 1710054001, 1710053999, 1711846799, 1711846800, 1730613599, 1730613600,
        1730617200, 1735689599, 1735689600, 2147483646, 2147483647};
    // A walk of uneven steps over a few years.
    for (int s = 1600000000; s < 1700000000; s += 7777777) seconds.push_back(s);
    return seconds;
}

class TimeZone {
  public:
    explicit TimeZone(const char* zone) {
        const char* old = getenv("TZ");
        hadOld_ = old != nullptr;
        if (hadOld_) old_ = old;
        setenv("TZ", zone, 1);
        tzset();
    }
    ~TimeZone() {
        if (hadOld_) {
            setenv("TZ", old_.c_str(), 1);
        } else {
            unsetenv("TZ");
        }
        tzset();
    }

  private:
    bool hadOld_ = false;
    std::string old_;
};

TEST(LineLayout, DatesAndMillisecondsInSeveralTimeZones) {
    std::vector<std::string> noonInEachZone;
    for (const char* zone : {"UTC", "Asia/Shanghai", "America/New_York", "Europe/London",
                             "EST5EDT,M3.2.0,M11.1.0", "<+0530>-5:30", "Australia/Lord_Howe"}) {
        SCOPED_TRACE(zone);
        TimeZone timeZone(zone);
        LayoutPair pair;  // fresh per zone: its cache was filled in another zone
        for (int second : Seconds()) {
            for (int micros : {0, 1, 999, 1000, 9999, 10000, 99999, 100000, 500500, 999999}) {
                pair.Expect(Event(second, micros, 600, " Client_Connect id:5"));
            }
        }
        EXPECT_EQ(static_cast<int>(Seconds().size() * 10), pair.Compared());
        log4cpp::PatternLayout pattern;
        pattern.setConversionPattern("%d");
        noonInEachZone.push_back(pattern.format(Event(1709640000, 0, 600, "")));
    }
    // The zones were in force: the same instant reads differently.
    std::sort(noonInEachZone.begin(), noonInEachZone.end());
    EXPECT_GE(std::unique(noonInEachZone.begin(), noonInEachZone.end()) - noonInEachZone.begin(),
              5);
}

TEST(LineLayout, SecondsRevisitedInAnyOrder) {
    // The second's text is kept between lines: going back and forth between
    // seconds, and many lines within one second, never show a stale date.
    LayoutPair pair;
    const int base = 1709625599;
    for (int i = 0; i < 2000; ++i) {
        const int second = base + (i * 7919) % 5 - (i % 3 == 0 ? 86400 : 0);
        pair.Expect(Event(second, (i * 104729) % 1000000, i % 2 == 0 ? 600 : 300, "x"));
    }
}

TEST(LineLayout, EveryPriorityName) {
    LayoutPair pair;
    for (int priority : {0, 1, 99, 100, 200, 250, 300, 301, 399, 400, 500, 600, 650, 700, 799, 800,
                         801, 1000, 65535}) {
        pair.Expect(Event(1709625600, 123456, priority, " message"));
    }
}

TEST(LineLayout, MessageBytesAsTheyAre) {
    LayoutPair pair;
    // 新建连接，id： in GBK, then every byte value, percent signs that a format
    // would take, line breaks, a NUL and a long line.
    std::string everyByte;
    for (int b = 0; b < 256; ++b) everyByte += static_cast<char>(b);
    const std::vector<std::string> messages = {
        "",
        " ",
        " \xD0\xC2\xBD\xA8\xC1\xAC\xBD\xD3\xA3\xAC\x69\x64\xA3\xBA"
        "3",
        everyByte,
        "%d %t %p %m %n %% %l %Y",
        "two\nlines\r\n",
        std::string("nul\0inside", 10),
        std::string(200000, 'x'),
        "Client::Init(): .\\Client:123 ZOREK betes colsed",
    };
    for (const std::string& message : messages) {
        pair.Expect(Event(1709625600, 7000, 600, message));
        pair.Expect(Event(1709625600, 7000, 300, message));
    }
}

TEST(LineLayout, ThreadNamesOfOtherThreads) {
    LayoutPair pair;
    std::vector<LoggingEvent> events;
    std::vector<std::thread> threads;
    std::vector<std::unique_ptr<LoggingEvent>> made(4);
    for (size_t i = 0; i < made.size(); ++i) {
        // LoggingEvent takes the name of the thread that makes it.
        threads.emplace_back([&made, i] {
            made[i] = std::make_unique<LoggingEvent>("default", "from a thread", "", 600);
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (const auto& event : made) pair.Expect(*event);
    EXPECT_NE(made[0]->threadName, made[1]->threadName);
}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

TEST(LineLayout, SameFileThroughOneCategory) {
    // One category, two file appenders: each logged event reaches both, one
    // formatted by PatternLayout and one by LineLayout.
    const std::string patternFile = "pattern-layout.log";
    const std::string lineFile = "line-layout.log";
    auto* pattern = new log4cpp::PatternLayout();
    pattern->setConversionPattern("%d [%t] %p - %m%n");
    auto* byPattern = new log4cpp::FileAppender("by-pattern", patternFile, false);
    byPattern->setLayout(pattern);
    auto* byLine = new log4cpp::FileAppender("by-line", lineFile, false);
    byLine->setLayout(new kerrow::log::LineLayout());

    log4cpp::Category& category = log4cpp::Category::getInstance("layout-check");
    category.setAdditivity(false);
    category.addAppender(byPattern);
    category.addAppender(byLine);
    category.setPriority(log4cpp::Priority::INFO);

    std::vector<std::thread> threads;
    for (int t = 0; t < 3; ++t) {
        threads.emplace_back([&category, t] {
            for (int i = 0; i < 3000; ++i) {
                const std::string message = " \xCF\xDF\xB3\xCC " + std::to_string(t) + ":" +
                                            std::to_string(i) + std::string(i % 97, 'y');
                category.log(i % 5 == 0 ? log4cpp::Priority::ERROR : log4cpp::Priority::INFO,
                             message);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    category.removeAllAppenders();

    const std::string expected = ReadFile(patternFile);
    EXPECT_GT(expected.size(), 9000u * 30);
    EXPECT_TRUE(expected == ReadFile(lineFile)) << "the two files differ";
}

}  // namespace
