#include "MediaLayout.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>

namespace kerrow::sim {

MediaLayout ReadMediaLayout(const std::string& prefix, uint64_t size) {
    MediaLayout layout;
    const std::string magic = "YUV4MPEG2 ";
    size_t end = prefix.find('\n');
    if (prefix.compare(0, magic.size(), magic) != 0 || end == std::string::npos) {
        layout.headerSize = std::min<uint64_t>(size, 1024);
        return layout;
    }
    layout.headerSize = end + 1;
    uint64_t width = 0, height = 0;
    std::string colour = "420";
    std::istringstream words(prefix.substr(magic.size(), end - magic.size()));
    std::string word;
    while (words >> word) {
        if (word[0] == 'W') width = std::strtoull(word.c_str() + 1, nullptr, 10);
        if (word[0] == 'H') height = std::strtoull(word.c_str() + 1, nullptr, 10);
        if (word[0] == 'C') colour = word.substr(1);
    }
    uint64_t pixels = width * height;
    uint64_t planes = pixels * 3 / 2;  // 4:2:0
    if (colour.compare(0, 3, "444") == 0) planes = pixels * 3;
    if (colour.compare(0, 3, "422") == 0) planes = pixels * 2;
    if (colour.compare(0, 4, "mono") == 0) planes = pixels;
    // Frames without parameters: "FRAME\n" and the planes.
    if (pixels > 0 && pixels < (1ull << 32)) layout.frameSize = 6 + planes;
    return layout;
}

uint64_t AlignToFrame(const MediaLayout& layout, uint64_t offset) {
    if (offset < layout.headerSize) return layout.headerSize;
    if (layout.frameSize == 0) return offset;
    return layout.headerSize + (offset - layout.headerSize) / layout.frameSize * layout.frameSize;
}

}  // namespace kerrow::sim
