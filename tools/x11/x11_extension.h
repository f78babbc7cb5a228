// Whether an X server offers an extension, for the tools and benchmarks that open their own
// connection beside the library's (the library asks its own connection the same).
#pragma once

#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>

namespace kx::tools {

inline bool serverOffers(xcb_connection_t *connection, const char *extension) {
    xcb_query_extension_reply_t *reply = xcb_query_extension_reply(
        connection, xcb_query_extension(connection, static_cast<uint16_t>(std::strlen(extension)), extension), nullptr);
    const bool present = reply && reply->present;
    std::free(reply);
    return present;
}

}  // namespace kx::tools
