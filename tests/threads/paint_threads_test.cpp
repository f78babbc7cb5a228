// Paint calls from two threads, one at a time under the client's own lock, as the thread rules
// ask: the shared paint block (FrameScratch and the X segment behind it) passes from thread to
// thread, and each window ends up showing what a lone paint of its last frame shows. Two window
// sizes, so the block and the segment grow while the other thread has used them. Needs an X
// display; the x11 runs give it one, with and without shared-memory images.
#include <gtest/gtest.h>
#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>
#include <vector>

#include "frame/library_state.h"
#include "kestrix.h"

namespace {

constexpr int32_t kFrameWidth = 352, kFrameHeight = 288, kFrames = 12;

struct Camera {
    int32_t width, height;  // the window's
    xcb_window_t window = 0;
    std::vector<uint8_t> pixels = std::vector<uint8_t>(size_t{kFrameWidth} * kFrameHeight * 3);
    BITMAPINFOHEADER header{40, kFrameWidth, kFrameHeight, 1, 24, 0, kFrameWidth * kFrameHeight * 3, 0, 0, 0, 0};

    void render(int32_t frame) {  // a gradient that moves with the frame, different per camera
        for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = uint8_t(i / 3 * (width / 100) + i % 3 * 70 + frame * 9);
    }
    void paint() {
        const RECT zone = {40, 40, 200, 160};
        JpegDecompress3(int32_t(window), width, height, &zone, 1, &header, pixels.data(), "Cam", 3, 0, "12:00", 5, 0,
                        0, 0, nullptr, 0, 0);
    }
};

class Display {
public:
    Display() : c_(xcb_connect(nullptr, nullptr)) {}
    ~Display() { xcb_disconnect(c_); }
    bool open() const { return !xcb_connection_has_error(c_); }
    void sync() { std::free(xcb_get_input_focus_reply(c_, xcb_get_input_focus(c_), nullptr)); }

    xcb_window_t window(int16_t x, int32_t width, int32_t height) {
        const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(c_)).data;
        const uint32_t values[] = {0x808080, 1};
        const xcb_window_t id = xcb_generate_id(c_);
        xcb_create_window(c_, XCB_COPY_FROM_PARENT, id, screen->root, x, 0, uint16_t(width), uint16_t(height), 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                          XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
        xcb_map_window(c_, id);
        sync();
        return id;
    }
    std::vector<uint8_t> read(const Camera &camera) {
        xcb_get_image_reply_t *image = xcb_get_image_reply(
            c_, xcb_get_image(c_, XCB_IMAGE_FORMAT_Z_PIXMAP, camera.window, 0, 0, uint16_t(camera.width),
                              uint16_t(camera.height), ~0u), nullptr);
        std::vector<uint8_t> bytes;
        if (image) {
            const uint8_t *data = xcb_get_image_data(image);
            bytes.assign(data, data + xcb_get_image_data_length(image));
        }
        std::free(image);
        return bytes;
    }

private:
    xcb_connection_t *c_;
};

TEST(ThreadsPaint, TwoThreadsUnderTheClientsLockShowWhatOneThreadShows) {
    Display display;
    if (!display.open()) GTEST_SKIP() << "no X display";
    if (!kx::FrameScratch) kx::replaceFrameScratch(1600 * 1200 * 3 + 40, 0);  // as the library's load makes it
    Camera cameras[2] = {{320, 240}, {640, 480}};
    cameras[0].window = display.window(0, 320, 240);
    cameras[1].window = display.window(320, 640, 480);

    std::mutex paintLock;  // the client's: paint calls one at a time
    std::vector<std::thread> threads;
    for (Camera &camera : cameras) {
        threads.emplace_back([&paintLock, &camera] {
            for (int32_t frame = 0; frame < kFrames; ++frame) {
                camera.render(frame);
                const std::lock_guard<std::mutex> oneAtATime(paintLock);
                camera.paint();
            }
        });
    }
    for (std::thread &thread : threads) thread.join();

    for (Camera &camera : cameras) {
        SCOPED_TRACE(camera.width);
        const std::vector<uint8_t> shown = display.read(camera);
        ASSERT_EQ(shown.size(), size_t(camera.width) * camera.height * 4);
        camera.paint();  // the same last frame, alone
        EXPECT_TRUE(display.read(camera) == shown);
    }
}

}  // namespace
