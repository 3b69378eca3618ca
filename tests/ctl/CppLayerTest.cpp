// The C++ layer against the simulator: ownership of transfers and
// connections, errors with their codes, callbacks that run and end.
#include <sys/stat.h>

#include <atomic>
#include <cstring>
#include <fstream>
#include <thread>

#include "SimFixture.h"

namespace kerrow::test {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

const Time kAllFrom = std::chrono::system_clock::now() - std::chrono::hours(24 * 365);
const Time kAllTo = std::chrono::system_clock::now() + std::chrono::hours(24 * 365);
// Keeps a transfer running: its media stops after the first 8 KiB.
const char* kStallPlay =
    R"([{"method": 500, "action": "stall", "after_bytes": 8192, "seconds": 60}])";
const char* kStallDownload =
    R"([{"method": 510, "action": "stall", "after_bytes": 8192, "seconds": 60}])";

class CppLayerTest : public SimTest {
  protected:
    FileInfo FirstRecording() {
        Connection conn(library_, Settings());
        const auto files = conn.files(1, kAllFrom, kAllTo);
        EXPECT_EQ(3u, files.size());
        return files.at(0);
    }
    Library library_;
};

TEST(CppLayerErrors, EveryResultCodeHasAMeaningAndErrorsCarryIt) {
    const int codes[] = {-1,  0,   1,   2,   3,   7,   8,   11,  12,  13,  15,
                         16,  18,  99,  100, 101, 102, 103, 104, 105, 106, 107,
                         108, 109, 111, 200, 204, 205, 206, 300, 350, 400};
    for (int code : codes) {
        EXPECT_STRNE("unknown result code", message(code)) << code;
        const Error e(code, "do it");
        EXPECT_EQ(code, e.code());
        EXPECT_EQ("do it: result " + std::to_string(code) + " (" + message(code) + ")",
                  std::string(e.what()));
    }
    EXPECT_STREQ("unknown result code", message(110));
    EXPECT_STREQ("deleting the file failed", message(206));
}

TEST(CppLayerRecords, LocalDateTimesRoundTrip) {
    const TransferTime cases[] = {
        {2024, 2, 29, 23, 59, 59}, {2026, 1, 1, 0, 0, 0}, {1999, 12, 31, 12, 30, 5}};
    for (const TransferTime& t : cases) {
        const TransferTime back = toTransferTime(fromTransferTime(t));
        EXPECT_EQ(0, std::memcmp(&t, &back, sizeof t)) << formatTime(fromTransferTime(t));
    }
    EXPECT_EQ("2024-02-29 23:59:59", formatTime(fromTransferTime(cases[0])));
    const TransferTime zero{};
    EXPECT_EQ(Time{}, fromTransferTime(zero));
    const TransferTime none = toTransferTime(Time{});
    EXPECT_EQ(0, std::memcmp(&zero, &none, sizeof zero));
}

TEST(CppLayerLibrary, NestsAndLeavesAnEarlierInitialisationAlone) {
    EXPECT_EQ(1, Kerrow_GetTaskNum()) << "not initialised";
    {
        Library outer;
        { Library inner; }
        EXPECT_EQ(0, Kerrow_GetTaskNum()) << "still initialised while outer lives";
    }
    EXPECT_EQ(1, Kerrow_GetTaskNum());
    ASSERT_EQ(0, Kerrow_Init());
    { Library mine; }
    EXPECT_EQ(0, Kerrow_GetTaskNum()) << "the application's own initialisation stays";
    EXPECT_EQ(0, Kerrow_Release());
}

TEST_F(CppLayerTest, FailuresThrowTheirResultCode) {
    ConnectionSettings nowhere = Settings();
    nowhere.port = 1;
    const struct {
        const char* name;
        int code;
        std::function<void()> call;
    } cases[] = {
        {"unreachable server", 3, [&] { Connection(library_, nowhere); }},
        {"file id not 12 digits", 7, [&] { Connection(library_, Settings()).deleteFile("12"); }},
        {"text too long for its field", 7,
         [&] { Connection(library_, Settings(std::string(200, 'c'))); }},
        {"refused deletion of a protected file", 206,
         [&] {
             Connection conn(library_, Settings());
             const std::string id = conn.files(1, kAllFrom, kAllTo).at(0).id;
             conn.setFilePermission(id, 1);
             conn.deleteFile(id);
         }},
        {"unknown file", 206, [&] { Connection(library_, Settings()).deleteFile("100000099999"); }},
        {"download start refused", 350,
         [&] { Connection(library_, Settings()).download("100000099999", Path("none.y4m")); }},
    };
    for (const auto& c : cases) {
        try {
            c.call();
            ADD_FAILURE() << c.name << ": no error";
        } catch (const Error& e) {
            EXPECT_EQ(c.code, e.code()) << c.name << ": " << e.what();
            EXPECT_NE(std::string::npos, std::string(e.what()).find(message(c.code))) << c.name;
        }
    }
    // The refused download created its file; the layer stopped it, closing it.
    EXPECT_FALSE(FileIsOpen(Path("none.y4m")));
}

TEST_F(CppLayerTest, PlaybackCallbacksRunAndEndOnce) {
    ByteCounter media;
    std::atomic<int> ends{0}, finished{0};
    std::vector<int> progress;  // wait() reports on this thread
    TransferCallbacks cb;
    cb.data = [&](uint32_t type, const uint8_t*, size_t n) {
        EXPECT_TRUE(type >= 1 && type <= 4);
        media.Add(n);
    };
    cb.end = [&](bool ok) {
        ++ends;
        finished += ok ? 1 : 0;
    };
    cb.progress = [&](int p) { progress.push_back(p); };
    const FileInfo file = FirstRecording();
    Connection conn(library_, Settings());
    Playback p = conn.play(file.id, cb);
    ASSERT_TRUE(media.AwaitMoreThan(0));
    p.pause();
    p.resume();
    ASSERT_TRUE(p.wait(seconds(30)));
    EXPECT_EQ(TransferState::Finished, p.state());
    EXPECT_EQ(1, ends.load());
    EXPECT_EQ(1, finished.load());
    EXPECT_GE(media.Bytes(), static_cast<size_t>(file.size) / 2);
    ASSERT_FALSE(progress.empty());
    EXPECT_EQ(100, progress.back());
}

TEST_F(CppLayerTest, DownloadMatchesTheCatalogueAndUploadComesBack) {
    const FileInfo file = FirstRecording();
    Connection conn(library_, Settings());
    Download d = conn.download(file.id, Path("one.y4m"));
    ASSERT_TRUE(d.wait(seconds(30)));
    d.stop();
    EXPECT_EQ(file.size, d.bytes());
    EXPECT_FALSE(FileIsOpen(Path("one.y4m")));

    UploadInfo info;
    info.path = Path("one.y4m");
    info.label = "cam-2";
    std::atomic<int> ended{-1};
    TransferCallbacks cb;
    cb.end = [&](bool ok) { ended = ok ? 1 : 0; };
    {
        Connection up(library_, Settings("cam-2"));
        Upload u = up.upload(info, cb);
        ASSERT_TRUE(u.wait(seconds(30)));
        EXPECT_EQ(TransferState::Finished, u.state());
    }
    EXPECT_EQ(1, ended.load());
}

TEST_F(CppLayerTest, TransferDestroyedWhileRunningStopsAndCallsNoMore) {
    Faults(kStallPlay);
    ByteCounter media;
    std::atomic<int> ends{0};
    TransferCallbacks cb;
    cb.data = [&](uint32_t, const uint8_t*, size_t n) { media.Add(n); };
    cb.end = [&](bool) { ++ends; };
    Connection conn(library_, Settings());
    {
        Playback p = conn.play(FirstRecording().id, cb);
        ASSERT_TRUE(media.AwaitMoreThan(0));
        EXPECT_FALSE(p.wait(milliseconds(200)));
        EXPECT_EQ(1, Library::transferCount());
    }
    EXPECT_EQ(0, Library::transferCount());
    const size_t after = media.Bytes();
    Faults("[]");
    EXPECT_FALSE(media.AwaitMoreThan(after, milliseconds(300)));
    EXPECT_EQ(0, ends.load());
}

TEST_F(CppLayerTest, DownloadDestroyedWhileRunningClosesItsFile) {
    Faults(kStallDownload);
    const std::string id = FirstRecording().id;
    Connection conn(library_, Settings());
    {
        Download d = conn.download(id, Path("stalled.y4m"));
        EXPECT_FALSE(d.wait(milliseconds(300)));
        EXPECT_TRUE(FileIsOpen(Path("stalled.y4m")));
    }
    EXPECT_FALSE(FileIsOpen(Path("stalled.y4m")));
}

TEST_F(CppLayerTest, ConnectionDestroyedWithATransferRunning) {
    Faults(kStallDownload);
    const std::string id = FirstRecording().id;
    auto conn = std::make_unique<Connection>(library_, Settings());
    Download d = conn->download(id, Path("orphan.y4m"));
    EXPECT_EQ(TransferState::Running, d.state());
    conn.reset();
    EXPECT_EQ(TransferState::Stopped, d.state());
    EXPECT_TRUE(d.wait(milliseconds(0)));
    EXPECT_FALSE(FileIsOpen(Path("orphan.y4m")));
    EXPECT_EQ(0, Library::transferCount());
    EXPECT_THROW(d.position(), Error);
    d.stop();  // nothing left to stop
}

TEST_F(CppLayerTest, AnExceptionFromACallbackComesBackFromWait) {
    TransferCallbacks cb;
    cb.data = [](uint32_t, const uint8_t*, size_t) { throw std::runtime_error("disk full"); };
    Connection conn(library_, Settings());
    Playback p = conn.play(FirstRecording().id, cb);
    try {
        p.wait(seconds(10));
        ADD_FAILURE() << "wait() did not rethrow";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ("disk full", e.what());
    }
    EXPECT_EQ(TransferState::Stopped, p.state());
}

TEST_F(CppLayerTest, ControlOperationsRoundTrip) {
    Connection conn(library_, Settings("cam-9"));
    conn.addCamera();
    Policy policy;
    Task task;
    task.start = std::chrono::system_clock::now();
    task.end = task.start + std::chrono::hours(2);
    task.daysOfWeek = 0x7F;
    policy.tasks = {task, task};
    conn.addPolicy(policy);
    const auto policies = conn.policies();
    ASSERT_EQ(1u, policies.size());
    EXPECT_EQ("cam-9", policies[0].cameraGuid);
    EXPECT_EQ(2u, policies[0].tasks.size());
    EXPECT_EQ(2u, conn.tasks().size());
    conn.deleteAllPolicies();
    EXPECT_TRUE(conn.policies().empty());
    conn.raiseAlarm(Alarm{"door", std::chrono::system_clock::now(), 10});
    conn.clearAlarm();
    EXPECT_EQ(1u, conn.files(2, kAllFrom, kAllTo).size());
    conn.deleteCamera();
}

}  // namespace
}  // namespace kerrow::test
