// Threads on pthreads. Termination is cooperative: Terminate marks the thread
// and wakes it if it sleeps; its Sleep then throws ThreadTerminated, which
// unwinds the thread to its start routine (see Thread.h).
#include "platform/Thread.h"

#include <pthread.h>
#include <sched.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace kerrow::platform {
namespace {

// What a running thread and the handles to it share.
struct ThreadState {
    ThreadProc proc = nullptr;
    void* argument = nullptr;
    pthread_t handle{};
    std::mutex mutex;
    std::condition_variable cv;  // id known, terminate asked, thread ended
    uint32_t id = 0;
    bool terminateRequested = false;
    bool finished = false;
    bool joined = false;  // joined or detached: the pthread handle is spent
};

// The state of the calling thread when it was made by Thread::Create.
thread_local ThreadState* t_current = nullptr;

void* RunThread(void* start) {
    auto* handoff = static_cast<std::shared_ptr<ThreadState>*>(start);
    std::shared_ptr<ThreadState> self = std::move(*handoff);
    delete handoff;
    {
        std::lock_guard<std::mutex> lock(self->mutex);
        self->id = GetCurrentThreadId();
        self->cv.notify_all();
    }
    t_current = self.get();
    // Marks the end also when the thread is cancelled: the forced unwind
    // runs this destructor on its way out of the thread.
    struct Finish {
        ThreadState* state;
        ~Finish() {
            t_current = nullptr;
            std::lock_guard<std::mutex> lock(state->mutex);
            state->finished = true;
            state->cv.notify_all();
        }
    } finish{self.get()};
    int ignored = 0;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &ignored);
    pthread_setcanceltype(PTHREAD_CANCEL_DEFERRED, &ignored);
    try {
        self->proc(self->argument);
    } catch (const ThreadTerminated&) {
        // Ended by Terminate; its locals have been destroyed on the way here.
    }
    return nullptr;
}

// Joins an ended thread once, so that its resources go back at once.
void JoinLocked(ThreadState& state) {
    if (!state.joined) {
        pthread_join(state.handle, nullptr);
        state.joined = true;
    }
}

}  // namespace

struct Thread::Impl : ThreadState {};

Thread::Thread() : impl_(std::make_shared<Impl>()) {}

std::unique_ptr<Thread> Thread::Create(ThreadProc proc, void* argument) {
    if (proc == nullptr) return nullptr;
    std::unique_ptr<Thread> thread(new Thread());
    thread->impl_->proc = proc;
    thread->impl_->argument = argument;
    auto* handoff = new std::shared_ptr<ThreadState>(thread->impl_);
    if (pthread_create(&thread->impl_->handle, nullptr, RunThread, handoff) != 0) {
        delete handoff;
        thread->impl_->joined = true;  // there is no thread to join or detach
        return nullptr;
    }
    return thread;
}

Thread::~Thread() {
    std::lock_guard<std::mutex> lock(impl_->mutex);
    if (impl_->joined) return;
    if (impl_->finished) {
        JoinLocked(*impl_);
    } else {
        // Still running: it goes on alone and frees itself when it ends.
        pthread_detach(impl_->handle);
        impl_->joined = true;
    }
}

WaitResult Thread::Wait(uint32_t milliseconds) {
    std::unique_lock<std::mutex> lock(impl_->mutex);
    auto ended = [this] { return impl_->finished; };
    if (milliseconds == kInfinite) {
        impl_->cv.wait(lock, ended);
    } else if (!impl_->cv.wait_for(lock, std::chrono::milliseconds(milliseconds), ended)) {
        return WaitResult::TimedOut;
    }
    JoinLocked(*impl_);
    return WaitResult::Signaled;
}

bool Thread::Terminate(uint32_t milliseconds) {
    {
        std::lock_guard<std::mutex> lock(impl_->mutex);
        impl_->terminateRequested = true;
        impl_->cv.notify_all();
    }
    // A thread cannot wait for its own end; it ends at its next Sleep.
    if (t_current == impl_.get()) return false;
    return Wait(milliseconds) == WaitResult::Signaled;
}

bool Thread::Cancel() {
    std::lock_guard<std::mutex> lock(impl_->mutex);
    if (impl_->finished || impl_->joined || t_current == impl_.get()) return false;
#if defined(__SANITIZE_THREAD__)
    // ThreadSanitizer cannot follow a cancelled thread's unwinding (it then
    // reports races that are none); under it the thread is left to end by
    // itself, as one that never reaches a cancellation point does.
    return false;
#else
    return pthread_cancel(impl_->handle) == 0;
#endif
}

bool Thread::CanCancel() {
#if defined(__SANITIZE_THREAD__)
    return false;
#else
    return true;
#endif
}

bool Thread::IsCurrent() const { return t_current == impl_.get(); }

CancellationScope::CancellationScope() : previous_(PTHREAD_CANCEL_DISABLE) {
    pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, &previous_);
}

CancellationScope::~CancellationScope() {
    int ignored = 0;
    pthread_setcancelstate(previous_, &ignored);
}

NoCancellation::NoCancellation() : previous_(PTHREAD_CANCEL_DISABLE) {
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &previous_);
}

NoCancellation::~NoCancellation() {
    int ignored = 0;
    pthread_setcancelstate(previous_, &ignored);
}

uint32_t Thread::Id() const {
    std::unique_lock<std::mutex> lock(impl_->mutex);
    impl_->cv.wait(lock, [this] { return impl_->id != 0; });
    return impl_->id;
}

void Sleep(uint32_t milliseconds) {
    ThreadState* self = t_current;
    if (self == nullptr) {
        if (milliseconds == 0) {
            sched_yield();
            return;
        }
        do {
            std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
        } while (milliseconds == kInfinite);
        return;
    }
    std::unique_lock<std::mutex> lock(self->mutex);
    auto terminating = [self] { return self->terminateRequested; };
    if (milliseconds == kInfinite) {
        self->cv.wait(lock, terminating);
    } else if (milliseconds > 0) {
        self->cv.wait_for(lock, std::chrono::milliseconds(milliseconds), terminating);
    }
    if (self->terminateRequested) throw ThreadTerminated();
    if (milliseconds == 0) {
        lock.unlock();
        sched_yield();
    }
}

uint32_t GetCurrentThreadId() {
    thread_local const uint32_t id = static_cast<uint32_t>(gettid());
    return id;
}

}  // namespace kerrow::platform
