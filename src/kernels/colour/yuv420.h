// The forms of the 4:2:0 conversions and the walk over row pairs that they share.
#pragma once

#include <cstdint>

#include "kestrix/px.h"

namespace px {

// One pair of packed rows to one row of chroma and two rows of Y; blocks counts the 2x2 blocks.
using RgbToYuv420RowPair = void (*)(const uint8_t *src0, const uint8_t *src1, uint8_t *y0, uint8_t *y1, uint8_t *u,
                                    uint8_t *v, int32_t blocks);
// The mirror image: two rows of Y and one of chroma to two packed rows.
using Yuv420ToRgbRowPair = void (*)(const uint8_t *y0, const uint8_t *y1, const uint8_t *u, const uint8_t *v,
                                    uint8_t *dst0, uint8_t *dst1, int32_t blocks);

// The checks, the walk over the even rows and columns and the odd-size status, common to every
// form; a form brings only its row-pair arithmetic.
PxStatus rgbToYuv420Rows(const uint8_t *src, int32_t srcStep, uint8_t *const planes[3], const int32_t planeSteps[3],
                         PxSize size, RgbToYuv420RowPair rowPair);
PxStatus yuv420ToRgbRows(const uint8_t *const planes[3], const int32_t planeSteps[3], uint8_t *dst, int32_t dstStep,
                         PxSize size, Yuv420ToRgbRowPair rowPair);

// Level 0: 16.16 fixed point, the reference.
PxStatus pxRgbToYuv420_ref(const uint8_t *src, int32_t srcStep, uint8_t *const planes[3],
                           const int32_t planeSteps[3], PxSize size);
PxStatus pxYuv420ToRgb_ref(const uint8_t *const planes[3], const int32_t planeSteps[3], uint8_t *dst,
                           int32_t dstStep, PxSize size);

// Levels 1 to 4: the 15-bit fixed point of the vector forms, in plain code.
PxStatus pxRgbToYuv420_fixed15(const uint8_t *src, int32_t srcStep, uint8_t *const planes[3],
                               const int32_t planeSteps[3], PxSize size);
PxStatus pxYuv420ToRgb_fixed15(const uint8_t *const planes[3], const int32_t planeSteps[3], uint8_t *dst,
                               int32_t dstStep, PxSize size);

// How many of a row's blocks levels 1 to 4 take by the vector rule: groups of 8 while they last,
// then one group of 4. The rest, 0 to 3 blocks, go to the tail rule.
int32_t vectorRuleBlocks(int32_t blocks);
// Blocks first to blocks - 1 of a row pair by the tail rule.
void rgbToYuv420TailRule(const uint8_t *src0, const uint8_t *src1, uint8_t *y0, uint8_t *y1, uint8_t *u, uint8_t *v,
                         int32_t first, int32_t blocks);
// Blocks first to blocks - 1 of a row pair by the rule of levels 1 to 4, which is the same for
// every column.
void yuv420ToRgbFixed15(const uint8_t *y0, const uint8_t *y1, const uint8_t *u, const uint8_t *v, uint8_t *dst0,
                        uint8_t *dst1, int32_t first, int32_t blocks);

// Levels 1 to 3 and level 4: the same bytes as the plain forms above, 8 or 16 blocks at a time.
PxStatus pxRgbToYuv420_ssse3(const uint8_t *src, int32_t srcStep, uint8_t *const planes[3],
                             const int32_t planeSteps[3], PxSize size);
PxStatus pxYuv420ToRgb_ssse3(const uint8_t *const planes[3], const int32_t planeSteps[3], uint8_t *dst,
                             int32_t dstStep, PxSize size);
PxStatus pxRgbToYuv420_avx2(const uint8_t *src, int32_t srcStep, uint8_t *const planes[3],
                            const int32_t planeSteps[3], PxSize size);
PxStatus pxYuv420ToRgb_avx2(const uint8_t *const planes[3], const int32_t planeSteps[3], uint8_t *dst,
                            int32_t dstStep, PxSize size);
// Blocks first to blocks - 1 of a row pair, 8 at a time and the rest as the plain forms do them.
// Compiled for SSSE3: forms of level 1 and above may call them.
void rgbToYuv420Blocks_ssse3(const uint8_t *src0, const uint8_t *src1, uint8_t *y0, uint8_t *y1, uint8_t *u, uint8_t *v,
                             int32_t first, int32_t blocks);
void yuv420ToRgbBlocks_ssse3(const uint8_t *y0, const uint8_t *y1, const uint8_t *u, const uint8_t *v, uint8_t *dst0,
                             uint8_t *dst1, int32_t first, int32_t blocks);

}  // namespace px
