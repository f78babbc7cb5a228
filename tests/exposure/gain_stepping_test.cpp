#include <gtest/gtest.h>

#include <cstdint>

#include "frame/library_state.h"
#include "kestrix.h"

namespace {

struct StepRow {
    const char *what;
    int32_t y, g, s;                // luminance, gain and shutter going in
    int32_t newG, newS, result;     // gain, shutter and result coming out
};

// ChangeGain: bound checks, then the very dark, very bright, dark, bright and resting bands.
const StepRow kChangeGain[] = {
    // Bound checks: one correction, luminance not looked at.
    {"S 10, G 500: shutter only", 120, 500, 10, 500, 32, 1},
    {"S 31 to the floor", 20, 64, 31, 64, 32, 1},
    {"S 512 down to 511", 20, 64, 512, 64, 511, -1},
    {"G 128 down to 127", 20, 128, 511, 127, 511, -1},
    {"G 31 up to 32", 255, 31, 176, 32, 176, 0},
    // Y < 30.
    {"Y 29, G 35: gain 40", 29, 35, 176, 40, 176, 0},
    {"Y 30, G 35: dark band instead, gain + 1", 30, 35, 176, 36, 176, 0},
    {"Y 20, G 40, S 32: coarse 63", 20, 40, 32, 40, 63, -1},
    {"Y 20, G 40, S 63: coarse 176", 20, 40, 63, 40, 176, -1},
    {"Y 20, G 40, S 208: coarse 448", 20, 40, 208, 40, 448, -1},
    {"Y 20, G 40, S 472: coarse 511", 20, 40, 472, 40, 511, -1},
    {"Y 20, G 40, S 511: ladder out, gain 60", 20, 40, 511, 60, 511, 0},
    {"Y 20, G 40, S 192: fine only, 208", 20, 40, 192, 40, 208, 0},
    {"Y 20, G 40, S 200: on no ladder", 20, 40, 200, 40, 200, 0},
    {"Y 20, G 41: gain 60", 20, 41, 63, 60, 63, 0},
    {"Y 20, G 59: gain 60", 20, 59, 511, 60, 511, 0},
    {"Y 20, G 60, S 176: fine 192", 20, 60, 176, 60, 192, 0},
    {"Y 20, G 70, S 176: fine 192", 20, 70, 176, 70, 192, 0},
    {"Y 20, G 60, S 32: fine 63 from the floor", 20, 60, 32, 60, 63, -1},
    {"Y 20, G 60, S 511: gain + 1", 20, 60, 511, 61, 511, 0},
    // Y > 250.
    {"Y 251, G 39: gain 38", 251, 39, 176, 38, 176, 0},
    {"Y 250, G 39, S 176: bright band, fine 63", 250, 39, 176, 39, 63, 0},
    {"Y 251, G 38, S 63: coarse 32", 251, 38, 63, 38, 32, 1},
    {"Y 251, G 38, S 176: coarse 63", 251, 38, 176, 38, 63, 0},
    {"Y 251, G 38, S 511: coarse 472", 251, 38, 511, 38, 472, 0},
    {"Y 251, G 38, S 32: gain 24", 251, 38, 32, 24, 32, 0},
    {"Y 251, G 38, S 192: fine only, 176", 251, 38, 192, 38, 176, 0},
    {"Y 251, G 38, S 200: on no ladder", 251, 38, 200, 38, 200, 0},
    {"Y 255, G 33: gain 24", 255, 33, 176, 24, 176, 0},
    {"Y 255, G 32: gain 24", 255, 32, 32, 24, 32, 0},
    {"Y 255, G 37: gain 24", 255, 37, 511, 24, 511, 0},
    // Y < 110.
    {"Y 109, G 127, S 511: gain stays 127", 109, 127, 511, 127, 511, 0},
    {"Y 109, G 100, S 511: gain 101", 109, 100, 511, 101, 511, 0},
    {"Y 109, G 39: gain 40", 109, 39, 63, 40, 63, 0},
    {"Y 109, S 32: fine 63", 109, 64, 32, 64, 63, -1},
    {"Y 109, S 504: fine 511", 109, 64, 504, 64, 511, 0},
    {"Y 109, S 240: fine 448", 109, 64, 240, 64, 448, 0},
    {"Y 109, S 200: on no rung", 109, 64, 200, 64, 200, 0},
    // Y > 150.
    {"Y 151, S 32: gain - 5", 151, 64, 32, 59, 32, 0},
    {"Y 200, S 32, G 64: gain 59", 200, 64, 32, 59, 32, 0},
    {"Y 151, S 32, G 35: gain at least 32", 151, 35, 32, 32, 32, 0},
    {"Y 200, S 63: fine 32", 200, 64, 63, 64, 32, 1},
    {"Y 200, S 511: fine 504", 200, 64, 511, 64, 504, 0},
    {"Y 200, S 448: fine 240", 200, 64, 448, 64, 240, 0},
    {"Y 200, S 176: fine 63", 200, 64, 176, 64, 63, 0},
    {"Y 200, S 200: on no rung", 200, 64, 200, 64, 200, 0},
    // 110 to 150.
    {"Y 110, S 32: resting", 110, 64, 32, 64, 32, 0},
    {"Y 130, S 32: resting", 130, 32, 32, 32, 32, 0},
    {"Y 131, S 32: gain - 1", 131, 64, 32, 63, 32, 0},
    {"Y 135, G 32, S 32: gain 31, below range", 135, 32, 32, 31, 32, 0},
    {"Y 150, S 32: gain - 1", 150, 64, 32, 63, 32, 0},
    {"Y 150, S 63: resting", 150, 64, 63, 64, 63, 0},
    {"Y 120, S 511: resting", 120, 127, 511, 127, 511, 0},
};

TEST(ChangeGain, Table) {
    for (const StepRow &row : kChangeGain) {
        SCOPED_TRACE(row.what);
        int32_t g = row.g, s = row.s;
        EXPECT_EQ(ChangeGain(&row.y, &g, &s), row.result);
        EXPECT_EQ(g, row.newG);
        EXPECT_EQ(s, row.newS);
    }
}

// The two see-saws: a gain written below its range is lifted by the next call and written again.
TEST(ChangeGain, SeeSaws) {
    const int32_t resting = 140, bright = 255;
    int32_t g = 32, s = 32;
    for (int call = 0; call < 4; ++call) {
        EXPECT_EQ(ChangeGain(&resting, &g, &s), 0);
        EXPECT_EQ(g, call % 2 == 0 ? 31 : 32) << call;
    }
    g = 38;
    for (int call = 0; call < 4; ++call) {
        EXPECT_EQ(ChangeGain(&bright, &g, &s), 0);
        EXPECT_EQ(g, call % 2 == 0 ? 24 : 32) << call;
    }
}

struct Step2Row {
    const char *what;
    int32_t y, w, g, s;
    int32_t newG, newS, result;
};

// ChangeGain2 with the default window MIN 523, MAX 1000.
const Step2Row kChangeGain2[] = {
    {"W 523: window, no bound check", 100, 523, 64, 1000, 64, 1000, 0},
    {"W 999: window", 100, 999, 64, 1000, 64, 1000, 0},
    {"W 1000: outside, S pulled to 511", 100, 1000, 64, 1000, 64, 511, -1},
    {"W 522: outside, S pulled to 511", 100, 522, 64, 1000, 64, 511, -1},
    {"S 10: floor", 100, 1000, 64, 10, 64, 32, 1},
    {"G 200: 127", 100, 1000, 200, 176, 127, 176, -1},
    {"G 5: 32", 100, 1000, 5, 176, 32, 176, 0},
    // Y < 30: two moves in one call.
    {"Y 10, G 32, S 32: 63 then 176", 10, 1000, 32, 32, 32, 176, 0},
    {"Y 29, G 32, S 63: 176 then 192", 29, 1000, 32, 63, 32, 192, 0},
    {"Y 10, G 32, S 504: 511 and gain 52, then 57", 10, 1000, 32, 504, 57, 511, 0},
    {"Y 10, G 32, S 511: gain 52, then 57", 10, 1000, 32, 511, 57, 511, 0},
    {"Y 10, G 32, S 496: 504, then 511 with no gain", 10, 1000, 32, 496, 32, 511, 0},
    {"Y 10, G 50, S 511: gain + 20, then + 5", 10, 1000, 50, 511, 75, 511, 0},
    {"Y 10, G 110, S 511: 127, then 127", 10, 1000, 110, 511, 127, 511, 0},
    {"Y 10, G 50, S 176: gain above floor left alone", 10, 1000, 50, 176, 50, 176, 0},
    {"Y 10, G 32, S 200: on no rung", 10, 1000, 32, 200, 32, 200, 0},
    // Y < 110.
    {"Y 30, G 32, S 32: one rung", 30, 1000, 32, 32, 32, 63, 0},
    {"Y 109, G 32, S 63: 176", 109, 1000, 32, 63, 32, 176, 0},
    {"Y 109, G 40, S 511: gain 45", 109, 1000, 40, 511, 45, 511, 0},
    {"Y 109, G 125, S 511: gain 127", 109, 1000, 125, 511, 127, 511, 0},
    {"Y 109, G 40, S 176: nothing", 109, 1000, 40, 176, 40, 176, 0},
    // 110 to 150.
    {"Y 110: nothing", 110, 1000, 32, 32, 32, 32, 0},
    {"Y 150: nothing", 150, 1000, 50, 176, 50, 176, 0},
    // Y > 150.
    {"Y 151, G 32, S 63: 32", 151, 1000, 32, 63, 32, 32, 0},
    {"Y 200, G 32, S 511: 504", 200, 1000, 32, 511, 32, 504, 0},
    {"Y 200, G 32, S 32: nothing", 200, 1000, 32, 32, 32, 32, 0},
    {"Y 200, G 32, S 200: on no rung", 200, 1000, 32, 200, 32, 200, 0},
    {"Y 200, G 50, S 176: gain 45", 200, 1000, 50, 176, 45, 176, 0},
    {"Y 151, G 40, S 32: gain 35", 151, 1000, 40, 32, 35, 32, 0},
    {"Y 151, G 35, S 511: gain 32, shutter stays", 151, 1000, 35, 511, 32, 511, 0},
};

TEST(ChangeGain2, Table) {
    for (const Step2Row &row : kChangeGain2) {
        SCOPED_TRACE(row.what);
        int32_t g = row.g, s = row.s;
        EXPECT_EQ(ChangeGain2(&row.y, row.w, &g, &s), row.result);
        EXPECT_EQ(g, row.newG);
        EXPECT_EQ(s, row.newS);
    }
}

TEST(ChangeGain2, WindowFromSettings) {
    const kx::Settings saved = kx::settings;
    kx::settings.shutterMin = 600;
    kx::settings.shutterMax = 700;
    const int32_t y = 200;
    struct { int32_t w; int32_t newG; } rows[] = {
        {599, 45},  // below MIN: steps
        {600, 50},  // MIN is inside
        {699, 50},  // inside
        {700, 45},  // MAX is outside
        {523, 45},  // the default MIN no longer counts
    };
    for (const auto &row : rows) {
        int32_t g = 50, s = 176;
        EXPECT_EQ(ChangeGain2(&y, row.w, &g, &s), 0);
        EXPECT_EQ(g, row.newG) << row.w;
        EXPECT_EQ(s, 176);
    }
    kx::settings = saved;
}

}  // namespace
