// What the demo leaves behind: PNG pictures, the SVG plot over time and the summary text.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "client.h"
#include "frame.h"

namespace kx::demo {

// Whether the demo was built with libpng; without it, it writes no pictures.
bool pngSupported();

// Throws with the path when the file cannot be written, or when the demo has no libpng.
void writePng(const std::string &path, const RgbImage &image);
void writeText(const std::string &path, const std::string &text);

// The files of one run in its output directory (made when missing), listed as they are written.
// Pictures need libpng: without it they are counted and left out.
class OutputDirectory {
public:
    explicit OutputDirectory(const std::string &path);
    void picture(const std::string &name, const RgbImage &image);
    void text(const std::string &name, const std::string &content);
    // "wrote <path>" for each file on standard output and, without libpng, what was left out.
    void report() const;

private:
    std::string path_;
    std::vector<std::string> written_;
    int32_t picturesLeftOut_ = 0;
};

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

// The zones given, or else the scene's own, or else the whole frame of footage (info's size).
void chooseZones(RunInfo &info, const std::vector<RECT> &given, bool scene);

// The frames whose mask has zone's bit, and "zone 1 road" or "zone 1" for a zone without a name.
std::vector<int32_t> framesInMotion(const std::vector<FrameRecord> &records, size_t zone);
std::string zoneLabel(const RunInfo &info, size_t i);

// Runs of frame numbers, "3-7, 9, 12-20", or "none".
std::string frameRuns(const std::vector<int32_t> &frames);

// Luminance, gain, shutter and stage over time, each on its own scale, with the zones' motion
// bits beneath and the stacked-field frames shaded.
std::string plotSvg(const std::vector<FrameRecord> &records, const RunInfo &info);

// Frames in motion per zone and every exposure move, with the frame and the reason's numbers.
std::string summaryText(const std::vector<FrameRecord> &records, const RunInfo &info);

}  // namespace kx::demo
