// The forms of pxSharpenC3 and what they share: the checks and the operator on one sample.
#pragma once

#include <cstdint>

#include "kestrix/px.h"

namespace px {

// Null pointers, then sizes, then steps below 1; PxStsOk when all hold. Steps are not compared
// with the width.
PxStatus sharpenC3Checks(const uint8_t *src, int32_t srcStep, const uint8_t *dst, int32_t dstStep, PxSize size);

// The output for a sample c whose 3x3 neighbourhood, c included, sums to neighbourhoodSum:
// (17c - sum) / 8, 0 when that is not above 0, rounded to nearest with ties to even, at most 255.
uint8_t sharpenSample(int32_t c, int32_t neighbourhoodSum);

// The vector forms keep one row of 16-bit column sums per output row: element t is the sum of the
// three source rows' bytes t - 3, so that a sample's neighbourhood sum is elements k, k + 3 and
// k + 6. The column pass fills count elements from the three rows (above, row and below point at
// byte -3 of each); the operator pass turns count bytes of row into output bytes.
using SharpenColumnPass = void (*)(const uint8_t *above, const uint8_t *row, const uint8_t *below, uint16_t *sums,
                                   int32_t count);
using SharpenOperatorPass = void (*)(const uint8_t *row, const uint16_t *sums, uint8_t *out, int32_t count);

// The passes' plain rule, for rows narrower than a vector.
void sharpenColumns_ref(const uint8_t *above, const uint8_t *row, const uint8_t *below, uint16_t *sums, int32_t count);
void sharpenOperator_ref(const uint8_t *row, const uint16_t *sums, uint8_t *out, int32_t count);

// Levels 1 to 4 with their passes: the checks, the scratch and the row walk.
PxStatus sharpenC3WithPasses(SharpenColumnPass columns, SharpenOperatorPass apply, const uint8_t *src, int32_t srcStep,
                             uint8_t *dst, int32_t dstStep, PxSize size);

// The SSSE3 passes, which also finish rows too narrow for the AVX2 ones.
void sharpenColumns_ssse3(const uint8_t *above, const uint8_t *row, const uint8_t *below, uint16_t *sums,
                          int32_t count);
void sharpenOperator_ssse3(const uint8_t *row, const uint16_t *sums, uint8_t *out, int32_t count);

// Level 0, the reference: three rows of horizontal sums in scratch, each source row summed once.
PxStatus pxSharpenC3_ref(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size);

// Levels 1 to 3 (SSSE3) and level 4 (AVX2).
PxStatus pxSharpenC3_ssse3(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size);
PxStatus pxSharpenC3_avx2(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size);

}  // namespace px
