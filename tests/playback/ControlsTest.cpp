// Play controls and the stop: what is sent, which controls wait for the
// server's acknowledgement, and what the pause does to the stream.
#include <chrono>

#include "playback/PlaybackTesting.h"

namespace kerrow::test {
namespace {

class PlaybackControls : public Transfer {
  protected:
    // Every control request is acknowledged.
    void Acknowledge() {
        AnswerOthers([](const Request& r) {
            return r.Method() == 507 ? Reply::Now(ResultReply(507, 0)) : Reply::Never();
        });
    }
};

TEST_F(PlaybackControls, PauseResumeAndJumpSucceedOnTheServersAnswer) {
    Acknowledge();
    const uint32_t handle = StartPlay(conn_);
    BindPlay(conn_, handle);

    EXPECT_EQ(0, Kerrow_VideoPlayPause(conn_, handle));
    server_.Push(0, Reply::Now(FrameMessage("02", "after the pause")));
    EXPECT_EQ(0, Kerrow_VideoPlayResume(conn_, handle));
    EXPECT_TRUE(seen_.WaitBlocks(1));
    EXPECT_EQ(0, Kerrow_VideoPlayJump(conn_, handle, 321));

    const std::vector<Request> requests = server_.Requests(0);
    ASSERT_EQ(4u, requests.size());
    const char* actions[] = {"1", "2", "4"};
    for (size_t i = 1; i < 4; ++i) {
        EXPECT_EQ(507, requests[i].Method());
        EXPECT_EQ("4711", requests[i].Text("ClientId"));
        EXPECT_EQ(actions[i - 1], requests[i].Text("PlayAction"));
    }
    EXPECT_EQ("321", requests[3].Text("Position"));
}

TEST_F(PlaybackControls, SlowAndFastSendTheSameRequestAndWaitForNothing) {
    const uint32_t handle = StartPlay(conn_);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(0, Kerrow_VideoPlaySlow(conn_, handle, 0.5f));
    EXPECT_EQ(0, Kerrow_VideoPlayFast(conn_, handle, 0.5f));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));

    ASSERT_TRUE(server_.WaitRequests(0, 3));
    const std::vector<Request> requests = server_.Requests(0);
    EXPECT_EQ(requests[1].bytes, requests[2].bytes);
    EXPECT_EQ("3", requests[1].Text("PlayAction"));
    EXPECT_EQ("0.5", requests[1].Text("PlaySpeed"));
    EXPECT_TRUE(LogContains("慢放 发送xml命令：<?xml"));
    EXPECT_TRUE(LogContains("快放 发送xml命令：<?xml"));
}

TEST_F(PlaybackControls, StopSendsTheClientIdAloneAndClosesTheConnection) {
    const uint32_t handle = StartPlay(conn_);
    BindPlay(conn_, handle);
    EXPECT_EQ(0, Kerrow_StopVideoPlay(conn_, 0));  // any handle stops the connection's playback

    ASSERT_TRUE(server_.WaitRequests(0, 2));
    EXPECT_EQ(Expected(501, {"    <ClientId>4711</ClientId>"}), server_.Requests(0)[1].bytes);
    EXPECT_TRUE(server_.WaitClosed(0));
    EXPECT_EQ(0, Kerrow_GetTaskNum());
    EXPECT_EQ(8, Kerrow_VideoPlayPause(conn_, handle));
    EXPECT_EQ(7, Kerrow_SetVideoPlayDataCallBack(conn_, handle, RecordData, &seen_));
    EXPECT_EQ(0, Kerrow_Disconnect(conn_));
}

// Waits out the 5-second acknowledgement time-out.
TEST_F(PlaybackControls, AnUnansweredPauseTimesOutButPausesAnyway) {
    const uint32_t handle = StartPlay(conn_);
    BindPlay(conn_, handle);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(11, Kerrow_VideoPlayPause(conn_, handle));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));

    server_.Push(0, Reply::Now(FrameMessage("02", "held back")));
    EXPECT_FALSE(seen_.WaitBlocks(1, Millis(200))) << "a paused worker reads nothing";
    Acknowledge();
    EXPECT_EQ(0, Kerrow_VideoPlayResume(conn_, handle));
    EXPECT_TRUE(seen_.WaitBlocks(1));
}

}  // namespace
}  // namespace kerrow::test
