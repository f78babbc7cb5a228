// Levels 1 to 3 of the 4:2:0 conversions: 8 blocks (16 pixels of each row) at a time in 16-bit
// lanes. A register of one channel's 16 bytes, read as 8 words, holds the even pixels in its low
// bytes and the odd ones in its high bytes, so the two pixels of a block sit in the same lane of
// two registers and a block's sums need no horizontal adds. SSE4.1 adds nothing this needs.
#include <tmmintrin.h>

#include <cstring>

#include "kernels/colour/yuv420.h"
#include "kernels/colour/yuv420_shuffles.h"

namespace px {
namespace {

__m128i load(const uint8_t *p) { return _mm_loadu_si128(reinterpret_cast<const __m128i *>(p)); }
__m128i load8(const uint8_t *p) { return _mm_loadl_epi64(reinterpret_cast<const __m128i *>(p)); }
void store(uint8_t *p, __m128i x) { _mm_storeu_si128(reinterpret_cast<__m128i *>(p), x); }
void store8(uint8_t *p, __m128i x) { _mm_storel_epi64(reinterpret_cast<__m128i *>(p), x); }
void store4(uint8_t *p, __m128i x) {
    const int32_t word = _mm_cvtsi128_si32(x);
    std::memcpy(p, &word, 4);
}
__m128i mask(const ShuffleMask &m) { return load(reinterpret_cast<const uint8_t *>(m.data())); }

// One channel of 16 packed pixels from the three registers that hold their 48 bytes.
__m128i gather(const __m128i part[3], int channel) {
    const auto &m = kPackedToChannels[size_t(channel)];
    return _mm_or_si128(_mm_or_si128(_mm_shuffle_epi8(part[0], mask(m[0])), _mm_shuffle_epi8(part[1], mask(m[1]))),
                        _mm_shuffle_epi8(part[2], mask(m[2])));
}

// The three channel registers back to 48 packed bytes.
void scatter(const __m128i channel[3], __m128i part[3]) {
    for (size_t p = 0; p < 3; ++p) {
        const auto &m = kEvenOddChannelsToPacked;
        part[p] = _mm_or_si128(
            _mm_or_si128(_mm_shuffle_epi8(channel[0], mask(m[0][p])), _mm_shuffle_epi8(channel[1], mask(m[1][p]))),
            _mm_shuffle_epi8(channel[2], mask(m[2][p])));
    }
}

// Lane k of a row: L of pixel 2k (even) and of pixel 2k + 1 (odd), with six fractional bits.
struct RowLuma {
    __m128i even, odd;
};

// A channel's bytes widen to -(c << 7) by a multiply-add with -128 on one byte of each pair: the
// even pixels' bytes, or the odd ones'. R(-a, -k) is R(a, k), so the negated constants, 0.299,
// 0.587 and 0.114 in 14 bits, give each pixel's rounded products as they stand.
__m128i luma(const __m128i c[3], __m128i pick) {
    return _mm_add_epi16(_mm_add_epi16(_mm_mulhrs_epi16(_mm_maddubs_epi16(c[0], pick), _mm_set1_epi16(-4899)),
                                       _mm_mulhrs_epi16(_mm_maddubs_epi16(c[1], pick), _mm_set1_epi16(-9617))),
                         _mm_mulhrs_epi16(_mm_maddubs_epi16(c[2], pick), _mm_set1_epi16(-1868)));
}

// Weights -128, 0 in each pair of bytes pick the even pixel; 0, -128 the odd one.
RowLuma rowLuma(const __m128i c[3]) {
    return {luma(c, _mm_set1_epi16(0x0080)), luma(c, _mm_set1_epi16(-0x8000))};
}

// Y = L >> 6 back in pixel order. L is at most 16320, so Y never passes 255 and needs no clamp.
__m128i rowY(const RowLuma &l) {
    return _mm_or_si128(_mm_srli_epi16(l.even, 6), _mm_and_si128(_mm_slli_epi16(l.odd, 2), _mm_set1_epi16(-256)));
}

// 128 + (R(d, k) >> 6), clamped by the pack that follows.
__m128i chroma(__m128i sum4, __m128i h, int16_t k) {
    const __m128i d = _mm_sub_epi16(_mm_slli_epi16(sum4, 5), h);
    return _mm_add_epi16(_mm_srai_epi16(_mm_mulhrs_epi16(d, _mm_set1_epi16(k)), 6), _mm_set1_epi16(128));
}

// The results of 8 blocks: Y of each row, and U in the low 8 bytes of uv, V in the high 8.
struct Blocks {
    __m128i y0, y1, uv;
};

// Each row's 48 bytes as three registers; pixels past a group of 4 may hold anything.
[[gnu::always_inline]] inline Blocks rgbToYuv(const __m128i row0[3], const __m128i row1[3]) {
    const __m128i c0[3] = {gather(row0, 0), gather(row0, 1), gather(row0, 2)};
    const __m128i c1[3] = {gather(row1, 0), gather(row1, 1), gather(row1, 2)};
    const RowLuma l0 = rowLuma(c0), l1 = rowLuma(c1);
    // The four L of a block can pass 32767: add as unsigned words and halve by a logical shift.
    const __m128i h =
        _mm_srli_epi16(_mm_add_epi16(_mm_add_epi16(l0.even, l0.odd), _mm_add_epi16(l1.even, l1.odd)), 1);
    // A block's two bytes in a row are neighbours: one multiply-add by ones sums them.
    const __m128i ones = _mm_set1_epi8(1);
    const __m128i sum0 = _mm_add_epi16(_mm_maddubs_epi16(c0[0], ones), _mm_maddubs_epi16(c1[0], ones));
    const __m128i sum2 = _mm_add_epi16(_mm_maddubs_epi16(c0[2], ones), _mm_maddubs_epi16(c1[2], ones));
    // 8061 and 14369 are 0.492 / 2 and 0.877 / 2 in 15 bits.
    return {rowY(l0), rowY(l1), _mm_packus_epi16(chroma(sum2, h, 8061), chroma(sum0, h, 14369))};
}

void eightBlocksToYuv(const uint8_t *src0, const uint8_t *src1, uint8_t *y0, uint8_t *y1, uint8_t *u, uint8_t *v) {
    const __m128i row0[3] = {load(src0), load(src0 + 16), load(src0 + 32)};
    const __m128i row1[3] = {load(src1), load(src1 + 16), load(src1 + 32)};
    const Blocks out = rgbToYuv(row0, row1);
    store(y0, out.y0);
    store(y1, out.y1);
    store8(u, out.uv);
    store8(v, _mm_unpackhi_epi64(out.uv, out.uv));
}

// The group of 4 reads its 24 bytes a row as 16 and 8, and writes half of what a group of 8 does.
void fourBlocksToYuv(const uint8_t *src0, const uint8_t *src1, uint8_t *y0, uint8_t *y1, uint8_t *u, uint8_t *v) {
    const __m128i row0[3] = {load(src0), load8(src0 + 16), _mm_setzero_si128()};
    const __m128i row1[3] = {load(src1), load8(src1 + 16), _mm_setzero_si128()};
    const Blocks out = rgbToYuv(row0, row1);
    store8(y0, out.y0);
    store8(y1, out.y1);
    store4(u, out.uv);
    store4(v, _mm_unpackhi_epi64(out.uv, out.uv));
}

// One row of 16 pixels from its Y bytes and the halved chroma terms of its 8 blocks, each term the
// sum of its multiply-highs shifted right by 1.
[[gnu::always_inline]] inline void rowToPacked(const uint8_t *y, __m128i t0, __m128i t1, __m128i t2, uint8_t *dst) {
    const __m128i luma = load(y);
    const __m128i even = _mm_and_si128(luma, _mm_set1_epi16(0x00FF));
    const __m128i odd = _mm_srli_epi16(luma, 8);
    // (2Y + t) >> 1 with sign is Y + (t >> 1), as 2Y is even; the pack clamps.
    const auto channel = [&](__m128i halfTerm) {
        return _mm_packus_epi16(_mm_add_epi16(even, halfTerm), _mm_add_epi16(odd, halfTerm));
    };
    const __m128i channels[3] = {channel(t0), channel(t1), channel(t2)};
    __m128i part[3];
    scatter(channels, part);
    store(dst, part[0]);
    store(dst + 16, part[1]);
    store(dst + 32, part[2]);
}

void eightBlocksToPacked(const uint8_t *y0, const uint8_t *y1, const uint8_t *u, const uint8_t *v, uint8_t *dst0,
                         uint8_t *dst1) {
    // 16 * (U - 128) and 16 * (V - 128).
    const __m128i zero = _mm_setzero_si128(), bias = _mm_set1_epi16(2048);
    const __m128i cu = _mm_sub_epi16(_mm_slli_epi16(_mm_unpacklo_epi8(load8(u), zero), 4), bias);
    const __m128i cv = _mm_sub_epi16(_mm_slli_epi16(_mm_unpacklo_epi8(load8(v), zero), 4), bias);
    // 9338, 3227, 4759 and 16645 are 1.140, 0.394, 0.581 and 2.032 in 13 bits.
    const __m128i t0 = _mm_mulhi_epi16(cv, _mm_set1_epi16(9338));
    const __m128i t1 =
        _mm_add_epi16(_mm_mulhi_epi16(cu, _mm_set1_epi16(-3227)), _mm_mulhi_epi16(cv, _mm_set1_epi16(-4759)));
    const __m128i t2 = _mm_mulhi_epi16(cu, _mm_set1_epi16(16645));
    const __m128i h0 = _mm_srai_epi16(t0, 1), h1 = _mm_srai_epi16(t1, 1), h2 = _mm_srai_epi16(t2, 1);
    rowToPacked(y0, h0, h1, h2, dst0);
    rowToPacked(y1, h0, h1, h2, dst1);
}

void rgbToYuvRowPair(const uint8_t *src0, const uint8_t *src1, uint8_t *y0, uint8_t *y1, uint8_t *u, uint8_t *v,
                     int32_t blocks) {
    rgbToYuv420Blocks_ssse3(src0, src1, y0, y1, u, v, 0, blocks);
}

void yuvToRgbRowPair(const uint8_t *y0, const uint8_t *y1, const uint8_t *u, const uint8_t *v, uint8_t *dst0,
                     uint8_t *dst1, int32_t blocks) {
    yuv420ToRgbBlocks_ssse3(y0, y1, u, v, dst0, dst1, 0, blocks);
}

}  // namespace

void rgbToYuv420Blocks_ssse3(const uint8_t *src0, const uint8_t *src1, uint8_t *y0, uint8_t *y1, uint8_t *u, uint8_t *v,
                             int32_t first, int32_t blocks) {
    // first is a multiple of 8, so what is left of the vector part is groups of 8 and perhaps one of 4.
    const int32_t vectorBlocks = vectorRuleBlocks(blocks);
    int32_t b = first;
    for (; b + 8 <= vectorBlocks; b += 8)
        eightBlocksToYuv(src0 + 6 * b, src1 + 6 * b, y0 + 2 * b, y1 + 2 * b, u + b, v + b);
    if (b < vectorBlocks) fourBlocksToYuv(src0 + 6 * b, src1 + 6 * b, y0 + 2 * b, y1 + 2 * b, u + b, v + b);
    rgbToYuv420TailRule(src0, src1, y0, y1, u, v, vectorBlocks, blocks);
}

void yuv420ToRgbBlocks_ssse3(const uint8_t *y0, const uint8_t *y1, const uint8_t *u, const uint8_t *v, uint8_t *dst0,
                             uint8_t *dst1, int32_t first, int32_t blocks) {
    int32_t b = first;
    for (; b + 8 <= blocks; b += 8)
        eightBlocksToPacked(y0 + 2 * b, y1 + 2 * b, u + b, v + b, dst0 + 6 * b, dst1 + 6 * b);
    yuv420ToRgbFixed15(y0, y1, u, v, dst0, dst1, b, blocks);
}

PxStatus pxRgbToYuv420_ssse3(const uint8_t *src, int32_t srcStep, uint8_t *const planes[3],
                             const int32_t planeSteps[3], PxSize size) {
    return rgbToYuv420Rows(src, srcStep, planes, planeSteps, size, rgbToYuvRowPair);
}

PxStatus pxYuv420ToRgb_ssse3(const uint8_t *const planes[3], const int32_t planeSteps[3], uint8_t *dst,
                             int32_t dstStep, PxSize size) {
    return yuv420ToRgbRows(planes, planeSteps, dst, dstStep, size, yuvToRgbRowPair);
}

}  // namespace px
