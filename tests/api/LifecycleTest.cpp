// The library's start and stop as an application sees it through the exports.
#include <gtest/gtest.h>

#include <chrono>
#include <list>

#include "KerrowSDK.h"
#include "platform/Sockets.h"
#include "support/LogFile.h"
#include "support/PortListener.h"
#include "support/Records.h"

namespace {

using kerrow::test::MakeConnectionRecord;

class Lifecycle : public ::testing::Test {
  protected:
    void SetUp() override { Kerrow_Release(); }
    void TearDown() override { Kerrow_Release(); }
};

TEST_F(Lifecycle, EveryExportAnswersOneBeforeInit) {
    size_t logSize = kerrow::test::ReadLog().size();
    uint32_t id = 77;
    ConnectionRecord record = MakeConnectionRecord(1);
    TransferTime t{2024, 1, 2, 3, 4, 5};
    std::list<VideoFileInfo> files;
    uint32_t position = 0;
    EXPECT_EQ(1, Kerrow_Connect(&record, &id));
    EXPECT_EQ(77u, id) << "the number is not written before Init";
    EXPECT_EQ(1, Kerrow_GetTaskNum());
    EXPECT_EQ(1, Kerrow_Disconnect(5));
    EXPECT_EQ(1, Kerrow_AddDevice(5));
    EXPECT_EQ(1, Kerrow_GetVideoFileList(5, "c", 1, "a", t, t, &files));
    EXPECT_EQ(1, Kerrow_GetVideoPlayPos(5, 1, &position));
    EXPECT_EQ(1, Kerrow_StopVideoUpLoad(5, nullptr));
    EXPECT_EQ(1, Kerrow_SetVideoPlayTerminalCallBack(5, 1, nullptr, nullptr));
    // The two setters that do nothing answer 0 even now.
    EXPECT_EQ(0, Kerrow_SetVideoDownLoadDataCallBack(5, 1, nullptr, nullptr));
    EXPECT_EQ(0, Kerrow_SetMessageCallBack(nullptr, nullptr));
    EXPECT_EQ(0, Kerrow_GetVersion());
    EXPECT_EQ(0, Kerrow_GetLastError());
    EXPECT_EQ(logSize, kerrow::test::ReadLog().size()) << "nothing is logged before Init";
}

TEST_F(Lifecycle, InitTwiceThenReleaseAndInitAgain) {
    int starts = kerrow::platform::SocketStartCount();
    EXPECT_EQ(0, Kerrow_Init());
    EXPECT_EQ(starts + 2, kerrow::platform::SocketStartCount()) << "sockets start twice per Init";
    EXPECT_EQ(1, Kerrow_Init());
    EXPECT_EQ(starts + 2, kerrow::platform::SocketStartCount());
    EXPECT_EQ(0, Kerrow_GetTaskNum());
    EXPECT_EQ(0, Kerrow_Release());
    EXPECT_EQ(starts + 1, kerrow::platform::SocketStartCount()) << "and are cleaned up once";
    EXPECT_EQ(0, Kerrow_Release());
    EXPECT_EQ(starts + 1, kerrow::platform::SocketStartCount());
    EXPECT_EQ(0, Kerrow_Init());
    EXPECT_TRUE(kerrow::test::LogHasMessage(" Kerrow_Init() success!"));
}

TEST_F(Lifecycle, CommandsToUnknownOrDisconnectedNumbers) {
    ASSERT_EQ(0, Kerrow_Init());
    EXPECT_EQ(7, Kerrow_AddDevice(0)) << "connection number 0";
    EXPECT_EQ(7, Kerrow_AddDevice(123456)) << "unknown number";
    EXPECT_EQ(7, Kerrow_StopVideoUpLoad(123456, nullptr)) << "null input";
    uint32_t handle = 1;
    EXPECT_EQ(7, Kerrow_SetVideoPlayTerminalCallBack(123456, 0, nullptr, nullptr));
    EXPECT_EQ(7, Kerrow_StopVideoUpLoad(0, &handle));
    EXPECT_EQ(0, Kerrow_Disconnect(123456)) << "an unknown number is not an error";
}

TEST_F(Lifecycle, ConnectUsesPrimaryPortAndFallsBack) {
    ASSERT_EQ(0, Kerrow_Init());
    kerrow::test::PortListener listener;
    uint16_t closed = kerrow::test::UnusedPort();
    struct Case {
        int32_t primary, fallback;
    } cases[] = {{listener.Port(), 0}, {0, listener.Port()}, {listener.Port(), closed}};
    for (const Case& c : cases) {
        ConnectionRecord record = MakeConnectionRecord(c.primary, c.fallback);
        uint32_t id = 0;
        EXPECT_EQ(0, Kerrow_Connect(&record, &id)) << c.primary << "/" << c.fallback;
        EXPECT_NE(0u, id);
        uint32_t position = 99;
        EXPECT_EQ(0, Kerrow_GetVideoPlayPos(id, 1, &position));
        EXPECT_EQ(0u, position);
        EXPECT_EQ(0, Kerrow_Disconnect(id));
        EXPECT_EQ(7, Kerrow_GetVideoPlayPos(id, 1, &position)) << "gone after Disconnect";
    }
}

TEST_F(Lifecycle, ConnectToRefusedPortFailsWithItsLogLines) {
    ASSERT_EQ(0, Kerrow_Init());
    ConnectionRecord record = MakeConnectionRecord(kerrow::test::UnusedPort());
    uint32_t id = 99;
    EXPECT_EQ(3, Kerrow_Connect(&record, &id));
    EXPECT_EQ(0u, id) << "a failed connect writes 0";
    EXPECT_TRUE(kerrow::test::LogContains("Client::Init(): .\\Client:105 ZOREK Connect  FAILURE"));
    // The registry names the forwarding server, in GBK.
    EXPECT_TRUE(kerrow::test::LogContains(
        "VideoManage::Connect(): .\\VideoManage:150 ZOREK \xC1\xAC\xBD\xD3\xCA\xA7\xB0\xDC: "
        "127.0.0.9:7070"));
    EXPECT_TRUE(kerrow::test::LogHasMessage(" Client_Connect id:0"));
}

TEST_F(Lifecycle, ConnectToAFullBacklogGivesUpAfterOneSecond) {
    ASSERT_EQ(0, Kerrow_Init());
    kerrow::test::FullListener listener;
    ASSERT_TRUE(listener.Full());
    ConnectionRecord record = MakeConnectionRecord(listener.Port());
    uint32_t id = 99;
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(3, Kerrow_Connect(&record, &id));
    auto elapsed = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(0u, id);
    EXPECT_GE(elapsed, std::chrono::milliseconds(900));
    EXPECT_LT(elapsed, std::chrono::seconds(3));
    EXPECT_TRUE(kerrow::test::LogContains(
        "TcpsocketLink::Connect(): .\\TcpsocketLink:49 ZOREK TcpsocketLink Conn TimeOut"));
}

TEST_F(Lifecycle, ConnectWithoutAnyPortIsRefusedBeforeTrying) {
    ASSERT_EQ(0, Kerrow_Init());
    ConnectionRecord record = MakeConnectionRecord(0, 0);
    uint32_t id = 99;
    EXPECT_EQ(3, Kerrow_Connect(&record, &id));
    EXPECT_EQ(0u, id);
    EXPECT_TRUE(
        kerrow::test::LogContains("Client::Init(): .\\Client:85 ZOREK Conn Before Port is Zeor"));
    EXPECT_FALSE(kerrow::test::LogContains("TcpsocketLink")) << "no connection is attempted";
}

}  // namespace
