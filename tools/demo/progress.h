// The progress line on standard error, redrawn at most ten times a second and only on a terminal:
// a bar when the total is known, frames done, frames a second, and what the caller adds.
#pragma once

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

namespace kx::demo {

class Progress {
public:
    using Clock = std::chrono::steady_clock;

    // barWidth: characters of the bar, for a line that has more to say.
    explicit Progress(int32_t total, int32_t barWidth = 30)
        : total_(total), barWidth_(std::clamp(barWidth, 1, 30)), shown_(isatty(2) != 0) {}

    // Whether an update now would be drawn; the last one always is.
    bool due(bool last = false) const {
        return shown_ && (last || Clock::now() - drawn_ >= std::chrono::milliseconds(100));
    }

    void update(int32_t done, bool last = false, const std::string &detail = {}) {
        if (!due(last)) return;
        const auto now = Clock::now();
        drawn_ = now;
        const double seconds = std::chrono::duration<double>(now - start_).count();
        const double rate = seconds > 0 ? done / seconds : 0;
        if (total_ > 0) {
            char bar[31] = {};
            const int32_t filled = std::min(done, total_) * barWidth_ / total_;
            for (int32_t i = 0; i < barWidth_; ++i) bar[i] = i < filled ? '#' : '.';
            std::fprintf(stderr, "\r[%s] %d/%d frames  %.0f frames/s %s", bar, done, total_, rate, detail.c_str());
        } else {
            std::fprintf(stderr, "\r%d frames  %.0f frames/s %s", done, rate, detail.c_str());
        }
        if (last) std::fputc('\n', stderr);
    }

private:
    int32_t total_;
    int32_t barWidth_;
    bool shown_;
    Clock::time_point start_ = Clock::now(), drawn_;
};

}  // namespace kx::demo
