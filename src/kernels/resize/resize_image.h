// Image functions of the resize engine: they walk the engine's tables and write the output.
// src points at the rectangle's first pixel; steps and offsets are in bytes.
#pragma once

#include <cstdint>

namespace px {

// Copies the source pixel that the tables name to every output pixel (three bytes each).
void pxNearestImage(const uint8_t *src, uint8_t *dst, int32_t dstStep, int32_t dstW, int32_t dstH,
                    const int32_t *yIndex, const int32_t *xIndex, int32_t pixelStride);

// Two-pass linear interpolation over a rolling pair of intermediate rows (bufferA, bufferB, each
// of 3 * dstW + 12 samples).
void pxLinearImage(const uint8_t *src, uint8_t *dst, int32_t srcStep, int32_t dstStep, int32_t dstW, int32_t dstH,
                   const int32_t *yIndex, const int32_t *xIndex, const uint16_t *yWeight, const uint16_t *xWeight,
                   uint16_t *bufferA, uint16_t *bufferB, int32_t pixelStride, int32_t channels);

// Horizontal pass, three channels: out[3c+k] = (wr * q[k] + wl * p[k] + 128) >> 8, samples scaled by 64.
void pxLinearRowC3(const uint8_t *row, int32_t dstW, int32_t pixelStride, const int32_t *xIndex,
                   const uint16_t *xWeight, uint16_t *out);

// Vertical pass over count samples: (l * w + u * (16384 - w) + 524288) >> 20.
void pxLinearBlend(uint8_t *dst, int32_t count, int32_t weight, const uint16_t *upper, const uint16_t *lower);

// Vertical pass for three channels at a pixel stride of 4; the fourth byte keeps what it held.
void pxLinearBlendSkip(uint8_t *dst, int32_t dstW, int32_t weight, const uint16_t *upper, const uint16_t *lower);

}  // namespace px
