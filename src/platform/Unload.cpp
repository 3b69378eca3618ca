#include "platform/Unload.h"

#include <cstdlib>

namespace kerrow::platform {

// atexit from a shared library registers against that library: the hook runs
// when the library is closed, or at exit, in reverse order of registration,
// so before the destructors of libraries that were loaded earlier.
void AtUnload(void (*hook)()) { std::atexit(hook); }

}  // namespace kerrow::platform
