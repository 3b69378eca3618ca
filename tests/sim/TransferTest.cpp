// Transfers between the library and the simulator: downloads byte-exact,
// upload and back, backup with progress, playback with its controls.
#include <thread>

#include "SimHarness.h"

namespace kerrow::simtest {
namespace {

using SimTransfer = SimTest;

TEST_F(SimTransfer, DownloadsAFileAndASpanByteExact) {
    const std::string small = Noise(50000, 1);
    StartSim(true);
    uint32_t c = Connect("cam-1");
    auto files = Files(c, "cam-1", 1);
    ASSERT_EQ(3u, files.size());
    const std::string name = Name(files.front());
    std::string bytes = Download(name);
    EXPECT_EQ(static_cast<size_t>(files.front().fileSize), bytes.size());
    EXPECT_TRUE(bytes == StoredBytes(name)) << "the download is the stored file";

    // A time span: every file of the camera in it, in order.
    uint32_t d = Connect("cam-1");
    std::string path = dataDir_ + "/span";
    uint32_t handle = 0;
    ASSERT_EQ(0, Kerrow_StartVideoDownLoad_T(d, 1, Now(-7200), Now(60), path.c_str(), &handle));
    ASSERT_TRUE(WaitUntil([&] {
        uint32_t position = 0;
        Kerrow_GetVideoDownLoadPos(d, handle, &position);
        return position == 100;
    }));
    std::string all;
    for (const auto& file : files) all += StoredBytes(Name(file));
    EXPECT_TRUE(ReadFile(path) == all);

    int result = 0;
    Download("100099999999", &result);
    EXPECT_EQ(350, result) << "an unknown file is refused";
}

TEST_F(SimTransfer, UploadedFileIsCataloguedAndDownloadsBackIdentical) {
    StartSim(true);
    const std::string bytes = Noise(70000, 2);
    const std::string source = dataDir_ + "/upload.bin";
    WriteFile(source, bytes);
    uint32_t c = Connect("uploader");
    UploadFileInfo info{};
    std::strncpy(info.FilePath, source.c_str(), sizeof info.FilePath - 1);
    info.StartTime = Now(-20);
    info.EndTime = Now(-10);
    std::strcpy(info.Label, "cam-2");
    std::strcpy(info.Uploader, "tester");
    uint32_t handle = 0;
    ASSERT_EQ(0, Kerrow_StartVideoUpLoad(c, &info, &handle));
    Received received;
    ASSERT_EQ(0, Kerrow_SetVideoUpLoadTerminalCallBack(c, handle, &Received::OnEnd, &received));
    ASSERT_TRUE(received.AwaitFinished());
    EXPECT_EQ(1, received.finished);

    uint32_t q = Connect("cam-2");
    std::list<VideoFileInfo> files;
    ASSERT_TRUE(WaitUntil([&] {
        files = Files(q, "cam-2", 4);
        return files.size() == 1;
    })) << "the upload joins the camera its Label names, as record type 4";
    EXPECT_EQ(static_cast<int32_t>(bytes.size()), files.front().fileSize);
    EXPECT_TRUE(Download(Name(files.front())) == bytes);
}

TEST_F(SimTransfer, BackupReportsProgressThenItsEnd) {
    StartSim(true);
    uint32_t c = Connect("cam-3");
    const std::string name = Name(Files(c, "cam-3", 1).front());
    uint32_t b = Connect("cam-3");
    uint32_t handle = 0;
    ASSERT_EQ(0, Kerrow_BackupFile(b, name.c_str(), &handle));
    Received received;
    ASSERT_EQ(0, Kerrow_SetVideoBackupTerminalCallBack(b, handle, &Received::OnEnd, &received));
    std::vector<uint32_t> seen;
    ASSERT_TRUE(WaitUntil([&] {
        uint32_t position = 0;
        Kerrow_GetBackupFilePos(b, handle, &position);
        if (seen.empty() || seen.back() != position) seen.push_back(position);
        return position == 100;
    }));
    EXPECT_GE(seen.size(), 3u) << "progress between the start and the end";
    EXPECT_TRUE(received.AwaitFinished(2000));
    EXPECT_TRUE(ReadFile(dataDir_ + "/backup/" + name + ".y4m") == StoredBytes(name));

    uint32_t bad = Connect("cam-3");
    EXPECT_EQ(205, Kerrow_BackupFile(bad, "100099999999", &handle));
}

// A file played with pause, resume and jump: header first, nothing while
// paused, the end reached early after a jump.
TEST_F(SimTransfer, PlaysAFileWithPauseResumeAndJump) {
    StartSim(true);
    uint32_t c = Connect("cam-1");
    const std::string name = Name(Files(c, "cam-1", 1).front());
    const std::string stored = StoredBytes(name);
    uint32_t p = Connect("cam-1");
    uint32_t handle = 0;
    ASSERT_EQ(0, Kerrow_StartVideoPlay_F(p, name.c_str(), &handle));
    Received received;
    ASSERT_EQ(0, Kerrow_SetVideoPlayDataCallBack(p, handle, &Received::OnData, &received));
    ASSERT_EQ(0, Kerrow_SetVideoPlayTerminalCallBack(p, handle, &Received::OnEnd, &received));
    ASSERT_TRUE(WaitUntil([&] { return received.Size() > 100000; }));
    ASSERT_EQ(0, Kerrow_VideoPlayPause(p, handle));
    // A message the worker was already taking in may still be delivered.
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    size_t paused = received.Size();
    std::this_thread::sleep_for(std::chrono::milliseconds(400));
    EXPECT_EQ(paused, received.Size()) << "nothing arrives while paused";
    ASSERT_EQ(0, Kerrow_VideoPlayResume(p, handle));
    ASSERT_TRUE(WaitUntil([&] { return received.Size() > paused; }));
    EXPECT_LT(received.Size(), stored.size() / 2) << "played at the recording's pace";
    ASSERT_EQ(0, Kerrow_VideoPlayJump(p, handle, 90));
    ASSERT_TRUE(received.AwaitFinished(5000)) << "the last tenth plays in about a second";
    EXPECT_EQ(1, received.finished);
    uint32_t position = 0;
    EXPECT_EQ(0, Kerrow_GetVideoPlayPos(p, handle, &position));
    EXPECT_EQ(100u, position);

    std::lock_guard<std::mutex> lock(received.mutex);
    ASSERT_FALSE(received.contentTypes.empty());
    EXPECT_EQ(1u, received.contentTypes.front()) << "the header block comes first";
    const size_t header = stored.find('\n') + 1;
    EXPECT_EQ(stored.substr(0, header), received.bytes.substr(0, header));
    EXPECT_LT(received.bytes.size(), stored.size()) << "the jump skipped a part";
    // After the jump the header again, then frames from a frame boundary.
    const std::string tail = stored.substr(stored.size() - 28806);
    EXPECT_EQ(tail, received.bytes.substr(received.bytes.size() - tail.size()));
}

// A camera's time span played fast: every file, each with its header.
TEST_F(SimTransfer, PlaysASpanFastFileAfterFile) {
    StartSim(true);
    uint32_t c = Connect("cam-2");
    auto files = Files(c, "cam-2", 1);
    std::string all;
    for (const auto& file : files) all += StoredBytes(Name(file));
    uint32_t p = Connect("cam-2");
    uint32_t handle = 0;
    ASSERT_EQ(0, Kerrow_StartVideoPlay_T(p, 1, Now(-7200), Now(60), &handle));
    Received received;
    ASSERT_EQ(0, Kerrow_SetVideoPlayDataCallBack(p, handle, &Received::OnData, &received));
    ASSERT_EQ(0, Kerrow_SetVideoPlayTerminalCallBack(p, handle, &Received::OnEnd, &received));
    EXPECT_EQ(0, Kerrow_VideoPlayFast(p, handle, 64));
    ASSERT_TRUE(received.AwaitFinished(10000));
    std::lock_guard<std::mutex> lock(received.mutex);
    EXPECT_TRUE(received.bytes == all) << received.bytes.size() << " of " << all.size();
    size_t headers = 0;
    for (uint32_t type : received.contentTypes) headers += type == 1;
    EXPECT_EQ(files.size(), headers);
}

// A stopped playback and a client that disconnects in the middle of one end
// their own transfer; the simulator journals why.
TEST_F(SimTransfer, StoppedAndVanishedPlaybacksEndTheirTransferOnly) {
    StartSim(true);
    const std::string name = Name(Files(Connect("cam-1"), "cam-1", 1).front());
    auto occurrences = [&](const std::string& text) {
        std::string journal = ReadFile(journal_);
        size_t count = 0;
        for (size_t at = journal.find(text); at != std::string::npos;
             at = journal.find(text, at + 1))
            ++count;
        return count;
    };
    uint32_t stopped = Connect("cam-1");
    uint32_t vanished = Connect("cam-1");
    uint32_t handle = 0, other = 0;
    ASSERT_EQ(0, Kerrow_StartVideoPlay_F(stopped, name.c_str(), &handle));
    ASSERT_EQ(0, Kerrow_StartVideoPlay_F(vanished, name.c_str(), &other));
    EXPECT_EQ(0, Kerrow_StopVideoPlay(stopped, handle));
    EXPECT_TRUE(
        WaitUntil([&] { return occurrences(R"("outcome":"stopped by the client")") == 1; }));
    EXPECT_EQ(0, Kerrow_Disconnect(vanished));
    connections_.pop_back();
    EXPECT_TRUE(WaitUntil([&] { return occurrences(R"("outcome":"connection lost")") == 1; }));
    EXPECT_TRUE(Download(name) == StoredBytes(name)) << "the simulator serves on";
}

}  // namespace
}  // namespace kerrow::simtest
