// The log texts and failure code of one control operation.
#pragma once

#include <cstdint>

namespace kerrow {

struct ControlTexts {
    const char* sending;     // followed by the request
    const char* sendFailed;  // the request could not be sent
    const char* succeeded;
    const char* failed;    // followed by the result
    const char* timedOut;  // followed by the connection number
    int32_t failureCode;
};

}  // namespace kerrow
