// The paint device on X11, through XCB. XCB rather than Xlib because a library must not take over
// the process-wide Xlib error handler: here a bad window or a failed request comes back as an error
// reply, which is dropped. With no display, or a window that does not exist, getWindowDC gives a
// null context and every operation does nothing, as GDI does on a failed GetWindowDC. Images go
// through memory shared with the server where it offers MIT-SHM and sees this process's memory,
// else through the socket; either way the window shows the same pixels.
#include <xcb/xcb.h>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/paint.h"
#include "platform/posix/x11_shared_image.h"

namespace kx::platform {

using x11::PaintRoute;
using x11::SharedImage;

namespace {

// How a window's pixels are laid out, and how an RGB value becomes one of them.
struct PixelFormat {
    bool usable = false;  // a TrueColor or DirectColor visual with a pixel size we can write
    uint8_t bitsPerPixel = 0;
    uint8_t scanlinePad = 32;
    bool msbFirst = false;
    uint32_t mask[3] = {};  // red, green, blue
    uint8_t shift[3] = {};
    uint8_t bits[3] = {};
    bool bgrx = false;  // 32 bits a pixel, blue in the low byte: a DIB's own byte order

    uint32_t pixel(uint32_t colour) const {
        // COLORREF is 0x00BBGGRR.
        const uint32_t channel[3] = {colour & 0xFF, (colour >> 8) & 0xFF, (colour >> 16) & 0xFF};
        uint32_t value = 0;
        for (int i = 0; i < 3; ++i) {
            const uint32_t c = bits[i] <= 8 ? channel[i] >> (8 - bits[i]) : channel[i] << (bits[i] - 8);
            value |= (c << shift[i]) & mask[i];
        }
        return value;
    }
};

struct X11Context {
    xcb_window_t window = 0;
    xcb_gcontext_t gc = 0;
    int32_t width = 0;  // the window's size, the area drawing is clipped to
    int32_t height = 0;
    uint8_t depth = 0;
    PixelFormat format;
    // A fresh device context: black text on an opaque white background, left-top alignment.
    uint32_t textColour = 0x000000;
    uint32_t backgroundColour = 0xFFFFFF;
    int32_t backgroundMode = kOpaque;
    uint32_t textAlign = kAlignLeft | kAlignTop;
};

struct SolidBrush {
    uint32_t colour;
};

// The library's one connection, opened on first use and kept. Null when there is no display.
xcb_connection_t *connection() {
    static xcb_connection_t *display = [] {
        xcb_connection_t *opened = xcb_connect(nullptr, nullptr);
        if (xcb_connection_has_error(opened)) {
            xcb_disconnect(opened);
            return static_cast<xcb_connection_t *>(nullptr);
        }
        return opened;
    }();
    if (display && xcb_connection_has_error(display)) return nullptr;
    return display;
}

void dropPendingErrors(xcb_connection_t *c) {
    // No events are selected on this connection, so all that arrives are errors of requests whose
    // results the drawing calls do not report.
    while (xcb_generic_event_t *event = xcb_poll_for_event(c)) std::free(event);
}

uint8_t maskShift(uint32_t mask) {
    uint8_t shift = 0;
    while (mask && !(mask & 1)) {
        mask >>= 1;
        ++shift;
    }
    return shift;
}

uint8_t maskBits(uint32_t mask) {
    uint8_t bits = 0;
    for (; mask; mask &= mask - 1) ++bits;
    return bits;
}

PixelFormat findFormat(xcb_connection_t *c, xcb_visualid_t visualId, uint8_t depth) {
    PixelFormat format;
    const xcb_setup_t *setup = xcb_get_setup(c);
    format.msbFirst = setup->image_byte_order == XCB_IMAGE_ORDER_MSB_FIRST;
    bool sized = false;
    for (auto formats = xcb_setup_pixmap_formats_iterator(setup); formats.rem; xcb_format_next(&formats)) {
        if (formats.data->depth == depth) {
            format.bitsPerPixel = formats.data->bits_per_pixel;
            format.scanlinePad = formats.data->scanline_pad;
            sized = true;
        }
    }
    const xcb_visualtype_t *visual = nullptr;
    for (auto screens = xcb_setup_roots_iterator(setup); screens.rem && !visual; xcb_screen_next(&screens)) {
        for (auto depths = xcb_screen_allowed_depths_iterator(screens.data); depths.rem && !visual;
             xcb_depth_next(&depths)) {
            for (auto visuals = xcb_depth_visuals_iterator(depths.data); visuals.rem; xcb_visualtype_next(&visuals)) {
                if (visuals.data->visual_id == visualId) {
                    visual = visuals.data;
                    break;
                }
            }
        }
    }
    if (!sized || !visual) return format;
    if (visual->_class != XCB_VISUAL_CLASS_TRUE_COLOR && visual->_class != XCB_VISUAL_CLASS_DIRECT_COLOR) {
        return format;
    }
    const uint8_t bpp = format.bitsPerPixel;
    if (bpp != 8 && bpp != 16 && bpp != 24 && bpp != 32) return format;
    const uint32_t masks[3] = {visual->red_mask, visual->green_mask, visual->blue_mask};
    for (int i = 0; i < 3; ++i) {
        format.mask[i] = masks[i];
        format.shift[i] = maskShift(masks[i]);
        format.bits[i] = maskBits(masks[i]);
        if (format.bits[i] == 0) return format;
    }
    format.usable = true;
    format.bgrx = bpp == 32 && !format.msbFirst && masks[0] == 0xFF0000 && masks[1] == 0xFF00 && masks[2] == 0xFF;
    return format;
}

void setForeground(xcb_connection_t *c, const X11Context &dc, uint32_t colour) {
    const uint32_t value = dc.format.pixel(colour);
    xcb_change_gc(c, dc.gc, XCB_GC_FOREGROUND, &value);
}

// Fills the part of a rectangle that lies in the window; X coordinates are 16-bit.
void fillClipped(xcb_connection_t *c, const X11Context &dc, int64_t left, int64_t top, int64_t right,
                 int64_t bottom) {
    left = std::max<int64_t>(left, 0);
    top = std::max<int64_t>(top, 0);
    right = std::min<int64_t>(right, dc.width);
    bottom = std::min<int64_t>(bottom, dc.height);
    if (right <= left || bottom <= top) return;
    const xcb_rectangle_t rect = {static_cast<int16_t>(left), static_cast<int16_t>(top),
                                  static_cast<uint16_t>(right - left), static_cast<uint16_t>(bottom - top)};
    xcb_poly_fill_rectangle(c, dc.window, dc.gc, 1, &rect);
}

// One source pixel of a DIB row as 0x00BBGGRR.
uint32_t dibPixel(const uint8_t *row, int32_t x, int32_t bitCount) {
    if (bitCount == 24) {
        const uint8_t *p = row + 3 * static_cast<ptrdiff_t>(x);
        return p[2] | (uint32_t{p[1]} << 8) | (uint32_t{p[0]} << 16);
    }
    if (bitCount == 32) {
        const uint8_t *p = row + 4 * static_cast<ptrdiff_t>(x);
        return p[2] | (uint32_t{p[1]} << 8) | (uint32_t{p[0]} << 16);
    }
    // 16 bits: 5-5-5, each channel widened by repeating its top bits, as the platform does.
    const uint8_t *p = row + 2 * static_cast<ptrdiff_t>(x);
    const uint32_t v = p[0] | (uint32_t{p[1]} << 8);
    const uint32_t r = (v >> 10) & 31, g = (v >> 5) & 31, b = v & 31;
    return ((r << 3) | (r >> 2)) | (((g << 3) | (g >> 2)) << 8) | (((b << 3) | (b >> 2)) << 16);
}

void storePixel(uint8_t *out, uint32_t value, int bytes, bool msbFirst) {
    for (int i = 0; i < bytes; ++i) {
        const int shift = 8 * (msbFirst ? bytes - 1 - i : i);
        out[i] = static_cast<uint8_t>(value >> shift);
    }
}

#if defined(__x86_64__)
// 24-bit pixels widened to 32 with the fourth byte cleared, four with one shuffle. A load takes 16
// bytes, four past the four pixels, so the last pixels of a row are left to the caller: the result
// is how many were done.
__attribute__((target("ssse3"))) int32_t widenSsse3(const uint8_t *in, int32_t count, uint8_t *out) {
    const __m128i order = _mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1);
    int32_t i = 0;
    for (; i + 6 <= count; i += 4, in += 12, out += 16) {
        const __m128i pixels = _mm_loadu_si128(reinterpret_cast<const __m128i *>(in));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out), _mm_shuffle_epi8(pixels, order));
    }
    return i;
}

bool hasSsse3() {
    static const bool has = __builtin_cpu_supports("ssse3");
    return has;
}
#endif

class X11PaintDevice final : public PaintDevice {
public:
    PaintContext getWindowDC(int32_t window) override {
        xcb_connection_t *c = connection();
        if (!c) return nullptr;
        const auto id = static_cast<xcb_window_t>(window);
        const auto geometryCookie = xcb_get_geometry(c, id);
        const auto attributesCookie = xcb_get_window_attributes(c, id);
        xcb_generic_error_t *error = nullptr;
        xcb_get_geometry_reply_t *geometry = xcb_get_geometry_reply(c, geometryCookie, &error);
        std::free(error);
        error = nullptr;
        xcb_get_window_attributes_reply_t *attributes = xcb_get_window_attributes_reply(c, attributesCookie, &error);
        std::free(error);
        if (!geometry || !attributes) {
            std::free(geometry);
            std::free(attributes);
            return nullptr;
        }
        auto *dc = new X11Context;
        dc->window = id;
        dc->width = geometry->width;
        dc->height = geometry->height;
        dc->depth = geometry->depth;
        dc->format = findFormat(c, attributes->visual, geometry->depth);
        std::free(geometry);
        std::free(attributes);
        dc->gc = xcb_generate_id(c);
        const uint32_t noExposures = 0;
        xcb_create_gc(c, dc->gc, id, XCB_GC_GRAPHICS_EXPOSURES, &noExposures);
        return dc;
    }

    int32_t releaseDC(int32_t, PaintContext context) override {
        xcb_connection_t *c = connection();
        auto *dc = static_cast<X11Context *>(context);
        if (!c || !dc) return 0;
        xcb_free_gc(c, dc->gc);
        delete dc;
        // A round trip rather than a bare flush: the window shows the frame when the call returns.
        std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
        dropPendingErrors(c);
        return 1;
    }

    int32_t setDIBitsToDevice(PaintContext context, int32_t x, int32_t y, int32_t width, int32_t height,
                              int32_t sourceX, int32_t sourceY, uint32_t startScan, uint32_t scanCount,
                              const void *bits, const BITMAPINFOHEADER *header, uint32_t) override {
        xcb_connection_t *c = connection();
        auto *dc = static_cast<X11Context *>(context);
        if (!c || !dc || !bits || !header || scanCount == 0) return 0;
        const int32_t bitCount = header->biBitCount;
        if (header->biCompression != 0 || (bitCount != 16 && bitCount != 24 && bitCount != 32)) return 0;
        const int64_t imageWidth = header->biWidth;
        const bool topDown = header->biHeight < 0;
        const int64_t imageHeight = std::abs(int64_t{header->biHeight});
        if (imageWidth <= 0 || imageHeight == 0 || width <= 0 || height <= 0) return 0;

        // The scans handed over, counted as the platform counts them, and the source rectangle's
        // top in the top-down order of those scans.
        int64_t lines = scanCount;
        if (startScan >= imageHeight) return 0;
        if (!topDown && lines > imageHeight - startScan) lines = imageHeight - startScan;
        int64_t top = int64_t{startScan} + lines - (int64_t{sourceY} + height);
        if (top > 0) {
            if (!topDown) {
                if (top >= lines) return 0;
                lines -= top;
                top = 0;
            } else if (top >= lines) {
                return static_cast<int32_t>(lines);
            }
        }
        const int64_t rows = topDown ? std::min(lines, imageHeight) : lines;

        // Source rectangle within the image, then within the window, in window coordinates.
        const int64_t sx0 = std::max<int64_t>(sourceX, 0), sy0 = std::max<int64_t>(top, 0);
        const int64_t sx1 = std::min<int64_t>(int64_t{sourceX} + width, imageWidth);
        const int64_t sy1 = std::min<int64_t>(top + height, rows);
        if (sx1 <= sx0 || sy1 <= sy0) return 0;
        const int64_t dx = int64_t{x} - sourceX, dy = int64_t{y} - top;  // window = source + offset
        const int64_t left = std::max<int64_t>({sx0 + dx, int64_t{x}, 0});
        const int64_t upper = std::max<int64_t>({sy0 + dy, int64_t{y}, 0});
        const int64_t right = std::min<int64_t>({sx1 + dx, int64_t{x} + width, int64_t{dc->width}});
        const int64_t lower = std::min<int64_t>({sy1 + dy, int64_t{y} + height, int64_t{dc->height}});
        if (right > left && lower > upper && dc->format.usable) {
            const size_t stride = ((static_cast<size_t>(imageWidth) * bitCount + 31) / 32) * 4;
            const auto *base = static_cast<const uint8_t *>(bits);
            // The source row shown on window row wy, from the column shown on window column `left`.
            auto sourceRow = [&](int32_t wy) {
                const int64_t row = wy - dy;
                const int64_t memoryRow = topDown ? row : lines - 1 - row;
                return base + static_cast<size_t>(memoryRow) * stride;
            };
            putImage(c, *dc, static_cast<int32_t>(left), static_cast<int32_t>(upper),
                     static_cast<int32_t>(right - left), static_cast<int32_t>(lower - upper), sourceRow,
                     static_cast<int32_t>(left - dx), bitCount);
        }
        return static_cast<int32_t>(lines);
    }

    PaintBrush createSolidBrush(uint32_t colour) override { return new SolidBrush{colour}; }

    int32_t frameRect(PaintContext context, const RECT *rect, PaintBrush brush) override {
        xcb_connection_t *c = connection();
        auto *dc = static_cast<X11Context *>(context);
        if (!c || !dc || !rect || !brush) return 0;
        const RECT r = *rect;
        if (r.right <= r.left || r.bottom <= r.top) return 0;
        if (!dc->format.usable) return 1;
        setForeground(c, *dc, static_cast<SolidBrush *>(brush)->colour);
        // One pixel inside the rectangle on each side: columns left and right - 1, rows top and bottom - 1.
        fillClipped(c, *dc, r.left, r.top, int64_t{r.left} + 1, r.bottom);
        fillClipped(c, *dc, int64_t{r.right} - 1, r.top, r.right, r.bottom);
        fillClipped(c, *dc, r.left, r.top, r.right, int64_t{r.top} + 1);
        fillClipped(c, *dc, r.left, int64_t{r.bottom} - 1, r.right, r.bottom);
        return 1;
    }

    int32_t deleteObject(PaintBrush brush) override {
        if (!brush) return 0;
        delete static_cast<SolidBrush *>(brush);
        return 1;
    }

    int32_t setBkMode(PaintContext context, int32_t mode) override {
        auto *dc = static_cast<X11Context *>(context);
        if (!dc || (mode != kTransparent && mode != kOpaque)) return 0;
        const int32_t before = dc->backgroundMode;
        dc->backgroundMode = mode;
        return before;
    }

    uint32_t setTextAlign(PaintContext context, uint32_t align) override {
        auto *dc = static_cast<X11Context *>(context);
        if (!dc) return kInvalidColour;
        const uint32_t before = dc->textAlign;
        dc->textAlign = align;
        return before;
    }

    uint32_t setTextColor(PaintContext context, uint32_t colour) override {
        auto *dc = static_cast<X11Context *>(context);
        if (!dc) return kInvalidColour;
        const uint32_t before = dc->textColour;
        dc->textColour = colour;
        return before;
    }

    int32_t textOut(PaintContext context, int32_t x, int32_t y, const char *text, int32_t length) override {
        xcb_connection_t *c = connection();
        auto *dc = static_cast<X11Context *>(context);
        if (!c || !dc || length < 0 || (length > 0 && !text)) return 0;
        if (length == 0 || !dc->format.usable) return 1;
        // Core text requests carry at most a request's worth of characters.
        length = std::min(length, 32000);

        const TextExtents *extents = textExtents(c, dc->gc, std::string_view(text, static_cast<size_t>(length)));
        if (!extents) return 0;
        const int32_t advance = extents->advance, ascent = extents->ascent, descent = extents->descent;

        // The reference point is a corner of the text cell, as the platform places it.
        int64_t left = x;
        if ((dc->textAlign & kAlignCenter) == kAlignCenter) {
            left = int64_t{x} - advance / 2;
        } else if (dc->textAlign & kAlignRight) {
            left = int64_t{x} - advance;
        }
        int64_t baseline = int64_t{y} + ascent;
        if ((dc->textAlign & kAlignBaseline) == kAlignBaseline) {
            baseline = y;
        } else if (dc->textAlign & kAlignBottom) {
            baseline = int64_t{y} - descent;
        }
        if (left < INT16_MIN || left > INT16_MAX || baseline < INT16_MIN || baseline > INT16_MAX) return 1;

        if (dc->backgroundMode == kOpaque) {
            setForeground(c, *dc, dc->backgroundColour);
            fillClipped(c, *dc, left, baseline - ascent, left + advance, baseline + descent);
        }
        setForeground(c, *dc, dc->textColour);
        // Poly text leaves the background as it is; items hold up to 254 characters each.
        std::vector<uint8_t> items;
        for (int32_t done = 0; done < length;) {
            const int32_t count = std::min(length - done, 254);
            items.push_back(static_cast<uint8_t>(count));
            items.push_back(0);
            items.insert(items.end(), text + done, text + done + count);
            done += count;
        }
        xcb_poly_text_8(c, dc->window, dc->gc, static_cast<int16_t>(left), static_cast<int16_t>(baseline),
                        static_cast<uint32_t>(items.size()), items.data());
        return 1;
    }

    SharedImage &sharedImage() { return shared_; }
    PaintRoute takeLastRoute() { return std::exchange(lastRoute_, PaintRoute::none); }

private:
    // Puts a window-coordinate block on the window in the visual's format: through memory shared
    // with the server where it offers that, else through the socket. sourceRow gives the DIB row
    // of a window row; sourceLeft is the DIB column of the block's left edge.
    template <typename SourceRow>
    void putImage(xcb_connection_t *c, const X11Context &dc, int32_t left, int32_t top, int32_t width, int32_t height,
                  SourceRow sourceRow, int32_t sourceLeft, int32_t bitCount) {
        const int bytes = dc.format.bitsPerPixel / 8;
        const size_t pad = dc.format.scanlinePad / 8 ? dc.format.scanlinePad / 8 : 1;
        // Rows as the server lays out an image of `width` pixels, so it finds them where they are.
        const size_t stride = (static_cast<size_t>(width) * bytes + pad - 1) / pad * pad;
        if (uint8_t *shared = shared_.reserve(c, dc.window, dc.depth, stride * static_cast<size_t>(height))) {
            convertBlock(shared, stride, top, height, sourceRow, sourceLeft, width, bitCount, dc.format);
            if (shared_.put(c, dc.window, dc.gc, static_cast<uint16_t>(width), static_cast<uint16_t>(height),
                            static_cast<int16_t>(left), static_cast<int16_t>(top), dc.depth)) {
                lastRoute_ = PaintRoute::sharedMemory;
                return;
            }
        }
        putThroughSocket(c, dc, left, top, width, height, sourceRow, sourceLeft, bitCount);
        lastRoute_ = PaintRoute::socket;
    }

    // Rows top to top + height - 1 of the window, converted into out at `stride` bytes a row. Every
    // pixel byte is written by the conversion; only a row's padding needs zeros.
    template <typename SourceRow>
    static void convertBlock(uint8_t *out, size_t stride, int32_t top, int32_t height, SourceRow sourceRow,
                             int32_t column, int32_t width, int32_t bitCount, const PixelFormat &format) {
        const size_t pixelBytes = static_cast<size_t>(width) * (format.bitsPerPixel / 8);
        for (int32_t row = 0; row < height; ++row, out += stride) {
            convertRow(sourceRow(top + row), column, width, bitCount, format, out);
            std::memset(out + pixelBytes, 0, stride - pixelBytes);
        }
    }

    // The block in pieces that each fit one request.
    template <typename SourceRow>
    void putThroughSocket(xcb_connection_t *c, const X11Context &dc, int32_t left, int32_t top, int32_t width,
                          int32_t height, SourceRow sourceRow, int32_t sourceLeft, int32_t bitCount) {
        const PixelFormat &format = dc.format;
        const int bytes = format.bitsPerPixel / 8;
        const size_t pad = format.scanlinePad / 8 ? format.scanlinePad / 8 : 1;
        const size_t maxData = static_cast<size_t>(xcb_get_maximum_request_length(c)) * 4 - 32;
        const size_t budget = std::min<size_t>(maxData, size_t{1} << 20);
        int32_t tileWidth = width;
        while (tileWidth > 1 && (static_cast<size_t>(tileWidth) * bytes + pad) > budget) tileWidth /= 2;
        for (int32_t x0 = left; x0 < left + width; x0 += tileWidth) {
            const int32_t w = std::min(tileWidth, left + width - x0);
            const size_t stride = (static_cast<size_t>(w) * bytes + pad - 1) / pad * pad;
            const int32_t rowsPerTile = static_cast<int32_t>(std::max<size_t>(budget / stride, 1));
            const int32_t column = sourceLeft + (x0 - left);
            for (int32_t y0 = top; y0 < top + height; y0 += rowsPerTile) {
                const int32_t h = std::min(rowsPerTile, top + height - y0);
                socketData_.resize(stride * static_cast<size_t>(h));
                convertBlock(socketData_.data(), stride, y0, h, sourceRow, column, w, bitCount, format);
                xcb_put_image(c, XCB_IMAGE_FORMAT_Z_PIXMAP, dc.window, dc.gc, static_cast<uint16_t>(w),
                              static_cast<uint16_t>(h), static_cast<int16_t>(x0), static_cast<int16_t>(y0), 0, dc.depth,
                              static_cast<uint32_t>(socketData_.size()), socketData_.data());
            }
        }
    }

    // count DIB pixels from column x of a row, in the window's pixel format.
    static void convertRow(const uint8_t *row, int32_t x, int32_t count, int32_t bitCount, const PixelFormat &format,
                           uint8_t *out) {
        if (format.bgrx && bitCount == 24) {
            // The common case, a 24-bit frame on a 24-bit TrueColor screen: bytes in place.
            const uint8_t *in = row + 3 * static_cast<size_t>(x);
            int32_t i = 0;
#if defined(__x86_64__)
            if (hasSsse3()) {
                i = widenSsse3(in, count, out);
                in += 3 * static_cast<size_t>(i);
                out += 4 * static_cast<size_t>(i);
            }
#endif
            if constexpr (std::endian::native == std::endian::little) {
                // Four bytes at a time with the fourth cleared: the byte read past each pixel is the
                // next pixel's first, so the last pixel is copied on its own.
                for (; i + 1 < count; ++i, in += 3, out += 4) {
                    uint32_t pixel;
                    std::memcpy(&pixel, in, 4);
                    pixel &= 0x00FFFFFFu;
                    std::memcpy(out, &pixel, 4);
                }
            }
            for (; i < count; ++i, in += 3, out += 4) {
                out[0] = in[0];
                out[1] = in[1];
                out[2] = in[2];
                out[3] = 0;
            }
            return;
        }
        if (format.bgrx && bitCount == 32) {
            std::memcpy(out, row + 4 * static_cast<size_t>(x), 4 * static_cast<size_t>(count));
            return;
        }
        const int bytes = format.bitsPerPixel / 8;
        for (int32_t i = 0; i < count; ++i, out += bytes) {
            storePixel(out, format.pixel(dibPixel(row, x + i, bitCount)), bytes, format.msbFirst);
        }
    }

    struct TextExtents {
        int32_t advance, ascent, descent;
    };

    // The size of a text in the context's default font, which is the display's default font for
    // every context. Asked of the server once per text: a paint draws each text five times, and a
    // camera's name comes back every frame. The answers of the last few texts are kept.
    const TextExtents *textExtents(xcb_connection_t *c, xcb_gcontext_t gc, std::string_view text) {
        if (c != extentsConnection_) extentsCache_.clear();
        extentsConnection_ = c;
        const auto known = std::find_if(extentsCache_.begin(), extentsCache_.end(),
                                        [&](const auto &entry) { return entry.first == text; });
        if (known != extentsCache_.end()) {
            std::rotate(extentsCache_.begin(), known, known + 1);  // most recent first
            return &extentsCache_.front().second;
        }
        std::vector<xcb_char2b_t> wide(text.size());
        for (size_t i = 0; i < text.size(); ++i) wide[i] = {0, static_cast<uint8_t>(text[i])};
        xcb_query_text_extents_reply_t *reply = xcb_query_text_extents_reply(
            c, xcb_query_text_extents(c, gc, static_cast<uint32_t>(wide.size()), wide.data()), nullptr);
        if (!reply) return nullptr;
        const TextExtents extents = {reply->overall_width, reply->font_ascent, reply->font_descent};
        std::free(reply);
        if (extentsCache_.size() == kKeptExtents) extentsCache_.pop_back();
        extentsCache_.insert(extentsCache_.begin(), {std::string(text), extents});
        return &extentsCache_.front().second;
    }

    static constexpr size_t kKeptExtents = 16;

    // The paint block's state beside FrameScratch: used by one paint call at a time.
    std::vector<std::pair<std::string, TextExtents>> extentsCache_;
    xcb_connection_t *extentsConnection_ = nullptr;
    SharedImage shared_;
    std::vector<uint8_t> socketData_;
    PaintRoute lastRoute_ = PaintRoute::none;
};

X11PaintDevice &x11Device() {
    static X11PaintDevice device;
    return device;
}

}  // namespace

PaintDevice &nativePaintDevice() { return x11Device(); }

namespace x11 {

PaintRoute takeLastPaintRoute() { return x11Device().takeLastRoute(); }

void resetSharedMemory(bool refuseNextAttach) {
    SharedImage &shared = x11Device().sharedImage();
    shared.release(connection(), true);
    if (refuseNextAttach) shared.refuseNextAttach();
}

}  // namespace x11

}  // namespace kx::platform
