// Motion detection: the detector behind the handle of the motion exports, its zones and the
// counted images that hold each zone's previous frame. Fields are public so that tests can read
// state that no export reports (activeSum, lastChangeTime, framesInPhase, zone geometry).
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "kestrix.h"

namespace kx {

// A counted image. Its pixels come from the platform's image allocator and are never zeroed.
class DibBuffer {
public:
    virtual ~DibBuffer();
    DibBuffer(const DibBuffer &) = delete;
    DibBuffer &operator=(const DibBuffer &) = delete;

    // Makes a buffer with all fields 0 and one count, stored in *out. 0 for a null address.
    static int32_t create(DibBuffer **out);
    // Takes the description (unless it is this buffer's own), fills in a missing size and gives the
    // buffer fresh pixels of that size. True when the buffer has pixels afterwards.
    bool prepare(const BITMAPINFOHEADER *description);
    // Gives up one count; the last one deletes the buffer. Returns the counts left.
    int32_t release();

    BITMAPINFOHEADER header{};
    uint8_t *bits = nullptr;
    int32_t refCount = 0;

private:
    DibBuffer() = default;
};

struct ZonePoint {
    int32_t x = 0;
    int32_t y = 0;
};

// One watched rectangle and the reference it compares each frame with.
class MotionZone {
public:
    MotionZone() = default;
    virtual ~MotionZone();
    MotionZone(const MotionZone &) = delete;
    MotionZone &operator=(const MotionZone &) = delete;

    // Empties the rectangles, drops the reference and the motion state, sensitivity back to 4.
    void reset();
    // One frame: the comparison with the reference, then the frame stored as the next reference
    // (made on the zone's first frame). True when inMotion changed. A zone whose geometry does not
    // fit the frame, or whose memory cannot be had, sits the frame out with inMotion 0.
    bool watch(const BITMAPINFOHEADER &frame, const uint8_t *pixels);
    // Sits a frame out: inMotion 0. True when that is a change.
    bool stayQuiet();

    int32_t reserved = 0;  // set at construction and never read
    int32_t sensitivity = 4;
    RECT frameRect{};      // 0, 0, frame width, frame height once the reference exists
    RECT zoneRect{};       // as the client gave it
    RECT pixelRect{};      // zoneRect scaled and clamped to the frame on the first frame
    RECT referenceRect{};  // where the watched region lies inside the reference
    DibBuffer *reference = nullptr;  // one count held
    uint32_t inMotion = 0;
    ZonePoint triggerPoint;  // sample that last fired, in frame pixels; written, never read
    // Nothing to watch until the next MotionInit: the first frame had no bytes, or the zone came
    // out inverted and cropped, a reference with a negative side.
    bool unwatched = false;

private:
    bool referenceHeld = false;  // a frame has been stored in the reference since it was made

    // Settles pixelRect, referenceRect and the reference's description from the zone's first
    // frame. False when there is nothing to watch or the reference cannot be made.
    bool makeReference(const BITMAPINFOHEADER &frame);
    // Whether every byte that compare and storeFrame would touch lies inside the frame (as its
    // header and 32-bit rows describe it) and inside the reference.
    bool fits(const BITMAPINFOHEADER &frame) const;
    bool compare(const BITMAPINFOHEADER &frame, const uint8_t *pixels);
    void storeFrame(const BITMAPINFOHEADER &frame, const uint8_t *pixels);
};

// The zones in their final order. The array owns them; shrinking deletes the dropped ones from the
// last index down, growing makes fresh zones in rising order.
class ZoneArray {
public:
    int32_t size() const { return static_cast<int32_t>(zones_.size()); }
    MotionZone *operator[](int32_t index) const { return zones_[static_cast<size_t>(index)].get(); }
    void resize(int32_t newSize);

private:
    std::vector<std::unique_ptr<MotionZone>> zones_;
};

class MotionDetector {
public:
    MotionDetector() = default;
    virtual ~MotionDetector();
    MotionDetector(const MotionDetector &) = delete;
    MotionDetector &operator=(const MotionDetector &) = delete;

    void reset();
    void init(int32_t newSensitivity, const RECT *rects, int32_t count);
    // One frame: the warm-up count, or the comparison and reference update of every zone. The
    // frame is not looked at during the warm-up, nor when there are no zones.
    void compare(const BITMAPINFOHEADER *frame, const uint8_t *pixels);
    // Bit i for zone i in motion, as an 8-bit value shifted by i modulo 32.
    uint8_t mask() const;

    int32_t warmUpFrames = 0;
    DibBuffer *sharedReference = nullptr;  // released by every reset; nothing ever sets it
    ZoneArray zones;
    int32_t sensitivity = 4;
    uint32_t activeSum = 0;
    int64_t lastChangeTime = 0;
    int32_t framesInPhase = 0;
};

// Frames swallowed after MotionInit before the first reference is made.
constexpr int32_t kWarmUpFrames = 30;

// Changed samples in a 3 by 3 sample window that fire a zone, and how far a sample must move to
// count as changed, by sensitivity 0 to 9. Other values read on from one table into the other,
// and are clamped at the far ends of the pair.
int32_t zoneHitCount(int32_t sensitivity);
int32_t zoneLimit(int32_t sensitivity);

// Non-zero would keep whole-frame references for every zone. Nothing sets it.
extern int32_t KeepWholeFrame;

}  // namespace kx
