// Backup of a stored file on the server's side. Nothing of the file reaches
// the application: the transfer only carries the server's progress and end
// notices, which the receive loop follows.
#include "client/Client.h"
#include "log/Log.h"
#include "protocol/FileMessages.h"
#include "protocol/MediaMessages.h"
#include "protocol/Methods.h"
#include "transfer/TransferTexts.h"

namespace kerrow {

int32_t Client::StartBackup(const FileRecord& file, uint32_t* handle) {
    std::string message;
    BuildFileModifyRequest(file, message);
    return RunStart(message, kBackupTexts, handle);
}

int32_t Client::StopBackup(uint32_t transferTaskId) {
    std::string message;
    BuildClientIdMessage(kMethodStopBackup, transferTaskId, message);
    KLOG_INFO << "停止备份发送xml命令：" << message;
    Send(message.data(), static_cast<int32_t>(message.size()));  // stops whether it left or not

    Close();
    SetTransferKind(kTransferNone);
    transferHandle_.store(0);
    return kResultOk;
}

}  // namespace kerrow
