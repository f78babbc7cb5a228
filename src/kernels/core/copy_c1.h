// The forms of pxCopyC1, one per processor level.
#pragma once

#include "kestrix/px.h"

namespace px {

// One row of width bytes, as a level copies it.
using CopyRow = void (*)(const uint8_t *s, uint8_t *d, int32_t width);

// The checks, then row by row with a level's row copy.
PxStatus copyC1Rows(CopyRow row, const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size);

PxStatus pxCopyC1_ref(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size);
PxStatus pxCopyC1_ssse3(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size);
PxStatus pxCopyC1_sse41(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size);
PxStatus pxCopyC1_avx2(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size);

}  // namespace px
