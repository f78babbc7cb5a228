#include "kernels/resize/resize_image.h"
#include "kernels/resize/resize_rules.h"

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

void cubicCombineSkip(uint8_t *dst, int32_t dstW, float t, const float *r0, const float *r1, const float *r2,
                      const float *r3) {
    const CubicWeights w(t);
    for (int32_t c = 0; c < dstW; ++c)
        for (int32_t k = 0; k < 3; ++k) {
            const int32_t i = 3 * c + k;
            dst[4 * c + k] = storeFloatSample(combineSample(w, r0[i], r1[i], r2[i], r3[i]));
        }
}

}  // namespace px
