// Levels 1 to 3 of cubic interpolation. The row pass works four samples in output order with the
// plain pass's arithmetic, so its floats are level 0's; where its plan cannot be had, or a group's
// taps spread past a load, columns go one to a register with the Newton sum grouped as
// a + d1 * s + (d2 * h + d3 * c) and c taken with the float nearest 1/3. The vertical pass weighs the
// four rows by the Lagrange form of the same cubic. Both round in float, so a byte may move by one
// where its value falls next to a half.
#include <tmmintrin.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "kernels/resize/resize_forms.h"
#include "kernels/resize/planned_groups.h"
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

namespace {

// The row pass in output order: four samples (three to a column) in the lanes of one register,
// each lane with its own column's weights, worked out as the plain pass works them out, and its own
// taps, gathered by a byte shuffle per tap from one load; the lanes then do the plain pass's
// arithmetic in its order, so the floats are level 0's. The shuffles depend only on how the
// group's columns and channels fall, which a few patterns cover; the plan keeps those once.
struct CubicPlan {
    LanePlan lanes;  // taps a, b, d and e; s, h and c of each lane
    int32_t dstW;
    const int32_t *xIndex;
    const float *xFraction;
};

void *makeCubicPlan(const ResizeJob &job) {
    const int32_t dstW = job.dstW;
    const LanePlanBlock at(job, sizeof(CubicPlan), 3, 4);
    if (!at.block) return nullptr;
    const size_t groups = at.groups;
    auto *weights = reinterpret_cast<__m128 *>(at.block + at.weightsAt);
    LaneTables tables(at.block + at.tablesAt, groups, 4);
    // The plain pass reads up to two pixels after the last column's entry.
    const int64_t end = int64_t{job.xIndex[dstW - 1]} + 9;
    for (size_t g = 0; g < groups; ++g) {
        int64_t first[4];  // tap a of each lane; b, d and e follow three bytes apart
        alignas(16) float s[4], h[4], c[4];
        for (int32_t lane = 0; lane < 4; ++lane) {
            const auto sample = static_cast<int32_t>(4 * g) + lane;
            const int32_t column = sample / 3;
            first[lane] = int64_t{job.xIndex[column]} + sample % 3 - 3;
            const float t = job.xFraction[column];
            s[lane] = 1.0f + t;
            h[lane] = (0.5f * t) * s[lane];
            c[lane] = ((t - 1.0f) * h[lane]) / 3.0f;
        }
        weights[3 * g] = _mm_load_ps(s);
        weights[3 * g + 1] = _mm_load_ps(h);
        weights[3 * g + 2] = _mm_load_ps(c);
        tables.place(static_cast<int32_t>(g), first, true, 16, end);
    }
    *reinterpret_cast<CubicPlan *>(at.block) = {closeLanes(tables, weights, 3, groups), dstW, job.xIndex,
                                                job.xFraction};
    return at.block;
}

void cubicRowPlanned(const uint8_t *row, const void *planBlock, float *out) {
    const CubicPlan &plan = *static_cast<const CubicPlan *>(planBlock);
    float *__restrict samples = out;
    const auto common = [&](const uint8_t *at, const __m128i *tap, const __m128 *w, int32_t g) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(at));
        const __m128 a = _mm_cvtepi32_ps(_mm_shuffle_epi8(bytes, tap[0]));
        const __m128 b = _mm_cvtepi32_ps(_mm_shuffle_epi8(bytes, tap[1]));
        const __m128 d = _mm_cvtepi32_ps(_mm_shuffle_epi8(bytes, tap[2]));
        const __m128 e = _mm_cvtepi32_ps(_mm_shuffle_epi8(bytes, tap[3]));
        const __m128 d1 = _mm_sub_ps(b, a);
        const __m128 f = _mm_sub_ps(d, b);
        const __m128 d2 = _mm_sub_ps(f, d1);
        const __m128 d3 = _mm_sub_ps(_mm_add_ps(_mm_sub_ps(_mm_setzero_ps(), _mm_add_ps(f, d)), e), d2);
        _mm_storeu_ps(samples + 4 * g, _mm_add_ps(_mm_add_ps(_mm_add_ps(a, _mm_mul_ps(d1, w[0])), _mm_mul_ps(d2, w[1])),
                                                  _mm_mul_ps(d3, w[2])));
    };
    const auto listed = [&](int32_t g) {
        // The group's columns by the plain pass, whose floats these are; its neighbours' samples are
        // written again, alike.
        const int32_t c = 4 * g / 3, last = (4 * g + 3) / 3;
        pxCubicRow(row, last - c + 1, 3, plan.xIndex + c, plan.xFraction + c, samples + 3 * c);
    };
    runLanes(plan.lanes, row, common, listed);
    const int32_t c = 4 * plan.lanes.groups / 3;
    if (c < plan.dstW) pxCubicRow(row, plan.dstW - c, 3, plan.xIndex + c, plan.xFraction + c, samples + 3 * c);
}

}  // namespace

void pxCubicImage_ssse3(const ResizeJob &job) {
    // Without memory for the plan, the columns go one to a register: slower, within the same bound.
    void *plan = makeCubicPlan(job);
    cubicWalk({pxCubicRow_ssse3, pxCubicCombine_ssse3, cubicRowPlanned, plan}, job);
    pxFree(plan);
}

}  // namespace px
