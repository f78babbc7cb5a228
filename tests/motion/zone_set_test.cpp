#include <gtest/gtest.h>

#include "motion_fixture.h"

namespace kx::test {
namespace {

const RECT A{10, 10, 100, 100};
const RECT B{20, 20, 40, 40};      // inside A
const RECT C{200, 200, 300, 300};  // apart from A and B
const RECT D{50, 50, 70, 70};      // inside A, apart from B
const RECT E{90, 90, 150, 150};    // overlaps A only in part
const RECT F{100, 10, 120, 30};    // touches A's right edge: no common area

struct PruneCase {
    const char *what;
    std::vector<RECT> rects;
    std::vector<Box> zones;
};

TEST(MotionZoneSet, KeepsRectanglesThatNoNeighbourContains) {
    const PruneCase cases[] = {
        {"B inside A", {A, B}, {box(A)}},
        {"A around B", {B, A}, {box(A)}},
        {"C inside A, B between them", {A, C, B}, {box(A), box(C), box(B)}},
        {"B goes first, bringing D next to A", {A, B, D}, {box(A)}},
        {"three equal", {A, A, A}, {box(A)}},
        {"overlap only", {A, E}, {box(A), box(E)}},
        {"touching edges", {A, F}, {box(A), box(F)}},
        {"empties dropped, later ones move down", {{5, 5, 5, 50}, {9, 9, 1, 20}, C, B}, {box(C), box(B)}},
    };
    for (const PruneCase &c : cases) {
        Detector detector;
        detector.init(6, c.rects);
        std::vector<Box> zones;
        for (int32_t i = 0; i < detector.state().zones.size(); ++i) {
            zones.push_back(box(detector.zone(i).zoneRect));
            EXPECT_EQ(box(detector.zone(i).pixelRect), zones.back()) << c.what;
            EXPECT_EQ(detector.zone(i).sensitivity, 6) << c.what;
        }
        EXPECT_EQ(zones, c.zones) << c.what;
    }
}

TEST(MotionZoneSet, NoUsableRectangleWatchesTheWholeFrame) {
    const RECT empties[] = {{5, 5, 5, 9}, {5, 9, 9, 5}, {9, 9, 1, 1}};
    const struct {
        const char *what;
        const RECT *rects;
        int32_t count;
    } cases[] = {{"count 0", empties, 0}, {"negative count, null rects", nullptr, -3}, {"only empties", empties, 3}};
    for (const auto &c : cases) {
        Detector detector;
        MotionInit(detector.handle, 7, c.rects, c.count);
        ASSERT_EQ(detector.state().zones.size(), 1) << c.what;
        EXPECT_EQ(box(detector.zone(0).zoneRect), (Box{0, 0, 32767, 32767})) << c.what;
        EXPECT_EQ(box(detector.zone(0).pixelRect), (Box{0, 0, 32767, 32767})) << c.what;
        EXPECT_EQ(detector.zone(0).sensitivity, 7) << c.what;
    }
}

TEST(MotionZoneSet, NullDetectorsAreAcceptedAndANewOneHasNoZones) {
    uint8_t mask = 0xFF;
    EXPECT_EQ(MotionCompare(nullptr, nullptr, nullptr, &mask), 1);
    EXPECT_EQ(mask, 0);
    EXPECT_EQ(MotionInit(nullptr, 4, &A, 1), 1);
    EXPECT_EQ(MotionClose(nullptr), 1);

    Detector fresh;
    ASSERT_NE(fresh.handle, nullptr);
    EXPECT_EQ(fresh.state().zones.size(), 0);
    EXPECT_EQ(fresh.state().sensitivity, 4);
    // Without MotionInit frames are only counted.
    Frame frame(32, 32);
    for (int i = 0; i < 40; ++i) EXPECT_EQ(fresh.feed(frame), 0);
    EXPECT_EQ(fresh.state().warmUpFrames, 30);
    EXPECT_EQ(fresh.state().framesInPhase, 10);
    EXPECT_EQ(MotionClose(MotionOpen()), 1);
}

TEST(MotionZoneSet, InitAgainForgetsZonesReferencesAndWarmUp) {
    Detector detector;
    detector.init(9, {{8, 8, 24, 24}, {30, 8, 40, 24}});
    Frame still(48, 32), moved(48, 32);
    moved.at(8, 8) = 200;    // on the grid of the first zone
    moved.at(10, 10) = 200;  // on the grid of the whole-frame zone, which starts at 2, 2
    detector.prime(still);
    EXPECT_EQ(detector.feed(moved), 1);
    EXPECT_NE(detector.zone(0).reference, nullptr);

    detector.init(9, {});
    const MotionDetector &state = detector.state();
    ASSERT_EQ(state.zones.size(), 1);
    EXPECT_EQ(detector.zone(0).reference, nullptr);
    EXPECT_EQ(detector.zone(0).inMotion, 0u);
    EXPECT_EQ(state.warmUpFrames, 0);
    EXPECT_EQ(state.activeSum, 0u);
    EXPECT_EQ(state.lastChangeTime, 0);
    EXPECT_EQ(state.framesInPhase, 0);
    // The warm-up runs again in full: 30 frames swallowed whatever they hold, then frame 31 (unlike
    // frame 30) makes the reference without a comparison, and frame 32 is the first compared.
    for (int i = 0; i < 30; ++i) EXPECT_EQ(detector.feed(i % 2 ? moved : still), 0) << "frame " << i + 1;
    EXPECT_EQ(detector.zone(0).reference, nullptr);
    EXPECT_EQ(detector.feed(still), 0);
    EXPECT_NE(detector.zone(0).reference, nullptr);
    EXPECT_EQ(state.framesInPhase, 1);
    EXPECT_EQ(detector.feed(still), 0);
    EXPECT_EQ(detector.feed(moved), 1);
}

}  // namespace
}  // namespace kx::test
