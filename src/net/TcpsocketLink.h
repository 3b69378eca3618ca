// The TCP link: a stream socket to one storage server. It is single-use: once
// closed, or once a connect has failed, its socket is gone and its owner makes
// a new link. Errors are numbered as Windows Sockets numbers them.
//
// During a transfer the worker reads the link while command threads write to
// it, and either may close it (the worker at the end notice, a write that
// fails): the socket and the marks are atomic, the socket is taken by
// exactly one Close, and a socket that Close took stays open until the read,
// write or wait using it at that moment is done, so that none of them acts
// on a descriptor that the system has handed out again.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "net/NetLink.h"

namespace kerrow {

class TcpsocketLink : public NetLink {
  public:
    // Opens the socket at once; m_fd stays -1 when that fails.
    TcpsocketLink();
    // Leaves the socket alone: the owner calls Close first.
    ~TcpsocketLink() override;
    TcpsocketLink(const TcpsocketLink&) = delete;
    TcpsocketLink& operator=(const TcpsocketLink&) = delete;

    int32_t Connect(const std::string& host, uint32_t port) override;
    int32_t Close() override;
    int32_t Read(char* buffer, int32_t length) override;
    int32_t Write(const char* buffer, int32_t length) override;

    int32_t SetReadBuffer(uint32_t bytes) override;
    int32_t SetWriteBuffer(uint32_t bytes) override;
    int32_t SetNonBlocking() override;
    int32_t SetBlocking() override;
    int32_t SetReuseAddr() override;

    bool IsConnected() override { return m_connected.load() != 0; }
    bool IsClosed() override { return m_closed.load() != 0; }
    std::string GetErrorText() override;
    int32_t GetLastError() override;

    int32_t WaitReadable(uint32_t milliseconds) override;
    int32_t Socket() const override { return m_closed.load() != 0 ? -1 : m_fd.load(); }

  private:
    // Closes the socket of a connect that failed; the link is not marked
    // closed, it is merely left without a socket.
    void DropSocket();
    int32_t SetBufferSize(int option, uint32_t bytes, const char* failureText);
    int32_t SetBlockingMode(bool nonBlocking);
    // The socket for one read, write or wait, -1 when closed; each Use is
    // matched by one Done.
    int32_t Use();
    void Done();
    // Closes the socket taken by Close once nothing uses it.
    void CloseWhenUnused();

    std::atomic<int32_t> m_fd;
    std::atomic<uint8_t> m_connected;
    std::atomic<uint8_t> m_closed;
    std::atomic<int32_t> m_users{0};
    std::atomic<int32_t> m_closing{-1};  // taken by Close, not yet closed
    uint32_t m_port;
    std::string m_host;
};

}  // namespace kerrow
