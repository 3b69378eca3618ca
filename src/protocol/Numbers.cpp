#include "protocol/Numbers.h"

#include <limits>

namespace kerrow {

int32_t ReadLong32(const char* text) {
    return ReadLong32(text, std::numeric_limits<size_t>::max());
}

int32_t ReadLong32(const char* text, size_t maxChars) {
    if (text == nullptr) return 0;
    size_t i = 0;
    auto more = [&] { return i < maxChars && text[i] != '\0'; };
    while (more() && (text[i] == ' ' || (text[i] >= '\t' && text[i] <= '\r'))) ++i;
    bool negative = false;
    if (more() && (text[i] == '+' || text[i] == '-')) {
        negative = text[i] == '-';
        ++i;
    }
    // Accumulated as a magnitude; past the limit it only stays there.
    const int64_t limit = negative ? -static_cast<int64_t>(std::numeric_limits<int32_t>::min())
                                   : std::numeric_limits<int32_t>::max();
    int64_t magnitude = 0;
    for (; more() && text[i] >= '0' && text[i] <= '9'; ++i) {
        magnitude = magnitude * 10 + (text[i] - '0');
        if (magnitude > limit) magnitude = limit;
    }
    return static_cast<int32_t>(negative ? -magnitude : magnitude);
}

}  // namespace kerrow
