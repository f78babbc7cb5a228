// The stretch exports and the library's own StretchDIB: results, geometry, grid and passes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "bitmap/dib_header.h"
#include "bitmap/stretch_dib.h"
#include "kestrix.h"

namespace {

constexpr uint8_t kSentinel = 0xCD;
// Only the first coefficient: a pass moves the image one pixel left and one row up.
const int32_t kShift[9] = {1};

std::vector<uint8_t> filled(size_t count, uint8_t value = kSentinel) { return std::vector<uint8_t>(count, value); }

// 150 where x + y is even, 100 elsewhere, in all channels.
std::vector<uint8_t> checker(int32_t w, int32_t h) {
    std::vector<uint8_t> bits(size_t(3 * w * h));
    for (size_t i = 0; i < bits.size(); ++i) bits[i] = (i / 3 % size_t(w) + i / 3 / size_t(w)) % 2 ? 100 : 150;
    return bits;
}

// Rows first to last - 1 of an 8-wide checkerboard after one sharpen pass, bytes 2 to 13. A 150
// has four 100s beside it and four 150s at its corners: T = 1400, 175; a 100 gives T = 600, 75.
// Byte 2, channel 2 of pixel 0, finds its left neighbours at the end of the rows above: 100, 150,
// 100 beside a 150 (T = 1450, 181.25) and 150, 100, 150 beside a 100 (T = 550, 68.75).
void sharpenRegionRows(std::vector<uint8_t> &bits, int32_t first, int32_t last) {
    for (int32_t r = first; r < last; ++r) {
        for (int32_t b = 3; b < 14; ++b) bits[size_t(24 * r + b)] = bits[size_t(24 * r + b)] == 150 ? 175 : 75;
        bits[size_t(24 * r + 2)] = bits[size_t(24 * r + 2)] == 150 ? 181 : 69;
    }
}

enum Export { Stretch, StretchEx, StretchEx2 };

int32_t call(Export fn, const BITMAPINFOHEADER *src, const uint8_t *srcBits, BITMAPINFOHEADER *dst, uint8_t *dstBits,
             uint8_t *work, int32_t scale, int32_t passes, const int32_t *kernel = kShift, int32_t divisor = 1) {
    return fn == Stretch     ? BmpStretchDIB(src, srcBits, dst, dstBits, work, scale, passes)
           : fn == StretchEx ? BmpStretchDIBEx(src, srcBits, dst, dstBits, work, scale, passes, kernel, divisor)
                             : BmpStretchDIBEx2(dst, dstBits, work, passes, kernel, divisor);
}

// Pointer n of (source header, source bits, destination header or frame, its bits, work) is null.
// -1 and -2 touch nothing.
TEST(Stretch, ChecksAndResults) {
    const struct { const char *what; Export fn; int null; int32_t srcHeight, dstSizeDelta; const int32_t *kernel;
                   int32_t want; } rows[] = {
        {"null source header", Stretch, 0, 8, 0, kShift, -1},
        {"null source bits", StretchEx, 1, 8, 0, kShift, -1},
        {"null destination bits", Stretch, 3, 8, 0, kShift, -1},
        {"null work", StretchEx, 4, 8, 0, kShift, -1},
        {"null kernel is not tested", StretchEx, -1, 8, 0, nullptr, 0},
        {"null frame header", StretchEx2, 2, 8, 0, kShift, -1},
        {"null work, in place", StretchEx2, 4, 8, 0, kShift, -1},
        {"frame one byte short", StretchEx2, -1, 8, -1, kShift, -2},
        {"destination one byte short", Stretch, -1, 8, -1, kShift, -2},
        {"source height -8: 3 * -8 * 32 is 4294966528 unsigned", StretchEx, -1, -8, 0, kShift, -2},
    };
    for (const auto &row : rows) {
        BITMAPINFOHEADER src = header(32, 8), dst = header(32, 8);
        dst.biSize = 0, dst.biSizeImage += row.dstSizeDelta, src.biHeight = row.srcHeight;
        const BITMAPINFOHEADER dstBefore = dst;
        std::vector<uint8_t> srcBits = filled(768, 7), dstBits = filled(768), work = filled(768);
        void *p[5] = {&src, srcBits.data(), &dst, dstBits.data(), work.data()};
        if (row.null >= 0) p[row.null] = nullptr;
        const int32_t result = call(row.fn, static_cast<BITMAPINFOHEADER *>(p[0]), static_cast<uint8_t *>(p[1]),
                                    static_cast<BITMAPINFOHEADER *>(p[2]), static_cast<uint8_t *>(p[3]),
                                    static_cast<uint8_t *>(p[4]), 0, 1, row.kernel);
        EXPECT_EQ(result, row.want) << row.what;
        if (result < 0) {
            EXPECT_EQ(std::memcmp(&dst, &dstBefore, 40), 0) << row.what;
            EXPECT_TRUE(dstBits == filled(768) && work == filled(768)) << row.what;
        }
    }
}

// A source of 1, 2, 3 in every pixel, no pass: the rectangle holds it and the rest is zero (a fill
// leaves no rest). BmpStretchDIBEx places the cut source by the uncut size. -3 leaves the header
// written and work zeroed, and dstBits as it was.
TEST(Stretch, Geometry) {
    const struct { Export fn; int32_t sw, sh, dw, dh, scale, passes, want, rect[4]; const char *what; } rows[] = {
        {Stretch, 320, 240, 640, 240, -1, 0, 0, {160, 0, 320, 240}, "fit: 320 * 240 <= 240 * 640, NW 320"},
        {Stretch, 640, 240, 320, 240, -1, 0, 0, {0, 60, 320, 120}, "fit: 640 * 240 > 240 * 320, NH 120"},
        {Stretch, 100, 100, 320, 240, 2, 0, 0, {60, 20, 200, 200}, "twice, centred"},
        {StretchEx, 100, 100, 320, 240, 2, 0, 0, {60, 20, 200, 200}, "twice the uncut 100x100"},
        {Stretch, 100, 100, 320, 240, 3, 0, -3, {}, "3 > 240 / 100"},
        {Stretch, 100, 100, 320, 240, 0, -1, 0, {0, 0, 320, 240}, "fill; passes -1 runs none"},
        {Stretch, 100, 100, 320, 240, -2, 0, 0, {}, "scale -2: negative extents draw nothing"},
        {Stretch, 0, 0, 320, 240, -1, 0, -3, {}, "0 * 240 / 0 would fault: ends as -3"},
    };
    for (const auto &row : rows) {
        const BITMAPINFOHEADER src = header(row.sw, row.sh);
        BITMAPINFOHEADER dst = header(row.dw, row.dh);
        std::vector<uint8_t> srcBits(std::max<size_t>(src.biSizeImage, 1)), dstBits = filled(dst.biSizeImage),
            work = filled(dst.biSizeImage);
        for (size_t i = 0; i < srcBits.size(); ++i) srcBits[i] = uint8_t(i % 3 + 1);
        ASSERT_EQ(call(row.fn, &src, srcBits.data(), &dst, dstBits.data(), work.data(), row.scale, row.passes),
                  row.want) << row.what;
        EXPECT_EQ(dst.biSize + dst.biPlanes + dst.biBitCount, 40u + 1 + 24) << row.what;
        if (row.want == -3) {
            EXPECT_TRUE(work == filled(dst.biSizeImage, 0) && dstBits == filled(dst.biSizeImage)) << row.what;
            continue;
        }
        int32_t wrong = 0;
        for (int32_t i = 0; i < int32_t(dstBits.size()); ++i) {
            const int32_t x = i / 3 % row.dw - row.rect[0], y = i / 3 / row.dw - row.rect[1];
            const bool inside = x >= 0 && x < row.rect[2] && y >= 0 && y < row.rect[3];
            wrong += dstBits[size_t(i)] != (inside ? i % 3 + 1 : 0);
        }
        EXPECT_EQ(wrong, 0) << row.what;
    }
}

// The grid: an n x n source of pixels (x, y, 9) drawn whole into m x m. Odd widths pad their rows.
TEST(StretchDIB, NearestGrid) {
    const struct { int32_t n, m; int32_t picks[5]; const char *what; } rows[] = {
        {5, 5, {0, 1, 2, 3, 4}, "same size: identity"},
        {2, 3, {0, 1, 1}, "step 43691: 0.33, 1.0, 1.67"},
        {3, 2, {0, 2}, "step 98304: 0.75, 2.25"},
        {4, 2, {1, 3}, "1.0, 3.0"},
        {1, 2, {0, 0}, "one pixel twice"},
    };
    for (const auto &row : rows) {
        const int32_t srcRow = (3 * row.n + 3) / 4 * 4, dstRow = (3 * row.m + 3) / 4 * 4;
        BITMAPINFOHEADER src = header(row.n, row.n), dst = header(row.m, row.m);
        src.biSizeImage = uint32_t(srcRow * row.n), dst.biSizeImage = uint32_t(dstRow * row.m);
        std::vector<uint8_t> srcBits(src.biSizeImage), dstBits = filled(dst.biSizeImage), want = dstBits;
        for (int32_t k = 0; k < row.n * row.n; ++k) {
            const uint8_t p[3] = {uint8_t(k % row.n), uint8_t(k / row.n), 9};
            std::copy(p, p + 3, srcBits.begin() + k / row.n * srcRow + 3 * (k % row.n));
        }
        for (int32_t k = 0; k < row.m * row.m; ++k) {
            const uint8_t p[3] = {uint8_t(row.picks[k % row.m]), uint8_t(row.picks[k / row.m]), 9};
            std::copy(p, p + 3, want.begin() + k / row.m * dstRow + 3 * (k % row.m));
        }
        kx::StretchDIB(dst, dstBits.data(), 0, 0, row.m, row.m, src, srcBits.data(), 0, 0, row.n, row.n);
        EXPECT_EQ(dstBits, want) << row.what;
    }
}

// An 8x6 checkerboard scaled to itself (BmpStretchDIBEx cuts it from a 32x16 one at the odd
// offset (12, 5), so it starts with 100), one pass: the region is rows 2 and 3, bytes 2 to 13, so 2
// bytes keep their value at a row's start and 10 at its end. A destination 4 wide and a divisor of
// 0 leave the scaled image as it is, through three passes.
TEST(Stretch, PassRegion) {
    const struct { Export fn; int32_t w, divisor; bool filtered; const char *what; } rows[] = {
        {Stretch, 8, 1, true, "sharpened inside the region"},
        {Stretch, 4, 1, false, "4 pixels wide: region width 0"},
        {StretchEx, 8, 0, false, "divisor 0 swallowed"},
    };
    for (const auto &row : rows) {
        const bool cut = row.fn == StretchEx;
        const BITMAPINFOHEADER src = cut ? header(32, 16) : header(row.w, 6);
        BITMAPINFOHEADER dst = header(row.w, 6);
        const std::vector<uint8_t> srcBits = checker(src.biWidth, src.biHeight);
        std::vector<uint8_t> dstBits = filled(dst.biSizeImage), work = dstBits;
        ASSERT_EQ(call(row.fn, &src, srcBits.data(), &dst, dstBits.data(), work.data(), 0, row.filtered ? 1 : 3,
                       kShift, row.divisor),
                  0);
        std::vector<uint8_t> want = cut ? checker(row.w + 1, 6) : srcBits;
        for (int32_t r = 0; r < 6 && cut; ++r) want.erase(want.begin() + 24 * r, want.begin() + 24 * r + 3);
        if (row.filtered) sharpenRegionRows(want, 2, 4);
        EXPECT_TRUE(dstBits == want && work == want) << row.what;
    }
}

// BmpStretchDIBEx2 in place with the shift kernel on an 8x8 frame whose byte b of row r is
// 24r + b: a pass writes byte (r + 1, b + 3), 27 more, over rows 2 to 5 and bytes 2 to 13. The
// second pass reads the first's result inside the region (rows 2 to 4, bytes 2 to 10 here) and the
// untouched margin elsewhere.
TEST(Stretch, Ex2PassesInPlace) {
    const struct { int32_t passes, inner, rim; } rows[] = {{0, 0, 0}, {-1, 0, 0}, {1, 27, 27}, {2, 54, 27}};
    BITMAPINFOHEADER frame = header(8, 8);
    for (const auto &row : rows) {
        std::vector<uint8_t> bits(192), work = filled(192), want(192);
        for (int32_t i = 0; i < 192; ++i) {
            const int32_t r = i / 24, b = i % 24;
            const bool region = r >= 2 && r < 6 && b >= 2 && b < 14, inner = r < 5 && b < 11;
            bits[size_t(i)] = uint8_t(i);
            want[size_t(i)] = uint8_t(i + (region ? inner ? row.inner : row.rim : 0));
        }
        EXPECT_EQ(call(StretchEx2, nullptr, nullptr, &frame, bits.data(), work.data(), 0, row.passes), 0);
        EXPECT_TRUE(bits == want && work == want) << row.passes << " passes";
    }
}

// A destination header of 16 bits passes the size check with 2 * 8 * 6 bytes, then becomes 24
// bits: scaling and passes keep inside those 96 bytes. Rows 0 to 3 are drawn, and only row 2 is
// sharpened, since row 3's window would read row 4.
TEST(Stretch, GuardsAShortDestination) {
    const BITMAPINFOHEADER src = header(8, 6);
    BITMAPINFOHEADER dst = header(8, 6, 16);
    const std::vector<uint8_t> srcBits = checker(8, 6);
    std::vector<uint8_t> dstBits = filled(128), work = filled(128), want = filled(128);
    ASSERT_EQ(BmpStretchDIB(&src, srcBits.data(), &dst, dstBits.data(), work.data(), 0, 1), 0);
    std::copy_n(srcBits.begin(), 96, want.begin());
    sharpenRegionRows(want, 2, 3);
    EXPECT_TRUE(dstBits == want && work == want);
}

}  // namespace
