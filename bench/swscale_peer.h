// FFmpeg's libswscale as a peer: one scaling or conversion context per case, made before the batch
// and freed after it, so that a batch times sws_scale alone. The contexts run on the calling
// thread, as Kestrix works.
#pragma once

#if defined(KX_BENCH_SWSCALE)

#include <cstdint>

extern "C" {
#include <libavutil/pixfmt.h>
#include <libswscale/swscale.h>
}

#include "bench_cases.h"

namespace kx::bench {

// Up to three planes with their row steps, as sws_scale takes them.
struct SwsImage {
    const uint8_t *planes[3] = {};
    int steps[3] = {};
};

// One call of sws_scale from `from` (its size and format) to `to` per iteration; outputBytes are
// what it writes.
inline void swscaleCalls(benchmark::State &state, PxSize fromSize, AVPixelFormat fromFormat, const SwsImage &from,
                         PxSize toSize, AVPixelFormat toFormat, const SwsImage &to, int flags, size_t outputBytes) {
    SwsContext *context = sws_getContext(fromSize.width, fromSize.height, fromFormat, toSize.width, toSize.height,
                                         toFormat, flags, nullptr, nullptr, nullptr);
    if (!context) {
        state.SkipWithError("sws_getContext refused the case");
        return;
    }
    uint8_t *const targets[3] = {const_cast<uint8_t *>(to.planes[0]), const_cast<uint8_t *>(to.planes[1]),
                                 const_cast<uint8_t *>(to.planes[2])};
    timeCalls(state, outputBytes, [&] {
        benchmark::DoNotOptimize(sws_scale(context, from.planes, from.steps, 0, fromSize.height, targets, to.steps));
    });
    sws_freeContext(context);
}

}  // namespace kx::bench

#endif
