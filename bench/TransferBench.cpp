// Throughput and CPU of the two receiving transfers, side by side with a plain
// TCP client in the same process and run:
//
//   download  Kerrow_StartVideoDownLoad_F into a file, against a client that
//             recv()s the same stream 64 KiB at a time and write()s what it
//             gets to a file;
//   playback  Kerrow_StartVideoPlay_F into a data callback that counts the
//             bytes, against a client that recv()s the same stream and counts.
//
// The in-process StreamServer sends a header message and data messages of the
// largest total the receive loop takes (40960 bytes), then the end notice,
// and closes. A run is timed from the start request to the end: for the
// library, the start call until its terminal callback runs; for the raw
// client, sending the same kind of start request until the server closes.
// CPU time is the process's (getrusage) minus the server thread's, that is
// what the receiving side spent, worker and application threads together.
//
// The runs alternate library, raw, raw, library, ... so that both see the same
// load; the medians are printed with their ratios in one RESULT line per kind.
// Google Benchmark does not fit here: one run is one long transfer, the order
// is fixed and the CPU of other threads is counted.
//
//   build/native/bench/bench_transfer [bytes [runs [download|playback]]]
//   (default 1G, 5 and both kinds; bytes takes K, M and G suffixes, e.g. 64M
//   for a quick run)
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include "KerrowSDK.h"
#include "StreamServer.h"
#include "support/Records.h"
#include "support/TestServer.h"

namespace {

using kerrow::bench::MonotonicSeconds;
using kerrow::bench::StreamServer;

constexpr size_t kRawChunk = 65536;
constexpr double kWorkerStartDelaySeconds = 0.020;
const char* const kFileName = "200000000001";

struct Sample {
    double seconds = 0;
    double cpu = 0;
    bool ok = false;
};

// Where the library's callbacks report; both callbacks share one user value.
struct Sink {
    std::mutex lock;
    std::condition_variable ended;
    bool done = false;
    double endTime = 0;
    uint64_t bytes = 0;  // written by the worker only, read after done
};

void KERROW_CALL OnEnd(uint32_t, uint32_t, uint32_t, void* user) {
    Sink* sink = static_cast<Sink*>(user);
    std::lock_guard<std::mutex> guard(sink->lock);
    sink->endTime = MonotonicSeconds();
    sink->done = true;
    sink->ended.notify_all();
}

void KERROW_CALL OnData(uint32_t, uint32_t, uint32_t, const uint8_t*, uint32_t length, void* user) {
    static_cast<Sink*>(user)->bytes += length;
}

class ClientCpu {
  public:
    explicit ClientCpu(const StreamServer& server) : server_(server) {}
    double Now() const { return kerrow::bench::ProcessCpuSeconds() - server_.CpuSeconds(); }

  private:
    const StreamServer& server_;
};

off_t FileSize(const char* path) {
    struct stat st;
    return ::stat(path, &st) == 0 ? st.st_size : -1;
}

Sample RunLibrary(bool download, const StreamServer& server) {
    Sample sample;
    const ConnectionRecord record = kerrow::test::MakeConnectionRecord(server.Port());
    uint32_t id = 0;
    if (Kerrow_Connect(&record, &id) != 0) return sample;
    Sink sink;
    const ClientCpu cpu(server);
    const char* path = "library-download.bin";
    const double cpu0 = cpu.Now();
    const double t0 = MonotonicSeconds();
    uint32_t handle = 0;
    int result = 0;
    if (download) {
        result = Kerrow_StartVideoDownLoad_F(id, kFileName, path, &handle);
        if (result == 0) {
            result = Kerrow_SetVideoDownLoadTerminalCallBack(id, handle, OnEnd, &sink);
        }
    } else {
        result = Kerrow_StartVideoPlay_F(id, kFileName, &handle);
        if (result == 0) result = Kerrow_SetVideoPlayDataCallBack(id, handle, OnData, &sink);
        if (result == 0) {
            result = Kerrow_SetVideoPlayTerminalCallBack(id, handle, OnEnd, &sink);
        }
    }
    if (result == 0) {
        // The end notice reaches the terminal callback; a callback bound after
        // the notice (a stream too short for the binding) shows in the
        // position, which reads 100 from the notice on.
        std::unique_lock<std::mutex> guard(sink.lock);
        for (int waits = 0; !sink.done && waits < 12000; ++waits) {
            if (sink.ended.wait_for(guard, std::chrono::milliseconds(50),
                                    [&] { return sink.done; })) {
                break;
            }
            uint32_t position = 0;
            if (download) {
                Kerrow_GetVideoDownLoadPos(id, handle, &position);
            } else {
                Kerrow_GetVideoPlayPos(id, handle, &position);
            }
            if (position == 100) {
                sink.done = true;
                sink.endTime = MonotonicSeconds();
            }
        }
        sample.ok = sink.done;
        sample.seconds = sink.endTime - t0;
        sample.cpu = cpu.Now() - cpu0;
    }
    if (download) {
        Kerrow_StopVideoDownLoad(id, handle);
    } else {
        Kerrow_StopVideoPlay(id, handle);
    }
    Kerrow_Disconnect(id);
    if (download) {
        sample.ok = sample.ok && FileSize(path) == static_cast<off_t>(server.PayloadBytes());
        ::unlink(path);
    } else {
        std::lock_guard<std::mutex> guard(sink.lock);
        sample.ok = sample.ok && sink.bytes == server.PayloadBytes();
    }
    return sample;
}

bool SendAll(int fd, const std::string& bytes) {
    size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t n = ::send(fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (n <= 0) return false;
        sent += static_cast<size_t>(n);
    }
    return true;
}

bool ReceiveAll(int fd, char* data, size_t size) {
    while (size > 0) {
        const ssize_t n = ::recv(fd, data, size, 0);
        if (n <= 0) return false;
        data += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

// The start reply: its head, then the rest by its length digits.
bool ReceiveReply(int fd) {
    char buffer[10240];
    if (!ReceiveAll(fd, buffer, 63)) return false;
    const std::string digits(buffer + 55, 8);
    const long total = std::atol(digits.c_str());
    if (total <= 63 || total > static_cast<long>(sizeof(buffer))) return false;
    return ReceiveAll(fd, buffer + 63, static_cast<size_t>(total) - 63);
}

Sample RunRaw(bool download, const StreamServer& server) {
    Sample sample;
    const int method = download ? 510 : 500;
    const std::string request = kerrow::test::ControlMessage(
        method, "    <Control>\n        <PlayType>1</PlayType>\n    </Control>\n");
    const int fd = kerrow::bench::ConnectLoopback(server.Port());
    if (fd < 0) return sample;
    const ClientCpu cpu(server);
    const char* path = "raw-download.bin";
    std::vector<char> buffer(kRawChunk);
    const double cpu0 = cpu.Now();
    const double t0 = MonotonicSeconds();
    const int file = download ? ::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644) : -1;
    uint64_t received = 0;
    bool ok = (!download || file >= 0) && SendAll(fd, request) && ReceiveReply(fd);
    while (ok) {
        const ssize_t n = ::recv(fd, buffer.data(), buffer.size(), 0);
        if (n <= 0) break;
        received += static_cast<uint64_t>(n);
        if (download && ::write(file, buffer.data(), static_cast<size_t>(n)) != n) ok = false;
    }
    if (file >= 0) ::close(file);
    sample.seconds = MonotonicSeconds() - t0;
    sample.cpu = cpu.Now() - cpu0;
    ::close(fd);
    sample.ok = ok && received == server.StreamBytes(method);
    if (download) ::unlink(path);
    return sample;
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n == 0 ? 0 : (n % 2 == 1 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2);
}

bool RunKind(bool download, uint64_t bytes, int runs) {
    const char* kind = download ? "download" : "playback";
    // The header message counts as one of the messages.
    const uint64_t messages =
        std::max<uint64_t>(1, (bytes + StreamServer::kMaxMessage - 1) / StreamServer::kMaxMessage) -
        1;
    StreamServer server(std::max<uint64_t>(messages, 1), StreamServer::kMaxMessage);
    const double wire = static_cast<double>(server.StreamBytes(download ? 510 : 500));
    std::vector<double> libRate, rawRate, libCpu, rawCpu;
    for (int i = 0; i < 2 * runs; ++i) {
        // L R R L L R ...
        const bool library = (i % 4 == 0) || (i % 4 == 3);
        const Sample s = library ? RunLibrary(download, server) : RunRaw(download, server);
        std::printf("%s run %d %-7s %s %8.1f MB/s  %.3f s  cpu %.3f s\n", kind, i / 2 + 1,
                    library ? "library" : "raw", s.ok ? "ok  " : "FAIL",
                    s.ok ? wire / s.seconds / 1e6 : 0.0, s.seconds, s.cpu);
        std::fflush(stdout);
        if (!s.ok) return false;
        (library ? libRate : rawRate).push_back(wire / s.seconds / 1e6);
        (library ? libCpu : rawCpu).push_back(s.cpu);
    }
    const double lib = Median(libRate), raw = Median(rawRate);
    const double lc = Median(libCpu), rc = Median(rawCpu);
    // The spread of the runs shows how far the machine moved the medians;
    // the worker's deliberate 20 ms before its first read is counted in
    // every library run, as its share of the raw client's time.
    const auto [libMin, libMax] = std::minmax_element(libRate.begin(), libRate.end());
    const auto [rawMin, rawMax] = std::minmax_element(rawRate.begin(), rawRate.end());
    const double startShare = raw > 0 ? kWorkerStartDelaySeconds / (wire / raw / 1e6) : 0;
    std::printf(
        "RESULT %s bytes=%.0f runs=%d lib_MBps=%.1f raw_MBps=%.1f ratio=%.3f lib_cpu_s=%.3f "
        "raw_cpu_s=%.3f cpu_ratio=%.3f lib_MBps_range=%.0f-%.0f raw_MBps_range=%.0f-%.0f "
        "start_delay_share=%.3f target_ratio_min=0.90 target_cpu_ratio_max=1.10\n",
        kind, wire, runs, lib, raw, raw > 0 ? lib / raw : 0, lc, rc, rc > 0 ? lc / rc : 0, *libMin,
        *libMax, *rawMin, *rawMax, startShare);
    std::fflush(stdout);
    return true;
}

uint64_t ParseBytes(const char* text) {
    char* end = nullptr;
    double value = std::strtod(text, &end);
    if (end != nullptr) {
        if (*end == 'K' || *end == 'k') value *= 1024;
        if (*end == 'M' || *end == 'm') value *= 1024 * 1024;
        if (*end == 'G' || *end == 'g') value *= 1024.0 * 1024 * 1024;
    }
    return value > 0 ? static_cast<uint64_t>(value) : 0;
}

}  // namespace

int main(int argc, char** argv) {
    const uint64_t bytes = argc > 1 ? ParseBytes(argv[1]) : (uint64_t{1} << 30);
    const int runs = argc > 2 ? std::atoi(argv[2]) : 5;
    if (bytes == 0 || runs <= 0) {
        std::fprintf(stderr, "usage: %s [bytes[K|M|G] [runs [download|playback]]]\n", argv[0]);
        return 1;
    }
    kerrow::bench::WorkDirectory directory;
    if (!directory.Enter()) {
        std::perror("bench_transfer: cannot make a working directory");
        return 2;
    }
    if (Kerrow_Init() != 0) {
        std::fprintf(stderr, "bench_transfer: Kerrow_Init failed\n");
        return 2;
    }
    const std::string kind = argc > 3 ? argv[3] : "both";
    const bool ok = (kind == "playback" || RunKind(true, bytes, runs)) &&
                    (kind == "download" || RunKind(false, bytes, runs));
    Kerrow_Release();
    return ok ? 0 : 3;
}
