// The shared library's load and unload hooks, in the place of the DLL entry
// point: load only names the log; unload releases the library and shuts the
// log down.
#include "api/Library.h"
#include "platform/Unload.h"

namespace {

__attribute__((constructor)) void KerrowProcessAttach() {
    kerrow::library::OnProcessAttach();
    kerrow::platform::WatchProcessExit();
}

__attribute__((destructor)) void KerrowProcessDetach() {
    kerrow::library::OnProcessDetach();
    // At process exit log4cpp has already shut itself down and destroyed its
    // categories; only an unload by dlclose finds it running.
    if (!kerrow::platform::ProcessExiting()) kerrow::library::FreeProcessState();
}

}  // namespace
