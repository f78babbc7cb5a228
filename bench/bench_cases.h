// How the kernel benchmarks are named and registered, so that scripts/bench can set each Kestrix
// form beside the peers and the memcpy of the same case from one run: "<kernel>/<case>/<form>", the
// form being level0 to level4, a peer's name (libyuv, opencv) or memcpy. Each repetition is one
// batch; with repetitions interleaved at random, the median and the best batch of every form come
// from the same stretch of the machine's drifting speed.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "kestrix/px.h"
#include "memcpy_yardstick.h"

namespace kx::bench {

// The frame sizes every kernel is measured on: CIF, D1, 720p, 1080p, and an odd width that leaves
// each vector form a tail.
inline constexpr PxSize kFrameSizes[] = {{352, 288}, {720, 576}, {1280, 720}, {1920, 1080}, {717, 576}};

// Bytes of a packed three-channel image with tight rows.
inline size_t bytesC3(PxSize size) { return size_t{3} * size.width * size.height; }

inline std::string sizeName(PxSize size) { return std::to_string(size.width) + "x" + std::to_string(size.height); }

// Random bytes, made once per length: a batch should time the kernel, not the filling of its input.
inline const std::vector<uint8_t> &randomBytes(size_t count) {
    static std::map<size_t, std::vector<uint8_t>> made;
    std::vector<uint8_t> &bytes = made[count];
    if (bytes.size() != count) {
        bytes.resize(count);
        std::mt19937 random(7);
        for (uint8_t &b : bytes) b = static_cast<uint8_t>(random());
    }
    return bytes;
}

inline double bestBatch(const std::vector<double> &batches) { return *std::min_element(batches.begin(), batches.end()); }

template <class Body> void add(const std::string &name, Body body) {
    benchmark::RegisterBenchmark(name.c_str(), body)
        ->Unit(benchmark::kMicrosecond)
        ->ComputeStatistics("best", bestBatch);
}

// Runs call once an iteration; outputBytes are what it writes, for the bytes-per-second column.
template <class Call> void timeCalls(benchmark::State &state, size_t outputBytes, Call call) {
    for (auto _ : state) {
        call();
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(outputBytes));
}

// The case at every level; a level this processor cannot run is reported as skipped. Each form sets
// its own level, so the shuffled order of the batches does not matter.
template <class Run> void addLevels(const std::string &group, Run run) {
    for (int32_t level = 0; level <= 4; ++level) {
        add(group + "/level" + std::to_string(level), [level, run](benchmark::State &state) {
            if (pxSetLevel(level) != PxStsOk) {
                state.SkipWithError("level not runnable here");
                return;
            }
            run(state);
        });
    }
}

inline void addMemcpy(const std::string &group, size_t bytes) {
    add(group + "/memcpy", [bytes](benchmark::State &state) { memcpyBytes(state, bytes); });
}

}  // namespace kx::bench
