// The embedded scene: ten seconds of a 720x576 yard camera at 25 frames a second, generated the same
// way on every run. A person crosses two of three zones, a lamp on the wall flickers, the light
// fades slowly and then jumps, and for one second the capture path delivers stacked fields. The
// brightness follows the simulated camera's gain, shutter and stage, which the client steers with
// ChangeGain3, so the exposure loop is closed through the pictures.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "frame.h"

namespace kx::demo {

// What the client steers and the camera applies to the next frame.
struct CameraSettings {
    int32_t gain = 32;
    int32_t shutter = 176;
    int32_t stage = 64;
    bool operator==(const CameraSettings &) const = default;
};

// The embedded scene's luminance in daylight at the camera's resting exposure. Footage is taken to
// be lit by its own luminance over this, which gives the shutter width its camera would report.
constexpr double kDaylightLuma = 113.0;

// How much brighter than at gain 32, shutter 176, stage 64 a picture comes out.
double exposureFactor(const CameraSettings &settings);

// The shutter width the camera's own metering reports for the ambient light (1 is daylight): the
// darker the scene, the longer.
int32_t reportedShutterWidth(double light);

struct Zone {
    const char *name;
    RECT rect;  // picture pixels, y counted from the top
};

class Scene {
public:
    static constexpr int32_t kWidth = 720;
    static constexpr int32_t kHeight = 576;
    static constexpr int32_t kFramesPerSecond = 25;
    static constexpr int32_t kFrames = 250;
    static constexpr int32_t kSensitivity = 4;

    static const std::array<Zone, 3> &zones();
    static double light(int32_t index);
    // Frames 60 to 84: the upper half of the buffer holds the even lines, the lower half the odd
    // lines, taken half a frame later.
    static bool stackedFields(int32_t index);
    // Where the walking person stands at a time in frames (halves for the second field).
    static RECT person(double time);

    Scene();
    // Frame `index` as the camera delivers it with `settings` in force.
    void render(int32_t index, const CameraSettings &settings, Frame &out) const;
    // The same at a small part of the cost, for a wall of many cameras: the background taken
    // rounded, sensor noise from a few planes made once (seed picks where), and only the lamp and
    // the person drawn as render draws them. Always whole frames, never stacked fields.
    void renderQuick(int32_t index, const CameraSettings &settings, uint32_t seed, Frame &out) const;

private:
    static constexpr int32_t kNoisePlanes = 4;

    // Columns x0 to x1 - 1 of one picture row as it is exposed at `time` (in frames) by a camera
    // of that exposure factor; out is the row's start.
    void renderRow(int32_t y, double time, int32_t index, double exposure, uint8_t *out, int32_t x0 = 0,
                   int32_t x1 = kWidth) const;

    std::vector<float> background_;  // blue, green, red at daylight and exposure factor 1
    std::vector<uint8_t> roundedBackground_;
    std::vector<uint8_t> noise_;  // levels 0 to 4 for -2 to 2, one a pixel, kNoisePlanes frames
};

}  // namespace kx::demo
