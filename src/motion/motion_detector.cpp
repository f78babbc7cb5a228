#include <exception>
#include <new>

#include "motion/motion_detector.h"

namespace kx {

namespace {

// The platform's rectangle rules: a rectangle with no width or no height is empty, and two
// rectangles that do not overlap intersect in the all-zero rectangle.
bool isRectEmpty(const RECT &r) { return r.right <= r.left || r.bottom <= r.top; }

bool intersectRect(RECT &out, const RECT &a, const RECT &b) {
    if (isRectEmpty(a) || isRectEmpty(b) || a.left >= b.right || b.left >= a.right || a.top >= b.bottom ||
        b.top >= a.bottom) {
        out = RECT{0, 0, 0, 0};
        return false;
    }
    out.left = a.left > b.left ? a.left : b.left;
    out.top = a.top > b.top ? a.top : b.top;
    out.right = a.right < b.right ? a.right : b.right;
    out.bottom = a.bottom < b.bottom ? a.bottom : b.bottom;
    return true;
}

bool equalRect(const RECT &a, const RECT &b) {
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

// Drops a rectangle that lies inside its neighbour in the list, one at a time, starting again
// after each removal. Only neighbours are compared: a contained rectangle further away stays
// unless removals bring the two together, and that is part of how zones are numbered.
void pruneContained(std::vector<const RECT *> &list) {
    for (;;) {
        int32_t found = -1;
        for (int32_t i = static_cast<int32_t>(list.size()) - 1; i >= 1; --i) {
            RECT common;
            if (!intersectRect(common, *list[i], *list[i - 1])) continue;
            if (equalRect(common, *list[i]))
                found = i;  // checked first, so of two equal neighbours the later one goes
            else if (equalRect(common, *list[i - 1]))
                found = i - 1;
            if (found >= 0) break;
        }
        if (found < 0) return;
        list.erase(list.begin() + found);
        if (list.empty()) return;
    }
}

// Beyond any frame; the first frame clamps it to the frame less a two-pixel margin.
constexpr int32_t kWholeFrameExtent = 32767;

}  // namespace

MotionZone::~MotionZone() { reset(); }

void MotionZone::reset() {
    zoneRect = RECT{0, 0, 0, 0};
    referenceRect = RECT{0, 0, 0, 0};
    pixelRect = RECT{0, 0, 0, 0};
    sensitivity = 4;
    if (reference) reference->release();
    reference = nullptr;
    referenceHeld = false;
    inMotion = 0;
    unwatched = false;
}

void ZoneArray::resize(int32_t newSize) {
    const int32_t oldSize = size();
    for (int32_t i = oldSize - 1; i >= newSize; --i) zones_[static_cast<size_t>(i)].reset();
    if (newSize < oldSize) zones_.resize(static_cast<size_t>(newSize));
    for (int32_t i = oldSize; i < newSize; ++i) zones_.push_back(std::make_unique<MotionZone>());
}

MotionDetector::~MotionDetector() { reset(); }

void MotionDetector::reset() {
    warmUpFrames = 0;
    sensitivity = 4;
    activeSum = 0;
    lastChangeTime = 0;
    framesInPhase = 0;
    if (sharedReference) sharedReference->release();
    sharedReference = nullptr;
    zones.resize(0);
}

void MotionDetector::init(int32_t newSensitivity, const RECT *rects, int32_t count) {
    reset();
    sensitivity = newSensitivity;  // not range-checked; see zoneHitCount

    std::vector<const RECT *> candidates;
    // Null rectangles with a positive count are taken as an empty list, as a count of 0 is.
    for (int32_t i = 0; rects && i < count; ++i)
        if (!isRectEmpty(rects[i])) candidates.push_back(&rects[i]);
    pruneContained(candidates);

    const int32_t survivors = static_cast<int32_t>(candidates.size());
    zones.resize(survivors);
    for (int32_t i = 0; i < survivors; ++i) {
        MotionZone &zone = *zones[i];
        zone.reset();
        zone.zoneRect = *candidates[static_cast<size_t>(i)];
        zone.pixelRect = zone.zoneRect;
        zone.sensitivity = newSensitivity;
    }
    if (survivors == 0) {
        zones.resize(1);
        MotionZone &zone = *zones[0];
        zone.reset();
        zone.zoneRect = RECT{0, 0, kWholeFrameExtent, kWholeFrameExtent};
        zone.pixelRect = zone.zoneRect;
        zone.sensitivity = sensitivity;
    }
}

}  // namespace kx

extern "C" KX_API void *MotionOpen(void) { return new (std::nothrow) kx::MotionDetector(); }

extern "C" KX_API int32_t MotionInit(void *detector, int32_t sensitivity, const RECT *zones, int32_t zoneCount) {
    if (!detector) return 1;
    auto *motion = static_cast<kx::MotionDetector *>(detector);
    try {
        motion->init(sensitivity, zones, zoneCount);
    } catch (const std::exception &) {
        // Out of memory for the zones: the detector is left reset, with no zone to watch.
        motion->reset();
    }
    return 1;
}

extern "C" KX_API int32_t MotionClose(void *detector) {
    delete static_cast<kx::MotionDetector *>(detector);
    return 1;
}
