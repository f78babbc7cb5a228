#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "kestrix.h"
#include "kestrix/px.h"

namespace {

BITMAPINFOHEADER header(int32_t width, int32_t height, uint16_t bitCount) {
    BITMAPINFOHEADER h{};
    h.biSize = 40;
    h.biWidth = width;
    h.biHeight = height;
    h.biPlanes = 1;
    h.biBitCount = bitCount;
    h.biSizeImage = static_cast<uint32_t>(width * height * (bitCount >> 3));
    return h;
}

// Forces each level this processor runs in turn, and puts the first back.
class Levels {
public:
    Levels() : saved_(pxGetLevel()) {
        for (int32_t level = 0; level <= 4; ++level) {
            if (pxSetLevel(level) == PxStsOk) levels_.push_back(level);
        }
        pxSetLevel(saved_);
    }
    ~Levels() { pxSetLevel(saved_); }
    const std::vector<int32_t> &all() const { return levels_; }

private:
    int32_t saved_;
    std::vector<int32_t> levels_;
};

struct CheckCase {
    const char *what;
    bool nullHeader, nullBits, nullScratch;
    int32_t sizeDelta;     // size passed = biSizeImage + sizeDelta
    int32_t scratchDelta;  // scratchSize passed = biSizeImage + scratchDelta
    int32_t mode;
    int32_t want;
};
// A 4x4 24-bit frame of 48 bytes.
const CheckCase kChecks[] = {
    {"header null", true, false, false, 0, 0, 1, 0},
    {"bits null", false, true, false, 0, 0, 1, 0},
    {"scratch null", false, false, true, 0, 0, 1, 0},
    {"size 0", false, false, false, -48, 0, 1, 0},
    {"scratchSize 0", false, false, false, 0, -48, 2, 0},
    {"size one less than biSizeImage", false, false, false, -1, 0, 1, 0},
    {"size one more than biSizeImage", false, false, false, 1, 0, 2, 0},
    {"bad size comes before bad mode", false, false, false, -1, 0, 3, 0},
    {"mode 3", false, false, false, 0, 0, 3, -1},
    {"mode 0", false, false, false, 0, 0, 0, -1},
    {"mode 1, scratch one byte short", false, false, false, 0, -1, 1, -1},
    {"mode 1, negative scratchSize", false, false, false, 0, -100, 1, -1},
    {"mode 1, scratch just large enough", false, false, false, 0, 0, 1, 1},
    {"mode 2 compares no scratch size", false, false, false, 0, -47, 2, 1},
};

TEST(BmpProcess, ChecksAndResults) {
    for (const CheckCase &c : kChecks) {
        SCOPED_TRACE(c.what);
        const BITMAPINFOHEADER h = header(4, 4, 24);
        std::vector<uint8_t> bits(48), scratch(256, 0x5A);
        for (size_t i = 0; i < bits.size(); ++i) bits[i] = static_cast<uint8_t>(3 * i + 1);
        const std::vector<uint8_t> bitsBefore = bits, scratchBefore = scratch;

        const int32_t result = BmpProcess(c.nullHeader ? nullptr : &h, c.nullBits ? nullptr : bits.data(),
                                          48 + c.sizeDelta, c.nullScratch ? nullptr : scratch.data(),
                                          48 + c.scratchDelta, c.mode);
        EXPECT_EQ(result, c.want);
        if (result != 1) {
            EXPECT_EQ(bits, bitsBefore);
            EXPECT_EQ(scratch, scratchBefore);
        } else {
            EXPECT_NE(bits, bitsBefore);
        }
    }
}

// Fills row r of a tightly packed frame with bytes 16 * (r + 1) + i, so every row is distinct.
std::vector<uint8_t> numberedRows(int32_t rows, int32_t rowBytes) {
    std::vector<uint8_t> bits(static_cast<size_t>(rows * rowBytes));
    for (int32_t r = 0; r < rows; ++r) {
        for (int32_t i = 0; i < rowBytes; ++i) bits[static_cast<size_t>(r * rowBytes + i)] = static_cast<uint8_t>(16 * (r + 1) + i);
    }
    return bits;
}

std::vector<uint8_t> row(const std::vector<uint8_t> &bits, int32_t r, int32_t rowBytes) {
    return std::vector<uint8_t>(bits.begin() + r * rowBytes, bits.begin() + (r + 1) * rowBytes);
}

struct WeaveCase {
    int32_t width, height;
    uint16_t bitCount;
    int32_t order[6];  // input row found at each output row
};
const WeaveCase kWeaves[] = {
    {5, 4, 24, {0, 2, 1, 3}},           // A, B, C, D -> A, C, B, D
    {5, 4, 16, {0, 2, 1, 3}},           // the pixel size comes from biBitCount
    {3, 2, 24, {0, 1}},                 // two rows stay as they are
    {4, 6, 24, {0, 3, 1, 4, 2, 5}},     // A..F -> A, D, B, E, C, F
    {1, 8, 8, {0, 4, 1, 5, 2, 6}},  // one byte a row (the first 6 rows checked)
};

TEST(BmpProcess, WeaveInterleavesTheHalves) {
    for (const WeaveCase &c : kWeaves) {
        SCOPED_TRACE(testing::Message() << c.width << "x" << c.height << " " << c.bitCount << " bits");
        BITMAPINFOHEADER h = header(c.width, c.height, c.bitCount);
        const int32_t rowBytes = c.width * (c.bitCount >> 3);
        const std::vector<uint8_t> input = numberedRows(c.height, rowBytes);
        std::vector<uint8_t> bits = input, scratch(input.size());
        EXPECT_EQ(BmpProcess(&h, bits.data(), static_cast<int32_t>(bits.size()), scratch.data(),
                             static_cast<int32_t>(scratch.size()), 1),
                  1);
        for (int32_t r = 0; r < std::min(c.height, 6); ++r) {
            EXPECT_EQ(row(bits, r, rowBytes), row(input, c.order[r], rowBytes)) << "row " << r;
        }
    }
}

TEST(BmpProcess, WeavingTwiceRestoresHeightsTwoAndFour) {
    // Twice: A, B, C, D -> A, C, B, D -> A, B, C, D. Six rows go A..F -> A, D, B, E, C, F ->
    // A, E, D, C, B, F.
    const struct {
        int32_t height;
        bool restored;
    } cases[] = {{2, true}, {4, true}, {6, false}, {8, false}};
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << "height " << c.height);
        BITMAPINFOHEADER h = header(3, c.height, 24);
        const std::vector<uint8_t> input = numberedRows(c.height, 9);
        std::vector<uint8_t> bits = input, scratch(input.size());
        const int32_t size = static_cast<int32_t>(bits.size());
        BmpProcess(&h, bits.data(), size, scratch.data(), size, 1);
        BmpProcess(&h, bits.data(), size, scratch.data(), size, 1);
        EXPECT_EQ(bits == input, c.restored);
        if (c.height == 6) {
            const int32_t order[6] = {0, 4, 3, 2, 1, 5};
            for (int32_t r = 0; r < 6; ++r) EXPECT_EQ(row(bits, r, 9), row(input, order[r], 9)) << "row " << r;
        }
    }
}

TEST(BmpProcess, UnwovenBytesComeFromScratch) {
    // Height 3: one pair is woven, and the last row of scratch, never written, is copied back.
    // biSizeImage 4 bytes beyond the rows: those too come from scratch.
    BITMAPINFOHEADER h = header(2, 3, 24);
    h.biSizeImage = 22;
    const std::vector<uint8_t> input = numberedRows(3, 6);
    std::vector<uint8_t> bits = input;
    bits.resize(22, 0x11);
    std::vector<uint8_t> scratch(22, 0x5A);
    EXPECT_EQ(BmpProcess(&h, bits.data(), 22, scratch.data(), 22, 1), 1);
    EXPECT_EQ(row(bits, 0, 6), row(input, 0, 6));
    EXPECT_EQ(row(bits, 1, 6), row(input, 1, 6));
    for (size_t i = 12; i < 22; ++i) EXPECT_EQ(bits[i], 0x5A) << "byte " << i;
}

// A grey frame of width 6 (three chroma blocks, so every level converts grey exactly) with rows
// A, B, C, D of 40, 200, 80, 120. Mode 2 weaves them to 40, 80, 200, 120 and then builds row i
// between woven rows i and i + 1. Flat rows make every distance equal, so the vertical mean wins;
// columns 0 and 5 keep the woven row itself.
TEST(BmpProcess, ModeTwoDeinterlacesTheWovenRows) {
    const uint8_t rows[4] = {40, 200, 80, 120};
    const uint8_t inner[3] = {60, 140, 160};  // (40 + 80 + 1) >> 1, (80 + 200 + 1) >> 1, (200 + 120 + 1) >> 1
    const uint8_t edge[3] = {40, 80, 200};
    Levels levels;
    for (int32_t level : levels.all()) {
        ASSERT_EQ(pxSetLevel(level), PxStsOk);
        SCOPED_TRACE(testing::Message() << "level " << level);
        BITMAPINFOHEADER h = header(6, 4, 24);
        std::vector<uint8_t> bits(72);
        for (size_t i = 0; i < bits.size(); ++i) bits[i] = rows[i / 18];
        // Scratch holds 2.5 frames of planes and more; its size is not compared in this mode.
        std::vector<uint8_t> scratch(4096, 0);
        EXPECT_EQ(BmpProcess(&h, bits.data(), 72, scratch.data(), 1, 2), 1);
        // The last row pairs with the U plane and what lies behind it: left alone here.
        for (int32_t r = 0; r < 3; ++r) {
            for (int32_t x = 0; x < 6; ++x) {
                const uint8_t want = (x == 0 || x == 5) ? edge[r] : inner[r];
                for (int32_t c = 0; c < 3; ++c) {
                    EXPECT_EQ(bits[static_cast<size_t>(r * 18 + x * 3 + c)], want) << "row " << r << " x " << x;
                }
            }
        }
    }
}

// Sum of |row y - row y + 1| over all bytes of rows 0 to height - 2; the last row, which mode 2
// builds from scratch contents, is left out.
int64_t combEnergy(const std::vector<uint8_t> &bits, int32_t width, int32_t height) {
    const int32_t rowBytes = width * 3;
    int64_t energy = 0;
    for (int32_t y = 0; y + 1 < height - 1; ++y) {
        for (int32_t i = 0; i < rowBytes; ++i) {
            energy += std::abs(bits[static_cast<size_t>(y * rowBytes + i)] - bits[static_cast<size_t>((y + 1) * rowBytes + i)]);
        }
    }
    return energy;
}

constexpr int32_t kWidth = 32, kHeight = 16;

// Two fields stacked: the upper half the even lines of a frame, the lower half the odd lines.
std::vector<uint8_t> stackFields(const std::vector<uint8_t> &evenLines, const std::vector<uint8_t> &oddLines) {
    std::vector<uint8_t> bits(evenLines);
    const size_t half = static_cast<size_t>(kWidth * 3 * kHeight / 2);
    std::copy(oddLines.begin() + static_cast<std::ptrdiff_t>(half), oddLines.begin() + static_cast<std::ptrdiff_t>(2 * half),
              bits.begin() + static_cast<std::ptrdiff_t>(half));
    return bits;
}

TEST(BmpProcess, ModeTwoRemovesTheCombOfAMovingEdge) {
    // A grey step from 16 to 235 that moved from column 12 to column 20 between the two fields.
    auto field = [](int32_t edgeColumn) {
        std::vector<uint8_t> bits(static_cast<size_t>(kWidth * kHeight * 3));
        for (int32_t y = 0; y < kHeight; ++y) {
            for (int32_t x = 0; x < kWidth; ++x) {
                for (int32_t c = 0; c < 3; ++c) bits[static_cast<size_t>((y * kWidth + x) * 3 + c)] = x < edgeColumn ? 16 : 235;
            }
        }
        return bits;
    };
    const std::vector<uint8_t> stacked = stackFields(field(12), field(20));
    BITMAPINFOHEADER h = header(kWidth, kHeight, 24);
    const int32_t size = static_cast<int32_t>(stacked.size());

    std::vector<uint8_t> woven = stacked, scratch(static_cast<size_t>(3 * size));
    ASSERT_EQ(BmpProcess(&h, woven.data(), size, scratch.data(), size, 1), 1);
    // Columns 12 to 19 alternate 235 and 16: 14 row pairs x 8 columns x 3 bytes x 219.
    const int64_t before = combEnergy(woven, kWidth, kHeight);
    ASSERT_EQ(before, 14 * 8 * 3 * 219);

    Levels levels;
    for (int32_t level : levels.all()) {
        ASSERT_EQ(pxSetLevel(level), PxStsOk);
        SCOPED_TRACE(testing::Message() << "level " << level);
        std::vector<uint8_t> bits = stacked;
        ASSERT_EQ(BmpProcess(&h, bits.data(), size, scratch.data(), static_cast<int32_t>(scratch.size()), 2), 1);
        // Where the fields disagree all three distances are 219 and the vertical mean, 126, wins;
        // at columns 12 and 19 a diagonal pair agrees. Every rebuilt row comes out the same, and
        // the chroma of each block pair spans both fields alike.
        EXPECT_EQ(combEnergy(bits, kWidth, kHeight), 0);
    }
}

TEST(BmpProcess, ModeTwoLeavesAStaticSceneNearlyAlone) {
    // Smooth ramps in all three bytes and a step at column 16, the same in both fields.
    std::vector<uint8_t> scene(static_cast<size_t>(kWidth * kHeight * 3));
    for (int32_t y = 0; y < kHeight; ++y) {
        for (int32_t x = 0; x < kWidth; ++x) {
            const int32_t step = x >= 16 ? 40 : 0;
            uint8_t *p = &scene[static_cast<size_t>((y * kWidth + x) * 3)];
            p[0] = static_cast<uint8_t>(60 + 3 * y + x + step);
            p[1] = static_cast<uint8_t>(80 + 2 * y + 2 * x + step);
            p[2] = static_cast<uint8_t>(100 + y + 3 * x + step);
        }
    }
    // The fields carry the even and the odd lines of the scene.
    std::vector<uint8_t> stacked(scene.size());
    const size_t rowBytes = kWidth * 3;
    for (int32_t k = 0; k < kHeight / 2; ++k) {
        std::copy_n(&scene[2 * k * rowBytes], rowBytes, &stacked[k * rowBytes]);
        std::copy_n(&scene[(2 * k + 1) * rowBytes], rowBytes, &stacked[(k + kHeight / 2) * rowBytes]);
    }
    BITMAPINFOHEADER h = header(kWidth, kHeight, 24);
    const int32_t size = static_cast<int32_t>(stacked.size());
    std::vector<uint8_t> scratch(static_cast<size_t>(3 * size));

    Levels levels;
    for (int32_t level : levels.all()) {
        ASSERT_EQ(pxSetLevel(level), PxStsOk);
        SCOPED_TRACE(testing::Message() << "level " << level);
        std::vector<uint8_t> bits = stacked;
        ASSERT_EQ(BmpProcess(&h, bits.data(), size, scratch.data(), size, 2), 1);
        // Rows move down half a line (2 in the steepest ramp), 2x2 blocks share their chroma, and
        // the fixed point of levels 1 to 4 adds one; the comb above differs by over 100. The last
        // row is left out.
        int32_t worst = 0;
        for (size_t i = 0; i < rowBytes * (kHeight - 1); ++i) worst = std::max(worst, std::abs(bits[i] - scene[i]));
        EXPECT_LE(worst, level == 0 ? 4 : 5);
    }
}

}  // namespace
