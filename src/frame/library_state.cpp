#include "frame/library_state.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include "frame/settings.h"
#include "kestrix/px.h"

namespace kx {

Settings settings;
uint8_t *FrameScratch = nullptr;
int32_t ScratchWidth = 1600;
int32_t ScratchHeight = 1200;
uint64_t ScratchBytes = 0;

bool replaceFrameScratch(uint64_t bytes, uint64_t keep) {
    if (bytes > SIZE_MAX) return false;
    uint8_t *block = new (std::nothrow) uint8_t[static_cast<size_t>(bytes)];
    if (!block) return false;
    std::memset(block, 0, static_cast<size_t>(bytes));
    if (FrameScratch) {
        std::memcpy(block, FrameScratch, static_cast<size_t>(std::min({keep, bytes, ScratchBytes})));
        delete[] FrameScratch;
    }
    FrameScratch = block;
    ScratchBytes = bytes;
    return true;
}

bool attachLibrary() {
    // The level comes first, before anything that could run a kernel; its status is information.
    pxChooseLevel();
    // The platform's class-library registration has no counterpart here, so nothing fails the load.
    try {
        readSettings(settings);
        readLevelSetting();
    } catch (...) {
        // No memory for the path or a value: the settings not read keep their defaults.
    }
    // 5,760,040 bytes, also the 8-aligned area of 1600 by 1200. Without it the first paint call
    // that resizes makes a block, or returns 0.
    FrameScratch = nullptr;
    ScratchBytes = 0;
    replaceFrameScratch(uint64_t{1600} * 1200 * 3 + 40, 0);
    return true;
}

void detachLibrary() {
    if (FrameScratch) {
        delete[] FrameScratch;
        FrameScratch = nullptr;
        ScratchBytes = 0;
    }
}

}  // namespace kx
