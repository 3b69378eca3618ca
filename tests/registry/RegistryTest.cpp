// The registry's limits, numbering and locking, driven directly.
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <vector>

#include "client/Client.h"
#include "registry/VideoManage.h"
#include "support/LogFile.h"
#include "support/PortListener.h"
#include "support/Records.h"

namespace {

using kerrow::Client;
using kerrow::VideoManage;

void KERROW_CALL OnTransferEnd(uint32_t, uint32_t, uint32_t, void*) {}

TEST(NextId, RunsToFFFFFFFEThenStartsAgainAtOne) {
    VideoManage::SetNextIdForTesting(0xFFFFFFFDu);
    EXPECT_EQ(0xFFFFFFFDu, VideoManage::NextId());
    EXPECT_EQ(0xFFFFFFFEu, VideoManage::NextId());
    EXPECT_EQ(1u, VideoManage::NextId()) << "0xFFFFFFFF and 0 are never handed out";
    EXPECT_EQ(2u, VideoManage::NextId());
    VideoManage::SetNextIdForTesting(0);
    EXPECT_EQ(1u, VideoManage::NextId());
}

TEST(Registry, TwoHundredConnectionsThenTheLimitThenOneMore) {
    kerrow::test::PortListener listener(1024);
    ConnectionRecord record = kerrow::test::MakeConnectionRecord(listener.Port());
    VideoManage registry;
    std::vector<uint32_t> ids;
    for (int i = 0; i < 200; ++i) {
        int32_t result = -1;
        ids.push_back(registry.Connect(&record, &result));
        ASSERT_EQ(0, result) << "connection " << i;
        ASSERT_NE(0u, ids.back());
    }
    int32_t result = -1;
    EXPECT_EQ(0u, registry.Connect(&record, &result));
    EXPECT_EQ(2, result);
    // " 连接达到上限，数量为：200" in GBK
    EXPECT_TRUE(kerrow::test::LogHasMessage(
        " \xC1\xAC\xBD\xD3\xB4\xEF\xB5\xBD\xC9\xCF\xCF\xDE\xA3\xAC\xCA\xFD\xC1\xBF\xCE\xAA\xA3\xBA"
        "200"));

    EXPECT_EQ(0, registry.Disconnect(ids.front()));
    EXPECT_TRUE(kerrow::test::LogHasMessage(
        " \xCA\xCD\xB7\xC5\xC1\xAC\xBD\xD3\xA3\xAC\x69\x64\xA3\xBA" + std::to_string(ids.front())));
    uint32_t again = registry.Connect(&record, &result);
    EXPECT_EQ(0, result);
    EXPECT_NE(0u, again);
    ids.front() = again;
    for (uint32_t id : ids) registry.Disconnect(id);
}

TEST(Registry, DisconnectWaitsForACommandInFlight) {
    kerrow::test::PortListener listener;
    ConnectionRecord record = kerrow::test::MakeConnectionRecord(listener.Port());
    VideoManage registry;
    int32_t result = -1;
    uint32_t first = registry.Connect(&record, &result);
    uint32_t second = registry.Connect(&record, &result);
    ASSERT_NE(0u, first);
    ASSERT_NE(0u, second);

    // A command on the second connection holds the read lock for its whole
    // exchange; stand in for it.
    ASSERT_TRUE(registry.MapLockForTesting().LockRead());
    auto disconnect = std::async(std::launch::async, [&] { return registry.Disconnect(first); });
    EXPECT_EQ(std::future_status::timeout, disconnect.wait_for(std::chrono::milliseconds(200)))
        << "Disconnect must wait for the command to end";
    registry.MapLockForTesting().Unlock();
    ASSERT_EQ(std::future_status::ready, disconnect.wait_for(std::chrono::seconds(10)));
    EXPECT_EQ(0, disconnect.get());
    uint32_t none = 0;
    // 173 is a gap in the table of codes: it does nothing and answers 0.
    EXPECT_EQ(7, registry.Dispatch(first, 173, &none, nullptr, nullptr));
    EXPECT_EQ(0, registry.Dispatch(second, 173, &none, nullptr, nullptr));
    registry.Disconnect(second);
}

TEST(Registry, WaitingWriterKeepsNewReadersOut) {
    kerrow::ReadWriteLock lock;
    ASSERT_TRUE(lock.LockRead());
    auto writer = std::async(std::launch::async, [&] {
        bool locked = lock.LockWrite();
        if (locked) lock.Unlock();
        return locked;
    });
    // Once the writer waits at the gate, a new reader cannot get in; it does
    // when the first reader leaves and the writer is done.
    auto reader = std::async(std::launch::async, [&] {
        while (writer.wait_for(std::chrono::milliseconds(0)) != std::future_status::ready &&
               lock.Lock(kerrow::ReadWriteLock::kRead, 0)) {
            lock.Unlock();  // the writer has not reached the gate yet
        }
        bool locked = lock.LockRead();
        if (locked) lock.Unlock();
        return locked;
    });
    EXPECT_EQ(std::future_status::timeout, reader.wait_for(std::chrono::milliseconds(200)));
    lock.Unlock();
    EXPECT_TRUE(writer.get());
    EXPECT_TRUE(reader.get());
}

TEST(Registry, TaskCountAndCallbackBindingFollowTheTransferKind) {
    VideoManage registry;
    auto player = std::make_unique<Client>();
    auto idle = std::make_unique<Client>();
    player->SetTransferKind(kerrow::kTransferPlay);
    uint32_t playerId = registry.Register(std::move(player));
    uint32_t idleId = registry.Register(std::move(idle));
    EXPECT_EQ(1, registry.GetTaskNum());

    TerminalCallBack callback = &OnTransferEnd;
    EXPECT_EQ(7, registry.SetTerminalCallBack(2, playerId, 0, callback, nullptr))
        << "handle 0 is refused without a look-up";
    EXPECT_EQ(7, registry.SetTerminalCallBack(3, playerId, 5, callback, nullptr))
        << "no download runs there";
    EXPECT_EQ(7, registry.SetTerminalCallBack(2, idleId, 5, callback, nullptr));
    EXPECT_EQ(7, registry.SetTerminalCallBack(2, 424242, 5, callback, nullptr));
    uint32_t none = 0;
    EXPECT_EQ(8, registry.Dispatch(idleId, 170, &none, nullptr, nullptr))
        << "a client that never connected is not connected";
    registry.Disconnect(playerId);
    registry.Disconnect(idleId);
    EXPECT_EQ(0, registry.GetTaskNum());
}

}  // namespace
