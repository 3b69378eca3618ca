// A Connection is what a Client owns to talk to its storage server: it picks
// the kind of link, creates and tunes it, connects it, and forwards reads,
// writes and closing to it. Only the TCP link exists; the other kinds are
// named and refused.
#pragma once

#include <cstdint>
#include <string>

namespace kerrow {

class NetLink;

class Connection {
  public:
    // Link kinds.
    static constexpr int32_t kTcp = 0;
    static constexpr int32_t kUdpSocket = 1;
    static constexpr int32_t kRtpLink = 2;
    static constexpr int32_t kRtspLink = 3;

    explicit Connection(int32_t linkType);
    // Destroys the link, which leaves its socket alone: call Close first.
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // 0 connected (socket non-blocking from here on), -1 failed.
    int32_t Connect(const std::string& host, uint32_t port);

    // Forwarded to the link; valid only after a successful Connect.
    int32_t Read(char* buffer, int32_t length);
    int32_t Write(const char* buffer, int32_t length);
    int32_t Close();
    bool IsClosed();
    std::string GetErrorText();
    // 1 readable (or the peer gone), 0 time-out, -1 failure.
    int32_t WaitReadable(uint32_t milliseconds);
    // The link's socket, for a wait that watches more than the link; -1
    // when there is none.
    int32_t Socket() const;

  private:
    int32_t m_linkType;
    NetLink* m_plink;
};

}  // namespace kerrow
