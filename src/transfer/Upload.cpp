// Upload of a local file: the start opens the source and asks the server to
// accept it; the upload loop hands the file on block by block, and each block
// travels as data messages of at most 2048 payload bytes.
#include <algorithm>

#include "client/Client.h"
#include "log/Log.h"
#include "platform/Files.h"
#include "protocol/Envelope.h"
#include "protocol/MediaMessages.h"
#include "protocol/Methods.h"
#include "transfer/Transfer.h"
#include "transfer/TransferTexts.h"

namespace kerrow {
namespace {

// A send that moved fewer bytes than the chunk's payload is followed by this
// pause before the rest of the message is tried.
constexpr uint32_t kShortSendPauseMs = 1500;
// Every sixth send the loop yields for a millisecond.
constexpr int32_t kSendsPerPause = 6;
constexpr uint32_t kPacePauseMs = 1;

}  // namespace

int32_t Client::StartUpload(const UploadRequest& request, const std::string& path,
                            uint32_t* handle) {
    startFile_ = platform::File(platform::OpenFileForRead(path));
    if (!startFile_.IsOpen()) {
        KLOG_INFO << "打开上传文件：" << path << "失败！";
        SetLastError(kResultFile);
        return kResultFile;
    }

    // The start sequence closes the source again when the start fails.
    std::string message;
    BuildUploadRequest(request, message);
    return RunStart(message, kUploadTexts, handle);
}

int32_t Client::SendUploadData(const uint8_t* data, uint32_t length, Transfer& transfer) {
    if (length == 0 || data == nullptr) return 0;

    std::string head;
    BuildDataHead(head);
    uint32_t remaining = length;
    uint32_t offset = 0;
    int32_t paceCount = kSendsPerPause;  // kept across the messages of the block
    std::string message;
    message.reserve(kMaxUploadMessageSize);

    while (remaining > 0) {
        const uint32_t chunk = std::min<uint32_t>(remaining, kUploadChunkSize);
        remaining -= chunk;

        message.clear();
        AppendDataMessage(head, reinterpret_cast<const char*>(data) + offset, chunk, message);
        offset += chunk;

        int32_t messageLength = static_cast<int32_t>(message.size());
        int32_t sent = 0;
        while (messageLength != 0) {
            // After a partial send the length asked for is computed from the
            // already reduced message length; a length that comes out negative
            // is refused as a failed write instead of reaching the socket.
            const int32_t asked = messageLength - sent;
            const int32_t r = asked < 0 ? -1 : Send(message.data() + sent, asked);
            if (r == -1) {
                KLOG_ERROR_AT("Client::SendUploadData", ".\\Client", 2525)
                    << "Socket Write err return -1";
                return -1;
            }
            if (r < static_cast<int32_t>(chunk)) {
                KLOG_INFO << "::Sleep(1500)";
                transfer.Idle(kShortSendPauseMs);
            }
            messageLength -= r;
            sent += r;
            if (--paceCount == 0) {
                transfer.Idle(kPacePauseMs);
                paceCount = kSendsPerPause;
            }
        }
    }
    return 0;
}

int32_t Client::StopUpload(uint32_t transferTaskId) {
    std::string message;
    BuildClientIdMessage(kMethodStopUpload, transferTaskId, message);
    KLOG_INFO << "停止上传发送xml命令：" << message;
    // The stop goes on whether or not the request left.
    Send(message.data(), static_cast<int32_t>(message.size()));

    // The source file is not closed here: a stop in mid-file leaves it open.
    Close();
    SetTransferKind(kTransferNone);
    transferHandle_.store(0);
    return kResultOk;
}

}  // namespace kerrow
