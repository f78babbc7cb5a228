#include "present/fit.h"

namespace kx::present {

namespace {

// A horizontal cut of the frame: its first column and its width.
struct Cut {
    int32_t x, width;
};

// A known camera size of one paint form and its crop. The cut depends on whether the window is
// narrower than the frame, the crop's height on whether the window is lower; the crop road is taken
// only by a window of exactly windowWidth by windowHeight. The numbers are settled values of the
// product, not a rule: the 688 and 336 wide cuts are not centred, and only JpegDecompress3 trims
// 720x576 frames to 560 rows.
struct KnownSize {
    PaintForm form;
    int32_t frameWidth, frameHeight;
    Cut narrow, wide;
    int32_t lowHeight, fullHeight;
    int32_t windowWidth, windowHeight;
};

constexpr KnownSize kKnownSizes[] = {
    {PaintForm::Decompress2, 720, 480, {40, 640}, {1, 720}, 480, 480, 640, 480},
    {PaintForm::Decompress2, 720, 576, {40, 640}, {1, 720}, 480, 576, 640, 480},
    {PaintForm::Decompress2, 352, 240, {17, 320}, {1, 352}, 240, 240, 320, 240},
    {PaintForm::Decompress2, 352, 288, {17, 320}, {1, 352}, 240, 288, 320, 240},
    {PaintForm::Decompress2, 176, 128, {8, 160}, {8, 160}, 120, 120, 160, 120},
    {PaintForm::Decompress3, 720, 480, {40, 640}, {16, 688}, 480, 480, 640, 480},
    {PaintForm::Decompress3, 720, 576, {40, 640}, {16, 688}, 480, 560, 640, 480},
    {PaintForm::Decompress3, 352, 240, {17, 320}, {10, 336}, 240, 240, 320, 240},
    {PaintForm::Decompress3, 352, 288, {17, 320}, {10, 336}, 240, 288, 320, 240},
    {PaintForm::Decompress3, 176, 128, {8, 160}, {8, 160}, 120, 120, 160, 120},
};

const KnownSize *knownSize(PaintForm form, int32_t frameWidth, int32_t frameHeight) {
    for (const KnownSize &known : kKnownSizes)
        if (known.form == form && known.frameWidth == frameWidth && known.frameHeight == frameHeight) return &known;
    return nullptr;
}

}  // namespace

Fit chooseFit(PaintForm form, int32_t frameWidth, int32_t frameHeight, int32_t width, int32_t height) {
    // The origin is 1, 1 while the size is the frame's: the rectangle reaches one pixel past the
    // frame, and the resize clips it.
    Fit fit{Road::Resize, PxRect{1, 1, frameWidth, frameHeight}};
    if (width == frameWidth && height == frameHeight) {
        fit.road = Road::SameSize;
        return fit;
    }
    if (const KnownSize *known = knownSize(form, frameWidth, frameHeight)) {
        const Cut cut = width < frameWidth ? known->narrow : known->wide;
        fit.fitRect = PxRect{cut.x, 1, cut.width, height < frameHeight ? known->lowHeight : known->fullHeight};
        if (width == known->windowWidth && height == known->windowHeight) fit.road = Road::Crop;
    }
    return fit;
}

}  // namespace kx::present
