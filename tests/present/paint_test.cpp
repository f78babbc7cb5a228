#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "frame/library_state.h"
#include "kestrix/px.h"
#include "present/frame_fixture.h"
#include "present/recording_device.h"

// Array allocations are watched so that the size the shared block is grown to can be seen.
namespace {
bool watchArrays = false;
size_t lastArraySize = 0;
}  // namespace

void *operator new[](size_t size) {
    if (watchArrays) lastArraySize = size;
    if (void *block = std::malloc(size ? size : 1)) return block;
    throw std::bad_alloc();
}
void operator delete[](void *block) noexcept { std::free(block); }
void operator delete[](void *block, size_t) noexcept { std::free(block); }

namespace kx::test {
namespace {

class PaintFrameTest : public ::testing::Test, public PaintTest {};

TEST_F(PaintFrameTest, NullHeaderReturnsZeroAndDoesNothing) {
    uint8_t *block = FrameScratch;
    EXPECT_EQ(JpegDecompress2(kWindow, 1700, 100, nullptr, 0, nullptr, nullptr, nullptr, 0, 0, nullptr, 0), 0);
    EXPECT_EQ(JpegDecompress3(kWindow, 1700, 100, nullptr, 0, nullptr, nullptr, nullptr, 0, 0, nullptr, 0, 0, 0, 0,
                              nullptr, 0, 0),
              0);
    EXPECT_TRUE(device.calls.empty());
    EXPECT_EQ(FrameScratch, block);
    EXPECT_EQ(ScratchWidth, 1600);
    EXPECT_EQ(ScratchHeight, 1200);
}

TEST_F(PaintFrameTest, ContextTakenFirstAndReleasedLast) {
    TestFrame frame(352, 288);
    EXPECT_EQ(paint2(frame, 352, 288), 1);
    ASSERT_GE(device.calls.size(), 2u);
    EXPECT_EQ(device.calls.front().op, Op::GetWindowDC);
    EXPECT_EQ(device.calls.front().window, kWindow);
    EXPECT_EQ(device.calls.back().op, Op::ReleaseDC);
    EXPECT_EQ(device.calls.back().window, kWindow);
    EXPECT_EQ(device.calls.back().dc, RecordingDevice::context());
}

// The DIB paint of each road: always at 1,1, the window less its rim, source row 1, all scans.
struct RoadCase {
    const char *what;
    bool form3;
    int32_t frameWidth, frameHeight, width, height;
    int road;  // 1 same size, 2 resize, 3 crop
    int32_t sourceX;
    int32_t headerWidth, headerHeight;  // of the painted header, the height negated during the paint
    uint32_t sizeImage;                 // of the painted header
};

const RoadCase kRoads[] = {
    {"D2 720x576 same size", false, 720, 576, 720, 576, 1, 1, 720, -576, 720 * 576 * 3},
    {"D3 176x128 same size", true, 176, 128, 176, 128, 1, 1, 176, -128, 176 * 128 * 3},
    {"D2 720x576 crop at 40", false, 720, 576, 640, 480, 3, 40, 720, -576, 720 * 576 * 3},
    {"D3 720x576 crop at 40", true, 720, 576, 640, 480, 3, 40, 720, -576, 720 * 576 * 3},
    {"D2 352x288 crop at 17", false, 352, 288, 320, 240, 3, 17, 352, -288, 352 * 288 * 3},
    {"D3 176x128 crop at 8", true, 176, 128, 160, 120, 3, 8, 176, -128, 176 * 128 * 3},
    // Resized into 8-aligned sides: biSizeImage is 24 * alignedHeight * alignedWidth / 8.
    {"D2 720x576 into 800x600", false, 720, 576, 800, 600, 2, 1, 800, -600, 1440000},
    {"D3 720x480 into 350x241", true, 720, 480, 350, 241, 2, 1, 352, -248, 261888},
};

TEST_F(PaintFrameTest, PaintArgumentsPerRoad) {
    for (const RoadCase &c : kRoads) {
        SCOPED_TRACE(c.what);
        device.calls.clear();
        TestFrame frame(c.frameWidth, c.frameHeight);
        frame.header.biSizeImage = static_cast<uint32_t>(c.frameWidth * c.frameHeight * 3);
        EXPECT_EQ(c.form3 ? paint3(frame, c.width, c.height) : paint2(frame, c.width, c.height), 1);
        const auto paints = device.only(Op::SetDIBits);
        ASSERT_EQ(paints.size(), 1u);
        const Call &p = paints[0];
        EXPECT_EQ(p.dc, RecordingDevice::context());
        EXPECT_EQ(p.x, 1);
        EXPECT_EQ(p.y, 1);
        EXPECT_EQ(p.width, c.width - 2);
        EXPECT_EQ(p.height, c.height - 2);
        EXPECT_EQ(p.sourceX, c.sourceX);
        EXPECT_EQ(p.sourceY, 1);
        EXPECT_EQ(p.startScan, 0u);
        EXPECT_EQ(p.scanCount, static_cast<uint32_t>(c.height));
        EXPECT_EQ(p.colourUse, 0u);
        EXPECT_EQ(p.header.biWidth, c.headerWidth);
        EXPECT_EQ(p.header.biHeight, c.headerHeight);
        EXPECT_EQ(p.header.biSizeImage, c.sizeImage);
        EXPECT_EQ(p.header.biBitCount, 24);
        if (c.road == 2) {
            EXPECT_EQ(p.bits, FrameScratch);
        } else {
            EXPECT_EQ(p.bits, frame.pixels.data());
        }
        // Only the same-size road paints with the caller's own header.
        EXPECT_EQ(p.headerAddress == &frame.header, c.road == 1);
        // The caller's height is back as it was.
        EXPECT_EQ(frame.header.biHeight, c.frameHeight);
        EXPECT_EQ(frame.header.biWidth, c.frameWidth);
    }
}

// The block grows to the window when either side outgrows it, and the other side follows.
struct GrowthCase {
    const char *what;
    bool form3;
    int32_t width, height;
    bool grows;
    int32_t scratchWidth, scratchHeight;
    size_t bytes;
};

const GrowthCase kGrowth[] = {
    {"D2 1700x100: no 40 bytes", false, 1700, 100, true, 1700, 100, 510000},
    {"D3 1700x100: 40 bytes more", true, 1700, 100, true, 1700, 100, 510040},
    {"D2 100x1300: width falls to 100", false, 100, 1300, true, 100, 1300, 390000},
    {"D3 1600x1200: no growth at equal size", true, 1600, 1200, false, 1600, 1200, 0},
};

TEST_F(PaintFrameTest, ScratchGrowth) {
    for (const GrowthCase &c : kGrowth) {
        SCOPED_TRACE(c.what);
        delete[] FrameScratch;
        FrameScratch = new uint8_t[1600 * 1200 * 3 + 40]();
        ScratchWidth = 1600;
        ScratchHeight = 1200;
        // Same size: the growth is watched without a resize into the block.
        TestFrame frame(c.width, c.height);
        std::memset(FrameScratch, 0xEE, 1600 * 1200 * 3 + 40);
        const uint8_t *before = FrameScratch;
        lastArraySize = 0;
        watchArrays = true;
        EXPECT_EQ(c.form3 ? paint3(frame, c.width, c.height) : paint2(frame, c.width, c.height), 1);
        watchArrays = false;
        EXPECT_EQ(ScratchWidth, c.scratchWidth);
        EXPECT_EQ(ScratchHeight, c.scratchHeight);
        EXPECT_EQ(lastArraySize, c.bytes);
        if (c.grows) {
            // The new block is zero-filled (the allocator may hand back the old address).
            std::vector<uint8_t> zeros(c.bytes, 0);
            EXPECT_EQ(std::memcmp(FrameScratch, zeros.data(), c.bytes), 0);
        } else {
            EXPECT_EQ(FrameScratch, before);
        }
    }
}

// The resize road writes what a direct resize of FitRect with the single-precision factors writes.
struct ResizeCase {
    const char *what;
    bool form3;
    int32_t frameWidth, frameHeight, width, height;
    PxRect fitRect;
    int32_t alignedWidth, alignedHeight;
};

const ResizeCase kResizes[] = {
    {"D2 720x576 into 640x512: 40,1 640x480", false, 720, 576, 640, 512, {40, 1, 640, 480}, 640, 512},
    {"D2 720x576 into 800x600: 1,1 720x576", false, 720, 576, 800, 600, {1, 1, 720, 576}, 800, 600},
    {"D3 720x576 into 800x600: 16,1 688x560", true, 720, 576, 800, 600, {16, 1, 688, 560}, 800, 600},
    {"D2 720x480 into 720x400: 1,1 720x480", false, 720, 480, 720, 400, {1, 1, 720, 480}, 720, 400},
    {"D3 176x128 into 325x243: 8,1 160x120", true, 176, 128, 325, 243, {8, 1, 160, 120}, 328, 248},
    {"D2 352x288 into 330x250: 17,1 320x240", false, 352, 288, 330, 250, {17, 1, 320, 240}, 336, 256},
    {"D3 unknown 100x60 into 352x64", true, 100, 60, 352, 64, {1, 1, 100, 60}, 352, 64},
};

std::vector<uint8_t> directResize(const TestFrame &frame, const ResizeCase &c, uint8_t fill, size_t size) {
    std::vector<uint8_t> out(size, fill);
    const double xFactor = static_cast<float>(c.alignedWidth) / static_cast<float>(c.fitRect.width);
    const double yFactor = static_cast<float>(c.alignedHeight) / static_cast<float>(c.fitRect.height);
    pxResizeC3(frame.pixels.data(), PxSize{c.frameWidth, c.frameHeight}, c.frameWidth * 3, c.fitRect, out.data(),
               c.alignedWidth * 3, PxSize{c.alignedWidth, c.alignedHeight}, xFactor, yFactor, PxLinear);
    return out;
}

TEST_F(PaintFrameTest, ResizeRoadMatchesDirectResize) {
    for (const ResizeCase &c : kResizes) {
        SCOPED_TRACE(c.what);
        const size_t size = static_cast<size_t>(c.alignedWidth) * c.alignedHeight * 3;
        std::memset(FrameScratch, 0, size);
        TestFrame frame(c.frameWidth, c.frameHeight);
        EXPECT_EQ(c.form3 ? paint3(frame, c.width, c.height) : paint2(frame, c.width, c.height), 1);
        const std::vector<uint8_t> expected = directResize(frame, c, 0, size);
        EXPECT_EQ(std::memcmp(FrameScratch, expected.data(), size), 0);
    }
}

TEST_F(PaintFrameTest, ResizeTargetTakesTheResizeWhenAskedFor) {
    const ResizeCase &c = kResizes[2];
    const size_t size = static_cast<size_t>(c.alignedWidth) * c.alignedHeight * 3;
    TestFrame frame(c.frameWidth, c.frameHeight);
    std::vector<uint8_t> target(size + 64, 0xA5);
    EXPECT_EQ(paint3(frame, c.width, c.height, target.data(), 1), 1);
    EXPECT_EQ(target, directResize(frame, c, 0xA5, size + 64));
    const auto paints = device.only(Op::SetDIBits);
    ASSERT_EQ(paints.size(), 1u);
    EXPECT_EQ(paints[0].bits, target.data());
    // The shared block is left alone.
    const std::vector<uint8_t> zeros(size, 0);
    EXPECT_EQ(std::memcmp(FrameScratch, zeros.data(), size), 0);
}

TEST_F(PaintFrameTest, ResizeTargetIgnoredWhenNotAskedForOrNull) {
    TestFrame frame(720, 576);
    std::vector<uint8_t> target(800 * 600 * 3, 0xA5);
    EXPECT_EQ(paint3(frame, 800, 600, target.data(), 0), 1);
    EXPECT_EQ(paint3(frame, 800, 600, nullptr, 1), 1);
    const auto paints = device.only(Op::SetDIBits);
    ASSERT_EQ(paints.size(), 2u);
    EXPECT_EQ(paints[0].bits, FrameScratch);
    EXPECT_EQ(paints[1].bits, FrameScratch);
    EXPECT_EQ(target, std::vector<uint8_t>(800 * 600 * 3, 0xA5));
}

TEST_F(PaintFrameTest, ResizeTargetUntouchedOnSameSizeAndCropRoads) {
    std::vector<uint8_t> target(720 * 576 * 3, 0xA5);
    TestFrame frame(720, 576);
    EXPECT_EQ(paint3(frame, 720, 576, target.data(), 1), 1);
    EXPECT_EQ(paint3(frame, 640, 480, target.data(), 1), 1);
    EXPECT_EQ(target, std::vector<uint8_t>(720 * 576 * 3, 0xA5));
    const auto paints = device.only(Op::SetDIBits);
    ASSERT_EQ(paints.size(), 2u);
    EXPECT_EQ(paints[0].bits, frame.pixels.data());
    EXPECT_EQ(paints[1].bits, frame.pixels.data());
}

// A 16-bit frame goes through the three-channel resize as it is, with rows of biBitCount * biWidth / 8.
TEST_F(PaintFrameTest, SixteenBitFrameResizedAsThreeChannels) {
    TestFrame frame(100, 60, 16);
    frame.pixels.resize(100 * 60 * 3);  // the resize reads three bytes a pixel
    std::memset(FrameScratch, 0, 200 * 120 * 3);
    EXPECT_EQ(paint2(frame, 200, 120), 1);
    std::vector<uint8_t> expected(200 * 120 * 3, 0);
    // Source step 16 * 100 / 8 = 200, target step 16 * 200 / 8 = 400; factors 2.
    pxResizeC3(frame.pixels.data(), PxSize{100, 60}, 200, PxRect{1, 1, 100, 60}, expected.data(), 400,
               PxSize{200, 120}, 2.0, 2.0, PxLinear);
    EXPECT_EQ(std::memcmp(FrameScratch, expected.data(), expected.size()), 0);
    const auto paints = device.only(Op::SetDIBits);
    ASSERT_EQ(paints.size(), 1u);
    EXPECT_EQ(paints[0].header.biBitCount, 16);
    EXPECT_EQ(paints[0].header.biSizeImage, 48000u);  // 16 * 120 * 200 / 8
}

// JpegDecompress2 has no resize target: the block always takes the resize.
TEST_F(PaintFrameTest, Decompress2ResizesIntoTheBlock) {
    TestFrame frame(720, 576);
    EXPECT_EQ(paint2(frame, 800, 600), 1);
    const auto paints = device.only(Op::SetDIBits);
    ASSERT_EQ(paints.size(), 1u);
    EXPECT_EQ(paints[0].bits, FrameScratch);
}

#if !defined(_WIN32)
// With no display the native device paints nothing, and the call still reports the frame handled.
TEST_F(PaintFrameTest, NoDisplayPaintsNothing) {
    unsetenv("DISPLAY");
    platform::setPaintDevice(nullptr);
    TestFrame frame(720, 576);
    const RECT zone = {1, 1, 50, 50};
    const uint16_t text[] = {'x', 'y'};
    EXPECT_EQ(paint2(frame, 720, 576, &zone, 1, Texts{text, 2, 0, text, 2}), 1);
    EXPECT_EQ(paint3(frame, 640, 480, nullptr, 0, &zone, 1, Texts{text, 2, 1, text, 2}), 1);
    EXPECT_EQ(frame.header.biHeight, 576);
}
#endif

}  // namespace
}  // namespace kx::test
