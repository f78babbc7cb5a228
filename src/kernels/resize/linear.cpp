#include <utility>

#include "kernels/resize/resize_image.h"

namespace px {

void linearWalk(const LinearPasses &passes, const ResizeJob &job) {
    const int32_t dstW = job.dstW;
    auto horizontal = [&](const uint8_t *row, uint16_t *out) {
        passes.row(row, dstW, job.pixelStride, job.xIndex, job.xWeight, passes.plan, out);
    };
    // Output row r, and the next one too where it blends the same pair and the level can do both at
    // once; the count of rows done.
    auto vertical = [&](uint8_t *out, int32_t r, const uint16_t *upper, const uint16_t *lower) {
        if (job.pixelStride != job.channels) {
            pxLinearBlendSkip(out, dstW, job.yWeight[r], upper, lower);
            return 1;
        }
        if (passes.blendTwo && r + 1 < job.dstH && job.yIndex[r + 1] == job.yIndex[r]) {
            passes.blendTwo(out, out + job.dstStep, dstW * job.channels, job.yWeight[r], job.yWeight[r + 1], upper,
                            lower);
            return 2;
        }
        passes.blend(out, dstW * job.channels, job.yWeight[r], upper, lower);
        return 1;
    };
    // Each source row passes through the horizontal pass once while it stays in the pair; moving
    // the pair on exchanges the buffers instead of copying them. yIndex entries are row numbers
    // times the step, so they rise with a positive step and fall with a negative one (bottom-up
    // images), and the comparisons turn with the sign.
    const uint8_t *src = job.src;
    uint8_t *dst = job.dst;
    const int32_t *yIndex = job.yIndex;
    uint16_t *upperRow = job.bufferA;
    uint16_t *lowerRow = job.bufferB;
    const int64_t step = job.srcStep;
    if (step > 0) {
        int64_t last = int64_t{yIndex[0]} - 1;  // the first output row counts as an advance
        horizontal(src + yIndex[0], lowerRow);
        for (int32_t r = 0; r < job.dstH;) {
            const int64_t y = yIndex[r];
            if (y > last) {
                std::swap(upperRow, lowerRow);  // the old lower row is the new upper one...
                horizontal(src + y + step, lowerRow);
                if (y > last + step) horizontal(src + y, upperRow);  // ...unless rows were skipped
                last = y;
            }
            const int32_t done = vertical(dst, r, upperRow, lowerRow);
            r += done;
            dst += int64_t{done} * job.dstStep;
        }
    } else {
        int64_t last = int64_t{yIndex[0]} + 1;
        horizontal(src + yIndex[0], lowerRow);
        for (int32_t r = 0; r < job.dstH;) {
            const int64_t y = yIndex[r];
            if (y < last) {
                std::swap(upperRow, lowerRow);
                horizontal(src + y + step, lowerRow);
                if (y < last + step) horizontal(src + y, upperRow);
                last = y;
            }
            const int32_t done = vertical(dst, r, upperRow, lowerRow);
            r += done;
            dst += int64_t{done} * job.dstStep;
        }
    }
}

// Three channels: the engine refuses other channel counts, so the four-channel row pass is not
// needed here.
void pxLinearImage(const ResizeJob &job) {
    static constexpr LinearPasses kPasses = {
        [](const uint8_t *row, int32_t w, int32_t stride, const int32_t *index, const uint16_t *weight, const void *,
           uint16_t *out) { pxLinearRowC3(row, w, stride, index, weight, out); },
        pxLinearBlend, nullptr};
    linearWalk(kPasses, job);
}

}  // namespace px
