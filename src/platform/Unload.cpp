#include "platform/Unload.h"

#include <atomic>
#include <cstdlib>

namespace kerrow::platform {
namespace {

std::atomic<bool> g_exiting{false};

void MarkExiting() { g_exiting.store(true); }

}  // namespace

// exit() runs the atexit handlers before the unload hooks of the libraries.
// At dlclose the unload hook runs first, while the flag is still clear.
void WatchProcessExit() { std::atexit(&MarkExiting); }

bool ProcessExiting() { return g_exiting.load(); }

}  // namespace kerrow::platform
