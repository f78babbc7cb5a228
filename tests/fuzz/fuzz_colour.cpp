// Both 4:2:0 conversions on random sizes and steps: an error leaves every output untouched, and a
// success writes only inside the image (Y) and its half-size chroma planes.
#include <cstdlib>

#include "fuzz/fuzz_input.h"
#include "kestrix/px.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    kx::fuzz::Input in(data, size);
    const int32_t level = in.range(0, 4);
    if (pxSetLevel(level) != PxStsOk) pxSetLevel(0);
    const int32_t w = in.range(-1, 40), h = in.range(-1, 40);
    const int32_t cw = (w > 0 ? w : 1 + 1) / 2 + 1, ch = (h > 0 ? h : 1 + 1) / 2 + 1;  // chroma, rounded up
    const int32_t rows = h > 0 ? h : 1;
    const int32_t packedStep = (w > 0 ? w : 1) * 3 + in.range(0, 4);
    const int32_t steps[3] = {(w > 0 ? w : 1) + in.range(0, 4), cw + in.range(0, 4), cw + in.range(0, 4)};

    std::vector<uint8_t> packed(size_t(packedStep) * size_t(rows));
    in.fill(packed.data(), packed.size());
    kx::fuzz::Sentinelled y(size_t(steps[0]) * rows), u(size_t(steps[1]) * ch), v(size_t(steps[2]) * ch);
    uint8_t *const planes[3] = {y.data(), u.data(), v.data()};
    PxStatus status = pxRgbToYuv420(packed.data(), packedStep, planes, steps, {w, h});
    const int64_t chromaW = (int64_t{w} + 1) / 2, chromaH = (int64_t{h} + 1) / 2;
    bool fine = status < 0 ? y.untouchedOutside(0, 0, steps[0]) && u.untouchedOutside(0, 0, steps[1]) &&
                                 v.untouchedOutside(0, 0, steps[2])
                           : y.untouchedOutside(h, w, steps[0]) && u.untouchedOutside(chromaH, chromaW, steps[1]) &&
                                 v.untouchedOutside(chromaH, chromaW, steps[2]);

    // And back, from planes of random content.
    in.fill(y.data(), y.bytes.size());
    in.fill(u.data(), u.bytes.size());
    in.fill(v.data(), v.bytes.size());
    const uint8_t *const sources[3] = {y.data(), u.data(), v.data()};
    kx::fuzz::Sentinelled rgb(size_t(packedStep) * size_t(rows));
    status = pxYuv420ToRgb(sources, steps, rgb.data(), packedStep, {w, h});
    fine = fine && (status < 0 ? rgb.untouchedOutside(0, 0, packedStep)
                               : rgb.untouchedOutside(h, int64_t{w} * 3, packedStep));
    pxSetLevel(0);
    if (!fine) std::abort();
    return 0;
}
