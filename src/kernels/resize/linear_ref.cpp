#include "kernels/resize/resize_image.h"

namespace px {

void pxLinearRowC3(const uint8_t *row, int32_t dstW, int32_t pixelStride, const int32_t *xIndex,
                   const uint16_t *xWeight, uint16_t *out) {
    for (int32_t c = 0; c < dstW; ++c) {
        // The right pixel is read even where its weight is 0; the engine's edge rule keeps it inside
        // the image.
        const uint8_t *p = row + xIndex[c];
        const uint8_t *q = p + pixelStride;
        const uint32_t p0 = p[0], p1 = p[1], p2 = p[2];
        const uint32_t q0 = q[0], q1 = q[1], q2 = q[2];
        const uint32_t wl = xWeight[2 * c];
        const uint32_t wr = xWeight[2 * c + 1];
        // Keeps 6 of the 14 fractional bits: a sample is the source value times 64, at most 16320.
        out[3 * c] = static_cast<uint16_t>((wr * q0 + wl * p0 + 128) >> 8);
        out[3 * c + 1] = static_cast<uint16_t>((wr * q1 + wl * p1 + 128) >> 8);
        out[3 * c + 2] = static_cast<uint16_t>((wr * q2 + wl * p2 + 128) >> 8);
    }
}

namespace {

// The vertical pass as written: 524288 is half a unit of the result, and the greatest value is
// 255, so nothing needs clamping.
inline uint8_t blend(uint32_t upper, uint32_t lower, uint32_t weightUpper, uint32_t weightLower) {
    return static_cast<uint8_t>((lower * weightLower + upper * weightUpper + 524288) >> 20);
}

// The same value in 16-bit lanes. With b the sample of the row that weighs more, o the other and
// v <= 8192 the other's weight, the sum is 16384 * b + (o - b) * v + 524288, and its shift by 20
// is (b + floor((o - b) * v / 16384) + 32) >> 6: the part of (o - b) * v below 16384 cannot lift
// the sum past a multiple of 2^20. 2 * (o - b) and 2 * v fit signed 16 bits (|o - b| <= 16320),
// so the floor is the high half of their product, which the compiler does 8 lanes at a time.
inline uint8_t blendHalves(int32_t base, int32_t other, int16_t twiceWeight) {
    const auto twiceDifference = static_cast<int16_t>(2 * (other - base));
    const auto floorPart = static_cast<int16_t>((int32_t{twiceDifference} * twiceWeight) >> 16);
    return static_cast<uint8_t>(static_cast<int16_t>(base + floorPart + 32) >> 6);
}

}  // namespace

void pxLinearBlend(uint8_t *dst, int32_t count, int32_t weight, const uint16_t *upper, const uint16_t *lower) {
    const uint16_t *base = upper;
    const uint16_t *other = lower;
    int32_t otherWeight = weight;
    if (weight > 8192) {
        base = lower;
        other = upper;
        otherWeight = 16384 - weight;
    }
    uint8_t *__restrict out = dst;
    const uint16_t *__restrict b = base;
    const uint16_t *__restrict o = other;
    const auto twiceWeight = static_cast<int16_t>(2 * otherWeight);
    int32_t i = 0;
    // Sixteen samples at a time: whole vector steps for the compiler.
    for (; i + 16 <= count; i += 16) {
        for (int32_t k = 0; k < 16; ++k) out[i + k] = blendHalves(b[i + k], o[i + k], twiceWeight);
    }
    for (; i < count; ++i) out[i] = blendHalves(b[i], o[i], twiceWeight);
}

void pxLinearBlendSkip(uint8_t *dst, int32_t dstW, int32_t weight, const uint16_t *upper, const uint16_t *lower) {
    const uint32_t wl = static_cast<uint32_t>(weight);
    const uint32_t wu = 16384 - wl;
    for (int32_t c = 0; c < dstW; ++c) {
        dst[4 * c] = blend(upper[3 * c], lower[3 * c], wu, wl);
        dst[4 * c + 1] = blend(upper[3 * c + 1], lower[3 * c + 1], wu, wl);
        dst[4 * c + 2] = blend(upper[3 * c + 2], lower[3 * c + 2], wu, wl);
    }
}

}  // namespace px
