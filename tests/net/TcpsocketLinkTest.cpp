#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "NetTestSupport.h"
#include "net/TcpsocketLink.h"
#include "platform/Sockets.h"
#include "support/LogFile.h"
#include "support/TestServer.h"

namespace kerrow {
namespace {

using std::chrono::steady_clock;
using test::LogHasMessage;
using test::LogMessages;

constexpr const char* kHost = "127.0.0.1";

bool HasMessageStartingWith(const std::string& prefix) {
    for (const std::string& message : LogMessages()) {
        if (message.compare(0, prefix.size(), prefix) == 0) return true;
    }
    return false;
}

TEST(TcpsocketLink, ConnectedLinkWithNothingToReadStaysConnected) {
    test::TestServer server;
    TcpsocketLink link;
    ASSERT_EQ(0, link.Connect(kHost, server.Port()));
    ASSERT_EQ(0, link.SetNonBlocking());

    char buffer[16];
    EXPECT_EQ(0, link.Read(buffer, sizeof(buffer)));
    EXPECT_TRUE(link.IsConnected());
    EXPECT_FALSE(link.IsClosed());
    EXPECT_EQ(0, link.WaitReadable(20));

    // With bytes waiting, a read of no bytes is still "nothing now".
    ASSERT_TRUE(server.WaitConnections(1));
    server.Push(0, test::Reply::Now("abc"));
    ASSERT_EQ(1, link.WaitReadable(5000));
    EXPECT_EQ(0, link.Read(buffer, 0));
    EXPECT_TRUE(link.IsConnected());
    EXPECT_EQ(3, link.Read(buffer, sizeof(buffer)));
    link.Close();
}

TEST(TcpsocketLink, RefusedConnectFailsAtOnceAndLeavesNoSocket) {
    test::LoopbackSocket nothingListens;
    TcpsocketLink link;

    const auto start = steady_clock::now();
    EXPECT_EQ(-1, link.Connect(kHost, nothingListens.Port()));
    EXPECT_LT(steady_clock::now() - start, std::chrono::milliseconds(500));
    EXPECT_EQ(platform::kWsaEConnRefused, link.GetLastError());
    EXPECT_EQ("Error#: 10061", link.GetErrorText());
    EXPECT_TRUE(
        LogHasMessage("TcpsocketLink::Connect(): .\\TcpsocketLink:56 "
                      "ZOREK TcpsocketLink select sockerrorError#: 10061"));
    EXPECT_FALSE(link.IsConnected());
    EXPECT_FALSE(link.IsClosed());

    // The socket went with the failed connect: a second try stops at once.
    EXPECT_EQ(-1, link.Connect(kHost, nothingListens.Port()));
    EXPECT_TRUE(LogHasMessage(
        "TcpsocketLink::Connect(): .\\TcpsocketLink:23 ZOREK TcpsocketLink m_fd SOCKET_ERROR"));
}

TEST(TcpsocketLink, PeerCloseEndsTheLinkAndLaterWritesMakeNoSocketCall) {
    test::TestServer server;
    TcpsocketLink link;
    ASSERT_EQ(0, link.Connect(kHost, server.Port()));
    ASSERT_EQ(0, link.SetNonBlocking());
    ASSERT_TRUE(server.WaitConnections(1));
    server.Close(0);

    ASSERT_EQ(1, link.WaitReadable(5000));
    char buffer[16];
    EXPECT_EQ(-1, link.Read(buffer, sizeof(buffer)));
    EXPECT_TRUE(HasMessageStartingWith(" socket read has been disconnected!errno:"));
    EXPECT_TRUE(HasMessageStartingWith(" Close Socket!fd:"));
    EXPECT_TRUE(link.IsClosed());
    EXPECT_FALSE(link.IsConnected());

    // A socket call would replace the last socket error.
    platform::WSASetLastError(4242);
    EXPECT_EQ(-1, link.Write("x", 1));
    EXPECT_EQ(-1, link.Read(buffer, sizeof(buffer)));
    EXPECT_EQ(4242, link.GetLastError());
    EXPECT_EQ(-1, link.WaitReadable(0));
}

// A peer that has vanished answers writes with a reset; the process must see
// a failed write, never a signal.
TEST(TcpsocketLink, WriteToVanishedPeerFailsWithoutSignal) {
    test::LoopbackSocket listener;
    ASSERT_TRUE(listener.Listen(4));
    TcpsocketLink link;
    ASSERT_EQ(0, link.Connect(kHost, listener.Port()));
    ASSERT_EQ(0, link.SetNonBlocking());
    const int peer = listener.Accept(5000);
    ASSERT_GE(peer, 0);
    ::close(peer);
    ASSERT_EQ(1, link.WaitReadable(5000));  // the peer's end has arrived

    int32_t result = 0;
    for (int attempt = 0; attempt < 1000 && result >= 0; ++attempt) result = link.Write("ping", 4);
    EXPECT_EQ(-1, result);
    EXPECT_TRUE(LogHasMessage(" Write Close the socket!errno:10054"));
    EXPECT_TRUE(link.IsClosed());
    EXPECT_FALSE(link.IsConnected());
}

struct TuningCase {
    const char* name;
    std::function<int32_t(TcpsocketLink&)> call;
    int32_t result;
    const char* printed;
};

void ExpectTuning(TcpsocketLink& link, const std::vector<TuningCase>& cases) {
    for (const TuningCase& c : cases) {
        testing::internal::CaptureStdout();
        const int32_t result = c.call(link);
        EXPECT_EQ(c.result, result) << c.name;
        EXPECT_EQ(c.printed, testing::internal::GetCapturedStdout()) << c.name;
    }
}

const auto kReadBuffer = [](uint32_t bytes) {
    return [bytes](TcpsocketLink& l) { return l.SetReadBuffer(bytes); };
};
const auto kWriteBuffer = [](uint32_t bytes) {
    return [bytes](TcpsocketLink& l) { return l.SetWriteBuffer(bytes); };
};
int32_t NonBlocking(TcpsocketLink& l) { return l.SetNonBlocking(); }
int32_t Blocking(TcpsocketLink& l) { return l.SetBlocking(); }
int32_t ReuseAddr(TcpsocketLink& l) { return l.SetReuseAddr(); }

TEST(TcpsocketLink, TuningAnswersByTheStateOfTheLink) {
    TcpsocketLink fresh;
    ExpectTuning(fresh, {{"read buffer", kReadBuffer(65536), 0, ""},
                         {"write buffer", kWriteBuffer(65536), 0, ""},
                         {"non-blocking", NonBlocking, 0, ""},
                         {"blocking", Blocking, 0, ""},
                         {"reuse", ReuseAddr, 0, ""}});
    fresh.Close();

    // Not closed, but its socket went with a failed connect.
    test::LoopbackSocket nothingListens;
    TcpsocketLink socketless;
    ASSERT_EQ(-1, socketless.Connect(kHost, nothingListens.Port()));
    ExpectTuning(socketless, {{"read buffer 0", kReadBuffer(0), 0, ""},
                              {"read buffer", kReadBuffer(65536), -1, "SetReadBuffer error!\n"},
                              {"write buffer", kWriteBuffer(65536), -1, "SetWriteBuffer error!\n"},
                              {"non-blocking", NonBlocking, -1, ""},
                              {"reuse", ReuseAddr, -1, "SetWriteBuffer error!\n"}});

    TcpsocketLink closed;
    EXPECT_EQ(0, closed.Close());
    EXPECT_EQ(0, closed.Close());  // logs and goes through the motions again
    EXPECT_TRUE(LogHasMessage(" Close Socket!fd:-1"));
    ExpectTuning(closed, {{"read buffer 0", kReadBuffer(0), 0, ""},
                          {"write buffer 0", kWriteBuffer(0), 0, ""},
                          {"read buffer", kReadBuffer(65536), -1, ""},
                          {"write buffer", kWriteBuffer(65536), -1, ""},
                          {"non-blocking", NonBlocking, -1, ""},
                          {"blocking", Blocking, -1, ""},
                          {"reuse", ReuseAddr, -1, "SetWriteBuffer error!\n"}});
}

}  // namespace
}  // namespace kerrow
