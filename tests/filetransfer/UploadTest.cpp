// Upload end to end through the exports: the file cut into data messages in
// paced blocks, the finished notice, progress, a file that changed size, and
// the stop.
#include <atomic>

#include "filetransfer/TransferTesting.h"

namespace kerrow::test {
namespace {

// Bytes that make every position of the file distinguishable.
std::string Content(size_t size) {
    std::string bytes(size, '\0');
    uint32_t state = 12345;
    for (char& c : bytes) {
        state = state * 1103515245u + 12345u;
        c = static_cast<char>(state >> 16);
    }
    return bytes;
}

UploadFileInfo Info(const std::string& path) {
    UploadFileInfo info{};
    std::strcpy(info.FilePath, path.c_str());
    info.MediaType = 1;
    info.EncoderType = 2;
    info.StartTime = TransferTime{2024, 3, 5, 8, 0, 0};
    info.EndTime = TransferTime{2024, 3, 5, 8, 10, 0};
    std::strcpy(info.Uploader, "tester");
    return info;
}

const std::string kFinishedNotice =
    Expected(519, {"    <ClientId>77</ClientId>", "    <ControlResponse>", "        <Code>0</Code>",
                   "    </ControlResponse>"});

class Upload : public Session {
  protected:
    void SetUp() override {
        Session::SetUp();
        // The start request is the 519 that carries the file's description.
        server_.SetHandler([this](const Request& r) {
            if (r.ContentType() == 0 && r.Method() == 519 && !r.Text("FileSize").empty())
                return Reply::Now(StartReply(519, kTaskId, 0));
            if (r.ContentType() == 1 && failDataWith_ > 0 && !answered_.exchange(true))
                return Reply::Now(ResultReply(519, failDataWith_));
            return Reply::Never();
        });
    }
    // The handler reads this fixture's fields: the server ends first.
    void TearDown() override {
        Session::TearDown();
        server_.Stop();
    }
    uint32_t Start(uint32_t connection, const std::string& path, TerminalCalls& terminal) {
        const UploadFileInfo info = Info(path);
        uint32_t handle = 0;
        EXPECT_EQ(0, Kerrow_StartVideoUpLoad(connection, &info, &handle));
        EXPECT_EQ(0, Kerrow_SetVideoUpLoadTerminalCallBack(connection, handle,
                                                           TerminalCalls::Record, &terminal));
        return handle;
    }

    std::atomic<int> failDataWith_{0};
    std::atomic<bool> answered_{false};
};

TEST_F(Upload, EmptyOrMissingFileIsRefusedBeforeAnythingIsSent) {
    WriteWhole("empty.bin", "");
    for (const char* path : {"empty.bin", "missing.bin"}) {
        const UploadFileInfo info = Info(path);
        uint32_t handle = 0;
        EXPECT_EQ(7, Kerrow_StartVideoUpLoad(conn_, &info, &handle)) << path;
        EXPECT_EQ(0u, handle) << path;
    }
    EXPECT_TRUE(server_.Requests().empty());
}

TEST_F(Upload, WholeFileArrivesInDataMessagesAndIsAnnouncedFinished) {
    struct Case {
        size_t size;
        std::vector<size_t> messageSizes;  // head included
        int serverAnswersDataWith;
    };
    std::vector<size_t> block(16, 2158);
    std::vector<size_t> threeBlocksAndRest;
    for (int i = 0; i < 3; ++i) threeBlocksAndRest.insert(threeBlocksAndRest.end(), 16, 2158);
    threeBlocksAndRest.push_back(110 + 100000 - 3 * 32768);
    const std::vector<Case> cases = {
        {2049, {2158, 111}, 0},
        {32768, block, 0},
        {100000, threeBlocksAndRest, 0},
        // The loop's poll of the server cannot complete a reply, so an
        // answer with a failure code does not end the upload.
        {100000, threeBlocksAndRest, 9},
    };

    for (size_t i = 0; i < cases.size(); ++i) {
        const Case& c = cases[i];
        SCOPED_TRACE("size " + std::to_string(c.size) + ", case " + std::to_string(i));
        failDataWith_ = c.serverAnswersDataWith;
        const uint32_t connection = i == 0 ? conn_ : Open();
        const std::string path = "up" + std::to_string(i) + ".bin";
        const std::string file = Content(c.size);
        WriteWhole(path, file);

        TerminalCalls terminal;
        const auto started = std::chrono::steady_clock::now();
        const uint32_t handle = Start(connection, path, terminal);
        // The finished notice follows the terminal callback.
        ASSERT_TRUE(server_.WaitRequests(i, c.messageSizes.size() + 2));
        // Every full block takes a cycle of at least 125 ms.
        EXPECT_GE(std::chrono::steady_clock::now() - started,
                  std::chrono::milliseconds(125 * (c.size / 32768)));

        const std::vector<Request> requests = server_.Requests(i);
        ASSERT_EQ(c.messageSizes.size() + 2, requests.size());
        EXPECT_EQ(std::to_string(c.size), requests.front().Text("FileSize"));
        size_t offset = 0;
        std::string stream = requests.front().bytes;
        for (size_t m = 0; m < c.messageSizes.size(); ++m) {
            const std::string& bytes = requests[m + 1].bytes;
            const size_t payload = c.messageSizes[m] - 110;
            EXPECT_EQ(c.messageSizes[m], bytes.size()) << "message " << m;
            EXPECT_EQ(FrameMessage("01", file.substr(offset, payload)), bytes) << "message " << m;
            offset += payload;
            stream += bytes;
        }
        EXPECT_EQ(kFinishedNotice, requests.back().bytes);
        stream += requests.back().bytes;
        // Nothing but these messages went over the connection.
        EXPECT_EQ(stream, server_.Received(i));

        // A file shorter than a block ends in the first cycle, 20 ms after
        // the start: too soon to be sure the callback was bound in time.
        if (c.size >= 32768) {
            const auto calls = terminal.Taken();
            ASSERT_EQ(1u, calls.size());
            EXPECT_EQ(connection, calls[0].connection);
            EXPECT_EQ(handle, calls[0].handle);
            EXPECT_EQ(1u, calls[0].finished);
        }
        uint32_t position = 0;
        EXPECT_EQ(0, Kerrow_GetVideoUpLoadPos(connection, handle, &position));
        EXPECT_EQ(100u, position);
        EXPECT_FALSE(HeldOpen(path));
    }
    EXPECT_TRUE(LogHasMessage(" 上传完成"));
}

TEST_F(Upload, FileThatGrewAfterTheStartEndsShort) {
    WriteWhole("grows.bin", Content(300000));  // ten blocks, over a second
    TerminalCalls terminal;
    const uint32_t handle = Start(conn_, "grows.bin", terminal);
    ASSERT_TRUE(server_.WaitRequests(0, 2));
    std::ofstream("grows.bin", std::ios::binary | std::ios::app) << "tail";

    ASSERT_TRUE(terminal.WaitFirst());
    const auto calls = terminal.Taken();
    ASSERT_EQ(1u, calls.size());
    EXPECT_EQ(0u, calls[0].finished);
    EXPECT_TRUE(LogHasMessage(" ReadFile error!"));
    EXPECT_NE(kFinishedNotice, LastRequest());
    uint32_t position = 0;
    EXPECT_EQ(0, Kerrow_GetVideoUpLoadPos(conn_, handle, &position));
    EXPECT_EQ(100u, position);  // 300004 of 300000 bytes
}

TEST_F(Upload, StopTakesTheHandleByAddressAndEndsTheUpload) {
    WriteWhole("long.bin", Content(1 << 20));  // four seconds of blocks
    TerminalCalls terminal;
    uint32_t handle = Start(conn_, "long.bin", terminal);
    ASSERT_TRUE(server_.WaitRequests(0, 2));

    EXPECT_EQ(7, Kerrow_StopVideoUpLoad(conn_, nullptr));
    EXPECT_EQ(0, Kerrow_StopVideoUpLoad(conn_, &handle));
    ASSERT_TRUE(server_.WaitClosed(0));
    size_t stops = 0;
    for (const Request& r : server_.Requests(0)) {
        if (r.ContentType() != 0 || r.Method() != 520) continue;
        ++stops;
        EXPECT_EQ(Expected(520, {"    <ClientId>77</ClientId>"}), r.bytes);
    }
    EXPECT_EQ(1u, stops);
    EXPECT_TRUE(terminal.Taken().empty());
    // The source stays open after a stop in mid-file.
    EXPECT_TRUE(HeldOpen("long.bin"));
    uint32_t position = 0;
    EXPECT_EQ(8, Kerrow_GetVideoUpLoadPos(conn_, handle, &position));
}

}  // namespace
}  // namespace kerrow::test
