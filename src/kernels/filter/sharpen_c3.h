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

// Level 0, the reference: three rows of horizontal sums in scratch, each source row summed once.
PxStatus pxSharpenC3_ref(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size);

}  // namespace px
