#include "support/TestServer.h"

#include <arpa/inet.h>
#include <errno.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "protocol/Envelope.h"
#include "protocol/server/ServerReplies.h"

namespace kerrow::test {
namespace {

void Fail(const char* what) {
    throw std::runtime_error(std::string("test server: ") + what + ": " + std::strerror(errno));
}

bool SendAll(int fd, const std::string& bytes) {
    size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t n = ::send(fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        sent += static_cast<size_t>(n);
    }
    return true;
}

}  // namespace

std::string FrameMessage(const std::string& contentType, const std::string& body) {
    std::string message;
    BuildDataHead(message);
    message.replace(kContentTypeOffset, kContentTypeDigits, contentType, 0, kContentTypeDigits);
    message += body;
    StampContentLength(message);
    return message;
}

std::string ControlMessage(int method, const std::string& actionLines) {
    return FrameMessage("00", "<Method>" + std::to_string(method) + "</Method>\n<Action>\n" +
                                  actionLines + "</Action>\n");
}

std::string ResultReply(int method, int code) {
    std::string message;
    BuildResultReply(method, code, message);
    return message;
}

std::string WithLengthDigits(std::string message, const std::string& digits) {
    message.replace(kLengthOffset, kLengthDigits, digits.substr(0, kLengthDigits));
    return message;
}

std::string TextOf(const std::string& message, const std::string& element) {
    const std::string open = "<" + element + ">";
    const size_t start = message.find(open);
    if (start == std::string::npos) return "";
    const size_t from = start + open.size();
    const size_t end = message.find("</" + element + ">", from);
    return end == std::string::npos ? "" : message.substr(from, end - from);
}

int Request::ContentType() const {
    if (bytes.size() < kContentTypeOffset + kContentTypeDigits) return -1;
    return ReadContentType(bytes.data(), bytes.size());
}

int Request::Method() const {
    const std::string text = Text("Method");
    return text.empty() ? -1 : std::atoi(text.c_str());
}

Reply Reply::Now(std::string bytes) { return After(Millis(0), std::move(bytes)); }

Reply Reply::After(Millis delay, std::string bytes) {
    Reply reply;
    reply.pieces.push_back(Piece{delay, std::move(bytes)});
    return reply;
}

Reply Reply::Never() { return Reply(); }

Reply Reply::Fragments(const std::string& bytes, const std::vector<size_t>& sizes, Millis gap) {
    Reply reply;
    size_t at = 0;
    for (size_t size : sizes) {
        if (at >= bytes.size()) break;
        reply.pieces.push_back(Piece{at == 0 ? Millis(0) : gap, bytes.substr(at, size)});
        at += size;
    }
    if (at < bytes.size())
        reply.pieces.push_back(Piece{at == 0 ? Millis(0) : gap, bytes.substr(at)});
    return reply;
}

Reply Reply::CloseConnection() {
    Reply reply;
    reply.closeAfter = true;
    return reply;
}

Reply& Reply::Then(const Reply& next) {
    pieces.insert(pieces.end(), next.pieces.begin(), next.pieces.end());
    closeAfter = closeAfter || next.closeAfter;
    return *this;
}

Reply& Reply::ThenClose() {
    closeAfter = true;
    return *this;
}

struct TestServer::Conn {
    size_t number = 0;
    int fd = -1;
    std::thread reader;
    std::thread writer;
    std::deque<Reply> outgoing;
    bool writing = false;
    bool closed = false;  // closed from this side
    bool ended = false;   // the reading thread saw the end
    bool garbled = false;
    size_t requestCount = 0;
    std::string received;
};

TestServer::TestServer() {
    listenFd_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (listenFd_ < 0) Fail("socket");
    sockaddr_in address;
    std::memset(&address, 0, sizeof(address));
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    if (::bind(listenFd_, reinterpret_cast<sockaddr*>(&address), size) != 0) Fail("bind");
    if (::listen(listenFd_, 64) != 0) Fail("listen");
    if (::getsockname(listenFd_, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        Fail("getsockname");
    }
    port_ = ntohs(address.sin_port);
    int wake[2];
    if (::pipe2(wake, O_CLOEXEC) != 0) Fail("pipe");
    wakeRead_ = wake[0];
    wakeWrite_ = wake[1];
    acceptor_ = std::thread(&TestServer::AcceptLoop, this);
}

TestServer::~TestServer() { Stop(); }

void TestServer::Stop() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (stopping_) return;
        stopping_ = true;
    }
    changed_.notify_all();
    const char wake = 'x';
    while (::write(wakeWrite_, &wake, 1) < 0 && errno == EINTR) {
    }
    acceptor_.join();

    // No connection is added any more; waking every blocked read and write.
    std::vector<Conn*> conns;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        for (auto& conn : conns_) {
            ::shutdown(conn->fd, SHUT_RDWR);
            conns.push_back(conn.get());
        }
    }
    for (Conn* conn : conns) {
        conn->reader.join();
        conn->writer.join();
    }
    std::lock_guard<std::mutex> lock(mutex_);
    for (Conn* conn : conns) {
        ::close(conn->fd);
        conn->fd = -1;
    }
    ::close(listenFd_);
    ::close(wakeRead_);
    ::close(wakeWrite_);
}

void TestServer::AcceptLoop() {
    for (;;) {
        pollfd entries[2] = {{listenFd_, POLLIN, 0}, {wakeRead_, POLLIN, 0}};
        if (::poll(entries, 2, -1) < 0) {
            if (errno == EINTR) continue;
            return;
        }
        if (entries[1].revents != 0) return;
        if ((entries[0].revents & POLLIN) == 0) continue;
        const int fd = ::accept4(listenFd_, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0) continue;

        std::lock_guard<std::mutex> lock(mutex_);
        if (stopping_) {
            ::close(fd);
            return;
        }
        auto conn = std::make_unique<Conn>();
        conn->number = conns_.size();
        conn->fd = fd;
        Conn* raw = conn.get();
        conns_.push_back(std::move(conn));
        raw->reader = std::thread(&TestServer::ReadLoop, this, raw);
        raw->writer = std::thread(&TestServer::WriteLoop, this, raw);
        changed_.notify_all();
    }
}

void TestServer::ReadLoop(Conn* conn) {
    // The reader of a document wait: any total from 64 up.
    FrameReader frames(kDocumentWaitLimits);
    bool framing = true;
    char buffer[65536];
    for (;;) {
        const ssize_t n = ::recv(conn->fd, buffer, sizeof(buffer), 0);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            conn->received.append(buffer, static_cast<size_t>(n));
        }
        if (framing) {
            frames.Feed(buffer, static_cast<size_t>(n));
            framing = TakeFrames(conn, frames);
        }
    }
    std::lock_guard<std::mutex> lock(mutex_);
    conn->ended = true;
    changed_.notify_all();
}

// Answers every complete message that frames holds; false once the length
// digits of a head made no sense.
bool TestServer::TakeFrames(Conn* conn, FrameReader& frames) {
    for (;;) {
        const FrameReader::Result result = frames.Next();
        if (result == FrameReader::Result::NeedMore) return true;
        if (result == FrameReader::Result::Rejected) {
            frames.Clear();
            std::lock_guard<std::mutex> lock(mutex_);
            conn->garbled = true;
            changed_.notify_all();
            return false;
        }

        Request request;
        request.connection = conn->number;
        request.bytes.assign(frames.Message(), static_cast<size_t>(frames.Total()));

        Handler handler;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            request.index = conn->requestCount;
            handler = handler_;
        }
        Reply reply;
        bool answered = false;
        if (handler) {
            reply = handler(request);
            answered = true;
        }

        std::lock_guard<std::mutex> lock(mutex_);
        if (!answered && !script_.empty()) {
            reply = std::move(script_.front());
            script_.pop_front();
            answered = true;
        }
        if (answered) Enqueue(conn, std::move(reply));
        requests_.push_back(std::move(request));
        ++conn->requestCount;
        changed_.notify_all();
    }
}

void TestServer::WriteLoop(Conn* conn) {
    std::unique_lock<std::mutex> lock(mutex_);
    const auto over = [&] { return stopping_ || conn->closed; };
    for (;;) {
        changed_.wait(lock, [&] { return over() || !conn->outgoing.empty(); });
        if (over()) break;
        Reply reply = std::move(conn->outgoing.front());
        conn->outgoing.pop_front();
        conn->writing = true;
        for (const Reply::Piece& piece : reply.pieces) {
            if (piece.delay.count() > 0) changed_.wait_for(lock, piece.delay, over);
            if (over()) break;
            lock.unlock();
            SendAll(conn->fd, piece.bytes);
            lock.lock();
        }
        if (reply.closeAfter && !conn->closed) {
            conn->closed = true;
            ::shutdown(conn->fd, SHUT_RDWR);
        }
        conn->writing = false;
        changed_.notify_all();
    }
    conn->writing = false;
    changed_.notify_all();
}

void TestServer::Enqueue(Conn* conn, Reply reply) {
    if (reply.pieces.empty() && !reply.closeAfter) return;
    conn->outgoing.push_back(std::move(reply));
}

TestServer::Conn* TestServer::Find(size_t connection) const {
    return connection < conns_.size() ? conns_[connection].get() : nullptr;
}

void TestServer::Script(Reply reply) {
    std::lock_guard<std::mutex> lock(mutex_);
    script_.push_back(std::move(reply));
}

void TestServer::SetHandler(Handler handler) {
    std::lock_guard<std::mutex> lock(mutex_);
    handler_ = std::move(handler);
}

void TestServer::Push(size_t connection, Reply reply) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (Conn* conn = Find(connection)) {
        Enqueue(conn, std::move(reply));
        changed_.notify_all();
    }
}

void TestServer::Close(size_t connection) {
    std::lock_guard<std::mutex> lock(mutex_);
    Conn* conn = Find(connection);
    if (conn == nullptr || conn->closed || conn->fd < 0) return;
    conn->closed = true;
    ::shutdown(conn->fd, SHUT_RDWR);
    changed_.notify_all();
}

bool TestServer::WaitConnections(size_t count, Millis timeout) {
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, timeout, [&] { return conns_.size() >= count; });
}

bool TestServer::WaitRequests(size_t count, Millis timeout) {
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, timeout, [&] { return requests_.size() >= count; });
}

bool TestServer::WaitRequests(size_t connection, size_t count, Millis timeout) {
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, timeout, [&] {
        const Conn* conn = Find(connection);
        return conn != nullptr && conn->requestCount >= count;
    });
}

bool TestServer::WaitClosed(size_t connection, Millis timeout) {
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, timeout, [&] {
        const Conn* conn = Find(connection);
        return conn != nullptr && conn->ended;
    });
}

bool TestServer::WaitDrained(size_t connection, Millis timeout) {
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, timeout, [&] {
        const Conn* conn = Find(connection);
        return conn != nullptr && conn->outgoing.empty() && !conn->writing;
    });
}

size_t TestServer::ConnectionCount() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return conns_.size();
}

std::vector<Request> TestServer::Requests() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return requests_;
}

std::vector<Request> TestServer::Requests(size_t connection) const {
    std::lock_guard<std::mutex> lock(mutex_);
    std::vector<Request> result;
    for (const Request& request : requests_) {
        if (request.connection == connection) result.push_back(request);
    }
    return result;
}

std::string TestServer::Received(size_t connection) const {
    std::lock_guard<std::mutex> lock(mutex_);
    const Conn* conn = Find(connection);
    return conn != nullptr ? conn->received : std::string();
}

bool TestServer::Garbled(size_t connection) const {
    std::lock_guard<std::mutex> lock(mutex_);
    const Conn* conn = Find(connection);
    return conn != nullptr && conn->garbled;
}

}  // namespace kerrow::test
