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

void deinterlaceEdgeRow_ref(const uint8_t *upper, const uint8_t *lower, const uint8_t *base, uint8_t *dst,
                              int32_t width) {
    dst[0] = base[0];
    dst[width - 1] = base[width - 1];
    deinterlaceEdgeColumns(upper, lower, dst, 1, width - 1);
}

PxStatus pxDeinterlaceEdge_ref(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size,
                               int32_t field, int32_t copyLine) {
    return deinterlaceEdgeRows(src, srcStep, dst, dstStep, size, field, copyLine, 2, deinterlaceEdgeRow_ref);
}

}  // namespace px
