// pxSharpenC3 and pxFilterC3: statuses in their order, and values worked by hand.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <vector>

#include "kestrix/px.h"
#include "level_scope.h"

namespace {

constexpr uint8_t kSentinel = 0xCD;

// A three-channel image, all channels alike.
struct Grey {
    int32_t w;
    std::vector<uint8_t> bytes;
    Grey(int32_t width, int32_t height, uint8_t fill) : w(width), bytes(size_t(3 * width * height), fill) {}
    uint8_t *at(int32_t x, int32_t y) { return bytes.data() + 3 * (y * w + x); }
    void set(int32_t x, int32_t y, uint8_t v) { std::fill_n(at(x, y), 3, v); }
};

// The region is 4x4 at (1, 1) of a 6x6 image of rows 18 bytes apart; 'n' names the null pointer
// (source, destination, kernel). A failure writes nothing.
TEST(Filters, Statuses) {
    const struct { const char *what; bool sharpen; int null; PxSize size, kernelSize; int32_t srcStep, dstStep,
                   divisor; PxStatus want; } rows[] = {
        {"sharpen: null source", true, 1, {4, 4}, {}, 18, 18, 0, PxStsNullPtr},
        {"sharpen: null destination before size", true, 2, {0, 4}, {}, 18, 18, 0, PxStsNullPtr},
        {"sharpen: height -1 before step", true, 0, {4, -1}, {}, 0, 18, 0, PxStsBadSize},
        {"sharpen: destination step 0", true, 0, {4, 4}, {}, 18, 0, 0, PxStsBadStep},
        {"sharpen: source step 1 is not compared with the width", true, 0, {4, 4}, {}, 1, 18, 0, PxStsOk},
        // Three rows of 3 * 10^8 sums are 3.6e9 bytes, more than a 32-bit size can ask for.
        {"sharpen: scratch cannot be had", true, 0, {100000000, 1}, {}, 18, 18, 0, PxStsNoMem},
        {"filter: null kernel", false, 3, {4, 4}, {3, 3}, 18, 12, 1, PxStsNullPtr},
        {"filter: null source", false, 1, {4, 4}, {3, 3}, 18, 12, 1, PxStsNullPtr},
        {"filter: width 0", false, 0, {0, 4}, {3, 3}, 18, 12, 1, PxStsBadSize},
        {"filter: kernel height 0 before divisor 0", false, 0, {4, 4}, {3, 0}, 18, 12, 0, PxStsBadSize},
        {"filter: divisor 0 before a bad step", false, 0, {4, 4}, {3, 3}, 1, 1, 0, PxStsBadDivisor},
        {"filter: source step (4 + 3 - 1) * 3", false, 0, {4, 4}, {3, 3}, 18, 12, 1, PxStsOk},
        {"filter: source step one less", false, 0, {4, 4}, {3, 3}, 17, 12, 1, PxStsBadStep},
        {"filter: destination step 4 * 3 - 1", false, 0, {4, 4}, {3, 3}, 18, 11, 1, PxStsBadStep},
    };
    const int32_t kernel[9] = {};
    Grey src(6, 6, 100);
    for (const auto &row : rows) {
        std::vector<uint8_t> dst(128, kSentinel);
        const uint8_t *s = row.null == 1 ? nullptr : src.at(1, 1);
        uint8_t *d = row.null == 2 ? nullptr : dst.data();
        EXPECT_EQ(row.sharpen ? pxSharpenC3(s, row.srcStep, d, row.dstStep, row.size)
                              : pxFilterC3(s, row.srcStep, d, row.dstStep, row.size, row.null == 3 ? nullptr : kernel,
                                           row.kernelSize, {1, 1}, row.divisor),
                  row.want) << row.what;
        EXPECT_EQ(dst == std::vector<uint8_t>(128, kSentinel), row.want != PxStsOk) << row.what;
    }
}

// A 1x1 region reads nine pixels and writes one. T = 16 * centre - the eight around it; one of
// them, at oddAt in memory order, holds odd.
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
        Grey src(3, 3, row.ring), dst(3, 3, kSentinel), want(3, 3, kSentinel);
        src.set(1, 1, row.centre);
        src.set(row.oddAt % 3, row.oddAt / 3, row.odd);
        want.set(1, 1, row.want);
        EXPECT_EQ(pxSharpenC3(src.at(1, 1), 9, dst.at(1, 1), 9, {1, 1}), PxStsOk);
        EXPECT_EQ(dst.bytes, want.bytes) << row.what;
    }
}

// A 5x4 region over a field of 100 with a lone 200 in channel 1 at (3, 2): the channels stay
// apart, and each row's sums serve the rows around it.
TEST(Sharpen, LonePixelInARegion) {
    Grey src(7, 6, 100), dst(7, 6, kSentinel), want(7, 6, kSentinel);
    src.at(3, 2)[1] = 200;
    for (int32_t y = 1; y <= 4; ++y)
        for (int32_t x = 1; x <= 5; ++x) {
            want.set(x, y, 100);
            want.at(x, y)[1] = x == 3 && y == 2 ? 255 : x >= 2 && x <= 4 && y <= 3 ? 88 : 100;
        }
    EXPECT_EQ(pxSharpenC3(src.at(1, 1), 21, dst.at(1, 1), 21, {5, 4}), PxStsOk);
    EXPECT_EQ(dst.bytes, want.bytes);
}

// Where the coefficients meet the source: pixel (x, y) of a 5x3 image holds 10x + y in channel 0,
// twice and three times that (saturated) in channels 1 and 2; the region is 3x1 at (1, 1).
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
        for (int32_t i = 0; i < 9; ++i)
            EXPECT_EQ(dst[size_t(i)], std::min(255, (i % 3 + 1) * row.want[i / 3])) << row.what << ", byte " << i;
    }
}

// A 1x2 kernel over pixels of 1 and 4, flipped: the sum is 4 * kernel[0] + kernel[1].
TEST(Filter, SumsAndDivision) {
    const struct { int32_t kernel[2], divisor; uint8_t want; const char *what; } rows[] = {
        {{0, 5}, 2, 2, "2.5 to even"}, {{0, 7}, 2, 4, "3.5 to even"}, {{0, 6}, 2, 3, "exact"},
        {{0, -6}, 2, 0, "shift: below 1"}, {{0, 6}, 4, 2, "1.5 to even"}, {{0, 10}, 4, 2, "2.5 to even"},
        {{0, INT32_MAX}, 1 << 30, 2, "shift 30: 1.999..."}, {{0, 2}, 3, 1, "0.67"}, {{0, 1}, 3, 0, "0.33"},
        {{0, 3}, 6, 0, "0.5 gives 0"}, {{0, 15}, 6, 2, "2.5 to even, float"}, {{0, 35}, 10, 4, "3.5 to even, float"},
        {{0, -5}, -1, 5, "negative divisor"}, {{0, 5}, -1, 0, "-5"}, {{0, -5}, -2, 2, "-2 takes no shift: 2.5"},
        {{0, 10000}, 9, 255, "1111 saturated"}, {{0, -3}, 1, 0, "plain, negative"}, {{0, 300}, 1, 255, "plain, 300"},
        {{0, INT32_MIN}, INT32_MIN, 1, "-2147483648 takes the reciprocal: 1.0"},
        {{1 << 30, 7}, 1, 7, "2^32 wraps to 0, + 7"}, {{INT32_MIN, 5}, 1, 5, "-2^33 wraps to 0, + 5"},
        {{32767, -32768}, 1024, 96, "98300 / 1024 = 95.996"}, {{-32768, 32767}, -1024, 96, "-98305 / -1024"},
    };
    const uint8_t src[6] = {1, 1, 1, 4, 4, 4};
    for (const auto &row : rows) {
        uint8_t out[3] = {kSentinel, kSentinel, kSentinel};
        EXPECT_EQ(pxFilterC3(src, 6, out, 3, {1, 1}, row.kernel, {2, 1}, {1, 0}, row.divisor), PxStsOk);
        EXPECT_EQ(out[1], row.want) << row.what;
    }
}

// Each level this processor runs, and then the level in force before.
template <class Body>
void atEveryLevel(Body body) {
    kx::test::forEachLevel(0, [&](int32_t) { body(); });
}

// An 86x3 kernel of 32766 over 91x3 pixels of 255 but one of 5 at (85, 1), which every window of
// the 6x1 region holds: each sum is 32766 * (257 * 255 + 5) = 2147483640, just below 2^31, in a
// region wide enough for the vector forms.
TEST(Filter, SumsAtTheTopOf32Bits) {
    const struct { int32_t divisor; uint8_t want; const char *what; } rows[] = {
        {1, 255, "plain: 2147483640 saturated, though in single precision it is 2^31"},
        {1 << 30, 2, "shift 30: 1.99999999, where sum + half would pass 2^31"},
        {-1, 0, "reciprocal: -2^31"},
        {3, 255, "reciprocal: 715827880 saturated"},
    };
    Grey src(91, 3, 255);
    src.set(85, 1, 5);
    const std::vector<int32_t> kernel(258, 32766);
    atEveryLevel([&] {
        for (const auto &row : rows) {
            std::vector<uint8_t> dst(18, kSentinel);
            EXPECT_EQ(pxFilterC3(src.at(0, 0), 273, dst.data(), 18, {6, 1}, kernel.data(), {86, 3}, {85, 2},
                                 row.divisor),
                      PxStsOk);
            EXPECT_EQ(dst, std::vector<uint8_t>(18, row.want)) << row.what;
        }
    });
}

// 4 * 10^8 pixels: three rows of 32-bit sums, and the vector forms' column sums with their slack
// (2.4e9 bytes), both pass what a 32-bit count can ask for. Nothing is read or written.
TEST(Sharpen, ScratchCannotBeHadAtAnyLevel) {
    Grey src(3, 3, 100);
    atEveryLevel([&] {
        std::vector<uint8_t> dst(16, kSentinel);
        EXPECT_EQ(pxSharpenC3(src.at(1, 1), 9, dst.data(), 9, {400000000, 1}), PxStsNoMem);
        EXPECT_EQ(dst, std::vector<uint8_t>(16, kSentinel));
    });
}

}  // namespace
