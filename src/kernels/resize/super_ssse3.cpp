// Levels 1 to 3 of supersampling. Rows are added sixteen pixels at a time; cells are summed with
// a pixel's three channels in the lanes of one register, entry after entry, so every channel adds in
// the plain order and every mode gives the bytes of level 0. Products and the final scaling are
// formed in double lanes, as the plain passes form them.
#include <tmmintrin.h>

#include <algorithm>
#include <cmath>

#include "kernels/resize/resize_forms.h"
#include "kernels/resize/resize_image.h"

namespace px {
namespace {

// Pixels of a row taken in one step: 48 bytes, three loads.
constexpr int32_t kGroup = 16;

// The sixteen bytes as four registers of 32-bit integers, in order.
struct Widened {
    __m128i part[4];
};

inline Widened widen(__m128i bytes) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i low = _mm_unpacklo_epi8(bytes, zero), high = _mm_unpackhi_epi8(bytes, zero);
    return {{_mm_unpacklo_epi16(low, zero), _mm_unpackhi_epi16(low, zero), _mm_unpacklo_epi16(high, zero),
             _mm_unpackhi_epi16(high, zero)}};
}

inline __m128i loadBytes(const uint8_t *p) { return _mm_loadu_si128(reinterpret_cast<const __m128i *>(p)); }

// (float)((double)x * weight) in each lane.
inline __m128 scaled(__m128 x, __m128d weight) {
    const __m128 low = _mm_cvtpd_ps(_mm_mul_pd(_mm_cvtps_pd(x), weight));
    const __m128 high = _mm_cvtpd_ps(_mm_mul_pd(_mm_cvtps_pd(_mm_movehl_ps(x, x)), weight));
    return _mm_movelh_ps(low, high);
}

// A pixel's three accumulators; the fourth lane loaded with them is the next pixel's, or the line's
// spare entry, and is never stored.
inline __m128i entryOf(const uint32_t *line, int64_t e) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(line + 3 * e));
}
inline __m128 entryOf(const float *line, int64_t e) { return _mm_loadu_ps(line + 3 * e); }
inline void storeEntry(uint32_t *line, int64_t e, __m128i v) {
    _mm_storel_epi64(reinterpret_cast<__m128i *>(line + 3 * e), v);
    line[3 * e + 2] = static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_srli_si128(v, 8)));
}
inline void storeEntry(float *line, int64_t e, __m128 v) {
    _mm_storel_pi(reinterpret_cast<__m64 *>(line + 3 * e), v);
    _mm_store_ss(line + 3 * e + 2, _mm_movehl_ps(v, v));
}
inline __m128i plus(__m128i a, __m128i b) { return _mm_add_epi32(a, b); }
inline __m128 plus(__m128 a, __m128 b) { return _mm_add_ps(a, b); }

template <typename Accumulator> void collapseWhole(Accumulator *line, int32_t span, int64_t blockX) {
    // Cells of one entry are the entries themselves.
    if (blockX == 1 || span - blockX < 0) return;
    for (int64_t k = 0; k * blockX <= span - blockX; ++k) {
        auto sum = entryOf(line, k * blockX);
        for (int64_t j = 1; j < blockX; ++j) sum = plus(sum, entryOf(line, k * blockX + j));
        storeEntry(line, k, sum);  // behind every entry still to be read
    }
}

// Four cells of 32-bit accumulators as doubles, scaled and rounded half up; the low 8 bits of each.
inline __m128i roundCells(__m128d low, __m128d high, __m128d area) {
    const __m128d half = _mm_set1_pd(0.5);
    const __m128i a = _mm_cvttpd_epi32(_mm_add_pd(_mm_mul_pd(low, area), half));
    const __m128i b = _mm_cvttpd_epi32(_mm_add_pd(_mm_mul_pd(high, area), half));
    return _mm_and_si128(_mm_unpacklo_epi64(a, b), _mm_set1_epi32(0xFF));
}

inline __m128i roundCells(const float *cells, __m128d area) {
    const __m128 v = _mm_loadu_ps(cells);
    return roundCells(_mm_cvtps_pd(v), _mm_cvtps_pd(_mm_movehl_ps(v, v)), area);
}

// Unsigned 32-bit cells to double: with the top bit flipped they are signed, and 2^31 restores them.
inline __m128i roundCells(const uint32_t *cells, __m128d area) {
    const __m128i v = _mm_xor_si128(_mm_loadu_si128(reinterpret_cast<const __m128i *>(cells)),
                                    _mm_set1_epi32(INT32_MIN));
    const __m128d offset = _mm_set1_pd(2147483648.0);
    return roundCells(_mm_add_pd(_mm_cvtepi32_pd(v), offset), _mm_add_pd(_mm_cvtepi32_pd(_mm_srli_si128(v, 8)), offset),
                      area);
}

template <typename Accumulator>
void storeCells(uint8_t *dst, const Accumulator *line, int32_t dstW, int32_t pixelStride, double area) {
    int32_t p = 0;
    if (pixelStride == 3) {
        const __m128d scale = _mm_set1_pd(area);
        for (; p + kGroup <= dstW; p += kGroup)
            for (int32_t i = 3 * p; i < 3 * (p + kGroup); i += 16) {
                const __m128i words = _mm_packs_epi32(roundCells(line + i, scale), roundCells(line + i + 4, scale));
                const __m128i more = _mm_packs_epi32(roundCells(line + i + 8, scale), roundCells(line + i + 12, scale));
                _mm_storeu_si128(reinterpret_cast<__m128i *>(dst + i), _mm_packus_epi16(words, more));
            }
    }
    superStore(dst + int64_t{p} * pixelStride, line + 3 * p, dstW - p, pixelStride, area);
}

// Packed rows only: runs add over the row's whole groups of pixels, four elements at a time as
// 32-bit integers with the index of the first, and returns the pixels done.
template <typename Add> int32_t addGroups(const uint8_t *row, int32_t span, int32_t pixelStride, Add add) {
    if (pixelStride != 3) return 0;
    int32_t p = 0;
    for (; p + kGroup <= span; p += kGroup)
        for (int32_t i = 3 * p; i < 3 * (p + kGroup); i += 16) {
            const Widened w = widen(loadBytes(row + i));
            for (int k = 0; k < 4; ++k) add(i + 4 * k, w.part[k]);
        }
    return p;
}

}  // namespace

void superAddRow_ssse3(uint32_t *line, const uint8_t *row, int32_t span, int32_t pixelStride) {
    const int32_t p = addGroups(row, span, pixelStride, [&](int32_t i, __m128i e) {
        auto *at = reinterpret_cast<__m128i *>(line + i);
        _mm_storeu_si128(at, _mm_add_epi32(_mm_loadu_si128(at), e));
    });
    superAddRow(line + 3 * p, row + int64_t{p} * pixelStride, span - p, pixelStride);
}

void superAddRowFloat_ssse3(float *line, const uint8_t *row, int32_t span, int32_t pixelStride) {
    const int32_t p = addGroups(row, span, pixelStride, [&](int32_t i, __m128i e) {
        _mm_storeu_ps(line + i, _mm_add_ps(_mm_loadu_ps(line + i), _mm_cvtepi32_ps(e)));
    });
    superAddRow(line + 3 * p, row + int64_t{p} * pixelStride, span - p, pixelStride);
}

void superAddRowWeighted_ssse3(float *line, const uint8_t *row, int32_t span, int32_t pixelStride, double weight) {
    const __m128d w = _mm_set1_pd(weight);
    const int32_t p = addGroups(row, span, pixelStride, [&](int32_t i, __m128i e) {
        _mm_storeu_ps(line + i, _mm_add_ps(_mm_loadu_ps(line + i), scaled(_mm_cvtepi32_ps(e), w)));
    });
    superAddRowWeighted(line + 3 * p, row + int64_t{p} * pixelStride, span - p, pixelStride, weight);
}

void superCollapseWhole_ssse3(uint32_t *line, int32_t span, int64_t blockX) { collapseWhole(line, span, blockX); }
void superCollapseWholeFloat_ssse3(float *line, int32_t span, int64_t blockX) { collapseWhole(line, span, blockX); }

void superCollapseFraction_ssse3(float *line, int32_t span, int64_t blockX, double invX) {
    // The three channels of a cell side by side, added in the plain pass's order.
    superFractionCells(line, span, blockX, invX, [](float *entries, const SuperCell &cell) {
        __m128 sum = _mm_setzero_ps();
        if (cell.head >= 0) sum = scaled(entryOf(entries, cell.head), _mm_set1_pd(cell.headWeight));
        for (int64_t j = cell.first; j < cell.first + cell.number; ++j) sum = _mm_add_ps(sum, entryOf(entries, j));
        if (cell.tail >= 0) sum = _mm_add_ps(sum, scaled(entryOf(entries, cell.tail), _mm_set1_pd(cell.tailWeight)));
        storeEntry(entries, cell.out, sum);
    });
}

void superStore_ssse3(uint8_t *dst, const uint32_t *line, int32_t dstW, int32_t pixelStride, double area) {
    storeCells(dst, line, dstW, pixelStride, area);
}
void superStoreFloat_ssse3(uint8_t *dst, const float *line, int32_t dstW, int32_t pixelStride, double area) {
    storeCells(dst, line, dstW, pixelStride, area);
}

namespace {

// The multiply that scales a cell sum S to its byte, ((S + offset) * multiplier) >> 16, as the high
// half of an unsigned 16-bit product; found once per call and checked against the store rule for
// every sum up to largest.
struct CellScale {
    int32_t offset, multiplier;
};

bool findCellScale(int32_t largest, double area, CellScale *scale) {
    const auto centre = static_cast<int32_t>(area * 65536.0);
    const auto halfOffset = static_cast<int32_t>(0.5 / area);
    for (int32_t multiplier = std::max(centre - 4, 1); multiplier <= std::min(centre + 4, 65535); ++multiplier) {
        for (int32_t offset = std::max(halfOffset - 3, 0); offset <= halfOffset + 3; ++offset) {
            if (largest + offset > 65535) break;
            bool fits = true;
            for (int32_t sum = 0; fits && sum <= largest; ++sum)
                fits = ((sum + offset) * int64_t{multiplier}) >> 16 == superStoreCell(sum, area);
            if (fits) {
                *scale = {offset, multiplier};
                return true;
            }
        }
    }
    return false;
}

// A step is eight output pixels, 24 samples in three registers in output order. For each register,
// the bytes of its samples' taps lie within kLoads sixteen-byte loads from its first byte; a byte
// shuffle per load and pair of taps gathers (tap 2q, tap 2q + 1) pairs, a lone last tap with 0.
template <int32_t kBlockX>
struct CellSteps {
    static constexpr int32_t kLoads = kBlockX == 4 ? 3 : 2;
    static constexpr int32_t kPairs = (kBlockX + 1) / 2;
    int32_t first[3];      // the register's first byte, from the step's
    __m128i gather[3][kLoads][kPairs];
    int32_t reach;  // the bytes a step's loads read from its first byte

    CellSteps() {
        reach = 0;
        for (int32_t j = 0; j < 3; ++j) {
            first[j] = 3 * kBlockX * (8 * j / 3) + 8 * j % 3;
            reach = std::max(reach, first[j] + 16 * kLoads);
            for (int32_t l = 0; l < kLoads; ++l)
                for (int32_t q = 0; q < kPairs; ++q) {
                    alignas(16) uint8_t lanes[16];
                    for (int32_t b = 0; b < 16; ++b) {
                        const int32_t s = 8 * j + b / 2, t = 2 * q + b % 2;
                        const int32_t at = 3 * kBlockX * (s / 3) + 3 * t + s % 3 - first[j] - 16 * l;
                        lanes[b] = t < kBlockX && at >= 0 && at < 16 ? static_cast<uint8_t>(at) : 0x80;
                    }
                    gather[j][l][q] = _mm_load_si128(reinterpret_cast<const __m128i *>(lanes));
                }
        }
    }
};

template <int32_t kBlockX>
void integralCells(const SuperJob &job, int32_t blockY, CellScale scale) {
    const CellSteps<kBlockX> steps;
    const __m128i ones = _mm_set1_epi8(1);
    const __m128i offset = _mm_set1_epi16(static_cast<int16_t>(scale.offset));
    const __m128i multiplier = _mm_set1_epi16(static_cast<int16_t>(scale.multiplier));
    const int64_t rowBytes = 3 * int64_t{job.span};  // what the plain passes read of a row
    const auto cellSum = [&](const uint8_t *cell, int32_t k) {
        int32_t sum = 0;
        for (int32_t r = 0; r < blockY; ++r)
            for (int32_t t = 0; t < kBlockX; ++t) sum += cell[r * int64_t{job.srcStep} + 3 * t + k];
        return static_cast<uint8_t>(((sum + scale.offset) * int64_t{scale.multiplier}) >> 16);
    };
    for (int32_t y = 0; y < job.dstH; ++y) {
        const uint8_t *rows = job.src + int64_t{y} * blockY * job.srcStep;
        uint8_t *out = job.dst + int64_t{y} * job.dstStep;
        int32_t p = 0;
        for (; p + 8 <= job.dstW && 3 * kBlockX * int64_t{p} + steps.reach <= rowBytes; p += 8) {
            __m128i sums[3];
            for (int32_t j = 0; j < 3; ++j) {
                __m128i sum = _mm_setzero_si128();
                const uint8_t *at = rows + 3 * kBlockX * p + steps.first[j];
                for (int32_t r = 0; r < blockY; ++r, at += job.srcStep) {
                    __m128i loads[CellSteps<kBlockX>::kLoads];
                    for (int32_t l = 0; l < CellSteps<kBlockX>::kLoads; ++l) loads[l] = loadBytes(at + 16 * l);
                    for (int32_t q = 0; q < CellSteps<kBlockX>::kPairs; ++q) {
                        __m128i pairs = _mm_shuffle_epi8(loads[0], steps.gather[j][0][q]);
                        for (int32_t l = 1; l < CellSteps<kBlockX>::kLoads; ++l)
                            pairs = _mm_or_si128(pairs, _mm_shuffle_epi8(loads[l], steps.gather[j][l][q]));
                        sum = _mm_add_epi16(sum, _mm_maddubs_epi16(pairs, ones));
                    }
                }
                sums[j] = _mm_mulhi_epu16(_mm_add_epi16(sum, offset), multiplier);
            }
            _mm_storeu_si128(reinterpret_cast<__m128i *>(out + 3 * p), _mm_packus_epi16(sums[0], sums[1]));
            _mm_storel_epi64(reinterpret_cast<__m128i *>(out + 3 * p + 16), _mm_packus_epi16(sums[2], sums[2]));
        }
        // The pixels left, whose loads would pass the bytes the plain passes read.
        for (; p < job.dstW; ++p)
            for (int32_t k = 0; k < 3; ++k) out[3 * p + k] = cellSum(rows + 3 * kBlockX * int64_t{p}, k);
    }
}

}  // namespace

bool superIntegralCells_ssse3(const SuperJob &job) {
    const auto blockX = static_cast<int64_t>(std::floor(job.invX));
    const auto blockY = static_cast<int64_t>(std::floor(job.invY));
    // Every cell whole and inside the rows and the span, and every sum within 16 bits.
    if (job.pixelStride != 3 || blockX < 2 || blockX > 4 || blockY < 1 || blockX * blockY > 256 ||
        job.dstW * blockX > job.span || job.dstH * blockY > job.rowsLeft)
        return false;
    CellScale scale;
    if (!findCellScale(static_cast<int32_t>(255 * blockX * blockY), job.area, &scale)) return false;
    const auto rows = static_cast<int32_t>(blockY);
    if (blockX == 2) integralCells<2>(job, rows, scale);
    if (blockX == 3) integralCells<3>(job, rows, scale);
    if (blockX == 4) integralCells<4>(job, rows, scale);
    return true;
}

PxStatus superC3_ssse3(const SuperJob &job) {
    static constexpr SuperPasses kPasses = {
        superAddRow_ssse3,        superAddRowFloat_ssse3,        superAddRowWeighted_ssse3,
        superCollapseWhole_ssse3, superCollapseWholeFloat_ssse3, superCollapseFraction_ssse3,
        superStore_ssse3,         superStoreFloat_ssse3,         superIntegralCells_ssse3};
    return superEngine(kPasses, job);
}

}  // namespace px
