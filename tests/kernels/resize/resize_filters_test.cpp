// pxResizeC3 with cubic interpolation (the polynomial's samples, its sliding stencil at the image's
// borders, the ring of rows), Lanczos (the kernel table, the weights, the edges and the six-row
// ring) and supersampling (whole and fractional cells), and reads that stay inside the image.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "kernels/resize/resize_image.h"
#include "kernels/resize/test_images.h"
#include "kestrix/px.h"

namespace {

using namespace kx_resize_test;

// Four samples a, b, d, e at the nodes -1, 0, 1, 2. The Lagrange weights at 0.5 are -1/16, 9/16,
// 9/16 and -1/16: (-17 + 1800 + 27 - 99) / 16 = 106.9375. t = -1, 0, 1 and 2 land on the samples;
// t = 2 gives s = 3, h = 3, c = 1 and every float step is exact.
TEST(Cubic, PolynomialThroughFourSamples) {
    const uint8_t a = 17, b = 200, d = 3, e = 99;
    const struct { float t; float sample; uint8_t stored; } rows[] = {
        {-1.0f, 17.0f, 17}, {0.0f, 200.0f, 200}, {1.0f, 3.0f, 3}, {2.0f, 99.0f, 99}, {0.5f, 106.9375f, 107},
        // At -0.5 the weights are 5/16, 15/16, -5/16, 1/16: (85 + 3000 - 15 + 99) / 16 = 198.0625.
        {-0.5f, 198.0625f, 198},
    };
    const uint8_t row[12] = {a, a, a, b, b, b, d, d, d, e, e, e};
    const float r0[3] = {a, a, a}, r1[3] = {b, b, b}, r2[3] = {d, d, d}, r3[3] = {e, e, e};
    for (const auto &r : rows) {
        const int32_t xIndex[1] = {3};
        float out[3] = {};
        px::pxCubicRow(row, 1, 3, xIndex, &r.t, out);
        for (float sample : out) EXPECT_EQ(sample, r.sample) << r.t;
        uint8_t stored[4] = {kSentinel, kSentinel, kSentinel, kSentinel};
        px::pxCubicCombine(stored, 3, r.t, r0, r1, r2, r3);
        for (int k = 0; k < 3; ++k) EXPECT_EQ(stored[k], r.stored) << r.t;
        EXPECT_EQ(stored[3], kSentinel);
    }
}

// 8 columns 0, 0, 0, 0, 255, 255, 255, 255 at xFactor 15/8: 15 columns at step 0.5. At 2.5 the
// taps 0, 0, 0, 255 give -255/16, at 3.5 the taps 0, 0, 255, 255 give 127.5, at 4.5 the taps 0,
// 255, 255, 255 give 255 * 17/16: clamped to 0, rounded up to 128, clamped to 255.
TEST(Cubic, EdgeOvershootIsClamped) {
    Image src(8, 4), out(15, 4, 3);
    for (int32_t y = 0; y < 4; ++y)
        for (int32_t x = 0; x < 8; ++x) std::memset(src.at(x, y), x < 4 ? 0 : 255, 3);
    ASSERT_EQ(resize(src, {0, 0, 8, 4}, out, 15.0 / 8.0, 1.0, PxCubic), PxStsOk);
    const uint8_t expected[15] = {0, 0, 0, 0, 0, 0, 0, 128, 255, 255, 255, 255, 255, 255, 255};
    for (int32_t y = 0; y < 4; ++y)
        for (int32_t x = 0; x < 15; ++x) EXPECT_EQ(out.at(x, y)[1], expected[x]) << x << "," << y;
    EXPECT_EQ(out.changedOutside(15, 4), 0);
}

// The kernel table against its rule, sinc(x) * sinc(x / 3) at x = i / 100, and its check values.
TEST(Lanczos, KernelTable) {
    const double pi = 3.14159265358979323846;
    auto sinc = [&](double x) { return std::sin(pi * x) / (pi * x); };
    for (int32_t i = 1; i < 300; ++i) {
        const double x = i / 100.0;
        if (i % 100 != 0) {
            EXPECT_NEAR(px::pxLanczosKernel[i], sinc(x) * sinc(x / 3.0), 9e-8) << i;
        }
    }
    for (int32_t i : {100, 200, 300, 301}) EXPECT_EQ(px::pxLanczosKernel[i], 0.0f) << i;
    EXPECT_EQ(px::pxLanczosKernel[0], 1.0f);
    const struct { int32_t i; double value; } checks[] = {
        {1, 0.99981719},   {10, 0.98183489},  {50, 0.60792708}, {99, 0.00838497},   {101, -0.00815418},
        {150, -0.13509491}, {201, 0.00203415}, {250, 0.02431709}, {299, 0.00001118},
    };
    for (const auto &check : checks) EXPECT_NEAR(px::pxLanczosKernel[check.i], check.value, 9e-8) << check.i;
}

// t = 0: distances -2 to 3, the kernel gives 0, 0, 1, 0, 0 and the last is out of range. t = 0.5:
// distances -2.5 to 2.5 fall on entries 250, 150, 50, 50, 150, 250 exactly, which sum to 0.99429852;
// divided by it they are 0.02445652, -0.13586956 and 0.61141306, each twice.
TEST(Lanczos, Coefficients) {
    const float fractions[2] = {0.0f, 0.5f};
    float w[12];
    px::pxResizeCoefficients(fractions, 2, w, px::pxLanczosKernel);
    const float passThrough[6] = {0, 0, 1, 0, 0, 0};
    for (int k = 0; k < 6; ++k) EXPECT_EQ(w[k], passThrough[k]) << k;
    const double half[6] = {0.02445652, -0.13586956, 0.61141306, 0.61141306, -0.13586956, 0.02445652};
    for (int k = 0; k < 6; ++k) EXPECT_NEAR(w[6 + k], half[k], 1e-8) << k;
}

// Rectangles at the image's edges and corners, enlarged (the simple walk) and shrunk (the thinned
// walk, with jumps), rowsLeft and colsLeft of 1 and 2 included.
const PxRect kEdgeRects[] = {{0, 0, 12, 10}, {0, 0, 3, 3},  {1, 1, 4, 4}, {9, 7, 3, 3},
                             {10, 8, 2, 2},  {11, 9, 1, 1}, {0, 8, 12, 2}, {0, 9, 12, 1},
                             {0, 5, 12, 5},  {2, 2, 8, 6}};
// 0.2 jumps nine rows at a time on the whole image; 0.5 and 0.7 two or three.
const double kEdgeFactors[] = {0.2, 0.5, 0.7, 1.6, 2.5};

// The weights sum to 1 in every edge case too, so a constant image stays constant.
TEST(Lanczos, ConstantStaysConstant) {
    Image src(12, 10);
    std::memset(src.data(), 77, src.count);
    for (const PxRect &rect : kEdgeRects)
        for (double factor : kEdgeFactors) {
            if (std::min(rect.width, rect.height) * factor < 0.5) continue;
            Image out(40, 40);
            ASSERT_EQ(resize(src, rect, out, factor, factor, PxLanczos), PxStsOk);
            const int32_t w = std::max(1, int32_t(rect.width * factor + 1e-7));
            const int32_t h = std::max(1, int32_t(rect.height * factor + 1e-7));
            for (int32_t y = 0; y < h; ++y)
                for (int32_t k = 0; k < 3 * w; ++k)
                    ASSERT_EQ(out.at(0, y)[k], 77) << rect.x << "," << rect.y << " " << factor << " " << y;
            EXPECT_EQ(out.changedOutside(w, h), 0);
        }
}

// Taps beyond the image's edges take the edge pixel: the same rectangle in a copy of the image that
// repeats its first row and column twice and its last row and column three times, where no edge rule
// applies, gives the same bytes. (The columns' edge sums are grouped otherwise than the interior
// sum, so a byte next to a half could move by one; with this content none does.)
TEST(Lanczos, EdgesRepeatTheEdgePixel) {
    const Image src = randomImage(12, 10, 0, 61);
    Image wide(17, 15);
    for (int32_t y = 0; y < 15; ++y)
        for (int32_t x = 0; x < 17; ++x)
            std::memcpy(wide.at(x, y), src.at(std::clamp(x - 2, 0, 11), std::clamp(y - 2, 0, 9)), 3);
    for (const PxRect &rect : kEdgeRects)
        for (double factor : kEdgeFactors)
            for (bool bottomUp : {false, true}) {
                if (std::min(rect.width, rect.height) * factor < 0.5) continue;
                Image a(40, 40), b(40, 40);
                ASSERT_EQ(resize(src, rect, a, factor, factor, PxLanczos, bottomUp), PxStsOk);
                const PxRect inside{rect.x + 2, rect.y + 2, rect.width, rect.height};
                ASSERT_EQ(resize(wide, inside, b, factor, factor, PxLanczos, bottomUp), PxStsOk);
                EXPECT_TRUE(same(a, b)) << rect.x << "," << rect.y << " " << factor << " " << bottomUp;
            }
}

// The six-row ring against a plain model: flat rows, so that only the choice of rows and their
// weights show; output row n lies at the running sum of the step, and its six taps are the rows -2
// to +3 around it, held to the image. Jumps of 1 to 15 rows, rectangles at the image's top and
// bottom (rowsLeft 1 and 2), enlarged and shrunk; a byte next to a half may differ by one.
TEST(Lanczos, RingOfRows) {
    const struct { int32_t h; PxRect rect; double fy; } table[] = {
        {16, {0, 0, 8, 16}, 7.0 / 16.0},  // step 2.5: jumps of 2 and 3, t = 0.5 on every other row
        {16, {0, 0, 8, 16}, 0.25},        // step 5: jumps of five rows
        {24, {0, 0, 8, 24}, 0.19},        // step 6.46: rows 0, 6, 12, 19
        {20, {0, 0, 8, 20}, 0.11},        // step 15.8: rows 0 and 15
        {16, {0, 1, 8, 15}, 0.6},         // step 1.75: jumps of 1 and 2 from the second row
        {16, {0, 8, 8, 8}, 0.4},          // step 3.18: rows 8, 11 and 14, the last but one
        {16, {0, 11, 8, 5}, 0.75},        // step 1.45: the bottom, thinned
        {16, {0, 14, 8, 2}, 2.5},         // rowsLeft 2, enlarged: the simple walk
        {16, {0, 15, 8, 1}, 3.0},         // rowsLeft 1
        {16, {0, 0, 8, 6}, 1.7},          // step 0.54 from the first row
    };
    for (const auto &row : table) {
        Image src(8, row.h);  // 8 wide, or Lanczos would be lowered
        for (int32_t y = 0; y < row.h; ++y) std::memset(src.at(0, y), (y * 89 + 13) % 256, 24);
        const double sy = row.rect.height * row.fy;
        const int32_t h = std::max(1, int32_t(sy + 1e-7));
        const double step = sy > 1.0 ? (row.rect.height - 1) / (sy - 1.0) : 0.0;
        for (bool bottomUp : {false, true}) {
            Image out(8, h, 3);
            ASSERT_EQ(resize(src, row.rect, out, 1.0, row.fy, PxLanczos, bottomUp), PxStsOk) << row.fy;
            double position = 0.0;
            for (int32_t n = 0; n < h; ++n, position += step) {
                const auto i = int32_t(position + 1e-7);
                const float t = float(position - i);
                float w[6];
                px::pxResizeCoefficients(&t, 1, w, px::pxLanczosKernel);
                double expected = 0.0;
                for (int32_t k = 0; k < 6; ++k)
                    expected += w[k] * src.at(0, std::clamp(row.rect.y + i - 2 + k, 0, row.h - 1))[0];
                const int32_t rounded = std::clamp(int32_t(std::floor(expected + 0.5)), 0, 255);
                for (int32_t k = 0; k < 24; ++k)
                    EXPECT_NEAR(out.at(0, n)[k], rounded, 1) << row.rect.y << " " << row.fy << " " << n;
            }
            EXPECT_EQ(out.changedOutside(8, h), 0);
        }
    }
}

// The lowering looks at the whole source: a 3 x 3 rectangle of a large image stays Lanczos and
// differs from cubic, while a 7-high source is served as cubic.
TEST(Lanczos, LoweringByTheSource) {
    const Image large = randomImage(16, 16, 0, 71), low = randomImage(12, 7, 0, 72);
    Image lanczos(8, 8), cubic(8, 8), lowLanczos(30, 20), lowCubic(30, 20);
    ASSERT_EQ(resize(large, {6, 6, 3, 3}, lanczos, 2.5, 2.5, PxLanczos), PxStsOk);
    ASSERT_EQ(resize(large, {6, 6, 3, 3}, cubic, 2.5, 2.5, PxCubic), PxStsOk);
    EXPECT_FALSE(same(lanczos, cubic));
    ASSERT_EQ(resize(low, {0, 0, 12, 7}, lowLanczos, 2.5, 2.5, PxLanczos), PxStsOk);
    ASSERT_EQ(resize(low, {0, 0, 12, 7}, lowCubic, 2.5, 2.5, PxCubic), PxStsOk);
    EXPECT_TRUE(same(lowLanczos, lowCubic));
}

// Supersampling: the checks of its own entry, in their order; a failure writes nothing.
TEST(Super, Statuses) {
    const Image src = coordinates(16, 16);
    const PxRect all{0, 0, 16, 16};
    const struct { const char *what; int null; PxSize size; PxRect rect; PxSize dst; double fx, fy;
                   PxStatus status; } rows[] = {
        {"null source", 1, {16, 16}, all, {40, 40}, 0.5, 0.5, PxStsNullPtr},
        {"null destination", 2, {16, 16}, all, {40, 40}, 0.5, 0.5, PxStsNullPtr},
        {"source height 0", 0, {16, 0}, all, {40, 40}, 0.5, 0.5, PxStsBadSize},
        {"rect y -1", 0, {16, 16}, {0, -1, 4, 4}, {40, 40}, 0.5, 0.5, PxStsBadSize},
        {"rect width 0", 0, {16, 16}, {0, 0, 0, 4}, {40, 40}, 0.5, 0.5, PxStsBadSize},
        {"rect y at the height", 0, {16, 16}, {0, 16, 4, 4}, {40, 40}, 0.5, 0.5, PxStsNoIntersection},
        {"dst height 0", 0, {16, 16}, all, {40, 0}, 0.5, 0.5, PxStsBadSize},
        {"y factor 0", 0, {16, 16}, all, {40, 40}, 0.5, 0.0, PxStsBadFactor},
        {"x factor -1", 0, {16, 16}, all, {40, 40}, -1.0, 0.5, PxStsBadFactor},
        // 16 * 0.03 + 1e-7 is under half a pixel.
        {"sx 0.48", 0, {16, 16}, all, {40, 40}, 0.03, 0.5, PxStsNoResult},
        {"x factor above 1.0 reaches the engine", 0, {16, 16}, all, {40, 40}, 1.5, 0.5, -22},
    };
    for (const auto &row : rows) {
        Image out(40, 40, 5);
        EXPECT_EQ(pxResizeC3(row.null == 1 ? nullptr : src.data(), row.size, src.step, row.rect,
                             row.null == 2 ? nullptr : out.data(), out.step, row.dst, row.fx, row.fy, PxSuper),
                  row.status) << row.what;
        EXPECT_EQ(out.changedOutside(0, 0), 0) << row.what;
    }
}

// Whole cells: blocks of 1 copy the rectangle through the line, and 2 x 2 blocks of 255 give the
// integer sum 1020 times 0.25, plus 0.5: 255.
TEST(Super, WholeAndConstantCells) {
    const Image src = randomImage(13, 9, 2, 41);
    Image copy(7, 5, 1);
    ASSERT_EQ(resize(src, {5, 3, 7, 5}, copy, 1.0, 1.0, PxSuper), PxStsOk);
    for (int32_t y = 0; y < 5; ++y) EXPECT_EQ(0, std::memcmp(copy.at(0, y), src.at(5, 3 + y), 21)) << y;
    EXPECT_EQ(copy.changedOutside(7, 5), 0);

    // Fractional cells both ways (1.43 by 1.67 pixels) weigh one cell's area too: 200 stays 200.
    const struct { uint8_t value; double fx, fy; } constants[] = {{255, 0.5, 0.5}, {200, 0.7, 0.6}};
    for (const auto &c : constants) {
        Image flat(10, 6), out(8, 4, 2);
        std::memset(flat.data(), c.value, flat.count);
        ASSERT_EQ(resize(flat, {0, 0, 10, 6}, out, c.fx, c.fy, PxSuper), PxStsOk);
        const int32_t w = int32_t(10 * c.fx + 1e-7), h = int32_t(6 * c.fy + 1e-7);
        for (int32_t y = 0; y < h; ++y)
            for (int32_t k = 0; k < 3 * w; ++k) EXPECT_EQ(out.at(0, y)[k], c.value) << c.fx << " " << y << " " << k;
        EXPECT_EQ(out.changedOutside(w, h), 0);
    }
}

// Cells of 1.5 pixels over 9 pixels e0..e8, across or down: e0 + e1/2, e1/2 + e2, e3 + e4/2,
// e4/2 + e5, e6 + e7/2, e7/2 + e8, the last ending on the row's end. With the values below that is
// 110, 140, 93.5, 258.5, 163 and 214, times 2/3, plus 0.5.
TEST(Super, FractionalCells) {
    const uint8_t values[9] = {10, 200, 40, 90, 7, 255, 130, 66, 181};
    const uint8_t expected[6] = {73, 93, 62, 172, 109, 143};
    for (bool across : {true, false}) {
        Image src(across ? 9 : 2, across ? 2 : 9), out(8, 8);
        for (int32_t n = 0; n < 9; ++n)
            for (int32_t m = 0; m < 2; ++m) std::memset(across ? src.at(n, m) : src.at(m, n), values[n], 3);
        const double fx = across ? 2.0 / 3.0 : 1.0, fy = across ? 1.0 : 2.0 / 3.0;
        ASSERT_EQ(resize(src, {0, 0, src.w, src.h}, out, fx, fy, PxSuper), PxStsOk);
        for (int32_t n = 0; n < 6; ++n)
            for (int32_t m = 0; m < 2; ++m) {
                const uint8_t *p = across ? out.at(n, m) : out.at(m, n);
                for (int32_t k = 0; k < 3; ++k) EXPECT_EQ(p[k], expected[n]) << across << " " << n;
            }
        EXPECT_EQ(out.changedOutside(across ? 6 : 2, across ? 2 : 6), 0);
    }
}

// Single cells and near-whole ratios.
TEST(Super, CellEdgeCases) {
    const struct { const char *what; int32_t w, h; PxRect rect; double fx, fy; uint8_t expected[4]; } rows[] = {
        // invX 2.00000005 is whole: cells of exactly 2 pixels at an area of 0.4999999875 give
        // 10.9999997, 100.9999975, 30.9999992, 250.9999937 (at 0.5, or with a fraction, 11, 101, ...).
        {"ratio a hair above 2", 10, 1, {0, 0, 10, 1}, 1.0 / (2.0 + 5e-8), 1.0, {10, 100, 30, 250}},
        // Two rows of 100 and 200 at yFactor 0.6: one row, 100 + 200 * 2/3, times 0.6: 140.
        {"one row of 1.67 rows", 4, 2, {0, 0, 4, 2}, 1.0, 0.6, {140, 140, 140, 140}},
    };
    for (const auto &row : rows) {
        Image src(row.w, row.h), out(4, 1);
        for (int32_t x = 0; x < row.w; ++x) {
            const uint8_t pair[10] = {10, 11, 100, 101, 30, 31, 250, 251, 0, 0};
            std::memset(src.at(x, 0), row.h == 1 ? pair[x] : 100, 3);
            if (row.h > 1) std::memset(src.at(x, 1), 200, 3);
        }
        ASSERT_EQ(resize(src, row.rect, out, row.fx, row.fy, PxSuper), PxStsOk) << row.what;
        for (int32_t x = 0; x < 4; ++x) EXPECT_EQ(out.at(x, 0)[2], row.expected[x]) << row.what << " " << x;
    }
}

// A rectangle under one cell gives one pixel from a line shorter than a cell: with whole cells the
// horizontal pass is skipped and the first column alone, scaled by the area, is stored; with a
// fraction the line's two columns are summed. The rows are those of the cell inside the image,
// fewer at its bottom. On 200 everywhere: 4 rows * 200 / 16 = 50, 3 * 200 / 16 = 37.5 going up to
// 38; 8 * 200 * 0.075 = 120, 4 * 200 * 0.075 = 60.
TEST(Super, RectangleUnderOneCell) {
    const struct { PxRect rect; double fx, fy; uint8_t expected; } rows[] = {
        {{0, 0, 3, 3}, 0.25, 0.25, 50},
        {{5, 5, 3, 3}, 0.25, 0.25, 38},
        {{0, 0, 2, 2}, 0.3, 0.25, 120},
        {{6, 6, 2, 2}, 0.3, 0.25, 60},
    };
    Image src(8, 8);
    std::memset(src.data(), 200, src.count);
    for (const auto &row : rows) {
        Image out(2, 2);
        ASSERT_EQ(resize(src, row.rect, out, row.fx, row.fy, PxSuper), PxStsOk) << row.rect.x;
        for (int32_t k = 0; k < 3; ++k) EXPECT_EQ(out.at(0, 0)[k], row.expected) << row.rect.x;
        EXPECT_EQ(out.changedOutside(1, 1), 0);
    }
}

// Images between no-access pages, ending at one or starting after one, so that a read past the
// image's last byte or before its first faults. Rectangles at the image's corners and edges,
// enlarged and shrunk, top-down and bottom-up (where the image's first row is the last in memory).
TEST(Resize, ReadsStayInsideTheImage) {
    const PxRect rects[] = {{0, 0, 11, 9}, {10, 8, 1, 1}, {9, 7, 2, 2}, {8, 6, 3, 3}, {4, 2, 7, 7},
                            {0, 8, 11, 1}, {0, 0, 1, 1},  {0, 0, 2, 3}, {1, 1, 2, 2}, {0, 3, 11, 2}};
    for (bool atFront : {false, true}) {
        const Image src = randomImage(11, 9, 0, 77, atFront);
        for (int32_t in : {PxNearest, PxLinear, PxCubic, PxLanczos, PxSuper})
            for (const PxRect &rect : rects)
                for (double factor : {0.25, 0.5, 0.7, 1.0, 2.7}) {
                    if (in == PxSuper && factor > 1.0) continue;
                    const bool underHalf = std::min(rect.width, rect.height) * factor + 1e-7 < 0.5;
                    for (bool bottomUp : {false, true}) {
                        Image out(30, 30);
                        EXPECT_EQ(resize(src, rect, out, factor, factor, in, bottomUp),
                                  underHalf ? PxStsNoResult : PxStsOk)
                            << in << " " << rect.x << "," << rect.y << " " << factor << " " << atFront;
                    }
                }
    }
}

}  // namespace
