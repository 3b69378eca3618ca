// The shared library's load hook, in the place of the DLL entry point: load
// only names the log; unload releases the library and shuts the log down.
#include <log4cpp/Category.hh>
#include <log4cpp/HierarchyMaintainer.hh>

#include "api/Library.h"
#include "platform/Unload.h"

namespace {

void KerrowProcessDetach() {
    kerrow::library::OnProcessDetach();
    log4cpp::Category::shutdown();
}

__attribute__((constructor)) void KerrowProcessAttach() {
    kerrow::library::OnProcessAttach();
    // log4cpp makes its registry of categories on first use; make it now, so
    // that the detach registered after it runs before it is destroyed. No log
    // file is configured here.
    log4cpp::HierarchyMaintainer::getDefaultMaintainer();
    kerrow::platform::AtUnload(&KerrowProcessDetach);
}

}  // namespace
