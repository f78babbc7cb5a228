// Level 4 of the 4:2:0 conversions: 16 blocks (32 pixels of each row) at a time, each 128-bit lane
// doing the work of the 16-pixel form on one half: the shuffles stay inside their lane, and the
// lanes are split at the loads and joined at the stores. What is left of a row after the last
// 16 goes to the 16-pixel form.
#include <immintrin.h>

#include "kernels/colour/yuv420.h"
#include "kernels/colour/yuv420_shuffles.h"

namespace px {
namespace {

__m128i load128(const uint8_t *p) { return _mm_loadu_si128(reinterpret_cast<const __m128i *>(p)); }
// 16 bytes at p in the low lane, 16 at p + 48 in the high lane: the same place in each half.
__m256i loadHalves(const uint8_t *p) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(load128(p)), load128(p + 48), 1);
}
void store(uint8_t *p, __m256i x) { _mm256_storeu_si256(reinterpret_cast<__m256i *>(p), x); }
void store128(uint8_t *p, __m128i x) { _mm_storeu_si128(reinterpret_cast<__m128i *>(p), x); }
__m256i mask(const ShuffleMask &m) {
    return _mm256_broadcastsi128_si256(load128(reinterpret_cast<const uint8_t *>(m.data())));
}

__m256i gather(const __m256i part[3], int channel) {
    const auto &m = kPackedToChannels[size_t(channel)];
    return _mm256_or_si256(
        _mm256_or_si256(_mm256_shuffle_epi8(part[0], mask(m[0])), _mm256_shuffle_epi8(part[1], mask(m[1]))),
        _mm256_shuffle_epi8(part[2], mask(m[2])));
}

void scatter(const __m256i channel[3], __m256i part[3]) {
    for (size_t p = 0; p < 3; ++p) {
        const auto &m = kEvenOddChannelsToPacked;
        part[p] = _mm256_or_si256(_mm256_or_si256(_mm256_shuffle_epi8(channel[0], mask(m[0][p])),
                                                  _mm256_shuffle_epi8(channel[1], mask(m[1][p]))),
                                  _mm256_shuffle_epi8(channel[2], mask(m[2][p])));
    }
}

struct RowLuma {
    __m256i even, odd;
};

// -(c << 7) of the even or the odd pixels times the negated constants, as the 16-pixel form does.
__m256i luma(const __m256i c[3], __m256i pick) {
    return _mm256_add_epi16(
        _mm256_add_epi16(_mm256_mulhrs_epi16(_mm256_maddubs_epi16(c[0], pick), _mm256_set1_epi16(-4899)),
                         _mm256_mulhrs_epi16(_mm256_maddubs_epi16(c[1], pick), _mm256_set1_epi16(-9617))),
        _mm256_mulhrs_epi16(_mm256_maddubs_epi16(c[2], pick), _mm256_set1_epi16(-1868)));
}

// Weights -128, 0 in each pair of bytes pick the even pixel; 0, -128 the odd one.
RowLuma rowLuma(const __m256i c[3]) {
    return {luma(c, _mm256_set1_epi16(0x0080)), luma(c, _mm256_set1_epi16(-0x8000))};
}

__m256i rowY(const RowLuma &l) {
    return _mm256_or_si256(_mm256_srli_epi16(l.even, 6),
                           _mm256_and_si256(_mm256_slli_epi16(l.odd, 2), _mm256_set1_epi16(-256)));
}

__m256i chroma(__m256i sum4, __m256i h, int16_t k) {
    const __m256i d = _mm256_sub_epi16(_mm256_slli_epi16(sum4, 5), h);
    return _mm256_add_epi16(_mm256_srai_epi16(_mm256_mulhrs_epi16(d, _mm256_set1_epi16(k)), 6),
                            _mm256_set1_epi16(128));
}

void sixteenBlocksToYuv(const uint8_t *src0, const uint8_t *src1, uint8_t *y0, uint8_t *y1, uint8_t *u,
                        uint8_t *v) {
    const __m256i row0[3] = {loadHalves(src0), loadHalves(src0 + 16), loadHalves(src0 + 32)};
    const __m256i row1[3] = {loadHalves(src1), loadHalves(src1 + 16), loadHalves(src1 + 32)};
    const __m256i c0[3] = {gather(row0, 0), gather(row0, 1), gather(row0, 2)};
    const __m256i c1[3] = {gather(row1, 0), gather(row1, 1), gather(row1, 2)};
    const RowLuma l0 = rowLuma(c0), l1 = rowLuma(c1);
    store(y0, rowY(l0));
    store(y1, rowY(l1));
    const __m256i h = _mm256_srli_epi16(
        _mm256_add_epi16(_mm256_add_epi16(l0.even, l0.odd), _mm256_add_epi16(l1.even, l1.odd)), 1);
    const __m256i ones = _mm256_set1_epi8(1);
    const __m256i sum0 = _mm256_add_epi16(_mm256_maddubs_epi16(c0[0], ones), _mm256_maddubs_epi16(c1[0], ones));
    const __m256i sum2 = _mm256_add_epi16(_mm256_maddubs_epi16(c0[2], ones), _mm256_maddubs_epi16(c1[2], ones));
    // Each lane packs U of its 8 blocks, then V; the permute puts the 16 U before the 16 V.
    const __m256i uv = _mm256_permute4x64_epi64(
        _mm256_packus_epi16(chroma(sum2, h, 8061), chroma(sum0, h, 14369)), _MM_SHUFFLE(3, 1, 2, 0));
    store128(u, _mm256_castsi256_si128(uv));
    store128(v, _mm256_extracti128_si256(uv, 1));
}

[[gnu::always_inline]] inline void rowToPacked(const uint8_t *y, __m256i t0, __m256i t1, __m256i t2, uint8_t *dst) {
    const __m256i luma = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(y));
    const __m256i even = _mm256_and_si256(luma, _mm256_set1_epi16(0x00FF));
    const __m256i odd = _mm256_srli_epi16(luma, 8);
    // (2Y + t) >> 1 with sign is Y + (t >> 1), as 2Y is even; the pack clamps.
    const auto channel = [&](__m256i halfTerm) {
        return _mm256_packus_epi16(_mm256_add_epi16(even, halfTerm), _mm256_add_epi16(odd, halfTerm));
    };
    const __m256i channels[3] = {channel(t0), channel(t1), channel(t2)};
    __m256i part[3];
    scatter(channels, part);
    // The low lanes hold the first 48 bytes, the high lanes the next 48.
    for (size_t p = 0; p < 3; ++p) {
        store128(dst + 16 * p, _mm256_castsi256_si128(part[p]));
        store128(dst + 48 + 16 * p, _mm256_extracti128_si256(part[p], 1));
    }
}

void sixteenBlocksToPacked(const uint8_t *y0, const uint8_t *y1, const uint8_t *u, const uint8_t *v,
                           uint8_t *dst0, uint8_t *dst1) {
    // Blocks 0 to 7 widen into the low lane and 8 to 15 into the high one, as the Y rows split.
    const __m256i bias = _mm256_set1_epi16(2048);
    const __m256i cu = _mm256_sub_epi16(_mm256_slli_epi16(_mm256_cvtepu8_epi16(load128(u)), 4), bias);
    const __m256i cv = _mm256_sub_epi16(_mm256_slli_epi16(_mm256_cvtepu8_epi16(load128(v)), 4), bias);
    const __m256i t0 = _mm256_mulhi_epi16(cv, _mm256_set1_epi16(9338));
    const __m256i t1 = _mm256_add_epi16(_mm256_mulhi_epi16(cu, _mm256_set1_epi16(-3227)),
                                        _mm256_mulhi_epi16(cv, _mm256_set1_epi16(-4759)));
    const __m256i t2 = _mm256_mulhi_epi16(cu, _mm256_set1_epi16(16645));
    const __m256i h0 = _mm256_srai_epi16(t0, 1), h1 = _mm256_srai_epi16(t1, 1), h2 = _mm256_srai_epi16(t2, 1);
    rowToPacked(y0, h0, h1, h2, dst0);
    rowToPacked(y1, h0, h1, h2, dst1);
}

void rgbToYuvRowPair(const uint8_t *src0, const uint8_t *src1, uint8_t *y0, uint8_t *y1, uint8_t *u, uint8_t *v,
                     int32_t blocks) {
    const int32_t vectorBlocks = vectorRuleBlocks(blocks);
    int32_t b = 0;
    for (; b + 16 <= vectorBlocks; b += 16)
        sixteenBlocksToYuv(src0 + 6 * b, src1 + 6 * b, y0 + 2 * b, y1 + 2 * b, u + b, v + b);
    rgbToYuv420Blocks_ssse3(src0, src1, y0, y1, u, v, b, blocks);
}

void yuvToRgbRowPair(const uint8_t *y0, const uint8_t *y1, const uint8_t *u, const uint8_t *v, uint8_t *dst0,
                     uint8_t *dst1, int32_t blocks) {
    int32_t b = 0;
    for (; b + 16 <= blocks; b += 16)
        sixteenBlocksToPacked(y0 + 2 * b, y1 + 2 * b, u + b, v + b, dst0 + 6 * b, dst1 + 6 * b);
    yuv420ToRgbBlocks_ssse3(y0, y1, u, v, dst0, dst1, b, blocks);
}

}  // namespace

PxStatus pxRgbToYuv420_avx2(const uint8_t *src, int32_t srcStep, uint8_t *const planes[3],
                            const int32_t planeSteps[3], PxSize size) {
    return rgbToYuv420Rows(src, srcStep, planes, planeSteps, size, rgbToYuvRowPair);
}

PxStatus pxYuv420ToRgb_avx2(const uint8_t *const planes[3], const int32_t planeSteps[3], uint8_t *dst,
                            int32_t dstStep, PxSize size) {
    return yuv420ToRgbRows(planes, planeSteps, dst, dstStep, size, yuvToRgbRowPair);
}

}  // namespace px
