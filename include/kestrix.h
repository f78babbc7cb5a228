/*
 * Kestrix: frame processing for live-video surveillance clients.
 *
 * The 18 exported functions of Kestrix.dll / libkestrix.so. A frame crosses this boundary as a
 * BITMAPINFOHEADER plus a separate block of pixels (no colour table); rectangles as arrays of RECT;
 * windows as 32-bit integers. Results differ from export to export; each declaration says its own.
 */
#ifndef KESTRIX_H
#define KESTRIX_H

#include <stdint.h>

#if defined(_WIN32)
#include <windows.h>
#define KX_API
#else
#define KX_API __attribute__((visibility("default")))

/* The platform's 40-byte DIB header, field for field. */
typedef struct tagBITMAPINFOHEADER {
    uint32_t biSize;
    int32_t biWidth;
    int32_t biHeight;
    uint16_t biPlanes;
    uint16_t biBitCount;
    uint32_t biCompression;
    uint32_t biSizeImage;
    int32_t biXPelsPerMeter;
    int32_t biYPelsPerMeter;
    uint32_t biClrUsed;
    uint32_t biClrImportant;
} BITMAPINFOHEADER;

/* Four signed 32-bit values; never long, which is 64-bit here. */
typedef struct tagRECT {
    int32_t left;
    int32_t top;
    int32_t right;
    int32_t bottom;
} RECT;
#endif

#ifdef __cplusplus
#include <cstddef>
static_assert(sizeof(BITMAPINFOHEADER) == 40, "BITMAPINFOHEADER is 40 bytes");
static_assert(offsetof(BITMAPINFOHEADER, biWidth) == 4 && offsetof(BITMAPINFOHEADER, biHeight) == 8 &&
                  offsetof(BITMAPINFOHEADER, biPlanes) == 12 && offsetof(BITMAPINFOHEADER, biBitCount) == 14 &&
                  offsetof(BITMAPINFOHEADER, biCompression) == 16 && offsetof(BITMAPINFOHEADER, biSizeImage) == 20 &&
                  offsetof(BITMAPINFOHEADER, biXPelsPerMeter) == 24 && offsetof(BITMAPINFOHEADER, biClrUsed) == 32 &&
                  offsetof(BITMAPINFOHEADER, biClrImportant) == 36,
              "BITMAPINFOHEADER has the platform's layout");
static_assert(sizeof(RECT) == 16 && offsetof(RECT, top) == 4 && offsetof(RECT, right) == 8 &&
                  offsetof(RECT, bottom) == 12,
              "RECT is four 32-bit values");
extern "C" {
#else
_Static_assert(sizeof(BITMAPINFOHEADER) == 40, "BITMAPINFOHEADER is 40 bytes");
_Static_assert(sizeof(RECT) == 16, "RECT is four 32-bit values");
#endif

/* ---- Motion detection. All four always return 1 (MotionOpen: the handle); a null handle is no error. */

/* A new detector with no zones, or null when memory fails. The handle is opaque. */
KX_API void *MotionOpen(void);
/* Replaces the zone set (empty and neighbour-contained rectangles dropped; none left: the whole
 * frame) and restarts the 30-frame warm-up. Sensitivity 0 (least) to 9 (most). */
KX_API int32_t MotionInit(void *detector, int32_t sensitivity, const RECT *zones, int32_t zoneCount);
/* Compares a bottom-up 16- or 24-bit frame with the previous one; bit i of *mask is set for zone i
 * (of the normalised set, i < 8) in motion. *mask is set to 0 first in every case. */
KX_API int32_t MotionCompare(void *detector, const BITMAPINFOHEADER *frame, const uint8_t *pixels, uint8_t *mask);
/* Destroys the detector. */
KX_API int32_t MotionClose(void *detector);

/* ---- Exposure. */

/* Mean luminance of packed 3-byte pixels; byteCount must be a non-zero multiple of 3. */
KX_API int32_t BmpGetYDc(const uint8_t *pixels, uint32_t byteCount);
/* Step gain (32..127) and shutter (32..511) by at most one move. Results 1, 0, -1: the shutter's
 * relation to its floor of 32. */
KX_API int32_t ChangeGain(const int32_t *luma, int32_t *gain, int32_t *shutter);
KX_API int32_t ChangeGain2(const int32_t *luma, int32_t shutterWidth, int32_t *gain, int32_t *shutter);
/* Steps gain, shutter and stage by the ten settings of kestrix.ini. Result 0, 1 or 3: the kind of move. */
KX_API int32_t ChangeGain3(const int32_t *luma, int32_t shutterWidth, int32_t *stage, int32_t *gain,
                           int32_t *shutter);

/* ---- Bitmap operations. */

/* Weaves two stacked fields in place (mode 1), then deinterlaces the luminance (mode 2).
 * 1 done, 0 bad argument, -1 unknown mode or scratch too small. */
KX_API int32_t BmpProcess(const BITMAPINFOHEADER *frame, uint8_t *bits, int32_t size, uint8_t *scratch,
                          int32_t scratchSize, int32_t mode);
/* Scale and filter a DIB. 0 done, -1 null pointer, -2 size field too small, -3 scale too large
 * (also where a source side of 0 leaves the geometry nothing to divide by). */
KX_API int32_t BmpStretchDIB(const BITMAPINFOHEADER *source, const uint8_t *sourceBits, BITMAPINFOHEADER *dest,
                             uint8_t *destBits, uint8_t *work, int32_t scale, int32_t passes);
KX_API int32_t BmpStretchDIBEx(const BITMAPINFOHEADER *source, const uint8_t *sourceBits, BITMAPINFOHEADER *dest,
                               uint8_t *destBits, uint8_t *work, int32_t scale, int32_t passes,
                               const int32_t *kernel, int32_t divisor);
KX_API int32_t BmpStretchDIBEx2(const BITMAPINFOHEADER *frame, uint8_t *bits, uint8_t *work, int32_t passes,
                                const int32_t *kernel, int32_t divisor);

/* ---- Painting. Both return 1 when the frame was handled and 0 for a null header. The frame's
 * biHeight is negated for the length of the call and put back. Texts are 16-bit in
 * JpegDecompress2; in JpegDecompress3 when wideText is non-zero. */
KX_API int32_t JpegDecompress2(int32_t window, int32_t width, int32_t height, const RECT *zones, int32_t zoneCount,
                               BITMAPINFOHEADER *frame, const uint8_t *pixels, const void *topLeftText,
                               int32_t topLeftLength, int32_t textState, const void *bottomRightText,
                               int32_t bottomRightLength);
/* As JpegDecompress2; the three unused arguments are never read. A resize lands in resizeTarget
 * when it is not null and useResizeTarget is non-zero. */
KX_API int32_t JpegDecompress3(int32_t window, int32_t width, int32_t height, const RECT *zones, int32_t zoneCount,
                               BITMAPINFOHEADER *frame, const uint8_t *pixels, const void *topLeftText,
                               int32_t topLeftLength, int32_t textState, const void *bottomRightText,
                               int32_t bottomRightLength, intptr_t unused1, intptr_t unused2, intptr_t unused3,
                               uint8_t *resizeTarget, int32_t useResizeTarget, int32_t wideText);

/* ---- Kept for old clients; they read no argument and do nothing. */
KX_API int32_t IsGreenMode(void);         /* always 0 */
KX_API int32_t JpegGetYDc(void);          /* always 0, same body as IsGreenMode */
KX_API int32_t JpegDecompress(void);      /* always 1 */
KX_API int32_t JpegDecompressToBmp(void); /* always 1, same body as JpegDecompress */

#ifdef __cplusplus
}
#endif

#endif /* KESTRIX_H */
