// ChangeGain3: gain, shutter and stage, judged by luminance and the camera's shutter width.
#include "frame/library_state.h"
#include "kestrix.h"

namespace {

constexpr int32_t kGainLadder[] = {32, 64, 96, 127};
constexpr int32_t kStageLadder[] = {16, 32, 48, 64, 130};

// The shutter values this stepper writes besides its bound checks.
constexpr int32_t kShutterFloor = 32;
constexpr int32_t kShutterWorking = 176;
constexpr int32_t kShutterFull = 511;

// The way out of full exposure: gain 127 and shutter 511 drop the shutter to its working value
// once the width is back under the zoom-down level and the scene is bright enough.
// The luminance is read last, only when the rest holds.
int32_t leaveFullExposure(const kx::Settings &cfg, const int32_t *luma, int32_t w, int32_t *gain, int32_t *shutter) {
    if (*gain == 127 && *shutter == kShutterFull && w <= cfg.shutterZoomDown && *luma > cfg.lumaZoomDown) {
        *gain = 127;
        *shutter = kShutterWorking;
    }
    return 0;
}

}  // namespace

extern "C" KX_API int32_t ChangeGain3(const int32_t *luma, int32_t shutterWidth, int32_t *stage, int32_t *gain,
                                      int32_t *shutter) {
    // A missing variable: no move.
    if (!luma || !stage || !gain || !shutter) return 0;
    const kx::Settings &cfg = kx::settings;
    const int32_t w = shutterWidth;

    // Inside the width window only the exit from full exposure may move anything.
    if (w >= cfg.shutterMin && w < cfg.shutterMax) return leaveFullExposure(cfg, luma, w, gain, shutter);

    // Bound checks: one correction per call, always reported as 0 here.
    if (*shutter < 32) {
        *shutter = 32;
        return 0;
    }
    if (*shutter > 511) {
        *shutter = 511;
        return 0;
    }
    if (*gain > 127) {
        *gain = 127;
        return 0;
    }
    if (*gain < 32) {
        *gain = 32;
        return 0;
    }

    const int32_t y = *luma;
    const int32_t g = *gain;
    const int32_t s = *shutter;

    // Too long a width: the gain goes up. A gain between rungs goes to the rung after the first one
    // at or above it (40 becomes 96): rounding up, the opposite of the way down below.
    if (w > cfg.shutterMax && s != kShutterFloor) {
        for (int32_t i = 0; i < 3; ++i) {
            if (g <= kGainLadder[i]) {
                *gain = kGainLadder[i + 1];
                *shutter = kShutterWorking;
                return 0;
            }
        }
        if (w >= cfg.shutterZoomUp && y < cfg.lumaZoomUp) {
            *gain = 127;
            *shutter = kShutterFull;
            return 0;
        }
        if (w <= cfg.shutterZoomDown && y > cfg.lumaZoomDown && g == 127 && s > kShutterWorking) {
            *gain = 127;
            *shutter = kShutterWorking;
        }
        return 0;
    }

    // Bright outdoor scene.
    if (y > cfg.lumaDownLevel && w <= cfg.shutterOutdoor) {
        if (s == kShutterFloor && g == 32) {
            // Gain and shutter at the floor: the stage steps down. At-least search, so a stage
            // between rungs drops past the rung below it (40 becomes 16).
            for (int32_t i = 4; i >= 1; --i) {
                if (*stage >= kStageLadder[i]) {
                    *stage = kStageLadder[i - 1];
                    return 0;
                }
            }
            return 1;  // the stage is at its lowest
        }
        if (y <= cfg.lumaDownMode) return 1;
        *shutter = kShutterFloor;
        *gain = 32;
        if (*stage > 130) {
            *stage = 130;
            return 3;
        }
        return 1;
    }

    // Dark scene with a long width. 522 is fixed, one below the default MIN, not the setting.
    if (y < cfg.lumaUpLevel && w > 522) {
        // The shutter is written twice on the way to 3: the floor, then the working value.
        *shutter = kShutterFloor;
        *gain = 32;
        if (*stage >= 130) {
            *shutter = kShutterWorking;
            return 3;
        }
        // At-most search, so a stage between rungs climbs past the rung above it (40 becomes 64).
        for (int32_t i = 0; i < 5; ++i) {
            if (*stage <= kStageLadder[i]) {
                *stage = i == 4 ? 130 : kStageLadder[i + 1];
                break;
            }
        }
        return 0;
    }

    if (w > cfg.shutterZoomDown) return 0;

    // The gain goes down. A gain between rungs goes to the rung before the first one at or below
    // it (70 becomes 32): rounding down, the opposite of the way up above.
    for (int32_t i = 3; i >= 0; --i) {
        if (y > cfg.lumaZoomDown && g >= kGainLadder[i] && i == 3 && s > kShutterWorking) {
            *gain = 127;
            *shutter = kShutterWorking;
            return 0;
        }
        if (w < cfg.shutterMin && g >= kGainLadder[i] && i != 0) {
            *gain = kGainLadder[i - 1];
            *shutter = kShutterWorking;
            return 0;
        }
    }
    return 0;
}
