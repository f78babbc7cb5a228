// kestrixmotion's drawing beside the library's own paint of the same frame, zones and texts into a
// window of the frame's size under an X server: every pixel inside the window's unpainted rim must
// be the same, and the red the paint puts on the rim is in the element's picture too.
#include <kestrix.h>
#include <xcb/xcb.h>

#include <cstdlib>

#include "element_harness.h"

namespace kx::test {
namespace {

constexpr int32_t W = 200, H = 120;  // rows of 600 bytes: the paint's rows and the buffer's agree
constexpr uint32_t kBackground = 0x808080;

class Window {
public:
    Window() {
        connection = xcb_connect(nullptr, nullptr);
        if (xcb_connection_has_error(connection)) return;
        const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
        const uint32_t values[] = {kBackground, 1};  // background; override-redirect, so nothing moves it
        window = xcb_generate_id(connection);
        xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, W, H, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                          XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
        xcb_map_window(connection, window);
        sync();
    }
    ~Window() {
        if (window) xcb_destroy_window(connection, window);
        xcb_disconnect(connection);
    }
    int32_t id() const { return static_cast<int32_t>(window); }
    void sync() { std::free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr)); }
    std::vector<uint32_t> read() {  // 0xRRGGBB, from a 24-bit screen of four bytes a pixel
        sync();
        std::vector<uint32_t> pixels(static_cast<size_t>(W * H));
        xcb_get_image_reply_t *image = xcb_get_image_reply(
            connection, xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, window, 0, 0, W, H, ~0u), nullptr);
        if (image && xcb_get_image_data_length(image) == W * H * 4) {
            std::memcpy(pixels.data(), xcb_get_image_data(image), pixels.size() * 4);
        }
        std::free(image);
        for (uint32_t &p : pixels) p &= 0xFFFFFF;
        return pixels;
    }

private:
    xcb_connection_t *connection = nullptr;
    xcb_window_t window = 0;
};

struct PaintCase {
    const char *zones;
    std::vector<RECT> rects;  // the same zones for the paint
    const char *top, *bottom;
};

const PaintCase kPaintCases[] = {
    {"20,15,90,70;100,5,199,119;-20,60,40,140;150,100,150,110;10,10,201,20",
     {{20, 15, 90, 70}, {100, 5, 199, 119}, {-20, 60, 40, 140}, {150, 100, 150, 110}, {10, 10, 201, 20}},
     "", ""},
    {"0,0,200,120", {{0, 0, 200, 120}}, "Gate 1 - Kestrix!", "2026-11-25 12:34:56"},
    {"30,30,60,60", {{30, 30, 60, 60}}, "{[(~`@#$%^&*_+=|<>?/\\'\";:,.)]}", "ABCDEFGHIJKLMNOPQRSTUVWXYZ 0123456789"},
    {"0,0,200,120", {{0, 0, 200, 120}}, "", ""},
};

class PaintCompare : public ::testing::TestWithParam<PaintCase> {};

TEST_P(PaintCompare, SamePixelsAsTheLibrarysPaint) {
    const PaintCase &c = GetParam();
    Window window;
    ASSERT_NE(window.id(), 0) << "no display";

    // A frame with content everywhere, so that a row or column out of place shows.
    TestPicture picture(W, H);
    for (int32_t y = 0; y < H; ++y) {
        for (int32_t x = 0; x < W; ++x) {
            uint8_t *p = picture.at(x, y);
            p[0] = static_cast<uint8_t>(x * 7 + y), p[1] = static_cast<uint8_t>(y * 3), p[2] = static_cast<uint8_t>(x);
        }
    }

    BITMAPINFOHEADER header = {.biSize = 40, .biWidth = W, .biHeight = H, .biPlanes = 1, .biBitCount = 24,
                               .biCompression = 0, .biSizeImage = W * H * 3, .biXPelsPerMeter = 0,
                               .biYPelsPerMeter = 0, .biClrUsed = 0, .biClrImportant = 0};
    ASSERT_EQ(JpegDecompress3(window.id(), W, H, c.rects.data(), static_cast<int32_t>(c.rects.size()), &header,
                              picture.bytes.data(), c.top, static_cast<int32_t>(std::strlen(c.top)), 0, c.bottom,
                              static_cast<int32_t>(std::strlen(c.bottom)), 0, 0, 0, nullptr, 0, 0),
              1);
    const std::vector<uint32_t> painted = window.read();

    ElementHarness h(W, H);
    h.set("draw", "true");
    h.set("zones", c.zones);
    h.set("text-top", c.top);
    h.set("text-bottom", c.bottom);
    GstBuffer *out = h.push(picture, 0);
    ASSERT_NE(out, nullptr);
    TestPicture drawn(W, H);
    drawn.bytes = bytesOf(out);
    gst_buffer_unref(out);

    int32_t differ = 0, rimRed = 0, drawnPixels = 0;
    for (int32_t y = 0; y < H; ++y) {
        for (int32_t x = 0; x < W; ++x) {
            const uint32_t p = painted[static_cast<size_t>(y * W + x)];
            const bool rim = x == 0 || y == 0 || x == W - 1 || y == H - 1;
            if (rim && p != 0xFF0000) continue;
            rimRed += rim;
            drawnPixels += picture.rgb(x, y) != drawn.rgb(x, y);
            if (p != drawn.rgb(x, y) && differ++ < 5) {
                ADD_FAILURE() << "at " << x << "," << y << ": paint " << std::hex << p << ", element "
                              << drawn.rgb(x, y);
            }
        }
    }
    EXPECT_EQ(differ, 0);
    EXPECT_GT(drawnPixels, 100);
    if (!*c.top && c.rects.size() == 1 && c.rects[0].right == W) {
        EXPECT_EQ(rimRed, 2 * W + 2 * H - 4);
    }
}

INSTANTIATE_TEST_SUITE_P(Overlays, PaintCompare, ::testing::ValuesIn(kPaintCases));

}  // namespace
}  // namespace kx::test
