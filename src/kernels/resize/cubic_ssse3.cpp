// Levels 1 to 3 of cubic interpolation. The row pass groups the Newton sum as
// a + d1 * s + (d2 * h + d3 * c) and takes c with the float nearest 1/3 instead of dividing by 3; the
// vertical pass weighs the four rows by the Lagrange form of the same cubic; both round in float,
// so a byte may move by one where its value falls next to a half.
#include <tmmintrin.h>

#include <cstring>

#include "kernels/resize/resize_forms.h"
#include "kernels/resize/resize_image.h"

namespace px {
namespace {

struct Weights {
    __m128 s, h, c;
};

// s, h and c of four fractions, one per lane.
inline Weights weightsOf(__m128 t) {
    const __m128 s = _mm_add_ps(_mm_set1_ps(1.0f), t);
    const __m128 h = _mm_mul_ps(_mm_mul_ps(_mm_set1_ps(0.5f), t), s);
    const __m128 c = _mm_mul_ps(_mm_mul_ps(_mm_sub_ps(t, _mm_set1_ps(1.0f)), h), _mm_set1_ps(1.0f / 3.0f));
    return {s, h, c};
}

template <int lane> inline Weights broadcast(const Weights &w) {
    constexpr int pick = _MM_SHUFFLE(lane, lane, lane, lane);
    return {_mm_shuffle_ps(w.s, w.s, pick), _mm_shuffle_ps(w.h, w.h, pick), _mm_shuffle_ps(w.c, w.c, pick)};
}

// The three channels of one output column in lanes 0 to 2 (lane 3 is spare). q is the column's
// entry in a row of packed pixels; the twelve bytes of its four taps, from one pixel before q to
// two after, are loaded exactly, so no byte beyond them is read.
inline __m128 columnSample(const uint8_t *q, const Weights &w) {
    int32_t last;
    std::memcpy(&last, q + 5, sizeof last);
    const __m128i bytes =
        _mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(q - 3)), _mm_cvtsi32_si128(last));
    auto tap = [&](char first) {
        const __m128i pick = _mm_setr_epi8(first, -1, -1, -1, char(first + 1), -1, -1, -1, char(first + 2), -1, -1, -1,
                                           -1, -1, -1, -1);
        return _mm_cvtepi32_ps(_mm_shuffle_epi8(bytes, pick));
    };
    const __m128 a = tap(0), b = tap(3), d = tap(6), e = tap(9);
    const __m128 d1 = _mm_sub_ps(b, a);
    const __m128 f = _mm_sub_ps(d, b);
    const __m128 d2 = _mm_sub_ps(f, d1);
    const __m128 d3 = _mm_sub_ps(_mm_add_ps(_mm_sub_ps(_mm_setzero_ps(), _mm_add_ps(f, d)), e), d2);
    return _mm_add_ps(_mm_add_ps(a, _mm_mul_ps(d1, w.s)), _mm_add_ps(_mm_mul_ps(d2, w.h), _mm_mul_ps(d3, w.c)));
}

// Stores the three channels of a column. All but the last column of a row write their spare lane
// too, on the first sample of the next column, which that column then overwrites.
inline void storeColumn(float *out, __m128 v, bool last) {
    if (!last) {
        _mm_storeu_ps(out, v);
        return;
    }
    _mm_storel_pi(reinterpret_cast<__m64 *>(out), v);
    _mm_store_ss(out + 2, _mm_movehl_ps(v, v));
}

// The vertical pass as the Lagrange form of the same cubic through the rows at -1, 0, 1 and 2: one
// weight per row, worked out in double once per output row and rounded to float.
struct RowWeights {
    __m128 a, b, d, e;
    explicit RowWeights(float fraction) {
        const double t = fraction;
        a = _mm_set1_ps(static_cast<float>(-t * (t - 1.0) * (t - 2.0) / 6.0));
        b = _mm_set1_ps(static_cast<float>((t + 1.0) * (t - 1.0) * (t - 2.0) / 2.0));
        d = _mm_set1_ps(static_cast<float>(-(t + 1.0) * t * (t - 2.0) / 2.0));
        e = _mm_set1_ps(static_cast<float>((t + 1.0) * t * (t - 1.0) / 6.0));
    }
};

// Four samples of the vertical pass at i.
inline __m128 combineFour(int32_t i, const RowWeights &w, const float *r0, const float *r1, const float *r2,
                          const float *r3) {
    const __m128 ab = _mm_add_ps(_mm_mul_ps(_mm_loadu_ps(r0 + i), w.a), _mm_mul_ps(_mm_loadu_ps(r1 + i), w.b));
    const __m128 de = _mm_add_ps(_mm_mul_ps(_mm_loadu_ps(r2 + i), w.d), _mm_mul_ps(_mm_loadu_ps(r3 + i), w.e));
    return _mm_add_ps(ab, de);
}

// value + 0.5000001 in float, truncated; the packs saturate through 16 bits to 0 to 255.
inline __m128i roundFour(__m128 v) { return _mm_cvttps_epi32(_mm_add_ps(v, _mm_set1_ps(0.5000001f))); }

}  // namespace

void pxCubicRow_ssse3(const uint8_t *row, int32_t dstW, int32_t pixelStride, const int32_t *xIndex,
                      const float *xFraction, float *out) {
    if (pixelStride != 3) {  // pxResizeC3 packs its pixels; other strides take the plain pass
        pxCubicRow(row, dstW, pixelStride, xIndex, xFraction, out);
        return;
    }
    int32_t j = 0;
    for (; j + 4 <= dstW; j += 4) {
        const Weights w = weightsOf(_mm_loadu_ps(xFraction + j));
        storeColumn(out + 3 * j, columnSample(row + xIndex[j], broadcast<0>(w)), false);
        storeColumn(out + 3 * j + 3, columnSample(row + xIndex[j + 1], broadcast<1>(w)), false);
        storeColumn(out + 3 * j + 6, columnSample(row + xIndex[j + 2], broadcast<2>(w)), false);
        storeColumn(out + 3 * j + 9, columnSample(row + xIndex[j + 3], broadcast<3>(w)), j + 4 == dstW);
    }
    for (; j < dstW; ++j)
        storeColumn(out + 3 * j, columnSample(row + xIndex[j], weightsOf(_mm_set1_ps(xFraction[j]))), j + 1 == dstW);
}

void pxCubicCombine_ssse3(uint8_t *dst, int32_t count, float t, const float *r0, const float *r1, const float *r2,
                          const float *r3) {
    const RowWeights w(t);
    int32_t i = 0;
    for (; i + 8 <= count; i += 8) {
        const __m128i words = _mm_packs_epi32(roundFour(combineFour(i, w, r0, r1, r2, r3)),
                                              roundFour(combineFour(i + 4, w, r0, r1, r2, r3)));
        _mm_storel_epi64(reinterpret_cast<__m128i *>(dst + i), _mm_packus_epi16(words, words));
    }
    for (; i + 4 <= count; i += 4) {
        const __m128i words = _mm_packs_epi32(roundFour(combineFour(i, w, r0, r1, r2, r3)), _mm_setzero_si128());
        const int32_t bytes = _mm_cvtsi128_si32(_mm_packus_epi16(words, words));
        std::memcpy(dst + i, &bytes, sizeof bytes);
    }
    if (i < count) pxCubicCombine(dst + i, count - i, t, r0 + i, r1 + i, r2 + i, r3 + i);
}

void pxCubicImage_ssse3(const ResizeJob &job) { cubicWalk({pxCubicRow_ssse3, pxCubicCombine_ssse3}, job); }

}  // namespace px
