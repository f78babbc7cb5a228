// pxResizeC3 on the painting road's sizes, and supersampling on a 1080p shrink, with a memcpy of the
// same output bytes beside each case.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

#include "kestrix/px.h"
#include "memcpy_yardstick.h"

namespace {

constexpr PxSize kSource{720, 576};
constexpr PxSize kFullHd{1920, 1080};

std::vector<uint8_t> randomBytes(size_t count) {
    std::vector<uint8_t> bytes(count);
    std::mt19937 random(7);
    for (uint8_t &b : bytes) b = static_cast<uint8_t>(random());
    return bytes;
}

void resizeC3From(benchmark::State &state, PxSize source, int32_t interpolation, int32_t width, int32_t height,
                  int32_t level) {
    if (pxSetLevel(level) != PxStsOk) {
        state.SkipWithError("level not runnable here");
        return;
    }
    const std::vector<uint8_t> src = randomBytes(size_t{3} * source.width * source.height);
    std::vector<uint8_t> dst(size_t{3} * width * height);
    const PxRect rect{0, 0, source.width, source.height};
    const double fx = static_cast<double>(width) / source.width;
    const double fy = static_cast<double>(height) / source.height;
    for (auto _ : state) {
        const PxStatus status = pxResizeC3(src.data(), source, 3 * source.width, rect, dst.data(), 3 * width,
                                           {width, height}, fx, fy, interpolation);
        benchmark::DoNotOptimize(status);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(dst.size()));
    pxSetLevel(0);
}

void resizeC3(benchmark::State &state, int32_t interpolation, int32_t width, int32_t height, int32_t level) {
    resizeC3From(state, kSource, interpolation, width, height, level);
}

BENCHMARK_CAPTURE(resizeC3, linear_800x600_level0, PxLinear, 800, 600, 0)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(resizeC3, linear_800x600_level3, PxLinear, 800, 600, 3)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(resizeC3, linear_800x600_level4, PxLinear, 800, 600, 4)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(resizeC3, nearest_800x600_level0, PxNearest, 800, 600, 0)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(resizeC3, nearest_800x600_level3, PxNearest, 800, 600, 3)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(resizeC3, nearest_800x600_level4, PxNearest, 800, 600, 4)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(resizeC3, cubic_800x600_level0, PxCubic, 800, 600, 0)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(resizeC3, lanczos_800x600_level0, PxLanczos, 800, 600, 0)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(memcpyBytes, memcpy_800x600, size_t{3} * 800 * 600)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(resizeC3, linear_1600x1200_level0, PxLinear, 1600, 1200, 0)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(resizeC3, linear_1600x1200_level3, PxLinear, 1600, 1200, 3)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(resizeC3, linear_1600x1200_level4, PxLinear, 1600, 1200, 4)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(resizeC3, nearest_1600x1200_level0, PxNearest, 1600, 1200, 0)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(resizeC3, nearest_1600x1200_level3, PxNearest, 1600, 1200, 3)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(memcpyBytes, memcpy_1600x1200, size_t{3} * 1600 * 1200)->Unit(benchmark::kMicrosecond);
// Supersampling only shrinks: 1080p to a third, named by its output size for the memcpy beside it.
BENCHMARK_CAPTURE(resizeC3From, super_640x360_from_1920x1080_level0, kFullHd, PxSuper, 640, 360, 0)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(memcpyBytes, memcpy_640x360, size_t{3} * 640 * 360)->Unit(benchmark::kMicrosecond);

}  // namespace
