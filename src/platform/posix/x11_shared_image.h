// Images the X server reads from memory it shares with the library (the MIT-SHM extension), so a
// painted frame is converted once, straight into that memory, and does not travel through the
// socket. One segment per connection, grown as windows grow; it is state of the paint calls, which
// come one at a time, and takes no lock.
#pragma once

#include <xcb/shm.h>
#include <xcb/xcb.h>

#include <cstddef>
#include <cstdint>

namespace kx::platform::x11 {

// The way the last DIB paint reached its window, for tests and benchmarks; asking clears it.
enum class PaintRoute : int32_t { none = 0, socket = 1, sharedMemory = 2 };
PaintRoute takeLastPaintRoute();

// Gives up the segment and what was learnt of the server, so that the next paint attaches anew.
// With refuseNextAttach that attach names a segment id that no segment has, and the server refuses
// it as it refuses a segment it cannot see.
void resetSharedMemory(bool refuseNextAttach);

class SharedImage {
public:
    SharedImage() = default;
    ~SharedImage();
    SharedImage(const SharedImage &) = delete;
    SharedImage &operator=(const SharedImage &) = delete;

    // At least `bytes` of memory the server reads images from, free for writing: no request that
    // reads it is still pending. Null when the server cannot share memory with this process (no
    // extension, a remote display, a refused attach), and then for the rest of the connection.
    // `drawable` and `depth` serve the check that the server really sees the memory.
    uint8_t *reserve(xcb_connection_t *c, xcb_drawable_t drawable, uint8_t depth, size_t bytes);

    // Shows a width x height image from the start of the memory, in the server's Z format with its
    // row padding, at x, y of the window. It returns once the server has read it; false when the
    // server failed the request, after which the segment is given up.
    bool put(xcb_connection_t *c, xcb_drawable_t window, xcb_gcontext_t gc, uint16_t width, uint16_t height, int16_t x,
             int16_t y, uint8_t depth);

    // Detaches and frees the segment; with forgetServer, the next reserve asks the server again.
    void release(xcb_connection_t *c, bool forgetServer);
    void refuseNextAttach() { refuseNextAttach_ = true; }

private:
    bool attach(xcb_connection_t *c, xcb_drawable_t drawable, uint8_t depth, size_t bytes);
    bool serverSeesMemory(xcb_connection_t *c, xcb_drawable_t drawable, uint8_t depth);
    void freeMemory();

    enum class Server { unknown, shares, refuses };
    Server server_ = Server::unknown;
    xcb_connection_t *connection_ = nullptr;  // the connection the segment is attached on
    int shmId_ = -1;
    uint8_t *memory_ = nullptr;
    size_t size_ = 0;
    xcb_shm_seg_t segment_ = 0;
    bool refuseNextAttach_ = false;
};

}  // namespace kx::platform::x11
