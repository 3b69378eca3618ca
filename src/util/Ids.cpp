#include "util/Ids.h"

#include "platform/Sync.h"

namespace kerrow::ids {
namespace {

// The counter lives for the whole process; its lock is never destroyed while
// in use, so that a late thread can still draw a number during unload.
struct Source {
    uint32_t counter = 0;
    platform::CriticalSection lock;
};

Source*& SourcePointer() {
    static Source* source = new Source();
    return source;
}

Source& Get() {
    Source*& source = SourcePointer();
    if (source == nullptr) source = new Source();
    return *source;
}

}  // namespace

uint32_t Next() {
    Source& source = Get();
    platform::CriticalSectionGuard guard(source.lock);
    if (source.counter == 0) source.counter = 1;
    const uint32_t id = source.counter;
    source.counter = (source.counter + 1) % 0xFFFFFFFFu;
    return id;
}

void Free() {
    delete SourcePointer();
    SourcePointer() = nullptr;
}

void SetNextForTesting(uint32_t next) {
    Source& source = Get();
    platform::CriticalSectionGuard guard(source.lock);
    source.counter = next;
}

}  // namespace kerrow::ids
