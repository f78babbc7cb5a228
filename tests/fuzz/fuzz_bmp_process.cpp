// BmpProcess in modes 0 to 3 on random headers, sizes and scratch sizes, over blocks exactly as
// large as the caller vouches for: the frame `size` bytes, the scratch block `scratchSize` bytes
// in mode 1 and the larger of `size` and three bytes a pixel in mode 2. The status follows the
// checks in their order, a refusal touches nothing, and mode 1's weave is checked row by row.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "fuzz/fuzz_input.h"
#include "kestrix.h"
#include "kestrix/px.h"

namespace {

// A block of exactly n bytes (none when n is 0: any access is an overflow), filled from the input.
struct Block {
    size_t size;
    std::unique_ptr<uint8_t[]> bytes;
    Block(int64_t n, kx::fuzz::Input &in) : size(size_t(std::max<int64_t>(n, 0))), bytes(new uint8_t[size]) {
        in.fill(bytes.get(), std::min<size_t>(size, 64));
        for (size_t k = 64; k < size; ++k) bytes[k] = uint8_t(bytes[k % 64] + k / 64);
    }
    bool same(const std::vector<uint8_t> &copy) const {
        return size == 0 || std::memcmp(bytes.get(), copy.data(), size) == 0;
    }
    std::vector<uint8_t> copy() const { return {bytes.get(), bytes.get() + size}; }
};

int32_t expectedStatus(const BITMAPINFOHEADER &h, bool nulls, int32_t size, int32_t scratchSize, int32_t mode) {
    if (nulls || size == 0 || scratchSize == 0 || uint32_t(size) != h.biSizeImage) return 0;
    if (mode != 1 && mode != 2) return -1;
    if (mode == 1 && scratchSize < size) return -1;
    return 1;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t dataSize) {
    kx::fuzz::Input in(data, dataSize);
    pxSetLevel(in.range(0, 4));  // a level this processor lacks is refused and the last one stays
    const uint16_t depths[] = {24, 24, 16, 32, 8, 0};
    const int32_t w = in.range(-4, 64), h = in.range(-4, 48);
    const uint16_t bits = depths[in.range(0, 5)];
    const int32_t mode = in.range(0, 3);
    const int64_t tight = int64_t{bits >> 3} * w * h;
    int32_t size;
    switch (in.range(0, 3)) {
        case 0: size = int32_t(tight); break;
        case 1: size = in.range(-8, 16000); break;
        default: size = int32_t(std::max<int64_t>(tight, 0) + in.range(-8, 8));
    }
    BITMAPINFOHEADER header{40, w, h, 1, bits, 0, in.range(0, 7) == 0 ? uint32_t(in.range(0, 99)) : uint32_t(size),
                            0, 0, 0, 0};
    const int32_t scratchSize = in.range(0, 2) == 0 ? in.range(-8, 16000) : size + in.range(-2, 2);
    const int64_t scratchBytes = mode == 2 ? std::max<int64_t>(size, 3 * int64_t{w} * h) : scratchSize;
    Block frame(size, in), scratch(scratchBytes, in);
    const bool nullFrame = in.range(0, 15) == 0, nullBits = in.range(0, 15) == 0, nullScratch = in.range(0, 15) == 0;
    const std::vector<uint8_t> frameBefore = frame.copy(), scratchBefore = scratch.copy();
    const BITMAPINFOHEADER headerBefore = header;

    const int32_t status = BmpProcess(nullFrame ? nullptr : &header, nullBits ? nullptr : frame.bytes.get(), size,
                                      nullScratch ? nullptr : scratch.bytes.get(), scratchSize, mode);
    bool fine = status == expectedStatus(header, nullFrame || nullBits || nullScratch, size, scratchSize, mode) &&
                std::memcmp(&header, &headerBefore, sizeof(header)) == 0;
    if (status != 1) fine = fine && frame.same(frameBefore) && scratch.same(scratchBefore);
    if (status == 1 && mode == 1) {
        // What was in scratch, then every whole row pair that lies inside the frame's bytes.
        std::vector<uint8_t> woven(scratchBefore.begin(), scratchBefore.begin() + frame.size);
        const int64_t row = int64_t{w} * (bits >> 3);
        auto weave = [&](int64_t from, int64_t to) {
            if (row > 0 && (std::max(from, to) + 1) * row <= int64_t(frame.size))
                std::memcpy(&woven[size_t(to * row)], &frameBefore[size_t(from * row)], size_t(row));
        };
        for (int32_t k = 0; k < h / 2; ++k) {
            weave(k, 2 * k);
            weave(k + h / 2, 2 * k + 1);
        }
        fine = fine && frame.same(woven);
    }
    if (!fine) std::abort();
    return 0;
}
