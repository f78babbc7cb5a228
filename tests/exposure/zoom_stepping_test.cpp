#include <gtest/gtest.h>

#include <cstdint>

#include "frame/library_state.h"
#include "kestrix.h"

namespace {

struct Step3Row {
    const char *what;
    int32_t y, w, stage, g, s;
    int32_t newStage, newG, newS, result;
};

// Default settings: MIN 523, MAX 1000, OUTDOOR 130, ZOOMUPLEVEL 1960 / 60, ZOOMDOWNLEVEL 1500 / 120,
// DOWNMODE 200, DOWNLEVEL 180, UPLEVEL 100.
const Step3Row kDefaults[] = {
    // Inside the window: only the exit from full exposure.
    {"W 700, full, Y 121: exit", 121, 700, 64, 127, 511, 64, 127, 176, 0},
    {"W 700, full, Y 120: stays", 120, 700, 64, 127, 511, 64, 127, 511, 0},
    {"W 523, full, Y 121: exit", 121, 523, 64, 127, 511, 64, 127, 176, 0},
    {"W 999, full, Y 121: exit", 121, 999, 64, 127, 511, 64, 127, 176, 0},
    {"W 700, G 126: no exit", 200, 700, 64, 126, 511, 64, 126, 511, 0},
    {"W 700, S 5: no bound check", 121, 700, 64, 64, 5, 64, 64, 5, 0},
    {"W 523, Y 50: window, dark step not reached", 50, 523, 64, 64, 176, 64, 64, 176, 0},
    // Bound checks, all 0.
    {"W 1000, S 5: 32", 150, 1000, 64, 64, 5, 64, 64, 32, 0},
    {"W 1000, S 600: 511", 150, 1000, 64, 64, 600, 64, 64, 511, 0},
    {"W 1000, G 128: 127", 150, 1000, 64, 128, 176, 64, 127, 176, 0},
    {"W 1000, G 31: 32", 150, 1000, 64, 31, 176, 64, 32, 176, 0},
    {"W 1000, Y 50: not too long, dark step", 50, 1000, 64, 64, 176, 130, 32, 32, 0},
    // Too long a width: up the gain ladder, rounding up.
    {"W 1200, G 32, S 200: 64", 150, 1200, 64, 32, 200, 64, 64, 176, 0},
    {"W 1001, G 33: 96", 150, 1001, 64, 33, 200, 64, 96, 176, 0},
    {"W 1200, G 40: 96", 150, 1200, 64, 40, 176, 64, 96, 176, 0},
    {"W 1200, G 64: 96", 150, 1200, 64, 64, 176, 64, 96, 176, 0},
    {"W 1200, G 65: 127", 150, 1200, 64, 65, 176, 64, 127, 176, 0},
    {"W 1200, G 96: 127", 150, 1200, 64, 96, 511, 64, 127, 176, 0},
    {"W 1200, G 100: nothing", 150, 1200, 64, 100, 176, 64, 100, 176, 0},
    {"W 2000, G 100, Y 59: full", 59, 2000, 64, 100, 176, 64, 127, 511, 0},
    {"W 2000, G 100, Y 60: nothing", 60, 2000, 64, 100, 176, 64, 100, 176, 0},
    {"W 1960, G 127, Y 59: full", 59, 1960, 64, 127, 176, 64, 127, 511, 0},
    {"W 1959, G 127, Y 59: nothing", 59, 1959, 64, 127, 176, 64, 127, 176, 0},
    {"W 1400, G 127, S 200, Y 121: 176", 121, 1400, 64, 127, 200, 64, 127, 176, 0},
    {"W 1400, G 127, S 200, Y 120: nothing", 120, 1400, 64, 127, 200, 64, 127, 200, 0},
    {"W 1400, G 127, S 176, Y 121: nothing", 121, 1400, 64, 127, 176, 64, 127, 176, 0},
    {"W 1500, G 127, S 511, Y 200: 176", 200, 1500, 64, 127, 511, 64, 127, 176, 0},
    {"W 1501, G 127, S 511, Y 200: nothing", 200, 1501, 64, 127, 511, 64, 127, 511, 0},
    {"W 1200, S 32, Y 50: no climb, dark step", 50, 1200, 16, 32, 32, 32, 32, 32, 0},
    // Bright outdoor scene.
    {"W 100, Y 181, floor, stage 130: 64", 181, 100, 130, 32, 32, 64, 32, 32, 0},
    {"W 100, Y 181, floor, stage 200: 64", 181, 100, 200, 32, 32, 64, 32, 32, 0},
    {"W 100, floor, stage 64: 48", 181, 100, 64, 32, 32, 48, 32, 32, 0},
    {"W 100, floor, stage 48: 32", 181, 100, 48, 32, 32, 32, 32, 32, 0},
    {"W 100, floor, stage 40: 16", 181, 100, 40, 32, 32, 16, 32, 32, 0},
    {"W 100, floor, stage 32: 16", 181, 100, 32, 32, 32, 16, 32, 32, 0},
    {"W 100, floor, stage 31: lowest", 181, 100, 31, 32, 32, 31, 32, 32, 1},
    {"W 100, floor, stage 16: lowest", 181, 100, 16, 32, 32, 16, 32, 32, 1},
    {"W 130, Y 181, G 64: up to DOWNMODE", 181, 130, 64, 64, 176, 64, 64, 176, 1},
    {"W 131, Y 181, G 64: not outdoor, gain down", 181, 131, 64, 64, 176, 64, 32, 176, 0},
    {"W 100, Y 180, G 64: not bright, gain down", 180, 100, 64, 64, 176, 64, 32, 176, 0},
    {"W 100, Y 190, G 64: 1", 190, 100, 64, 64, 176, 64, 64, 176, 1},
    {"W 100, Y 200, stage 200: 1", 200, 100, 200, 64, 176, 200, 64, 176, 1},
    {"W 100, Y 190, G 64, S 32: not both floor", 190, 100, 64, 64, 32, 64, 64, 32, 1},
    {"W 100, Y 201, stage 200: reset, stage 130", 201, 100, 200, 64, 176, 130, 32, 32, 3},
    {"W 100, Y 201, stage 131: reset, stage 130", 201, 100, 131, 64, 176, 130, 32, 32, 3},
    {"W 100, Y 201, stage 130: reset only", 201, 100, 130, 64, 176, 130, 32, 32, 1},
    {"W 100, Y 201, G 32, S 176: reset only", 201, 100, 64, 32, 176, 64, 32, 32, 1},
    // Dark scene with a long width.
    {"W 1600, Y 99, stage 130, S 32: 176 and 3", 99, 1600, 130, 64, 32, 130, 32, 176, 3},
    {"W 1600, Y 99, stage 500, S 32: 176 and 3", 99, 1600, 500, 64, 32, 500, 32, 176, 3},
    {"W 1600, Y 99, stage 0: 32", 99, 1600, 0, 64, 32, 32, 32, 32, 0},
    {"W 1600, stage 16: 32", 99, 1600, 16, 64, 32, 32, 32, 32, 0},
    {"W 1600, stage 40: 64", 99, 1600, 40, 64, 32, 64, 32, 32, 0},
    {"W 1600, stage 48: 64", 99, 1600, 48, 64, 32, 64, 32, 32, 0},
    {"W 1600, stage 64: 130", 99, 1600, 64, 127, 32, 130, 32, 32, 0},
    {"W 1600, stage 100: 130", 99, 1600, 100, 64, 32, 130, 32, 32, 0},
    {"W 1600, Y 100: not dark, too wide for more", 100, 1600, 64, 64, 32, 64, 64, 32, 0},
    {"W 1000, Y 99, stage 129: 130", 99, 1000, 129, 100, 300, 130, 32, 32, 0},
    // Gain down.
    {"W 522, Y 50: below MIN, not dark-wide", 50, 522, 64, 64, 176, 64, 32, 176, 0},
    {"W 522, Y 50, full: 96", 50, 522, 64, 127, 511, 64, 96, 176, 0},
    {"W 400, Y 150, G 70, S 200: 32", 150, 400, 64, 70, 200, 64, 32, 176, 0},
    {"W 400, Y 150, G 32: nothing", 150, 400, 64, 32, 200, 64, 32, 200, 0},
    {"W 400, Y 150, G 96: 64", 150, 400, 64, 96, 300, 64, 64, 176, 0},
    {"W 400, Y 150, G 127, S 200: 176", 150, 400, 64, 127, 200, 64, 127, 176, 0},
    {"W 400, Y 120, G 127, S 200: 96", 120, 400, 64, 127, 200, 64, 96, 176, 0},
    {"W 400, Y 150, G 127, S 176: 96", 150, 400, 64, 127, 176, 64, 96, 176, 0},
    {"W 1000, Y 150, G 127, S 300: 176", 150, 1000, 64, 127, 300, 64, 127, 176, 0},
    {"W 1000, Y 150, G 100, S 300: nothing", 150, 1000, 64, 100, 300, 64, 100, 300, 0},
};

void runRows(const Step3Row *rows, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        const Step3Row &row = rows[i];
        SCOPED_TRACE(row.what);
        int32_t stage = row.stage, g = row.g, s = row.s;
        EXPECT_EQ(ChangeGain3(&row.y, row.w, &stage, &g, &s), row.result);
        EXPECT_EQ(stage, row.newStage);
        EXPECT_EQ(g, row.newG);
        EXPECT_EQ(s, row.newS);
    }
}

TEST(ChangeGain3, Defaults) {
    const kx::Settings saved = kx::settings;
    kx::settings = kx::Settings{};
    runRows(kDefaults, std::size(kDefaults));
    kx::settings = saved;
}

// MIN 300, MAX 400, OUTDOOR 500, DOWNMODE 160, DOWNLEVEL 150, UPLEVEL 50,
// ZOOMUPLEVEL 1200 / 80, ZOOMDOWNLEVEL 1100 / 90.
const Step3Row kCustom[] = {
    {"W 350 is the window now, exit at Y 91", 91, 350, 64, 127, 511, 64, 127, 176, 0},
    {"W 700 is outside now", 121, 700, 64, 127, 511, 64, 127, 176, 0},
    {"W 400 is not too long: full gain back to 176 at Y 91 up", 100, 400, 64, 127, 200, 64, 127, 176, 0},
    {"W 401 is too long: climb", 100, 401, 64, 40, 200, 64, 96, 176, 0},
    {"W 1200, Y 79: full", 79, 1200, 64, 127, 176, 64, 127, 511, 0},
    {"W 1199, Y 79: nothing", 79, 1199, 64, 127, 176, 64, 127, 176, 0},
    {"W 1100, Y 91, S 300: 176", 91, 1100, 64, 127, 300, 64, 127, 176, 0},
    {"W 1101, Y 91, S 300: nothing", 91, 1101, 64, 127, 300, 64, 127, 300, 0},
    {"W 500, Y 151, floor: stage down", 151, 500, 64, 32, 32, 48, 32, 32, 0},
    {"W 501, Y 151, floor: not outdoor", 151, 501, 64, 32, 32, 64, 32, 32, 0},
    {"W 500, Y 160, G 64, S 32: 1", 160, 500, 64, 64, 32, 64, 64, 32, 1},
    {"W 500, Y 161, G 64, S 32, stage 200: 3", 161, 500, 200, 64, 32, 130, 32, 32, 3},
    {"W 500, Y 161, S 176: too long a width first", 161, 500, 200, 64, 176, 200, 96, 176, 0},
    {"W 600, Y 49: dark, stage 64 to 130", 49, 600, 64, 64, 32, 130, 32, 32, 0},
    {"W 600, Y 50: not dark", 50, 600, 64, 64, 32, 64, 64, 32, 0},
    {"W 523, Y 49: 522 is fixed, so dark-wide", 49, 523, 64, 64, 32, 130, 32, 32, 0},
    {"W 250, Y 100, G 70: gain down, W < 300", 100, 250, 64, 70, 200, 64, 32, 176, 0},
};

TEST(ChangeGain3, CustomSettings) {
    const kx::Settings saved = kx::settings;
    kx::Settings custom;
    custom.shutterMin = 300;
    custom.shutterMax = 400;
    custom.shutterOutdoor = 500;
    custom.lumaDownMode = 160;
    custom.lumaDownLevel = 150;
    custom.lumaUpLevel = 50;
    custom.shutterZoomUp = 1200;
    custom.shutterZoomDown = 1100;
    custom.lumaZoomUp = 80;
    custom.lumaZoomDown = 90;
    kx::settings = custom;
    runRows(kCustom, std::size(kCustom));
    kx::settings = saved;
}

}  // namespace
