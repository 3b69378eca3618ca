#include "support/PortListener.h"

#include <arpa/inet.h>
#include <netinet/in.h>
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

uint16_t UnusedPort() {
    uint16_t port = 0;
    close(BoundSocket(&port));
    return port;
}

}  // namespace kerrow::test
