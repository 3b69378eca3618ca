// The kerrow-sim executable as a developer runs it: it says where it listens,
// logs each request on standard output, and ends cleanly on SIGTERM and
// SIGINT with its state kept for the next start.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <vector>

#include "SimHarness.h"

namespace kerrow::simtest {
namespace {

class SimProcess {
  public:
    explicit SimProcess(const std::string& dataDir) {
        int out[2];
        EXPECT_EQ(0, pipe(out));
        pid_ = fork();
        if (pid_ == 0) {
            dup2(out[1], 1);
            close(out[0]);
            std::vector<const char*> argv = {KERROW_SIM_PATH, "--listen",      "127.0.0.1:0",
                                             "--data",        dataDir.c_str(), "--seed"};
            if (*KERROW_TOOL_RUNNER != '\0') argv.insert(argv.begin(), KERROW_TOOL_RUNNER);
            argv.push_back(nullptr);
            execv(argv[0], const_cast<char* const*>(argv.data()));
            _exit(127);
        }
        close(out[1]);
        stdout_ = fdopen(out[0], "r");
    }
    ~SimProcess() {
        if (pid_ > 0) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
        if (stdout_) fclose(stdout_);
    }
    // The next line of its standard output ("" at its end).
    std::string Line() {
        char line[1024];
        return fgets(line, sizeof line, stdout_) ? std::string(line) : std::string();
    }
    // Sends the signal; the exit status.
    int Signal(int signal) {
        kill(pid_, signal);
        int status = 0;
        waitpid(pid_, &status, 0);
        pid_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

  private:
    pid_t pid_ = -1;
    FILE* stdout_ = nullptr;
};

uint32_t ConnectTo(uint16_t port, const char* camera) {
    ConnectionRecord record;
    std::memset(&record, 0, sizeof record);
    std::strcpy(record.serverAddress, "127.0.0.1");
    record.serverPort = port;
    std::strcpy(record.cameraId, camera);
    uint32_t connection = 0;
    EXPECT_EQ(0, Kerrow_Connect(&record, &connection));
    return connection;
}

uint16_t ListeningPort(SimProcess& sim) {
    for (std::string line = sim.Line(); !line.empty(); line = sim.Line()) {
        size_t at = line.find("listening on 127.0.0.1:");
        if (at != std::string::npos) return static_cast<uint16_t>(std::stoi(line.substr(at + 23)));
    }
    ADD_FAILURE() << "kerrow-sim never said where it listens";
    return 0;
}

using SimCli = SimTest;

TEST_F(SimCli, LogsRequestsAndKeepsStateAcrossASignalledRestart) {
    for (int signal : {SIGTERM, SIGINT}) {
        SimProcess sim(dataDir_);
        uint16_t port = ListeningPort(sim);
        ASSERT_NE(0, port);
        uint32_t c = ConnectTo(port, "cam-cli");
        // First run: register a camera; second run: it is still known.
        EXPECT_EQ(0, signal == SIGTERM ? Kerrow_AddDevice(c) : Kerrow_MdyDevice(c));
        std::string log;
        for (std::string line = sim.Line(); !line.empty(); line = sim.Line()) {
            log += line;
            if (line.find("Device: code") != std::string::npos) break;
        }
        EXPECT_NE(std::string::npos,
                  log.find(signal == SIGTERM ? "100 AddDevice: code 0" : "101 MdyDevice: code 0"))
            << log;
        Kerrow_Disconnect(c);
        EXPECT_EQ(0, sim.Signal(signal));
    }
}

}  // namespace
}  // namespace kerrow::simtest
