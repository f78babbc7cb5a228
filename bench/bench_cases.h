// How the kernel benchmarks are named and registered, so that scripts/bench can set each Kestrix
// form beside the peers and the memcpy of the same case from one run: "<kernel>/<frame>/<form>", the
// form being level0 to level4, a peer's name (libyuv, opencv) or memcpy. The Kestrix forms are the
// shared kernel cases on the frames they name; each benchmark file adds its family's peers. Each repetition is one
// batch; with repetitions interleaved at random, the median and the best batch of every form come
// from the same stretch of the machine's drifting speed.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <list>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "kernel_cases.h"
#include "kernels/colour/luma_sum.h"
#include "kestrix/px.h"
#include "memcpy_yardstick.h"

namespace kx::bench {

// Bytes of a packed three-channel image with tight rows.
inline size_t bytesC3(PxSize size) { return size_t{3} * size.width * size.height; }

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

// A case's blocks: inputs random (the same bytes for every form), outputs zeroed.
class BenchBlocks final : public kx::cases::BlockSource {
public:
    kx::cases::Block input(int32_t rowBytes, int32_t rows, int32_t step) override {
        const size_t bytes = kx::cases::blockBytes(rowBytes, rows, step);
        blocks_.push_back(randomBytes(bytes));
        return {blocks_.back().data(), step, bytes};
    }
    kx::cases::Block output(int32_t rowBytes, int32_t rows, int32_t step) override {
        const size_t bytes = kx::cases::blockBytes(rowBytes, rows, step);
        blocks_.emplace_back(bytes);
        return {blocks_.back().data(), step, bytes};
    }

private:
    std::list<std::vector<uint8_t>> blocks_;  // a list: blocks stay where they are as more are made
};

// The public kernels, and the luminance sum, which the exports call and the public API does not hold.
inline const kx::cases::Entries kEntries{pxRgbToYuv420, pxYuv420ToRgb, px::lumaSum};

// What one call of the case writes on the frame.
inline size_t writtenBy(const kx::cases::KernelCase &kernelCase, const kx::cases::Geometry &frame) {
    BenchBlocks blocks;
    return kernelCase.prepare(frame, blocks, kEntries).yardstickBytes;
}

// Every case of the family on every frame it names, at every level and beside a memcpy of what it
// writes; peers(group, frame) adds the peers' forms of the same work.
template <class Peers> void addFamily(const char *family, Peers peers) {
    for (const kx::cases::KernelCase &kernelCase : kx::cases::kernelCases()) {
        if (std::string(kernelCase.family) != family) continue;
        for (const kx::cases::Geometry &frame : kernelCase.frames) {
            const std::string group = std::string(family) + "/" + kx::cases::frameName(frame);
            addLevels(group, [&kernelCase, frame](benchmark::State &state) {
                BenchBlocks blocks;
                const kx::cases::Prepared prepared =
                    kernelCase.prepare(frame, blocks, kEntries);
                timeCalls(state, prepared.yardstickBytes, [&] { benchmark::DoNotOptimize(prepared.call()); });
            });
            addMemcpy(group, writtenBy(kernelCase, frame));
            peers(group, frame);
        }
    }
}

}  // namespace kx::bench
