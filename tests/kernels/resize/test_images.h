// Images for the resize tests: three channels, sentinel-filled, ending at a no-access page.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <random>

#include "guarded_buffer.h"
#include "kestrix/px.h"

namespace kx_resize_test {

constexpr uint8_t kSentinel = 0xCD;

// A sentinel-filled three-channel image between two no-access pages. Its bytes end at the second
// page, or with atFront start right after the first: a read past the end (or before the start) faults.
struct Image {
    int32_t w, h, step;
    size_t count;
    bool atFront;
    std::shared_ptr<kx::test::GuardedBuffer> bytes;
    Image(int32_t width, int32_t height, int32_t pad = 0, bool front = false)
        : w(width), h(height), step(3 * width + pad), count(size_t(step) * height), atFront(front),
          bytes(std::make_shared<kx::test::GuardedBuffer>(count, kSentinel, front)) {}
    uint8_t *data() const { return bytes->data(); }
    uint8_t *at(int32_t x, int32_t y) const { return data() + size_t(y) * step + 3 * x; }
    // Bytes outside the first dw x dh pixels that no longer hold the sentinel.
    int changedOutside(int32_t dw, int32_t dh) const {
        int changed = 0;
        for (size_t k = 0; k < count; ++k)
            changed += (k / step >= size_t(dh) || k % step >= size_t(3 * dw)) && data()[k] != kSentinel;
        return changed;
    }
};

// Pixel (x, y) holds x, y and a byte that tells the pair apart: a nearest result names its source.
inline Image coordinates(int32_t w, int32_t h) {
    Image image(w, h, 2);
    for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < w; ++x) {
            const uint8_t p[3] = {uint8_t(x), uint8_t(y), uint8_t(x * 16 + y + 7)};
            std::memcpy(image.at(x, y), p, 3);
        }
    return image;
}

inline Image randomImage(int32_t w, int32_t h, int32_t pad, uint32_t seed, bool atFront = false) {
    Image image(w, h, pad, atFront);
    std::mt19937 random(seed);
    for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < 3 * w; ++x) image.at(0, y)[x] = random() & 0xFF;
    return image;
}

// bottomUp passes a row-flipped copy by its last row with a negative step: the bytes must not change.
inline PxStatus resize(const Image &src, PxRect rect, Image &dst, double fx, double fy, int32_t in,
                       bool bottomUp = false) {
    Image flipped(src.w, src.h, src.step - 3 * src.w, src.atFront);
    for (int32_t y = 0; y < src.h; ++y) std::memcpy(flipped.at(0, y), src.at(0, src.h - 1 - y), src.step);
    return pxResizeC3(bottomUp ? flipped.at(0, src.h - 1) : src.data(), {src.w, src.h}, bottomUp ? -src.step : src.step,
                      rect, dst.data(), dst.step, {dst.w, dst.h}, fx, fy, in);
}

inline bool same(const Image &a, const Image &b) { return std::memcmp(a.data(), b.data(), a.count) == 0; }

}  // namespace kx_resize_test
