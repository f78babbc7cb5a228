#include <algorithm>
#include <cmath>
#include <type_traits>

#include "kernels/resize/resize_engine.h"
#include "kernels/resize/resize_image.h"
#include "kernels/resize/resize_rules.h"

namespace px {
namespace {

constexpr double kE = kSuperSnap;

// The line keeps three accumulators per source pixel, packed, whatever the pixel stride.
constexpr int32_t kChannels = 3;

}  // namespace

namespace {

// The passes of a level, chosen by the line's accumulator.
void addFull(const SuperPasses &p, uint32_t *line, const uint8_t *row, int32_t span, int32_t pixelStride) {
    p.addWhole(line, row, span, pixelStride);
}
void addFull(const SuperPasses &p, float *line, const uint8_t *row, int32_t span, int32_t pixelStride) {
    p.add(line, row, span, pixelStride);
}
void collapseWhole(const SuperPasses &p, uint32_t *line, int32_t span, int64_t blockX) {
    p.collapseWhole(line, span, blockX);
}
void collapseWhole(const SuperPasses &p, float *line, int32_t span, int64_t blockX) {
    p.collapseWholeFloat(line, span, blockX);
}
void storeCells(const SuperPasses &p, uint8_t *dst, const uint32_t *line, int32_t dstW, int32_t pixelStride,
                double area) {
    p.storeWhole(dst, line, dstW, pixelStride, area);
}
void storeCells(const SuperPasses &p, uint8_t *dst, const float *line, int32_t dstW, int32_t pixelStride,
                double area) {
    p.storeFloat(dst, line, dstW, pixelStride, area);
}

// Integer accumulators in SuperIntegral, floats otherwise.
template <typename Accumulator>
void superImage(const SuperPasses &passes, const SuperJob &job, Accumulator *line, int32_t lineBytes) {
    const int32_t span = job.span, pixelStride = job.pixelStride, rowsLeft = job.rowsLeft;
    const double invX = job.invX, invY = job.invY;
    const SuperMode mode = job.mode;
    uint8_t *dst = job.dst;
    const auto blockX = static_cast<int64_t>(std::floor(invX));
    const auto blockY = static_cast<int64_t>(std::floor(invY));
    const bool wholeRows = mode == SuperIntegral || mode == SuperFractionX;
    const bool wholeColumns = mode == SuperIntegral || mode == SuperFractionY;

    // The source row, counted from the rectangle. Rows from the image's end on are not read: only a
    // rectangle lower than one cell gets there, and such a row counts as zero.
    int64_t row = 0;
    auto rowAt = [&](int64_t r) { return job.src + r * job.srcStep; };
    auto addRows = [&](int64_t count) {
        const int64_t end = row + count;
        for (; row < std::min<int64_t>(end, rowsLeft); ++row) addFull(passes, line, rowAt(row), span, pixelStride);
        row = end;
    };
    auto addWeighted = [&](double weight) {
        if constexpr (std::is_same_v<Accumulator, float>) {
            if (row < rowsLeft) passes.addWeighted(line, rowAt(row), span, pixelStride, weight);
        }
    };

    double f = invY - static_cast<double>(blockY);  // the share of the current row still owed
    for (int32_t r = 0; r < job.dstH; ++r) {
        pxZero(line, lineBytes);
        if (wholeRows) {
            addRows(blockY);
        } else if (r == 0) {
            // The first cell's tail row is added at f with no threshold, and stays the current row.
            addRows(blockY);
            addWeighted(f);
        } else {
            const double head = 1.0 - f;
            const double rest = invY - head;
            const double count = std::floor(rest + kE);
            f = rest - count;
            if (head > kE) {
                addWeighted(head);
                ++row;
            }
            if (count > 0) addRows(static_cast<int64_t>(count));
            if (f > kE) addWeighted(f);  // this row is the next cell's head
        }
        if constexpr (std::is_same_v<Accumulator, float>) {
            if (!wholeColumns) {
                passes.collapseFraction(line, span, blockX, invX);
            } else {
                collapseWhole(passes, line, span, blockX);
            }
        } else {
            collapseWhole(passes, line, span, blockX);
        }
        storeCells(passes, dst, line, job.dstW, pixelStride, job.area);
        dst += job.dstStep;
    }
}

}  // namespace

PxStatus superC3_ref(const SuperJob &job) {
    static constexpr SuperPasses kPlain = {superAddRow,        superAddRow,           superAddRowWeighted,
                                           superCollapseWhole, superCollapseWhole,    superCollapseFraction,
                                           superStore,         superStore,            nullptr};
    return superEngine(kPlain, job);
}

PxStatus superEngine(const SuperPasses &passes, const SuperJob &job) {
    // A span below 1 gets no line, as the allocator gives none for it. The line reaches one zeroed
    // entry beyond both the span and the output width: a span that the single-precision width cut
    // below dstW, and a vanishing head at the line's end, read zeros there. One more entry is room
    // for the spare lane of the vector forms, which load a pixel's three accumulators as four.
    if (job.span < 1) return PxStsNoMem;
    const int64_t bytes = (int64_t{std::max(job.span, job.dstW)} + 2) * kChannels * 4;
    if (bytes > INT32_MAX) return PxStsNoMem;
    void *line = pxAlloc(static_cast<int32_t>(bytes));
    if (line == nullptr) return PxStsNoMem;
    if (job.mode == SuperIntegral && passes.integralCells && passes.integralCells(job)) {
        pxFree(line);
        return PxStsOk;
    }
    if (job.mode == SuperIntegral) {
        superImage(passes, job, static_cast<uint32_t *>(line), static_cast<int32_t>(bytes));
    } else {
        superImage(passes, job, static_cast<float *>(line), static_cast<int32_t>(bytes));
    }
    pxFree(line);
    return PxStsOk;
}

PxStatus pxResizeSuper(const void *src, PxSize srcSize, int32_t srcStep, PxRect *srcRect, void *dst, int32_t dstStep,
                       PxSize dstSize, double xFactor, double yFactor, int32_t pixelStride, int32_t channels,
                       int32_t dataType, int32_t planar) {
    return resizeSuper(superC3_ref, {src, srcSize, srcStep, srcRect, dst, dstStep, dstSize, xFactor, yFactor,
                                     pixelStride, channels, dataType, planar});
}

namespace {

PxStatus checkCall(const SuperCall &call) {
    if (call.src == nullptr || call.dst == nullptr) return PxStsNullPtr;
    const PxRect &rect = *call.srcRect;
    if (call.srcSize.width < 1 || call.srcSize.height < 1 || rect.x < 0 || rect.y < 0 || rect.width < 1 ||
        rect.height < 1)
        return PxStsBadSize;
    if (rect.x >= call.srcSize.width || rect.y >= call.srcSize.height) return PxStsNoIntersection;
    if (call.dstSize.width < 1 || call.dstSize.height < 1) return PxStsBadSize;
    if (!(call.xFactor > 0.0) || !(call.yFactor > 0.0)) return PxStsBadFactor;
    return PxStsOk;
}

// A ratio within 1e-7 above a whole number counts as whole.
SuperMode modeOf(double invX, double invY) {
    double fx = invX - std::trunc(invX);
    const double fy = invY - std::trunc(invY);
    if (fx < kE) fx = 0.0;
    if (fy < kE || fy == 0.0) return fx != 0.0 ? SuperFractionX : SuperIntegral;
    return fx != 0.0 ? SuperFractionXY : SuperFractionY;
}

}  // namespace

PxStatus resizeSuper(SuperEngine engine, const SuperCall &call) {
    if (const PxStatus s = checkCall(call); s != PxStsOk) return s;

    // Clipped through the pointer, so the rectangle stays clipped when no result follows.
    PxRect &rect = *call.srcRect;
    if (int64_t{rect.x} + rect.width > call.srcSize.width) rect.width = call.srcSize.width - rect.x;
    if (int64_t{rect.y} + rect.height > call.srcSize.height) rect.height = call.srcSize.height - rect.y;
    SuperJob job{};
    if (const PxStatus s = scaledLength(rect.width * call.xFactor, call.dstSize.width, &job.dstW); s != PxStsOk)
        return s;
    if (const PxStatus s = scaledLength(rect.height * call.yFactor, call.dstSize.height, &job.dstH); s != PxStsOk)
        return s;

    job.invX = 1.0 / call.xFactor;
    job.invY = 1.0 / call.yFactor;
    job.area = call.xFactor * call.yFactor;
    // dstW + 1 passes through single precision on purpose. Rows have no such count: the engine walks
    // rows until dstH are done.
    const double cells = static_cast<double>(static_cast<float>(job.dstW + 1));
    job.span =
        static_cast<int32_t>(std::min<int64_t>(int64_t{truncateToInt32(cells * job.invX)} + 1, rect.width));
    job.mode = modeOf(job.invX, job.invY);

    // Only the 8-bit interleaved three-channel engine is built, the one pxResizeC3 reaches, and only
    // for shrinking, where a cell is at least one pixel wide: pxResizeC3 sends nothing else here.
    if (call.dataType != PxData8u || call.planar != 0 || call.channels == 1 || call.channels == 4 ||
        call.pixelStride < 3 || call.xFactor > 1.0 || call.yFactor > 1.0)
        return PxStsBadInterpolation;
    job.src = static_cast<const uint8_t *>(call.src) + int64_t{rect.y} * call.srcStep +
              int64_t{rect.x} * call.pixelStride;
    job.dst = static_cast<uint8_t *>(call.dst);
    job.srcStep = call.srcStep;
    job.dstStep = call.dstStep;
    job.pixelStride = call.pixelStride;
    job.rowsLeft = call.srcSize.height - rect.y;
    return engine(job);
}

}  // namespace px
