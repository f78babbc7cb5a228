// The wall of cameras without a display: its grid, where the cameras start in the scene, the quick
// rendering of the scene the wall uses, and its summary.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <set>

#include "scene.h"
#include "wall.h"

namespace kx::demo {
namespace {

// Cells as paintLayoutFor makes a window for the 640x480 part of a 720x576 frame within a slot of
// the 1024x768 screen less the 2-pixel gaps: scaled, rounded to 8, never above the slot's multiple
// of 8. 16 cameras: slots of 253x189, scale 189/480, 252x189 rounds to 256x192, held at 248x184.
TEST(DemoWall, Layout) {
    const struct { int32_t cameras, columns, rows, cellWidth, cellHeight, width, height; } rows[] = {
        {1, 1, 1, 640, 480, 644, 484},     // the slot is larger than the part: unscaled
        {4, 2, 2, 504, 376, 1014, 758},    // slots 509x381: 508x381 rounds to 512x384, held at 504x376
        {5, 3, 2, 336, 256, 1016, 518},    // slots 338x381: 338x253.5 rounds to 336x256
        {16, 4, 4, 248, 184, 1002, 746},
        {36, 6, 6, 168, 120, 1022, 734},   // slots 168x125: 166.7x125 rounds to 168x128, held at 168x120
        {64, 8, 8, 120, 88, 978, 722},     // slots 125x93: 124x93 rounds to 128x96, held at 120x88
    };
    for (const auto &row : rows) {
        const WallLayout layout = wallLayoutFor(row.cameras, Scene::kWidth, Scene::kHeight);
        EXPECT_EQ((std::vector<int32_t>{layout.columns, layout.rows, layout.cellWidth, layout.cellHeight, layout.width,
                                        layout.height}),
                  (std::vector<int32_t>{row.columns, row.rows, row.cellWidth, row.cellHeight, row.width, row.height}))
            << row.cameras;
        const int32_t last = row.cameras - 1;
        EXPECT_EQ(layout.left(last) + layout.cellWidth + kWallGap, kWallGap + (last % row.columns + 1) *
                                                                                  (layout.cellWidth + kWallGap));
        EXPECT_LE(layout.top(last) + layout.cellHeight + kWallGap, layout.height);
    }
}

// 53 and the scene's 250 frames have no common factor: 64 cameras start at 64 different moments.
TEST(DemoWall, CamerasStartAtDifferentMoments) {
    std::set<int32_t> offsets;
    for (int32_t camera = 0; camera < 64; ++camera) offsets.insert(wallSceneOffset(camera));
    EXPECT_EQ(offsets.size(), 64u);
    EXPECT_EQ(wallSceneOffset(0), 0);
    EXPECT_EQ(wallSceneOffset(5), 15);  // 265 - 250
}

// The lamp and the person are drawn as render draws them; elsewhere the rounded background and the
// noise planes keep within 5 levels of render (half a level of rounding, 2 of noise each way).
TEST(DemoWall, QuickSceneFollowsTheScene) {
    const Scene scene;
    Frame full, quick, other;
    const int32_t index = 100;  // the person at x 480 to 515, rows 300 to 419
    for (const CameraSettings &settings : {CameraSettings{}, CameraSettings{64, 176, 64}}) {
        scene.render(index, settings, full);
        scene.renderQuick(index, settings, 3, quick);
        int32_t largest = 0;
        for (size_t i = 0; i < full.pixels.size(); ++i) {
            largest = std::max(largest, std::abs(full.pixels[i] - quick.pixels[i]));
        }
        EXPECT_LE(largest, 5) << settings.gain;
        const RECT who = Scene::person(index);
        for (const RECT &r : {who, RECT{556, 90, 580, 106}}) {
            for (int32_t y = r.top; y < r.bottom; ++y) {
                ASSERT_TRUE(std::equal(full.at(r.left, y), full.at(r.right, y), quick.at(r.left, y))) << y;
            }
        }
    }
    scene.renderQuick(index, {}, 4, other);
    EXPECT_NE(other.pixels, quick.pixels);  // another camera, other noise
}

TEST(DemoWall, SummaryLines) {
    WallCameraReport camera;
    camera.name = "Camera 1";
    camera.info.source = "scene from frame 53";
    camera.info.width = 720;
    camera.info.height = 576;
    camera.info.zones = {{2, 2, 30, 40}, {32, 2, 62, 40}};
    camera.info.zoneNames = {"gate", "road"};
    for (int32_t i = 0; i < 5; ++i) {
        FrameRecord record;
        record.index = i;
        record.luma = 40 * i;
        record.mask = i >= 1 && i <= 3 ? 2 : 0;  // the road, frames 1 to 3
        if (i == 4) record.after.gain = 64;
        camera.records.push_back(record);
    }
    const WallLayout layout{2, 1, 504, 376, 1014, 380};
    WallFigures figures{.cameras = 2, .frames = 5, .seconds = 0.2, .realTime = true, .sharedMemory = true,
                        .clientMs = 0.5, .processMs = 1.25, .serverMs = 0.25};
    const std::string summary = wallSummaryText({camera, camera}, layout, figures);
    for (const char *line : {
             "kestrix-demo --wall 2: 5 frames a camera, in real time (25 frames a second)\n",
             "wall: 2x1 windows of 504x376 in 1014x380; the X server offers shared-memory images (MIT-SHM)\n",
             "run: 0.2 s, 25.0 frames a second a camera, 50 camera-frames a second\n",
             "processor time a camera-frame: client 0.500 ms (detector, exposure, paint), whole demo 1.250 ms, "
             "X server 0.250 ms\n",
             "cameras one core keeps at 25 frames a second, on the client's time: 80\n",
             "Camera 1: scene from frame 53, 5 frames of 720x576; in motion: zone 0 gate: 0, zone 1 road: 3; 1 "
             "exposure moves; at the end gain 64, shutter 176, stage 64, luminance 160\n",
         }) {
        EXPECT_NE(summary.find(line), std::string::npos) << line;
    }
    figures.serverMs = -1;
    figures.sharedMemory = false;
    const std::string other = wallSummaryText({camera}, layout, figures);
    EXPECT_EQ(other.find("X server 0"), std::string::npos);
    EXPECT_NE(other.find("does not offer shared-memory images"), std::string::npos);
}

}  // namespace
}  // namespace kx::demo
