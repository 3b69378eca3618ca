#include "TimeText.h"

#include <cstdio>
#include <ctime>

namespace kerrow::sim {

namespace {

// Days from 1970-01-01 to the given civil date (proleptic Gregorian).
int64_t DaysFromCivil(int64_t y, int64_t m, int64_t d) {
    y -= m <= 2 ? 1 : 0;
    const int64_t era = (y >= 0 ? y : y - 399) / 400;
    const int64_t yoe = y - era * 400;
    const int64_t doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe - 719468;
}

void CivilFromDays(int64_t z, int64_t* y, int* m, int* d) {
    z += 719468;
    const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    const int64_t doe = z - era * 146097;
    const int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const int64_t mp = (5 * doy + 2) / 153;
    *d = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
    *m = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
    *y = yoe + era * 400 + (*m <= 2 ? 1 : 0);
}

bool LeapYear(int64_t y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; }

int DaysInMonth(int64_t y, int m) {
    static const int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return m == 2 && LeapYear(y) ? 29 : kDays[m - 1];
}

// Reads exactly `width` characters at text[pos] as a number; blanks are
// allowed before the first digit.
bool Field(const std::string& text, size_t pos, size_t width, int64_t* value) {
    if (pos + width > text.size()) {
        return false;
    }
    int64_t v = 0;
    bool digits = false;
    for (size_t i = pos; i < pos + width; ++i) {
        char c = text[i];
        if (c == ' ' && !digits) {
            continue;
        }
        if (c < '0' || c > '9') {
            return false;
        }
        v = v * 10 + (c - '0');
        digits = true;
    }
    *value = v;
    return digits;
}

}  // namespace

int64_t WallClockNow() {
    std::time_t t = std::time(nullptr);
    std::tm local{};
    localtime_r(&t, &local);
    return DaysFromCivil(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday) * 86400 +
           local.tm_hour * 3600 + local.tm_min * 60 + local.tm_sec;
}

std::string FormatWallTime(int64_t wall) {
    int64_t days = wall >= 0 ? wall / 86400 : -((-wall + 86399) / 86400);
    int64_t secs = wall - days * 86400;
    int64_t y = 0;
    int m = 0;
    int d = 0;
    CivilFromDays(days, &y, &m, &d);
    char text[64];
    std::snprintf(text, sizeof text, "%04lld-%02d-%02d %02d:%02d:%02d", static_cast<long long>(y),
                  m, d, static_cast<int>(secs / 3600), static_cast<int>(secs / 60 % 60),
                  static_cast<int>(secs % 60));
    return text;
}

bool ParseWallTime(const std::string& text, int64_t* wall) {
    if (text.size() != 19 || text[4] != '-' || text[7] != '-' || text[10] != ' ' ||
        text[13] != ':' || text[16] != ':') {
        return false;
    }
    int64_t y, mo, d, h, mi, s;
    if (!Field(text, 0, 4, &y) || !Field(text, 5, 2, &mo) || !Field(text, 8, 2, &d) ||
        !Field(text, 11, 2, &h) || !Field(text, 14, 2, &mi) || !Field(text, 17, 2, &s)) {
        return false;
    }
    if (y < 1 || mo < 1 || mo > 12 || d < 1 || d > DaysInMonth(y, static_cast<int>(mo)) || h > 23 ||
        mi > 59 || s > 59) {
        return false;
    }
    *wall = DaysFromCivil(y, mo, d) * 86400 + h * 3600 + mi * 60 + s;
    return true;
}

}  // namespace kerrow::sim
