#include <gtest/gtest.h>

#include "present/fit.h"

namespace kx::present {
namespace {

struct FitCase {
    const char *what;
    PaintForm form;
    int32_t frameWidth, frameHeight, width, height;
    Road road;
    int32_t x, fitWidth, fitHeight;  // FitRect.y is always 1
};

constexpr PaintForm D2 = PaintForm::Decompress2;
constexpr PaintForm D3 = PaintForm::Decompress3;

const FitCase kCases[] = {
    // JpegDecompress2: 720-wide frames are cut only for windows narrower than 720.
    {"D2 720x480 into 640x480: the crop", D2, 720, 480, 640, 480, Road::Crop, 40, 640, 480},
    {"D2 720x480 into 720x400: full width, height stays 480", D2, 720, 480, 720, 400, Road::Resize, 1, 720, 480},
    {"D2 720x480 into 360x240: cut, short window keeps 480", D2, 720, 480, 360, 240, Road::Resize, 40, 640, 480},
    {"D2 720x480 into 800x600: uncut", D2, 720, 480, 800, 600, Road::Resize, 1, 720, 480},
    {"D2 720x576 into 720x576: same size", D2, 720, 576, 720, 576, Road::SameSize, 1, 720, 576},
    {"D2 720x576 into 640x480: the crop", D2, 720, 576, 640, 480, Road::Crop, 40, 640, 480},
    {"D2 720x576 into 640x512: cut but resized", D2, 720, 576, 640, 512, Road::Resize, 40, 640, 480},
    {"D2 720x576 into 800x600: uncut, frame height", D2, 720, 576, 800, 600, Road::Resize, 1, 720, 576},
    {"D2 720x576 into 720x480: 480 rows", D2, 720, 576, 720, 480, Road::Resize, 1, 720, 480},
    {"D2 352x240 into 320x240: the crop", D2, 352, 240, 320, 240, Road::Crop, 17, 320, 240},
    {"D2 352x240 into 320x200: cut, resized", D2, 352, 240, 320, 200, Road::Resize, 17, 320, 240},
    {"D2 352x240 into 400x300: uncut", D2, 352, 240, 400, 300, Road::Resize, 1, 352, 240},
    {"D2 352x288 into 320x240: the crop", D2, 352, 288, 320, 240, Road::Crop, 17, 320, 240},
    {"D2 352x288 into 352x240: full width, 240 rows", D2, 352, 288, 352, 240, Road::Resize, 1, 352, 240},
    {"D2 352x288 into 704x576: frame height", D2, 352, 288, 704, 576, Road::Resize, 1, 352, 288},
    {"D2 352x288 into 352x288: same size", D2, 352, 288, 352, 288, Road::SameSize, 1, 352, 288},
    {"D2 176x128 into 176x128: same size, no crop", D2, 176, 128, 176, 128, Road::SameSize, 1, 176, 128},
    {"D2 176x128 into 160x120: the crop", D2, 176, 128, 160, 120, Road::Crop, 8, 160, 120},
    {"D2 176x128 into 320x240: always 8, 160x120", D2, 176, 128, 320, 240, Road::Resize, 8, 160, 120},
    {"D2 176x128 into 100x100: always 8, 160x120", D2, 176, 128, 100, 100, Road::Resize, 8, 160, 120},
    {"D2 640x480 unknown: whole frame", D2, 640, 480, 320, 240, Road::Resize, 1, 640, 480},
    {"D2 720x500 unknown: whole frame", D2, 720, 500, 640, 480, Road::Resize, 1, 720, 500},
    {"D2 352x200 unknown: no crop in a 320x240 window", D2, 352, 200, 320, 240, Road::Resize, 1, 352, 200},

    // JpegDecompress3: 720-wide frames always lose 16 columns on the left, 16 more on the right.
    {"D3 720x480 into 640x480: the crop", D3, 720, 480, 640, 480, Road::Crop, 40, 640, 480},
    {"D3 720x480 into 720x400: 688 columns", D3, 720, 480, 720, 400, Road::Resize, 16, 688, 480},
    {"D3 720x480 into 800x600: 688 columns, 480 rows", D3, 720, 480, 800, 600, Road::Resize, 16, 688, 480},
    {"D3 720x480 into 360x240: 640 columns", D3, 720, 480, 360, 240, Road::Resize, 40, 640, 480},
    {"D3 720x480 into 720x480: same size", D3, 720, 480, 720, 480, Road::SameSize, 1, 720, 480},
    {"D3 720x576 into 640x480: the crop", D3, 720, 576, 640, 480, Road::Crop, 40, 640, 480},
    {"D3 720x576 into 640x512: short window, 480 rows", D3, 720, 576, 640, 512, Road::Resize, 40, 640, 480},
    {"D3 720x576 into 800x600: 688 by 560", D3, 720, 576, 800, 600, Road::Resize, 16, 688, 560},
    {"D3 720x576 into 720x576: same size", D3, 720, 576, 720, 576, Road::SameSize, 1, 720, 576},
    {"D3 720x576 into 720x480: 688 by 480", D3, 720, 576, 720, 480, Road::Resize, 16, 688, 480},
    {"D3 352x240 into 320x240: the crop", D3, 352, 240, 320, 240, Road::Crop, 17, 320, 240},
    {"D3 352x240 into 352x200: 336 columns from 10", D3, 352, 240, 352, 200, Road::Resize, 10, 336, 240},
    {"D3 352x288 into 320x240: the crop", D3, 352, 288, 320, 240, Road::Crop, 17, 320, 240},
    {"D3 352x288 into 704x576: 336 by 288, no rows off", D3, 352, 288, 704, 576, Road::Resize, 10, 336, 288},
    {"D3 352x288 into 352x240: 240 rows", D3, 352, 288, 352, 240, Road::Resize, 10, 336, 240},
    {"D3 352x288 into 300x200: 320 by 240", D3, 352, 288, 300, 200, Road::Resize, 17, 320, 240},
    {"D3 176x128 into 176x128: same size", D3, 176, 128, 176, 128, Road::SameSize, 1, 176, 128},
    {"D3 176x128 into 160x120: the crop", D3, 176, 128, 160, 120, Road::Crop, 8, 160, 120},
    {"D3 176x128 into 352x256: always 8, 160x120", D3, 176, 128, 352, 256, Road::Resize, 8, 160, 120},
    {"D3 1280x720 unknown: whole frame", D3, 1280, 720, 640, 480, Road::Resize, 1, 1280, 720},
};

TEST(FitTest, RoadAndRectangleForEveryKnownSize) {
    for (const FitCase &c : kCases) {
        SCOPED_TRACE(c.what);
        const Fit fit = chooseFit(c.form, c.frameWidth, c.frameHeight, c.width, c.height);
        EXPECT_EQ(fit.road, c.road);
        EXPECT_EQ(fit.fitRect.x, c.x);
        EXPECT_EQ(fit.fitRect.y, 1);
        EXPECT_EQ(fit.fitRect.width, c.fitWidth);
        EXPECT_EQ(fit.fitRect.height, c.fitHeight);
    }
}

}  // namespace
}  // namespace kx::present
