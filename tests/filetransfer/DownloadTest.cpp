// Download end to end through the exports: the start request, the target
// file, the stream written into it, progress, the end notice and the stop.
#include "filetransfer/TransferTesting.h"

namespace kerrow::test {
namespace {

const TransferTime kFrom{2024, 3, 5, 8, 0, 0};
const TransferTime kTo{2024, 3, 5, 9, 30, 0};

class Download : public Session {
  protected:
    void SetUp() override {
        Session::SetUp();
        AcceptStartsWithCode(0);
    }
    // A refusal carries no number for the transfer.
    void AcceptStartsWithCode(int code) {
        server_.SetHandler([code](const Request& r) {
            if (r.ContentType() == 0 && r.Method() == 510)
                return Reply::Now(StartReply(510, code > 0 ? 0 : kTaskId, code));
            return Reply::Never();
        });
    }
    uint32_t StartByTime(uint32_t connection, const char* path) {
        uint32_t handle = 0;
        EXPECT_EQ(0, Kerrow_StartVideoDownLoad_T(connection, 3, kFrom, kTo, path, &handle));
        EXPECT_NE(0u, handle);
        return handle;
    }
    uint32_t Position() {
        uint32_t position = 0xDEAD;
        EXPECT_EQ(0, Kerrow_GetVideoDownLoadPos(conn_, 0, &position));
        return position;
    }
};

Lines ControlLines(const char* playType, const char* fileId, const char* camera,
                   const char* recordType, const char* from, const char* to) {
    const std::string indent = "        ";
    return {"    <Control>",
            indent + "<PlayType>" + playType + "</PlayType>",
            indent + "<FileID>" + fileId + "</FileID>",
            indent + "<CameraGUID>" + camera + "</CameraGUID>",
            indent + "<RecordType>" + recordType + "</RecordType>",
            indent + "<StartTime>" + from + "</StartTime>",
            indent + "<EndTime>" + to + "</EndTime>",
            "    </Control>"};
}

TEST_F(Download, StartAsksForTheConnectionsCameraOrForOneStoredFile) {
    struct Case {
        const char* what;
        std::function<int(uint32_t, uint32_t*)> start;
        std::string expected;
    };
    const std::vector<Case> cases = {
        {"by time",
         [](uint32_t c, uint32_t* h) {
             return Kerrow_StartVideoDownLoad_T(c, 3, kFrom, kTo, "by-time.bin", h);
         },
         Expected(510, ControlLines("2", "0", kCameraId, "3", "2024-03-05 08:00:00",
                                    "2024-03-05 09:30:00"))},
        {"by file",
         [](uint32_t c, uint32_t* h) {
             return Kerrow_StartVideoDownLoad_F(c, "200000000007", "by-file.bin", h);
         },
         Expected(510,
                  ControlLines("1", "7", "", "2", "0000-00-00 00:00:00", "0000-00-00 00:00:00"))},
    };
    for (size_t i = 0; i < cases.size(); ++i) {
        const uint32_t connection = i == 0 ? conn_ : Open();
        uint32_t handle = 0;
        EXPECT_EQ(0, cases[i].start(connection, &handle)) << cases[i].what;
        EXPECT_NE(0u, handle) << cases[i].what;
        ASSERT_EQ(1u, server_.Requests(i).size()) << cases[i].what;
        EXPECT_EQ(cases[i].expected, server_.Requests(i)[0].bytes) << cases[i].what;
    }
}

TEST_F(Download, TargetIsCreatedBeforeTheServerIsAsked) {
    // A refused start truncates an existing target and leaves it empty.
    WriteWhole("refused.bin", "old content");
    AcceptStartsWithCode(5);
    uint32_t handle = 0;
    EXPECT_EQ(350, Kerrow_StartVideoDownLoad_T(conn_, 3, kFrom, kTo, "refused.bin", &handle));
    EXPECT_TRUE(Exists("refused.bin"));
    EXPECT_EQ("", ReadWhole("refused.bin"));

    // A target that cannot be created ends the start before any request.
    const size_t requestsBefore = server_.Requests().size();
    EXPECT_EQ(16, Kerrow_StartVideoDownLoad_F(conn_, "200000000007", "missing\\dl.bin", &handle));
    EXPECT_EQ(requestsBefore, server_.Requests().size());
    EXPECT_TRUE(LogHasMessage(" 打开下载文件：missing\\dl.bin失败！"));
}

TEST_F(Download, OneDownloadAtATimePerConnection) {
    StartByTime(conn_, "first.bin");
    uint32_t handle = 0;
    EXPECT_EQ(7, Kerrow_StartVideoDownLoad_T(conn_, 3, kFrom, kTo, "second.bin", &handle));
    EXPECT_EQ(0u, handle);
    EXPECT_FALSE(Exists("second.bin"));
    EXPECT_EQ(1u, server_.Requests().size());
}

TEST_F(Download, StreamIsWrittenWithoutHeadsUntilTheEndNoticeClosesTheFile) {
    const uint32_t handle = StartByTime(conn_, "stream.bin");
    TerminalCalls terminal;
    ASSERT_EQ(0, Kerrow_SetVideoDownLoadTerminalCallBack(conn_, handle, TerminalCalls::Record,
                                                         &terminal));
    EXPECT_EQ(0u, Position());

    const std::string header("HDR\0<x>", 7);
    const std::string first("media\0one", 9);
    const std::string second(3000, '\x7f');
    server_.Push(0, Reply::Now(FrameMessage("01", header) + FrameMessage("02", first) +
                               Progress(512, kTaskId, 40)));
    ASSERT_TRUE(Eventually([&] { return Position() == 40; }));
    EXPECT_EQ(header + first, ReadWhole("stream.bin"));
    EXPECT_TRUE(HeldOpen("stream.bin"));

    server_.Push(0, Reply::Now(FrameMessage("04", second) + EndNotice(510, kTaskId)));
    ASSERT_TRUE(terminal.WaitFirst());
    EXPECT_EQ(header + first + second, ReadWhole("stream.bin"));
    EXPECT_FALSE(HeldOpen("stream.bin"));
    EXPECT_EQ(100u, Position());

    // The worker closed the link with the file: the stop cannot be sent.
    EXPECT_EQ(12, Kerrow_StopVideoDownLoad(conn_, handle));
    const auto calls = terminal.Taken();
    ASSERT_EQ(1u, calls.size());
    EXPECT_EQ(conn_, calls[0].connection);
    EXPECT_EQ(handle, calls[0].handle);
    EXPECT_EQ(1u, calls[0].finished);
}

// The worker closes the link at the end notice while the application's stop
// writes to it, and a failed write closes it too: whichever closes first,
// the stop answers as it would alone and the file and the link end closed.
TEST_F(Download, StopRightAfterTheEndNoticeRacesTheWorkerCleanly) {
    for (int round = 0; round < 20; ++round) {
        const uint32_t connection = round == 0 ? conn_ : Open();
        const std::string path = "race" + std::to_string(round) + ".bin";
        const uint32_t handle = StartByTime(connection, path.c_str());
        server_.Push(round, Reply::Now(FrameMessage("02", "tail") + EndNotice(510, kTaskId)));
        ASSERT_TRUE(Eventually([&] { return ReadWhole(path) == "tail"; })) << round;
        const int result = Kerrow_StopVideoDownLoad(connection, handle);
        EXPECT_TRUE(result == 0 || result == 12) << round << ": " << result;
        EXPECT_TRUE(server_.WaitClosed(round)) << round;
        EXPECT_TRUE(Eventually([&] { return !HeldOpen(path); })) << round;
    }
}

TEST_F(Download, StopSendsTheTaskIdAndClosesFileAndConnection) {
    const uint32_t handle = StartByTime(conn_, "stopped.bin");
    server_.Push(0, Reply::Now(FrameMessage("02", "partial")));
    ASSERT_TRUE(Eventually([] { return ReadWhole("stopped.bin") == "partial"; }));

    EXPECT_EQ(0, Kerrow_StopVideoDownLoad(conn_, handle));
    EXPECT_EQ(Expected(511, {"    <ClientId>77</ClientId>"}), LastRequest());
    EXPECT_FALSE(HeldOpen("stopped.bin"));
    EXPECT_TRUE(server_.WaitClosed(0));
    uint32_t position = 0;
    EXPECT_EQ(8, Kerrow_GetVideoDownLoadPos(conn_, handle, &position));
}

}  // namespace
}  // namespace kerrow::test
