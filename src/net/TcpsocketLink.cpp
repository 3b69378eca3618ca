// The TCP link over the system's sockets. Every failed socket call is recorded
// at once as the thread's last socket error, numbered as Windows Sockets
// numbers it, so that the numbers in the log and in GetErrorText are the
// familiar WSA ones (10035 would block, 10061 refused, ...).
#include "net/TcpsocketLink.h"

#include <arpa/inet.h>
#include <errno.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstring>

#include "log/Log.h"
#include "platform/Sockets.h"
#include "platform/Sync.h"

namespace kerrow {
namespace {

constexpr int32_t kInvalidSocket = -1;
constexpr int kConnectWaitMilliseconds = 1000;

using platform::kSocketError;
using platform::kWsaEWouldBlock;
using platform::RecordSocketError;
using platform::WSAGetLastError;

bool IsPending(int error) {
    return error == EINPROGRESS || error == EWOULDBLOCK || error == EAGAIN;
}

// A failure that only means "not now" (no data, send buffer full).
bool IsNothingNow(int wsaError) { return wsaError == kWsaEWouldBlock || wsaError == 0; }

}  // namespace

TcpsocketLink::TcpsocketLink()
    : m_fd(kInvalidSocket), m_connected(0), m_closed(0), m_port(0), m_host() {
    m_fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (m_fd == kInvalidSocket) RecordSocketError();
}

TcpsocketLink::~TcpsocketLink() {}

// A connect waits at most one second. The paths out of the wait:
//  - nothing within the second: "Conn TimeOut";
//  - the wait itself failed, or the connect was answered with an error (a
//    refused port is reported at once, either by connect or through the
//    socket's pending error when it turns writable): "select sockerror" with
//    the recorded error;
//  - the wait returned without the socket in its writable set (the socket is
//    no longer valid): "FD_ISSET not find m_fd Write".
int32_t TcpsocketLink::Connect(const std::string& host, uint32_t port) {
    if (m_fd == kInvalidSocket) {
        KLOG_ERROR_AT("TcpsocketLink::Connect", ".\\TcpsocketLink", 23)
            << "ZOREK TcpsocketLink m_fd SOCKET_ERROR";
        return -1;
    }

    sockaddr_in address;
    std::memset(&address, 0, sizeof(address));
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = ::inet_addr(host.c_str());
    address.sin_port = htons(static_cast<uint16_t>(port & 0xFFFFu));

    SetNonBlocking();

    if (::connect(m_fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) ==
        kSocketError) {
        const int connectError = errno;
        RecordSocketError();
        bool failed = !IsPending(connectError);
        if (!failed) {
            // A connect under way is reported as "would block", the number
            // that a non-blocking Windows Sockets connect leaves behind.
            platform::WSASetLastError(kWsaEWouldBlock);
            pollfd entry = {m_fd, POLLOUT, 0};
            const int ready = ::poll(&entry, 1, kConnectWaitMilliseconds);
            if (ready == 0) {
                KLOG_ERROR_AT("TcpsocketLink::Connect", ".\\TcpsocketLink", 49)
                    << "ZOREK TcpsocketLink Conn TimeOut";
                DropSocket();
                return -1;
            }
            if (ready < 0) {
                RecordSocketError();
                failed = true;
            } else if ((entry.revents & (POLLOUT | POLLERR | POLLHUP)) == 0) {
                KLOG_ERROR_AT("TcpsocketLink::Connect", ".\\TcpsocketLink", 72)
                    << "ZOREK FD_ISSET not find m_fd Write";
                DropSocket();
                return -1;
            } else {
                // Writable: either connected, or the connect ended with an
                // error that is waiting on the socket.
                int pending = 0;
                socklen_t size = sizeof(pending);
                if (::getsockopt(m_fd, SOL_SOCKET, SO_ERROR, &pending, &size) != 0) {
                    RecordSocketError();
                    failed = true;
                } else if (pending != 0) {
                    errno = pending;
                    RecordSocketError();
                    failed = true;
                }
            }
        }

        if (failed) {
            KLOG_ERROR_AT("TcpsocketLink::Connect", ".\\TcpsocketLink", 56)
                << "ZOREK TcpsocketLink select sockerror" << GetErrorText();
            DropSocket();
            return -1;
        }
        m_connected = 1;
        m_port = port;
        m_host = host;
        SetBlocking();
        return 0;
    }

    SetBlocking();
    m_connected = 1;
    m_port = port;
    m_host = host;
    return 0;
}

void TcpsocketLink::DropSocket() { ::close(m_fd.exchange(kInvalidSocket)); }

int32_t TcpsocketLink::Use() {
    m_users.fetch_add(1);
    return m_fd.load();
}

void TcpsocketLink::Done() {
    if (m_users.fetch_sub(1) == 1) CloseWhenUnused();
}

void TcpsocketLink::CloseWhenUnused() {
    if (m_users.load() != 0) return;
    const int32_t fd = m_closing.exchange(kInvalidSocket);
    if (fd != kInvalidSocket) ::close(fd);
}

// Also called on a link that is already closed: it then logs and hands -1 to
// the socket calls, which refuse it harmlessly. The shutdown ends the
// connection at once; the descriptor itself is closed by the last user.
int32_t TcpsocketLink::Close() {
    const int32_t fd = m_fd.exchange(kInvalidSocket);
    KLOG_INFO << "Close Socket!fd:" << fd;
    ::shutdown(fd, SHUT_RDWR);
    m_closed.store(1);
    if (fd == kInvalidSocket) {
        ::close(fd);
    } else {
        m_closing.store(fd);
        CloseWhenUnused();
    }
    return 0;
}

int32_t TcpsocketLink::Read(char* buffer, int32_t length) {
    if (m_closed.load() != 0 || m_connected.load() == 0) return -1;
    // Nothing asked, nothing done: a zero-byte recv would answer 0 with data
    // waiting and read as a peer that has gone. A worker holding a complete
    // message re-reads with a length of zero.
    if (length <= 0) return 0;

    const int32_t fd = Use();
    const ssize_t n =
        fd == kInvalidSocket ? -1 : ::recv(fd, buffer, static_cast<size_t>(length), 0);
    const int error = errno;
    Done();
    if (fd == kInvalidSocket) return -1;  // closed by another thread just now
    errno = error;
    if (n == 0) {
        KLOG_INFO << "socket read has been disconnected!errno:" << WSAGetLastError();
        Close();
        m_connected = 0;
        return -1;
    }
    if (n == kSocketError) {
        RecordSocketError();
        if (IsNothingNow(WSAGetLastError())) return 0;
        KLOG_INFO << "Read Close the socket!errno:" << WSAGetLastError();
        m_connected = 0;
        Close();
        return -1;
    }
    return static_cast<int32_t>(n);
}

// Sends never raise a signal: a peer that has gone away is a failed send.
int32_t TcpsocketLink::Write(const char* buffer, int32_t length) {
    if (m_closed.load() != 0 || m_connected.load() == 0) return -1;
    if (length <= 0) return 0;

    const int32_t fd = Use();
    const ssize_t n =
        fd == kInvalidSocket ? -1 : ::send(fd, buffer, static_cast<size_t>(length), MSG_NOSIGNAL);
    const int error = errno;
    Done();
    if (fd == kInvalidSocket) return -1;  // closed by another thread just now
    errno = error;
    if (n == 0) {
        KLOG_INFO << "socket write has been disconnected!errno:" << WSAGetLastError();
        Close();
        m_connected = 0;
        return -1;
    }
    if (n < 0) {
        RecordSocketError();
        if (IsNothingNow(WSAGetLastError())) return 0;
        KLOG_INFO << "Write Close the socket!errno:" << WSAGetLastError();
        Close();
        m_connected = 0;
        return -1;
    }
    return static_cast<int32_t>(n);
}

int32_t TcpsocketLink::SetBufferSize(int option, uint32_t bytes, const char* failureText) {
    if (bytes == 0) return 0;
    if (m_closed.load() != 0) return -1;
    const int size = static_cast<int>(bytes);
    if (::setsockopt(m_fd.load(), SOL_SOCKET, option, &size, sizeof(size)) != 0) {
        RecordSocketError();
        std::fputs(failureText, stdout);
        return -1;
    }
    return 0;
}

int32_t TcpsocketLink::SetReadBuffer(uint32_t bytes) {
    return SetBufferSize(SO_RCVBUF, bytes, "SetReadBuffer error!\n");
}

int32_t TcpsocketLink::SetWriteBuffer(uint32_t bytes) {
    return SetBufferSize(SO_SNDBUF, bytes, "SetWriteBuffer error!\n");
}

int32_t TcpsocketLink::SetBlockingMode(bool nonBlocking) {
    if (m_closed.load() != 0) return -1;
    int on = nonBlocking ? 1 : 0;
    const int result = ::ioctl(m_fd.load(), FIONBIO, &on);
    if (result != 0) {
        RecordSocketError();
        return kSocketError;
    }
    return 0;
}

int32_t TcpsocketLink::SetNonBlocking() { return SetBlockingMode(true); }

int32_t TcpsocketLink::SetBlocking() { return SetBlockingMode(false); }

// Not guarded by the closed mark, and its failure deliberately prints the
// write-buffer text.
int32_t TcpsocketLink::SetReuseAddr() {
    const int on = 1;
    if (::setsockopt(m_fd.load(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on)) != 0) {
        RecordSocketError();
        std::fputs("SetWriteBuffer error!\n", stdout);
        return -1;
    }
    return 0;
}

std::string TcpsocketLink::GetErrorText() { return "Error#: " + std::to_string(WSAGetLastError()); }

int32_t TcpsocketLink::GetLastError() { return WSAGetLastError(); }

int32_t TcpsocketLink::WaitReadable(uint32_t milliseconds) {
    if (m_closed.load() != 0 || m_fd.load() == kInvalidSocket) return -1;
    int timeout = -1;  // kInfinite waits without a limit
    if (milliseconds != platform::kInfinite) {
        timeout = milliseconds > static_cast<uint32_t>(INT_MAX) ? INT_MAX
                                                                : static_cast<int>(milliseconds);
    }
    const int32_t fd = Use();
    pollfd entry = {fd, POLLIN, 0};
    const int ready = fd == kInvalidSocket ? -1 : ::poll(&entry, 1, timeout);
    const int error = errno;
    Done();
    if (fd == kInvalidSocket) return -1;
    errno = error;
    if (ready == 0) return 0;
    if (ready < 0) {
        // A signal cut the wait short: the caller checks its clock and waits
        // again, as after a time-out.
        if (errno == EINTR) return 0;
        RecordSocketError();
        return -1;
    }
    if ((entry.revents & POLLNVAL) != 0) return -1;
    return 1;
}

}  // namespace kerrow
