// Every level form of every dispatched kernel against its reference, on random content. One row
// per kernel and mode; each row runs at every level this processor can run, over widths 1 to 67
// (around the 16- and 32-byte vector widths) and a few wide rows, with tight and padded steps.
// Inputs and outputs end at a page boundary, so a read or write past the last byte a kernel may
// touch faults; outputs start sentinel-filled, so the padding left alone is compared too.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "guarded_buffer.h"
#include "level_scope.h"
#include "kernels/colour/luma_sum.h"
#include "kernels/colour/yuv420.h"
#include "kestrix/px.h"

namespace {

using kx::test::GuardedBuffer;

constexpr uint8_t kSentinel = 0xEE;

struct Geometry {
    int32_t width, height;
    int32_t pad;  // bytes after each row
};

// A buffer of rows of rowBytes at rowBytes + pad apart, ending with the last row's last byte.
struct Rows {
    int32_t step;
    GuardedBuffer buffer;
    Rows(int32_t rowBytes, int32_t rows, int32_t pad, std::mt19937 *random)
        : step(rowBytes + pad), buffer(rows > 0 ? size_t(step) * size_t(rows - 1) + size_t(rowBytes) : 1, kSentinel) {
        if (random)
            for (size_t i = 0; i < buffer.size(); ++i) buffer.data()[i] = uint8_t((*random)());
    }
    uint8_t *data() const { return buffer.data(); }
    std::vector<uint8_t> bytes() const { return {buffer.data(), buffer.data() + buffer.size()}; }
};

// A kernel's run at the current level on inputs drawn from the seed: the status, then every byte of
// every output buffer. Runs take the status before the bytes: as two arguments of one call, the
// bytes could be copied before the kernel has written them.
using Run = std::function<std::vector<uint8_t>(const Geometry &, uint32_t seed)>;

std::vector<uint8_t> withStatus(PxStatus status, std::vector<uint8_t> bytes) {
    bytes.insert(bytes.begin(), uint8_t(status & 0xFF));
    return bytes;
}

// extraRows makes the source taller than the geometry, for the filters that lower themselves on
// small sources (cubic under 4 rows, Lanczos under 8); margin insets the rectangle on every side,
// so that the taps reach past it into the image; bottomUp walks the rows from the buffer's last,
// with a negative step.
Run resizeRun(int32_t interpolation, double fx, double fy, int32_t extraRows = 0, int32_t margin = 0,
              bool bottomUp = false) {
    return [=](const Geometry &g, uint32_t seed) {
        std::mt19937 random(seed);
        const int32_t height = g.height + extraRows;
        const Rows src(3 * g.width, height, g.pad, &random);
        const PxRect rect{margin, margin, g.width - 2 * margin, height - 2 * margin};
        // Room for the derived size and one more; what lies beyond it stays sentinel.
        const int32_t dw = int32_t(std::max(rect.width, 1) * fx) + 1, dh = int32_t(std::max(rect.height, 1) * fy) + 1;
        const Rows dst(3 * dw, dh, g.pad, nullptr);
        const uint8_t *first = bottomUp ? src.data() + ptrdiff_t{src.step} * (height - 1) : src.data();
        const PxStatus status = pxResizeC3(first, {g.width, height}, bottomUp ? -src.step : src.step, rect, dst.data(),
                                           dst.step, {dw, dh}, fx, fy, interpolation);
        return withStatus(status, dst.bytes());
    };
}

using RgbToYuv = PxStatus (*)(const uint8_t *, int32_t, uint8_t *const[3], const int32_t[3], PxSize);
using YuvToRgb = PxStatus (*)(const uint8_t *const[3], const int32_t[3], uint8_t *, int32_t, PxSize);

// saturated: every byte 0 or 255, so the V clamp bites at both ends and a block's luma sum reaches
// its largest, which random bytes seldom do.
Run rgbToYuvRun(RgbToYuv convert, bool saturated = false) {
    return [=](const Geometry &g, uint32_t seed) {
        std::mt19937 random(seed);
        const Rows src(3 * g.width, g.height, g.pad, &random);
        for (size_t i = 0; saturated && i < src.buffer.size(); ++i) src.data()[i] = uint8_t((src.data()[i] >> 7) * 255);
        const Rows y(g.width, g.height, g.pad, nullptr), u(g.width / 2, g.height / 2, g.pad, nullptr),
            v(g.width / 2, g.height / 2, g.pad, nullptr);
        uint8_t *const planes[3] = {y.data(), u.data(), v.data()};
        const int32_t steps[3] = {y.step, u.step, v.step};
        const PxStatus status = convert(src.data(), src.step, planes, steps, {g.width, g.height});
        std::vector<uint8_t> out = withStatus(status, y.bytes());
        for (const Rows *p : {&u, &v}) {
            const std::vector<uint8_t> bytes = p->bytes();
            out.insert(out.end(), bytes.begin(), bytes.end());
        }
        return out;
    };
}

Run yuvToRgbRun(YuvToRgb convert) {
    return [=](const Geometry &g, uint32_t seed) {
        std::mt19937 random(seed);
        const Rows y(g.width, g.height, g.pad, &random), u(g.width / 2, g.height / 2, g.pad, &random),
            v(g.width / 2, g.height / 2, g.pad, &random);
        const Rows dst(3 * g.width, g.height, g.pad, nullptr);
        const uint8_t *const planes[3] = {y.data(), u.data(), v.data()};
        const int32_t steps[3] = {y.step, u.step, v.step};
        const PxStatus status = convert(planes, steps, dst.data(), dst.step, {g.width, g.height});
        return withStatus(status, dst.bytes());
    };
}

Run deinterlaceRun(int32_t field, int32_t copyLine) {
    return [=](const Geometry &g, uint32_t seed) {
        std::mt19937 random(seed);
        // One row more than the plane: without copyLine the kernel reads the row above it (field 0)
        // or below it (field 1).
        const Rows src(g.width, g.height + 1, g.pad, &random);
        // Few distinct values, so that the three differences tie often and the tie-breaks are tried.
        for (size_t i = 0; i < src.buffer.size(); ++i) src.data()[i] = uint8_t(src.data()[i] % 4 * 60);
        const uint8_t *plane = field == 0 ? src.data() + src.step : src.data();
        const Rows dst(g.width, g.height, g.pad, nullptr);
        const PxStatus status =
            pxDeinterlaceEdge(plane, src.step, dst.data(), dst.step, {g.width, g.height}, field, copyLine);
        return withStatus(status, dst.bytes());
    };
}

Run copyRun() {
    return [](const Geometry &g, uint32_t seed) {
        std::mt19937 random(seed);
        const Rows src(g.width, g.height, g.pad, &random);
        const Rows dst(g.width, g.height, g.pad, nullptr);
        const PxStatus status = pxCopyC1(src.data(), src.step, dst.data(), dst.step, {g.width, g.height});
        return withStatus(status, dst.bytes());
    };
}

// The exposure measure's luminance sum over the rows as one run of pixels, its four bytes compared.
// multiples draws pixels from a few, two of whose weighted sums are multiples of 1000 (0, 63, 49 and
// 2, 87, 194: 42000 and 73000), where the vector form hands its group of sixteen to the plain rule,
// and black, whose 0 it keeps.
Run lumaSumRun(bool multiples) {
    return [=](const Geometry &g, uint32_t seed) {
        std::mt19937 random(seed);
        const uint32_t count = uint32_t(g.width) * uint32_t(g.height);
        const Rows src(int32_t(3 * count), 1, 0, &random);
        static const uint8_t kPixels[][3] = {{0, 63, 49}, {2, 87, 194}, {0, 0, 0}, {255, 255, 255}, {9, 9, 9}};
        for (uint32_t i = 0; multiples && i < count; ++i)
            std::copy_n(kPixels[src.data()[3 * i] % 5], 3, src.data() + 3 * i);
        const uint32_t sum = px::lumaSum(src.data(), count);
        return withStatus(PxStsOk, {uint8_t(sum), uint8_t(sum >> 8), uint8_t(sum >> 16), uint8_t(sum >> 24)});
    };
}

// The region of g at (KW - 1 - anchor.x, KH - 1 - anchor.y) of a source just large enough for the
// window's reach, so that the last byte the window may read is the buffer's last. saturated: every
// byte 0 or 255, so that sums reach the ends of their range.
Run filterRun(std::vector<int32_t> kernel, PxSize kernelSize, PxPoint anchor, int32_t divisor, bool saturated = false) {
    return [=](const Geometry &g, uint32_t seed) {
        std::mt19937 random(seed);
        const Rows src(3 * (g.width + kernelSize.width - 1), g.height + kernelSize.height - 1, g.pad, &random);
        for (size_t i = 0; saturated && i < src.buffer.size(); ++i) src.data()[i] = uint8_t((src.data()[i] >> 7) * 255);
        const uint8_t *region = src.data() + (kernelSize.height - 1 - anchor.y) * src.step +
                                3 * (kernelSize.width - 1 - anchor.x);
        const Rows dst(3 * g.width, g.height, g.pad, nullptr);
        const PxStatus status = pxFilterC3(region, src.step, dst.data(), dst.step, {g.width, g.height}, kernel.data(),
                                           kernelSize, anchor, divisor);
        return withStatus(status, dst.bytes());
    };
}

// The region at (1, 1) of a source with the one-pixel margin the 3x3 neighbourhood reads.
Run sharpenRun() {
    return [](const Geometry &g, uint32_t seed) {
        std::mt19937 random(seed);
        const Rows src(3 * (g.width + 2), g.height + 2, g.pad, &random);
        const Rows dst(3 * g.width, g.height, g.pad, nullptr);
        const PxStatus status =
            pxSharpenC3(src.data() + src.step + 3, src.step, dst.data(), dst.step, {g.width, g.height});
        return withStatus(status, dst.bytes());
    };
}

// A kernel of width x height coefficients drawn from low to high.
std::vector<int32_t> randomKernel(int32_t count, int32_t low, int32_t high, uint32_t seed) {
    std::mt19937 random(seed);
    std::uniform_int_distribution<int32_t> draw(low, high);
    std::vector<int32_t> kernel(static_cast<size_t>(count));
    for (int32_t &c : kernel) c = draw(random);
    return kernel;
}

struct KernelRow {
    const char *name;
    Run run;
    // The levels-1-to-4 rule where it differs from level 0; empty: level 0 is the reference.
    Run reference = nullptr;
    int32_t minHeight = 1;
    // Forms allowed to differ by one in a byte next to a half: at most this share of the bytes.
    double shareOffByOne = 0.0;
};

const std::vector<KernelRow> &kernelRows() {
    static const std::vector<KernelRow> rows = {
        {"nearest enlarge", resizeRun(PxNearest, 800.0 / 720.0, 600.0 / 576.0)},
        {"nearest shrink", resizeRun(PxNearest, 0.55, 0.4)},
        {"linear enlarge", resizeRun(PxLinear, 800.0 / 720.0, 600.0 / 576.0)},
        {"linear double", resizeRun(PxLinear, 2.0, 2.0)},
        {"linear double bottom-up", resizeRun(PxLinear, 2.0, 2.5, 0, 0, true)},
        {"linear shrink", resizeRun(PxLinear, 0.55, 0.3)},
        {"linear identity", resizeRun(PxLinear, 1.0, 1.0)},
        {"linear odd", resizeRun(PxLinear, 11.0 / 7.0, 0.9)},
        // Shrinks whose groups of eight samples span more than sixteen source bytes (two loads) and
        // more than thirty-two (the plain rule), with an inset rectangle.
        {"linear shrink 2.4", resizeRun(PxLinear, 1.0 / 2.4, 0.5, 0, 1)},
        {"linear shrink 4", resizeRun(PxLinear, 0.25, 0.7)},
        // The float filters may move a byte next to a half by one; their shares stay near 2e-5.
        {"cubic enlarge", resizeRun(PxCubic, 800.0 / 720.0, 600.0 / 576.0, 3), nullptr, 1, 0.001},
        {"cubic shrink", resizeRun(PxCubic, 0.55, 0.4, 9), nullptr, 1, 0.001},
        {"cubic odd inset", resizeRun(PxCubic, 11.0 / 7.0, 0.9, 5, 1), nullptr, 1, 0.001},
        // Lanczos needs 8 rows and columns; narrower geometries try its lowered forms. Enlarging walks
        // the rows one by one, shrinking lets them jump; the inset rectangles start at the image's
        // second and fourth columns, with and without the left edge rule.
        {"lanczos enlarge", resizeRun(PxLanczos, 800.0 / 720.0, 600.0 / 576.0, 7), nullptr, 1, 0.001},
        {"lanczos shrink", resizeRun(PxLanczos, 0.55, 0.3, 20), nullptr, 1, 0.001},
        {"lanczos odd inset 1", resizeRun(PxLanczos, 11.0 / 7.0, 0.9, 9, 1), nullptr, 1, 0.001},
        {"lanczos double inset 3", resizeRun(PxLanczos, 2.0, 0.7, 13, 3), nullptr, 1, 0.001},
        // Supersampling adds in the reference's order in every mode: no byte may differ. Whole cells
        // of 2 by 2, of 1 by 3 (columns left as they are), fractional columns, rows and both, and a
        // cell of 3.5 by 2.5 that the inset rectangle holds once or not at all in narrow geometries.
        {"super half", resizeRun(PxSuper, 0.5, 0.5, 1)},
        {"super third rows", resizeRun(PxSuper, 1.0, 1.0 / 3.0, 6)},
        {"super fraction x", resizeRun(PxSuper, 2.0 / 3.0, 0.5, 3)},
        {"super fraction y", resizeRun(PxSuper, 0.25, 0.4, 9)},
        {"super fraction xy", resizeRun(PxSuper, 0.7, 0.45, 5)},
        {"super odd inset", resizeRun(PxSuper, 1.0 / 3.5, 0.4, 12, 1)},
        // Whole cells of 3 by 3, 4 by 2 and 2 by 4 pixels, summed in registers straight from the rows;
        // the inset one with a rectangle that leaves part of a cell over at its right and bottom.
        {"super third", resizeRun(PxSuper, 1.0 / 3.0, 1.0 / 3.0, 6)},
        {"super quarter by half", resizeRun(PxSuper, 0.25, 0.5, 3)},
        {"super half by quarter inset", resizeRun(PxSuper, 0.5, 0.25, 11, 2)},
        {"rgb to yuv420", rgbToYuvRun(pxRgbToYuv420), rgbToYuvRun(px::pxRgbToYuv420_fixed15)},
        {"rgb to yuv420 saturated", rgbToYuvRun(pxRgbToYuv420, true), rgbToYuvRun(px::pxRgbToYuv420_fixed15, true)},
        {"yuv420 to rgb", yuvToRgbRun(pxYuv420ToRgb), yuvToRgbRun(px::pxYuv420ToRgb_fixed15)},
        // Level 0 needs two rows; the others also take one.
        {"deinterlace field 0", deinterlaceRun(0, 0), nullptr, 2},
        {"deinterlace field 1 copy", deinterlaceRun(1, 1), nullptr, 2},
        {"copy c1", copyRun()},
        // The smoothing kernel of the stretch exports: the shift rule by 4.
        {"filter 3x3 smoothing", filterRun({1, 2, 1, 2, 4, 2, 1, 2, 1}, {3, 3}, {1, 1}, 16)},
        // 3x3 kernels of byte-sized coefficients whose magnitudes sum to at most 128 take 16-bit sums:
        // at the bound, on saturated images, with every division rule (the shift by 8 and by 15 adds
        // the half apart from the sum).
        {"filter 3x3 sums16 plain", filterRun({10, -20, 30, -15, 25, -5, 8, -7, 8}, {3, 3}, {1, 1}, 1, true)},
        {"filter 3x3 sums16 shift 8", filterRun({-128, 0, 0, 0, 0, 0, 0, 0, 0}, {3, 3}, {0, 2}, 256, true)},
        {"filter 3x3 sums16 shift 15", filterRun({127, 1, 0, 0, 0, 0, 0, 0, 0}, {3, 3}, {2, 1}, 32768, true)},
        {"filter 3x3 sums16 shift 3", filterRun({60, -30, 20, 10, -5, 3, 0, -64, 0}, {3, 3}, {1, 1}, 8)},
        {"filter 3x3 sums16 divisor 7", filterRun({60, -30, 20, 10, -5, 3, 0, 0, 0}, {3, 3}, {1, 1}, 7, true)},
        {"filter 3x3 sums16 divisor -3", filterRun({-6, 5, -4, 3, -2, 1, 0, 1, -2}, {3, 3}, {1, 1}, -3)},
        // One magnitude past the bound, and a coefficient past a byte: the 32-bit sums.
        {"filter 3x3 past sums16", filterRun({60, -30, 20, 10, -5, 3, 0, -1, 0}, {3, 3}, {1, 1}, 1 << 9, true)},
        {"filter 3x3 wide coefficient", filterRun({128, 0, 0, 0, 0, 0, 0, 0, 0}, {3, 3}, {1, 1}, 128, true)},
        // Negative taps, so that sums fall below 0 and rise past 255 in every rule.
        {"filter 3x3 plain", filterRun(randomKernel(9, -40, 40, 3), {3, 3}, {2, 0}, 1)},
        {"filter 5x5 divisor 7", filterRun(randomKernel(25, -300, 500, 5), {5, 5}, {2, 2}, 7)},
        {"filter 5x2 divisor -3", filterRun(randomKernel(10, -500, 300, 6), {5, 2}, {4, 1}, -3)},
        // Even and odd widths other than 3 and 5 take the looped row pass.
        {"filter 4x3 divisor 64", filterRun(randomKernel(12, -200, 600, 7), {4, 3}, {0, 2}, 64)},
        {"filter 7x1 divisor 10", filterRun(randomKernel(7, -100, 200, 8), {7, 1}, {3, 0}, 10)},
        // The anchor is not checked: two columns left of the kernel, the window ends left of the pixel.
        {"filter 5x3 anchor outside", filterRun(randomKernel(15, -90, 200, 4), {5, 3}, {-2, 1}, 9)},
        // 529 taps of 32766 over bytes of mean 127.5: sums around 2.2e9, on both sides of 2^31, so
        // both wrapped sums and sums past 2^31 - 2^29, where sum + half would overflow, are met.
        {"filter 23x23 shift 30", filterRun(std::vector<int32_t>(529, 32766), {23, 23}, {11, 11}, 1 << 30)},
        // The edges of the coefficient range: 32767 and -32768 send the call to the scalar rule.
        {"filter 3x3 out of pair range", filterRun({32767, -1, 2, 3, -32768, 5, 1, 1, 1}, {3, 3}, {1, 1}, 1 << 17)},
        {"filter 3x3 pair range edge", filterRun({32766, -1, 2, 3, -32767, 5, 1, 1, 1}, {3, 3}, {1, 1}, 1 << 17)},
        // Kernels narrower than 3 columns take the scalar rule.
        {"filter 2x3 divisor 5", filterRun(randomKernel(6, -50, 90, 9), {2, 3}, {1, 1}, 5)},
        {"filter 1x3 divisor 2", filterRun({1, 2, 1}, {1, 3}, {0, 1}, 2)},
        {"sharpen", sharpenRun()},
        {"luma sum", lumaSumRun(false)},
        {"luma sum multiples of 1000", lumaSumRun(true)},
    };
    return rows;
}

std::vector<Geometry> geometries() {
    std::vector<Geometry> list;
    for (int32_t w = 1; w <= 67; ++w) {
        list.push_back({w, 1 + w % 6, 0});
        list.push_back({w, 2 + w % 3, 1 + w % 7});
    }
    for (int32_t w : {127, 128, 129, 255, 256, 257, 721}) list.push_back({w, 5, w % 5});
    return list;
}

// Counts the bytes off by one, which only a row with a share may have; any other difference fails.
size_t expectSame(const std::vector<uint8_t> &got, const std::vector<uint8_t> &want, const KernelRow &row) {
    EXPECT_EQ(got.size(), want.size());
    if (got.size() != want.size()) return 0;
    EXPECT_EQ(got[0], want[0]) << "status";
    size_t offByOne = 0;
    for (size_t i = 0; i < got.size(); ++i) {
        const int difference = std::abs(int(got[i]) - int(want[i]));
        if (difference == 0) continue;
        if (difference != 1 || row.shareOffByOne == 0) {
            ADD_FAILURE() << "byte " << i << ": " << int(got[i]) << " against " << int(want[i]);
            return offByOne;
        }
        ++offByOne;
    }
    return offByOne;
}

class LevelForms : public testing::TestWithParam<size_t> {};

// The share of bytes off by one is taken over all geometries of a level: a small image with one such
// byte says nothing of the share.
TEST_P(LevelForms, MatchTheirReference) {
    const KernelRow &row = kernelRows()[GetParam()];
    const kx::test::LevelScope scope;
    size_t offByOne[5] = {}, compared[5] = {};
    uint32_t seed = 1;
    for (const Geometry &g : geometries()) {
        if (g.height < row.minHeight) continue;
        SCOPED_TRACE(testing::Message() << g.width << "x" << g.height << " pad " << g.pad);
        ++seed;
        ASSERT_TRUE(scope.set(0));
        const std::vector<uint8_t> levelZero = row.run(g, seed);
        const std::vector<uint8_t> want = row.reference ? row.reference(g, seed) : levelZero;
        for (int32_t level = 1; level <= 4; ++level) {
            if (!scope.set(level)) continue;  // not runnable on this processor
            SCOPED_TRACE(testing::Message() << "level " << level);
            offByOne[level] += expectSame(row.run(g, seed), want, row);
            compared[level] += want.size();
            if (HasFailure()) break;
        }
        if (HasFailure()) break;
    }
    for (int32_t level = 1; level <= 4; ++level)
        EXPECT_LE(double(offByOne[level]), row.shareOffByOne * double(compared[level])) << "level " << level;
}

INSTANTIATE_TEST_SUITE_P(Kernels, LevelForms, testing::Range(size_t{0}, kernelRows().size()),
                         [](const testing::TestParamInfo<size_t> &info) {
                             std::string name = kernelRows()[info.param].name;
                             for (char &c : name)
                                 if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
                             return name;
                         });

}  // namespace
