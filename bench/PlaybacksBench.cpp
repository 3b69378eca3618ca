// 200 playbacks at once against the in-process StreamServer: the process's
// resident memory, and the CPU the receiving side spends (the process's CPU
// time minus the server thread's) while all of them are
//
//   silent     started, data callback bound, the server sends nothing;
//   paused     each paused with Kerrow_VideoPlayPause (the server
//              acknowledges), the server still sends nothing;
//   streaming  resumed, the server sends each one 1 MB/s in messages of
//              40960 bytes.
//
// CPU is given in percent of one core over each window. The last line is the
// RESULT line for scripts.
//
//   build/native/bench/bench_playbacks [playbacks [window_seconds [bytes_per_s]]]
//   (default 200, 5 and 1000000)
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <thread>
#include <vector>

#include "KerrowSDK.h"
#include "StreamServer.h"
#include "support/Records.h"

namespace {

using kerrow::bench::MonotonicSeconds;
using kerrow::bench::StreamServer;

std::atomic<uint64_t> g_delivered{0};

void KERROW_CALL OnData(uint32_t, uint32_t, uint32_t, const uint8_t*, uint32_t length, void*) {
    g_delivered.fetch_add(length, std::memory_order_relaxed);
}

struct Playback {
    uint32_t connection = 0;
    uint32_t handle = 0;
};

struct Window {
    double cpuPercent = 0;
    double deliveredMBps = 0;  // all playbacks together
};

// CPU of the receiving side over a window, in percent of one core.
Window Measure(const StreamServer& server, double seconds) {
    const double cpu0 = kerrow::bench::ProcessCpuSeconds() - server.CpuSeconds();
    const uint64_t bytes0 = g_delivered.load();
    const double t0 = MonotonicSeconds();
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    const double elapsed = MonotonicSeconds() - t0;
    const double cpu = kerrow::bench::ProcessCpuSeconds() - server.CpuSeconds() - cpu0;
    Window window;
    window.cpuPercent = 100 * cpu / elapsed;
    window.deliveredMBps = static_cast<double>(g_delivered.load() - bytes0) / elapsed / 1e6;
    return window;
}

// Pauses, resumes and stops wait for the worker (tens of milliseconds each);
// several application threads take a share of the playbacks each, as an
// application with many views would. True when fn was true for every one.
bool ForEach(const std::vector<Playback>& playbacks,
             const std::function<bool(const Playback&)>& fn) {
    constexpr size_t kThreads = 10;
    std::atomic<bool> all{true};
    std::vector<std::thread> threads;
    for (size_t t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (size_t i = t; i < playbacks.size(); i += kThreads) {
                if (!fn(playbacks[i])) all = false;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    return all;
}

double MiB(long kib) { return static_cast<double>(kib) / 1024; }

}  // namespace

int main(int argc, char** argv) {
    const int count = argc > 1 ? std::atoi(argv[1]) : 200;
    const double window = argc > 2 ? std::atof(argv[2]) : 5;
    const double pace = argc > 3 ? std::atof(argv[3]) : 1e6;
    if (count <= 0 || window <= 0 || pace <= 0) {
        std::fprintf(stderr, "usage: %s [playbacks [window_seconds [bytes_per_s]]]\n", argv[0]);
        return 1;
    }
    kerrow::bench::WorkDirectory directory;
    if (!directory.Enter() || Kerrow_Init() != 0) {
        std::fprintf(stderr, "bench_playbacks: cannot set up\n");
        return 2;
    }
    // An endless stream, silent until the pace is set.
    StreamServer server(0, StreamServer::kMaxMessage);
    server.SetPace(0);
    const long rssBefore = kerrow::bench::ResidentKiB();

    std::vector<Playback> playbacks;
    const ConnectionRecord record = kerrow::test::MakeConnectionRecord(server.Port());
    bool ok = true;
    for (int i = 0; i < count && ok; ++i) {
        Playback p;
        ok = Kerrow_Connect(&record, &p.connection) == 0 &&
             Kerrow_StartVideoPlay_F(p.connection, "200000000001", &p.handle) == 0 &&
             Kerrow_SetVideoPlayDataCallBack(p.connection, p.handle, OnData, nullptr) == 0;
        if (p.connection != 0) playbacks.push_back(p);
        if (!ok) std::fprintf(stderr, "bench_playbacks: playback %d did not start\n", i + 1);
    }
    Window silent, paused, streaming;
    long rssSilent = 0, rssStreaming = 0;
    if (ok) {
        std::this_thread::sleep_for(std::chrono::seconds(1));  // the header is delivered
        rssSilent = kerrow::bench::ResidentKiB();
        silent = Measure(server, window);
        std::printf("silent     cpu %6.2f %% of one core, rss %.1f MiB\n", silent.cpuPercent,
                    MiB(rssSilent));
        std::fflush(stdout);

        for (const Playback& p : playbacks)
            ok = ok && Kerrow_VideoPlayPause(p.connection, p.handle) == 0;
        paused = Measure(server, window);
        std::printf("paused     cpu %6.2f %% of one core%s\n", paused.cpuPercent,
                    ok ? "" : " (a pause failed)");
        std::fflush(stdout);

        for (const Playback& p : playbacks)
            ok = ok && Kerrow_VideoPlayResume(p.connection, p.handle) == 0;
        server.SetPace(pace);
        std::this_thread::sleep_for(std::chrono::seconds(1));
        streaming = Measure(server, window);
        rssStreaming = kerrow::bench::ResidentKiB();
        std::printf(
            "streaming  cpu %6.2f %% of one core, %.1f MB/s delivered (%.3f each), "
            "rss %.1f MiB, server thread %.1f s cpu\n",
            streaming.cpuPercent, streaming.deliveredMBps, streaming.deliveredMBps / count,
            MiB(rssStreaming), server.CpuSeconds());
        server.SetPace(0);
    }
    // All stops first: a disconnect waits for every command in progress and
    // holds back the commands after it.
    ForEach(playbacks,
            [](const Playback& p) { return Kerrow_StopVideoPlay(p.connection, p.handle) == 0; });
    ForEach(playbacks, [](const Playback& p) { return Kerrow_Disconnect(p.connection) == 0; });
    Kerrow_Release();
    if (!ok) return 3;
    std::printf(
        "RESULT playbacks count=%d rss_before_MiB=%.1f rss_silent_MiB=%.1f rss_streaming_MiB=%.1f "
        "rss_per_playback_KiB=%.1f silent_cpu_pct=%.2f paused_cpu_pct=%.2f streaming_cpu_pct=%.2f "
        "streaming_MBps_each=%.3f target_silent_pct_max=2 target_paused_pct_max=1\n",
        count, MiB(rssBefore), MiB(rssSilent), MiB(rssStreaming),
        static_cast<double>(rssStreaming - rssBefore) / count, silent.cpuPercent, paused.cpuPercent,
        streaming.cpuPercent, streaming.deliveredMBps / count);
    return 0;
}
