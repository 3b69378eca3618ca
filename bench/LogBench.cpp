// The cost of one log line: the library's whole log statement (pieces, the
// category, the layout, the write to the rolling file), and the layout alone,
// log4cpp's PatternLayout against the log's own LineLayout for the same event.
//
// Run by hand:  build/native/bench/bench_log
// The process works in a fresh temporary directory (the log file lands there)
// that is removed at exit.
#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <log4cpp/LoggingEvent.hh>
#include <log4cpp/PatternLayout.hh>
#include <string>

#include "log/LineLayout.h"
#include "log/Log.h"

namespace {

// About the size of a logged AddDevice request.
const std::string kRequest(700, 'r');

void BM_LogStatement(benchmark::State& state) {
    for (auto _ : state) {
        KLOG_INFO << "\xD0\xC2\xD4\xF6 " << kRequest << 42u;
    }
}

void BM_FormatPatternLayout(benchmark::State& state) {
    log4cpp::PatternLayout layout;
    layout.setConversionPattern("%d [%t] %p - %m%n");
    const log4cpp::LoggingEvent event("default", kRequest, "", 600);
    for (auto _ : state) benchmark::DoNotOptimize(layout.format(event));
}

void BM_FormatLineLayout(benchmark::State& state) {
    kerrow::log::LineLayout layout;
    const log4cpp::LoggingEvent event("default", kRequest, "", 600);
    for (auto _ : state) benchmark::DoNotOptimize(layout.format(event));
}

void BM_MakeEvent(benchmark::State& state) {
    for (auto _ : state) {
        const log4cpp::LoggingEvent event("default", kRequest, "", 600);
        benchmark::DoNotOptimize(&event);
    }
}

BENCHMARK(BM_LogStatement)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_FormatPatternLayout)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_FormatLineLayout)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_MakeEvent)->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    const char* base = std::getenv("TMPDIR");
    std::string dir = std::string(base != nullptr ? base : "/tmp") + "/kerrow-bench-XXXXXX";
    if (::mkdtemp(dir.data()) == nullptr || ::chdir(dir.c_str()) != 0) {
        std::perror("bench_log: cannot make a working directory");
        return 2;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    kerrow::log::Shutdown();
    std::error_code error;
    std::filesystem::remove_all(dir, error);
    return 0;
}
