// Which zones the element hands the detector, and the rows it hands them in.
#include <gtest/gtest.h>

#include "zones.h"

namespace kx::gst {
namespace {

constexpr RECT A = {0, 0, 100, 100}, B = {10, 10, 20, 20}, C = {30, 30, 40, 40}, D = {200, 0, 300, 100};
constexpr RECT E = {5, 5, 5, 50};  // empty

struct WatchCase {
    const char *what;
    std::vector<RECT> zones;
    std::vector<int32_t> watched;
};

const WatchCase kWatchCases[] = {
    {"none", {}, {}},
    {"only empty ones", {E, E}, {}},
    {"inside its predecessor", {A, B}, {0}},
    {"its predecessor inside it", {B, A}, {1}},
    {"inside, but not a neighbour", {A, D, B}, {0, 1, 2}},
    {"two inside, brought together", {A, B, C}, {0}},
    {"three the same: the later go", {A, A, A}, {0}},
    {"empty ones dropped first, which makes neighbours", {A, E, B, D}, {0, 3}},
    {"apart", {A, D}, {0, 1}},
    {"overlapping only", {{0, 0, 50, 50}, {25, 25, 75, 75}}, {0, 1}},
    {"the first eight of ten",
     {{0, 0, 1, 1}, {2, 0, 3, 1}, {4, 0, 5, 1}, {6, 0, 7, 1}, {8, 0, 9, 1}, {10, 0, 11, 1}, {12, 0, 13, 1},
      {14, 0, 15, 1}, {16, 0, 17, 1}, {18, 0, 19, 1}},
     {0, 1, 2, 3, 4, 5, 6, 7}},
};

class Watched : public ::testing::TestWithParam<WatchCase> {};

TEST_P(Watched, AsTheDetectorKeepsThem) { EXPECT_EQ(watchedZones(GetParam().zones), GetParam().watched); }

INSTANTIATE_TEST_SUITE_P(Lists, Watched, ::testing::ValuesIn(kWatchCases));

// Rows 8 to 40 (exclusive) of a picture of 120 rows are rows 80 to 112 counted from the bottom.
TEST(FlipRows, SameRowsFromTheBottom) {
    const struct {
        RECT zone;
        int32_t height;
        RECT flipped;
    } rows[] = {
        {{16, 8, 80, 40}, 120, {16, 80, 80, 112}},
        {{0, 0, 720, 576}, 576, {0, 0, 720, 576}},
        {{2, -10, 3, 5}, 10, {2, 5, 3, 20}},
        {{0, INT32_MIN, 1, INT32_MAX}, 100, {0, 100 - INT32_MAX, 1, INT32_MAX}},  // held, not wrapped
    };
    for (const auto &r : rows) {
        const RECT f = flipRows(r.zone, r.height);
        EXPECT_EQ((std::vector<int32_t>{f.left, f.top, f.right, f.bottom}),
                  (std::vector<int32_t>{r.flipped.left, r.flipped.top, r.flipped.right, r.flipped.bottom}));
    }
}

TEST(Zones, FormatGivesBackWhatParses) {
    std::vector<RECT> zones;
    ASSERT_TRUE(parseZones("1,2,3,4;-5,6,7,8;", zones));
    EXPECT_EQ(formatZones(zones), "1,2,3,4;-5,6,7,8");
    for (const char *bad : {";", "1,2,3,4;;", "1,2,3,", ",1,2,3", "1 2,3,4,5", "99999999999,0,1,1"}) {
        EXPECT_FALSE(parseZones(bad, zones)) << bad;
    }
    EXPECT_EQ(zones.size(), 2u);
}

}  // namespace
}  // namespace kx::gst
