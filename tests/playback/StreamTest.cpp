// The playback stream as the worker cuts and hands it on: header and data
// blocks, notices, the first block waiting for the application, broken
// streams, and an application that stops from inside its callback.
#include <future>

#include "playback/PlaybackTesting.h"

namespace kerrow::test {
namespace {

class PlaybackStream : public Transfer {};

// The smallest message the worker takes: a control message whose content
// type digits lie beyond its end (read as 0).
std::string SmallestMessage() { return "<Method>1</Method>" + std::string(37, ' ') + "00000064\n"; }

TEST_F(PlaybackStream, BlocksReachTheCallbackInOrderUntilTheEndNotice) {
    const uint32_t handle = StartPlay(conn_);
    BindPlay(conn_, handle);
    EXPECT_EQ(0u, Position(conn_));

    const std::string h1 = "HDR-1";
    const std::string h2(300, 'h');
    const std::string d1("\0\1data", 6);
    const std::string d2(40960 - 110, 'd');  // the largest message
    server_.Push(
        0, Reply::Now(SmallestMessage() + FrameMessage("01", h1) + FrameMessage("03", h2) +
                      FrameMessage("07", "odd") + FrameMessage("02", d1) + FrameMessage("02", "") +
                      FrameMessage("04", d2) + Progress(508, 42)));
    ASSERT_TRUE(seen_.WaitBlocks(4));
    EXPECT_TRUE(Eventually([&] { return Position(conn_) == 42; }));
    EXPECT_EQ((std::vector<Block>{{1, h1}, {3, h2}, {2, d1}, {4, d2}}), seen_.Blocks());
    EXPECT_EQ(std::make_pair(conn_, handle), seen_.Identity());
    EXPECT_TRUE(LogHasMessage(Line("接收来自服务端错误的contenttype类型，为:", 7)));
    EXPECT_TRUE(LogHasMessage(Line("收到进度:", 42)));

    server_.Push(0, Reply::Now(EndNotice(500)));
    ASSERT_TRUE(seen_.WaitEnds(1));
    EXPECT_TRUE(server_.WaitClosed(0));
    EXPECT_EQ(100u, Position(conn_));
    EXPECT_EQ(1, Kerrow_GetTaskNum()) << "an ended transfer counts until it is stopped";
    EXPECT_TRUE(Eventually([&] { return LogHasMessage(Line("线程任务正在退出 id：", handle)); }));
    EXPECT_TRUE(LogHasMessage(Line("播放、下载或备份完成！")));

    EXPECT_EQ(0, Kerrow_StopVideoPlay(conn_, handle));  // the link is gone already
    EXPECT_EQ(0, Kerrow_GetTaskNum());
    EXPECT_EQ(std::vector<uint32_t>{1}, seen_.Ends());
}

TEST_F(PlaybackStream, TheFirstBlockWaitsForTheCallbackToBeBound) {
    const Block firsts[] = {{1, "stream header"}, {2, "first data"}};
    for (size_t i = 0; i < 2; ++i) {
        const Block& first = firsts[i];
        SCOPED_TRACE(first.bytes);
        const uint32_t conn = i == 0 ? conn_ : Open();
        Answer(StartReply(500, kTaskId, 0),
               FrameMessage("0" + std::to_string(first.contentType), first.bytes));
        const uint32_t handle = StartPlay(conn);
        // The block travelled behind the start reply; once the worker has
        // read it, the callback is bound.
        ASSERT_TRUE(ClientReadEverything(server_.Port()));
        BindPlay(conn, handle, more_[i]);
        ASSERT_TRUE(more_[i].WaitBlocks(1));
        server_.Push(i, Reply::Now(FrameMessage("02", "next")));
        ASSERT_TRUE(more_[i].WaitBlocks(2));
        EXPECT_EQ((std::vector<Block>{first, {2, "next"}}), more_[i].Blocks());
    }
}

TEST_F(PlaybackStream, ABrokenStreamEndsTheTransfer) {
    const std::string body(1000, 'b');
    struct Case {
        const char* name;
        Reply reply;
        std::string logged;
    };
    const Case cases[] = {
        {"length 63", Reply::Now(WithLengthDigits(FrameMessage("02", body), "00000063")),
         Line("接收错误 totallen：", 63)},
        {"length 40961", Reply::Now(WithLengthDigits(FrameMessage("02", body), "00040961")),
         Line("接收错误 totallen：", 40961)},
        {"closed inside a body", Reply::Now(FrameMessage("02", body).substr(0, 500)).ThenClose(),
         Line("接收错误 Receive bodydata return -1")},
        {"closed between messages", Reply::Now(Progress(508, 9)).ThenClose(),
         Line("接收错误 Receive headdata return -1")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const uint32_t conn = Open();
        const size_t serverConn = opened_.size() - 1;
        const uint32_t handle = StartPlay(conn);
        server_.Push(serverConn, c.reply);
        EXPECT_TRUE(
            Eventually([&] { return LogHasMessage(Line("线程任务正在退出 id：", handle)); }));
        EXPECT_TRUE(LogHasMessage(c.logged));
        EXPECT_TRUE(server_.WaitClosed(serverConn));
        EXPECT_EQ(0, Kerrow_Disconnect(conn));
    }
    EXPECT_FALSE(LogHasMessage(Line("强行结束线程")));
}

// The worker reads ahead: many messages come in one read and are handed on
// one by one, in order; what follows the end notice is dropped with it.
TEST_F(PlaybackStream, MessagesReadTogetherAreHandledOneByOneAndNothingAfterTheEnd) {
    const uint32_t handle = StartPlay(conn_);
    BindPlay(conn_, handle);
    std::string stream;
    std::vector<Block> expected;
    for (int i = 0; i < 60; ++i) {
        const std::string bytes(100 + i * 500, static_cast<char>('a' + i % 26));
        stream += FrameMessage(i % 2 ? "02" : "04", bytes);
        expected.push_back({i % 2 ? 2u : 4u, bytes});
    }
    server_.Push(0, Reply::Now(stream + EndNotice(500) + FrameMessage("02", "after the end")));
    ASSERT_TRUE(seen_.WaitEnds(1));
    EXPECT_EQ(expected, seen_.Blocks());
    EXPECT_EQ(0, Kerrow_StopVideoPlay(conn_, handle));
}

TEST_F(PlaybackStream, WhilePausedNothingIsDeliveredAndNothingMoreIsRead) {
    AnswerOthers([](const Request& r) {
        return r.Method() == 507 ? Reply::Now(ResultReply(507, 0)) : Reply::Never();
    });
    const uint32_t handle = StartPlay(conn_);
    BindPlay(conn_, handle);
    ASSERT_EQ(0, Kerrow_VideoPlayPause(conn_, handle));
    std::string stream;
    for (int i = 0; i < 20; ++i) stream += FrameMessage("02", std::string(3000, 'p'));
    server_.Push(0, Reply::Now(stream));
    ASSERT_TRUE(server_.WaitDrained(0));
    EXPECT_FALSE(seen_.WaitBlocks(1, Millis(300))) << "a paused worker delivers nothing";
    EXPECT_FALSE(ClientReadEverything(server_.Port())) << "and reads nothing";
    ASSERT_EQ(0, Kerrow_VideoPlayResume(conn_, handle));
    EXPECT_TRUE(seen_.WaitBlocks(20));
    EXPECT_TRUE(ClientReadEverything(server_.Port()));
}

// The application stops or disconnects while its data callback runs, from
// inside it or from another thread: nothing more is delivered, nothing hangs.
TEST_F(PlaybackStream, StoppingWhileTheDataCallbackRunsDeliversNothingMore) {
    enum How { kDisconnectInside, kStopInside, kStopOutside };
    for (How how : {kDisconnectInside, kStopInside, kStopOutside}) {
        SCOPED_TRACE(how);
        const uint32_t conn = Open();
        const size_t serverConn = opened_.size() - 1;
        const uint32_t handle = StartPlay(conn);
        Recorder& seen = more_[how];
        std::promise<int> inside;
        // Setting the promise is the callback's last step: after a disconnect
        // its worker is no longer waited for.
        seen.onBlock = [this, &inside, how, conn, handle, serverConn,
                        calls = 0](const Block&) mutable {
            if (++calls > 1) return;
            switch (how) {
                case kDisconnectInside:
                    return inside.set_value(Kerrow_Disconnect(conn));
                case kStopInside:
                    return inside.set_value(Kerrow_StopVideoPlay(conn, handle));
                case kStopOutside:  // held until the stop request has left
                    return inside.set_value(server_.WaitRequests(serverConn, 2) ? 0 : -1);
            }
        };
        BindPlay(conn, handle, seen);
        server_.Push(serverConn, Reply::Now(FrameMessage("02", "one") + FrameMessage("02", "two")));
        ASSERT_TRUE(seen.WaitBlocks(1));
        if (how == kStopOutside) {
            EXPECT_EQ(0, Kerrow_StopVideoPlay(conn, handle));
        }
        EXPECT_EQ(0, inside.get_future().get());
        EXPECT_TRUE(server_.WaitClosed(serverConn));
        if (how != kDisconnectInside) {
            EXPECT_EQ(0, Kerrow_Disconnect(conn));
        }
        EXPECT_EQ(1u, seen.Blocks().size());
    }
}

}  // namespace
}  // namespace kerrow::test
