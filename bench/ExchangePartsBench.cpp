// Where the time of one AddDevice exchange goes besides the round trip: the
// request built, the reply parsed and read, and the three log lines the
// exchange writes (the request, the reply, the success). bench_control
// measures the whole exchange against a raw round trip; this one takes it
// apart. Figures are CPU times of one thread, printed at the end in a RESULT
// line.
//
// Run by hand:  build/native/bench/bench_exchange_parts
// The process works in a fresh temporary directory (the log file lands
// there) that is removed at exit.
#include <benchmark/benchmark.h>
#include <tinyxml.h>

#include <cstdio>
#include <map>
#include <string>

#include "StreamServer.h"
#include "log/Log.h"
#include "protocol/CameraMessages.h"
#include "protocol/Elements.h"
#include "protocol/Records.h"
#include "protocol/Replies.h"
#include "support/TestServer.h"

namespace {

kerrow::CameraRequest Camera() {
    kerrow::CameraRequest camera;
    camera.guid = camera.cameraId = "cam-0001";
    camera.forwardServerIp = "127.0.0.9";
    camera.forwardServerPort = 7070;
    return camera;
}

void BM_BuildRequest(benchmark::State& state) {
    const kerrow::CameraRequest camera = Camera();
    std::string request;
    for (auto _ : state) {
        kerrow::BuildAddDeviceRequest(camera, request);
        benchmark::DoNotOptimize(request.data());
    }
}

void BM_ParseReply(benchmark::State& state) {
    const std::string reply = kerrow::test::ResultReply(100, 0);
    for (auto _ : state) {
        TiXmlDocument document;
        int32_t method = 0, code = -1;
        kerrow::ParseDocument(reply.data(), reply.size(), document);
        kerrow::ParseControlResponse(document, method, code);
        benchmark::DoNotOptimize(code);
    }
}

void BM_LogThreeLines(benchmark::State& state) {
    std::string request;
    kerrow::BuildAddDeviceRequest(Camera(), request);
    const std::string reply = kerrow::test::ResultReply(100, 0);
    for (auto _ : state) {
        KLOG_INFO << "新增摄像头 发送xml命令：" << request;
        KLOG_INFO << "收到的 xml命令：" << reply;
        KLOG_INFO << "新增摄像头 成功";
    }
}

BENCHMARK(BM_BuildRequest)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ParseReply)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_LogThreeLines)->Unit(benchmark::kMicrosecond);

class ResultReporter : public benchmark::ConsoleReporter {
  public:
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (!run.error_occurred) cpu_[run.run_name.function_name] = run.GetAdjustedCPUTime();
        }
    }
    void PrintResult() {
        const double build = cpu_["BM_BuildRequest"], parse = cpu_["BM_ParseReply"];
        const double log = cpu_["BM_LogThreeLines"];
        std::printf(
            "RESULT exchange_parts build_cpu_us=%.3f parse_cpu_us=%.3f log_3_lines_cpu_us=%.3f "
            "sum_cpu_us=%.3f\n",
            build, parse, log, build + parse + log);
    }

  private:
    std::map<std::string, double> cpu_;
};

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    int status = 2;
    {
        kerrow::bench::WorkDirectory directory;
        if (directory.Enter()) {
            ResultReporter reporter;
            benchmark::RunSpecifiedBenchmarks(&reporter);
            reporter.PrintResult();
            status = 0;
        } else {
            std::perror("bench_exchange_parts: cannot make a working directory");
        }
        kerrow::log::Shutdown();
    }
    benchmark::Shutdown();
    return status;
}
