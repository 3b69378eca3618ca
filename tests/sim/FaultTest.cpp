// Fault rules seen through the library's result codes, a client sending
// garbage next to well-behaved ones, and many transfers at once.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "SimHarness.h"

namespace kerrow::simtest {
namespace {

using SimFaults = SimTest;

struct FaultCase {
    const char* name;
    const char* rules;
    int expected;
    // Runs the export under the rule on a fresh connection; its result.
    std::function<int(SimTest&, uint32_t, const std::string& file)> act;
};

int ListFiles(uint32_t c) {
    std::list<VideoFileInfo> files;
    TransferTime open{0, 0, 0, 0, 0, 0};
    return Kerrow_GetVideoFileList(c, "cam-1", 1, "", open, open, &files);
}

TEST_F(SimFaults, EachRuleShowsInTheLibrarysResult) {
    StartSim(true);
    const std::string file = Name(Files(Connect("cam-1"), "cam-1", 1).front());
    const std::vector<FaultCase> cases = {
        {"code", R"([{"method":100,"action":"code","code":5}])", 99,
         [](SimTest&, uint32_t c, const std::string&) { return Kerrow_AddDevice(c); }},
        {"code on a start by a camera's file",
         R"([{"method":510,"camera":"cam-1","action":"code","code":7}])", 350,
         [](SimTest& s, uint32_t c, const std::string& f) {
             uint32_t h = 0;
             return Kerrow_StartVideoDownLoad_F(c, f.c_str(), (s.Dir() + "/refused.bin").c_str(),
                                                &h);
         }},
        {"delay within the wait", R"([{"method":600,"action":"delay","ms":300}])", 0,
         [](SimTest&, uint32_t c, const std::string&) { return ListFiles(c); }},
        {"no reply", R"([{"method":101,"action":"no_reply"}])", 11,
         [](SimTest&, uint32_t c, const std::string&) { return Kerrow_MdyDevice(c); }},
        {"close before the reply", R"([{"method":514,"action":"close"}])", 204,
         [](SimTest&, uint32_t c, const std::string& f) {
             return Kerrow_ModifyFilePermission(c, f.c_str(), 1);
         }},
        {"close midway", R"([{"method":102,"action":"close_midway"}])", 99,
         [](SimTest&, uint32_t c, const std::string&) { return Kerrow_DelDevice(c); }},
        {"wrong length digits", R"([{"method":110,"action":"bad_length","digits":"0000012x"}])",
         111,
         [](SimTest&, uint32_t c, const std::string&) { return Kerrow_Stop_Alarm(c, "cam-1"); }},
        {"not XML", R"([{"method":600,"action":"not_xml"}])", 300,
         [](SimTest&, uint32_t c, const std::string&) { return ListFiles(c); }},
        {"camera matches", R"([{"method":100,"camera":"cam-1","action":"code","code":3}])", 99,
         [](SimTest&, uint32_t c, const std::string&) { return Kerrow_AddDevice(c); }},
        {"camera does not match", R"([{"method":100,"camera":"cam-9","action":"code","code":3}])",
         0, [](SimTest&, uint32_t c, const std::string&) { return Kerrow_AddDevice(c); }},
        {"times runs out", R"([{"method":100,"times":0,"action":"code","code":3}])", 0,
         [](SimTest&, uint32_t c, const std::string&) { return Kerrow_AddDevice(c); }},
    };
    std::string error;
    for (const auto& fault : cases) {
        SCOPED_TRACE(fault.name);
        ASSERT_TRUE(sim_->SetFaults(fault.rules, &error)) << error;
        uint32_t c = Connect("cam-1");
        auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(fault.expected, fault.act(*this, c, file));
        if (std::string(fault.name) == "delay within the wait") {
            EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(300));
        }
    }
    EXPECT_FALSE(sim_->SetFaults(R"([{"action":"explode"}])", &error));
    EXPECT_NE(std::string::npos, error.find("explode"));

    // Connection counts: the rule hits the n-th accepted connection only.
    ASSERT_TRUE(sim_->SetFaults(R"({"rules":[{"connection":)" +
                                    std::to_string(connections_.size() + 2) +
                                    R"(,"action":"code","code":4}]})",
                                &error))
        << error;
    EXPECT_EQ(0, Kerrow_AddDevice(Connect("cam-1")));
    EXPECT_EQ(99, Kerrow_AddDevice(Connect("cam-1")));
    EXPECT_EQ(0, Kerrow_AddDevice(Connect("cam-1")));
}

TEST_F(SimFaults, TransfersStallAndAreCut) {
    const std::string bytes = Noise(300000, 3);
    const std::string name = StoreFile("cam-s", bytes);
    StartSim(false,
             R"([{"method":510,"action":"stall","after_bytes":100000,"ms":1000,"times":1}])");
    auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(Download(name) == bytes) << "a stalled download still completes";
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1000));

    std::string error;
    ASSERT_TRUE(sim_->SetFaults(R"([{"method":510,"action":"cut","after_bytes":100000}])", &error));
    uint32_t c = Connect("cam-s");
    uint32_t handle = 0;
    ASSERT_EQ(
        0, Kerrow_StartVideoDownLoad_F(c, name.c_str(), (dataDir_ + "/cut.bin").c_str(), &handle));
    Received received;
    ASSERT_EQ(0, Kerrow_SetVideoDownLoadTerminalCallBack(c, handle, &Received::OnEnd, &received));
    ASSERT_TRUE(WaitUntil(
        [&] { return ReadFile(journal_).find("cut by a fault rule") != std::string::npos; }));
    EXPECT_FALSE(received.AwaitFinished(300)) << "a cut transfer has no normal end";
    uint32_t position = 0;
    Kerrow_GetVideoDownLoadPos(c, handle, &position);
    EXPECT_LT(position, 100u);
    EXPECT_LT(ReadFile(dataDir_ + "/cut.bin").size(), 100000u);
}

// Sends raw bytes on a socket of its own and returns what came back until
// the simulator stopped answering for a while or closed.
std::string RawExchange(uint16_t port, const std::string& bytes, bool* closed) {
    int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(0, ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address));
    EXPECT_EQ(static_cast<ssize_t>(bytes.size()), ::send(fd, bytes.data(), bytes.size(), 0));
    timeval wait{0, 500000};
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &wait, sizeof wait);
    std::string answer;
    char buffer[4096];
    ssize_t n;
    while ((n = ::recv(fd, buffer, sizeof buffer, 0)) > 0) answer.append(buffer, n);
    *closed = n == 0;
    ::close(fd);
    return answer;
}

std::string Framed(const std::string& type, const std::string& body) {
    std::string message =
        "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n<ContentLength>00000000"
        "</ContentLength>\n<ContentType>" +
        type + "</ContentType>\n" + body;
    std::string digits = std::to_string(message.size());
    message.replace(55 + 8 - digits.size(), digits.size(), digits);
    return message;
}

TEST_F(SimFaults, GarbageFromOneClientDoesNotDisturbOthers) {
    const std::string bytes = Noise(200000, 4);
    const std::string name = StoreFile("cam-g", bytes);
    StartSim(false);
    std::atomic<bool> done{false};
    std::thread garbage([&] {
        bool closed = false;
        while (!done.load()) {
            std::string answer = RawExchange(sim_->Port(), Framed("00", "<<<not xml"), &closed);
            EXPECT_NE(std::string::npos, answer.find("<Code>1</Code>")) << answer;
            answer = RawExchange(sim_->Port(), Framed("00", "<Method>999</Method>\n<Action />\n"),
                                 &closed);
            EXPECT_NE(std::string::npos, answer.find("<Code>9</Code>")) << answer;
            answer = RawExchange(sim_->Port(), std::string(300, 'x'), &closed);
            EXPECT_TRUE(closed) << "unframed bytes end the connection";
            EXPECT_NE(std::string::npos, answer.find("<Code>1</Code>")) << answer;
            RawExchange(sim_->Port(), Framed("00", "<Method>510</Method>\n<Action>\n"), &closed);
        }
    });
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(0, Kerrow_AddDevice(Connect("cam-g")));
        EXPECT_TRUE(Download(name) == bytes);
    }
    done.store(true);
    garbage.join();
}

TEST_F(SimFaults, TwoHundredDownloadsAtOnceAreByteExact) {
    const std::string bytes = Noise(60000, 5);
    const std::string name = StoreFile("cam-m", bytes);
    StartSim(false);
    constexpr int kDownloads = 200;
    std::vector<uint32_t> handles(kDownloads);
    std::vector<uint32_t> links(kDownloads);
    for (int i = 0; i < kDownloads; ++i) {
        links[i] = Connect("cam-m");
        std::string path = dataDir_ + "/many-" + std::to_string(i);
        ASSERT_EQ(0,
                  Kerrow_StartVideoDownLoad_F(links[i], name.c_str(), path.c_str(), &handles[i]));
    }
    for (int i = 0; i < kDownloads; ++i) {
        ASSERT_TRUE(WaitUntil([&] {
            uint32_t position = 0;
            Kerrow_GetVideoDownLoadPos(links[i], handles[i], &position);
            return position == 100;
        })) << i;
        EXPECT_TRUE(ReadFile(dataDir_ + "/many-" + std::to_string(i)) == bytes) << i;
    }
}

}  // namespace
}  // namespace kerrow::simtest
