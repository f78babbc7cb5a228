// What the demo leaves behind: PNG pictures, the SVG plot over time and the summary text.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "client.h"
#include "frame.h"

namespace kx::demo {

// Throws with the path when the file cannot be written.
void writePng(const std::string &path, const RgbImage &image);
void writeText(const std::string &path, const std::string &text);

// Pictures side by side on a dark ground, `columns` to a row, with a gap of 4 pixels.
RgbImage contactSheet(const std::vector<RgbImage> &pictures, int32_t columns);

struct RunInfo {
    std::string source;  // "embedded scene", a file name, "standard input"
    int32_t width = 0, height = 0, framesPerSecond = 25;
    int32_t sensitivity = 4;
    std::vector<RECT> zones;
    std::vector<std::string> zoneNames;
    bool cameraSteered = true;  // false on footage: the moves are what a camera would be asked for
};

// Runs of frame numbers, "3-7, 9, 12-20", or "none".
std::string frameRuns(const std::vector<int32_t> &frames);

// Luminance, gain, shutter and stage over time, each on its own scale, with the zones' motion
// bits beneath and the stacked-field frames shaded.
std::string plotSvg(const std::vector<FrameRecord> &records, const RunInfo &info);

// Frames in motion per zone and every exposure move, with the frame and the reason's numbers.
std::string summaryText(const std::vector<FrameRecord> &records, const RunInfo &info);

}  // namespace kx::demo
