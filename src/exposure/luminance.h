// The luminance measure's forms: the plain one, which fixes every value, and a vector one that
// gives the same sums.
#pragma once

#include <cstdint>

namespace kx {

// A pixel's luminance as the measure takes it: the double (b0 * 0.299 + b1 * 0.578) + b2 * 0.114,
// truncated, low 8 bits.
uint8_t lumaOfPixel(const uint8_t *pixel);

// The sum of the luminance of count pixels, wrapping as a 32-bit sum does.
uint32_t lumaSumPlain(const uint8_t *pixels, uint32_t count);

// The same sum, sixteen pixels at a time (SSSE3), and the plain rule for the rest.
uint32_t lumaSumSsse3(const uint8_t *pixels, uint32_t count);

}  // namespace kx
