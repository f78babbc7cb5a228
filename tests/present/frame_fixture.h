// A 24-bit frame with recognisable pixels, and short forms of the two paint exports.
#pragma once

#include <cstdint>
#include <vector>

#include "kestrix.h"

namespace kx::test {

struct TestFrame {
    BITMAPINFOHEADER header{};
    std::vector<uint8_t> pixels;

    TestFrame(int32_t width, int32_t height, uint16_t bitCount = 24) {
        header.biSize = 40;
        header.biWidth = width;
        header.biHeight = height;
        header.biPlanes = 1;
        header.biBitCount = bitCount;
        header.biSizeImage = static_cast<uint32_t>(width * height * bitCount / 8);
        pixels.resize(header.biSizeImage);
        uint32_t state = 12345;
        for (uint8_t &p : pixels) {
            state = state * 1103515245u + 12345u;
            p = static_cast<uint8_t>(state >> 16);
        }
    }
};

struct Texts {
    const void *topLeft = nullptr;
    int32_t topLeftLength = 0;
    int32_t textState = 0;
    const void *bottomRight = nullptr;
    int32_t bottomRightLength = 0;
};

constexpr int32_t kWindow = 0x1234;

inline int32_t paint2(TestFrame &frame, int32_t width, int32_t height, const RECT *zones = nullptr,
                      int32_t zoneCount = 0, const Texts &texts = {}) {
    return JpegDecompress2(kWindow, width, height, zones, zoneCount, &frame.header, frame.pixels.data(), texts.topLeft,
                           texts.topLeftLength, texts.textState, texts.bottomRight, texts.bottomRightLength);
}

inline int32_t paint3(TestFrame &frame, int32_t width, int32_t height, uint8_t *resizeTarget = nullptr,
                      int32_t useResizeTarget = 0, const RECT *zones = nullptr, int32_t zoneCount = 0,
                      const Texts &texts = {}, int32_t wideText = 1) {
    return JpegDecompress3(kWindow, width, height, zones, zoneCount, &frame.header, frame.pixels.data(),
                           texts.topLeft, texts.topLeftLength, texts.textState, texts.bottomRight,
                           texts.bottomRightLength, 7, 8, 9, resizeTarget, useResizeTarget, wideText);
}

}  // namespace kx::test
