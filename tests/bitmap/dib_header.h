// A 24-bit (or other depth) DIB header whose biSizeImage is exactly its packed rows.
#pragma once

#include <cstdint>

#include "kestrix.h"

inline BITMAPINFOHEADER header(int32_t width, int32_t height, uint16_t bitCount = 24) {
    return {40, width, height, 1, bitCount, 0, static_cast<uint32_t>(width * height * (bitCount >> 3)), 0, 0, 0, 0};
}
