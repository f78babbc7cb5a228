#include <cstring>

#include "kernels/resize/resize_image.h"

namespace px {

void pxNearestImage(const uint8_t *src, uint8_t *dst, int32_t dstStep, int32_t dstW, int32_t dstH,
                    const int32_t *yIndex, const int32_t *xIndex, int32_t pixelStride) {
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
    for (int32_t r = 0; r < dstH; ++r) {
        // A row with the same source row as the one before is gathered again, not copied as a block.
        const uint8_t *row = src + yIndex[r];
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
        dst += dstStep;
    }
}

}  // namespace px
