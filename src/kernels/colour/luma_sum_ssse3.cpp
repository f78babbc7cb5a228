// The luminance sum in 16-bit lanes. With T = 299 * b0 + 578 * b1 + 114 * b2, the double
// (b0 * 0.299 + b1 * 0.578) + b2 * 0.114 lies within 1e-13 of T / 1000, so its truncation is
// floor(T / 1000) wherever T is not a multiple of 1000; at a multiple the double may fall a hair
// short and truncate one lower, with no rule per multiple. So any group of sixteen pixels with a
// multiple other than 0 in it goes to the plain rule, and the others are summed here.
//
// 299 = 256 + 43 and 578 = 512 + 66 split T into 256A + B, with A = b0 + 2 * b1 and
// B = 43 * b0 + 66 * b1 + 114 * b2 below 2^16, 32A and B both from byte multiply-adds. floor(T / 8)
// is then 32A + (B >> 3), below 2^15, and floor(T / 1000) its fifth of a 125th: the high half of its product
// with 33555, shifted by 6. The same with B - 1 (saturating, so T = 0 stays 0) gives
// floor((T - 1) / 1000), which differs from it exactly where T is a multiple other than 0. A test
// over all 2^24 pixels holds the two forms together.
#include <tmmintrin.h>

#include "kernels/colour/luma_sum.h"

namespace px {
namespace {

// floor(T / 1000) of eight pixels, from 32A and B in 16-bit lanes.
inline __m128i thousandths(__m128i a32, __m128i b) {
    return _mm_srli_epi16(_mm_mulhi_epu16(_mm_add_epi16(a32, _mm_srli_epi16(b, 3)), _mm_set1_epi16(33555)), 6);
}

// Eight pixels, four from the low twelve bytes of `low` and four from those of `high`: their
// thousandths, with those of T - 1 added to *below. Summed over a group, the two differ exactly
// where the group holds a multiple of 1000 other than 0.
inline __m128i eightPixels(__m128i low, __m128i high, __m128i *below) {
    // (b0, b1) and (b2, 0) byte pairs of the four pixels of each half, in order.
    const __m128i firstTwoLow = _mm_setr_epi8(0, 1, 3, 4, 6, 7, 9, 10, -1, -1, -1, -1, -1, -1, -1, -1);
    const __m128i firstTwoHigh = _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, 0, 1, 3, 4, 6, 7, 9, 10);
    const __m128i thirdLow = _mm_setr_epi8(2, -1, 5, -1, 8, -1, 11, -1, -1, -1, -1, -1, -1, -1, -1, -1);
    const __m128i thirdHigh = _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, 2, -1, 5, -1, 8, -1, 11, -1);
    const __m128i firstTwo = _mm_or_si128(_mm_shuffle_epi8(low, firstTwoLow), _mm_shuffle_epi8(high, firstTwoHigh));
    const __m128i third = _mm_or_si128(_mm_shuffle_epi8(low, thirdLow), _mm_shuffle_epi8(high, thirdHigh));
    // No pair sum passes 32767: 255 * (32 + 64), 255 * (43 + 66) and 255 * 114. B itself, below
    // 2^16, is unsigned.
    const __m128i a32 = _mm_maddubs_epi16(firstTwo, _mm_set1_epi16(0x4020));
    const __m128i b = _mm_add_epi16(_mm_maddubs_epi16(firstTwo, _mm_set1_epi16(0x422B)),
                                    _mm_maddubs_epi16(third, _mm_set1_epi16(114)));
    *below = _mm_add_epi16(*below, thousandths(a32, _mm_subs_epu16(b, _mm_set1_epi16(1))));
    return thousandths(a32, b);
}

}  // namespace

uint32_t lumaSum_ssse3(const uint8_t *pixels, uint32_t count) {
    __m128i sums = _mm_setzero_si128();  // 32-bit lanes
    __m128i words = _mm_setzero_si128();  // 16-bit lanes, emptied into sums before they can pass 32767
    int32_t wordSteps = 0;
    uint32_t plain = 0;  // the sum of the groups that the plain rule took
    uint32_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const uint8_t *p = pixels + 3 * size_t{i};
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p + 16));
        const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p + 32));
        __m128i below = _mm_setzero_si128();
        const __m128i group = _mm_add_epi16(eightPixels(a, _mm_alignr_epi8(b, a, 12), &below),
                                            eightPixels(_mm_alignr_epi8(c, b, 8), _mm_srli_si128(c, 4), &below));
        if (_mm_movemask_epi8(_mm_cmpeq_epi16(group, below)) != 0xFFFF) {
            plain += lumaSum_ref(p, 16);
            continue;
        }
        // A group adds at most 2 * 252 to a lane: 64 groups stay below 32768.
        words = _mm_add_epi16(words, group);
        if (++wordSteps == 64) {
            sums = _mm_add_epi32(sums, _mm_madd_epi16(words, _mm_set1_epi16(1)));
            words = _mm_setzero_si128();
            wordSteps = 0;
        }
    }
    sums = _mm_add_epi32(sums, _mm_madd_epi16(words, _mm_set1_epi16(1)));
    sums = _mm_add_epi32(sums, _mm_shuffle_epi32(sums, 0x4E));
    sums = _mm_add_epi32(sums, _mm_shuffle_epi32(sums, 0xB1));
    return static_cast<uint32_t>(_mm_cvtsi128_si32(sums)) + plain + lumaSum_ref(pixels + 3 * size_t{i}, count - i);
}

}  // namespace px
