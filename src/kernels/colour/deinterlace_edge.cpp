#include "kernels/colour/deinterlace_edge.h"
#include "kernels/core/level.h"

namespace px {
namespace {

const DispatchTable<PxStatus(const uint8_t *, int32_t, uint8_t *, int32_t, PxSize, int32_t, int32_t)>
    deinterlaceEdgeTable = {pxDeinterlaceEdge_ref, pxDeinterlaceEdge_ssse3, pxDeinterlaceEdge_ssse3,
                            pxDeinterlaceEdge_ssse3, pxDeinterlaceEdge_avx2};

}  // namespace
}  // namespace px

extern "C" PX_API PxStatus pxDeinterlaceEdge(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep,
                                             PxSize size, int32_t field, int32_t copyLine) {
    return px::deinterlaceEdgeTable[px::PxLevel](src, srcStep, dst, dstStep, size, field, copyLine);
}
