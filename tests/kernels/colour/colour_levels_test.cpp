// Every level this processor runs, on random content: the conversions of levels 1 to 4 give the
// same bytes as each other and stay within 1 of level 0; the deinterlace gives level 0's bytes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <vector>

#include "kernels/colour/level_guard.h"
#include "kestrix/px.h"

namespace {

constexpr uint8_t kSentinel = 0xEE;

std::vector<uint8_t> randomBytes(size_t count, std::mt19937 &rng) {
    std::vector<uint8_t> bytes(count);
    for (uint8_t &b : bytes) b = static_cast<uint8_t>(rng() & 0xFF);
    return bytes;
}

struct Geometry {
    int32_t width, height, pad;  // pad: bytes beyond each row
};

std::vector<Geometry> geometries() {
    std::vector<Geometry> list;
    for (int32_t width = 1; width <= 67; ++width) list.push_back({width, 2 + width % 5, width % 3 == 0 ? 0 : 5});
    for (int32_t width : {30, 31, 32, 33, 34, 62, 63, 64, 65, 66, 130}) list.push_back({width, 4, 0});
    for (int32_t height : {1, 2, 3, 7, 8}) list.push_back({26, height, 3});
    return list;
}

struct PlaneSet {
    std::vector<uint8_t> data[3];
    int32_t steps[3];
    uint8_t *ptrs[3];
};

PlaneSet makePlanes(const Geometry &g, std::mt19937 *rng) {
    PlaneSet set;
    const int32_t rows[3] = {g.height, g.height / 2 + 1, g.height / 2 + 1};
    set.steps[0] = g.width + g.pad;
    set.steps[1] = set.steps[2] = g.width / 2 + g.pad;
    for (int i = 0; i < 3; ++i) {
        const size_t count = static_cast<size_t>(set.steps[i] * rows[i]);
        set.data[i] = rng ? randomBytes(count, *rng) : std::vector<uint8_t>(count, kSentinel);
        set.ptrs[i] = set.data[i].data();
    }
    return set;
}

// Largest difference between two byte vectors of one size; -1 when they differ in size.
int32_t maxDifference(const std::vector<uint8_t> &a, const std::vector<uint8_t> &b) {
    if (a.size() != b.size()) return -1;
    int32_t worst = 0;
    for (size_t i = 0; i < a.size(); ++i) worst = std::max(worst, std::abs(a[i] - b[i]));
    return worst;
}

TEST(ColourLevels, RgbToYuv420) {
    const std::vector<int32_t> levels = runnableLevels(1);
    if (levels.empty()) GTEST_SKIP() << "no level above 0 on this processor";
    LevelGuard guard;
    std::mt19937 rng(2024);
    for (const Geometry &g : geometries()) {
        SCOPED_TRACE(testing::Message() << g.width << "x" << g.height << " pad " << g.pad);
        const int32_t srcStep = g.width * 3 + g.pad;
        const std::vector<uint8_t> src = randomBytes(static_cast<size_t>(srcStep * g.height), rng);

        std::vector<PlaneSet> results;
        for (int32_t level : std::vector<int32_t>{0, levels[0]}) {
            ASSERT_TRUE(guard.set(level));
            results.push_back(makePlanes(g, nullptr));
            pxRgbToYuv420(src.data(), srcStep, results.back().ptrs, results.back().steps, {g.width, g.height});
        }
        for (int i = 0; i < 3; ++i) EXPECT_LE(maxDifference(results[0].data[i], results[1].data[i]), 1) << "plane " << i;

        for (size_t k = 1; k < levels.size(); ++k) {
            ASSERT_TRUE(guard.set(levels[k]));
            PlaneSet other = makePlanes(g, nullptr);
            pxRgbToYuv420(src.data(), srcStep, other.ptrs, other.steps, {g.width, g.height});
            for (int i = 0; i < 3; ++i) {
                EXPECT_EQ(other.data[i], results[1].data[i]) << "plane " << i << " level " << levels[k];
            }
        }
    }
}

TEST(ColourLevels, Yuv420ToRgb) {
    const std::vector<int32_t> levels = runnableLevels(1);
    if (levels.empty()) GTEST_SKIP() << "no level above 0 on this processor";
    LevelGuard guard;
    std::mt19937 rng(7);
    for (const Geometry &g : geometries()) {
        SCOPED_TRACE(testing::Message() << g.width << "x" << g.height << " pad " << g.pad);
        const PlaneSet planes = makePlanes(g, &rng);
        const uint8_t *const ptrs[3] = {planes.ptrs[0], planes.ptrs[1], planes.ptrs[2]};
        const int32_t dstStep = g.width * 3 + g.pad;
        const size_t dstBytes = static_cast<size_t>(dstStep * g.height);

        std::vector<uint8_t> reference(dstBytes, kSentinel), first(dstBytes, kSentinel);
        ASSERT_TRUE(guard.set(0));
        pxYuv420ToRgb(ptrs, planes.steps, reference.data(), dstStep, {g.width, g.height});
        ASSERT_TRUE(guard.set(levels[0]));
        pxYuv420ToRgb(ptrs, planes.steps, first.data(), dstStep, {g.width, g.height});
        EXPECT_LE(maxDifference(reference, first), 1);

        for (size_t k = 1; k < levels.size(); ++k) {
            ASSERT_TRUE(guard.set(levels[k]));
            std::vector<uint8_t> other(dstBytes, kSentinel);
            pxYuv420ToRgb(ptrs, planes.steps, other.data(), dstStep, {g.width, g.height});
            EXPECT_EQ(other, first) << "level " << levels[k];
        }
    }
}

TEST(ColourLevels, DeinterlaceEdgeMatchesReference) {
    const std::vector<int32_t> levels = runnableLevels(1);
    if (levels.empty()) GTEST_SKIP() << "no level above 0 on this processor";
    LevelGuard guard;
    std::mt19937 rng(99);
    for (const Geometry &g : geometries()) {
        if (g.height < 2) continue;  // level 0 refuses a single row
        const int32_t step = g.width + g.pad;
        // One readable row above and one below the plane, for the pairs that reach outside it.
        const std::vector<uint8_t> src = randomBytes(static_cast<size_t>(step * (g.height + 2)), rng);
        for (int32_t field = 0; field <= 1; ++field) {
            for (int32_t copyLine = 0; copyLine <= 1; ++copyLine) {
                SCOPED_TRACE(testing::Message() << g.width << "x" << g.height << " pad " << g.pad << " field "
                                                << field << " copyLine " << copyLine);
                std::vector<uint8_t> reference(static_cast<size_t>(step * g.height), kSentinel);
                ASSERT_TRUE(guard.set(0));
                pxDeinterlaceEdge(src.data() + step, step, reference.data(), step, {g.width, g.height}, field,
                                  copyLine);
                for (int32_t level : levels) {
                    ASSERT_TRUE(guard.set(level));
                    std::vector<uint8_t> other(reference.size(), kSentinel);
                    pxDeinterlaceEdge(src.data() + step, step, other.data(), step, {g.width, g.height}, field,
                                      copyLine);
                    EXPECT_EQ(other, reference) << "level " << level;
                }
            }
        }
    }
}

}  // namespace
