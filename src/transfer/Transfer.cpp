#include "transfer/Transfer.h"

#include "client/Client.h"
#include "log/Log.h"

namespace kerrow {
namespace {

// The worker gives the start operation time to finish before it reads.
constexpr uint32_t kWorkerStartDelayMs = 20;

// Leaves a critical section for the life of the scope and enters it again at
// the end, also when the scope is left by a cancellation's unwinding.
class Unlocked {
  public:
    explicit Unlocked(platform::CriticalSection& lock) : lock_(lock) { lock_.Leave(); }
    ~Unlocked() { lock_.Enter(); }
    Unlocked(const Unlocked&) = delete;
    Unlocked& operator=(const Unlocked&) = delete;

  private:
    platform::CriticalSection& lock_;
};

}  // namespace

Transfer::Transfer(Client* client, int32_t kind, uint32_t handle, int32_t initialProgress)
    : progress(initialProgress), client_(client), kind_(kind), handle_(handle) {}

Transfer::~Transfer() = default;

bool Transfer::Start(const std::shared_ptr<Transfer>& transfer) {
    auto* handoff = new std::shared_ptr<Transfer>(transfer);
    transfer->thread_ = platform::Thread::Create(&Transfer::Worker, handoff);
    if (!transfer->thread_) {
        delete handoff;
        return false;
    }
    return true;
}

uint32_t Transfer::Worker(void* argument) {
    std::shared_ptr<Transfer> self;
    {
        auto* handoff = static_cast<std::shared_ptr<Transfer>*>(argument);
        self = std::move(*handoff);
        delete handoff;
    }
    platform::Sleep(kWorkerStartDelayMs);
    try {
        platform::CriticalSectionGuard guard(self->lock);
        self->CheckAttached();
        Client* client = self->client_;
        if (self->kind_ == kTransferUpload) {
            client->UploadLoop(*self);
        } else {
            client->ReceiveLoop(*self);
        }
        KLOG_INFO << "线程任务正在退出 id：" << self->handle_;
    } catch (const Abandoned&) {
        // The Client was closed while the worker was away in a callback: it
        // ends without touching the Client or calling the application again.
    }
    return 0;
}

void Transfer::RequestStop() {
    stopRequest.store(true);
    wake_.Set();
}

void Transfer::SetPaused(bool value) {
    paused.store(value);
    wake_.Set();
}

bool Transfer::WaitEnded(uint32_t milliseconds) {
    return !thread_ || thread_->Wait(milliseconds) == platform::WaitResult::Signaled;
}

bool Transfer::Cancel() { return thread_ && thread_->Cancel(); }

void Transfer::Detach() {
    platform::CriticalSectionGuard guard(lock);
    client_ = nullptr;
}

void Transfer::CheckAttached() const {
    if (client_ == nullptr) throw Abandoned();
}

void Transfer::CallData(PlayDataCallBack callback, uint32_t connection, uint32_t contentType,
                        const uint8_t* data, uint32_t length) {
    {
        Unlocked unlocked(lock);
        platform::CancellationScope cancellable;
        callback(connection, handle_, contentType, data, length, callbackUser.load());
    }
    CheckAttached();
}

void Transfer::CallTerminal(uint32_t connection, bool finished) {
    TerminalCallBack callback = terminalCallback.load();
    if (callback == nullptr) return;
    {
        Unlocked unlocked(lock);
        platform::CancellationScope cancellable;
        callback(connection, handle_, finished ? 1u : 0u, callbackUser.load());
    }
    CheckAttached();
    terminalCallback.store(nullptr);
}

void Transfer::AwaitReadable(int32_t socket, uint32_t milliseconds) {
    {
        Unlocked unlocked(lock);
        wake_.WaitReadable(socket, milliseconds);
    }
    CheckAttached();
}

void Transfer::Idle(uint32_t milliseconds) {
    {
        Unlocked unlocked(lock);
        wake_.Wait(milliseconds);
    }
    CheckAttached();
}

}  // namespace kerrow
