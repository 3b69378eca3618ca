// A stop or a disconnect returns on time whatever the application's callback
// does: a callback blocked in a wait is cancelled there (it never returns),
// and one that spins on the processor returns later into a transfer that
// calls the application no more.
#include <algorithm>
#include <atomic>
#include <chrono>

#include "platform/Thread.h"
#include "playback/PlaybackTesting.h"

namespace kerrow::test {
namespace {

using Clock = std::chrono::steady_clock;

enum class Kind { Play, Download, Backup };
enum class Blocks { Sleeping, Spinning };
enum class Stop { StopExport, Disconnect };

// What the blocking callbacks saw, shared by all cases.
struct Calls {
    std::atomic<int> entered{0};
    std::atomic<int> returned{0};
    Blocks how = Blocks::Sleeping;
};

void Block(Calls* calls) {
    calls->entered.fetch_add(1);
    if (calls->how == Blocks::Sleeping) {
        std::this_thread::sleep_for(std::chrono::seconds(3));  // a cancellation point
    } else {
        const auto until = Clock::now() + std::chrono::seconds(2);
        volatile uint64_t spins = 0;
        while (Clock::now() < until) spins = spins + 1;  // none here
    }
    calls->returned.fetch_add(1);
}

void KERROW_CALL BlockingData(uint32_t, uint32_t, uint32_t, const uint8_t*, uint32_t, void* user) {
    Block(static_cast<Calls*>(user));
}
void KERROW_CALL BlockingEnd(uint32_t, uint32_t, uint32_t, void* user) {
    Block(static_cast<Calls*>(user));
}

class ForcedStop : public Transfer {};

TEST_F(ForcedStop, StopAndDisconnectReturnOnTimeWhateverTheCallbackDoes) {
    AnswerOthers([](const Request& r) {
        return r.Method() == 510 ? Reply::Now(StartReply(510, kTaskId, 0)) : Reply::Never();
    });
    struct Case {
        const char* name;
        Kind kind;
        bool terminal;  // the terminal callback blocks, else the data callback
        Blocks how;
        Stop stop;
    };
    const Case cases[] = {
        {"play, data callback asleep, stop", Kind::Play, false, Blocks::Sleeping, Stop::StopExport},
        {"play, terminal callback asleep, stop", Kind::Play, true, Blocks::Sleeping,
         Stop::StopExport},
        {"play, data callback spinning, stop", Kind::Play, false, Blocks::Spinning,
         Stop::StopExport},
        {"play, data callback asleep, disconnect", Kind::Play, false, Blocks::Sleeping,
         Stop::Disconnect},
        {"play, data callback spinning, disconnect", Kind::Play, false, Blocks::Spinning,
         Stop::Disconnect},
        {"download, terminal callback asleep, disconnect", Kind::Download, true, Blocks::Sleeping,
         Stop::Disconnect},
        {"backup, terminal callback asleep, stop", Kind::Backup, true, Blocks::Sleeping,
         Stop::StopExport},
        {"backup, terminal callback spinning, stop", Kind::Backup, true, Blocks::Spinning,
         Stop::StopExport},
    };
    std::vector<std::unique_ptr<Calls>> calls;
    size_t forced = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const uint32_t conn = Open();
        const size_t serverConn = opened_.size() - 1;
        calls.push_back(std::make_unique<Calls>());
        Calls* seen = calls.back().get();
        seen->how = c.how;

        uint32_t handle = 0;
        int endMethod = 500;
        if (c.kind == Kind::Play) {
            handle = StartPlay(conn);
            if (c.terminal) {
                ASSERT_EQ(0, Kerrow_SetVideoPlayTerminalCallBack(conn, handle, BlockingEnd, seen));
            } else {
                ASSERT_EQ(0, Kerrow_SetVideoPlayDataCallBack(conn, handle, BlockingData, seen));
            }
        } else if (c.kind == Kind::Download) {
            endMethod = 510;
            ASSERT_EQ(0, Kerrow_StartVideoDownLoad_F(conn, "200000000007", "target.bin", &handle));
            ASSERT_EQ(0, Kerrow_SetVideoDownLoadTerminalCallBack(conn, handle, BlockingEnd, seen));
        } else {
            endMethod = 515;
            ASSERT_EQ(0, Kerrow_BackupFile(conn, "300000000042", &handle));
            ASSERT_EQ(0, Kerrow_SetVideoBackupTerminalCallBack(conn, handle, BlockingEnd, seen));
        }
        server_.Push(serverConn, Reply::Now(c.terminal ? EndNotice(endMethod)
                                                       : FrameMessage("02", "frame") +
                                                             FrameMessage("02", "next frame")));
        ASSERT_TRUE(Eventually([&] { return seen->entered.load() == 1; }));

        const Clock::time_point start = Clock::now();
        if (c.stop == Stop::StopExport) {
            EXPECT_EQ(0, c.kind == Kind::Play ? Kerrow_StopVideoPlay(conn, handle)
                                              : Kerrow_StopBackupFile(conn, handle));
        } else {
            if (c.kind == Kind::Download) {
                // The end notice closed the link: the stop cannot be sent and
                // leaves the worker to the disconnect.
                EXPECT_EQ(12, Kerrow_StopVideoDownLoad(conn, handle));
            }
            EXPECT_EQ(0, Kerrow_Disconnect(conn));
        }
        EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(500));
        const std::vector<std::string> log = LogMessages();
        EXPECT_EQ(++forced,
                  static_cast<size_t>(std::count(log.begin(), log.end(), Line("强行结束线程"))));
        EXPECT_TRUE(server_.WaitClosed(serverConn));

        if (c.stop == Stop::StopExport) {
            // The connection is closed: commands answer 8, the disconnect is at once.
            uint32_t position = 0;
            EXPECT_EQ(8, Kerrow_GetVideoPlayPos(conn, handle, &position));
            const Clock::time_point disconnect = Clock::now();
            EXPECT_EQ(0, Kerrow_Disconnect(conn));
            EXPECT_LT(Clock::now() - disconnect, std::chrono::milliseconds(100));
        }
        EXPECT_EQ(1, seen->entered.load()) << "the application is called no more";
    }

    // A cancelled callback never returns; a spinning one returns, and its
    // worker calls the application no more. (Under ThreadSanitizer nothing
    // is cancelled: every callback returns, into a detached transfer.)
    std::this_thread::sleep_for(std::chrono::milliseconds(3500));
    for (size_t i = 0; i < calls.size(); ++i) {
        SCOPED_TRACE(cases[i].name);
        EXPECT_EQ(1, calls[i]->entered.load());
        const bool returns = cases[i].how == Blocks::Spinning || !platform::Thread::CanCancel();
        EXPECT_EQ(returns ? 1 : 0, calls[i]->returned.load());
    }
}

}  // namespace
}  // namespace kerrow::test
