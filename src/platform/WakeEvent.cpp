#include "platform/WakeEvent.h"

#include <errno.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <climits>
#include <cstdint>

namespace kerrow::platform {
namespace {

int PollTimeout(uint32_t milliseconds) {
    if (milliseconds == kInfinite) return -1;
    return milliseconds > static_cast<uint32_t>(INT_MAX) ? INT_MAX : static_cast<int>(milliseconds);
}

}  // namespace

WakeEvent::WakeEvent() : fd_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

WakeEvent::~WakeEvent() {
    if (fd_ >= 0) ::close(fd_);
}

void WakeEvent::Set() {
    const uint64_t one = 1;
    if (fd_ >= 0) (void)!::write(fd_, &one, sizeof one);
}

WaitResult WakeEvent::Wait(uint32_t milliseconds) {
    switch (WaitReadable(-1, milliseconds)) {
        case Seen::Woken:
            return WaitResult::Signaled;
        case Seen::Failed:
            return WaitResult::Failed;
        default:
            return WaitResult::TimedOut;
    }
}

WakeEvent::Seen WakeEvent::WaitReadable(int socket, uint32_t milliseconds) {
    if (fd_ < 0) return Seen::Failed;
    pollfd entries[2] = {{fd_, POLLIN, 0}, {socket, POLLIN, 0}};
    const int ready = ::poll(entries, socket >= 0 ? 2 : 1, PollTimeout(milliseconds));
    if (ready == 0) return Seen::TimedOut;
    if (ready < 0) return errno == EINTR ? Seen::TimedOut : Seen::Failed;
    if ((entries[0].revents & POLLIN) != 0) {
        uint64_t count = 0;
        (void)!::read(fd_, &count, sizeof count);
        return Seen::Woken;
    }
    if ((entries[1].revents & POLLNVAL) != 0) return Seen::Failed;
    return Seen::Readable;
}

}  // namespace kerrow::platform
