/*
 * Kestrix pixel kernels (libkestrix-px).
 *
 * Plain C functions with a PxStatus result: 0 success, negative an error with nothing written,
 * positive a warning (the work was done, or harmlessly skipped). Pointers are checked first, then
 * sizes, then the rest. Row steps are in bytes. Each kernel exists in forms for several processor
 * levels; one level is chosen when the library loads.
 */
#ifndef KESTRIX_PX_H
#define KESTRIX_PX_H

#include <stdint.h>

#if defined(_WIN32)
#define PX_API
#else
#define PX_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef int32_t PxStatus;

enum {
    PxStsOk = 0,
    PxStsBadSize = -6,            /* a width, height or element count is out of range */
    PxStsNullPtr = -8,            /* a required pointer is null */
    PxStsNoMem = -9,              /* scratch memory could not be had */
    PxStsBadStep = -14,           /* a row step is too small */
    PxStsBadInterpolation = -22,  /* the interpolation code is not known */
    PxStsBadFactor = -23,         /* a resize factor is zero or negative */
    PxStsBadDivisor = -51,        /* a filter divisor is 0 */
    PxStsNoResult = -201,         /* a scaled rectangle is under half a pixel */
    PxStsNotVendor = 20,          /* the processor is not of the vendor the tuned paths know */
    PxStsNoIntersection = 29,     /* the source rectangle's origin lies outside the source */
    PxStsOddSize = 35,            /* 4:2:0 conversion: the odd last row or column was left out */
    PxStsNoCpuInfo = 36,          /* the processor cannot be queried in the needed way */
    PxStsNoCacheInfo = 37         /* the query gave no cache size */
};

/* Interpolations of pxResizeC3. */
enum { PxNearest = 1, PxLinear = 2, PxCubic = 4, PxSuper = 8, PxLanczos = 16 };

typedef struct PxSize { int32_t width; int32_t height; } PxSize;
typedef struct PxRect { int32_t x; int32_t y; int32_t width; int32_t height; } PxRect;
typedef struct PxPoint { int32_t x; int32_t y; } PxPoint;

/* ---- Processor levels. */

/* Level 0 is the reference form of every kernel; 1 and 2 (SSSE3), 3 (SSE4.1), 4 (AVX). */
PX_API int32_t pxGetLevel(void);
/* Forces a level, for tests and benchmarks. PxStsBadSize, level unchanged, for a level outside
 * 0..4 or one whose instructions this processor cannot run. */
PX_API PxStatus pxSetLevel(int32_t level);
/* Chooses the level from the processor's features; run once when the library loads.
 * PxStsNotVendor is information only: the level stands. */
PX_API PxStatus pxChooseLevel(void);
/* Twelve feature bits from cpuid leaf 1 and xgetbv (cached after the first call). With leafOut,
 * also the four registers of leaf 1, or of the leaf leafOut[0] and subleaf leafOut[2] when
 * *features holds "qryleafx" on entry. */
PX_API PxStatus pxGetFeatures(uint64_t *features, uint32_t leafOut[4]);

/* ---- Scratch memory and blocks. */

/* 32-byte aligned memory over malloc; a size below 1 gives null. */
PX_API void *pxAlloc(int32_t size);
PX_API void pxFree(void *ptr);
PX_API uint8_t *pxAllocBytes(int32_t count);
PX_API uint16_t *pxAlloc16(int32_t count);
PX_API uint32_t *pxAlloc32(int32_t count);
/* Zeroes count bytes. */
PX_API PxStatus pxZero(void *dst, int32_t count);
/* Copies count 4-byte elements; the blocks must not overlap. */
PX_API PxStatus pxCopy(const void *src, void *dst, int32_t count);
/* Copies count bytes; the blocks must not overlap. */
PX_API PxStatus pxCopyLine(const void *src, void *dst, int32_t count);
/* Largest data cache in bytes, asked of the processor once. */
PX_API PxStatus pxCacheSize(int32_t *size);

/* ---- Kernels. */

/* Convolves the region of an 8-bit three-channel image with kernelSize.width x kernelSize.height
 * coefficients (row after row), flipped both ways around anchor: per channel, output (x, y) is the
 * sum of kernel[j * width + i] * src(x + anchor.x - i, y + anchor.y - j), in 32 bits that wrap.
 * The sum is then divided: divisor 1 leaves it as it is; a power of two above 1 shifts, with ties
 * to even and 0 for sums below 1; any other divisor (negative ones too) multiplies by its
 * single-precision reciprocal, ties to even, 0 at half or below. The result saturates to 0..255.
 * anchor is not checked: every pixel the window touches must be readable, and src and dst must
 * be different images. PxStsBadDivisor for a divisor of 0 (before the steps), PxStsBadStep for
 * srcStep below (width + kernel width - 1) * 3 or dstStep below width * 3. */
PX_API PxStatus pxFilterC3(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size,
                           const int32_t *kernel, PxSize kernelSize, PxPoint anchor, int32_t divisor);

/* Sharpens the region of an 8-bit three-channel image with the 3x3 mask of 16 in the middle and
 * -1 around it, over 8: per channel T = 17c - S, S the nine samples' sum, and the output is 0 for
 * T <= 0, else T / 8 rounded to nearest with ties to even, at most 255. There is no edge
 * treatment: the caller guarantees a one-pixel margin, (width + 2) x (height + 2) readable pixels
 * around the region, and src and dst must be different images. PxStsBadStep for a step below 1
 * (steps are not compared with the width); PxStsNoMem, output untouched, without scratch. */
PX_API PxStatus pxSharpenC3(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size);

/* Copies an 8-bit plane with row steps. */
PX_API PxStatus pxCopyC1(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size);

/* Scales srcRect of an 8-bit three-channel image by the factors (output pixels per source pixel)
 * into dst, writing at most dstSize. */
PX_API PxStatus pxResizeC3(const uint8_t *src, PxSize srcSize, int32_t srcStep, PxRect srcRect, uint8_t *dst,
                           int32_t dstStep, PxSize dstSize, double xFactor, double yFactor, int32_t interpolation);

/* Packed 3-byte pixels (c0 taken as red) to Y, U, V planes of 4:2:0, and back. PxStsOddSize when
 * the odd last row or column was left out. */
PX_API PxStatus pxRgbToYuv420(const uint8_t *src, int32_t srcStep, uint8_t *const planes[3],
                              const int32_t planeSteps[3], PxSize size);
PX_API PxStatus pxYuv420ToRgb(const uint8_t *const planes[3], const int32_t planeSteps[3], uint8_t *dst,
                              int32_t dstStep, PxSize size);

/* Edge-directed line interpolation of an 8-bit plane. field 0 builds the line between input rows
 * i-1 and i, field 1 between i and i+1; copyLine non-zero copies the row that has no pair. */
PX_API PxStatus pxDeinterlaceEdge(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size,
                                  int32_t field, int32_t copyLine);

#ifdef __cplusplus
}
#endif

#endif /* KESTRIX_PX_H */
