// Number reading as the 32-bit run-time library's atol and atoi do it, the
// same on every build: leading white space, an optional sign, then digits up
// to the first other character; values beyond 32 bits stop at the limit.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kerrow {

// text is zero-terminated; a null text reads 0.
int32_t ReadLong32(const char* text);
// Reads at most maxChars characters of text (which needs no terminator
// within them).
int32_t ReadLong32(const char* text, size_t maxChars);

}  // namespace kerrow
