// Every dispatched export: 1 while the library is not initialised, otherwise
// the registry's answer for the command.
#pragma once

#include "api/Library.h"
#include "platform/Thread.h"
#include "util/Results.h"

namespace kerrow {

inline int Dispatch(uint32_t connectionId, int32_t code, void* input, void* output = nullptr,
                    void* extra = nullptr) {
    // Called from inside an application callback that a stop may cancel:
    // the cancellation never acts inside the library's own code.
    platform::NoCancellation noCancellation;
    VideoManage* registry = library::Registry();
    if (registry == nullptr) return kResultNotInitialised;
    return registry->Dispatch(connectionId, code, input, output, extra);
}

}  // namespace kerrow
