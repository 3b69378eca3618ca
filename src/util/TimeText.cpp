// Time texts and elapsed-time arithmetic.
#include "util/TimeText.h"

#include <cstdio>
#include <cstdlib>

namespace kerrow {
namespace {

// atoi of a copy of exactly width characters from position start, or of the
// fewer that the text still has there.
int16_t ReadColumn(const std::string& s, size_t start, size_t width) {
    char digits[8] = {};
    if (start < s.size()) s.copy(digits, width, start);
    return static_cast<int16_t>(std::atoi(digits));
}

int64_t SecondsOf(const platform::SystemTime& time) {
    platform::BrokenTime broken{};
    broken.tm_year = time.wYear - 1900;
    broken.tm_mon = time.wMonth - 1;
    broken.tm_mday = time.wDay;
    broken.tm_hour = time.wHour;
    broken.tm_min = time.wMinute;
    broken.tm_sec = time.wSecond;
    broken.tm_isdst = 0;
    return platform::MkTime64(&broken);
}

}  // namespace

std::string FormatTransferTime(TransferTime t) {
    // Real dates take 19 characters; fields far out of range are cut at the
    // end of the 32-byte buffer.
    char text[32];
    const int length = std::snprintf(text, sizeof(text), "%4d-%02d-%02d %02d:%02d:%02d", t.year,
                                     t.month, t.day, t.hour, t.minute, t.second);
    return length < 0 ? std::string() : std::string(text);
}

TransferTime ParseTransferTime(const std::string& s) {
    TransferTime t{};
    t.year = ReadColumn(s, 0, 4);
    t.month = ReadColumn(s, 5, 2);
    t.day = ReadColumn(s, 8, 2);
    t.hour = ReadColumn(s, 11, 2);
    t.minute = ReadColumn(s, 14, 2);
    t.second = ReadColumn(s, 17, 2);
    return t;
}

int32_t ElapsedMilliseconds(const platform::SystemTime* from, const platform::SystemTime* to) {
    if (from == nullptr || to == nullptr) return 0;
    const int64_t seconds = SecondsOf(*to) - SecondsOf(*from);
    // Computed in 64 bits, then cut to the 32-bit result (wrapping, not
    // saturating, for spans beyond about 24 days).
    const auto whole = static_cast<uint32_t>(seconds * 1000);
    const int32_t part = static_cast<int32_t>(to->wMilliseconds) - from->wMilliseconds;
    return static_cast<int32_t>(whole + static_cast<uint32_t>(part));
}

int64_t Now64() { return platform::Time64(); }

}  // namespace kerrow
