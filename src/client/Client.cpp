// Client construction, connect and close, activity and callback binding.
#include "client/Client.h"

#include <tinyxml.h>

#include <cstring>
#include <string>

#include "log/Log.h"
#include "net/Connection.h"
#include "registry/VideoManage.h"
#include "transfer/WorkerScope.h"
#include "util/FieldText.h"
#include "util/TimeText.h"

namespace kerrow {
namespace {

constexpr int64_t kIdleSeconds = 40;
constexpr uint32_t kWorkerStopGraceMs = 20;
constexpr uint32_t kWorkerWaitMs = 100;
constexpr int32_t kLinkTcp = 0;

}  // namespace

Client::Client() {
    lastActive_.store(Now64(), std::memory_order_relaxed);
    platform::GetLocalTime(&createdAt_);
    connectionId_ = VideoManage::NextId();
}

Client::~Client() {
    // Destroyed inside one of its own transfer's callbacks (the application
    // disconnected there): the worker must not wait for itself, and it ends
    // as soon as the callback returns, without touching this Client.
    const bool onWorker = transfer::IsWorkerOf(this);
    if (onWorker) transfer::ForgetWorker();

    // Unlike Close, the destructor never forces a worker to end.
    if (workerRunning_.load()) {
        workerStopRequest_.store(true);
        if (!onWorker && workerThread_ &&
            workerThread_->Wait(kWorkerWaitMs) == platform::WaitResult::Signaled) {
            KLOG_INFO << "线程顺利退出";
        }
        workerRunning_.store(false);
    }
    // But the worker uses this Client and its connection up to its last step,
    // so one still running (held in an application callback; it has been
    // asked to stop and leaves when the callback returns) is waited for.
    if (workerThread_ && !onWorker) workerThread_->Wait(platform::kInfinite);
    workerThread_.reset();
    CloseConnection();
}

void Client::CloseConnection() {
    if (connection_) {
        if (!connection_->IsClosed()) connection_->Close();
        connection_.reset();
    }
}

int32_t Client::Init(int32_t command, const ConnectionRecord* record) {
    if (command == kCmdConnect) return Connect(record);
    if (command == kCmdClose) {
        platform::CriticalSectionGuard guard(commandLock_);
        Close();
    }
    return 0;
}

int32_t Client::Connect(const ConnectionRecord* record) {
    commandLock_.Enter();
    std::memcpy(&record_, record, sizeof(record_));

    // The primary port wins whenever it is set; the fallback is used otherwise.
    int32_t port = 0;
    if (record_.serverPortFallback > 0) port = record_.serverPortFallback;
    if (record_.serverPort > 0) port = record_.serverPort;
    if (port == 0) {
        commandLock_.Leave();
        KLOG_ERROR_AT("Client::Init", ".\\Client", 85) << "ZOREK Conn Before Port is Zeor";
        SetLastError(kResultBadArgument);
        return -1;
    }

    if (!connection_) {
        connection_.reset(new (std::nothrow) Connection(kLinkTcp));
        if (!connection_) {
            KLOG_ERROR_AT("Client::Init", ".\\Client", 95) << "ZOREK new Connection FAILURE";
            commandLock_.Leave();
            SetLastError(kResultNoClient);
            return -1;
        }
    }

    if (connection_->Connect(FieldText(record_.serverAddress), static_cast<uint32_t>(port)) != 0) {
        commandLock_.Leave();
        KLOG_ERROR_AT("Client::Init", ".\\Client", 105) << "ZOREK Connect  FAILURE";
        SetLastError(kResultConnectFailed);
        return -1;
    }

    connected_.store(true);
    UpdateActiveTime();
    commandLock_.Leave();
    return 0;
}

void Client::Close() {
    platform::CriticalSectionGuard guard(closeLock_);
    if (workerRunning_.load()) {
        workerStopRequest_.store(true);
        platform::Sleep(kWorkerStopGraceMs);
        if (workerThread_ && workerThread_->Wait(kWorkerWaitMs) != platform::WaitResult::Signaled) {
            workerThread_->Terminate();
            KLOG_INFO << "强行结束线程";
        } else {
            KLOG_INFO << "线程顺利退出";
        }
        workerRunning_.store(false);
    }
    // Termination takes effect at the worker's next sleep; a worker held in
    // an application callback for longer, or a stop called from inside the
    // callback on the worker itself, outlives it. Such a worker leaves its
    // loop right after the callback, but until it has gone the connection
    // object stays: only the link is closed here, and the destructor deletes
    // the rest after waiting for the worker.
    if (workerThread_ && workerThread_->Wait(0) == platform::WaitResult::Signaled) {
        workerThread_.reset();
    }
    if (!workerThread_) {
        CloseConnection();
    } else if (connection_ && !connection_->IsClosed()) {
        connection_->Close();
    }
    connected_.store(false);
}

bool Client::IsIdle() const {
    if (!connected_.load(std::memory_order_relaxed)) return false;
    int64_t silent = Now64() - lastActive_.load(std::memory_order_relaxed);
    return silent > kIdleSeconds;  // a clock that went backwards is not idle
}

void Client::UpdateActiveTime() { lastActive_.store(Now64(), std::memory_order_relaxed); }

// A binding succeeds only while a transfer of the kind runs under the handle.
bool Client::MayBind(int32_t kind, uint32_t connectionId, uint32_t transferHandle,
                     bool hasCallback) {
    if (connectionId != 0 && transferHandle != 0 && hasCallback && GetTransferKind() == kind &&
        transferHandle_ == transferHandle) {
        return true;
    }
    SetLastError(kResultBadArgument);
    return false;
}

int32_t Client::SetTerminalCallBack(int32_t kind, uint32_t connectionId, uint32_t transferHandle,
                                    TerminalCallBack callback, void* user) {
    if (!MayBind(kind, connectionId, transferHandle, callback != nullptr)) return -1;
    terminalCallback_.store(callback);
    callbackUser_.store(user);
    return 0;
}

int32_t Client::SetPlayDataCallBack(uint32_t connectionId, uint32_t transferHandle,
                                    PlayDataCallBack callback, void* user) {
    if (!MayBind(kTransferPlay, connectionId, transferHandle, callback != nullptr)) return -1;
    dataCallback_.store(callback);
    callbackUser_.store(user);
    return 0;
}

}  // namespace kerrow
