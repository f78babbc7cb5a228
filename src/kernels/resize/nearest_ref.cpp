#include <cstring>

#include "kernels/resize/resize_image.h"

namespace px {

void pxNearestImage(const ResizeJob &job) {
    const int32_t dstW = job.dstW, pixelStride = job.pixelStride;
    const int32_t *xIndex = job.xIndex;
    uint8_t *dst = job.dst;
    if (dstW < 1) return;
    // Packed output moves a pixel as four bytes where it can. Columns rise with the output, so the
    // source of every column left of the last column's source is followed by at least one whole
    // pixel that is read anyway: its fourth byte is safe to read. It lands on the next output
    // pixel, which is written after it. Not with a stride of 4: there the fourth output byte keeps
    // what it held.
    int32_t wide = 0;
    if (pixelStride == 3) {
        while (wide < dstW - 1 && xIndex[wide] < xIndex[dstW - 1]) ++wide;
    }
    for (int32_t r = 0; r < job.dstH; ++r) {
        // A row with the same source row as the one before is gathered again, not copied as a block.
        const uint8_t *row = job.src + job.yIndex[r];
        uint8_t *out = dst;
        int32_t c = 0;
        for (; c < wide; ++c) {
            std::memcpy(out, row + xIndex[c], 4);
            out += 3;
        }
        for (; c < dstW; ++c) {
            std::memcpy(out, row + xIndex[c], 3);
            out += pixelStride;
        }
        dst += job.dstStep;
    }
}

}  // namespace px
