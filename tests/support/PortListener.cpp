#include "support/PortListener.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>

namespace kerrow::test {
namespace {

int BoundSocket(uint16_t* port) {
    int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
        throw std::runtime_error("cannot bind a loopback socket");
    }
    socklen_t length = sizeof(address);
    getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
    *port = ntohs(address.sin_port);
    return fd;
}

}  // namespace

PortListener::PortListener(int backlog) {
    fd_ = BoundSocket(&port_);
    if (listen(fd_, backlog) != 0) throw std::runtime_error("cannot listen");
}

PortListener::~PortListener() { close(fd_); }

FullListener::FullListener() {
    // Connect until one connect is no longer completed by the kernel.
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(listener_.Port());
    while (count_ < 32 && !full_) {
        int fd = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
        fillers_[count_++] = fd;
        connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address));
        pollfd entry = {fd, POLLOUT, 0};
        full_ = poll(&entry, 1, 200) == 0;
    }
}

FullListener::~FullListener() {
    for (int i = 0; i < count_; ++i) close(fillers_[i]);
}

uint16_t UnusedPort() {
    uint16_t port = 0;
    close(BoundSocket(&port));
    return port;
}

}  // namespace kerrow::test
