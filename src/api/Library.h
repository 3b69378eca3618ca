// The process-wide state of the library: whether it is initialised (the
// registry exists) and the lock of Kerrow_Release.
#pragma once

#include "registry/VideoManage.h"

namespace kerrow::library {

// The registry, or null while the library is not initialised.
VideoManage* Registry();

// Load and unload of the shared library.
void OnProcessAttach();
void OnProcessDetach();
// At unload, after OnProcessDetach: puts back the fault handlers, shuts the
// log down and frees the process-wide state. A transfer thread abandoned by
// Kerrow_Release must not log after it.
void FreeProcessState();

// Runs inside Kerrow_Init's fault handler after the registry is created
// (tests place a fault there).
void SetInitProbeForTesting(void (*probe)());

}  // namespace kerrow::library
