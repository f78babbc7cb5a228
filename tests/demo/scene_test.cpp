// The embedded scene: the same bytes on every run, brightness that follows the camera, and stacked
// fields taken half a frame apart.
#include <gtest/gtest.h>

#include "scene.h"

namespace kx::demo {
namespace {

TEST(DemoScene, ExposureFactor) {
    const struct { CameraSettings settings; double factor; } rows[] = {
        {{32, 176, 64}, 1.0},                                   // the resting exposure
        {{64, 176, 64}, 2.0},                                   // gain doubled
        {{32, 32, 16}, 32.0 / 176 / 4},                         // everything at the floor
        {{127, 511, 130}, 127.0 / 32 * 511.0 / 176 * 130 / 64}, // 23.4059: full exposure
    };
    for (const auto &row : rows) EXPECT_NEAR(exposureFactor(row.settings), row.factor, 1e-9) << row.settings.gain;
}

TEST(DemoScene, ReportedShutterWidth) {
    const struct { double light; int32_t width; } rows[] = {
        {1.0, 300},   // daylight
        {0.3, 1000},  // where ChangeGain3 starts to raise the gain
        {0.1, 3000},  // dusk
        {24.0, 13},   // the floodlight: 12.5 rounded away from zero
        {0.05, 4000}, // 6000, held at the camera's longest
    };
    for (const auto &row : rows) EXPECT_EQ(reportedShutterWidth(row.light), row.width) << row.light;
}

TEST(DemoScene, SameBytesOnEveryRun) {
    const Scene first, second;
    Frame a, b;
    for (int32_t index : {0, 45, 72, 210}) {
        first.render(index, {}, a);
        second.render(index, {}, b);
        EXPECT_EQ(a.pixels, b.pixels) << index;
    }
    first.render(0, {}, b);
    EXPECT_NE(a.pixels, b.pixels);  // frame 210 against frame 0: the noise moves, the light has gone
}

// The mortar at (10, 18) is blue 165 with two levels of noise either way, times the light and the
// camera's exposure factor, held at 255.
TEST(DemoScene, BrightnessFollowsLightAndCamera) {
    const Scene scene;
    Frame frame;
    const struct { int32_t index; CameraSettings settings; int32_t low, high; } rows[] = {
        {0, {32, 176, 64}, 163, 167},     // daylight
        {0, {64, 176, 64}, 255, 255},     // 330 held
        {210, {32, 176, 64}, 15, 19},     // light 0.1: 16.5 with noise, rounded
        {210, {127, 511, 130}, 255, 255}, // 16.5 x 23.4 = 386 held
    };
    for (const auto &row : rows) {
        scene.render(row.index, row.settings, frame);
        const int32_t blue = frame.row(18)[10 * 3];
        EXPECT_GE(blue, row.low) << row.index;
        EXPECT_LE(blue, row.high) << row.index;
    }
}

// Frame 72 in stacked fields: picture row 350 (even) is memory row 175, at time 72, where the shirt
// spans x 260 to 291; row 351 is memory row 288 + 175, at 72.5, where the person has moved 4 pixels
// on and x 262 is grass (blue 52, grain 6, noise 2).
TEST(DemoScene, SecondFieldHalfAFrameLater) {
    const Scene scene;
    Frame frame;
    scene.render(72, {}, frame);
    const int32_t shirt = frame.row(175)[262 * 3], grass = frame.row(288 + 175)[262 * 3];
    EXPECT_GE(shirt, 226);
    EXPECT_LE(shirt, 230);
    EXPECT_GE(grass, 44);
    EXPECT_LE(grass, 60);
    EXPECT_TRUE(Scene::stackedFields(72));
    EXPECT_FALSE(Scene::stackedFields(85));
}

}  // namespace
}  // namespace kx::demo
