// JpegDecompress2 and JpegDecompress3: a ready frame painted into a window, fitted by one of three
// roads, with zone outlines and two texts over it. Nothing is decoded, in spite of the names.
#include <algorithm>
#include <cstring>
#include <string>

#include "frame/library_state.h"
#include "kestrix.h"
#include "kestrix/px.h"
#include "platform/paint.h"
#include "present/fit.h"
#include "present/overlays.h"

namespace kx::present {

namespace {

struct PaintCall {
    PaintForm form;
    int32_t window, width, height;
    const RECT *zones;
    int32_t zoneCount;
    BITMAPINFOHEADER *header;
    const uint8_t *pixels;
    const void *topLeftText;
    int32_t topLeftLength, textState;
    const void *bottomRightText;
    int32_t bottomRightLength;
    uint8_t *resizeTarget;  // JpegDecompress3 only
    int32_t useResizeTarget, wideText;
};

// A window side rounded up to a multiple of 8, in the 32 bits the resize road computes it in.
int32_t aligned8(int32_t side) { return wrap32(int64_t{side} + 7) / 8 * 8; }

// The same as a size of the block, 0 where it is not a positive size.
int64_t alignedSide(int32_t side) { return std::max<int64_t>(aligned8(side), 0); }

// Grows the shared block when the window outgrows it. The other dimension follows the window
// even if it is smaller, so the recorded sizes can fall. The block itself is made for the
// 8-aligned image of the new window that the resize writes, JpegDecompress3's with the 40 bytes
// that attach adds and JpegDecompress2's without. False, with the old block and sizes kept, when
// the new block cannot be had.
bool growScratch(PaintForm form, int32_t width, int32_t height) {
    if (width <= ScratchWidth && height <= ScratchHeight) return true;
    const uint64_t extra = form == PaintForm::Decompress3 ? 40u : 0u;
    if (!replaceFrameScratch(static_cast<uint64_t>(alignedSide(width) * alignedSide(height)) * 3u + extra, 0))
        return false;
    ScratchWidth = width;
    ScratchHeight = height;
    return true;
}

// Bytes from the start of the block that a resize into it writes (rows of three bytes a pixel at
// the target step) and that the paint reads back (rows of the header's bit count, padded to 32
// bits), or -1 when the rows would run backwards from the block's start. A frame of 24 bits a
// pixel always fits the block the growth made; other depths can ask for more.
int64_t scratchReach(const BITMAPINFOHEADER &paintHeader, int32_t targetStep) {
    const int64_t w = paintHeader.biWidth, h = paintHeader.biHeight;
    if (w <= 0 || h <= 0) return 0;  // the resize refuses these sizes and the paint shows nothing
    if (targetStep < 0 && h > 1) return -1;
    const int64_t written = (h - 1) * targetStep + 3 * w;
    const int64_t painted = (w * paintHeader.biBitCount + 31) / 32 * 4 * h;
    return std::max(written, painted);
}

// The window's context, given back when the call leaves, whichever way it leaves.
class WindowContext {
public:
    WindowContext(platform::PaintDevice &device, int32_t window)
        : device_(device), window_(window), dc_(device.getWindowDC(window)) {}
    ~WindowContext() { device_.releaseDC(window_, dc_); }
    WindowContext(const WindowContext &) = delete;
    WindowContext &operator=(const WindowContext &) = delete;
    platform::PaintContext get() const { return dc_; }

private:
    platform::PaintDevice &device_;
    int32_t window_;
    platform::PaintContext dc_;
};

// Every road paints alike: the window less a one-pixel rim, from source row 1, all scans.
void paintImage(platform::PaintDevice &device, platform::PaintContext dc, const PaintCall &call, int32_t sourceX,
                const void *bits, BITMAPINFOHEADER *header) {
    device.setDIBitsToDevice(dc, 1, 1, call.width - 2, call.height - 2, sourceX, 1, 0,
                             static_cast<uint32_t>(call.height), bits, header, platform::kRgbColours);
}

// The 8-aligned image the resize road writes and paints: its header and row step.
struct AlignedImage {
    BITMAPINFOHEADER header;
    int32_t step;
};

AlignedImage alignedImage(const BITMAPINFOHEADER &frame, int32_t width, int32_t height) {
    AlignedImage target{frame, 0};
    const int32_t alignedWidth = aligned8(width);
    const int32_t alignedHeight = aligned8(height);
    target.header.biWidth = alignedWidth;
    target.header.biHeight = alignedHeight;
    const uint64_t imageBits = uint64_t{target.header.biBitCount} * uint32_t(alignedHeight) * uint32_t(alignedWidth);
    target.header.biSizeImage = static_cast<uint32_t>(wrap32(static_cast<int64_t>(imageBits)) / 8);
    target.step = wrap32(int64_t{target.header.biBitCount} * alignedWidth) / 8;
    return target;
}

// Where the fitted image goes (fitImage): the caller's block (JpegDecompress3, when asked), else the
// shared block, made large enough for all that this frame's depth writes and paints on the resize
// road. False when that block cannot be had.
bool fitImageFor(const PaintCall &call, const Fit &fit, const AlignedImage &target, uint8_t *&fitImage) {
    if (call.form == PaintForm::Decompress3 && call.resizeTarget && call.useResizeTarget) {
        fitImage = call.resizeTarget;  // the caller's, and sized by the caller
        return true;
    }
    if (fit.road == Road::Resize) {
        // Growing keeps what the block held: a column the resize leaves unwritten shows the block's
        // old content.
        const int64_t reach = scratchReach(target.header, target.step);
        if (reach < 0) return false;
        if (static_cast<uint64_t>(reach) > ScratchBytes && !replaceFrameScratch(uint64_t(reach), ScratchBytes))
            return false;
    }
    fitImage = FrameScratch;
    return true;
}

// The frame as it stands. A negative height makes the first memory row the top one, for this paint
// only; the caller's height comes back however the paint ends.
BITMAPINFOHEADER paintSameSize(platform::PaintDevice &device, platform::PaintContext dc, const PaintCall &call) {
    BITMAPINFOHEADER &frame = *call.header;
    BITMAPINFOHEADER paintHeader{};
    paintHeader.biWidth = frame.biWidth;
    paintHeader.biHeight = frame.biHeight;
    struct Flipped {
        BITMAPINFOHEADER &header;
        explicit Flipped(BITMAPINFOHEADER &h) : header(h) { header.biHeight = -header.biHeight; }
        ~Flipped() { header.biHeight = -header.biHeight; }
    } flipped(frame);
    paintImage(device, dc, call, 1, call.pixels, &frame);
    return paintHeader;
}

// The fit rectangle resized into the 8-aligned image of the window, then painted top row first.
BITMAPINFOHEADER paintResized(platform::PaintDevice &device, platform::PaintContext dc, const PaintCall &call,
                              const Fit &fit, const AlignedImage &target, uint8_t *fitImage) {
    const BITMAPINFOHEADER &frame = *call.header;
    BITMAPINFOHEADER paintHeader = target.header;
    // Divided in single precision and only then widened: the factors' rounding is part of the
    // result (a 100-wide rectangle into 352 gives 351 columns).
    const float xRatio = static_cast<float>(paintHeader.biWidth) / static_cast<float>(fit.fitRect.width);
    const float yRatio = static_cast<float>(paintHeader.biHeight) / static_cast<float>(fit.fitRect.height);
    const double xFactor = xRatio, yFactor = yRatio;
    // Unaligned rows: the frame is taken to have rows of exactly this length.
    const int32_t sourceStep = wrap32(int64_t{frame.biBitCount} * frame.biWidth) / 8;
    pxResizeC3(call.pixels, PxSize{frame.biWidth, frame.biHeight}, sourceStep, fit.fitRect, fitImage, target.step,
               PxSize{paintHeader.biWidth, paintHeader.biHeight}, xFactor, yFactor, PxLinear);
    paintHeader.biHeight = -paintHeader.biHeight;
    paintImage(device, dc, call, 1, fitImage, &paintHeader);
    paintHeader.biHeight = -paintHeader.biHeight;
    return paintHeader;
}

// The crop is painted straight from the caller's pixels, shifted by the source x.
BITMAPINFOHEADER paintCrop(platform::PaintDevice &device, platform::PaintContext dc, const PaintCall &call,
                           const Fit &fit) {
    BITMAPINFOHEADER paintHeader = *call.header;
    paintHeader.biHeight = -paintHeader.biHeight;
    paintImage(device, dc, call, fit.fitRect.x, call.pixels, &paintHeader);
    paintHeader.biHeight = -paintHeader.biHeight;
    return paintHeader;
}

// The zone outlines, placed by the header the image was painted with, and the two texts.
void paintOverlays(platform::PaintDevice &device, platform::PaintContext dc, const PaintCall &call,
                   const BITMAPINFOHEADER &paintHeader) {
    std::string topLeft, bottomRight;
    if (call.form == PaintForm::Decompress2) {
        topLeft = textInAlwaysWide(device, call.topLeftText, call.topLeftLength);
        bottomRight = textInAlwaysWide(device, call.bottomRightText, call.bottomRightLength);
    } else {
        topLeft = textInEitherForm(device, call.topLeftText, call.topLeftLength, call.wideText, false);
        bottomRight = textInEitherForm(device, call.bottomRightText, call.bottomRightLength, call.wideText, true);
    }
    outlineZones(device, dc, call.zones, call.zoneCount, *call.header, paintHeader);
    drawTexts(device, dc, call.width, call.height, topLeft, call.textState, bottomRight);
}

int32_t paintFrame(const PaintCall &call) {
    if (!call.header) return 0;
    if (!growScratch(call.form, call.width, call.height)) return 0;
    const BITMAPINFOHEADER &frame = *call.header;
    const Fit fit = chooseFit(call.form, frame.biWidth, frame.biHeight, call.width, call.height);
    const AlignedImage target = alignedImage(frame, call.width, call.height);
    uint8_t *fitImage = nullptr;
    if (!fitImageFor(call, fit, target, fitImage)) return 0;

    platform::PaintDevice &device = platform::paintDevice();
    const WindowContext context(device, call.window);
    const platform::PaintContext dc = context.get();
    BITMAPINFOHEADER paintHeader{};
    switch (fit.road) {
        case Road::SameSize:
            paintHeader = paintSameSize(device, dc, call);
            break;
        case Road::Resize:
            paintHeader = paintResized(device, dc, call, fit, target, fitImage);
            break;
        case Road::Crop:
            paintHeader = paintCrop(device, dc, call, fit);
            break;
    }
    paintOverlays(device, dc, call, paintHeader);
    return 1;
}

// No exception leaves the library: a call that meets one has painted what it could and reports 0.
int32_t paintFrameCaught(const PaintCall &call) {
    try {
        return paintFrame(call);
    } catch (...) {
        return 0;
    }
}

}  // namespace

}  // namespace kx::present

extern "C" {

KX_API int32_t JpegDecompress2(int32_t window, int32_t width, int32_t height, const RECT *zones, int32_t zoneCount,
                               BITMAPINFOHEADER *frame, const uint8_t *pixels, const void *topLeftText,
                               int32_t topLeftLength, int32_t textState, const void *bottomRightText,
                               int32_t bottomRightLength) {
    using namespace kx::present;
    return paintFrameCaught(PaintCall{PaintForm::Decompress2, window, width, height, zones, zoneCount, frame, pixels,
                                topLeftText, topLeftLength, textState, bottomRightText, bottomRightLength, nullptr, 0,
                                1});
}

KX_API int32_t JpegDecompress3(int32_t window, int32_t width, int32_t height, const RECT *zones, int32_t zoneCount,
                               BITMAPINFOHEADER *frame, const uint8_t *pixels, const void *topLeftText,
                               int32_t topLeftLength, int32_t textState, const void *bottomRightText,
                               int32_t bottomRightLength, intptr_t, intptr_t, intptr_t, uint8_t *resizeTarget,
                               int32_t useResizeTarget, int32_t wideText) {
    using namespace kx::present;
    return paintFrameCaught(PaintCall{PaintForm::Decompress3, window, width, height, zones, zoneCount, frame, pixels,
                                topLeftText, topLeftLength, textState, bottomRightText, bottomRightLength,
                                resizeTarget, useResizeTarget, wideText});
}

}  // extern "C"
