#include <utility>

#include "kernels/resize/resize_image.h"

namespace px {
namespace {

// Weights of the Newton form with the nodes at -1, 0, 1 and 2, from t in single precision and in
// this order. At t = -1 s vanishes and with it h and c, so the first sample comes back exactly.
struct CubicWeights {
    float s, h, c;
    explicit CubicWeights(float t) {
        s = 1.0f + t;
        h = (0.5f * t) * s;
        c = ((t - 1.0f) * h) / 3.0f;
    }
};

// The vertical form groups the differences otherwise than the horizontal one; both orders are kept
// as they are, since each rounds its own way.
inline float combineSample(const CubicWeights &w, float a, float b, float d, float e) {
    const float d1 = b - a;
    const float d2 = (d - d1) - b;
    const float d3 = (((e - d2) - d) - d) + b;
    return ((d1 * w.s + w.h * d2) + a) + d3 * w.c;
}

}  // namespace

void pxCubicRow(const uint8_t *row, int32_t dstW, int32_t pixelStride, const int32_t *xIndex,
                const float *xFraction, float *out) {
    for (int32_t j = 0; j < dstW; ++j) {
        const CubicWeights w(xFraction[j]);
        // The engine's table slides the entry at the image's borders, so all four taps lie inside it.
        const uint8_t *q = row + xIndex[j];
        for (int32_t k = 0; k < 3; ++k) {
            const float a = q[k - pixelStride];
            const float b = q[k];
            const float d = q[k + pixelStride];
            const float e = q[k + 2 * pixelStride];
            // First, second and third forward differences; the value is not clamped, so the overshoot
            // reaches the vertical pass.
            const float d1 = b - a;
            const float f = d - b;
            const float d2 = f - d1;
            const float d3 = ((0.0f - (f + d)) + e) - d2;
            out[3 * j + k] = ((a + d1 * w.s) + d2 * w.h) + d3 * w.c;
        }
    }
}

void pxCubicCombine(uint8_t *dst, int32_t count, float t, const float *r0, const float *r1, const float *r2,
                    const float *r3) {
    const CubicWeights w(t);
    for (int32_t i = 0; i < count; ++i) dst[i] = storeFloatSample(combineSample(w, r0[i], r1[i], r2[i], r3[i]));
}

void pxCubicCombineSkip(uint8_t *dst, int32_t dstW, float t, const float *r0, const float *r1, const float *r2,
                        const float *r3) {
    const CubicWeights w(t);
    for (int32_t c = 0; c < dstW; ++c)
        for (int32_t k = 0; k < 3; ++k) {
            const int32_t i = 3 * c + k;
            dst[4 * c + k] = storeFloatSample(combineSample(w, r0[i], r1[i], r2[i], r3[i]));
        }
}

// Three channels: the engine refuses other channel counts.
void pxCubicImage(const uint8_t *src, uint8_t *dst, int32_t srcStep, int32_t dstStep, int32_t dstW, int32_t dstH,
                  const int32_t *yIndex, const int32_t *xIndex, const float *yFraction, const float *xFraction,
                  float *const rows[4], int32_t pixelStride, int32_t channels) {
    cubicWalk({pxCubicRow, pxCubicCombine}, src, dst, srcStep, dstStep, dstW, dstH, yIndex, xIndex, yFraction,
              xFraction, rows, pixelStride, channels);
}

void cubicWalk(const CubicPasses &passes, const uint8_t *src, uint8_t *dst, int32_t srcStep, int32_t dstStep,
               int32_t dstW, int32_t dstH, const int32_t *yIndex, const int32_t *xIndex, const float *yFraction,
               const float *xFraction, float *const rows[4], int32_t pixelStride, int32_t channels) {
    auto horizontal = [&](int64_t offset, float *out) {
        passes.row(src + offset, dstW, pixelStride, xIndex, xFraction, out);
    };
    float *r0 = rows[0], *r1 = rows[1], *r2 = rows[2], *r3 = rows[3];
    auto vertical = [&](float t) {
        if (pixelStride == channels) {
            passes.combine(dst, dstW * channels, t, r0, r1, r2, r3);
        } else {
            pxCubicCombineSkip(dst, dstW, t, r0, r1, r2, r3);
        }
    };

    // The ring holds the stencil's four rows, R0 the row before the entry. Each source row passes
    // the horizontal pass once while it stays in the ring; an advance rotates buffers instead of
    // copying them, and only the rows that come new are filled. yIndex entries are row numbers
    // times the step, so they fall with a negative step (bottom-up images) and the comparisons turn.
    const int64_t step = srcStep;
    const bool rising = step > 0;
    const int64_t y0 = yIndex[0];
    horizontal(y0 - step, r1);
    horizontal(y0, r2);
    horizontal(y0 + step, r3);
    int64_t last = rising ? y0 - 1 : y0 + 1;  // the first output row counts as an advance
    // "y lies at or past last + n rows" in the walking direction.
    auto reaches = [&](int64_t y, int64_t n) { return rising ? y >= last + n * step : y <= last + n * step; };
    for (int32_t i = 0; i < dstH; ++i) {
        const int64_t y = yIndex[i];
        if (rising ? y > last : y < last) {
            // (R0, R1, R2, R3) to (R1, R2, R3, R0): one row on, the new one at the bottom.
            std::swap(r0, r1);
            std::swap(r1, r2);
            std::swap(r2, r3);
            horizontal(y + 2 * step, r3);
            if (reaches(y, 2)) {
                std::swap(r0, r1);
                std::swap(r1, r2);
                horizontal(y + step, r2);
            }
            if (reaches(y, 3)) {
                std::swap(r0, r1);
                horizontal(y, r1);
            }
            if (reaches(y, 4)) horizontal(y - step, r0);
            last = y;
        }
        vertical(yFraction[i]);
        dst += dstStep;
    }
}

}  // namespace px
