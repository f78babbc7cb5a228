// pxSharpenC3 and pxFilterC3: statuses, values worked by hand, and every level against level 0.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <random>
#include <vector>

#include "kernels/colour/levels.h"
#include "kestrix/px.h"

namespace {

constexpr uint8_t kSentinel = 0xCD;

// A three-channel image, all channels alike, whose pixel (x, y) is at(x, y).
struct Grey {
    int32_t w, h;
    std::vector<uint8_t> bytes;
    Grey(int32_t width, int32_t height, uint8_t fill) : w(width), h(height), bytes(size_t(3 * width * height), fill) {}
    uint8_t *at(int32_t x, int32_t y) { return bytes.data() + 3 * (y * w + x); }
    void set(int32_t x, int32_t y, uint8_t v) { at(x, y)[0] = at(x, y)[1] = at(x, y)[2] = v; }
};

// Pointer 'n' is nulled in the rows that say so. A failure writes nothing.
TEST(Sharpen, Statuses) {
    const struct { const char *what; int null; PxSize size; int32_t srcStep, dstStep; PxStatus want; } rows[] = {
        {"null source", 1, {4, 4}, 18, 18, PxStsNullPtr},
        {"null destination", 2, {4, 4}, 18, 18, PxStsNullPtr},
        {"null before size", 1, {0, 4}, 18, 18, PxStsNullPtr},
        {"width 0", 0, {0, 4}, 18, 18, PxStsBadSize},
        {"height -1", 0, {4, -1}, 18, 18, PxStsBadSize},
        {"size before step", 0, {0, 4}, 0, 18, PxStsBadSize},
        {"source step 0", 0, {4, 4}, 0, 18, PxStsBadStep},
        {"destination step 0", 0, {4, 4}, 18, 0, PxStsBadStep},
        {"step 1 on a wide region: not compared with the width", 0, {4, 4}, 1, 18, PxStsOk},
        // 3 rows of 3 * 10^8 sums need 3.6e9 bytes, more than a 32-bit size can ask for.
        {"scratch cannot be had", 0, {100000000, 1}, 18, 18, PxStsNoMem},
    };
    Grey src(6, 6, 100);
    for (const auto &row : rows) {
        std::vector<uint8_t> dst(200, kSentinel);
        EXPECT_EQ(pxSharpenC3(row.null == 1 ? nullptr : src.at(1, 1), row.srcStep,
                              row.null == 2 ? nullptr : dst.data(), row.dstStep, row.size),
                  row.want) << row.what;
        EXPECT_EQ(dst == std::vector<uint8_t>(200, kSentinel), row.want != PxStsOk) << row.what;
    }
}

// A 1x1 region: nine pixels read, one written. T = 16 * centre - the eight around it.
TEST(Sharpen, OneSample) {
    const struct { uint8_t centre, ring, odd; int32_t oddAt; uint8_t want; const char *what; } rows[] = {
        {100, 100, 100, 0, 100, "flat: T = 800"},
        {200, 100, 100, 1, 255, "lone 200: T = 2400, 300 saturated"},
        {100, 100, 200, 2, 88, "beside a lone 200: T = 700, 87.5 to even"},
        {0, 100, 100, 3, 0, "lone 0: T = -800"},
        {100, 100, 0, 5, 112, "beside a lone 0: T = 900, 112.5 to even"},
        {1, 0, 12, 6, 0, "T = 4: 0.5 to even"},
        {1, 0, 4, 7, 2, "T = 12: 1.5 to even"},
        {2, 0, 12, 8, 2, "T = 20: 2.5 to even"},
        {1, 0, 11, 0, 1, "T = 5"},
    };
    for (const auto &row : rows) {
        Grey src(3, 3, row.ring), dst(3, 3, kSentinel);
        src.set(1, 1, row.centre);
        src.set(row.oddAt % 3, row.oddAt / 3, row.odd);
        Grey want = dst;
        want.set(1, 1, row.want);
        EXPECT_EQ(pxSharpenC3(src.at(1, 1), 9, dst.at(1, 1), 9, {1, 1}), PxStsOk);
        EXPECT_EQ(dst.bytes, want.bytes) << row.what;
    }
}

// A 5x4 region over a field of 100 with a lone 200 in channel 1 only: the channels stay apart and
// each row's sums carry over to the next rows.
TEST(Sharpen, LonePixelInARegion) {
    Grey src(7, 6, 100), dst(7, 6, kSentinel);
    src.at(3, 2)[1] = 200;
    Grey want = dst;
    for (int32_t y = 1; y <= 4; ++y)
        for (int32_t x = 1; x <= 5; ++x) {
            const bool beside = x >= 2 && x <= 4 && y <= 3;
            want.set(x, y, 100);
            want.at(x, y)[1] = x == 3 && y == 2 ? 255 : beside ? 88 : 100;
        }
    EXPECT_EQ(pxSharpenC3(src.at(1, 1), 21, dst.at(1, 1), 21, {5, 4}), PxStsOk);
    EXPECT_EQ(dst.bytes, want.bytes);
}

TEST(Filter, Statuses) {
    const int32_t kernel[9] = {};
    const struct { const char *what; int null; PxSize size, kernelSize; int32_t srcStep, dstStep, divisor;
                   PxStatus want; } rows[] = {
        {"null source", 1, {4, 4}, {3, 3}, 18, 12, 1, PxStsNullPtr},
        {"null destination", 2, {4, 4}, {3, 3}, 18, 12, 1, PxStsNullPtr},
        {"null kernel", 3, {4, 4}, {3, 3}, 18, 12, 1, PxStsNullPtr},
        {"width 0", 0, {0, 4}, {3, 3}, 18, 12, 1, PxStsBadSize},
        {"height 0", 0, {4, 0}, {3, 3}, 18, 12, 1, PxStsBadSize},
        {"kernel width 0", 0, {4, 4}, {0, 3}, 18, 12, 1, PxStsBadSize},
        {"kernel height 0, before the divisor", 0, {4, 4}, {3, 0}, 18, 12, 0, PxStsBadSize},
        {"divisor 0", 0, {4, 4}, {3, 3}, 18, 12, 0, PxStsBadDivisor},
        {"divisor 0 before a bad step", 0, {4, 4}, {3, 3}, 1, 1, 0, PxStsBadDivisor},
        {"source step (4 + 3 - 1) * 3", 0, {4, 4}, {3, 3}, 18, 12, 1, PxStsOk},
        {"source step one less", 0, {4, 4}, {3, 3}, 17, 12, 1, PxStsBadStep},
        {"destination step one less than 4 * 3", 0, {4, 4}, {3, 3}, 18, 11, 1, PxStsBadStep},
    };
    std::vector<uint8_t> src(18 * 6, 50);
    for (const auto &row : rows) {
        std::vector<uint8_t> dst(12 * 4, kSentinel);
        EXPECT_EQ(pxFilterC3(row.null == 1 ? nullptr : src.data() + 18 + 3, row.srcStep,
                             row.null == 2 ? nullptr : dst.data(), row.dstStep, row.size,
                             row.null == 3 ? nullptr : kernel, row.kernelSize, {1, 1}, row.divisor),
                  row.want) << row.what;
        EXPECT_EQ(dst == std::vector<uint8_t>(12 * 4, kSentinel), row.want != PxStsOk) << row.what;
    }
}

// Where the coefficients meet the source: pixel (x, y) holds 10 * x + y in channel 0, twice and
// three times that in channels 1 and 2 (saturated), in a 5x3 image; the region is 3x1 at (1, 1).
TEST(Filter, KernelOrientation) {
    const struct { const char *what; PxSize kernelSize; PxPoint anchor; int32_t kernel[9]; int32_t want[3]; } rows[] = {
        {"1x1 identity", {1, 1}, {0, 0}, {1}, {11, 21, 31}},
        {"1x3 flipped: src(x + 1) + 2 src(x) + 3 src(x - 1)", {3, 1}, {1, 0}, {1, 2, 3}, {46, 106, 166}},
        {"3x3, first coefficient: one right, one row on", {3, 3}, {1, 1}, {1}, {22, 32, 42}},
        {"3x3, last coefficient: one left, one row back", {3, 3}, {1, 1}, {0, 0, 0, 0, 0, 0, 0, 0, 1}, {0, 10, 20}},
    };
    std::vector<uint8_t> src(45);
    for (int32_t i = 0; i < 45; ++i) src[size_t(i)] = uint8_t((i % 3 + 1) * (10 * (i / 3 % 5) + i / 15));
    for (const auto &row : rows) {
        std::vector<uint8_t> dst(9, kSentinel);
        EXPECT_EQ(pxFilterC3(src.data() + 18, 15, dst.data(), 9, {3, 1}, row.kernel, row.kernelSize, row.anchor, 1),
                  PxStsOk);
        for (int32_t i = 0; i < 9; ++i) {
            EXPECT_EQ(dst[size_t(i)], std::min(255, (i % 3 + 1) * row.want[i / 3])) << row.what << ", byte " << i;
        }
    }
}

// A 1x1 kernel of coefficient a over a pixel of 1 gives the sum a itself.
TEST(Filter, Division) {
    const struct { int32_t divisor, sum; uint8_t want; const char *what; } rows[] = {
        {2, 5, 2, "2.5 to even"}, {2, 7, 4, "3.5 to even"}, {2, 6, 3, "exact"}, {2, -6, 0, "shift: below 1"},
        {4, 6, 2, "1.5 to even"}, {4, 10, 2, "2.5 to even"}, {1 << 30, INT32_MAX, 2, "shift 30: 1.999..."},
        {3, 2, 1, "0.67"}, {3, 1, 0, "0.33"}, {6, 3, 0, "0.5 is 0"}, {6, 15, 2, "2.5 to even, float"},
        {10, 35, 4, "3.5 to even, float"}, {-1, -5, 5, "negative divisor"}, {-1, 5, 0, "-5"},
        {-2, -5, 2, "-2 is no shift: 2.5 to even"}, {9, 10000, 255, "1111 saturated"},
        {1, -3, 0, "plain, negative"}, {1, 300, 255, "plain, saturated"},
        {INT32_MIN, INT32_MIN, 1, "-2147483648 takes the reciprocal: 1.0"},
    };
    const uint8_t one[3] = {1, 1, 1};
    for (const auto &row : rows) {
        uint8_t out[3] = {kSentinel, kSentinel, kSentinel};
        EXPECT_EQ(pxFilterC3(one, 3, out, 3, {1, 1}, &row.sum, {1, 1}, {0, 0}, row.divisor), PxStsOk);
        EXPECT_EQ(out[0], row.want) << row.what;
        EXPECT_EQ(out[2], row.want) << row.what;
    }
}

// Sums wrap in 32 bits, and coefficients at the 16-bit ends are like any other. Flipped, the 1x2
// kernel gives kernel[0] * 4 + kernel[1] * 1 over pixels of 1 and 4.
TEST(Filter, WideCoefficients) {
    const uint8_t src[6] = {1, 1, 1, 4, 4, 4};
    const struct { int32_t kernel[2], divisor; uint8_t want; const char *what; } rows[] = {
        {{1 << 30, 7}, 1, 7, "2^32 wraps to 0, + 7"},
        {{INT32_MIN, 5}, 1, 5, "-2^33 wraps to 0, + 5"},
        {{32767, -32768}, 1024, 96, "98300 / 1024 = 95.996"},
        {{-32768, 32767}, -1024, 96, "-98305 / -1024 = 96.001"},
    };
    for (const auto &row : rows) {
        uint8_t out[3] = {kSentinel, kSentinel, kSentinel};
        EXPECT_EQ(pxFilterC3(src, 6, out, 3, {1, 1}, row.kernel, {2, 1}, {1, 0}, row.divisor), PxStsOk);
        EXPECT_EQ(out[1], row.want) << row.what;
    }
}

// Every level the processor runs gives level 0's bytes, on random content and widths 1 to 40.
TEST(Filter, EveryLevelAsLevelZero) {
    std::mt19937 random(11);
    std::vector<uint8_t> src(size_t(44 * 3 * 8));
    for (uint8_t &b : src) b = uint8_t(random());
    const int32_t kernel[9] = {-1, 2, -3, 40000, 5, -6, 7, -32768, 9};
    const int32_t step = 44 * 3;
    for (int32_t width = 1; width <= 40; ++width) {
        std::vector<uint8_t> sharpened(size_t(step * 6)), filtered(sharpened.size());
        pxSetLevel(0);
        pxSharpenC3(src.data() + step + 3, step, sharpened.data(), step, {width, 6});
        pxFilterC3(src.data() + step + 3, step, filtered.data(), step, {width, 6}, kernel, {3, 3}, {1, 1}, 7);
        forEachLevel(1, [&](int32_t) {
            std::vector<uint8_t> a(sharpened.size()), b(filtered.size());
            pxSharpenC3(src.data() + step + 3, step, a.data(), step, {width, 6});
            pxFilterC3(src.data() + step + 3, step, b.data(), step, {width, 6}, kernel, {3, 3}, {1, 1}, 7);
            EXPECT_EQ(a, sharpened) << "width " << width;
            EXPECT_EQ(b, filtered) << "width " << width;
        });
    }
}

}  // namespace
