// pxResizeC3 on the painting road's sizes, with a memcpy of the same output bytes beside each case.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "kestrix/px.h"

namespace {

constexpr PxSize kSource{720, 576};

std::vector<uint8_t> randomBytes(size_t count) {
    std::vector<uint8_t> bytes(count);
    std::mt19937 random(7);
    for (uint8_t &b : bytes) b = static_cast<uint8_t>(random());
    return bytes;
}

void resizeC3(benchmark::State &state, int32_t interpolation, int32_t width, int32_t height, int32_t level) {
    if (pxSetLevel(level) != PxStsOk) {
        state.SkipWithError("level not runnable here");
        return;
    }
    const std::vector<uint8_t> src = randomBytes(size_t{3} * kSource.width * kSource.height);
    std::vector<uint8_t> dst(size_t{3} * width * height);
    const PxRect rect{0, 0, kSource.width, kSource.height};
    const double fx = static_cast<double>(width) / kSource.width;
    const double fy = static_cast<double>(height) / kSource.height;
    for (auto _ : state) {
        const PxStatus status = pxResizeC3(src.data(), kSource, 3 * kSource.width, rect, dst.data(), 3 * width,
                                           {width, height}, fx, fy, interpolation);
        benchmark::DoNotOptimize(status);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(dst.size()));
    pxSetLevel(0);
}

void copyBytes(benchmark::State &state, int32_t width, int32_t height) {
    const std::vector<uint8_t> src = randomBytes(size_t{3} * width * height);
    std::vector<uint8_t> dst(src.size());
    for (auto _ : state) {
        std::memcpy(dst.data(), src.data(), src.size());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(dst.size()));
}

// Level 0 only for now: every slot of the table holds the reference form.
BENCHMARK_CAPTURE(resizeC3, linear_800x600_level0, PxLinear, 800, 600, 0)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(resizeC3, nearest_800x600_level0, PxNearest, 800, 600, 0)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(copyBytes, memcpy_800x600, 800, 600)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(resizeC3, linear_1600x1200_level0, PxLinear, 1600, 1200, 0)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(resizeC3, nearest_1600x1200_level0, PxNearest, 1600, 1200, 0)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(copyBytes, memcpy_1600x1200, 1600, 1200)->Unit(benchmark::kMicrosecond);

}  // namespace
