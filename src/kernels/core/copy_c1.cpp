#include "kernels/core/copy_c1.h"

#include "kernels/core/level.h"

namespace px {

PxStatus copyC1Rows(CopyRow row, const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size) {
    if (!src || !dst) return PxStsNullPtr;
    if (size.width < 1 || size.height < 1) return PxStsBadSize;
    for (int32_t y = 0; y < size.height; ++y)
        row(src + static_cast<intptr_t>(y) * srcStep, dst + static_cast<intptr_t>(y) * dstStep, size.width);
    return PxStsOk;
}

namespace {
constexpr DispatchTable<PxStatus(const uint8_t *, int32_t, uint8_t *, int32_t, PxSize)> copyC1Table = {
    pxCopyC1_ref, pxCopyC1_ssse3, pxCopyC1_ssse3, pxCopyC1_sse41, pxCopyC1_avx2};
}  // namespace
}  // namespace px

extern "C" PxStatus pxCopyC1(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size) {
    return px::copyC1Table[px::PxLevel](src, srcStep, dst, dstStep, size);
}
