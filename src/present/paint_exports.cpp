// JpegDecompress2 and JpegDecompress3: a ready frame painted into a window, fitted by one of three
// roads, with zone outlines and two texts over it. Nothing is decoded, in spite of the names.
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

// Grows the shared block when the window outgrows it. The other dimension follows the window
// even if it is smaller, so the block can shrink in one direction. JpegDecompress2 leaves out the
// 40 bytes that attach and JpegDecompress3 add; that difference is kept.
void growScratch(PaintForm form, int32_t width, int32_t height) {
    if (width <= ScratchWidth && height <= ScratchHeight) return;
    // On an allocation failure the exception leaves with the old block already freed.
    delete[] FrameScratch;
    ScratchWidth = width;
    ScratchHeight = height;
    const uint32_t extra = form == PaintForm::Decompress3 ? 40u : 0u;
    const auto bytes = static_cast<int32_t>(static_cast<uint32_t>(width) * static_cast<uint32_t>(height) * 3u + extra);
    FrameScratch = new uint8_t[bytes];
    std::memset(FrameScratch, 0, static_cast<size_t>(bytes));
}

// Every road paints alike: the window less a one-pixel rim, from source row 1, all scans.
void paintImage(platform::PaintDevice &device, platform::PaintContext dc, const PaintCall &call, int32_t sourceX,
                const void *bits, BITMAPINFOHEADER *header) {
    device.setDIBitsToDevice(dc, 1, 1, call.width - 2, call.height - 2, sourceX, 1, 0,
                             static_cast<uint32_t>(call.height), bits, header, platform::kRgbColours);
}

int32_t paintFrame(const PaintCall &call) {
    if (!call.header) return 0;
    growScratch(call.form, call.width, call.height);
    platform::PaintDevice &device = platform::paintDevice();
    platform::PaintContext dc = device.getWindowDC(call.window);

    BITMAPINFOHEADER &frame = *call.header;
    BITMAPINFOHEADER paintHeader{};
    const Fit fit = chooseFit(call.form, frame.biWidth, frame.biHeight, call.width, call.height);
    switch (fit.road) {
        case Road::SameSize:
            paintHeader.biWidth = frame.biWidth;
            paintHeader.biHeight = frame.biHeight;
            // A negative height makes the first memory row the top one, for this paint only.
            frame.biHeight = -frame.biHeight;
            paintImage(device, dc, call, 1, call.pixels, &frame);
            frame.biHeight = -frame.biHeight;
            break;
        case Road::Resize: {
            uint8_t *fitImage = FrameScratch;
            if (call.form == PaintForm::Decompress3 && call.resizeTarget && call.useResizeTarget) {
                fitImage = call.resizeTarget;
            }
            paintHeader = frame;
            const int32_t alignedWidth = wrap32(int64_t{call.width} + 7) / 8 * 8;
            const int32_t alignedHeight = wrap32(int64_t{call.height} + 7) / 8 * 8;
            paintHeader.biWidth = alignedWidth;
            paintHeader.biHeight = alignedHeight;
            const uint64_t imageBits = uint64_t{paintHeader.biBitCount} * uint32_t(alignedHeight) * uint32_t(alignedWidth);
            paintHeader.biSizeImage = static_cast<uint32_t>(wrap32(static_cast<int64_t>(imageBits)) / 8);
            // Divided in single precision and only then widened: the factors' rounding is part of
            // the result (a 100-wide rectangle into 352 gives 351 columns).
            const float xRatio = static_cast<float>(alignedWidth) / static_cast<float>(fit.fitRect.width);
            const float yRatio = static_cast<float>(alignedHeight) / static_cast<float>(fit.fitRect.height);
            const double xFactor = xRatio, yFactor = yRatio;
            // Unaligned rows: the frame is taken to have rows of exactly this length.
            const int32_t sourceStep = wrap32(int64_t{frame.biBitCount} * frame.biWidth) / 8;
            const int32_t targetStep = wrap32(int64_t{paintHeader.biBitCount} * alignedWidth) / 8;
            pxResizeC3(call.pixels, PxSize{frame.biWidth, frame.biHeight}, sourceStep, fit.fitRect, fitImage,
                       targetStep, PxSize{alignedWidth, alignedHeight}, xFactor, yFactor, PxLinear);
            paintHeader.biHeight = -paintHeader.biHeight;
            paintImage(device, dc, call, 1, fitImage, &paintHeader);
            paintHeader.biHeight = -paintHeader.biHeight;
            break;
        }
        case Road::Crop:
            // The crop is painted straight from the caller's pixels, shifted by the source x.
            paintHeader = frame;
            paintHeader.biHeight = -paintHeader.biHeight;
            paintImage(device, dc, call, fit.fitRect.x, call.pixels, &paintHeader);
            paintHeader.biHeight = -paintHeader.biHeight;
            break;
    }

    std::string topLeft, bottomRight;
    if (call.form == PaintForm::Decompress2) {
        topLeft = textInAlwaysWide(device, call.topLeftText, call.topLeftLength);
        bottomRight = textInAlwaysWide(device, call.bottomRightText, call.bottomRightLength);
    } else {
        topLeft = textInEitherForm(device, call.topLeftText, call.topLeftLength, call.wideText, false);
        bottomRight = textInEitherForm(device, call.bottomRightText, call.bottomRightLength, call.wideText, true);
    }
    outlineZones(device, dc, call.zones, call.zoneCount, frame, paintHeader);
    drawTexts(device, dc, call.width, call.height, topLeft, call.textState, bottomRight);

    device.releaseDC(call.window, dc);
    return 1;
}

}  // namespace

}  // namespace kx::present

extern "C" {

KX_API int32_t JpegDecompress2(int32_t window, int32_t width, int32_t height, const RECT *zones, int32_t zoneCount,
                               BITMAPINFOHEADER *frame, const uint8_t *pixels, const void *topLeftText,
                               int32_t topLeftLength, int32_t textState, const void *bottomRightText,
                               int32_t bottomRightLength) {
    using namespace kx::present;
    return paintFrame(PaintCall{PaintForm::Decompress2, window, width, height, zones, zoneCount, frame, pixels,
                                topLeftText, topLeftLength, textState, bottomRightText, bottomRightLength, nullptr, 0,
                                1});
}

KX_API int32_t JpegDecompress3(int32_t window, int32_t width, int32_t height, const RECT *zones, int32_t zoneCount,
                               BITMAPINFOHEADER *frame, const uint8_t *pixels, const void *topLeftText,
                               int32_t topLeftLength, int32_t textState, const void *bottomRightText,
                               int32_t bottomRightLength, intptr_t, intptr_t, intptr_t, uint8_t *resizeTarget,
                               int32_t useResizeTarget, int32_t wideText) {
    using namespace kx::present;
    return paintFrame(PaintCall{PaintForm::Decompress3, window, width, height, zones, zoneCount, frame, pixels,
                                topLeftText, topLeftLength, textState, bottomRightText, bottomRightLength,
                                resizeTarget, useResizeTarget, wideText});
}

}  // extern "C"
