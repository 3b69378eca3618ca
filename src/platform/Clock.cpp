// Local time and the seconds clock. The 64-bit time word is asked for even
// on i386, so that dates after 2038 convert as they do on the 64-bit build.
#define _FILE_OFFSET_BITS 64
#define _TIME_BITS 64

#include "platform/Clock.h"

#include <time.h>

namespace kerrow::platform {
namespace {

// The range the run-time library's 64-bit conversion accepts: from the start
// of 1970 to the end of the year 3000 (UTC); outside it the result is -1.
constexpr int64_t kLatestTime64 = 32535215999;

}  // namespace

void GetLocalTime(SystemTime* out) {
    if (out == nullptr) return;
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local{};
    localtime_r(&now.tv_sec, &local);
    out->wYear = static_cast<uint16_t>(local.tm_year + 1900);
    out->wMonth = static_cast<uint16_t>(local.tm_mon + 1);
    out->wDayOfWeek = static_cast<uint16_t>(local.tm_wday);
    out->wDay = static_cast<uint16_t>(local.tm_mday);
    out->wHour = static_cast<uint16_t>(local.tm_hour);
    out->wMinute = static_cast<uint16_t>(local.tm_min);
    out->wSecond = static_cast<uint16_t>(local.tm_sec);
    out->wMilliseconds = static_cast<uint16_t>(now.tv_nsec / 1000000);
}

int64_t Time64() { return static_cast<int64_t>(time(nullptr)); }

int64_t MkTime64(BrokenTime* time) {
    if (time == nullptr) return -1;
    tm broken{};
    broken.tm_sec = time->tm_sec;
    broken.tm_min = time->tm_min;
    broken.tm_hour = time->tm_hour;
    broken.tm_mday = time->tm_mday;
    broken.tm_mon = time->tm_mon;
    broken.tm_year = time->tm_year;
    broken.tm_isdst = time->tm_isdst;  // 0: standard time, as the library asks
    const time_t seconds = mktime(&broken);
    if (seconds < 0 || static_cast<int64_t>(seconds) > kLatestTime64) return -1;
    // Like the run-time library, hand the normalised fields back.
    time->tm_sec = broken.tm_sec;
    time->tm_min = broken.tm_min;
    time->tm_hour = broken.tm_hour;
    time->tm_mday = broken.tm_mday;
    time->tm_mon = broken.tm_mon;
    time->tm_year = broken.tm_year;
    time->tm_wday = broken.tm_wday;
    time->tm_yday = broken.tm_yday;
    time->tm_isdst = broken.tm_isdst;
    return static_cast<int64_t>(seconds);
}

}  // namespace kerrow::platform
