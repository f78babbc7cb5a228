// The one list of kernel cases: each pixel kernel with the parameters worth trying. The level
// harness runs every case over its sweep of small geometries, bench/ times the cases that name
// frames on those frames, and kestrix-levels sets the same cases' levels side by side on an image.
// Each user decides where the buffers live and what they first hold; a case says how large they
// are, shapes its inputs where it needs values of a kind, and makes the call.
//
// Calls go through the public kernel API, so a user linked to the shared library reports its forms.
// What the API lacks (the luminance sum, the fixed-point rules of the conversions) a user hands in.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "kestrix/px.h"

namespace kx::cases {

// What a case runs on: a width and height in pixels (of the source, for resize; of the region
// written, for the filters), and the bytes between rows beyond the row's own. A frame scaled to a
// window names the window in `to`; a resize case then scales to it instead of by its factors.
struct Geometry {
    int32_t width = 0, height = 0;
    int32_t pad = 0;
    PxSize to{0, 0};
};

// One buffer of rows: `rowBytes` bytes each, `step` apart, ending with the last row's last byte.
struct Block {
    uint8_t *data = nullptr;
    int32_t step = 0;
    size_t size = 0;
};

// Where a case's buffers come from. The user places them (between guarded pages, in vectors) and
// fills them: inputs with its content (random bytes, an image's rows), outputs with a sentinel.
// Blocks live as long as the source.
class BlockSource {
public:
    virtual Block input(int32_t rowBytes, int32_t rows, int32_t step) = 0;
    virtual Block output(int32_t rowBytes, int32_t rows, int32_t step) = 0;

protected:
    ~BlockSource() = default;
};

// Bytes a block of rows takes: every row but the last a whole step.
size_t blockBytes(int32_t rowBytes, int32_t rows, int32_t step);

using RgbToYuv420 = PxStatus (*)(const uint8_t *, int32_t, uint8_t *const[3], const int32_t[3], PxSize);
using Yuv420ToRgb = PxStatus (*)(const uint8_t *const[3], const int32_t[3], uint8_t *, int32_t, PxSize);
using LumaSum = uint32_t (*)(const uint8_t *bgr, uint32_t pixels);

// The functions the cases call where the public API is not the whole story. Without a luminance
// sum its cases cannot run.
struct Entries {
    RgbToYuv420 rgbToYuv420 = pxRgbToYuv420;
    Yuv420ToRgb yuv420ToRgb = pxYuv420ToRgb;
    LumaSum lumaSum = nullptr;
};

// A case made ready on its blocks: the call, and the blocks it writes in order.
struct Prepared {
    std::function<PxStatus()> call;  // empty: the entries lack what the case calls
    std::vector<Block> outputs;
    // The bytes one call writes, or for a sum the bytes it reads: the rate's bytes, and what the
    // memcpy it is set beside copies.
    size_t yardstickBytes = 0;
};

// Every byte of a prepared case's output blocks, in order.
std::vector<uint8_t> outputBytes(const Prepared &prepared);

struct KernelCase {
    std::string name;    // unique: "linear enlarge"
    const char *call;    // the kernel API it calls: "pxResizeC3"
    const char *family;  // what bench/ groups it under and pairs with peers: "linear"
    std::function<Prepared(const Geometry &, BlockSource &, const Entries &)> prepare;
    // Levels 1 to 4 follow the fixed-point rules of the conversions, not level 0's.
    bool fixedPointAbove0 = false;
    int32_t minHeight = 1;
    // Forms allowed to differ by one in a byte next to a half: at most this share of the bytes.
    double shareOffByOne = 0.0;
    // The frames bench/ times the case on, and what kestrix-levels reports by default; empty: the
    // case is only swept.
    std::vector<Geometry> frames;
};

const std::vector<KernelCase> &kernelCases();

// "720x576", or "720x576_to_800x600" for a frame scaled to a window.
std::string frameName(const Geometry &frame);

}  // namespace kx::cases
