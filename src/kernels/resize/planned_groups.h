// The walk of a row pass that gathers its groups by a plan made once per call: every group runs the
// common way, straight through, except the few the plan lists apart, so that the loop has no test
// per group. File-local in every form that includes it, so no code is shared across instruction sets.
#pragma once

#include <tmmintrin.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "kernels/resize/resize_engine.h"
#include "kestrix/px.h"

namespace px {
namespace {

constexpr size_t roundUp16(size_t bytes) { return (bytes + 15) & ~size_t{15}; }

// Groups from 0 on: exception e stands at group stopOf(e), in rising order, and stopOf(count) is the
// group count. group(g) runs a common group, exception(g, e) a listed one.
template <class StopOf, class Group, class Exception>
inline void runPlannedGroups(int32_t count, StopOf stopOf, Group group, Exception exception) {
    int32_t g = 0;
    for (int32_t e = 0;; ++e) {
        const int32_t stop = stopOf(e);
#pragma GCC unroll 4
        for (; g < stop; ++g) group(g);
        if (e == count) return;
        exception(g++, e);
    }
}

// The tables of a row pass in output order, four samples to a group, each lane taking `taps` taps
// three bytes apart from its own first byte: per group a load offset and a shuffle pattern, the
// patterns (a few for any one call) kept once with a shuffle per tap, and the groups listed apart.
constexpr int32_t kMaxLanePatterns = 32;

struct LaneTables {
    int32_t *offsets = nullptr, *patterns = nullptr, *exceptions = nullptr;
    __m128i *shuffles = nullptr;
    int32_t taps = 0, patternCount = 0, exceptionCount = 0;
    uint32_t keys[kMaxLanePatterns] = {};

    static size_t bytes(size_t groups, int32_t taps) {
        return kMaxLanePatterns * size_t(taps) * sizeof(__m128i) + 2 * roundUp16(groups * sizeof(int32_t)) +
               (groups + 1) * sizeof(int32_t);
    }
    // Carves the tables out of `bytes(groups, taps)` bytes at block, which is 16-byte aligned.
    LaneTables(uint8_t *block, size_t groups, int32_t tapCount) : taps(tapCount) {
        shuffles = reinterpret_cast<__m128i *>(block);
        offsets = reinterpret_cast<int32_t *>(shuffles + kMaxLanePatterns * taps);
        patterns = reinterpret_cast<int32_t *>(reinterpret_cast<uint8_t *>(offsets) + roundUp16(groups * 4));
        exceptions = reinterpret_cast<int32_t *>(reinterpret_cast<uint8_t *>(patterns) + roundUp16(groups * 4));
    }

    // Group g, whose lanes' first taps lie at first[lane]: the common way if usable, if its taps lie
    // within sixteen bytes of the least first tap, its loads (reach bytes from there) end at or
    // before end, and its pattern is kept; listed apart otherwise.
    void place(int32_t g, const int64_t first[4], bool usable, int64_t reach, int64_t end) {
        const int64_t low = std::min(std::min(first[0], first[1]), std::min(first[2], first[3]));
        const int64_t high = std::max(std::max(first[0], first[1]), std::max(first[2], first[3])) + 3 * (taps - 1);
        const bool fits = usable && high - low < 16 && low + reach <= end;
        uint32_t key = 0;
        for (int32_t lane = 0; lane < 4; ++lane) key |= static_cast<uint32_t>(first[lane] - low) << (8 * lane);
        int32_t pattern = 0;
        while (pattern < patternCount && keys[pattern] != key) ++pattern;
        if (fits && pattern == patternCount && patternCount < kMaxLanePatterns) {
            keys[patternCount++] = key;
            for (int32_t tap = 0; tap < taps; ++tap) {
                alignas(16) int8_t lanes[16];
                for (int32_t b = 0; b < 16; ++b)  // zero-extended to four bytes a lane
                    lanes[b] = b % 4 ? int8_t{-128} : static_cast<int8_t>(first[b / 4] - low + 3 * tap);
                shuffles[taps * pattern + tap] = _mm_load_si128(reinterpret_cast<const __m128i *>(lanes));
            }
        }
        offsets[g] = static_cast<int32_t>(low);
        patterns[g] = pattern;
        if (!fits || pattern == patternCount) exceptions[exceptionCount++] = g;
    }
    void close(int32_t groups) { exceptions[exceptionCount] = groups; }
};

// What a lane plan's row pass walks: the groups, their load offsets, patterns and weights.
struct LanePlan {
    int32_t groups, exceptionCount, taps, vectors;
    const int32_t *offsets, *patterns, *exceptions;
    const __m128i *shuffles;
    const __m128 *weights;
};

inline LanePlan closeLanes(LaneTables &tables, const __m128 *weights, int32_t vectors, size_t groups) {
    tables.close(static_cast<int32_t>(groups));
    return {static_cast<int32_t>(groups), tables.exceptionCount, tables.taps, vectors, tables.offsets,
            tables.patterns, tables.exceptions, tables.shuffles, weights};
}

// A row pass by a lane plan: common(first byte of the group's load, its tap shuffles, its weights,
// g) for the common groups, listed(g) for the others. The plan's pointers are held in restrict
// locals, so that the pass's stores do not make the compiler reload them.
template <class Common, class Listed>
inline void runLanes(const LanePlan &plan, const uint8_t *row, Common common, Listed listed) {
    const int32_t *__restrict offsets = plan.offsets;
    const int32_t *__restrict patterns = plan.patterns;
    const __m128i *__restrict shuffles = plan.shuffles;
    const __m128 *__restrict weights = plan.weights;
    const int32_t taps = plan.taps, vectors = plan.vectors;
    runPlannedGroups(
        plan.exceptionCount, [&](int32_t e) { return plan.exceptions[e]; },
        [&](int32_t g) { common(row + offsets[g], shuffles + taps * patterns[g], weights + vectors * g, g); },
        [&](int32_t g, int32_t) { listed(g); });
}

// The block of a lane plan for the job's row (three samples a column, packed pixels): the form's
// record, `vectors` registers of weights per group from `weightsAt` bytes on, then the tables at
// `tablesAt`. Null without packed pixels, a whole group or memory.
struct LanePlanBlock {
    uint8_t *block = nullptr;
    size_t groups = 0, weightsAt = 0, tablesAt = 0;
    LanePlanBlock(const ResizeJob &job, size_t record, size_t vectors, int32_t taps) {
        const int64_t count = int64_t{job.dstW} * 3 / 4;
        if (job.pixelStride != 3 || count < 1 || count > (INT32_MAX >> 8)) return;
        groups = static_cast<size_t>(count);
        weightsAt = roundUp16(record);
        tablesAt = weightsAt + vectors * groups * sizeof(__m128);
        block = static_cast<uint8_t *>(pxAlloc(static_cast<int32_t>(tablesAt + LaneTables::bytes(groups, taps))));
    }
};

}  // namespace
}  // namespace px
