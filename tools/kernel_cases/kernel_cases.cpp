#include "kernel_cases.h"

#include <algorithm>
#include <random>
#include <utility>

namespace kx::cases {

size_t blockBytes(int32_t rowBytes, int32_t rows, int32_t step) {
    return rows > 0 ? size_t(step) * size_t(rows - 1) + size_t(rowBytes) : 0;
}

std::vector<uint8_t> outputBytes(const Prepared &prepared) {
    std::vector<uint8_t> bytes;
    for (const Block &b : prepared.outputs) bytes.insert(bytes.end(), b.data, b.data + b.size);
    return bytes;
}

std::string frameName(const Geometry &frame) {
    const auto size = [](int32_t w, int32_t h) { return std::to_string(w) + "x" + std::to_string(h); };
    std::string name = size(frame.width, frame.height);
    if (frame.to.width > 0) name += "_to_" + size(frame.to.width, frame.to.height);
    return name;
}

namespace {

// Rows of rowBytes, pad apart beyond their own length.
Block inputRows(BlockSource &source, int32_t rowBytes, int32_t rows, int32_t pad) {
    return source.input(rowBytes, rows, rowBytes + pad);
}
Block outputRows(BlockSource &source, int32_t rowBytes, int32_t rows, int32_t pad) {
    return source.output(rowBytes, rows, rowBytes + pad);
}

// Every byte 0 or 255, so that sums reach the ends of their range and clamps bite at both ends.
void saturate(const Block &b) {
    for (size_t i = 0; i < b.size; ++i) b.data[i] = uint8_t((b.data[i] >> 7) * 255);
}

// The frames a camera's pictures take into the 800x600 painting window, and D1 doubled.
const std::vector<Geometry> kToWindow = {{352, 288, 0, {800, 600}},  {720, 576, 0, {800, 600}},
                                         {720, 576, 0, {1600, 1200}}, {1280, 720, 0, {800, 600}},
                                         {1920, 1080, 0, {800, 600}}, {717, 576, 0, {799, 600}}};
// CIF, D1, 720p, 1080p, and an odd width that leaves each vector form a tail.
const std::vector<Geometry> kFrameSizes = {{352, 288}, {720, 576}, {1280, 720}, {1920, 1080}, {717, 576}};
// A VGA frame's region less the one-pixel margin its 3x3 window reads.
const std::vector<Geometry> kVgaRegion = {{638, 478}};

// extraRows makes the source taller than the geometry, for the filters that lower themselves on
// small sources (cubic under 4 rows, Lanczos under 8); margin insets the rectangle on every side,
// so that the taps reach past it into the image; bottomUp walks the rows from the buffer's last,
// with a negative step. A frame scaled to a window is the whole source, scaled to the window.
struct Resize {
    int32_t interpolation;
    double fx, fy;
    int32_t extraRows = 0, margin = 0;
    bool bottomUp = false;

    Prepared operator()(const Geometry &g, BlockSource &source, const Entries &) const {
        const bool toWindow = g.to.width > 0;
        const int32_t height = g.height + (toWindow ? 0 : extraRows);
        const Block src = inputRows(source, 3 * g.width, height, g.pad);
        const PxRect rect{margin, margin, g.width - 2 * margin, height - 2 * margin};
        double scaleX = fx, scaleY = fy;
        PxSize dstSize = g.to;
        if (toWindow) {
            scaleX = double(g.to.width) / g.width, scaleY = double(g.to.height) / g.height;
        } else {
            // Room for the derived size and one more; what lies beyond it stays as the source left it.
            dstSize = {int32_t(std::max(rect.width, 1) * fx) + 1, int32_t(std::max(rect.height, 1) * fy) + 1};
        }
        const Block dst = outputRows(source, 3 * dstSize.width, dstSize.height, g.pad);
        const uint8_t *first = bottomUp ? src.data + ptrdiff_t{src.step} * (height - 1) : src.data;
        const int32_t srcStep = bottomUp ? -src.step : src.step;
        const PxSize srcSize{g.width, height};
        const int32_t interp = interpolation;
        return {[=] {
                    return pxResizeC3(first, srcSize, srcStep, rect, dst.data, dst.step, dstSize, scaleX, scaleY,
                                      interp);
                },
                {dst},
                size_t(3) * dstSize.width * dstSize.height};
    }
};

// 4:2:0 planes of the geometry's even part: the odd last column and row are left out.
struct Planes {
    Block y, u, v;
    Planes(const Geometry &g, BlockSource &source, bool input) {
        const auto rows = [&](int32_t rowBytes, int32_t count) {
            return input ? inputRows(source, rowBytes, count, g.pad) : outputRows(source, rowBytes, count, g.pad);
        };
        y = rows(g.width, g.height), u = rows(g.width / 2, g.height / 2), v = rows(g.width / 2, g.height / 2);
    }
};

size_t evenPixels(const Geometry &g) { return size_t(g.width & ~1) * size_t(g.height & ~1); }

struct RgbToYuv {
    bool saturated = false;
    Prepared operator()(const Geometry &g, BlockSource &source, const Entries &entries) const {
        const Block src = inputRows(source, 3 * g.width, g.height, g.pad);
        if (saturated) saturate(src);
        const Planes planes(g, source, false);
        const RgbToYuv420 convert = entries.rgbToYuv420;
        const PxSize size{g.width, g.height};
        return {[=] {
                    uint8_t *const out[3] = {planes.y.data, planes.u.data, planes.v.data};
                    const int32_t steps[3] = {planes.y.step, planes.u.step, planes.v.step};
                    return convert(src.data, src.step, out, steps, size);
                },
                {planes.y, planes.u, planes.v},
                evenPixels(g) * 3 / 2};
    }
};

struct YuvToRgb {
    Prepared operator()(const Geometry &g, BlockSource &source, const Entries &entries) const {
        const Planes planes(g, source, true);
        const Block dst = outputRows(source, 3 * g.width, g.height, g.pad);
        const Yuv420ToRgb convert = entries.yuv420ToRgb;
        const PxSize size{g.width, g.height};
        return {[=] {
                    const uint8_t *const in[3] = {planes.y.data, planes.u.data, planes.v.data};
                    const int32_t steps[3] = {planes.y.step, planes.u.step, planes.v.step};
                    return convert(in, steps, dst.data, dst.step, size);
                },
                {dst},
                evenPixels(g) * 3};
    }
};

struct Deinterlace {
    int32_t field, copyLine;
    Prepared operator()(const Geometry &g, BlockSource &source, const Entries &) const {
        // One row more than the plane: without copyLine the kernel reads the row above it (field 0)
        // or below it (field 1).
        const Block src = inputRows(source, g.width, g.height + 1, g.pad);
        // Few distinct values, so that the three differences tie often and the tie-breaks are tried.
        for (size_t i = 0; i < src.size; ++i) src.data[i] = uint8_t(src.data[i] % 4 * 60);
        const uint8_t *plane = field == 0 ? src.data + src.step : src.data;
        const Block dst = outputRows(source, g.width, g.height, g.pad);
        const PxSize size{g.width, g.height};
        const int32_t f = field, copy = copyLine;
        return {[=] { return pxDeinterlaceEdge(plane, src.step, dst.data, dst.step, size, f, copy); },
                {dst},
                size_t(g.width) * g.height};
    }
};

struct Copy {
    Prepared operator()(const Geometry &g, BlockSource &source, const Entries &) const {
        const Block src = inputRows(source, g.width, g.height, g.pad);
        const Block dst = outputRows(source, g.width, g.height, g.pad);
        const PxSize size{g.width, g.height};
        return {[=] { return pxCopyC1(src.data, src.step, dst.data, dst.step, size); },
                {dst},
                size_t(g.width) * g.height};
    }
};

// The exposure measure's luminance sum over the rows as one run of pixels, its four bytes written.
// multiples draws pixels from a few, two of whose weighted sums are multiples of 1000 (0, 63, 49 and
// 2, 87, 194: 42000 and 73000), where the vector form hands its group of sixteen to the plain rule,
// and black, whose 0 it keeps.
struct Luma {
    bool multiples = false;
    Prepared operator()(const Geometry &g, BlockSource &source, const Entries &entries) const {
        if (!entries.lumaSum) return {};
        const uint32_t count = uint32_t(g.width) * uint32_t(g.height);
        const Block src = inputRows(source, int32_t(3 * count), 1, 0);
        static const uint8_t kPixels[][3] = {{0, 63, 49}, {2, 87, 194}, {0, 0, 0}, {255, 255, 255}, {9, 9, 9}};
        for (uint32_t i = 0; multiples && i < count; ++i)
            std::copy_n(kPixels[src.data[3 * i] % 5], 3, src.data + 3 * i);
        const Block sum = source.output(4, 1, 4);
        const LumaSum lumaSum = entries.lumaSum;
        return {[=] {
                    const uint32_t s = lumaSum(src.data, count);
                    for (int i = 0; i < 4; ++i) sum.data[i] = uint8_t(s >> (8 * i));
                    return PxStsOk;
                },
                {sum},
                3 * size_t(count)};
    }
};

// The region of g at (KW - 1 - anchor.x, KH - 1 - anchor.y) of a source just large enough for the
// window's reach, so that the last byte the window may read is the buffer's last.
struct Filter {
    std::vector<int32_t> kernel;
    PxSize kernelSize;
    PxPoint anchor;
    int32_t divisor;
    bool saturated = false;

    Prepared operator()(const Geometry &g, BlockSource &source, const Entries &) const {
        const Block src = inputRows(source, 3 * (g.width + kernelSize.width - 1), g.height + kernelSize.height - 1, g.pad);
        if (saturated) saturate(src);
        const uint8_t *region =
            src.data + (kernelSize.height - 1 - anchor.y) * src.step + 3 * (kernelSize.width - 1 - anchor.x);
        const Block dst = outputRows(source, 3 * g.width, g.height, g.pad);
        const PxSize size{g.width, g.height};
        return {[=, *this] {
                    return pxFilterC3(region, src.step, dst.data, dst.step, size, kernel.data(), kernelSize, anchor,
                                      divisor);
                },
                {dst},
                size_t(3) * g.width * g.height};
    }
};

// The region at (1, 1) of a source with the one-pixel margin the 3x3 neighbourhood reads.
struct Sharpen {
    Prepared operator()(const Geometry &g, BlockSource &source, const Entries &) const {
        const Block src = inputRows(source, 3 * (g.width + 2), g.height + 2, g.pad);
        const Block dst = outputRows(source, 3 * g.width, g.height, g.pad);
        const PxSize size{g.width, g.height};
        return {[=] { return pxSharpenC3(src.data + src.step + 3, src.step, dst.data, dst.step, size); },
                {dst},
                size_t(3) * g.width * g.height};
    }
};

// A kernel of `count` coefficients drawn from low to high.
std::vector<int32_t> randomKernel(int32_t count, int32_t low, int32_t high, uint32_t seed) {
    std::mt19937 random(seed);
    std::uniform_int_distribution<int32_t> draw(low, high);
    std::vector<int32_t> kernel(static_cast<size_t>(count));
    for (int32_t &c : kernel) c = draw(random);
    return kernel;
}

using Prepare = std::function<Prepared(const Geometry &, BlockSource &, const Entries &)>;

KernelCase kernelCase(std::string name, const char *call, const char *family, Prepare prepare,
                      std::vector<Geometry> frames = {}) {
    KernelCase c;
    c.name = std::move(name), c.call = call, c.family = family;
    c.prepare = std::move(prepare);
    c.frames = std::move(frames);
    return c;
}

KernelCase resize(std::string name, const char *family, Resize r, std::vector<Geometry> frames = {},
                  double shareOffByOne = 0.0) {
    KernelCase c = kernelCase(std::move(name), "pxResizeC3", family, r, std::move(frames));
    c.shareOffByOne = shareOffByOne;
    return c;
}

KernelCase filter(std::string name, Filter f, std::vector<Geometry> frames = {}) {
    return kernelCase(std::move(name), "pxFilterC3", "filter", std::move(f), std::move(frames));
}

KernelCase conversion(std::string name, const char *call, const char *family, Prepare prepare,
                      std::vector<Geometry> frames = {}) {
    KernelCase c = kernelCase(std::move(name), call, family, std::move(prepare), std::move(frames));
    c.fixedPointAbove0 = true;
    return c;
}

KernelCase deinterlace(std::string name, Deinterlace d, std::vector<Geometry> frames = {}) {
    // Level 0 needs two rows; the others also take one.
    KernelCase c = kernelCase(std::move(name), "pxDeinterlaceEdge", "deinterlace", d, std::move(frames));
    c.minHeight = 2;
    return c;
}

// The float filters may move a byte next to a half by one; their shares stay near 2e-5.
constexpr double kFloatShare = 0.001;

std::vector<KernelCase> makeCases() {
    return {
        resize("nearest enlarge", "nearest", {PxNearest, 800.0 / 720.0, 600.0 / 576.0}, kToWindow),
        resize("nearest shrink", "nearest", {PxNearest, 0.55, 0.4}),
        resize("linear enlarge", "linear", {PxLinear, 800.0 / 720.0, 600.0 / 576.0}, kToWindow),
        resize("linear double", "linear", {PxLinear, 2.0, 2.0}),
        resize("linear double bottom-up", "linear", {PxLinear, 2.0, 2.5, 0, 0, true}),
        resize("linear shrink", "linear", {PxLinear, 0.55, 0.3}),
        resize("linear identity", "linear", {PxLinear, 1.0, 1.0}),
        resize("linear odd", "linear", {PxLinear, 11.0 / 7.0, 0.9}),
        // Shrinks whose groups of eight samples span more than sixteen source bytes (two loads) and
        // more than thirty-two (the plain rule), with an inset rectangle.
        resize("linear shrink 2.4", "linear", {PxLinear, 1.0 / 2.4, 0.5, 0, 1}),
        resize("linear shrink 4", "linear", {PxLinear, 0.25, 0.7}),
        resize("cubic enlarge", "cubic", {PxCubic, 800.0 / 720.0, 600.0 / 576.0, 3}, {kToWindow[1]}, kFloatShare),
        resize("cubic shrink", "cubic", {PxCubic, 0.55, 0.4, 9}, {}, kFloatShare),
        resize("cubic odd inset", "cubic", {PxCubic, 11.0 / 7.0, 0.9, 5, 1}, {}, kFloatShare),
        // Lanczos needs 8 rows and columns; narrower geometries try its lowered forms. Enlarging walks
        // the rows one by one, shrinking lets them jump; the inset rectangles start at the image's
        // second and fourth columns, with and without the left edge rule.
        resize("lanczos enlarge", "lanczos", {PxLanczos, 800.0 / 720.0, 600.0 / 576.0, 7}, {kToWindow[1]},
               kFloatShare),
        resize("lanczos shrink", "lanczos", {PxLanczos, 0.55, 0.3, 20}, {}, kFloatShare),
        resize("lanczos odd inset 1", "lanczos", {PxLanczos, 11.0 / 7.0, 0.9, 9, 1}, {}, kFloatShare),
        resize("lanczos double inset 3", "lanczos", {PxLanczos, 2.0, 0.7, 13, 3}, {}, kFloatShare),
        // Supersampling adds in the reference's order in every mode: no byte may differ. Whole cells
        // of 2 by 2, of 1 by 3 (columns left as they are), fractional columns, rows and both, and a
        // cell of 3.5 by 2.5 that the inset rectangle holds once or not at all in narrow geometries.
        resize("super half", "super", {PxSuper, 0.5, 0.5, 1}),
        resize("super third rows", "super", {PxSuper, 1.0, 1.0 / 3.0, 6}),
        resize("super fraction x", "super", {PxSuper, 2.0 / 3.0, 0.5, 3}),
        resize("super fraction y", "super", {PxSuper, 0.25, 0.4, 9}),
        resize("super fraction xy", "super", {PxSuper, 0.7, 0.45, 5}),
        resize("super odd inset", "super", {PxSuper, 1.0 / 3.5, 0.4, 12, 1}),
        // Whole cells of 3 by 3, 4 by 2 and 2 by 4 pixels, summed in registers straight from the rows;
        // the inset one with a rectangle that leaves part of a cell over at its right and bottom.
        // bench/ times 1080p to a third.
        resize("super third", "super", {PxSuper, 1.0 / 3.0, 1.0 / 3.0, 6}, {{1920, 1080, 0, {640, 360}}}),
        resize("super quarter by half", "super", {PxSuper, 0.25, 0.5, 3}),
        resize("super half by quarter inset", "super", {PxSuper, 0.5, 0.25, 11, 2}),
        conversion("rgb to yuv420", "pxRgbToYuv420", "rgb_to_yuv420", RgbToYuv{}, kFrameSizes),
        // Saturated, so that the V clamp bites at both ends and a block's luma sum reaches its
        // largest, which random bytes seldom do.
        conversion("rgb to yuv420 saturated", "pxRgbToYuv420", "rgb_to_yuv420", RgbToYuv{true}),
        conversion("yuv420 to rgb", "pxYuv420ToRgb", "yuv420_to_rgb", YuvToRgb{}, kFrameSizes),
        deinterlace("deinterlace field 0", {0, 0}),
        // copyLine set: the row without a partner is copied, nothing outside the plane is read.
        deinterlace("deinterlace field 0 copy", {0, 1}, kFrameSizes),
        deinterlace("deinterlace field 1 copy", {1, 1}),
        // bench/ copies the rows of a D1 frame's bytes.
        kernelCase("copy c1", "pxCopyC1", "copy", Copy{}, {{2160, 576}}),
        // The smoothing kernel of the stretch exports: the shift rule by 4.
        filter("filter 3x3 smoothing", {{1, 2, 1, 2, 4, 2, 1, 2, 1}, {3, 3}, {1, 1}, 16}, kVgaRegion),
        // 3x3 kernels of byte-sized coefficients whose magnitudes sum to at most 128 take 16-bit sums:
        // at the bound, on saturated images, with every division rule (the shift by 8 and by 15 adds
        // the half apart from the sum).
        filter("filter 3x3 sums16 plain", {{10, -20, 30, -15, 25, -5, 8, -7, 8}, {3, 3}, {1, 1}, 1, true}),
        filter("filter 3x3 sums16 shift 8", {{-128, 0, 0, 0, 0, 0, 0, 0, 0}, {3, 3}, {0, 2}, 256, true}),
        filter("filter 3x3 sums16 shift 15", {{127, 1, 0, 0, 0, 0, 0, 0, 0}, {3, 3}, {2, 1}, 32768, true}),
        filter("filter 3x3 sums16 shift 3", {{60, -30, 20, 10, -5, 3, 0, -64, 0}, {3, 3}, {1, 1}, 8}),
        filter("filter 3x3 sums16 divisor 7", {{60, -30, 20, 10, -5, 3, 0, 0, 0}, {3, 3}, {1, 1}, 7, true}),
        filter("filter 3x3 sums16 divisor -3", {{-6, 5, -4, 3, -2, 1, 0, 1, -2}, {3, 3}, {1, 1}, -3}),
        // One magnitude past the bound, and a coefficient past a byte: the 32-bit sums.
        filter("filter 3x3 past sums16", {{60, -30, 20, 10, -5, 3, 0, -1, 0}, {3, 3}, {1, 1}, 1 << 9, true}),
        filter("filter 3x3 wide coefficient", {{128, 0, 0, 0, 0, 0, 0, 0, 0}, {3, 3}, {1, 1}, 128, true}),
        // Negative taps, so that sums fall below 0 and rise past 255 in every rule.
        filter("filter 3x3 plain", {randomKernel(9, -40, 40, 3), {3, 3}, {2, 0}, 1}),
        filter("filter 5x5 divisor 7", {randomKernel(25, -300, 500, 5), {5, 5}, {2, 2}, 7}),
        filter("filter 5x2 divisor -3", {randomKernel(10, -500, 300, 6), {5, 2}, {4, 1}, -3}),
        // Even and odd widths other than 3 and 5 take the looped row pass.
        filter("filter 4x3 divisor 64", {randomKernel(12, -200, 600, 7), {4, 3}, {0, 2}, 64}),
        filter("filter 7x1 divisor 10", {randomKernel(7, -100, 200, 8), {7, 1}, {3, 0}, 10}),
        // The anchor is not checked: two columns left of the kernel, the window ends left of the pixel.
        filter("filter 5x3 anchor outside", {randomKernel(15, -90, 200, 4), {5, 3}, {-2, 1}, 9}),
        // 529 taps of 32766 over bytes of mean 127.5: sums around 2.2e9, on both sides of 2^31, so
        // both wrapped sums and sums past 2^31 - 2^29, where sum + half would overflow, are met.
        filter("filter 23x23 shift 30", {std::vector<int32_t>(529, 32766), {23, 23}, {11, 11}, 1 << 30}),
        // The edges of the coefficient range: 32767 and -32768 send the call to the scalar rule.
        filter("filter 3x3 out of pair range", {{32767, -1, 2, 3, -32768, 5, 1, 1, 1}, {3, 3}, {1, 1}, 1 << 17}),
        filter("filter 3x3 pair range edge", {{32766, -1, 2, 3, -32767, 5, 1, 1, 1}, {3, 3}, {1, 1}, 1 << 17}),
        // Kernels narrower than 3 columns take the scalar rule.
        filter("filter 2x3 divisor 5", {randomKernel(6, -50, 90, 9), {2, 3}, {1, 1}, 5}),
        filter("filter 1x3 divisor 2", {{1, 2, 1}, {1, 3}, {0, 1}, 2}),
        kernelCase("sharpen", "pxSharpenC3", "sharpen", Sharpen{}, kVgaRegion),
        kernelCase("luma sum", "lumaSum", "luma_sum", Luma{}, {{720, 576}}),
        kernelCase("luma sum multiples of 1000", "lumaSum", "luma_sum", Luma{true}),
    };
}

}  // namespace

const std::vector<KernelCase> &kernelCases() {
    static const std::vector<KernelCase> cases = makeCases();
    return cases;
}

}  // namespace kx::cases
