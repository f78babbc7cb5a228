// kestrixmotion through a GstHarness: messages, zones, passthrough, drawing, caps, properties.
#include <algorithm>
#include <tuple>

#include "element_harness.h"

namespace kx::test {
namespace {

constexpr int32_t W = 160, H = 120;
constexpr int32_t kFirstCompared = 31;  // 30 frames swallowed, the 31st (index 30) makes the references

// Frame i of a square that jumps between two places, 20 pixels apart, starting at x, y.
TestPicture moving(int32_t i, int32_t x, int32_t y) { return TestPicture(W, H).square(x + (i % 2) * 20, y); }

struct MotionCase {
    const char *what;
    const char *zones;
    int32_t x, y;          // the square's first place
    int32_t zone;          // index the messages carry; -1: no message
};

// Zone 16,8,80,40 is near the top. Rows 80 to 112 are its mirror image: were the zone taken in
// rows counted from the bottom, the square there would be in it.
const MotionCase kMotionCases[] = {
    {"inside the zone", "16,8,80,40", 24, 16, 0},
    {"in the zone's mirror image", "16,8,80,40", 24, 92, -1},
    {"right of every zone", "16,8,80,40;16,80,80,112", 100, 50, -1},
    {"in the second zone", "16,8,80,40;16,80,80,112", 24, 92, 1},
    // Zone 1 lies inside zone 0 and is not watched; the third keeps its index 2 for the messages,
    // though it is the detector's second.
    {"in a zone after a contained one", "16,8,80,40;20,10,30,20;90,60,150,110", 100, 70, 2},
    {"anywhere, with no zones", "", 60, 60, 0},
};

class Motion : public ::testing::TestWithParam<MotionCase> {};

TEST_P(Motion, BeginAtTheFirstComparedFrameOnlyInsideAZone) {
    const MotionCase &c = GetParam();
    ElementHarness h(W, H);
    h.set("zones", c.zones);
    for (int32_t i = 0; i < kFirstCompared; ++i) h.pushAndDrop(moving(i, c.x, c.y), i);
    EXPECT_TRUE(h.messages("kestrix-motion").empty()) << "during the warm-up";
    for (int32_t i = kFirstCompared; i < kFirstCompared + 10; ++i) h.pushAndDrop(moving(i, c.x, c.y), i);
    const std::vector<Message> got = h.messages("kestrix-motion");
    if (c.zone < 0) {
        EXPECT_TRUE(got.empty());
        return;
    }
    ASSERT_EQ(got.size(), 1u);
    EXPECT_EQ(got[0].string("event"), "begin");
    EXPECT_EQ(got[0].integer("zone"), c.zone);
    EXPECT_EQ(got[0].time(), kFirstCompared * kFrameTime);
}

INSTANTIATE_TEST_SUITE_P(Squares, Motion, ::testing::ValuesIn(kMotionCases),
                         [](const auto &info) { return "case" + std::to_string(info.index); });

// Motion in frames 31 to 39; frame 40 repeats 39. With a gap of 200 ms after the last motion
// (1.56 s), the end comes with frame 44 (1.76 s), not before.
TEST(MotionEnd, EndAfterTheGapOnceStill) {
    ElementHarness h(W, H);
    h.set("zones", "16,8,80,40");
    h.set("gap", "200000000");
    for (int32_t i = 0; i < 40; ++i) h.pushAndDrop(moving(i, 24, 16), i);
    ASSERT_EQ(h.messages("kestrix-motion").size(), 1u);
    for (int32_t i = 40; i < 44; ++i) h.pushAndDrop(moving(39, 24, 16), i);
    EXPECT_TRUE(h.messages("kestrix-motion").empty()) << "inside the gap";
    h.pushAndDrop(moving(39, 24, 16), 44);
    const std::vector<Message> got = h.messages("kestrix-motion");
    ASSERT_EQ(got.size(), 1u);
    EXPECT_EQ(got[0].string("event"), "end");
    EXPECT_EQ(got[0].integer("zone"), 0);
    EXPECT_EQ(got[0].time(), 44 * kFrameTime);
}

// min-frames 3: the begin is posted with the third frame in motion and carries the first one's time.
TEST(MotionEnd, MinFramesDelaysTheBegin) {
    ElementHarness h(W, H);
    h.set("zones", "16,8,80,40");
    h.set("min-frames", "3");
    for (int32_t i = 0; i < kFirstCompared + 2; ++i) h.pushAndDrop(moving(i, 24, 16), i);
    EXPECT_TRUE(h.messages("kestrix-motion").empty());
    h.pushAndDrop(moving(kFirstCompared + 2, 24, 16), kFirstCompared + 2);
    const std::vector<Message> got = h.messages("kestrix-motion");
    ASSERT_EQ(got.size(), 1u);
    EXPECT_EQ(got[0].time(), kFirstCompared * kFrameTime);
}

// New zones or a new sensitivity while in motion: an end for the zone in motion with the frame that
// brings the change, then 31 frames of warm-up again before the next begin.
class Restart : public ::testing::TestWithParam<std::pair<const char *, const char *>> {};

TEST_P(Restart, ZoneOrSensitivityChangeRestartsTheWarmUp) {
    ElementHarness h(W, H);
    h.set("zones", "16,8,80,40");
    for (int32_t i = 0; i < 35; ++i) h.pushAndDrop(moving(i, 24, 16), i);
    ASSERT_EQ(h.messages("kestrix-motion").size(), 1u);
    h.set(GetParam().first, GetParam().second);
    h.pushAndDrop(moving(35, 24, 16), 35);
    std::vector<Message> got = h.messages("kestrix-motion");
    ASSERT_EQ(got.size(), 1u);
    EXPECT_EQ(got[0].string("event"), "end");
    EXPECT_EQ(got[0].time(), 35 * kFrameTime);
    for (int32_t i = 36; i < 35 + kFirstCompared; ++i) h.pushAndDrop(moving(i, 24, 16), i);
    EXPECT_TRUE(h.messages("kestrix-motion").empty());
    h.pushAndDrop(moving(35 + kFirstCompared, 24, 16), 35 + kFirstCompared);
    got = h.messages("kestrix-motion");
    ASSERT_EQ(got.size(), 1u);
    EXPECT_EQ(got[0].string("event"), "begin");
    EXPECT_EQ(got[0].time(), (35 + kFirstCompared) * kFrameTime);
}

INSTANTIATE_TEST_SUITE_P(Changes, Restart,
                         ::testing::Values(std::pair{"zones", "16,8,90,40"}, std::pair{"sensitivity", "5"}));

// New caps (another size) mean new references: as for new zones, an end, then the warm-up again.
TEST(MotionEnd, NewCapsRestartTheWarmUp) {
    ElementHarness h(W, H);
    h.set("zones", "16,8,80,40");
    for (int32_t i = 0; i < 35; ++i) h.pushAndDrop(moving(i, 24, 16), i);
    ASSERT_EQ(h.messages("kestrix-motion").size(), 1u);
    gst_harness_set_src_caps_str(h.harness, "video/x-raw,format=BGR,width=200,height=100,framerate=25/1");
    auto wide = [](int32_t i) { return TestPicture(200, 100).square(24 + (i % 2) * 20, 16); };
    h.pushAndDrop(wide(35), 35);
    std::vector<Message> got = h.messages("kestrix-motion");
    ASSERT_EQ(got.size(), 1u);
    EXPECT_EQ(got[0].string("event"), "end");
    for (int32_t i = 36; i < 35 + kFirstCompared; ++i) h.pushAndDrop(wide(i), i);
    EXPECT_TRUE(h.messages("kestrix-motion").empty());
    h.pushAndDrop(wide(35 + kFirstCompared), 35 + kFirstCompared);
    got = h.messages("kestrix-motion");
    ASSERT_EQ(got.size(), 1u);
    EXPECT_EQ(got[0].time(), (35 + kFirstCompared) * kFrameTime);
}

// The end of the stream ends the motion: every begin has its end.
TEST(MotionEnd, EndOfStreamEndsTheMotion) {
    ElementHarness h(W, H);
    h.set("zones", "16,8,80,40");
    for (int32_t i = 0; i < 34; ++i) h.pushAndDrop(moving(i, 24, 16), i);
    h.endOfStream();
    const std::vector<Message> got = h.messages("kestrix-motion");
    ASSERT_EQ(got.size(), 2u);
    EXPECT_EQ(got[1].string("event"), "end");
    EXPECT_EQ(got[1].time(), 33 * kFrameTime);
}

// A buffer whose rows are longer than the detector's (a video meta with its own stride) is
// watched as one of the default layout.
TEST(MotionEnd, OwnStrideIsWatchedAlike) {
    ElementHarness h(W, H);
    h.set("zones", "16,8,80,40");
    constexpr int32_t stride = W * 3 + 64;
    for (int32_t i = 0; i < 33; ++i) {
        TestPicture picture(W, H, 128, stride);
        picture.square(24 + (i % 2) * 20, 16);
        for (int32_t y = 0; y < H; ++y) std::fill_n(picture.at(W, y), stride - W * 3, static_cast<uint8_t>(y * 37));
        GstBuffer *buffer = gst_buffer_new_memdup(picture.bytes.data(), picture.bytes.size());
        gsize offsets[GST_VIDEO_MAX_PLANES] = {0};
        gint strides[GST_VIDEO_MAX_PLANES] = {stride};
        gst_buffer_add_video_meta_full(buffer, GST_VIDEO_FRAME_FLAG_NONE, GST_VIDEO_FORMAT_BGR, W, H, 1, offsets,
                                       strides);
        GST_BUFFER_PTS(buffer) = static_cast<GstClockTime>(i) * kFrameTime;
        ASSERT_EQ(gst_harness_push(h.harness, buffer), GST_FLOW_OK);
        gst_buffer_unref(gst_harness_pull(h.harness));
    }
    const std::vector<Message> got = h.messages("kestrix-motion");
    ASSERT_EQ(got.size(), 1u);
    EXPECT_EQ(got[0].time(), kFirstCompared * kFrameTime);
}

// Without draw (or with draw and nothing to draw) the buffer itself comes out, its bytes as they were.
TEST(Draw, OffPassesTheBufferThroughUntouched) {
    for (const auto &[draw, zones] : {std::pair{"false", "10,10,50,50"}, {"true", ""}}) {
        ElementHarness h(W, H);
        h.set("draw", draw);
        h.set("zones", zones);
        h.set("exposure", "true");
        for (int32_t i = 0; i < 34; ++i) {
            const TestPicture picture = moving(i, 24, 16);
            GstBuffer *in = gst_buffer_new_memdup(picture.bytes.data(), picture.bytes.size());
            GST_BUFFER_PTS(in) = static_cast<GstClockTime>(i) * kFrameTime;
            ASSERT_EQ(gst_harness_push(h.harness, gst_buffer_ref(in)), GST_FLOW_OK);
            GstBuffer *out = gst_harness_pull(h.harness);
            EXPECT_EQ(out, in);
            EXPECT_EQ(bytesOf(out), picture.bytes);
            gst_buffer_unref(out);
            gst_buffer_unref(in);
        }
    }
}

// Outlines in a 40 by 30 picture, the expected red lines worked out by hand: one pixel inside the
// rectangle on each side, clipped to the picture.
struct Line {
    int32_t x0, y0, x1, y1;  // inclusive
};
struct OutlineCase {
    const char *zones;
    std::vector<Line> red;
};
const OutlineCase kOutlineCases[] = {
    {"10,5,20,15", {{10, 5, 10, 14}, {19, 5, 19, 14}, {10, 5, 19, 5}, {10, 14, 19, 14}}},
    {"30,20,50,40", {{30, 20, 30, 29}, {30, 20, 39, 20}}},                               // clipped
    {"0,0,40,30", {{0, 0, 0, 29}, {39, 0, 39, 29}, {0, 0, 39, 0}, {0, 29, 39, 29}}},     // as large as the picture
    {"0,0,41,10", {}},                                                                  // one wider: not drawn
    {"-10,-10,20,5", {{19, 0, 19, 4}, {0, 4, 19, 4}}},                                  // left and top outside
    {"5,5,5,10;20,10,10,20", {}},                                                       // empty, inverted
    {"2,2,3,3", {{2, 2, 2, 2}}},                                                        // one pixel
    {"1,1,4,30;0,0,41,10;30,2,33,5",  // the second is left out, the others drawn in order
     {{1, 1, 1, 29}, {3, 1, 3, 29}, {1, 1, 3, 1}, {1, 29, 3, 29},
      {30, 2, 30, 4}, {32, 2, 32, 4}, {30, 2, 32, 2}, {30, 4, 32, 4}}},
};

class Outline : public ::testing::TestWithParam<OutlineCase> {};

TEST_P(Outline, RedPixelsWhereThePaintDrawsThem) {
    const OutlineCase &c = GetParam();
    ElementHarness h(40, 30);
    h.set("draw", "true");
    h.set("zones", c.zones);
    TestPicture expected(40, 30);
    for (const Line &l : c.red) {
        for (int32_t y = l.y0; y <= l.y1; ++y) {
            for (int32_t x = l.x0; x <= l.x1; ++x) std::memcpy(expected.at(x, y), "\x00\x00\xff", 3);
        }
    }
    GstBuffer *out = h.push(TestPicture(40, 30), 0);
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(bytesOf(out), expected.bytes);
    gst_buffer_unref(out);
}

INSTANTIATE_TEST_SUITE_P(Zones, Outline, ::testing::ValuesIn(kOutlineCases));

// "!" in the 6 by 13 cell has its stroke in column 2, rows 2 to 8 and row 10. The top text's red
// copy stands at 1, 1, its white ones at 0 and 2 each way: red in column 3, rows 3-9 and 11; white
// in columns 2 and 4, rows 2-10 and 12. The bottom text's cell ends at 38, 28 in blue (left 32,
// top 15) and its white copies at 39 and 37 each way.
TEST(Draw, TextsOverWhiteHalos) {
    ElementHarness h(40, 30);
    h.set("draw", "true");
    h.set("text-top", "!");
    h.set("text-bottom", "!");
    TestPicture expected(40, 30);
    auto column = [&](int32_t x, int32_t y0, int32_t y1, const char *bgr) {
        for (int32_t y = y0; y <= y1; ++y) std::memcpy(expected.at(x, y), bgr, 3);
    };
    const char *red = "\x00\x00\xff", *blue = "\xff\x00\x00", *white = "\xff\xff\xff";
    for (const int32_t x : {2, 4}) column(x, 2, 10, white), column(x, 12, 12, white);
    column(3, 3, 9, red), column(3, 11, 11, red);
    for (const int32_t x : {33, 35}) column(x, 16, 24, white), column(x, 26, 26, white);
    column(34, 17, 23, blue), column(34, 25, 25, blue);
    GstBuffer *out = h.push(TestPicture(40, 30), 0);
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(bytesOf(out), expected.bytes);
    gst_buffer_unref(out);
}

// Other formats are refused at negotiation.
TEST(Caps, OnlyBgrIsAccepted) {
    for (const char *format : {"RGB", "BGRx", "I420", "GRAY8"}) {
        ElementHarness h(W, H, format);
        GstFlowReturn flow = GST_FLOW_OK;
        EXPECT_EQ(h.push(TestPicture(W, H), 0, &flow), nullptr) << format;
        EXPECT_EQ(flow, GST_FLOW_NOT_NEGOTIATED) << format;
    }
    ElementHarness h(W, H);
    GstFlowReturn flow = GST_FLOW_ERROR;
    GstBuffer *out = h.push(TestPicture(W, H), 0, &flow);
    EXPECT_EQ(flow, GST_FLOW_OK);
    if (out) gst_buffer_unref(out);
}

// What is set is what is read; a malformed zone list leaves the zones as they were.
TEST(Properties, RoundTrips) {
    const std::tuple<const char *, const char *, const char *> rows[] = {
        {"zones", "1,2,3,4;5,6,7,8", "1,2,3,4;5,6,7,8"},
        {"zones", " 1, 2 ,3,4 ; ", "1,2,3,4"},
        {"zones", "-5,0,+10,10", "-5,0,10,10"},
        {"zones", "1,2,3", ""},
        {"zones", "1,2,3,4,5", ""},
        {"zones", "1,2,x,4", ""},
        {"zones", "", ""},
        {"sensitivity", "7", "7"},
        {"min-frames", "3", "3"},
        {"gap", "1000000000", "1000000000"},
        {"draw", "true", "true"},
        {"text-top", "Cam 1", "Cam 1"},
        {"text-bottom", "12:34", "12:34"},
        {"exposure", "true", "true"},
        {"gain", "100", "100"},
        {"shutter", "300", "300"},
        {"stage", "130", "130"},
        {"shutter-width", "1200", "1200"},
    };
    for (const auto &[name, set, expected] : rows) {
        ElementHarness h;
        h.set(name, set);
        GValue value = G_VALUE_INIT;
        g_object_get_property(h.element(), name, &value);
        gchar *text = G_VALUE_HOLDS_STRING(&value) ? g_value_dup_string(&value) : gst_value_serialize(&value);
        EXPECT_STREQ(text, expected) << name << " = " << set;
        g_free(text);
        g_value_unset(&value);
    }
    ElementHarness h;
    h.set("zones", "1,2,3,4");
    h.set("zones", "1,2,3,4;oops");
    gchar *zones = nullptr;
    g_object_get(h.element(), "zones", &zones, nullptr);
    EXPECT_STREQ(zones, "1,2,3,4");
    g_free(zones);
}

// A grey of 100 measures 99 (each byte weighed, then truncated). With a shutter width of 1200,
// above MAX, the gain climbs its ladder one rung a frame: 64, 96, 127, then stays. A width of 30
// pixels has rows of 90 bytes padded to 92: the padding (here 255) is not measured.
TEST(Exposure, LuminanceAndTheStepsOfChangeGain3) {
    ElementHarness h(30, 20);
    h.set("exposure", "true");
    h.set("shutter-width", "1200");
    TestPicture picture(30, 20, 100);
    for (int32_t y = 0; y < 20; ++y) std::fill_n(picture.at(30, y), 2, uint8_t{255});
    for (int32_t i = 0; i < 4; ++i) h.pushAndDrop(picture, i);
    const std::vector<Message> got = h.messages("kestrix-exposure");
    ASSERT_EQ(got.size(), 4u);
    const int32_t gains[] = {64, 96, 127, 127};
    for (size_t i = 0; i < got.size(); ++i) {
        EXPECT_EQ(got[i].integer("luminance"), 99);
        EXPECT_EQ(got[i].integer("gain"), gains[i]);
        EXPECT_EQ(got[i].integer("shutter"), 176);
        EXPECT_EQ(got[i].integer("stage"), 64);
        EXPECT_EQ(got[i].integer("move"), 0);
        EXPECT_EQ(got[i].time(), i * kFrameTime);
    }
    gint gain = 0;
    g_object_get(h.element(), "gain", &gain, nullptr);
    EXPECT_EQ(gain, 127);
    // The camera's own value, set by the application, is where the next step starts.
    h.set("gain", "32");
    h.pushAndDrop(picture, 4);
    const std::vector<Message> next = h.messages("kestrix-exposure");
    ASSERT_EQ(next.size(), 1u);
    EXPECT_EQ(next[0].integer("gain"), 64);
    // Off: no more messages.
    h.set("exposure", "false");
    h.pushAndDrop(picture, 5);
    EXPECT_TRUE(h.messages("kestrix-exposure").empty());
}

}  // namespace
}  // namespace kx::test
