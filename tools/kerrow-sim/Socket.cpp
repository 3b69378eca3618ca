#include "Socket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace kerrow::sim {
namespace {

bool WaitFor(int fd, short events, int timeoutMs) {
    pollfd p{fd, events, 0};
    for (;;) {
        int r = ::poll(&p, 1, timeoutMs);
        if (r < 0 && errno == EINTR) continue;
        return r > 0;
    }
}

}  // namespace

Socket::~Socket() { Close(); }

Socket::Socket(Socket&& other) noexcept : fd_(other.fd_) { other.fd_ = -1; }

Socket& Socket::operator=(Socket&& other) noexcept {
    if (this != &other) {
        Close();
        fd_ = other.fd_;
        other.fd_ = -1;
    }
    return *this;
}

Socket Socket::Listen(const std::string& host, uint16_t port, std::string* error) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    if (::inet_pton(AF_INET, host.c_str(), &address.sin_addr) != 1) {
        if (error) *error = "not an IPv4 address: " + host;
        return Socket();
    }
    Socket s(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!s.Valid()) {
        if (error) *error = std::string("socket: ") + std::strerror(errno);
        return Socket();
    }
    int one = 1;
    ::setsockopt(s.fd_, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    if (::bind(s.fd_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(s.fd_, 1024) != 0) {
        if (error)
            *error = "cannot listen on " + host + ":" + std::to_string(port) + ": " +
                     std::strerror(errno);
        return Socket();
    }
    return s;
}

uint16_t Socket::LocalPort() const {
    sockaddr_in address{};
    socklen_t length = sizeof address;
    if (::getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &length) != 0) return 0;
    return ntohs(address.sin_port);
}

Socket Socket::Accept(int timeoutMs, std::string* peer) const {
    if (!WaitFor(fd_, POLLIN, timeoutMs)) return Socket();
    sockaddr_in address{};
    socklen_t length = sizeof address;
    int fd = ::accept4(fd_, reinterpret_cast<sockaddr*>(&address), &length, SOCK_CLOEXEC);
    if (fd < 0) {
        // Out of descriptors: the pending connection stays queued; waiting a
        // little keeps the caller from spinning on it.
        if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM)
            ::poll(nullptr, 0, 50);
        return Socket();
    }
    int one = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    if (peer) {
        char text[INET_ADDRSTRLEN] = {};
        ::inet_ntop(AF_INET, &address.sin_addr, text, sizeof text);
        *peer = std::string(text) + ":" + std::to_string(ntohs(address.sin_port));
    }
    return Socket(fd);
}

long Socket::Read(char* buffer, size_t size, int timeoutMs) const {
    if (!WaitFor(fd_, POLLIN, timeoutMs)) return kTimeout;
    for (;;) {
        ssize_t n = ::recv(fd_, buffer, size, 0);
        if (n > 0) return static_cast<long>(n);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return kTimeout;
        return kClosed;
    }
}

bool Socket::Readable(int timeoutMs) const { return WaitFor(fd_, POLLIN, timeoutMs); }

bool Socket::WriteAll(const char* data, size_t size, int timeoutMs) const {
    while (size > 0) {
        if (!WaitFor(fd_, POLLOUT, timeoutMs)) return false;
        ssize_t n = ::send(fd_, data, size, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (n < 0) {
            if (errno == EINTR || errno == EAGAIN || errno == EWOULDBLOCK) continue;
            return false;
        }
        data += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

void Socket::Shutdown() const {
    if (fd_ >= 0) ::shutdown(fd_, SHUT_RDWR);
}

void Socket::Close() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
}

}  // namespace kerrow::sim
