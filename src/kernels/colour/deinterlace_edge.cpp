#include "kernels/colour/deinterlace_edge.h"

#include <cstddef>

#include "kernels/core/level.h"

namespace px {

PxStatus deinterlaceEdgeRows(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size,
                             int32_t field, int32_t copyLine, int32_t minHeight, DeinterlaceRow row) {
    if (src == nullptr || dst == nullptr) return PxStsNullPtr;
    if (size.width < 1) return PxStsBadSize;
    if (size.height < minHeight) return PxStsBadSize;

    const int32_t w = size.width, h = size.height;
    // Field 0 builds each line above its base row, field 1 below it. Without copyLine the row
    // that lacks a partner reads one row outside the plane (-1 or h); the caller answers for it.
    const int32_t upperOffset = field == 0 ? -1 : 0;
    int32_t first = 0, last = h;
    if (copyLine != 0) {
        const int32_t copied = field == 0 ? 0 : h - 1;
        // The copy comes before any computed row; its status tells nothing the checks above did not.
        pxCopyLine(src + static_cast<ptrdiff_t>(copied) * srcStep, dst + static_cast<ptrdiff_t>(copied) * dstStep, w);
        if (field == 0) first = 1;
        else last = h - 1;
    }
    for (int32_t i = first; i < last; ++i) {
        const uint8_t *upper = src + static_cast<ptrdiff_t>(i + upperOffset) * srcStep;
        const uint8_t *lower = upper + srcStep;
        const uint8_t *base = src + static_cast<ptrdiff_t>(i) * srcStep;
        row(upper, lower, base, dst + static_cast<ptrdiff_t>(i) * dstStep, w);
    }
    return PxStsOk;
}

namespace {

const DispatchTable<PxStatus(const uint8_t *, int32_t, uint8_t *, int32_t, PxSize, int32_t, int32_t)>
    deinterlaceEdgeTable = {pxDeinterlaceEdge_ref, pxDeinterlaceEdge_ssse3, pxDeinterlaceEdge_ssse3,
                            pxDeinterlaceEdge_sse41, pxDeinterlaceEdge_avx2};

}  // namespace
}  // namespace px

extern "C" PX_API PxStatus pxDeinterlaceEdge(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep,
                                             PxSize size, int32_t field, int32_t copyLine) {
    return px::deinterlaceEdgeTable[px::PxLevel](src, srcStep, dst, dstStep, size, field, copyLine);
}
