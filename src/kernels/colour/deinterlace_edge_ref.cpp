// Level 0 of the edge-directed deinterlace, and the plain rule that every form falls back on.
#include <cstddef>

#include "kernels/colour/deinterlace_edge.h"

namespace px {

void deinterlaceEdgeColumns(const uint8_t *upper, const uint8_t *lower, uint8_t *dst, int32_t x0, int32_t x1) {
    for (int32_t x = x0; x < x1; ++x) {
        const int32_t dA = upper[x - 1] > lower[x + 1] ? upper[x - 1] - lower[x + 1] : lower[x + 1] - upper[x - 1];
        const int32_t dB = upper[x + 1] > lower[x - 1] ? upper[x + 1] - lower[x - 1] : lower[x - 1] - upper[x + 1];
        const int32_t dV = upper[x] > lower[x] ? upper[x] - lower[x] : lower[x] - upper[x];
        // Ties go to the rising diagonal between the two diagonals, and to the vertical against
        // either one.
        int32_t p = upper[x], q = lower[x];
        if (dA < dB) {
            if (dA < dV) p = upper[x - 1], q = lower[x + 1];
        } else if (dB < dV) {
            p = upper[x + 1], q = lower[x - 1];
        }
        dst[x] = static_cast<uint8_t>((p + q + 1) >> 1);
    }
}

void deinterlaceEdgeRowScalar(const uint8_t *upper, const uint8_t *lower, const uint8_t *base, uint8_t *dst,
                              int32_t width) {
    dst[0] = base[0];
    dst[width - 1] = base[width - 1];
    deinterlaceEdgeColumns(upper, lower, dst, 1, width - 1);
}

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

PxStatus pxDeinterlaceEdge_ref(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size,
                               int32_t field, int32_t copyLine) {
    return deinterlaceEdgeRows(src, srcStep, dst, dstStep, size, field, copyLine, 2, deinterlaceEdgeRowScalar);
}

}  // namespace px
