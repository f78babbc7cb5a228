// Level 4 of cubic interpolation: the arithmetic of levels 1 to 3 (the same grouping, the float
// nearest 1/3, rounding in float) with two output columns, or eight samples, to a 256-bit register.
#include <immintrin.h>

#include <cstring>

#include "kernels/resize/resize_forms.h"
#include "kernels/resize/resize_image.h"

namespace px {
namespace {

struct Weights {
    __m256 s, h, c;
};

inline Weights weightsOf(__m256 t) {
    const __m256 s = _mm256_add_ps(_mm256_set1_ps(1.0f), t);
    const __m256 h = _mm256_mul_ps(_mm256_mul_ps(_mm256_set1_ps(0.5f), t), s);
    const __m256 c =
        _mm256_mul_ps(_mm256_mul_ps(_mm256_sub_ps(t, _mm256_set1_ps(1.0f)), h), _mm256_set1_ps(1.0f / 3.0f));
    return {s, h, c};
}

// The twelve bytes of a column's four taps, from one pixel before q to two after, read exactly.
inline __m128i tapBytes(const uint8_t *q) {
    int32_t last;
    std::memcpy(&last, q + 5, sizeof last);
    return _mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(q - 3)), _mm_cvtsi32_si128(last));
}

// Columns j and j + 1, three channels each in lanes 0 to 2 and 4 to 6.
inline __m256 pairSample(const uint8_t *row, const int32_t *xIndex, const float *xFraction) {
    const __m256i bytes = _mm256_inserti128_si256(_mm256_castsi128_si256(tapBytes(row + xIndex[0])),
                                                  tapBytes(row + xIndex[1]), 1);
    auto tap = [&](char first) {
        const __m256i pick = _mm256_setr_epi8(
            first, -1, -1, -1, char(first + 1), -1, -1, -1, char(first + 2), -1, -1, -1, -1, -1, -1, -1, first, -1, -1,
            -1, char(first + 1), -1, -1, -1, char(first + 2), -1, -1, -1, -1, -1, -1, -1);
        return _mm256_cvtepi32_ps(_mm256_shuffle_epi8(bytes, pick));
    };
    const Weights w = weightsOf(_mm256_setr_m128(_mm_set1_ps(xFraction[0]), _mm_set1_ps(xFraction[1])));
    const __m256 a = tap(0), b = tap(3), d = tap(6), e = tap(9);
    const __m256 d1 = _mm256_sub_ps(b, a);
    const __m256 f = _mm256_sub_ps(d, b);
    const __m256 d2 = _mm256_sub_ps(f, d1);
    const __m256 d3 = _mm256_sub_ps(_mm256_add_ps(_mm256_sub_ps(_mm256_setzero_ps(), _mm256_add_ps(f, d)), e), d2);
    return _mm256_add_ps(_mm256_add_ps(a, _mm256_mul_ps(d1, w.s)),
                         _mm256_add_ps(_mm256_mul_ps(d2, w.h), _mm256_mul_ps(d3, w.c)));
}

void pxCubicRow_avx2(const uint8_t *row, int32_t dstW, int32_t pixelStride, const int32_t *xIndex,
                     const float *xFraction, float *out) {
    int32_t j = 0;
    if (pixelStride == 3) {
        // The six samples of a pair side by side; the two spare lanes land on the next pair's first
        // samples, which it overwrites, so the row's last pair is left to the narrower form.
        const __m256i pack = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7);
        for (; j + 2 < dstW; j += 2)
            _mm256_storeu_ps(out + 3 * j,
                             _mm256_permutevar8x32_ps(pairSample(row, xIndex + j, xFraction + j), pack));
    }
    _mm256_zeroupper();
    pxCubicRow_ssse3(row, dstW - j, pixelStride, xIndex + j, xFraction + j, out + 3 * j);
}

inline __m256 combineEight(int32_t i, const Weights &w, const float *r0, const float *r1, const float *r2,
                           const float *r3) {
    const __m256 a = _mm256_loadu_ps(r0 + i), b = _mm256_loadu_ps(r1 + i), d = _mm256_loadu_ps(r2 + i),
                 e = _mm256_loadu_ps(r3 + i);
    const __m256 d1 = _mm256_sub_ps(b, a);
    const __m256 d2 = _mm256_sub_ps(_mm256_sub_ps(d, d1), b);
    const __m256 d3 = _mm256_add_ps(_mm256_sub_ps(_mm256_sub_ps(_mm256_sub_ps(e, d2), d), d), b);
    return _mm256_add_ps(_mm256_add_ps(a, _mm256_mul_ps(d1, w.s)),
                         _mm256_add_ps(_mm256_mul_ps(d2, w.h), _mm256_mul_ps(d3, w.c)));
}

void pxCubicCombine_avx2(uint8_t *dst, int32_t count, float t, const float *r0, const float *r1, const float *r2,
                         const float *r3) {
    const Weights w = weightsOf(_mm256_set1_ps(t));
    const __m256 half = _mm256_set1_ps(0.5000001f);
    int32_t i = 0;
    for (; i + 8 <= count; i += 8) {
        const __m256i n = _mm256_cvttps_epi32(_mm256_add_ps(combineEight(i, w, r0, r1, r2, r3), half));
        const __m128i words = _mm_packs_epi32(_mm256_castsi256_si128(n), _mm256_extracti128_si256(n, 1));
        _mm_storel_epi64(reinterpret_cast<__m128i *>(dst + i), _mm_packus_epi16(words, words));
    }
    _mm256_zeroupper();
    if (i < count) pxCubicCombine_ssse3(dst + i, count - i, t, r0 + i, r1 + i, r2 + i, r3 + i);
}

}  // namespace

void pxCubicImage_avx2(const ResizeJob &job) { cubicWalk({pxCubicRow_avx2, pxCubicCombine_avx2}, job); }

}  // namespace px
