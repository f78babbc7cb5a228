// Level 3 of the edge-directed deinterlace: the SSSE3 form's steps (see deinterlace_edge_ssse3.cpp)
// with SSE4.1's byte blend for its two choices, one operation each instead of three. Every column
// is independent, so the bytes are the reference's.
#include <smmintrin.h>

#include "kernels/colour/deinterlace_edge.h"

namespace px {
namespace {

__m128i absDiff(__m128i a, __m128i b) { return _mm_or_si128(_mm_subs_epu8(a, b), _mm_subs_epu8(b, a)); }

// All ones where a >= b as unsigned bytes: where the larger of the two is a.
__m128i atLeast(__m128i a, __m128i b) { return _mm_cmpeq_epi8(_mm_max_epu8(a, b), a); }

__m128i load(const uint8_t *p) { return _mm_loadu_si128(reinterpret_cast<const __m128i *>(p)); }

// Columns x to x + 15, which read x - 1 to x + 16.
void sixteenColumns(const uint8_t *upper, const uint8_t *lower, uint8_t *dst, int32_t x) {
    const __m128i um = load(upper + x - 1), u0 = load(upper + x), up = load(upper + x + 1);
    const __m128i lm = load(lower + x - 1), l0 = load(lower + x), lp = load(lower + x + 1);
    const __m128i dA = absDiff(um, lp), dB = absDiff(up, lm), dV = absDiff(u0, l0);
    const __m128i risingNearer = atLeast(dA, dB);
    const __m128i vertical = atLeast(_mm_min_epu8(dA, dB), dV);
    const __m128i diagonal = _mm_blendv_epi8(_mm_avg_epu8(um, lp), _mm_avg_epu8(up, lm), risingNearer);
    const __m128i mean = _mm_blendv_epi8(diagonal, _mm_avg_epu8(u0, l0), vertical);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(dst + x), mean);
}

void deinterlaceEdgeRow_sse41(const uint8_t *upper, const uint8_t *lower, const uint8_t *base, uint8_t *dst,
                              int32_t width) {
    dst[0] = base[0];
    dst[width - 1] = base[width - 1];
    const int32_t x1 = width - 1;  // the last column, which no step may read past
    int32_t x = 1;
    for (; x + 16 <= x1; x += 16) sixteenColumns(upper, lower, dst, x);
    // The last columns as one more step that ends on x1 and computes again some interior columns
    // before them, with the same values; column 0, a copy, is never among them.
    if (x < x1 && x1 - 16 >= 1) {
        sixteenColumns(upper, lower, dst, x1 - 16);
        return;
    }
    deinterlaceEdgeColumns(upper, lower, dst, x, x1);
}

}  // namespace

PxStatus pxDeinterlaceEdge_sse41(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size,
                                 int32_t field, int32_t copyLine) {
    return deinterlaceEdgeRows(src, srcStep, dst, dstStep, size, field, copyLine, 1, deinterlaceEdgeRow_sse41);
}

}  // namespace px
