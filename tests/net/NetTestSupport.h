// Small loopback peers for the transport tests.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "net/Connection.h"

namespace kerrow::test {

inline sockaddr_in Loopback(uint16_t port) {
    sockaddr_in address;
    std::memset(&address, 0, sizeof(address));
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

// A loopback socket bound to an ephemeral port. Until Listen is called,
// nothing listens there, yet no one else can take the port: connects to it
// are refused.
class LoopbackSocket {
  public:
    LoopbackSocket() {
        fd_ = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address = Loopback(0);
        socklen_t size = sizeof(address);
        ::bind(fd_, reinterpret_cast<sockaddr*>(&address), size);
        ::getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &size);
        port_ = ntohs(address.sin_port);
    }
    ~LoopbackSocket() { ::close(fd_); }
    LoopbackSocket(const LoopbackSocket&) = delete;
    LoopbackSocket& operator=(const LoopbackSocket&) = delete;

    uint16_t Port() const { return port_; }
    bool Listen(int backlog) { return ::listen(fd_, backlog) == 0; }
    // The next pending connection, or -1 when none came within the time.
    int Accept(int milliseconds) {
        pollfd entry = {fd_, POLLIN, 0};
        if (::poll(&entry, 1, milliseconds) != 1) return -1;
        return ::accept(fd_, nullptr, nullptr);
    }

  private:
    int fd_ = -1;
    uint16_t port_ = 0;
};

// Reads until count bytes are in, waiting for readability in between; fewer
// bytes when the connection fails or the time runs out.
inline std::string ReadExactly(Connection& connection, size_t count,
                               std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    std::string data;
    std::vector<char> buffer(count);
    while (data.size() < count && std::chrono::steady_clock::now() < deadline) {
        if (connection.WaitReadable(100) < 0) break;
        const int32_t n = connection.Read(buffer.data(), static_cast<int32_t>(count - data.size()));
        if (n < 0) break;
        data.append(buffer.data(), static_cast<size_t>(n));
    }
    return data;
}

}  // namespace kerrow::test
