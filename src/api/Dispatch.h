// Every dispatched export: 1 while the library is not initialised, otherwise
// the registry's answer for the command.
#pragma once

#include "api/Library.h"
#include "client/Commands.h"

namespace kerrow {

inline int Dispatch(uint32_t connectionId, int32_t code, void* input, void* output = nullptr,
                    void* extra = nullptr) {
    VideoManage* registry = library::Registry();
    if (registry == nullptr) return kResultNotInitialised;
    return registry->Dispatch(connectionId, code, input, output, extra);
}

}  // namespace kerrow
