// Level 4 of linear interpolation: the vertical pass 32 samples at a time in 256-bit registers; the
// row pass is the SSSE3 one. Same constants and shifts as every level, so the same bytes.
#include <immintrin.h>

#include "kernels/resize/resize_forms.h"
#include "kernels/resize/resize_image.h"

namespace px {
namespace {

// Sixteen samples: (u * (16384 - w) + l * w + 524288) >> 20. Unpacking and packing both stay
// within 128-bit halves, so the sixteen results come out in order.
inline __m256i blendSixteen(const uint16_t *upper, const uint16_t *lower, __m256i weights, __m256i half) {
    const __m256i u = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(upper));
    const __m256i l = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(lower));
    const __m256i low =
        _mm256_srai_epi32(_mm256_add_epi32(_mm256_madd_epi16(_mm256_unpacklo_epi16(u, l), weights), half), 20);
    const __m256i high =
        _mm256_srai_epi32(_mm256_add_epi32(_mm256_madd_epi16(_mm256_unpackhi_epi16(u, l), weights), half), 20);
    return _mm256_packs_epi32(low, high);
}

void pxLinearBlend_avx2(uint8_t *dst, int32_t count, int32_t weight, const uint16_t *upper, const uint16_t *lower) {
    const __m256i weights = _mm256_set1_epi32(static_cast<int32_t>((static_cast<uint32_t>(weight) << 16) |
                                                                   static_cast<uint32_t>(16384 - weight)));
    const __m256i half = _mm256_set1_epi32(524288);
    int32_t i = 0;
    for (; i + 32 <= count; i += 32) {
        // The byte pack interleaves the halves of its two inputs; the permute puts them back in order.
        const __m256i bytes = _mm256_packus_epi16(blendSixteen(upper + i, lower + i, weights, half),
                                                  blendSixteen(upper + i + 16, lower + i + 16, weights, half));
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(dst + i), _mm256_permute4x64_epi64(bytes, 0xD8));
    }
    _mm256_zeroupper();
    if (i < count) pxLinearBlend_ssse3(dst + i, count - i, weight, upper + i, lower + i);
}

}  // namespace

void pxLinearImage_avx2(const ResizeJob &job) {
    linearImageWithPlan_ssse3(pxLinearRowC3_ssse3, pxLinearBlend_avx2, job);
}

}  // namespace px
