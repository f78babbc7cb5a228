// The forms of pxFilterC3 and what they share: the checks, the division rule chosen once per call,
// and the scalar rule that level 0 runs and every vector form falls back on.
#pragma once

#include <cstdint>

#include "kestrix/px.h"

namespace px {

// Null pointers, then sizes, then a divisor of 0, then the steps; PxStsOk when all hold.
PxStatus filterC3Checks(const uint8_t *src, int32_t srcStep, const uint8_t *dst, int32_t dstStep, PxSize size,
                        const int32_t *kernel, PxSize kernelSize, int32_t divisor);

// How a sum becomes an output byte. The divisor picks the rule once per call, never per pixel.
struct FilterDivision {
    enum Kind : int32_t { Plain, Shift, Reciprocal } kind;
    int32_t shift;     // log2 of the divisor, for Shift
    float reciprocal;  // 1 / divisor in single precision, for Reciprocal
};

// divisor must not be 0. Only powers of two above 1 shift; negative divisors, -2147483648 among
// them, take the reciprocal.
FilterDivision filterDivision(int32_t divisor);

// One 32-bit sum divided by the rule and saturated to 0..255.
uint8_t filterDivide(int32_t sum, const FilterDivision &division);

// The convolution of rows first to last - 1 of the region, pixel by pixel, with no checks.
void filterC3RowsScalar(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size,
                        const int32_t *kernel, PxSize kernelSize, PxPoint anchor, const FilterDivision &division,
                        int32_t first, int32_t last);

// Level 0, the reference: the scalar rule over the whole region, with no scratch.
PxStatus pxFilterC3_ref(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size,
                        const int32_t *kernel, PxSize kernelSize, PxPoint anchor, int32_t divisor);

}  // namespace px
