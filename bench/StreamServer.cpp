#include "StreamServer.h"

#include <arpa/inet.h>
#include <errno.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "support/TestServer.h"
#include "support/TransferReplies.h"

namespace kerrow::bench {
namespace {

constexpr size_t kBlockMessages = 16;  // data messages kept ready back to back
constexpr size_t kReadChunk = 4096;
constexpr size_t kRequestHead = 63;
constexpr size_t kLengthOffset = 55;

void NonBlocking(int fd) { ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK); }

std::string Media(const char* contentType, size_t total, char fill) {
    return test::FrameMessage(contentType, std::string(total - StreamServer::kHeadBytes, fill));
}

}  // namespace

struct StreamServer::Conn {
    int fd = -1;
    std::string in;
    std::string control;  // replies and notices not yet sent
    size_t controlSent = 0;
    bool streaming = false;
    int endMethod = 0;
    uint64_t dataSent = 0;  // bytes of data messages sent
    uint64_t paceGeneration = 0;
    double paceStart = 0;  // when the current pace began for this connection
    uint64_t paceStartMessages = 0;
    bool ended = false;  // end notice queued: close once all is out
};

StreamServer::StreamServer(uint64_t messages, size_t messageSize)
    : messages_(messages), messageSize_(messageSize) {
    header_ = Media("01", messageSize_, 'h');
    for (size_t i = 0; i < kBlockMessages; ++i) block_ += Media("02", messageSize_, 'd');

    listenFd_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    int yes = 1;
    ::setsockopt(listenFd_, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
    sockaddr_in address;
    std::memset(&address, 0, sizeof(address));
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    if (::bind(listenFd_, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
        ::listen(listenFd_, 512) != 0 ||
        ::getsockname(listenFd_, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        throw std::runtime_error("stream server: cannot listen");
    }
    port_ = ntohs(address.sin_port);
    NonBlocking(listenFd_);
    int pipeFds[2];
    if (::pipe2(pipeFds, O_CLOEXEC | O_NONBLOCK) != 0) {
        throw std::runtime_error("stream server: no pipe");
    }
    wakeRead_ = pipeFds[0];
    wakeWrite_ = pipeFds[1];
    thread_ = std::thread([this] { Loop(); });
    threadHandle_ = thread_.native_handle();
}

StreamServer::~StreamServer() {
    stopping_ = true;
    const char byte = 0;
    if (::write(wakeWrite_, &byte, 1) < 0) { /* the loop also wakes by itself */
    }
    thread_.join();
    ::close(listenFd_);
    ::close(wakeRead_);
    ::close(wakeWrite_);
}

void StreamServer::SetPace(double bytesPerSecond) {
    {
        std::lock_guard<std::mutex> guard(paceLock_);
        pace_ = bytesPerSecond;
        ++paceGeneration_;
    }
    const char byte = 0;
    if (::write(wakeWrite_, &byte, 1) < 0) { /* a full pipe wakes the loop anyway */
    }
}

uint64_t StreamServer::PayloadBytes() const {
    return (messages_ + 1) * (messageSize_ - kHeadBytes);
}

uint64_t StreamServer::StreamBytes(int endMethod) const {
    return (messages_ + 1) * messageSize_ + test::EndNotice(endMethod, kTaskId).size();
}

double StreamServer::CpuSeconds() const {
    clockid_t clock;
    timespec ts;
    if (pthread_getcpuclockid(threadHandle_, &clock) != 0 || clock_gettime(clock, &ts) != 0) {
        return 0;
    }
    return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

void StreamServer::ReadRequests(Conn& conn) {
    for (;;) {
        if (conn.in.size() < kRequestHead) return;
        const long total = std::atol(conn.in.substr(kLengthOffset, 8).c_str());
        if (total <= static_cast<long>(kRequestHead)) {
            conn.in.clear();  // nothing here sends that; drop it
            return;
        }
        if (conn.in.size() < static_cast<size_t>(total)) return;
        Answer(conn, conn.in.substr(0, static_cast<size_t>(total)));
        conn.in.erase(0, static_cast<size_t>(total));
    }
}

void StreamServer::Answer(Conn& conn, const std::string& request) {
    const std::string methodText = test::TextOf(request, "Method");
    const int method = methodText.empty() ? -1 : std::atoi(methodText.c_str());
    if ((method == 500 || method == 510) && !conn.streaming) {
        conn.control += test::StartReply(method, kTaskId, 0) + header_;
        conn.streaming = true;
        conn.endMethod = method;
        mediaBytesSent_ += header_.size();
        return;
    }
    if (method == 501 || method == 511) return;  // stop: the client closes
    conn.control += test::ResultReply(method, 0);
}

uint64_t StreamServer::DueMessages(const Conn& conn, double now, double pace) const {
    const uint64_t sent = conn.dataSent / messageSize_;
    uint64_t due = 0;
    if (pace < 0) {
        due = sent + kBlockMessages;
    } else if (pace > 0) {
        due = conn.paceStartMessages +
              static_cast<uint64_t>((now - conn.paceStart) * pace / messageSize_) + 1;
    } else {
        due = sent;
    }
    if (messages_ != 0) due = std::min(due, messages_);
    return std::max(due, sent);
}

double StreamServer::NextDue(const Conn& conn, double now, double pace) const {
    if (pace <= 0) return now + 1;
    const uint64_t next = conn.dataSent / messageSize_ + 1 - conn.paceStartMessages;
    return conn.paceStart + static_cast<double>(next) * messageSize_ / pace;
}

bool StreamServer::Flush(Conn& conn, double now, double pace) {
    for (;;) {
        // Control texts go out between whole data messages only.
        const bool atBoundary = conn.dataSent % messageSize_ == 0;
        if (atBoundary && conn.controlSent < conn.control.size()) {
            const ssize_t n = ::send(conn.fd, conn.control.data() + conn.controlSent,
                                     conn.control.size() - conn.controlSent, MSG_NOSIGNAL);
            if (n < 0) return errno == EAGAIN || errno == EINTR;
            conn.controlSent += static_cast<size_t>(n);
            if (conn.controlSent == conn.control.size()) {
                conn.control.clear();
                conn.controlSent = 0;
                if (conn.ended) return false;
            }
            continue;
        }
        if (!conn.streaming || conn.ended) return true;
        const uint64_t due = DueMessages(conn, now, pace) * messageSize_;
        if (due <= conn.dataSent) {
            if (messages_ != 0 && conn.dataSent == messages_ * messageSize_) {
                conn.control += test::EndNotice(conn.endMethod, kTaskId);
                conn.ended = true;
                continue;
            }
            return true;
        }
        const size_t offset = static_cast<size_t>(conn.dataSent % block_.size());
        const size_t size =
            static_cast<size_t>(std::min<uint64_t>(due - conn.dataSent, block_.size() - offset));
        const ssize_t n = ::send(conn.fd, block_.data() + offset, size, MSG_NOSIGNAL);
        if (n < 0) return errno == EAGAIN || errno == EINTR;
        conn.dataSent += static_cast<uint64_t>(n);
        mediaBytesSent_ += static_cast<uint64_t>(n);
        if (static_cast<size_t>(n) < size) return true;
    }
}

void StreamServer::Loop() {
    std::vector<std::unique_ptr<Conn>> conns;
    std::vector<pollfd> fds;
    char chunk[kReadChunk];
    while (!stopping_) {
        double pace;
        uint64_t generation;
        {
            std::lock_guard<std::mutex> guard(paceLock_);
            pace = pace_;
            generation = paceGeneration_;
        }
        const double now = MonotonicSeconds();
        double wake = now + 0.2;
        fds.assign(2, pollfd{});
        fds[0] = {listenFd_, POLLIN, 0};
        fds[1] = {wakeRead_, POLLIN, 0};
        for (auto& conn : conns) {
            if (conn->paceGeneration != generation) {
                conn->paceGeneration = generation;
                conn->paceStart = now;
                conn->paceStartMessages = conn->dataSent / messageSize_;
            }
            short events = POLLIN;
            const bool controlWaits = conn->controlSent < conn->control.size();
            const bool dataWaits = conn->streaming && !conn->ended &&
                                   (DueMessages(*conn, now, pace) * messageSize_ > conn->dataSent ||
                                    (messages_ != 0 && conn->dataSent == messages_ * messageSize_));
            if (controlWaits || dataWaits) {
                events |= POLLOUT;
            } else if (conn->streaming && pace > 0) {
                wake = std::min(wake, NextDue(*conn, now, pace));
            }
            fds.push_back({conn->fd, events, 0});
        }
        const int timeout = static_cast<int>(std::ceil(std::max(0.0, wake - now) * 1000));
        if (::poll(fds.data(), fds.size(), timeout) < 0 && errno != EINTR) break;
        if (fds[1].revents & POLLIN) {
            while (::read(wakeRead_, chunk, sizeof(chunk)) > 0) {
            }
        }
        if (fds[0].revents & POLLIN) {
            for (;;) {
                const int fd = ::accept4(listenFd_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
                if (fd < 0) break;
                auto conn = std::make_unique<Conn>();
                conn->fd = fd;
                conn->paceGeneration = generation;
                conn->paceStart = MonotonicSeconds();
                conns.push_back(std::move(conn));
                ++openConnections_;
            }
        }
        const double later = MonotonicSeconds();
        for (size_t i = 2; i < fds.size(); ++i) {
            Conn& conn = *conns[i - 2];
            bool open = true;
            if (fds[i].revents & (POLLIN | POLLHUP | POLLERR)) {
                const ssize_t n = ::recv(conn.fd, chunk, sizeof(chunk), 0);
                if (n > 0) {
                    conn.in.append(chunk, static_cast<size_t>(n));
                    ReadRequests(conn);
                } else if (n == 0 || (errno != EAGAIN && errno != EINTR)) {
                    open = false;
                }
            }
            if (open) open = Flush(conn, later, pace);
            if (!open) {
                ::close(conn.fd);
                conn.fd = -1;
            }
        }
        const size_t before = conns.size();
        conns.erase(std::remove_if(conns.begin(), conns.end(),
                                   [](const std::unique_ptr<Conn>& c) { return c->fd < 0; }),
                    conns.end());
        openConnections_ -= before - conns.size();
    }
    for (auto& conn : conns) ::close(conn->fd);
    openConnections_ = 0;
}

int ConnectLoopback(uint16_t port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return -1;
    sockaddr_in address;
    std::memset(&address, 0, sizeof(address));
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

bool WorkDirectory::Enter() {
    const char* base = std::getenv("TMPDIR");
    std::string path = std::string(base != nullptr ? base : "/tmp") + "/kerrow-bench-XXXXXX";
    if (::mkdtemp(path.data()) == nullptr) return false;
    path_ = path;
    std::error_code error;
    previous_ = std::filesystem::current_path(error).string();
    return ::chdir(path_.c_str()) == 0;
}

WorkDirectory::~WorkDirectory() {
    if (path_.empty()) return;
    std::error_code error;
    if (!previous_.empty()) std::filesystem::current_path(previous_, error);
    std::filesystem::remove_all(path_, error);
}

long ResidentKiB() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmRSS:", 0) == 0) return std::atol(line.c_str() + 6);
    }
    return 0;
}

double ProcessCpuSeconds() {
    rusage usage;
    ::getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) * 1e-6;
}

double MonotonicSeconds() {
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

}  // namespace kerrow::bench
