// The simulator's generated media: a YUV4MPEG2 test pattern (colour bars, a
// bar that moves across the picture, the camera's name and the elapsed time
// drawn in a built-in bitmap font) that common players open as it is.
#pragma once

#include <cstdint>
#include <string>

namespace kerrow::sim {

constexpr int kPatternWidth = 160;
constexpr int kPatternHeight = 120;
constexpr int kPatternFps = 5;

// The stream header line, "\n" included.
const std::string& PatternHeader();
// Bytes of one frame: "FRAME\n" and the Y, U and V planes (4:2:0).
uint64_t PatternFrameBytes();
// Bytes of a pattern of `seconds` seconds.
uint64_t PatternBytes(uint32_t seconds);

// Draws frame `index` of the pattern labelled `label` (Y, U and V planes,
// PatternFrameBytes() - 6 bytes) into planes.
void DrawPatternFrame(const std::string& label, uint32_t index, uint8_t* planes);

// Writes a pattern of `seconds` seconds to path (replacing it). False with
// the reason in *error when the file cannot be written.
bool WritePattern(const std::string& path, const std::string& label, uint32_t seconds,
                  std::string* error);

}  // namespace kerrow::sim
