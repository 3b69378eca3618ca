// Local time and the 64-bit seconds clock.
#pragma once

#include <cstdint>

namespace kerrow::platform {

// Win32 SYSTEMTIME.
struct SystemTime {
    uint16_t wYear;
    uint16_t wMonth;
    uint16_t wDayOfWeek;
    uint16_t wDay;
    uint16_t wHour;
    uint16_t wMinute;
    uint16_t wSecond;
    uint16_t wMilliseconds;
};

// The broken-down local time that MkTime64 converts (the run-time library's
// struct tm: year since 1900, month 0 to 11).
struct BrokenTime {
    int tm_sec;
    int tm_min;
    int tm_hour;
    int tm_mday;
    int tm_mon;
    int tm_year;
    int tm_wday;
    int tm_yday;
    int tm_isdst;
};

void GetLocalTime(SystemTime* out);
// Seconds since 1970 (_time64 with a null argument).
int64_t Time64();
// Local broken-down time to seconds since 1970 (_mktime64); -1 when it cannot
// be represented.
int64_t MkTime64(BrokenTime* time);

}  // namespace kerrow::platform
