// Latency of one control exchange: Kerrow_AddDevice through the exports
// against an in-process server that answers every request at once, side by
// side with the same request bytes sent over a plain blocking socket to the
// same kind of server and the whole reply read back (the baseline).
//
// Run by hand:  build/native/bench/bench_control
// The process works in a fresh temporary directory, so the log the library
// writes (./log/PellamKerrowSDK.log) lands there; the directory is removed at
// exit. By default each benchmark is repeated 15 times, the repetitions of
// the two interleaved in random order so that both see the same machine load,
// and only the aggregates (median among them) are reported; the last lines
// give the ratio of the two medians, and the same figures in a RESULT line
// for scripts (console format only). Any of these defaults can be overridden
// with the usual --benchmark_* flags.
#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <errno.h>
#include <netinet/in.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "KerrowSDK.h"
#include "StreamServer.h"
#include "support/Records.h"
#include "support/TestServer.h"

namespace {

using kerrow::test::Reply;
using kerrow::test::Request;
using kerrow::test::TestServer;

constexpr int kAddDeviceMethod = 100;
constexpr size_t kHeadBytes = 63;
constexpr size_t kLengthOffset = 55;
constexpr size_t kLengthDigits = 8;
constexpr size_t kMaxReplyBytes = 10240;  // the library's bound on a control reply

// One AddDevice request as the library sends it; taken before timing starts.
std::string g_request;

std::unique_ptr<TestServer> StartServer() {
    auto server = std::make_unique<TestServer>();
    const std::string reply = kerrow::test::ResultReply(kAddDeviceMethod, 0);
    server->SetHandler([reply](const Request&) { return Reply::Now(reply); });
    return server;
}

bool SendAll(int fd, const char* data, size_t size) {
    while (size > 0) {
        const ssize_t n = ::send(fd, data, size, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        data += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

bool ReceiveAll(int fd, char* data, size_t size) {
    while (size > 0) {
        const ssize_t n = ::recv(fd, data, size, 0);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        data += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

// The head, then the rest of the message by its length digits; the length of
// the whole message, or 0 on failure.
size_t ReceiveReply(int fd, char* buffer) {
    if (!ReceiveAll(fd, buffer, kHeadBytes)) return 0;
    char digits[kLengthDigits + 1] = {};
    std::memcpy(digits, buffer + kLengthOffset, kLengthDigits);
    const long total = std::atol(digits);
    if (total <= static_cast<long>(kHeadBytes) || total > static_cast<long>(kMaxReplyBytes)) {
        return 0;
    }
    const size_t size = static_cast<size_t>(total);
    if (!ReceiveAll(fd, buffer + kHeadBytes, size - kHeadBytes)) return 0;
    return size;
}

void BM_AddDeviceThroughExports(benchmark::State& state) {
    std::unique_ptr<TestServer> server = StartServer();
    const ConnectionRecord record = kerrow::test::MakeConnectionRecord(server->Port());
    uint32_t id = 0;
    if (Kerrow_Connect(&record, &id) != 0) {
        state.SkipWithError("Kerrow_Connect failed");
        return;
    }
    for (auto _ : state) {
        if (Kerrow_AddDevice(id) != 0) {
            state.SkipWithError("Kerrow_AddDevice did not return 0");
            break;
        }
    }
    Kerrow_Disconnect(id);
}

void BM_RawTcpRoundTrip(benchmark::State& state) {
    std::unique_ptr<TestServer> server = StartServer();
    const int fd = kerrow::bench::ConnectLoopback(server->Port());
    if (fd < 0) {
        state.SkipWithError("connect failed");
        return;
    }
    std::vector<char> reply(kMaxReplyBytes);
    for (auto _ : state) {
        if (!SendAll(fd, g_request.data(), g_request.size()) ||
            ReceiveReply(fd, reply.data()) == 0) {
            state.SkipWithError("raw exchange failed");
            break;
        }
    }
    ::close(fd);
}

// Repetitions, aggregates and interleaving come from the flags (defaults set in
// main), so that a quick run can ask for fewer.
BENCHMARK(BM_AddDeviceThroughExports)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RawTcpRoundTrip)->UseRealTime()->Unit(benchmark::kMicrosecond);

// One AddDevice through the exports, recorded by the server, gives the bytes
// the baseline sends; one raw exchange with them must bring back the reply
// the server was told to give.
bool CaptureRequest() {
    std::unique_ptr<TestServer> server = StartServer();
    const ConnectionRecord record = kerrow::test::MakeConnectionRecord(server->Port());
    uint32_t id = 0;
    if (Kerrow_Connect(&record, &id) != 0) {
        std::fprintf(stderr, "bench_control: Kerrow_Connect failed\n");
        return false;
    }
    const int result = Kerrow_AddDevice(id);
    Kerrow_Disconnect(id);
    const std::vector<Request> requests = server->Requests();
    if (result != 0 || requests.size() != 1 || requests[0].Method() != kAddDeviceMethod) {
        std::fprintf(stderr, "bench_control: Kerrow_AddDevice returned %d after %zu requests\n",
                     result, requests.size());
        return false;
    }
    g_request = requests[0].bytes;

    const int fd = kerrow::bench::ConnectLoopback(server->Port());
    std::vector<char> reply(kMaxReplyBytes);
    const size_t size =
        fd < 0 ? 0
               : (SendAll(fd, g_request.data(), g_request.size()) ? ReceiveReply(fd, reply.data())
                                                                  : 0);
    if (fd >= 0) ::close(fd);
    if (std::string(reply.data(), size) != kerrow::test::ResultReply(kAddDeviceMethod, 0)) {
        std::fprintf(stderr, "bench_control: the raw exchange did not bring back the reply\n");
        return false;
    }
    return true;
}

// The console output, plus the median real time of each benchmark so that
// their ratio can be printed at the end.
class MedianReporter : public benchmark::ConsoleReporter {
  public:
    explicit MedianReporter(OutputOptions options) : ConsoleReporter(options) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median" &&
                !run.error_occurred) {
                medians_[run.run_name.function_name] = run.GetAdjustedRealTime();
                cpuMedians_[run.run_name.function_name] = run.GetAdjustedCPUTime();
            }
        }
    }

    void PrintRatio() {
        const auto exports = medians_.find("BM_AddDeviceThroughExports");
        const auto raw = medians_.find("BM_RawTcpRoundTrip");
        if (exports == medians_.end() || raw == medians_.end() || raw->second <= 0) return;
        // The CPU time is the benchmark thread's: all of the client's work
        // (the server answers on threads of its own).
        const double libCpu = cpuMedians_["BM_AddDeviceThroughExports"];
        const double rawCpu = cpuMedians_["BM_RawTcpRoundTrip"];
        char line[320];
        std::snprintf(line, sizeof(line),
                      "median round trip: exports %.2f us, raw %.2f us, ratio %.2fx\n"
                      "RESULT control lib_us=%.2f raw_us=%.2f ratio=%.3f extra_us=%.2f "
                      "lib_cpu_us=%.2f raw_cpu_us=%.2f target_ratio_max=1.20\n",
                      exports->second, raw->second, exports->second / raw->second, exports->second,
                      raw->second, exports->second / raw->second, exports->second - raw->second,
                      libCpu, rawCpu);
        GetOutputStream() << line;
    }

  private:
    std::map<std::string, double> medians_;
    std::map<std::string, double> cpuMedians_;
};

// The value of --name=value on the command line (the last one wins, as when
// the flags are parsed); null when absent.
const char* FlagValue(int argc, char** argv, const std::string& name) {
    const std::string prefix = "--" + name + "=";
    const char* value = nullptr;
    for (int i = 1; i < argc; ++i) {
        if (std::strncmp(argv[i], prefix.c_str(), prefix.size()) == 0)
            value = argv[i] + prefix.size();
    }
    return value;
}

bool WantsColor(const char* flag) {
    if (flag == nullptr || std::strcmp(flag, "auto") == 0) return ::isatty(STDOUT_FILENO) != 0;
    for (const char* yes : {"true", "yes", "on", "1"}) {
        if (std::strcmp(flag, yes) == 0) return true;
    }
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    // Defaults put before the caller's flags: a flag given again later wins.
    char repetitions[] = "--benchmark_repetitions=15";
    char aggregatesOnly[] = "--benchmark_report_aggregates_only=true";
    char interleave[] = "--benchmark_enable_random_interleaving=true";
    std::vector<char*> args(argv, argv + argc);
    args.insert(args.begin() + 1, {repetitions, aggregatesOnly, interleave});
    int count = static_cast<int>(args.size());
    args.push_back(nullptr);
    const char* format = FlagValue(count, args.data(), "benchmark_format");
    const bool console = format == nullptr || std::strcmp(format, "console") == 0;
    const bool color = WantsColor(FlagValue(count, args.data(), "benchmark_color"));
    benchmark::Initialize(&count, args.data());
    if (benchmark::ReportUnrecognizedArguments(count, args.data())) return 1;

    kerrow::bench::WorkDirectory directory;
    if (!directory.Enter()) {
        std::perror("bench_control: cannot make a working directory");
        return 2;
    }
    if (Kerrow_Init() != 0) {
        std::fprintf(stderr, "bench_control: Kerrow_Init failed\n");
        return 2;
    }
    int status = 2;
    if (CaptureRequest()) {
        if (console) {
            MedianReporter reporter(color ? benchmark::ConsoleReporter::OO_Defaults
                                          : benchmark::ConsoleReporter::OO_Tabular);
            benchmark::RunSpecifiedBenchmarks(&reporter);
            reporter.PrintRatio();
        } else {
            benchmark::RunSpecifiedBenchmarks();
        }
        status = 0;
    }
    Kerrow_Release();
    benchmark::Shutdown();
    return status;
}
