#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "bitmap/dib_header.h"
#include "guarded_buffer.h"
#include "level_scope.h"
#include "kestrix.h"

namespace {

using kx::test::forEachLevel;

int32_t process(const BITMAPINFOHEADER &h, std::vector<uint8_t> &bits, std::vector<uint8_t> &scratch, int32_t mode) {
    return BmpProcess(&h, bits.data(), int32_t(bits.size()), scratch.data(), int32_t(scratch.size()), mode);
}

// Row r of a tightly packed frame holds bytes 16 * (r + 1) + i, so every row is distinct.
std::vector<uint8_t> numberedRows(int32_t rows, int32_t rowBytes) {
    std::vector<uint8_t> bits(size_t(rows * rowBytes));
    for (size_t i = 0; i < bits.size(); ++i) bits[i] = uint8_t(16 * (i / size_t(rowBytes) + 1) + i % size_t(rowBytes));
    return bits;
}

// A 4x4 24-bit frame of 48 bytes; size and scratchSize are 48 plus the deltas.
TEST(BmpProcess, ChecksAndResults) {
    const struct { char null; int32_t sizeDelta, scratchDelta, mode, want; const char *what; } kChecks[] = {
        {'h', 0, 0, 1, 0, "header null"}, {'b', 0, 0, 1, 0, "bits null"}, {'s', 0, 0, 1, 0, "scratch null"},
        {'-', -48, 0, 1, 0, "size 0"}, {'-', 0, -48, 2, 0, "scratchSize 0"},
        {'-', -1, 0, 1, 0, "size one less than biSizeImage"}, {'-', 1, 0, 2, 0, "size one more than biSizeImage"},
        {'-', -1, 0, 3, 0, "bad size before bad mode"}, {'-', 0, 0, 3, -1, "mode 3"}, {'-', 0, 0, 0, -1, "mode 0"},
        {'-', 0, -1, 1, -1, "mode 1, scratch one byte short"}, {'-', 0, -100, 1, -1, "mode 1, negative scratchSize"},
        {'-', 0, 0, 1, 1, "mode 1, scratch just large enough"}, {'-', 0, -47, 2, 1, "mode 2 compares no scratch size"},
    };
    const BITMAPINFOHEADER h = header(4, 4);
    for (const auto &c : kChecks) {
        SCOPED_TRACE(c.what);
        std::vector<uint8_t> bits = numberedRows(4, 12), scratch(256, 0x5A);
        const std::vector<uint8_t> bitsBefore = bits, scratchBefore = scratch;
        const int32_t result = BmpProcess(c.null == 'h' ? nullptr : &h, c.null == 'b' ? nullptr : bits.data(),
                                          48 + c.sizeDelta, c.null == 's' ? nullptr : scratch.data(),
                                          48 + c.scratchDelta, c.mode);
        EXPECT_EQ(result, c.want);
        EXPECT_EQ(bits != bitsBefore, result == 1);
        if (result != 1) {
            EXPECT_EQ(scratch, scratchBefore);
        }
    }
}

// order: the input row found at each output row after one weave. Weaving twice gives the frame back
// at heights 2 and 4 only: six rows go A, D, B, E, C, F and then A, E, D, C, B, F.
TEST(BmpProcess, WeaveInterleavesTheHalves) {
    const struct { int32_t width, height; uint16_t bitCount; int32_t order[6]; bool twiceRestores; } kWeaves[] = {
        {5, 4, 24, {0, 2, 1, 3}, true},  // A, B, C, D -> A, C, B, D
        {5, 4, 16, {0, 2, 1, 3}, true},  // the pixel size comes from biBitCount
        {3, 2, 24, {0, 1}, true},
        {4, 6, 24, {0, 3, 1, 4, 2, 5}, false},
    };
    for (const auto &c : kWeaves) {
        SCOPED_TRACE(testing::Message() << c.width << "x" << c.height << ", " << c.bitCount << " bits");
        const BITMAPINFOHEADER h = header(c.width, c.height, c.bitCount);
        const int32_t rowBytes = c.width * (c.bitCount >> 3);
        const std::vector<uint8_t> input = numberedRows(c.height, rowBytes);
        std::vector<uint8_t> bits = input, scratch(input.size()), want;
        for (int32_t r = 0; r < c.height; ++r) {
            want.insert(want.end(), input.begin() + c.order[r] * rowBytes, input.begin() + (c.order[r] + 1) * rowBytes);
        }
        EXPECT_EQ(process(h, bits, scratch, 1), 1);
        EXPECT_EQ(bits, want);
        EXPECT_EQ(process(h, bits, scratch, 1), 1);
        EXPECT_EQ(bits == input, c.twiceRestores);
    }
}

// Height 3 weaves one pair, and the last row of scratch, never written, is copied back; so are the
// 4 bytes that biSizeImage counts beyond the rows.
TEST(BmpProcess, UnwovenBytesComeFromScratch) {
    BITMAPINFOHEADER h = header(2, 3);
    h.biSizeImage = 22;
    std::vector<uint8_t> bits = numberedRows(3, 6), scratch(22, 0x5A), want = bits;
    bits.resize(22, 0x11);
    want.resize(12);
    want.resize(22, 0x5A);
    EXPECT_EQ(process(h, bits, scratch, 1), 1);
    EXPECT_EQ(bits, want);
}

// Headers whose rows need more than `size` bytes, in blocks of exactly that size (between no-access
// pages): a row is woven only where both its source and its place lie inside them, and the rest
// comes from scratch as usual. Mode 2 converts only a frame that holds three bytes a pixel.
TEST(BmpProcess, RowsPastTheSizeAreLeftOut) {
    const struct { const char *what; int32_t width, height; uint16_t bits; int32_t size, mode; std::vector<uint8_t> want; }
        kCases[] = {
            // 2x4 at 24 bits: rows of 6 bytes, numbered 16.., 32.., 48.., 64..; only row 0 -> 0 fits in 15.
            {"24 bits, 15 of 24 bytes", 2, 4, 24, 15, 1, {16, 17, 18, 19, 20, 21, 90, 90, 90, 90, 90, 90, 90, 90, 90}},
            // 2x4 at 16 bits is 16 bytes, fewer than the 24 the conversions take: woven A, C, B, D.
            {"16 bits in mode 2", 2, 4, 16, 16, 2, {16, 17, 18, 19, 48, 49, 50, 51, 32, 33, 34, 35, 64, 65, 66, 67}},
            {"a negative size holds nothing", 2, 4, 24, -5, 1, {}},
            {"a negative size in mode 2", 2, 4, 24, -5, 2, {}},
        };
    for (const auto &c : kCases) {
        SCOPED_TRACE(c.what);
        BITMAPINFOHEADER h = header(c.width, c.height, c.bits);
        h.biSizeImage = uint32_t(c.size);
        const size_t bytes = size_t(std::max(c.size, 0));
        const std::vector<uint8_t> rows = numberedRows(c.height, c.width * (c.bits >> 3));
        kx::test::GuardedBuffer bits(bytes), scratch(std::max<size_t>(bytes, 3 * c.width * c.height), 90);
        std::copy(rows.begin(), rows.begin() + bytes, bits.data());
        EXPECT_EQ(BmpProcess(&h, bits.data(), c.size, scratch.data(), c.size, c.mode), 1);
        EXPECT_EQ(std::vector<uint8_t>(bits.data(), bits.data() + bytes), c.want);
    }
}

// Grey rows A, B, C, D of 40, 200, 80, 120, width 6 (three chroma blocks: every level converts grey
// exactly). Mode 2 weaves them to 40, 80, 200, 120 and builds row i between woven rows i and i + 1:
// flat rows tie every distance, so the vertical mean wins, and columns 0 and 5 keep the woven row.
// The last row pairs with the U plane and what lies behind it, and is left out.
TEST(BmpProcess, ModeTwoDeinterlacesTheWovenRows) {
    const uint8_t rows[4] = {40, 200, 80, 120}, edge[3] = {40, 80, 200};
    const uint8_t inner[3] = {60, 140, 160};  // (40 + 80 + 1) >> 1, (80 + 200 + 1) >> 1, (200 + 120 + 1) >> 1
    const BITMAPINFOHEADER h = header(6, 4);
    forEachLevel(0, [&](int32_t) {
        std::vector<uint8_t> bits(72), scratch(4096, 0);
        for (size_t i = 0; i < bits.size(); ++i) bits[i] = rows[i / 18];
        EXPECT_EQ(BmpProcess(&h, bits.data(), 72, scratch.data(), 1, 2), 1);
        for (size_t i = 0; i < 54; ++i) {
            EXPECT_EQ(bits[i], i % 18 < 3 || i % 18 >= 15 ? edge[i / 18] : inner[i / 18]) << "byte " << i;
        }
    });
}

constexpr int32_t kW = 32, kH = 16;

// A frame whose byte c of pixel (x, y) is f(x, y, c); stacked, its even lines form the upper half
// (the first field) and its odd lines the lower.
template <class F>
std::vector<uint8_t> frame(F f, bool stacked) {
    std::vector<uint8_t> bits(size_t(kW * kH * 3));
    for (int32_t y = 0; y < kH; ++y) {
        const int32_t row = stacked ? y % 2 * (kH / 2) + y / 2 : y;
        for (int32_t i = 0; i < kW * 3; ++i) bits[size_t(row * kW * 3 + i)] = uint8_t(f(i / 3, y, i % 3));
    }
    return bits;
}

// Sum of |row y - row y + 1| over all bytes, leaving out the last row, which mode 2 builds from
// whatever follows the Y plane in scratch.
int64_t combEnergy(const std::vector<uint8_t> &bits) {
    int64_t energy = 0;
    for (size_t i = 0; i + 2 * kW * 3 < bits.size(); ++i) energy += std::abs(bits[i] - bits[i + kW * 3]);
    return energy;
}

TEST(BmpProcess, ModeTwoRemovesACombAndKeepsAStaticScene) {
    // A grey step from 16 to 235 that moved from column 12 to 20 between the fields. Where they
    // disagree all three distances are 219 and the vertical mean wins; at columns 12 and 19 a
    // diagonal pair agrees. So every rebuilt row comes out alike, and each chroma block spans both.
    const auto moving = [](int32_t x, int32_t y, int32_t) { return x < (y % 2 ? 20 : 12) ? 16 : 235; };
    // Woven, columns 12 to 19 alternate: 14 row pairs x 8 columns x 3 bytes x 219.
    ASSERT_EQ(combEnergy(frame(moving, false)), 14 * 8 * 3 * 219);
    // Ramps in all three bytes and a step at column 16, alike in both fields. Rows move down half a
    // line (2 in the steepest ramp), blocks share their chroma, and levels 1 to 4 may add one.
    const auto still = [](int32_t x, int32_t y, int32_t c) {
        return 60 + 20 * c + (3 - c) * y + (c + 1) * x + (x >= 16 ? 40 : 0);
    };
    const std::vector<uint8_t> scene = frame(still, false);
    const BITMAPINFOHEADER h = header(kW, kH);
    forEachLevel(0, [&](int32_t level) {
        std::vector<uint8_t> bits = frame(moving, true), scratch(3 * bits.size());
        ASSERT_EQ(process(h, bits, scratch, 2), 1);
        EXPECT_EQ(combEnergy(bits), 0);
        bits = frame(still, true);
        ASSERT_EQ(process(h, bits, scratch, 2), 1);
        int32_t worst = 0;  // the last row is left out
        for (size_t i = 0; i < size_t(kW * 3 * (kH - 1)); ++i) worst = std::max(worst, std::abs(bits[i] - scene[i]));
        EXPECT_LE(worst, level == 0 ? 4 : 5);
    });
}

}  // namespace
