// Playback: the start, the play controls and the stop. Pause, resume and jump
// wait for the server's acknowledgement, which the worker sees and flags;
// slow and fast only send.
#include "client/Client.h"
#include "log/Log.h"
#include "protocol/MediaMessages.h"
#include "transfer/Transfer.h"
#include "transfer/TransferTexts.h"
#include "util/TimeText.h"

namespace kerrow {
namespace {

constexpr int64_t kAckWaitSeconds = 5;
constexpr uint32_t kAckPollMs = 1;
// Lets the stop request leave before the worker and the link are ended.
constexpr uint32_t kStopGraceMs = 50;
// Slow and fast wait for nothing.
constexpr uint32_t kUnconfirmed = 0;

}  // namespace

int32_t Client::StartPlay(const MediaRequest& request, uint32_t* handle) {
    std::string message;
    BuildPlayRequest(request, message);
    return RunStart(message, kPlayTexts, handle);
}

int32_t Client::RunPlayControl(const PlayControl& control, const char* sending, const char* failed,
                               uint32_t ackBit) {
    std::string message;
    BuildPlayControlRequest(control, message);
    KLOG_INFO << sending << message;
    if (Send(message.data(), static_cast<int32_t>(message.size())) < 1) {
        SetLastError(kResultNetwork);
        KLOG_INFO << failed;
        return kResultNetwork;
    }
    if (ackBit == kUnconfirmed) return kResultOk;

    // The worker reads again as soon as resume is sent.
    if (ackBit == kAckResume && transfer_) transfer_->SetPaused(false);

    bool acknowledged = false;
    const int64_t deadline = Now64() + kAckWaitSeconds;
    while (Now64() < deadline) {
        {
            platform::CriticalSectionGuard guard(flagLock_);
            acknowledged = (controlFlags_.load(std::memory_order_relaxed) & ackBit) != 0;
        }
        if (acknowledged) break;
        platform::Sleep(kAckPollMs);
    }
    // The server's own code for the control is not read: an acknowledged
    // control succeeds.
    int32_t result = acknowledged ? kResultOk : kResultTimedOut;
    if ((controlFlags_.load() & kNetworkBroken) != 0) result = kResultNetwork;

    // Paused even when the server did not confirm: the worker stops reading.
    if (ackBit == kAckPause && transfer_) transfer_->SetPaused(true);
    return result;
}

int32_t Client::PlayPause(const PlayControl& control) {
    return RunPlayControl(control, "点播暂停 发送xml命令：", "点播暂停 失败！", kAckPause);
}

int32_t Client::PlayResume(const PlayControl& control) {
    return RunPlayControl(control, "暂停恢复播放 发送xml命令：", "暂停恢复播放 失败！", kAckResume);
}

int32_t Client::PlayJump(const PlayControl& control) {
    return RunPlayControl(control, "指定进度播放 发送xml命令：", "指定进度播放 失败！", kAckJump);
}

int32_t Client::PlaySlow(const PlayControl& control) {
    return RunPlayControl(control, "慢放 发送xml命令：", "慢放 失败！", kUnconfirmed);
}

int32_t Client::PlayFast(const PlayControl& control) {
    return RunPlayControl(control, "快放 发送xml命令：", "快放 失败！", kUnconfirmed);
}

int32_t Client::StopPlay(const PlayControl& control) {
    // Nothing more reaches the application from here on.
    if (transfer_) {
        transfer_->dataCallback.store(nullptr);
        transfer_->callbackUser.store(nullptr);
    }

    std::string message;
    BuildPlayControlRequest(control, message);
    KLOG_INFO << "停止点播 发送xml命令：" << message;
    Send(message.data(), static_cast<int32_t>(message.size()));  // stops whether it left or not

    platform::Sleep(kStopGraceMs);
    Close();
    SetTransferKind(kTransferNone);
    transferHandle_.store(0);
    return kResultOk;
}

int32_t Client::GetPlayPos(const PlayControl&, uint32_t* position) {
    if (position != nullptr) *position = static_cast<uint32_t>(GetProgress());
    return kResultOk;
}

}  // namespace kerrow
