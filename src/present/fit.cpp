#include "present/fit.h"

namespace kx::present {

namespace {

struct Crop {
    int32_t x, width, height;
    int32_t windowWidth, windowHeight;  // the window that takes the crop road
};

// The known camera sizes. The numbers are settled values of the product, not a rule: the 688 and
// 336 wide cuts are not centred, and only JpegDecompress3 trims 720x576 frames to 560 rows.
bool knownCrop2(int32_t frameWidth, int32_t frameHeight, int32_t width, int32_t height, Crop &crop) {
    if (frameWidth == 720 && (frameHeight == 480 || frameHeight == 576)) {
        crop = width < 720 ? Crop{40, 640, 0, 640, 480} : Crop{1, 720, 0, 640, 480};
        crop.height = height < frameHeight ? 480 : frameHeight;
        return true;
    }
    if (frameWidth == 352 && (frameHeight == 240 || frameHeight == 288)) {
        crop = width < 352 ? Crop{17, 320, 0, 320, 240} : Crop{1, 352, 0, 320, 240};
        crop.height = height < frameHeight ? 240 : frameHeight;
        return true;
    }
    if (frameWidth == 176 && frameHeight == 128) {
        crop = Crop{8, 160, 120, 160, 120};
        return true;
    }
    return false;
}

bool knownCrop3(int32_t frameWidth, int32_t frameHeight, int32_t width, int32_t height, Crop &crop) {
    if (frameWidth == 720 && frameHeight == 480) {
        crop = width < 720 ? Crop{40, 640, 480, 640, 480} : Crop{16, 688, 480, 640, 480};
        return true;
    }
    if (frameWidth == 720 && frameHeight == 576) {
        crop = width < 720 ? Crop{40, 640, 0, 640, 480} : Crop{16, 688, 0, 640, 480};
        crop.height = height < 576 ? 480 : 560;
        return true;
    }
    if (frameWidth == 352 && (frameHeight == 240 || frameHeight == 288)) {
        crop = width < 352 ? Crop{17, 320, 0, 320, 240} : Crop{10, 336, 0, 320, 240};
        crop.height = height < frameHeight ? 240 : frameHeight;
        return true;
    }
    if (frameWidth == 176 && frameHeight == 128) {
        crop = Crop{8, 160, 120, 160, 120};
        return true;
    }
    return false;
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
    Crop crop{};
    const bool known = form == PaintForm::Decompress2 ? knownCrop2(frameWidth, frameHeight, width, height, crop)
                                                      : knownCrop3(frameWidth, frameHeight, width, height, crop);
    if (known) {
        fit.fitRect = PxRect{crop.x, 1, crop.width, crop.height};
        if (width == crop.windowWidth && height == crop.windowHeight) fit.road = Road::Crop;
    }
    return fit;
}

}  // namespace kx::present
