// A reader of framed messages that does no I/O: the caller puts received
// bytes in, the reader cuts them into messages by the envelope's head. It
// carries no socket, clock or log, so the client's reply waits, the transfer
// loop, the simulator and the fuzzers all drive the same code.
//
//   FrameReader reader(kTransferLimits);
//   char* space;
//   size_t room = reader.Prepare(reader.Wanted(), &space);  // or more, to read ahead
//   ... n = recv(fd, space, room) ...
//   reader.Commit(n);
//   while (reader.Next() == FrameReader::Result::Message) use(reader.Message(), reader.Total());
//
// The buffer grows only as bytes arrive: an announced total reserves nothing.
#pragma once

#include <cstddef>
#include <memory>

#include "protocol/Envelope.h"

namespace kerrow {

class FrameReader {
  public:
    enum class Result {
        NeedMore,  // no complete head or message is buffered
        Message,   // Message() and Total() describe a complete message
        Rejected,  // a head announced a total outside the limits
    };

    explicit FrameReader(const FrameLimits& limits) : limits_(limits) {}

    // The bytes that the message being read still lacks: up to the 63 head
    // bytes while the head is incomplete, then up to its announced total. A
    // reader that must not take bytes of the next message reads at most this.
    size_t Wanted() const;

    // Free space at the end of the buffer for the next read: at least
    // min(want, kGrowStep) bytes and at most want. *space points at it until
    // the next call that changes the reader.
    size_t Prepare(size_t want, char** space);
    // Counts count bytes written into the space that Prepare gave.
    void Commit(size_t count);
    // Copies bytes in (Prepare and Commit in one).
    void Feed(const char* data, size_t size);

    // Looks at the buffered bytes. Message: the message (head included) is
    // consumed and stays readable through Message() until the reader next
    // changes. Rejected: Total() is the total as read; the 63 head bytes are
    // consumed and the bytes after them stay buffered as the start of the
    // next message.
    Result Next();

    const char* Message() const { return buffer_.data() + messageStart_; }
    long Total() const { return total_; }
    // atoi of the two content-type digits of the last message.
    int ContentType() const;

    size_t Buffered() const { return end_ - start_; }
    // Bytes the buffer holds room for: what arrived, plus at most one read's
    // space, never what a head announced.
    size_t Capacity() const { return buffer_.capacity(); }
    // Makes room for reads of up to bytes at once (a receiver that reads
    // ahead sizes its buffer itself, not by any head's word).
    void Reserve(size_t bytes);
    // Drops everything buffered, as a closed connection drops its bytes.
    void Clear();

    static constexpr size_t kGrowStep = 64 * 1024;

  private:
    FrameLimits limits_;
    // Grows without setting its new bytes, so that room made for reading
    // ahead costs no memory until bytes arrive in it (200 silent transfers
    // keep their read-ahead room unresident).
    class Bytes {
      public:
        char* data() { return data_.get(); }
        const char* data() const { return data_.get(); }
        size_t size() const { return size_; }
        size_t capacity() const { return capacity_; }
        void resize(size_t size);

      private:
        std::unique_ptr<char[]> data_;
        size_t size_ = 0;
        size_t capacity_ = 0;
    };

    Bytes buffer_;
    size_t start_ = 0;  // first byte not yet consumed
    size_t end_ = 0;    // one past the last byte received
    size_t messageStart_ = 0;
    long total_ = 0;
};

}  // namespace kerrow
