// Conversions between the application's TransferTime, the protocol's
// "YYYY-MM-DD hh:mm:ss" text and the seconds clock, and the elapsed time
// between two local times.
#pragma once

#include <cstdint>
#include <string>

#include "KerrowSDK.h"
#include "platform/Clock.h"

namespace kerrow {

// "%4d-%02d-%02d %02d:%02d:%02d" (the year padded with blanks).
std::string FormatTransferTime(TransferTime t);

// Reads the fixed columns of the text (year 0-3, month 5-6, day 8-9, hour
// 11-12, minute 14-15, second 17-18) as decimal numbers; separators are not
// checked, a non-digit column reads as 0, and a column cut short by the end of
// the text reads what is there.
TransferTime ParseTransferTime(const std::string& s);

// Milliseconds from one local time to another (negative when to is earlier);
// 0 when either is missing. The day of the week is ignored.
int32_t ElapsedMilliseconds(const platform::SystemTime* from, const platform::SystemTime* to);

// Seconds since 1970.
int64_t Now64();

}  // namespace kerrow
