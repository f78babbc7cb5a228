// pxFilterC3 and pxSharpenC3 on random regions, kernels, anchors, divisors and steps, inside
// source images that hold every pixel the window touches (the kernels' documented reach): an
// error leaves the destination untouched, a success writes only the region.
#include <algorithm>
#include <cstdlib>

#include "fuzz/fuzz_input.h"
#include "kestrix/px.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    kx::fuzz::Input in(data, size);
    const int32_t w = in.range(-1, 40), h = in.range(-1, 30);
    const int32_t kw = in.range(-1, 5), kh = in.range(-1, 5);
    const PxPoint anchor{in.range(0, std::max(kw - 1, 0)), in.range(0, std::max(kh - 1, 0))};
    const int32_t divisors[] = {0, 1, 2, 16, 3, -7, 255, 1 << 30, INT32_MIN, in.range(-300, 300)};
    const int32_t divisor = divisors[in.range(0, 9)];
    int32_t kernel[25];
    for (int32_t &k : kernel) k = in.range(0, 7) == 0 ? in.range(INT32_MIN / 2, INT32_MAX / 2) : in.range(-40, 40);
    const int32_t rows = std::max(h, 1), columns = std::max(w, 1);

    // The window of output (x, y) covers source columns x + anchor.x - (kw - 1) .. x + anchor.x,
    // and rows likewise: the region sits kw - 1 - anchor.x pixels into the image, and so on.
    const int32_t left = std::max(kw, 1) - 1 - anchor.x, top = std::max(kh, 1) - 1 - anchor.y;
    const int32_t srcStep = (columns + std::max(kw, 1) - 1) * 3 + in.range(-3, 3);
    const int32_t dstStep = columns * 3 + in.range(-3, 3);
    const int32_t usedStep = std::max(srcStep, (columns + std::max(kw, 1) - 1) * 3);
    std::vector<uint8_t> src(size_t(usedStep) * size_t(rows + std::max(kh, 1) - 1));
    in.fill(src.data(), src.size());
    const uint8_t *origin = src.data() + size_t(top) * usedStep + size_t(left) * 3;
    const int32_t dstRoom = std::max(dstStep, columns * 3);
    kx::fuzz::Sentinelled dst(size_t(dstRoom) * size_t(rows));
    PxStatus status = pxFilterC3(origin, srcStep, dst.data(), dstStep, {w, h}, kernel, {kw, kh}, anchor, divisor);
    bool fine = status < 0 ? dst.untouchedOutside(0, 0, dstRoom) : dst.untouchedOutside(h, int64_t{w} * 3, dstStep);

    // Sharpen reads a one-pixel margin around the region; its steps are not compared with the width.
    const int32_t marginStep = (columns + 2) * 3;
    std::vector<uint8_t> framed(size_t(marginStep) * size_t(rows + 2));
    in.fill(framed.data(), framed.size());
    kx::fuzz::Sentinelled sharpened(size_t(columns) * 3 * size_t(rows));
    const int32_t sharpenStep = in.range(0, 3) == 0 ? in.range(-1, 0) : marginStep;
    const int32_t outStep = sharpenStep == marginStep ? columns * 3 : sharpenStep;
    status = pxSharpenC3(framed.data() + marginStep + 3, sharpenStep, sharpened.data(), outStep, {w, h});
    fine = fine && (status < 0 ? sharpened.untouchedOutside(0, 0, columns * 3)
                               : sharpened.untouchedOutside(h, int64_t{w} * 3, columns * 3));
    if (!fine) std::abort();
    return 0;
}
