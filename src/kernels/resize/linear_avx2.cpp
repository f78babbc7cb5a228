// Level 4 of linear interpolation: the vertical pass of levels 1 to 3 (the rule of level 0 in 16-bit
// lanes) 32 samples at a time in 256-bit registers; the row pass is the SSSE3 one. Same bytes.
#include <immintrin.h>

#include "kernels/resize/resize_forms.h"
#include "kernels/resize/resize_image.h"

namespace px {
namespace {

void pxLinearBlend_avx2(uint8_t *dst, int32_t count, int32_t weight, const uint16_t *upper, const uint16_t *lower) {
    const bool lowerWeighsMore = weight > 8192;
    const uint16_t *__restrict base = lowerWeighsMore ? lower : upper;
    const uint16_t *__restrict other = lowerWeighsMore ? upper : lower;
    const __m256i twiceWeight =
        _mm256_set1_epi16(static_cast<int16_t>(2 * (lowerWeighsMore ? 16384 - weight : weight)));
    const __m256i round = _mm256_set1_epi16(512);
    uint8_t *__restrict out = dst;
    const auto sixteen = [&](int32_t i) {
        const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(base + i));
        const __m256i d = _mm256_sub_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i *>(other + i)), b);
        return _mm256_mulhrs_epi16(_mm256_add_epi16(b, _mm256_mulhi_epi16(_mm256_add_epi16(d, d), twiceWeight)),
                                   round);
    };
    int32_t i = 0;
    for (; i + 32 <= count; i += 32) {
        // The byte pack interleaves the halves of its two inputs; the permute puts them back in order.
        const __m256i bytes = _mm256_packus_epi16(sixteen(i), sixteen(i + 16));
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(out + i), _mm256_permute4x64_epi64(bytes, 0xD8));
    }
    _mm256_zeroupper();
    if (i < count) pxLinearBlend_ssse3(dst + i, count - i, weight, upper + i, lower + i);
}

}  // namespace

void pxLinearImage_avx2(const ResizeJob &job) {
    linearImageWithPlan_ssse3(pxLinearRowC3_ssse3, pxLinearBlend_avx2, nullptr, job);
}

}  // namespace px
