// The luminance sum in 32-bit lanes. With T = 299 * b0 + 578 * b1 + 114 * b2, the double
// (b0 * 0.299 + b1 * 0.578) + b2 * 0.114 lies within 1e-13 of T / 1000, so its truncation is
// floor(T / 1000) wherever T is not a multiple of 1000; at a multiple the double may fall a hair
// short and truncate one lower. So: T by 16-bit multiply-adds, floor(T / 1000) by a float product
// (off by at most one, and only beside a multiple, where the nearest integer is exact), and any
// group of sixteen pixels with a multiple other than 0 in it goes to the plain rule. A test over
// all 2^24 pixels holds the two forms together.
#include <tmmintrin.h>

#include "kernels/colour/luma_sum.h"

namespace px {
namespace {

// T of the four pixels in the low twelve bytes of `bytes`: (b0, b1) pairs against (299, 578), and
// (b2, 0) against (114, 0).
inline __m128i weightedSums(__m128i bytes) {
    const __m128i firstTwo = _mm_setr_epi8(0, -1, 1, -1, 3, -1, 4, -1, 6, -1, 7, -1, 9, -1, 10, -1);
    const __m128i third = _mm_setr_epi8(2, -1, -1, -1, 5, -1, -1, -1, 8, -1, -1, -1, 11, -1, -1, -1);
    return _mm_add_epi32(_mm_madd_epi16(_mm_shuffle_epi8(bytes, firstTwo), _mm_set1_epi32((578 << 16) | 299)),
                         _mm_madd_epi16(_mm_shuffle_epi8(bytes, third), _mm_set1_epi32(114)));
}

}  // namespace

uint32_t lumaSum_ssse3(const uint8_t *pixels, uint32_t count) {
    const __m128 thousandth = _mm_set1_ps(0.001f);
    const __m128i thousand = _mm_set1_epi32(1000);
    const __m128i zero = _mm_setzero_si128();
    __m128i sums = _mm_setzero_si128();
    uint32_t plain = 0;  // the sum of the groups that the plain rule took
    uint32_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const uint8_t *p = pixels + 3 * size_t{i};
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p + 16));
        const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p + 32));
        const __m128i t[4] = {weightedSums(a), weightedSums(_mm_alignr_epi8(b, a, 12)),
                              weightedSums(_mm_alignr_epi8(c, b, 8)), weightedSums(_mm_srli_si128(c, 4))};
        __m128i group = _mm_setzero_si128();
        __m128i multiples = _mm_setzero_si128();
        for (const __m128i &sum : t) {
            const __m128 quotient = _mm_mul_ps(_mm_cvtepi32_ps(sum), thousandth);
            group = _mm_add_epi32(group, _mm_cvttps_epi32(quotient));
            // The nearest integer of the quotient times 1000 is T exactly only at a multiple.
            const __m128i nearest = _mm_cvtps_epi32(quotient);
            // T = 0 (black) is exact in double too, and common enough to keep on this path.
            const __m128i atMultiple = _mm_cmpeq_epi32(_mm_madd_epi16(nearest, thousand), sum);
            multiples = _mm_or_si128(multiples, _mm_andnot_si128(_mm_cmpeq_epi32(sum, zero), atMultiple));
        }
        if (_mm_movemask_epi8(multiples)) {
            plain += lumaSum_ref(p, 16);
        } else {
            sums = _mm_add_epi32(sums, group);
        }
    }
    sums = _mm_add_epi32(sums, _mm_shuffle_epi32(sums, 0x4E));
    sums = _mm_add_epi32(sums, _mm_shuffle_epi32(sums, 0xB1));
    return static_cast<uint32_t>(_mm_cvtsi128_si32(sums)) + plain + lumaSum_ref(pixels + 3 * size_t{i}, count - i);
}

}  // namespace px
