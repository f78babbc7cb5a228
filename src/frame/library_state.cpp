#include "frame/library_state.h"

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

bool attachLibrary() {
    // The level comes first, before anything that could run a kernel; its status is information.
    pxChooseLevel();
    // The platform's class-library registration has no counterpart here, so nothing fails the load.
    readSettings(settings);
    FrameScratch = nullptr;
    // Computed in 32 bits, as the paint code computes its growth.
    const uint32_t bytes = static_cast<uint32_t>(ScratchWidth * ScratchHeight * 3 + 40);
    FrameScratch = new uint8_t[bytes];
    std::memset(FrameScratch, 0, bytes);
    return true;
}

void detachLibrary() {
    if (FrameScratch) {
        delete[] FrameScratch;
        FrameScratch = nullptr;
    }
}

}  // namespace kx
