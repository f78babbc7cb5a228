// The vector image functions of the resize and what their forms share. The SSSE3 ones serve levels
// 1 to 3; level 4 runs the nearest copy and the linear row pass of SSSE3, which gather a few
// columns at a time and gain nothing from wider registers, and blends in 256-bit registers. Its
// cubic and Lanczos forms take two columns or eight samples to a register.
#pragma once

#include <cstdint>

#include "kernels/resize/resize_engine.h"
#include "kernels/resize/resize_image.h"

namespace px {

// The plan of the SSSE3 row pass, made once per call: how each group of eight samples is gathered.
// Null when there is no memory for it or nothing to plan; give it back with pxFree.
void *linearMakePlan_ssse3(const int32_t *xIndex, const uint16_t *xWeight, int32_t dstW, int32_t pixelStride);

// Horizontal pass, eight samples at a time by the plan; without one, and for the rest, the plain rule.
void pxLinearRowC3_ssse3(const uint8_t *row, int32_t dstW, int32_t pixelStride, const int32_t *xIndex,
                         const uint16_t *xWeight, const void *plan, uint16_t *out);

// Vertical pass in 16-bit lanes, 16 samples at a time, then 8, then the plain rule.
void pxLinearBlend_ssse3(uint8_t *dst, int32_t count, int32_t weight, const uint16_t *upper, const uint16_t *lower);

// Two output rows of the same pair, 16 samples at a time: one difference for both.
void pxLinearBlendTwo_ssse3(uint8_t *first, uint8_t *second, int32_t count, int32_t firstWeight, int32_t secondWeight,
                            const uint16_t *upper, const uint16_t *lower);

// The rolling walk with these passes and the row pass's plan, made for the call and freed after it.
void linearImageWithPlan_ssse3(LinearRowPass row, LinearBlendPass blend, LinearBlendTwoPass blendTwo,
                               const ResizeJob &job);

// The linear image functions of levels 1 to 3 and of level 4.
void pxLinearImage_ssse3(const ResizeJob &job);
void pxLinearImage_avx2(const ResizeJob &job);

// Nearest, five output pixels per byte shuffle where their source pixels lie in sixteen bytes.
void pxNearestImage_ssse3(const ResizeJob &job);

// Cubic: the horizontal pass column by column in vector lanes, the vertical one eight and then four
// samples at a time, the rest of a row by the plain rule.
void pxCubicRow_ssse3(const uint8_t *row, int32_t dstW, int32_t pixelStride, const int32_t *xIndex,
                      const float *xFraction, float *out);
void pxCubicCombine_ssse3(uint8_t *dst, int32_t count, float t, const float *r0, const float *r1, const float *r2,
                          const float *r3);

// The cubic image functions of levels 1 to 3 and of level 4.
void pxCubicImage_ssse3(const ResizeJob &job);
void pxCubicImage_avx2(const ResizeJob &job);

// Lanczos: whether a column's entry lies where all six taps are in the image and no edge rule
// applies; the horizontal pass of such columns in vector lanes, the others by the plain rule; the
// vertical pass eight and then four samples at a time.
bool lanczosInterior_ssse3(int32_t at, int32_t rectX, int32_t colsLeft);
void pxLanczosRow_ssse3(const uint8_t *row, int32_t pixelStride, const int32_t *xIndex, const float *xCoefficients,
                        float *buffer, int32_t dstW, int32_t rectX, int32_t colsLeft);
void pxLanczosCombine_ssse3(uint8_t *dst, int32_t count, const float *coefficients, const float *const rows[6]);

// The Lanczos weights of levels 1 to 4, four fractions at a time; the same floats as level 0.
void pxResizeCoefficients_ssse3(const float *fractions, int32_t count, float *coefficients, const float *kernel);

// The Lanczos image functions of levels 1 to 3 and of level 4.
void pxLanczosImage_ssse3(const ResizeJob &job);
void pxLanczosImage_avx2(const ResizeJob &job);

// Supersampling: rows added sixteen pixels at a time, cells summed with a pixel's three channels
// side by side, the store sixteen pixels at a time; the rest of a row by the plain passes. Every
// channel adds in the plain order, so these give the bytes of level 0.
void superAddRow_ssse3(uint32_t *line, const uint8_t *row, int32_t span, int32_t pixelStride);
void superAddRowFloat_ssse3(float *line, const uint8_t *row, int32_t span, int32_t pixelStride);
void superAddRowWeighted_ssse3(float *line, const uint8_t *row, int32_t span, int32_t pixelStride, double weight);
void superCollapseWhole_ssse3(uint32_t *line, int32_t span, int64_t blockX);
void superCollapseWholeFloat_ssse3(float *line, int32_t span, int64_t blockX);
void superCollapseFraction_ssse3(float *line, int32_t span, int64_t blockX, double invX);
void superStore_ssse3(uint8_t *dst, const uint32_t *line, int32_t dstW, int32_t pixelStride, double area);
void superStoreFloat_ssse3(uint8_t *dst, const float *line, int32_t dstW, int32_t pixelStride, double area);

// Whole cells of 2, 3 or 4 pixels across summed in 16-bit registers, straight from the rows, and
// scaled by a multiply checked once per call against the store rule for every sum; false where a
// cell is not whole and inside the image, the sums could pass 16 bits or no multiply fits.
bool superIntegralCells_ssse3(const SuperJob &job);

// The supersampling engines of levels 1 to 3 and of level 4.
PxStatus superC3_ssse3(const SuperJob &job);
PxStatus superC3_avx2(const SuperJob &job);

}  // namespace px
