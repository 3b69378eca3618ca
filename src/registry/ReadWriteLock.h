// The registry's reader/writer lock. A thread holds the entry gate for the
// whole of its lock attempt, so a writer waiting for the readers to leave
// keeps new readers out: writers are preferred.
#pragma once

#include <cstdint>

#include "platform/Sync.h"

namespace kerrow {

class ReadWriteLock {
  public:
    enum Mode { kRead = 1, kWrite = 2 };

    ReadWriteLock();
    ~ReadWriteLock() = default;
    ReadWriteLock(const ReadWriteLock&) = delete;
    ReadWriteLock& operator=(const ReadWriteLock&) = delete;

    bool LockRead() { return Lock(kRead, platform::kInfinite); }
    bool LockWrite() { return Lock(kWrite, platform::kInfinite); }
    bool Lock(Mode mode, uint32_t timeoutMs);
    void Unlock();

  private:
    enum State { kFree = 0, kReaders = 1, kWriter = 2 };

    int32_t state_ = kFree;  // guarded by stateLock_
    uint32_t readers_ = 0;   // guarded by stateLock_
    platform::Event freeEvent_{true, false};
    platform::Mutex gate_{false};
    platform::CriticalSection stateLock_;
};

// Holds the lock in one mode for a scope.
class ScopedLock {
  public:
    ScopedLock(ReadWriteLock& lock, ReadWriteLock::Mode mode) : lock_(lock) {
        locked_ = mode == ReadWriteLock::kRead ? lock_.LockRead() : lock_.LockWrite();
    }
    ~ScopedLock() {
        if (locked_) lock_.Unlock();
    }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

  private:
    ReadWriteLock& lock_;
    bool locked_;
};

}  // namespace kerrow
