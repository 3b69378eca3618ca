// Date-time texts "YYYY-MM-DD HH:MM:SS" and the store's wall time: seconds
// since 1970-01-01 00:00:00 of the clock the texts name, no time zone.
#pragma once

#include <cstdint>
#include <string>

namespace kerrow::sim {

// The local clock of this machine as wall time.
int64_t WallClockNow();

// "YYYY-MM-DD HH:MM:SS" of a wall time.
std::string FormatWallTime(int64_t wall);

// Reads "YYYY-MM-DD HH:MM:SS" (leading blanks in the year allowed) into
// *wall. False when the text is not a valid date-time (for instance the
// all-zero "0000-00-00 00:00:00").
bool ParseWallTime(const std::string& text, int64_t* wall);

}  // namespace kerrow::sim
