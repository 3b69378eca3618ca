// A loopback TCP listener that never accepts: the kernel completes the
// connections in its backlog, which is all a connect needs.
#pragma once

#include <cstdint>

namespace kerrow::test {

class PortListener {
  public:
    explicit PortListener(int backlog = 512);
    ~PortListener();
    PortListener(const PortListener&) = delete;
    PortListener& operator=(const PortListener&) = delete;

    uint16_t Port() const { return port_; }

  private:
    int fd_ = -1;
    uint16_t port_ = 0;
};

// A listener whose backlog is full: a connect to it is never answered, so it
// stays pending until the connecting side gives up.
class FullListener {
  public:
    FullListener();
    ~FullListener();
    FullListener(const FullListener&) = delete;
    FullListener& operator=(const FullListener&) = delete;

    uint16_t Port() const { return listener_.Port(); }
    // False when the backlog never filled up (the test cannot go on).
    bool Full() const { return full_; }

  private:
    PortListener listener_{0};
    int fillers_[32];
    int count_ = 0;
    bool full_ = false;
};

// A loopback port on which nothing listens (bound, then closed).
uint16_t UnusedPort();

}  // namespace kerrow::test
