// The window the demo paints into, on the X display in DISPLAY or on a private Xvfb the demo starts
// and stops itself, and the pixels of that window read back as the library left them.
#pragma once

#include <sys/types.h>
#include <xcb/xcb.h>

#include <cstdint>
#include <string>

#include "frame.h"

namespace kx::demo {

class X11Display {
public:
    // The display in DISPLAY when it answers; else, with allowPrivate, an Xvfb of the demo's own,
    // which is exported as DISPLAY so that the library paints on it too. Throws when neither works.
    explicit X11Display(bool allowPrivate);
    ~X11Display();
    X11Display(const X11Display &) = delete;
    X11Display &operator=(const X11Display &) = delete;

    xcb_connection_t *connection() const { return connection_; }
    bool isPrivate() const { return server_ > 0; }
    pid_t serverProcess() const { return server_; }  // the private Xvfb's, else 0
    // Whether the server offers shared-memory images (MIT-SHM), which the library paints through.
    bool offersSharedMemory() const;

private:
    void startServer();
    void stopServer();

    xcb_connection_t *connection_ = nullptr;
    pid_t server_ = 0;
};

class X11Window {
public:
    // managed: a window the user's window manager places and decorates (--show); otherwise one at
    // the screen's corner that nothing moves or covers.
    X11Window(X11Display &display, int32_t width, int32_t height, bool managed);
    // A window inside `parent`, at x, y of it; it shows as soon as it is made.
    X11Window(const X11Window &parent, int32_t x, int32_t y, int32_t width, int32_t height);
    ~X11Window();
    X11Window(const X11Window &) = delete;
    X11Window &operator=(const X11Window &) = delete;

    int32_t id() const { return static_cast<int32_t>(window_); }  // as the paint exports take it
    RgbImage read() const;

private:
    xcb_connection_t *connection_;
    xcb_window_t window_ = 0;
    int32_t width_, height_;
};

}  // namespace kx::demo
