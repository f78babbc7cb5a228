#include "kernels/filter/sharpen_c3.h"

#include "kernels/core/level.h"

namespace px {

PxStatus sharpenC3Checks(const uint8_t *src, int32_t srcStep, const uint8_t *dst, int32_t dstStep, PxSize size) {
    if (src == nullptr || dst == nullptr) return PxStsNullPtr;
    if (size.width < 1 || size.height < 1) return PxStsBadSize;
    if (srcStep < 1 || dstStep < 1) return PxStsBadStep;
    return PxStsOk;
}

uint8_t sharpenSample(int32_t c, int32_t neighbourhoodSum) {
    const int32_t t = 17 * c - neighbourhoodSum;
    if (t <= 0) return 0;
    // t / 8 with ties to even: a remainder of exactly 4 rounds up only when bit 3 (the quotient's
    // low bit) is set.
    const int32_t value = (t + ((t & 8) >> 3) + 3) >> 3;
    return static_cast<uint8_t>(value > 255 ? 255 : value);
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
