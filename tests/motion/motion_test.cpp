#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <random>
#include <tuple>
#include <vector>

#include "guarded_buffer.h"
#include "kestrix.h"
#include "motion/motion_detector.h"
#include "platform/platform.h"

namespace kx {
namespace {

using Box = std::array<int32_t, 4>;
Box box(const RECT &r) { return {r.left, r.top, r.right, r.bottom}; }
std::array<int32_t, 2> point(const ZonePoint &p) { return {p.x, p.y}; }

// A bottom-up frame with rows padded to 32 bits, every byte set to fill; at(x, y) counts y from the top.
struct Frame {
    BITMAPINFOHEADER header;
    int32_t step;
    std::vector<uint8_t> pixels;
    Frame(int32_t w, int32_t h, uint16_t bits = 24, uint8_t fill = 100)
        : header{40, w, h, 1, bits, 0, 0, 0, 0, 0, 0}, step((w * bits + 31) / 32 * 4),
          pixels(size_t(step) * size_t(h), fill) {}
    uint8_t &at(int32_t x, int32_t y) { return pixels[size_t((header.biHeight - 1 - y) * step + x * (bits() / 8))]; }
    int32_t bits() const { return header.biBitCount; }
};

struct Detector {
    void *handle = MotionOpen();
    ~Detector() { MotionClose(handle); }
    MotionDetector &state() const { return *static_cast<MotionDetector *>(handle); }
    const MotionZone &zone(int32_t i) const { return *state().zones[i]; }
    void init(int32_t sensitivity, const std::vector<RECT> &rects) {
        EXPECT_EQ(MotionInit(handle, sensitivity, rects.data(), static_cast<int32_t>(rects.size())), 1);
    }
    uint8_t feed(const Frame &frame) {
        uint8_t mask = 0xA5;
        EXPECT_EQ(MotionCompare(handle, &frame.header, frame.pixels.data(), &mask), 1);
        return mask;
    }
    // The 30 frames of the warm-up, then the one that makes the references.
    void prime(const Frame &frame) { for (int i = 0; i < 31; ++i) EXPECT_EQ(feed(frame), 0); }
};

TEST(MotionZoneSet, OnlyNeighboursArePrunedAndNothingLeftWatchesTheWholeFrame) {
    const RECT A{10, 10, 100, 100}, B{20, 20, 40, 40} /* in A */, C{200, 200, 300, 300} /* apart */,
        D{50, 50, 70, 70} /* in A, apart from B */, E{90, 90, 150, 150} /* overlaps A */, F{100, 10, 120, 30};
    const struct { std::vector<RECT> rects; std::vector<Box> zones; } cases[] = {
        {{A, B}, {box(A)}}, {{B, A}, {box(A)}}, {{A, A, A}, {box(A)}},
        {{A, C, B}, {box(A), box(C), box(B)}},  // B in A, but not its neighbour
        {{A, B, D}, {box(A)}},                  // B goes first, bringing D next to A
        {{A, E}, {box(A), box(E)}}, {{A, F}, {box(A), box(F)}},  // F touches A's right edge: no common area
        {{{5, 5, 5, 50}, {9, 9, 1, 20}, C, B}, {box(C), box(B)}},  // empties dropped, the rest move down
        {{}, {{0, 0, 32767, 32767}}}, {{{5, 9, 9, 5}, {9, 9, 1, 1}}, {{0, 0, 32767, 32767}}},
    };
    for (const auto &c : cases) {
        Detector detector;
        detector.init(6, c.rects);
        std::vector<Box> zones;
        for (int32_t i = 0; i < detector.state().zones.size(); ++i) {
            zones.push_back(box(detector.zone(i).zoneRect));
            EXPECT_EQ(box(detector.zone(i).pixelRect), zones.back());
            EXPECT_EQ(detector.zone(i).sensitivity, 6);
        }
        EXPECT_EQ(zones, c.zones);
    }
}

TEST(MotionZoneSet, NullDetectorsAndANewOneWithoutZones) {
    uint8_t mask = 0xFF;
    EXPECT_EQ(MotionCompare(nullptr, nullptr, nullptr, &mask), 1);
    EXPECT_EQ(mask, 0);
    const RECT rect{0, 0, 8, 8};
    EXPECT_EQ(MotionInit(nullptr, 4, &rect, 1), 1);
    EXPECT_EQ(MotionClose(nullptr), 1);
    EXPECT_EQ(MotionClose(MotionOpen()), 1);
    Detector fresh;  // no zones: frames are only counted
    for (int i = 0; i < 40; ++i) EXPECT_EQ(fresh.feed(Frame(32, 32)), 0);
    const MotionDetector &state = fresh.state();
    EXPECT_EQ(std::tuple(state.zones.size(), state.sensitivity, state.warmUpFrames, state.framesInPhase),
              std::tuple(0, 4, 30, 10));
    // A negative count with null rectangles is an empty list.
    EXPECT_EQ(MotionInit(fresh.handle, 7, nullptr, -3), 1);
    EXPECT_EQ(std::tuple(state.zones.size(), box(fresh.zone(0).pixelRect), fresh.zone(0).sensitivity),
              std::tuple(1, Box{0, 0, 32767, 32767}, 7));
}

TEST(MotionZoneSet, InitAgainForgetsEverythingAndWarmsUpAgain) {
    Detector detector;
    detector.init(9, {{8, 8, 24, 24}, {30, 8, 40, 24}});
    Frame still(48, 32), moved(48, 32);
    moved.at(8, 8) = 200;    // on the grid of the first zone
    moved.at(10, 10) = 200;  // on the grid of the whole-frame zone, which starts at 2, 2
    detector.prime(still);
    EXPECT_EQ(detector.feed(moved), 1);

    detector.init(9, {});
    const MotionDetector &state = detector.state();
    ASSERT_EQ(state.zones.size(), 1);
    EXPECT_EQ(std::tuple(detector.zone(0).reference, detector.zone(0).inMotion, state.warmUpFrames, state.activeSum,
                         state.lastChangeTime, state.framesInPhase),
              std::tuple(nullptr, 0u, 0, 0u, int64_t{0}, 0));
    // 30 frames swallowed whatever they hold; frame 31 makes the reference; frame 32 is compared.
    for (int i = 0; i < 30; ++i) EXPECT_EQ(detector.feed(i % 2 ? moved : still), 0) << "frame " << i + 1;
    EXPECT_EQ(detector.zone(0).reference, nullptr);
    EXPECT_EQ(detector.feed(still), 0);
    EXPECT_NE(detector.zone(0).reference, nullptr);
    EXPECT_EQ(detector.feed(still), 0);
    EXPECT_EQ(detector.feed(moved), 1);
}

TEST(MotionCompare, FiresOnAClusterOfChangedSamples) {
    using Points = std::vector<ZonePoint>;
    const Points row3{{16, 16}, {20, 16}, {24, 16}};
    const Points block8{{20, 16}, {24, 16}, {16, 20}, {20, 20}, {24, 20}, {16, 24}, {20, 24}, {24, 24}};
    // 10,2,98,98 of 100 x 100 is 84% of the bytes: a whole-frame reference. A 24-bit row scan then
    // covers 100 samples from x = 10, the last ones in the next memory row (the image row above).
    const RECT wide{10, 2, 98, 98};
    // value is written over a flat 100 (24-bit) or 0 (16-bit); zone 8,8,40,40 is 25% of 64 x 64: cropped.
    const struct { const char *what; int32_t sensitivity, bitCount, value; Points points; uint8_t mask;
                   ZonePoint trigger; RECT zone = {8, 8, 40, 40}; int32_t size = 64; } cases[] = {
        // 24-bit: limit (table * 8)^2, strictly above.
        {"s9: 41 > 40", 9, 24, 141, {{16, 16}}, 1, {16, 16}},
        {"s9: 40", 9, 24, 140, {{16, 16}}, 0, {}},
        {"s4: three in a row, 81 > 80", 4, 24, 181, row3, 1, {24, 16}},
        {"s4: three in a column", 4, 24, 181, {{16, 16}, {16, 20}, {16, 24}}, 1, {16, 24}},
        {"s4: the three 16 px apart", 4, 24, 181, {{16, 16}, {32, 16}, {16, 32}}, 0, {}},
        {"s4: two are not enough", 4, 24, 181, {{16, 16}, {20, 20}}, 0, {}},
        {"s0: 8 of 9, 113 > 112", 0, 24, 213, block8, 1, {24, 24}},
        {"s0: 8 of 9, 112", 0, 24, 212, block8, 0, {}},
        {"s0: 7 of 9", 0, 24, 213, Points(block8.begin() + 1, block8.end()), 0, {}},
        {"s10: hit count 14 from the limit table, never reached", 10, 24, 255, block8, 0, {}},
        {"off the grid of the zone's edges", 9, 24, 255, {{17, 16}, {16, 17}, {19, 19}, {9, 8}}, 0, {}},
        // 16-bit: byte & 30, limit table^2 = 100 at s4, so the masked step must reach 12.
        {"16-bit s4: masked 12", 4, 16, 12, row3, 1, {24, 16}},
        {"16-bit s4: 11 masks to 10", 4, 16, 11, row3, 0, {}},
        {"16-bit s4: bits 0, 5, 6, 7 only", 4, 16, 0xE1, row3, 0, {}},
        // Column bounds with a whole-frame reference.
        {"24-bit, right of the zone", 9, 24, 141, {{98, 2}}, 1, {98, 2}, wide, 100},
        {"24-bit, in the margin above the zone", 9, 24, 141, {{2, 1}}, 1, {102, 2}, wide, 100},
        {"16-bit, last sample inside the zone", 9, 16, 30, {{94, 2}}, 1, {94, 2}, wide, 100},
        {"16-bit, right of the zone", 9, 16, 30, {{98, 2}}, 0, {}, wide, 100},
    };
    for (const auto &c : cases) {
        Detector detector;
        detector.init(c.sensitivity, {c.zone});
        Frame frame(c.size, c.size, uint16_t(c.bitCount), c.bitCount == 16 ? 0 : 100);
        detector.prime(frame);
        for (const ZonePoint &p : c.points) frame.at(p.x, p.y) = uint8_t(c.value);
        EXPECT_EQ(detector.feed(frame), c.mask) << c.what;
        if (c.mask) {
            EXPECT_EQ(point(detector.zone(0).triggerPoint), point(c.trigger)) << c.what;
        }
    }
}

TEST(MotionCompare, ReferenceGeometryOnTheFirstFrame) {
    // Frame size, zones; the zone's pixelRect and referenceRect; the reference's width, height, bytes.
    const struct { int32_t width, height; std::vector<RECT> zones; Box pixelRect, referenceRect;
                   int32_t refWidth, refHeight; uint32_t refBytes; } cases[] = {
        {720, 480, {}, {2, 2, 718, 478}, {2, 2, 718, 478}, 720, 480, 1036800},  // whole frame, 98%: kept whole
        {100, 100, {{2, 2, 98, 81}}, {2, 2, 98, 81}, {0, 0, 96, 79}, 96, 79, 22752},   // 22752 of 30000: 75%
        {100, 100, {{2, 2, 98, 82}}, {2, 2, 98, 82}, {2, 2, 98, 82}, 100, 100, 30000}, // 23040: 76%
        {100, 100, {{-50, -50, 31, 30}}, {2, 2, 31, 30}, {0, 0, 29, 28}, 29, 28, 88 * 28},  // 87-byte rows padded
        // 11988 x 3996 = 47904048 bytes; x 100 wraps in 32 bits to 495437504, 10% of 48000000.
        {4000, 4000, {}, {2, 2, 3998, 3998}, {0, 0, 3996, 3996}, 3996, 3996, 47904048},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << "case " << &c - cases);
        Detector detector;
        detector.init(4, c.zones);
        detector.prime(Frame(c.width, c.height));
        const MotionZone &zone = detector.zone(0);
        EXPECT_EQ(box(zone.frameRect), (Box{0, 0, c.width, c.height}));
        EXPECT_EQ(box(zone.pixelRect), c.pixelRect);
        EXPECT_EQ(box(zone.referenceRect), c.referenceRect);
        ASSERT_NE(zone.reference, nullptr);
        const BITMAPINFOHEADER &ref = zone.reference->header;
        EXPECT_EQ(std::tuple(ref.biWidth, ref.biHeight, ref.biSizeImage),
                  std::tuple(c.refWidth, c.refHeight, c.refBytes));
    }
}

TEST(MotionCompare, MaskHoldsZonesZeroToSevenAndZone32OnBitZero) {
    std::vector<RECT> zones;  // 33 disjoint 8 x 8 zones, 16 to a row, 12 px apart
    for (int32_t i = 0; i < 33; ++i) {
        const int32_t x = 4 + i % 16 * 12, y = 4 + i / 16 * 12;
        zones.push_back({x, y, x + 8, y + 8});
    }
    const struct { std::vector<int32_t> moving; uint8_t mask; uint32_t activeSum; } cases[] = {
        {{8}, 0x00, 1}, {{32}, 0x01, 1}, {{0, 7}, 0x81, 2}, {{7, 8, 31, 32}, 0x81, 4}};
    for (const auto &c : cases) {
        Detector detector;
        detector.init(9, zones);
        Frame frame(200, 48);
        detector.prime(frame);
        for (int32_t i : c.moving) frame.at(zones[i].left, zones[i].top) = 200;
        EXPECT_EQ(detector.feed(frame), c.mask) << testing::PrintToString(c.moving);
        EXPECT_EQ(detector.state().activeSum, c.activeSum) << testing::PrintToString(c.moving);
    }
}

// Each frame is compared with the one before, not with a background; this also needs both the
// cropped references to hold their zone's rows the right way up.
TEST(MotionCompare, MotionLastsWhileFramesDifferAndStopsOnTheFirstStillOne) {
    Detector detector;
    detector.init(9, {{8, 8, 40, 40}, {44, 8, 60, 40}});
    const Frame flat(64, 64);
    detector.prime(flat);
    EXPECT_EQ(detector.state().lastChangeTime, 0);
    const int64_t before = platform::currentTime();
    // A dot climbing through zone 0 (the first difference in scan order is its new place) and a dot
    // that appears in zone 1 and stays. framesInPhase restarts when motion starts or stops.
    const struct { std::vector<ZonePoint> dots; uint8_t mask; uint32_t activeSum; int32_t framesInPhase, triggerY; }
        script[] = {{{{16, 32}}, 0x01, 1, 1, 32},
                    {{{16, 24}, {48, 16}}, 0x03, 2, 2, 24},
                    {{{16, 16}, {48, 16}}, 0x01, 1, 3, 16},
                    {{{16, 16}, {48, 16}}, 0x00, 0, 1, 16},
                    {{{16, 16}, {48, 16}}, 0x00, 0, 2, 16}};
    for (const auto &s : script) {
        Frame frame = flat;
        for (const ZonePoint &p : s.dots) frame.at(p.x, p.y) = 200;
        const uint8_t mask = detector.feed(frame);
        const MotionDetector &state = detector.state();
        EXPECT_EQ(std::tuple(mask, state.activeSum, state.framesInPhase, point(detector.zone(0).triggerPoint)),
                  std::tuple(s.mask, s.activeSum, s.framesInPhase, (std::array{16, s.triggerY})))
            << "frame " << &s - script;
        EXPECT_GE(state.lastChangeTime, before);
    }
}

// A buffer written top row first, as the paint calls show it: memory rows 8 to 19 are watched by
// the zone mirrored about the frame's height, {8, 64 - 20, 24, 64 - 8}, not by the rectangle that
// outlines them. The change stands at memory row 15, image row 48 of the bottom-up frame.
TEST(MotionCompare, ZonesOfATopDownBufferAreMirroredAboutTheHeight) {
    const struct { const char *what; RECT zone; uint8_t mask; } cases[] = {
        {"mirrored: image rows 44 to 55", {8, 44, 24, 56}, 1},
        {"as painted: memory rows 44 to 55", {8, 8, 24, 20}, 0},
    };
    for (const auto &c : cases) {
        Detector detector;
        detector.init(9, {c.zone});
        Frame frame(64, 64);
        detector.prime(frame);
        frame.pixels[size_t(15 * frame.step + 8 * 3)] = 200;
        EXPECT_EQ(detector.feed(frame), c.mask) << c.what;
    }
}

// A frame exactly as large as its header says, ending at a no-access page: a read past its end
// faults. Bottom-up rows padded to 32 bits; at(x, y) counts y from the top.
struct GuardedFrame {
    BITMAPINFOHEADER header;
    int32_t step;
    test::GuardedBuffer bytes;
    GuardedFrame(int32_t w, int32_t h, uint16_t bits, uint8_t fill)
        : header{40, w, h, 1, bits, 0, 0, 0, 0, 0, 0}, step((w * bits + 31) / 32 * 4),
          bytes(size_t(step) * size_t(h), fill) {}
    uint8_t &at(int32_t x, int32_t y) { return bytes.data()[size_t((header.biHeight - 1 - y) * step + x * bits() / 8)]; }
    int32_t bits() const { return header.biBitCount; }
};

// Feeds a frame with the mask byte between two sentinels; both must survive.
uint8_t feedGuarded(void *handle, const GuardedFrame &frame) {
    uint8_t mask[3] = {0xEE, 0xA5, 0xEE};
    EXPECT_EQ(MotionCompare(handle, &frame.header, frame.bytes.data(), &mask[1]), 1);
    EXPECT_EQ(mask[0], 0xEE);
    EXPECT_EQ(mask[2], 0xEE);
    return mask[1];
}

// Zones set for one stream and frames of another: every call returns 1, reads only inside the
// frame, and a zone whose geometry does not fit the frame reports no motion until it fits again.
TEST(MotionCompare, ZonesAndFramesThatDoNotFitEndNoProcess) {
    // A frame: size, depth, a changed sample (x < 0: none), and the mask it must give.
    struct Step { int32_t w, h, bits, x, y; uint8_t mask; };
    const struct { const char *what; int32_t sensitivity; std::vector<RECT> zones; Step prime; std::vector<Step> then; }
        cases[] = {
            {"zone right of and below a 25x75 frame: nothing to watch", 9, {{43, 80, 51, 144}}, {25, 75, 16, -1, 0, 0},
             {{25, 75, 16, 10, 10, 0}, {25, 75, 16, 20, 70, 0}}},
            {"zone over the bottom-left corner: clamped to 2,67,23,73 and watched", 9, {{-9, 67, 32, 156}},
             {25, 75, 16, -1, 0, 0}, {{25, 75, 16, 2, 67, 1}, {25, 75, 16, 2, 67, 0}}},
            {"cropped 600x460 reference, then 176x128 frames, then the old size again", 9, {{100, 100, 700, 560}},
             {720, 576, 24, -1, 0, 0},
             {{176, 128, 24, 108, 108, 0}, {176, 128, 24, -1, 0, 0}, {720, 576, 24, 108, 108, 1}}},
            {"whole-frame reference, then a smaller frame, then the old size again", 9, {},
             {64, 48, 24, -1, 0, 0}, {{32, 48, 24, 10, 10, 0}, {64, 48, 24, 10, 10, 1}}},
            {"whole-frame reference, then 16-bit frames of the same size", 9, {}, {64, 48, 24, -1, 0, 0},
             {{64, 48, 16, 10, 10, 0}, {64, 48, 24, 10, 10, 1}}},
            {"a zone that still fits the smaller frame is watched", 9, {{4, 4, 20, 20}}, {64, 48, 24, -1, 0, 0},
             {{40, 40, 24, 8, 8, 1}}},
            {"frames with no width", 9, {}, {0, 75, 24, -1, 0, 0}, {{0, 75, 24, -1, 0, 0}}},
            {"frames with no height", 9, {}, {25, 0, 24, -1, 0, 0}, {{25, 0, 24, -1, 0, 0}}},
            // Samples run 3 bytes a pixel over 1-byte pixels: the scan would leave the frame.
            {"8-bit frames whose scan leaves the frame", 9, {{20, 2, 60, 46}}, {64, 48, 8, -1, 0, 0},
             {{64, 48, 8, 20, 2, 0}}},
        };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        Detector detector;
        detector.init(c.sensitivity, c.zones);
        for (int i = 0; i < 35; ++i) {
            GuardedFrame frame(c.prime.w, c.prime.h, uint16_t(c.prime.bits), 0);
            EXPECT_EQ(feedGuarded(detector.handle, frame), 0);
        }
        for (const Step &step : c.then) {
            GuardedFrame frame(step.w, step.h, uint16_t(step.bits), 0);
            if (step.x >= 0) frame.at(step.x, step.y) = 200;  // 8 in the bits a 16-bit frame keeps
            EXPECT_EQ(feedGuarded(detector.handle, frame), step.mask) << &step - c.then.data();
        }
    }
}

// Zones beyond the frame, whose sides clamp past each other. An inverted zone keeps a whole-frame
// reference (its negative byte count is a huge unsigned share), and a 24-bit scan runs from the
// zone's left edge as many samples as the frame is wide, on into the next memory row: samples
// outside the zone fire it. 16-bit scans end at the zone's negative width, and rows at a negative
// height, so those never fire. A walk that would leave the frame, or a reference cropped to a
// negative side, is never watched. Frames are exactly as large as their headers; blue 33 -> 120 at
// sensitivity 8 fires a sample (16 bits: 0 -> 24 in the kept bits).
TEST(MotionCompare, ZonesBeyondTheFrameScanWhatTheirWalkReaches) {
    const struct { const char *what; int32_t w, h, bits; RECT zone; int32_t x, y; uint8_t mask; } cases[] = {
        // 2,3..62,11 on 64x48: starts at byte 210 of image row 2+y, pixel 6, 16 samples of 12 bytes.
        {"right of 64x48, sample 10 of image row 6", 64, 48, 24, {70, 3, 106, 11}, 42, 6, 1},
        {"right of 64x48, sample 2 of image row 6", 64, 48, 24, {70, 3, 106, 11}, 10, 6, 1},
        {"right of 64x48, off the grid", 64, 48, 24, {70, 3, 106, 11}, 60, 6, 0},
        {"right of 64x48, last sample wraps to pixel 2 of image row 1", 64, 48, 24, {70, 3, 106, 11}, 2, 1, 1},
        {"right of 64x48, image row 10 is past spanY 8", 64, 48, 24, {70, 3, 106, 11}, 42, 10, 0},
        // 2,3,-10,11: from pixel 2 of image rows 3 and 7, the whole row.
        {"left of 64x48, pixel 62 of image row 3", 64, 48, 24, {-50, 3, -10, 11}, 62, 3, 1},
        {"left of 64x48, pixel 6 of image row 7", 64, 48, 24, {-50, 3, -10, 11}, 6, 7, 1},
        {"left of 64x48, image row 6 is not sampled", 64, 48, 24, {-50, 3, -10, 11}, 6, 6, 0},
        {"above 64x48: no rows", 64, 48, 24, {10, -20, 30, -5}, 10, 2, 0},
        {"below 64x48: no rows", 64, 48, 24, {10, 60, 30, 80}, 10, 42, 0},
        {"far right of 64x48: the walk would leave the frame", 64, 48, 24, {1000, 3, 1100, 11}, 2, 1, 0},
        // 63 and 62: width -1 has a byte count of 0, so the reference is cropped to a negative side.
        {"one pixel into the right margin: cropped to width -1", 64, 48, 24, {63, 30, 90, 40}, 10, 30, 0},
        // 50,10,38,20 on 40x30: byte 150 of memory row 19 - y is pixel 10 of image row 9 + y; 8
        // samples there, then pixels 2 and 6 of image row 8 + y.
        {"right of 40x30, pixel 38 of image row 13", 40, 30, 24, {50, 10, 60, 20}, 38, 13, 1},
        {"right of 40x30, pixel 6 of image row 16", 40, 30, 24, {50, 10, 60, 20}, 6, 16, 1},
        {"right of 40x30, pixel 10 of image row 10", 40, 30, 24, {50, 10, 60, 20}, 10, 10, 0},
        // 40,2,30,6 on 32x32: pixels 8 to 28 of image row 1, then pixels 0 and 4 of image row 0.
        {"right of 32x32, the frame's top-left pixel", 32, 32, 24, {40, 1, 50, 6}, 0, 0, 1},
        {"right of 32x32, pixel 8 of image row 1", 32, 32, 24, {40, 1, 50, 6}, 8, 1, 1},
        {"right of 32x32, pixel 8 of image row 0", 32, 32, 24, {40, 1, 50, 6}, 8, 0, 0},
        {"right of 32x32, a walk 7 bytes past the frame's end", 32, 32, 24, {70, 1, 90, 6}, 6, 0, 0},
        {"16 bits, right of 64x48", 64, 48, 16, {70, 3, 106, 11}, 42, 6, 0},
        {"16 bits, left of 64x48", 64, 48, 16, {-50, 3, -10, 11}, 6, 7, 0},
        {"16 bits, inside 64x48", 64, 48, 16, {8, 8, 24, 24}, 8, 8, 1},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        Detector detector;
        detector.init(8, {c.zone});
        GuardedFrame still(c.w, c.h, uint16_t(c.bits), 33), moved(c.w, c.h, uint16_t(c.bits), 33);
        moved.at(c.x, c.y) = 120;
        for (int i = 0; i < 31; ++i) EXPECT_EQ(feedGuarded(detector.handle, still), 0);
        EXPECT_EQ(feedGuarded(detector.handle, moved), c.mask);
        EXPECT_EQ(feedGuarded(detector.handle, moved), 0);  // the reference now holds the change
    }
}

TEST(MotionCompare, NullPointersAreNoFrame) {
    Detector detector;
    detector.init(9, {});
    GuardedFrame frame(32, 32, 24, 0);
    uint8_t mask = 0xA5;
    EXPECT_EQ(MotionCompare(detector.handle, nullptr, frame.bytes.data(), &mask), 1);
    EXPECT_EQ(mask, 0);
    EXPECT_EQ(MotionCompare(detector.handle, &frame.header, nullptr, &mask), 1);
    EXPECT_EQ(detector.state().warmUpFrames, 0);  // neither counted
    // Without a mask byte the frame still counts; nothing is written.
    EXPECT_EQ(MotionCompare(detector.handle, &frame.header, frame.bytes.data(), nullptr), 1);
    EXPECT_EQ(detector.state().warmUpFrames, 1);
    EXPECT_EQ(MotionInit(detector.handle, 9, nullptr, 4), 1);  // null rectangles: the whole frame
    EXPECT_EQ(box(detector.zone(0).zoneRect), (Box{0, 0, 32767, 32767}));
}

// Random zones, sensitivities, sizes and depths, changing between and within MotionInit calls, on
// frames exactly as large as their headers say. Each call returns 1 and reports only zones it has.
TEST(MotionCompare, RandomStreamsStayInsideTheirFrames) {
    std::mt19937 random(20261124);
    auto pick = [&random](int32_t lo, int32_t hi) { return std::uniform_int_distribution<int32_t>(lo, hi)(random); };
    const uint16_t depths[] = {16, 24, 24, 8, 32};
    for (int round = 0; round < 150; ++round) {
        Detector detector;
        std::vector<RECT> zones(size_t(pick(0, 5)));
        for (RECT &r : zones) r = {pick(-40, 90), pick(-40, 90), pick(-40, 130), pick(-40, 130)};
        detector.init(pick(-3, 12), zones);
        detector.state().warmUpFrames = kWarmUpFrames;  // every frame is watched from here
        int32_t w = pick(0, 90), h = pick(0, 90);
        uint16_t bits = depths[pick(0, 4)];
        for (int i = 0; i < 20; ++i) {
            if (pick(0, 3) == 0) {
                w = pick(0, 90), h = pick(0, 90);
                bits = depths[pick(0, 4)];
            }
            GuardedFrame frame(w, h, bits, uint8_t(pick(0, 255)));
            for (int dot = pick(0, 20); dot > 0 && frame.bytes.size() > 0; --dot)
                frame.bytes.data()[size_t(pick(0, int32_t(frame.bytes.size()) - 1))] = uint8_t(pick(0, 255));
            const uint8_t mask = feedGuarded(detector.handle, frame);
            const int32_t count = detector.state().zones.size();
            if (count < 8) {
                EXPECT_EQ(mask >> count, 0);
            }
        }
    }
}


// Thousands of detectors opened, driven through their references and closed again, some with a
// second MotionInit in between; under the sanitizers nothing may be left when the program ends.
TEST(MotionLifecycle, ThousandsOfDetectorsLeaveNothing) {
    GuardedFrame frame(40, 30, 24, 50), moved(40, 30, 24, 50);
    moved.at(8, 8) = 200;
    for (int i = 0; i < 3000; ++i) {
        Detector detector;
        detector.init(9, {{4, 4, 20, 20}, {0, 0, 40, 30}});
        detector.state().warmUpFrames = kWarmUpFrames;
        feedGuarded(detector.handle, frame);
        if (i % 3 == 0) detector.init(4, {});
        EXPECT_EQ(feedGuarded(detector.handle, i % 2 ? moved : frame), 0);
    }
}

}  // namespace
}  // namespace kx
