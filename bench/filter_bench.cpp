// pxSharpenC3 and pxFilterC3 over a VGA frame's inner region, with a memcpy of the same output bytes.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

#include "kestrix/px.h"
#include "memcpy_yardstick.h"

namespace {

// A 640x480 frame and its region less a one-pixel margin, which the 3x3 window reads.
constexpr int32_t kFrameWidth = 640, kFrameHeight = 480, kStep = 3 * kFrameWidth;
constexpr PxSize kRegion{638, 478};
constexpr size_t kRegionBytes = size_t{3} * kRegion.width * kRegion.height;

std::vector<uint8_t> randomFrame() {
    std::vector<uint8_t> bytes(size_t{kStep} * kFrameHeight);
    std::mt19937 random(7);
    for (uint8_t &b : bytes) b = static_cast<uint8_t>(random());
    return bytes;
}

// Runs one kernel call per iteration on the region at (1, 1) of src into the same place of dst.
template <class Kernel>
void region(benchmark::State &state, int32_t level, Kernel kernel) {
    if (pxSetLevel(level) != PxStsOk) {
        state.SkipWithError("level not runnable here");
        return;
    }
    const std::vector<uint8_t> src = randomFrame();
    std::vector<uint8_t> dst(src.size());
    for (auto _ : state) {
        benchmark::DoNotOptimize(kernel(src.data() + kStep + 3, dst.data() + kStep + 3));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(kRegionBytes));
    pxSetLevel(0);
}

void sharpenC3(benchmark::State &state, int32_t level) {
    region(state, level, [](const uint8_t *src, uint8_t *dst) { return pxSharpenC3(src, kStep, dst, kStep, kRegion); });
}

// A 3x3 smoothing kernel summing to 16: the shift rule, as the filter passes of the exports use it.
void filterC3(benchmark::State &state, int32_t level) {
    static const int32_t kernel[9] = {1, 2, 1, 2, 4, 2, 1, 2, 1};
    region(state, level, [](const uint8_t *src, uint8_t *dst) {
        return pxFilterC3(src, kStep, dst, kStep, kRegion, kernel, {3, 3}, {1, 1}, 16);
    });
}

// Level 3 is what a processor with SSE4.1 runs (the SSSE3 forms); level 4 is chosen by nothing yet.
BENCHMARK_CAPTURE(sharpenC3, sharpen_638x478_level0, 0)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(sharpenC3, sharpen_638x478_level3, 3)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(sharpenC3, sharpen_638x478_level4, 4)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(filterC3, filter_638x478_level0, 0)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(filterC3, filter_638x478_level3, 3)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(filterC3, filter_638x478_level4, 4)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(memcpyBytes, memcpy_638x478, kRegionBytes)->Unit(benchmark::kMicrosecond);

}  // namespace
