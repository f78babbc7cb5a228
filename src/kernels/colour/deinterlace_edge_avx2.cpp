// Level 4 of the edge-directed deinterlace: 32 columns at a time, then the level 3 form for the
// rest of the row. Every column is independent, so the bytes are the reference's.
#include <immintrin.h>

#include "kernels/colour/deinterlace_edge.h"

namespace px {
namespace {

__m256i absDiff(__m256i a, __m256i b) { return _mm256_or_si256(_mm256_subs_epu8(a, b), _mm256_subs_epu8(b, a)); }

// All ones where a >= b as unsigned bytes: where the larger of the two is a.
__m256i atLeast(__m256i a, __m256i b) { return _mm256_cmpeq_epi8(_mm256_max_epu8(a, b), a); }

__m256i load(const uint8_t *p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(p)); }

void deinterlaceEdgeRow_avx2(const uint8_t *upper, const uint8_t *lower, const uint8_t *base, uint8_t *dst,
                             int32_t width) {
    dst[0] = base[0];
    dst[width - 1] = base[width - 1];
    int32_t x = 1;
    // Columns x to x + n - 1 read x - 1 to x + n, which must not pass the last column, width - 1.
    for (; x + 32 <= width - 1; x += 32) {
        const __m256i um = load(upper + x - 1), u0 = load(upper + x), up = load(upper + x + 1);
        const __m256i lm = load(lower + x - 1), l0 = load(lower + x), lp = load(lower + x + 1);
        const __m256i dA = absDiff(um, lp), dB = absDiff(up, lm), dV = absDiff(u0, l0);
        // The nearer diagonal, the rising one on a tie, against the vertical, which wins its ties.
        const __m256i risingNearer = atLeast(dA, dB);
        const __m256i vertical = atLeast(_mm256_min_epu8(dA, dB), dV);
        const __m256i diagonal = _mm256_blendv_epi8(_mm256_avg_epu8(um, lp), _mm256_avg_epu8(up, lm), risingNearer);
        const __m256i mean = _mm256_blendv_epi8(diagonal, _mm256_avg_epu8(u0, l0), vertical);
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(dst + x), mean);
    }
    // The rest, 16 columns at a time and then one by one, as levels 1 and 2 do it.
    deinterlaceEdgeColumns_ssse3(upper, lower, dst, x, width - 1);
}

}  // namespace

PxStatus pxDeinterlaceEdge_avx2(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size,
                                int32_t field, int32_t copyLine) {
    return deinterlaceEdgeRows(src, srcStep, dst, dstStep, size, field, copyLine, 1, deinterlaceEdgeRow_avx2);
}

}  // namespace px
