// Level 4 of pxFilterC3: the multiply-adds of levels 1 to 3 in 256-bit registers. One byte shuffle
// widens the lanes of output bytes 0-3 and 8-11 of a group of sixteen, another those of 4-7 and
// 12-15, so the group's sums land in two registers in that order; the finishing pass's 32-to-16-bit
// pack puts them back in order. Both passes walk the same groups of sixteen, and the ends of a row
// take the scalar rule.
#include <immintrin.h>

#include "kernels/filter/filter_c3.h"

namespace px {
namespace {

__m256i load(const int32_t *p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(p)); }
void store(int32_t *p, __m256i v) { _mm256_storeu_si256(reinterpret_cast<__m256i *>(p), v); }
__m128i load128(const void *p) { return _mm_loadu_si128(static_cast<const __m128i *>(p)); }

// The shuffles of levels 1 to 3, one per 128-bit half: 16-bit pairs (L[o + j], L[o + j + 3]) or
// lone lanes (L[o + j], 0) for four output bytes, o for the low half and o2 for the high one.
__m256i pairLanes(__m256i bytes, int8_t o, int8_t o2) {
    return _mm256_shuffle_epi8(
        bytes, _mm256_setr_epi8(o, -1, int8_t(o + 3), -1, int8_t(o + 1), -1, int8_t(o + 4), -1, int8_t(o + 2), -1,
                                int8_t(o + 5), -1, int8_t(o + 3), -1, int8_t(o + 6), -1, o2, -1, int8_t(o2 + 3), -1,
                                int8_t(o2 + 1), -1, int8_t(o2 + 4), -1, int8_t(o2 + 2), -1, int8_t(o2 + 5), -1,
                                int8_t(o2 + 3), -1, int8_t(o2 + 6), -1));
}
__m256i loneLanes(__m256i bytes, int8_t o, int8_t o2) {
    return _mm256_shuffle_epi8(
        bytes, _mm256_setr_epi8(o, -1, -1, -1, int8_t(o + 1), -1, -1, -1, int8_t(o + 2), -1, -1, -1, int8_t(o + 3), -1,
                                -1, -1, o2, -1, -1, -1, int8_t(o2 + 1), -1, -1, -1, int8_t(o2 + 2), -1, -1, -1,
                                int8_t(o2 + 3), -1, -1, -1));
}

template <int32_t kPairs>  // as at levels 1 to 3: fixed for 3 and 5 columns, 0 takes it from kw
void rowPass(const uint8_t *window, const FilterPair *pairs, const int32_t *kernelRow, int32_t kw, int32_t *sums,
             int32_t count, bool first) {
    const int32_t pairCount = kPairs != 0 ? kPairs : (kw + 1) / 2;
    const bool lone = kPairs != 0 || (kw & 1) != 0;
    constexpr int32_t kStep = 16;  // output bytes a step: eight sums in each of two registers
    int32_t k = 0;
    for (; k + kStep <= count; k += kStep) {
        __m256i low = first ? _mm256_setzero_si256() : load(sums + k);
        __m256i high = first ? _mm256_setzero_si256() : load(sums + k + 8);
        const uint8_t *pixel = window + k;
        for (int32_t p = 0; p < pairCount; ++p, pixel += 6) {
            const __m256i pair = _mm256_broadcastsi128_si256(load128(pairs + p));
            if (lone && p == pairCount - 1) {
                // A lone last coefficient meets zeros, not the pixel past the window.
                const __m256i bytes = _mm256_broadcastsi128_si256(load128(pixel));
                low = _mm256_add_epi32(low, _mm256_madd_epi16(loneLanes(bytes, 0, 8), pair));
                high = _mm256_add_epi32(high, _mm256_madd_epi16(loneLanes(bytes, 4, 12), pair));
            } else {
                // The high half loads three bytes on, ending on the last byte the pair reaches.
                const __m256i bytes =
                    _mm256_inserti128_si256(_mm256_castsi128_si256(load128(pixel)), load128(pixel + 3), 1);
                low = _mm256_add_epi32(low, _mm256_madd_epi16(pairLanes(bytes, 0, 5), pair));
                high = _mm256_add_epi32(high, _mm256_madd_epi16(pairLanes(bytes, 4, 9), pair));
            }
        }
        store(sums + k, low);
        store(sums + k + 8, high);
    }
    filterRowPass_ref(window + k, kernelRow, kw, sums + k, count - k, first);
}

// The shift rule as quotient plus rounded remainder, which cannot overflow where sum + half would.
struct ShiftDivide {
    __m128i shift;
    __m256i mask, halfLessOne, one;
    explicit ShiftDivide(const FilterDivision &division) : ShiftDivide(division.shift) {}
    explicit ShiftDivide(int32_t s)
        : shift(_mm_cvtsi32_si128(s)), mask(_mm256_set1_epi32((int32_t{1} << s) - 1)),
          halfLessOne(_mm256_set1_epi32((int32_t{1} << (s - 1)) - 1)), one(_mm256_set1_epi32(1)) {}
    __m256i operator()(__m256i sum) const {
        const __m256i quotient = _mm256_sra_epi32(sum, shift);
        const __m256i rest = _mm256_add_epi32(_mm256_add_epi32(_mm256_and_si256(sum, mask), halfLessOne),
                                              _mm256_and_si256(quotient, one));
        return _mm256_add_epi32(quotient, _mm256_sra_epi32(rest, shift));
    }
};

// The plain and reciprocal rules, the product held to 255 before the conversion rounds it.
struct ScaleDivide {
    __m256 reciprocal, top;
    explicit ScaleDivide(const FilterDivision &division)
        : reciprocal(_mm256_set1_ps(division.reciprocal)), top(_mm256_set1_ps(255.0f)) {}
    __m256i operator()(__m256i sum) const {
        return _mm256_cvtps_epi32(_mm256_min_ps(_mm256_mul_ps(_mm256_cvtepi32_ps(sum), reciprocal), top));
    }
};

template <class Divide>
void finishWith(const int32_t *sums, uint8_t *out, int32_t count, const FilterDivision &division) {
    const Divide divide(division);
    // Sixteen 16-bit values of one group, in order.
    const auto group = [&](int32_t k) {
        return _mm256_packs_epi32(divide(load(sums + k)), divide(load(sums + k + 8)));
    };
    int32_t k = 0;
    for (; k + 32 <= count; k += 32) {
        // The byte pack works within 128-bit halves; the quadword shuffle restores the order.
        const __m256i bytes = _mm256_permute4x64_epi64(_mm256_packus_epi16(group(k), group(k + 16)), 0xD8);
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(out + k), bytes);
    }
    if (k + 16 <= count) {
        const __m256i words = group(k);
        const __m256i bytes = _mm256_permute4x64_epi64(_mm256_packus_epi16(words, words), 0xD8);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out + k), _mm256_castsi256_si128(bytes));
        k += 16;
    }
    filterFinish_ref(sums + k, out + k, count - k, division);
}

}  // namespace

PxStatus pxFilterC3_avx2(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size,
                         const int32_t *kernel, PxSize kernelSize, PxPoint anchor, int32_t divisor) {
    static constexpr FilterPasses kPasses = {rowPass<2>, rowPass<3>, rowPass<0>, finishWith<ShiftDivide>,
                                             finishWith<ScaleDivide>, filterC3Sums16_ssse3};
    return filterC3WithPasses(kPasses, {src, srcStep, dst, dstStep, size, kernel, kernelSize, anchor, divisor});
}

}  // namespace px
