// The storage server's side of media transfers for the benchmarks, in the
// benchmark's own process: one thread, non-blocking sockets and poll, so that
// it costs little and its CPU time can be told apart from the client's.
//
// Each connection is answered request by request: a play or download start
// (500, 510) gets its start reply with a transfer number and then the stream;
// any other request gets a result reply with code 0 (the acknowledgement that
// a pause or resume waits for). The stream is one header message (content
// type 01) and then data messages (02), every one of the given total size, up
// to the given count, then the end notice of the start's Method and the
// connection is closed. With a count of 0 the stream never ends.
//
// The pace is shared by all connections: unlimited, none (nothing is sent;
// silence), or a number of bytes per second for each connection, counted in
// whole messages from the moment the pace was set.
#pragma once

#include <pthread.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace kerrow::bench {

class StreamServer {
  public:
    static constexpr size_t kMaxMessage = 40960;  // the largest the receive loop takes
    static constexpr size_t kHeadBytes = 110;     // envelope head before the payload
    static constexpr uint32_t kTaskId = 77;

    // messageSize is the total of every media message, head included.
    StreamServer(uint64_t messages, size_t messageSize);
    ~StreamServer();
    StreamServer(const StreamServer&) = delete;
    StreamServer& operator=(const StreamServer&) = delete;

    uint16_t Port() const { return port_; }

    // Bytes per second for each connection; kUnlimited, or 0 for silence.
    static constexpr double kUnlimited = -1;
    void SetPace(double bytesPerSecond);

    // Payload bytes a client receives for the whole stream (header included).
    uint64_t PayloadBytes() const;
    // Bytes the stream puts on a connection after the start reply (heads,
    // payload and end notice).
    uint64_t StreamBytes(int endMethod) const;
    uint64_t MediaBytesSent() const { return mediaBytesSent_.load(); }
    size_t OpenConnections() const { return openConnections_.load(); }

    // CPU time consumed by the server's thread so far.
    double CpuSeconds() const;

  private:
    struct Conn;

    void Loop();
    void ReadRequests(Conn& conn);
    void Answer(Conn& conn, const std::string& request);
    // Sends what is due; false when the connection is finished or failed.
    bool Flush(Conn& conn, double now, double pace);
    uint64_t DueMessages(const Conn& conn, double now, double pace) const;
    double NextDue(const Conn& conn, double now, double pace) const;

    uint64_t messages_;
    size_t messageSize_;
    std::string header_;  // the header message
    std::string block_;   // several data messages back to back
    int listenFd_ = -1;
    int wakeRead_ = -1;
    int wakeWrite_ = -1;
    uint16_t port_ = 0;

    std::mutex paceLock_;
    double pace_ = kUnlimited;
    uint64_t paceGeneration_ = 0;
    std::atomic<bool> stopping_{false};
    std::atomic<uint64_t> mediaBytesSent_{0};
    std::atomic<size_t> openConnections_{0};
    std::thread thread_;
    pthread_t threadHandle_{};
};

// A blocking TCP connection to 127.0.0.1:port; -1 on failure.
int ConnectLoopback(uint16_t port);

// A fresh temporary working directory for the process (the library's log and
// the downloaded files land there), removed with everything in it at the end.
class WorkDirectory {
  public:
    bool Enter();
    ~WorkDirectory();

  private:
    std::string path_;
    std::string previous_;
};

// Resident memory of the process (VmRSS) in KiB; 0 when unknown.
long ResidentKiB();
// CPU time of the whole process (user and system) in seconds.
double ProcessCpuSeconds();
double MonotonicSeconds();

}  // namespace kerrow::bench
