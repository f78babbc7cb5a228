// Level 4 of pxSharpenC3: the arithmetic of levels 1 to 3 on 32 samples at a time. Bytes widen
// sixteen at a time into 256-bit registers, so the column sums stay in order; the final byte pack
// works within 128-bit halves and a quadword shuffle restores the order. Rows narrower than 32
// bytes take the level 1 to 3 passes.
#include <immintrin.h>

#include "kernels/filter/sharpen_c3.h"

namespace px {
namespace {

__m256i widen(const uint8_t *p) { return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i *>(p))); }
__m256i load(const uint16_t *p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(p)); }
void store(void *p, __m256i v) { _mm256_storeu_si256(static_cast<__m256i *>(p), v); }

void columnGroup(const uint8_t *above, const uint8_t *row, const uint8_t *below, uint16_t *sums, int32_t t) {
    for (int32_t half = 0; half < 32; half += 16) {
        const int32_t at = t + half;
        store(sums + at, _mm256_add_epi16(_mm256_add_epi16(widen(above + at), widen(row + at)), widen(below + at)));
    }
}

// The operator on sixteen samples from byte k: (17c - S, stopped at 0, + 4) >> 3, less one at a tie
// whose quotient is even.
__m256i operatorWords(const uint8_t *row, const uint16_t *sums, int32_t k) {
    const __m256i neighbourhood =
        _mm256_add_epi16(_mm256_add_epi16(load(sums + k), load(sums + k + 3)), load(sums + k + 6));
    const __m256i t = _mm256_subs_epu16(_mm256_mullo_epi16(widen(row + k), _mm256_set1_epi16(17)), neighbourhood);
    const __m256i rounded = _mm256_srli_epi16(_mm256_add_epi16(t, _mm256_set1_epi16(4)), 3);
    const __m256i tie = _mm256_cmpeq_epi16(_mm256_and_si256(t, _mm256_set1_epi16(15)), _mm256_set1_epi16(4));
    return _mm256_add_epi16(rounded, tie);
}

void operatorGroup(const uint8_t *row, const uint16_t *sums, uint8_t *out, int32_t k) {
    const __m256i bytes = _mm256_packus_epi16(operatorWords(row, sums, k), operatorWords(row, sums, k + 16));
    store(out + k, _mm256_permute4x64_epi64(bytes, 0xD8));
}

// Groups of 32, the last overlapping the one before; both passes only write, from inputs they leave
// alone, so bytes written twice are written alike.
void sharpenColumns_avx2(const uint8_t *above, const uint8_t *row, const uint8_t *below, uint16_t *sums,
                         int32_t count) {
    if (count < 32) return sharpenColumns_ssse3(above, row, below, sums, count);
    for (int32_t t = 0; t + 32 < count; t += 32) columnGroup(above, row, below, sums, t);
    columnGroup(above, row, below, sums, count - 32);
}

void sharpenOperator_avx2(const uint8_t *row, const uint16_t *sums, uint8_t *out, int32_t count) {
    if (count < 32) return sharpenOperator_ssse3(row, sums, out, count);
    for (int32_t k = 0; k + 32 < count; k += 32) operatorGroup(row, sums, out, k);
    operatorGroup(row, sums, out, count - 32);
}

}  // namespace

PxStatus pxSharpenC3_avx2(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size) {
    return sharpenC3WithPasses(sharpenColumns_avx2, sharpenOperator_avx2, src, srcStep, dst, dstStep, size);
}

}  // namespace px
