#include "kernels/core/copy_c1.h"

namespace px {

PxStatus pxCopyC1_ref(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size) {
    if (!src || !dst) return PxStsNullPtr;
    if (size.width < 1 || size.height < 1) return PxStsBadSize;
    for (int32_t y = 0; y < size.height; ++y) {
        const uint8_t *s = src + static_cast<intptr_t>(y) * srcStep;
        uint8_t *d = dst + static_cast<intptr_t>(y) * dstStep;
        for (int32_t x = 0; x < size.width; ++x) d[x] = s[x];
    }
    return PxStsOk;
}

}  // namespace px
