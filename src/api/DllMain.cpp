// The shared library's load and unload hooks, in the place of the DLL entry
// point: load only names the log; unload releases the library and shuts the
// log down. The unload hook runs at dlclose and at process exit, before the
// libraries this one uses are finalised.
#include "api/Library.h"

namespace {

__attribute__((constructor)) void KerrowProcessAttach() { kerrow::library::OnProcessAttach(); }

__attribute__((destructor)) void KerrowProcessDetach() {
    kerrow::library::OnProcessDetach();
    kerrow::library::FreeProcessState();
}

}  // namespace
