// The client loop on the embedded scene, without a window: which zones fire when, and how the
// exposure loop answers the fading light and the floodlight.
#include <gtest/gtest.h>

#include <map>

#include "client.h"

namespace kx::demo {
namespace {

// The whole scene at one sensitivity, run once for all the cases that read it.
const std::vector<FrameRecord> &sceneRun(int32_t sensitivity) {
    static std::map<int32_t, std::vector<FrameRecord>> runs;
    std::vector<FrameRecord> &records = runs[sensitivity];
    if (!records.empty()) return records;
    ClientOptions options{sensitivity, {}, "test"};
    for (const Zone &zone : Scene::zones()) options.zones.push_back(zone.rect);
    Client client(Scene::kWidth, Scene::kHeight, options, 0);
    const Scene scene;
    CameraSettings camera;
    Frame frame;
    for (int32_t index = 0; index < Scene::kFrames; ++index) {
        scene.render(index, camera, frame);
        records.push_back(client.handle(index, frame, Scene::stackedFields(index),
                                        reportedShutterWidth(Scene::light(index)), camera, Scene::kFramesPerSecond));
    }
    return records;
}

int32_t framesInMotion(const std::vector<FrameRecord> &records, int32_t zone, int32_t first, int32_t last) {
    int32_t count = 0;
    for (int32_t i = first; i <= last; ++i) count += records[static_cast<size_t>(i)].mask >> zone & 1;
    return count;
}

// The person's left edge is -40 + 8 (t - 35): wholly inside the gate zone (x 56 to 320) from frame
// 47 to 75, inside the road zone (400 to 664) from 95 to 123. Until frame 171 the camera does not
// move, so nothing else changes by more than the 80 levels of blue that count at sensitivity 4.
TEST(DemoClient, CrossingFiresItsZonesAndTheFlickerDoesNot) {
    const std::vector<FrameRecord> &records = sceneRun(4);
    const struct { int32_t zone, first, last, inMotion; } rows[] = {
        {0, 0, 40, 0},      // warm-up and an empty yard
        {0, 47, 75, 29},    // the person in the gate zone
        {0, 84, 171, 0},    // gone on to the road
        {1, 0, 86, 0},      // not there yet
        {1, 95, 123, 29},   // the person in the road zone
        {1, 126, 171, 0},   // gone
        {2, 0, 171, 0},     // the lamp flickers by at most 60 levels
    };
    for (const auto &row : rows) {
        EXPECT_EQ(framesInMotion(records, row.zone, row.first, row.last), row.inMotion)
            << "zone " << row.zone << " frames " << row.first << " to " << row.last;
    }
}

// At sensitivity 8 a change of 49 levels counts and one sample fires: the flicker does.
TEST(DemoClient, FlickerFiresAtHighSensitivity) {
    EXPECT_GT(framesInMotion(sceneRun(8), 2, 32, 171), 0);
}

// The fade brings the reported width past 1000 at frame 172: ChangeGain3 climbs the gain ladder
// 64, 96, 127 with the shutter at 176, then opens the shutter to 511 once the width reaches 1960
// and the luminance falls below 60. The floodlight (width 13, luminance 252) sends gain and shutter
// to the floor at once, then the stage down a rung a frame, 64 to 16, where the luminance stays
// below 180. Between the moves nothing changes.
TEST(DemoClient, ExposureLoopSettles) {
    const std::vector<FrameRecord> &records = sceneRun(4);
    const struct { int32_t frame; CameraSettings after; } rows[] = {
        {171, {32, 176, 64}}, {172, {64, 176, 64}},  {174, {127, 176, 64}}, {196, {127, 176, 64}},
        {197, {127, 511, 64}}, {214, {127, 511, 64}}, {215, {32, 32, 64}},   {218, {32, 32, 16}},
        {249, {32, 32, 16}},
    };
    for (const auto &row : rows) {
        const CameraSettings &after = records[static_cast<size_t>(row.frame)].after;
        EXPECT_EQ(after, row.after) << "frame " << row.frame << ": " << after.gain << " " << after.shutter << " "
                                    << after.stage;
    }
    for (int32_t frame : {198, 214, 219, 249}) {
        const int32_t luma = records[static_cast<size_t>(frame)].luma;
        EXPECT_GE(luma, 100) << frame;
        EXPECT_LE(luma, 180) << frame;
    }
}

TEST(DemoClient, PaintLayout) {
    const struct {
        int32_t width, height, windowWidth, windowHeight;
        RECT shown;
        bool resized;
        RECT zone, outline;
    } rows[] = {
        // Columns 40 to 679, rows 1 to 480 scaled by 0.8; the outline is scaled by 512/720 and 384/576.
        {720, 576, 512, 384, {40, 1, 680, 481}, true, {56, 240, 320, 470}, {18, 286, 315, 562}},
        // The 320x240 crop of 352x288 is painted from column 17 unscaled.
        {352, 288, 320, 240, {17, 1, 337, 241}, false, {100, 100, 200, 200}, {84, 100, 184, 200}},
        {320, 240, 320, 240, {1, 1, 321, 241}, false, {100, 100, 200, 200}, {100, 100, 200, 200}},
        // Any other size: the whole frame from (1, 1), 1280x720 scaled by 0.4.
        {1280, 720, 512, 288, {1, 1, 1281, 721}, true, {101, 101, 201, 201}, {100, 100, 200, 200}},
    };
    for (const auto &row : rows) {
        const PaintLayout layout = paintLayoutFor(row.width, row.height);
        const RECT outline = layout.outline(row.zone);
        EXPECT_EQ((std::vector<int32_t>{layout.windowWidth, layout.windowHeight, layout.shown.left, layout.shown.top,
                                        layout.shown.right, layout.shown.bottom, layout.resized, outline.left,
                                        outline.top, outline.right, outline.bottom}),
                  (std::vector<int32_t>{row.windowWidth, row.windowHeight, row.shown.left, row.shown.top,
                                        row.shown.right, row.shown.bottom, row.resized, row.outline.left,
                                        row.outline.top, row.outline.right, row.outline.bottom}))
            << row.width << "x" << row.height;
    }
}

TEST(DemoClient, TimeText) {
    EXPECT_EQ(timeText(0, 25), "12:00:00.00");
    EXPECT_EQ(timeText(45, 25), "12:00:01.80");
    EXPECT_EQ(timeText(1524, 25), "12:01:00.96");  // 60.96 s
    EXPECT_EQ(timeText(7, 30), "12:00:00.23");     // 7/30 s, truncated
}

}  // namespace
}  // namespace kx::demo
