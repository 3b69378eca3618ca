// How the simulator cuts a stored file for a transfer stream: its header
// block (sent as a media header) and, for YUV4MPEG2 files, the size of one
// frame, so that a jump lands at the start of a frame.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace kerrow::sim {

struct MediaLayout {
    uint64_t headerSize = 0;  // bytes of the header block at the start of the file
    uint64_t frameSize = 0;   // 0: frames unknown, positions are not aligned
};

// prefix: the first bytes of the file (up to 4096), size: the file's size.
// A YUV4MPEG2 file's header block is its stream header line; any other
// file's is its first min(size, 1024) bytes.
MediaLayout ReadMediaLayout(const std::string& prefix, uint64_t size);

// The offset at or before offset where a frame starts (offset itself when
// frames are unknown), never inside the header block.
uint64_t AlignToFrame(const MediaLayout& layout, uint64_t offset);

}  // namespace kerrow::sim
