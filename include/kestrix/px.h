/*
 * Kestrix pixel kernels (libkestrix-px, or the static kestrix-px; a guide is docs/px.md).
 *
 * Plain C functions with a PxStatus result: 0 success, negative an error with nothing written,
 * positive a warning (the work was done, or harmlessly skipped). Pointers are checked first, then
 * sizes, then the rest, and the first failure returns at once. Row steps are in bytes and are not
 * compared with the widths unless a function says so: every buffer must hold what its size and
 * row step describe. Images are packed rows of 3-byte pixels (C3) or 8-bit planes (C1), top row
 * first. Sizes are passed by value.
 *
 * Each dispatched kernel exists in forms for several processor levels; pxChooseLevel picks one.
 * Kestrix.dll, libkestrix.so and libkestrix-px.so call it when they load. The static archive
 * cannot: a program linked with it runs level 0, the reference forms, until it calls pxChooseLevel.
 *
 * Threads: every kernel may run on any thread at the same time as any other, on different output.
 * pxChooseLevel and pxSetLevel change the one process-wide level: call them before other threads
 * run kernels.
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

/* The level the kernels run at: 0 the reference forms; 1 and 2 the SSSE3 forms; 3 SSE4.1; 4 AVX2.
 * 0 until pxChooseLevel or pxSetLevel has run. */
PX_API int32_t pxGetLevel(void);
/* Forces a level, for tests, benchmarks and kestrix-levels. PxStsOk; PxStsBadSize, level
 * unchanged, for a level outside 0..4 or one whose instructions this processor cannot run. */
PX_API PxStatus pxSetLevel(int32_t level);
/* Chooses the level from the processor's features, first match wins: SSE4.1 gives 3; SSSE3 and
 * MOVBE 2; SSSE3 1; anything else, or no feature query, 0. Level 4 is never chosen (a processor
 * with AVX2 runs level 3); only pxSetLevel, or the kestrix library's [PX] LEVEL key, reaches it.
 * PxStsOk, or PxStsNotVendor (20) on a processor of another maker than the tuned paths know:
 * information only, the level stands. */
PX_API PxStatus pxChooseLevel(void);
/* Writes twelve feature bits to *features, from cpuid leaf 1 and xgetbv, queried once and then
 * kept: 0x1 MMX, 0x2 SSE, 0x4 SSE2, 0x8 SSE3, 0x10 SSSE3, 0x20 MOVBE, 0x40 SSE4.1, 0x80 SSE4.2,
 * 0x100 AVX, 0x200 AVX enabled by the operating system, 0x400 AES, 0x800 PCLMULQDQ. A non-null
 * leafOut receives EAX, EBX, ECX, EDX of leaf 1, or of leaf leafOut[0], subleaf leafOut[2] when
 * *features holds the eight bytes "qryleafx" on entry. PxStsNullPtr for a null features;
 * PxStsNoCpuInfo where the processor cannot be asked. */
PX_API PxStatus pxGetFeatures(uint64_t *features, uint32_t leafOut[4]);

/* ---- Scratch memory and blocks. */

/* size bytes aligned to 32, from malloc; null for a size below 1 or when memory fails. Give it
 * back with pxFree, never with free. */
PX_API void *pxAlloc(int32_t size);
/* Gives back a block of pxAlloc or its typed forms; null is ignored. */
PX_API void pxFree(void *ptr);
/* pxAlloc of count elements of 1, 2 and 4 bytes; null for a count below 1. */
PX_API uint8_t *pxAllocBytes(int32_t count);
PX_API uint16_t *pxAlloc16(int32_t count);
PX_API uint32_t *pxAlloc32(int32_t count);
/* Zeroes count bytes at dst. PxStsNullPtr, PxStsBadSize for a count below 1. */
PX_API PxStatus pxZero(void *dst, int32_t count);
/* Copies count 4-byte elements from src to dst; the blocks must not overlap. PxStsNullPtr,
 * PxStsBadSize for a count below 1. */
PX_API PxStatus pxCopy(const void *src, void *dst, int32_t count);
/* As pxCopy with count in bytes. */
PX_API PxStatus pxCopyLine(const void *src, void *dst, int32_t count);
/* Writes the largest data cache in bytes to *size, asked of the processor once and then kept.
 * PxStsNullPtr; PxStsNoCpuInfo (size 0) where the processor cannot be asked; PxStsNoCacheInfo
 * (size 0) when it names no cache. */
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

/* Copies size.width x size.height bytes of an 8-bit plane, row by row with the two steps.
 * PxStsNullPtr; PxStsBadSize for a side below 1. */
PX_API PxStatus pxCopyC1(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size);

/* Scales the rectangle srcRect of an 8-bit three-channel image into dst. The factors are output
 * pixels per source pixel (0.5 halves). The output is dstW x dstH pixels at dst, with dstW the
 * truncation of srcRect.width * xFactor + 1e-7, cut to dstSize.width (1 when it lies in 0.5..1),
 * and dstH likewise: a smaller dstSize keeps the first rows and columns of the full result.
 * Nothing else of dst is written.
 * interpolation: PxNearest (centred samples), PxLinear, PxCubic and PxLanczos (the first output
 * pixel on the rectangle's first pixel), or PxSuper (area averaging) for factors of at most 1.0.
 * A source under 8 pixels in a side serves Lanczos as cubic, under 4 cubic as linear, under 2
 * anything as nearest. A rectangle reaching past the source is clipped (the caller's copy stays as
 * it was); the interpolations read pixels beside the rectangle, inside the source, so all of
 * srcSize at srcStep (which may be negative) must be readable.
 * Statuses, in the order checked: PxStsNullPtr; PxStsBadSize for a source side, rectangle side
 * or negative rectangle origin out of range; PxStsNoIntersection (29, a warning, nothing written)
 * when the rectangle starts at or past the source's right or bottom edge; PxStsBadSize for a
 * dstSize side below 1; PxStsBadFactor for a factor of 0 or less; PxStsBadInterpolation for
 * another code, or PxSuper with a factor above 1.0; PxStsNoResult when an output side comes to
 * under half a pixel; PxStsNoMem. */
PX_API PxStatus pxResizeC3(const uint8_t *src, PxSize srcSize, int32_t srcStep, PxRect srcRect, uint8_t *dst,
                           int32_t dstStep, PxSize dstSize, double xFactor, double yFactor, int32_t interpolation);

/* Packed 3-byte pixels (the first byte taken as red) to Y, U and V planes of 4:2:0, and back:
 * Y is size.width x size.height at planeSteps[0]; U and V are size.width / 2 x size.height / 2 at
 * planeSteps[1] and [2], one sample for each 2 x 2 block. Y = 0.299 R + 0.587 G + 0.114 B truncated,
 * U = 0.492 (B - Y) + 128, V = 0.877 (R - Y) + 128 from the block's mean, clamped to 0..255; back,
 * R = Y + 1.140 (V - 128), G = Y - 0.581 (V - 128) - 0.394 (U - 128), B = Y + 2.032 (U - 128).
 * Level 0 computes in 16.16 fixed point, the other levels in 15-bit fixed point: they may differ
 * from it by one in any sample. Only whole 2 x 2 blocks are converted: with an odd width or height
 * the last column or row is neither read nor written, and the status is PxStsOddSize (35).
 * PxStsNullPtr for a null image or plane array; PxStsBadSize for a side below 1; PxStsNullPtr for
 * a null plane. */
PX_API PxStatus pxRgbToYuv420(const uint8_t *src, int32_t srcStep, uint8_t *const planes[3],
                              const int32_t planeSteps[3], PxSize size);
PX_API PxStatus pxYuv420ToRgb(const uint8_t *const planes[3], const int32_t planeSteps[3], uint8_t *dst,
                              int32_t dstStep, PxSize size);

/* Edge-directed line interpolation of an 8-bit plane: output row i is built from two input rows,
 * i - 1 and i with field 0, i and i + 1 with field 1. Of the three pairs across the gap (the
 * falling diagonal, the rising diagonal, the vertical) the one whose two samples differ least
 * gives the rounded-up mean; ties go to the vertical, and between the diagonals to the rising one.
 * Columns 0 and width - 1 copy input row i. copyLine non-zero copies the row that has no pair
 * (row 0 for field 0, the last for field 1); with copyLine 0 that row reads one row outside the
 * plane (row -1 or row height), which must be readable. The planes must not overlap. All levels
 * give the same bytes. PxStsNullPtr; PxStsBadSize for a width below 1, or a height below 2 at
 * level 0 and below 1 at the other levels (a height of 1 there only copies, with copyLine). */
PX_API PxStatus pxDeinterlaceEdge(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size,
                                  int32_t field, int32_t copyLine);

#ifdef __cplusplus
}
#endif

#endif /* KESTRIX_PX_H */
