// The luminance sum of the SSSE3 form (see luma_sum_ssse3.cpp for why each step is exact) with
// 256-bit registers: thirty-two pixels a step, each 128-bit half taking eight of them as the SSSE3
// form does. The last loads reach four bytes past a group, so groups run while 100 bytes remain,
// and the SSSE3 form takes the rest.
#include <immintrin.h>

#include "kernels/colour/luma_sum.h"

namespace px {
namespace {

// floor(T / 1000) of sixteen pixels, from 32A and B in 16-bit lanes.
inline __m256i thousandths(__m256i a32, __m256i b) {
    const __m256i u = _mm256_add_epi16(a32, _mm256_srli_epi16(b, 3));
    return _mm256_srli_epi16(_mm256_mulhi_epu16(u, _mm256_set1_epi16(33555)), 6);
}

// Two 16-byte loads, `low` into the lower half and `high` into the upper.
inline __m256i halves(const uint8_t *low, const uint8_t *high) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i *>(low))),
                                   _mm_loadu_si128(reinterpret_cast<const __m128i *>(high)), 1);
}

// Sixteen pixels, in each half four from the low twelve bytes of `low` and four from those of
// `high`: their thousandths, with those of T - 1 added to *below.
inline __m256i sixteenPixels(__m256i low, __m256i high, __m256i *below) {
    const __m256i firstTwoLow = _mm256_setr_epi8(0, 1, 3, 4, 6, 7, 9, 10, -1, -1, -1, -1, -1, -1, -1, -1,  //
                                                 0, 1, 3, 4, 6, 7, 9, 10, -1, -1, -1, -1, -1, -1, -1, -1);
    const __m256i firstTwoHigh = _mm256_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, 0, 1, 3, 4, 6, 7, 9, 10,  //
                                                  -1, -1, -1, -1, -1, -1, -1, -1, 0, 1, 3, 4, 6, 7, 9, 10);
    const __m256i thirdLow = _mm256_setr_epi8(2, -1, 5, -1, 8, -1, 11, -1, -1, -1, -1, -1, -1, -1, -1, -1,  //
                                              2, -1, 5, -1, 8, -1, 11, -1, -1, -1, -1, -1, -1, -1, -1, -1);
    const __m256i thirdHigh = _mm256_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, 2, -1, 5, -1, 8, -1, 11, -1,  //
                                               -1, -1, -1, -1, -1, -1, -1, -1, 2, -1, 5, -1, 8, -1, 11, -1);
    const __m256i firstTwo =
        _mm256_or_si256(_mm256_shuffle_epi8(low, firstTwoLow), _mm256_shuffle_epi8(high, firstTwoHigh));
    const __m256i third = _mm256_or_si256(_mm256_shuffle_epi8(low, thirdLow), _mm256_shuffle_epi8(high, thirdHigh));
    const __m256i a32 = _mm256_maddubs_epi16(firstTwo, _mm256_set1_epi16(0x4020));
    const __m256i b = _mm256_add_epi16(_mm256_maddubs_epi16(firstTwo, _mm256_set1_epi16(0x422B)),
                                       _mm256_maddubs_epi16(third, _mm256_set1_epi16(114)));
    *below = _mm256_add_epi16(*below, thousandths(a32, _mm256_subs_epu16(b, _mm256_set1_epi16(1))));
    return thousandths(a32, b);
}

}  // namespace

uint32_t lumaSum_avx2(const uint8_t *pixels, uint32_t count) {
    __m256i sums = _mm256_setzero_si256();   // 32-bit lanes
    __m256i words = _mm256_setzero_si256();  // 16-bit lanes, emptied into sums before they can pass 32767
    int32_t wordSteps = 0;
    uint32_t plain = 0;  // the sum of the groups that the plain rule took
    uint32_t i = 0;
    for (; i + 34 <= count; i += 32) {
        const uint8_t *p = pixels + 3 * size_t{i};
        __m256i below = _mm256_setzero_si256();
        const __m256i group = _mm256_add_epi16(sixteenPixels(halves(p, p + 24), halves(p + 12, p + 36), &below),
                                               sixteenPixels(halves(p + 48, p + 72), halves(p + 60, p + 84), &below));
        if (static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi16(group, below))) != 0xFFFFFFFFu) {
            plain += lumaSum_ref(p, 32);
            continue;
        }
        // A group adds at most 2 * 252 to a lane: 64 groups stay below 32768.
        words = _mm256_add_epi16(words, group);
        if (++wordSteps == 64) {
            sums = _mm256_add_epi32(sums, _mm256_madd_epi16(words, _mm256_set1_epi16(1)));
            words = _mm256_setzero_si256();
            wordSteps = 0;
        }
    }
    sums = _mm256_add_epi32(sums, _mm256_madd_epi16(words, _mm256_set1_epi16(1)));
    __m128i total = _mm_add_epi32(_mm256_castsi256_si128(sums), _mm256_extracti128_si256(sums, 1));
    total = _mm_add_epi32(total, _mm_shuffle_epi32(total, 0x4E));
    total = _mm_add_epi32(total, _mm_shuffle_epi32(total, 0xB1));
    return static_cast<uint32_t>(_mm_cvtsi128_si32(total)) + plain + lumaSum_ssse3(pixels + 3 * size_t{i}, count - i);
}

}  // namespace px
