// The stretch family: scale a DIB into the caller's work block with StretchDIB, copy it out, and
// run filter passes over it, work and the output exchanging roles through a copy after each pass.
// Nothing is allocated and nothing here can throw: the course is plain C calls, so no exception
// can reach the caller. Kernel statuses are not looked at; a pass that fails has done nothing.
#include <algorithm>
#include <cstring>

#include "bitmap/stretch_dib.h"
#include "kestrix.h"
#include "kestrix/px.h"

namespace {

// 32-bit products and differences wrap, as the frame geometry always has, without signed overflow.
int32_t wrapMul(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}
int32_t wrapSub(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}

// a / b truncated toward zero; false where the processor would fault instead: b of 0, or
// -2147483648 / -1.
bool divide(int32_t a, int32_t b, int32_t &quotient) {
    if (b == 0 || (a == INT32_MIN && b == -1)) return false;
    quotient = a / b;
    return true;
}

// The bytes the header's own depth needs, compared unsigned, the product wrapping in 32 bits.
bool sizeFieldTooSmall(const BITMAPINFOHEADER &h) {
    const uint32_t needed = static_cast<uint32_t>(h.biBitCount >> 3) * static_cast<uint32_t>(h.biHeight) *
                            static_cast<uint32_t>(h.biWidth);
    return h.biSizeImage < needed;
}

struct DibRect {
    int32_t x, y, width, height;
};

// Where the scaled image goes in the destination: scale 0 fills it, -1 fits the source's shape
// into it, anything else centres an integer multiple (below -1 the extents come out negative and
// nothing is drawn). All from the uncut source size. False when the multiple is too large, and
// also where a division would fault (a zero source side): the caller then ends as for a
// multiple too large.
bool destinationRectangle(int32_t scale, int32_t sw, int32_t sh, int32_t dw, int32_t dh, DibRect &r) {
    if (scale == 0) {
        r = {0, 0, dw, dh};
        return true;
    }
    if (scale == -1) {
        // Compared in 32 bits, as the products stand.
        if (wrapMul(sw, dh) <= wrapMul(sh, dw)) {
            int32_t nw;
            if (!divide(wrapMul(sw, dh), sh, nw)) return false;
            r = {wrapSub(dw, nw) / 2, 0, nw, dh};
        } else {
            int32_t nh;
            if (!divide(wrapMul(sh, dw), sw, nh)) return false;
            r = {0, wrapSub(dh, nh) / 2, dw, nh};
        }
        return true;
    }
    int32_t across, down;
    if (!divide(dw, sw, across) || scale > across) return false;
    if (!divide(dh, sh, down) || scale > down) return false;
    const int32_t width = wrapMul(sw, scale), height = wrapMul(sh, scale);
    r = {wrapSub(dw, width) / 2, wrapSub(dh, height) / 2, width, height};
    return true;
}

// Each pass reads work and writes bits over the region 2 rows down and 2 bytes (not pixels) in,
// (width - 4) by (height - 4) pixels, rows rowBytes apart with no DIB padding; then the copy back
// makes its result the next pass's source. Starting inside the first pixel is harmless, since
// the filters step in threes and a byte only meets bytes of its own channel; so 2 bytes at each
// row's start and 10 at its end keep their value, as do the top and bottom 2 rows.
template <class Pass>
void runPasses(uint8_t *work, uint8_t *bits, uint32_t size, int64_t rowBytes, int32_t width, int32_t height,
               int32_t passes, Pass pass) {
    const int64_t offset = 2 * rowBytes + 2;
    const int64_t regionWidth = int64_t{width} - 4;
    int64_t regionHeight = int64_t{height} - 4;
    // The window reads one pixel around the region. Rows whose window would reach past the
    // block's size are left out (a header whose size holds its 24-bit rows loses none), and a
    // row step of nothing, or past 32 bits, leaves the pass with nothing to do.
    if (rowBytes >= 1 && rowBytes <= INT32_MAX && regionWidth >= 1) {
        const int64_t room = int64_t{size} - offset - 3 * regionWidth - 3;
        regionHeight = room < 0 ? 0 : std::min(regionHeight, room / rowBytes);
    } else {
        regionHeight = 0;
    }
    for (int32_t i = 0; i < passes; ++i) {
        if (regionHeight >= 1) {
            pass(work + offset, bits + offset, static_cast<int32_t>(rowBytes),
                 PxSize{static_cast<int32_t>(regionWidth), static_cast<int32_t>(regionHeight)});
        }
        std::memcpy(work, bits, size);
    }
}

// The filter pass of BmpStretchDIBEx and BmpStretchDIBEx2: the caller's 3x3 kernel, anchored in
// its middle. The kernel is not tested; a divisor of 0 makes every pass do nothing.
auto kernelPass(const int32_t *kernel, int32_t divisor) {
    return [kernel, divisor](const uint8_t *src, uint8_t *dst, int32_t step, PxSize region) {
        pxFilterC3(src, step, dst, step, region, kernel, PxSize{3, 3}, PxPoint{1, 1}, divisor);
    };
}

// BmpStretchDIB and BmpStretchDIBEx: the same course, with their source rectangle and pass.
template <class Pass>
int32_t stretchAndFilter(const BITMAPINFOHEADER *source, const uint8_t *sourceBits, BITMAPINFOHEADER *dest,
                         uint8_t *destBits, uint8_t *work, int32_t scale, int32_t passes, bool cutBorder, Pass pass) {
    if (source == nullptr || sourceBits == nullptr || dest == nullptr || destBits == nullptr || work == nullptr) {
        return -1;
    }
    if (sizeFieldTooSmall(*source) || sizeFieldTooSmall(*dest)) return -2;
    // The size check above used the caller's depth; from here on the destination is 24-bit.
    dest->biSize = 40;
    dest->biPlanes = 1;
    dest->biBitCount = 24;

    const int32_t sw = source->biWidth, sh = source->biHeight, dw = dest->biWidth, dh = dest->biHeight;
    const uint32_t size = dest->biSizeImage;
    // The cut takes 12 columns off each side and 5 rows off each end, whatever the source's size.
    const DibRect cut = cutBorder ? DibRect{12, 5, wrapSub(sw, 24), wrapSub(sh, 10)} : DibRect{0, 0, sw, sh};
    // A fill covers all of work; the other geometries leave black bars.
    if (scale != 0) std::memset(work, 0, size);
    DibRect target;
    if (!destinationRectangle(scale, sw, sh, dw, dh, target)) return -3;
    kx::StretchDIB(*dest, work, target.x, target.y, target.width, target.height, *source, sourceBits, cut.x, cut.y,
                   cut.width, cut.height);
    std::memcpy(destBits, work, size);
    if (passes < 1) return 0;
    runPasses(work, destBits, size, int64_t{3} * dw, dw, dh, passes, pass);
    return 0;
}

}  // namespace

extern "C" {

KX_API int32_t BmpStretchDIB(const BITMAPINFOHEADER *source, const uint8_t *sourceBits, BITMAPINFOHEADER *dest,
                             uint8_t *destBits, uint8_t *work, int32_t scale, int32_t passes) {
    return stretchAndFilter(source, sourceBits, dest, destBits, work, scale, passes, false,
                            [](const uint8_t *src, uint8_t *dst, int32_t step, PxSize region) {
                                pxSharpenC3(src, step, dst, step, region);
                            });
}

KX_API int32_t BmpStretchDIBEx(const BITMAPINFOHEADER *source, const uint8_t *sourceBits, BITMAPINFOHEADER *dest,
                               uint8_t *destBits, uint8_t *work, int32_t scale, int32_t passes,
                               const int32_t *kernel, int32_t divisor) {
    return stretchAndFilter(source, sourceBits, dest, destBits, work, scale, passes, true,
                            kernelPass(kernel, divisor));
}

KX_API int32_t BmpStretchDIBEx2(const BITMAPINFOHEADER *frame, uint8_t *bits, uint8_t *work, int32_t passes,
                                const int32_t *kernel, int32_t divisor) {
    if (frame == nullptr || bits == nullptr || work == nullptr) return -1;
    if (sizeFieldTooSmall(*frame)) return -2;
    const uint32_t size = frame->biSizeImage;
    std::memcpy(work, bits, size);
    if (passes < 1) return 0;
    // In place: bits is the output of every pass, work its source. The row takes the frame's own
    // depth, though the kernel always takes three bytes a pixel.
    runPasses(work, bits, size, int64_t{frame->biBitCount >> 3} * frame->biWidth, frame->biWidth, frame->biHeight,
              passes, kernelPass(kernel, divisor));
    return 0;
}

}  // extern "C"
