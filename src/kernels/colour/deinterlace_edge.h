// The forms of the edge-directed deinterlace and the row walk that they share.
#pragma once

#include <cstdint>

#include "kestrix/px.h"

namespace px {

// Builds one output row from its upper and lower input rows; base is the one of them that is
// input row i, whose first and last samples are copied.
using DeinterlaceRow = void (*)(const uint8_t *upper, const uint8_t *lower, const uint8_t *base, uint8_t *dst,
                                int32_t width);

// The edge-directed rule for columns x0 to x1 - 1 (all within 1 to width - 2): each sample is the
// rounded mean of the most alike of the falling diagonal, the rising diagonal and the vertical.
void deinterlaceEdgeColumns(const uint8_t *upper, const uint8_t *lower, uint8_t *dst, int32_t x0, int32_t x1);

// A whole row by the plain rule.
void deinterlaceEdgeRow_ref(const uint8_t *upper, const uint8_t *lower, const uint8_t *base, uint8_t *dst,
                            int32_t width);

// The checks, the copied row and the choice of rows, common to every form. minHeight is 2 at
// level 0 and 1 at the others.
PxStatus deinterlaceEdgeRows(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size,
                             int32_t field, int32_t copyLine, int32_t minHeight, DeinterlaceRow row);

// Level 0, the reference.
PxStatus pxDeinterlaceEdge_ref(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size,
                               int32_t field, int32_t copyLine);
// Columns x0 to x1 - 1 of a row (x1 at most width - 1), 16 at a time and the rest by the plain rule.
// Compiled for SSSE3: forms of level 1 and above may call it.
void deinterlaceEdgeColumns_ssse3(const uint8_t *upper, const uint8_t *lower, uint8_t *dst, int32_t x0, int32_t x1);

// Levels 1 and 2 (SSSE3), 3 (SSE4.1) and 4 (AVX2): the same bytes, 16 or 32 columns at a time, and a
// height of 1 is accepted.
PxStatus pxDeinterlaceEdge_ssse3(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size,
                                 int32_t field, int32_t copyLine);
PxStatus pxDeinterlaceEdge_sse41(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size,
                                 int32_t field, int32_t copyLine);
PxStatus pxDeinterlaceEdge_avx2(const uint8_t *src, int32_t srcStep, uint8_t *dst, int32_t dstStep, PxSize size,
                                int32_t field, int32_t copyLine);

}  // namespace px
