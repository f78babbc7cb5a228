#include "kernels/filter/filter_c3.h"

#include <cstddef>

#include "kernels/core/level.h"

namespace px {

PxStatus filterC3Checks(const FilterCall &call) {
    if (call.src == nullptr || call.dst == nullptr || call.kernel == nullptr) return PxStsNullPtr;
    const PxSize size = call.size, kernelSize = call.kernelSize;
    if (size.width < 1 || size.height < 1 || kernelSize.width < 1 || kernelSize.height < 1) return PxStsBadSize;
    // A divisor of 0 is told apart from a bad step: the caller's kernel, not its image, is wrong.
    if (call.divisor == 0) return PxStsBadDivisor;
    // The source row must hold the window's reach to both sides; 64 bits so no size wraps past it.
    if (call.srcStep < (int64_t{size.width} + kernelSize.width - 1) * 3 || call.dstStep < int64_t{size.width} * 3) {
        return PxStsBadStep;
    }
    return PxStsOk;
}

FilterDivision filterDivision(int32_t divisor) {
    if (divisor == 1) return {FilterDivision::Plain, 0, 1.0f};
    if (divisor > 1 && (divisor & (divisor - 1)) == 0) {
        int32_t shift = 0;
        while ((int32_t{1} << shift) != divisor) ++shift;
        return {FilterDivision::Shift, shift, 1.0f};
    }
    return {FilterDivision::Reciprocal, 0, 1.0f / static_cast<float>(divisor)};
}

namespace {

// The widest coefficients whose pair sums a 16-bit multiply-add is trusted with; anything wider
// sends the call to the scalar rule.
constexpr int32_t kPairLow = -32767, kPairHigh = 32766;

// Reverses each kernel row into pairs; false, with the pairs unfinished, at a coefficient out of range.
bool repackPairs(const int32_t *kernel, int32_t kw, int32_t kh, FilterPair *pairs) {
    const int32_t pairsPerRow = (kw + 1) / 2;
    for (int32_t j = 0; j < kh; ++j) {
        const int32_t *row = kernel + static_cast<ptrdiff_t>(j) * kw;
        for (int32_t p = 0; p < pairsPerRow; ++p) {
            int32_t pair[2] = {0, 0};
            for (int32_t half = 0; half < 2; ++half) {
                const int32_t m = 2 * p + half;  // window pixel, left to right
                if (m == kw) break;
                const int32_t coefficient = row[kw - 1 - m];
                if (coefficient < kPairLow || coefficient > kPairHigh) return false;
                pair[half] = coefficient;
            }
            FilterPair &out = pairs[static_cast<ptrdiff_t>(j) * pairsPerRow + p];
            for (int32_t lane = 0; lane < 8; lane += 2) {
                out.lanes[lane] = static_cast<int16_t>(pair[0]);
                out.lanes[lane + 1] = static_cast<int16_t>(pair[1]);
            }
        }
    }
    return true;
}

}  // namespace

bool filterFitsSums16(const FilterCall &call, const FilterDivision &division) {
    if (call.kernelSize.width != 3 || call.kernelSize.height != 3 || call.size.width < 6) return false;
    if (division.kind == FilterDivision::Shift && division.shift > 15) return false;
    int32_t magnitudes = 0;
    for (int32_t t = 0; t < 9; ++t) {
        const int32_t c = call.kernel[t];
        if (c < -128 || c > 127) return false;
        magnitudes += c < 0 ? -c : c;
    }
    return 255 * magnitudes <= 32767;
}

PxStatus filterC3WithPasses(const FilterPasses &passes, const FilterCall &call) {
    if (const PxStatus status = filterC3Checks(call); status) return status;
    const PxSize size = call.size;
    const int32_t *kernel = call.kernel;
    const FilterDivision division = filterDivision(call.divisor);
    if (passes.sums16 && filterFitsSums16(call, division)) {
        passes.sums16(call, division);
        return PxStsOk;
    }
    const int32_t kw = call.kernelSize.width, kh = call.kernelSize.height;

    // One block: sixteen bytes for each coefficient (the pairs take at most that), then a row of
    // sums, one for each byte of an output row. A block a 32-bit count cannot describe is not had.
    const int64_t pairWords = int64_t{kw} * kh * 4;
    const int64_t words = (pairWords + int64_t{size.width} * 3 + 3) & ~int64_t{3};
    uint32_t *block = nullptr;
    if (kw >= 3 && size.width >= 5 && words <= INT32_MAX) block = pxAlloc32(static_cast<int32_t>(words));
    auto *pairs = reinterpret_cast<FilterPair *>(block);
    if (block == nullptr || !repackPairs(kernel, kw, kh, pairs)) {
        pxFree(block);
        filterC3Rows_ref(call, division, 0, size.height);
        return PxStsOk;
    }

    int32_t *sums = reinterpret_cast<int32_t *>(block + pairWords);
    const int32_t rowBytes = size.width * 3, pairsPerRow = (kw + 1) / 2;
    // The window's leftmost pixel lies KW - 1 pixels left of the anchor column.
    const ptrdiff_t left = 3 * (static_cast<ptrdiff_t>(call.anchor.x) - kw + 1);
    const FilterRowPass rowPass = kw == 3 ? passes.row3 : kw == 5 ? passes.row5 : passes.rowAny;
    const FilterFinishPass finish = division.kind == FilterDivision::Shift ? passes.finishShift : passes.finishScale;
    for (int32_t y = 0; y < size.height; ++y) {
        // Kernel row j meets source row y + anchor.y - j: the window's rows top to bottom.
        for (int32_t j = kh - 1; j >= 0; --j) {
            const uint8_t *window = call.src + (static_cast<ptrdiff_t>(y) + call.anchor.y - j) * call.srcStep + left;
            rowPass(window, pairs + static_cast<ptrdiff_t>(j) * pairsPerRow, kernel + static_cast<ptrdiff_t>(j) * kw,
                    kw, sums, rowBytes, j == kh - 1);
        }
        finish(sums, call.dst + static_cast<ptrdiff_t>(y) * call.dstStep, rowBytes, division);
    }
    pxFree(block);
    return PxStsOk;
}

namespace {
const DispatchTable<decltype(pxFilterC3_ref)> filterC3Table = {pxFilterC3_ref, pxFilterC3_ssse3, pxFilterC3_ssse3,
                                                               pxFilterC3_ssse3, pxFilterC3_avx2};
}  // namespace

}  // namespace px

extern "C" PX_API PxStatus pxFilterC3(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size,
                                      const int32_t *kernel, PxSize kernelSize, PxPoint anchor, int32_t divisor) {
    return px::filterC3Table[px::PxLevel](src, srcStep, dst, dstStep, size, kernel, kernelSize, anchor, divisor);
}
