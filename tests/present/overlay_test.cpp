#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "present/frame_fixture.h"
#include "present/recording_device.h"

namespace kx::test {
namespace {

class OverlayTest : public ::testing::Test, public PaintTest {};

bool sameRect(const RECT &a, const RECT &b) {
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

// Zones are mapped by the painted header's size over the frame's, in 32 bits with truncation.
struct ZoneCase {
    const char *what;
    int32_t frameWidth, frameHeight, width, height;
    RECT zone;
    bool drawn;
    RECT mapped;
};

const ZoneCase kZones[] = {
    {"720x480 into 360x240: halved", 720, 480, 360, 240, {100, 100, 200, 200}, true, {50, 50, 100, 100}},
    // Painted header 352x240: 100*352/720 = 48.9 and 200*352/720 = 97.8, truncated.
    {"720x480 into 350x240: aligned width", 720, 480, 350, 240, {100, 100, 200, 200}, true, {48, 50, 97, 100}},
    {"same size: unscaled", 720, 480, 720, 480, {100, 100, 200, 200}, true, {100, 100, 200, 200}},
    {"crop road: unscaled, no offset", 720, 576, 640, 480, {100, 100, 200, 200}, true, {100, 100, 200, 200}},
    {"as wide as the frame: drawn", 720, 480, 720, 480, {-10, 0, 710, 10}, true, {-10, 0, 710, 10}},
    {"one pixel wider: not drawn", 720, 480, 720, 480, {-10, 0, 711, 10}, false, {}},
    {"as tall as the frame: drawn", 720, 480, 720, 480, {0, 5, 10, 485}, true, {0, 5, 10, 485}},
    {"one pixel taller: not drawn", 720, 480, 720, 480, {0, 5, 10, 486}, false, {}},
    {"outside the frame but in range: drawn", 720, 480, 720, 480, {900, 900, 950, 950}, true, {900, 900, 950, 950}},
    {"inverted: negative size passes", 720, 480, 720, 480, {300, 300, 100, 100}, true, {300, 300, 100, 100}},
    // -7*352/720 = -3.4, truncated toward zero.
    {"negative coordinates truncate toward zero", 720, 480, 350, 240, {-7, -3, 7, 3}, true, {-3, -1, 3, 1}},
};

TEST_F(OverlayTest, ZoneMappingAndSizeTest) {
    for (const ZoneCase &c : kZones) {
        SCOPED_TRACE(c.what);
        device.calls.clear();
        TestFrame frame(c.frameWidth, c.frameHeight);
        EXPECT_EQ(paint2(frame, c.width, c.height, &c.zone, 1), 1);
        const auto brushes = device.only(Op::CreateBrush);
        const auto frames = device.only(Op::FrameRect);
        const auto deletes = device.only(Op::DeleteObject);
        ASSERT_EQ(brushes.size(), 1u);
        EXPECT_EQ(brushes[0].value, 0x0000FFu);
        ASSERT_EQ(deletes.size(), 1u);
        EXPECT_EQ(deletes[0].brush, brushes[0].brush);
        ASSERT_EQ(frames.size(), c.drawn ? 1u : 0u);
        if (c.drawn) {
            EXPECT_TRUE(sameRect(frames[0].rect, c.mapped))
                << frames[0].rect.left << "," << frames[0].rect.top << "," << frames[0].rect.right << ","
                << frames[0].rect.bottom;
            EXPECT_EQ(frames[0].brush, brushes[0].brush);
            EXPECT_EQ(frames[0].dc, RecordingDevice::context());
        }
    }
}

TEST_F(OverlayTest, OneNewBrushPerZoneDeletedWhetherDrawnOrNot) {
    TestFrame frame(352, 288);
    const RECT zones[3] = {{0, 0, 10, 10}, {0, 0, 400, 10}, {5, 5, 20, 20}};
    EXPECT_EQ(paint2(frame, 352, 288, zones, 3), 1);
    std::vector<Op> order;
    for (const Call &call : device.calls) {
        if (call.op == Op::CreateBrush || call.op == Op::FrameRect || call.op == Op::DeleteObject) {
            order.push_back(call.op);
        }
    }
    const std::vector<Op> expected = {Op::CreateBrush, Op::FrameRect,   Op::DeleteObject, Op::CreateBrush,
                                      Op::DeleteObject, Op::CreateBrush, Op::FrameRect,    Op::DeleteObject};
    EXPECT_EQ(order, expected);
    const auto brushes = device.only(Op::CreateBrush);
    EXPECT_NE(brushes[0].brush, brushes[1].brush);
    EXPECT_NE(brushes[1].brush, brushes[2].brush);
}

TEST_F(OverlayTest, NoZonesNoOutlines) {
    TestFrame frame(352, 288);
    const RECT zone = {0, 0, 10, 10};
    EXPECT_EQ(paint2(frame, 352, 288, nullptr, 5), 1);
    EXPECT_EQ(paint2(frame, 352, 288, &zone, 0), 1);
    EXPECT_EQ(paint3(frame, 352, 288, nullptr, 0, &zone, -1), 1);
    EXPECT_TRUE(device.only(Op::CreateBrush).empty());
    EXPECT_TRUE(device.only(Op::FrameRect).empty());
}

// The twenty text steps, with the colour of the context at each text.
struct Step {
    Op op;
    uint32_t value;  // mode, alignment or colour
    int32_t x, y;
    const char *text;
};

std::vector<Step> textSteps(int32_t width, int32_t height, int32_t textState, uint32_t initialColour) {
    const char *tl = "Cam 1";
    const char *br = "12:00";
    std::vector<Step> steps = {
        {Op::SetBkMode, 1, 0, 0, nullptr},
        {Op::SetTextAlign, 0, 0, 0, nullptr},
        {Op::SetTextColor, 0xFFFFFF, 0, 0, nullptr},
        {Op::TextOut, 0xFFFFFF, 0, 0, tl},
        {Op::TextOut, 0xFFFFFF, 0, 2, tl},
        {Op::TextOut, 0xFFFFFF, 2, 0, tl},
        {Op::TextOut, 0xFFFFFF, 2, 2, tl},
        {Op::SetTextColor, initialColour, 0, 0, nullptr},
    };
    uint32_t coloured = initialColour;
    if (textState == 0 || textState == 1) {
        coloured = textState == 0 ? 0x0000FF : 0xFF0000;
        steps.push_back({Op::SetTextColor, coloured, 0, 0, nullptr});
    }
    const std::vector<Step> rest = {
        {Op::TextOut, coloured, 1, 1, tl},
        {Op::SetTextColor, initialColour, 0, 0, nullptr},
        {Op::SetTextAlign, 10, 0, 0, nullptr},
        {Op::SetTextColor, 0xFFFFFF, 0, 0, nullptr},
        {Op::TextOut, 0xFFFFFF, width - 1, height - 1, br},
        {Op::TextOut, 0xFFFFFF, width - 3, height - 1, br},
        {Op::TextOut, 0xFFFFFF, width - 1, height - 3, br},
        {Op::TextOut, 0xFFFFFF, width - 3, height - 3, br},
        {Op::SetTextColor, 0xFF0000, 0, 0, nullptr},
        {Op::TextOut, 0xFF0000, width - 2, height - 2, br},
        {Op::SetTextColor, initialColour, 0, 0, nullptr},
    };
    steps.insert(steps.end(), rest.begin(), rest.end());
    return steps;
}

TEST_F(OverlayTest, TwentyTextStepsForEachTextState) {
    const uint16_t topLeft[] = {'C', 'a', 'm', ' ', '1'};
    const uint16_t bottomRight[] = {'1', '2', ':', '0', '0'};
    // A context colour other than black shows where the previous colour is kept.
    const uint32_t initialColour = 0x123456;
    for (int32_t textState : {0, 1, 2, -1}) {
        SCOPED_TRACE(textState);
        device.calls.clear();
        device.textColour = initialColour;
        TestFrame frame(352, 288);
        const RECT zone = {10, 10, 20, 20};
        EXPECT_EQ(paint2(frame, 400, 300, &zone, 1, Texts{topLeft, 5, textState, bottomRight, 5}), 1);

        // The zones come before every text step, and the context is released after the last.
        std::vector<Call> drawn;
        size_t lastOutline = 0;
        for (size_t i = 0; i < device.calls.size(); ++i) {
            const Op op = device.calls[i].op;
            if (op == Op::DeleteObject) lastOutline = i;
            if (op == Op::SetBkMode || op == Op::SetTextAlign || op == Op::SetTextColor || op == Op::TextOut) {
                EXPECT_GT(i, lastOutline);
                drawn.push_back(device.calls[i]);
            }
        }
        EXPECT_EQ(device.calls.back().op, Op::ReleaseDC);

        const std::vector<Step> expected = textSteps(400, 300, textState, initialColour);
        ASSERT_EQ(drawn.size(), expected.size());
        for (size_t i = 0; i < expected.size(); ++i) {
            SCOPED_TRACE(i);
            const Step &step = expected[i];
            const Call &call = drawn[i];
            EXPECT_EQ(call.op, step.op);
            EXPECT_EQ(call.dc, RecordingDevice::context());
            if (step.op == Op::TextOut) {
                EXPECT_EQ(call.textColour, step.value);
                EXPECT_EQ(call.x, step.x);
                EXPECT_EQ(call.y, step.y);
                EXPECT_EQ(call.text, step.text);
                EXPECT_EQ(call.length, 5);
            } else {
                EXPECT_EQ(call.value, step.value);
            }
        }
    }
}

// What each text form shows, from the text the top left corner receives.
struct TextCase {
    const char *what;
    bool form3;
    int32_t wideText;
    RecordingDevice::Conversion conversion;
    const void *topLeft;
    int32_t topLeftLength;
    const void *bottomRight;
    int32_t bottomRightLength;
    std::string shownTopLeft, shownBottomRight;
};

const uint16_t kWide[] = {'C', 'a', 'm', ' ', '1'};
const uint16_t kWideAccented[] = {'R', 0xE9, 'f', ' ', 0x20AC, 0x4E2D};
const char kNarrow[] = "Hello world\0\0\0\0\0\0\0\0\0";
const char kHello[] = "Hello\0\0\0\0\0";
using Conversion = RecordingDevice::Conversion;

const TextCase kTexts[] = {
    {"D2 wide text", false, 1, Conversion::Platform, kWide, 5, kWide, 3, "Cam 1", "Cam"},
    {"D2 code page 1252, others become ?", false, 1, Conversion::Platform, kWideAccented, 6, nullptr, 0,
     "R\xE9" "f \x80?", ""},
    {"D2 failed conversion shows the raw bytes", false, 1, Conversion::Fail, kWide, 5, kWide, 4, "C", "C"},
    {"D2 conversion that throws: raw bytes, paint goes on", false, 1, Conversion::Throw, kWide, 5, kWide, 5, "C",
     "C"},
    {"D2 null texts are empty", false, 1, Conversion::Platform, nullptr, 5, nullptr, 5, "", ""},
    {"D3 wide text", true, 1, Conversion::Platform, kWide, 5, kWide, 2, "Cam 1", "Ca"},
    {"D3 failed conversion gives empty texts", true, 1, Conversion::Fail, kWide, 5, kWide, 5, "", ""},
    // A negative result counts as 0 for the bottom right text only.
    {"D3 negative result", true, 1, Conversion::Negative, kWide, 5, kWide, 5, "C", ""},
    {"D3 narrow text stops at its length", true, 0, Conversion::Platform, kNarrow, 5, kNarrow + 6, 3, "Hello", "wor"},
    {"D3 null texts are empty", true, 0, Conversion::Platform, nullptr, 5, nullptr, 5, "", ""},
};

TEST_F(OverlayTest, TextForms) {
    for (const TextCase &c : kTexts) {
        SCOPED_TRACE(c.what);
        device.calls.clear();
        device.conversion = c.conversion;
        TestFrame frame(352, 288);
        const Texts texts{c.topLeft, c.topLeftLength, 0, c.bottomRight, c.bottomRightLength};
        EXPECT_EQ(c.form3 ? paint3(frame, 352, 288, nullptr, 0, nullptr, 0, texts, c.wideText)
                          : paint2(frame, 352, 288, nullptr, 0, texts),
                  1);
        const auto outs = device.only(Op::TextOut);
        ASSERT_EQ(outs.size(), 10u);
        for (size_t i = 0; i < 5; ++i) EXPECT_EQ(outs[i].text, c.shownTopLeft);
        for (size_t i = 5; i < 10; ++i) EXPECT_EQ(outs[i].text, c.shownBottomRight);
        EXPECT_EQ(device.calls.back().op, Op::ReleaseDC);
    }
}

TEST_F(OverlayTest, Decompress2ConvertsNarrowTextAsWide) {
    // "Hello" with its byte length: the units "He", "ll", "o\0", 0, 0 become "??o".
    TestFrame frame(352, 288);
    EXPECT_EQ(paint2(frame, 352, 288, nullptr, 0, Texts{kHello, 5, 0, nullptr, 0}), 1);
    const auto outs = device.only(Op::TextOut);
    ASSERT_EQ(outs.size(), 10u);
    EXPECT_EQ(outs[0].text, "??o");
}

TEST_F(OverlayTest, ConversionArguments) {
    TestFrame frame(352, 288);
    EXPECT_EQ(paint3(frame, 352, 288, nullptr, 0, nullptr, 0, Texts{kWide, 5, 0, kWide, 3}, 1), 1);
    const auto conversions = device.only(Op::WideToNarrow);
    ASSERT_EQ(conversions.size(), 2u);
    EXPECT_EQ(conversions[0].bits, kWide);
    EXPECT_EQ(conversions[0].length, 5);
    EXPECT_EQ(conversions[0].size, 256);
    EXPECT_EQ(conversions[1].length, 3);
    // Narrow texts are not converted.
    device.calls.clear();
    EXPECT_EQ(paint3(frame, 352, 288, nullptr, 0, nullptr, 0, Texts{kNarrow, 5, 0, kNarrow, 3}, 0), 1);
    EXPECT_TRUE(device.only(Op::WideToNarrow).empty());
}

TEST_F(OverlayTest, TextOfFullBufferLengthShowsAll) {
    // 255 narrow characters and 255 wide ones both fit; the terminator comes after them.
    std::string narrow(300, 'x');
    std::vector<uint16_t> wide(255, 'y');
    TestFrame frame(352, 288);
    EXPECT_EQ(paint3(frame, 352, 288, nullptr, 0, nullptr, 0, Texts{narrow.data(), 255, 0, narrow.data(), 256}, 0), 1);
    EXPECT_EQ(paint2(frame, 352, 288, nullptr, 0, Texts{wide.data(), 255, 0, nullptr, 0}), 1);
    const auto outs = device.only(Op::TextOut);
    ASSERT_EQ(outs.size(), 20u);
    EXPECT_EQ(outs[0].text, std::string(255, 'x'));
    EXPECT_EQ(outs[5].text, std::string(256, 'x'));
    EXPECT_EQ(outs[10].text, std::string(255, 'y'));
}

}  // namespace
}  // namespace kx::test
