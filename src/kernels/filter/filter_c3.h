// The forms of pxFilterC3 and what they share: the checks, the division rule chosen once per call,
// and the scalar rule that level 0 runs and every vector form falls back on.
#pragma once

#include <cstdint>

#include "kestrix/px.h"

namespace px {

// The arguments of pxFilterC3, as one record.
struct FilterCall {
    const uint8_t *src;
    int32_t srcStep;
    uint8_t *dst;
    int32_t dstStep;
    PxSize size;
    const int32_t *kernel;
    PxSize kernelSize;
    PxPoint anchor;
    int32_t divisor;
};

// Null pointers, then sizes, then a divisor of 0, then the steps; PxStsOk when all hold.
PxStatus filterC3Checks(const FilterCall &call);

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
void filterC3Rows_ref(const FilterCall &call, const FilterDivision &division, int32_t first, int32_t last);

// The vector forms keep one row of 32-bit sums per output row and add one kernel row into it at a
// time. Each kernel row is reversed (window pixel m meets coefficient KW - 1 - m) and repacked as
// pairs of signed 16-bit coefficients, one pair for window pixels 2p and 2p + 1 repeated across
// sixteen bytes, a lone last coefficient paired with 0, for 16-bit multiply-adds.
struct alignas(16) FilterPair {
    int16_t lanes[8];
};

// A form's two passes over a row of sums. The row pass adds the products of one kernel row (stores
// them, with first) for output bytes 0 to count - 1; window points at the window's leftmost pixel
// for output byte 0, and kernelRow at the kernel row's coefficients as the caller gave them.
using FilterRowPass = void (*)(const uint8_t *window, const FilterPair *pairs, const int32_t *kernelRow, int32_t kw,
                               int32_t *sums, int32_t count, bool first);
// The finishing pass: count sums divided by the rule and saturated into out.
using FilterFinishPass = void (*)(const int32_t *sums, uint8_t *out, int32_t count, const FilterDivision &division);

// The whole region in 16-bit sums, for the calls that filterFitsSums16 admits.
using FilterSums16 = void (*)(const FilterCall &call, const FilterDivision &division);

// A level's passes: row passes for kernels 3 and 5 wide and for any other width, the finishing
// passes of the shift rule and of the plain and reciprocal rules, and its 16-bit form (or null).
struct FilterPasses {
    FilterRowPass row3, row5, rowAny;
    FilterFinishPass finishShift, finishScale;
    FilterSums16 sums16;
};

// Whether 16-bit sums are the 32-bit sums of the rule, and the division fits them: a 3x3 kernel of
// coefficients that fit a signed byte, with 255 times the sum of their magnitudes within 32767, so
// that no partial sum in any order leaves a signed 16-bit lane; a shift of at most 15 bits; and a
// region at least 6 pixels wide, so that a row holds a vector step of sixteen bytes.
bool filterFitsSums16(const FilterCall &call, const FilterDivision &division);

// The 16-bit form of levels 1 to 4.
void filterC3Sums16_ssse3(const FilterCall &call, const FilterDivision &division);

// The ends of a row that the vector passes leave to the plain rule.
void filterRowPass_ref(const uint8_t *window, const int32_t *kernelRow, int32_t kw, int32_t *sums, int32_t count,
                       bool first);
void filterFinish_ref(const int32_t *sums, uint8_t *out, int32_t count, const FilterDivision &division);

// Levels 1 to 4 with their passes: the checks, then the row-of-sums walk where the kernel, the
// region and the scratch allow it, and the scalar rule where they do not.
PxStatus filterC3WithPasses(const FilterPasses &passes, const FilterCall &call);

// Level 0, the reference: the scalar rule over the whole region, with no scratch.
PxStatus pxFilterC3_ref(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size,
                        const int32_t *kernel, PxSize kernelSize, PxPoint anchor, int32_t divisor);

// Levels 1 to 3 (SSSE3) and level 4 (AVX2).
PxStatus pxFilterC3_ssse3(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size,
                          const int32_t *kernel, PxSize kernelSize, PxPoint anchor, int32_t divisor);
PxStatus pxFilterC3_avx2(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size,
                         const int32_t *kernel, PxSize kernelSize, PxPoint anchor, int32_t divisor);

}  // namespace px
