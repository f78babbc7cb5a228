// pxRgbToYuv420 and pxYuv420ToRgb on D1 and 1080p frames at levels 0, 3 and 4, with a memcpy of the
// bytes each writes: the three planes one way, the packed image the other. Both directions of one
// frame size share its WxH, so scripts/bench pairs each with its memcpy when run for one direction
// (--benchmark_filter=rgb_to_yuv420 or --benchmark_filter=yuv420_to_rgb, which keep the memcpy named
// after it).
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

#include "kestrix/px.h"
#include "memcpy_yardstick.h"

namespace {

constexpr PxSize kD1{720, 576};
constexpr PxSize kFullHd{1920, 1080};

size_t packedBytes(PxSize size) { return size_t{3} * size_t(size.width) * size_t(size.height); }
size_t planeBytes(PxSize size) { return size_t(size.width) * size_t(size.height) * 3 / 2; }

std::vector<uint8_t> randomBytes(size_t count) {
    std::vector<uint8_t> bytes(count);
    std::mt19937 random(5);
    for (uint8_t &b : bytes) b = static_cast<uint8_t>(random());
    return bytes;
}

// Tight planes, one after another in one block: Y, then U, then V.
struct Planes {
    std::vector<uint8_t> bytes;
    uint8_t *pointers[3];
    int32_t steps[3];
    explicit Planes(PxSize size)
        : bytes(randomBytes(planeBytes(size))), steps{size.width, size.width / 2, size.width / 2} {
        const size_t luma = size_t(size.width) * size_t(size.height), chroma = luma / 4;
        pointers[0] = bytes.data();
        pointers[1] = pointers[0] + luma;
        pointers[2] = pointers[1] + chroma;
    }
};

bool setLevel(benchmark::State &state, int32_t level) {
    if (pxSetLevel(level) == PxStsOk) return true;
    state.SkipWithError("level not runnable here");
    return false;
}

void rgbToYuv420(benchmark::State &state, PxSize size, int32_t level) {
    if (!setLevel(state, level)) return;
    const std::vector<uint8_t> src = randomBytes(packedBytes(size));
    Planes planes(size);
    for (auto _ : state) {
        benchmark::DoNotOptimize(pxRgbToYuv420(src.data(), 3 * size.width, planes.pointers, planes.steps, size));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(planeBytes(size)));
    pxSetLevel(0);
}

void yuv420ToRgb(benchmark::State &state, PxSize size, int32_t level) {
    if (!setLevel(state, level)) return;
    const Planes planes(size);
    std::vector<uint8_t> dst(packedBytes(size));
    for (auto _ : state) {
        benchmark::DoNotOptimize(pxYuv420ToRgb(planes.pointers, planes.steps, dst.data(), 3 * size.width, size));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(dst.size()));
    pxSetLevel(0);
}

BENCHMARK_CAPTURE(rgbToYuv420, rgb_to_yuv420_720x576_level0, kD1, 0)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(rgbToYuv420, rgb_to_yuv420_720x576_level3, kD1, 3)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(rgbToYuv420, rgb_to_yuv420_720x576_level4, kD1, 4)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(memcpyBytes, memcpy_720x576_rgb_to_yuv420, planeBytes(kD1))->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(rgbToYuv420, rgb_to_yuv420_1920x1080_level0, kFullHd, 0)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(rgbToYuv420, rgb_to_yuv420_1920x1080_level3, kFullHd, 3)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(rgbToYuv420, rgb_to_yuv420_1920x1080_level4, kFullHd, 4)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(memcpyBytes, memcpy_1920x1080_rgb_to_yuv420, planeBytes(kFullHd))->Unit(benchmark::kMicrosecond);

BENCHMARK_CAPTURE(yuv420ToRgb, yuv420_to_rgb_720x576_level0, kD1, 0)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(yuv420ToRgb, yuv420_to_rgb_720x576_level3, kD1, 3)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(yuv420ToRgb, yuv420_to_rgb_720x576_level4, kD1, 4)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(memcpyBytes, memcpy_720x576_yuv420_to_rgb, packedBytes(kD1))->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(yuv420ToRgb, yuv420_to_rgb_1920x1080_level0, kFullHd, 0)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(yuv420ToRgb, yuv420_to_rgb_1920x1080_level3, kFullHd, 3)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(yuv420ToRgb, yuv420_to_rgb_1920x1080_level4, kFullHd, 4)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(memcpyBytes, memcpy_1920x1080_yuv420_to_rgb, packedBytes(kFullHd))->Unit(benchmark::kMicrosecond);

}  // namespace
