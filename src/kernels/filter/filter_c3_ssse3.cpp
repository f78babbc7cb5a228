// Levels 1 to 3 of pxFilterC3: sixteen output bytes at a time, each pair of window pixels as one
// 16-bit multiply-add of lanes that byte shuffles widen from the source. Bytes and coefficients fit
// signed 16-bit lanes and a pair's two products fit 32 bits, so the sums are the scalar rule's,
// wrapping alike; the ends of a row take the scalar rule. SSE4.1 has nothing these shuffles and
// multiply-adds would use, so level 3 runs this form too.
#include <tmmintrin.h>

#include <algorithm>
#include <cstddef>

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

// The division rules on 16-bit sums, chosen once per call.
enum class Rule16 { Plain, ShiftShort, ShiftLong, Scale };

// A byte pair (a, b) of coefficients in every 16-bit lane, for unsigned-by-signed multiply-adds.
__m128i bytePair(int32_t a, int32_t b) {
    return _mm_set1_epi16(static_cast<int16_t>((static_cast<uint8_t>(b) << 8) | static_cast<uint8_t>(a)));
}

// Adds taps a and b of sixteen output bytes times their coefficients, into two halves of eight.
inline void addTaps(__m128i a, __m128i b, __m128i pair, __m128i &low, __m128i &high) {
    low = _mm_add_epi16(low, _mm_maddubs_epi16(_mm_unpacklo_epi8(a, b), pair));
    high = _mm_add_epi16(high, _mm_maddubs_epi16(_mm_unpackhi_epi8(a, b), pair));
}

template <Rule16 kRule>
struct Divide16 {
    __m128i shift, halfLessOne, mask, one;
    ScaleDivide scale;
    explicit Divide16(const FilterDivision &division)
        : shift(_mm_cvtsi32_si128(division.shift)),
          halfLessOne(_mm_set1_epi16(static_cast<int16_t>((1 << (division.shift > 0 ? division.shift - 1 : 0)) - 1))),
          mask(_mm_set1_epi16(static_cast<int16_t>((1 << division.shift) - 1))), one(_mm_set1_epi16(1)),
          scale(division) {}
    // Signed 16-bit values; the byte pack that follows saturates them, which also sends every sum
    // below 1 of the shift rule to 0.
    __m128i operator()(__m128i sum) const {
        if constexpr (kRule == Rule16::Plain) {
            return sum;
        } else if constexpr (kRule == Rule16::ShiftShort) {
            // sum + half cannot overflow: the quotient plus the rounded remainder in one shift.
            const __m128i odd = _mm_and_si128(_mm_sra_epi16(sum, shift), one);
            return _mm_sra_epi16(_mm_add_epi16(_mm_add_epi16(sum, halfLessOne), odd), shift);
        } else if constexpr (kRule == Rule16::ShiftLong) {
            const __m128i quotient = _mm_sra_epi16(sum, shift);
            const __m128i rest = _mm_add_epi16(_mm_add_epi16(_mm_and_si128(sum, mask), halfLessOne),
                                               _mm_and_si128(quotient, one));
            return _mm_add_epi16(quotient, _mm_srl_epi16(rest, shift));  // rest < 2^16: a logical shift
        } else {
            const __m128i low = _mm_srai_epi32(_mm_unpacklo_epi16(sum, sum), 16);
            const __m128i high = _mm_srai_epi32(_mm_unpackhi_epi16(sum, sum), 16);
            return _mm_packs_epi32(scale(low), scale(high));
        }
    }
};

// Every output row in steps of sixteen bytes; the last step of a row ends on its last byte and may
// write again some bytes of the step before, with the same values. Written out tap by tap: kept in
// an array of registers, the taps went to the stack.
template <Rule16 kRule>
void rows16(const FilterCall &call, const FilterDivision &division) {
    const Divide16<kRule> divide(division);
    const int32_t *c = call.kernel;
    // Coefficient (j, i) meets the pixel j rows up and i pixels left of the anchor: a true convolution.
    const __m128i c01 = bytePair(c[0], c[1]), c23 = bytePair(c[2], c[3]), c45 = bytePair(c[4], c[5]);
    const __m128i c67 = bytePair(c[6], c[7]), c8 = bytePair(c[8], 0);
    const __m128i zero = _mm_setzero_si128();
    const int32_t rowBytes = 3 * call.size.width;
    const ptrdiff_t step = call.srcStep;
    for (int32_t y = 0; y < call.size.height; ++y) {
        const uint8_t *t0 = call.src + (static_cast<ptrdiff_t>(y) + call.anchor.y) * step + 3 * ptrdiff_t{call.anchor.x};
        const uint8_t *t3 = t0 - step, *t6 = t0 - 2 * step;
        uint8_t *out = call.dst + static_cast<ptrdiff_t>(y) * call.dstStep;
        for (int32_t k = 0;; k = std::min(k + 16, rowBytes - 16)) {
            __m128i low = zero, high = zero;
            addTaps(load(t0 + k), load(t0 + k - 3), c01, low, high);
            addTaps(load(t0 + k - 6), load(t3 + k), c23, low, high);
            addTaps(load(t3 + k - 3), load(t3 + k - 6), c45, low, high);
            addTaps(load(t6 + k), load(t6 + k - 3), c67, low, high);
            addTaps(load(t6 + k - 6), zero, c8, low, high);
            store(out + k, _mm_packus_epi16(divide(low), divide(high)));
            if (k + 16 == rowBytes) break;
        }
    }
}

}  // namespace

void filterC3Sums16_ssse3(const FilterCall &call, const FilterDivision &division) {
    int32_t magnitudes = 0;
    for (int32_t t = 0; t < 9; ++t) magnitudes += call.kernel[t] < 0 ? -call.kernel[t] : call.kernel[t];
    switch (division.kind) {
        case FilterDivision::Plain: rows16<Rule16::Plain>(call, division); break;
        case FilterDivision::Reciprocal: rows16<Rule16::Scale>(call, division); break;
        case FilterDivision::Shift:
            // The short form adds the half to the sum itself, which must stay within 16 bits.
            if (255 * magnitudes + (1 << (division.shift - 1)) <= 32767) {
                rows16<Rule16::ShiftShort>(call, division);
            } else {
                rows16<Rule16::ShiftLong>(call, division);
            }
            break;
    }
}

PxStatus pxFilterC3_ssse3(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size,
                          const int32_t *kernel, PxSize kernelSize, PxPoint anchor, int32_t divisor) {
    static constexpr FilterPasses kPasses = {rowPass<2>, rowPass<3>, rowPass<0>, finishWith<ShiftDivide>,
                                             finishWith<ScaleDivide>, filterC3Sums16_ssse3};
    return filterC3WithPasses(kPasses, {src, srcStep, dst, dstStep, size, kernel, kernelSize, anchor, divisor});
}

}  // namespace px
