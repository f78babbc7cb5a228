// Levels 1 to 3 of pxFilterC3: sixteen output bytes at a time, each pair of window pixels as one
// 16-bit multiply-add of lanes that byte shuffles widen from the source. Bytes and coefficients fit
// signed 16-bit lanes and a pair's two products fit 32 bits, so the sums are the scalar rule's,
// wrapping alike; the ends of a row take the scalar rule. SSE4.1 has nothing these shuffles and
// multiply-adds would use, so level 3 runs this form too.
#include <tmmintrin.h>

#include "kernels/filter/filter_c3.h"

namespace px {
namespace {

__m128i load(const void *p) { return _mm_loadu_si128(static_cast<const __m128i *>(p)); }
void store(void *p, __m128i v) { _mm_storeu_si128(static_cast<__m128i *>(p), v); }

// Byte shuffles that widen sixteen loaded bytes L into the 16-bit lanes of four output bytes:
// the pairs (L[o + j], L[o + j + 3]), or a lone (L[o + j], 0), for j = 0 to 3.
__m128i pairLanes(__m128i bytes, int8_t o) {
    return _mm_shuffle_epi8(bytes, _mm_setr_epi8(o, -1, int8_t(o + 3), -1, int8_t(o + 1), -1, int8_t(o + 4), -1,
                                                 int8_t(o + 2), -1, int8_t(o + 5), -1, int8_t(o + 3), -1,
                                                 int8_t(o + 6), -1));
}
__m128i loneLanes(__m128i bytes, int8_t o) {
    return _mm_shuffle_epi8(bytes, _mm_setr_epi8(o, -1, -1, -1, int8_t(o + 1), -1, -1, -1, int8_t(o + 2), -1, -1, -1,
                                                 int8_t(o + 3), -1, -1, -1));
}

// Adds window pixels m and m + 1 (three bytes on) of sixteen output bytes times their pair. The
// second load starts three bytes on, so that it ends on the last byte the pair's pixels reach.
void addPair(const uint8_t *pixel, __m128i pair, __m128i acc[4]) {
    const __m128i first = load(pixel), second = load(pixel + 3);
    acc[0] = _mm_add_epi32(acc[0], _mm_madd_epi16(pairLanes(first, 0), pair));
    acc[1] = _mm_add_epi32(acc[1], _mm_madd_epi16(pairLanes(first, 4), pair));
    acc[2] = _mm_add_epi32(acc[2], _mm_madd_epi16(pairLanes(second, 5), pair));
    acc[3] = _mm_add_epi32(acc[3], _mm_madd_epi16(pairLanes(second, 9), pair));
}

// A lone last coefficient, paired with zeros rather than the pixel past the window.
void addLone(const uint8_t *pixel, __m128i pair, __m128i acc[4]) {
    const __m128i bytes = load(pixel);
    for (int8_t q = 0; q < 4; ++q) {
        acc[q] = _mm_add_epi32(acc[q], _mm_madd_epi16(loneLanes(bytes, int8_t(4 * q)), pair));
    }
}

// kPairs fixes the pair count for 3 and 5 columns (both odd), so that those passes run straight
// through; 0 takes it from kw.
template <int32_t kPairs>
void rowPass(const uint8_t *window, const FilterPair *pairs, const int32_t *kernelRow, int32_t kw, int32_t *sums,
             int32_t count, bool first) {
    const int32_t pairCount = kPairs != 0 ? kPairs : (kw + 1) / 2;
    const bool lone = kPairs != 0 || (kw & 1) != 0;
    int32_t k = 0;
    for (; k + 16 <= count; k += 16) {
        __m128i acc[4];
        for (int32_t q = 0; q < 4; ++q) acc[q] = first ? _mm_setzero_si128() : load(sums + k + 4 * q);
        const uint8_t *pixel = window + k;
        for (int32_t p = 0; p < pairCount; ++p, pixel += 6) {
            if (lone && p == pairCount - 1) {
                addLone(pixel, load(pairs + p), acc);
            } else {
                addPair(pixel, load(pairs + p), acc);
            }
        }
        for (int32_t q = 0; q < 4; ++q) store(sums + k + 4 * q, acc[q]);
    }
    filterRowPass_ref(window + k, kernelRow, kw, sums + k, count - k, first);
}

// The shift rule as quotient plus rounded remainder, which cannot overflow where sum + half would:
// the same value as the scalar rule's. Sums below 1 come out at 0 or below and saturate to 0.
struct ShiftDivide {
    __m128i shift, mask, halfLessOne, one;
    explicit ShiftDivide(const FilterDivision &division) : ShiftDivide(division.shift) {}
    explicit ShiftDivide(int32_t s)
        : shift(_mm_cvtsi32_si128(s)), mask(_mm_set1_epi32((int32_t{1} << s) - 1)),
          halfLessOne(_mm_set1_epi32((int32_t{1} << (s - 1)) - 1)), one(_mm_set1_epi32(1)) {}
    __m128i operator()(__m128i sum) const {
        const __m128i quotient = _mm_sra_epi32(sum, shift);
        const __m128i rest = _mm_add_epi32(_mm_add_epi32(_mm_and_si128(sum, mask), halfLessOne),
                                           _mm_and_si128(quotient, one));
        return _mm_add_epi32(quotient, _mm_sra_epi32(rest, shift));
    }
};

// The plain and reciprocal rules: a product in single precision rounded to nearest, ties to even,
// by the conversion. The product is held to 255 first: one of 2^31 or more (a sum near 2^31 in
// single precision) would convert to -2^31 and saturate to 0.
struct ScaleDivide {
    __m128 reciprocal, top;
    explicit ScaleDivide(const FilterDivision &division)
        : reciprocal(_mm_set1_ps(division.reciprocal)), top(_mm_set1_ps(255.0f)) {}
    __m128i operator()(__m128i sum) const {
        return _mm_cvtps_epi32(_mm_min_ps(_mm_mul_ps(_mm_cvtepi32_ps(sum), reciprocal), top));
    }
};

template <class Divide>
void finishWith(const int32_t *sums, uint8_t *out, int32_t count, const FilterDivision &division) {
    const Divide divide(division);
    int32_t k = 0;
    for (; k + 16 <= count; k += 16) {
        const __m128i low = _mm_packs_epi32(divide(load(sums + k)), divide(load(sums + k + 4)));
        const __m128i high = _mm_packs_epi32(divide(load(sums + k + 8)), divide(load(sums + k + 12)));
        store(out + k, _mm_packus_epi16(low, high));
    }
    filterFinish_ref(sums + k, out + k, count - k, division);
}

}  // namespace

PxStatus pxFilterC3_ssse3(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size,
                          const int32_t *kernel, PxSize kernelSize, PxPoint anchor, int32_t divisor) {
    static constexpr FilterPasses kPasses = {rowPass<2>, rowPass<3>, rowPass<0>, finishWith<ShiftDivide>,
                                             finishWith<ScaleDivide>};
    return filterC3WithPasses(kPasses, {src, srcStep, dst, dstStep, size, kernel, kernelSize, anchor, divisor});
}

}  // namespace px
