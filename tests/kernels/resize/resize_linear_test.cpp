#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "kernels/resize/resize_engine.h"
#include "kernels/resize/resize_image.h"
#include "resize_test_support.h"

namespace {

using namespace resize_test;

// A pixel at x 1.75, y 2.25: weights 4096 and 12288 across, 4096 down. Upper row 100 and 200
// give (12288 * 200 + 4096 * 100 + 128) >> 8 = 11200, lower row 60 and 20 give 1920, and
// (1920 * 4096 + 11200 * 12288 + 524288) >> 20 = 139 (exactly 138.75).
TEST(ResizeLinearTest, WorkedExampleByPass) {
    const uint8_t upper[9] = {0, 0, 0, 100, 0, 0, 200, 0, 0};
    const uint8_t lower[9] = {0, 0, 0, 60, 0, 0, 20, 0, 0};
    const int32_t xIndex[1] = {3};
    const uint16_t xWeight[2] = {4096, 12288};
    uint16_t upperRow[3], lowerRow[3];
    px::pxLinearRowC3(upper, 1, 3, xIndex, xWeight, upperRow);
    px::pxLinearRowC3(lower, 1, 3, xIndex, xWeight, lowerRow);
    EXPECT_EQ(upperRow[0], 11200);
    EXPECT_EQ(lowerRow[0], 1920);
    uint8_t out[3] = {};
    px::pxLinearBlend(out, 3, 4096, upperRow, lowerRow);
    EXPECT_EQ(out[0], 139);
}

// The vertical pass at every weight, on samples that include both extremes (0 and 16320, the
// greatest that the horizontal pass gives) in either row, against the formula as written.
TEST(ResizeLinearTest, BlendAtEveryWeight) {
    const int32_t count = 67;  // four runs of 16 and a tail
    std::vector<uint16_t> upper(count), lower(count);
    std::mt19937 random(3);
    for (int32_t k = 0; k < count; ++k) {
        upper[k] = static_cast<uint16_t>(random() % 16321);
        lower[k] = static_cast<uint16_t>(random() % 16321);
    }
    const uint16_t extremes[][2] = {{0, 16320}, {16320, 0}, {16320, 16320}, {0, 0}, {1, 16319}, {8160, 8161}};
    for (int32_t k = 0; k < 6; ++k) {
        upper[k] = extremes[k][0];
        lower[k] = extremes[k][1];
    }
    std::vector<uint8_t> out(count);
    for (uint32_t w = 0; w <= 16384; ++w) {
        px::pxLinearBlend(out.data(), count, static_cast<int32_t>(w), upper.data(), lower.data());
        for (int32_t k = 0; k < count; ++k) {
            const uint32_t expected = (lower[k] * w + upper[k] * (16384 - w) + 524288) >> 20;
            ASSERT_EQ(out[k], expected) << "weight " << w << " sample " << k;
        }
    }
}

// The horizontal pass rounds half up: (wr * q + wl * p + 128) >> 8, samples scaled by 64.
TEST(ResizeLinearTest, HorizontalPassRounding) {
    struct Row {
        const char *what;
        uint16_t wl, wr;
        uint8_t p, q;
        uint16_t expected;
    } rows[] = {
        {"worked example, upper", 4096, 12288, 100, 200, 11200},
        {"worked example, lower", 4096, 12288, 60, 20, 1920},
        {"a remainder of exactly 128 goes up: 256 >> 8", 16256, 128, 0, 1, 1},
        {"one below half goes down: 255 >> 8", 16257, 127, 0, 1, 0},
        {"full left weight: 255 * 64", 16384, 0, 255, 0, 16320},
        {"full right weight: 255 * 64", 0, 16384, 0, 255, 16320},
        {"halves: (8192 * 255 + 8192 * 254 + 128) >> 8", 8192, 8192, 255, 254, 16288},
    };
    for (const Row &row : rows) {
        // Pixel 0 is p, pixel 1 is q; all three channels alike.
        const uint8_t bytes[6] = {row.p, row.p, row.p, row.q, row.q, row.q};
        const int32_t xIndex[1] = {0};
        const uint16_t xWeight[2] = {row.wl, row.wr};
        uint16_t out[3] = {};
        px::pxLinearRowC3(bytes, 1, 3, xIndex, xWeight, out);
        for (uint16_t sample : out) EXPECT_EQ(sample, row.expected) << row.what;
    }
}

// The same pixel through the entry: 4 by 4 at factor 3.25 gives 13 by 13 at steps of 3 / 12, so
// output pixel (7, 9) lies at (1.75, 2.25).
TEST(ResizeLinearTest, WorkedExampleThroughTheEntry) {
    Image src = randomImage(4, 4, 0, 9);
    src.pixel(1, 2)[0] = 100;
    src.pixel(2, 2)[0] = 200;
    src.pixel(1, 3)[0] = 60;
    src.pixel(2, 3)[0] = 20;
    Output out(13, 13);
    ASSERT_EQ(resize(src, whole(src), out, 3.25, 3.25, PxLinear), PxStsOk);
    EXPECT_EQ(out.pixel(7, 9)[0], 139);
    EXPECT_EQ(out.changedOutside(13, 13), 0);
}

// At weight 0 both passes give the source value back, and the edge rule puts full weight on the
// last column and row, so factor 1.0 reproduces every byte.
TEST(ResizeLinearTest, FactorOneIsIdentity) {
    for (int32_t interpolation : {PxLinear, PxNearest}) {
        const Image src = randomImage(9, 7, 4, 21);
        Output out(9, 7, 2);
        ASSERT_EQ(resize(src, whole(src), out, 1.0, 1.0, interpolation), PxStsOk);
        for (int32_t y = 0; y < 7; ++y) EXPECT_EQ(0, std::memcmp(out.pixel(0, y), src.pixel(0, y), 27)) << y;
        EXPECT_EQ(out.changedOutside(9, 7), 0);
    }
}

// Factor 2.0 over 4 columns: 8 columns at step 3/7.
//   column 1 at 0.4286: weights 9363 and 7021 over 10 and 80 give 2560, then 40;
//   column 4 at 1.7143: weights 4682 and 11702 over 80 and 30 give 2834, then 44;
//   column 7 at 3 (or a hair below): the edge rule gives the last pixel, 200, exactly;
// and the others likewise: 2560 -> 40 is (2560 * 16384 + 524288) >> 20 for a row at weight 0.
TEST(ResizeLinearTest, DoublingFourColumns) {
    Image src(4, 4);
    const uint8_t values[4] = {10, 80, 30, 200};
    for (int32_t y = 0; y < 4; ++y) {
        for (int32_t x = 0; x < 4; ++x) std::memset(src.pixel(x, y), values[x], 3);
    }
    Output out(8, 4);
    ASSERT_EQ(resize(src, whole(src), out, 2.0, 1.0, PxLinear), PxStsOk);
    const uint8_t expected[8] = {10, 40, 70, 66, 44, 54, 127, 200};
    for (int32_t y = 0; y < 4; ++y) {
        for (int32_t x = 0; x < 8; ++x) EXPECT_EQ(out.pixel(x, y)[2], expected[x]) << x << "," << y;
    }
}

// A 1-pixel-high rectangle on the last row: the row above becomes the upper row at weight 0.
TEST(ResizeLinearTest, RectangleOnTheLastRow) {
    const Image src = randomImage(6, 5, 0, 4);
    Output out(6, 3);
    ASSERT_EQ(resize(src, {0, 4, 6, 1}, out, 1.0, 2.0, PxLinear), PxStsOk);
    EXPECT_EQ(0, std::memcmp(out.pixel(0, 0), src.pixel(0, 4), 18));
    EXPECT_EQ(0, std::memcmp(out.pixel(0, 1), src.pixel(0, 4), 18));
    EXPECT_EQ(out.changedOutside(6, 2), 0);
}

// A bottom-up image (last row first in memory, negative step) gives the bytes of the same image
// stored top-down; the walk runs with the comparisons turned.
TEST(ResizeLinearTest, BottomUpStep) {
    struct Row {
        double fx, fy;
    } rows[] = {{1.6, 3.0}, {0.7, 0.25}, {2.0, 1.0}, {1.0, 0.5}};
    const Image src = randomImage(17, 13, 1, 8);
    Image flipped(17, 13, 1);
    for (int32_t y = 0; y < 13; ++y) std::memcpy(flipped.pixel(0, y), src.pixel(0, 12 - y), 51);
    for (const Row &row : rows) {
        const PxRect rect{1, 2, 15, 11};
        Output topDown(40, 40), bottomUp(40, 40);
        ASSERT_EQ(resize(src, rect, topDown, row.fx, row.fy, PxLinear), PxStsOk);
        ASSERT_EQ(pxResizeC3(flipped.pixel(0, 12), src.size(), -flipped.step, rect, bottomUp.bytes.data(),
                             bottomUp.step, bottomUp.size, row.fx, row.fy, PxLinear),
                  PxStsOk);
        EXPECT_EQ(topDown.bytes, bottomUp.bytes) << row.fx << " " << row.fy;
    }
}

// The rolling pair of rows, driven with hand-made tables: a repeated row (no pass), one row on
// (one pass), rows skipped (two passes), for a positive and a negative step. Each output sample
// must be the blend of the horizontal passes of rows y and y + step.
TEST(ResizeLinearTest, RollingPairOfRows) {
    const int32_t w = 6, h = 12, dstW = 4;
    for (int32_t sign : {1, -1}) {
        const Image src = randomImage(w, h, 2, 17);
        const int32_t step = sign * src.step;
        const uint8_t *first = sign > 0 ? src.pixel(0, 0) : src.pixel(0, h - 1);
        const int32_t rows[] = {0, 0, 1, 1, 2, 5, 6, 10, 10};
        const int32_t dstH = 9;
        std::vector<int32_t> yIndex;
        for (int32_t r : rows) yIndex.push_back(r * step);
        const uint16_t yWeight[dstH] = {0, 5000, 16384, 100, 8192, 16383, 1, 7, 12000};
        const int32_t xIndex[dstW] = {0, 3, 6, 12};
        const uint16_t xWeight[2 * dstW] = {16384, 0, 4000, 12384, 1, 16383, 8192, 8192};
        std::vector<uint16_t> a(3 * dstW + 12), b(3 * dstW + 12);
        std::vector<uint8_t> dst(static_cast<size_t>(3 * dstW) * dstH, kSentinel);
        px::pxLinearImage(first, dst.data(), step, 3 * dstW, dstW, dstH, yIndex.data(), xIndex, yWeight, xWeight,
                          a.data(), b.data(), 3, 3);
        for (int32_t r = 0; r < dstH; ++r) {
            const uint8_t *upper = first + yIndex[r];
            const uint8_t *lower = upper + step;
            for (int32_t c = 0; c < dstW; ++c) {
                for (int32_t k = 0; k < 3; ++k) {
                    auto across = [&](const uint8_t *row) {
                        return (xWeight[2 * c + 1] * row[xIndex[c] + 3 + k] + xWeight[2 * c] * row[xIndex[c] + k] +
                                128u) >> 8;
                    };
                    const uint32_t expected =
                        (across(lower) * yWeight[r] + across(upper) * (16384u - yWeight[r]) + 524288u) >> 20;
                    ASSERT_EQ(dst[static_cast<size_t>(r) * 3 * dstW + 3 * c + k], expected)
                        << "step sign " << sign << " row " << r << " column " << c;
                }
            }
        }
    }
}

// With a pixel stride of 4 the vertical pass skips the fourth byte of each output pixel.
TEST(ResizeLinearTest, StrideFourKeepsTheFourthByte) {
    const int32_t w = 5, h = 4;
    std::vector<uint8_t> src(4 * w * h), src3(3 * w * h);
    for (int32_t k = 0; k < w * h; ++k) {
        for (int32_t c = 0; c < 3; ++c) src3[3 * k + c] = src[4 * k + c] = static_cast<uint8_t>(k * 11 + c * 70);
        src[4 * k + 3] = 0xFF;
    }
    std::vector<uint8_t> dst(4 * 9 * 7, kSentinel), dst3(3 * 9 * 7, kSentinel);
    PxRect rect{0, 0, w, h}, rect3{0, 0, w, h};
    ASSERT_EQ(px::pxResizeEngine(src.data(), w, h, 4 * w, &rect, dst.data(), 36, {9, 7}, 1.8, 1.75, 0.0, 0.0, 4, 3, 0,
                                 0, PxLinear, 1),
              PxStsOk);
    ASSERT_EQ(px::pxResizeEngine(src3.data(), w, h, 3 * w, &rect3, dst3.data(), 27, {9, 7}, 1.8, 1.75, 0.0, 0.0, 3, 3,
                                 0, 0, PxLinear, 1),
              PxStsOk);
    for (int32_t k = 0; k < 9 * 7; ++k) {
        EXPECT_EQ(0, std::memcmp(&dst[4 * k], &dst3[3 * k], 3)) << k;
        EXPECT_EQ(dst[4 * k + 3], kSentinel) << k;
    }
}

}  // namespace
