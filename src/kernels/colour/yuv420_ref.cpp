// Level 0 of the 4:2:0 conversions: 16.16 fixed point. The other levels are measured against it.
#include "kernels/colour/yuv420.h"

namespace px {
namespace {

uint8_t clampByte(int32_t v) { return static_cast<uint8_t>(v < 0 ? 0 : (v > 255 ? 255 : v)); }

// 0.299, 0.587 and 0.114 in 16 bits; they add up to 65536, so white stays 255.
int32_t luma16(const uint8_t *p) { return 19595 * p[0] + 38470 * p[1] + 7471 * p[2]; }

void rgbToYuv420RowPair(const uint8_t *src0, const uint8_t *src1, uint8_t *y0, uint8_t *y1, uint8_t *u, uint8_t *v,
                        int32_t blocks) {
    for (int32_t b = 0; b < blocks; ++b) {
        const uint8_t *p00 = src0 + 6 * b, *p01 = p00 + 3, *p10 = src1 + 6 * b, *p11 = p10 + 3;
        const int32_t f00 = luma16(p00), f01 = luma16(p01), f10 = luma16(p10), f11 = luma16(p11);
        y0[2 * b] = static_cast<uint8_t>(f00 >> 16);
        y0[2 * b + 1] = static_cast<uint8_t>(f01 >> 16);
        y1[2 * b] = static_cast<uint8_t>(f10 >> 16);
        y1[2 * b + 1] = static_cast<uint8_t>(f11 >> 16);

        // Chroma from the block's mean before Y was cut to 8 bits; 0x1FFFF rounds the difference.
        const int32_t s = f00 + f01 + f10 + f11;
        const int32_t sum0 = p00[0] + p01[0] + p10[0] + p11[0];
        const int32_t sum2 = p00[2] + p01[2] + p10[2] + p11[2];
        const int32_t dU = ((sum2 << 16) - s + 0x1FFFF) >> 16;
        const int32_t dV = ((sum0 << 16) - s + 0x1FFFF) >> 16;
        // 0.492 and 0.877 in 16 bits; the two extra bits of the shift divide the sums by 4.
        // U cannot leave 0..255 for any input, so only V is clamped.
        u[b] = static_cast<uint8_t>(((dU * 32244) >> 18) + 128);
        v[b] = clampByte(((dV * 57475) >> 18) + 128);
    }
}

void toPacked(int32_t y, int32_t cu, int32_t cv, uint8_t *d) {
    const int32_t y16 = y * 65536;
    d[0] = clampByte((y16 + 74711 * cv) >> 16);
    d[1] = clampByte((y16 - 38076 * cv - 25821 * cu) >> 16);
    d[2] = clampByte((y16 + 133169 * cu) >> 16);
}

void yuv420ToRgbRowPair(const uint8_t *y0, const uint8_t *y1, const uint8_t *u, const uint8_t *v, uint8_t *dst0,
                        uint8_t *dst1, int32_t blocks) {
    for (int32_t b = 0; b < blocks; ++b) {
        const int32_t cu = u[b] - 128, cv = v[b] - 128;
        toPacked(y0[2 * b], cu, cv, dst0 + 6 * b);
        toPacked(y0[2 * b + 1], cu, cv, dst0 + 6 * b + 3);
        toPacked(y1[2 * b], cu, cv, dst1 + 6 * b);
        toPacked(y1[2 * b + 1], cu, cv, dst1 + 6 * b + 3);
    }
}

}  // namespace

PxStatus pxRgbToYuv420_ref(const uint8_t *src, int32_t srcStep, uint8_t *const planes[3],
                           const int32_t planeSteps[3], PxSize size) {
    return rgbToYuv420Rows(src, srcStep, planes, planeSteps, size, rgbToYuv420RowPair);
}

PxStatus pxYuv420ToRgb_ref(const uint8_t *const planes[3], const int32_t planeSteps[3], uint8_t *dst,
                           int32_t dstStep, PxSize size) {
    return yuv420ToRgbRows(planes, planeSteps, dst, dstStep, size, yuv420ToRgbRowPair);
}

}  // namespace px
