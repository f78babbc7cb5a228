#include <algorithm>
#include <cmath>
#include <type_traits>

#include "kernels/resize/resize_engine.h"
#include "kernels/resize/resize_image.h"

namespace px {
namespace {

constexpr double kE = kSuperSnap;

// The line keeps three accumulators per source pixel, packed, whatever the pixel stride.
constexpr int32_t kChannels = 3;

// Full add of span pixels: a plain 32-bit integer add in SuperIntegral, else each element as a float.
// Packed pixels make the row and the line one flat run, which the compiler takes in vector steps.
template <typename Accumulator>
void addRowOf(Accumulator *line, const uint8_t *row, int32_t span, int32_t pixelStride) {
    if (pixelStride == kChannels) {
        for (int32_t i = 0; i < kChannels * span; ++i) line[i] += static_cast<Accumulator>(row[i]);
        return;
    }
    for (int32_t e = 0; e < span; ++e)
        for (int32_t k = 0; k < kChannels; ++k)
            line[kChannels * e + k] += static_cast<Accumulator>(row[e * pixelStride + k]);
}

}  // namespace

// Weighted add: the product is formed in double and rounded to float before it is added.
void superAddRowWeighted(float *line, const uint8_t *row, int32_t span, int32_t pixelStride, double weight) {
    auto term = [weight](uint8_t element) { return static_cast<float>(static_cast<double>(element) * weight); };
    if (pixelStride == kChannels) {
        for (int32_t i = 0; i < kChannels * span; ++i) line[i] += term(row[i]);
        return;
    }
    for (int32_t e = 0; e < span; ++e)
        for (int32_t k = 0; k < kChannels; ++k) line[kChannels * e + k] += term(row[e * pixelStride + k]);
}

namespace {

// Whole cells of blockX entries, summed from zero in order in the accumulator's own type and written
// in place to entry k: the reads never fall behind the write. A line shorter than one block is left
// as it is.
template <typename Accumulator>
void collapseWholeOf(Accumulator *line, int32_t span, int64_t blockX) {
    if (span - blockX < 0) return;
    for (int64_t k = 0; k * blockX <= span - blockX; ++k)
        for (int32_t c = 0; c < kChannels; ++c) {
            Accumulator sum = 0;
            for (int64_t j = k * blockX; j < (k + 1) * blockX; ++j) sum += line[kChannels * j + c];
            line[kChannels * k + c] = sum;
        }
}

}  // namespace

void superFractionCells(float *line, int32_t span, int64_t blockX, double invX, SuperCellSum sum) {
    double g = invX - static_cast<double>(blockX);
    // Cell 0 takes its tail at g with no threshold.
    sum(line, {0, -1, 0.0, 0, std::min<int64_t>(blockX, span), blockX <= span ? blockX : -1, g});
    int64_t out = 1;
    int64_t pos = blockX;
    // The limit is span - blockX, not the output width.
    while (pos < span - blockX) {
        const double head = 1.0 - g;
        const double rest = invX - head;
        const double count = std::floor(rest + kE);
        g = rest - count;
        const auto whole = static_cast<int64_t>(count);
        SuperCell cell{out, -1, 0.0, pos + 1, whole, -1, 0.0};
        if (head > kE) {
            cell.head = pos;
            cell.headWeight = head;
        } else {
            // Unlike the rows, a vanishing head still takes the entry at pos, at weight 1, and one
            // more entry after it.
            cell.first = pos;
            cell.number = whole + 1;
        }
        pos += whole + 1;
        if (g > kE && pos < span) {
            cell.tail = pos;
            cell.tailWeight = g;
        }
        sum(line, cell);  // out stays behind pos
        ++out;
    }
}

void superCollapseFraction(float *line, int32_t span, int64_t blockX, double invX) {
    superFractionCells(line, span, blockX, invX, [](float *entries, const SuperCell &cell) {
        auto weighted = [&](int64_t e, int32_t c, double w) {
            return static_cast<float>(static_cast<double>(entries[kChannels * e + c]) * w);
        };
        float sum[kChannels] = {0.0f, 0.0f, 0.0f};
        if (cell.head >= 0)
            for (int32_t c = 0; c < kChannels; ++c) sum[c] = weighted(cell.head, c, cell.headWeight);
        for (int64_t j = cell.first; j < cell.first + cell.number; ++j)
            for (int32_t c = 0; c < kChannels; ++c) sum[c] += entries[kChannels * j + c];
        if (cell.tail >= 0)
            for (int32_t c = 0; c < kChannels; ++c) sum[c] += weighted(cell.tail, c, cell.tailWeight);
        std::copy(sum, sum + kChannels, entries + kChannels * cell.out);
    });
}

namespace {

// The mean is the cell times the inverse area, rounded half up; the low 8 bits are kept, so a cell
// that a vanishing head overweights wraps instead of saturating.
template <typename Accumulator>
void storeCellsOf(uint8_t *dst, const Accumulator *line, int32_t dstW, int32_t pixelStride, double area) {
    for (int32_t i = 0; i < dstW; ++i)
        for (int32_t k = 0; k < kChannels; ++k) {
            const double v = static_cast<double>(line[kChannels * i + k]) * area + 0.5;
            dst[i * pixelStride + k] = static_cast<uint8_t>(truncateToInt32(v) & 0xFF);
        }
}

}  // namespace

void superAddRow(uint32_t *line, const uint8_t *row, int32_t span, int32_t pixelStride) {
    addRowOf(line, row, span, pixelStride);
}
void superAddRow(float *line, const uint8_t *row, int32_t span, int32_t pixelStride) {
    addRowOf(line, row, span, pixelStride);
}
void superCollapseWhole(uint32_t *line, int32_t span, int64_t blockX) { collapseWholeOf(line, span, blockX); }
void superCollapseWhole(float *line, int32_t span, int64_t blockX) { collapseWholeOf(line, span, blockX); }
void superStore(uint8_t *dst, const uint32_t *line, int32_t dstW, int32_t pixelStride, double area) {
    storeCellsOf(dst, line, dstW, pixelStride, area);
}
void superStore(uint8_t *dst, const float *line, int32_t dstW, int32_t pixelStride, double area) {
    storeCellsOf(dst, line, dstW, pixelStride, area);
}

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
void superImage(const SuperPasses &passes, const uint8_t *src, uint8_t *dst, int32_t srcStep, int32_t dstStep,
                int32_t span, int32_t dstW, int32_t dstH, double invX, double invY, double area, SuperMode mode,
                int32_t pixelStride, int32_t rowsLeft, Accumulator *line, int32_t lineBytes) {
    const auto blockX = static_cast<int64_t>(std::floor(invX));
    const auto blockY = static_cast<int64_t>(std::floor(invY));
    const bool wholeRows = mode == SuperIntegral || mode == SuperFractionX;
    const bool wholeColumns = mode == SuperIntegral || mode == SuperFractionY;

    // The source row, counted from the rectangle. Rows from the image's end on are not read: only a
    // rectangle lower than one cell gets there, and such a row counts as zero.
    int64_t row = 0;
    auto rowAt = [&](int64_t r) { return src + r * srcStep; };
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
    for (int32_t r = 0; r < dstH; ++r) {
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
        storeCells(passes, dst, line, dstW, pixelStride, area);
        dst += dstStep;
    }
}

}  // namespace

PxStatus pxSuperC3(const uint8_t *src, uint8_t *dst, int32_t srcStep, int32_t dstStep, int32_t span, int32_t dstW,
                   int32_t dstH, double invX, double invY, double area, SuperMode mode, int32_t pixelStride,
                   int32_t rowsLeft) {
    static constexpr SuperPasses kPlain = {superAddRow,        superAddRow, superAddRowWeighted, superCollapseWhole,
                                           superCollapseWhole, superCollapseFraction, superStore, superStore};
    return superEngine(kPlain, src, dst, srcStep, dstStep, span, dstW, dstH, invX, invY, area, mode, pixelStride,
                       rowsLeft);
}

PxStatus superEngine(const SuperPasses &passes, const uint8_t *src, uint8_t *dst, int32_t srcStep, int32_t dstStep,
                     int32_t span, int32_t dstW, int32_t dstH, double invX, double invY, double area, SuperMode mode,
                     int32_t pixelStride, int32_t rowsLeft) {
    // A span below 1 gets no line, as the allocator gives none for it. The line reaches one zeroed
    // entry beyond both the span and the output width: a span that the single-precision width cut
    // below dstW, and a vanishing head at the line's end, read zeros there. One more entry is room
    // for the spare lane of the vector forms, which load a pixel's three accumulators as four.
    if (span < 1) return PxStsNoMem;
    const int64_t bytes = (int64_t{std::max(span, dstW)} + 2) * kChannels * 4;
    if (bytes > INT32_MAX) return PxStsNoMem;
    void *line = pxAlloc(static_cast<int32_t>(bytes));
    if (line == nullptr) return PxStsNoMem;
    if (mode == SuperIntegral) {
        superImage(passes, src, dst, srcStep, dstStep, span, dstW, dstH, invX, invY, area, mode, pixelStride, rowsLeft,
                   static_cast<uint32_t *>(line), static_cast<int32_t>(bytes));
    } else {
        superImage(passes, src, dst, srcStep, dstStep, span, dstW, dstH, invX, invY, area, mode, pixelStride, rowsLeft,
                   static_cast<float *>(line), static_cast<int32_t>(bytes));
    }
    pxFree(line);
    return PxStsOk;
}

PxStatus pxResizeSuper(const void *src, PxSize srcSize, int32_t srcStep, PxRect *srcRect, void *dst, int32_t dstStep,
                       PxSize dstSize, double xFactor, double yFactor, int32_t pixelStride, int32_t channels,
                       int32_t dataType, int32_t planar) {
    return resizeSuper(pxSuperC3, src, srcSize, srcStep, srcRect, dst, dstStep, dstSize, xFactor, yFactor, pixelStride,
                       channels, dataType, planar);
}

PxStatus resizeSuper(SuperEngine engine, const void *src, PxSize srcSize, int32_t srcStep, PxRect *srcRect, void *dst,
                     int32_t dstStep, PxSize dstSize, double xFactor, double yFactor, int32_t pixelStride,
                     int32_t channels, int32_t dataType, int32_t planar) {
    if (src == nullptr || dst == nullptr) return PxStsNullPtr;
    PxRect &rect = *srcRect;
    if (srcSize.width < 1 || srcSize.height < 1 || rect.x < 0 || rect.y < 0 || rect.width < 1 || rect.height < 1)
        return PxStsBadSize;
    if (rect.x >= srcSize.width || rect.y >= srcSize.height) return PxStsNoIntersection;
    if (dstSize.width < 1 || dstSize.height < 1) return PxStsBadSize;
    if (!(xFactor > 0.0) || !(yFactor > 0.0)) return PxStsBadFactor;

    // Clipped through the pointer, so the rectangle stays clipped when no result follows.
    if (int64_t{rect.x} + rect.width > srcSize.width) rect.width = srcSize.width - rect.x;
    if (int64_t{rect.y} + rect.height > srcSize.height) rect.height = srcSize.height - rect.y;
    int32_t dstW = 0, dstH = 0;
    if (const PxStatus s = scaledLength(rect.width * xFactor, dstSize.width, &dstW); s != PxStsOk) return s;
    if (const PxStatus s = scaledLength(rect.height * yFactor, dstSize.height, &dstH); s != PxStsOk) return s;

    const double invX = 1.0 / xFactor;
    const double invY = 1.0 / yFactor;
    const double area = xFactor * yFactor;
    // dstW + 1 passes through single precision on purpose. Rows have no such count: the engine walks
    // rows until dstH are done.
    const double cells = static_cast<double>(static_cast<float>(dstW + 1));
    const auto span = static_cast<int32_t>(std::min<int64_t>(int64_t{truncateToInt32(cells * invX)} + 1, rect.width));

    // A ratio within 1e-7 above a whole number counts as whole.
    double fx = invX - std::trunc(invX);
    const double fy = invY - std::trunc(invY);
    if (fx < kE) fx = 0.0;
    SuperMode mode;
    if (fy < kE || fy == 0.0) {
        mode = fx != 0.0 ? SuperFractionX : SuperIntegral;
    } else {
        mode = fx != 0.0 ? SuperFractionXY : SuperFractionY;
    }

    // Only the 8-bit interleaved three-channel engine is built, the one pxResizeC3 reaches, and only
    // for shrinking, where a cell is at least one pixel wide: pxResizeC3 sends nothing else here.
    if (dataType != PxData8u || planar != 0 || channels == 1 || channels == 4 || pixelStride < 3 || xFactor > 1.0 ||
        yFactor > 1.0)
        return PxStsBadInterpolation;
    const uint8_t *origin = static_cast<const uint8_t *>(src) + int64_t{rect.y} * srcStep +
                            int64_t{rect.x} * pixelStride;
    return engine(origin, static_cast<uint8_t *>(dst), srcStep, dstStep, span, dstW, dstH, invX, invY, area, mode,
                     pixelStride, srcSize.height - rect.y);
}

}  // namespace px
