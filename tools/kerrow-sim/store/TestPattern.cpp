#include "TestPattern.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

namespace kerrow::sim {

namespace {

constexpr int kLumaBytes = kPatternWidth * kPatternHeight;
constexpr int kChromaBytes = kLumaBytes / 4;
constexpr int kScale = 2;  // each font pixel is drawn 2 x 2
constexpr int kAdvance = 6 * kScale;

// 5 x 7 glyphs, one byte a row, bit 4 the leftmost pixel.
struct Glyph {
    char c;
    uint8_t rows[7];
};
const Glyph kFont[] = {
    {'0', {0x0E, 0x11, 0x13, 0x15, 0x19, 0x11, 0x0E}},
    {'1', {0x04, 0x0C, 0x04, 0x04, 0x04, 0x04, 0x0E}},
    {'2', {0x0E, 0x11, 0x01, 0x02, 0x04, 0x08, 0x1F}},
    {'3', {0x1F, 0x02, 0x04, 0x02, 0x01, 0x11, 0x0E}},
    {'4', {0x02, 0x06, 0x0A, 0x12, 0x1F, 0x02, 0x02}},
    {'5', {0x1F, 0x10, 0x1E, 0x01, 0x01, 0x11, 0x0E}},
    {'6', {0x06, 0x08, 0x10, 0x1E, 0x11, 0x11, 0x0E}},
    {'7', {0x1F, 0x01, 0x02, 0x04, 0x08, 0x08, 0x08}},
    {'8', {0x0E, 0x11, 0x11, 0x0E, 0x11, 0x11, 0x0E}},
    {'9', {0x0E, 0x11, 0x11, 0x0F, 0x01, 0x02, 0x0C}},
    {'A', {0x0E, 0x11, 0x11, 0x1F, 0x11, 0x11, 0x11}},
    {'B', {0x1E, 0x11, 0x11, 0x1E, 0x11, 0x11, 0x1E}},
    {'C', {0x0E, 0x11, 0x10, 0x10, 0x10, 0x11, 0x0E}},
    {'D', {0x1C, 0x12, 0x11, 0x11, 0x11, 0x12, 0x1C}},
    {'E', {0x1F, 0x10, 0x10, 0x1E, 0x10, 0x10, 0x1F}},
    {'F', {0x1F, 0x10, 0x10, 0x1E, 0x10, 0x10, 0x10}},
    {'G', {0x0E, 0x11, 0x10, 0x17, 0x11, 0x11, 0x0F}},
    {'H', {0x11, 0x11, 0x11, 0x1F, 0x11, 0x11, 0x11}},
    {'I', {0x0E, 0x04, 0x04, 0x04, 0x04, 0x04, 0x0E}},
    {'J', {0x07, 0x02, 0x02, 0x02, 0x02, 0x12, 0x0C}},
    {'K', {0x11, 0x12, 0x14, 0x18, 0x14, 0x12, 0x11}},
    {'L', {0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x1F}},
    {'M', {0x11, 0x1B, 0x15, 0x15, 0x11, 0x11, 0x11}},
    {'N', {0x11, 0x11, 0x19, 0x15, 0x13, 0x11, 0x11}},
    {'O', {0x0E, 0x11, 0x11, 0x11, 0x11, 0x11, 0x0E}},
    {'P', {0x1E, 0x11, 0x11, 0x1E, 0x10, 0x10, 0x10}},
    {'Q', {0x0E, 0x11, 0x11, 0x11, 0x15, 0x12, 0x0D}},
    {'R', {0x1E, 0x11, 0x11, 0x1E, 0x14, 0x12, 0x11}},
    {'S', {0x0F, 0x10, 0x10, 0x0E, 0x01, 0x01, 0x1E}},
    {'T', {0x1F, 0x04, 0x04, 0x04, 0x04, 0x04, 0x04}},
    {'U', {0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x0E}},
    {'V', {0x11, 0x11, 0x11, 0x11, 0x11, 0x0A, 0x04}},
    {'W', {0x11, 0x11, 0x11, 0x15, 0x15, 0x15, 0x0A}},
    {'X', {0x11, 0x11, 0x0A, 0x04, 0x0A, 0x11, 0x11}},
    {'Y', {0x11, 0x11, 0x11, 0x0A, 0x04, 0x04, 0x04}},
    {'Z', {0x1F, 0x01, 0x02, 0x04, 0x08, 0x10, 0x1F}},
    {'-', {0x00, 0x00, 0x00, 0x1F, 0x00, 0x00, 0x00}},
    {'+', {0x00, 0x04, 0x04, 0x1F, 0x04, 0x04, 0x00}},
    {':', {0x00, 0x0C, 0x0C, 0x00, 0x0C, 0x0C, 0x00}},
    {'.', {0x00, 0x00, 0x00, 0x00, 0x00, 0x0C, 0x0C}},
    {'_', {0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x1F}},
    {'/', {0x00, 0x01, 0x02, 0x04, 0x08, 0x10, 0x00}},
    {' ', {0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00}},
};
const uint8_t kUnknownGlyph[7] = {0x1F, 0x11, 0x11, 0x11, 0x11, 0x11, 0x1F};

const uint8_t* GlyphRows(char c) {
    if (c >= 'a' && c <= 'z') {
        c = static_cast<char>(c - 'a' + 'A');
    }
    for (const Glyph& g : kFont) {
        if (g.c == c) {
            return g.rows;
        }
    }
    return kUnknownGlyph;
}

// Colour bars: white, yellow, cyan, green, magenta, red, blue (Y, U, V).
const uint8_t kBars[7][3] = {{180, 128, 128}, {162, 44, 142}, {131, 156, 44}, {112, 72, 58},
                             {84, 184, 198},  {65, 100, 212}, {35, 212, 114}};

// Draws white text on a black band whose top row is y (even), left-aligned
// at x = 4.
void DrawText(const std::string& text, int y, uint8_t* luma, uint8_t* cb, uint8_t* cr) {
    const int bandHeight = 7 * kScale + 4;
    for (int row = y; row < y + bandHeight && row < kPatternHeight; ++row) {
        std::memset(luma + row * kPatternWidth, 16, kPatternWidth);
        std::memset(cb + row / 2 * kPatternWidth / 2, 128, kPatternWidth / 2);
        std::memset(cr + row / 2 * kPatternWidth / 2, 128, kPatternWidth / 2);
    }
    int x = 4;
    for (char c : text) {
        if (x + 5 * kScale > kPatternWidth) {
            break;
        }
        const uint8_t* rows = GlyphRows(c);
        for (int gy = 0; gy < 7 * kScale; ++gy) {
            for (int gx = 0; gx < 5 * kScale; ++gx) {
                if ((rows[gy / kScale] >> (4 - gx / kScale)) & 1) {
                    luma[(y + 2 + gy) * kPatternWidth + x + gx] = 235;
                }
            }
        }
        x += kAdvance;
    }
}

}  // namespace

const std::string& PatternHeader() {
    static const std::string header = "YUV4MPEG2 W160 H120 F5:1 Ip A1:1 C420jpeg\n";
    return header;
}

uint64_t PatternFrameBytes() { return 6 + kLumaBytes + 2 * kChromaBytes; }

uint64_t PatternBytes(uint32_t seconds) {
    return PatternHeader().size() + uint64_t{seconds} * kPatternFps * PatternFrameBytes();
}

void DrawPatternFrame(const std::string& label, uint32_t index, uint8_t* planes) {
    uint8_t* luma = planes;
    uint8_t* cb = planes + kLumaBytes;
    uint8_t* cr = cb + kChromaBytes;
    const int barWidth = (kPatternWidth + 6) / 7;
    for (int y = 0; y < kPatternHeight; ++y) {
        for (int x = 0; x < kPatternWidth; ++x) {
            luma[y * kPatternWidth + x] = kBars[x / barWidth][0];
        }
    }
    for (int y = 0; y < kPatternHeight / 2; ++y) {
        for (int x = 0; x < kPatternWidth / 2; ++x) {
            cb[y * kPatternWidth / 2 + x] = kBars[2 * x / barWidth][1];
            cr[y * kPatternWidth / 2 + x] = kBars[2 * x / barWidth][2];
        }
    }
    // The moving bar crosses the picture once every 8 seconds.
    const int barX = static_cast<int>(index * 4 % kPatternWidth);
    for (int y = 0; y < kPatternHeight; ++y) {
        for (int x = barX; x < barX + 8 && x < kPatternWidth; ++x) {
            luma[y * kPatternWidth + x] = 235;
        }
    }
    for (int y = 0; y < kPatternHeight / 2; ++y) {
        for (int x = barX / 2; x < (barX + 8) / 2 && x < kPatternWidth / 2; ++x) {
            cb[y * kPatternWidth / 2 + x] = 128;
            cr[y * kPatternWidth / 2 + x] = 128;
        }
    }
    DrawText(label, 4, luma, cb, cr);
    const uint32_t second = index / kPatternFps;
    char clock[32];
    std::snprintf(clock, sizeof clock, "T+%02u:%02u", second / 60 % 100, second % 60);
    DrawText(clock, kPatternHeight - 7 * kScale - 8, luma, cb, cr);
}

bool WritePattern(const std::string& path, const std::string& label, uint32_t seconds,
                  std::string* error) {
    std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "wb"), &std::fclose);
    if (!file) {
        *error = path + ": " + std::strerror(errno);
        return false;
    }
    std::vector<uint8_t> frame(PatternFrameBytes());
    std::memcpy(frame.data(), "FRAME\n", 6);
    bool ok = std::fwrite(PatternHeader().data(), 1, PatternHeader().size(), file.get()) ==
              PatternHeader().size();
    for (uint32_t i = 0; ok && i < seconds * kPatternFps; ++i) {
        DrawPatternFrame(label, i, frame.data() + 6);
        ok = std::fwrite(frame.data(), 1, frame.size(), file.get()) == frame.size();
    }
    if (std::fflush(file.get()) != 0) {
        ok = false;
    }
    if (!ok) {
        *error = path + ": " + std::strerror(errno);
    }
    return ok;
}

}  // namespace kerrow::sim
