// The yardstick beside every case: a memcpy of the bytes the case writes, measured in the same run,
// so that each figure reads as a ratio (scripts/bench pairs them by the case in their names).
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <vector>

inline void memcpyBytes(benchmark::State &state, size_t bytes) {
    const std::vector<uint8_t> src(bytes, 1);
    std::vector<uint8_t> dst(bytes);
    for (auto _ : state) {
        std::memcpy(dst.data(), src.data(), bytes);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytes));
}
