// Images, sentinel-filled destinations and a call of pxResizeC3 for the resize tests.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/mman.h>
#include <unistd.h>
#endif

#include "kestrix/px.h"

namespace resize_test {

constexpr uint8_t kSentinel = 0xCD;

// A block that ends where a page that cannot be touched begins, so that a read past its end
// crashes the test instead of passing unseen.
class GuardedBlock {
public:
    explicit GuardedBlock(size_t size) {
        const size_t page = pageSize();
        const size_t body = (size + page - 1) / page * page;
        mapped_ = body + page;
#if defined(_WIN32)
        base_ = static_cast<uint8_t *>(VirtualAlloc(nullptr, mapped_, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
        DWORD old = 0;
        VirtualProtect(base_ + body, page, PAGE_NOACCESS, &old);
#else
        base_ = static_cast<uint8_t *>(mmap(nullptr, mapped_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        mprotect(base_ + body, page, PROT_NONE);
#endif
        data_ = base_ + body - size;
    }
    ~GuardedBlock() {
#if defined(_WIN32)
        VirtualFree(base_, 0, MEM_RELEASE);
#else
        munmap(base_, mapped_);
#endif
    }
    GuardedBlock(const GuardedBlock &) = delete;
    GuardedBlock &operator=(const GuardedBlock &) = delete;
    uint8_t *data() const { return data_; }

private:
    static size_t pageSize() {
#if defined(_WIN32)
        SYSTEM_INFO info;
        GetSystemInfo(&info);
        return info.dwPageSize;
#else
        return static_cast<size_t>(sysconf(_SC_PAGESIZE));
#endif
    }
    uint8_t *base_ = nullptr;
    uint8_t *data_ = nullptr;
    size_t mapped_ = 0;
};

// An 8-bit three-channel image with padded rows; its last row ends at a guard page.
struct Image {
    int32_t width = 0;
    int32_t height = 0;
    int32_t step = 0;
    size_t byteCount = 0;
    std::shared_ptr<GuardedBlock> block;

    Image(int32_t w, int32_t h, int32_t pad = 0)
        : width(w), height(h), step(3 * w + pad), byteCount(static_cast<size_t>(step) * h),
          block(std::make_shared<GuardedBlock>(byteCount)) {
        std::memset(data(), kSentinel, byteCount);
    }
    uint8_t *data() const { return block->data(); }
    uint8_t *pixel(int32_t x, int32_t y) const { return data() + static_cast<size_t>(y) * step + 3 * x; }
    PxSize size() const { return {width, height}; }
};

// Pixel (x, y) holds x, y and a third byte that tells the two apart: a nearest result names its
// source pixel.
inline Image coordinateImage(int32_t w, int32_t h, int32_t pad = 0) {
    Image image(w, h, pad);
    for (int32_t y = 0; y < h; ++y) {
        for (int32_t x = 0; x < w; ++x) {
            uint8_t *p = image.pixel(x, y);
            p[0] = static_cast<uint8_t>(x);
            p[1] = static_cast<uint8_t>(y);
            p[2] = static_cast<uint8_t>(x * 16 + y + 7);
        }
    }
    return image;
}

inline Image randomImage(int32_t w, int32_t h, int32_t pad, uint32_t seed) {
    Image image(w, h, pad);
    std::mt19937 random(seed);
    for (int32_t y = 0; y < h; ++y) {
        for (int32_t x = 0; x < 3 * w; ++x) image.data()[static_cast<size_t>(y) * image.step + x] = random() & 0xFF;
    }
    return image;
}

// A destination of dstSize pixels with padded rows and one guard row, all sentinel.
struct Output {
    PxSize size;
    int32_t step;
    std::vector<uint8_t> bytes;

    Output(int32_t w, int32_t h, int32_t pad = 5) : size{w, h}, step(3 * w + pad) {
        bytes.assign(static_cast<size_t>(step) * (h + 1), kSentinel);
    }
    const uint8_t *pixel(int32_t x, int32_t y) const {
        return bytes.data() + static_cast<size_t>(y) * step + 3 * x;
    }
    // Bytes outside the block of w by h pixels at the start that no longer hold the sentinel.
    int changedOutside(int32_t w, int32_t h) const {
        int changed = 0;
        for (size_t k = 0; k < bytes.size(); ++k) {
            const int32_t y = static_cast<int32_t>(k / step);
            const int32_t x = static_cast<int32_t>(k % step);
            const bool inside = y < h && x < 3 * w;
            if (!inside && bytes[k] != kSentinel) ++changed;
        }
        return changed;
    }
    bool untouched() const { return changedOutside(0, 0) == 0; }
};

inline PxStatus resize(const Image &src, PxRect rect, Output &out, double xFactor, double yFactor,
                       int32_t interpolation) {
    return pxResizeC3(src.data(), src.size(), src.step, rect, out.bytes.data(), out.step, out.size, xFactor,
                      yFactor, interpolation);
}

inline PxRect whole(const Image &image) { return {0, 0, image.width, image.height}; }

}  // namespace resize_test
