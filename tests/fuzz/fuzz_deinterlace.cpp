// pxDeinterlaceEdge on random planes, fields and steps at every level the processor runs: an
// error leaves the destination untouched, a success writes only inside the plane's size.
#include <cstdlib>

#include "fuzz/fuzz_input.h"
#include "kestrix/px.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    kx::fuzz::Input in(data, size);
    if (pxSetLevel(in.range(0, 4)) != PxStsOk) pxSetLevel(0);
    const int32_t w = in.range(-1, 70), h = in.range(-1, 40);
    const int32_t field = in.range(-1, 2), copyLine = in.range(0, 1);
    const int32_t rows = h > 0 ? h : 1;
    const int32_t srcStep = (w > 0 ? w : 1) + in.range(0, 4), dstStep = (w > 0 ? w : 1) + in.range(0, 4);
    // Without copyLine the row that has no partner reads the row above or below the plane, which
    // the caller provides: the plane sits one row into its buffer.
    std::vector<uint8_t> src(size_t(srcStep) * (rows + 2));
    in.fill(src.data(), src.size());
    kx::fuzz::Sentinelled dst(size_t(dstStep) * rows);
    const PxStatus status =
        pxDeinterlaceEdge(src.data() + srcStep, srcStep, dst.data(), dstStep, {w, h}, field, copyLine);
    pxSetLevel(0);
    if (!(status < 0 ? dst.untouchedOutside(0, 0, dstStep) : dst.untouchedOutside(h, w, dstStep))) std::abort();
    return 0;
}
