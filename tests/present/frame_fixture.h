// A frame of recognisable pixels and one call form for both paint exports.
#pragma once

#include <cstdint>
#include <vector>

#include "kestrix.h"

namespace kx::test {

struct TestFrame {
    BITMAPINFOHEADER header{};
    std::vector<uint8_t> pixels;

    TestFrame(int32_t width, int32_t height, uint16_t bitCount = 24)
        : pixels(static_cast<size_t>(width * height * bitCount / 8)) {
        header = {40, width, height, 1, bitCount, 0, static_cast<uint32_t>(pixels.size()), 0, 0, 0, 0};
        uint32_t state = 12345;
        for (uint8_t &p : pixels) p = static_cast<uint8_t>((state = state * 1103515245u + 12345u) >> 16);
    }
    uint32_t rgb(int32_t x, int32_t row) const {  // 0xRRGGBB of a 24-bit pixel
        const uint8_t *p = &pixels[(static_cast<size_t>(row) * header.biWidth + x) * 3];
        return uint32_t{p[2]} << 16 | uint32_t{p[1]} << 8 | p[0];
    }
    void fill(uint32_t rgb) {  // bytes blue, green, red
        for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<uint8_t>(rgb >> (8 * (i % 3)));
    }
};

constexpr bool D2 = false, D3 = true;  // JpegDecompress2, JpegDecompress3
constexpr int32_t kWindow = 0x1234;

// The arguments besides the frame and the window's size; JpegDecompress2 has none of the last three.
struct Extras {
    const RECT *zones = nullptr;
    int32_t zoneCount = 0;
    const void *topLeft = nullptr;
    int32_t topLeftLength = 0, textState = 0;
    const void *bottomRight = nullptr;
    int32_t bottomRightLength = 0;
    uint8_t *resizeTarget = nullptr;
    int32_t useResizeTarget = 0, wideText = 1, window = kWindow;
};

inline int32_t paint(bool form3, TestFrame &f, int32_t width, int32_t height, const Extras &e = {}) {
    if (!form3) {
        return JpegDecompress2(e.window, width, height, e.zones, e.zoneCount, &f.header, f.pixels.data(), e.topLeft,
                               e.topLeftLength, e.textState, e.bottomRight, e.bottomRightLength);
    }
    return JpegDecompress3(e.window, width, height, e.zones, e.zoneCount, &f.header, f.pixels.data(), e.topLeft,
                           e.topLeftLength, e.textState, e.bottomRight, e.bottomRightLength, 7, 8, 9, e.resizeTarget,
                           e.useResizeTarget, e.wideText);
}

}  // namespace kx::test
