// pxDeinterlaceEdge over a D1 luminance plane at each level, with a memcpy of the same plane.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

#include "kestrix/px.h"
#include "memcpy_yardstick.h"

namespace {

constexpr int32_t kWidth = 720, kHeight = 576;
constexpr size_t kPlaneBytes = size_t{kWidth} * kHeight;

void deinterlaceEdge(benchmark::State &state, int32_t level) {
    if (pxSetLevel(level) != PxStsOk) {
        state.SkipWithError("level not runnable here");
        return;
    }
    std::vector<uint8_t> src(kPlaneBytes), dst(kPlaneBytes);
    std::mt19937 random(9);
    for (uint8_t &b : src) b = static_cast<uint8_t>(random());
    for (auto _ : state) {
        // copyLine set: the row without a partner is copied, nothing outside the plane is read.
        benchmark::DoNotOptimize(pxDeinterlaceEdge(src.data(), kWidth, dst.data(), kWidth, {kWidth, kHeight}, 0, 1));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(kPlaneBytes));
    pxSetLevel(0);
}

BENCHMARK_CAPTURE(deinterlaceEdge, deinterlace_720x576_level0, 0)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(deinterlaceEdge, deinterlace_720x576_level2, 2)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(deinterlaceEdge, deinterlace_720x576_level3, 3)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(deinterlaceEdge, deinterlace_720x576_level4, 4)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(memcpyBytes, memcpy_720x576_plane, kPlaneBytes)->Unit(benchmark::kMicrosecond);

}  // namespace
