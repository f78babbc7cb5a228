#include <gtest/gtest.h>

#include <cstring>

#include "motion_fixture.h"
#include "platform/platform.h"

namespace kx::test {
namespace {

using Points = std::vector<ZonePoint>;

struct SampleCase {
    const char *what;
    int32_t sensitivity;
    uint16_t bitCount;
    uint8_t value;  // over a flat 100 (24-bit) or 0 (16-bit)
    Points points;
    uint8_t mask;
    ZonePoint trigger;
    RECT zone = {8, 8, 40, 40};  // 25% of 64 x 64: a cropped reference
    int32_t size = 64;
};

TEST(MotionCompare, FiresOnAClusterOfChangedSamples) {
    const Points row3{{16, 16}, {20, 16}, {24, 16}};
    const Points block8{{20, 16}, {24, 16}, {16, 20}, {20, 20}, {24, 20}, {16, 24}, {20, 24}, {24, 24}};
    const Points block9{{16, 16}, {20, 16}, {24, 16}, {16, 20}, {20, 20}, {24, 20}, {16, 24}, {20, 24}, {24, 24}};
    // 10,2,98,98 of 100 x 100 is 84% of the bytes: a whole-frame reference. A 24-bit row scan then
    // covers 100 samples from x = 10, the last ones in the next memory row (the image row above).
    const RECT wide{10, 2, 98, 98};
    const SampleCase cases[] = {
        // 24-bit: limit (table * 8)^2, strictly above.
        {"s9: 41 > 40", 9, 24, 141, {{16, 16}}, 1, {16, 16}},
        {"s9: 40 is not above 40", 9, 24, 140, {{16, 16}}, 0, {}},
        {"s9: -41", 9, 24, 59, {{16, 16}}, 1, {16, 16}},
        {"s4: three in a row, 81 > 80", 4, 24, 181, row3, 1, {24, 16}},
        {"s4: three in a row, 80", 4, 24, 180, row3, 0, {}},
        {"s4: three in a column", 4, 24, 181, {{16, 16}, {16, 20}, {16, 24}}, 1, {16, 24}},
        {"s4: the three 16 px apart", 4, 24, 181, {{16, 16}, {32, 16}, {16, 32}}, 0, {}},
        {"s4: a column over 16 px", 4, 24, 181, {{16, 16}, {16, 20}, {16, 32}}, 0, {}},
        {"s4: two are not enough", 4, 24, 181, {{16, 16}, {20, 20}}, 0, {}},
        {"s0: 8 of 9, 113 > 112", 0, 24, 213, block8, 1, {24, 24}},
        {"s0: 8 of 9, 112", 0, 24, 212, block8, 0, {}},
        {"s0: 7 of 9", 0, 24, 213, Points(block8.begin() + 1, block8.end()), 0, {}},
        {"s10: hit count 14 from the limit table, never reached", 10, 24, 255, block9, 0, {}},
        {"off the grid of the zone's edges", 9, 24, 255, {{17, 16}, {16, 17}, {19, 19}, {9, 8}}, 0, {}},
        // 16-bit: byte & 30, limit table^2 = 100 at s4, so the masked step must reach 12.
        {"16-bit s4: masked 12", 4, 16, 12, row3, 1, {24, 16}},
        {"16-bit s4: 11 masks to 10", 4, 16, 11, row3, 0, {}},
        {"16-bit s4: bits 0, 5, 6, 7 only", 4, 16, 0xE1, row3, 0, {}},
        {"16-bit s4: masked 30", 4, 16, 0x1E, row3, 1, {24, 16}},
        // Column bounds with a whole-frame reference.
        {"24-bit, right of the zone", 9, 24, 141, {{98, 2}}, 1, {98, 2}, wide, 100},
        {"24-bit, row above, pixel 2 = sample at 102", 9, 24, 141, {{2, 5}}, 1, {102, 6}, wide, 100},
        {"24-bit, in the margin above the zone", 9, 24, 141, {{2, 1}}, 1, {102, 2}, wide, 100},
        {"16-bit, last sample inside the zone", 9, 16, 30, {{94, 2}}, 1, {94, 2}, wide, 100},
        {"16-bit, right of the zone", 9, 16, 30, {{98, 2}}, 0, {}, wide, 100},
        {"16-bit, row above", 9, 16, 30, {{2, 5}}, 0, {}, wide, 100},
    };
    for (const SampleCase &c : cases) {
        Detector detector;
        detector.init(c.sensitivity, {c.zone});
        Frame frame(c.size, c.size, c.bitCount, c.bitCount == 16 ? 0 : 100);
        detector.prime(frame);
        for (const ZonePoint &p : c.points) frame.at(p.x, p.y) = c.value;
        EXPECT_EQ(detector.feed(frame), c.mask) << c.what;
        if (c.mask) {
            EXPECT_EQ(detector.zone(0).triggerPoint.x, c.trigger.x) << c.what;
            EXPECT_EQ(detector.zone(0).triggerPoint.y, c.trigger.y) << c.what;
        }
    }
}

TEST(MotionCompare, ReferenceGeometryOnTheFirstFrame) {
    const struct {
        const char *what;
        int32_t width, height;
        std::vector<RECT> zones;
        Box pixelRect, referenceRect;
        int32_t refWidth, refHeight;
        uint32_t refBytes;
    } cases[] = {
        {"whole frame, 98%", 720, 480, {}, {2, 2, 718, 478}, {2, 2, 718, 478}, 720, 480, 1036800},
        {"288 x 79 = 22752 of 30000: 75%, cropped", 100, 100, {{2, 2, 98, 81}}, {2, 2, 98, 81}, {0, 0, 96, 79},
         96, 79, 22752},
        {"288 x 80 = 23040 of 30000: 76%, whole", 100, 100, {{2, 2, 98, 82}}, {2, 2, 98, 82}, {2, 2, 98, 82},
         100, 100, 30000},
        {"clamped to the margin, rows of 87 bytes padded to 88", 100, 100, {{-50, -50, 31, 30}},
         {2, 2, 31, 30}, {0, 0, 29, 28}, 29, 28, 88 * 28},
        // 11988 x 3996 = 47904048 bytes; x 100 wraps to 495437504, 10% of 48000000.
        {"whole frame of 4000 x 4000, product wraps", 4000, 4000, {}, {2, 2, 3998, 3998}, {0, 0, 3996, 3996},
         3996, 3996, 47904048},
    };
    for (const auto &c : cases) {
        Detector detector;
        detector.init(4, c.zones);
        Frame frame(c.width, c.height);
        for (size_t i = 0; i < frame.pixels.size(); ++i) frame.pixels[i] = static_cast<uint8_t>(i % 251);
        detector.prime(frame);
        const MotionZone &zone = detector.zone(0);
        EXPECT_EQ(box(zone.frameRect), (Box{0, 0, c.width, c.height})) << c.what;
        EXPECT_EQ(box(zone.pixelRect), c.pixelRect) << c.what;
        EXPECT_EQ(box(zone.referenceRect), c.referenceRect) << c.what;
        ASSERT_NE(zone.reference, nullptr);
        const BITMAPINFOHEADER &ref = zone.reference->header;
        EXPECT_EQ(ref.biWidth, c.refWidth) << c.what;
        EXPECT_EQ(ref.biHeight, c.refHeight) << c.what;
        EXPECT_EQ(ref.biSizeImage, c.refBytes) << c.what;
        // The reference's corner pixels are the watched region's (rows bottom-up in both).
        const int32_t refStep = (c.refWidth * 24 + 31) / 32 * 4;
        auto refAt = [&](int32_t x, int32_t y) {
            return zone.reference->bits[static_cast<size_t>(c.refHeight - 1 - y) * refStep + 3 * x];
        };
        const Box &r = c.referenceRect, &p = c.pixelRect;
        EXPECT_EQ(refAt(r[0], r[1]), frame.at(p[0], p[1])) << c.what;
        EXPECT_EQ(refAt(r[2] - 1, r[3] - 1), frame.at(p[2] - 1, p[3] - 1)) << c.what;
    }
}

TEST(MotionCompare, MaskHoldsZonesZeroToSevenAndZone32OnBitZero) {
    // 33 disjoint 8 x 8 zones, 16 to a row, 12 px apart.
    std::vector<RECT> zones;
    for (int32_t i = 0; i < 33; ++i) {
        const int32_t x = 4 + (i % 16) * 12, y = 4 + (i / 16) * 12;
        zones.push_back({x, y, x + 8, y + 8});
    }
    const struct {
        std::vector<int32_t> moving;
        uint8_t mask;
        uint32_t activeSum;
    } cases[] = {{{8}, 0x00, 1}, {{32}, 0x01, 1}, {{0, 7}, 0x81, 2}, {{7, 8, 31, 32}, 0x81, 4}};
    for (const auto &c : cases) {
        Detector detector;
        detector.init(9, zones);
        ASSERT_EQ(detector.state().zones.size(), 33);
        Frame frame(200, 48);
        detector.prime(frame);
        for (int32_t i : c.moving) frame.at(zones[i].left, zones[i].top) = 200;
        EXPECT_EQ(detector.feed(frame), c.mask) << c.moving.size();
        EXPECT_EQ(detector.state().activeSum, c.activeSum) << c.moving.size();
    }
}

TEST(MotionCompare, MotionLastsWhileFramesDifferAndStopsOnTheFirstStillOne) {
    Detector detector;
    detector.init(9, {{8, 8, 40, 40}, {44, 8, 60, 40}});
    const Frame flat(64, 64);
    detector.prime(flat);
    EXPECT_EQ(detector.state().lastChangeTime, 0);
    const int64_t before = platform::currentTime();
    // A dot climbing through zone 0 (each frame's first difference in scan order is its new place),
    // a dot that appears in zone 1 and stays. framesInPhase restarts when motion starts or stops.
    const struct {
        Points dots;
        uint8_t mask;
        uint32_t activeSum;
        int32_t framesInPhase;
        int32_t triggerY;
    } script[] = {
        {{{16, 32}}, 0x01, 1, 1, 32},
        {{{16, 24}, {48, 16}}, 0x03, 2, 2, 24},
        {{{16, 16}, {48, 16}}, 0x01, 1, 3, 16},
        {{{16, 16}, {48, 16}}, 0x00, 0, 1, 16},
        {{{16, 16}, {48, 16}}, 0x00, 0, 2, 16},
    };
    int step = 0;
    for (const auto &s : script) {
        Frame frame = flat;
        for (const ZonePoint &p : s.dots) frame.at(p.x, p.y) = 200;
        EXPECT_EQ(detector.feed(frame), s.mask) << "step " << step;
        EXPECT_EQ(detector.state().activeSum, s.activeSum) << "step " << step;
        EXPECT_EQ(detector.state().framesInPhase, s.framesInPhase) << "step " << step;
        EXPECT_EQ(detector.zone(0).triggerPoint.x, 16) << "step " << step;
        EXPECT_EQ(detector.zone(0).triggerPoint.y, s.triggerY) << "step " << step;
        EXPECT_GE(detector.state().lastChangeTime, before) << "step " << step;
        ++step;
    }
}

}  // namespace
}  // namespace kx::test
