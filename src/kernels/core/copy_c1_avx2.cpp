#include <immintrin.h>

#include "kernels/core/copy_c1.h"

namespace px {
namespace {

// 32 bytes at a time, then one 16-byte block, then bytes; the last block of each size ends on the
// row's last byte where the row is long enough, so nothing past the width is touched.
void copyRow(const uint8_t *s, uint8_t *d, int32_t width) {
    if (width >= 32) {
        int32_t x = 0;
        for (; x + 32 <= width; x += 32)
            _mm256_storeu_si256(reinterpret_cast<__m256i *>(d + x),
                                _mm256_loadu_si256(reinterpret_cast<const __m256i *>(s + x)));
        if (x < width) {
            x = width - 32;
            _mm256_storeu_si256(reinterpret_cast<__m256i *>(d + x),
                                _mm256_loadu_si256(reinterpret_cast<const __m256i *>(s + x)));
        }
    } else if (width >= 16) {
        _mm_storeu_si128(reinterpret_cast<__m128i *>(d), _mm_loadu_si128(reinterpret_cast<const __m128i *>(s)));
        const int32_t x = width - 16;
        _mm_storeu_si128(reinterpret_cast<__m128i *>(d + x), _mm_loadu_si128(reinterpret_cast<const __m128i *>(s + x)));
    } else {
        for (int32_t x = 0; x < width; ++x) d[x] = s[x];
    }
}

}  // namespace

PxStatus pxCopyC1_avx2(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size) {
    const PxStatus status = copyC1Rows(copyRow, src, srcStep, dst, dstStep, size);
    // Leaves the upper halves clean for any SSE code that follows.
    _mm256_zeroupper();
    return status;
}

}  // namespace px
