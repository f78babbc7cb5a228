// pxResizeC3 with cubic interpolation: the polynomial's samples, its sliding stencil at the image's
// borders, the ring of rows, and reads that stay inside the image.
#include <gtest/gtest.h>

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

// Factor 1.0 over the whole image: t = -1 on the first row and column, 0 inside, then 1.0 and 2.0
// on entry H - 3 for the last two; every byte comes back, top-down and bottom-up.
TEST(Cubic, FactorOneIsIdentity) {
    const Image src = randomImage(9, 7, 4, 33);
    for (bool bottomUp : {false, true}) {
        Image out(9, 7, 2);
        ASSERT_EQ(resize(src, {0, 0, 9, 7}, out, 1.0, 1.0, PxCubic, bottomUp), PxStsOk);
        for (int32_t y = 0; y < 7; ++y) EXPECT_EQ(0, std::memcmp(out.at(0, y), src.at(0, y), 27)) << y;
        EXPECT_EQ(out.changedOutside(9, 7), 0);
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

// Flat rows, so that only the rows' choice shows. Positions on whole rows give t = 0 (or -1 and 2.0
// at the image's first and last row), and the output row is a source row.
TEST(Cubic, RingOfRows) {
    const uint8_t values[16] = {0, 200, 100, 7, 9, 60, 11, 13, 15, 17, 250, 19, 21, 23, 25, 90};
    const struct { const char *what; PxRect rect; double fy; std::vector<uint8_t> rows; } table[] = {
        // Step 5: every advance jumps four rows or more and refills the whole ring.
        {"0.25 on 16 rows", {0, 0, 2, 16}, 0.25, {0, 60, 250, 90}},
        // Step 2: two rows a time.
        {"rows 3 to 11 at 0.5", {0, 3, 2, 9}, 5.0 / 9.0, {7, 60, 13, 17, 19}},
        // Inside the image the stencil reads rows 1 and 10, 11 around rows 2 to 9, all at t = 0.
        {"rows 2 to 9 at 1.0", {0, 2, 2, 8}, 1.0, {100, 7, 9, 60, 11, 13, 15, 17}},
    };
    Image src(2, 16);
    for (int32_t y = 0; y < 16; ++y) std::memset(src.at(0, y), values[y], 6);
    for (const auto &row : table) {
        for (bool bottomUp : {false, true}) {
            const int32_t h = int32_t(row.rows.size());
            Image out(2, h, 3);
            ASSERT_EQ(resize(src, row.rect, out, 1.0, row.fy, PxCubic, bottomUp), PxStsOk) << row.what;
            for (int32_t y = 0; y < h; ++y)
                for (int32_t k = 0; k < 6; ++k) EXPECT_EQ(out.at(0, y)[k], row.rows[y]) << row.what << " " << y;
            EXPECT_EQ(out.changedOutside(2, h), 0) << row.what;
        }
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
        for (int32_t in : {PxLinear, PxCubic})
            for (const PxRect &rect : rects)
                for (double factor : {0.5, 1.0, 2.7})
                    for (bool bottomUp : {false, true}) {
                        Image out(30, 30);
                        EXPECT_EQ(resize(src, rect, out, factor, factor * 1.1, in, bottomUp), PxStsOk)
                            << in << " " << rect.x << "," << rect.y << " " << factor << " " << atFront;
                    }
    }
}

}  // namespace
