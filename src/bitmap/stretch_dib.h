// The library's own DIB scaling, used on every platform so that Windows and Linux give the same
// bytes.
#pragma once

#include <cstdint>

#include "kestrix.h"

namespace kx {

// Fills the destination rectangle (x, y, width, height) of the destination DIB with the source
// rectangle of the source DIB, scaled to that size by nearest neighbour; the rest of the
// destination and both headers stay as they are. The rule, exactly:
// - Both headers must say 24 bits, with a width and height of at least 1; else nothing is done.
//   Rows are DIB rows, padded to a multiple of 4 bytes, and row 0 is the first stored row.
// - A rectangle with a width or height below 1 draws nothing.
// - Destination column dstX + i takes source column srcX + ((i * step + step / 2) >> 16), with
//   step = ((srcWidth << 16) + dstWidth / 2) / dstWidth in 64-bit integers, at most the source
//   rectangle's last column; rows alike. Same-size rectangles copy pixel for pixel.
// - A destination pixel outside the destination bitmap, or whose source pixel lies outside the
//   source bitmap, is left alone. biSizeImage is the size of each block: no byte at or past it is
//   read or written.
void StretchDIB(const BITMAPINFOHEADER &dstHeader, uint8_t *dstBits, int32_t dstX, int32_t dstY, int32_t dstWidth,
                int32_t dstHeight, const BITMAPINFOHEADER &srcHeader, const uint8_t *srcBits, int32_t srcX,
                int32_t srcY, int32_t srcWidth, int32_t srcHeight);

}  // namespace kx
