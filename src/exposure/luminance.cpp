// Mean luminance of a packed 24-bit image.
#include "kernels/colour/luma_sum.h"
#include "kestrix.h"

extern "C" KX_API int32_t BmpGetYDc(const uint8_t *pixels, uint32_t byteCount) {
    // No whole pixel, no measure. A count that is not a multiple of 3 measures the whole pixels
    // and leaves the one or two bytes behind them unread.
    if (!pixels || byteCount < 3) return 0;
    const uint32_t count = byteCount / 3;
    return static_cast<int32_t>(px::lumaSum(pixels, count)) / static_cast<int32_t>(count);
}
