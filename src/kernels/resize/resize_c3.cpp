#include "kernels/core/level.h"
#include "kernels/resize/resize_engine.h"

namespace px {

PxStatus resizeC3With(const ResizeImageFunctions &functions, const ResizeC3Call &call) {
    // srcRect is this call's own copy: clipping never reaches the caller's record.
    PxRect rect = call.srcRect;
    if (call.interpolation == PxSuper && call.xFactor <= 1.0 && call.yFactor <= 1.0)
        return resizeSuper(functions.super, {call.src, call.srcSize, call.srcStep, &rect, call.dst, call.dstStep,
                                             call.dstSize, call.xFactor, call.yFactor, 3, 3, PxData8u, 0});
    // Everything else, supersampling with a factor above 1.0 included, goes to the engine.
    return resizeEngine(functions,
                        {call.src, call.srcSize.width, call.srcSize.height, call.srcStep, &rect, call.dst, call.dstStep,
                         call.dstSize, call.xFactor, call.yFactor, 0.0, 0.0, 3, 3, PxData8u, 0, call.interpolation, 1});
}

PxStatus pxResizeC3_ref(const uint8_t *src, PxSize srcSize, int32_t srcStep, PxRect srcRect, uint8_t *dst,
                        int32_t dstStep, PxSize dstSize, double xFactor, double yFactor, int32_t interpolation) {
    return resizeC3With(kLevel0Images,
                        {src, srcSize, srcStep, srcRect, dst, dstStep, dstSize, xFactor, yFactor, interpolation});
}

namespace {
// SSE4.1 adds nothing that the passes use, so level 3 runs the SSSE3 form.
const DispatchTable<decltype(pxResizeC3_ref)> kResizeC3 = {pxResizeC3_ref, pxResizeC3_ssse3, pxResizeC3_ssse3,
                                                           pxResizeC3_ssse3, pxResizeC3_avx2};
}  // namespace

}  // namespace px

extern "C" PxStatus pxResizeC3(const uint8_t *src, PxSize srcSize, int32_t srcStep, PxRect srcRect, uint8_t *dst,
                               int32_t dstStep, PxSize dstSize, double xFactor, double yFactor,
                               int32_t interpolation) {
    return px::kResizeC3[px::PxLevel](src, srcSize, srcStep, srcRect, dst, dstStep, dstSize, xFactor, yFactor,
                                      interpolation);
}
