#include "registry/VideoManage.h"

#include <new>

#include "client/Client.h"
#include "log/Log.h"
#include "platform/Thread.h"
#include "util/FieldText.h"
#include "util/Ids.h"

namespace kerrow {
VideoManage::VideoManage() = default;

VideoManage::~VideoManage() {
    // Abandon the Clients that were never disconnected, with their threads.
    for (auto& entry : clients_) entry.second.release();
}

uint32_t VideoManage::NextId() { return ids::Next(); }

void VideoManage::FreeNumberSource() { ids::Free(); }

void VideoManage::SetNextIdForTesting(uint32_t next) { ids::SetNextForTesting(next); }

uint32_t VideoManage::Connect(const ConnectionRecord* record, int32_t* result) {
    *result = kResultOk;
    size_t count = clientCount_.load(std::memory_order_relaxed);
    if (count >= kMaxConnections) {
        *result = kResultConnectionLimit;
        KLOG_INFO << "连接达到上限，数量为：" << static_cast<uint32_t>(count);
        return 0;
    }

    std::unique_ptr<Client> client(new (std::nothrow) Client());
    if (!client) {
        *result = kResultNoClient;
        return 0;
    }
    // No registry lock is held while the client connects.
    if (client->Init(kCmdConnect, record) != 0) {
        *result = kResultConnectFailed;
        // The line names the forwarding server's address, not the storage
        // server's that was tried.
        KLOG_ERROR_AT("VideoManage::Connect", ".\\VideoManage", 150)
            << "ZOREK 连接失败: " << FieldText(record->forwardServerIp) << ":"
            << record->forwardServerPort;
        return 0;
    }
    return Register(std::move(client));
}

uint32_t VideoManage::Register(std::unique_ptr<Client> client) {
    uint32_t id = client->ConnectionNumber();
    {
        ScopedLock lock(mapLock_, ReadWriteLock::kWrite);
        // An entry already holding the number is kept.
        if (clients_.emplace(id, std::move(client)).second) {
            clientCount_.store(clients_.size(), std::memory_order_relaxed);
        }
    }
    KLOG_INFO << "新建连接，id：" << id;
    return id;
}

int32_t VideoManage::Disconnect(uint32_t connectionId) {
    ScopedLock lock(mapLock_, ReadWriteLock::kWrite);
    auto it = clients_.find(connectionId);
    if (it != clients_.end()) {
        it->second->Close();
        it->second.reset();
        KLOG_INFO << "释放连接，id：" << connectionId;
        clients_.erase(it);
        clientCount_.store(clients_.size(), std::memory_order_relaxed);
        --removedCount_;
    }
    return 0;
}

int32_t VideoManage::Dispatch(uint32_t connectionId, int32_t code, void* input, void* output,
                              void* extra) {
    if (connectionId == 0 || input == nullptr) return kResultBadArgument;
    // The read lock is held for the whole command, reply wait included.
    ScopedLock lock(mapLock_, ReadWriteLock::kRead);
    auto it = clients_.find(connectionId);
    if (it == clients_.end()) return kResultBadArgument;
    if (it->second->IsDisconnected()) return kResultNotConnected;
    return it->second->Execute(code, input, output, extra);
}

int32_t VideoManage::GetTaskNum() {
    ScopedLock lock(mapLock_, ReadWriteLock::kRead);
    int32_t count = 0;
    for (const auto& entry : clients_) {
        int32_t kind = entry.second->GetTransferKind();
        if (kind >= kTransferPlay && kind <= kTransferBackup) ++count;
    }
    return count;
}

template <class BindFn>
int32_t VideoManage::Bind(uint32_t connectionId, uint32_t transferHandle, bool hasCallback,
                          BindFn bind) {
    if (connectionId == 0 || transferHandle == 0 || !hasCallback) return kResultBadArgument;
    ScopedLock lock(mapLock_, ReadWriteLock::kRead);
    auto it = clients_.find(connectionId);
    if (it == clients_.end()) return kResultBadArgument;
    return bind(*it->second) == 0 ? kResultOk : kResultBadArgument;
}

int32_t VideoManage::SetTerminalCallBack(int32_t kind, uint32_t connectionId,
                                         uint32_t transferHandle, TerminalCallBack callback,
                                         void* user) {
    return Bind(connectionId, transferHandle, callback != nullptr, [&](Client& client) {
        return client.SetTerminalCallBack(kind, connectionId, transferHandle, callback, user);
    });
}

int32_t VideoManage::SetPlayDataCallBack(uint32_t connectionId, uint32_t transferHandle,
                                         PlayDataCallBack callback, void* user) {
    return Bind(connectionId, transferHandle, callback != nullptr, [&](Client& client) {
        return client.SetPlayDataCallBack(connectionId, transferHandle, callback, user);
    });
}

uint32_t VideoManage::CleanUpThreadFunc(void* argument) {
    auto* registry = static_cast<VideoManage*>(argument);
    platform::Sleep(1000);
    KLOG_INFO << "VideoManage::CleanUpThreadFunc Start!" << platform::GetCurrentThreadId();
    while (!registry->stopRequested_.load()) {
        {
            ScopedLock lock(registry->mapLock_, ReadWriteLock::kWrite);
            for (auto it = registry->clients_.begin(); it != registry->clients_.end();) {
                if (it->second->IsIdle()) {
                    KLOG_INFO << "清理过期任务，id为：" << it->first;
                    it->second->Close();
                    it = registry->clients_.erase(it);
                    registry->clientCount_.store(registry->clients_.size());
                    --registry->removedCount_;
                } else {
                    ++it;
                }
            }
        }
        platform::Sleep(1);
    }
    return 0;
}

}  // namespace kerrow
