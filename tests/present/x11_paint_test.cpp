// The paint exports on a real X window: the test makes the window on its own connection, the
// library paints through its own, and the test reads the window back.
#include <gtest/gtest.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "frame/library_state.h"
#include "present/frame_fixture.h"

namespace kx::test {
namespace {

constexpr uint32_t kGrey = 0x808080;  // the window's background, 0xRRGGBB
constexpr uint32_t kRed = 0xFF0000, kBlue = 0x0000FF, kWhite = 0xFFFFFF, kBlack = 0x000000;

struct Box {
    int32_t left = INT32_MAX, top = INT32_MAX, right = INT32_MIN, bottom = INT32_MIN;  // inclusive
    int32_t count = 0;
    void add(int32_t x, int32_t y) {
        left = std::min(left, x);
        top = std::min(top, y);
        right = std::max(right, x);
        bottom = std::max(bottom, y);
        ++count;
    }
};

class X11PaintTest : public ::testing::Test {
protected:
    void SetUp() override {
        connection = xcb_connect(nullptr, nullptr);
        if (xcb_connection_has_error(connection)) GTEST_SKIP() << "no X display";
        screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
        ASSERT_EQ(screen->root_depth, 24);
        ScratchWidth = 1600;
        ScratchHeight = 1200;
        FrameScratch = new uint8_t[1600 * 1200 * 3 + 40]();
    }
    void TearDown() override {
        delete[] FrameScratch;
        FrameScratch = nullptr;
        if (window) xcb_destroy_window(connection, window);
        xcb_disconnect(connection);
    }

    void sync() { std::free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr)); }

    // A grey window at the screen's corner, with no window manager to move it.
    int32_t makeWindow(int32_t w, int32_t h) {
        width = w;
        height = h;
        window = xcb_generate_id(connection);
        const uint32_t values[] = {kGrey, 1};
        xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, static_cast<uint16_t>(w),
                          static_cast<uint16_t>(h), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                          XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
        xcb_map_window(connection, window);
        sync();
        return static_cast<int32_t>(window);
    }

    // The window's pixels as 0xRRGGBB, row by row.
    std::vector<uint32_t> readBack() {
        xcb_get_image_reply_t *image = xcb_get_image_reply(
            connection,
            xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, window, 0, 0, static_cast<uint16_t>(width),
                          static_cast<uint16_t>(height), ~0u),
            nullptr);
        std::vector<uint32_t> pixels;
        if (!image) return pixels;
        const uint8_t *data = xcb_get_image_data(image);
        const size_t stride = static_cast<size_t>(xcb_get_image_data_length(image)) / height;
        for (int32_t y = 0; y < height; ++y) {
            for (int32_t x = 0; x < width; ++x) {
                uint32_t value;
                std::memcpy(&value, data + y * stride + 4 * x, 4);
                pixels.push_back(value & 0xFFFFFF);
            }
        }
        std::free(image);
        return pixels;
    }

    static uint32_t framePixel(const TestFrame &frame, int32_t x, int32_t row) {
        const uint8_t *p = frame.pixels.data() + (static_cast<size_t>(row) * frame.header.biWidth + x) * 3;
        return (uint32_t{p[2]} << 16) | (uint32_t{p[1]} << 8) | p[0];
    }

    static void fill(TestFrame &frame, uint32_t rgb) {
        for (size_t i = 0; i < frame.pixels.size(); i += 3) {
            frame.pixels[i] = static_cast<uint8_t>(rgb);
            frame.pixels[i + 1] = static_cast<uint8_t>(rgb >> 8);
            frame.pixels[i + 2] = static_cast<uint8_t>(rgb >> 16);
        }
    }

    Box boxOf(const std::vector<uint32_t> &pixels, uint32_t colour, int32_t x0, int32_t y0, int32_t x1, int32_t y1) {
        Box box;
        for (int32_t y = y0; y < y1; ++y) {
            for (int32_t x = x0; x < x1; ++x) {
                if (pixels[static_cast<size_t>(y) * width + x] == colour) box.add(x, y);
            }
        }
        return box;
    }

    void expectRimUntouched(const std::vector<uint32_t> &pixels) {
        for (int32_t x = 0; x < width; ++x) {
            EXPECT_EQ(pixels[x], kGrey) << "top rim at " << x;
            EXPECT_EQ(pixels[static_cast<size_t>(height - 1) * width + x], kGrey) << "bottom rim at " << x;
        }
        for (int32_t y = 0; y < height; ++y) {
            EXPECT_EQ(pixels[static_cast<size_t>(y) * width], kGrey) << "left rim at " << y;
            EXPECT_EQ(pixels[static_cast<size_t>(y) * width + width - 1], kGrey) << "right rim at " << y;
        }
    }

    xcb_connection_t *connection = nullptr;
    xcb_screen_t *screen = nullptr;
    xcb_window_t window = 0;
    int32_t width = 0, height = 0;
};

TEST_F(X11PaintTest, SameSizeShowsFrameRowsTopDownInsideTheRim) {
    const int32_t id = makeWindow(64, 48);
    TestFrame frame(64, 48);
    EXPECT_EQ(JpegDecompress2(id, 64, 48, nullptr, 0, &frame.header, frame.pixels.data(), nullptr, 0, 0, nullptr, 0),
              1);
    const auto pixels = readBack();
    ASSERT_EQ(pixels.size(), 64u * 48u);
    expectRimUntouched(pixels);
    int32_t wrong = 0;
    for (int32_t y = 1; y < 47; ++y) {
        for (int32_t x = 1; x < 63; ++x) wrong += pixels[static_cast<size_t>(y) * 64 + x] != framePixel(frame, x, y);
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(frame.header.biHeight, 48);
}

TEST_F(X11PaintTest, SixteenBitFrameShowsFiveBitChannelsWidened) {
    const int32_t id = makeWindow(64, 48);
    TestFrame frame(64, 48, 16);
    EXPECT_EQ(JpegDecompress2(id, 64, 48, nullptr, 0, &frame.header, frame.pixels.data(), nullptr, 0, 0, nullptr, 0),
              1);
    const auto pixels = readBack();
    ASSERT_EQ(pixels.size(), 64u * 48u);
    expectRimUntouched(pixels);
    int32_t wrong = 0;
    for (int32_t y = 1; y < 47; ++y) {
        for (int32_t x = 1; x < 63; ++x) {
            const uint8_t *p = frame.pixels.data() + (static_cast<size_t>(y) * 64 + x) * 2;
            const uint32_t v = p[0] | (uint32_t{p[1]} << 8);
            // Five bits widened by repeating their top bits: 31 becomes 255, 16 becomes 132.
            auto widen = [](uint32_t five) { return (five << 3) | (five >> 2); };
            const uint32_t expected = (widen((v >> 10) & 31) << 16) | (widen((v >> 5) & 31) << 8) | widen(v & 31);
            wrong += pixels[static_cast<size_t>(y) * 64 + x] != expected;
        }
    }
    EXPECT_EQ(wrong, 0);
}

TEST_F(X11PaintTest, CropRoadIsShiftedBySourceX) {
    // 352x288 into 320x240: window column x shows frame column x + 16, from source x 17.
    const int32_t id = makeWindow(320, 240);
    TestFrame frame(352, 288);
    EXPECT_EQ(JpegDecompress3(id, 320, 240, nullptr, 0, &frame.header, frame.pixels.data(), nullptr, 0, 0, nullptr,
                              0, 0, 0, 0, nullptr, 0, 0),
              1);
    const auto pixels = readBack();
    ASSERT_EQ(pixels.size(), 320u * 240u);
    expectRimUntouched(pixels);
    int32_t wrong = 0;
    for (int32_t y = 1; y < 239; ++y) {
        for (int32_t x = 1; x < 319; ++x) {
            wrong += pixels[static_cast<size_t>(y) * 320 + x] != framePixel(frame, x + 16, y);
        }
    }
    EXPECT_EQ(wrong, 0);
}

TEST_F(X11PaintTest, ZoneOutlinesOnePixelInsideTheMappedRectangle) {
    // 720x480 into 360x240: the zone 100,100,200,200 becomes 50,50,100,100, drawn on x 50 and 99,
    // y 50 and 99.
    const int32_t id = makeWindow(360, 240);
    TestFrame frame(720, 480);
    fill(frame, kBlack);
    const RECT zone = {100, 100, 200, 200};
    EXPECT_EQ(JpegDecompress2(id, 360, 240, &zone, 1, &frame.header, frame.pixels.data(), nullptr, 0, 0, nullptr, 0),
              1);
    const auto pixels = readBack();
    ASSERT_EQ(pixels.size(), 360u * 240u);
    const Box red = boxOf(pixels, kRed, 0, 0, 360, 240);
    EXPECT_EQ(red.left, 50);
    EXPECT_EQ(red.top, 50);
    EXPECT_EQ(red.right, 99);
    EXPECT_EQ(red.bottom, 99);
    EXPECT_EQ(red.count, 4 * 49);  // the frame of a 50 by 50 square
    EXPECT_EQ(pixels[75 * 360 + 75], kBlack);
}

TEST_F(X11PaintTest, TextsHaveWhiteHalos) {
    const int32_t id = makeWindow(240, 120);
    TestFrame frame(240, 120);
    fill(frame, 0x404040);
    const uint16_t topLeft[] = {'C', 'a', 'm', ' ', '1'};
    const uint16_t bottomRight[] = {'1', '2', ':', '3', '4'};
    for (int32_t textState : {0, 1, 2}) {
        SCOPED_TRACE(textState);
        EXPECT_EQ(JpegDecompress2(id, 240, 120, nullptr, 0, &frame.header, frame.pixels.data(), topLeft, 5, textState,
                                  bottomRight, 5),
                  1);
        const auto pixels = readBack();
        ASSERT_EQ(pixels.size(), 240u * 120u);

        // Top left: red, blue, or the context's black, over four white copies one pixel out.
        const uint32_t colour = textState == 0 ? kRed : textState == 1 ? kBlue : kBlack;
        const Box text = boxOf(pixels, colour, 0, 0, 120, 60);
        const Box halo = boxOf(pixels, kWhite, 0, 0, 120, 60);
        ASSERT_GT(text.count, 10);
        EXPECT_GT(halo.count, text.count);
        EXPECT_EQ(halo.left, text.left - 1);
        EXPECT_EQ(halo.top, text.top - 1);
        EXPECT_EQ(halo.right, text.right + 1);
        EXPECT_EQ(halo.bottom, text.bottom + 1);
        EXPECT_GE(halo.left, 0);
        EXPECT_GE(halo.top, 0);

        // Bottom right: blue, its cell ending at width - 2 and height - 2.
        const Box blue = boxOf(pixels, kBlue, 120, 60, 240, 120);
        const Box around = boxOf(pixels, kWhite, 120, 60, 240, 120);
        ASSERT_GT(blue.count, 10);
        EXPECT_EQ(around.left, blue.left - 1);
        EXPECT_EQ(around.top, blue.top - 1);
        EXPECT_EQ(around.right, blue.right + 1);
        EXPECT_EQ(around.bottom, blue.bottom + 1);
        EXPECT_LE(around.right, 239);
        EXPECT_LE(around.bottom, 119);
        EXPECT_GT(blue.right, 200);  // right-aligned
    }
}

TEST_F(X11PaintTest, MissingWindowPaintsNothingAndReturnsOne) {
    makeWindow(32, 32);
    TestFrame frame(32, 32);
    const RECT zone = {2, 2, 10, 10};
    const uint16_t text[] = {'x'};
    EXPECT_EQ(JpegDecompress2(0x7FFFFFF0, 32, 32, &zone, 1, &frame.header, frame.pixels.data(), text, 1, 0, text, 1),
              1);
    EXPECT_EQ(frame.header.biHeight, 32);
    const auto pixels = readBack();
    for (uint32_t p : pixels) ASSERT_EQ(p, kGrey);
}

}  // namespace
}  // namespace kx::test
