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
    std::vector<std::string> inputs;  // videos for ffmpeg; more than one only on a wall
    int32_t rawWidth = 0, rawHeight = 0;  // --raw: frames on standard input
    int32_t wall = 0;  // cameras on the wall; 0: one camera and its pictures
    bool fast = false;  // the wall as fast as it goes, not at 25 frames a second
};

// Throws std::invalid_argument with a one-line reason.
Options parseOptions(int argc, const char *const *argv);

// "L,T,R,B" rectangles separated by spaces or semicolons; each must have right > left, bottom > top.
std::vector<RECT> parseZones(const std::string &text);

const char *usage();

}  // namespace kx::demo
