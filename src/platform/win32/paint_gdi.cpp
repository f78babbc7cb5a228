#include <windows.h>

#include "platform/paint.h"

namespace kx::platform {

namespace {

HWND windowHandle(int32_t window) {
    // The caller's 32-bit value is widened with its sign, as handles are.
    return reinterpret_cast<HWND>(static_cast<intptr_t>(window));
}

class GdiPaintDevice final : public PaintDevice {
public:
    PaintContext getWindowDC(int32_t window) override { return GetWindowDC(windowHandle(window)); }

    int32_t releaseDC(int32_t window, PaintContext dc) override {
        return ReleaseDC(windowHandle(window), static_cast<HDC>(dc));
    }

    int32_t setDIBitsToDevice(PaintContext dc, int32_t x, int32_t y, int32_t width, int32_t height, int32_t sourceX,
                              int32_t sourceY, uint32_t startScan, uint32_t scanCount, const void *bits,
                              const BITMAPINFOHEADER *header, uint32_t colourUse) override {
        // Frames come with no colour table, but GDI reads one behind the header for depths of 8
        // bits or less, and three masks for bit fields: it finds zeros in a copy instead of reading
        // past the caller's 40 bytes.
        struct {
            BITMAPINFOHEADER header;
            RGBQUAD colours[256];
        } info{};
        info.header = *header;
        return SetDIBitsToDevice(static_cast<HDC>(dc), x, y, static_cast<DWORD>(width), static_cast<DWORD>(height),
                                 sourceX, sourceY, startScan, scanCount, bits,
                                 reinterpret_cast<const BITMAPINFO *>(&info), colourUse);
    }

    PaintBrush createSolidBrush(uint32_t colour) override { return CreateSolidBrush(colour); }

    int32_t frameRect(PaintContext dc, const RECT *rect, PaintBrush brush) override {
        return FrameRect(static_cast<HDC>(dc), rect, static_cast<HBRUSH>(brush));
    }

    int32_t deleteObject(PaintBrush brush) override { return DeleteObject(static_cast<HGDIOBJ>(brush)); }

    int32_t setBkMode(PaintContext dc, int32_t mode) override { return SetBkMode(static_cast<HDC>(dc), mode); }

    uint32_t setTextAlign(PaintContext dc, uint32_t align) override {
        return SetTextAlign(static_cast<HDC>(dc), align);
    }

    uint32_t setTextColor(PaintContext dc, uint32_t colour) override {
        return SetTextColor(static_cast<HDC>(dc), colour);
    }

    int32_t textOut(PaintContext dc, int32_t x, int32_t y, const char *text, int32_t length) override {
        return TextOutA(static_cast<HDC>(dc), x, y, text, length);
    }
};

}  // namespace

PaintDevice &nativePaintDevice() {
    static GdiPaintDevice device;
    return device;
}

}  // namespace kx::platform
