// Locks and events of the library, in the shape its Windows design uses them:
// recursive critical sections, manual- or auto-reset events, and a mutex with
// a bounded wait. Nothing above this folder includes a threading header.
#pragma once

#include <cstdint>
#include <memory>

namespace kerrow::platform {

constexpr uint32_t kInfinite = 0xFFFFFFFFu;

enum class WaitResult { Signaled, TimedOut, Failed };

// Win32 critical section: recursive, no timeout.
class CriticalSection {
  public:
    CriticalSection();
    ~CriticalSection();
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    void Enter();
    void Leave();

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

// Enters on construction, leaves on destruction.
class CriticalSectionGuard {
  public:
    explicit CriticalSectionGuard(CriticalSection& cs) : cs_(cs) { cs_.Enter(); }
    ~CriticalSectionGuard() { cs_.Leave(); }
    CriticalSectionGuard(const CriticalSectionGuard&) = delete;
    CriticalSectionGuard& operator=(const CriticalSectionGuard&) = delete;

  private:
    CriticalSection& cs_;
};

// Win32 event. A manual-reset event stays signalled until Reset; an
// auto-reset event releases one waiter and resets itself.
class Event {
  public:
    Event(bool manualReset, bool initiallySignaled);
    ~Event();
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    void Set();
    void Reset();
    // Waits at most the given time (kInfinite: forever; 0: only tests).
    WaitResult Wait(uint32_t milliseconds);

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

// Win32 mutex: owned by one thread at a time, recursive for its owner, with a
// bounded wait. Each successful Wait is matched by one Release on the owning
// thread; Release on any other thread fails and changes nothing.
class Mutex {
  public:
    explicit Mutex(bool initiallyOwned);
    ~Mutex();
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    WaitResult Wait(uint32_t milliseconds);
    bool Release();  // false when the calling thread does not own it

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace kerrow::platform
