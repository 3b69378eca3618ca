#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "NetTestSupport.h"
#include "net/Connection.h"
#include "support/LogFile.h"
#include "support/PortListener.h"
#include "support/TestServer.h"

namespace kerrow {
namespace {

using std::chrono::steady_clock;

constexpr const char* kHost = "127.0.0.1";

// Index of the first log message equal to text, or -1.
int MessageIndex(const std::string& text) {
    const std::vector<std::string> messages = test::LogMessages();
    for (size_t i = 0; i < messages.size(); ++i) {
        if (messages[i] == text) return static_cast<int>(i);
    }
    return -1;
}

TEST(Connection, KindsOtherThanTcpPrintTheirTextAndFail) {
    const struct {
        int32_t kind;
        const char* printed;
    } cases[] = {
        {1, "network linktype UDPSOCKET now is not implement !\n"},
        {2, "network linktype RTPLINK now is not implement !\n"},
        {3, "network linktype RTSPLINK now is not implement !\n"},
        {7, "network linktype set error!\n"},
        {-1, "network linktype set error!\n"},
    };
    for (const auto& c : cases) {
        Connection connection(c.kind);
        testing::internal::CaptureStdout();
        EXPECT_EQ(-1, connection.Connect(kHost, 9000)) << c.kind;
        EXPECT_EQ(std::string(c.printed) + "new Link error!\n",
                  testing::internal::GetCapturedStdout())
            << c.kind;
    }
    EXPECT_GE(MessageIndex("Connection::Connect(): .\\Connection:52 "
                           "ZOREK new TcpsocketLink()  FAILURE"),
              0);
}

TEST(Connection, ConnectedReadsAnswerAtOnceAndWritesArrive) {
    test::TestServer server;
    Connection connection(Connection::kTcp);
    ASSERT_EQ(0, connection.Connect(kHost, server.Port()));

    char buffer[64];
    const auto start = steady_clock::now();
    EXPECT_EQ(0, connection.Read(buffer, sizeof(buffer)));
    EXPECT_LT(steady_clock::now() - start, std::chrono::milliseconds(500));

    const std::string request = test::ResultReply(100, 0);
    EXPECT_EQ(static_cast<int32_t>(request.size()),
              connection.Write(request.data(), static_cast<int32_t>(request.size())));
    ASSERT_TRUE(server.WaitRequests(1));
    EXPECT_EQ(request, server.Requests()[0].bytes);

    EXPECT_EQ(0, connection.Close());
    EXPECT_TRUE(connection.IsClosed());
    EXPECT_TRUE(server.WaitClosed(0));
}

// A listener whose backlog is full never completes a connect: the connect
// gives up after its one second.
TEST(Connection, ConnectToFullBacklogTimesOutAfterOneSecond) {
    test::FullListener listener;
    ASSERT_TRUE(listener.Full()) << "the listener's backlog never filled up";

    Connection connection(Connection::kTcp);
    const auto start = steady_clock::now();
    EXPECT_EQ(-1, connection.Connect(kHost, listener.Port()));
    const auto elapsed = steady_clock::now() - start;
    EXPECT_GE(elapsed, std::chrono::milliseconds(900));
    EXPECT_LT(elapsed, std::chrono::seconds(3));

    const int timeOut = MessageIndex(
        "TcpsocketLink::Connect(): .\\TcpsocketLink:49 ZOREK TcpsocketLink Conn TimeOut");
    const int failure = MessageIndex(
        "Connection::Connect(): .\\Connection:62 ZOREK m_plink Connect FAILURE:Error#: 10035");
    EXPECT_GE(timeOut, 0);
    EXPECT_GT(failure, timeOut);
}

}  // namespace
}  // namespace kerrow
