#include "kernels/resize/resize_engine.h"

#include <algorithm>

#include "kernels/resize/resize_image.h"
#include "kernels/resize/resize_rules.h"

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

namespace {

PxStatus checkCall(const ResizeCall &call) {
    if (call.src == nullptr || call.dst == nullptr) return PxStsNullPtr;
    if (call.srcWidth < 1 || call.srcHeight < 1) return PxStsBadSize;
    const PxRect &rect = *call.srcRect;
    if (rect.x < 0 || rect.y < 0 || rect.width < 1 || rect.height < 1) return PxStsBadSize;
    if (call.srcWidth <= rect.x || call.srcHeight <= rect.y) return PxStsNoIntersection;
    if (call.dstSize.width < 1 || call.dstSize.height < 1) return PxStsBadSize;
    if (call.xFactor <= 0.0 || call.yFactor <= 0.0) return PxStsBadFactor;
    const int32_t i = call.interpolation;
    if (i != PxNearest && i != PxLinear && i != PxCubic && i != PxLanczos) return PxStsBadInterpolation;
    return PxStsOk;
}

// Lowered on the whole source, never on the rectangle: the taps of the wider kernels need that many
// pixels of image around them.
int32_t loweredInterpolation(int32_t interpolation, int32_t srcWidth, int32_t srcHeight) {
    if (srcWidth < 8 || srcHeight < 8) {
        if (interpolation == PxLanczos) interpolation = PxCubic;
        if (srcWidth < 4 || srcHeight < 4) {
            if (interpolation == PxCubic) interpolation = PxLinear;
            if (srcWidth < 2 || srcHeight < 2) interpolation = PxNearest;
        }
    }
    return interpolation;
}

// The output size and the sampling grid of a call: the first position and the step on each axis.
struct Geometry {
    int32_t interpolation;
    int32_t dstW, dstH;
    double xStep, yStep, x0, y0;
};

// Clips the rectangle (written back) and derives the output size and the grid.
PxStatus geometryOf(const ResizeCall &call, Geometry *geometry) {
    Geometry &g = *geometry;
    g.interpolation = loweredInterpolation(call.interpolation, call.srcWidth, call.srcHeight);
    const bool nearest = g.interpolation == PxNearest;

    PxRect &rect = *call.srcRect;
    if (int64_t{rect.x} + rect.width > call.srcWidth) rect.width = call.srcWidth - rect.x;
    if (int64_t{rect.y} + rect.height > call.srcHeight) rect.height = call.srcHeight - rect.y;
    const int32_t rw = rect.width;
    const int32_t rh = rect.height;

    if (call.factorsAreScale != 1) {
        g.dstW = steppedLength((nearest ? rw : rw - 1) / call.xFactor, call.dstSize.width, nearest);
        g.dstH = steppedLength((nearest ? rh : rh - 1) / call.yFactor, call.dstSize.height, nearest);
        g.xStep = call.xFactor;
        g.yStep = call.yFactor;
        g.x0 = nearest ? call.xFactor * 0.5 : 0.0;
        g.y0 = nearest ? call.yFactor * 0.5 : 0.0;
        return PxStsOk;
    }
    const double sx = rw * call.xFactor;
    const double sy = rh * call.yFactor;
    if (const PxStatus s = scaledLength(sx, call.dstSize.width, &g.dstW); s != PxStsOk) return s;
    if (const PxStatus s = scaledLength(sy, call.dstSize.height, &g.dstH); s != PxStsOk) return s;
    if (nearest) {
        // The grid is centred on the output pixels.
        g.xStep = 1.0 / call.xFactor;
        g.yStep = 1.0 / call.yFactor;
        g.x0 = g.xStep * 0.5;
        g.y0 = g.yStep * 0.5;
    } else {
        // The first output pixel lies on the rectangle's first pixel, and for a whole sx the last one
        // on its last pixel.
        g.xStep = sx > 1.0 ? (rw - 1) / (sx - 1.0) : 0.0;
        g.yStep = sy > 1.0 ? (rh - 1) / (sy - 1.0) : 0.0;
        g.x0 = 0.0;
        g.y0 = 0.0;
    }
    return PxStsOk;
}

// The blocks of one call's tables and buffers, freed when the call ends. Everything is in hand
// before the image function runs, so a failed allocation writes nothing.
class Blocks {
public:
    Blocks() = default;
    Blocks(const Blocks &) = delete;
    Blocks &operator=(const Blocks &) = delete;
    ~Blocks() {
        for (int k = 0; k < count_; ++k) pxFree(held_[k]);
    }
    // Keeps block and hands it out through into; false if the allocation failed.
    template <typename T> bool take(T *block, T *&into) {
        held_[count_++] = block;
        into = block;
        return block != nullptr;
    }
    static uint16_t *words(int64_t count) { return pxAlloc16(allocCount(count)); }
    static int32_t *indices(int64_t count) { return reinterpret_cast<int32_t *>(pxAlloc32(allocCount(count))); }
    static float *floats(int64_t count) { return reinterpret_cast<float *>(pxAlloc32(allocCount(count))); }

private:
    void *held_[16] = {};
    int count_ = 0;
};

// Where the positions of an axis start and how far each output pixel moves them on.
struct Axis {
    double position, step;
};

// The tables of each interpolation and its row buffers, each of 3 * dstW samples of three channels
// and 12 to spare, allocated in the order of the tables. yIndex and xIndex are in hand already.
bool linearTables(const ResizeCall &call, Axis y, Axis x, int32_t *yIndex, int32_t *xIndex, ResizeJob &job,
                  Blocks &blocks) {
    const PxRect &rect = *call.srcRect;
    uint16_t *yWeight, *xWeight;
    if (!blocks.take(Blocks::words(job.dstH), yWeight)) return false;
    // The edge limits mark the image's own last row and column, counted from the rectangle.
    linearTable(yIndex, yWeight, false, job.dstH, y.position, y.step, call.srcHeight - rect.y - 1, call.srcStep);
    if (!blocks.take(Blocks::words(2 * int64_t{job.dstW}), xWeight)) return false;
    linearTable(xIndex, xWeight, true, job.dstW, x.position, x.step, call.srcWidth - rect.x - 1, call.pixelStride);
    job.yWeight = yWeight;
    job.xWeight = xWeight;
    const int64_t bufferCount = 3 * int64_t{job.dstW} + 12;
    return blocks.take(Blocks::words(bufferCount), job.bufferA) && blocks.take(Blocks::words(bufferCount), job.bufferB);
}

bool cubicTables(const ResizeCall &call, Axis y, Axis x, int32_t *yIndex, int32_t *xIndex, ResizeJob &job,
                 Blocks &blocks) {
    const PxRect &rect = *call.srcRect;
    float *yFraction, *xFraction;
    if (!blocks.take(Blocks::floats(job.dstH), yFraction)) return false;
    cubicTable(yIndex, yFraction, job.dstH, y.position, y.step, rect.y, call.srcHeight, call.srcStep);
    if (!blocks.take(Blocks::floats(job.dstW), xFraction)) return false;
    cubicTable(xIndex, xFraction, job.dstW, x.position, x.step, rect.x, call.srcWidth, call.pixelStride);
    job.yFraction = yFraction;
    job.xFraction = xFraction;
    for (int k = 0; k < 4; ++k)
        if (!blocks.take(Blocks::floats(3 * int64_t{job.dstW} + 12), job.rows[k])) return false;
    return true;
}

bool lanczosTables(const ResizeImageFunctions &functions, const ResizeCall &call, Axis y, Axis x, int32_t *yIndex,
                   int32_t *xIndex, ResizeJob &job, Blocks &blocks) {
    const PxRect &rect = *call.srcRect;
    float *yFraction, *xFraction, *xCoefficients, *yCoefficients;
    if (!blocks.take(Blocks::floats(job.dstH), yFraction)) return false;
    lanczosTable(yIndex, yFraction, job.dstH, y.position, y.step, call.srcStep);
    if (!blocks.take(Blocks::floats(job.dstW), xFraction)) return false;
    lanczosTable(xIndex, xFraction, job.dstW, x.position, x.step, call.pixelStride);
    if (!blocks.take(Blocks::floats(6 * int64_t{job.dstW}), xCoefficients)) return false;
    if (!blocks.take(Blocks::floats(6 * int64_t{job.dstH}), yCoefficients)) return false;
    functions.coefficients(xFraction, job.dstW, xCoefficients, pxLanczosKernel);
    functions.coefficients(yFraction, job.dstH, yCoefficients, pxLanczosKernel);
    job.yCoefficients = yCoefficients;
    job.xCoefficients = xCoefficients;
    for (float *&buffer : job.rows)
        if (!blocks.take(Blocks::floats(3 * int64_t{job.dstW} + 12), buffer)) return false;
    job.rectX = rect.x;
    job.rectY = rect.y;
    job.colsLeft = call.srcWidth - rect.x;
    job.rowsLeft = call.srcHeight - rect.y;
    // When enlarging (a scale of 1.0 or more, or a step below 1.0) the rows move on by one at most per
    // output row, and the image function takes its simpler walk.
    const bool scaleAtLeastOne = call.yFactor >= 1.0;
    job.rowsNotThinned = (call.factorsAreScale == 1) == scaleAtLeastOne ? 1 : 0;
    return true;
}

}  // namespace

PxStatus resizeEngine(const ResizeImageFunctions &functions, const ResizeCall &call) {
    if (const PxStatus s = checkCall(call); s != PxStsOk) return s;
    Geometry g{};
    if (const PxStatus s = geometryOf(call, &g); s != PxStsOk) return s;

    // Only slot 0 of the image tables is built: 8-bit samples, interleaved, three channels. Other
    // layouts end here, after every check, before anything is allocated.
    if (call.dataType != PxData8u || call.planar != 0 || call.channels != 3) return PxStsBadInterpolation;

    const PxRect &rect = *call.srcRect;
    ResizeJob job{};
    // Each product of the origin is formed in 32 bits and extended with its sign.
    job.src = static_cast<const uint8_t *>(call.src) + int64_t{mul32(rect.y, call.srcStep)} +
              int64_t{mul32(rect.x, call.pixelStride)};
    job.dst = static_cast<uint8_t *>(call.dst);
    job.srcStep = call.srcStep;
    job.dstStep = call.dstStep;
    job.dstW = g.dstW;
    job.dstH = g.dstH;
    job.pixelStride = call.pixelStride;
    job.channels = call.channels;

    Blocks blocks;
    int32_t *yIndex, *xIndex;
    if (!blocks.take(Blocks::indices(g.dstH), yIndex) || !blocks.take(Blocks::indices(g.dstW), xIndex))
        return PxStsNoMem;
    job.yIndex = yIndex;
    job.xIndex = xIndex;
    const Axis y{g.y0 + call.yShift, g.yStep};
    const Axis x{g.x0 + call.xShift, g.xStep};

    switch (g.interpolation) {
    case PxNearest:
        // 8-bit data: the steps in elements are the steps in bytes.
        nearestTable(yIndex, g.dstH, y.position, y.step, call.srcHeight - rect.y - 1, call.srcStep);
        nearestTable(xIndex, g.dstW, x.position, x.step, call.srcWidth - rect.x - 1, call.pixelStride);
        functions.nearest(job);
        return PxStsOk;
    case PxLinear:
        if (!linearTables(call, y, x, yIndex, xIndex, job, blocks)) return PxStsNoMem;
        functions.linear(job);
        return PxStsOk;
    case PxCubic:
        if (!cubicTables(call, y, x, yIndex, xIndex, job, blocks)) return PxStsNoMem;
        functions.cubic(job);
        return PxStsOk;
    default:
        if (!lanczosTables(functions, call, y, x, yIndex, xIndex, job, blocks)) return PxStsNoMem;
        functions.lanczos(job);
        return PxStsOk;
    }
}

const ResizeImageFunctions kLevel0Images = {pxNearestImage, pxLinearImage, pxCubicImage, pxLanczosImage,
                                            pxResizeCoefficients, superC3_ref};

PxStatus pxResizeEngine(const void *src, int32_t srcWidth, int32_t srcHeight, int32_t srcStep, PxRect *srcRect,
                        void *dst, int32_t dstStep, PxSize dstSize, double xFactor, double yFactor, double xShift,
                        double yShift, int32_t pixelStride, int32_t channels, int32_t dataType, int32_t planar,
                        int32_t interpolation, int32_t factorsAreScale) {
    return resizeEngine(kLevel0Images, {src, srcWidth, srcHeight, srcStep, srcRect, dst, dstStep, dstSize, xFactor,
                                        yFactor, xShift, yShift, pixelStride, channels, dataType, planar,
                                        interpolation, factorsAreScale});
}

}  // namespace px
