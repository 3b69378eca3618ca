// Replies that never come: every operation gives up after about 5 seconds
// with 11, and once a connection has timed out its later failures report 11
// as well. Each case waits out the real time-out, so each is a test of its
// own and the first runs all operations at once on separate connections.
#include <sys/resource.h>

#include <chrono>
#include <future>

#include "client/ClientTesting.h"

namespace kerrow::test {
namespace {

using Clock = std::chrono::steady_clock;

class ClientTimeouts : public Session {};

TEST_F(ClientTimeouts, EveryOperationGivesUpAfterFiveSecondsEachOnItsOwnConnection) {
    const std::vector<Operation>& ops = AllOperations();
    std::vector<uint32_t> ids{conn_};
    while (ids.size() < ops.size()) ids.push_back(Open());

    // Nothing is scripted: no request is answered.
    const Clock::time_point start = Clock::now();
    std::vector<std::future<int>> results;
    for (size_t i = 0; i < ops.size(); ++i) {
        results.push_back(std::async(std::launch::async, ops[i].call, ids[i]));
    }
    for (size_t i = 0; i < ops.size(); ++i) EXPECT_EQ(11, results[i].get()) << ops[i].name;
    const auto elapsed = Clock::now() - start;
    EXPECT_GE(elapsed, std::chrono::seconds(4));
    EXPECT_LT(elapsed, std::chrono::seconds(9)) << "the connections wait side by side";

    for (size_t i = 0; i < ops.size(); ++i) {
        const bool resultWait = ops[i].family == Family::Control;
        EXPECT_TRUE(LogHasMessage(Line(ops[i].failed, resultWait ? -1 : 0))) << ops[i].name;
        EXPECT_TRUE(LogHasMessage(Line(ops[i].timedOut, ids[i]))) << ops[i].name;
    }
    // " 新增摄像头 失败，连接id：" and " 查找视频文件超时，连接id：" in GBK.
    EXPECT_TRUE(LogHasMessage(
        " \xD0\xC2\xD4\xF6\xC9\xE3\xCF\xF1\xCD\xB7 \xCA\xA7\xB0\xDC\xA3\xAC\xC1\xAC\xBD\xD3"
        "id\xA3\xBA" +
        std::to_string(ids[0])));
    EXPECT_TRUE(LogHasMessage(
        " \xB2\xE9\xD5\xD2\xCA\xD3\xC6\xB5\xCE\xC4\xBC\xFE\xB3\xAC\xCA\xB1\xA3\xAC\xC1\xAC"
        "\xBD\xD3id\xA3\xBA" +
        std::to_string(ids.back())));
}

TEST_F(ClientTimeouts, AfterATimeOutFailuresReportElevenButSuccessesStillSucceed) {
    EXPECT_EQ(11, Kerrow_AddDevice(conn_));

    // Refused by the server: the control operations report 11; delete and
    // permission got a usable reply and report their own code; the queries
    // do not look at the code.
    server_.SetHandler([](const Request& r) { return Reply::Now(ResultReply(r.Method(), 5)); });
    for (const Operation& op : AllOperations()) {
        const int expected = op.family == Family::Control      ? 11
                             : op.family == Family::FileChange ? op.failureCode
                                                               : 0;
        EXPECT_EQ(expected, op.call(conn_)) << op.name;
        if (op.family == Family::Control) {
            EXPECT_TRUE(LogHasMessage(Line(op.timedOut, conn_))) << op.name;
        }
    }

    // No usable reply at all: 11 for every operation.
    server_.SetHandler(
        [](const Request&) { return Reply::Now(FrameMessage("00", "<Method>1</Wrong>\n")); });
    for (const Operation& op : AllOperations()) EXPECT_EQ(11, op.call(conn_)) << op.name;

    AnswerEverythingWithSuccess();
    for (const Operation& op : AllOperations()) EXPECT_EQ(0, op.call(conn_)) << op.name;
}

TEST_F(ClientTimeouts, AReplyStillTricklingInAtTheDeadlineIsATimeOut) {
    // A piece every second, the last one after 7 seconds.
    server_.Script(
        Reply::Fragments(ResultReply(100, 0), {40, 30, 10, 10, 10, 10, 10}, Millis(1000)));
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(11, Kerrow_AddDevice(conn_));
    EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(6500));
}

// Peak resident memory of the process, in KiB.
long PeakKiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

TEST_F(ClientTimeouts, AnAnnouncedTotalAllocatesNothingBeforeTheBytesCome) {
    // Eight document waits whose heads announce 99,999,999 bytes and whose
    // bodies stop after a few: nothing is reserved on the server's word.
    constexpr size_t kWaits = 8;
    std::vector<uint32_t> ids{conn_};
    while (ids.size() < kWaits) ids.push_back(Open());
    const std::string head = WithLengthDigits(ControlMessage(600, ""), "99999999");
    server_.SetHandler([&head](const Request&) { return Reply::Now(head); });

    const long before = PeakKiB();
    std::vector<std::future<int>> results;
    for (uint32_t id : ids) {
        results.push_back(std::async(std::launch::async, [id] {
            std::list<VideoFileInfo> list;
            return Kerrow_GetVideoFileList(id, kCameraId, 1, "", TransferTime{}, TransferTime{},
                                           &list);
        }));
    }
    for (auto& result : results) EXPECT_EQ(11, result.get());
    EXPECT_LT(PeakKiB() - before, 64 * 1024) << "KiB more at the peak";
}

}  // namespace
}  // namespace kerrow::test
