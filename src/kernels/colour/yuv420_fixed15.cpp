// Levels 1 to 4 of the 4:2:0 conversions: the 15-bit fixed point of the vector forms, written as
// plain code. The vector rule is what a 16-bit lane computes with a rounding high multiply; the
// tail rule is the scalar loop that finishes a row after the last group of 4 blocks. Both are
// part of the result, so a block's chroma depends on where it stands in its row.
#include "kernels/colour/yuv420.h"

namespace px {
namespace {

uint8_t clampByte(int32_t v) { return static_cast<uint8_t>(v < 0 ? 0 : (v > 255 ? 255 : v)); }

// A rounding multiply-high of two 16-bit values: (a * k + 0x4000) >> 15.
int32_t mulRound15(int32_t a, int32_t k) { return (a * k + 16384) >> 15; }

// Luma with six fractional bits; 4899, 9617 and 1868 are 0.299, 0.587 and 0.114 in 14 bits.
int32_t lumaVector(const uint8_t *p) {
    return mulRound15(p[0] << 7, 4899) + mulRound15(p[1] << 7, 9617) + mulRound15(p[2] << 7, 1868);
}

void blockVector(const uint8_t *p00, const uint8_t *p01, const uint8_t *p10, const uint8_t *p11, uint8_t *y0,
                 uint8_t *y1, uint8_t *u, uint8_t *v) {
    const int32_t l00 = lumaVector(p00), l01 = lumaVector(p01), l10 = lumaVector(p10), l11 = lumaVector(p11);
    y0[0] = clampByte(l00 >> 6);
    y0[1] = clampByte(l01 >> 6);
    y1[0] = clampByte(l10 >> 6);
    y1[1] = clampByte(l11 >> 6);
    // The sum of four can pass 32767, so the lane halves it as an unsigned word; it never is negative.
    const int32_t h = static_cast<int32_t>(static_cast<uint32_t>(l00 + l01 + l10 + l11) >> 1);
    const int32_t dU = ((p00[2] + p01[2] + p10[2] + p11[2]) << 5) - h;
    const int32_t dV = ((p00[0] + p01[0] + p10[0] + p11[0]) << 5) - h;
    // 8061 and 14369 are 0.492 / 2 and 0.877 / 2 in 15 bits.
    *u = clampByte((mulRound15(dU, 8061) >> 6) + 128);
    *v = clampByte((mulRound15(dV, 14369) >> 6) + 128);
}

int32_t lumaTail(const uint8_t *p) { return 4899 * p[0] + 9617 * p[1] + 1868 * p[2]; }

void blockTail(const uint8_t *p00, const uint8_t *p01, const uint8_t *p10, const uint8_t *p11, uint8_t *y0,
               uint8_t *y1, uint8_t *u, uint8_t *v) {
    const int32_t f00 = lumaTail(p00), f01 = lumaTail(p01), f10 = lumaTail(p10), f11 = lumaTail(p11);
    y0[0] = static_cast<uint8_t>(f00 >> 14);
    y0[1] = static_cast<uint8_t>(f01 >> 14);
    y1[0] = static_cast<uint8_t>(f10 >> 14);
    y1[1] = static_cast<uint8_t>(f11 >> 14);
    const int32_t s = f00 + f01 + f10 + f11;
    const int32_t dU = (((p00[2] + p01[2] + p10[2] + p11[2]) << 14) - s) >> 14;
    const int32_t dV = (((p00[0] + p01[0] + p10[0] + p11[0]) << 14) - s) >> 14;
    // As at level 0, U stays within a byte, and only V is clamped.
    *u = static_cast<uint8_t>(((dU * 8061) >> 16) + 128);
    *v = clampByte(((dV * 14369) >> 16) + 128);
}

void rgbToYuv420RowPair(const uint8_t *src0, const uint8_t *src1, uint8_t *y0, uint8_t *y1, uint8_t *u, uint8_t *v,
                        int32_t blocks) {
    const int32_t vectorBlocks = vectorRuleBlocks(blocks);
    for (int32_t b = 0; b < vectorBlocks; ++b) {
        const uint8_t *p0 = src0 + 6 * b, *p1 = src1 + 6 * b;
        blockVector(p0, p0 + 3, p1, p1 + 3, y0 + 2 * b, y1 + 2 * b, u + b, v + b);
    }
    rgbToYuv420TailRule(src0, src1, y0, y1, u, v, vectorBlocks, blocks);
}

// Each product is a 16-bit multiply-high of its own; the sum keeps one fractional bit.
// 9338, 3227, 4759 and 16645 are 1.140, 0.394, 0.581 and 2.032 in 13 bits, and the chroma
// carries 4 more bits.
void toPacked(int32_t y, int32_t cu, int32_t cv, uint8_t *d) {
    const int32_t y2 = 2 * y;
    d[0] = clampByte((y2 + ((cv * 9338) >> 16)) >> 1);
    d[1] = clampByte((y2 + ((cu * -3227) >> 16) + ((cv * -4759) >> 16)) >> 1);
    d[2] = clampByte((y2 + ((cu * 16645) >> 16)) >> 1);
}

void yuv420ToRgbRowPair(const uint8_t *y0, const uint8_t *y1, const uint8_t *u, const uint8_t *v, uint8_t *dst0,
                        uint8_t *dst1, int32_t blocks) {
    yuv420ToRgbFixed15(y0, y1, u, v, dst0, dst1, 0, blocks);
}

}  // namespace

int32_t vectorRuleBlocks(int32_t blocks) { return (blocks & ~7) + ((blocks & 7) >= 4 ? 4 : 0); }

void rgbToYuv420TailRule(const uint8_t *src0, const uint8_t *src1, uint8_t *y0, uint8_t *y1, uint8_t *u, uint8_t *v,
                         int32_t first, int32_t blocks) {
    for (int32_t b = first; b < blocks; ++b) {
        const uint8_t *p0 = src0 + 6 * b, *p1 = src1 + 6 * b;
        blockTail(p0, p0 + 3, p1, p1 + 3, y0 + 2 * b, y1 + 2 * b, u + b, v + b);
    }
}

// The vector forms' scalar loop after their last group repeats the lanes' arithmetic, so one
// rule serves every column.
void yuv420ToRgbFixed15(const uint8_t *y0, const uint8_t *y1, const uint8_t *u, const uint8_t *v, uint8_t *dst0,
                        uint8_t *dst1, int32_t first, int32_t blocks) {
    for (int32_t b = first; b < blocks; ++b) {
        const int32_t cu = 16 * (u[b] - 128), cv = 16 * (v[b] - 128);
        toPacked(y0[2 * b], cu, cv, dst0 + 6 * b);
        toPacked(y0[2 * b + 1], cu, cv, dst0 + 6 * b + 3);
        toPacked(y1[2 * b], cu, cv, dst1 + 6 * b);
        toPacked(y1[2 * b + 1], cu, cv, dst1 + 6 * b + 3);
    }
}

PxStatus pxRgbToYuv420_fixed15(const uint8_t *src, int32_t srcStep, uint8_t *const planes[3],
                               const int32_t planeSteps[3], PxSize size) {
    return rgbToYuv420Rows(src, srcStep, planes, planeSteps, size, rgbToYuv420RowPair);
}

PxStatus pxYuv420ToRgb_fixed15(const uint8_t *const planes[3], const int32_t planeSteps[3], uint8_t *dst,
                               int32_t dstStep, PxSize size) {
    return yuv420ToRgbRows(planes, planeSteps, dst, dstStep, size, yuv420ToRgbRowPair);
}

}  // namespace px
