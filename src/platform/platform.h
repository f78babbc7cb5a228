// The operations the exported layer needs from its platform, declared once. win32/ implements
// them with the real Windows calls; posix/ reproduces what those calls do.
#pragma once

#include <cstdint>
#include <string>

namespace kx::platform {

// a * b / c in 64-bit arithmetic, rounded half away from zero; -1 when c is 0 or the result
// does not fit 32 bits (the platform's MulDiv).
int32_t mulDiv(int32_t a, int32_t b, int32_t c);

// Seconds since 1970, as the platform's current-time query reports them.
int64_t currentTime();

// Pixels of a counted image: movable global memory on Windows, malloc elsewhere. Never zeroed.
uint8_t *allocImageBits(uint32_t size);
void freeImageBits(uint8_t *bits);

}  // namespace kx::platform
