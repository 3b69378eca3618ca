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

// A loopback port on which nothing listens (bound, then closed).
uint16_t UnusedPort();

}  // namespace kerrow::test
