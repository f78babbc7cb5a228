// Library-wide state: the ten settings, written once at load, and the shared paint buffer.
#pragma once

#include <cstdint>

namespace kx {

// The ten integer settings of kestrix.ini, with their defaults. Read once at load, in this order.
struct Settings {
    int32_t shutterMin = 523;        // [SHUTTERWITH] MIN
    int32_t shutterMax = 1000;       // [SHUTTERWITH] MAX
    int32_t shutterOutdoor = 130;    // [SHUTTERWITH] OUTDOOR
    int32_t lumaDownMode = 200;      // [YDC] DOWNMODE
    int32_t lumaDownLevel = 180;     // [YDC] DOWNLEVEL
    int32_t lumaUpLevel = 100;       // [YDC] UPLEVEL
    int32_t shutterZoomUp = 1960;    // [SHUTTERWITH] ZOOMUPLEVEL
    int32_t shutterZoomDown = 1500;  // [SHUTTERWITH] ZOOMDOWNLEVEL
    int32_t lumaZoomUp = 60;         // [YDC] ZOOMUPLEVEL
    int32_t lumaZoomDown = 120;      // [YDC] ZOOMDOWNLEVEL
};

extern Settings settings;

// The block that receives resized frames, shared by all paint calls, with the window size it was
// last made for. Not settings: the file does not reach them.
extern uint8_t *FrameScratch;
extern int32_t ScratchWidth;
extern int32_t ScratchHeight;
// The block's true size in bytes: enough for everything a paint call writes into it or paints
// from it, which can be more than the window sizes above record.
extern uint64_t ScratchBytes;

// Puts a zero-filled block of bytes in place of FrameScratch, with the first keep bytes of the
// old one copied over. The new block is had before the old one is freed: when it cannot be had,
// the result is false and the old block stays. Sizes are the caller's to record.
bool replaceFrameScratch(uint64_t bytes, uint64_t keep);

// Process attach and detach, in the library's order. attachLibrary's false fails the load.
bool attachLibrary();
void detachLibrary();

}  // namespace kx
