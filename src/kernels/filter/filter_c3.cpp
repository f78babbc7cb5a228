#include "kernels/filter/filter_c3.h"

#include "kernels/core/level.h"

namespace px {

PxStatus filterC3Checks(const uint8_t *src, int32_t srcStep, const uint8_t *dst, int32_t dstStep, PxSize size,
                        const int32_t *kernel, PxSize kernelSize, int32_t divisor) {
    if (src == nullptr || dst == nullptr || kernel == nullptr) return PxStsNullPtr;
    if (size.width < 1 || size.height < 1 || kernelSize.width < 1 || kernelSize.height < 1) return PxStsBadSize;
    // A divisor of 0 is told apart from a bad step: the caller's kernel, not its image, is wrong.
    if (divisor == 0) return PxStsBadDivisor;
    // The source row must hold the window's reach to both sides; 64 bits so no size wraps past it.
    if (srcStep < (int64_t{size.width} + kernelSize.width - 1) * 3 || dstStep < int64_t{size.width} * 3) {
        return PxStsBadStep;
    }
    return PxStsOk;
}

FilterDivision filterDivision(int32_t divisor) {
    if (divisor == 1) return {FilterDivision::Plain, 0, 1.0f};
    if (divisor > 1 && (divisor & (divisor - 1)) == 0) {
        int32_t shift = 0;
        while ((int32_t{1} << shift) != divisor) ++shift;
        return {FilterDivision::Shift, shift, 1.0f};
    }
    return {FilterDivision::Reciprocal, 0, 1.0f / static_cast<float>(divisor)};
}

namespace {
// The vector forms come later; every level runs the reference form until then.
const DispatchTable<decltype(pxFilterC3_ref)> filterC3Table = {pxFilterC3_ref, pxFilterC3_ref, pxFilterC3_ref,
                                                               pxFilterC3_ref, pxFilterC3_ref};
}  // namespace

}  // namespace px

extern "C" PX_API PxStatus pxFilterC3(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size,
                                      const int32_t *kernel, PxSize kernelSize, PxPoint anchor, int32_t divisor) {
    return px::filterC3Table[px::PxLevel](src, srcStep, dst, dstStep, size, kernel, kernelSize, anchor, divisor);
}
