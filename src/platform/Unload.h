// Telling the library's unload at dlclose from the unload at process exit.
// At exit the libraries this one uses have already destroyed their static
// objects when its unload hook runs, so the hook must leave them alone.
#pragma once

namespace kerrow::platform {

// Called from the load hook: from then on ProcessExiting() turns true as soon
// as the process starts to exit.
void WatchProcessExit();
bool ProcessExiting();

}  // namespace kerrow::platform
