// The one process-wide registry of open connections: numbers them, creates
// and destroys their Clients, and routes every numbered command to the right
// Client under a reader/writer lock (commands read, connect and disconnect
// write).
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>

#include "KerrowSDK.h"
#include "platform/Sync.h"
#include "registry/ReadWriteLock.h"

namespace kerrow {

class Client;

class VideoManage {
  public:
    static constexpr size_t kMaxConnections = 200;

    VideoManage();
    // Clients still registered are neither closed nor destroyed: an
    // application disconnects each connection before releasing the library.
    ~VideoManage();
    VideoManage(const VideoManage&) = delete;
    VideoManage& operator=(const VideoManage&) = delete;

    // The start hook; the idle sweep is never started.
    int32_t Start() { return 0; }

    // A new connection's number, or 0 with *result 2, 3 or 13.
    uint32_t Connect(const ConnectionRecord* record, int32_t* result);
    int32_t Disconnect(uint32_t connectionId);
    int32_t Dispatch(uint32_t connectionId, int32_t code, void* input, void* output, void* extra);
    int32_t GetTaskNum();
    int32_t SetTerminalCallBack(int32_t kind, uint32_t connectionId, uint32_t transferHandle,
                                TerminalCallBack callback, void* user);
    int32_t SetPlayDataCallBack(uint32_t connectionId, uint32_t transferHandle,
                                PlayDataCallBack callback, void* user);

    // The process-wide number source of connection numbers and transfer
    // handles: 1, 2, ... 0xFFFFFFFE, then 1 again; never 0 or 0xFFFFFFFF.
    static uint32_t NextId();
    // At unload; no number may be drawn after it.
    static void FreeNumberSource();
    // Sets the next number to hand out (tests of the wrap).
    static void SetNextIdForTesting(uint32_t next);

    // The idle sweep: closes Clients silent for more than 40 seconds until
    // stopRequested is set. Nothing starts it.
    static uint32_t CleanUpThreadFunc(void* registry);

    // Adds a connected Client under its number (an entry already holding the
    // number is kept) and returns the number.
    uint32_t Register(std::unique_ptr<Client> client);
    // The map's lock, for tests that stand in for a command in flight.
    ReadWriteLock& MapLockForTesting() { return mapLock_; }

  private:
    // The setters' common path: 7 for a zero number, handle or callback, an
    // unknown number, or a binding the Client refuses.
    template <class BindFn>
    int32_t Bind(uint32_t connectionId, uint32_t transferHandle, bool hasCallback, BindFn bind);

    // Read without the lock by Connect's limit test, hence atomic.
    std::atomic<size_t> clientCount_{0};
    std::map<uint32_t, std::unique_ptr<Client>> clients_;
    ReadWriteLock mapLock_;
    uint32_t removedCount_ = 0;
    [[maybe_unused]] uint8_t flag_ = 0;  // no reader
    std::atomic<bool> stopRequested_{false};
    platform::CriticalSection spareLock_;
};

}  // namespace kerrow
