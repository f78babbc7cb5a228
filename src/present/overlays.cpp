#include "present/overlays.h"

#include "present/fit.h"

#include <cstring>

namespace kx::present {

namespace {

// The text buffer with a zero byte on either side of its 256: a terminator written at the
// position a conversion returned may fall one past the end, and the "%s" copy of a full buffer
// stops there.
struct TextBuffer {
    char storage[kTextBufferSize + 2] = {};
    char *bytes() { return storage + 1; }
};

// Lengths are trusted: the caller keeps them below the buffer's size. A larger one is cut to it
// rather than run past it.
size_t copyLength(int32_t length) {
    if (length < 0) return 0;
    return static_cast<size_t>(length < kTextBufferSize ? length : kTextBufferSize);
}

// value * to / from with a 32-bit product, truncated. The quotient is cut back to 32 bits too, so
// the one that does not fit (the most negative product over -1) wraps instead of faulting.
int32_t scaled(int32_t value, int32_t to, int32_t from) { return wrap32(int64_t{wrap32(int64_t{value} * to)} / from); }

// The text up to its first zero byte, as a "%s" format takes it.
std::string upToZero(const char *bytes) { return std::string(bytes, ::strnlen(bytes, kTextBufferSize)); }

}  // namespace

std::string textInAlwaysWide(platform::PaintDevice &device, const void *text, int32_t length) {
    TextBuffer buffer;
    if (text) {
        try {
            // The raw copy comes first: if the conversion fails, these bytes stay and are shown,
            // in most cases the first character alone, as its second byte is 0.
            std::memcpy(buffer.bytes(), text, copyLength(length));
            device.wideToNarrow(static_cast<const uint16_t *>(text), length, buffer.bytes(), kTextBufferSize);
        } catch (...) {
            // A failure inside the copy leaves what the buffer holds; the paint goes on.
        }
    }
    return upToZero(buffer.bytes());
}

std::string textInEitherForm(platform::PaintDevice &device, const void *text, int32_t length, int32_t wideText,
                             bool bottomRight) {
    TextBuffer buffer;
    if (text) {
        std::memcpy(buffer.bytes(), text, copyLength(length));
        int32_t end = length;
        if (wideText) {
            end = device.wideToNarrow(static_cast<const uint16_t *>(text), length, buffer.bytes(), kTextBufferSize);
            // Only the bottom right text guards against a negative result. For the top left one
            // that position lies before the buffer, so the text is left unterminated by it.
            if (bottomRight && end < 0) end = 0;
        }
        if (end >= 0 && end <= kTextBufferSize) buffer.bytes()[end] = 0;
    }
    return upToZero(buffer.bytes());
}

void outlineZones(platform::PaintDevice &device, platform::PaintContext dc, const RECT *zones, int32_t zoneCount,
                  const BITMAPINFOHEADER &frame, const BITMAPINFOHEADER &paintHeader) {
    if (!zones || zoneCount <= 0) return;
    const int32_t paintWidth = paintHeader.biWidth, paintHeight = paintHeader.biHeight;
    const int32_t frameWidth = frame.biWidth, frameHeight = frame.biHeight;
    for (int32_t i = 0; i < zoneCount; ++i) {
        RECT rect = zones[i];
        platform::PaintBrush brush = device.createSolidBrush(kRed);
        // The size is the only test: a rectangle of frame size anywhere is drawn and clipped by the
        // window, and an inverted one has a negative size and passes.
        const bool fits = wrap32(int64_t{rect.right} - rect.left) <= frameWidth &&
                          wrap32(int64_t{rect.bottom} - rect.top) <= frameHeight;
        // A frame with no width or height has no mapping: its outlines are not drawn.
        if (fits && frameWidth != 0 && frameHeight != 0) {
            // From frame pixels to the painted image, in 32 bits with truncation. No offset: on the
            // crop road the painted header has the frame's size and the rectangle stays where it is.
            rect.left = scaled(rect.left, paintWidth, frameWidth);
            rect.top = scaled(rect.top, paintHeight, frameHeight);
            rect.right = scaled(rect.right, paintWidth, frameWidth);
            rect.bottom = scaled(rect.bottom, paintHeight, frameHeight);
            device.frameRect(dc, &rect, brush);
        }
        device.deleteObject(brush);
    }
}

void drawTexts(platform::PaintDevice &device, platform::PaintContext dc, int32_t width, int32_t height,
               const std::string &topLeft, int32_t textState, const std::string &bottomRight) {
    const auto topLeftLength = static_cast<int32_t>(topLeft.size());
    const auto bottomRightLength = static_cast<int32_t>(bottomRight.size());

    device.setBkMode(dc, platform::kTransparent);
    device.setTextAlign(dc, platform::kAlignLeft | platform::kAlignTop);
    uint32_t before = device.setTextColor(dc, kWhite);
    device.textOut(dc, 0, 0, topLeft.c_str(), topLeftLength);
    device.textOut(dc, 0, 2, topLeft.c_str(), topLeftLength);
    device.textOut(dc, 2, 0, topLeft.c_str(), topLeftLength);
    device.textOut(dc, 2, 2, topLeft.c_str(), topLeftLength);
    device.setTextColor(dc, before);
    // Any other state keeps the colour the context had before the halo.
    if (textState == 0) {
        before = device.setTextColor(dc, kRed);
    } else if (textState == 1) {
        before = device.setTextColor(dc, kBlue);
    }
    device.textOut(dc, 1, 1, topLeft.c_str(), topLeftLength);
    device.setTextColor(dc, before);

    device.setTextAlign(dc, platform::kAlignRight | platform::kAlignBottom);
    const uint32_t before2 = device.setTextColor(dc, kWhite);
    device.textOut(dc, width - 1, height - 1, bottomRight.c_str(), bottomRightLength);
    device.textOut(dc, width - 3, height - 1, bottomRight.c_str(), bottomRightLength);
    device.textOut(dc, width - 1, height - 3, bottomRight.c_str(), bottomRightLength);
    device.textOut(dc, width - 3, height - 3, bottomRight.c_str(), bottomRightLength);
    device.setTextColor(dc, kBlue);
    device.textOut(dc, width - 2, height - 2, bottomRight.c_str(), bottomRightLength);
    device.setTextColor(dc, before2);
}

}  // namespace kx::present
