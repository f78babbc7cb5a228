#include "overlay.h"

#include <algorithm>

namespace kx::gst {

namespace {

struct Colour {
    uint8_t b, g, r;
};
constexpr Colour kRed = {0, 0, 255}, kBlue = {255, 0, 0}, kWhite = {255, 255, 255};
constexpr size_t kMaxTextBytes = 256;  // the paint's text buffer

// A 32-bit result as the paint computes it, wrapping rather than faulting.
int32_t wrap32(int64_t v) { return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(v))); }

// Fills [x0, x1) x [y0, y1), clipped to the picture.
void fill(const Picture &p, int64_t x0, int64_t y0, int64_t x1, int64_t y1, Colour c) {
    x0 = std::max<int64_t>(x0, 0), y0 = std::max<int64_t>(y0, 0);
    x1 = std::min<int64_t>(x1, p.width), y1 = std::min<int64_t>(y1, p.height);
    for (int64_t y = y0; y < y1; ++y) {
        uint8_t *px = p.data + y * p.stride + x0 * 3;
        for (int64_t x = x0; x < x1; ++x, px += 3) px[0] = c.b, px[1] = c.g, px[2] = c.r;
    }
}

// One text with its cell's top left corner at x, y; transparent: only the glyphs' pixels are set.
void text(const Picture &p, int64_t x, int64_t y, std::string_view s, Colour c) {
    for (const char ch : s) {
        if (const uint8_t *rows = glyphRows(static_cast<uint8_t>(ch))) {
            for (int32_t row = 0; row < kGlyphHeight; ++row) {
                for (int32_t col = 0; col < kGlyphWidth; ++col) {
                    if (rows[row] >> (kGlyphWidth - 1 - col) & 1) {
                        fill(p, x + col, y + row, x + col + 1, y + row + 1, c);
                    }
                }
            }
        }
        x += kGlyphWidth;
    }
}

}  // namespace

void outlineZones(const Picture &picture, const std::vector<RECT> &zones) {
    const int32_t w = picture.width, h = picture.height;
    if (w <= 0 || h <= 0) return;
    for (const RECT &zone : zones) {
        if (wrap32(int64_t{zone.right} - zone.left) > w || wrap32(int64_t{zone.bottom} - zone.top) > h) continue;
        // The paint maps a zone from the frame to the painted image, here of the same size: a scale
        // of one, but in the same 32-bit arithmetic, so that even a far-out zone lands where it does.
        auto map = [](int32_t v, int32_t size) { return wrap32(int64_t{wrap32(int64_t{v} * size)} / size); };
        const int64_t l = map(zone.left, w), t = map(zone.top, h), r = map(zone.right, w), b = map(zone.bottom, h);
        if (r <= l || b <= t) continue;
        fill(picture, l, t, l + 1, b, kRed);
        fill(picture, r - 1, t, r, b, kRed);
        fill(picture, l, t, r, t + 1, kRed);
        fill(picture, l, b - 1, r, b, kRed);
    }
}

void drawTexts(const Picture &picture, std::string_view topLeft, std::string_view bottomRight) {
    topLeft = topLeft.substr(0, std::min(topLeft.size(), kMaxTextBytes));
    bottomRight = bottomRight.substr(0, std::min(bottomRight.size(), kMaxTextBytes));
    // The top text's cell starts at the point given; the bottom text's cell ends there.
    for (const auto &[x, y] : {std::pair{0, 0}, {0, 2}, {2, 0}, {2, 2}}) text(picture, x, y, topLeft, kWhite);
    text(picture, 1, 1, topLeft, kRed);
    const int64_t advance = int64_t{kGlyphWidth} * static_cast<int64_t>(bottomRight.size());
    const int64_t right = picture.width, bottom = picture.height;
    for (const auto &[dx, dy] : {std::pair{1, 1}, {3, 1}, {1, 3}, {3, 3}}) {
        text(picture, right - dx - advance, bottom - dy - kGlyphHeight, bottomRight, kWhite);
    }
    text(picture, right - 2 - advance, bottom - 2 - kGlyphHeight, bottomRight, kBlue);
}

}  // namespace kx::gst
