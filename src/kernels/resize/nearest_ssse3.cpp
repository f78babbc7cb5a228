// Nearest resize for levels 1 and up: where the source pixels of five output pixels lie within
// sixteen bytes, one load and one byte shuffle make all fifteen output bytes. The shuffles are
// worked out once per call, as the columns are the same in every row. Every output byte is still
// a copy of the byte the table names, so the bytes are those of level 0.
#include <tmmintrin.h>

#include <cstring>

#include "kernels/resize/resize_forms.h"
#include "kernels/resize/resize_image.h"

namespace px {
namespace {

constexpr int32_t kGroup = 5;  // output pixels per shuffle: fifteen bytes

struct NearestGroup {
    __m128i gather;
    int32_t shuffled;  // 1 if one load holds the group's pixels, 0 if they are copied one by one
};

}  // namespace

void pxNearestImage_ssse3(const ResizeJob &job) {
    const int32_t dstW = job.dstW;
    const int32_t *xIndex = job.xIndex;
    // A store of sixteen bytes must end inside the output row, so the last group is left to the
    // plain form, as is any layout other than packed pixels.
    const int32_t groups = job.pixelStride == 3 ? (3 * dstW - 1) / (3 * kGroup) : 0;
    const int64_t planBytes = int64_t{groups} * int64_t{sizeof(NearestGroup)};
    auto *plan = groups > 0 && planBytes <= INT32_MAX
                     ? static_cast<NearestGroup *>(pxAlloc(static_cast<int32_t>(planBytes)))
                     : nullptr;
    if (!plan) return pxNearestImage(job);

    // Sixteen bytes from a group's first source pixel may be loaded where they end within the span
    // of bytes that the row's pixels cover anyway; the entries never fall.
    const int64_t end = int64_t{xIndex[dstW - 1]} + 3;
    for (int32_t g = 0; g < groups; ++g) {
        const int32_t c = kGroup * g;
        const int64_t base = xIndex[c];
        plan[g].shuffled = int64_t{xIndex[c + kGroup - 1]} - base + 3 <= 16 && base + 16 <= end;
        alignas(16) uint8_t gather[16];
        gather[15] = 0x80;
        for (int32_t j = 0; j < kGroup; ++j)
            for (int32_t k = 0; k < 3; ++k)
                gather[3 * j + k] = static_cast<uint8_t>(plan[g].shuffled ? xIndex[c + j] - base + k : 0);
        plan[g].gather = _mm_load_si128(reinterpret_cast<const __m128i *>(gather));
    }

    const int32_t done = kGroup * groups;
    uint8_t *dst = job.dst;
    for (int32_t r = 0; r < job.dstH; ++r) {
        // A row with the same source row as the one before is gathered again, not copied as a block.
        const uint8_t *row = job.src + job.yIndex[r];
        uint8_t *out = dst;
        for (int32_t g = 0; g < groups; ++g, out += 3 * kGroup) {
            const int32_t c = kGroup * g;
            if (plan[g].shuffled) {
                // The sixteenth byte stored is the next group's first, which that group writes again.
                const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(row + xIndex[c]));
                _mm_storeu_si128(reinterpret_cast<__m128i *>(out), _mm_shuffle_epi8(bytes, plan[g].gather));
            } else {
                for (int32_t j = 0; j < kGroup; ++j) std::memcpy(out + 3 * j, row + xIndex[c + j], 3);
            }
        }
        for (int32_t c = done; c < dstW; ++c, out += 3) std::memcpy(out, row + xIndex[c], 3);
        dst += job.dstStep;
    }
    pxFree(plan);
}

}  // namespace px
