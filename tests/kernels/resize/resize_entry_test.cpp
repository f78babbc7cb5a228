#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <functional>

#include "kernels/resize/resize_engine.h"
#include "resize_test_support.h"

namespace {

using namespace resize_test;

// Every failure returns at once and writes nothing; checks run pointers, sizes, origin,
// destination size, factors, interpolation.
TEST(ResizeEntryTest, StatusesInTheirOrder) {
    const Image src = coordinateImage(16, 16);
    struct Row {
        const char *what;
        std::function<PxStatus(Output &)> call;
        PxStatus expected;
    };
    const PxRect all = whole(src);
    const uint8_t *s = src.data();
    auto call = [&](const uint8_t *from, PxSize size, PxRect rect, bool nullDst, PxSize dstSize, double fx, double fy,
                    int32_t interpolation) {
        return [=](Output &out) {
            return pxResizeC3(from, size, src.step, rect, nullDst ? nullptr : out.bytes.data(), out.step, dstSize, fx,
                              fy, interpolation);
        };
    };
    const PxSize d{40, 40};
    const Row rows[] = {
        {"null source", call(nullptr, {16, 16}, all, false, d, 1, 1, PxLinear), PxStsNullPtr},
        {"null destination", call(s, {16, 16}, all, true, d, 1, 1, PxLinear), PxStsNullPtr},
        {"null before sizes", call(nullptr, {0, 0}, all, false, d, 1, 1, PxLinear), PxStsNullPtr},
        {"source width 0", call(s, {0, 16}, all, false, d, 1, 1, PxLinear), PxStsBadSize},
        {"source height -1", call(s, {16, -1}, all, false, d, 1, 1, PxLinear), PxStsBadSize},
        {"rect x -1", call(s, {16, 16}, {-1, 0, 4, 4}, false, d, 1, 1, PxLinear), PxStsBadSize},
        {"rect y -1", call(s, {16, 16}, {0, -1, 4, 4}, false, d, 1, 1, PxLinear), PxStsBadSize},
        {"rect width 0", call(s, {16, 16}, {0, 0, 0, 4}, false, d, 1, 1, PxLinear), PxStsBadSize},
        {"rect height 0", call(s, {16, 16}, {0, 0, 4, 0}, false, d, 1, 1, PxLinear), PxStsBadSize},
        {"rect x at the width", call(s, {16, 16}, {16, 0, 1, 1}, false, d, 1, 1, PxLinear), PxStsNoIntersection},
        {"rect y at the height", call(s, {16, 16}, {0, 16, 1, 1}, false, d, 1, 1, PxLinear), PxStsNoIntersection},
        {"origin before dst size", call(s, {16, 16}, {16, 0, 1, 1}, false, {0, 0}, 1, 1, PxLinear),
         PxStsNoIntersection},
        {"dst width 0", call(s, {16, 16}, all, false, {0, 40}, 1, 1, PxLinear), PxStsBadSize},
        {"dst height 0", call(s, {16, 16}, all, false, {40, 0}, 1, 1, PxLinear), PxStsBadSize},
        {"x factor 0", call(s, {16, 16}, all, false, d, 0.0, 1, PxLinear), PxStsBadFactor},
        {"y factor -1", call(s, {16, 16}, all, false, d, 1, -1.0, PxLinear), PxStsBadFactor},
        {"factor before interpolation", call(s, {16, 16}, all, false, d, 0.0, 1, 3), PxStsBadFactor},
        {"interpolation 3", call(s, {16, 16}, all, false, d, 1, 1, 3), PxStsBadInterpolation},
        {"interpolation 0", call(s, {16, 16}, all, false, d, 1, 1, 0), PxStsBadInterpolation},
        {"interpolation 32", call(s, {16, 16}, all, false, d, 1, 1, 32), PxStsBadInterpolation},
        // Supersampling with a factor above 1.0 reaches the general routine, which refuses it.
        {"super 0.5 by 1.5", call(s, {16, 16}, all, false, d, 0.5, 1.5, PxSuper), PxStsBadInterpolation},
        {"super 2 by 2", call(s, {16, 16}, all, false, d, 2, 2, PxSuper), PxStsBadInterpolation},
        // 1 * 0.49999 + 1e-7 is under half a pixel.
        {"width under half a pixel", call(s, {16, 16}, {3, 3, 1, 1}, false, d, 0.49999, 1, PxLinear), PxStsNoResult},
        {"height under half a pixel", call(s, {16, 16}, {3, 3, 1, 1}, false, d, 1, 0.49999, PxNearest),
         PxStsNoResult},
        // dstW of 1.6e9 pixels: its column table does not fit a 32-bit allocation.
        {"column table too large", call(s, {16, 16}, all, false, {INT32_MAX, 40}, 1e8, 1, PxNearest), PxStsNoMem},
        {"linear column table too large", call(s, {16, 16}, all, false, {INT32_MAX, 40}, 1e8, 1, PxLinear),
         PxStsNoMem},
    };
    for (const Row &row : rows) {
        Output out(40, 40);
        EXPECT_EQ(row.call(out), row.expected) << row.what;
        EXPECT_TRUE(out.untouched()) << row.what;
    }
}

TEST(ResizeEntryTest, LastColumnAndRowAreInside) {
    const Image src = coordinateImage(16, 16);
    Output out(4, 4);
    EXPECT_EQ(resize(src, {15, 15, 1, 1}, out, 1, 1, PxLinear), PxStsOk);
    EXPECT_EQ(out.pixel(0, 0)[0], 15);
    EXPECT_EQ(out.pixel(0, 0)[1], 15);
    EXPECT_EQ(out.changedOutside(1, 1), 0);
}

// The output block is the derived size, cut to dstSize; nothing beyond it is written.
TEST(ResizeEntryTest, OutputSize) {
    struct Row {
        const char *what;
        int32_t srcW, srcH;
        PxRect rect;
        double fx, fy;
        int32_t interpolation;
        PxSize dstSize;
        int32_t dstW, dstH;
    } rows[] = {
        {"doubling", 20, 15, {0, 0, 20, 15}, 2, 2, PxLinear, {100, 100}, 40, 30},
        {"cut to dstSize", 20, 20, {0, 0, 20, 20}, 2, 2, PxLinear, {30, 25}, 30, 25},
        // 352 / 100 in single precision is 3.51999998: sx is 351.99999809, e does not lift it.
        {"single-precision factor", 100, 2, {0, 0, 100, 2}, static_cast<double>(352.0f / 100.0f), 1, PxLinear,
         {352, 2}, 351, 2},
        {"double-precision factor", 100, 2, {0, 0, 100, 2}, 3.52, 1, PxLinear, {352, 2}, 352, 2},
        {"sx exactly 0.5", 16, 16, {3, 3, 1, 1}, 0.5, 1, PxLinear, {10, 10}, 1, 1},
        {"sx 0.49999995, lifted by 1e-7", 16, 16, {3, 3, 1, 1}, 0.49999995, 1, PxLinear, {10, 10}, 1, 1},
        {"sx 1.4 truncated", 16, 16, {0, 0, 2, 2}, 0.7, 0.7, PxNearest, {10, 10}, 1, 1},
        // 16 * 1e10 is beyond 32 bits: converted to the most negative value, then lifted to 1.
        {"sx beyond 32 bits", 16, 16, {0, 0, 16, 16}, 1e10, 1, PxLinear, {10, 20}, 1, 16},
        {"clipped rectangle", 16, 16, {12, 10, 10, 10}, 1, 1, PxLinear, {20, 20}, 4, 6},
        {"nearest thirds", 9, 9, {0, 0, 9, 9}, 1.0 / 3.0, 1.0 / 3.0, PxNearest, {20, 20}, 3, 3},
    };
    for (const Row &row : rows) {
        const Image src = coordinateImage(row.srcW, row.srcH);
        Output out(row.dstSize.width, row.dstSize.height);
        ASSERT_EQ(resize(src, row.rect, out, row.fx, row.fy, row.interpolation), PxStsOk) << row.what;
        EXPECT_EQ(out.changedOutside(row.dstW, row.dstH), 0) << row.what;
        // The coordinate image's first byte is at most 99 everywhere: never the sentinel.
        int unwritten = 0;
        for (int32_t y = 0; y < row.dstH; ++y) {
            for (int32_t x = 0; x < row.dstW; ++x) unwritten += out.pixel(x, y)[0] == kSentinel;
        }
        EXPECT_EQ(unwritten, 0) << row.what;
    }
}

TEST(ResizeEntryTest, OverrunningRectangleIsClipped) {
    const Image src = randomImage(100, 6, 2, 11);
    Output clipped(20, 20), exact(20, 20);
    ASSERT_EQ(resize(src, {95, 1, 10, 9}, clipped, 1.5, 1.5, PxLinear), PxStsOk);
    ASSERT_EQ(resize(src, {95, 1, 5, 5}, exact, 1.5, 1.5, PxLinear), PxStsOk);
    EXPECT_EQ(clipped.bytes, exact.bytes);

    // The engine writes the clipped size back; the entry clips only its own copy.
    PxRect rect{95, 1, 10, 9};
    Output out(20, 20);
    ASSERT_EQ(px::pxResizeEngine(src.data(), 100, 6, src.step, &rect, out.bytes.data(), out.step, out.size, 1.5,
                                 1.5, 0.0, 0.0, 3, 3, 0, 0, PxLinear, 1),
              PxStsOk);
    EXPECT_EQ(rect.width, 5);
    EXPECT_EQ(rect.height, 5);
    EXPECT_EQ(out.bytes, exact.bytes);
}

// sx of exactly 0.5 gives one pixel; with nearest its position is rw, one pixel past the
// rectangle, and that pixel is read as it stands.
TEST(ResizeEntryTest, HalfPixelRuleReadsPastTheRectangle) {
    const Image src = coordinateImage(6, 2);
    Output out(4, 4);
    ASSERT_EQ(resize(src, {2, 0, 1, 2}, out, 0.5, 1.0, PxNearest), PxStsOk);
    EXPECT_EQ(out.pixel(0, 0)[0], 3);
    EXPECT_EQ(out.pixel(0, 1)[0], 3);
    EXPECT_EQ(out.pixel(0, 1)[1], 1);
    EXPECT_EQ(out.changedOutside(1, 2), 0);
}

// The lowering looks at the whole source: requests that it changes are served as the lower
// interpolation, with no warning.
TEST(ResizeEntryTest, SmallSourcesAreLowered) {
    struct Row {
        const char *what;
        int32_t srcW, srcH;
        PxRect rect;
        int32_t requested, served;
    } rows[] = {
        {"Lanczos, 3 high: linear", 16, 3, {0, 0, 16, 3}, PxLanczos, PxLinear},
        {"cubic, 3 wide: linear", 3, 16, {0, 0, 3, 16}, PxCubic, PxLinear},
        {"Lanczos, 1 high: nearest", 16, 1, {0, 0, 16, 1}, PxLanczos, PxNearest},
        {"linear, 1 high: nearest", 5, 1, {0, 0, 5, 1}, PxLinear, PxNearest},
        {"linear, 1 wide: nearest", 1, 9, {0, 2, 1, 5}, PxLinear, PxNearest},
    };
    for (const Row &row : rows) {
        const Image src = randomImage(row.srcW, row.srcH, 1, 5);
        Output requested(40, 40), served(40, 40);
        ASSERT_EQ(resize(src, row.rect, requested, 2.5, 1.5, row.requested), PxStsOk) << row.what;
        ASSERT_EQ(resize(src, row.rect, served, 2.5, 1.5, row.served), PxStsOk) << row.what;
        EXPECT_EQ(requested.bytes, served.bytes) << row.what;
    }
}

// A 1-pixel-high source asked for linear with yFactor 3.0 gives three copies of its row, at the
// nearest grid: columns 0, 0, 1, 1, 2, 2, 3, 3 for xFactor 2.0.
TEST(ResizeEntryTest, OnePixelHighLinearIsNearest) {
    const Image src = coordinateImage(4, 1);
    Output out(10, 5);
    ASSERT_EQ(resize(src, whole(src), out, 2.0, 3.0, PxLinear), PxStsOk);
    const int columns[8] = {0, 0, 1, 1, 2, 2, 3, 3};
    for (int32_t y = 0; y < 3; ++y) {
        for (int32_t x = 0; x < 8; ++x) {
            EXPECT_EQ(0, std::memcmp(out.pixel(x, y), src.pixel(columns[x], 0), 3)) << x << "," << y;
        }
    }
    EXPECT_EQ(out.changedOutside(8, 3), 0);
}

}  // namespace
