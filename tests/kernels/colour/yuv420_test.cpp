#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "kernels/colour/level_guard.h"
#include "kestrix/px.h"

namespace {

constexpr uint8_t kSentinel = 0xEE;

// Three sentinel-filled planes with the given row steps.
struct Planes {
    std::vector<uint8_t> y, u, v;
    int32_t steps[3];
    uint8_t *ptrs[3];

    Planes(int32_t yStep, int32_t yRows, int32_t cStep, int32_t cRows)
        : y(static_cast<size_t>(yStep * yRows), kSentinel), u(static_cast<size_t>(cStep * cRows), kSentinel),
          v(static_cast<size_t>(cStep * cRows), kSentinel), steps{yStep, cStep, cStep},
          ptrs{y.data(), u.data(), v.data()} {}
    uint8_t yAt(int32_t x, int32_t row) const { return y[static_cast<size_t>(row * steps[0] + x)]; }
    uint8_t uAt(int32_t x, int32_t row) const { return u[static_cast<size_t>(row * steps[1] + x)]; }
    uint8_t vAt(int32_t x, int32_t row) const { return v[static_cast<size_t>(row * steps[2] + x)]; }
};

std::vector<uint8_t> packed(int32_t width, int32_t height, uint8_t c0, uint8_t c1, uint8_t c2) {
    std::vector<uint8_t> image(static_cast<size_t>(width * height * 3));
    for (size_t i = 0; i < image.size(); i += 3) {
        image[i] = c0;
        image[i + 1] = c1;
        image[i + 2] = c2;
    }
    return image;
}

struct ForwardCase {
    const char *what;
    uint8_t c0, c1, c2;
    uint8_t y, u, v;
};

// Worked with the 16.16 rules on four equal pixels.
const ForwardCase kReferenceForward[] = {
    {"grey 128", 128, 128, 128, 128, 128, 128},
    {"white", 255, 255, 255, 255, 128, 128},
    {"black", 0, 0, 0, 0, 128, 128},
    {"red: dV 717 gives 285, clamped", 255, 0, 0, 76, 90, 255},
    {"blue", 0, 0, 255, 29, 239, 102},
    {"green: V below 0, clamped", 0, 255, 0, 149, 54, 0},
    {"200,100,50", 200, 100, 50, 124, 91, 194},
    {"17,68,0: F 2949075 is just under 45", 17, 68, 0, 44, 106, 103},
};

TEST(RgbToYuv420, ReferenceValues) {
    LevelGuard guard;
    ASSERT_TRUE(guard.set(0));
    for (const ForwardCase &c : kReferenceForward) {
        SCOPED_TRACE(c.what);
        const std::vector<uint8_t> src = packed(2, 2, c.c0, c.c1, c.c2);
        Planes planes(2, 2, 1, 1);
        EXPECT_EQ(pxRgbToYuv420(src.data(), 6, planes.ptrs, planes.steps, {2, 2}), PxStsOk);
        for (uint8_t y : planes.y) EXPECT_EQ(y, c.y);
        EXPECT_EQ(planes.u[0], c.u);
        EXPECT_EQ(planes.v[0], c.v);
    }
}

struct PlacedCase {
    const char *what;
    uint8_t c0, c1, c2;
    int32_t width;  // the block examined is the first of the row
    uint8_t y, u, v;
};

// Levels 1 to 4: the first block of a row of 4 or more blocks goes by the vector rule, that of a
// row of 3 blocks by the tail rule.
const PlacedCase kFixedForward[] = {
    {"grey, vector: H 16386 makes dV -2, R(-2,14369) = -1", 128, 128, 128, 8, 128, 128, 127},
    {"grey, tail: dV exactly 0", 128, 128, 128, 6, 128, 128, 128},
    {"17,68,0 vector: L = 325 + 2555 = 2880, Y 45", 17, 68, 0, 8, 45, 105, 103},
    {"17,68,0 tail: F 737239, just under 45 << 14", 17, 68, 0, 6, 44, 105, 103},
    {"white, vector: L 16320", 255, 255, 255, 8, 255, 128, 128},
    {"white, tail", 255, 255, 255, 6, 255, 128, 128},
    {"red, vector: V clamped", 255, 0, 0, 8, 76, 90, 255},
};

TEST(RgbToYuv420, FixedPointValuesByPlace) {
    const std::vector<int32_t> levels = runnableLevels(1);
    if (levels.empty()) GTEST_SKIP() << "no level above 0 on this processor";
    LevelGuard guard;
    for (int32_t level : levels) {
        ASSERT_TRUE(guard.set(level));
        for (const PlacedCase &c : kFixedForward) {
            SCOPED_TRACE(testing::Message() << c.what << " at level " << level);
            const std::vector<uint8_t> src = packed(c.width, 2, c.c0, c.c1, c.c2);
            Planes planes(c.width, 2, c.width / 2, 1);
            EXPECT_EQ(pxRgbToYuv420(src.data(), c.width * 3, planes.ptrs, planes.steps, {c.width, 2}), PxStsOk);
            EXPECT_EQ(planes.yAt(0, 0), c.y);
            EXPECT_EQ(planes.yAt(1, 1), c.y);
            EXPECT_EQ(planes.uAt(0, 0), c.u);
            EXPECT_EQ(planes.vAt(0, 0), c.v);
        }
    }
}

// How many blocks of a row take the vector rule: groups of 8 while they last, then one of 4.
struct SplitCase {
    int32_t width;
    int32_t vectorBlocks;
};
const SplitCase kSplits[] = {
    {2, 0},    // 1 block: tail
    {6, 0},    // 3: tail
    {8, 4},    // 4: one group of 4
    {14, 4},   // 7 = 4 + 3
    {16, 8},   // 8 = 8
    {18, 8},   // 9 = 8 + 1
    {22, 8},   // 11 = 8 + 3
    {24, 12},  // 12 = 8 + 4
    {26, 12},  // 13 = 8 + 4 + 1
    {30, 12},  // 15 = 8 + 4 + 3
    {40, 20},  // 20 = 8 + 8 + 4
    {45, 20},  // 22 blocks, odd column left out: 8 + 8 + 4 + 2
};

TEST(RgbToYuv420, GroupsOfEightThenFourThenTail) {
    const std::vector<int32_t> levels = runnableLevels(1);
    if (levels.empty()) GTEST_SKIP() << "no level above 0 on this processor";
    LevelGuard guard;
    for (int32_t level : levels) {
        ASSERT_TRUE(guard.set(level));
        for (const SplitCase &c : kSplits) {
            SCOPED_TRACE(testing::Message() << "width " << c.width << " at level " << level);
            const std::vector<uint8_t> src = packed(c.width, 2, 128, 128, 128);
            Planes planes(c.width, 2, c.width / 2, 1);
            pxRgbToYuv420(src.data(), c.width * 3, planes.ptrs, planes.steps, {c.width, 2});
            for (int32_t b = 0; b < c.width / 2; ++b) {
                // Grey gives V 127 by the vector rule and 128 by the tail rule.
                EXPECT_EQ(planes.vAt(b, 0), b < c.vectorBlocks ? 127 : 128) << "block " << b;
            }
        }
    }
}

struct BackwardCase {
    const char *what;
    uint8_t y, u, v;
    uint8_t ref[3];    // level 0
    uint8_t fixed[3];  // levels 1 to 4
};
const BackwardCase kBackward[] = {
    {"neutral", 128, 128, 128, {128, 128, 128}, {128, 128, 128}},
    {"100,200,50", 100, 200, 50, {11, 116, 246}, {11, 116, 246}},
    {"all 255: c1 8596761 >> 16 = 131; 510 - 101 - 148 = 261 >> 1 = 130", 255, 255, 255, {255, 131, 255},
     {255, 130, 255}},
    {"all 0: c1 63897 * 128 >> 16 = 124; 100 + 148 = 248 >> 1", 0, 0, 0, {0, 124, 0}, {0, 124, 0}},
};

TEST(Yuv420ToRgb, ValuesAtEveryLevel) {
    LevelGuard guard;
    for (int32_t level : runnableLevels(0)) {
        ASSERT_TRUE(guard.set(level));
        for (const BackwardCase &c : kBackward) {
            SCOPED_TRACE(testing::Message() << c.what << " at level " << level);
            // Width 20 puts blocks in groups of 8, 4 and the tail: one rule holds for all of them.
            Planes planes(20, 2, 10, 1);
            std::fill(planes.y.begin(), planes.y.end(), c.y);
            std::fill(planes.u.begin(), planes.u.end(), c.u);
            std::fill(planes.v.begin(), planes.v.end(), c.v);
            std::vector<uint8_t> dst(20 * 2 * 3, kSentinel);
            EXPECT_EQ(pxYuv420ToRgb(planes.ptrs, planes.steps, dst.data(), 60, {20, 2}), PxStsOk);
            const uint8_t *want = level == 0 ? c.ref : c.fixed;
            for (size_t i = 0; i < dst.size(); ++i) ASSERT_EQ(dst[i], want[i % 3]) << "byte " << i;
        }
    }
}

TEST(Yuv420, OddWidthLeavesLastColumnOut) {
    LevelGuard guard;
    for (int32_t level : runnableLevels(0)) {
        ASSERT_TRUE(guard.set(level));
        SCOPED_TRACE(testing::Message() << "level " << level);
        // 5x4: two block columns, two block rows.
        const std::vector<uint8_t> src = packed(5, 4, 0, 0, 0);
        Planes planes(5, 4, 3, 2);
        EXPECT_EQ(pxRgbToYuv420(src.data(), 15, planes.ptrs, planes.steps, {5, 4}), PxStsOddSize);
        for (int32_t row = 0; row < 4; ++row) {
            for (int32_t x = 0; x < 4; ++x) EXPECT_EQ(planes.yAt(x, row), 0);
            EXPECT_EQ(planes.yAt(4, row), kSentinel);
        }
        for (int32_t row = 0; row < 2; ++row) {
            EXPECT_EQ(planes.uAt(0, row), 128);
            EXPECT_EQ(planes.uAt(1, row), 128);
            EXPECT_EQ(planes.uAt(2, row), kSentinel);
            EXPECT_EQ(planes.vAt(2, row), kSentinel);
        }

        std::vector<uint8_t> dst(5 * 4 * 3, kSentinel);
        std::fill(planes.y.begin(), planes.y.end(), 128);
        std::fill(planes.u.begin(), planes.u.end(), 128);
        std::fill(planes.v.begin(), planes.v.end(), 128);
        EXPECT_EQ(pxYuv420ToRgb(planes.ptrs, planes.steps, dst.data(), 15, {5, 4}), PxStsOddSize);
        for (int32_t row = 0; row < 4; ++row) {
            for (int32_t i = 0; i < 12; ++i) EXPECT_EQ(dst[static_cast<size_t>(row * 15 + i)], 128);
            for (int32_t i = 12; i < 15; ++i) EXPECT_EQ(dst[static_cast<size_t>(row * 15 + i)], kSentinel);
        }
    }
}

TEST(Yuv420, OddHeightLeavesLastRowOut) {
    LevelGuard guard;
    for (int32_t level : runnableLevels(0)) {
        ASSERT_TRUE(guard.set(level));
        SCOPED_TRACE(testing::Message() << "level " << level);
        const std::vector<uint8_t> src = packed(4, 3, 255, 255, 255);
        Planes planes(4, 3, 2, 2);
        EXPECT_EQ(pxRgbToYuv420(src.data(), 12, planes.ptrs, planes.steps, {4, 3}), PxStsOddSize);
        for (int32_t x = 0; x < 4; ++x) {
            EXPECT_EQ(planes.yAt(x, 1), 255);
            EXPECT_EQ(planes.yAt(x, 2), kSentinel);
        }
        EXPECT_EQ(planes.uAt(1, 0), 128);
        EXPECT_EQ(planes.uAt(0, 1), kSentinel);

        std::vector<uint8_t> dst(4 * 3 * 3, kSentinel);
        EXPECT_EQ(pxYuv420ToRgb(planes.ptrs, planes.steps, dst.data(), 12, {4, 3}), PxStsOddSize);
        EXPECT_EQ(dst[23], 255);
        for (size_t i = 24; i < dst.size(); ++i) EXPECT_EQ(dst[i], kSentinel);
    }
}

TEST(Yuv420, OneByOneTouchesNothing) {
    LevelGuard guard;
    for (int32_t level : runnableLevels(0)) {
        ASSERT_TRUE(guard.set(level));
        const uint8_t src[3] = {1, 2, 3};
        Planes planes(1, 1, 1, 1);
        EXPECT_EQ(pxRgbToYuv420(src, 3, planes.ptrs, planes.steps, {1, 1}), PxStsOddSize);
        EXPECT_EQ(planes.y[0], kSentinel);
        EXPECT_EQ(planes.u[0], kSentinel);
        EXPECT_EQ(planes.v[0], kSentinel);
        uint8_t dst[3] = {kSentinel, kSentinel, kSentinel};
        EXPECT_EQ(pxYuv420ToRgb(planes.ptrs, planes.steps, dst, 3, {1, 1}), PxStsOddSize);
        EXPECT_EQ(dst[0], kSentinel);
        EXPECT_EQ(dst[2], kSentinel);
    }
}

struct CheckCase {
    const char *what;
    bool nullImage, nullPlanes;
    int32_t nullPlane;  // -1 none, else 0 Y, 1 U, 2 V
    int32_t width, height;
    PxStatus want;
};
const CheckCase kChecks[] = {
    {"packed image null", true, false, -1, 2, 2, PxStsNullPtr},
    {"plane array null", false, true, -1, 2, 2, PxStsNullPtr},
    {"pointer before size", true, false, -1, 0, 2, PxStsNullPtr},
    {"width 0", false, false, -1, 0, 2, PxStsBadSize},
    {"height 0", false, false, -1, 2, 0, PxStsBadSize},
    {"width -3", false, false, -1, -3, 2, PxStsBadSize},
    {"Y null", false, false, 0, 2, 2, PxStsNullPtr},
    {"U null", false, false, 1, 2, 2, PxStsNullPtr},
    {"V null", false, false, 2, 2, 2, PxStsNullPtr},
    {"size before plane pointers", false, false, 0, 2, -1, PxStsBadSize},
};

TEST(Yuv420, ChecksInOrderAndTouchNothing) {
    LevelGuard guard;
    for (int32_t level : runnableLevels(0)) {
        ASSERT_TRUE(guard.set(level));
        for (const CheckCase &c : kChecks) {
            SCOPED_TRACE(testing::Message() << c.what << " at level " << level);
            std::vector<uint8_t> image(12, 7);
            Planes planes(2, 2, 1, 1);
            if (c.nullPlane >= 0) planes.ptrs[c.nullPlane] = nullptr;
            uint8_t *const *planeArray = c.nullPlanes ? nullptr : planes.ptrs;
            uint8_t *imagePtr = c.nullImage ? nullptr : image.data();

            EXPECT_EQ(pxRgbToYuv420(imagePtr, 6, planeArray, planes.steps, {c.width, c.height}), c.want);
            for (uint8_t b : planes.y) EXPECT_EQ(b, kSentinel);
            EXPECT_EQ(planes.u[0], kSentinel);
            EXPECT_EQ(planes.v[0], kSentinel);

            EXPECT_EQ(pxYuv420ToRgb(planeArray, planes.steps, imagePtr, 6, {c.width, c.height}), c.want);
            for (uint8_t b : image) EXPECT_EQ(b, 7);
        }
    }
}

}  // namespace
