#include <algorithm>
#include <cmath>

#include "kernels/resize/resize_image.h"
#include "kernels/resize/resize_rules.h"

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
        for (int32_t k = 0; k < kChannels; ++k)
            dst[i * pixelStride + k] = superStoreCell(static_cast<double>(line[kChannels * i + k]), area);
}

}  // namespace

uint8_t superStoreCell(double cell, double area) {
    return static_cast<uint8_t>(truncateToInt32(cell * area + 0.5) & 0xFF);
}

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

}  // namespace px
