// ChangeGain and ChangeGain2: one move of gain or shutter per call, toward a mid-range luminance.
#include <cstddef>

#include "frame/library_state.h"
#include "kestrix.h"

namespace {

constexpr int32_t kCoarseShutterLadder[] = {32, 63, 176, 208, 448, 472, 511};
constexpr int32_t kFineShutterLadder[] = {32, 63, 176, 192, 208, 224, 240, 448, 456, 464, 472, 480, 488, 496, 504, 511};
constexpr int32_t kCoarseTop = 6;
constexpr int32_t kFineTop = 15;

// The index of value among ladder[first..last] (either direction), or -1. A value between rungs
// is not found, and the step that searched does nothing.
template <size_t N>
int32_t findRung(const int32_t (&ladder)[N], int32_t value, int32_t first, int32_t last) {
    const int32_t dir = first <= last ? 1 : -1;
    for (int32_t i = first;; i += dir) {
        if (ladder[i] == value) return i;
        if (i == last) return -1;
    }
}

// Brings one out-of-range value back per call. The result says whether the shutter came to its
// floor (1) or came down from above / a value above its bound was pulled down (-1).
bool boundCheck(int32_t *gain, int32_t *shutter, int32_t &result) {
    const int32_t s = *shutter;
    const int32_t g = *gain;
    if (s < 32) {
        *shutter = 32;
        result = 1;
    } else if (s > 511) {
        *shutter = 511;
        result = -1;
    } else if (g > 127) {
        *gain = 127;
        result = -1;
    } else if (g < 32) {
        *gain = 32;
        result = 0;
    } else {
        return false;
    }
    return true;
}

int32_t atMost127(int32_t g) { return g > 127 ? 127 : g; }
int32_t atLeast32(int32_t g) { return g < 32 ? 32 : g; }

// Above 150: the fine ladder down while the shutter is off its floor, else the gain by 5.
int32_t stepBrightFine(int32_t y, int32_t g, int32_t s, int32_t *gain, int32_t *shutter) {
    if (y > 150) {
        if (s == 32) {
            *gain = atLeast32(g - 5);
            return 0;
        }
        const int32_t i = findRung(kFineShutterLadder, s, kFineTop, 1);
        if (i < 0) return 0;
        *shutter = kFineShutterLadder[i - 1];
        return s == 63 ? 1 : 0;
    }
    // 110 to 150: the resting band. Only a floor shutter in its upper part lowers the gain, with
    // no floor of its own: 32 becomes 31, which the next call's bound check lifts back.
    if (s == 32 && y >= 131) *gain = g - 1;
    return 0;
}

// Below 110: a full shutter or a gain under 40 lifts the gain by 1, else the fine ladder goes up.
int32_t stepDarkFine(int32_t y, int32_t g, int32_t s, int32_t *gain, int32_t *shutter) {
    if (y >= 110) return stepBrightFine(y, g, s, gain, shutter);
    if (s == 511) {
        *gain = atMost127(g + 1);
        return 0;
    }
    if (g < 40) {
        *gain = g + 1;
        return 0;
    }
    const int32_t i = findRung(kFineShutterLadder, s, 0, kFineTop - 1);
    if (i < 0) return 0;
    *shutter = kFineShutterLadder[i + 1];
    return s == 32 ? -1 : 0;
}

}  // namespace

extern "C" KX_API int32_t ChangeGain(const int32_t *luma, int32_t *gain, int32_t *shutter) {
    // A missing variable: no move, as in the resting band.
    if (!luma || !gain || !shutter) return 0;
    int32_t result = 0;
    if (boundCheck(gain, shutter, result)) return result;
    const int32_t s = *shutter;
    const int32_t g = *gain;
    const int32_t y = *luma;

    if (y < 30) {
        // Very dark: gain 40 first, then the coarse ladder, then gain 60.
        if (g < 40) {
            *gain = 40;
            return 0;
        }
        if (g == 40) {
            const int32_t i = findRung(kCoarseShutterLadder, s, 0, kCoarseTop);
            if (i >= 0 && i < kCoarseTop) {
                *shutter = kCoarseShutterLadder[i + 1];
                return -1;
            }
            if (i == kCoarseTop) {
                // The coarse ladder has run out: on to gain 60, as the ladder's design intends.
                *gain = 60;
                return 0;
            }
            return stepDarkFine(y, g, s, gain, shutter);
        }
        if (g < 60) {
            *gain = 60;
            return 0;
        }
        return stepDarkFine(y, g, s, gain, shutter);
    }

    if (y > 250) {
        // Very bright: gain 38 first, then down the coarse ladder, then gain 24. The 24 lies below
        // the valid range on purpose; the next call lifts it to 32 and this sets it again.
        if (g > 38) {
            *gain = 38;
            return 0;
        }
        if (g == 38) {
            if (s == 32) {
                *gain = 24;
                return 0;
            }
            const int32_t i = findRung(kCoarseShutterLadder, s, kCoarseTop, 1);
            if (i < 0) return stepBrightFine(y, g, s, gain, shutter);
            *shutter = kCoarseShutterLadder[i - 1];
            return *shutter == 32 ? 1 : 0;
        }
        *gain = 24;
        return 0;
    }

    return stepDarkFine(y, g, s, gain, shutter);
}

extern "C" KX_API int32_t ChangeGain2(const int32_t *luma, int32_t shutterWidth, int32_t *gain, int32_t *shutter) {
    if (!luma || !gain || !shutter) return 0;
    const kx::Settings &cfg = kx::settings;
    // Inside the width window the call does nothing at all, not even the bound checks.
    if (shutterWidth >= cfg.shutterMin && shutterWidth < cfg.shutterMax) return 0;
    int32_t result = 0;
    if (boundCheck(gain, shutter, result)) return result;

    const int32_t y = *luma;
    if (y < 30) {
        // Very dark: one move here, and the call goes on to the ordinary dark step as well.
        const int32_t g = *gain;
        const int32_t s = *shutter;
        if (g == 32) {
            if (s == 511) {
                *gain = 52;
            } else {
                const int32_t i = findRung(kFineShutterLadder, s, 0, kFineTop - 1);
                if (i >= 0) {
                    *shutter = kFineShutterLadder[i + 1];
                    if (*shutter == 511) *gain = 52;
                }
            }
        } else if (s == 511) {
            *gain = atMost127(g + 20);
        }
    }

    const int32_t g = *gain;
    const int32_t s = *shutter;
    if (y < 110) {
        // Up: the shutter climbs while the gain is at its floor; the gain only once the shutter is full.
        if (g == 32 && s != 511) {
            const int32_t i = findRung(kFineShutterLadder, s, 0, kFineTop - 1);
            if (i >= 0) *shutter = kFineShutterLadder[i + 1];
        } else if (s == 511) {
            *gain = atMost127(g + 5);
        }
        return 0;
    }
    if (y <= 150) return 0;
    // Down is not the mirror of up: the gain falls first, whatever the shutter, and the shutter
    // only falls once the gain is at its floor.
    if (g == 32 && s > 32) {
        const int32_t i = findRung(kFineShutterLadder, s, kFineTop, 1);
        if (i >= 0) *shutter = kFineShutterLadder[i - 1];
        return 0;
    }
    *gain = atLeast32(g - 5);
    return 0;
}
