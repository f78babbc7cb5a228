#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "level_scope.h"

namespace {

using kx::test::forEachLevel;

constexpr uint8_t kSentinel = 0xEE;

// Sentinel-filled planes: Y of yStep x yRows, U and V of cStep x cRows.
struct Planes {
    std::vector<uint8_t> p[3];
    int32_t steps[3];
    uint8_t *ptrs[3];
    Planes(int32_t yStep, int32_t yRows, int32_t cStep, int32_t cRows) : steps{yStep, cStep, cStep} {
        for (int i = 0; i < 3; ++i) p[i].assign(size_t(i == 0 ? yStep * yRows : cStep * cRows), kSentinel);
        for (int i = 0; i < 3; ++i) ptrs[i] = p[i].data();
    }
};

std::vector<uint8_t> packed(int32_t width, int32_t height, uint8_t c0, uint8_t c1, uint8_t c2) {
    std::vector<uint8_t> image(size_t(width * height * 3), c0);
    for (size_t i = 0; i < image.size(); i += 3) image[i + 1] = c1, image[i + 2] = c2;
    return image;
}

// The first block of a row of equal pixels. Form '0': level 0 at width 2. Levels 1 to 4: width 8
// puts the block in a group of 4 ('V', the vector rule), width 6 in the tail ('T').
TEST(RgbToYuv420, ValuesByFormAndPlace) {
    const struct { char form; uint8_t c0, c1, c2, y, u, v; const char *what; } kForward[] = {
        {'0', 128, 128, 128, 128, 128, 128, "grey"},
        {'0', 255, 255, 255, 255, 128, 128, "white"},
        {'0', 0, 0, 0, 0, 128, 128, "black"},
        {'0', 255, 0, 0, 76, 90, 255, "red: dV 717 gives 285, clamped"},
        {'0', 0, 0, 255, 29, 239, 102, "blue"},
        {'0', 0, 255, 0, 149, 54, 0, "green: V below 0, clamped"},
        {'0', 200, 100, 50, 124, 91, 194, "200,100,50"},
        {'0', 17, 68, 0, 44, 106, 103, "F 2949075 is just under 45 << 16"},
        {'V', 128, 128, 128, 128, 128, 127, "grey: H 16386 makes dV -2, R(-2, 14369) = -1"},
        {'T', 128, 128, 128, 128, 128, 128, "grey: dV exactly 0"},
        {'V', 17, 68, 0, 45, 105, 103, "L = 325 + 2555 = 2880, Y 45"},
        {'T', 17, 68, 0, 44, 105, 103, "F 737239 is just under 45 << 14"},
        {'V', 255, 0, 0, 76, 90, 255, "red: V clamped"},
    };
    forEachLevel(0, [&](int32_t level) {
        for (const auto &c : kForward) {
            if ((c.form == '0') != (level == 0)) continue;
            SCOPED_TRACE(c.what);
            const int32_t w = c.form == '0' ? 2 : c.form == 'V' ? 8 : 6;
            const std::vector<uint8_t> src = packed(w, 2, c.c0, c.c1, c.c2);
            Planes planes(w, 2, w / 2, 1);
            EXPECT_EQ(pxRgbToYuv420(src.data(), w * 3, planes.ptrs, planes.steps, {w, 2}), PxStsOk);
            for (int32_t k : {0, 1, w, w + 1}) EXPECT_EQ(planes.p[0][size_t(k)], c.y);
            EXPECT_EQ(planes.p[1][0], c.u);
            EXPECT_EQ(planes.p[2][0], c.v);
        }
    });
}

// Grey gives V 127 by the vector rule and 128 by the tail rule: V shows which blocks of a row take
// the vector rule, groups of 8 while they last, then one of 4.
TEST(RgbToYuv420, GroupsOfEightThenFourThenTail) {
    // {width, vector blocks}: blocks 3; 4; 7 = 4 + 3; 9 = 8 + 1; 13 = 8 + 4 + 1; 22 = 8 + 8 + 4 + 2.
    const int32_t kSplits[][2] = {{6, 0}, {8, 4}, {14, 4}, {18, 8}, {26, 12}, {45, 20}};
    forEachLevel(1, [&](int32_t) {
        for (const auto &s : kSplits) {
            const std::vector<uint8_t> src = packed(s[0], 2, 128, 128, 128);
            Planes planes(s[0], 2, s[0] / 2, 1);
            pxRgbToYuv420(src.data(), s[0] * 3, planes.ptrs, planes.steps, {s[0], 2});
            for (int32_t b = 0; b < s[0] / 2; ++b) {
                EXPECT_EQ(planes.p[2][size_t(b)], b < s[1] ? 127 : 128) << "width " << s[0] << " block " << b;
            }
        }
    });
}

TEST(Yuv420ToRgb, ValuesAtEveryLevel) {
    const struct { uint8_t yuv[3], ref[3], fixed[3]; const char *what; } kBackward[] = {  // fixed: levels 1 to 4
        {{128, 128, 128}, {128, 128, 128}, {128, 128, 128}, "neutral"},
        {{100, 200, 50}, {11, 116, 246}, {11, 116, 246}, "100,200,50"},
        {{255, 255, 255}, {255, 131, 255}, {255, 130, 255}, "c1 8596761 >> 16 = 131; 510 - 101 - 148 = 261 >> 1"},
        {{0, 0, 0}, {0, 124, 0}, {0, 124, 0}, "c1 63897 * 128 >> 16 = 124; 100 + 148 = 248 >> 1"},
    };
    forEachLevel(0, [&](int32_t level) {
        for (const auto &c : kBackward) {
            SCOPED_TRACE(c.what);
            Planes planes(20, 2, 10, 1);  // blocks in a group of 8, one of 4 and the tail: one rule for all
            for (int i = 0; i < 3; ++i) planes.p[i].assign(planes.p[i].size(), c.yuv[i]);
            std::vector<uint8_t> dst(20 * 2 * 3, kSentinel);
            EXPECT_EQ(pxYuv420ToRgb(planes.ptrs, planes.steps, dst.data(), 60, {20, 2}), PxStsOk);
            const uint8_t *want = level == 0 ? c.ref : c.fixed;  // a pointer: GCC 12 with ASan misreads the array form
            for (size_t i = 0; i < dst.size(); ++i) ASSERT_EQ(dst[i], want[i % 3]) << i;
        }
    });
}

// White goes to Y 255, U and V 128 and back to 255 inside the blocks; a last odd column or row,
// and the chroma sample it would have had, keep their sentinels. 1x1 makes no block at all.
TEST(Yuv420, OddSizesLeaveTheLastColumnAndRowOut) {
    const int32_t kSizes[][2] = {{5, 4}, {4, 3}, {1, 1}};
    forEachLevel(0, [&](int32_t) {
        for (const auto &s : kSizes) {
            const int32_t w = s[0], h = s[1];
            SCOPED_TRACE(testing::Message() << w << "x" << h);
            const std::vector<uint8_t> src = packed(w, h, 255, 255, 255);
            Planes planes(w, h, (w + 1) / 2, (h + 1) / 2);
            EXPECT_EQ(pxRgbToYuv420(src.data(), w * 3, planes.ptrs, planes.steps, {w, h}), PxStsOddSize);
            for (int i = 0; i < 3; ++i) {
                const int32_t doneW = i == 0 ? w & ~1 : w / 2, doneH = i == 0 ? h & ~1 : h / 2, step = planes.steps[i];
                for (int32_t k = 0; k < int32_t(planes.p[i].size()); ++k) {
                    const bool done = k % step < doneW && k / step < doneH;
                    EXPECT_EQ(planes.p[i][size_t(k)], done ? (i == 0 ? 255 : 128) : kSentinel) << i << " " << k;
                }
            }
            std::vector<uint8_t> dst(src.size(), kSentinel);
            EXPECT_EQ(pxYuv420ToRgb(planes.ptrs, planes.steps, dst.data(), w * 3, {w, h}), PxStsOddSize);
            for (int32_t k = 0; k < int32_t(dst.size()); ++k) {
                EXPECT_EQ(dst[size_t(k)], k % (w * 3) < (w & ~1) * 3 && k / (w * 3) < (h & ~1) ? 255 : kSentinel) << k;
            }
        }
    });
}

TEST(Yuv420, ChecksInOrderAndTouchNothing) {
    // null: 0 the packed image, 1 the plane array, 2 to 4 the Y, U or V pointer, -1 none.
    const struct { int32_t null, width, height; PxStatus want; } kChecks[] = {
        {0, 2, 2, PxStsNullPtr}, {1, 2, 2, PxStsNullPtr}, {0, 0, 2, PxStsNullPtr},  // pointer before size
        {-1, 0, 2, PxStsBadSize}, {-1, 2, 0, PxStsBadSize}, {-1, -3, 2, PxStsBadSize},
        {2, 2, 2, PxStsNullPtr}, {3, 2, 2, PxStsNullPtr}, {4, 2, 2, PxStsNullPtr},
        {2, 2, -1, PxStsBadSize},  // size before plane pointers
    };
    forEachLevel(0, [&](int32_t) {
        for (const auto &c : kChecks) {
            SCOPED_TRACE(testing::Message() << "null " << c.null << ", " << c.width << "x" << c.height);
            std::vector<uint8_t> image(12, 7);
            Planes planes(2, 2, 1, 1);
            if (c.null >= 2) planes.ptrs[c.null - 2] = nullptr;
            uint8_t *const *planeArray = c.null == 1 ? nullptr : planes.ptrs;
            uint8_t *imagePtr = c.null == 0 ? nullptr : image.data();
            EXPECT_EQ(pxRgbToYuv420(imagePtr, 6, planeArray, planes.steps, {c.width, c.height}), c.want);
            for (const auto &plane : planes.p) EXPECT_EQ(plane, std::vector<uint8_t>(plane.size(), kSentinel));
            EXPECT_EQ(pxYuv420ToRgb(planeArray, planes.steps, imagePtr, 6, {c.width, c.height}), c.want);
            EXPECT_EQ(image, std::vector<uint8_t>(12, 7));
        }
    });
}

// A 3x2 plane, field 1 with the copy: row 0 is computed from rows 0 and 1, its columns 0 and 2 are
// those of its base row, the upper one, and row 1 is copied. Only the middle sample is worked out.
TEST(DeinterlaceEdge, ChoiceOfPairAndTieBreaks) {
    const struct { uint8_t src[6], want; const char *what; } kPixels[] = {
        {{10, 20, 30, 30, 20, 10}, 20, "all three distances 0: vertical"},
        {{0, 100, 200, 200, 0, 0}, 200, "diagonals tie at 0 below dV 100: rising"},
        {{10, 50, 90, 80, 0, 10}, 10, "dA 0 < dB 10 < dV 50: falling"},
        {{90, 50, 10, 10, 0, 80}, 10, "dB 0 < dA 10 < dV 50: rising"},
        {{10, 20, 0, 50, 30, 20}, 25, "dA 10 < dB 50, dA = dV: vertical, (20 + 30 + 1) >> 1"},
        {{0, 20, 10, 20, 30, 50}, 25, "dB 10 < dA 50, dB = dV: vertical"},
        {{0, 10, 20, 25, 15, 5}, 13, "diagonals tie at 5, dV 5: vertical"},
        {{3, 3, 3, 4, 4, 4}, 4, "mean of 3 and 4 rounds up"},
        {{0, 0, 0, 255, 255, 255}, 128, "mean of 0 and 255"},
    };
    forEachLevel(0, [&](int32_t) {
        for (const auto &c : kPixels) {
            std::vector<uint8_t> dst(6, kSentinel), want(c.src, c.src + 6);
            want[1] = c.want;
            EXPECT_EQ(pxDeinterlaceEdge(c.src, 3, dst.data(), 3, {3, 2}, 1, 1), PxStsOk);
            EXPECT_EQ(dst, want) << c.what;
        }
    });
}

// A plane of flat rows 10, 20, 40, a row of 200 above it and one of 100 below; source rows carry
// padding, and the output's is left alone. Flat rows tie every distance, so a computed sample is the
// vertical mean; columns 0 and W - 1 keep the base row, which makes widths 1 and 2 plain copies.
TEST(DeinterlaceEdge, RowsByFieldAndCopyLine) {
    const struct { int32_t field, copyLine; uint8_t inner[3]; } kRows[] = {
        {0, 0, {105, 15, 30}},  // rows i - 1 and i: row 0 reads the row above, (200 + 10 + 1) >> 1
        {1, 0, {15, 30, 70}},   // rows i and i + 1: row 2 reads the row below, (40 + 100 + 1) >> 1
        {0, 1, {10, 15, 30}},   // row 0 copied, nothing outside read
        {1, 1, {15, 30, 40}},   // row 2 copied
    };
    const uint8_t rows[5] = {200, 10, 20, 40, 100};
    std::vector<uint8_t> src(5 * 5);
    for (size_t i = 0; i < src.size(); ++i) src[i] = i % 5 < 4 ? rows[i / 5] : 0;
    forEachLevel(0, [&](int32_t) {
        for (int32_t w : {1, 2, 4}) {
            for (const auto &c : kRows) {
                std::vector<uint8_t> dst(6 * 3, kSentinel), want;
                for (int32_t k = 0; k < 18; ++k) {
                    const int32_t r = k / 6, x = k % 6;
                    want.push_back(x >= w ? kSentinel : x == 0 || x == w - 1 ? rows[r + 1] : c.inner[r]);
                }
                EXPECT_EQ(pxDeinterlaceEdge(src.data() + 5, 5, dst.data(), 6, {w, 3}, c.field, c.copyLine), PxStsOk);
                EXPECT_EQ(dst, want) << "width " << w << " field " << c.field << " copyLine " << c.copyLine;
            }
        }
    });
}

// Level 0 needs two rows; the other levels take one, copy it with the copy, and otherwise compute
// it with its neighbour outside the plane.
TEST(DeinterlaceEdge, MinimumHeightByLevel) {
    const uint8_t src[3][4] = {{5, 5, 5, 5}, {10, 20, 30, 40}, {25, 25, 25, 25}};
    forEachLevel(0, [&](int32_t level) {
        std::vector<uint8_t> dst(4, kSentinel);
        EXPECT_EQ(pxDeinterlaceEdge(src[1], 4, dst.data(), 4, {4, 0}, 1, 1), PxStsBadSize);
        for (int32_t mode = 0; level == 0 && mode < 4; ++mode) {
            EXPECT_EQ(pxDeinterlaceEdge(src[1], 4, dst.data(), 4, {4, 1}, mode & 1, mode >> 1), PxStsBadSize);
        }
        EXPECT_EQ(dst, std::vector<uint8_t>(4, kSentinel));
        if (level == 0) return;
        EXPECT_EQ(pxDeinterlaceEdge(src[1], 4, dst.data(), 4, {4, 1}, 1, 1), PxStsOk);
        EXPECT_EQ(dst, (std::vector<uint8_t>{10, 20, 30, 40}));
        // Field 1 reads 25 below: column 1 has dB = dV = 5, (20 + 25 + 1) >> 1; column 2 dA = dV = 5.
        EXPECT_EQ(pxDeinterlaceEdge(src[1], 4, dst.data(), 4, {4, 1}, 1, 0), PxStsOk);
        EXPECT_EQ(dst, (std::vector<uint8_t>{10, 23, 28, 40}));
        // Field 0 reads 5 above: the rising pairs win, (5 + 10 + 1) >> 1 and (5 + 20 + 1) >> 1.
        EXPECT_EQ(pxDeinterlaceEdge(src[1], 4, dst.data(), 4, {4, 1}, 0, 0), PxStsOk);
        EXPECT_EQ(dst, (std::vector<uint8_t>{10, 8, 13, 40}));
    });
}

// With the copy asked for, so that not even the copied row may be written.
TEST(DeinterlaceEdge, ChecksInOrderAndTouchNothing) {
    const struct { bool nullSrc, nullDst; int32_t width, height; PxStatus want; } kChecks[] = {
        {true, false, 4, 2, PxStsNullPtr}, {false, true, 4, 2, PxStsNullPtr},
        {true, false, 0, 0, PxStsNullPtr},  // pointer before size
        {false, false, 0, 2, PxStsBadSize}, {false, false, -1, 2, PxStsBadSize}, {false, false, 4, -2, PxStsBadSize},
    };
    const uint8_t src[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    forEachLevel(0, [&](int32_t) {
        for (const auto &c : kChecks) {
            std::vector<uint8_t> dst(8, kSentinel);
            EXPECT_EQ(pxDeinterlaceEdge(c.nullSrc ? nullptr : src, 4, c.nullDst ? nullptr : dst.data(), 4,
                                        {c.width, c.height}, 0, 1), c.want) << c.width << "x" << c.height;
            EXPECT_EQ(dst, std::vector<uint8_t>(8, kSentinel));
        }
    });
}

}  // namespace
