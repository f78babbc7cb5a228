// pxResizeC3 with every interpolation, random geometry, rectangles, factors and steps. The source
// buffer holds the whole source image (every interpolation reads inside it); an error leaves the
// destination untouched, and a success writes only inside dstSize.
#include <cstdlib>

#include "fuzz/fuzz_input.h"
#include "kestrix/px.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    kx::fuzz::Input in(data, size);
    const int32_t interpolations[] = {PxNearest, PxLinear, PxCubic, PxSuper, PxLanczos, 3};
    const int32_t interpolation = interpolations[in.range(0, 5)];
    const int32_t srcW = in.range(1, 48), srcH = in.range(1, 48);
    const int32_t srcStep = srcW * 3 + in.range(0, 5);
    const PxRect rect{in.range(-2, 50), in.range(-2, 50), in.range(-2, 50), in.range(-2, 50)};
    const int32_t dstW = in.range(-1, 64), dstH = in.range(-1, 64);
    const int32_t dstStep = (dstW > 0 ? dstW : 1) * 3 + in.range(0, 5);
    const double xFactor = in.factor(), yFactor = in.factor();

    std::vector<uint8_t> src(size_t(srcStep) * size_t(srcH));
    in.fill(src.data(), src.size());
    const int64_t rows = dstH > 0 ? dstH : 1;
    kx::fuzz::Sentinelled dst(size_t(dstStep) * size_t(rows));
    const PxStatus status = pxResizeC3(src.data(), {srcW, srcH}, srcStep, rect, dst.data(), dstStep, {dstW, dstH},
                                       xFactor, yFactor, interpolation);
    const bool untouched = status < 0 ? dst.untouchedOutside(0, 0, dstStep)
                                      : dst.untouchedOutside(dstH, int64_t{dstW} * 3, dstStep);
    if (!untouched) std::abort();
    return 0;
}
