// Level 0 of pxSharpenC3, and the plain passes that every form falls back on.
#include <cstddef>
#include <utility>

#include "kernels/filter/sharpen_c3.h"

namespace px {

uint8_t sharpenSample(int32_t c, int32_t neighbourhoodSum) {
    const int32_t t = 17 * c - neighbourhoodSum;
    if (t <= 0) return 0;
    // t / 8 with ties to even: a remainder of exactly 4 rounds up only when bit 3 (the quotient's
    // low bit) is set.
    const int32_t value = (t + ((t & 8) >> 3) + 3) >> 3;
    return static_cast<uint8_t>(value > 255 ? 255 : value);
}

void sharpenColumns_ref(const uint8_t *above, const uint8_t *row, const uint8_t *below, uint16_t *sums,
                          int32_t count) {
    for (int32_t t = 0; t < count; ++t) sums[t] = static_cast<uint16_t>(above[t] + row[t] + below[t]);
}

void sharpenOperator_ref(const uint8_t *row, const uint16_t *sums, uint8_t *out, int32_t count) {
    for (int32_t k = 0; k < count; ++k) out[k] = sharpenSample(row[k], sums[k] + sums[k + 3] + sums[k + 6]);
}

namespace {

// Element k is the sum of byte k of the row and the same channel's bytes one pixel to each side.
void horizontalSums(const uint8_t *row, int32_t *sums, int32_t count) {
    for (int32_t k = 0; k < count; ++k) sums[k] = row[k - 3] + row[k] + row[k + 3];
}

}  // namespace

PxStatus pxSharpenC3_ref(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size) {
    if (const PxStatus status = sharpenC3Checks(src, srcStep, dst, dstStep, size); status) return status;

    // Three rows of sums in one block. A width whose block a 32-bit count cannot describe is
    // scratch that cannot be had.
    const int64_t count = int64_t{size.width} * 3;
    if (count * 3 > INT32_MAX) return PxStsNoMem;
    const int32_t n = static_cast<int32_t>(count);
    int32_t *block = reinterpret_cast<int32_t *>(pxAlloc32(3 * n));
    if (block == nullptr) return PxStsNoMem;

    // No edge treatment: the rows above and below the region and the pixel to each side are the
    // caller's margin.
    int32_t *above = block, *middle = block + n, *below = block + 2 * n;
    horizontalSums(src - srcStep, above, n);
    horizontalSums(src, middle, n);
    for (int32_t y = 0; y < size.height; ++y) {
        const uint8_t *row = src + static_cast<ptrdiff_t>(y) * srcStep;
        uint8_t *out = dst + static_cast<ptrdiff_t>(y) * dstStep;
        horizontalSums(row + srcStep, below, n);
        for (int32_t k = 0; k < n; ++k) out[k] = sharpenSample(row[k], above[k] + middle[k] + below[k]);
        // Each row's sums serve three output rows and are computed once.
        std::swap(above, middle);
        std::swap(middle, below);
    }
    pxFree(block);
    return PxStsOk;
}

}  // namespace px
