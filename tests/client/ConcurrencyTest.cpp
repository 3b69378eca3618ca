// Commands of one connection run one at a time, replies matched to requests
// by order; commands of different connections run side by side.
#include <atomic>
#include <chrono>
#include <future>

#include "client/ClientTesting.h"

namespace kerrow::test {
namespace {

class ClientConcurrency : public Session {};

TEST_F(ClientConcurrency, OneConnectionWaitsForItsReplyWhileAnotherGoesOn) {
    const uint32_t other = Open();  // server connection 1
    std::atomic<bool> firstAnswered{false};
    std::atomic<bool> secondSentAfterFirstAnswer{false};
    server_.SetHandler([&](const Request& r) {
        if (r.connection == 0 && r.index == 0) return Reply::Never();  // answered below
        if (r.connection == 0 && r.index == 1) secondSentAfterFirstAnswer = firstAnswered.load();
        return Reply::Now(ResultReply(r.Method(), 0));
    });

    auto first = std::async(std::launch::async, [&] { return Kerrow_AddDevice(conn_); });
    ASSERT_TRUE(server_.WaitRequests(0, 1));
    auto second = std::async(std::launch::async, [&] { return Kerrow_MdyDevice(conn_); });

    EXPECT_EQ(0, Kerrow_DelDevice(other));
    EXPECT_EQ(std::future_status::timeout, first.wait_for(std::chrono::seconds(0)))
        << "the other connection's command finished while the first still waits";
    EXPECT_FALSE(server_.WaitRequests(0, 2, Millis(200)))
        << "the second command must wait its turn";

    firstAnswered = true;
    server_.Push(0, Reply::Now(ResultReply(100, 0)));
    EXPECT_EQ(0, first.get());
    EXPECT_EQ(0, second.get());
    EXPECT_TRUE(secondSentAfterFirstAnswer);
    ASSERT_EQ(2u, server_.Requests(0).size());
    EXPECT_EQ(101, server_.Requests(0)[1].Method());
}

}  // namespace
}  // namespace kerrow::test
