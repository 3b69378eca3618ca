// Threads with a bounded wait and forced termination.
//
// A thread made here can be ended from outside with Terminate, which stands
// in for TerminateThread: the thread is stopped at its next platform Sleep
// (or at once, if it is sleeping) by an exception of type ThreadTerminated
// that unwinds its stack, running the destructors of its locals, and is
// caught where the thread started. Code that runs on such a thread must
// therefore let ThreadTerminated pass: a catch (...) that does not rethrow
// keeps the thread alive, and a Sleep inside a noexcept function (a
// destructor) ends the process. A thread that never reaches a Sleep (one
// blocked in an application callback, say) cannot be ended; Terminate then
// gives up after its wait.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/Sync.h"

namespace kerrow::platform {

using ThreadProc = uint32_t (*)(void* argument);

// Thrown by Sleep on a thread that is being terminated.
struct ThreadTerminated {};

// How long Terminate waits, by default, for the thread to end.
constexpr uint32_t kTerminateWait = 5000;

class Thread {
  public:
    // Starts proc(argument) on a new thread; null when it cannot be created.
    static std::unique_ptr<Thread> Create(ThreadProc proc, void* argument);
    ~Thread();  // closes the handle; a running thread goes on (detached)
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    // Waits at most the given time (kInfinite: forever) for the thread to end.
    WaitResult Wait(uint32_t milliseconds);
    // Ends the thread at its next Sleep (see above) and waits at most the
    // given time for it; true when it has ended. Called by the thread itself
    // (a stop requested from inside a callback), it only marks the thread,
    // which ends at its next Sleep, and answers false at once.
    bool Terminate(uint32_t milliseconds = kTerminateWait);
    // Cancels the thread (pthread cancellation): it ends at its next
    // cancellation point (a sleep, a read, a wait...) reached inside a
    // CancellationScope, unwinding its stack as it goes; outside such a scope
    // it is not ended until it enters one. Does not wait. A thread cannot
    // cancel itself: false, nothing done. Under ThreadSanitizer, which
    // cannot follow a cancelled thread, nothing is done either.
    bool Cancel();
    // Whether Cancel acts in this build.
    static bool CanCancel();
    // True on the thread itself.
    bool IsCurrent() const;
    // The thread's id, as GetCurrentThreadId answers on that thread.
    uint32_t Id() const;

  private:
    Thread();
    struct Impl;
    std::shared_ptr<Impl> impl_;
};

// Threads made by Thread::Create start with cancellation disabled; a scope
// lets Cancel act on the calling thread while it lasts (around the call of
// code that may block for ever, such as an application's callback). The
// unwinding of a cancelled thread is a forced unwind: a catch (...) on its
// way must rethrow.
class CancellationScope {
  public:
    CancellationScope();
    ~CancellationScope();
    CancellationScope(const CancellationScope&) = delete;
    CancellationScope& operator=(const CancellationScope&) = delete;

  private:
    int previous_;
};

// The opposite: no cancellation acts on the calling thread while it lasts
// (library code that an application calls from inside a cancellable scope).
class NoCancellation {
  public:
    NoCancellation();
    ~NoCancellation();
    NoCancellation(const NoCancellation&) = delete;
    NoCancellation& operator=(const NoCancellation&) = delete;

  private:
    int previous_;
};

// Sleeps the calling thread; Sleep(0) gives up the rest of its time slice.
// On a thread made by Thread::Create that is being terminated it throws
// ThreadTerminated instead of returning.
void Sleep(uint32_t milliseconds);
// The calling thread's id (the kernel's thread id; never 0).
uint32_t GetCurrentThreadId();

}  // namespace kerrow::platform
