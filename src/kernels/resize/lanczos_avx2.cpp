// Level 4 of Lanczos interpolation: the sums of levels 1 to 3, in their order, with two interior
// columns or eight samples to a 256-bit register. The weights are those of levels 1 to 3.
#include <immintrin.h>

#include <cstring>

#include "kernels/resize/resize_forms.h"
#include "kernels/resize/resize_image.h"

namespace px {
namespace {

// Bytes q - 6 to q + 9 of a column and, in the low four bytes of the second, q + 8 to q + 11: the
// six taps exactly.
struct TapBytes {
    __m128i body, last;
};

inline TapBytes tapBytes(const uint8_t *q) {
    int32_t tail;
    std::memcpy(&tail, q + 8, sizeof tail);
    return {_mm_loadu_si128(reinterpret_cast<const __m128i *>(q - 6)), _mm_cvtsi32_si128(tail)};
}

inline __m256 tap(__m256i from, char first) {
    const __m256i pick = _mm256_setr_epi8(first, -1, -1, -1, char(first + 1), -1, -1, -1, char(first + 2), -1, -1, -1,
                                          -1, -1, -1, -1, first, -1, -1, -1, char(first + 1), -1, -1, -1,
                                          char(first + 2), -1, -1, -1, -1, -1, -1, -1);
    return _mm256_cvtepi32_ps(_mm256_shuffle_epi8(from, pick));
}

template <int lane> inline __m256 broadcast(__m256 v) {
    return _mm256_shuffle_ps(v, v, _MM_SHUFFLE(lane, lane, lane, lane));
}

// Interior columns j and j + 1, three channels each in lanes 0 to 2 and 4 to 6.
inline __m256 pairSample(const uint8_t *row, const int32_t *xIndex, const float *w) {
    const TapBytes a = tapBytes(row + xIndex[0]), b = tapBytes(row + xIndex[1]);
    const __m256i body = _mm256_setr_m128i(a.body, b.body);
    const __m256i last = _mm256_setr_m128i(a.last, b.last);
    const __m256 low = _mm256_setr_m128(_mm_loadu_ps(w), _mm_loadu_ps(w + 6));  // w0 to w3 of each
    const __m256 high =
        _mm256_setr_m128(_mm_loadl_pi(_mm_setzero_ps(), reinterpret_cast<const __m64 *>(w + 4)),
                         _mm_loadl_pi(_mm_setzero_ps(), reinterpret_cast<const __m64 *>(w + 10)));  // w4, w5
    __m256 sum = _mm256_add_ps(_mm256_mul_ps(tap(body, 0), broadcast<0>(low)), _mm256_mul_ps(tap(body, 3), broadcast<1>(low)));
    sum = _mm256_add_ps(sum, _mm256_mul_ps(tap(body, 6), broadcast<2>(low)));
    sum = _mm256_add_ps(sum, _mm256_mul_ps(tap(body, 9), broadcast<3>(low)));
    sum = _mm256_add_ps(sum, _mm256_mul_ps(tap(body, 12), broadcast<0>(high)));
    return _mm256_add_ps(sum, _mm256_mul_ps(tap(last, 1), broadcast<1>(high)));
}

void pxLanczosRow_avx2(const uint8_t *row, int32_t pixelStride, const int32_t *xIndex, const float *xCoefficients,
                       float *buffer, int32_t dstW, int32_t rectX, int32_t colsLeft) {
    int32_t j = 0;
    if (pixelStride == 3) {
        // The six samples of a pair side by side; the two spare lanes land on the next column's first
        // samples, which that column overwrites, so the row's last pair is left to the narrower form.
        const __m256i pack = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7);
        for (; j + 2 < dstW; j += 2) {
            if (!lanczosInterior_ssse3(xIndex[j], rectX, colsLeft) ||
                !lanczosInterior_ssse3(xIndex[j + 1], rectX, colsLeft)) {
                pxLanczosRow_ssse3(row, pixelStride, xIndex + j, xCoefficients + 6 * j, buffer + 3 * j, 2, rectX,
                                   colsLeft);
                continue;
            }
            _mm256_storeu_ps(buffer + 3 * j,
                             _mm256_permutevar8x32_ps(pairSample(row, xIndex + j, xCoefficients + 6 * j), pack));
        }
    }
    _mm256_zeroupper();
    pxLanczosRow_ssse3(row, pixelStride, xIndex + j, xCoefficients + 6 * j, buffer + 3 * j, dstW - j, rectX, colsLeft);
}

void pxLanczosCombine_avx2(uint8_t *dst, int32_t count, const float *coefficients, const float *const rows[6]) {
    __m256 w[6];
    for (int k = 0; k < 6; ++k) w[k] = _mm256_set1_ps(coefficients[k]);
    const __m256 half = _mm256_set1_ps(0.5000001f);
    int32_t i = 0;
    for (; i + 8 <= count; i += 8) {
        __m256 sum =
            _mm256_add_ps(_mm256_mul_ps(w[0], _mm256_loadu_ps(rows[0] + i)), _mm256_mul_ps(w[1], _mm256_loadu_ps(rows[1] + i)));
        for (int k = 2; k < 6; ++k) sum = _mm256_add_ps(sum, _mm256_mul_ps(w[k], _mm256_loadu_ps(rows[k] + i)));
        const __m256i n = _mm256_cvttps_epi32(_mm256_add_ps(sum, half));
        const __m128i words = _mm_packs_epi32(_mm256_castsi256_si128(n), _mm256_extracti128_si256(n, 1));
        _mm_storel_epi64(reinterpret_cast<__m128i *>(dst + i), _mm_packus_epi16(words, words));
    }
    _mm256_zeroupper();
    if (i < count) {
        const float *const rest[6] = {rows[0] + i, rows[1] + i, rows[2] + i, rows[3] + i, rows[4] + i, rows[5] + i};
        pxLanczosCombine_ssse3(dst + i, count - i, coefficients, rest);
    }
}

}  // namespace

void pxLanczosImage_avx2(const ResizeJob &job) { lanczosWalk({pxLanczosRow_avx2, pxLanczosCombine_avx2}, job); }

}  // namespace px
