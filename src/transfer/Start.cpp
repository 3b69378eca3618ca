// The start sequence shared by playback, download, upload and backup, the
// worker thread's entry and exit, and the terminal callback.
#include <tinyxml.h>

#include "client/Client.h"
#include "log/Log.h"
#include "platform/Files.h"
#include "protocol/Elements.h"
#include "protocol/Replies.h"
#include "transfer/Transfer.h"
#include "transfer/TransferTexts.h"
#include "util/Ids.h"

namespace kerrow {
namespace {

constexpr int32_t kStartReplySeconds = 5;
// A stop gives the worker this long to see the stop mark, then waits for it
// at most kWorkerWaitMs before it ends it by force.
constexpr uint32_t kWorkerStopGraceMs = 20;
constexpr uint32_t kWorkerWaitMs = 100;

}  // namespace

int32_t Client::RunStart(const std::string& request, const TransferTexts& texts, uint32_t* handle) {
    const bool upload = texts.kind == kTransferUpload;
    // The source goes with the transfer when one starts; the transfer's
    // worker uses it under the transfer's lock.
    auto closeUploadSource = [this, upload] {
        if (!upload) return;
        startFile_.Close();
        if (transfer_) {
            platform::CriticalSectionGuard guard(transfer_->lock);
            transfer_->file.Close();
        }
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
        // A later start on this connection (a connection carries one
        // transfer) finds the earlier one's stop mark already set.
        const bool stopped = transfer_ && transfer_->StopRequested();
        DetachTransfer();
        if (texts.resetsProgress) progressValue_.store(0);
        SetTransferKind(texts.kind);
        // The handle is drawn whether or not the thread can be made.
        transferHandle_.store(ids::Next());
        auto transfer = std::make_shared<Transfer>(this, texts.kind, transferHandle_.load(),
                                                   progressValue_.load());
        transfer->stopRequest.store(stopped);
        transfer->file = std::move(startFile_);
        // Callback setters and position queries read it beside the commands.
        std::atomic_store(&transfer_, transfer);
        if (!Transfer::Start(transfer)) {
            KLOG_INFO << texts.threadFailed;
            SetTransferKind(kTransferNone);
            SetLastError(kResultNoThread);
            result = kResultNoThread;
        }
        workerRunning_.store(true);
        if (handle != nullptr) *handle = transferHandle_.load();
        if (texts.started != nullptr) KLOG_INFO << texts.started;
    } else if (texts.notStarted != nullptr) {
        KLOG_INFO << texts.notStarted;
    }

    if (result > 0) closeUploadSource();
    return result;
}

void Client::StopWorker(bool force) {
    if (!transfer_) return;
    transfer_->RequestStop();
    if (force) platform::Sleep(kWorkerStopGraceMs);
    if (transfer_->WaitEnded(kWorkerWaitMs)) {
        KLOG_INFO << "线程顺利退出";
    } else if (force) {
        // Acts at the next cancellation point inside the application's
        // callback; a callback that never reaches one returns into a
        // transfer cut off from this Client and ends there.
        transfer_->Cancel();
        KLOG_INFO << "强行结束线程";
    }
    transfer_->Detach();
}

void Client::DetachTransfer() {
    if (transfer_) transfer_->Detach();
}

int32_t Client::GetProgress() const {
    if (auto transfer = std::atomic_load(&transfer_)) return transfer->progress.load();
    return progressValue_.load(std::memory_order_relaxed);
}

// A binding succeeds only while a transfer of the kind runs under the handle.
std::shared_ptr<Transfer> Client::MayBind(int32_t kind, uint32_t connectionId,
                                          uint32_t transferHandle, bool hasCallback) {
    std::shared_ptr<Transfer> transfer = std::atomic_load(&transfer_);
    if (connectionId != 0 && transferHandle != 0 && hasCallback && GetTransferKind() == kind &&
        transferHandle_ == transferHandle && transfer) {
        return transfer;
    }
    SetLastError(kResultBadArgument);
    return nullptr;
}

int32_t Client::SetTerminalCallBack(int32_t kind, uint32_t connectionId, uint32_t transferHandle,
                                    TerminalCallBack callback, void* user) {
    auto transfer = MayBind(kind, connectionId, transferHandle, callback != nullptr);
    if (!transfer) return -1;
    transfer->terminalCallback.store(callback);
    transfer->callbackUser.store(user);
    return 0;
}

int32_t Client::SetPlayDataCallBack(uint32_t connectionId, uint32_t transferHandle,
                                    PlayDataCallBack callback, void* user) {
    auto transfer = MayBind(kTransferPlay, connectionId, transferHandle, callback != nullptr);
    if (!transfer) return -1;
    transfer->dataCallback.store(callback);
    transfer->callbackUser.store(user);
    // A message held for want of a callback goes at once.
    transfer->Wake();
    return 0;
}

void Client::ClearControlFlag(uint32_t flag) {
    platform::CriticalSectionGuard guard(flagLock_);
    controlFlags_.fetch_and(~flag, std::memory_order_relaxed);
}

}  // namespace kerrow
