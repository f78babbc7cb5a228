#include "kernels/core/copy_c1.h"

#include "kernels/core/level.h"

namespace px {
namespace {
constexpr DispatchTable<PxStatus(const uint8_t *, int32_t, uint8_t *, int32_t, PxSize)> copyC1Table = {
    pxCopyC1_ref, pxCopyC1_ssse3, pxCopyC1_ssse3, pxCopyC1_sse41, pxCopyC1_avx2};
}  // namespace
}  // namespace px

extern "C" PxStatus pxCopyC1(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size) {
    return px::copyC1Table[px::PxLevel](src, srcStep, dst, dstStep, size);
}
