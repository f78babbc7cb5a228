#include "kernels/filter/sharpen_c3.h"

#include <cstddef>

#include "kernels/core/level.h"

namespace px {

PxStatus sharpenC3Checks(const uint8_t *src, int32_t srcStep, const uint8_t *dst, int32_t dstStep, PxSize size) {
    if (src == nullptr || dst == nullptr) return PxStsNullPtr;
    if (size.width < 1 || size.height < 1) return PxStsBadSize;
    if (srcStep < 1 || dstStep < 1) return PxStsBadStep;
    return PxStsOk;
}

PxStatus sharpenC3WithPasses(SharpenColumnPass columns, SharpenOperatorPass apply, const uint8_t *src, int32_t srcStep,
                             uint8_t *dst, int32_t dstStep, PxSize size) {
    if (const PxStatus status = sharpenC3Checks(src, srcStep, dst, dstStep, size); status) return status;

    // 96 bytes, the 16-bit column sums of sixteen pixels, for each sixteen of the width rounded up
    // and of the margin of two pixels. A block a 32-bit count cannot describe cannot be had.
    const int64_t bytes = 3 * 32 * ((((int64_t{size.width} + 15) & ~int64_t{15}) + 6 + 15) >> 4);
    if (bytes > INT32_MAX) return PxStsNoMem;
    auto *sums = reinterpret_cast<uint16_t *>(pxAllocBytes(static_cast<int32_t>(bytes)));
    if (sums == nullptr) return PxStsNoMem;

    // The neighbourhoods of a row reach one pixel to each side: 3 * (width + 2) column sums from
    // byte -3. No edge treatment: the rows above and below and those pixels are the caller's margin.
    const int32_t rowBytes = size.width * 3, columnCount = rowBytes + 6;
    for (int32_t y = 0; y < size.height; ++y) {
        const uint8_t *row = src + static_cast<ptrdiff_t>(y) * srcStep;
        columns(row - srcStep - 3, row - 3, row + srcStep - 3, sums, columnCount);
        apply(row, sums, dst + static_cast<ptrdiff_t>(y) * dstStep, rowBytes);
    }
    pxFree(sums);
    return PxStsOk;
}

namespace {
const DispatchTable<decltype(pxSharpenC3_ref)> sharpenC3Table = {pxSharpenC3_ref, pxSharpenC3_ssse3, pxSharpenC3_ssse3,
                                                                 pxSharpenC3_ssse3, pxSharpenC3_avx2};
}  // namespace

}  // namespace px

extern "C" PX_API PxStatus pxSharpenC3(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep,
                                       PxSize size) {
    return px::sharpenC3Table[px::PxLevel](src, srcStep, dst, dstStep, size);
}
