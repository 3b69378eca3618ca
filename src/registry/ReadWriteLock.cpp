#include "registry/ReadWriteLock.h"

namespace kerrow {

ReadWriteLock::ReadWriteLock() = default;

bool ReadWriteLock::Lock(Mode mode, uint32_t timeoutMs) {
    if (gate_.Wait(timeoutMs) != platform::WaitResult::Signaled) return false;

    bool acquired = false;
    stateLock_.Enter();
    int32_t state = state_;
    stateLock_.Leave();

    if (mode == kRead) {
        // Readers share the lock unless a writer holds it.
        if (state != kWriter || freeEvent_.Wait(timeoutMs) == platform::WaitResult::Signaled) {
            platform::CriticalSectionGuard guard(stateLock_);
            state_ = kReaders;
            ++readers_;
            freeEvent_.Reset();
            acquired = true;
        }
    } else {
        if (state == kFree || freeEvent_.Wait(timeoutMs) == platform::WaitResult::Signaled) {
            platform::CriticalSectionGuard guard(stateLock_);
            state_ = kWriter;
            freeEvent_.Reset();
            acquired = true;
        }
    }
    gate_.Release();
    return acquired;
}

void ReadWriteLock::Unlock() {
    platform::CriticalSectionGuard guard(stateLock_);
    if (state_ == kReaders) {
        if (--readers_ == 0) {
            state_ = kFree;
            freeEvent_.Set();
        }
    } else if (state_ == kWriter) {
        state_ = kFree;
        freeEvent_.Set();
    }
}

}  // namespace kerrow
