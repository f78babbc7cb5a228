// The window operations of the paint exports: a device context, the DIB paint, framed rectangles
// in a solid colour, and text. win32/ hands them to GDI; posix/ does the same on an X11 window
// through XCB. Tests put a recording device in place of the native one.
#pragma once

#include <cstdint>

#include "kestrix.h"
#include "platform/platform.h"

namespace kx::platform {

// A window's device context and a solid brush, as opaque handles. Null means none: every
// operation on a null context does nothing and reports failure, as GDI does.
using PaintContext = void *;
using PaintBrush = void *;

// Values of the platform's drawing calls.
constexpr int32_t kTransparent = 1;         // SetBkMode
constexpr int32_t kOpaque = 2;
constexpr uint32_t kAlignLeft = 0;          // SetTextAlign: horizontal
constexpr uint32_t kAlignRight = 2;
constexpr uint32_t kAlignCenter = 6;
constexpr uint32_t kAlignTop = 0;           // vertical
constexpr uint32_t kAlignBottom = 8;
constexpr uint32_t kAlignBaseline = 24;
constexpr uint32_t kRgbColours = 0;         // DIB_RGB_COLORS
constexpr uint32_t kInvalidColour = 0xFFFFFFFF;  // CLR_INVALID, also GDI_ERROR

class PaintDevice {
public:
    virtual ~PaintDevice() = default;

    // GetWindowDC of the window whose handle the caller passed as a 32-bit integer.
    virtual PaintContext getWindowDC(int32_t window) = 0;
    // ReleaseDC: what was drawn is on its way to the window when this returns.
    virtual int32_t releaseDC(int32_t window, PaintContext dc) = 0;

    // SetDIBitsToDevice with a header and no colour table; a negative biHeight is a top-down image.
    virtual int32_t setDIBitsToDevice(PaintContext dc, int32_t x, int32_t y, int32_t width, int32_t height,
                                      int32_t sourceX, int32_t sourceY, uint32_t startScan, uint32_t scanCount,
                                      const void *bits, const BITMAPINFOHEADER *header, uint32_t colourUse) = 0;

    // CreateSolidBrush, FrameRect, DeleteObject. Colours are 0x00BBGGRR.
    virtual PaintBrush createSolidBrush(uint32_t colour) = 0;
    virtual int32_t frameRect(PaintContext dc, const RECT *rect, PaintBrush brush) = 0;
    virtual int32_t deleteObject(PaintBrush brush) = 0;

    // SetBkMode, SetTextAlign, SetTextColor: each returns the previous value.
    virtual int32_t setBkMode(PaintContext dc, int32_t mode) = 0;
    virtual uint32_t setTextAlign(PaintContext dc, uint32_t align) = 0;
    virtual uint32_t setTextColor(PaintContext dc, uint32_t colour) = 0;

    // TextOutA: length bytes of text, placed by the context's alignment.
    virtual int32_t textOut(PaintContext dc, int32_t x, int32_t y, const char *text, int32_t length) = 0;

    // The 16-bit text conversion of the overlays; a test device can make it fail.
    virtual int32_t wideToNarrow(const uint16_t *text, int32_t length, char *buffer, int32_t size) {
        return platform::wideToNarrow(text, length, buffer, size);
    }
};

// The device of this platform: GDI on Windows, X11 elsewhere.
PaintDevice &nativePaintDevice();

namespace detail {
inline PaintDevice *paintDeviceOverride = nullptr;
}

// The device the paint exports draw on.
inline PaintDevice &paintDevice() {
    return detail::paintDeviceOverride ? *detail::paintDeviceOverride : nativePaintDevice();
}

// Puts a device in place of the native one; null brings the native one back.
inline void setPaintDevice(PaintDevice *device) { detail::paintDeviceOverride = device; }

}  // namespace kx::platform
