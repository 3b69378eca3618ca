// Events, mutexes and threads behave as their Windows counterparts do for
// the library: bounded waits, owner recursion, detaching and termination.
#include <gtest/gtest.h>

#include <atomic>

#include "platform/Sync.h"
#include "platform/Thread.h"

namespace kerrow::platform {
namespace {

// Starts Proc(argument) on a new thread.
template <typename T, uint32_t (*Proc)(T*)>
std::unique_ptr<Thread> Start(T* argument) {
    return Thread::Create([](void* a) { return Proc(static_cast<T*>(a)); }, argument);
}

struct Shared {
    Event* event = nullptr;
    Mutex* mutex = nullptr;
    std::atomic<int> count{0};
    std::atomic<bool> unwound{false};
    std::atomic<uint32_t> id{0};
    Thread* self = nullptr;
};

uint32_t WaitForEvent(Shared* s) {
    s->id = GetCurrentThreadId();
    if (s->event->Wait(kInfinite) == WaitResult::Signaled) ++s->count;
    return 0;
}

TEST(EventTest, AutoResetReleasesOneWaiterPerSetManualResetReleasesAll) {
    for (bool manual : {false, true}) {
        Event event(manual, false);
        Shared shared;
        shared.event = &event;
        auto first = Start<Shared, WaitForEvent>(&shared);
        auto second = Start<Shared, WaitForEvent>(&shared);
        event.Set();
        while (shared.count == 0) Sleep(1);
        // An auto-reset event let one waiter through and reset itself.
        EXPECT_EQ(event.Wait(20), manual ? WaitResult::Signaled : WaitResult::TimedOut);
        if (!manual) {
            EXPECT_EQ(shared.count.load(), 1);
            event.Set();
        }
        EXPECT_EQ(first->Wait(kInfinite), WaitResult::Signaled);
        EXPECT_EQ(second->Wait(kInfinite), WaitResult::Signaled);
        EXPECT_EQ(shared.count.load(), 2);
        event.Reset();
        EXPECT_EQ(event.Wait(0), WaitResult::TimedOut);
    }
}

uint32_t TryMutex(Shared* s) {
    if (s->mutex->Wait(20) != WaitResult::Signaled) return 0;
    ++s->count;
    return s->mutex->Release() ? 0 : 1;
}

TEST(MutexTest, OwnerRecursesOthersWaitBoundedAndOnlyTheOwnerReleases) {
    Mutex mutex(true);
    Shared shared;
    shared.mutex = &mutex;
    ASSERT_EQ(mutex.Wait(0), WaitResult::Signaled);  // the owner enters again
    auto other = Start<Shared, TryMutex>(&shared);
    ASSERT_EQ(other->Wait(kInfinite), WaitResult::Signaled);
    EXPECT_EQ(shared.count.load(), 0);  // timed out while owned

    EXPECT_TRUE(mutex.Release());
    other = Start<Shared, TryMutex>(&shared);
    ASSERT_EQ(other->Wait(kInfinite), WaitResult::Signaled);
    EXPECT_EQ(shared.count.load(), 0);  // still owned once

    EXPECT_TRUE(mutex.Release());
    EXPECT_FALSE(mutex.Release());
    other = Start<Shared, TryMutex>(&shared);
    ASSERT_EQ(other->Wait(kInfinite), WaitResult::Signaled);
    EXPECT_EQ(shared.count.load(), 1);
}

struct UnwindMark {
    std::atomic<bool>* mark;
    ~UnwindMark() { *mark = true; }
};

uint32_t SleepForever(Shared* s) {
    UnwindMark mark{&s->unwound};
    s->event->Set();
    Sleep(kInfinite);
    ++s->count;
    return 0;
}

uint32_t SleepInSteps(Shared* s) {
    UnwindMark mark{&s->unwound};
    s->event->Set();
    for (;;) Sleep(1);
}

TEST(ThreadTest, WaitIsBoundedAndTheIdIsTheThreadsOwn) {
    Event go(true, false);
    Shared shared;
    shared.event = &go;
    auto thread = Start<Shared, WaitForEvent>(&shared);
    EXPECT_EQ(thread->Wait(20), WaitResult::TimedOut);
    go.Set();
    EXPECT_EQ(thread->Wait(kInfinite), WaitResult::Signaled);
    EXPECT_EQ(thread->Wait(0), WaitResult::Signaled);
    EXPECT_EQ(thread->Id(), shared.id.load());
    EXPECT_NE(thread->Id(), GetCurrentThreadId());
}

TEST(ThreadTest, TerminateEndsASleepingThreadAndUnwindsIt) {
    for (bool inSteps : {false, true}) {
        Event started(true, false);
        Shared shared;
        shared.event = &started;
        auto thread =
            inSteps ? Start<Shared, SleepInSteps>(&shared) : Start<Shared, SleepForever>(&shared);
        ASSERT_EQ(started.Wait(kInfinite), WaitResult::Signaled);
        EXPECT_TRUE(thread->Terminate());
        EXPECT_TRUE(shared.unwound);
        EXPECT_EQ(shared.count.load(), 0);
    }
}

uint32_t TerminateSelf(Shared* s) {
    UnwindMark mark{&s->unwound};
    s->event->Wait(kInfinite);
    if (!s->self->Terminate()) ++s->count;  // answers at once
    Sleep(1);
    ++s->count;
    return 0;
}

TEST(ThreadTest, AThreadTerminatingItselfEndsAtItsNextSleep) {
    Event go(true, false);
    Shared shared;
    shared.event = &go;
    auto thread = Start<Shared, TerminateSelf>(&shared);
    shared.self = thread.get();
    go.Set();
    EXPECT_EQ(thread->Wait(kInfinite), WaitResult::Signaled);
    EXPECT_TRUE(shared.unwound);
    EXPECT_EQ(shared.count.load(), 1);
}

TEST(ThreadTest, TerminateGivesUpOnAThreadThatNeverSleepsAndClosingLeavesItRunning) {
    Event go(true, false);
    Shared shared;
    shared.event = &go;
    auto thread = Start<Shared, WaitForEvent>(&shared);
    EXPECT_FALSE(thread->Terminate(30));
    thread.reset();
    go.Set();
    while (shared.count == 0) Sleep(1);
}

}  // namespace
}  // namespace kerrow::platform
