// An in-process storage server for tests: it listens on an ephemeral
// 127.0.0.1 port, accepts any number of client connections, cuts what each
// sends into framed messages (63-byte head, eight length digits at offset 55),
// records every message byte for byte and answers each one as the test says:
// from a queue of scripted replies, or from a handler that sees every request.
//
// A reply is a list of pieces, each sent after its own delay, optionally
// followed by closing the connection; that covers answering at once, late,
// never, in fragments, with wrong length digits, with text that is not XML,
// and closing in the middle of a message. Unsolicited bytes (media streams)
// are pushed the same way.
//
// Every connection has a reading thread and a writing thread, so requests keep
// being read and recorded while a slow reply or a stream is being written.
// All waits are bounded; Stop (or the destructor) ends every thread.
//
// Messages are cut by the protocol's FrameReader and the replies printed by
// the server's builders, both from kerrow_protocol_server, a static copy of
// the protocol code: the server works with the shared library seen from
// outside as well as with its parts.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "protocol/FrameReader.h"

namespace kerrow::test {

using Millis = std::chrono::milliseconds;

// Message texts as the server prints them.
// A head with the given two content-type digits, then the body, with the
// total length stamped into the digits at offset 55.
std::string FrameMessage(const std::string& contentType, const std::string& body);
// A control message ("00"): Method, then Action holding the given lines (each
// already indented by four blanks and ended by "\n").
std::string ControlMessage(int method, const std::string& actionLines);
// The reply that carries a result code: Action/ControlResponse/Code.
std::string ResultReply(int method, int code);
// The message with its eight length digits replaced (digits is 8 characters).
std::string WithLengthDigits(std::string message, const std::string& digits);
// The text of the first <element>...</element> of a message; "" when absent.
std::string TextOf(const std::string& message, const std::string& element);

// One framed message as received from a client.
struct Request {
    size_t connection = 0;  // connection number, in accept order from 0
    size_t index = 0;       // position among that connection's requests
    std::string bytes;      // the whole message, head included

    int ContentType() const;  // the two digits at offset 93
    int Method() const;       // the Method element, or -1
    std::string Text(const std::string& element) const { return TextOf(bytes, element); }
};

struct Reply {
    struct Piece {
        Millis delay{0};  // waited before this piece is sent
        std::string bytes;
    };
    std::vector<Piece> pieces;
    bool closeAfter = false;  // close the connection once the pieces are out

    static Reply Now(std::string bytes);
    static Reply After(Millis delay, std::string bytes);
    static Reply Never();
    // Consecutive pieces of the given sizes, gap apart; bytes left over after
    // the sizes go out as one last piece.
    static Reply Fragments(const std::string& bytes, const std::vector<size_t>& sizes, Millis gap);
    static Reply CloseConnection();

    Reply& Then(const Reply& next);  // next's pieces follow (and its close)
    Reply& ThenClose();
};

class TestServer {
  public:
    using Handler = std::function<Reply(const Request&)>;
    static constexpr Millis kWait{5000};

    TestServer();  // listening when constructed
    ~TestServer();
    TestServer(const TestServer&) = delete;
    TestServer& operator=(const TestServer&) = delete;

    static const char* Host() { return "127.0.0.1"; }
    uint16_t Port() const { return port_; }

    // Queues the reply to the next request that arrives on any connection; a
    // request that finds the queue empty gets no reply.
    void Script(Reply reply);
    // Decides the reply to every request instead of the queue. Runs on the
    // connection's reading thread, without the server's lock (it may call
    // Push and Close).
    void SetHandler(Handler handler);
    // Sends on a connection independently of any request.
    void Push(size_t connection, Reply reply);
    // Closes the connection now (the client reads what it already has, then
    // the end).
    void Close(size_t connection);

    // Bounded waits; false when the time ran out.
    bool WaitConnections(size_t count, Millis timeout = kWait);
    bool WaitRequests(size_t count, Millis timeout = kWait);  // over all connections
    bool WaitRequests(size_t connection, size_t count, Millis timeout = kWait);
    // Until the connection reads no more: the client closed it, or it was
    // closed here.
    bool WaitClosed(size_t connection, Millis timeout = kWait);
    // Until everything queued for the connection has been written.
    bool WaitDrained(size_t connection, Millis timeout = kWait);

    size_t ConnectionCount() const;
    std::vector<Request> Requests() const;  // all, in arrival order
    std::vector<Request> Requests(size_t connection) const;
    std::string Received(size_t connection) const;  // every byte, framed or not
    // The connection sent a head whose length digits made no sense; framing
    // stopped there (later bytes are still kept in Received).
    bool Garbled(size_t connection) const;

    void Stop();

  private:
    struct Conn;

    void AcceptLoop();
    void ReadLoop(Conn* conn);
    void WriteLoop(Conn* conn);
    bool TakeFrames(Conn* conn, FrameReader& frames);
    void Enqueue(Conn* conn, Reply reply);  // lock held
    Conn* Find(size_t connection) const;    // lock held; null when unknown

    int listenFd_ = -1;
    int wakeRead_ = -1;
    int wakeWrite_ = -1;
    uint16_t port_ = 0;
    std::thread acceptor_;

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    bool stopping_ = false;
    std::vector<std::unique_ptr<Conn>> conns_;
    std::deque<Reply> script_;
    Handler handler_;
    std::vector<Request> requests_;
};

}  // namespace kerrow::test
