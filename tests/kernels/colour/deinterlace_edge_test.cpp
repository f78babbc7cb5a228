#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "kernels/colour/level_guard.h"
#include "kestrix/px.h"

namespace {

constexpr uint8_t kSentinel = 0xEE;

struct PixelCase {
    const char *what;
    uint8_t upper[3], lower[3];  // columns x - 1, x, x + 1
    uint8_t want;
};
const PixelCase kPixels[] = {
    {"all three distances 0: vertical", {10, 20, 30}, {30, 20, 10}, 20},
    {"diagonals tie at 0 below dV 100: rising", {0, 100, 200}, {200, 0, 0}, 200},
    {"dA 0 < dB 10 < dV 50: falling", {10, 50, 90}, {80, 0, 10}, 10},
    {"dB 0 < dA 10 < dV 50: rising", {90, 50, 10}, {10, 0, 80}, 10},
    {"dA 10 < dB 50, dA = dV: vertical (20 + 30 + 1) >> 1", {10, 20, 0}, {50, 30, 20}, 25},
    {"dB 10 < dA 50, dB = dV: vertical", {0, 20, 10}, {20, 30, 50}, 25},
    {"diagonals tie at 5, dV 5: vertical", {0, 10, 20}, {25, 15, 5}, 13},
    {"mean of 3 and 4 rounds up", {3, 3, 3}, {4, 4, 4}, 4},
    {"mean of 0 and 255", {0, 0, 0}, {255, 255, 255}, 128},
};

TEST(DeinterlaceEdge, ChoiceOfPairAndTieBreaks) {
    LevelGuard guard;
    for (int32_t level : runnableLevels(0)) {
        ASSERT_TRUE(guard.set(level));
        for (const PixelCase &c : kPixels) {
            SCOPED_TRACE(testing::Message() << c.what << " at level " << level);
            // 3x2, field 1 with the copy: row 0 is computed from rows 0 and 1, row 1 is copied.
            const uint8_t src[6] = {c.upper[0], c.upper[1], c.upper[2], c.lower[0], c.lower[1], c.lower[2]};
            uint8_t dst[6];
            std::fill(dst, dst + 6, kSentinel);
            EXPECT_EQ(pxDeinterlaceEdge(src, 3, dst, 3, {3, 2}, 1, 1), PxStsOk);
            EXPECT_EQ(dst[1], c.want);
            // Columns 0 and W - 1 come from the base row, the upper one for field 1.
            EXPECT_EQ(dst[0], c.upper[0]);
            EXPECT_EQ(dst[2], c.upper[2]);
            for (int i = 3; i < 6; ++i) EXPECT_EQ(dst[i], src[i]);
        }
    }
}

// A 4x3 plane of flat rows 10, 20, 40, with a row of 200 above it and one of 100 below. In flat
// rows all three distances are equal, so every computed sample is the vertical mean.
struct RowCase {
    int32_t field, copyLine;
    uint8_t inner[3];  // columns 1 and 2 of each output row
    uint8_t edge[3];   // columns 0 and 3: the base row
};
const RowCase kRows[] = {
    // Rows from (i - 1, i): row 0 reads the row above the plane, (200 + 10 + 1) >> 1.
    {0, 0, {105, 15, 30}, {10, 20, 40}},
    // Rows from (i, i + 1): row 2 reads the row below, (40 + 100 + 1) >> 1.
    {1, 0, {15, 30, 70}, {10, 20, 40}},
    // Row 0 copied, nothing outside read.
    {0, 1, {10, 15, 30}, {10, 20, 40}},
    // Row 2 copied.
    {1, 1, {15, 30, 40}, {10, 20, 40}},
};

TEST(DeinterlaceEdge, RowsByFieldAndCopyLine) {
    const uint8_t kRowValues[5] = {200, 10, 20, 40, 100};
    LevelGuard guard;
    for (int32_t level : runnableLevels(0)) {
        ASSERT_TRUE(guard.set(level));
        for (const RowCase &c : kRows) {
            SCOPED_TRACE(testing::Message() << "field " << c.field << " copyLine " << c.copyLine << " level " << level);
            // Source step 5 with a padding byte; destination step 6 with two, both must stay.
            std::vector<uint8_t> src(5 * 5, 0);
            for (int32_t r = 0; r < 5; ++r) {
                for (int32_t x = 0; x < 4; ++x) src[static_cast<size_t>(r * 5 + x)] = kRowValues[r];
            }
            std::vector<uint8_t> dst(6 * 3, kSentinel);
            EXPECT_EQ(pxDeinterlaceEdge(src.data() + 5, 5, dst.data(), 6, {4, 3}, c.field, c.copyLine), PxStsOk);
            for (int32_t r = 0; r < 3; ++r) {
                const uint8_t *row = dst.data() + r * 6;
                EXPECT_EQ(row[0], c.edge[r]) << "row " << r;
                EXPECT_EQ(row[1], c.inner[r]) << "row " << r;
                EXPECT_EQ(row[2], c.inner[r]) << "row " << r;
                EXPECT_EQ(row[3], c.edge[r]) << "row " << r;
                EXPECT_EQ(row[4], kSentinel);
                EXPECT_EQ(row[5], kSentinel);
            }
        }
    }
}

TEST(DeinterlaceEdge, NarrowPlanesCopyTheirBaseRows) {
    LevelGuard guard;
    for (int32_t level : runnableLevels(0)) {
        ASSERT_TRUE(guard.set(level));
        for (int32_t width = 1; width <= 2; ++width) {
            SCOPED_TRACE(testing::Message() << "width " << width << " level " << level);
            // Rows 1 to 3 are the plane; rows 0 and 4 the neighbours outside.
            const uint8_t src[5][2] = {{9, 9}, {10, 11}, {50, 51}, {90, 91}, {7, 7}};
            for (int32_t field = 0; field <= 1; ++field) {
                uint8_t dst[3][2];
                std::fill(&dst[0][0], &dst[0][0] + 6, kSentinel);
                EXPECT_EQ(pxDeinterlaceEdge(&src[1][0], 2, &dst[0][0], 2, {width, 3}, field, 0), PxStsOk);
                for (int32_t r = 0; r < 3; ++r) {
                    for (int32_t x = 0; x < width; ++x) EXPECT_EQ(dst[r][x], src[r + 1][x]);
                    if (width == 1) {
                        EXPECT_EQ(dst[r][1], kSentinel);
                    }
                }
            }
        }
    }
}

TEST(DeinterlaceEdge, MinimumHeightByLevel) {
    LevelGuard guard;
    const uint8_t src[3][4] = {{5, 5, 5, 5}, {10, 20, 30, 40}, {25, 25, 25, 25}};
    for (int32_t level : runnableLevels(0)) {
        ASSERT_TRUE(guard.set(level));
        SCOPED_TRACE(testing::Message() << "level " << level);
        uint8_t dst[4];
        std::fill(dst, dst + 4, kSentinel);
        EXPECT_EQ(pxDeinterlaceEdge(src[1], 4, dst, 4, {4, 0}, 1, 1), PxStsBadSize);
        if (level == 0) {
            // Level 0 needs a pair of rows.
            for (int32_t copyLine = 0; copyLine <= 1; ++copyLine) {
                EXPECT_EQ(pxDeinterlaceEdge(src[1], 4, dst, 4, {4, 1}, 1, copyLine), PxStsBadSize);
                for (uint8_t b : dst) EXPECT_EQ(b, kSentinel);
            }
            continue;
        }
        // With the copy a single row is just copied.
        EXPECT_EQ(pxDeinterlaceEdge(src[1], 4, dst, 4, {4, 1}, 1, 1), PxStsOk);
        EXPECT_EQ(dst[1], 20);
        EXPECT_EQ(dst[2], 30);
        // Without it the row is computed with its neighbour outside the plane, 25 below: at
        // column 1 dB = dV = 5, the vertical, (20 + 25 + 1) >> 1; at column 2 dA = dV = 5.
        EXPECT_EQ(pxDeinterlaceEdge(src[1], 4, dst, 4, {4, 1}, 1, 0), PxStsOk);
        EXPECT_EQ(dst[0], 10);
        EXPECT_EQ(dst[1], 23);
        EXPECT_EQ(dst[2], 28);
        EXPECT_EQ(dst[3], 40);
        // Field 0 uses the row above, 5: the rising pairs win, (5 + 10 + 1) >> 1 and (5 + 20 + 1) >> 1.
        EXPECT_EQ(pxDeinterlaceEdge(src[1], 4, dst, 4, {4, 1}, 0, 0), PxStsOk);
        EXPECT_EQ(dst[1], 8);
        EXPECT_EQ(dst[2], 13);
    }
}

struct DeinterlaceCheck {
    const char *what;
    bool nullSrc, nullDst;
    int32_t width, height;
    PxStatus want;
};
const DeinterlaceCheck kDeinterlaceChecks[] = {
    {"source null", true, false, 4, 2, PxStsNullPtr},
    {"destination null", false, true, 4, 2, PxStsNullPtr},
    {"pointer before size", true, false, 0, 0, PxStsNullPtr},
    {"width 0", false, false, 0, 2, PxStsBadSize},
    {"width -1", false, false, -1, 2, PxStsBadSize},
    {"height -2", false, false, 4, -2, PxStsBadSize},
};

TEST(DeinterlaceEdge, ChecksTouchNothing) {
    LevelGuard guard;
    for (int32_t level : runnableLevels(0)) {
        ASSERT_TRUE(guard.set(level));
        for (const DeinterlaceCheck &c : kDeinterlaceChecks) {
            SCOPED_TRACE(testing::Message() << c.what << " at level " << level);
            const uint8_t src[8] = {1, 2, 3, 4, 5, 6, 7, 8};
            uint8_t dst[8];
            std::fill(dst, dst + 8, kSentinel);
            // copyLine set: not even the copied row may be written.
            EXPECT_EQ(pxDeinterlaceEdge(c.nullSrc ? nullptr : src, 4, c.nullDst ? nullptr : dst, 4,
                                        {c.width, c.height}, 0, 1),
                      c.want);
            for (uint8_t b : dst) EXPECT_EQ(b, kSentinel);
        }
    }
}

// A slanted step stays sharp where the vertical mean would blur it over two columns.
TEST(DeinterlaceEdge, KeepsASlantedStep) {
    // The step stands at column 5 in the upper row and at column 3 in the lower.
    const uint8_t src[2][8] = {{0, 0, 0, 0, 0, 200, 200, 200}, {0, 0, 0, 200, 200, 200, 200, 200}};
    uint8_t dst[2][8];
    EXPECT_EQ(pxDeinterlaceEdge(&src[0][0], 8, &dst[0][0], 8, {8, 2}, 1, 1), PxStsOk);
    // Columns 3 and 4: dA 200, dB 0, dV 200, so the rising pair (0, 0) and then (200, 200) wins,
    // where the vertical would give 100 and 100. Column 2 and 5: dV is 0, the vertical.
    const uint8_t want[8] = {0, 0, 0, 0, 200, 200, 200, 200};
    for (int32_t x = 0; x < 8; ++x) EXPECT_EQ(dst[0][x], want[x]) << "column " << x;
}

}  // namespace
