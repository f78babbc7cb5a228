#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "kernels/resize/resize_engine.h"
#include "resize_test_support.h"

namespace {

using namespace resize_test;

// The grid is centred: output pixel n samples position (n + 0.5) / factor, truncated after 1e-7
// is added. The same factor on both axes of a square image, so one list names rows and columns.
TEST(ResizeNearestTest, SourcePixelsByFactor) {
    struct Row {
        const char *what;
        double factor;
        int32_t size;
        std::vector<int32_t> pixels;
    } rows[] = {
        {"1.0: 0.5, 1.5, ...", 1.0, 5, {0, 1, 2, 3, 4}},
        {"2.0: 0.25, 0.75, ...", 2.0, 4, {0, 0, 1, 1, 2, 2, 3, 3}},
        {"3.0: 1/6, 1/2, 5/6, ...", 3.0, 3, {0, 0, 0, 1, 1, 1, 2, 2, 2}},
        {"0.5: 1, 3, 5, 7", 0.5, 8, {1, 3, 5, 7}},
        {"0.4: 1.25, 3.75, 6.25, 8.75", 0.4, 10, {1, 3, 6, 8}},
        {"1/3: 1.5, 4.5, 7.5", 1.0 / 3.0, 9, {1, 4, 7}},
        // The running sum reaches 2.9999999999999996 at the fifth pixel; the 1e-7 makes it 3.
        {"1.5: 1/3, 1, 5/3, 7/3, 3, 11/3", 1.5, 4, {0, 1, 1, 2, 3, 3}},
    };
    for (const Row &row : rows) {
        const Image src = coordinateImage(row.size, row.size, 2);
        const int32_t n = static_cast<int32_t>(row.pixels.size());
        Output out(n + 3, n + 2);
        ASSERT_EQ(resize(src, whole(src), out, row.factor, row.factor, PxNearest), PxStsOk) << row.what;
        for (int32_t y = 0; y < n; ++y) {
            for (int32_t x = 0; x < n; ++x) {
                ASSERT_EQ(0, std::memcmp(out.pixel(x, y), src.pixel(row.pixels[x], row.pixels[y]), 3))
                    << row.what << " at " << x << "," << y;
            }
        }
        EXPECT_EQ(out.changedOutside(n, n), 0) << row.what;
    }
}

// xFactor 2.0 and yFactor 0.5 on 4 by 4: columns 0, 0, 1, 1, 2, 2, 3, 3 of rows 1 and 3.
TEST(ResizeNearestTest, AxesAreIndependent) {
    const Image src = coordinateImage(4, 4);
    Output out(8, 2, 0);
    ASSERT_EQ(resize(src, whole(src), out, 2.0, 0.5, PxNearest), PxStsOk);
    const uint8_t expected[2][8] = {{0, 0, 1, 1, 2, 2, 3, 3}, {0, 0, 1, 1, 2, 2, 3, 3}};
    for (int32_t y = 0; y < 2; ++y) {
        for (int32_t x = 0; x < 8; ++x) {
            EXPECT_EQ(out.pixel(x, y)[0], expected[y][x]);
            EXPECT_EQ(out.pixel(x, y)[1], 2 * y + 1);
        }
    }
}

TEST(ResizeNearestTest, RectangleOffsetAndBottomUpStep) {
    // Rows of a bottom-up image run backwards in memory: pass the last row and a negative step.
    const Image src = coordinateImage(12, 10, 3);
    Output topDown(20, 20), bottomUp(20, 20);
    Image flipped(12, 10, 3);
    for (int32_t y = 0; y < 10; ++y) std::memcpy(flipped.pixel(0, y), src.pixel(0, 9 - y), 36);
    const PxRect rect{2, 3, 7, 6};
    ASSERT_EQ(resize(src, rect, topDown, 1.7, 0.6, PxNearest), PxStsOk);
    ASSERT_EQ(pxResizeC3(flipped.pixel(0, 9), src.size(), -flipped.step, rect, bottomUp.bytes.data(), bottomUp.step,
                         bottomUp.size, 1.7, 0.6, PxNearest),
              PxStsOk);
    EXPECT_EQ(topDown.bytes, bottomUp.bytes);
    // 7 * 1.7 = 11.9 columns, 6 * 0.6 = 3.6 rows; column 0 samples 0.294 and row 0 0.833.
    EXPECT_EQ(topDown.changedOutside(11, 3), 0);
    EXPECT_EQ(topDown.pixel(0, 0)[0], 2);
    EXPECT_EQ(topDown.pixel(0, 0)[1], 3);
}

// A dstSize below the derived size keeps the grid: the first rows and columns of the full result.
TEST(ResizeNearestTest, SmallDestinationKeepsTheGrid) {
    const Image src = randomImage(9, 9, 0, 3);
    Output full(30, 30), cut(10, 7);
    ASSERT_EQ(resize(src, whole(src), full, 2.6, 2.6, PxNearest), PxStsOk);
    ASSERT_EQ(resize(src, whole(src), cut, 2.6, 2.6, PxNearest), PxStsOk);
    for (int32_t y = 0; y < 7; ++y) EXPECT_EQ(0, std::memcmp(cut.pixel(0, y), full.pixel(0, y), 30)) << y;
    EXPECT_EQ(cut.changedOutside(10, 7), 0);
}

// With a pixel stride of 4 three bytes are copied and the fourth byte of each output pixel keeps
// what it held.
TEST(ResizeNearestTest, StrideFourKeepsTheFourthByte) {
    const int32_t w = 5, h = 4;
    std::vector<uint8_t> src(4 * w * h);
    for (size_t k = 0; k < src.size(); ++k) src[k] = static_cast<uint8_t>(k);
    std::vector<uint8_t> dst(4 * 10 * 8, kSentinel);
    PxRect rect{0, 0, w, h};
    ASSERT_EQ(px::pxResizeEngine(src.data(), w, h, 4 * w, &rect, dst.data(), 40, {10, 8}, 2.0, 2.0, 0.0, 0.0, 4, 3, 0,
                                 0, PxNearest, 1),
              PxStsOk);
    for (int32_t y = 0; y < 8; ++y) {
        for (int32_t x = 0; x < 10; ++x) {
            const uint8_t *o = &dst[static_cast<size_t>(y) * 40 + 4 * x];
            const uint8_t *p = &src[static_cast<size_t>(y / 2) * 4 * w + 4 * (x / 2)];
            EXPECT_EQ(0, std::memcmp(o, p, 3)) << x << "," << y;
            EXPECT_EQ(o[3], kSentinel) << x << "," << y;
        }
    }
}

}  // namespace
