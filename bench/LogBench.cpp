// The cost of one log line: the library's whole log statement (pieces, the
// category, the layout, the write to the rolling file) against the same line
// built in a string stream and written through log4cpp's PatternLayout, and
// the two layouts alone for the same event. The last line, the RESULT line,
// gives CPU times (one thread: they are the cost, also on a loaded machine).
//
// Run by hand:  build/native/bench/bench_log
// The process works in a fresh temporary directory (the log file lands there)
// that is removed at exit.
#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <log4cpp/Category.hh>
#include <log4cpp/LoggingEvent.hh>
#include <log4cpp/PatternLayout.hh>
#include <log4cpp/RollingFileAppender.hh>
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

// The same line through a category of its own whose rolling file appender has
// log4cpp's PatternLayout, as the log was set up before: the cost saved.
void BM_LogThroughPatternLayout(benchmark::State& state) {
    auto* layout = new log4cpp::PatternLayout();
    layout->setConversionPattern("%d [%t] %p - %m%n");
    auto* appender =
        new log4cpp::RollingFileAppender("pattern", "pattern.log", 1048576, 50, true, 0644);
    appender->setLayout(layout);
    log4cpp::Category& category = log4cpp::Category::getInstance("pattern");
    category.setAdditivity(false);
    category.setAppender(appender);
    category.setPriority(800);
    const std::string message = std::string(" \xD0\xC2\xD4\xF6 ") + kRequest + "42";
    for (auto _ : state) {
        std::ostringstream stream;
        stream << " "
               << "\xD0\xC2\xD4\xF6 " << kRequest << 42u;
        category.log(log4cpp::Priority::INFO, stream.str());
    }
    category.removeAllAppenders();
}

BENCHMARK(BM_LogStatement)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_LogThroughPatternLayout)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_FormatPatternLayout)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_FormatLineLayout)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_MakeEvent)->Unit(benchmark::kMicrosecond);

// The console output, then the RESULT line of the two whole statements.
class ResultReporter : public benchmark::ConsoleReporter {
  public:
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (!run.error_occurred) times_[run.run_name.function_name] = run.GetAdjustedCPUTime();
        }
    }
    void PrintResult() {
        const double now = times_["BM_LogStatement"];
        const double before = times_["BM_LogThroughPatternLayout"];
        if (now <= 0 || before <= 0) return;
        std::printf(
            "RESULT log line_cpu_us=%.3f pattern_layout_line_cpu_us=%.3f ratio=%.3f "
            "format_cpu_us=%.3f pattern_format_cpu_us=%.3f\n",
            now, before, now / before, times_["BM_FormatLineLayout"],
            times_["BM_FormatPatternLayout"]);
    }

  private:
    std::map<std::string, double> times_;
};

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
    ResultReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.PrintResult();
    benchmark::Shutdown();
    kerrow::log::Shutdown();
    std::error_code error;
    std::filesystem::remove_all(dir, error);
    return 0;
}
