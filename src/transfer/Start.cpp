// The start sequence shared by playback, download, upload and backup, the
// worker thread's entry and exit, and the terminal callback.
#include <tinyxml.h>

#include "client/Client.h"
#include "log/Log.h"
#include "platform/Files.h"
#include "protocol/Elements.h"
#include "protocol/Replies.h"
#include "registry/VideoManage.h"
#include "transfer/TransferTexts.h"
#include "transfer/WorkerScope.h"

namespace kerrow {
namespace {

constexpr int32_t kStartReplySeconds = 5;
// The worker gives the start operation time to finish before it reads.
constexpr uint32_t kWorkerStartDelayMs = 20;

}  // namespace

int32_t Client::RunStart(const std::string& request, const TransferTexts& texts, uint32_t* handle) {
    const bool upload = texts.kind == kTransferUpload;
    auto closeUploadSource = [this, upload] {
        if (!upload) return;
        const int32_t file = fileHandle_.exchange(platform::kInvalidFileHandle);
        if (file != platform::kInvalidFileHandle) platform::CloseFile(file);
    };

    KLOG_INFO << texts.sending << request;
    if (Send(request.data(), static_cast<int32_t>(request.size())) < 1) {
        SetLastError(kResultNetwork);
        KLOG_INFO << texts.sendFailed;
        closeUploadSource();
        return kResultNetwork;
    }

    int32_t result = 0;
    std::unique_ptr<TiXmlDocument> reply = ReceiveXml(kStartReplySeconds);
    transferTaskId_.store(0);
    if (reply) {
        transferTaskId_.store(ReadClientId(*reply));
        int32_t method = 0;
        int32_t code = 0;
        ParseControlResponse(*reply, method, code);
        if (code > 0) {
            // The playback line shows the result as it stands before the
            // failure is recorded, which is always 0.
            if (texts.kind == kTransferPlay) KLOG_INFO << "点播开始失败 playerr：" << result;
            SetLastError(texts.failureCode);
            result = texts.failureCode;
        } else {
            KLOG_INFO << texts.accepted;
        }
    } else {
        KLOG_INFO << texts.failedErr << result;
        SetLastError(texts.failureCode);
        result = texts.failureCode;
        if (timedOut_.load()) {
            KLOG_INFO << texts.timedOut << connectionId_;
            result = kResultTimedOut;
        }
        if ((controlFlags_.load() & kNetworkBroken) != 0) result = kResultNetwork;
    }

    // A ClientId means the server runs the transfer, whatever its code said:
    // the worker is started and the handle issued.
    if (transferTaskId_.load() != 0) {
        if (texts.resetsProgress) SetProgress(0);
        SetTransferKind(texts.kind);
        workerThread_ = platform::Thread::Create(&Client::TransferWorker, this);
        if (workerThread_) {
            workerThreadId_ = workerThread_->Id();
        } else {
            KLOG_INFO << texts.threadFailed;
            workerThreadId_ = 0;
            SetTransferKind(kTransferNone);
            SetLastError(kResultNoThread);
            result = kResultNoThread;
        }
        workerRunning_.store(true);
        transferHandle_.store(VideoManage::NextId());
        if (handle != nullptr) *handle = transferHandle_.load();
        if (texts.started != nullptr) KLOG_INFO << texts.started;
    } else if (texts.notStarted != nullptr) {
        KLOG_INFO << texts.notStarted;
    }

    if (result > 0) closeUploadSource();
    return result;
}

void Client::NotifyTerminal(bool finished) {
    TerminalCallBack callback = terminalCallback_.load();
    if (callback == nullptr) return;
    callback(connectionId_, transferHandle_.load(), finished ? 1u : 0u, callbackUser_.load());
    transfer::LeaveIfClientGone();
    terminalCallback_.store(nullptr);
}

uint32_t Client::TransferWorker(void* argument) {
    if (argument == nullptr) return 0;
    Client* client = static_cast<Client*>(argument);
    transfer::WorkerScope scope(client);
    platform::Sleep(kWorkerStartDelayMs);
    if (client->GetTransferKind() == kTransferUpload) {
        client->UploadLoop();
    } else {
        client->ReceiveLoop();
    }
    KLOG_INFO << "线程任务正在退出 id：" << client->transferHandle_.load();
    return 0;
}

void Client::ClearControlFlag(uint32_t flag) {
    platform::CriticalSectionGuard guard(flagLock_);
    controlFlags_.fetch_and(~flag, std::memory_order_relaxed);
}

}  // namespace kerrow
