// pxResizeC3 through its engine: statuses, geometry, nearest and linear bytes worked by hand, strides and levels.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <vector>

#include "kernels/resize/resize_engine.h"
#include "kernels/resize/resize_image.h"
#include "kernels/resize/test_images.h"
#include "kestrix/px.h"

namespace {

using namespace kx_resize_test;

// The checks in their order; a failure writes nothing.
TEST(Resize, Statuses) {
    const Image src = coordinates(16, 16);
    const PxRect all{0, 0, 16, 16}, px33{3, 3, 1, 1};
    const struct { const char *what; int null; PxSize size; PxRect rect; PxSize dst; double fx, fy; int32_t in;
                   PxStatus status; } rows[] = {
        {"null source", 1, {16, 16}, all, {40, 40}, 1, 1, PxLinear, PxStsNullPtr},
        {"null destination", 2, {16, 16}, all, {40, 40}, 1, 1, PxLinear, PxStsNullPtr},
        {"null before sizes", 1, {0, 0}, all, {40, 40}, 1, 1, PxLinear, PxStsNullPtr},
        {"source width 0", 0, {0, 16}, all, {40, 40}, 1, 1, PxLinear, PxStsBadSize},
        {"source height -1", 0, {16, -1}, all, {40, 40}, 1, 1, PxLinear, PxStsBadSize},
        {"rect x -1", 0, {16, 16}, {-1, 0, 4, 4}, {40, 40}, 1, 1, PxLinear, PxStsBadSize},
        {"rect y -1", 0, {16, 16}, {0, -1, 4, 4}, {40, 40}, 1, 1, PxLinear, PxStsBadSize},
        {"rect width 0", 0, {16, 16}, {0, 0, 0, 4}, {40, 40}, 1, 1, PxLinear, PxStsBadSize},
        {"rect height 0", 0, {16, 16}, {0, 0, 4, 0}, {40, 40}, 1, 1, PxLinear, PxStsBadSize},
        {"rect x at the width", 0, {16, 16}, {16, 0, 1, 1}, {40, 40}, 1, 1, PxLinear, 29},
        {"rect y at the height", 0, {16, 16}, {0, 16, 1, 1}, {40, 40}, 1, 1, PxLinear, 29},
        {"origin before dst size", 0, {16, 16}, {16, 0, 1, 1}, {0, 0}, 1, 1, PxLinear, 29},
        {"dst width 0", 0, {16, 16}, all, {0, 40}, 1, 1, PxLinear, PxStsBadSize},
        {"dst height 0", 0, {16, 16}, all, {40, 0}, 1, 1, PxLinear, PxStsBadSize},
        {"x factor 0", 0, {16, 16}, all, {40, 40}, 0.0, 1, PxLinear, PxStsBadFactor},
        {"y factor -1", 0, {16, 16}, all, {40, 40}, 1, -1.0, PxLinear, PxStsBadFactor},
        {"factor before interpolation", 0, {16, 16}, all, {40, 40}, 0.0, 1, 3, PxStsBadFactor},
        {"interpolation 3", 0, {16, 16}, all, {40, 40}, 1, 1, 3, PxStsBadInterpolation},
        {"super above 1.0 reaches the engine", 0, {16, 16}, all, {40, 40}, 0.5, 1.5, PxSuper, -22},
        {"sx 0.49999 + 1e-7 under half", 0, {16, 16}, px33, {40, 40}, 0.49999, 1, PxLinear, -201},
        {"sy under half", 0, {16, 16}, px33, {40, 40}, 1, 0.49999, PxNearest, -201},
        // 16 * 1e8 columns: the column table does not fit a 32-bit allocation.
        {"table too large", 0, {16, 16}, all, {INT32_MAX, 40}, 1e8, 1, PxNearest, PxStsNoMem},
    };
    for (const auto &row : rows) {
        Image out(40, 40, 5);
        EXPECT_EQ(pxResizeC3(row.null == 1 ? nullptr : src.data(), row.size, src.step, row.rect,
                             row.null == 2 ? nullptr : out.data(), out.step, row.dst, row.fx, row.fy, row.in),
                  row.status) << row.what;
        EXPECT_EQ(out.changedOutside(0, 0), 0) << row.what;
    }
}

// Exactly the derived block, cut to dstSize, is written.
TEST(Resize, OutputSize) {
    const struct { const char *what; int32_t srcW; PxRect rect; double fx, fy; PxSize dst; int32_t w, h; } rows[] = {
        {"20 x 15 doubled", 20, {0, 0, 20, 15}, 2, 2, {100, 100}, 40, 30},
        {"cut to dstSize", 20, {0, 0, 20, 20}, 2, 2, {30, 25}, 30, 25},
        // 352 / 100 in single precision is 3.51999998: sx is 351.99999809, beyond what e lifts.
        {"single-precision factor", 100, {0, 0, 100, 2}, double(352.0f / 100.0f), 1, {352, 2}, 351, 2},
        {"double-precision factor", 100, {0, 0, 100, 2}, 3.52, 1, {352, 2}, 352, 2},
        {"sx exactly 0.5", 16, {3, 3, 1, 1}, 0.5, 1, {10, 10}, 1, 1},
        {"sx + e exactly 0.5 is not below half", 16, {3, 3, 1, 1}, 0.4999999, 1, {10, 10}, 1, 1},
        {"sx 1.9999999999999998, lifted by e", 100, {0, 0, 49, 2}, 2.0 / 49.0, 1, {10, 10}, 2, 2},
        // 16 * 1e10 converts to the most negative 32-bit value, and is lifted to 1.
        {"sx beyond 32 bits", 16, {0, 0, 16, 16}, 1e10, 1, {10, 20}, 1, 16},
        {"rectangle clipped to 4 x 6", 16, {12, 10, 10, 10}, 1, 1, {20, 20}, 4, 6},
    };
    for (const auto &row : rows) {
        const Image src = coordinates(row.srcW, row.srcW < 100 ? row.srcW : 2);
        Image out(row.dst.width, row.dst.height, 5);
        ASSERT_EQ(resize(src, row.rect, out, row.fx, row.fy, PxLinear), PxStsOk) << row.what;
        EXPECT_EQ(out.changedOutside(row.w, row.h), 0) << row.what;
        for (int32_t y = 0; y < row.h; ++y)  // byte 0 of the coordinate image is never the sentinel
            for (int32_t x = 0; x < row.w; ++x) ASSERT_NE(out.at(x, y)[0], kSentinel) << row.what;
    }
}

// Requests that must give the same bytes: clipping, and the lowering judged on the whole source.
TEST(Resize, SameBytes) {
    const struct { int32_t w, h; PxRect rect; int32_t in; PxRect rect2; int32_t in2; } rows[] = {
        {100, 6, {95, 1, 10, 9}, PxLinear, {95, 1, 5, 5}, PxLinear},
        {16, 3, {0, 0, 16, 3}, PxLanczos, {0, 0, 16, 3}, PxLinear},
        {3, 16, {0, 0, 3, 16}, PxCubic, {0, 0, 3, 16}, PxLinear},
        {16, 1, {0, 0, 16, 1}, PxLanczos, {0, 0, 16, 1}, PxNearest},
        {5, 1, {0, 0, 5, 1}, PxLinear, {0, 0, 5, 1}, PxNearest},
        {1, 9, {0, 2, 1, 5}, PxLinear, {0, 2, 1, 5}, PxNearest},
    };
    for (const auto &row : rows) {
        const Image src = randomImage(row.w, row.h, 1, 5);
        Image a(40, 40), b(40, 40);
        ASSERT_EQ(resize(src, row.rect, a, 2.5, 1.5, row.in), PxStsOk) << row.w << "x" << row.h;
        ASSERT_EQ(resize(src, row.rect2, b, 2.5, 1.5, row.in2), PxStsOk);
        EXPECT_TRUE(same(a, b)) << row.w << "x" << row.h;
    }
    // A dstSize below the derived size gives the first rows and columns of the full result.
    const Image src = randomImage(9, 9, 0, 3);
    Image full(30, 30), cut(10, 7, 4);
    ASSERT_EQ(resize(src, {0, 0, 9, 9}, full, 2.6, 2.6, PxNearest), PxStsOk);
    ASSERT_EQ(resize(src, {0, 0, 9, 9}, cut, 2.6, 2.6, PxNearest), PxStsOk);
    for (int32_t y = 0; y < 7; ++y) EXPECT_EQ(0, std::memcmp(cut.at(0, y), full.at(0, y), 30)) << y;
    EXPECT_EQ(cut.changedOutside(10, 7), 0);
}

// Nearest samples the centred grid (n + 0.5) / factor, truncated after adding 1e-7.
TEST(Resize, NearestPixels) {
    const struct { const char *what; PxRect rect; double fx, fy; std::vector<int32_t> cols, rows; } table[] = {
        {"1.0", {0, 0, 5, 5}, 1.0, 1.0, {0, 1, 2, 3, 4}, {}},
        {"2.0: 0.25, 0.75, ...", {0, 0, 4, 4}, 2.0, 2.0, {0, 0, 1, 1, 2, 2, 3, 3}, {}},
        {"3.0: 1/6, 1/2, 5/6, ...", {0, 0, 3, 3}, 3.0, 3.0, {0, 0, 0, 1, 1, 1, 2, 2, 2}, {}},
        {"0.5: 1, 3, 5, 7", {0, 0, 8, 8}, 0.5, 0.5, {1, 3, 5, 7}, {}},
        {"0.4: 1.25, 3.75, 6.25, 8.75", {0, 0, 10, 10}, 0.4, 0.4, {1, 3, 6, 8}, {}},
        {"1/3: 1.5, 4.5, 7.5", {0, 0, 9, 9}, 1.0 / 3.0, 1.0 / 3.0, {1, 4, 7}, {}},
        // The running sum reaches 2.9999999999999996 at the fifth pixel; the 1e-7 makes it 3.
        {"1.5: 1/3, 1, 5/3, 7/3, 3, 11/3", {0, 0, 4, 4}, 1.5, 1.5, {0, 1, 1, 2, 3, 3}, {}},
        {"2.0 across, 0.5 down", {0, 0, 4, 4}, 2.0, 0.5, {0, 0, 1, 1, 2, 2, 3, 3}, {1, 3}},
        // sx of 0.5 gives one pixel at position rw, one past the rectangle, read as it stands.
        {"the 0.5 rule", {2, 0, 1, 2}, 0.5, 1.0, {3}, {0, 1}},
    };
    for (const auto &row : table) {
        const Image src = coordinates(row.rect.width + 4, row.rect.height);
        const std::vector<int32_t> &rows = row.rows.empty() ? row.cols : row.rows;
        const int32_t w = int32_t(row.cols.size()), h = int32_t(rows.size());
        for (bool bottomUp : {false, true}) {
            Image out(w + 3, h + 2, 5);
            ASSERT_EQ(resize(src, row.rect, out, row.fx, row.fy, PxNearest, bottomUp), PxStsOk) << row.what;
            for (int32_t y = 0; y < h; ++y)
                for (int32_t x = 0; x < w; ++x)
                    ASSERT_EQ(0, std::memcmp(out.at(x, y), src.at(row.cols[x], rows[y]), 3)) << row.what << " " << x;
            EXPECT_EQ(out.changedOutside(w, h), 0) << row.what;
        }
    }
}

// A pixel at x 1.75, y 2.25: right weight 12288 over 100 and 200 gives 11200, over 60 and 20 1920,
// and down (1920 * 4096 + 11200 * 12288 + 524288) >> 20 = 139 (exactly 138.75).
TEST(Resize, LinearWorkedExample) {
    const struct { uint16_t wl, wr; uint8_t p, q; uint16_t sample; } passes[] = {
        {4096, 12288, 100, 200, 11200}, {0, 16384, 0, 255, 16320},
        {16256, 128, 0, 1, 1},  // (128 + 128) >> 8: a half goes up
        {16257, 127, 0, 1, 0},  // 255 >> 8
    };
    for (const auto &row : passes) {
        const uint8_t bytes[6] = {row.p, row.p, row.p, row.q, row.q, row.q};
        const int32_t xIndex[1] = {0};
        const uint16_t xWeight[2] = {row.wl, row.wr};
        uint16_t out[3] = {};
        px::pxLinearRowC3(bytes, 1, 3, xIndex, xWeight, out);
        for (uint16_t sample : out) EXPECT_EQ(sample, row.sample) << row.wl;
    }
    // 4 x 4 at factor 3.25 is 13 x 13 at steps of 3 / 12, and (7, 9) lies at (1.75, 2.25).
    Image src = randomImage(4, 4, 0, 9), out(13, 13, 5);
    const int32_t set[4][3] = {{1, 2, 100}, {2, 2, 200}, {1, 3, 60}, {2, 3, 20}};
    for (const auto &p : set) src.at(p[0], p[1])[0] = uint8_t(p[2]);
    ASSERT_EQ(resize(src, {0, 0, 4, 4}, out, 3.25, 3.25, PxLinear), PxStsOk);
    EXPECT_EQ(out.at(7, 9)[0], 139);
    EXPECT_EQ(out.changedOutside(13, 13), 0);
}

// Factor 1.0 reproduces every byte, last row and column included: for linear through the edge
// rule's full weight; for cubic at t = -1 on the first row and column, 0 inside, then 1.0 and 2.0 on
// entry H - 3 for the last two; for Lanczos at t = 0 everywhere. So does a 1 x 1 rectangle at the
// last column and row, whose other taps get weight 0. 8 rows, so that Lanczos is not lowered.
TEST(Resize, FactorOneIsIdentity) {
    const Image src = randomImage(9, 8, 4, 21);
    for (int32_t in : {PxLinear, PxNearest, PxCubic, PxLanczos})
        for (bool bottomUp : {false, true}) {
            Image out(9, 8, 2), one(2, 2);
            ASSERT_EQ(resize(src, {0, 0, 9, 8}, out, 1.0, 1.0, in, bottomUp), PxStsOk);
            for (int32_t y = 0; y < 8; ++y) EXPECT_EQ(0, std::memcmp(out.at(0, y), src.at(0, y), 27)) << in << " " << y;
            EXPECT_EQ(out.changedOutside(9, 8), 0);
            ASSERT_EQ(resize(src, {8, 7, 1, 1}, one, 1.0, 1.0, in, bottomUp), PxStsOk);
            EXPECT_EQ(0, std::memcmp(one.at(0, 0), src.at(8, 7), 3)) << in;
            EXPECT_EQ(one.changedOutside(1, 1), 0);
        }
}

// Factor 2.0 over 4 columns: 8 columns at step 3/7. Column 1 at 0.4286 weighs 9363 and 7021 over 10
// and 80: 2560, then 40; column 7 at 3 or a hair below is the last pixel by the edge rule.
TEST(Resize, LinearDoublingFourColumns) {
    Image src(4, 4), out(8, 4, 5);
    const uint8_t values[4] = {10, 80, 30, 200}, expected[8] = {10, 40, 70, 66, 44, 54, 127, 200};
    for (int32_t y = 0; y < 4; ++y)
        for (int32_t x = 0; x < 4; ++x) std::memset(src.at(x, y), values[x], 3);
    ASSERT_EQ(resize(src, {0, 0, 4, 4}, out, 2.0, 1.0, PxLinear), PxStsOk);
    for (int32_t y = 0; y < 4; ++y)
        for (int32_t x = 0; x < 8; ++x) EXPECT_EQ(out.at(x, y)[2], expected[x]) << x << "," << y;
}

// The rolling pair of rows (linear) and the ring of four rows (cubic), on flat rows stored top-down
// and bottom-up; 4 columns, so that cubic is not lowered.
TEST(Resize, RowsOfTheRing) {
    const uint8_t values[16] = {0, 200, 100, 7, 9, 60, 11, 13, 15, 17, 250, 19, 21, 23, 25, 90};
    const struct { const char *what; int32_t in, h; PxRect rect; double fy; std::vector<uint8_t> rows; } table[] = {
        // Step 5: every row skips rows, so both passes run; row 15 is the last, by the edge rule.
        {"0.25 on 16 rows", PxLinear, 16, {0, 0, 4, 16}, 0.25, {0, 60, 250, 90}},
        // Step 1/4: four output rows share one pair of rows; 175 is 200 * 3/4 + 100 / 4.
        {"3.0 on 3 rows", PxLinear, 3, {0, 0, 4, 3}, 3.0, {0, 50, 100, 150, 200, 175, 150, 125, 100}},
        // A 1-row rectangle on the last row: the row above is the upper row, at weight 0.
        {"last row", PxLinear, 5, {0, 4, 4, 1}, 2.0, {9, 9}},
        // Cubic positions on whole rows give t = 0, or -1 and 2.0 at the image's first and last row.
        // Step 5: every advance jumps four rows or more and refills the whole ring.
        {"cubic 0.25 on 16 rows", PxCubic, 16, {0, 0, 4, 16}, 0.25, {0, 60, 250, 90}},
        // Step 2: rows 3, 5, 7, 9 and 11, two rows a time.
        {"cubic rows 3 to 11 at 5/9", PxCubic, 16, {0, 3, 4, 9}, 5.0 / 9.0, {7, 60, 13, 17, 19}},
        // Step 2.5: at t = 0.5 the weights are -1/16, 9/16, 9/16, -1/16; rows 1 to 4 give 754 / 16,
        // rows 6 to 9 224 / 16 and rows 11 to 14 352 / 16: 47.125, 14 and 22.
        {"cubic 7/16 on 16 rows", PxCubic, 16, {0, 0, 4, 16}, 7.0 / 16.0, {0, 47, 60, 14, 250, 22, 90}},
        // Step 5.5: the first jump refills all four rows; rows 4 to 7 give 617 / 16 = 38.5625.
        {"cubic 41/176 on 16 rows", PxCubic, 16, {0, 0, 4, 16}, 41.0 / 176.0, {0, 39, 19}},
        // Inside the image the stencil reads rows 1 and 10, 11 around rows 2 to 9, all at t = 0.
        {"cubic rows 2 to 9 at 1.0", PxCubic, 16, {0, 2, 4, 8}, 1.0, {100, 7, 9, 60, 11, 13, 15, 17}},
    };
    for (const auto &row : table) {
        Image src(4, row.h);
        for (int32_t y = 0; y < row.h; ++y) std::memset(src.at(0, y), values[y], 12);
        for (bool bottomUp : {false, true}) {
            const int32_t h = int32_t(row.rows.size());
            Image out(4, h, 3);
            ASSERT_EQ(resize(src, row.rect, out, 1.0, row.fy, row.in, bottomUp), PxStsOk) << row.what;
            for (int32_t y = 0; y < h; ++y)
                for (int32_t k = 0; k < 12; ++k) EXPECT_EQ(out.at(0, y)[k], row.rows[y]) << row.what << " " << y;
            EXPECT_EQ(out.changedOutside(4, h), 0) << row.what;
        }
    }
}

// With a pixel stride of 4 the engine writes three bytes of each pixel and leaves the fourth.
TEST(Resize, StrideFourKeepsTheFourthByte) {
    // 8 x 8, so that Lanczos is not lowered.
    std::vector<uint8_t> src4(4 * 64, 0xFF), src3(3 * 64);
    for (int32_t k = 0; k < 192; ++k) src3[k] = src4[k / 3 * 4 + k % 3] = uint8_t(k * 37);
    for (int32_t in : {PxNearest, PxLinear, PxCubic, PxLanczos}) {
        std::vector<uint8_t> dst4(4 * 63, kSentinel), dst3(3 * 63, kSentinel);
        PxRect rect4{0, 0, 8, 8}, rect3{0, 0, 8, 8};
        ASSERT_EQ(px::pxResizeEngine(src4.data(), 8, 8, 32, &rect4, dst4.data(), 36, {9, 7}, 1.8, 1.75, 0, 0, 4, 3, 0,
                                     0, in, 1), PxStsOk);
        ASSERT_EQ(px::pxResizeEngine(src3.data(), 8, 8, 24, &rect3, dst3.data(), 27, {9, 7}, 1.8, 1.75, 0, 0, 3, 3, 0,
                                     0, in, 1), PxStsOk);
        for (int32_t k = 0; k < 63; ++k) {
            EXPECT_EQ(0, std::memcmp(&dst4[4 * k], &dst3[3 * k], 3)) << k;
            EXPECT_EQ(dst4[4 * k + 3], kSentinel) << k;
        }
    }
}

}  // namespace
