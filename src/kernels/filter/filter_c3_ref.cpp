// Level 0 of pxFilterC3, and the scalar rule that every form falls back on.
#include <cstddef>

#include "kernels/filter/filter_c3.h"

namespace px {

uint8_t filterDivide(int32_t sum, const FilterDivision &division) {
    int32_t value = sum;
    if (division.kind == FilterDivision::Shift) {
        if (sum < 1) return 0;
        // Round to nearest, ties to even: the half is added less one, plus the quotient's low bit.
        const int32_t s = division.shift;
        const int32_t half = int32_t{1} << (s - 1);
        const int32_t mask = (int32_t{1} << s) - 1;
        const int32_t quotient = sum >> s;
        value = quotient + (((sum & mask) + half + (quotient & 1) - 1) >> s);
    } else if (division.kind == FilterDivision::Reciprocal) {
        const float scaled = static_cast<float>(sum) * division.reciprocal;
        if (scaled >= 255.0f) return 255;
        // Everything negative ends here too.
        if (scaled <= 0.5f) return 0;
        value = static_cast<int32_t>(scaled + 0.5f);
        if (static_cast<float>(value) - scaled == 0.5f) value &= ~1;
    }
    return static_cast<uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
}

void filterRowPass_ref(const uint8_t *window, const int32_t *kernelRow, int32_t kw, int32_t *sums, int32_t count,
                         bool first) {
    for (int32_t k = 0; k < count; ++k) {
        // Unsigned, so that the sums wrap in 32 bits as the scalar rule's do.
        uint32_t sum = first ? 0u : static_cast<uint32_t>(sums[k]);
        for (int32_t m = 0; m < kw; ++m) {
            sum += static_cast<uint32_t>(kernelRow[kw - 1 - m]) * window[k + 3 * static_cast<ptrdiff_t>(m)];
        }
        sums[k] = static_cast<int32_t>(sum);
    }
}

void filterFinish_ref(const int32_t *sums, uint8_t *out, int32_t count, const FilterDivision &division) {
    for (int32_t k = 0; k < count; ++k) out[k] = filterDivide(sums[k], division);
}

void filterC3Rows_ref(const FilterCall &call, const FilterDivision &division, int32_t first, int32_t last) {
    const int32_t kw = call.kernelSize.width, kh = call.kernelSize.height;
    const int32_t rowBytes = call.size.width * 3;
    const int32_t *kernel = call.kernel;
    const int32_t srcStep = call.srcStep;
    const PxPoint anchor = call.anchor;
    // Sums of a stretch of the output row, tap by tap: one coefficient meets a run of bytes, which
    // a compiler can widen on its own. Unsigned, so that the sums wrap in 32 bits as they must.
    constexpr int32_t kRun = 256;
    uint32_t sums[kRun];
    for (int32_t y = first; y < last; ++y) {
        uint8_t *out = call.dst + static_cast<ptrdiff_t>(y) * call.dstStep;
        // The window's pixel that meets coefficient (i, j) lies anchor - (i, j) away: a true
        // convolution, the kernel flipped both ways.
        const uint8_t *anchorRow =
            call.src + (static_cast<ptrdiff_t>(y) + anchor.y) * srcStep + static_cast<ptrdiff_t>(anchor.x) * 3;
        for (int32_t start = 0; start < rowBytes; start += kRun) {
            const int32_t count = rowBytes - start < kRun ? rowBytes - start : kRun;
            for (int32_t k = 0; k < count; ++k) sums[k] = 0;
            for (int32_t j = 0; j < kh; ++j) {
                for (int32_t i = 0; i < kw; ++i) {
                    const uint32_t coefficient = static_cast<uint32_t>(kernel[static_cast<ptrdiff_t>(j) * kw + i]);
                    const uint8_t *tap =
                        anchorRow - static_cast<ptrdiff_t>(j) * srcStep - 3 * static_cast<ptrdiff_t>(i) + start;
                    for (int32_t k = 0; k < count; ++k) sums[k] += coefficient * tap[k];
                }
            }
            for (int32_t k = 0; k < count; ++k) out[start + k] = filterDivide(static_cast<int32_t>(sums[k]), division);
        }
    }
}

PxStatus pxFilterC3_ref(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size,
                        const int32_t *kernel, PxSize kernelSize, PxPoint anchor, int32_t divisor) {
    const FilterCall call{src, srcStep, dst, dstStep, size, kernel, kernelSize, anchor, divisor};
    if (const PxStatus status = filterC3Checks(call); status) return status;
    filterC3Rows_ref(call, filterDivision(divisor), 0, size.height);
    return PxStsOk;
}

}  // namespace px
