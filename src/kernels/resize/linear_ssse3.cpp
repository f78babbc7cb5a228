// Levels 1 to 3 of linear interpolation: both passes in 16-bit lanes, with the bytes of level 0.
//
// Row pass. With wl + wr = 16384, (wr * q + wl * p + 128) >> 8 = 64p + ((wr * (q - p) + 128) >> 8),
// as 16384p is 256 times 64p. A multiply-add of the (p, q) byte pair by (-64, 64) gives 64(q - p),
// and the rounding high-half multiply of that by 2wr is ((q - p) * wr + 128) >> 8. 2wr fits a signed
// lane for wr up to 16383; a column that gives its right pixel all 16384 reads the pair (q, q) at
// weight 0 instead, which gives the same 64q.
//
// Blend. The rule of level 0 (pxLinearBlend): the row that weighs more is the base b, and with d the
// other row's sample less b and v <= 8192 its weight, the byte is (b + floor(d * v / 16384) + 32) >> 6,
// where the floor is the high half of 2d times 2v, and the rest a rounding multiply by 512.
#include <tmmintrin.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "kernels/resize/resize_forms.h"
#include "kernels/resize/planned_groups.h"
#include "kernels/resize/resize_image.h"

namespace px {

namespace {

// A group whose sixteen bytes from its load offset do not hold all its pairs.
enum GroupKind : int32_t { TwoLoads = 1, ByRule = 2 };
struct Exception {
    int32_t group;
    int32_t kind;
};

// The gather of the row pass, worked out once per call: for each group of eight samples (output
// order, three to a column), a load offset, the byte shuffle that makes its eight (p, q) pairs and
// the eight weights 2wr. The groups that one load does not serve are listed apart, in order, with a
// last entry at the group count, so that the pass runs straight through the rest.
struct RowPlan {
    int32_t groups;
    int32_t exceptionCount;
    const __m128i *pairs;
    const __m128i *weights;
    const int32_t *offsets;
    const Exception *exceptions;
    const __m128i *secondPairs;  // per exception: the pairs from the load sixteen bytes on
};

constexpr size_t kAlign = 16;
constexpr size_t roundUp(size_t bytes) { return (bytes + kAlign - 1) & ~(kAlign - 1); }

size_t planBytes(int32_t groups) {
    const auto g = static_cast<size_t>(groups);
    return roundUp(sizeof(RowPlan)) + 3 * g * sizeof(__m128i) + roundUp(g * sizeof(int32_t)) +
           roundUp((g + 1) * sizeof(Exception));
}

// Builds the plan in block; false if a column's weights do not add up to 16384, which the rule
// assumes.
bool makePlan(const int32_t *xIndex, const uint16_t *xWeight, int32_t dstW, int32_t pixelStride, int32_t groups,
              uint8_t *block) {
    auto *plan = reinterpret_cast<RowPlan *>(block);
    auto *pairs = reinterpret_cast<__m128i *>(block + roundUp(sizeof(RowPlan)));
    auto *weights = pairs + groups;
    auto *secondPairs = weights + groups;
    auto *offsets = reinterpret_cast<int32_t *>(secondPairs + groups);
    auto *exceptions = reinterpret_cast<Exception *>(reinterpret_cast<uint8_t *>(offsets) +
                                                     roundUp(size_t(groups) * sizeof(int32_t)));
    // The rule reads every byte from the first column's left pixel to the last column's right one.
    const int64_t end = int64_t{xIndex[dstW - 1]} + pixelStride + 3;
    int32_t exceptionCount = 0;
    int32_t c = 0, k = 0;  // the column and channel of the next sample
    for (int32_t g = 0; g < groups; ++g) {
        int64_t from[8], to[8];  // the bytes of each pair
        alignas(16) int16_t twiceRight[8];
        for (int32_t j = 0; j < 8; ++j) {
            const int32_t wl = xWeight[2 * c], wr = xWeight[2 * c + 1];
            if (wl + wr != 16384) return false;
            const int64_t left = int64_t{xIndex[c]} + k;
            to[j] = left + pixelStride;
            from[j] = wr == 16384 ? to[j] : left;
            twiceRight[j] = static_cast<int16_t>(wr == 16384 ? 0 : 2 * wr);
            if (++k == 3) {
                k = 0;
                ++c;
            }
        }
        int64_t low = from[0], high = to[0];
        for (int32_t j = 1; j < 8; ++j) {
            low = std::min(low, from[j]);
            high = std::max(high, to[j]);
        }
        const int64_t reach = high - low;  // the last byte a pair takes, from the load offset
        int32_t kind = 0;
        if (reach >= 16 || low + 16 > end) kind = reach < 32 && low + 32 <= end ? TwoLoads : ByRule;
        alignas(16) uint8_t first[16], second[16];
        for (int32_t j = 0; j < 8; ++j) {
            first[2 * j] = static_cast<uint8_t>(from[j] - low);
            first[2 * j + 1] = static_cast<uint8_t>(to[j] - low);
        }
        if (kind != 0) {
            for (int32_t j = 0; j < 16; ++j) {
                const int64_t at = (j % 2 ? to[j / 2] : from[j / 2]) - low;
                first[j] = kind == ByRule || at >= 16 ? 0x80 : static_cast<uint8_t>(at);
                second[j] = kind == ByRule || at < 16 ? 0x80 : static_cast<uint8_t>(at - 16);
            }
        }
        pairs[g] = _mm_load_si128(reinterpret_cast<const __m128i *>(first));
        weights[g] = _mm_load_si128(reinterpret_cast<const __m128i *>(twiceRight));
        offsets[g] = static_cast<int32_t>(low);
        if (kind != 0) {
            secondPairs[exceptionCount] = _mm_load_si128(reinterpret_cast<const __m128i *>(second));
            exceptions[exceptionCount++] = {g, kind};
        }
    }
    exceptions[exceptionCount] = {groups, 0};
    *plan = {groups, exceptionCount, pairs, weights, offsets, exceptions, secondPairs};
    return true;
}

}  // namespace

void *linearMakePlan_ssse3(const int32_t *xIndex, const uint16_t *xWeight, int32_t dstW, int32_t pixelStride) {
    const int32_t groups = static_cast<int32_t>(int64_t{dstW} * 3 / 8);
    if (groups < 1 || pixelStride < 1 || int64_t{dstW} * 3 > INT32_MAX / 16) return nullptr;
    void *block = pxAlloc(static_cast<int32_t>(planBytes(groups)));
    if (block && !makePlan(xIndex, xWeight, dstW, pixelStride, groups, static_cast<uint8_t *>(block))) {
        pxFree(block);
        return nullptr;
    }
    return block;
}

void pxLinearRowC3_ssse3(const uint8_t *row, int32_t dstW, int32_t pixelStride, const int32_t *xIndex,
                         const uint16_t *xWeight, const void *plan, uint16_t *out) {
    if (!plan) {
        pxLinearRowC3(row, dstW, pixelStride, xIndex, xWeight, out);
        return;
    }
    // Held in restrict locals: the stores into out must not make the compiler reload the plan.
    const RowPlan &p = *static_cast<const RowPlan *>(plan);
    const __m128i *__restrict pairs = p.pairs;
    const __m128i *__restrict weights = p.weights;
    const int32_t *__restrict offsets = p.offsets;
    const Exception *__restrict exceptions = p.exceptions;
    uint16_t *__restrict samples = out;
    const __m128i sixtyFourP = _mm_set1_epi16(0x0040);  // bytes (64, 0)
    const __m128i sixtyFourD = _mm_set1_epi16(0x40C0);  // bytes (-64, 64)
    const auto sample = [&](__m128i pq, int32_t g) {
        const __m128i d = _mm_mulhrs_epi16(_mm_maddubs_epi16(pq, sixtyFourD), weights[g]);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(samples + 8 * g),
                         _mm_add_epi16(_mm_maddubs_epi16(pq, sixtyFourP), d));
    };
    const auto common = [&](int32_t g) {
        sample(_mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i *>(row + offsets[g])), pairs[g]), g);
    };
    const auto listed = [&](int32_t g, int32_t e) {
        if (exceptions[e].kind == TwoLoads) {
            const uint8_t *at = row + offsets[g];
            sample(_mm_or_si128(_mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i *>(at)), pairs[g]),
                                _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i *>(at + 16)),
                                                 p.secondPairs[e])),
                   g);
            return;
        }
        // Spread too wide, or too near the row's end: the columns of the group by the rule (a
        // neighbour's samples are written again with the same values).
        const int32_t c = 8 * g / 3, last = (8 * g + 7) / 3;
        pxLinearRowC3(row, last - c + 1, pixelStride, xIndex + c, xWeight + 2 * c, samples + 3 * c);
    };
    runPlannedGroups(p.exceptionCount, [&](int32_t e) { return exceptions[e].group; }, common, listed);
    // The samples after the last whole group, from the column that holds the first of them.
    const int32_t c = 8 * p.groups / 3;
    if (c < dstW) pxLinearRowC3(row, dstW - c, pixelStride, xIndex + c, xWeight + 2 * c, samples + 3 * c);
}

void pxLinearBlend_ssse3(uint8_t *dst, int32_t count, int32_t weight, const uint16_t *upper, const uint16_t *lower) {
    const bool lowerWeighsMore = weight > 8192;
    const uint16_t *__restrict base = lowerWeighsMore ? lower : upper;
    const uint16_t *__restrict other = lowerWeighsMore ? upper : lower;
    const __m128i twiceWeight = _mm_set1_epi16(static_cast<int16_t>(2 * (lowerWeighsMore ? 16384 - weight : weight)));
    const __m128i round = _mm_set1_epi16(512);  // a rounding multiply by 512 is (x + 32) >> 6
    uint8_t *__restrict out = dst;
    const auto eight = [&](int32_t i) {
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i *>(base + i));
        const __m128i d = _mm_sub_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i *>(other + i)), b);
        return _mm_mulhrs_epi16(_mm_add_epi16(b, _mm_mulhi_epi16(_mm_add_epi16(d, d), twiceWeight)), round);
    };
    int32_t i = 0;
#pragma GCC unroll 2
    for (; i + 16 <= count; i += 16)
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out + i), _mm_packus_epi16(eight(i), eight(i + 8)));
    if (i + 8 <= count) {
        const __m128i a = eight(i);
        _mm_storel_epi64(reinterpret_cast<__m128i *>(out + i), _mm_packus_epi16(a, a));
        i += 8;
    }
    if (i < count) pxLinearBlend(dst + i, count - i, weight, upper + i, lower + i);
}

void pxLinearBlendTwo_ssse3(uint8_t *first, uint8_t *second, int32_t count, int32_t firstWeight, int32_t secondWeight,
                            const uint16_t *upper, const uint16_t *lower) {
    // The upper row is the base of both: (u + floor(d * w / 16384) + 32) >> 6 with d = l - u is the
    // rule for every w up to 16383 (2w must fit a lane), so the difference serves both rows.
    if (firstWeight > 16383 || secondWeight > 16383) {
        pxLinearBlend_ssse3(first, count, firstWeight, upper, lower);
        pxLinearBlend_ssse3(second, count, secondWeight, upper, lower);
        return;
    }
    const __m128i w1 = _mm_set1_epi16(static_cast<int16_t>(2 * firstWeight));
    const __m128i w2 = _mm_set1_epi16(static_cast<int16_t>(2 * secondWeight));
    const __m128i round = _mm_set1_epi16(512);
    const uint16_t *__restrict u = upper;
    const uint16_t *__restrict l = lower;
    uint8_t *__restrict out1 = first;
    uint8_t *__restrict out2 = second;
    int32_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const __m128i u0 = _mm_loadu_si128(reinterpret_cast<const __m128i *>(u + i));
        const __m128i u8 = _mm_loadu_si128(reinterpret_cast<const __m128i *>(u + i + 8));
        __m128i d0 = _mm_sub_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i *>(l + i)), u0);
        __m128i d8 = _mm_sub_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i *>(l + i + 8)), u8);
        d0 = _mm_add_epi16(d0, d0);
        d8 = _mm_add_epi16(d8, d8);
        const auto row = [&](__m128i w) {
            return _mm_packus_epi16(_mm_mulhrs_epi16(_mm_add_epi16(u0, _mm_mulhi_epi16(d0, w)), round),
                                    _mm_mulhrs_epi16(_mm_add_epi16(u8, _mm_mulhi_epi16(d8, w)), round));
        };
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out1 + i), row(w1));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out2 + i), row(w2));
    }
    if (i < count) {
        pxLinearBlend_ssse3(first + i, count - i, firstWeight, upper + i, lower + i);
        pxLinearBlend_ssse3(second + i, count - i, secondWeight, upper + i, lower + i);
    }
}

void linearImageWithPlan_ssse3(LinearRowPass row, LinearBlendPass blend, LinearBlendTwoPass blendTwo,
                               const ResizeJob &job) {
    // Without memory for the plan the rows take the plain rule: slower, same bytes.
    void *plan = linearMakePlan_ssse3(job.xIndex, job.xWeight, job.dstW, job.pixelStride);
    linearWalk({row, blend, plan, blendTwo}, job);
    pxFree(plan);
}

void pxLinearImage_ssse3(const ResizeJob &job) {
    linearImageWithPlan_ssse3(pxLinearRowC3_ssse3, pxLinearBlend_ssse3, pxLinearBlendTwo_ssse3, job);
}

}  // namespace px
