// BmpStretchDIB, BmpStretchDIBEx and BmpStretchDIBEx2 on random headers, rectangles, scales, pass
// counts, kernels and divisors, over pixel and work blocks exactly as large as the headers'
// biSizeImage (the work block the destination's, or the frame's). The status follows the checks
// in their order; -1 and -2 touch nothing, -3 only the destination header and the zeroed work
// block; a success leaves the destination and work equal; the source is never written.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "fuzz/fuzz_input.h"
#include "kestrix.h"
#include "kestrix/px.h"

namespace {

struct Block {
    size_t size;
    std::unique_ptr<uint8_t[]> bytes;
    Block(uint32_t n, kx::fuzz::Input &in) : size(n), bytes(new uint8_t[n]) {
        in.fill(bytes.get(), std::min<size_t>(size, 64));
        for (size_t k = 64; k < size; ++k) bytes[k] = uint8_t(bytes[k % 64] * 3 + k / 64);
    }
    std::vector<uint8_t> copy() const { return {bytes.get(), bytes.get() + size}; }
    bool same(const std::vector<uint8_t> &other) const {
        return other.size() == size && (size == 0 || std::memcmp(bytes.get(), other.data(), size) == 0);
    }
    bool zero() const { return std::all_of(bytes.get(), bytes.get() + size, [](uint8_t b) { return b == 0; }); }
};

// A header of a random frame: mostly 24-bit with a size that holds its rows, sometimes any depth,
// a side of 0 or below, or a size too small for the rows (the -2 check) or just short of them.
BITMAPINFOHEADER randomHeader(kx::fuzz::Input &in) {
    const uint16_t depths[] = {24, 24, 24, 16, 32, 8, 0};
    const int32_t w = in.range(0, 9) == 0 ? in.range(-3, 3) : in.range(1, 96);
    const int32_t h = in.range(0, 9) == 0 ? in.range(-3, 3) : in.range(1, 72);
    const uint16_t bits = depths[in.range(0, 6)];
    const int64_t padded = (int64_t{w} * bits + 31) / 32 * 4 * h;
    uint32_t size;
    switch (in.range(0, 5)) {
        case 0: size = uint32_t(in.range(0, 30000)); break;
        case 1: size = uint32_t(std::max<int64_t>(int64_t{bits >> 3} * w * h, 0)); break;
        default: size = uint32_t(std::max<int64_t>(padded, 0));
    }
    return {40, w, h, 1, bits, 0, size, 0, 0, 0, 0};
}

bool tooSmall(const BITMAPINFOHEADER &h) {
    return h.biSizeImage < uint32_t(h.biBitCount >> 3) * uint32_t(h.biHeight) * uint32_t(h.biWidth);
}

// The destination header after a call that got past the checks: 24-bit, the rest the caller's.
bool rewritten(const BITMAPINFOHEADER &after, BITMAPINFOHEADER before) {
    before.biSize = 40;
    before.biPlanes = 1;
    before.biBitCount = 24;
    return std::memcmp(&after, &before, sizeof(before)) == 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t dataSize) {
    kx::fuzz::Input in(data, dataSize);
    pxSetLevel(in.range(0, 4));  // a level this processor lacks is refused and the last one stays
    const int32_t which = in.range(0, 2);
    const int32_t passes = in.range(-2, 3), scale = in.range(-3, 4);
    int32_t kernel[9];
    for (int32_t &k : kernel) k = in.range(0, 15) == 0 ? int32_t(in.word()) : in.range(-9, 9);
    const int32_t divisors[] = {1, 16, 0, -1, 9, INT32_MIN, in.range(-100, 100)};
    const int32_t divisor = divisors[in.range(0, 6)];
    const bool nullAt[5] = {in.range(0, 31) == 0, in.range(0, 31) == 0, in.range(0, 31) == 0, in.range(0, 31) == 0,
                            in.range(0, 31) == 0};
    auto pointer = [&](int i, auto *p) { return nullAt[i] ? nullptr : p; };

    BITMAPINFOHEADER source = randomHeader(in), dest = randomHeader(in);
    const BITMAPINFOHEADER sourceBefore = source, destBefore = dest;
    Block sourceBits(source.biSizeImage, in), destBits(dest.biSizeImage, in);
    Block work(which == 2 ? source.biSizeImage : dest.biSizeImage, in);
    const std::vector<uint8_t> sourceCopy = sourceBits.copy(), destCopy = destBits.copy(), workCopy = work.copy();

    bool fine;
    if (which == 2) {
        // The frame is the source block, filtered in place.
        const int32_t status = BmpStretchDIBEx2(pointer(0, &source), pointer(1, sourceBits.bytes.get()),
                                                pointer(2, work.bytes.get()), passes, kernel, divisor);
        const bool nulls = nullAt[0] || nullAt[1] || nullAt[2];
        const int32_t expected = nulls ? -1 : tooSmall(source) ? -2 : 0;
        fine = status == expected && std::memcmp(&source, &sourceBefore, sizeof(source)) == 0;
        if (status < 0) fine = fine && sourceBits.same(sourceCopy) && work.same(workCopy);
        if (status == 0) fine = fine && work.same(sourceBits.copy()) && (passes >= 1 || sourceBits.same(sourceCopy));
    } else {
        BITMAPINFOHEADER *destHeader = pointer(2, &dest);
        const int32_t status =
            which == 0 ? BmpStretchDIB(pointer(0, &source), pointer(1, sourceBits.bytes.get()), destHeader,
                                       pointer(3, destBits.bytes.get()), pointer(4, work.bytes.get()), scale, passes)
                       : BmpStretchDIBEx(pointer(0, &source), pointer(1, sourceBits.bytes.get()), destHeader,
                                         pointer(3, destBits.bytes.get()), pointer(4, work.bytes.get()), scale, passes,
                                         kernel, divisor);
        const bool nulls = std::any_of(nullAt, nullAt + 5, [](bool n) { return n; });
        const int32_t checked = nulls ? -1 : (tooSmall(sourceBefore) || tooSmall(destBefore)) ? -2 : 0;
        // Only a scale other than 0 can be too large, or divide by a side of 0.
        fine = (status == checked || (checked == 0 && status == -3 && scale != 0)) &&
               std::memcmp(&source, &sourceBefore, sizeof(source)) == 0 && sourceBits.same(sourceCopy);
        if (status == -1 || status == -2) {
            fine = fine && std::memcmp(&dest, &destBefore, sizeof(dest)) == 0 && destBits.same(destCopy) &&
                   work.same(workCopy);
        }
        if (status == -3) fine = fine && rewritten(dest, destBefore) && destBits.same(destCopy) && work.zero();
        if (status == 0) fine = fine && rewritten(dest, destBefore) && destBits.same(work.copy());
    }
    if (!fine) std::abort();
    return 0;
}
