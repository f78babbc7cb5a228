#include "scene.h"

#include <algorithm>
#include <cmath>

namespace kx::demo {

namespace {

// The painted window shows rows 1 to 480 and columns 40 to 679 of the frame: all that matters
// stands in there.
constexpr int32_t kWallBottom = 190;  // wall above, yard below
constexpr int32_t kCurbTop = 366;
constexpr int32_t kRoadTop = 370;
constexpr RECT kWindowPane = {110, 36, 270, 146};
constexpr RECT kLamp = {556, 90, 580, 106};
constexpr int32_t kWalkStart = 35;  // the person enters at frame 35 and leaves at about 131
constexpr double kWalkSpeed = 8.0;  // pixels a frame
constexpr int32_t kPersonWidth = 36, kPersonHeight = 120, kPersonTop = 300;
constexpr int32_t kFadeStart = 135, kFadeEnd = 205, kFloodlight = 215;

uint32_t mix(uint32_t a) {
    a ^= a >> 16;
    a *= 0x7feb352du;
    a ^= a >> 15;
    a *= 0x846ca68bu;
    a ^= a >> 16;
    return a;
}

uint32_t hash(uint32_t x, uint32_t y, uint32_t z = 0) { return mix(x * 0x9E3779B1u ^ mix(y * 0x85EBCA77u ^ mix(z))); }

// A signed value in [-spread, spread] from a hash.
float jitter(uint32_t h, int32_t spread) {
    return static_cast<float>(static_cast<int32_t>(h % (2 * spread + 1)) - spread);
}

// std::lround of a value well inside 32 bits, halves away from zero, without the library call: the
// fraction v - t is exact in float, so the result is the same to the last case.
int32_t roundHalfAway(float v) {
    const int32_t t = static_cast<int32_t>(v);
    const float rest = v - static_cast<float>(t);
    return t + (rest >= 0.5f) - (rest <= -0.5f);
}

uint8_t toByte(float v) { return static_cast<uint8_t>(std::clamp(roundHalfAway(v), 0, 255)); }

bool inside(const RECT &r, int32_t x, int32_t y) { return x >= r.left && x < r.right && y >= r.top && y < r.bottom; }

struct Bgr {
    float b, g, r;
};

Bgr wall(int32_t x, int32_t y) {
    if (inside(kWindowPane, x, y)) {
        const bool frame = x < kWindowPane.left + 6 || x >= kWindowPane.right - 6 || y < kWindowPane.top + 6 ||
                           y >= kWindowPane.bottom - 6 || std::abs(x - (kWindowPane.left + kWindowPane.right) / 2) < 3;
        if (frame) return {200, 205, 210};
        const float sheen = static_cast<float>(y - kWindowPane.top) * 0.3f;  // the sky mirrored in the glass
        return {120 + sheen, 90 + sheen * 0.5f, 60};
    }
    const int32_t course = y / 20;
    const int32_t shifted = x + (course % 2) * 24;
    if (y % 20 >= 18 || shifted % 48 >= 46) return {165, 172, 176};  // mortar
    const uint32_t brick = hash(static_cast<uint32_t>(shifted / 48), static_cast<uint32_t>(course), 1);
    const float grain = jitter(hash(static_cast<uint32_t>(x), static_cast<uint32_t>(y), 2), 8);
    return {78 + jitter(brick, 8) + grain, 100 + jitter(brick >> 8, 10) + grain, 178 + jitter(brick >> 16, 18) + grain};
}

Bgr yard(int32_t x, int32_t y) {
    // Blades: streaks three rows tall, with a finer grain over them.
    const float blade = jitter(hash(static_cast<uint32_t>(x), static_cast<uint32_t>(y / 3), 3), 22);
    const float grain = jitter(hash(static_cast<uint32_t>(x), static_cast<uint32_t>(y), 4), 6);
    return {52 + grain, 140 + blade + grain, 96 + blade * 0.5f + grain};
}

Bgr road(int32_t x, int32_t y) {
    if (y < kRoadTop) return {190, 192, 194};  // the curb
    if (y >= 424 && y < 430 && x % 100 < 60) return {228, 232, 232};
    const float stone = jitter(hash(static_cast<uint32_t>(x), static_cast<uint32_t>(y), 5), 14);
    return {118 + stone, 120 + stone, 122 + stone};
}

// The person's colours where the shape covers (x, y), or false.
bool personAt(const RECT &p, double time, int32_t x, int32_t y, Bgr &colour) {
    if (!inside(p, x, y)) return false;
    const int32_t dx = x - p.left, dy = y - p.top;
    if (dy < 24) {
        const int32_t cx = dx - 18, cy = dy - 12;
        if (cx * cx + cy * cy > 121) return false;
        colour = {120, 150, 205};  // face
        return true;
    }
    if (dy < 70) {
        if (dx < 4 || dx >= 32) return false;
        colour = {228, 176, 118};  // light blue shirt
        return true;
    }
    const int32_t swing = static_cast<int32_t>(std::lround(6 * std::sin(time * 0.9)));
    const bool leftLeg = dx >= 6 - swing && dx < 17 - swing;
    const bool rightLeg = dx >= 19 + swing && dx < 30 + swing;
    if (!leftLeg && !rightLeg) return false;
    colour = {70, 45, 40};  // dark trousers
    return true;
}

// The lamp's brightness in a frame: one of three levels, hopping at random; its blue moves by at
// most 60, short of the 80 that counts as a change at the default sensitivity.
float lampLevel(int32_t index) {
    static constexpr float kLevels[] = {0.8f, 1.0f, 1.2f};
    return kLevels[hash(static_cast<uint32_t>(index), 0, 6) % 3];
}

}  // namespace

double exposureFactor(const CameraSettings &s) { return (s.gain / 32.0) * (s.shutter / 176.0) * (s.stage / 64.0); }

int32_t reportedShutterWidth(double light) {
    return static_cast<int32_t>(std::clamp(std::lround(300.0 / light), 1L, 4000L));
}

const std::array<Zone, 3> &Scene::zones() {
    static const std::array<Zone, 3> zones = {{
        {"gate", {56, 240, 320, 470}},
        {"road", {400, 240, 664, 470}},
        {"lamp", {500, 40, 640, 160}},
    }};
    return zones;
}

double Scene::light(int32_t index) {
    if (index < kFadeStart) return 1.0;
    if (index < kFadeEnd) return std::pow(10.0, -static_cast<double>(index - kFadeStart) / (kFadeEnd - kFadeStart));
    if (index < kFloodlight) return 0.1;
    return 24.0;  // a floodlight comes on
}

bool Scene::stackedFields(int32_t index) { return index >= 60 && index <= 84; }

RECT Scene::person(double time) {
    const int32_t left = static_cast<int32_t>(std::lround(-40 + kWalkSpeed * (time - kWalkStart)));
    if (time < kWalkStart || left >= kWidth) return {0, 0, 0, 0};
    return {left, kPersonTop, left + kPersonWidth, kPersonTop + kPersonHeight};
}

Scene::Scene()
    : background_(static_cast<size_t>(kWidth) * kHeight * 3),
      roundedBackground_(background_.size()),
      noise_(static_cast<size_t>(kNoisePlanes) * kWidth * kHeight) {
    float *out = background_.data();
    for (int32_t y = 0; y < kHeight; ++y) {
        for (int32_t x = 0; x < kWidth; ++x, out += 3) {
            const Bgr c = y < kWallBottom ? wall(x, y) : y < kCurbTop ? yard(x, y) : road(x, y);
            out[0] = c.b;
            out[1] = c.g;
            out[2] = c.r;
        }
    }
    for (size_t i = 0; i < background_.size(); ++i) roundedBackground_[i] = toByte(background_[i]);
    for (size_t i = 0; i < noise_.size(); ++i) {
        noise_[i] = static_cast<uint8_t>(hash(static_cast<uint32_t>(i), 0, 8) % 5);
    }
}

void Scene::renderRow(int32_t y, double time, int32_t index, double exposure, uint8_t *out, int32_t x0,
                      int32_t x1) const {
    const float *base = background_.data() + (static_cast<size_t>(y) * kWidth + x0) * 3;
    out += static_cast<size_t>(x0) * 3;
    const RECT who = person(time);
    const float lit = static_cast<float>(exposure * light(index));
    const float lamp = static_cast<float>(exposure * std::max(1.0, light(index)) * lampLevel(index));
    for (int32_t x = x0; x < x1; ++x, base += 3, out += 3) {
        Bgr c{base[0], base[1], base[2]};
        float scale = lit;
        if (inside(kLamp, x, y)) {
            c = {150, 205, 235};  // a light of its own: dusk does not dim it, a floodlight outshines it
            scale = lamp;
        }
        personAt(who, time, x, y, c);
        // Sensor noise of two levels either way, the same for the three channels.
        const float noise =
            jitter(hash(static_cast<uint32_t>(x), static_cast<uint32_t>(y), static_cast<uint32_t>(index) + 7), 2);
        const float value[3] = {c.b * scale + noise, c.g * scale + noise, c.r * scale + noise};
        for (int i = 0; i < 3; ++i) out[i] = toByte(value[i]);
    }
}

void Scene::render(int32_t index, const CameraSettings &settings, Frame &out) const {
    if (out.width != kWidth || out.height != kHeight) out = Frame(kWidth, kHeight);
    const double exposure = exposureFactor(settings);
    if (!stackedFields(index)) {
        for (int32_t y = 0; y < kHeight; ++y) renderRow(y, index, index, exposure, out.row(y));
        return;
    }
    const int32_t half = kHeight / 2;
    for (int32_t line = 0; line < half; ++line) {
        renderRow(2 * line, index, index, exposure, out.row(line));
        renderRow(2 * line + 1, index + 0.5, index, exposure, out.row(half + line));
    }
}

void Scene::renderQuick(int32_t index, const CameraSettings &settings, uint32_t seed, Frame &out) const {
    if (out.width != kWidth || out.height != kHeight) out = Frame(kWidth, kHeight);
    const double exposure = exposureFactor(settings);
    // One table per noise level, 2 either way: a rounded background byte lit, plus the noise.
    const float lit = static_cast<float>(exposure * light(index));
    std::array<uint8_t, 5 * 256> lit8;
    for (int32_t level = 0; level < 5; ++level) {
        for (int32_t v = 0; v < 256; ++v) lit8[static_cast<size_t>(level * 256 + v)] = toByte(v * lit + (level - 2));
    }
    const size_t plane = (static_cast<size_t>(index) + seed) % kNoisePlanes;
    const int32_t shift = static_cast<int32_t>(seed * 97 % kHeight);  // cameras do not share a noise pattern
    const RECT who = person(index);
    for (int32_t y = 0; y < kHeight; ++y) {
        const uint8_t *base = roundedBackground_.data() + static_cast<size_t>(y) * kWidth * 3;
        const uint8_t *noise = noise_.data() + (plane * kHeight + static_cast<size_t>((y + shift) % kHeight)) * kWidth;
        uint8_t *row = out.row(y);
        for (int32_t i = 0; i < kWidth * 3; i += 3) {
            const uint8_t *table = lit8.data() + noise[i / 3] * 256;
            row[i] = table[base[i]];
            row[i + 1] = table[base[i + 1]];
            row[i + 2] = table[base[i + 2]];
        }
        // The lamp and the person as render draws them.
        if (y >= kLamp.top && y < kLamp.bottom) renderRow(y, index, index, exposure, row, kLamp.left, kLamp.right);
        if (y >= who.top && y < who.bottom) {
            renderRow(y, index, index, exposure, row, std::max<int32_t>(who.left, 0), std::min(who.right, kWidth));
        }
    }
}

}  // namespace kx::demo
