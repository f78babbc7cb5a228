// The general resize routine below pxResizeC3, and the level-0 form of the entry.
#pragma once

#include <cstdint>

#include "kestrix/px.h"

namespace px {

// Element kinds of the engine.
enum PxDataType : int32_t { PxData8u = 0, PxData16u = 1, PxData32f = 2 };

// Which of the supersampling cell's sides, in source pixels, have a fraction.
enum SuperMode : int32_t { SuperIntegral = 0, SuperFractionY = 1, SuperFractionX = 2, SuperFractionXY = 3 };

// The arguments of pxResizeEngine, as one record: srcRect is clipped through the pointer.
struct ResizeCall {
    const void *src;  // the image's first pixel, not the rectangle's
    int32_t srcWidth, srcHeight, srcStep;
    PxRect *srcRect;
    void *dst;
    int32_t dstStep;
    PxSize dstSize;
    double xFactor, yFactor, xShift, yShift;
    int32_t pixelStride, channels, dataType, planar, interpolation, factorsAreScale;
};

// What the engine hands an image function: the rectangle's first pixel, the output, the tables of
// the call's interpolation and its row buffers. Fields of other interpolations stay null.
struct ResizeJob {
    const uint8_t *src;
    uint8_t *dst;
    int32_t srcStep, dstStep;  // in bytes, signed
    int32_t dstW, dstH;
    int32_t pixelStride, channels;
    const int32_t *yIndex, *xIndex;  // byte offsets of each output row's and column's entry
    // Linear: the lower row's weight per output row, the pair of weights per column.
    const uint16_t *yWeight, *xWeight;
    // Cubic: the fraction per output row and column.
    const float *yFraction, *xFraction;
    // Lanczos: six weights per output row and column.
    const float *yCoefficients, *xCoefficients;
    // Lanczos: the rectangle's place, the columns and rows from it to the image's end, and whether
    // the rows advance by one at most per output row.
    int32_t rectX, rectY, colsLeft, rowsLeft, rowsNotThinned;
    // Linear: the rolling pair of intermediate rows.
    uint16_t *bufferA, *bufferB;
    // Cubic: the ring of four rows; Lanczos: of six.
    float *rows[6];
};

// The arguments of pxResizeSuper, as one record: srcRect is clipped through the pointer.
struct SuperCall {
    const void *src;
    PxSize srcSize;
    int32_t srcStep;
    PxRect *srcRect;
    void *dst;
    int32_t dstStep;
    PxSize dstSize;
    double xFactor, yFactor;
    int32_t pixelStride, channels, dataType, planar;
};

// What pxResizeSuper hands the supersampling engine: src at the rectangle's origin, the line's span,
// the cell of invX by invY source pixels and its inverse area, and the image's rows from the origin.
struct SuperJob {
    const uint8_t *src;
    uint8_t *dst;
    int32_t srcStep, dstStep;
    int32_t span, dstW, dstH;
    double invX, invY, area;
    SuperMode mode;
    int32_t pixelStride, rowsLeft;
};

// The supersampling engine of a level: 8-bit samples, three channels at pixelStride.
using SuperEngine = PxStatus (*)(const SuperJob &job);

// The image functions a level binds its copy of the engine to (slot 0 of each table: 8-bit,
// interleaved, three channels), the level's Lanczos weights and its supersampling engine.
struct ResizeImageFunctions {
    void (*nearest)(const ResizeJob &job);
    void (*linear)(const ResizeJob &job);
    void (*cubic)(const ResizeJob &job);
    void (*lanczos)(const ResizeJob &job);
    void (*coefficients)(const float *fractions, int32_t count, float *coefficients, const float *kernel);
    SuperEngine super;
};

// Checks, clips the rectangle (written back), lowers the interpolation on small sources, derives the
// output size and the tables, and runs the image function of the given set.
PxStatus resizeEngine(const ResizeImageFunctions &functions, const ResizeCall &call);

// Output length of an axis from its scaled length s (size times factor): the truncation of s + 1e-7,
// cut to limit; PxStsNoResult under half a pixel, and 1 from half a pixel up.
PxStatus scaledLength(double s, int32_t limit, int32_t *length);

// pxResizeSuper with a level's supersampling engine.
PxStatus resizeSuper(SuperEngine engine, const SuperCall &call);

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

// The arguments of pxResizeC3, as one record.
struct ResizeC3Call {
    const uint8_t *src;
    PxSize srcSize;
    int32_t srcStep;
    PxRect srcRect;
    uint8_t *dst;
    int32_t dstStep;
    PxSize dstSize;
    double xFactor, yFactor;
    int32_t interpolation;
};

// pxResizeC3 with a level's image functions: supersampling shrinks go to the area-averaging engine,
// everything else to the general one.
PxStatus resizeC3With(const ResizeImageFunctions &functions, const ResizeC3Call &call);

// The forms of pxResizeC3: level 0, levels 1 to 3 (SSSE3) and level 4 (AVX2).
PxStatus pxResizeC3_ref(const uint8_t *src, PxSize srcSize, int32_t srcStep, PxRect srcRect, uint8_t *dst,
                        int32_t dstStep, PxSize dstSize, double xFactor, double yFactor, int32_t interpolation);
PxStatus pxResizeC3_ssse3(const uint8_t *src, PxSize srcSize, int32_t srcStep, PxRect srcRect, uint8_t *dst,
                          int32_t dstStep, PxSize dstSize, double xFactor, double yFactor, int32_t interpolation);
PxStatus pxResizeC3_avx2(const uint8_t *src, PxSize srcSize, int32_t srcStep, PxRect srcRect, uint8_t *dst,
                         int32_t dstStep, PxSize dstSize, double xFactor, double yFactor, int32_t interpolation);

}  // namespace px
