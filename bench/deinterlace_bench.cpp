// pxDeinterlaceEdge over a luminance plane of each frame size at each level, with a memcpy of the
// same plane. No peer library has this edge-directed rule.
#include <cstdint>
#include <string>
#include <vector>

#include "bench_cases.h"
#include "kestrix/px.h"

namespace kx::bench {
namespace {

void deinterlaceEdge(benchmark::State &state, PxSize size) {
    const size_t planeBytes = size_t(size.width) * size.height;
    const std::vector<uint8_t> &src = randomBytes(planeBytes);
    std::vector<uint8_t> dst(planeBytes);
    timeCalls(state, planeBytes, [&] {
        // copyLine set: the row without a partner is copied, nothing outside the plane is read.
        benchmark::DoNotOptimize(pxDeinterlaceEdge(src.data(), size.width, dst.data(), size.width, size, 0, 1));
    });
}

[[maybe_unused]] const bool registered = [] {
    for (const PxSize size : kFrameSizes) {
        const std::string group = "deinterlace/" + sizeName(size);
        addLevels(group, [size](benchmark::State &state) { deinterlaceEdge(state, size); });
        addMemcpy(group, size_t(size.width) * size.height);
    }
    return true;
}();

}  // namespace
}  // namespace kx::bench
