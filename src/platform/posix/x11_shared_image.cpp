#include "platform/posix/x11_shared_image.h"

#include <sys/ipc.h>
#include <sys/shm.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace kx::platform::x11 {

namespace {

// Segments grow in steps of this, so that a window a few pixels larger does not cost a new one.
constexpr size_t kGrowthStep = size_t{1} << 16;

bool succeeded(xcb_connection_t *c, xcb_void_cookie_t cookie) {
    xcb_generic_error_t *error = xcb_request_check(c, cookie);
    std::free(error);
    return error == nullptr;
}

}  // namespace

// At unload only this side lets go: a request now could meet a server that has gone away (the
// demo stops its own Xvfb first), and a write to its socket would raise SIGPIPE. The server lets
// go of its side when the connection closes, and the system then frees the segment, which was
// marked for removal when it was attached.
SharedImage::~SharedImage() { freeMemory(); }

uint8_t *SharedImage::reserve(xcb_connection_t *c, xcb_drawable_t drawable, uint8_t depth, size_t bytes) {
    if (c != connection_) {
        // A new connection knows nothing of the old one's segment.
        segment_ = 0;
        freeMemory();
        server_ = Server::unknown;
        connection_ = c;
    }
    if (server_ == Server::refuses || bytes == 0) return nullptr;
    if (server_ == Server::unknown) {
        const xcb_query_extension_reply_t *extension = xcb_get_extension_data(c, &xcb_shm_id);
        if (!extension || !extension->present) {
            server_ = Server::refuses;
            return nullptr;
        }
    }
    if (memory_ && size_ >= bytes) return memory_;
    release(c, false);
    if (!attach(c, drawable, depth, (bytes + kGrowthStep - 1) / kGrowthStep * kGrowthStep)) {
        server_ = Server::refuses;
        return nullptr;
    }
    server_ = Server::shares;
    return memory_;
}

bool SharedImage::attach(xcb_connection_t *c, xcb_drawable_t drawable, uint8_t depth, size_t bytes) {
    shmId_ = shmget(IPC_PRIVATE, bytes, IPC_CREAT | 0600);
    if (shmId_ < 0) return false;
    void *memory = shmat(shmId_, nullptr, 0);
    if (memory == reinterpret_cast<void *>(-1)) {
        shmctl(shmId_, IPC_RMID, nullptr);
        shmId_ = -1;
        return false;
    }
    memory_ = static_cast<uint8_t *>(memory);
    size_ = bytes;
    const bool refuse = refuseNextAttach_;
    refuseNextAttach_ = false;
    segment_ = xcb_generate_id(c);
    // A server that cannot see the segment (another machine, another IPC namespace, a refusal)
    // fails the attach or, if the id happens to name some other segment there, fails the check.
    const uint32_t id = refuse ? UINT32_MAX : static_cast<uint32_t>(shmId_);
    const bool attached = succeeded(c, xcb_shm_attach_checked(c, segment_, id, 0));
    // Attached or not, the segment goes once both sides let go of it, even if this process dies.
    shmctl(shmId_, IPC_RMID, nullptr);
    if (!attached) segment_ = 0;
    if (attached && serverSeesMemory(c, drawable, depth)) return true;
    release(c, false);
    return false;
}

// The server draws one pixel of a known value into the segment: proof that both sides share it.
bool SharedImage::serverSeesMemory(xcb_connection_t *c, xcb_drawable_t drawable, uint8_t depth) {
    const xcb_pixmap_t pixmap = xcb_generate_id(c);
    const xcb_gcontext_t gc = xcb_generate_id(c);
    xcb_create_pixmap(c, depth, pixmap, drawable, 1, 1);
    const uint32_t value = 0x5AC3E1A5u & (depth >= 32 ? ~0u : (1u << depth) - 1);
    xcb_create_gc(c, gc, pixmap, XCB_GC_FOREGROUND, &value);
    const xcb_rectangle_t pixel = {0, 0, 1, 1};
    xcb_poly_fill_rectangle(c, pixmap, gc, 1, &pixel);
    std::memset(memory_, 0, 8);
    xcb_generic_error_t *error = nullptr;
    xcb_shm_get_image_reply_t *image = xcb_shm_get_image_reply(
        c, xcb_shm_get_image(c, pixmap, 0, 0, 1, 1, ~0u, XCB_IMAGE_FORMAT_Z_PIXMAP, segment_, 0), &error);
    xcb_free_gc(c, gc);
    xcb_free_pixmap(c, pixmap);
    const bool seen = image && !error && image->size > 0 && image->size <= 8 &&
                      std::any_of(memory_, memory_ + image->size, [](uint8_t b) { return b != 0; });
    std::free(image);
    std::free(error);
    return seen;
}

bool SharedImage::put(xcb_connection_t *c, xcb_drawable_t window, xcb_gcontext_t gc, uint16_t width,
                      uint16_t height, int16_t x, int16_t y, uint8_t depth) {
    // Checked, so that the call returns only when the server is done with the memory: the next
    // paint may write into it at once, and a failure can still go the socket's way.
    const bool shown = succeeded(c, xcb_shm_put_image_checked(c, window, gc, width, height, 0, 0, width, height, x, y,
                                                              depth, XCB_IMAGE_FORMAT_Z_PIXMAP, 0, segment_, 0));
    if (!shown) {
        release(c, false);
        server_ = Server::refuses;
    }
    return shown;
}

void SharedImage::release(xcb_connection_t *c, bool forgetServer) {
    if (segment_ && c == connection_) {
        xcb_shm_detach(c, segment_);
        xcb_flush(c);
    }
    segment_ = 0;
    freeMemory();
    if (forgetServer) server_ = Server::unknown;
}

void SharedImage::freeMemory() {
    if (memory_) shmdt(memory_);
    memory_ = nullptr;
    size_ = 0;
    shmId_ = -1;
}

}  // namespace kx::platform::x11
