// Client construction, connect and close, activity and callback binding.
#include "client/Client.h"

#include <tinyxml.h>

#include <cstring>
#include <string>

#include "log/Log.h"
#include "net/Connection.h"
#include "util/FieldText.h"
#include "util/Ids.h"
#include "util/TimeText.h"

namespace kerrow {
namespace {

constexpr int64_t kIdleSeconds = 40;
constexpr int32_t kLinkTcp = 0;

}  // namespace

Client::Client() {
    lastActive_.store(Now64(), std::memory_order_relaxed);
    platform::GetLocalTime(&createdAt_);
    connectionId_ = ids::Next();
}

Client::~Client() {
    // Unlike Close, the destructor never ends a worker by force: it asks it
    // to stop and waits the same 100 ms, then cuts it off from this Client
    // (a worker still held in an application callback ends when the callback
    // returns, without touching anything here).
    if (workerRunning_.load()) {
        StopWorker(false);
        workerRunning_.store(false);
    }
    DetachTransfer();
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
        StopWorker(true);
        workerRunning_.store(false);
    }
    CloseConnection();
    connected_.store(false);
}

bool Client::IsIdle() const {
    if (!connected_.load(std::memory_order_relaxed)) return false;
    int64_t silent = Now64() - lastActive_.load(std::memory_order_relaxed);
    return silent > kIdleSeconds;  // a clock that went backwards is not idle
}

void Client::UpdateActiveTime() { lastActive_.store(Now64(), std::memory_order_relaxed); }

}  // namespace kerrow
