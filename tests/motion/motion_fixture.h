// Frames and a detector handle for the motion tests.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "kestrix.h"
#include "motion/motion_detector.h"

namespace kx::test {

using Box = std::array<int32_t, 4>;
inline Box box(const RECT &r) { return {r.left, r.top, r.right, r.bottom}; }

// A bottom-up frame with rows padded to 32 bits, every byte set to fill.
struct Frame {
    BITMAPINFOHEADER header{};
    std::vector<uint8_t> pixels;
    int32_t step;

    Frame(int32_t width, int32_t height, uint16_t bitCount = 24, uint8_t fill = 100)
        : step((width * bitCount + 31) / 32 * 4) {
        header.biSize = 40;
        header.biWidth = width;
        header.biHeight = height;
        header.biPlanes = 1;
        header.biBitCount = bitCount;
        pixels.assign(static_cast<size_t>(step) * static_cast<size_t>(height), fill);
    }
    // First byte of pixel (x, y), y counted from the image's top.
    uint8_t &at(int32_t x, int32_t y) {
        const int32_t row = header.biHeight - 1 - y;
        return pixels[static_cast<size_t>(row * step + x * header.biBitCount / 8)];
    }
};

struct Detector {
    void *handle = MotionOpen();
    ~Detector() { MotionClose(handle); }
    MotionDetector &state() const { return *static_cast<MotionDetector *>(handle); }
    const MotionZone &zone(int32_t i) const { return *state().zones[i]; }
    void init(int32_t sensitivity, const std::vector<RECT> &rects) {
        EXPECT_EQ(MotionInit(handle, sensitivity, rects.data(), static_cast<int32_t>(rects.size())), 1);
    }
    uint8_t feed(const Frame &frame) {
        uint8_t mask = 0xA5;
        EXPECT_EQ(MotionCompare(handle, &frame.header, frame.pixels.data(), &mask), 1);
        return mask;
    }
    // The 30 frames of the warm-up, then the one that makes the references.
    void prime(const Frame &frame) {
        for (int i = 0; i < 31; ++i) EXPECT_EQ(feed(frame), 0);
    }
};

}  // namespace kx::test
