// The paint exports against a device that draws nothing and keeps every call.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <new>
#include <stdexcept>
#include <string>
#include <tuple>

#include "frame/library_state.h"
#include "kestrix/px.h"
#include "platform/paint.h"
#include "present/fit.h"
#include "present/frame_fixture.h"

// Array allocations are watched, to see the size the shared block grows to.
namespace {
size_t lastArraySize = 0;
}
void *operator new[](size_t size) {
    lastArraySize = size;
    if (void *block = std::malloc(size ? size : 1)) return block;
    throw std::bad_alloc();
}
void *operator new[](size_t size, const std::nothrow_t &) noexcept {
    lastArraySize = size;
    return std::malloc(size ? size : 1);
}
void operator delete[](void *block) noexcept { std::free(block); }
void operator delete[](void *block, size_t) noexcept { std::free(block); }

namespace kx::test {
namespace {

enum class Op { GetDC, ReleaseDC, SetDIBits, CreateBrush, FrameRect, DeleteObject, BkMode, TextAlign, TextColor,
                TextOut, Convert };

struct Call {
    Op op;
    std::vector<int64_t> args;  // the integer arguments in order; TextOut adds the colour in effect
    std::string text{};
    platform::PaintBrush brush = nullptr;
    const void *bits = nullptr;  // pixels painted or text converted
    const BITMAPINFOHEADER *headerAddress = nullptr;
    BITMAPINFOHEADER header{};  // as it stood during the paint
};

class RecordingDevice : public platform::PaintDevice {
public:
    enum class Conversion { Platform, Fail, Throw, Negative };  // the text conversion's outcome
    using Dc = platform::PaintContext;
    std::vector<Call> calls;
    Conversion conversion = Conversion::Platform;
    uint32_t textColour = 0;  // a fresh context draws black text

    std::vector<Call> only(Op op) const {
        std::vector<Call> out;
        std::copy_if(calls.begin(), calls.end(), std::back_inserter(out), [op](const Call &c) { return c.op == op; });
        return out;
    }
    Dc getWindowDC(int32_t window) override { add(Op::GetDC, {window}); return dc(); }
    int32_t releaseDC(int32_t window, Dc context) override { add(Op::ReleaseDC, {window}, context); return 1; }
    int32_t setDIBitsToDevice(Dc context, int32_t x, int32_t y, int32_t width, int32_t height, int32_t sourceX,
                              int32_t sourceY, uint32_t startScan, uint32_t scans, const void *bits,
                              const BITMAPINFOHEADER *header, uint32_t colourUse) override {
        Call &call = add(Op::SetDIBits, {x, y, width, height, sourceX, sourceY, startScan, scans, colourUse}, context);
        call.bits = bits;
        call.headerAddress = header;
        call.header = *header;
        return static_cast<int32_t>(scans);
    }
    platform::PaintBrush createSolidBrush(uint32_t colour) override {
        return add(Op::CreateBrush, {colour}).brush = reinterpret_cast<platform::PaintBrush>(0x2000 + calls.size());
    }
    int32_t frameRect(Dc context, const RECT *r, platform::PaintBrush brush) override {
        add(Op::FrameRect, {r->left, r->top, r->right, r->bottom}, context).brush = brush;
        return 1;
    }
    int32_t deleteObject(platform::PaintBrush brush) override { add(Op::DeleteObject, {}).brush = brush; return 1; }
    int32_t setBkMode(Dc context, int32_t mode) override { add(Op::BkMode, {mode}, context); return 2; }
    uint32_t setTextAlign(Dc context, uint32_t align) override { add(Op::TextAlign, {align}, context); return 0; }
    uint32_t setTextColor(Dc context, uint32_t colour) override {
        add(Op::TextColor, {colour}, context);
        std::swap(colour, textColour);
        return colour;
    }
    int32_t textOut(Dc context, int32_t x, int32_t y, const char *text, int32_t length) override {
        add(Op::TextOut, {x, y, textColour}, context).text.assign(text, static_cast<size_t>(length));
        return 1;
    }
    int32_t wideToNarrow(const uint16_t *text, int32_t length, char *buffer, int32_t size) override {
        add(Op::Convert, {length, size}).bits = text;
        if (conversion == Conversion::Throw) throw std::runtime_error("conversion");
        if (conversion != Conversion::Platform) return conversion == Conversion::Fail ? 0 : -1;
        return platform::wideToNarrow(text, length, buffer, size);
    }

private:
    static Dc dc() { return reinterpret_cast<Dc>(0x1000); }
    Call &add(Op op, std::vector<int64_t> args, Dc context = dc()) {
        EXPECT_EQ(context, dc());  // every drawing call goes to the context handed out
        return calls.emplace_back(Call{op, std::move(args)});
    }
};

// The device in place, and the shared block of 1600 by 1200 as attach makes it.
class PaintTest : public ::testing::Test {
protected:
    void SetUp() override {
        resetScratch();
        platform::setPaintDevice(&device);
    }
    void TearDown() override { platform::setPaintDevice(nullptr); }
    static void resetScratch() {
        ASSERT_TRUE(replaceFrameScratch(1600 * 1200 * 3 + 40, 0));
        ScratchWidth = 1600;
        ScratchHeight = 1200;
    }
    RecordingDevice device;
};

TEST_F(PaintTest, NullHeaderReturnsZeroAndDoesNothing) {
    const uint8_t *block = FrameScratch;
    EXPECT_EQ(JpegDecompress2(kWindow, 1700, 100, nullptr, 0, nullptr, nullptr, nullptr, 0, 0, nullptr, 0), 0);
    EXPECT_EQ(JpegDecompress3(kWindow, 1700, 100, nullptr, 0, nullptr, nullptr, nullptr, 0, 0, nullptr, 0, 0, 0, 0,
                              nullptr, 0, 0),
              0);
    EXPECT_TRUE(device.calls.empty());
    EXPECT_EQ(FrameScratch, block);
    EXPECT_EQ(ScratchWidth, 1600);
}

using present::Road;
constexpr Road S = Road::SameSize, R = Road::Resize, C = Road::Crop;

// Both tables of known sizes: each row's crop window and windows either side of its cuts. Every
// road paints at 1,1 the window less its rim, from source row 1, all scans, with the header negated:
// the caller's own (road 1), a copy (road 3) or the window's size rounded up to 8 (road 2).
TEST_F(PaintTest, RoadFitRectAndPaint) {
    const struct {
        bool form3;
        int32_t frameWidth, frameHeight, width, height;
        Road road;
        int32_t x, fitWidth, fitHeight;           // FitRect, whose y is always 1
        int32_t paintWidth = 0, paintHeight = 0;  // on road 2, when not the window's
    } cases[] = {
        {D2, 720, 480, 640, 480, C, 40, 640, 480},  {D2, 720, 480, 720, 400, R, 1, 720, 480},
        {D2, 720, 576, 720, 576, S, 1, 720, 576},   {D2, 720, 576, 640, 480, C, 40, 640, 480},
        {D2, 720, 576, 640, 512, R, 40, 640, 480},  {D2, 720, 576, 800, 600, R, 1, 720, 576},
        {D2, 352, 240, 320, 240, C, 17, 320, 240},  {D2, 352, 288, 320, 240, C, 17, 320, 240},
        {D2, 352, 288, 352, 240, R, 1, 352, 240},   {D2, 352, 288, 704, 576, R, 1, 352, 288},
        {D2, 176, 128, 176, 128, S, 1, 176, 128},   {D2, 176, 128, 160, 120, C, 8, 160, 120},
        {D2, 176, 128, 320, 240, R, 8, 160, 120},   {D2, 720, 500, 640, 480, R, 1, 720, 500},  // unknown
        {D3, 720, 480, 640, 480, C, 40, 640, 480},  {D3, 720, 480, 800, 600, R, 16, 688, 480},
        {D3, 720, 576, 640, 480, C, 40, 640, 480},  {D3, 720, 576, 640, 512, R, 40, 640, 480},
        {D3, 720, 576, 800, 600, R, 16, 688, 560},  {D3, 720, 576, 720, 480, R, 16, 688, 480},
        {D3, 352, 240, 320, 240, C, 17, 320, 240},  {D3, 352, 240, 352, 200, R, 10, 336, 240},
        {D3, 352, 288, 320, 240, C, 17, 320, 240},  {D3, 352, 288, 704, 576, R, 10, 336, 288},
        {D3, 352, 288, 352, 240, R, 10, 336, 240},  {D3, 176, 128, 160, 120, C, 8, 160, 120},
        {D3, 176, 128, 352, 256, R, 8, 160, 120},   {D3, 1280, 720, 640, 480, R, 1, 1280, 720},  // unknown
        {D3, 176, 128, 176, 128, S, 1, 176, 128},   {D3, 720, 480, 350, 241, R, 40, 640, 480, 352, 248},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        const auto form = c.form3 ? present::PaintForm::Decompress3 : present::PaintForm::Decompress2;
        const present::Fit fit = present::chooseFit(form, c.frameWidth, c.frameHeight, c.width, c.height);
        EXPECT_EQ(fit.road, c.road);
        EXPECT_EQ((std::vector<int32_t>{fit.fitRect.x, fit.fitRect.y, fit.fitRect.width, fit.fitRect.height}),
                  (std::vector<int32_t>{c.x, 1, c.fitWidth, c.fitHeight}));

        device.calls.clear();
        TestFrame frame(c.frameWidth, c.frameHeight);
        ASSERT_EQ(paint(c.form3, frame, c.width, c.height), 1);
        EXPECT_EQ(frame.header.biHeight, c.frameHeight);  // put back
        ASSERT_EQ(device.calls.size(), 23u);  // the context, the paint, 20 text steps, the release
        EXPECT_EQ(device.calls[0].op, Op::GetDC);
        EXPECT_EQ(device.calls[0].args, std::vector<int64_t>{kWindow});
        const Call &p = device.calls[1];
        EXPECT_EQ(p.op, Op::SetDIBits);
        EXPECT_EQ(p.args, (std::vector<int64_t>{1, 1, c.width - 2, c.height - 2, c.road == C ? c.x : 1, 1, 0,
                                                c.height, 0}));
        const int32_t width = c.road != R ? c.frameWidth : c.paintWidth ? c.paintWidth : c.width;
        const int32_t height = c.road != R ? c.frameHeight : c.paintHeight ? c.paintHeight : c.height;
        EXPECT_EQ((std::vector<int64_t>{p.header.biWidth, p.header.biHeight, p.header.biSizeImage}),
                  (std::vector<int64_t>{width, -height, width * height * 3}));
        EXPECT_EQ(p.bits, c.road == R ? FrameScratch : frame.pixels.data());
        EXPECT_EQ(p.headerAddress == &frame.header, c.road == S);
    }
}

// The block grows when either side outgrows it, and the other side follows the window. It is
// made for the 8-aligned image that the resize writes, not for the window alone.
TEST_F(PaintTest, ScratchGrowth) {
    const struct { bool form3; int32_t width, height; size_t bytes; } cases[] = {
        {D2, 1700, 100, 531648},  // 1704 * 104 * 3: without the 40 bytes of attach
        {D3, 1700, 100, 531688},
        {D2, 100, 1300, 406848},  // 104 * 1304 * 3: the width falls to 100
        {D3, 1600, 1200, 0},      // equal: no growth
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.bytes);
        resetScratch();
        std::memset(FrameScratch, 0xEE, 1600 * 1200 * 3 + 40);
        const uint8_t *before = FrameScratch;
        TestFrame frame(c.width, c.height);  // same size: nothing is resized into the block
        lastArraySize = 0;
        ASSERT_EQ(paint(c.form3, frame, c.width, c.height), 1);
        EXPECT_EQ(lastArraySize, c.bytes);
        EXPECT_EQ(ScratchWidth, c.width);
        EXPECT_EQ(ScratchHeight, c.height);
        const size_t checked = c.bytes ? c.bytes : 1600 * 1200 * 3 + 40;  // a new block zero-filled, or the old kept
        EXPECT_EQ(static_cast<size_t>(std::count(FrameScratch, FrameScratch + checked, c.bytes ? 0 : 0xEE)), checked);
        EXPECT_TRUE(c.bytes || FrameScratch == before);
    }
}

// Windows whose sides are not multiples of 8: the block holds the whole 8-aligned image that the
// resize writes into it (the sanitizers watch its ends), byte for byte a direct resize's.
TEST_F(PaintTest, BlockHoldsTheAlignedImage) {
    const struct { bool form3; int32_t width, height, alignedWidth, alignedHeight; uint64_t bytes; } cases[] = {
        {D2, 1700, 100, 1704, 104, 531648},  // the window alone asks for 510,000: 21,648 short
        {D3, 1700, 100, 1704, 104, 531688},
        {D2, 1601, 100, 1608, 104, 501696},
        {D3, 1500, 1300, 1504, 1304, 5883688},
        {D2, 333, 77, 336, 80, 5760040},  // no growth: the block of attach
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.width);
        resetScratch();
        TestFrame frame(720, 576);
        ASSERT_EQ(paint(c.form3, frame, c.width, c.height), 1);
        EXPECT_EQ(ScratchBytes, c.bytes);
        const size_t image = size_t(c.alignedWidth) * size_t(c.alignedHeight) * 3;
        std::vector<uint8_t> expected(image, 0xEE);
        const auto form = c.form3 ? present::PaintForm::Decompress3 : present::PaintForm::Decompress2;
        const PxRect fit = present::chooseFit(form, 720, 576, c.width, c.height).fitRect;
        pxResizeC3(frame.pixels.data(), PxSize{720, 576}, 720 * 3, fit, expected.data(), c.alignedWidth * 3,
                   PxSize{c.alignedWidth, c.alignedHeight},
                   static_cast<float>(c.alignedWidth) / static_cast<float>(fit.width),
                   static_cast<float>(c.alignedHeight) / static_cast<float>(fit.height), PxLinear);
        std::memset(FrameScratch, 0xEE, size_t(ScratchBytes));
        ASSERT_EQ(paint(c.form3, frame, c.width, c.height), 1);
        EXPECT_EQ(std::vector<uint8_t>(FrameScratch, FrameScratch + image), expected);
    }
}

// A block that cannot be had: the old one and its sizes stay, nothing is painted, 0 comes back,
// and the next call paints as before.
TEST_F(PaintTest, BlockBeyondMemoryPaintsNothing) {
    TestFrame frame(720, 576);
    const uint8_t *block = FrameScratch;
    for (const bool form3 : {D2, D3}) {
        EXPECT_EQ(paint(form3, frame, 1000000, 1000000), 0);  // 3 TB
        EXPECT_EQ(std::tuple(FrameScratch, ScratchBytes, ScratchWidth, ScratchHeight),
                  std::tuple(block, uint64_t{5760040}, 1600, 1200));
    }
    // A bit count whose row step wraps to a negative one would write below the block.
    TestFrame odd(8, 8);
    odd.header.biBitCount = 65535;
    EXPECT_EQ(paint(D2, odd, 40000, 8), 0);
    EXPECT_TRUE(device.calls.empty());
    EXPECT_EQ(paint(D2, frame, 800, 600), 1);
    EXPECT_EQ(device.only(Op::SetDIBits).size(), 1u);
}

// A 32-bit frame on the resize road: the paint reads four bytes a pixel, so the block grows to
// 1600 * 1200 * 4 while the recorded sizes stay those of the window.
TEST_F(PaintTest, DeeperFramesGetTheBlockTheyReach) {
    TestFrame frame(720, 576, 32);
    ASSERT_EQ(paint(D2, frame, 1600, 1200), 1);
    EXPECT_EQ(std::tuple(ScratchBytes, ScratchWidth, ScratchHeight), std::tuple(uint64_t{7680000}, 1600, 1200));
}

// Hundreds of paints over all three roads, growing the block now and then, with zones and texts;
// under the sanitizers nothing may be left when the program ends.
TEST_F(PaintTest, HundredsOfPaintsLeaveNothing) {
    TestFrame frame(720, 576);
    const RECT zones[] = {{10, 10, 100, 100}, {0, 0, 720, 576}};
    const uint16_t text[] = {'C', 'a', 'm', ' ', '1'};
    const int32_t windows[][2] = {{720, 576}, {640, 480}, {800, 600}, {1700, 100}, {333, 77}};
    for (int i = 0; i < 300; ++i) {
        const auto &window = windows[i % 5];
        device.calls.clear();
        ASSERT_EQ(paint(i % 2 ? D3 : D2, frame, window[0], window[1],
                        {.zones = zones, .zoneCount = 2, .topLeft = text, .topLeftLength = 5, .bottomRight = text,
                         .bottomRightLength = 5}),
                  1);
    }
}

// The resize writes what a direct resize of FitRect writes, with factors divided in single
// precision, and nothing past the aligned image: into the block, or into resizeTarget when
// JpegDecompress3 is asked to, leaving the block alone.
TEST_F(PaintTest, ResizeMatchesDirectResize) {
    const struct { bool form3; int32_t frameWidth, frameHeight, width, height; PxRect fit; PxSize aligned; } cases[] = {
        {D2, 720, 576, 640, 512, {40, 1, 640, 480}, {640, 512}},
        {D3, 720, 576, 800, 600, {16, 1, 688, 560}, {800, 600}},  // factors 800 / 688 and 600 / 560
        {D3, 100, 60, 350, 60, {1, 1, 100, 60}, {352, 64}},       // 352 / 100 is 3.5199999 in float
    };
    std::vector<uint8_t> target;
    for (const auto &c : cases) {
        SCOPED_TRACE(c.width);
        const size_t size = static_cast<size_t>(c.aligned.width) * c.aligned.height * 3 + 64;
        TestFrame frame(c.frameWidth, c.frameHeight);
        std::vector<uint8_t> expected(size, 0xEE);
        pxResizeC3(frame.pixels.data(), PxSize{c.frameWidth, c.frameHeight}, c.frameWidth * 3, c.fit,
                   expected.data(), c.aligned.width * 3, c.aligned,
                   static_cast<float>(c.aligned.width) / static_cast<float>(c.fit.width),
                   static_cast<float>(c.aligned.height) / static_cast<float>(c.fit.height), PxLinear);
        std::memset(FrameScratch, 0xEE, size);
        ASSERT_EQ(paint(c.form3, frame, c.width, c.height), 1);
        EXPECT_EQ(std::vector<uint8_t>(FrameScratch, FrameScratch + size), expected);
        if (!c.form3) continue;
        std::memset(FrameScratch, 0xEE, size);
        target.assign(size, 0xEE);
        ASSERT_EQ(paint(D3, frame, c.width, c.height, {.resizeTarget = target.data(), .useResizeTarget = 1}), 1);
        EXPECT_EQ(target, expected);
        EXPECT_EQ(device.only(Op::SetDIBits).back().bits, target.data());
        EXPECT_TRUE(std::all_of(FrameScratch, FrameScratch + size, [](uint8_t b) { return b == 0xEE; }));
    }
    // The last row: 100 * 3.5199999 truncates to 351 columns, and the last one keeps its old bytes.
    for (int32_t y = 0; y < 64; ++y) EXPECT_EQ(target[(y * 352 + 351) * 3], 0xEE) << y;
}

// resizeTarget is left alone when not asked for and on roads 1 and 3; a null one means the block.
TEST_F(PaintTest, ResizeTargetUntouched) {
    TestFrame frame(720, 576);
    std::vector<uint8_t> target(800 * 600 * 3, 0xEE);
    ASSERT_EQ(paint(D3, frame, 800, 600, {.resizeTarget = target.data(), .useResizeTarget = 0}), 1);
    ASSERT_EQ(paint(D3, frame, 720, 576, {.resizeTarget = target.data(), .useResizeTarget = 1}), 1);
    ASSERT_EQ(paint(D3, frame, 640, 480, {.resizeTarget = target.data(), .useResizeTarget = 1}), 1);
    ASSERT_EQ(paint(D3, frame, 800, 600, {.resizeTarget = nullptr, .useResizeTarget = 1}), 1);
    EXPECT_EQ(target, std::vector<uint8_t>(target.size(), 0xEE));
    const auto paints = device.only(Op::SetDIBits);
    const void *bits[] = {FrameScratch, frame.pixels.data(), frame.pixels.data(), FrameScratch};
    for (size_t i = 0; i < 4; ++i) EXPECT_EQ(paints.at(i).bits, bits[i]) << i;
}

// A 16-bit frame goes through the three-channel resize with rows of 16 * width / 8 bytes.
TEST_F(PaintTest, SixteenBitFrameResizedAsThreeChannels) {
    TestFrame frame(100, 60, 16);
    frame.pixels.resize(100 * 60 * 3);  // the resize reads three bytes a pixel
    ASSERT_EQ(paint(D2, frame, 200, 120), 1);
    std::vector<uint8_t> expected(200 * 120 * 3, 0);
    // Steps 16 * 100 / 8 = 200 and 16 * 200 / 8 = 400, factors 2.
    pxResizeC3(frame.pixels.data(), PxSize{100, 60}, 200, PxRect{1, 1, 100, 60}, expected.data(), 400,
               PxSize{200, 120}, 2.0, 2.0, PxLinear);
    EXPECT_EQ(std::vector<uint8_t>(FrameScratch, FrameScratch + expected.size()), expected);
    EXPECT_EQ(device.calls[1].header.biSizeImage, 48000u);  // 16 * 120 * 200 / 8
}

#if !defined(_WIN32)
// With no display the X11 device paints nothing, and the frame still counts as handled.
TEST_F(PaintTest, NoDisplayPaintsNothing) {
    unsetenv("DISPLAY");
    platform::setPaintDevice(nullptr);
    TestFrame frame(720, 576);
    const RECT zone = {1, 1, 50, 50};
    const uint16_t text[] = {'x', 'y'};
    EXPECT_EQ(paint(D2, frame, 720, 576, {&zone, 1, text, 2, 0, text, 2}), 1);
    EXPECT_EQ(paint(D3, frame, 640, 480, {&zone, 1, text, 2, 1, text, 2}), 1);
    EXPECT_EQ(frame.header.biHeight, 576);
}
#endif

// Zones map by the painted header's size over the frame's, in 32 bits with truncation; their size
// is the only test against the frame. Each row paints its zone twice: a red brush of its own each
// time, deleted whether the outline was drawn or not.
TEST_F(PaintTest, ZoneOutlines) {
    const struct { int32_t frameWidth, frameHeight, width, height; RECT zone; std::vector<int64_t> mapped; } cases[] = {
        {720, 480, 360, 240, {100, 100, 200, 200}, {50, 50, 100, 100}},
        {720, 480, 350, 240, {100, 100, 200, 200}, {48, 50, 97, 100}},     // 352 / 720: 48.9 and 97.8
        {720, 480, 350, 240, {-7, -3, 7, 3}, {-3, -1, 3, 1}},              // -3.4 truncates toward zero
        {720, 576, 640, 480, {100, 100, 200, 200}, {100, 100, 200, 200}},  // crop road: unscaled, no offset
        {720, 480, 720, 480, {-10, 0, 710, 10}, {-10, 0, 710, 10}},        // as wide as the frame
        {720, 480, 720, 480, {-10, 0, 711, 10}, {}},                       // one wider: not drawn
        {720, 480, 720, 480, {0, 5, 10, 485}, {0, 5, 10, 485}},            // as tall
        {720, 480, 720, 480, {0, 5, 10, 486}, {}},                         // one taller
        {720, 480, 720, 480, {900, 900, 950, 950}, {900, 900, 950, 950}},  // outside but small enough
        {720, 480, 720, 480, {300, 300, 100, 100}, {300, 300, 100, 100}},  // inverted: a negative size
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        device.calls.clear();
        TestFrame frame(c.frameWidth, c.frameHeight);
        const RECT zones[] = {c.zone, c.zone};
        ASSERT_EQ(paint(D2, frame, c.width, c.height, {zones, 2}), 1);
        std::vector<Call> got, want;
        std::copy_if(device.calls.begin(), device.calls.end(), std::back_inserter(got),
                     [](const Call &call) { return call.op >= Op::CreateBrush && call.op <= Op::DeleteObject; });
        for (int i = 0; i < 2; ++i) {
            want.push_back({Op::CreateBrush, {0x0000FF}});
            if (!c.mapped.empty()) want.push_back({Op::FrameRect, c.mapped});
            want.push_back({Op::DeleteObject, {}});
        }
        ASSERT_EQ(got.size(), want.size());
        for (size_t i = 0, perZone = want.size() / 2; i < got.size(); ++i) {
            EXPECT_EQ(got[i].op, want[i].op) << i;
            EXPECT_EQ(got[i].args, want[i].args) << i;
            EXPECT_EQ(got[i].brush, got[i / perZone * perZone].brush) << i;
        }
    }
    TestFrame frame(352, 288);
    device.calls.clear();  // no zones: no brushes
    ASSERT_EQ(paint(D2, frame, 352, 288, {nullptr, 5}), 1);
    ASSERT_EQ(paint(D2, frame, 352, 288, {&cases[0].zone, 0}), 1);
    ASSERT_EQ(paint(D3, frame, 352, 288, {&cases[0].zone, -1}), 1);
    EXPECT_TRUE(device.only(Op::CreateBrush).empty());
}

// The text steps come after the zones, with the colour in effect at each text. The context starts
// in a colour other than black to show where its colour comes back.
TEST_F(PaintTest, TwentyTextSteps) {
    const uint16_t topLeft[] = {'C', 'a', 'm', ' ', '1'}, bottomRight[] = {'1', '2', ':', '0', '0'};
    const int64_t white = 0xFFFFFF, red = 0x0000FF, blue = 0xFF0000, old = 0x123456;
    const RECT zone = {10, 10, 20, 20};
    TestFrame frame(352, 288);
    for (int32_t textState : {0, 1, 2}) {
        SCOPED_TRACE(textState);
        device.calls.clear();
        device.textColour = old;
        ASSERT_EQ(paint(D2, frame, 400, 300, {&zone, 1, topLeft, 5, textState, bottomRight, 5}), 1);
        const int64_t colour = textState == 0 ? red : textState == 1 ? blue : old;
        std::vector<Call> want = {
            {Op::BkMode, {1}}, {Op::TextAlign, {0}}, {Op::TextColor, {white}},
            {Op::TextOut, {0, 0, white}, "Cam 1"}, {Op::TextOut, {0, 2, white}, "Cam 1"},
            {Op::TextOut, {2, 0, white}, "Cam 1"}, {Op::TextOut, {2, 2, white}, "Cam 1"}, {Op::TextColor, {old}},
            {Op::TextOut, {1, 1, colour}, "Cam 1"}, {Op::TextColor, {old}}, {Op::TextAlign, {10}},
            {Op::TextColor, {white}}, {Op::TextOut, {399, 299, white}, "12:00"},
            {Op::TextOut, {397, 299, white}, "12:00"}, {Op::TextOut, {399, 297, white}, "12:00"},
            {Op::TextOut, {397, 297, white}, "12:00"}, {Op::TextColor, {blue}},
            {Op::TextOut, {398, 298, blue}, "12:00"}, {Op::TextColor, {old}}, {Op::ReleaseDC, {kWindow}}};
        if (textState != 2) want.insert(want.begin() + 8, Call{Op::TextColor, {colour}});
        const auto lastZoneCall = std::find_if(device.calls.rbegin(), device.calls.rend(),
                                               [](const Call &call) { return call.op == Op::DeleteObject; });
        const std::vector<Call> got(lastZoneCall.base(), device.calls.end());
        ASSERT_EQ(got.size(), want.size());
        for (size_t i = 0; i < want.size(); ++i) {
            EXPECT_EQ(got[i].op, want[i].op) << i;
            EXPECT_EQ(got[i].args, want[i].args) << i;
            EXPECT_EQ(got[i].text, want[i].text) << i;
        }
    }
}

// What each text form shows; Fail, Throw and Negative force the conversion's outcome. 16-bit text
// is converted into the 256-byte buffer.
TEST_F(PaintTest, TextForms) {
    using Conversion = RecordingDevice::Conversion;
    const uint16_t wide[] = {'C', 'a', 'm', ' ', '1'};
    [[maybe_unused]] const uint16_t lookAlikes[] = {0x0100, 0x0080, 0xD83D, 0xDE00};
    const uint16_t bestFit[] = {0x0100, 0x221E, 0xFF21, 0x0110, 0x2264};
    const uint16_t codePage[] = {'R', 0xE9, 'f', ' ', 0x20AC, 0x4E2D, 0x201A, 0x0178, 0x2122};
    const char narrow[] = "Hello world";
    const std::string x(300, 'x');
    const std::vector<uint16_t> longWide(257, 'y');
    const struct {
        bool form3;
        int32_t wideText;
        Conversion conversion;
        const void *topLeft, *bottomRight;
        int32_t topLeftLength, bottomRightLength;
        std::string shownTopLeft, shownBottomRight;
    } cases[] = {
        {D2, 1, Conversion::Platform, wide, wide, 5, 3, "Cam 1", "Cam"},
        {D2, 1, Conversion::Platform, codePage, nullptr, 9, 0, "R\xE9" "f \x80?\x82\x9F\x99", ""},  // 1252
        {D2, 1, Conversion::Platform, bestFit, nullptr, 5, 0, "A8A\xD0=", ""},  // look-alikes outside 1252
        {D2, 1, Conversion::Fail, wide, wide, 5, 4, "C", "C"},   // the raw bytes: 'C', then a zero
        {D2, 1, Conversion::Throw, wide, wide, 5, 5, "C", "C"},  // swallowed, the paint goes on
        {D2, 1, Conversion::Platform, nullptr, nullptr, 5, 5, "", ""},
        {D3, 1, Conversion::Platform, wide, wide, 5, 2, "Cam 1", "Ca"},
        {D3, 1, Conversion::Platform, bestFit, bestFit + 1, 3, 2, "A8A", "8A"},
        {D3, 1, Conversion::Fail, wide, wide, 5, 5, "", ""},
        {D3, 1, Conversion::Negative, wide, wide, 5, 5, "C", ""},  // -1 counts as 0 only bottom right
        {D3, 0, Conversion::Platform, narrow, narrow + 6, 5, 3, "Hello", "wor"},
        {D3, 0, Conversion::Platform, nullptr, nullptr, 5, 5, "", ""},
        {D3, 0, Conversion::Platform, x.data(), x.data(), 255, 256, x.substr(0, 255), x.substr(0, 256)},  // full
#if !defined(_WIN32)  // the portable conversion writes nothing when the text does not fit
        {D2, 1, Conversion::Platform, lookAlikes, longWide.data(), 4, 257, "A???", "y"},
#endif
    };
    TestFrame frame(352, 288);
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        device.calls.clear();
        device.conversion = c.conversion;
        ASSERT_EQ(paint(c.form3, frame, 352, 288,
                        {nullptr, 0, c.topLeft, c.topLeftLength, 0, c.bottomRight, c.bottomRightLength, nullptr, 0,
                         c.wideText}),
                  1);
        const auto outs = device.only(Op::TextOut);
        ASSERT_EQ(outs.size(), 10u);
        for (size_t i = 0; i < 10; ++i) EXPECT_EQ(outs[i].text, i < 5 ? c.shownTopLeft : c.shownBottomRight) << i;
        for (const Call &call : device.only(Op::Convert)) EXPECT_EQ(call.args[1], 256);
    }
}

}  // namespace
}  // namespace kx::test
