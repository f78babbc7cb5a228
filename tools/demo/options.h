// The command line of kestrix-demo.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kestrix.h"

namespace kx::demo {

struct Options {
    std::string out = "out/demo";
    bool show = false;
    bool help = false;
    int32_t frames = 0;  // 0: all there are
    int32_t sensitivity = 4;
    std::vector<RECT> zones;  // empty: the scene's own, or the whole frame of footage
    std::string input;  // a video for ffmpeg
    int32_t rawWidth = 0, rawHeight = 0;  // --raw: frames on standard input
};

// Throws std::invalid_argument with a one-line reason.
Options parseOptions(int argc, const char *const *argv);

// "L,T,R,B" rectangles separated by spaces or semicolons; each must have right > left, bottom > top.
std::vector<RECT> parseZones(const std::string &text);

const char *usage();

}  // namespace kx::demo
