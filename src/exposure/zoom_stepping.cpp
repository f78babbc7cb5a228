// ChangeGain3: gain, shutter and stage, judged by luminance and the camera's shutter width.
#include "frame/library_state.h"
#include "kestrix.h"

namespace {

constexpr int32_t kGainLadder[] = {32, 64, 96, 127};
constexpr int32_t kStageLadder[] = {16, 32, 48, 64, 130};
constexpr int32_t kGainFloor = 32, kGainTop = 127;
constexpr int32_t kStageTop = 130;

// The shutter's bounds, and the values this stepper writes besides its bound checks.
constexpr int32_t kShutterFloor = 32;
constexpr int32_t kShutterWorking = 176;
constexpr int32_t kShutterFull = 511;

// The dark-scene step's width limit: one below the default MIN, fixed, not that setting.
constexpr int32_t kDarkWidth = 522;

// The results: a move (or none), a bright scene where the stage was not touched, and a switch
// between the stage's regimes.
constexpr int32_t kMove = 0, kBrightHeld = 1, kRegimeSwitch = 3;

// The caller's variables, and what the call reads of them before it moves anything.
struct Exposure {
    int32_t *stage, *gain, *shutter;
    void set(int32_t g, int32_t s) const {
        *gain = g;
        *shutter = s;
    }
};
struct Reading {
    int32_t y, w, g, s;
};

// The way out of full exposure: gain 127 and shutter 511 drop the shutter to its working value
// once the width is back under the zoom-down level and the scene is bright enough.
// The luminance is read last, only when the rest holds.
int32_t leaveFullExposure(const kx::Settings &cfg, const int32_t *luma, int32_t w, const Exposure &e) {
    if (*e.gain == kGainTop && *e.shutter == kShutterFull && w <= cfg.shutterZoomDown && *luma > cfg.lumaZoomDown)
        e.set(kGainTop, kShutterWorking);
    return kMove;
}

// One correction of a value out of its bounds per call; true if one was made.
bool correctBounds(const Exposure &e) {
    if (*e.shutter < kShutterFloor) {
        *e.shutter = kShutterFloor;
    } else if (*e.shutter > kShutterFull) {
        *e.shutter = kShutterFull;
    } else if (*e.gain > kGainTop) {
        *e.gain = kGainTop;
    } else if (*e.gain < kGainFloor) {
        *e.gain = kGainFloor;
    } else {
        return false;
    }
    return true;
}

// Too long a width: the gain goes up. A gain between rungs goes to the rung after the first one at
// or above it (40 becomes 96): rounding up, the opposite of the way down below.
int32_t raiseGain(const kx::Settings &cfg, const Reading &r, const Exposure &e) {
    for (int32_t i = 0; i < 3; ++i) {
        if (r.g <= kGainLadder[i]) {
            e.set(kGainLadder[i + 1], kShutterWorking);
            return kMove;
        }
    }
    if (r.w >= cfg.shutterZoomUp && r.y < cfg.lumaZoomUp) {
        e.set(kGainTop, kShutterFull);
        return kMove;
    }
    if (r.w <= cfg.shutterZoomDown && r.y > cfg.lumaZoomDown && r.g == kGainTop && r.s > kShutterWorking)
        e.set(kGainTop, kShutterWorking);
    return kMove;
}

// Bright outdoor scene: with gain and shutter at the floor the stage steps down, otherwise a very
// bright scene sends gain and shutter to the floor and holds the stage to its top.
int32_t brightOutdoor(const kx::Settings &cfg, const Reading &r, const Exposure &e) {
    if (r.s == kShutterFloor && r.g == kGainFloor) {
        // At-least search, so a stage between rungs drops past the rung below it (40 becomes 16).
        for (int32_t i = 4; i >= 1; --i) {
            if (*e.stage >= kStageLadder[i]) {
                *e.stage = kStageLadder[i - 1];
                return kMove;
            }
        }
        return kBrightHeld;  // the stage is at its lowest
    }
    if (r.y <= cfg.lumaDownMode) return kBrightHeld;
    e.set(kGainFloor, kShutterFloor);
    if (*e.stage > kStageTop) {
        *e.stage = kStageTop;
        return kRegimeSwitch;
    }
    return kBrightHeld;
}

// Dark scene with a long width: gain and shutter to the floor and the stage up a rung, or, with the
// stage at its top, the shutter back to its working value. The shutter is written twice on the way
// to a switch: the floor, then the working value.
int32_t darkLongWidth(const Exposure &e) {
    e.set(kGainFloor, kShutterFloor);
    if (*e.stage >= kStageTop) {
        *e.shutter = kShutterWorking;
        return kRegimeSwitch;
    }
    // At-most search, so a stage between rungs climbs past the rung above it (40 becomes 64).
    for (int32_t i = 0; i < 5; ++i) {
        if (*e.stage <= kStageLadder[i]) {
            *e.stage = i == 4 ? kStageTop : kStageLadder[i + 1];
            break;
        }
    }
    return kMove;
}

// The gain goes down. A gain between rungs goes to the rung before the first one at or below it
// (70 becomes 32): rounding down, the opposite of the way up above.
int32_t lowerGain(const kx::Settings &cfg, const Reading &r, const Exposure &e) {
    for (int32_t i = 3; i >= 0; --i) {
        if (r.y > cfg.lumaZoomDown && r.g >= kGainLadder[i] && i == 3 && r.s > kShutterWorking) {
            e.set(kGainTop, kShutterWorking);
            return kMove;
        }
        if (r.w < cfg.shutterMin && r.g >= kGainLadder[i] && i != 0) {
            e.set(kGainLadder[i - 1], kShutterWorking);
            return kMove;
        }
    }
    return kMove;
}

}  // namespace

extern "C" KX_API int32_t ChangeGain3(const int32_t *luma, int32_t shutterWidth, int32_t *stage, int32_t *gain,
                                      int32_t *shutter) {
    // A missing variable: no move.
    if (!luma || !stage || !gain || !shutter) return kMove;
    const kx::Settings &cfg = kx::settings;
    const int32_t w = shutterWidth;
    const Exposure e{stage, gain, shutter};

    // Inside the width window only the exit from full exposure may move anything.
    if (w >= cfg.shutterMin && w < cfg.shutterMax) return leaveFullExposure(cfg, luma, w, e);
    // Bound checks: one correction per call, always reported as a move here.
    if (correctBounds(e)) return kMove;

    const Reading r{*luma, w, *gain, *shutter};
    if (w > cfg.shutterMax && r.s != kShutterFloor) return raiseGain(cfg, r, e);
    if (r.y > cfg.lumaDownLevel && w <= cfg.shutterOutdoor) return brightOutdoor(cfg, r, e);
    if (r.y < cfg.lumaUpLevel && w > kDarkWidth) return darkLongWidth(e);
    if (w > cfg.shutterZoomDown) return kMove;
    return lowerGain(cfg, r, e);
}
