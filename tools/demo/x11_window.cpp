#include "x11_window.h"

#include "child_process.h"
#include "x11_extension.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

namespace kx::demo {

namespace {

void roundTrip(xcb_connection_t *c) { std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr)); }

xcb_connection_t *connectTo(const char *name) {
    xcb_connection_t *c = xcb_connect(name, nullptr);
    if (!xcb_connection_has_error(c)) return c;
    xcb_disconnect(c);
    return nullptr;
}

uint32_t maskShift(uint32_t mask) {
    uint32_t shift = 0;
    while (mask && !(mask & 1)) mask >>= 1, ++shift;
    return shift;
}

}  // namespace

X11Display::X11Display(bool allowPrivate) {
    const char *display = std::getenv("DISPLAY");
    if (display && *display) connection_ = connectTo(display);
    if (connection_) return;
    if (!allowPrivate) throw std::runtime_error("--show needs an X display, and DISPLAY is not set or does not answer");
    startServer();
}

void X11Display::startServer() {
    int ready[2];
    if (pipe(ready) != 0) throw std::runtime_error("cannot make a pipe for Xvfb");
    const std::string fd = std::to_string(ready[1]);
    server_ = fork();
    if (server_ == 0) {
        close(ready[0]);
        const int quiet = open("/dev/null", O_WRONLY);
        dup2(quiet, 1);
        dup2(quiet, 2);
        execlp("Xvfb", "Xvfb", "-displayfd", fd.c_str(), "-screen", "0", "1024x768x24", "-nolisten", "tcp",
               static_cast<char *>(nullptr));
        _exit(127);
    }
    close(ready[1]);
    if (server_ < 0) {
        close(ready[0]);
        server_ = 0;
        throw std::runtime_error("cannot start Xvfb");
    }
    // Xvfb writes its display number once it takes connections; it ends the pipe when it fails.
    std::string number;
    pollfd wait = {ready[0], POLLIN, 0};
    char c = 0;
    while (poll(&wait, 1, 15000) == 1 && read(ready[0], &c, 1) == 1 && c != '\n') number += c;
    close(ready[0]);
    if (number.empty()) {
        stopServer();
        throw std::runtime_error("no X display, and Xvfb did not start (is it installed? scripts/demo installs it)");
    }
    const std::string name = ":" + number;
    setenv("DISPLAY", name.c_str(), 1);
    connection_ = connectTo(name.c_str());
    if (!connection_) {
        stopServer();
        throw std::runtime_error("cannot connect to the Xvfb display " + name);
    }
}

void X11Display::stopServer() {
    if (server_ <= 0) return;
    stopChild(server_, std::chrono::seconds(5));
    server_ = 0;
}

bool X11Display::offersSharedMemory() const { return kx::tools::serverOffers(connection_, "MIT-SHM"); }

X11Display::~X11Display() {
    if (connection_) xcb_disconnect(connection_);
    stopServer();
}

X11Window::X11Window(X11Display &display, int32_t width, int32_t height, bool managed)
    : connection_(display.connection()), width_(width), height_(height) {
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
    window_ = xcb_generate_id(connection_);
    const uint32_t values[] = {screen->black_pixel, managed ? 0u : 1u, XCB_EVENT_MASK_EXPOSURE};
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window_, screen->root, 0, 0, static_cast<uint16_t>(width),
                      static_cast<uint16_t>(height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    const char title[] = "kestrix-demo";
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window_, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                        sizeof(title) - 1, title);
    xcb_map_window(connection_, window_);
    xcb_flush(connection_);
    // Painting before the window is on the screen would be lost: wait for its first exposure.
    while (xcb_generic_event_t *event = xcb_wait_for_event(connection_)) {
        const bool exposed = (event->response_type & 0x7F) == XCB_EXPOSE;
        std::free(event);
        if (exposed) break;
    }
    roundTrip(connection_);
}

X11Window::X11Window(const X11Window &parent, int32_t x, int32_t y, int32_t width, int32_t height)
    : connection_(parent.connection_), width_(width), height_(height) {
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
    window_ = xcb_generate_id(connection_);
    const uint32_t background = screen->black_pixel;
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window_, parent.window_, static_cast<int16_t>(x),
                      static_cast<int16_t>(y), static_cast<uint16_t>(width), static_cast<uint16_t>(height), 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, XCB_CW_BACK_PIXEL, &background);
    // Inside a window that is already on the screen, it is viewable once the server has mapped it.
    xcb_map_window(connection_, window_);
    roundTrip(connection_);
}

X11Window::~X11Window() {
    xcb_destroy_window(connection_, window_);
    roundTrip(connection_);
}

RgbImage X11Window::read() const {
    const xcb_setup_t *setup = xcb_get_setup(connection_);
    const xcb_screen_t *screen = xcb_setup_roots_iterator(setup).data;
    const xcb_visualtype_t *visual = nullptr;
    for (auto depths = xcb_screen_allowed_depths_iterator(screen); depths.rem && !visual; xcb_depth_next(&depths)) {
        for (auto v = xcb_depth_visuals_iterator(depths.data); v.rem; xcb_visualtype_next(&v)) {
            if (v.data->visual_id == screen->root_visual) visual = v.data;
        }
    }
    uint32_t bytesPerPixel = 0;
    for (auto f = xcb_setup_pixmap_formats_iterator(setup); f.rem; xcb_format_next(&f)) {
        if (f.data->depth == screen->root_depth) bytesPerPixel = f.data->bits_per_pixel / 8;
    }
    if (!visual || (bytesPerPixel != 3 && bytesPerPixel != 4) || setup->image_byte_order != XCB_IMAGE_ORDER_LSB_FIRST ||
        visual->bits_per_rgb_value != 8) {
        throw std::runtime_error("the X display's pixel format is not one the demo reads back (24-bit colour)");
    }
    xcb_get_image_reply_t *image =
        xcb_get_image_reply(connection_,
                            xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, window_, 0, 0,
                                          static_cast<uint16_t>(width_), static_cast<uint16_t>(height_), ~0u),
                            nullptr);
    if (!image) throw std::runtime_error("cannot read the window back");
    const uint8_t *data = xcb_get_image_data(image);
    const size_t stride = static_cast<size_t>(xcb_get_image_data_length(image)) / static_cast<size_t>(height_);
    const uint32_t masks[3] = {visual->red_mask, visual->green_mask, visual->blue_mask};
    RgbImage picture(width_, height_);
    for (int32_t y = 0; y < height_; ++y) {
        for (int32_t x = 0; x < width_; ++x) {
            uint32_t pixel = 0;
            std::memcpy(&pixel, data + y * stride + static_cast<size_t>(x) * bytesPerPixel, bytesPerPixel);
            for (int i = 0; i < 3; ++i)
                picture.at(x, y)[i] = static_cast<uint8_t>((pixel & masks[i]) >> maskShift(masks[i]));
        }
    }
    std::free(image);
    return picture;
}

}  // namespace kx::demo
