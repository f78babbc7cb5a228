#include <windows.h>

#include <ctime>

#include "platform/platform.h"

namespace kx::platform {

int32_t mulDiv(int32_t a, int32_t b, int32_t c) { return MulDiv(a, b, c); }

int64_t currentTime() { return static_cast<int64_t>(std::time(nullptr)); }

uint8_t *allocImageBits(uint32_t size) {
    HGLOBAL handle = GlobalAlloc(GMEM_MOVEABLE, size);
    return handle ? static_cast<uint8_t *>(GlobalLock(handle)) : nullptr;
}

void freeImageBits(uint8_t *bits) {
    HGLOBAL handle = GlobalHandle(bits);
    GlobalUnlock(handle);
    GlobalFree(handle);
}

}  // namespace kx::platform
