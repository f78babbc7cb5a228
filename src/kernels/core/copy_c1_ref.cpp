#include "kernels/core/copy_c1.h"

namespace px {

PxStatus pxCopyC1_ref(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size) {
    return copyC1Rows(
        [](const uint8_t *s, uint8_t *d, int32_t width) {
            for (int32_t x = 0; x < width; ++x) d[x] = s[x];
        },
        src, srcStep, dst, dstStep, size);
}

}  // namespace px
