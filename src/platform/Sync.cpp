// Critical sections, events and mutexes on the C++ threading primitives.
#include "platform/Sync.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace kerrow::platform {
namespace {

// Waits on cv until ready() holds or the time is up; true when it holds.
template <typename Ready>
bool WaitUntilReady(std::condition_variable& cv, std::unique_lock<std::mutex>& lock,
                    uint32_t milliseconds, Ready ready) {
    if (milliseconds == kInfinite) {
        cv.wait(lock, ready);
        return true;
    }
    return cv.wait_for(lock, std::chrono::milliseconds(milliseconds), ready);
}

}  // namespace

struct CriticalSection::Impl {
    std::recursive_mutex mutex;
};

CriticalSection::CriticalSection() : impl_(std::make_unique<Impl>()) {}
CriticalSection::~CriticalSection() = default;
void CriticalSection::Enter() { impl_->mutex.lock(); }
void CriticalSection::Leave() { impl_->mutex.unlock(); }

struct Event::Impl {
    std::mutex mutex;
    std::condition_variable cv;
    bool manualReset;
    bool signaled;
};

Event::Event(bool manualReset, bool initiallySignaled) : impl_(std::make_unique<Impl>()) {
    impl_->manualReset = manualReset;
    impl_->signaled = initiallySignaled;
}

Event::~Event() = default;

void Event::Set() {
    std::lock_guard<std::mutex> lock(impl_->mutex);
    impl_->signaled = true;
    // Notified under the lock: a woken waiter may destroy the event at once.
    if (impl_->manualReset) {
        impl_->cv.notify_all();
    } else {
        impl_->cv.notify_one();
    }
}

void Event::Reset() {
    std::lock_guard<std::mutex> lock(impl_->mutex);
    impl_->signaled = false;
}

WaitResult Event::Wait(uint32_t milliseconds) {
    std::unique_lock<std::mutex> lock(impl_->mutex);
    if (!WaitUntilReady(impl_->cv, lock, milliseconds, [this] { return impl_->signaled; })) {
        return WaitResult::TimedOut;
    }
    if (!impl_->manualReset) impl_->signaled = false;  // releases this waiter only
    return WaitResult::Signaled;
}

struct Mutex::Impl {
    std::mutex mutex;
    std::condition_variable cv;
    std::thread::id owner;
    uint32_t depth = 0;  // Waits of the owner not yet released
};

Mutex::Mutex(bool initiallyOwned) : impl_(std::make_unique<Impl>()) {
    if (initiallyOwned) {
        impl_->owner = std::this_thread::get_id();
        impl_->depth = 1;
    }
}

Mutex::~Mutex() = default;

WaitResult Mutex::Wait(uint32_t milliseconds) {
    const std::thread::id self = std::this_thread::get_id();
    std::unique_lock<std::mutex> lock(impl_->mutex);
    if (impl_->depth > 0 && impl_->owner == self) {
        ++impl_->depth;
        return WaitResult::Signaled;
    }
    if (!WaitUntilReady(impl_->cv, lock, milliseconds, [this] { return impl_->depth == 0; })) {
        return WaitResult::TimedOut;
    }
    impl_->owner = self;
    impl_->depth = 1;
    return WaitResult::Signaled;
}

bool Mutex::Release() {
    std::lock_guard<std::mutex> lock(impl_->mutex);
    if (impl_->depth == 0 || impl_->owner != std::this_thread::get_id()) return false;
    if (--impl_->depth == 0) {
        impl_->owner = std::thread::id();
        impl_->cv.notify_one();
    }
    return true;
}

}  // namespace kerrow::platform
