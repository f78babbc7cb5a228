#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

#include "frame/library_state.h"
#include "kernels/colour/luma_sum.h"
#include "level_scope.h"
#include "kestrix.h"
#include "kestrix/px.h"

namespace {

// Each row holds a stepper's inputs, then the values it leaves behind and its result, which step()
// returns in that order. The settings are in force for the rows and put back afterwards.
template <size_t N, size_t W, typename Step>
void runRows(const int32_t (&rows)[N][W], Step step, const kx::Settings &settings = {}) {
    const kx::Settings saved = kx::settings;
    kx::settings = settings;
    for (const auto &row : rows) {
        const std::vector<int32_t> got = step(row);
        const size_t inputs = W - got.size();
        EXPECT_EQ(got, std::vector<int32_t>(row + inputs, row + W))
            << "in " << testing::PrintToString(std::vector<int32_t>(row, row + inputs));
    }
    kx::settings = saved;
}

TEST(BmpGetYDc, Table) {
    const struct { std::vector<uint8_t> pixels; int32_t expected; } rows[] = {
        {{0, 0, 0, 0, 0, 0}, 0}, {{255, 255, 255}, 252},  // the weights add up to 0.991
        {{100, 0, 0}, 29}, {{0, 100, 0}, 57}, {{0, 0, 100}, 11},  // 29.9, 57.8 (0.578, not 0.587), 11.4
        {{0, 0, 88, 0, 0, 115}, 11},  // 10 and 13, then 11.5 truncated
        {{0, 63, 49}, 41},            // 42 in reals, 41.99999999999999 in double
        {{2, 87, 194}, 73},           // 73.0 in this order of sums, 72.999... in the other
        {{255, 255, 255, 0, 0, 0, 100, 0, 0, 0, 100, 0}, 84},  // (252 + 0 + 29 + 57) / 4: truncated per pixel
    };
    for (const auto &row : rows)
        EXPECT_EQ(BmpGetYDc(row.pixels.data(), static_cast<uint32_t>(row.pixels.size())), row.expected)
            << testing::PrintToString(row.pixels);
}

TEST(BmpGetYDc, NoWholePixelGivesZeroAndPartOfOneIsNotRead) {
    // Each buffer is exactly count bytes long, so a read of the tail shows under the sanitizers; a
    // tail taken as a pixel would also change the mean.
    const struct { std::vector<uint8_t> pixels; int32_t expected; } rows[] = {
        {{}, 0}, {{255}, 0}, {{255, 255}, 0},
        {{100, 0, 0, 255}, 29}, {{100, 0, 0, 255, 255}, 29}, {{100, 0, 0, 0, 100, 0, 255}, 43},  // (29 + 57) / 2
    };
    for (const auto &row : rows) {
        std::unique_ptr<uint8_t[]> exact(new uint8_t[row.pixels.size() + !row.pixels.size()]);
        std::copy(row.pixels.begin(), row.pixels.end(), exact.get());
        EXPECT_EQ(BmpGetYDc(exact.get(), static_cast<uint32_t>(row.pixels.size())), row.expected)
            << testing::PrintToString(row.pixels);
    }
    EXPECT_EQ(BmpGetYDc(nullptr, 300), 0);
}

// The vector sums against the plain one for every one of the 2^24 pixels: each pixel fills the
// groups of each form (two of sixteen, one of thirty-two), so that it stands in every lane, and a
// tail of three that the plain rule takes.
TEST(BmpGetYDc, VectorSumsEqualPlainSumForEveryPixel) {
    const kx::test::LevelScope scope;
    const bool ssse3 = scope.set(1), avx2 = scope.set(4);
    if (!ssse3) GTEST_SKIP() << "no SSSE3 here";
    uint8_t run[3 * 35];
    uint32_t mismatches[2] = {};
    for (uint32_t rgb = 0; rgb < (1u << 24); ++rgb) {
        for (uint32_t k = 0; k < sizeof run / 3; ++k) {
            run[3 * k] = static_cast<uint8_t>(rgb >> 16);
            run[3 * k + 1] = static_cast<uint8_t>(rgb >> 8);
            run[3 * k + 2] = static_cast<uint8_t>(rgb);
        }
        const uint32_t want = 35 * uint32_t{px::lumaOfPixel(run)};
        if (px::lumaSum_ssse3(run, 35) != want) ++mismatches[0];
        if (avx2 && px::lumaSum_avx2(run, 35) != want) ++mismatches[1];
    }
    EXPECT_EQ(mismatches[0], 0u) << "SSSE3";
    EXPECT_EQ(mismatches[1], 0u) << "AVX2";
}

// A null variable makes any stepper a call that moves nothing and reports 0; the others keep their
// values. The inputs are ones where every stepper would move something.
TEST(Steppers, NullVariablesMoveNothing) {
    for (int32_t missing = 0; missing < 4; ++missing) {
        int32_t y = 10, stage = 130, g = 500, s = 10;
        int32_t *p[4] = {&y, &stage, &g, &s};
        p[missing] = nullptr;
        if (missing != 1) {
            EXPECT_EQ(ChangeGain(p[0], p[2], p[3]), 0) << missing;
            EXPECT_EQ(ChangeGain2(p[0], 100, p[2], p[3]), 0) << missing;
        }
        EXPECT_EQ(ChangeGain3(p[0], 100, p[1], p[2], p[3]), 0) << missing;
        EXPECT_EQ((std::vector{y, stage, g, s}), (std::vector{10, 130, 500, 10})) << missing;
    }
}

// Y, G, S in; G, S and the result out.
const int32_t kChangeGain[][6] = {
    // Bound checks, S before G (G 500 waits for the next call), luminance not looked at. The lift of
    // G 31 also ends each see-saw that groups B and E start by writing a gain below 32.
    {120, 500, 10, 500, 32, 1}, {20, 64, 31, 64, 32, 1}, {20, 64, 512, 64, 511, -1},
    {20, 128, 511, 127, 511, -1}, {255, 31, 176, 32, 176, 0},
    // A, Y < 30 (Y 30 goes to C): gain to 40; at 40 the coarse ladder up (472 -> 511, not 480), past its
    // end the intended gain 60; 192 is on the fine ladder only and 200 on none, so C takes them.
    {29, 35, 176, 40, 176, 0}, {30, 35, 176, 36, 176, 0}, {20, 40, 63, 40, 176, -1},
    {20, 40, 472, 40, 511, -1}, {20, 40, 511, 60, 511, 0}, {20, 40, 192, 40, 208, 0},
    {20, 40, 200, 40, 200, 0}, {20, 41, 63, 60, 63, 0}, {20, 59, 511, 60, 511, 0},
    {20, 70, 176, 70, 192, 0}, {20, 60, 32, 60, 63, -1}, {20, 60, 511, 61, 511, 0},
    // B, Y > 250 (Y 250 goes to D): gain to 38; at 38 the coarse ladder down (511 -> 472, not 504), from
    // 32 the gain 24; 192 and 200 as in A, with D; G 32 to 37 straight to 24.
    {251, 39, 176, 38, 176, 0}, {250, 39, 176, 39, 63, 0}, {251, 38, 63, 38, 32, 1},
    {251, 38, 511, 38, 472, 0}, {251, 38, 32, 24, 32, 0}, {251, 38, 192, 38, 176, 0},
    {251, 38, 200, 38, 200, 0}, {255, 33, 176, 24, 176, 0}, {255, 37, 511, 24, 511, 0},
    // C, Y < 110: gain + 1 at S 511 (at most 127), else the fine ladder up.
    {109, 127, 511, 127, 511, 0}, {109, 64, 32, 64, 63, -1}, {109, 64, 504, 64, 511, 0},
    {109, 64, 240, 64, 448, 0},
    // D, Y > 150: gain - 5 at S 32 (at least 32), else the fine ladder down.
    {200, 64, 32, 59, 32, 0}, {151, 35, 32, 32, 32, 0}, {200, 64, 63, 64, 32, 1},
    {200, 64, 511, 64, 504, 0}, {200, 64, 448, 64, 240, 0},
    // E, Y 110 to 150: only a gain at S 32 moves, from Y 131, with no floor.
    {110, 64, 32, 64, 32, 0}, {130, 32, 32, 32, 32, 0}, {131, 64, 32, 63, 32, 0},
    {135, 32, 32, 31, 32, 0}, {150, 64, 32, 63, 32, 0}, {150, 64, 63, 64, 63, 0},
};

TEST(ChangeGain, Table) {
    runRows(kChangeGain, [](const int32_t *in) {
        int32_t g = in[1], s = in[2];
        const int32_t result = ChangeGain(&in[0], &g, &s);
        return std::vector{g, s, result};
    });
}

// Y, W, G, S in; G, S and the result out.
std::vector<int32_t> stepGain2(const int32_t *in) {
    int32_t g = in[2], s = in[3];
    const int32_t result = ChangeGain2(&in[0], in[1], &g, &s);
    return {g, s, result};
}

TEST(ChangeGain2, Table) {
    const int32_t rows[][7] = {
        // Inside the window MIN 523 to MAX 1000 nothing, not even the bound checks.
        {100, 523, 64, 1000, 64, 1000, 0}, {100, 999, 64, 1000, 64, 1000, 0}, {100, 1000, 64, 1000, 64, 511, -1},
        {100, 522, 64, 1000, 64, 511, -1}, {100, 1000, 64, 10, 64, 32, 1}, {100, 1000, 200, 176, 127, 176, -1},
        {100, 1000, 5, 176, 32, 176, 0},
        // Y < 30 takes two moves in one call: two rungs; to 511 with gain 52, then + 5; 496 -> 504 -> 511 with
        // no gain; + 20 then + 5, at most 127; a gain above 32 below S 511, and a shutter on no rung, stay.
        {10, 1000, 32, 32, 32, 176, 0}, {29, 1000, 32, 63, 32, 192, 0}, {30, 1000, 32, 32, 32, 63, 0},
        {10, 1000, 32, 504, 57, 511, 0}, {10, 1000, 32, 511, 57, 511, 0}, {10, 1000, 32, 496, 32, 511, 0},
        {10, 1000, 50, 511, 75, 511, 0}, {10, 1000, 110, 511, 127, 511, 0}, {10, 1000, 50, 176, 50, 176, 0},
        {10, 1000, 32, 200, 32, 200, 0},
        // Y < 110, then the resting band up to 150.
        {109, 1000, 40, 511, 45, 511, 0}, {109, 1000, 125, 511, 127, 511, 0}, {109, 1000, 40, 176, 40, 176, 0},
        {110, 1000, 40, 511, 40, 511, 0}, {150, 1000, 50, 176, 50, 176, 0},
        // Y > 150: the shutter falls only at gain 32, the gain falls (to at least 32) at any shutter.
        {151, 1000, 32, 63, 32, 32, 0}, {200, 1000, 32, 511, 32, 504, 0}, {200, 1000, 32, 32, 32, 32, 0},
        {200, 1000, 32, 200, 32, 200, 0}, {200, 1000, 50, 176, 45, 176, 0}, {151, 1000, 35, 511, 32, 511, 0},
    };
    runRows(rows, stepGain2);
    // The window from the settings, MIN 600 to MAX 700.
    const int32_t window[][7] = {{200, 523, 50, 176, 45, 176, 0}, {200, 599, 50, 176, 45, 176, 0},
                                 {200, 600, 50, 176, 50, 176, 0}, {200, 699, 50, 176, 50, 176, 0},
                                 {200, 700, 50, 176, 45, 176, 0}};
    runRows(window, stepGain2, {600, 700});
}

// Y, W, stage, G, S in; stage, G, S and the result out.
std::vector<int32_t> stepGain3(const int32_t *in) {
    int32_t stage = in[2], g = in[3], s = in[4];
    const int32_t result = ChangeGain3(&in[0], in[1], &stage, &g, &s);
    return {stage, g, s, result};
}

// MIN 523, MAX 1000, OUTDOOR 130, DOWNMODE 200, DOWNLEVEL 180, UPLEVEL 100, ZOOMUPLEVEL 1960 / 60,
// ZOOMDOWNLEVEL 1500 / 120.
const int32_t kDefaults[][9] = {
    // Inside the window only the exit from full exposure, above Y 120 at gain 127; no bound check,
    // no dark step. W 1000 is outside and not too long: the bound checks, each with result 0.
    {121, 700, 64, 127, 511, 64, 127, 176, 0}, {120, 700, 64, 127, 511, 64, 127, 511, 0},
    {200, 700, 64, 126, 511, 64, 126, 511, 0}, {121, 700, 64, 64, 5, 64, 64, 5, 0},
    {50, 523, 64, 64, 176, 64, 64, 176, 0}, {50, 999, 64, 64, 176, 64, 64, 176, 0},
    {50, 1000, 64, 64, 176, 130, 32, 32, 0}, {150, 1000, 64, 64, 5, 64, 64, 32, 0},
    {150, 1000, 64, 64, 600, 64, 64, 511, 0}, {150, 1000, 64, 128, 176, 64, 127, 176, 0},
    {150, 1000, 64, 31, 176, 64, 32, 176, 0},
    // Too long a width: up the gain ladder (a gain between rungs skips one), full exposure below Y 60
    // from W 1960, or the exit up to W 1500 from above S 176; S 32 is never too long.
    {150, 1200, 64, 32, 200, 64, 64, 176, 0}, {150, 1001, 64, 33, 200, 64, 96, 176, 0},
    {150, 1200, 64, 64, 176, 64, 96, 176, 0}, {150, 1200, 64, 96, 511, 64, 127, 176, 0},
    {150, 1200, 64, 100, 176, 64, 100, 176, 0}, {59, 2000, 64, 100, 176, 64, 127, 511, 0},
    {60, 2000, 64, 100, 176, 64, 100, 176, 0}, {59, 1960, 64, 127, 176, 64, 127, 511, 0},
    {59, 1959, 64, 127, 176, 64, 127, 176, 0}, {121, 1400, 64, 127, 200, 64, 127, 176, 0},
    {120, 1400, 64, 127, 200, 64, 127, 200, 0}, {121, 1400, 64, 127, 176, 64, 127, 176, 0},
    {200, 1500, 64, 127, 511, 64, 127, 176, 0}, {200, 1501, 64, 127, 511, 64, 127, 511, 0},
    {50, 1200, 16, 32, 32, 32, 32, 32, 0},
    // Bright outdoor scene: at the floor (both at 32) the stage down, rounding at-least, or result 1 when
    // lowest; else result 1, or above Y 200 gain and shutter to 32 and a stage over 130 cut (result 3).
    {181, 100, 130, 32, 32, 64, 32, 32, 0}, {181, 100, 48, 32, 32, 32, 32, 32, 0},
    {181, 100, 40, 32, 32, 16, 32, 32, 0}, {181, 100, 32, 32, 32, 16, 32, 32, 0},
    {181, 100, 31, 32, 32, 31, 32, 32, 1}, {181, 130, 64, 64, 176, 64, 64, 176, 1},
    {181, 131, 64, 64, 176, 64, 32, 176, 0}, {180, 100, 64, 64, 176, 64, 32, 176, 0},
    {190, 100, 64, 64, 176, 64, 64, 176, 1}, {190, 100, 64, 64, 32, 64, 64, 32, 1},
    {200, 100, 200, 64, 176, 200, 64, 176, 1}, {201, 100, 200, 64, 176, 130, 32, 32, 3},
    {201, 100, 131, 64, 176, 130, 32, 32, 3}, {201, 100, 130, 64, 176, 130, 32, 32, 1},
    // Dark scene above W 522: from stage 130 the shutter written 32, then 176 (result 3), else the stage
    // up, rounding at-most. Y 100 is not dark; W 522 is not wide.
    {99, 1600, 130, 64, 32, 130, 32, 176, 3}, {99, 1600, 16, 64, 32, 32, 32, 32, 0},
    {99, 1600, 40, 64, 32, 64, 32, 32, 0}, {99, 1600, 48, 64, 32, 64, 32, 32, 0},
    {99, 1600, 64, 127, 32, 130, 32, 32, 0}, {99, 1600, 100, 64, 32, 130, 32, 32, 0},
    {100, 1600, 64, 64, 32, 64, 64, 32, 0}, {50, 522, 64, 64, 176, 64, 32, 176, 0},
    // Below MIN the gain down (a gain between rungs skips one) unless the exit applies; from MIN only the exit.
    {150, 400, 64, 70, 200, 64, 32, 176, 0}, {150, 400, 64, 32, 200, 64, 32, 200, 0},
    {150, 400, 64, 96, 300, 64, 64, 176, 0}, {150, 400, 64, 127, 200, 64, 127, 176, 0},
    {120, 400, 64, 127, 200, 64, 96, 176, 0}, {150, 400, 64, 127, 176, 64, 96, 176, 0},
    {150, 1000, 64, 127, 300, 64, 127, 176, 0}, {150, 1000, 64, 100, 300, 64, 100, 300, 0},
};

TEST(ChangeGain3, Defaults) { runRows(kDefaults, stepGain3); }

// MIN 300, MAX 400, OUTDOOR 500, DOWNMODE 160, DOWNLEVEL 150, UPLEVEL 50, ZOOMUPLEVEL 1200 / 80,
// ZOOMDOWNLEVEL 1100 / 90: a row or a pair around each threshold.
TEST(ChangeGain3, CustomSettings) {
    const int32_t rows[][9] = {
        {91, 350, 64, 127, 511, 64, 127, 176, 0}, {100, 400, 64, 127, 200, 64, 127, 176, 0},
        {100, 401, 64, 40, 200, 64, 96, 176, 0}, {151, 500, 64, 32, 32, 48, 32, 32, 0},
        {151, 501, 64, 32, 32, 64, 32, 32, 0}, {160, 500, 64, 64, 32, 64, 64, 32, 1},
        {161, 500, 200, 64, 32, 130, 32, 32, 3}, {161, 500, 200, 64, 176, 200, 96, 176, 0},  // too long first
        {49, 600, 64, 64, 32, 130, 32, 32, 0}, {50, 600, 64, 64, 32, 64, 64, 32, 0},
        {49, 523, 64, 64, 32, 130, 32, 32, 0}, {100, 250, 64, 70, 200, 64, 32, 176, 0},
        {79, 1200, 64, 127, 176, 64, 127, 511, 0}, {79, 1199, 64, 127, 176, 64, 127, 176, 0},
        {91, 1100, 64, 127, 300, 64, 127, 176, 0}, {91, 1101, 64, 127, 300, 64, 127, 300, 0},
    };
    runRows(rows, stepGain3, {300, 400, 500, 160, 150, 50, 1200, 1100, 80, 90});
}

}  // namespace
