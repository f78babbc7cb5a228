#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "kestrix.h"

namespace {

struct LumaRow {
    const char *what;
    std::vector<uint8_t> pixels;
    int32_t expected;
};

const LumaRow kRows[] = {
    {"black", {0, 0, 0, 0, 0, 0, 0, 0, 0}, 0},
    {"white: weights add to 0.991, 252.705", {255, 255, 255, 255, 255, 255}, 252},
    {"first byte 100: 29.9", {100, 0, 0}, 29},
    {"second byte 100: 57.8 (0.578, not 0.587)", {0, 100, 0}, 57},
    {"third byte 100: 11.4", {0, 0, 100}, 11},
    {"0.299 on the first byte: 255 gives 76.245", {255, 0, 0}, 76},
    {"0.114 on the third byte: 255 gives 29.07", {0, 0, 255}, 29},
    {"10 and 13 after truncation, mean 11.5 truncated", {0, 0, 88, 0, 0, 115}, 11},
    {"each pixel truncated before the mean: 3 x 29.9", {100, 0, 0, 100, 0, 0, 100, 0, 0}, 29},
    {"grey 10: 9.91", {10, 10, 10}, 9},
    {"exactly 42 in reals, 41.99999999999999 in double", {0, 63, 49}, 41},
    {"73.0 in this order of sums, 72.999... in the other", {2, 87, 194}, 73},
    {"mixed: 252, 0, 29, 57 sum 338 over 4", {255, 255, 255, 0, 0, 0, 100, 0, 0, 0, 100, 0}, 84},
};

TEST(BmpGetYDc, Table) {
    for (const LumaRow &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(BmpGetYDc(row.pixels.data(), static_cast<uint32_t>(row.pixels.size())), row.expected);
    }
}

TEST(BmpGetYDc, LargeFrameReadsEveryPixel) {
    // 720 x 576, all white but the last pixel black: (414719 * 252) / 414720 = 251.99..., so 251.
    std::vector<uint8_t> frame(720 * 576 * 3, 255);
    frame[frame.size() - 1] = frame[frame.size() - 2] = frame[frame.size() - 3] = 0;
    EXPECT_EQ(BmpGetYDc(frame.data(), static_cast<uint32_t>(frame.size())), 251);
}

}  // namespace
