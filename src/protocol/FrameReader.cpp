#include "protocol/FrameReader.h"

#include <algorithm>
#include <cstring>

namespace kerrow {

void FrameReader::Bytes::resize(size_t size) {
    if (size > capacity_) {
        const size_t capacity = std::max(size, capacity_ * 2);
        std::unique_ptr<char[]> grown(new char[capacity]);  // left unset on purpose
        if (size_ > 0) std::memcpy(grown.get(), data_.get(), size_);
        data_ = std::move(grown);
        capacity_ = capacity;
    }
    size_ = size;
}

size_t FrameReader::Wanted() const {
    const size_t have = end_ - start_;
    if (have < kHeadReadSize) {
        return kHeadReadSize - have;
    }
    const long total = ReadTotalLength(buffer_.data() + start_, kHeadReadSize);
    if (!TotalAccepted(total, limits_)) {
        return 0;  // Next() rejects it
    }
    const size_t whole = static_cast<size_t>(total);
    return whole > have ? whole - have : 0;
}

size_t FrameReader::Prepare(size_t want, char** space) {
    const size_t need = std::min(want, kGrowStep);
    if (start_ == end_) {
        start_ = end_ = 0;
    } else if (start_ > 0 && buffer_.size() - end_ < need) {
        std::memmove(buffer_.data(), buffer_.data() + start_, end_ - start_);
        end_ -= start_;
        start_ = 0;
    }
    if (buffer_.size() - end_ < need) {
        buffer_.resize(end_ + need);
    }
    *space = buffer_.data() + end_;
    return std::min(want, buffer_.size() - end_);
}

void FrameReader::Reserve(size_t bytes) {
    if (buffer_.size() < bytes) buffer_.resize(bytes);
}

void FrameReader::Commit(size_t count) { end_ = std::min(end_ + count, buffer_.size()); }

void FrameReader::Feed(const char* data, size_t size) {
    while (size > 0) {
        char* space = nullptr;
        const size_t room = Prepare(size, &space);
        std::memcpy(space, data, room);
        Commit(room);
        data += room;
        size -= room;
    }
}

FrameReader::Result FrameReader::Next() {
    const size_t have = end_ - start_;
    if (have < kHeadReadSize) {
        return Result::NeedMore;
    }
    const long total = ReadTotalLength(buffer_.data() + start_, kHeadReadSize);
    if (!TotalAccepted(total, limits_)) {
        total_ = total;
        start_ += kHeadReadSize;
        return Result::Rejected;
    }
    if (have < static_cast<size_t>(total)) {
        return Result::NeedMore;
    }
    total_ = total;
    messageStart_ = start_;
    start_ += static_cast<size_t>(total);
    return Result::Message;
}

int FrameReader::ContentType() const {
    return ReadContentType(Message(), static_cast<size_t>(total_));
}

void FrameReader::Clear() { start_ = end_ = 0; }

}  // namespace kerrow
