// Levels 1 and 2 of the edge-directed deinterlace: 16 columns at a time, the plain rule at a row's
// ends. Every column is independent, so the bytes are the reference's.
#include <tmmintrin.h>

#include "kernels/colour/deinterlace_edge.h"

namespace px {
namespace {

__m128i absDiff(__m128i a, __m128i b) { return _mm_or_si128(_mm_subs_epu8(a, b), _mm_subs_epu8(b, a)); }

// All ones where a >= b as unsigned bytes: where the larger of the two is a.
__m128i atLeast(__m128i a, __m128i b) { return _mm_cmpeq_epi8(_mm_max_epu8(a, b), a); }

// ifSet where mask is all ones, otherwise where it is 0.
__m128i select(__m128i mask, __m128i ifSet, __m128i otherwise) {
    return _mm_or_si128(_mm_and_si128(mask, ifSet), _mm_andnot_si128(mask, otherwise));
}

__m128i load(const uint8_t *p) { return _mm_loadu_si128(reinterpret_cast<const __m128i *>(p)); }

void deinterlaceEdgeRow_ssse3(const uint8_t *upper, const uint8_t *lower, const uint8_t *base, uint8_t *dst,
                              int32_t width) {
    dst[0] = base[0];
    dst[width - 1] = base[width - 1];
    deinterlaceEdgeColumns_ssse3(upper, lower, dst, 1, width - 1);
}

}  // namespace

void deinterlaceEdgeColumns_ssse3(const uint8_t *upper, const uint8_t *lower, uint8_t *dst, int32_t x, int32_t x1) {
    // Columns x to x + 15 read x - 1 to x + 16, which must not pass x1, the row's last column.
    const auto sixteen = [&](int32_t at) {
        const __m128i um = load(upper + at - 1), u0 = load(upper + at), up = load(upper + at + 1);
        const __m128i lm = load(lower + at - 1), l0 = load(lower + at), lp = load(lower + at + 1);
        const __m128i dA = absDiff(um, lp), dB = absDiff(up, lm), dV = absDiff(u0, l0);
        // The nearer diagonal, the rising one on a tie, against the vertical, which wins its ties:
        // the plain rule's two steps in the other order.
        const __m128i risingNearer = atLeast(dA, dB);
        const __m128i vertical = atLeast(_mm_min_epu8(dA, dB), dV);
        // The byte average rounds half up, as (p + q + 1) >> 1 does.
        const __m128i diagonal = select(risingNearer, _mm_avg_epu8(up, lm), _mm_avg_epu8(um, lp));
        const __m128i mean = select(vertical, _mm_avg_epu8(u0, l0), diagonal);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(dst + at), mean);
    };
    for (; x + 16 <= x1; x += 16) sixteen(x);
    // The last columns as one more step that ends on x1 and computes again some interior columns
    // before them, with the same values; column 0, a copy, is never among them.
    if (x < x1 && x1 - 16 >= 1) {
        sixteen(x1 - 16);
        return;
    }
    deinterlaceEdgeColumns(upper, lower, dst, x, x1);
}

PxStatus pxDeinterlaceEdge_ssse3(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size,
                                 int32_t field, int32_t copyLine) {
    return deinterlaceEdgeRows(src, srcStep, dst, dstStep, size, field, copyLine, 1, deinterlaceEdgeRow_ssse3);
}

}  // namespace px
