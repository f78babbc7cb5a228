#include "bitmap/stretch_dib.h"

#include <algorithm>
#include <cstring>

namespace kx {

namespace {

// Where each destination column or row finds its source, on a 16.16 grid: the step is rounded to
// nearest and each sample taken at the middle of its step, so no sample drifts a whole source
// pixel against the exact centres, and equal extents map one to one.
class NearestGrid {
public:
    NearestGrid(int32_t srcStart, int32_t srcExtent, int32_t dstExtent)
        : start_(srcStart), last_(int64_t{srcExtent} - 1),
          step_(((int64_t{srcExtent} << 16) + dstExtent / 2) / dstExtent) {}
    int64_t operator[](int32_t i) const {
        const int64_t offset = (i * step_ + step_ / 2) >> 16;
        return start_ + (offset < last_ ? offset : last_);
    }

private:
    int64_t start_, last_, step_;
};

// The DIB geometry of a 24-bit header.
struct Dib {
    int64_t width, height, rowBytes, size;
    bool usable;
    explicit Dib(const BITMAPINFOHEADER &h)
        : width(h.biWidth), height(h.biHeight), rowBytes((width * 3 + 3) & ~int64_t{3}), size(h.biSizeImage),
          usable(h.biBitCount == 24 && width >= 1 && height >= 1) {}
    // Byte offset of pixel (x, y), or -1 when the pixel is outside the bitmap or its block.
    int64_t offset(int64_t x, int64_t y) const {
        if (x < 0 || y < 0 || x >= width || y >= height) return -1;
        const int64_t at = y * rowBytes + 3 * x;
        return at + 3 <= size ? at : -1;
    }
};

}  // namespace

void StretchDIB(const BITMAPINFOHEADER &dstHeader, uint8_t *dstBits, int32_t dstX, int32_t dstY, int32_t dstWidth,
                int32_t dstHeight, const BITMAPINFOHEADER &srcHeader, const uint8_t *srcBits, int32_t srcX,
                int32_t srcY, int32_t srcWidth, int32_t srcHeight) {
    const Dib dst(dstHeader), src(srcHeader);
    if (!dst.usable || !src.usable) return;
    if (dstWidth < 1 || dstHeight < 1 || srcWidth < 1 || srcHeight < 1) return;
    const NearestGrid columns(srcX, srcWidth, dstWidth), rows(srcY, srcHeight, dstHeight);
    // Only the part of the rectangle that lies on the destination bitmap is walked.
    const int64_t firstColumn = std::max<int64_t>(0, -int64_t{dstX});
    const int64_t endColumn = std::min<int64_t>(dstWidth, dst.width - dstX);
    const int64_t firstRow = std::max<int64_t>(0, -int64_t{dstY});
    const int64_t endRow = std::min<int64_t>(dstHeight, dst.height - dstY);
    for (int64_t j = firstRow; j < endRow; ++j) {
        const int64_t sourceRow = rows[static_cast<int32_t>(j)];
        for (int64_t i = firstColumn; i < endColumn; ++i) {
            const int64_t to = dst.offset(dstX + i, dstY + j);
            const int64_t from = src.offset(columns[static_cast<int32_t>(i)], sourceRow);
            if (to >= 0 && from >= 0) std::memcpy(dstBits + to, srcBits + from, 3);
        }
    }
}

}  // namespace kx
