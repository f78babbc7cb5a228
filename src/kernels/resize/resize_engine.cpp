#include "kernels/resize/resize_engine.h"

#include <algorithm>

#include "kernels/resize/resize_image.h"

namespace px {
namespace {

// Lifts a position that lies a hair below a whole number, after the rounding of a running sum,
// onto that number.
constexpr double kE = 1e-7;

// A 32-bit product, wrapping as the 32-bit multiplication does.
int32_t mul32(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

}  // namespace

PxStatus scaledLength(double s, int32_t limit, int32_t *length) {
    int32_t n = truncateToInt32(s + kE);
    if (n >= limit) {
        n = limit;
    } else if (n < 1) {
        if (s + kE < 0.5) return PxStsNoResult;
        n = 1;
    }
    *length = n;
    return PxStsOk;
}

namespace {

// Output length of an axis when the factor is the step itself; s is the source span over the step.
int32_t steppedLength(double s, int32_t limit, bool nearest) {
    const int32_t c = truncateToInt32(s + kE);
    if (c < limit - 1) return std::max(1, nearest ? c : c + 1);
    return limit;
}

// Nearest: the entry is the truncated position times the scale. The position is not held to the
// rectangle: past it the image's own pixels are taken. Only a position past the image's last pixel
// (limit), which the half-step origin of a shrink can reach at the image's edge, is brought back
// onto that pixel, so that nothing outside the image is read.
void nearestTable(int32_t *index, int32_t count, double position, double step, int32_t limit, int32_t scale) {
    for (int32_t k = 0; k < count; ++k) {
        index[k] = mul32(std::min(truncateToInt32(position + kE), limit), scale);
        position += step;  // a running sum: its rounding is part of the result
    }
}

// Linear: the entry of the first pixel of each pair (the upper row, the left column) and the
// weight of the second; columns keep both weights, left then right, rows only the lower one. At
// the image's own last row or column (limit) the pair moves back one and the second takes it all.
void linearTable(int32_t *index, uint16_t *weight, bool weightPairs, int32_t count, double position, double step,
                 int32_t limit, int32_t scale) {
    for (int32_t k = 0; k < count; ++k) {
        const int32_t i = truncateToInt32(position + kE);
        int32_t w = 16384;
        if (i == limit) {
            index[k] = mul32(i - 1, scale);
        } else {
            index[k] = mul32(i, scale);
            w = truncateToInt32((position - i) * 16384.0 + kE);
        }
        if (weightPairs) {
            weight[2 * k] = static_cast<uint16_t>(16384 - w);
            weight[2 * k + 1] = static_cast<uint16_t>(w);
        } else {
            weight[k] = static_cast<uint16_t>(w);
        }
        position += step;
    }
}

// Cubic: the four taps (entry - 1 to entry + 2) never leave the image. Beside the image's first
// pixel the entry slides on by one and the fraction runs in -1..0, beside its next-to-last pixel it
// slides back by one and the fraction runs in 1..2, and the last pixel is reached from two before
// it at a fraction of exactly 2.0. origin is the rectangle's place on this axis, size the image's.
void cubicTable(int32_t *index, float *fraction, int32_t count, double position, double step, int32_t origin,
                int32_t size, int32_t scale) {
    for (int32_t k = 0; k < count; ++k) {
        const int32_t i = truncateToInt32(position + kE);
        const int64_t a = int64_t{i} + origin;
        if (a == size - 1) {
            index[k] = mul32(i - 2, scale);
            fraction[k] = 2.0f;
        } else {
            const int32_t b = a == 0 ? i + 1 : a == size - 2 ? i - 1 : i;
            index[k] = mul32(b, scale);
            fraction[k] = static_cast<float>(position - b);
        }
        position += step;
    }
}

// Lanczos: the entry is the whole part of the position and the fraction the rest, with no edge
// rule; the image function keeps the taps inside the image.
void lanczosTable(int32_t *index, float *fraction, int32_t count, double position, double step, int32_t scale) {
    for (int32_t k = 0; k < count; ++k) {
        const int32_t i = truncateToInt32(position + kE);
        index[k] = mul32(i, scale);
        fraction[k] = static_cast<float>(position - i);
        position += step;
    }
}

// Element counts that do not fit the 32-bit count of the allocators fail as exhausted memory.
int32_t allocCount(int64_t count) { return count > INT32_MAX ? 0 : static_cast<int32_t>(count); }

}  // namespace

PxStatus resizeEngine(const ResizeImageFunctions &functions, const void *src, int32_t srcWidth, int32_t srcHeight,
                      int32_t srcStep, PxRect *srcRect, void *dst, int32_t dstStep, PxSize dstSize, double xFactor,
                      double yFactor, double xShift, double yShift, int32_t pixelStride, int32_t channels,
                      int32_t dataType, int32_t planar, int32_t interpolation, int32_t factorsAreScale) {
    if (src == nullptr || dst == nullptr) return PxStsNullPtr;
    if (srcWidth < 1 || srcHeight < 1) return PxStsBadSize;
    PxRect &rect = *srcRect;
    if (rect.x < 0 || rect.y < 0 || rect.width < 1 || rect.height < 1) return PxStsBadSize;
    if (srcWidth <= rect.x || srcHeight <= rect.y) return PxStsNoIntersection;
    if (dstSize.width < 1 || dstSize.height < 1) return PxStsBadSize;
    if (xFactor <= 0.0 || yFactor <= 0.0) return PxStsBadFactor;
    if (interpolation != PxNearest && interpolation != PxLinear && interpolation != PxCubic &&
        interpolation != PxLanczos)
        return PxStsBadInterpolation;

    // Lowered on the whole source, never on the rectangle: the taps of the wider kernels need that
    // many pixels of image around them.
    if (srcWidth < 8 || srcHeight < 8) {
        if (interpolation == PxLanczos) interpolation = PxCubic;
        if (srcWidth < 4 || srcHeight < 4) {
            if (interpolation == PxCubic) interpolation = PxLinear;
            if (srcWidth < 2 || srcHeight < 2) interpolation = PxNearest;
        }
    }
    const bool nearest = interpolation == PxNearest;

    if (int64_t{rect.x} + rect.width > srcWidth) rect.width = srcWidth - rect.x;
    if (int64_t{rect.y} + rect.height > srcHeight) rect.height = srcHeight - rect.y;
    const int32_t rw = rect.width;
    const int32_t rh = rect.height;

    int32_t dstW = 0, dstH = 0;
    double xStep, yStep, x0, y0;
    if (factorsAreScale == 1) {
        const double sx = rw * xFactor;
        const double sy = rh * yFactor;
        if (const PxStatus s = scaledLength(sx, dstSize.width, &dstW); s != PxStsOk) return s;
        if (const PxStatus s = scaledLength(sy, dstSize.height, &dstH); s != PxStsOk) return s;
        if (nearest) {
            // The grid is centred on the output pixels.
            xStep = 1.0 / xFactor;
            yStep = 1.0 / yFactor;
            x0 = xStep * 0.5;
            y0 = yStep * 0.5;
        } else {
            // The first output pixel lies on the rectangle's first pixel, and for a whole sx the last
            // one on its last pixel.
            xStep = sx > 1.0 ? (rw - 1) / (sx - 1.0) : 0.0;
            yStep = sy > 1.0 ? (rh - 1) / (sy - 1.0) : 0.0;
            x0 = 0.0;
            y0 = 0.0;
        }
    } else {
        dstW = steppedLength((nearest ? rw : rw - 1) / xFactor, dstSize.width, nearest);
        dstH = steppedLength((nearest ? rh : rh - 1) / yFactor, dstSize.height, nearest);
        xStep = xFactor;
        yStep = yFactor;
        x0 = nearest ? xFactor * 0.5 : 0.0;
        y0 = nearest ? yFactor * 0.5 : 0.0;
    }

    // Only slot 0 of the image tables is built: 8-bit samples, interleaved, three channels. Other
    // layouts end here, after every check, before anything is allocated.
    if (dataType != PxData8u || planar != 0 || channels != 3) return PxStsBadInterpolation;

    // Each product of the origin is formed in 32 bits and extended with its sign.
    const uint8_t *origin =
        static_cast<const uint8_t *>(src) + int64_t{mul32(rect.y, srcStep)} + int64_t{mul32(rect.x, pixelStride)};
    auto *out = static_cast<uint8_t *>(dst);

    // Everything is in hand before the image function runs, so a failed allocation writes nothing.
    void *held[16] = {};
    int heldCount = 0;
    auto hold = [&](void *block) {
        held[heldCount++] = block;
        return block != nullptr;
    };
    auto releaseAll = [&] {
        for (int k = 0; k < heldCount; ++k) pxFree(held[k]);
    };
    auto outOfMemory = [&] {
        releaseAll();
        return PxStsNoMem;
    };

    auto *yIndex = reinterpret_cast<int32_t *>(pxAlloc32(dstH));
    if (!hold(yIndex)) return outOfMemory();
    auto *xIndex = reinterpret_cast<int32_t *>(pxAlloc32(dstW));
    if (!hold(xIndex)) return outOfMemory();

    if (nearest) {
        // 8-bit data: the steps in elements are the steps in bytes.
        nearestTable(yIndex, dstH, y0 + yShift, yStep, srcHeight - rect.y - 1, srcStep);
        nearestTable(xIndex, dstW, x0 + xShift, xStep, srcWidth - rect.x - 1, pixelStride);
        functions.nearest(origin, out, dstStep, dstW, dstH, yIndex, xIndex, pixelStride);
        releaseAll();
        return PxStsOk;
    }

    // A row buffer holds 3 * dstW samples of three channels, and 12 to spare.
    const int32_t bufferCount = allocCount(3 * int64_t{dstW} + 12);

    if (interpolation == PxLinear) {
        uint16_t *yWeight = pxAlloc16(dstH);
        if (!hold(yWeight)) return outOfMemory();
        // The edge limits mark the image's own last row and column, counted from the rectangle.
        linearTable(yIndex, yWeight, false, dstH, y0 + yShift, yStep, srcHeight - rect.y - 1, srcStep);
        uint16_t *xWeight = pxAlloc16(allocCount(2 * int64_t{dstW}));
        if (!hold(xWeight)) return outOfMemory();
        linearTable(xIndex, xWeight, true, dstW, x0 + xShift, xStep, srcWidth - rect.x - 1, pixelStride);

        uint16_t *bufferA = pxAlloc16(bufferCount);
        if (!hold(bufferA)) return outOfMemory();
        uint16_t *bufferB = pxAlloc16(bufferCount);
        if (!hold(bufferB)) return outOfMemory();

        functions.linear(origin, out, srcStep, dstStep, dstW, dstH, yIndex, xIndex, yWeight, xWeight, bufferA,
                         bufferB, pixelStride, channels);
        releaseAll();
        return PxStsOk;
    }

    auto allocFloats = [](int64_t count) { return reinterpret_cast<float *>(pxAlloc32(allocCount(count))); };
    float *yFraction = allocFloats(dstH);
    if (!hold(yFraction)) return outOfMemory();
    if (interpolation == PxCubic) {
        cubicTable(yIndex, yFraction, dstH, y0 + yShift, yStep, rect.y, srcHeight, srcStep);
    } else {
        lanczosTable(yIndex, yFraction, dstH, y0 + yShift, yStep, srcStep);
    }
    float *xFraction = allocFloats(dstW);
    if (!hold(xFraction)) return outOfMemory();
    if (interpolation == PxCubic) {
        cubicTable(xIndex, xFraction, dstW, x0 + xShift, xStep, rect.x, srcWidth, pixelStride);
        float *rows[4] = {};
        for (float *&row : rows) {
            row = allocFloats(bufferCount);
            if (!hold(row)) return outOfMemory();
        }
        functions.cubic(origin, out, srcStep, dstStep, dstW, dstH, yIndex, xIndex, yFraction, xFraction, rows,
                        pixelStride, channels);
        releaseAll();
        return PxStsOk;
    }

    lanczosTable(xIndex, xFraction, dstW, x0 + xShift, xStep, pixelStride);
    float *xCoefficients = allocFloats(6 * int64_t{dstW});
    if (!hold(xCoefficients)) return outOfMemory();
    float *yCoefficients = allocFloats(6 * int64_t{dstH});
    if (!hold(yCoefficients)) return outOfMemory();
    functions.coefficients(xFraction, dstW, xCoefficients, pxLanczosKernel);
    functions.coefficients(yFraction, dstH, yCoefficients, pxLanczosKernel);
    float *buffers[6] = {};
    for (float *&buffer : buffers) {
        buffer = allocFloats(bufferCount);
        if (!hold(buffer)) return outOfMemory();
    }
    // When enlarging (a scale of 1.0 or more, or a step below 1.0) the rows move on by one at most
    // per output row, and the image function takes its simpler walk.
    const bool scaleAtLeastOne = yFactor >= 1.0;
    const int32_t rowsNotThinned = (factorsAreScale == 1) == scaleAtLeastOne ? 1 : 0;
    functions.lanczos(origin, out, srcStep, dstStep, dstW, dstH, yIndex, xIndex, yCoefficients, xCoefficients,
                      buffers, rect.x, rect.y, srcWidth - rect.x, srcHeight - rect.y, rowsNotThinned, pixelStride,
                      channels);
    releaseAll();
    return PxStsOk;
}

const ResizeImageFunctions kLevel0Images = {pxNearestImage, pxLinearImage, pxCubicImage, pxLanczosImage,
                                            pxResizeCoefficients, pxSuperC3};

PxStatus pxResizeEngine(const void *src, int32_t srcWidth, int32_t srcHeight, int32_t srcStep, PxRect *srcRect,
                        void *dst, int32_t dstStep, PxSize dstSize, double xFactor, double yFactor, double xShift,
                        double yShift, int32_t pixelStride, int32_t channels, int32_t dataType, int32_t planar,
                        int32_t interpolation, int32_t factorsAreScale) {
    return resizeEngine(kLevel0Images, src, srcWidth, srcHeight, srcStep, srcRect, dst, dstStep, dstSize, xFactor,
                        yFactor, xShift, yShift, pixelStride, channels, dataType, planar, interpolation,
                        factorsAreScale);
}

}  // namespace px
