// One started transfer: its worker thread, its file, the held header copy,
// the application's callbacks and user value, its progress and its control
// marks. A start operation makes it; the Client holds it, and so does its
// worker thread, so that a worker that outlives a stop (held in an
// application callback that ignores cancellation) returns into state that
// is still alive.
//
// The worker runs the library's code only while it holds `lock`, and leaves
// it around every application callback and every idle wait. Close takes it
// to detach the Client: from then on the worker touches nothing of the
// Client or its connection and calls the application no more; it ends as
// soon as it has the lock back.
//
// clang-format off
// | field            | written by                        | read by          | how          |
// |------------------|-----------------------------------|------------------|--------------|
// | client_          | constructor; Detach               | worker           | under lock   |
// | stopRequest      | commands (stop, close); worker    | worker; commands | atomic       |
// | paused           | pause/resume commands             | worker           | atomic       |
// | dataCallback     | callback setter; play stop        | worker           | atomic       |
// | terminalCallback | callback setter; worker (once)    | worker           | atomic       |
// | callbackUser     | callback setters; play stop       | worker           | atomic       |
// | progress         | worker; start                     | position queries | atomic       |
// | file             | start; worker; download stop      | worker           | under lock   |
// | header           | worker                            | worker           | worker only  |
// | thread_          | Start; Client (close, destructor) | Client           | command lock |
// | wake_            | stop, resume, close (Set)         | worker (waits)   | event        |
// clang-format on
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "KerrowSDK.h"
#include "platform/Files.h"
#include "platform/Sync.h"
#include "platform/Thread.h"
#include "platform/WakeEvent.h"

namespace kerrow {

class Client;

class Transfer {
  public:
    // The last header block, copied once and kept until it has been handed on.
    struct HeaderHold {
        std::unique_ptr<uint8_t[]> copy;
        uint32_t length = 0;
        bool pending = false;
        bool delivered = false;

        void Release() {
            delivered = true;
            pending = false;
            copy.reset();
        }
    };

    // Thrown on the worker when it finds its Client detached; caught where
    // the worker started.
    struct Abandoned {};

    Transfer(Client* client, int32_t kind, uint32_t handle, int32_t progress);
    ~Transfer();
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;

    // Starts the worker thread, which keeps its own reference: false when
    // the thread could not be made.
    static bool Start(const std::shared_ptr<Transfer>& transfer);

    int32_t Kind() const { return kind_; }
    uint32_t Handle() const { return handle_; }

    // Asks the worker to end and wakes it.
    void RequestStop();
    bool StopRequested() const { return stopRequest.load(); }
    void SetPaused(bool value);
    // Wakes the worker from an idle wait (resume, stop, close, a binding).
    void Wake() { wake_.Set(); }

    // Whether the worker has ended, waiting at most the given time.
    bool WaitEnded(uint32_t milliseconds);
    // Cancels the worker where it waits inside an application callback;
    // false on the worker itself or when it has ended.
    bool Cancel();
    bool OnWorker() const { return thread_ && thread_->IsCurrent(); }
    // Takes the lock, so the worker is outside the library's code or
    // waiting for it, and cuts it off from the Client.
    void Detach();

    // On the worker, with the lock held: calls the application, without the
    // lock and cancellable, then throws Abandoned when the Client is gone.
    void CallData(PlayDataCallBack callback, uint32_t connection, uint32_t contentType,
                  const uint8_t* data, uint32_t length);
    // Calls the terminal callback once, if one is bound, then forgets it.
    void CallTerminal(uint32_t connection, bool finished);
    // On the worker, with the lock held: waits without the lock until the
    // time passes or Wake, then throws Abandoned when the Client is gone.
    void Idle(uint32_t milliseconds);
    // The same, until the socket is readable too.
    void AwaitReadable(int32_t socket, uint32_t milliseconds);
    // Throws Abandoned when the Client is gone (lock held).
    void CheckAttached() const;

    platform::CriticalSection lock;
    std::atomic<bool> stopRequest{false};
    std::atomic<bool> paused{false};
    std::atomic<PlayDataCallBack> dataCallback{nullptr};
    std::atomic<TerminalCallBack> terminalCallback{nullptr};
    std::atomic<void*> callbackUser{nullptr};
    std::atomic<int32_t> progress{0};
    platform::File file;
    HeaderHold header;

  private:
    static uint32_t Worker(void* argument);

    Client* client_;
    const int32_t kind_;
    const uint32_t handle_;
    platform::WakeEvent wake_;
    std::unique_ptr<platform::Thread> thread_;
};

}  // namespace kerrow
