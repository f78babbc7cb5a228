// The vector image functions of the resize and what their forms share. The SSSE3 ones serve levels
// 1 to 3; level 4 runs the nearest copy and the linear row pass of SSSE3, which gather a few
// columns at a time and gain nothing from wider registers, and blends in 256-bit registers. Its
// cubic and Lanczos forms take two columns or eight samples to a register.
#pragma once

#include <cstdint>

#include "kernels/resize/resize_engine.h"
#include "kernels/resize/resize_image.h"

namespace px {

// The plan of the SSSE3 row pass: for each group of four columns, whether one sixteen-byte load
// holds all its pixels, and then the shuffles and weights that gather them.
int32_t linearPlanBytes(int32_t dstW);
void linearMakePlan(const int32_t *xIndex, const uint16_t *xWeight, int32_t dstW, int32_t pixelStride, void *plan);

// Horizontal pass, four columns at a time (by the plan where it has one); the rest by the plain rule.
void linearRowC3Ssse3(const uint8_t *row, int32_t dstW, int32_t pixelStride, const int32_t *xIndex,
                      const uint16_t *xWeight, const void *plan, uint16_t *out);

// Vertical pass, 32 samples at a time, then 8, then the plain rule.
void linearBlendSsse3(uint8_t *dst, int32_t count, int32_t weight, const uint16_t *upper, const uint16_t *lower);

// The rolling walk with these passes and the row pass's plan, made for the call and freed after it.
void linearImageWithPlan(LinearRowPass row, LinearBlendPass blend, const uint8_t *src, uint8_t *dst, int32_t srcStep,
                         int32_t dstStep, int32_t dstW, int32_t dstH, const int32_t *yIndex, const int32_t *xIndex,
                         const uint16_t *yWeight, const uint16_t *xWeight, uint16_t *bufferA, uint16_t *bufferB,
                         int32_t pixelStride, int32_t channels);

// The linear image functions of levels 1 to 3 and of level 4.
void linearImageSsse3(const uint8_t *src, uint8_t *dst, int32_t srcStep, int32_t dstStep, int32_t dstW, int32_t dstH,
                      const int32_t *yIndex, const int32_t *xIndex, const uint16_t *yWeight, const uint16_t *xWeight,
                      uint16_t *bufferA, uint16_t *bufferB, int32_t pixelStride, int32_t channels);
void linearImageAvx2(const uint8_t *src, uint8_t *dst, int32_t srcStep, int32_t dstStep, int32_t dstW, int32_t dstH,
                     const int32_t *yIndex, const int32_t *xIndex, const uint16_t *yWeight, const uint16_t *xWeight,
                     uint16_t *bufferA, uint16_t *bufferB, int32_t pixelStride, int32_t channels);

// Nearest, five output pixels per byte shuffle where their source pixels lie in sixteen bytes.
void nearestImageSsse3(const uint8_t *src, uint8_t *dst, int32_t dstStep, int32_t dstW, int32_t dstH,
                       const int32_t *yIndex, const int32_t *xIndex, int32_t pixelStride);

// Cubic: the horizontal pass column by column in vector lanes, the vertical one eight and then four
// samples at a time, the rest of a row by the plain rule.
void cubicRowSsse3(const uint8_t *row, int32_t dstW, int32_t pixelStride, const int32_t *xIndex,
                   const float *xFraction, float *out);
void cubicCombineSsse3(uint8_t *dst, int32_t count, float t, const float *r0, const float *r1, const float *r2,
                       const float *r3);

// The cubic image functions of levels 1 to 3 and of level 4.
void cubicImageSsse3(const uint8_t *src, uint8_t *dst, int32_t srcStep, int32_t dstStep, int32_t dstW, int32_t dstH,
                     const int32_t *yIndex, const int32_t *xIndex, const float *yFraction, const float *xFraction,
                     float *const rows[4], int32_t pixelStride, int32_t channels);
void cubicImageAvx2(const uint8_t *src, uint8_t *dst, int32_t srcStep, int32_t dstStep, int32_t dstW, int32_t dstH,
                    const int32_t *yIndex, const int32_t *xIndex, const float *yFraction, const float *xFraction,
                    float *const rows[4], int32_t pixelStride, int32_t channels);

// Lanczos: whether a column's entry lies where all six taps are in the image and no edge rule
// applies; the horizontal pass of such columns in vector lanes, the others by the plain rule; the
// vertical pass eight and then four samples at a time.
bool lanczosInterior(int32_t at, int32_t rectX, int32_t colsLeft);
void lanczosRowSsse3(const uint8_t *row, int32_t pixelStride, const int32_t *xIndex, const float *xCoefficients,
                     float *buffer, int32_t dstW, int32_t rectX, int32_t colsLeft);
void lanczosCombineSsse3(uint8_t *dst, int32_t count, const float *coefficients, const float *const rows[6]);

// The Lanczos weights of levels 1 to 4, four fractions at a time; the same floats as level 0.
void resizeCoefficientsSsse3(const float *fractions, int32_t count, float *coefficients, const float *kernel);

// The Lanczos image functions of levels 1 to 3 and of level 4.
void lanczosImageSsse3(const uint8_t *src, uint8_t *dst, int32_t srcStep, int32_t dstStep, int32_t dstW, int32_t dstH,
                       const int32_t *yIndex, const int32_t *xIndex, const float *yCoefficients,
                       const float *xCoefficients, float *const buffers[6], int32_t rectX, int32_t rectY,
                       int32_t colsLeft, int32_t rowsLeft, int32_t rowsNotThinned, int32_t pixelStride,
                       int32_t channels);
void lanczosImageAvx2(const uint8_t *src, uint8_t *dst, int32_t srcStep, int32_t dstStep, int32_t dstW, int32_t dstH,
                      const int32_t *yIndex, const int32_t *xIndex, const float *yCoefficients,
                      const float *xCoefficients, float *const buffers[6], int32_t rectX, int32_t rectY,
                      int32_t colsLeft, int32_t rowsLeft, int32_t rowsNotThinned, int32_t pixelStride,
                      int32_t channels);

// Supersampling: rows added sixteen pixels at a time, cells summed with a pixel's three channels
// side by side, the store sixteen pixels at a time; the rest of a row by the plain passes. Every
// channel adds in the plain order, so these give the bytes of level 0.
void superAddRowSsse3(uint32_t *line, const uint8_t *row, int32_t span, int32_t pixelStride);
void superAddRowFloatSsse3(float *line, const uint8_t *row, int32_t span, int32_t pixelStride);
void superAddRowWeightedSsse3(float *line, const uint8_t *row, int32_t span, int32_t pixelStride, double weight);
void superCollapseWholeSsse3(uint32_t *line, int32_t span, int64_t blockX);
void superCollapseWholeFloatSsse3(float *line, int32_t span, int64_t blockX);
void superCollapseFractionSsse3(float *line, int32_t span, int64_t blockX, double invX);
void superStoreSsse3(uint8_t *dst, const uint32_t *line, int32_t dstW, int32_t pixelStride, double area);
void superStoreFloatSsse3(uint8_t *dst, const float *line, int32_t dstW, int32_t pixelStride, double area);

// The supersampling engines of levels 1 to 3 and of level 4.
PxStatus superC3Ssse3(const uint8_t *src, uint8_t *dst, int32_t srcStep, int32_t dstStep, int32_t span, int32_t dstW,
                      int32_t dstH, double invX, double invY, double area, SuperMode mode, int32_t pixelStride,
                      int32_t rowsLeft);
PxStatus superC3Avx2(const uint8_t *src, uint8_t *dst, int32_t srcStep, int32_t dstStep, int32_t span, int32_t dstW,
                     int32_t dstH, double invX, double invY, double area, SuperMode mode, int32_t pixelStride,
                     int32_t rowsLeft);

}  // namespace px
