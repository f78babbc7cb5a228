#include <algorithm>
#include <cstddef>
#include <cstring>
#include <exception>
#include <vector>

#include "motion/motion_detector.h"
#include "platform/platform.h"

namespace kx {

int32_t KeepWholeFrame = 0;

namespace {

// The hit table followed by the limit table, in one block as the two lie in memory: a
// sensitivity of 10 to 19 reads its hit count from the limit table, and a negative one reads its
// limit from the end of the hit table. An index that leaves the block altogether has no meaning;
// it is clamped to the block's first or last entry so that it never reads out of bounds.
constexpr int32_t kZoneTables[20] = {
    8,  7,  5,  4,  3,  3, 2, 2, 1, 1,  // hit count: changed samples in a window that fire
    14, 13, 12, 11, 10, 9, 8, 7, 6, 5,  // limit: how far a sample must move to count
};

int32_t tableEntry(int64_t index) {
    if (index < 0) index = 0;
    if (index > 19) index = 19;
    return kZoneTables[index];
}

// a * b + c as the 32-bit arithmetic of the geometry does it: wrapping, for zones far outside
// the frame, then divided with its sign.
int32_t wrapMulAdd(int32_t a, int32_t b, int32_t c) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b) + static_cast<uint32_t>(c));
}

// hi - lo and a + b in 32 bits, wrapping: the sides of a clamped zone need not be in order, nor
// near each other.
int32_t extent(int32_t lo, int32_t hi) {
    return static_cast<int32_t>(static_cast<uint32_t>(hi) - static_cast<uint32_t>(lo));
}
int32_t wrapAdd(int32_t a, int32_t b) { return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b)); }

// Row step in 32-bit units: rows of a motion frame end on a 32-bit boundary.
int32_t rowUnits(int32_t width, int32_t bitCount) { return wrapMulAdd(width, bitCount, 31) / 32; }

// Byte offset of a pixel column in a row.
ptrdiff_t columnBytes(int32_t bitCount, int32_t left) { return wrapMulAdd(bitCount, left, 7) / 8; }

ptrdiff_t rowBytes(int32_t width, int32_t bitCount) { return ptrdiff_t{rowUnits(width, bitCount)} * 4; }

// A two-pixel margin around the frame is never watched.
constexpr int32_t kMargin = 2;
// A zone below this share of the frame's bytes keeps only its own region as reference.
constexpr uint32_t kCropBelowPercent = 76;

}  // namespace

int32_t zoneHitCount(int32_t sensitivity) { return tableEntry(sensitivity); }
int32_t zoneLimit(int32_t sensitivity) { return tableEntry(int64_t{10} + sensitivity); }

namespace {

// How a zone's rows are walked in a frame and in its reference; shared by the walk itself and by
// the check that it stays inside both.
struct SampleWalk {
    ptrdiff_t frameStep;    // the frame's row step, taken with the reference's bit count
    ptrdiff_t refStep;
    ptrdiff_t frameX;       // byte offsets of the zone's left edge in a row
    ptrdiff_t refX;
    int32_t spanY;          // rows y = 0, 4, ... below spanY
    int32_t endX;           // samples x = 0, 4, ... below endX
    ptrdiff_t sampleBytes;  // bytes from one sample to the next
    bool sixteen;
};

SampleWalk sampleWalk(const MotionZone &zone, const BITMAPINFOHEADER &frame) {
    const BITMAPINFOHEADER &ref = zone.reference->header;
    const int32_t refBpp = ref.biBitCount;
    SampleWalk walk;
    // The frame's row step is taken with the reference's bit count; they agree unless the
    // stream changed format without a new MotionInit.
    walk.frameStep = rowBytes(frame.biWidth, refBpp);
    walk.refStep = rowBytes(ref.biWidth, refBpp);
    walk.frameX = columnBytes(frame.biBitCount, zone.pixelRect.left);
    walk.refX = columnBytes(refBpp, zone.referenceRect.left);
    walk.spanY = extent(zone.referenceRect.top, zone.referenceRect.bottom);
    // 16-bit frames stop at the zone's width. Every other frame stops at the reference's width:
    // with a whole-frame reference that runs past the zone's right edge and on into the next
    // memory row, in frame and reference alike, and samples there can fire the zone.
    walk.sixteen = frame.biBitCount == 16;
    walk.endX = walk.sixteen ? extent(zone.referenceRect.left, zone.referenceRect.right) : ref.biWidth;
    // Four pixels a sample: 8 bytes for 16-bit, otherwise 12 whatever the real pixel size.
    walk.sampleBytes = walk.sixteen ? 8 : 12;
    return walk;
}

// Bytes of a bottom-up image as its header and 32-bit rows describe it, in 64 bits.
int64_t imageBytes(const BITMAPINFOHEADER &image) {
    if (image.biWidth < 0 || image.biHeight < 0) return 0;
    return (int64_t{image.biWidth} * image.biBitCount + 31) / 32 * 4 * image.biHeight;
}

// Whether the bytes [base + row * step, base + row * step + span) of every row from firstRow down
// to firstRow - rowsDown lie inside a block of size bytes.
bool rowsInside(int64_t base, int64_t step, int64_t firstRow, int64_t rowsDown, int64_t span, int64_t size) {
    const int64_t a = firstRow * step, b = (firstRow - rowsDown) * step;
    return base + std::min(a, b) >= 0 && base + std::max(a, b) + span <= size;
}

}  // namespace

bool MotionZone::fits(const BITMAPINFOHEADER &frame) const {
    const BITMAPINFOHEADER &ref = reference->header;
    const int64_t frameBytes = imageBytes(frame);
    const int64_t refBytes = ref.biSizeImage;  // what the reference was given

    const SampleWalk walk = sampleWalk(*this, frame);
    if (walk.spanY > 0 && walk.endX > 0) {
        if (walk.endX > ref.biWidth) return false;  // the counter rows are as wide as the reference
        const int64_t lastY = (walk.spanY - 1) / 4 * 4;
        const int64_t reach = (int64_t{walk.endX} - 1) / 4 * walk.sampleBytes + 1;
        if (!rowsInside(walk.frameX, walk.frameStep, int64_t{frame.biHeight} - pixelRect.top - 1, lastY, reach,
                        frameBytes) ||
            !rowsInside(walk.refX, walk.refStep, int64_t{ref.biHeight} - referenceRect.top - 1, lastY, reach,
                        refBytes))
            return false;
    }

    if (ref.biWidth == frame.biWidth && ref.biHeight == frame.biHeight) return refBytes <= frameBytes;
    const int32_t refH = ref.biHeight;
    if (refH <= 0) return true;
    const ptrdiff_t refStep = rowBytes(ref.biWidth, ref.biBitCount);
    return rowsInside(columnBytes(frame.biBitCount, pixelRect.left), rowBytes(frame.biWidth, frame.biBitCount),
                      int64_t{frame.biHeight} - pixelRect.top - 1, refH - 1, refStep, frameBytes) &&
           rowsInside(0, refStep, refH - 1, refH - 1, refStep, refBytes);
}

bool MotionZone::compare(const BITMAPINFOHEADER &frame, const uint8_t *pixels) {
    const SampleWalk walk = sampleWalk(*this, frame);
    const int32_t H = frame.biHeight;
    const int32_t refW = reference->header.biWidth;
    const int32_t refH = reference->header.biHeight;
    const int32_t need = zoneHitCount(sensitivity);
    // Table limits are in units of the 16-bit path's masked five-bit values; 8-bit samples move
    // eight times as far.
    int32_t limit = zoneLimit(sensitivity);
    if (frame.biBitCount == 24) limit *= 8;
    limit *= limit;

    // Three rows of counters in the roles oldest, middle, newest. A changed sample adds one at its
    // own column and the two sample columns to its right in all three rows, so the oldest row's
    // counter at x holds the changed samples of the 3 by 3 sample window ending at (x, y).
    const size_t rowLength = static_cast<size_t>(refW) + 8;
    std::vector<uint8_t> counters(3 * rowLength, 0);
    uint8_t *oldest = counters.data();
    uint8_t *middle = oldest + rowLength;
    uint8_t *newest = middle + rowLength;

    uint32_t found = 0;
    for (int32_t y = 0; y < walk.spanY && !found; y += 4) {
        const uint8_t *frameRow = pixels + (ptrdiff_t{H} - pixelRect.top - y - 1) * walk.frameStep + walk.frameX;
        const uint8_t *refRow =
            reference->bits + (ptrdiff_t{refH} - referenceRect.top - y - 1) * walk.refStep + walk.refX;
        for (int32_t x = 0; x < walk.endX; x += 4) {
            const ptrdiff_t at = ptrdiff_t{x / 4} * walk.sampleBytes;
            // Only the first byte of a pixel is looked at; 16-bit pixels keep bits 1 to 4 of it.
            const int32_t d = walk.sixteen ? (frameRow[at] & 30) - (refRow[at] & 30) : frameRow[at] - refRow[at];
            if (d * d > limit) {
                for (uint8_t *row : {oldest, middle, newest}) {
                    ++row[x];
                    ++row[x + 4];
                    ++row[x + 8];
                }
            }
            if (oldest[x] >= need) {
                found = 1;
                triggerPoint = ZonePoint{wrapAdd(x, pixelRect.left), wrapAdd(y, pixelRect.top)};
                break;
            }
        }
        uint8_t *spare = oldest;
        oldest = middle;
        middle = newest;
        std::memset(spare, 0, rowLength);
        newest = spare;
    }

    if (found == inMotion) return false;
    inMotion = found;
    return true;
}

bool MotionZone::makeReference(const BITMAPINFOHEADER &frame) {
    const int32_t H = frame.biHeight;
    const int32_t W = frame.biWidth;
    const int32_t bpp = frame.biBitCount;

    // The zone's first frame settles the geometry until the next MotionInit.
    frameRect = RECT{0, 0, W, H};
    const int32_t frameW = frameRect.right - frameRect.left;
    const int32_t frameH = frameRect.bottom - frameRect.top;
    pixelRect.left = platform::mulDiv(zoneRect.left, frameW, W);
    pixelRect.right = platform::mulDiv(zoneRect.right, frameW, W);
    pixelRect.top = platform::mulDiv(zoneRect.top, frameH, H);
    pixelRect.bottom = platform::mulDiv(zoneRect.bottom, frameH, H);
    // Each side once, not against each other.
    if (pixelRect.left < kMargin) pixelRect.left = kMargin;
    if (pixelRect.top < kMargin) pixelRect.top = kMargin;
    if (pixelRect.right > W - kMargin) pixelRect.right = W - kMargin;
    if (pixelRect.bottom > H - kMargin) pixelRect.bottom = H - kMargin;

    // Both sizes and the percentage in 32-bit unsigned arithmetic: once a zone passes about
    // 43 MB the product wraps, and a zone of nearly the whole frame can come out cropped.
    const uint32_t fullBytes = static_cast<uint32_t>(rowUnits(W, bpp)) * static_cast<uint32_t>(H) * 4u;
    // A frame with no bytes leaves no share to take: nothing to watch until the next MotionInit.
    if (fullBytes == 0) {
        unwatched = true;
        return false;
    }
    // The sides were clamped one by one, so a zone beyond the frame comes out inverted: its width or
    // height is negative, and so is its byte count, which the unsigned share makes huge. Such a
    // zone keeps a whole-frame reference, and its scan still walks the frame (see sampleWalk).
    const int32_t zoneW = extent(pixelRect.left, pixelRect.right);
    const int32_t zoneH = extent(pixelRect.top, pixelRect.bottom);
    const int32_t refBpp = bpp;  // the reference takes the frame's header
    const uint32_t zoneBytes = static_cast<uint32_t>(rowUnits(zoneW, refBpp)) * static_cast<uint32_t>(zoneH) * 4u;
    const uint32_t percent = zoneBytes * 100u / fullBytes;
    const bool crop = KeepWholeFrame == 0 && percent < kCropBelowPercent;
    // Only a product that wraps back below the share can crop an inverted zone, and its reference
    // would have a negative side: its pixels and rows are no block to allocate or copy.
    if (crop && (zoneW < 0 || zoneH < 0)) {
        unwatched = true;
        return false;
    }

    DibBuffer::create(&reference);
    if (!reference) return false;
    BITMAPINFOHEADER &header = reference->header;
    std::memcpy(&header, &frame, sizeof(header));
    if (crop) {
        header.biWidth = zoneW;
        header.biHeight = zoneH;
        header.biSizeImage = zoneBytes;
        referenceRect = RECT{0, 0, zoneW, zoneH};
    } else {
        referenceRect = pixelRect;
        header.biSizeImage = fullBytes;
    }
    return true;
}

void MotionZone::storeFrame(const BITMAPINFOHEADER &frame, const uint8_t *pixels) {
    const BITMAPINFOHEADER &header = reference->header;
    if (header.biWidth == frame.biWidth && header.biHeight == frame.biHeight) {
        std::memcpy(reference->bits, pixels, header.biSizeImage);
        return;
    }
    // Image row i of the zone onto image row i of the reference, both bottom-up.
    const int32_t H = frame.biHeight;
    const int32_t refH = header.biHeight;
    const ptrdiff_t refStep = rowBytes(header.biWidth, header.biBitCount);
    const ptrdiff_t step = rowBytes(frame.biWidth, frame.biBitCount);
    const ptrdiff_t frameX = columnBytes(frame.biBitCount, pixelRect.left);
    for (int32_t i = 0; i < refH; ++i)
        std::memcpy(reference->bits + (ptrdiff_t{refH} - 1 - i) * refStep,
                    pixels + (ptrdiff_t{H} - i - pixelRect.top - 1) * step + frameX, static_cast<size_t>(refStep));
}

bool MotionZone::stayQuiet() {
    if (inMotion == 0) return false;
    inMotion = 0;
    return true;
}

bool MotionZone::watch(const BITMAPINFOHEADER &frame, const uint8_t *pixels) {
    if (unwatched) return false;
    if (!reference && !makeReference(frame)) return stayQuiet();
    // Pixels that could not be had are asked for again on each frame; a fresh reference holds
    // nothing to compare with until a frame is stored in it.
    if (!reference->bits) {
        referenceHeld = false;
        if (!reference->prepare(&reference->header)) return stayQuiet();
    }
    // A frame of another size or depth than the one the geometry was settled on: watched only
    // where every row still lands inside both images.
    if (!fits(frame)) return stayQuiet();
    const bool changed = referenceHeld && compare(frame, pixels);
    storeFrame(frame, pixels);
    referenceHeld = true;
    return changed;
}

void MotionDetector::compare(const BITMAPINFOHEADER *frame, const uint8_t *pixels) {
    if (warmUpFrames < kWarmUpFrames) {
        ++warmUpFrames;
        return;
    }
    uint32_t sum = 0;
    for (int32_t i = 0; i < zones.size(); ++i) {
        MotionZone &zone = *zones[i];
        bool changed;
        try {
            changed = zone.watch(*frame, pixels);
        } catch (const std::exception &) {
            // Memory for the counters or the reference: the zone sits this frame out.
            changed = zone.stayQuiet();
        }
        if (changed) lastChangeTime = platform::currentTime();
        if (zone.inMotion) sum += zone.inMotion;
    }
    if (sum != activeSum) {
        // A new phase begins when motion starts or stops, not when the number of zones changes.
        if ((sum == 0) != (activeSum == 0)) framesInPhase = 0;
        activeSum = sum;
    }
    ++framesInPhase;
}

uint8_t MotionDetector::mask() const {
    uint8_t bits = 0;
    for (int32_t i = 0; i < zones.size(); ++i) {
        const MotionZone *zone = zones[i];
        // An 8-bit one shifted by i modulo 32: zones 8 to 31 fall off the byte, zone 32 is bit 0.
        if (zone && zone->inMotion) bits |= static_cast<uint8_t>(1u << (i & 31));
    }
    return bits;
}

}  // namespace kx

extern "C" KX_API int32_t MotionCompare(void *detector, const BITMAPINFOHEADER *frame, const uint8_t *pixels,
                                        uint8_t *mask) {
    if (mask) *mask = 0;
    // No frame is no frame: not even the warm-up counts it.
    if (!detector || !frame || !pixels) return 1;
    auto *motion = static_cast<kx::MotionDetector *>(detector);
    motion->compare(frame, pixels);  // catches per zone; nothing else allocates
    if (mask) *mask |= motion->mask();
    return 1;
}
