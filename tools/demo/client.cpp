#include "client.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace kx::demo {

namespace {

int32_t roundTo8(double value) { return std::max(8, static_cast<int32_t>(value / 8 + 0.5) * 8); }

struct Fit {
    RECT shown;
    int32_t cropWidth = 0, cropHeight = 0;  // the window that is painted from the frame with no resize
};

// The part of a frame JpegDecompress3 fits into a window: its table of camera sizes, whose crops
// are settled numbers, and the whole frame from (1, 1) for any other size.
Fit fitFor(int32_t fw, int32_t fh, int32_t ww, int32_t wh) {
    auto part = [](int32_t x, int32_t width, int32_t height) { return RECT{x, 1, x + width, 1 + height}; };
    if (fw == 720 && (fh == 480 || fh == 576)) {
        const int32_t height = fh == 480 || wh < 576 ? 480 : 560;
        return {ww < 720 ? part(40, 640, height) : part(16, 688, height), 640, 480};
    }
    if (fw == 352 && (fh == 240 || fh == 288)) {
        const int32_t height = wh < fh ? 240 : fh;
        return {ww < 352 ? part(17, 320, height) : part(10, 336, height), 320, 240};
    }
    if (fw == 176 && fh == 128) return {part(8, 160, 120), 160, 120};
    return {part(1, fw, fh)};
}

}  // namespace

RECT PaintLayout::outline(const RECT &zone) const {
    const int32_t x = shown.left, y = shown.top;
    if (!resized) return {zone.left - x + 1, zone.top - y + 1, zone.right - x + 1, zone.bottom - y + 1};
    // The library maps the outline by the painted image's size over the frame's, from 0; the
    // picture there shows `shown` scaled to the same image.
    const int32_t sw = shown.right - shown.left, sh = shown.bottom - shown.top;
    return {(zone.left - x) * frameWidth / sw, (zone.top - y) * frameHeight / sh, (zone.right - x) * frameWidth / sw,
            (zone.bottom - y) * frameHeight / sh};
}

PaintLayout paintLayoutFor(int32_t frameWidth, int32_t frameHeight, int32_t maxWidth, int32_t maxHeight) {
    PaintLayout layout;
    layout.frameWidth = frameWidth;
    layout.frameHeight = frameHeight;
    // Proportions of what a window smaller than the frame shows.
    const RECT part = fitFor(frameWidth, frameHeight, frameWidth - 1, frameHeight - 1).shown;
    const double partWidth = part.right - part.left, partHeight = part.bottom - part.top;
    const double scale = std::min({1.0, maxWidth / partWidth, maxHeight / partHeight});
    layout.windowWidth = std::min(roundTo8(partWidth * scale), std::max(8, maxWidth / 8 * 8));
    layout.windowHeight = std::min(roundTo8(partHeight * scale), std::max(8, maxHeight / 8 * 8));
    const Fit fit = fitFor(frameWidth, frameHeight, layout.windowWidth, layout.windowHeight);
    if (layout.windowWidth == frameWidth && layout.windowHeight == frameHeight) {
        layout.shown = {1, 1, frameWidth + 1, frameHeight + 1};  // painted as it is
    } else {
        layout.shown = fit.shown;
        layout.resized = layout.windowWidth != fit.cropWidth || layout.windowHeight != fit.cropHeight;
    }
    return layout;
}

std::string timeText(int32_t index, int32_t framesPerSecond) {
    const int32_t seconds = index / framesPerSecond;
    const int32_t hundredths = index % framesPerSecond * 100 / framesPerSecond;
    char text[32];
    std::snprintf(text, sizeof(text), "%02d:%02d:%02d.%02d", 12 + seconds / 3600, seconds / 60 % 60, seconds % 60,
                  hundredths);
    return text;
}

Client::Client(int32_t width, int32_t height, const ClientOptions &options, int32_t window)
    : options_(options),
      window_(window),
      layout_(paintLayoutFor(width, height, options.maxWindowWidth, options.maxWindowHeight)),
      header_(dibHeader(width, height)),
      scratch_(header_.biSizeImage),
      stretchWork_(static_cast<size_t>(kThumbWidth) * kThumbHeight * 3),
      resizeTarget_(static_cast<size_t>(roundTo8(layout_.windowWidth)) * roundTo8(layout_.windowHeight) * 3),
      thumbnail_(kThumbWidth, kThumbHeight) {
    detector_ = MotionOpen();
    if (!detector_) throw std::runtime_error("no memory for a motion detector");
    // MotionCompare counts rows from the bottom of the buffer, and the demo keeps the top row first:
    // the zones are turned upside down for it.
    std::vector<RECT> watched;
    for (const RECT &zone : options_.zones) {
        watched.push_back({zone.left, height - zone.bottom, zone.right, height - zone.top});
        outlines_.push_back(layout_.outline(zone));
    }
    MotionInit(detector_, options_.sensitivity, watched.data(), static_cast<int32_t>(watched.size()));
    if (header_.biWidth * 3 % 4) motionRows_.resize(static_cast<size_t>((width * 3 + 3) / 4 * 4) * height);
}

Client::~Client() { MotionClose(detector_); }

void Client::process(Frame &frame, int32_t mode) {
    const int32_t size = static_cast<int32_t>(frame.pixels.size());
    BmpProcess(&header_, frame.pixels.data(), size, scratch_.data(), static_cast<int32_t>(scratch_.size()), mode);
}

void Client::weave(Frame &frame) { process(frame, 1); }

FrameRecord Client::handle(int32_t index, Frame &frame, bool stacked, int32_t shutterWidth, CameraSettings &camera,
                           int32_t framesPerSecond) {
    FrameRecord record;
    record.index = index;
    record.stacked = stacked;
    record.shutterWidth = shutterWidth;
    record.before = camera;

    if (stacked) process(frame, 2);

    const uint8_t *motionPixels = frame.pixels.data();
    if (!motionRows_.empty()) {
        const size_t step = motionRows_.size() / static_cast<size_t>(frame.height);
        for (int32_t y = 0; y < frame.height; ++y) std::memcpy(&motionRows_[y * step], frame.row(y), frame.rowBytes());
        motionPixels = motionRows_.data();
    }
    MotionCompare(detector_, &header_, motionPixels, &record.mask);

    record.luma = BmpGetYDc(frame.pixels.data(), header_.biSizeImage);
    record.move = ChangeGain3(&record.luma, shutterWidth, &camera.stage, &camera.gain, &camera.shutter);
    record.after = camera;

    if (options_.thumbnails) {
        BITMAPINFOHEADER thumbHeader = dibHeader(kThumbWidth, kThumbHeight);
        BmpStretchDIB(&header_, frame.pixels.data(), &thumbHeader, thumbnail_.pixels.data(), stretchWork_.data(), -1,
                      1);
    }

    if (window_) {
        const std::string &name = options_.cameraName;
        const std::string time = timeText(index, framesPerSecond);
        const int32_t textState = record.mask ? 0 : 1;  // red while a zone is in motion, else blue
        JpegDecompress3(window_, layout_.windowWidth, layout_.windowHeight, outlines_.data(),
                        static_cast<int32_t>(outlines_.size()), &header_, frame.pixels.data(), name.c_str(),
                        static_cast<int32_t>(name.size()), textState, time.c_str(), static_cast<int32_t>(time.size()),
                        0, 0, 0, resizeTarget_.data(), 1, 0);
    }
    return record;
}

}  // namespace kx::demo
