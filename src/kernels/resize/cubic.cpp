#include <utility>

#include "kernels/resize/resize_image.h"

namespace px {

void cubicWalk(const CubicPasses &passes, const ResizeJob &job) {
    const int32_t dstW = job.dstW;
    const int32_t pixelStride = job.pixelStride;
    auto horizontal = [&](int64_t offset, float *out) {
        if (passes.plan) {
            passes.planned(job.src + offset, passes.plan, out);
        } else {
            passes.row(job.src + offset, dstW, pixelStride, job.xIndex, job.xFraction, out);
        }
    };
    uint8_t *dst = job.dst;
    float *r0 = job.rows[0], *r1 = job.rows[1], *r2 = job.rows[2], *r3 = job.rows[3];
    auto vertical = [&](float t) {
        if (pixelStride == job.channels) {
            passes.combine(dst, dstW * job.channels, t, r0, r1, r2, r3);
        } else {
            cubicCombineSkip(dst, dstW, t, r0, r1, r2, r3);
        }
    };

    // The ring holds the stencil's four rows, R0 the row before the entry. Each source row passes
    // the horizontal pass once while it stays in the ring; an advance rotates buffers instead of
    // copying them, and only the rows that come new are filled. yIndex entries are row numbers
    // times the step, so they fall with a negative step (bottom-up images) and the comparisons turn.
    const int64_t step = job.srcStep;
    const bool rising = step > 0;
    const int64_t y0 = job.yIndex[0];
    horizontal(y0 - step, r1);
    horizontal(y0, r2);
    horizontal(y0 + step, r3);
    int64_t last = rising ? y0 - 1 : y0 + 1;  // the first output row counts as an advance
    // "y lies at or past last + n rows" in the walking direction.
    auto reaches = [&](int64_t y, int64_t n) { return rising ? y >= last + n * step : y <= last + n * step; };
    for (int32_t i = 0; i < job.dstH; ++i) {
        const int64_t y = job.yIndex[i];
        if (rising ? y > last : y < last) {
            // (R0, R1, R2, R3) to (R1, R2, R3, R0): one row on, the new one at the bottom.
            std::swap(r0, r1);
            std::swap(r1, r2);
            std::swap(r2, r3);
            horizontal(y + 2 * step, r3);
            if (reaches(y, 2)) {
                std::swap(r0, r1);
                std::swap(r1, r2);
                horizontal(y + step, r2);
            }
            if (reaches(y, 3)) {
                std::swap(r0, r1);
                horizontal(y, r1);
            }
            if (reaches(y, 4)) horizontal(y - step, r0);
            last = y;
        }
        vertical(job.yFraction[i]);
        dst += job.dstStep;
    }
}

// Three channels: the engine refuses other channel counts.
void pxCubicImage(const ResizeJob &job) { cubicWalk({pxCubicRow, pxCubicCombine}, job); }

}  // namespace px
