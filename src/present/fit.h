// Bringing a frame to a window's size: the choice of road and the part of the frame that fills
// the window.
#pragma once

#include <cstdint>

#include "kestrix/px.h"

namespace kx::present {

// The paint code's sizes are signed 32-bit products that wrap on overflow, as the 32-bit
// arithmetic they stand for does; formed wider and cut back here.
inline int32_t wrap32(int64_t value) { return static_cast<int32_t>(static_cast<uint32_t>(value)); }

// The two paint exports differ in their crops of the known camera sizes.
enum class PaintForm { Decompress2, Decompress3 };

enum class Road {
    SameSize,  // the frame has the window's size: painted as it is
    Resize,    // FitRect resized into an 8-aligned image of the window's size
    Crop,      // a known camera size whose crop has the window's size: painted with an offset
};

struct Fit {
    Road road;
    PxRect fitRect;  // the part of the frame that fills the window
};

// The road for a frame of frameWidth by frameHeight in a window of width by height.
Fit chooseFit(PaintForm form, int32_t frameWidth, int32_t frameHeight, int32_t width, int32_t height);

}  // namespace kx::present
