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

// Every pixel holds 1, 2, 3: a colour that neither the zero fill nor the sentinel can pass for.
std::vector<uint8_t> uniform(const BITMAPINFOHEADER &h) {
    std::vector<uint8_t> bits(std::max<size_t>(h.biSizeImage, 3));
    for (size_t i = 0; i < bits.size(); ++i) bits[i] = uint8_t(i % 3 + 1);
    return bits;
}

// 150 where x + y is even, 100 elsewhere, in all channels. Sharpened, a 150 has four 100s beside
// it and four 150s at its corners: T = 17 * 150 - 5 * 150 - 4 * 100 = 1400, 175; a 100 gives
// T = 600, 75.
std::vector<uint8_t> checker(int32_t w, int32_t h) {
    std::vector<uint8_t> bits(size_t(3 * w * h));
    for (size_t i = 0; i < bits.size(); ++i) bits[i] = (i / 3 % size_t(w) + i / 3 / size_t(w)) % 2 ? 100 : 150;
    return bits;
}
// Rows first to last - 1 of an 8-wide checkerboard after one pass, bytes 2 to 13. The first of
// them, channel 2 of pixel 0, finds its left neighbours at the end of the rows above: from row 2
// on, 100, 150, 100 beside a 150 (T = 1450, 181.25) and 150, 100, 150 beside a 100 (T = 550,
// 68.75).
void sharpenRegionRows(std::vector<uint8_t> &bits, int32_t first, int32_t last) {
    for (int32_t r = first; r < last; ++r) {
        for (int32_t b = 3; b < 14; ++b) bits[size_t(24 * r + b)] = bits[size_t(24 * r + b)] == 150 ? 175 : 75;
        bits[size_t(24 * r + 2)] = bits[size_t(24 * r + 2)] == 150 ? 181 : 69;
    }
}

struct Area { int32_t x, y, width, height; };

enum Export { Stretch, StretchEx, StretchEx2 };
// The shift kernel: only the first coefficient, so a pass moves the image one pixel left and up.
const int32_t kShift[9] = {1, 0, 0, 0, 0, 0, 0, 0, 0};

// Pointer n of (source header, source bits, destination header, destination bits, work) is null.
TEST(Stretch, ChecksAndResults) {
    const struct { const char *what; Export fn; int null; int32_t srcHeight, dstSizeDelta; const int32_t *kernel;
                   int32_t want; } rows[] = {
        {"null source header", Stretch, 0, 8, 0, kShift, -1},
        {"null source bits", Stretch, 1, 8, 0, kShift, -1},
        {"null destination header", StretchEx, 2, 8, 0, kShift, -1},
        {"null destination bits", Stretch, 3, 8, 0, kShift, -1},
        {"null work", StretchEx, 4, 8, 0, kShift, -1},
        {"null kernel is not tested", StretchEx, -1, 8, 0, nullptr, 0},
        {"null frame header", StretchEx2, 2, 8, 0, kShift, -1},
        {"null frame bits", StretchEx2, 3, 8, 0, kShift, -1},
        {"null work, in place", StretchEx2, 4, 8, 0, kShift, -1},
        {"frame one byte short", StretchEx2, -1, 8, -1, kShift, -2},
        {"destination one byte short", Stretch, -1, 8, -1, kShift, -2},
        // 3 * -8 * 32 is -768, 4294966528 unsigned: no size field holds it.
        {"source height -8, compared unsigned", Stretch, -1, -8, 0, kShift, -2},
    };
    for (const auto &row : rows) {
        BITMAPINFOHEADER src = header(32, 8), dst = header(32, 8);
        dst.biSize = 0, dst.biPlanes = 0, dst.biSizeImage += row.dstSizeDelta;
        src.biHeight = row.srcHeight;
        const BITMAPINFOHEADER srcBefore = src, dstBefore = dst;
        const std::vector<uint8_t> srcBits = uniform(header(32, 8));
        std::vector<uint8_t> dstBits(768, kSentinel), work(768, kSentinel);
        void *p[5] = {&src, const_cast<uint8_t *>(srcBits.data()), &dst, dstBits.data(), work.data()};
        if (row.null >= 0) p[row.null] = nullptr;
        const auto *ps = static_cast<const BITMAPINFOHEADER *>(p[0]);
        auto *pd = static_cast<BITMAPINFOHEADER *>(p[2]);
        const auto *psb = static_cast<const uint8_t *>(p[1]);
        auto *pdb = static_cast<uint8_t *>(p[3]), *pw = static_cast<uint8_t *>(p[4]);
        const int32_t result = row.fn == Stretch     ? BmpStretchDIB(ps, psb, pd, pdb, pw, 0, 1)
                               : row.fn == StretchEx ? BmpStretchDIBEx(ps, psb, pd, pdb, pw, 0, 1, row.kernel, 1)
                                                     : BmpStretchDIBEx2(pd, pdb, pw, 1, row.kernel, 1);
        EXPECT_EQ(result, row.want) << row.what;
        if (result < 0) {
            EXPECT_EQ(std::memcmp(&dst, &dstBefore, 40) | std::memcmp(&src, &srcBefore, 40), 0) << row.what;
            EXPECT_EQ(dstBits, std::vector<uint8_t>(768, kSentinel)) << row.what;
            EXPECT_EQ(work, std::vector<uint8_t>(768, kSentinel)) << row.what;
        }
    }
}

// A uniform source, no pass: the rectangle holds the colour, the rest is zero (a fill leaves no rest).
TEST(Stretch, Geometry) {
    const struct { int32_t sw, sh, dw, dh, scale, passes, want; Area rect; const char *what; } rows[] = {
        {320, 240, 640, 240, -1, 0, 0, {160, 0, 320, 240}, "fit: 320 * 240 <= 240 * 640, NW 320"},
        {640, 240, 320, 240, -1, 0, 0, {0, 60, 320, 120}, "fit: 640 * 240 > 240 * 320, NH 120"},
        {100, 100, 320, 240, 2, 0, 0, {60, 20, 200, 200}, "twice, centred"},
        {100, 100, 320, 240, 3, 0, -3, {0, 0, 0, 0}, "3 > 240 / 100"},
        {100, 100, 320, 240, 0, -1, 0, {0, 0, 320, 240}, "fill; passes -1 runs none"},
        {100, 100, 320, 240, -2, 0, 0, {0, 0, 0, 0}, "scale -2: negative extents draw nothing"},
        {0, 0, 320, 240, -1, 0, -3, {0, 0, 0, 0}, "0 * 240 / 0 would fault: ends as -3"},
    };
    for (const auto &row : rows) {
        const BITMAPINFOHEADER src = header(row.sw, row.sh);
        BITMAPINFOHEADER dst = header(row.dw, row.dh);
        const std::vector<uint8_t> srcBits = uniform(src);
        std::vector<uint8_t> dstBits(dst.biSizeImage, kSentinel), work(dst.biSizeImage, kSentinel);
        ASSERT_EQ(BmpStretchDIB(&src, srcBits.data(), &dst, dstBits.data(), work.data(), row.scale, row.passes),
                  row.want) << row.what;
        EXPECT_EQ(dst.biSize + dst.biPlanes + dst.biBitCount, 40u + 1 + 24) << row.what;
        if (row.want == -3) {
            EXPECT_EQ(work, std::vector<uint8_t>(dst.biSizeImage, 0)) << row.what;
            EXPECT_EQ(dstBits, std::vector<uint8_t>(dst.biSizeImage, kSentinel)) << row.what;
            continue;
        }
        int32_t wrong = 0;
        for (int32_t i = 0; i < int32_t(dstBits.size()); ++i) {
            const int32_t x = i / 3 % row.dw, y = i / 3 / row.dw;
            const bool inside = x >= row.rect.x && x < row.rect.x + row.rect.width && y >= row.rect.y &&
                                y < row.rect.y + row.rect.height;
            wrong += dstBits[size_t(i)] != (inside ? i % 3 + 1 : 0);
        }
        EXPECT_EQ(wrong, 0) << row.what;
    }
}

// BmpStretchDIBEx cuts 12 columns and 5 rows off each side and stretches the rest into the fit of
// the uncut 48x20, here all of 96x40: exactly four times, so dst (X, Y) shows source
// (12 + X / 4, 5 + Y / 4). The cut border has a third byte of 0, the rest 77.
TEST(Stretch, ExCutsTheBorder) {
    const BITMAPINFOHEADER src = header(48, 20);
    BITMAPINFOHEADER dst = header(96, 40);
    std::vector<uint8_t> srcBits(src.biSizeImage), dstBits(dst.biSizeImage), work(dst.biSizeImage);
    for (int32_t y = 0; y < 20; ++y)
        for (int32_t x = 0; x < 48; ++x) {
            const bool inner = x >= 12 && x < 36 && y >= 5 && y < 15;
            const uint8_t p[3] = {uint8_t(x), uint8_t(y), uint8_t(inner ? 77 : 0)};
            std::copy(p, p + 3, srcBits.begin() + 3 * (y * 48 + x));
        }
    ASSERT_EQ(BmpStretchDIBEx(&src, srcBits.data(), &dst, dstBits.data(), work.data(), -1, 0, kShift, 1), 0);
    for (int32_t y = 0; y < 40; ++y)
        for (int32_t x = 0; x < 96; ++x) {
            const uint8_t *p = &dstBits[size_t(3 * (y * 96 + x))];
            ASSERT_TRUE(p[0] == 12 + x / 4 && p[1] == 5 + y / 4 && p[2] == 77) << x << ", " << y;
        }
}

// The grid: a source of n x n pixels holding (x, y, 9), drawn whole into m x m. Odd widths have
// padded rows.
TEST(StretchDIB, NearestGrid) {
    const struct { int32_t n, m; int32_t picks[5]; const char *what; } rows[] = {
        {5, 5, {0, 1, 2, 3, 4}, "same size: identity"},
        {2, 3, {0, 1, 1}, "step 43691: samples at 0.33, 1.0, 1.67"},
        {3, 2, {0, 2}, "step 98304: 0.75, 2.25"},
        {4, 2, {1, 3}, "1.0, 3.0"},
        {1, 2, {0, 0}, "one pixel twice"},
    };
    for (const auto &row : rows) {
        BITMAPINFOHEADER src = header(row.n, row.n), dst = header(row.m, row.m);
        const int32_t srcRow = (3 * row.n + 3) / 4 * 4, dstRow = (3 * row.m + 3) / 4 * 4;
        src.biSizeImage = uint32_t(srcRow * row.n), dst.biSizeImage = uint32_t(dstRow * row.m);
        std::vector<uint8_t> srcBits(src.biSizeImage), dstBits(dst.biSizeImage, kSentinel);
        for (int32_t y = 0; y < row.n; ++y)
            for (int32_t x = 0; x < row.n; ++x) {
                const uint8_t p[3] = {uint8_t(x), uint8_t(y), 9};
                std::copy(p, p + 3, srcBits.begin() + y * srcRow + 3 * x);
            }
        std::vector<uint8_t> want(dst.biSizeImage, kSentinel);
        for (int32_t y = 0; y < row.m; ++y)
            for (int32_t x = 0; x < row.m; ++x) {
                const uint8_t p[3] = {uint8_t(row.picks[x]), uint8_t(row.picks[y]), 9};
                std::copy(p, p + 3, want.begin() + y * dstRow + 3 * x);
            }
        kx::StretchDIB(dst, dstBits.data(), 0, 0, row.m, row.m, src, srcBits.data(), 0, 0, row.n, row.n);
        EXPECT_EQ(dstBits, want) << row.what;
    }
}

// Rectangles anywhere: only pixels on the destination bitmap and inside its biSizeImage change.
TEST(StretchDIB, PlacesAndClips) {
    const BITMAPINFOHEADER src = header(4, 4);
    BITMAPINFOHEADER dst = header(5, 5);
    dst.biSizeImage = 75;  // rows of 16 bytes want 80; pixel (3, 4) would end at byte 76
    std::vector<uint8_t> srcBits(48);
    for (int32_t i = 0; i < 48; ++i) srcBits[size_t(i)] = uint8_t(i / 3 % 4 * 10 + i / 12);  // 10x + y
    std::vector<uint8_t> dstBits(80, kSentinel), want(80, kSentinel);
    // Source 2x2 at (1, 1) to 4x4 at (1, 1): columns and rows 1, 1, 2, 2.
    kx::StretchDIB(dst, dstBits.data(), 1, 1, 4, 4, src, srcBits.data(), 1, 1, 2, 2);
    for (int32_t y = 1; y < 5; ++y)
        for (int32_t x = 1; x < 5; ++x)
            if (y < 4 || x < 3) std::fill_n(&want[size_t(16 * y + 3 * x)], 3, uint8_t((x + 1) / 2 * 10 + (y + 1) / 2));
    EXPECT_EQ(dstBits, want);
    // Origin (-2, -2), same size: only source (2..3, 2..3) lands, at (0..1, 0..1).
    std::fill(dstBits.begin(), dstBits.end(), kSentinel);
    kx::StretchDIB(dst, dstBits.data(), -2, -2, 4, 4, src, srcBits.data(), 0, 0, 4, 4);
    std::fill(want.begin(), want.end(), kSentinel);
    for (int32_t y = 0; y < 2; ++y)
        for (int32_t x = 0; x < 2; ++x) std::fill_n(&want[size_t(16 * y + 3 * x)], 3, uint8_t((x + 2) * 10 + y + 2));
    EXPECT_EQ(dstBits, want);
}

// An 8x6 checkerboard scaled to itself (scale 0 is the identity here; BmpStretchDIBEx takes it
// from the middle of a 32x16 one), one pass: the region is rows 2 and 3, bytes 2 to 13, so 2 bytes
// keep their value at a row's start and 10 at its end. A destination 4 wide and a divisor of 0
// leave the scaled image as it is.
TEST(Stretch, PassRegion) {
    const struct { Export fn; int32_t w, divisor; bool filtered; const char *what; } rows[] = {
        {Stretch, 8, 1, true, "sharpened inside the region"},
        {Stretch, 4, 1, false, "4 pixels wide: region width 0"},
        {StretchEx, 8, 0, false, "divisor 0 swallowed"},
    };
    const int32_t kIdentity[9] = {0, 0, 0, 0, 1, 0, 0, 0, 0};
    for (const auto &row : rows) {
        const bool cut = row.fn == StretchEx;
        const BITMAPINFOHEADER src = cut ? header(32, 16) : header(row.w, 6);
        BITMAPINFOHEADER dst = header(row.w, 6);
        const std::vector<uint8_t> srcBits = checker(src.biWidth, src.biHeight);
        std::vector<uint8_t> dstBits(dst.biSizeImage, kSentinel), work(dst.biSizeImage, kSentinel);
        ASSERT_EQ(cut ? BmpStretchDIBEx(&src, srcBits.data(), &dst, dstBits.data(), work.data(), 0, 3, kIdentity, 0)
                      : BmpStretchDIB(&src, srcBits.data(), &dst, dstBits.data(), work.data(), 0, 1),
                  0);
        // Cut at (12, 5), an odd offset: the checkerboard starts with 100.
        std::vector<uint8_t> want = cut ? checker(row.w + 1, 6) : srcBits;
        for (int32_t r = 0; r < 6 && cut; ++r) want.erase(want.begin() + 24 * r, want.begin() + 24 * r + 3);
        if (row.filtered) sharpenRegionRows(want, 2, 4);
        EXPECT_EQ(dstBits, want) << row.what;
        EXPECT_EQ(work, want) << row.what;
    }
}

// BmpStretchDIBEx2 in place with the shift kernel on an 8x8 frame whose byte b of row r is
// 24r + b: a pass writes byte (r + 1, b + 3), 27 more, over rows 2 to 5 and bytes 2 to 13. The
// second pass reads the first's result where that lies in the region (rows 2 to 4, bytes 2 to 10)
// and the untouched margin elsewhere.
TEST(Stretch, Ex2PassesInPlace) {
    const struct { int32_t passes, inner, rim; } rows[] = {{0, 0, 0}, {-1, 0, 0}, {1, 27, 27}, {2, 54, 27}};
    const BITMAPINFOHEADER frame = header(8, 8);
    for (const auto &row : rows) {
        std::vector<uint8_t> bits(192), work(192, kSentinel), want(192);
        for (int32_t i = 0; i < 192; ++i) bits[size_t(i)] = uint8_t(i);
        for (int32_t r = 0; r < 8; ++r)
            for (int32_t b = 0; b < 24; ++b) {
                const bool region = r >= 2 && r < 6 && b >= 2 && b < 14, inner = r < 5 && b < 11;
                want[size_t(24 * r + b)] = uint8_t(24 * r + b + (region ? inner ? row.inner : row.rim : 0));
            }
        EXPECT_EQ(BmpStretchDIBEx2(&frame, bits.data(), work.data(), row.passes, kShift, 1), 0);
        EXPECT_EQ(bits, want) << row.passes << " passes";
        EXPECT_EQ(work, want) << row.passes << " passes";
    }
}

// A destination header of 16 bits passes the size check with 2 * 8 * 6 bytes, then becomes 24
// bits: scaling and passes stay inside those 96 bytes. Rows 0 to 3 are drawn, and only region row
// 2 is sharpened, since row 3's window would read row 4.
TEST(Stretch, GuardsAShortDestination) {
    const BITMAPINFOHEADER src = header(8, 6);
    BITMAPINFOHEADER dst = header(8, 6, 16);
    const std::vector<uint8_t> srcBits = checker(8, 6);
    std::vector<uint8_t> dstBits(128, kSentinel), work(128, kSentinel);
    ASSERT_EQ(BmpStretchDIB(&src, srcBits.data(), &dst, dstBits.data(), work.data(), 0, 1), 0);
    std::vector<uint8_t> want(128, kSentinel);
    std::copy_n(srcBits.begin(), 96, want.begin());
    sharpenRegionRows(want, 2, 3);
    EXPECT_EQ(dstBits, want);
    EXPECT_EQ(work, want);
}

}  // namespace
