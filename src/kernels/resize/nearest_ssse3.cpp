// Nearest resize for levels 1 and up: where the source pixels of five output pixels lie within
// sixteen bytes, one load and one byte shuffle make all fifteen output bytes. The shuffles are
// worked out once per call, as the columns are the same in every row. Every output byte is still
// a copy of the byte the table names, so the bytes are those of level 0.
#include <tmmintrin.h>

#include <cstring>

#include "kernels/resize/resize_forms.h"
#include "kernels/resize/planned_groups.h"
#include "kernels/resize/resize_image.h"

namespace px {
namespace {

constexpr int32_t kGroup = 5;  // output pixels per shuffle: fifteen bytes

// The gather of a row, the same for every row: for each group of five output pixels, the load
// offset and the byte shuffle, and the groups whose pixels one load does not hold listed apart, in
// order, with a last entry at the group count, so that the row runs straight through the others.
struct NearestPlan {
    int32_t groups;
    const __m128i *gathers;
    const int32_t *offsets;
    const int32_t *exceptions;
};

}  // namespace

void pxNearestImage_ssse3(const ResizeJob &job) {
    const int32_t dstW = job.dstW;
    const int32_t *xIndex = job.xIndex;
    // A store of sixteen bytes must end inside the output row, so the last group is left to the
    // plain form, as is any layout other than packed pixels.
    const int32_t groups = job.pixelStride == 3 ? (3 * dstW - 1) / (3 * kGroup) : 0;
    const auto g64 = static_cast<size_t>(groups);
    const size_t planBytes = g64 * sizeof(__m128i) + roundUp16(g64 * sizeof(int32_t)) + (g64 + 1) * sizeof(int32_t);
    auto *block = groups > 0 && planBytes <= INT32_MAX ? static_cast<uint8_t *>(pxAlloc(int32_t(planBytes))) : nullptr;
    if (!block) return pxNearestImage(job);
    auto *gathers = reinterpret_cast<__m128i *>(block);
    auto *offsets = reinterpret_cast<int32_t *>(gathers + groups);
    auto *exceptions = reinterpret_cast<int32_t *>(block + g64 * sizeof(__m128i) + roundUp16(g64 * sizeof(int32_t)));

    // Sixteen bytes from a group's first source pixel may be loaded where they end within the span
    // of bytes that the row's pixels cover anyway; the entries never fall.
    const int64_t end = int64_t{xIndex[dstW - 1]} + 3;
    int32_t exceptionCount = 0;
    for (int32_t g = 0; g < groups; ++g) {
        const int32_t c = kGroup * g;
        const int64_t base = xIndex[c];
        const bool shuffled = int64_t{xIndex[c + kGroup - 1]} - base + 3 <= 16 && base + 16 <= end;
        alignas(16) uint8_t gather[16];
        gather[15] = 0x80;
        for (int32_t j = 0; j < kGroup; ++j)
            for (int32_t k = 0; k < 3; ++k)
                gather[3 * j + k] = static_cast<uint8_t>(shuffled ? xIndex[c + j] - base + k : 0);
        gathers[g] = _mm_load_si128(reinterpret_cast<const __m128i *>(gather));
        offsets[g] = xIndex[c];
        if (!shuffled) exceptions[exceptionCount++] = g;
    }
    // Where most groups spread wider than a load (shrinking), the plain form's four-byte copies win.
    if (2 * exceptionCount > groups) {
        pxFree(block);
        return pxNearestImage(job);
    }
    exceptions[exceptionCount] = groups;
    const NearestPlan plan{groups, gathers, offsets, exceptions};

    const int32_t done = kGroup * groups;
    uint8_t *dst = job.dst;
    for (int32_t r = 0; r < job.dstH; ++r, dst += job.dstStep) {
        // A row with the same source row as the one before is gathered again, not copied as a block.
        const uint8_t *row = job.src + job.yIndex[r];
        // Held in restrict locals: the stores must not make the compiler reload the plan.
        const __m128i *__restrict gather = plan.gathers;
        const int32_t *__restrict offset = plan.offsets;
        uint8_t *__restrict out = dst;
        // The sixteenth byte stored is the next group's first, which that group writes again.
        const auto common = [&](int32_t g) {
            _mm_storeu_si128(reinterpret_cast<__m128i *>(out + 3 * kGroup * g),
                             _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i *>(row + offset[g])),
                                              gather[g]));
        };
        const auto listed = [&](int32_t g, int32_t) {
            for (int32_t j = 0; j < kGroup; ++j)
                std::memcpy(out + 3 * (kGroup * g + j), row + xIndex[kGroup * g + j], 3);
        };
        runPlannedGroups(exceptionCount, [&](int32_t e) { return plan.exceptions[e]; }, common, listed);
        for (int32_t c = done; c < dstW; ++c) std::memcpy(out + 3 * c, row + xIndex[c], 3);
    }
    pxFree(block);
}

}  // namespace px
