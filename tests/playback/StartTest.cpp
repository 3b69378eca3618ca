// Starting a transfer: the request sent, and what the start returns, issues
// and leaves running for each kind of answer.
#include <chrono>

#include "playback/PlaybackTesting.h"

namespace kerrow::test {
namespace {

class TransferStart : public Transfer {};

Lines PlayControl(const std::string& fileId, const std::string& camera,
                  const std::string& recordType, const std::string& start, const std::string& end) {
    return {"    <Control>",
            "        <FilesNum>0</FilesNum>",
            "        <PlayType>" + std::string(fileId == "0" ? "2" : "1") + "</PlayType>",
            "        <FileID>" + fileId + "</FileID>",
            "        <CameraGUID>" + camera + "</CameraGUID>",
            "        <RecordType>" + recordType + "</RecordType>",
            "        <StartTime>" + start + "</StartTime>",
            "        <EndTime>" + end + "</EndTime>",
            "    </Control>"};
}

TEST_F(TransferStart, PlaybackByTimeNamesTheConnectionsCameraAndByFileTheFile) {
    uint32_t byTime = 0;
    EXPECT_EQ(0, Kerrow_StartVideoPlay_T(conn_, 3, TransferTime{2024, 3, 5, 8, 0, 0},
                                         TransferTime{2024, 3, 5, 9, 30, 0}, &byTime));
    const uint32_t other = Open();
    uint32_t byFile = 0;
    EXPECT_EQ(0, Kerrow_StartVideoPlay_F(other, "2000000012345", &byFile));  // cut to 12

    EXPECT_EQ(Expected(500, PlayControl("0", kCameraId, "3", "2024-03-05 08:00:00",
                                        "2024-03-05 09:30:00")),
              server_.Requests(0).at(0).bytes);
    EXPECT_EQ(
        Expected(500, PlayControl("1234", "", "2", "0000-00-00 00:00:00", "0000-00-00 00:00:00")),
        server_.Requests(1).at(0).bytes);
    // Handles come from the counter that numbers connections.
    EXPECT_NE(0u, byTime);
    EXPECT_NE(byTime, byFile);
    EXPECT_NE(other, byTime);
    EXPECT_NE(other, byFile);
    EXPECT_EQ(2, Kerrow_GetTaskNum());
}

TEST_F(TransferStart, AServersClientIdStartsTheWorkerWhateverItsCodeSays) {
    auto play = [](uint32_t c, uint32_t* h) {
        return Kerrow_StartVideoPlay_F(c, "100000000001", h);
    };
    auto backup = [](uint32_t c, uint32_t* h) { return Kerrow_BackupFile(c, "100000000001", h); };
    struct Case {
        const char* name;
        std::function<int(uint32_t, uint32_t*)> start;
        std::string reply;
        int result;
        bool runs;
    };
    const Case cases[] = {
        {"accepted", play, StartReply(500, kTaskId, 0), 0, true},
        {"refused, but with a ClientId", play, StartReply(500, kTaskId, 9), 200, true},
        {"refused without a ClientId", play, StartReply(500, 0, 9), 200, false},
        {"accepted without a ClientId", play, StartReply(500, 0, 0), 0, false},
        {"backup refused, but with a ClientId", backup, StartReply(515, kTaskId, 3), 205, true},
        {"backup refused without a ClientId", backup, StartReply(515, 0, 3), 205, false},
    };
    int running = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const uint32_t conn = Open();
        const size_t serverConn = opened_.size() - 1;
        Answer(c.reply);
        uint32_t handle = 0xDEAD;
        EXPECT_EQ(c.result, c.start(conn, &handle));
        if (c.runs) {
            ++running;
            EXPECT_NE(0xDEADu, handle);
            EXPECT_NE(0u, handle);
            // The worker follows the server's notices.
            server_.Push(serverConn, Reply::Now(Progress(508, 5)));
            EXPECT_TRUE(Eventually([&] { return Position(conn) == 5; }));
        } else {
            EXPECT_EQ(0xDEADu, handle);
        }
        EXPECT_EQ(running, Kerrow_GetTaskNum());
    }
    // The refusal's line shows the result before it was set.
    EXPECT_TRUE(LogHasMessage(Line("点播开始失败 playerr：", 0)));
    EXPECT_TRUE(LogHasMessage(Line("开始备份文件开始 失败")));
}

// Waits out the 5-second reply time-out.
TEST_F(TransferStart, NoStartReplyReportsATimeOut) {
    Answer("");
    uint32_t handle = 0xDEAD;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(11, Kerrow_StartVideoPlay_F(conn_, "100000000001", &handle));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
    EXPECT_EQ(0xDEADu, handle);
    EXPECT_EQ(0, Kerrow_GetTaskNum());
    EXPECT_TRUE(LogHasMessage(Line("点播开始失败 err：", 0)));
    EXPECT_TRUE(LogHasMessage(Line("点播开始超时，连接id：", conn_)));
    EXPECT_TRUE(LogHasMessage(Line("点播开始 失败")));
}

}  // namespace
}  // namespace kerrow::test
