// Time texts of the protocol and elapsed milliseconds between local times.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "util/TimeText.h"

namespace kerrow {
namespace {

bool Same(const TransferTime& a, const TransferTime& b) {
    return std::memcmp(&a, &b, sizeof(TransferTime)) == 0;
}

TEST(TimeTextTest, FormatsFixedWidthFields) {
    EXPECT_EQ(FormatTransferTime({2012, 3, 5, 8, 5, 9}), "2012-03-05 08:05:09");
    EXPECT_EQ(FormatTransferTime({999, 1, 2, 3, 4, 5}), " 999-01-02 03:04:05");
    // Out-of-range fields are cut at the end of the buffer, not written past it.
    const std::string wide = FormatTransferTime({-32768, -32768, -32768, -32768, -32768, -1});
    EXPECT_EQ(wide, "-32768--32768--32768 -32768:-32");
}

TEST(TimeTextTest, ParsesFixedColumns) {
    struct {
        const char* text;
        TransferTime expected;
    } const cases[] = {
        {"2013-12-31 23:59:58", {2013, 12, 31, 23, 59, 58}},
        {"2013/12/31T23.59.58 and more", {2013, 12, 31, 23, 59, 58}},  // separators unchecked
        {"20xx-1a-b1 2 :  :9z", {20, 1, 0, 2, 0, 9}},                  // a non-digit ends a number
        {"2013-12-31 23:5", {2013, 12, 31, 23, 5, 0}},                 // short: what is there
        {"", {0, 0, 0, 0, 0, 0}},
    };
    for (const auto& c : cases) {
        EXPECT_TRUE(Same(ParseTransferTime(c.text), c.expected)) << c.text;
    }
    const TransferTime t{999, 1, 2, 3, 4, 5};
    EXPECT_TRUE(Same(ParseTransferTime(FormatTransferTime(t)), t));
}

platform::SystemTime Local(uint16_t year, uint16_t month, uint16_t day, uint16_t hour,
                           uint16_t minute, uint16_t second, uint16_t milliseconds) {
    // wDayOfWeek (third) is ignored by the arithmetic.
    return platform::SystemTime{year, month, 6, day, hour, minute, second, milliseconds};
}

TEST(TimeTextTest, ElapsedMillisecondsAcrossBoundaries) {
    const platform::SystemTime lastOfYear = Local(2013, 12, 31, 23, 59, 59, 900);
    const platform::SystemTime firstOfYear = Local(2014, 1, 1, 0, 0, 0, 100);
    struct {
        platform::SystemTime from;
        platform::SystemTime to;
        int32_t expected;
    } const cases[] = {
        {lastOfYear, firstOfYear, 200},
        {firstOfYear, lastOfYear, -200},
        {Local(2014, 1, 1, 0, 0, 0, 900), firstOfYear, -800},
        {Local(2012, 2, 28, 12, 0, 0, 0), Local(2012, 3, 1, 12, 0, 0, 0), 172800000},  // leap day
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ElapsedMilliseconds(&c.from, &c.to), c.expected);
    }
    EXPECT_EQ(ElapsedMilliseconds(nullptr, &firstOfYear), 0);
    EXPECT_EQ(ElapsedMilliseconds(&lastOfYear, nullptr), 0);
}

}  // namespace
}  // namespace kerrow
