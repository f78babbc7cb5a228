// The luminance sum of packed 24-bit pixels that the exposure measure averages: the plain form,
// which fixes every value, and a vector form that gives the same sums.
#pragma once

#include <cstdint>

namespace px {

// A pixel's luminance as the measure takes it: the double (b0 * 0.299 + b1 * 0.578) + b2 * 0.114,
// truncated, low 8 bits.
uint8_t lumaOfPixel(const uint8_t *pixel);

// The sum of the luminance of count pixels, wrapping as a 32-bit sum does, at the chosen level.
uint32_t lumaSum(const uint8_t *pixels, uint32_t count);

// Level 0, the plain rule.
uint32_t lumaSum_ref(const uint8_t *pixels, uint32_t count);

// Levels 1 to 3: sixteen pixels at a time (SSSE3), and the plain rule for the rest.
uint32_t lumaSum_ssse3(const uint8_t *pixels, uint32_t count);

// Level 4: thirty-two pixels at a time (AVX2), and the SSSE3 form for the rest.
uint32_t lumaSum_avx2(const uint8_t *pixels, uint32_t count);

}  // namespace px
