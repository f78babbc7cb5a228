// The demo's wall: N cameras, each with its own detector, exposure loop and zones, painted into a
// grid of windows inside one X window, as a surveillance client shows 16 or 36 cameras at once.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "client.h"
#include "options.h"
#include "outputs.h"

namespace kx::demo {

constexpr int32_t kWallGap = 2;  // pixels of the wall's black ground between and around the cells

// A grid of `columns` x `rows` cells, each holding one camera's window of cellWidth x cellHeight.
struct WallLayout {
    int32_t columns = 0, rows = 0;
    int32_t cellWidth = 0, cellHeight = 0;
    int32_t width = 0, height = 0;  // the whole wall

    int32_t left(int32_t camera) const { return kWallGap + camera % columns * (cellWidth + kWallGap); }
    int32_t top(int32_t camera) const { return kWallGap + camera / columns * (cellHeight + kWallGap); }
};

// As many columns as the square root of the number of cameras, rounded up, and the rows they need;
// cells as paintLayoutFor makes a window for frames of this size, the whole within maxWidth x
// maxHeight (a 1024x768 screen).
WallLayout wallLayoutFor(int32_t cameras, int32_t frameWidth, int32_t frameHeight, int32_t maxWidth = 1024,
                         int32_t maxHeight = 768);

// Where camera `camera` (from 0) starts in the scene, in frames, and its noise: cameras spread
// over the scene's ten seconds, so the wall shows day, dusk, night and floodlight at once.
int32_t wallSceneOffset(int32_t camera);

// One camera's part of the summary.
struct WallCameraReport {
    std::string name;
    RunInfo info;
    std::vector<FrameRecord> records;
};

// Processor time of the run, in milliseconds a camera-frame.
struct WallFigures {
    int32_t cameras = 0;
    int32_t frames = 0;  // a camera's
    double seconds = 0;
    bool realTime = true;
    bool sharedMemory = false;  // the X server offers MIT-SHM
    double clientMs = 0;   // the client's calls (detector, exposure, paint), on the demo's thread
    double processMs = 0;  // the whole demo process: sources, client, progress
    double serverMs = -1;  // the demo's own X server; -1 on a display of someone else's

    double framesPerSecond() const { return seconds > 0 ? frames / seconds : 0; }
    // Cameras at 25 frames a second that one core keeps up with, on the client's time alone.
    double camerasPerCore() const { return clientMs > 0 ? 40.0 / clientMs : 0; }
};

// The figures, then a line a camera: its source, zones in motion, exposure moves, where it ended.
std::string wallSummaryText(const std::vector<WallCameraReport> &cameras, const WallLayout &layout,
                            const WallFigures &figures);

// kestrix-demo --wall N: runs the wall and writes wall.png and summary.txt.
int runWall(const Options &options);

}  // namespace kx::demo
