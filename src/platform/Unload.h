// Running a function when the library is unloaded: at dlclose, or at process
// exit before the static objects of the libraries it uses are destroyed.
#pragma once

namespace kerrow::platform {

// Registered from the load hook; hooks run in reverse order of registration.
void AtUnload(void (*hook)());

}  // namespace kerrow::platform
