// Levels 1 to 3 of pxSharpenC3: column sums and the operator on sixteen 16-bit lanes. 17 * 255
// fits 16 bits, a saturating subtraction stops T at 0 as the rule's test does, and the tie to even
// is (T + 4) >> 3 less one where T's low four bits are exactly 4; so the bytes are level 0's.
// Both passes write what they write from inputs they do not change, so a row's last group of
// sixteen may overlap the one before it. SSE4.1 adds nothing these passes use.
#include <tmmintrin.h>

#include "kernels/filter/sharpen_c3.h"

namespace px {
namespace {

__m128i load(const void *p) { return _mm_loadu_si128(static_cast<const __m128i *>(p)); }
void store(void *p, __m128i v) { _mm_storeu_si128(static_cast<__m128i *>(p), v); }

// Sixteen column sums from byte t of the three rows.
void columnGroup(const uint8_t *above, const uint8_t *row, const uint8_t *below, uint16_t *sums, int32_t t) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i a = load(above + t), r = load(row + t), b = load(below + t);
    const __m128i low = _mm_add_epi16(_mm_add_epi16(_mm_unpacklo_epi8(a, zero), _mm_unpacklo_epi8(r, zero)),
                                      _mm_unpacklo_epi8(b, zero));
    const __m128i high = _mm_add_epi16(_mm_add_epi16(_mm_unpackhi_epi8(a, zero), _mm_unpackhi_epi8(r, zero)),
                                       _mm_unpackhi_epi8(b, zero));
    store(sums + t, low);
    store(sums + t + 8, high);
}

// The operator on eight samples c whose column sums start at sums.
__m128i operatorWords(__m128i c, const uint16_t *sums) {
    const __m128i neighbourhood = _mm_add_epi16(_mm_add_epi16(load(sums), load(sums + 3)), load(sums + 6));
    const __m128i t = _mm_subs_epu16(_mm_mullo_epi16(c, _mm_set1_epi16(17)), neighbourhood);
    const __m128i rounded = _mm_srli_epi16(_mm_add_epi16(t, _mm_set1_epi16(4)), 3);
    // All ones, that is minus one, where the remainder is a half and the quotient even.
    const __m128i tie = _mm_cmpeq_epi16(_mm_and_si128(t, _mm_set1_epi16(15)), _mm_set1_epi16(4));
    return _mm_add_epi16(rounded, tie);
}

void operatorGroup(const uint8_t *row, const uint16_t *sums, uint8_t *out, int32_t k) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i c = load(row + k);
    store(out + k, _mm_packus_epi16(operatorWords(_mm_unpacklo_epi8(c, zero), sums + k),
                                    operatorWords(_mm_unpackhi_epi8(c, zero), sums + k + 8)));
}

}  // namespace

void sharpenColumns_ssse3(const uint8_t *above, const uint8_t *row, const uint8_t *below, uint16_t *sums,
                          int32_t count) {
    if (count < 16) return sharpenColumns_ref(above, row, below, sums, count);
    for (int32_t t = 0; t + 16 < count; t += 16) columnGroup(above, row, below, sums, t);
    columnGroup(above, row, below, sums, count - 16);
}

void sharpenOperator_ssse3(const uint8_t *row, const uint16_t *sums, uint8_t *out, int32_t count) {
    if (count < 16) return sharpenOperator_ref(row, sums, out, count);
    for (int32_t k = 0; k + 16 < count; k += 16) operatorGroup(row, sums, out, k);
    operatorGroup(row, sums, out, count - 16);
}

PxStatus pxSharpenC3_ssse3(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size) {
    return sharpenC3WithPasses(sharpenColumns_ssse3, sharpenOperator_ssse3, src, srcStep, dst, dstStep, size);
}

}  // namespace px
