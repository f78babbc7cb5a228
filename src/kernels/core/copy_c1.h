// The forms of pxCopyC1, one per processor level.
#pragma once

#include "kestrix/px.h"

namespace px {

PxStatus pxCopyC1_ref(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size);
PxStatus pxCopyC1_ssse3(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size);
PxStatus pxCopyC1_sse41(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size);
PxStatus pxCopyC1_avx2(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size);

}  // namespace px
