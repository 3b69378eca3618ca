// An auto-reset event that a wait on a socket can watch too: a worker that
// waits for its socket to turn readable is also woken by Set (a stop, a
// resume, a binding), so it sleeps instead of polling.
#pragma once

#include <cstdint>

#include "platform/Sync.h"

namespace kerrow::platform {

class WakeEvent {
  public:
    WakeEvent();
    ~WakeEvent();
    WakeEvent(const WakeEvent&) = delete;
    WakeEvent& operator=(const WakeEvent&) = delete;

    void Set();
    // Waits at most the given time (kInfinite: forever) for Set; a Set
    // releases one wait and is consumed by it.
    WaitResult Wait(uint32_t milliseconds);

    // What a wait on a socket and this event together saw.
    enum class Seen { Readable, Woken, TimedOut, Failed };
    // Waits at most the given time until the socket is readable (or its peer
    // gone) or Set is called; a Set is consumed. A socket of -1 is not
    // watched.
    Seen WaitReadable(int socket, uint32_t milliseconds);

  private:
    int fd_;
};

}  // namespace kerrow::platform
