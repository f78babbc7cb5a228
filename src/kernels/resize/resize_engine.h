// The general resize routine below pxResizeC3, and the level-0 form of the entry.
#pragma once

#include <cstdint>

#include "kestrix/px.h"

namespace px {

// Element kinds of the engine.
enum PxDataType : int32_t { PxData8u = 0, PxData16u = 1, PxData32f = 2 };

// Which of the supersampling cell's sides, in source pixels, have a fraction.
enum SuperMode : int32_t { SuperIntegral = 0, SuperFractionY = 1, SuperFractionX = 2, SuperFractionXY = 3 };

// The supersampling engine of a level: 8-bit samples, three channels at pixelStride (pxSuperC3).
using SuperEngine = PxStatus (*)(const uint8_t *src, uint8_t *dst, int32_t srcStep, int32_t dstStep, int32_t span,
                                 int32_t dstW, int32_t dstH, double invX, double invY, double area, SuperMode mode,
                                 int32_t pixelStride, int32_t rowsLeft);

// The image functions a level binds its copy of the engine to (slot 0 of each table: 8-bit,
// interleaved, three channels), the level's Lanczos weights and its supersampling engine. Declared in resize_image.h.
struct ResizeImageFunctions {
    void (*nearest)(const uint8_t *src, uint8_t *dst, int32_t dstStep, int32_t dstW, int32_t dstH,
                    const int32_t *yIndex, const int32_t *xIndex, int32_t pixelStride);
    void (*linear)(const uint8_t *src, uint8_t *dst, int32_t srcStep, int32_t dstStep, int32_t dstW, int32_t dstH,
                   const int32_t *yIndex, const int32_t *xIndex, const uint16_t *yWeight, const uint16_t *xWeight,
                   uint16_t *bufferA, uint16_t *bufferB, int32_t pixelStride, int32_t channels);
    void (*cubic)(const uint8_t *src, uint8_t *dst, int32_t srcStep, int32_t dstStep, int32_t dstW, int32_t dstH,
                  const int32_t *yIndex, const int32_t *xIndex, const float *yFraction, const float *xFraction,
                  float *const rows[4], int32_t pixelStride, int32_t channels);
    void (*lanczos)(const uint8_t *src, uint8_t *dst, int32_t srcStep, int32_t dstStep, int32_t dstW, int32_t dstH,
                    const int32_t *yIndex, const int32_t *xIndex, const float *yCoefficients,
                    const float *xCoefficients, float *const buffers[6], int32_t rectX, int32_t rectY,
                    int32_t colsLeft, int32_t rowsLeft, int32_t rowsNotThinned, int32_t pixelStride,
                    int32_t channels);
    void (*coefficients)(const float *fractions, int32_t count, float *coefficients, const float *kernel);
    SuperEngine super;
};

// Checks, clips srcRect (written back), lowers the interpolation on small sources, derives the
// output size and the tables, and runs the image function of the given set. src points at the
// image's first pixel, not at the rectangle's.
PxStatus resizeEngine(const ResizeImageFunctions &functions, const void *src, int32_t srcWidth, int32_t srcHeight,
                      int32_t srcStep, PxRect *srcRect, void *dst, int32_t dstStep, PxSize dstSize, double xFactor,
                      double yFactor, double xShift, double yShift, int32_t pixelStride, int32_t channels,
                      int32_t dataType, int32_t planar, int32_t interpolation, int32_t factorsAreScale);

// Output length of an axis from its scaled length s (size times factor): the truncation of s + 1e-7,
// cut to limit; PxStsNoResult under half a pixel, and 1 from half a pixel up.
PxStatus scaledLength(double s, int32_t limit, int32_t *length);

// pxResizeSuper with a level's supersampling engine.
PxStatus resizeSuper(SuperEngine engine, const void *src, PxSize srcSize, int32_t srcStep, PxRect *srcRect, void *dst,
                     int32_t dstStep, PxSize dstSize, double xFactor, double yFactor, int32_t pixelStride,
                     int32_t channels, int32_t dataType, int32_t planar);

// The level-0 engine.
PxStatus pxResizeEngine(const void *src, int32_t srcWidth, int32_t srcHeight, int32_t srcStep, PxRect *srcRect,
                        void *dst, int32_t dstStep, PxSize dstSize, double xFactor, double yFactor, double xShift,
                        double yShift, int32_t pixelStride, int32_t channels, int32_t dataType, int32_t planar,
                        int32_t interpolation, int32_t factorsAreScale);

// The area-averaging shrink, level 0: checks, clips srcRect (written back), derives the output size,
// the line's span and the SuperMode, and runs the three-channel 8-bit engine. Factors are output
// pixels per source pixel, at most 1.0.
PxStatus pxResizeSuper(const void *src, PxSize srcSize, int32_t srcStep, PxRect *srcRect, void *dst, int32_t dstStep,
                       PxSize dstSize, double xFactor, double yFactor, int32_t pixelStride, int32_t channels,
                       int32_t dataType, int32_t planar);

// The image functions of level 0.
extern const ResizeImageFunctions kLevel0Images;

// pxResizeC3 with a level's image functions: supersampling shrinks go to the area-averaging engine,
// everything else to the general one.
PxStatus resizeC3With(const ResizeImageFunctions &functions, const uint8_t *src, PxSize srcSize, int32_t srcStep,
                      PxRect srcRect, uint8_t *dst, int32_t dstStep, PxSize dstSize, double xFactor, double yFactor,
                      int32_t interpolation);

// The forms of pxResizeC3: level 0, levels 1 to 3 (SSSE3) and level 4 (AVX2).
PxStatus pxResizeC3_ref(const uint8_t *src, PxSize srcSize, int32_t srcStep, PxRect srcRect, uint8_t *dst,
                        int32_t dstStep, PxSize dstSize, double xFactor, double yFactor, int32_t interpolation);
PxStatus pxResizeC3_ssse3(const uint8_t *src, PxSize srcSize, int32_t srcStep, PxRect srcRect, uint8_t *dst,
                          int32_t dstStep, PxSize dstSize, double xFactor, double yFactor, int32_t interpolation);
PxStatus pxResizeC3_avx2(const uint8_t *src, PxSize srcSize, int32_t srcStep, PxRect srcRect, uint8_t *dst,
                         int32_t dstStep, PxSize dstSize, double xFactor, double yFactor, int32_t interpolation);

}  // namespace px
