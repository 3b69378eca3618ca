// Idle workers sleep: a silent playback waits for its socket, a paused one
// for resume, stop or close, and neither wakes meanwhile; a body that stalls
// still ends the transfer when its 30 seconds are up.
#include <sys/resource.h>

#include <chrono>

#include "playback/PlaybackTesting.h"

namespace kerrow::test {
namespace {

class IdleWorkers : public Transfer {};

// Context switches of the whole process over the given time.
long SwitchesDuring(Millis time) {
    rusage before{};
    rusage after{};
    getrusage(RUSAGE_SELF, &before);
    std::this_thread::sleep_for(time);
    getrusage(RUSAGE_SELF, &after);
    return (after.ru_nvcsw - before.ru_nvcsw) + (after.ru_nivcsw - before.ru_nivcsw);
}

TEST_F(IdleWorkers, SilentAndPausedWorkersDoNotWake) {
    AnswerOthers([](const Request& r) {
        return r.Method() == 507 ? Reply::Now(ResultReply(507, 0)) : Reply::Never();
    });
    constexpr size_t kTransfers = 20;
    std::vector<std::pair<uint32_t, uint32_t>> playing;
    for (size_t i = 0; i < kTransfers; ++i) {
        const uint32_t conn = i == 0 ? conn_ : Open();
        const uint32_t handle = StartPlay(conn);
        ASSERT_EQ(0, Kerrow_SetVideoPlayDataCallBack(conn, handle, RecordData, &seen_));
        playing.emplace_back(conn, handle);
    }
    // A worker that polled every 10 ms would switch 100 times a second.
    std::this_thread::sleep_for(Millis(100));
    EXPECT_LT(SwitchesDuring(Millis(1000)), 50) << "silent";
    for (const auto& [conn, handle] : playing) ASSERT_EQ(0, Kerrow_VideoPlayPause(conn, handle));
    std::this_thread::sleep_for(Millis(100));
    EXPECT_LT(SwitchesDuring(Millis(1000)), 50) << "paused";

    // Resume wakes the worker at once; what waited in the socket comes.
    server_.Push(0, Reply::Now(FrameMessage("02", "waited")));
    ASSERT_TRUE(server_.WaitDrained(0));
    ASSERT_EQ(0, Kerrow_VideoPlayResume(playing[0].first, playing[0].second));
    EXPECT_TRUE(seen_.WaitBlocks(1));
}

// Waits out the 30 seconds.
TEST_F(IdleWorkers, AStalledBodyEndsTheTransferOnTime) {
    const uint32_t handle = StartPlay(conn_);
    BindPlay(conn_, handle);
    const auto start = std::chrono::steady_clock::now();
    server_.Push(0, Reply::Now(FrameMessage("02", std::string(5000, 's')).substr(0, 3000)));
    EXPECT_TRUE(server_.WaitClosed(0, Millis(35000)));
    const auto elapsed = std::chrono::steady_clock::now() - start;
    EXPECT_GE(elapsed, std::chrono::seconds(29));
    EXPECT_LT(elapsed, std::chrono::seconds(32));
    EXPECT_TRUE(LogHasMessage(Line("接收来自服务端视频数据超时（30秒），准备退出线程")));
    EXPECT_TRUE(seen_.Blocks().empty());
}

}  // namespace
}  // namespace kerrow::test
