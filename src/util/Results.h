// The result codes that the library answers and the kinds of transfer a
// connection can run: shared by the exports, the registry, the Client and
// the transfers.
#pragma once

#include <cstdint>

namespace kerrow {

// Kinds of transfer a Client can run; Kerrow_GetTaskNum counts 2 to 5.
enum TransferKind : int32_t {
    kTransferNone = 0,
    kTransferPlay = 2,
    kTransferDownload = 3,
    kTransferUpload = 4,
    kTransferBackup = 5,
};

// Result codes shared by the library.
enum Result : int32_t {
    kResultNoConnection = -1,
    kResultOk = 0,
    kResultNotInitialised = 1,
    kResultConnectionLimit = 2,
    kResultConnectFailed = 3,
    kResultBadArgument = 7,
    kResultNotConnected = 8,
    kResultTimedOut = 11,
    kResultNetwork = 12,
    kResultNoClient = 13,
    kResultNoThread = 15,
    kResultFile = 16,
    kResultBadReply = 18,
};

}  // namespace kerrow
