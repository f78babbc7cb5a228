// Field processing of a frame delivered as two fields stacked in memory: weave them into
// alternating lines, and in mode 2 deinterlace the luminance. Everything happens in the frame and
// the caller's scratch block; nothing is allocated.
#include <algorithm>
#include <cstddef>
#include <cstring>

#include "kestrix.h"
#include "kestrix/px.h"

extern "C" KX_API int32_t BmpProcess(const BITMAPINFOHEADER *frame, uint8_t *bits, int32_t size, uint8_t *scratch,
                                     int32_t scratchSize, int32_t mode) {
    if (frame == nullptr || bits == nullptr || scratch == nullptr || size == 0 || scratchSize == 0 ||
        static_cast<uint32_t>(size) != frame->biSizeImage) {
        return 0;
    }
    if (mode != 1 && mode != 2) return -1;
    // Mode 2 lays out more than the frame in scratch and still compares nothing: the caller knows.
    if (mode == 1 && scratchSize < size) return -1;

    const int32_t w = frame->biWidth;
    const int32_t h = frame->biHeight;
    // Rows are taken as tightly packed, whatever the DIB rules say.
    const int64_t rowBytes = int64_t{w} * (frame->biBitCount >> 3);
    const int32_t half = h / 2;
    // The frame holds `size` bytes, and so, at least, does the scratch block (checked in mode 1,
    // the caller's word in mode 2). A header whose rows need more than that has the rows that
    // would reach past it left out of the weave; a negative size holds nothing.
    const int64_t held = size > 0 ? size : 0;
    auto weaveRow = [&](int64_t from, int64_t to) {
        if (rowBytes > 0 && (std::max(from, to) + 1) * rowBytes <= held)
            std::memcpy(scratch + to * rowBytes, bits + from * rowBytes, static_cast<size_t>(rowBytes));
    };

    // The upper half holds the first field, the lower half the second. With an odd height the
    // last scratch row is never written, and the copy back brings in whatever stood there.
    for (int32_t k = 0; k < half; ++k) {
        weaveRow(k, int64_t{2} * k);
        weaveRow(int64_t{k} + half, int64_t{2} * k + 1);
    }
    std::memcpy(bits, scratch, static_cast<size_t>(held));
    if (mode == 1) return 1;
    // The conversions read and write three bytes a pixel over the whole frame: a frame that holds
    // fewer (a 16-bit one, or a short size) keeps what the weave made of it.
    if (w < 1 || h < 1 || int64_t{3} * w * h > held) return 1;

    // From here on three bytes a pixel. The chroma planes keep the luminance's row step of w,
    // though they hold only w / 2 samples a row. A DIB stores blue first and the kernels take the
    // first byte for red; both directions do so, so the colours come back in their own bytes.
    const ptrdiff_t planeBytes = static_cast<ptrdiff_t>(w) * h;
    uint8_t *const planes[3] = {scratch, scratch + planeBytes, scratch + 2 * planeBytes};
    const int32_t planeSteps[3] = {w, w, w};
    const PxSize frameSize = {w, h};

    pxRgbToYuv420(bits, w * 3, planes, planeSteps, frameSize);
    // Every luminance row is rebuilt between its own row and the next, the frame serving as the
    // output plane for the moment. The last row's partner is the first row of the U plane, and
    // what lies behind its samples in scratch; that is how this frame has always come out.
    pxDeinterlaceEdge(planes[0], w, bits, w, frameSize, 1, 0);
    std::memcpy(scratch, bits, static_cast<size_t>(planeBytes));
    // The chroma never passes through the interpolator: each 2x2 block spans one line of each
    // field, so the conversion's averaging already joins the two fields' colour.
    pxYuv420ToRgb(planes, planeSteps, bits, w * 3, frameSize);
    return 1;
}
