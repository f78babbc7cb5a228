#include <tmmintrin.h>

#include "kernels/core/copy_c1.h"

namespace px {
namespace {

// 16 bytes at a time with unaligned loads and stores; the last block of a row ends on the row's
// last byte, overlapping the one before, so nothing past the width is touched.
void copyRow(const uint8_t *s, uint8_t *d, int32_t width) {
    if (width < 16) {
        for (int32_t x = 0; x < width; ++x) d[x] = s[x];
        return;
    }
    int32_t x = 0;
    for (; x + 16 <= width; x += 16)
        _mm_storeu_si128(reinterpret_cast<__m128i *>(d + x), _mm_loadu_si128(reinterpret_cast<const __m128i *>(s + x)));
    if (x < width) {
        x = width - 16;
        _mm_storeu_si128(reinterpret_cast<__m128i *>(d + x), _mm_loadu_si128(reinterpret_cast<const __m128i *>(s + x)));
    }
}

}  // namespace

PxStatus pxCopyC1_ssse3(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size) {
    return copyC1Rows(copyRow, src, srcStep, dst, dstStep, size);
}

}  // namespace px
