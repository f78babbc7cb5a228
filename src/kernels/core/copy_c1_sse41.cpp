#include <smmintrin.h>

#include <cstdint>

#include "kernels/core/copy_c1.h"

namespace px {
namespace {

// Bytes up to the destination's next 16-byte boundary, then the body in runs of 64 bytes with
// aligned stores, then 16-byte blocks, then the last bytes one by one. Nothing past the width is
// read or written.
void copyRow(const uint8_t *s, uint8_t *d, int32_t width) {
    int32_t x = 0;
    const auto misalignment = static_cast<int32_t>(reinterpret_cast<uintptr_t>(d) & 15);
    const int32_t head = misalignment ? 16 - misalignment : 0;
    if (width < head + 16) {
        for (; x < width; ++x) d[x] = s[x];
        return;
    }
    for (; x < head; ++x) d[x] = s[x];
    for (; x + 64 <= width; x += 64) {
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i *>(s + x));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i *>(s + x + 16));
        const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i *>(s + x + 32));
        const __m128i e = _mm_loadu_si128(reinterpret_cast<const __m128i *>(s + x + 48));
        _mm_store_si128(reinterpret_cast<__m128i *>(d + x), a);
        _mm_store_si128(reinterpret_cast<__m128i *>(d + x + 16), b);
        _mm_store_si128(reinterpret_cast<__m128i *>(d + x + 32), c);
        _mm_store_si128(reinterpret_cast<__m128i *>(d + x + 48), e);
    }
    for (; x + 16 <= width; x += 16)
        _mm_store_si128(reinterpret_cast<__m128i *>(d + x), _mm_loadu_si128(reinterpret_cast<const __m128i *>(s + x)));
    for (; x < width; ++x) d[x] = s[x];
}

}  // namespace

PxStatus pxCopyC1_sse41(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size) {
    return copyC1Rows(copyRow, src, srcStep, dst, dstStep, size);
}

}  // namespace px
