// Application records for tests.
#pragma once

#include <cstdint>
#include <cstring>

#include "KerrowSDK.h"

namespace kerrow::test {

inline ConnectionRecord MakeConnectionRecord(int32_t port, int32_t fallbackPort = 0,
                                             const char* address = "127.0.0.1") {
    ConnectionRecord record;
    std::memset(&record, 0, sizeof(record));
    std::strcpy(record.serverAddress, address);
    record.serverPort = port;
    record.serverPortFallback = fallbackPort;
    std::strcpy(record.cameraId, "cam-0001");
    std::strcpy(record.forwardServerIp, "127.0.0.9");
    record.forwardServerPort = 7070;
    return record;
}

}  // namespace kerrow::test
