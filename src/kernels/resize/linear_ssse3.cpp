// Levels 1 to 3 of linear interpolation: both passes as 16-bit multiply-adds of interleaved samples
// and weights. Weights (at most 16384) and samples (at most 16320) fit signed 16-bit lanes and
// their pair sums fit 32 bits, so every level adds the same constants, shifts by the same amounts
// and gives the bytes of level 0.
#include <tmmintrin.h>

#include "kernels/resize/resize_forms.h"
#include "kernels/resize/resize_image.h"

namespace px {

namespace {

// A group of four columns whose pixels all lie in sixteen bytes from the first column's left pixel
// is gathered by three byte shuffles of one load; the shuffles and the weights that match them are
// worked out once per call.
struct ShuffleGroup {
    __m128i gather[3];
    __m128i weights[3];
};

}  // namespace

int32_t linearPlanBytes_ssse3(int32_t dstW) {
    const int64_t bytes = int64_t{dstW / 4} * int64_t{sizeof(ShuffleGroup) + sizeof(int32_t)};
    return bytes > INT32_MAX ? 0 : static_cast<int32_t>(bytes);  // 0: no plan, the allocation is refused
}

void linearMakePlan_ssse3(const int32_t *xIndex, const uint16_t *xWeight, int32_t dstW, int32_t pixelStride,
                          void *plan) {
    const int32_t groups = dstW / 4;
    auto *shuffles = static_cast<ShuffleGroup *>(plan);
    auto *kinds = reinterpret_cast<int32_t *>(shuffles + groups);
    const int64_t end = int64_t{xIndex[dstW - 1]} + pixelStride + 3;
    for (int32_t g = 0; g < groups; ++g) {
        const int32_t c = 4 * g;
        const int64_t base = xIndex[c];
        const bool fits = pixelStride >= 1 && int64_t{xIndex[c + 3]} - base + pixelStride + 2 < 16 && base + 16 <= end;
        kinds[g] = fits ? 1 : 0;
        if (!fits) continue;
        alignas(16) uint8_t gather[3][16];
        alignas(16) uint16_t weights[3][8];
        for (int32_t t = 0; t < 12; ++t) {  // pair t: column t / 3, channel t % 3
            const int32_t j = t / 3, k = t % 3;
            const auto left = static_cast<uint8_t>(xIndex[c + j] - base + k);
            uint8_t *lane = &gather[t / 4][4 * (t % 4)];
            lane[0] = left;
            lane[1] = 0x80;  // zero high byte
            lane[2] = static_cast<uint8_t>(left + pixelStride);
            lane[3] = 0x80;
            weights[t / 4][2 * (t % 4)] = xWeight[2 * (c + j)];
            weights[t / 4][2 * (t % 4) + 1] = xWeight[2 * (c + j) + 1];
        }
        for (int r = 0; r < 3; ++r) {
            shuffles[g].gather[r] = _mm_load_si128(reinterpret_cast<const __m128i *>(gather[r]));
            shuffles[g].weights[r] = _mm_load_si128(reinterpret_cast<const __m128i *>(weights[r]));
        }
    }
}

namespace {

// The row pass reads every byte from the first column's left pixel to the last column's right
// pixel; the entries never fall. A column whose eight bytes end inside that span can be loaded
// whole, which holds for all columns but the last one or two.
int32_t wideColumns(const int32_t *xIndex, int32_t dstW, int32_t pixelStride) {
    if (pixelStride < 1 || pixelStride > 5) return 0;  // the right pixel would not lie in eight bytes
    const int64_t end = int64_t{xIndex[dstW - 1]} + pixelStride + 3;
    int32_t wide = dstW;
    while (wide > 0 && int64_t{xIndex[wide - 1]} + 8 > end) --wide;
    return wide;
}

// Twelve results of three multiply-adds, rounded, stored as twelve 16-bit samples.
inline void storeTwelve(uint16_t *out, __m128i sum0, __m128i sum1, __m128i sum2) {
    const __m128i half = _mm_set1_epi32(128);
    const __m128i r0 = _mm_srli_epi32(_mm_add_epi32(sum0, half), 8);
    const __m128i r1 = _mm_srli_epi32(_mm_add_epi32(sum1, half), 8);
    const __m128i r2 = _mm_srli_epi32(_mm_add_epi32(sum2, half), 8);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(out), _mm_packs_epi32(r0, r1));
    _mm_storel_epi64(reinterpret_cast<__m128i *>(out + 8), _mm_packs_epi32(r2, r2));
}

}  // namespace

void pxLinearRowC3_ssse3(const uint8_t *row, int32_t dstW, int32_t pixelStride, const int32_t *xIndex,
                         const uint16_t *xWeight, const void *plan, uint16_t *out) {
    const int32_t groups = dstW / 4;
    const auto *shuffles = static_cast<const ShuffleGroup *>(plan);
    const int32_t *kinds = plan ? reinterpret_cast<const int32_t *>(shuffles + groups) : nullptr;
    const int32_t wide = wideColumns(xIndex, dstW, pixelStride);
    // Otherwise four columns a, b, c, d give twelve (left, right) pairs of 16-bit samples, channel
    // by channel, in three registers: a0 a1 a2 b0 | b1 b2 c0 c1 | c2 d0 d1 d2. a and b come from one
    // register of their two eight-byte loads, c and d from another; -1 zeroes a lane's high byte.
    const auto s = static_cast<char>(pixelStride);
    const __m128i firstOfAb = _mm_setr_epi8(0, -1, s, -1, 1, -1, char(s + 1), -1, 2, -1, char(s + 2), -1, 8, -1,
                                            char(s + 8), -1);
    const __m128i secondOfAb = _mm_setr_epi8(9, -1, char(s + 9), -1, 10, -1, char(s + 10), -1, -1, -1, -1, -1, -1,
                                             -1, -1, -1);
    const __m128i secondOfCd = _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, 0, -1, s, -1, 1, -1, char(s + 1), -1);
    const __m128i thirdOfCd = _mm_setr_epi8(2, -1, char(s + 2), -1, 8, -1, char(s + 8), -1, 9, -1, char(s + 9), -1,
                                            10, -1, char(s + 10), -1);
    int32_t c = 0;
    for (int32_t g = 0; g < groups; ++g, c += 4) {
        if (kinds && kinds[g]) {
            const ShuffleGroup &group = shuffles[g];
            const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(row + xIndex[c]));
            storeTwelve(out + 3 * c, _mm_madd_epi16(_mm_shuffle_epi8(bytes, group.gather[0]), group.weights[0]),
                        _mm_madd_epi16(_mm_shuffle_epi8(bytes, group.gather[1]), group.weights[1]),
                        _mm_madd_epi16(_mm_shuffle_epi8(bytes, group.gather[2]), group.weights[2]));
            continue;
        }
        if (c + 4 > wide) break;
        const auto load8 = [&](int32_t k) {
            return _mm_loadl_epi64(reinterpret_cast<const __m128i *>(row + xIndex[c + k]));
        };
        const __m128i ab = _mm_unpacklo_epi64(load8(0), load8(1));
        const __m128i cd = _mm_unpacklo_epi64(load8(2), load8(3));
        // (left, right) weight pairs of the four columns, one per 32-bit lane.
        const __m128i w = _mm_loadu_si128(reinterpret_cast<const __m128i *>(xWeight + 2 * c));
        storeTwelve(out + 3 * c, _mm_madd_epi16(_mm_shuffle_epi8(ab, firstOfAb), _mm_shuffle_epi32(w, 0x40)),
                    _mm_madd_epi16(_mm_or_si128(_mm_shuffle_epi8(ab, secondOfAb), _mm_shuffle_epi8(cd, secondOfCd)),
                                   _mm_shuffle_epi32(w, 0xA5)),
                    _mm_madd_epi16(_mm_shuffle_epi8(cd, thirdOfCd), _mm_shuffle_epi32(w, 0xFE)));
    }
    if (c < dstW) pxLinearRowC3(row, dstW - c, pixelStride, xIndex + c, xWeight + 2 * c, out + 3 * c);
}

namespace {

// Eight samples: (u * (16384 - w) + l * w + 524288) >> 20, in 32-bit lanes, packed back to 16 bits.
inline __m128i blendEight(const uint16_t *upper, const uint16_t *lower, __m128i weights, __m128i half) {
    const __m128i u = _mm_loadu_si128(reinterpret_cast<const __m128i *>(upper));
    const __m128i l = _mm_loadu_si128(reinterpret_cast<const __m128i *>(lower));
    const __m128i low = _mm_srai_epi32(_mm_add_epi32(_mm_madd_epi16(_mm_unpacklo_epi16(u, l), weights), half), 20);
    const __m128i high = _mm_srai_epi32(_mm_add_epi32(_mm_madd_epi16(_mm_unpackhi_epi16(u, l), weights), half), 20);
    return _mm_packs_epi32(low, high);
}

}  // namespace

void pxLinearBlend_ssse3(uint8_t *dst, int32_t count, int32_t weight, const uint16_t *upper, const uint16_t *lower) {
    // (16384 - w, w) in every 32-bit lane, against (upper, lower) pairs.
    const __m128i weights = _mm_set1_epi32(static_cast<int32_t>((static_cast<uint32_t>(weight) << 16) |
                                                                static_cast<uint32_t>(16384 - weight)));
    const __m128i half = _mm_set1_epi32(524288);
    int32_t i = 0;
    for (; i + 32 <= count; i += 32) {
        const __m128i a = _mm_packus_epi16(blendEight(upper + i, lower + i, weights, half),
                                           blendEight(upper + i + 8, lower + i + 8, weights, half));
        const __m128i b = _mm_packus_epi16(blendEight(upper + i + 16, lower + i + 16, weights, half),
                                           blendEight(upper + i + 24, lower + i + 24, weights, half));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(dst + i), a);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(dst + i + 16), b);
    }
    for (; i + 8 <= count; i += 8) {
        const __m128i a = blendEight(upper + i, lower + i, weights, half);
        _mm_storel_epi64(reinterpret_cast<__m128i *>(dst + i), _mm_packus_epi16(a, a));
    }
    if (i < count) pxLinearBlend(dst + i, count - i, weight, upper + i, lower + i);
}

void linearImageWithPlan_ssse3(LinearRowPass row, LinearBlendPass blend, const ResizeJob &job) {
    // Without memory for the plan every group is gathered column by column: slower, same bytes.
    void *plan = job.dstW >= 4 ? pxAlloc(linearPlanBytes_ssse3(job.dstW)) : nullptr;
    if (plan) linearMakePlan_ssse3(job.xIndex, job.xWeight, job.dstW, job.pixelStride, plan);
    linearWalk({row, blend, plan}, job);
    pxFree(plan);
}

void pxLinearImage_ssse3(const ResizeJob &job) {
    linearImageWithPlan_ssse3(pxLinearRowC3_ssse3, pxLinearBlend_ssse3, job);
}

}  // namespace px
