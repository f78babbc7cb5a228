// What a surveillance client does with each frame, through the library's exports alone: weave and
// deinterlace stacked fields, watch the zones, step the camera's exposure, make a sharpened
// thumbnail, and paint the frame with its zones and texts into a window.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "frame.h"
#include "scene.h"

namespace kx::demo {

// How JpegDecompress3 shows a frame in the demo's window: the part of the frame that fills it, and
// whether it is resized. The outlines are scaled from the frame to the painted image with no
// offset for that part, so the client hands over zones moved to where the picture shows them.
struct PaintLayout {
    int32_t windowWidth = 0, windowHeight = 0;
    int32_t frameWidth = 0, frameHeight = 0;
    RECT shown{};  // frame pixels
    bool resized = false;

    RECT outline(const RECT &zone) const;
};

// A window no larger than maxWidth x maxHeight with sides a multiple of 8, in the proportions of
// what it shows.
PaintLayout paintLayoutFor(int32_t frameWidth, int32_t frameHeight, int32_t maxWidth = 512, int32_t maxHeight = 384);

struct ClientOptions {
    int32_t sensitivity = Scene::kSensitivity;
    std::vector<RECT> zones;  // picture pixels, y from the top; at most 8 are reported
    std::string cameraName;
    int32_t maxWindowWidth = 512, maxWindowHeight = 384;  // the window, as paintLayoutFor makes it
    bool thumbnails = true;  // a sharpened thumbnail of every frame
};

struct FrameRecord {
    int32_t index = 0;
    bool stacked = false;
    uint8_t mask = 0;  // bit i: zone i in motion
    int32_t luma = 0;
    int32_t shutterWidth = 0;
    int32_t move = 0;  // ChangeGain3's result
    CameraSettings before, after;
};

// The time stamp drawn bottom right: noon plus the frame's time, to the hundredth of a second.
std::string timeText(int32_t index, int32_t framesPerSecond);

class Client {
public:
    static constexpr int32_t kThumbWidth = 180;
    static constexpr int32_t kThumbHeight = 144;

    // window 0: nothing is painted.
    Client(int32_t width, int32_t height, const ClientOptions &options, int32_t window);
    ~Client();
    Client(const Client &) = delete;
    Client &operator=(const Client &) = delete;

    // One frame, rewritten in place when it holds stacked fields; `camera` takes the exposure move.
    FrameRecord handle(int32_t index, Frame &frame, bool stacked, int32_t shutterWidth, CameraSettings &camera,
                       int32_t framesPerSecond);
    // Stacked fields woven only (mode 1), for comparison with what the deinterlace makes of them.
    void weave(Frame &frame);

    const Frame &thumbnail() const { return thumbnail_; }
    const PaintLayout &layout() const { return layout_; }

private:
    void process(Frame &frame, int32_t mode);

    ClientOptions options_;
    int32_t window_;
    PaintLayout layout_;
    void *detector_ = nullptr;
    BITMAPINFOHEADER header_;
    std::vector<RECT> outlines_;
    std::vector<uint8_t> scratch_;  // BmpProcess
    std::vector<uint8_t> motionRows_;  // the frame in 32-bit aligned rows, where its own are not
    std::vector<uint8_t> stretchWork_;  // BmpStretchDIB
    std::vector<uint8_t> resizeTarget_;
    Frame thumbnail_;
};

}  // namespace kx::demo
