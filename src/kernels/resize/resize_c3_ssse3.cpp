// pxResizeC3 at levels 1 to 3: the vector image functions, Lanczos weights and supersampling engine.
#include "kernels/resize/resize_engine.h"
#include "kernels/resize/resize_forms.h"
#include "kernels/resize/resize_image.h"

namespace px {
namespace {
constexpr ResizeImageFunctions kSsse3Images = {pxNearestImage_ssse3, pxLinearImage_ssse3,        pxCubicImage_ssse3,
                                               pxLanczosImage_ssse3, pxResizeCoefficients_ssse3, superC3_ssse3};
}  // namespace

PxStatus pxResizeC3_ssse3(const uint8_t *src, PxSize srcSize, int32_t srcStep, PxRect srcRect, uint8_t *dst,
                          int32_t dstStep, PxSize dstSize, double xFactor, double yFactor, int32_t interpolation) {
    return resizeC3With(kSsse3Images,
                        {src, srcSize, srcStep, srcRect, dst, dstStep, dstSize, xFactor, yFactor, interpolation});
}

}  // namespace px
