// The paint exports on a real window, read back as an application sees it: under Xvfb on Linux,
// under Wine through the DLL (tests/windows gives the Win32 window).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <tuple>

#include "present/frame_fixture.h"
#if !defined(_WIN32)
#include <xcb/shm.h>
#include <xcb/xcb.h>

#include "frame/library_state.h"
#include "platform/posix/x11_shared_image.h"
#endif

namespace kx::test {

// A grey (0x808080) window of the test's own at the screen's corner, and its pixels as 0xRRGGBB.
int32_t openWindow(int32_t width, int32_t height);  // the id the exports take; 0 without a display
std::vector<uint32_t> readWindow(int32_t width, int32_t height);
void closeWindow();

#if !defined(_WIN32)
// On a connection of the test's own; the library paints through its own.
namespace {
xcb_connection_t *connection = nullptr;
xcb_window_t window = 0;
void sync() { std::free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr)); }
}  // namespace

int32_t openWindow(int32_t width, int32_t height) {
    if (!FrameScratch) replaceFrameScratch(1600 * 1200 * 3 + 40, 0);  // as attach makes it
    if (!connection) connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection)) return 0;
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    const uint32_t values[] = {0x808080, 1};  // background; override-redirect, so nothing moves it
    window = xcb_generate_id(connection);
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, static_cast<uint16_t>(width),
                      static_cast<uint16_t>(height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
    xcb_map_window(connection, window);
    sync();
    return static_cast<int32_t>(window);
}

std::vector<uint32_t> readWindow(int32_t width, int32_t height) {  // a 24-bit screen: four bytes a pixel
    std::vector<uint32_t> pixels(static_cast<size_t>(width * height));
    xcb_get_image_reply_t *image = xcb_get_image_reply(
        connection, xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, window, 0, 0, static_cast<uint16_t>(width),
                                  static_cast<uint16_t>(height), ~0u), nullptr);
    if (image && xcb_get_image_data_length(image) == width * height * 4) {
        std::memcpy(pixels.data(), xcb_get_image_data(image), pixels.size() * 4);
    }
    std::free(image);
    for (uint32_t &p : pixels) p &= 0xFFFFFF;
    return pixels;
}

void closeWindow() {
    xcb_destroy_window(connection, window);
    sync();
}

// The route a paint must take: memory shared with the server when it offers MIT-SHM (the library
// and the test are on the same machine), else the socket. The x11 tests run once each way.
platform::x11::PaintRoute expectedRoute() {
    const xcb_query_extension_reply_t *shm = xcb_get_extension_data(connection, &xcb_shm_id);
    return shm && shm->present ? platform::x11::PaintRoute::sharedMemory : platform::x11::PaintRoute::socket;
}
#endif

namespace {

constexpr int32_t W = 320, H = 240;
constexpr uint32_t kGrey = 0x808080, kRed = 0xFF0000, kBlue = 0x0000FF, kWhite = 0xFFFFFF;

struct Box {  // where the pixels of one colour lie, inclusive
    int32_t left = W, top = H, right = -1, bottom = -1, count = 0;
};

class WindowPaint : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_NE(id = openWindow(W, H), 0) << "no display"; }
    void TearDown() override { closeWindow(); }
    void read() {
        pixels = readWindow(W, H);
#if !defined(_WIN32)
        if (painted) {
            EXPECT_EQ(platform::x11::takeLastPaintRoute(), expectedRoute());
        }
#endif
    }

    Box box(uint32_t colour, int32_t x0, int32_t y0, int32_t x1, int32_t y1) const {
        Box b;
        for (int32_t y = y0; y < y1; ++y) {
            for (int32_t x = x0; x < x1; ++x) {
                if (pixels[static_cast<size_t>(y * W + x)] != colour) continue;
                b = {std::min(b.left, x), std::min(b.top, y), std::max(b.right, x), std::max(b.bottom, y), b.count + 1};
            }
        }
        return b;
    }
    // Pixels that differ from expected(x, y) inside the one-pixel rim, or from grey on it.
    template <typename F> int32_t wrong(F expected) const {
        int32_t count = 0;
        for (int32_t i = 0; i < W * H; ++i) {
            const int32_t x = i % W, y = i / W;
            count += pixels[static_cast<size_t>(i)] != (x % (W - 1) && y % (H - 1) ? expected(x, y) : kGrey);
        }
        return count;
    }

    int32_t id = 0;
    bool painted = true;  // read() checks the route of the last paint
    std::vector<uint32_t> pixels;
};

// Road 1, and road 3 with 352x288 into 320x240 (source x 17 lands on window x 1): top-down rows.
TEST_F(WindowPaint, FrameInsideTheRim) {
    for (const auto &[form3, frameWidth, frameHeight, shift] : {std::tuple{D2, W, H, 0}, {D3, 352, 288, 16}}) {
        TestFrame frame(frameWidth, frameHeight);
        ASSERT_EQ(paint(form3, frame, W, H, {.window = id}), 1);
        EXPECT_EQ(frame.header.biHeight, frameHeight);
        read();
        EXPECT_EQ(wrong([&](int32_t x, int32_t y) { return frame.rgb(x + shift, y); }), 0) << shift;
    }
}

// 640x480 is not a known size: resized to 320x240, the zone is halved to 50,50,100,100 and its
// outline drawn one pixel inside, on x and y 50 and 99.
TEST_F(WindowPaint, ZoneOutlineAtTheMappedPlace) {
    TestFrame frame(640, 480);
    frame.fill(0);
    const RECT zone = {100, 100, 200, 200};
    ASSERT_EQ(paint(D2, frame, W, H, {.zones = &zone, .zoneCount = 1, .window = id}), 1);
    read();
    const Box red = box(kRed, 0, 0, W, H);
    EXPECT_EQ((std::vector<int32_t>{red.left, red.top, red.right, red.bottom, red.count}),
              (std::vector<int32_t>{50, 50, 99, 99, 4 * 49}));
    EXPECT_EQ(pixels[75 * W + 75], 0u);
}

// Four white copies one pixel out each way, under the top left text in its colour and under the
// blue bottom right text, whose cell ends at width - 2, height - 2.
TEST_F(WindowPaint, WhiteHalosAroundTheTexts) {
    TestFrame frame(W, H);
    frame.fill(0x404040);
    const uint16_t camera[] = {'C', 'a', 'm', ' ', '1'}, time[] = {'1', '2', ':', '3', '4'};
    const struct { bool form3; const void *topLeft, *bottomRight; int32_t textState; uint32_t colour; } cases[] = {
        {D2, camera, time, 0, kRed}, {D3, "Cam 1", "12:34", 1, kBlue}, {D2, camera, time, 2, 0}};  // 2: black
    for (const auto &c : cases) {
        SCOPED_TRACE(c.textState);
        ASSERT_EQ(paint(c.form3, frame, W, H,
                        {.topLeft = c.topLeft, .topLeftLength = 5, .textState = c.textState,
                         .bottomRight = c.bottomRight, .bottomRightLength = 5, .wideText = 0, .window = id}),
                  1);
        read();
        const Box text = box(c.colour, 0, 0, W / 2, H / 2), halo = box(kWhite, 0, 0, W / 2, H / 2);
        const Box blue = box(kBlue, W / 2, H / 2, W, H), around = box(kWhite, W / 2, H / 2, W, H);
        for (const auto &[t, h] : {std::pair{text, halo}, {blue, around}}) {
            ASSERT_GT(t.count, 10);
            EXPECT_GT(h.count, t.count);
#if defined(_WIN32)  // Wine smooths its text: only the halo reaching past the text on every side is certain
            EXPECT_TRUE(h.left < t.left && h.top < t.top && h.right > t.right && h.bottom > t.bottom);
#else
            EXPECT_EQ((std::vector<int32_t>{h.left, h.top, h.right, h.bottom}),
                      (std::vector<int32_t>{t.left - 1, t.top - 1, t.right + 1, t.bottom + 1}));
#endif
        }
        EXPECT_GT(blue.right, W - 40);
        EXPECT_LE(around.right, W - 2);
        EXPECT_LE(around.bottom, H - 2);
    }
}

#if !defined(_WIN32)
// 16-bit pixels on X11: five-bit channels widened by repeating their top bits. 0x7E10 is red 31,
// green 16, blue 16, shown as 0xFF8484; 0x001F is blue 31 alone.
TEST_F(WindowPaint, SixteenBitFrame) {
    TestFrame frame(W, H, 16);
    for (size_t i = 0; i < frame.pixels.size() / 2; ++i) {
        const uint16_t value = (i % W + 2 * (i / W)) % 3 ? 0x001F : 0x7E10;
        std::memcpy(&frame.pixels[2 * i], &value, 2);
    }
    ASSERT_EQ(paint(D2, frame, W, H, {.window = id}), 1);
    read();
    EXPECT_EQ(wrong([](int32_t x, int32_t y) { return (x + 2 * y) % 3 ? 0x0000FFu : 0xFF8484u; }), 0);
}

// A window that is not there: nothing is drawn, and the frame still counts as handled.
TEST_F(WindowPaint, MissingWindowPaintsNothing) {
    TestFrame frame(W, H);
    const RECT zone = {2, 2, 10, 10};
    const uint16_t text[] = {'x'};
    platform::x11::takeLastPaintRoute();
    ASSERT_EQ(paint(D2, frame, W, H, {&zone, 1, text, 1, 0, text, 1, nullptr, 0, 1, 0x7FFFFFF0}), 1);
    painted = false;
    read();
    EXPECT_EQ(std::count(pixels.begin(), pixels.end(), kGrey), W * H);
    EXPECT_EQ(platform::x11::takeLastPaintRoute(), platform::x11::PaintRoute::none);
}

// A server that refuses the segment: the socket takes over and the window shows the same bytes.
// Each size paints through the shared segment (grown for the larger window), then with the attach
// refused, then through a segment again. Road 1 with a zone and texts, and road 2 into 800x600.
TEST(WindowPaintRoutes, RefusedAttachShowsTheSameBytes) {
    using platform::x11::PaintRoute;
    for (const auto &[width, height, frameWidth, frameHeight] : {std::tuple{W, H, W, H}, {800, 600, 720, 576}}) {
        SCOPED_TRACE(width);
        const int32_t id = openWindow(width, height);
        ASSERT_NE(id, 0) << "no display";
        TestFrame frame(frameWidth, frameHeight);
        const RECT zone = {20, 30, 120, 90};
        auto paintAndRead = [&] {
            EXPECT_EQ(paint(D3, frame, width, height,
                            {.zones = &zone, .zoneCount = 1, .topLeft = "Cam 1", .topLeftLength = 5,
                             .bottomRight = "12:34", .bottomRightLength = 5, .wideText = 0, .window = id}),
                      1);
            return std::pair{readWindow(width, height), platform::x11::takeLastPaintRoute()};
        };
        const auto [shared, sharedRoute] = paintAndRead();
        EXPECT_EQ(sharedRoute, expectedRoute());
        platform::x11::resetSharedMemory(true);
        const auto [socket, socketRoute] = paintAndRead();
        EXPECT_EQ(socketRoute, PaintRoute::socket);
        platform::x11::resetSharedMemory(false);
        const auto [again, againRoute] = paintAndRead();
        EXPECT_EQ(againRoute, expectedRoute());
        EXPECT_LT(std::count(shared.begin(), shared.end(), kGrey), width * height / 2);  // the frame is there
        EXPECT_TRUE(shared == socket);
        EXPECT_TRUE(again == socket);
        closeWindow();
    }
}
#endif

}  // namespace
}  // namespace kx::test
