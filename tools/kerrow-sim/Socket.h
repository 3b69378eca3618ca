// The simulator's only contact with the operating system's sockets: a
// listening socket and the connected sockets it accepts. Every wait is
// bounded, so a thread blocked here notices a shutdown within its time-out.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace kerrow::sim {

class Socket {
  public:
    Socket() = default;
    explicit Socket(int fd) : fd_(fd) {}
    ~Socket();
    Socket(Socket&& other) noexcept;
    Socket& operator=(Socket&& other) noexcept;
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    bool Valid() const { return fd_ >= 0; }

    // Listens on host:port (port 0: any free port) with a deep backlog.
    static Socket Listen(const std::string& host, uint16_t port, std::string* error);
    uint16_t LocalPort() const;
    // Waits up to timeoutMs for a connection; invalid socket when none came.
    Socket Accept(int timeoutMs, std::string* peer) const;

    enum : long { kTimeout = 0, kClosed = -1 };
    // Reads what is there, waiting up to timeoutMs for the first byte:
    // bytes read, kTimeout, or kClosed (end of stream or error).
    long Read(char* buffer, size_t size, int timeoutMs) const;
    // True when a byte can be read (or the peer closed) within timeoutMs.
    bool Readable(int timeoutMs) const;
    // Writes everything unless the peer stops reading for timeoutMs at a
    // stretch or the connection fails.
    bool WriteAll(const char* data, size_t size, int timeoutMs) const;

    // Ends both directions; a thread waiting in Read or WriteAll returns.
    void Shutdown() const;
    void Close();

  private:
    int fd_ = -1;
};

}  // namespace kerrow::sim
