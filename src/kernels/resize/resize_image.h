// Image functions of the resize engine: they walk the engine's tables and write the output.
// src points at the rectangle's first pixel; steps and offsets are in bytes.
#pragma once

#include <cstdint>

#include "kernels/resize/resize_engine.h"
#include "kestrix/px.h"

namespace px {

// Copies the source pixel that the tables name to every output pixel (three bytes each).
void pxNearestImage(const ResizeJob &job);

// Two-pass linear interpolation over a rolling pair of intermediate rows (bufferA, bufferB, each
// of 3 * dstW + 12 samples).
void pxLinearImage(const ResizeJob &job);

// Horizontal pass, three channels: out[3c+k] = (wr * q[k] + wl * p[k] + 128) >> 8, samples scaled by 64.
void pxLinearRowC3(const uint8_t *row, int32_t dstW, int32_t pixelStride, const int32_t *xIndex,
                   const uint16_t *xWeight, uint16_t *out);

// Vertical pass over count samples: (l * w + u * (16384 - w) + 524288) >> 20.
void pxLinearBlend(uint8_t *dst, int32_t count, int32_t weight, const uint16_t *upper, const uint16_t *lower);

// Vertical pass for three channels at a pixel stride of 4; the fourth byte keeps what it held.
void pxLinearBlendSkip(uint8_t *dst, int32_t dstW, int32_t weight, const uint16_t *upper, const uint16_t *lower);

// The two passes of linear interpolation as one level has them. A level may work out once per
// call how it gathers the columns (plan); its row pass gets that with every row.
using LinearRowPass = void (*)(const uint8_t *row, int32_t dstW, int32_t pixelStride, const int32_t *xIndex,
                               const uint16_t *xWeight, const void *plan, uint16_t *out);
using LinearBlendPass = void (*)(uint8_t *dst, int32_t count, int32_t weight, const uint16_t *upper,
                                 const uint16_t *lower);
// Two output rows of the same pair at once (enlarging), with their weights; null if a level has none.
using LinearBlendTwoPass = void (*)(uint8_t *first, uint8_t *second, int32_t count, int32_t firstWeight,
                                    int32_t secondWeight, const uint16_t *upper, const uint16_t *lower);
struct LinearPasses {
    LinearRowPass row;
    LinearBlendPass blend;
    const void *plan;
    LinearBlendTwoPass blendTwo = nullptr;
};

// The rolling pair of rows of pxLinearImage with a level's passes; every level walks alike.
void linearWalk(const LinearPasses &passes, const ResizeJob &job);

// Cubic interpolation over a ring of four intermediate rows of floats (the job's rows[0] to
// rows[3], each 3 * dstW + 12 floats).
void pxCubicImage(const ResizeJob &job);

// Horizontal cubic pass, three channels at pixelStride packed into out: the polynomial through the
// pixels one before to two after xIndex, at the column's fraction.
void pxCubicRow(const uint8_t *row, int32_t dstW, int32_t pixelStride, const int32_t *xIndex,
                const float *xFraction, float *out);

// Vertical cubic pass over count samples of the four rows in stencil order, dst written contiguously.
void pxCubicCombine(uint8_t *dst, int32_t count, float t, const float *r0, const float *r1, const float *r2,
                    const float *r3);

// The same for three channels at a pixel stride of 4: the fourth byte keeps what it held.
void cubicCombineSkip(uint8_t *dst, int32_t dstW, float t, const float *r0, const float *r1, const float *r2,
                      const float *r3);

// The two passes of cubic interpolation as one level has them. A level may work out once per call
// how it gathers the columns (plan); with one, its planned row pass takes the place of row.
struct CubicPasses {
    void (*row)(const uint8_t *row, int32_t dstW, int32_t pixelStride, const int32_t *xIndex, const float *xFraction,
                float *out);
    void (*combine)(uint8_t *dst, int32_t count, float t, const float *r0, const float *r1, const float *r2,
                    const float *r3);
    void (*planned)(const uint8_t *row, const void *plan, float *out) = nullptr;
    const void *plan = nullptr;
};

// The ring of four rows of pxCubicImage with a level's passes; every level walks alike.
void cubicWalk(const CubicPasses &passes, const ResizeJob &job);

// The three-lobed Lanczos kernel at steps of 0.01 from 0 to 3, and a 0 beyond.
extern const float pxLanczosKernel[302];

// Six weights per fraction, of the taps -2 to +3 around the entry, read from kernel and normalised
// to sum 1.
void pxResizeCoefficients(const float *fractions, int32_t count, float *coefficients, const float *kernel);

// Lanczos interpolation over a ring of six intermediate rows of floats (the job's rows[0] to
// rows[5], each 3 * dstW + 12 floats). colsLeft and rowsLeft count the image's columns and rows
// from the rectangle's origin; with rowsNotThinned the rows advance by at most one per output row.
void pxLanczosImage(const ResizeJob &job);

// Horizontal Lanczos pass, three channels at pixelStride packed into buffer; taps beyond the
// image's own left or right edge weigh on the edge pixel.
void pxLanczosRow(const uint8_t *row, int32_t pixelStride, const int32_t *xIndex, const float *xCoefficients,
                  float *buffer, int32_t dstW, int32_t rectX, int32_t colsLeft);

// Vertical Lanczos pass over count samples of the six rows, with the output row's six weights.
void pxLanczosCombine(uint8_t *dst, int32_t count, const float *coefficients, const float *const rows[6]);

// The same for three channels at a pixel stride of 4: the fourth byte keeps what it held.
void lanczosCombineSkip(uint8_t *dst, int32_t dstW, const float *coefficients, const float *const rows[6]);

// The two passes of Lanczos interpolation as one level has them.
struct LanczosPasses {
    void (*row)(const uint8_t *row, int32_t pixelStride, const int32_t *xIndex, const float *xCoefficients,
                float *buffer, int32_t dstW, int32_t rectX, int32_t colsLeft);
    void (*combine)(uint8_t *dst, int32_t count, const float *coefficients, const float *const rows[6]);
    // As for cubic: with a plan, the planned row pass takes the place of row.
    void (*planned)(const uint8_t *row, const void *plan, float *out) = nullptr;
    const void *plan = nullptr;
};

// The ring of six rows of pxLanczosImage with a level's passes; every level walks alike.
void lanczosWalk(const LanczosPasses &passes, const ResizeJob &job);

// Snaps a supersampling cell border that falls a hair short of a pixel border onto it, and is the
// least weight or ratio fraction that counts.
constexpr double kSuperSnap = 1e-7;

// The passes of supersampling over the line of accumulators (three per pixel, packed), as one
// level has them: 32-bit integers in SuperIntegral, floats otherwise.
struct SuperPasses {
    void (*addWhole)(uint32_t *line, const uint8_t *row, int32_t span, int32_t pixelStride);
    void (*add)(float *line, const uint8_t *row, int32_t span, int32_t pixelStride);
    void (*addWeighted)(float *line, const uint8_t *row, int32_t span, int32_t pixelStride, double weight);
    void (*collapseWhole)(uint32_t *line, int32_t span, int64_t blockX);
    void (*collapseWholeFloat)(float *line, int32_t span, int64_t blockX);
    void (*collapseFraction)(float *line, int32_t span, int64_t blockX, double invX);
    void (*storeWhole)(uint8_t *dst, const uint32_t *line, int32_t dstW, int32_t pixelStride, double area);
    void (*storeFloat)(uint8_t *dst, const float *line, int32_t dstW, int32_t pixelStride, double area);
    // SuperIntegral cells summed in registers with no line, or false for a job this form does not
    // take (null: none does); run once the line has been had, so memory fails as it does otherwise.
    bool (*integralCells)(const SuperJob &job);
};

// The plain passes. Full add: each element of span pixels added to its accumulator. Weighted add:
// the element times weight, formed in double and rounded to float, added.
void superAddRow(uint32_t *line, const uint8_t *row, int32_t span, int32_t pixelStride);
void superAddRow(float *line, const uint8_t *row, int32_t span, int32_t pixelStride);
void superAddRowWeighted(float *line, const uint8_t *row, int32_t span, int32_t pixelStride, double weight);
// Collapse in place into cells of blockX entries, or of invX entries with a carried fraction.
void superCollapseWhole(uint32_t *line, int32_t span, int64_t blockX);
void superCollapseWhole(float *line, int32_t span, int64_t blockX);
void superCollapseFraction(float *line, int32_t span, int64_t blockX, double invX);

// One cell of the collapse with a carried fraction: the entry head at headWeight (none if head is
// -1), then number whole entries from first, then the entry tail at tailWeight (none if -1), summed
// in that order into entry out.
struct SuperCell {
    int64_t out, head;
    double headWeight;
    int64_t first, number, tail;
    double tailWeight;
};
using SuperCellSum = void (*)(float *line, const SuperCell &cell);
// The walk of cells of invX entries with a fraction g carried from cell to cell; each level sums a
// cell its own way. The line has one zeroed entry beyond span, which a vanishing head can reach;
// entries further on are not read, and count as zero, which only a line shorter than one cell meets
// in cell 0. Each cell is summed before the next one's entries are read.
void superFractionCells(float *line, int32_t span, int64_t blockX, double invX, SuperCellSum sum);
// One cell times area, rounded half up: the low 8 bits.
uint8_t superStoreCell(double cell, double area);
// dstW pixels of cell times area, rounded half up, of which the low 8 bits are stored.
void superStore(uint8_t *dst, const uint32_t *line, int32_t dstW, int32_t pixelStride, double area);
void superStore(uint8_t *dst, const float *line, int32_t dstW, int32_t pixelStride, double area);

// superC3_ref with a level's passes. The line holds max(span, dstW) + 2 pixels of accumulators: the
// pixel past the larger of the two reads as zero, and the last one is the vector forms' spare lane.
PxStatus superEngine(const SuperPasses &passes, const SuperJob &job);

// The supersampling engine for 8-bit samples, three channels at pixelStride: every output pixel is
// the mean of the source cell of invX by invY pixels it covers, over one line of span accumulators.
// PxStsOk, or PxStsNoMem with nothing written.
PxStatus superC3_ref(const SuperJob &job);

}  // namespace px
