// Level 4 of supersampling: rows are added with eight accumulators to a register; the cells, whose
// three channels fill no wider register, and the store are those of levels 1 to 3. Every mode gives
// the bytes of level 0.
#include <immintrin.h>

#include "kernels/resize/resize_forms.h"
#include "kernels/resize/resize_image.h"

namespace px {
namespace {

// Pixels of a row taken in one step: 48 bytes, three loads of sixteen, each widened to two
// registers of eight 32-bit integers.
constexpr int32_t kGroup = 16;

// Packed rows only: runs add over the row's whole groups of pixels, eight elements at a time as
// 32-bit integers with the index of the first, and returns the pixels done.
template <typename Add> int32_t addGroups(const uint8_t *row, int32_t span, int32_t pixelStride, Add add) {
    if (pixelStride != 3) return 0;
    int32_t p = 0;
    for (; p + kGroup <= span; p += kGroup)
        for (int32_t i = 3 * p; i < 3 * (p + kGroup); i += 16) {
            const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(row + i));
            add(i, _mm256_cvtepu8_epi32(bytes));
            add(i + 8, _mm256_cvtepu8_epi32(_mm_srli_si128(bytes, 8)));
        }
    _mm256_zeroupper();
    return p;
}

void superAddRow_avx2(uint32_t *line, const uint8_t *row, int32_t span, int32_t pixelStride) {
    const int32_t p = addGroups(row, span, pixelStride, [&](int32_t i, __m256i e) {
        auto *at = reinterpret_cast<__m256i *>(line + i);
        _mm256_storeu_si256(at, _mm256_add_epi32(_mm256_loadu_si256(at), e));
    });
    superAddRow_ssse3(line + 3 * p, row + int64_t{p} * pixelStride, span - p, pixelStride);
}

void superAddRowFloat_avx2(float *line, const uint8_t *row, int32_t span, int32_t pixelStride) {
    const int32_t p = addGroups(row, span, pixelStride, [&](int32_t i, __m256i e) {
        _mm256_storeu_ps(line + i, _mm256_add_ps(_mm256_loadu_ps(line + i), _mm256_cvtepi32_ps(e)));
    });
    superAddRowFloat_ssse3(line + 3 * p, row + int64_t{p} * pixelStride, span - p, pixelStride);
}

// Each product in double, rounded to float, then added.
void superAddRowWeighted_avx2(float *line, const uint8_t *row, int32_t span, int32_t pixelStride, double weight) {
    const __m256d w = _mm256_set1_pd(weight);
    const int32_t p = addGroups(row, span, pixelStride, [&](int32_t i, __m256i e) {
        const __m128 low = _mm256_cvtpd_ps(_mm256_mul_pd(_mm256_cvtepi32_pd(_mm256_castsi256_si128(e)), w));
        const __m128 high = _mm256_cvtpd_ps(_mm256_mul_pd(_mm256_cvtepi32_pd(_mm256_extracti128_si256(e, 1)), w));
        _mm256_storeu_ps(line + i, _mm256_add_ps(_mm256_loadu_ps(line + i), _mm256_setr_m128(low, high)));
    });
    superAddRowWeighted_ssse3(line + 3 * p, row + int64_t{p} * pixelStride, span - p, pixelStride, weight);
}

}  // namespace

PxStatus superC3_avx2(const SuperJob &job) {
    static constexpr SuperPasses kPasses = {
        superAddRow_avx2,         superAddRowFloat_avx2,         superAddRowWeighted_avx2,
        superCollapseWhole_ssse3, superCollapseWholeFloat_ssse3, superCollapseFraction_ssse3,
        superStore_ssse3,         superStoreFloat_ssse3,         superIntegralCells_ssse3};
    return superEngine(kPasses, job);
}

}  // namespace px
