// Download of recorded video into a local file. The start creates the target
// and asks the server for the stream; the receive loop writes every header
// and data block to the file and closes it at the end-of-download notice.
#include "client/Client.h"
#include "log/Log.h"
#include "platform/Files.h"
#include "protocol/MediaMessages.h"
#include "protocol/Methods.h"
#include "transfer/Transfer.h"
#include "transfer/TransferTexts.h"

namespace kerrow {

int32_t Client::StartDownload(const MediaRequest& request, const std::string& localPath,
                              uint32_t* handle) {
    // One download at a time per connection; nothing is logged or recorded.
    if (GetTransferKind() == kTransferDownload && transfer_) {
        platform::CriticalSectionGuard guard(transfer_->lock);
        if (transfer_->file.IsOpen()) return kResultBadArgument;
    }

    // The target is the start's until a transfer takes it; a start that
    // fails leaves it open until a later start or the end of the Client.
    startFile_ = platform::File(platform::CreateFileForWrite(localPath));
    if (!startFile_.IsOpen()) {
        KLOG_INFO << "打开下载文件：" << localPath << "失败！";
        SetLastError(kResultFile);
        return kResultFile;
    }

    // Whatever the start answers, the target stays open: a refused or failed
    // start leaves an empty file behind.
    std::string message;
    BuildDownloadRequest(request, message);
    return RunStart(message, kDownloadTexts, handle);
}

int32_t Client::StopDownload(uint32_t transferTaskId) {
    std::string message;
    BuildClientIdMessage(kMethodStopDownload, transferTaskId, message);
    KLOG_INFO << "停止下载 发送xml命令：" << message;
    if (Send(message.data(), static_cast<int32_t>(message.size())) < 1) {
        // The worker goes on and the file stays open.
        SetLastError(kResultNetwork);
        KLOG_INFO << "停止下载 失败！";
        return kResultNetwork;
    }

    // The worker is gone before the file is closed, so no write follows.
    Close();
    if (transfer_) {
        // The worker is cut off by now: no write can follow the close.
        platform::CriticalSectionGuard guard(transfer_->lock);
        transfer_->file.Close();
    }
    SetTransferKind(kTransferNone);
    transferHandle_.store(0);
    return kResultOk;
}

}  // namespace kerrow
