// The in-process server that the client suites run against.
#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "NetTestSupport.h"
#include "net/Connection.h"
#include "support/TestServer.h"

namespace kerrow::test {
namespace {

using std::chrono::steady_clock;

int32_t WriteAll(Connection& connection, const std::string& bytes) {
    return connection.Write(bytes.data(), static_cast<int32_t>(bytes.size()));
}

TEST(TestServer, ResultReplyCarriesItsOwnLength) {
    const std::string reply = ResultReply(100, 0);
    EXPECT_EQ(
        "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n<ContentLength>00000218</ContentLength>\n"
        "<ContentType>00</ContentType>\n<Method>100</Method>\n<Action>\n    <ControlResponse>\n"
        "        <Code>0</Code>\n    </ControlResponse>\n</Action>\n",
        reply);
    EXPECT_EQ(218u, reply.size());
    EXPECT_EQ(std::string("0000012x"), WithLengthDigits(reply, "0000012x").substr(55, 8));
}

TEST(TestServer, FragmentedReplyArrivesWholeAfterItsGaps) {
    TestServer server;
    const std::string reply = ResultReply(104, -3);
    server.Script(Reply::Fragments(reply, {1, 62, 5}, Millis(30)));

    Connection connection(Connection::kTcp);
    ASSERT_EQ(0, connection.Connect(server.Host(), server.Port()));
    const auto start = steady_clock::now();
    ASSERT_GT(WriteAll(connection, ResultReply(104, 0)), 0);
    EXPECT_EQ(reply, ReadExactly(connection, reply.size(), Millis(5000)));
    EXPECT_GE(steady_clock::now() - start, Millis(90));  // three gaps
    connection.Close();
}

TEST(TestServer, RecordsEveryRequestExactlyPerConnection) {
    TestServer server;
    const std::string first = ControlMessage(600, "    <CameraGUID>cam&amp;1</CameraGUID>\n");
    const std::string second = FrameMessage("01", std::string("\0\x01\xff payload", 11));
    const std::string third = ResultReply(520, 7);

    Connection a(Connection::kTcp);
    Connection b(Connection::kTcp);
    Connection c(Connection::kTcp);
    ASSERT_EQ(0, a.Connect(server.Host(), server.Port()));
    ASSERT_TRUE(server.WaitConnections(1));
    ASSERT_EQ(0, b.Connect(server.Host(), server.Port()));
    ASSERT_TRUE(server.WaitConnections(2));
    ASSERT_EQ(0, c.Connect(server.Host(), server.Port()));
    ASSERT_TRUE(server.WaitConnections(3));

    // One message cut inside its head, then the rest glued to the next one.
    ASSERT_EQ(40, WriteAll(a, first.substr(0, 40)));
    ASSERT_GT(WriteAll(a, first.substr(40) + second), 0);
    ASSERT_GT(WriteAll(b, third), 0);
    const std::string garbage(63, 'z');
    ASSERT_GT(WriteAll(c, garbage), 0);
    ASSERT_TRUE(server.WaitRequests(3));

    const std::vector<Request> onA = server.Requests(0);
    ASSERT_EQ(2u, onA.size());
    EXPECT_EQ(first, onA[0].bytes);
    EXPECT_EQ(600, onA[0].Method());
    EXPECT_EQ("cam&amp;1", onA[0].Text("CameraGUID"));
    EXPECT_EQ(second, onA[1].bytes);
    EXPECT_EQ(1u, onA[1].index);
    EXPECT_EQ(1, onA[1].ContentType());
    EXPECT_EQ(-1, onA[1].Method());

    const std::vector<Request> onB = server.Requests(1);
    ASSERT_EQ(1u, onB.size());
    EXPECT_EQ(third, onB[0].bytes);
    EXPECT_EQ(1u, onB[0].connection);

    // Bytes that are not a message are kept, but never taken for requests.
    c.Close();
    ASSERT_TRUE(server.WaitClosed(2));
    EXPECT_TRUE(server.Garbled(2));
    EXPECT_EQ(garbage, server.Received(2));
    EXPECT_TRUE(server.Requests(2).empty());
    a.Close();
    b.Close();
}

TEST(TestServer, HandlerRepliesAndPushedCloseCutsAMessage) {
    TestServer server;
    server.SetHandler([](const Request& request) {
        return Reply::Now(ResultReply(request.Method(), static_cast<int>(request.index)));
    });
    Connection connection(Connection::kTcp);
    ASSERT_EQ(0, connection.Connect(server.Host(), server.Port()));
    ASSERT_GT(WriteAll(connection, ResultReply(111, 0)), 0);
    const std::string expected = ResultReply(111, 0);
    EXPECT_EQ(expected, ReadExactly(connection, expected.size(), Millis(5000)));

    const std::string media = FrameMessage("02", std::string(500, 'm'));
    server.Push(0, Reply::Now(media.substr(0, 200)).ThenClose());
    EXPECT_EQ(media.substr(0, 200), ReadExactly(connection, media.size(), Millis(5000)));
    EXPECT_TRUE(connection.IsClosed());
}

}  // namespace
}  // namespace kerrow::test
