#include "kernels/filter/sharpen_c3.h"

#include "kernels/core/level.h"

namespace px {

PxStatus sharpenC3Checks(const uint8_t *src, int32_t srcStep, const uint8_t *dst, int32_t dstStep, PxSize size) {
    if (src == nullptr || dst == nullptr) return PxStsNullPtr;
    if (size.width < 1 || size.height < 1) return PxStsBadSize;
    if (srcStep < 1 || dstStep < 1) return PxStsBadStep;
    return PxStsOk;
}

namespace {
// The vector forms come later; every level runs the reference form until then.
const DispatchTable<decltype(pxSharpenC3_ref)> sharpenC3Table = {pxSharpenC3_ref, pxSharpenC3_ref, pxSharpenC3_ref,
                                                                 pxSharpenC3_ref, pxSharpenC3_ref};
}  // namespace

}  // namespace px

extern "C" PX_API PxStatus pxSharpenC3(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep,
                                       PxSize size) {
    return px::sharpenC3Table[px::PxLevel](src, srcStep, dst, dstStep, size);
}
