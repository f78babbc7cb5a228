// Levels 1 to 3 of Lanczos interpolation. The weights and both passes keep the plain forms' order
// of operations, so the float values are theirs; only the store rounds in float (value plus
// 0.5000001 as a float), which may move a byte next to a half by one.
#include <tmmintrin.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "kernels/resize/resize_forms.h"
#include "kernels/resize/planned_groups.h"
#include "kernels/resize/resize_image.h"

namespace px {
namespace {

template <int lane> inline __m128 broadcast(__m128 v) {
    return _mm_shuffle_ps(v, v, _MM_SHUFFLE(lane, lane, lane, lane));
}

// Three channels of one interior column in lanes 0 to 2 (lane 3 is spare): the eighteen bytes of
// its six taps, from two pixels before q to three after, come from one sixteen-byte load and one of
// four bytes that ends on the last tap, so no byte beyond them is read.
inline __m128 columnSample(const uint8_t *q, const float *w) {
    int32_t tail;
    std::memcpy(&tail, q + 8, sizeof tail);
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(q - 6));
    const __m128i lastBytes = _mm_cvtsi32_si128(tail);
    auto tap = [](__m128i from, char first) {
        const __m128i pick = _mm_setr_epi8(first, -1, -1, -1, char(first + 1), -1, -1, -1, char(first + 2), -1, -1, -1,
                                           -1, -1, -1, -1);
        return _mm_cvtepi32_ps(_mm_shuffle_epi8(from, pick));
    };
    const __m128 low = _mm_loadu_ps(w);  // w0 to w3
    const __m128 high = _mm_loadl_pi(_mm_setzero_ps(), reinterpret_cast<const __m64 *>(w + 4));  // w4, w5
    __m128 sum = _mm_add_ps(_mm_mul_ps(tap(bytes, 0), broadcast<0>(low)), _mm_mul_ps(tap(bytes, 3), broadcast<1>(low)));
    sum = _mm_add_ps(sum, _mm_mul_ps(tap(bytes, 6), broadcast<2>(low)));
    sum = _mm_add_ps(sum, _mm_mul_ps(tap(bytes, 9), broadcast<3>(low)));
    sum = _mm_add_ps(sum, _mm_mul_ps(tap(bytes, 12), broadcast<0>(high)));
    return _mm_add_ps(sum, _mm_mul_ps(tap(lastBytes, 1), broadcast<1>(high)));
}

// Four samples of the vertical pass at i, summed in the plain form's order.
inline __m128 combineFour(int32_t i, const __m128 w[6], const float *const rows[6]) {
    __m128 sum = _mm_add_ps(_mm_mul_ps(w[0], _mm_loadu_ps(rows[0] + i)), _mm_mul_ps(w[1], _mm_loadu_ps(rows[1] + i)));
    for (int k = 2; k < 6; ++k) sum = _mm_add_ps(sum, _mm_mul_ps(w[k], _mm_loadu_ps(rows[k] + i)));
    return sum;
}

// value + 0.5000001 in float, truncated; the packs saturate through 16 bits to 0 to 255.
inline __m128i roundFour(__m128 v) { return _mm_cvttps_epi32(_mm_add_ps(v, _mm_set1_ps(0.5000001f))); }

}  // namespace

bool lanczosInterior_ssse3(int32_t at, int32_t rectX, int32_t colsLeft) {
    // Columns 2 to the fourth from the image's end: all six taps lie in the image, and none of the
    // edge rules applies.
    return int64_t{at} >= (2 - int64_t{rectX}) * 3 && int64_t{at} <= (int64_t{colsLeft} - 4) * 3;
}

void pxLanczosRow_ssse3(const uint8_t *row, int32_t pixelStride, const int32_t *xIndex, const float *xCoefficients,
                        float *buffer, int32_t dstW, int32_t rectX, int32_t colsLeft) {
    if (pixelStride != 3) {  // pxResizeC3 packs its pixels; other strides take the plain pass
        pxLanczosRow(row, pixelStride, xIndex, xCoefficients, buffer, dstW, rectX, colsLeft);
        return;
    }
    for (int32_t j = 0; j < dstW; ++j) {
        float *out = buffer + 3 * j;
        if (!lanczosInterior_ssse3(xIndex[j], rectX, colsLeft)) {
            pxLanczosRow(row, pixelStride, xIndex + j, xCoefficients + 6 * j, out, 1, rectX, colsLeft);
            continue;
        }
        const __m128 v = columnSample(row + xIndex[j], xCoefficients + 6 * j);
        if (j + 1 < dstW) {
            _mm_storeu_ps(out, v);  // the spare lane falls on the next column's first sample
        } else {
            _mm_storel_pi(reinterpret_cast<__m64 *>(out), v);
            _mm_store_ss(out + 2, _mm_movehl_ps(v, v));
        }
    }
}

void pxLanczosCombine_ssse3(uint8_t *dst, int32_t count, const float *coefficients, const float *const rows[6]) {
    __m128 w[6];
    for (int k = 0; k < 6; ++k) w[k] = _mm_set1_ps(coefficients[k]);
    int32_t i = 0;
    for (; i + 8 <= count; i += 8) {
        const __m128i words = _mm_packs_epi32(roundFour(combineFour(i, w, rows)), roundFour(combineFour(i + 4, w, rows)));
        _mm_storel_epi64(reinterpret_cast<__m128i *>(dst + i), _mm_packus_epi16(words, words));
    }
    for (; i + 4 <= count; i += 4) {
        const __m128i words = _mm_packs_epi32(roundFour(combineFour(i, w, rows)), _mm_setzero_si128());
        const int32_t bytes = _mm_cvtsi128_si32(_mm_packus_epi16(words, words));
        std::memcpy(dst + i, &bytes, sizeof bytes);
    }
    if (i < count) {
        const float *const rest[6] = {rows[0] + i, rows[1] + i, rows[2] + i, rows[3] + i, rows[4] + i, rows[5] + i};
        pxLanczosCombine(dst + i, count - i, coefficients, rest);
    }
}

// Four fractions at a time, one per lane, in the plain form's order: so the weights are the plain
// form's to the bit. The distance is limited to 3.0 instead of tested; entry 301 of the kernel is
// there for the interpolation at 3.0, and gives the 0 that the test would.
void pxResizeCoefficients_ssse3(const float *fractions, int32_t count, float *coefficients, const float *kernel) {
    const __m128 magnitude = _mm_castsi128_ps(_mm_set1_epi32(0x7FFFFFFF));
    int32_t n = 0;
    for (; n + 4 <= count; n += 4) {
        const __m128 first = _mm_sub_ps(_mm_set1_ps(-2.0f), _mm_loadu_ps(fractions + n));
        __m128 w[6];
        for (int k = 0; k < 6; ++k) {
            // d0 + k in float is the double sum rounded to float, and so is |d| * 100.
            const __m128 d = _mm_add_ps(first, _mm_set1_ps(float(k)));
            const __m128 u = _mm_mul_ps(_mm_min_ps(_mm_and_ps(d, magnitude), _mm_set1_ps(3.0f)), _mm_set1_ps(100.0f));
            const __m128i i = _mm_cvttps_epi32(u);
            alignas(16) int32_t at[4];
            alignas(16) float k0[4], k1[4];
            _mm_store_si128(reinterpret_cast<__m128i *>(at), i);
            for (int l = 0; l < 4; ++l) {
                k0[l] = kernel[at[l]];
                k1[l] = kernel[at[l] + 1];
            }
            const __m128 below = _mm_load_ps(k0);
            w[k] = _mm_add_ps(_mm_mul_ps(_mm_sub_ps(_mm_load_ps(k1), below), _mm_sub_ps(u, _mm_cvtepi32_ps(i))), below);
        }
        __m128 sum = _mm_add_ps(w[0], w[1]);
        for (int k = 2; k < 6; ++k) sum = _mm_add_ps(sum, w[k]);
        for (__m128 &v : w) v = _mm_div_ps(v, sum);
        // Lanes are fractions; the table wants the six of each fraction side by side.
        _MM_TRANSPOSE4_PS(w[0], w[1], w[2], w[3]);
        const __m128 tail01 = _mm_unpacklo_ps(w[4], w[5]), tail23 = _mm_unpackhi_ps(w[4], w[5]);
        float *out = coefficients + 6 * n;
        for (int l = 0; l < 4; ++l) _mm_storeu_ps(out + 6 * l, w[l]);
        _mm_storel_pi(reinterpret_cast<__m64 *>(out + 4), tail01);
        _mm_storeh_pi(reinterpret_cast<__m64 *>(out + 10), tail01);
        _mm_storel_pi(reinterpret_cast<__m64 *>(out + 16), tail23);
        _mm_storeh_pi(reinterpret_cast<__m64 *>(out + 22), tail23);
    }
    if (n < count) pxResizeCoefficients(fractions + n, count - n, coefficients + 6 * n, kernel);
}

namespace {

// The row pass in output order: four samples (three to a column) in the lanes of one register, each
// lane with its own column's six weights and taps. Taps 0 to 2 come by byte shuffles from one load,
// and taps 3 to 5, nine bytes on, by the same shuffles from a load nine bytes on; the lanes add in
// the plain pass's order, so the floats are level 0's. Groups with a column that an edge rule
// reaches, or whose taps spread too far, take the plain pass.
struct LanczosPlan {
    LanePlan lanes;  // taps 0, 1 and 2; the six weights of each lane
    int32_t dstW, rectX, colsLeft;
    const int32_t *xIndex;
    const float *xCoefficients;
};

void *makeLanczosPlan(const ResizeJob &job) {
    const LanePlanBlock at(job, sizeof(LanczosPlan), 6, 3);
    if (!at.block) return nullptr;
    const size_t groups = at.groups;
    auto *weights = reinterpret_cast<__m128 *>(at.block + at.weightsAt);
    LaneTables tables(at.block + at.tablesAt, groups, 3);
    // The image's row ends 3 * colsLeft bytes from the rectangle's first pixel; no load passes it.
    const int64_t end = 3 * int64_t{job.colsLeft};
    for (size_t g = 0; g < groups; ++g) {
        int64_t first[4];  // tap 0 of each lane; the others follow three bytes apart
        alignas(16) float w[6][4];
        bool interior = true;
        for (int32_t lane = 0; lane < 4; ++lane) {
            const auto sample = static_cast<int32_t>(4 * g) + lane;
            const int32_t column = sample / 3;
            interior = interior && lanczosInterior_ssse3(job.xIndex[column], job.rectX, job.colsLeft);
            first[lane] = int64_t{job.xIndex[column]} + sample % 3 - 6;
            for (int32_t t = 0; t < 6; ++t) w[t][lane] = job.xCoefficients[6 * column + t];
        }
        for (int32_t t = 0; t < 6; ++t) weights[6 * g + t] = _mm_load_ps(w[t]);
        // Two loads, the second nine bytes on: 25 bytes from the group's least first tap.
        tables.place(static_cast<int32_t>(g), first, interior, 25, end);
    }
    *reinterpret_cast<LanczosPlan *>(at.block) = {closeLanes(tables, weights, 6, groups), job.dstW, job.rectX,
                                                  job.colsLeft, job.xIndex, job.xCoefficients};
    return at.block;
}

void lanczosRowPlanned(const uint8_t *row, const void *planBlock, float *out) {
    const LanczosPlan &plan = *static_cast<const LanczosPlan *>(planBlock);
    float *__restrict samples = out;
    const auto common = [&](const uint8_t *at, const __m128i *tap, const __m128 *w, int32_t g) {
        const __m128i near = _mm_loadu_si128(reinterpret_cast<const __m128i *>(at));
        const __m128i far = _mm_loadu_si128(reinterpret_cast<const __m128i *>(at + 9));
        const auto product = [&](__m128i bytes, int32_t t) {
            return _mm_mul_ps(_mm_cvtepi32_ps(_mm_shuffle_epi8(bytes, tap[t % 3])), w[t]);
        };
        __m128 sum = _mm_add_ps(product(near, 0), product(near, 1));
        sum = _mm_add_ps(sum, product(near, 2));
        sum = _mm_add_ps(sum, product(far, 3));
        sum = _mm_add_ps(sum, product(far, 4));
        _mm_storeu_ps(samples + 4 * g, _mm_add_ps(sum, product(far, 5)));
    };
    const auto listed = [&](int32_t g) {
        // The group's columns by the plain pass, whose floats these are; its neighbours' samples are
        // written again, alike.
        const int32_t c = 4 * g / 3, last = (4 * g + 3) / 3;
        pxLanczosRow(row, 3, plan.xIndex + c, plan.xCoefficients + 6 * c, samples + 3 * c, last - c + 1, plan.rectX,
                     plan.colsLeft);
    };
    runLanes(plan.lanes, row, common, listed);
    const int32_t c = 4 * plan.lanes.groups / 3;
    if (c < plan.dstW)
        pxLanczosRow(row, 3, plan.xIndex + c, plan.xCoefficients + 6 * c, samples + 3 * c, plan.dstW - c, plan.rectX,
                     plan.colsLeft);
}

}  // namespace

void pxLanczosImage_ssse3(const ResizeJob &job) {
    // Without memory for the plan, the columns go one to a register: slower, the same floats.
    void *plan = makeLanczosPlan(job);
    lanczosWalk({pxLanczosRow_ssse3, pxLanczosCombine_ssse3, lanczosRowPlanned, plan}, job);
    pxFree(plan);
}

}  // namespace px
