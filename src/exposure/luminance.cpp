// Mean luminance of a packed 24-bit image.
#include "exposure/luminance.h"

#include "kestrix.h"
#include "kestrix/px.h"

namespace kx {

uint8_t lumaOfPixel(const uint8_t *pixel) {
    // The weights are the system's own: 0.578 in the middle and 0.299 on the first byte (blue in a
    // DIB). The thresholds of the steppers are tuned to these values, so they stay as they are.
    const double y = (pixel[0] * 0.299 + pixel[1] * 0.578) + pixel[2] * 0.114;
    return static_cast<uint8_t>(static_cast<int32_t>(y));
}

uint32_t lumaSumPlain(const uint8_t *pixels, uint32_t count) {
    uint32_t sum = 0;  // wraps as the signed 32-bit sum does
    for (uint32_t i = 0; i < count; ++i, pixels += 3) sum += lumaOfPixel(pixels);
    return sum;
}

}  // namespace kx

extern "C" KX_API int32_t BmpGetYDc(const uint8_t *pixels, uint32_t byteCount) {
    // No whole pixel, no measure. A count that is not a multiple of 3 measures the whole pixels
    // and leaves the one or two bytes behind them unread.
    if (!pixels || byteCount < 3) return 0;
    const uint32_t count = byteCount / 3;
    // The vector form needs SSSE3, which every kernel level from 1 up has.
    const uint32_t sum = pxGetLevel() >= 1 ? kx::lumaSumSsse3(pixels, count) : kx::lumaSumPlain(pixels, count);
    return static_cast<int32_t>(sum) / static_cast<int32_t>(count);
}
