#include "kernels/core/level.h"
#include "kernels/resize/resize_engine.h"

namespace px {

PxStatus pxResizeC3_ref(const uint8_t *src, PxSize srcSize, int32_t srcStep, PxRect srcRect, uint8_t *dst,
                        int32_t dstStep, PxSize dstSize, double xFactor, double yFactor, int32_t interpolation) {
    // srcRect is the entry's own copy: clipping never reaches the caller's record.
    if (interpolation == PxSuper && xFactor <= 1.0 && yFactor <= 1.0)
        return pxResizeSuper(src, srcSize, srcStep, &srcRect, dst, dstStep, dstSize, xFactor, yFactor, 3, 3, PxData8u,
                             0);
    // Everything else, supersampling with a factor above 1.0 included, goes to the engine.
    return pxResizeEngine(src, srcSize.width, srcSize.height, srcStep, &srcRect, dst, dstStep, dstSize, xFactor,
                          yFactor, 0.0, 0.0, 3, 3, PxData8u, 0, interpolation, 1);
}

namespace {
// The vector forms come later; every level runs the reference form until then.
const DispatchTable<decltype(pxResizeC3_ref)> kResizeC3 = {pxResizeC3_ref, pxResizeC3_ref, pxResizeC3_ref,
                                                           pxResizeC3_ref, pxResizeC3_ref};
}  // namespace

}  // namespace px

extern "C" PxStatus pxResizeC3(const uint8_t *src, PxSize srcSize, int32_t srcStep, PxRect srcRect, uint8_t *dst,
                               int32_t dstStep, PxSize dstSize, double xFactor, double yFactor,
                               int32_t interpolation) {
    return px::kResizeC3[px::PxLevel](src, srcSize, srcStep, srcRect, dst, dstStep, dstSize, xFactor, yFactor,
                                      interpolation);
}
