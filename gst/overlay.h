// The overlays of the library's paint, drawn into a top-down BGR picture instead of a window:
// red zone outlines, then the two texts over white halos.
#pragma once

#include <kestrix.h>

#include <cstdint>
#include <string_view>
#include <vector>

namespace kx::gst {

struct Picture {
    uint8_t *data;
    int32_t stride;  // bytes from one row to the next; rows top first
    int32_t width, height;
};

// Each zone in list order, in picture pixels: one pixel inside the rectangle on each side, as a
// framed rectangle is drawn. A zone wider or taller than the picture is not drawn; an empty or
// inverted one draws nothing; the rest is clipped to the picture.
void outlineZones(const Picture &picture, const std::vector<RECT> &zones);

// The top text from the top left corner in red, the bottom text to the bottom right corner in
// blue, each over four white copies one pixel out diagonally. At most 256 bytes of a text are drawn.
void drawTexts(const Picture &picture, std::string_view topLeft, std::string_view bottomRight);

// The built-in font: a character cell of 6 by 13 pixels, 11 of them above the baseline.
inline constexpr int32_t kGlyphWidth = 6, kGlyphHeight = 13;
// Rows of a printable ASCII character (32 to 126), the top first, bit 5 the leftmost pixel;
// null for any other byte, which leaves its cell blank.
const uint8_t *glyphRows(uint8_t character);

}  // namespace kx::gst
