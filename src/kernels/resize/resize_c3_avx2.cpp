// pxResizeC3 at level 4: linear, cubic, Lanczos and the supersampling row adds in 256-bit registers;
// nearest and the Lanczos weights as at level 3.
#include "kernels/resize/resize_engine.h"
#include "kernels/resize/resize_forms.h"
#include "kernels/resize/resize_image.h"

namespace px {
namespace {
constexpr ResizeImageFunctions kAvx2Images = {pxNearestImage_ssse3, pxLinearImage_avx2,         pxCubicImage_avx2,
                                              pxLanczosImage_avx2,  pxResizeCoefficients_ssse3, superC3_avx2};
}  // namespace

PxStatus pxResizeC3_avx2(const uint8_t *src, PxSize srcSize, int32_t srcStep, PxRect srcRect, uint8_t *dst,
                         int32_t dstStep, PxSize dstSize, double xFactor, double yFactor, int32_t interpolation) {
    return resizeC3With(kAvx2Images,
                        {src, srcSize, srcStep, srcRect, dst, dstStep, dstSize, xFactor, yFactor, interpolation});
}

}  // namespace px
