// What is drawn over a painted frame: zone outlines and two texts with white halos.
#pragma once

#include <cstdint>
#include <string>

#include "platform/paint.h"

namespace kx::present {

// The texts go through a 256-byte buffer.
constexpr int32_t kTextBufferSize = 256;

// COLORREF values, red in the low byte.
constexpr uint32_t kWhite = 0xFFFFFF;
constexpr uint32_t kRed = 0x0000FF;
constexpr uint32_t kBlue = 0xFF0000;

// JpegDecompress2's text: always 16-bit, length in characters. A failed conversion leaves the raw
// bytes, which are shown.
std::string textInAlwaysWide(platform::PaintDevice &device, const void *text, int32_t length);

// JpegDecompress3's text: 16-bit when wideText is non-zero, else narrow. A failed conversion gives
// an empty text.
std::string textInEitherForm(platform::PaintDevice &device, const void *text, int32_t length, int32_t wideText,
                             bool bottomRight);

// Red outlines of the zones, mapped from the frame's size to the painted image's.
void outlineZones(platform::PaintDevice &device, platform::PaintContext dc, const RECT *zones, int32_t zoneCount,
                  const BITMAPINFOHEADER &frame, const BITMAPINFOHEADER &paintHeader);

// The top left text in the colour of textState, the bottom right one in blue, each over four white
// copies.
void drawTexts(platform::PaintDevice &device, platform::PaintContext dc, int32_t width, int32_t height,
               const std::string &topLeft, int32_t textState, const std::string &bottomRight);

}  // namespace kx::present
