// Frames as the demo holds them: 24-bit pixels in a DIB's byte order (blue, green, red), rows
// top-down and tightly packed, so that the first memory row is the top of the picture, as the paint
// exports show it. Pictures written to files are plain RGB.
#pragma once

#include <cstdint>
#include <vector>

#include "kestrix.h"

namespace kx::demo {

// Pixels of three bytes, rows top-down and tightly packed; Order tells the bytes of a pixel apart.
template <typename Order>
struct Picture {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<uint8_t> pixels;

    Picture() = default;
    Picture(int32_t w, int32_t h) : width(w), height(h), pixels(static_cast<size_t>(w) * h * 3) {}
    size_t rowBytes() const { return static_cast<size_t>(width) * 3; }
    uint8_t *row(int32_t y) { return pixels.data() + static_cast<size_t>(y) * rowBytes(); }
    const uint8_t *row(int32_t y) const { return pixels.data() + static_cast<size_t>(y) * rowBytes(); }
    uint8_t *at(int32_t x, int32_t y) { return row(y) + static_cast<size_t>(x) * 3; }
    const uint8_t *at(int32_t x, int32_t y) const { return row(y) + static_cast<size_t>(x) * 3; }
};

struct BlueGreenRed;
struct RedGreenBlue;
using Frame = Picture<BlueGreenRed>;  // what the library takes
using RgbImage = Picture<RedGreenBlue>;  // what PNG files hold

// The header of a packed 24-bit frame; biSizeImage is the pixel block's size.
inline BITMAPINFOHEADER dibHeader(int32_t width, int32_t height) {
    BITMAPINFOHEADER header{};
    header.biSize = sizeof(header);
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = 24;
    header.biSizeImage = static_cast<uint32_t>(width) * static_cast<uint32_t>(height) * 3;
    return header;
}

// The region x, y, width, height of a frame as an RGB picture, each pixel repeated zoom times.
RgbImage toRgb(const Frame &frame, int32_t x, int32_t y, int32_t width, int32_t height, int32_t zoom = 1);
inline RgbImage toRgb(const Frame &frame) { return toRgb(frame, 0, 0, frame.width, frame.height); }

}  // namespace kx::demo
