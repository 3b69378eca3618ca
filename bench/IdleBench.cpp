// CPU of idle transfers: 200 playbacks against an in-process server that
// sends nothing (silent), then the same 200 paused. Prints one line:
//   idle: transfers=200 silent_cpu_pct=<% of one core> paused_cpu_pct=<...>
// Run by hand: build/native/bench/bench_idle [seconds per measurement]
#include <stdlib.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "KerrowSDK.h"
#include "support/Records.h"
#include "support/TransferReplies.h"

namespace {

using namespace kerrow::test;

double CpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_utime.tv_sec + usage.ru_stime.tv_sec +
           (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

// Percent of one core that the whole process used over the given time.
double CpuPercent(int seconds) {
    const double before = CpuSeconds();
    const auto start = std::chrono::steady_clock::now();
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    const double wall =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return 100.0 * (CpuSeconds() - before) / wall;
}

void KERROW_CALL Ignore(uint32_t, uint32_t, uint32_t, const uint8_t*, uint32_t, void*) {}

}  // namespace

int main(int argc, char** argv) {
    const int seconds = argc > 1 ? std::atoi(argv[1]) : 5;
    constexpr int kTransfers = 200;
    char dir[] = "/tmp/kerrow-bench-XXXXXX";
    if (mkdtemp(dir) == nullptr || chdir(dir) != 0) return 2;

    Kerrow_Init();
    {
        TestServer server;
        server.SetHandler([](const Request& r) {
            if (r.Method() == 500) return Reply::Now(StartReply(500, 4711, 0));
            if (r.Method() == 507) return Reply::Now(ResultReply(507, 0));
            return Reply::Never();
        });
        std::vector<std::pair<uint32_t, uint32_t>> playing;
        for (int i = 0; i < kTransfers; ++i) {
            ConnectionRecord record = MakeConnectionRecord(server.Port());
            uint32_t conn = 0;
            uint32_t handle = 0;
            if (Kerrow_Connect(&record, &conn) != 0 ||
                Kerrow_StartVideoPlay_F(conn, "200000001234", &handle) != 0 ||
                Kerrow_SetVideoPlayDataCallBack(conn, handle, Ignore, nullptr) != 0) {
                std::fprintf(stderr, "idle: transfer %d did not start\n", i);
                return 1;
            }
            playing.emplace_back(conn, handle);
        }
        std::this_thread::sleep_for(std::chrono::seconds(1));
        const double silent = CpuPercent(seconds);
        for (const auto& [conn, handle] : playing) {
            if (Kerrow_VideoPlayPause(conn, handle) != 0) {
                std::fprintf(stderr, "idle: a pause was not confirmed\n");
                return 1;
            }
        }
        std::this_thread::sleep_for(std::chrono::seconds(1));
        const double paused = CpuPercent(seconds);
        std::printf("idle: transfers=%d silent_cpu_pct=%.2f paused_cpu_pct=%.2f\n", kTransfers,
                    silent, paused);
        for (const auto& [conn, handle] : playing) {
            Kerrow_StopVideoPlay(conn, handle);
            Kerrow_Disconnect(conn);
        }
    }
    Kerrow_Release();
    std::filesystem::remove_all(dir);
    return 0;
}
