// The link: one socket to one server, with connect, read, write and close.
// A link reports what one socket call did and never loops; its owner (the
// Connection) serialises all calls and loops over partial transfers.
#pragma once

#include <cstdint>
#include <string>

namespace kerrow {

class NetLink {
  public:
    virtual ~NetLink() {}

    // 0 connected, -1 failed.
    virtual int32_t Connect(const std::string& host, uint32_t port) = 0;
    virtual int32_t Close() = 0;
    // Bytes moved (> 0), 0 when nothing can be done now, -1 for failure.
    virtual int32_t Read(char* buffer, int32_t length) = 0;
    virtual int32_t Write(const char* buffer, int32_t length) = 0;

    // Socket tuning; a link without a socket has nothing to tune.
    virtual int32_t SetReadBuffer(uint32_t) { return 0; }
    virtual int32_t SetWriteBuffer(uint32_t) { return 0; }
    virtual int32_t SetNonBlocking() { return 0; }
    virtual int32_t SetBlocking() { return 0; }
    virtual int32_t SetReuseAddr() { return 0; }

    virtual bool IsConnected() = 0;
    virtual bool IsClosed() = 0;
    virtual std::string GetErrorText() = 0;
    virtual int32_t GetLastError() = 0;

    // Waits at most the given time until a read would not answer 0: 1 data
    // waiting or the peer gone, 0 time-out, -1 no usable socket or an error.
    // Lets reply waits block instead of polling the non-blocking socket.
    virtual int32_t WaitReadable(uint32_t milliseconds) = 0;
    // The socket to watch together with other events; -1 when there is none.
    virtual int32_t Socket() const { return -1; }
};

}  // namespace kerrow
