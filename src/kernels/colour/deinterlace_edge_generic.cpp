// Levels 1 to 4 of the edge-directed deinterlace, in plain code. They accept a height of 1,
// which level 0 refuses: with copyLine set such a plane is just copied.
#include "kernels/colour/deinterlace_edge.h"

namespace px {

PxStatus pxDeinterlaceEdge_generic(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep,
                                   PxSize size, int32_t field, int32_t copyLine) {
    return deinterlaceEdgeRows(src, srcStep, dst, dstStep, size, field, copyLine, 1, deinterlaceEdgeRowScalar);
}

}  // namespace px
