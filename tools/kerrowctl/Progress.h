// Following a transfer to its end: a progress bar with rate and time left on
// standard error (only when it is a terminal), and the stall limit.
#pragma once

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>

#include "Ctl.h"

namespace kerrowctl {

class ProgressBar {
  public:
    explicit ProgressBar(std::string label) : label_(std::move(label)), shown_(isatty(2) == 1) {}
    ~ProgressBar() { finish(); }

    void update(int percent, int64_t bytes) {
        if (!shown_) return;
        const double secs = std::chrono::duration<double>(Clock::now() - started_).count();
        const double rate = secs > 0 ? static_cast<double>(bytes) / secs : 0;
        std::string left = "--:--";
        if (percent > 0 && percent < 100) {
            const int s = static_cast<int>(secs * (100 - percent) / percent);
            char text[16];
            std::snprintf(text, sizeof text, "%02d:%02d", s / 60, s % 60);
            left = text;
        } else if (percent >= 100) {
            left = "00:00";
        }
        const int width = 30, filled = std::min(100, std::max(0, percent)) * width / 100;
        std::fprintf(stderr, "\r%-10s [%s%s] %3d%% %8.1f KiB/s  left %s ", label_.c_str(),
                     std::string(static_cast<size_t>(filled), '#').c_str(),
                     std::string(static_cast<size_t>(width - filled), ' ').c_str(), percent,
                     rate / 1024, left.c_str());
        std::fflush(stderr);
        drawn_ = true;
    }
    void finish() {
        if (drawn_) std::fputc('\n', stderr);
        drawn_ = false;
    }

  private:
    using Clock = std::chrono::steady_clock;
    std::string label_;
    bool shown_;
    bool drawn_ = false;
    Clock::time_point started_ = Clock::now();
};

// Waits for the transfer's end, drawing the bar; throws Failure when neither
// the percentage nor the byte count moved for stallSeconds.
inline void follow(kerrow::Transfer& t, ProgressBar& bar, const int& percent,
                   const std::function<int64_t()>& bytes, int stallSeconds) {
    using Clock = std::chrono::steady_clock;
    auto lastMove = Clock::now();
    int seenPercent = -1;
    int64_t seenBytes = -1;
    for (;;) {
        const bool ended = t.wait(std::chrono::milliseconds(250));
        const int64_t b = bytes();
        bar.update(percent, b);
        if (ended) break;
        if (percent != seenPercent || b != seenBytes) {
            seenPercent = percent;
            seenBytes = b;
            lastMove = Clock::now();
        } else if (Clock::now() - lastMove >= std::chrono::seconds(stallSeconds)) {
            bar.finish();
            throw Failure(kIncomplete, "transfer stalled: no progress for " +
                                           std::to_string(stallSeconds) + " s");
        }
    }
    bar.finish();
}

}  // namespace kerrowctl
