#include "kernels/colour/yuv420.h"

#include <cstddef>

#include "kernels/core/level.h"

namespace px {

namespace {

// Both directions check alike: the packed image and the plane array, the size, then each plane.
template <typename Plane>
PxStatus checkArguments(const void *packed, const Plane *planes, PxSize size) {
    if (packed == nullptr || planes == nullptr) return PxStsNullPtr;
    if (size.width < 1 || size.height < 1) return PxStsBadSize;
    if (planes[0] == nullptr || planes[1] == nullptr || planes[2] == nullptr) return PxStsNullPtr;
    return PxStsOk;
}

// The odd last row and column are neither read nor written; the status says so.
PxStatus evenPartStatus(PxSize size) { return ((size.width | size.height) & 1) ? PxStsOddSize : PxStsOk; }

}  // namespace

PxStatus rgbToYuv420Rows(const uint8_t *src, int32_t srcStep, uint8_t *const planes[3], const int32_t planeSteps[3],
                         PxSize size, RgbToYuv420RowPair rowPair) {
    if (const PxStatus status = checkArguments(src, planes, size); status) return status;
    const int32_t blocks = size.width >> 1;
    const int32_t pairs = size.height >> 1;
    if (blocks > 0) {
        for (int32_t j = 0; j < pairs; ++j) {
            const uint8_t *s0 = src + static_cast<ptrdiff_t>(2 * j) * srcStep;
            uint8_t *y0 = planes[0] + static_cast<ptrdiff_t>(2 * j) * planeSteps[0];
            rowPair(s0, s0 + srcStep, y0, y0 + planeSteps[0], planes[1] + static_cast<ptrdiff_t>(j) * planeSteps[1],
                    planes[2] + static_cast<ptrdiff_t>(j) * planeSteps[2], blocks);
        }
    }
    return evenPartStatus(size);
}

PxStatus yuv420ToRgbRows(const uint8_t *const planes[3], const int32_t planeSteps[3], uint8_t *dst, int32_t dstStep,
                         PxSize size, Yuv420ToRgbRowPair rowPair) {
    if (const PxStatus status = checkArguments(dst, planes, size); status) return status;
    const int32_t blocks = size.width >> 1;
    const int32_t pairs = size.height >> 1;
    if (blocks > 0) {
        for (int32_t j = 0; j < pairs; ++j) {
            const uint8_t *y0 = planes[0] + static_cast<ptrdiff_t>(2 * j) * planeSteps[0];
            uint8_t *d0 = dst + static_cast<ptrdiff_t>(2 * j) * dstStep;
            rowPair(y0, y0 + planeSteps[0], planes[1] + static_cast<ptrdiff_t>(j) * planeSteps[1],
                    planes[2] + static_cast<ptrdiff_t>(j) * planeSteps[2], d0, d0 + dstStep, blocks);
        }
    }
    return evenPartStatus(size);
}

namespace {

const DispatchTable<PxStatus(const uint8_t *, int32_t, uint8_t *const[3], const int32_t[3], PxSize)>
    rgbToYuv420Table = {pxRgbToYuv420_ref, pxRgbToYuv420_ssse3, pxRgbToYuv420_ssse3, pxRgbToYuv420_ssse3,
                        pxRgbToYuv420_avx2};

const DispatchTable<PxStatus(const uint8_t *const[3], const int32_t[3], uint8_t *, int32_t, PxSize)>
    yuv420ToRgbTable = {pxYuv420ToRgb_ref, pxYuv420ToRgb_ssse3, pxYuv420ToRgb_ssse3, pxYuv420ToRgb_ssse3,
                        pxYuv420ToRgb_avx2};

}  // namespace
}  // namespace px

extern "C" PX_API PxStatus pxRgbToYuv420(const uint8_t *src, int32_t srcStep, uint8_t *const planes[3],
                                         const int32_t planeSteps[3], PxSize size) {
    return px::rgbToYuv420Table[px::PxLevel](src, srcStep, planes, planeSteps, size);
}

extern "C" PX_API PxStatus pxYuv420ToRgb(const uint8_t *const planes[3], const int32_t planeSteps[3], uint8_t *dst,
                                         int32_t dstStep, PxSize size) {
    return px::yuv420ToRgbTable[px::PxLevel](planes, planeSteps, dst, dstStep, size);
}
