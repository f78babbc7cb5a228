// BmpGetYDc at every level on blocks exactly as long as the count, against the plain rule; and the
// three steppers with random settings, values and null pointers. Each stepper gives one of its
// results, reads and writes only its own integers, never writes the luminance, and moves the
// gain, shutter and stage only to values of their ranges and ladders (the gain as low as 24).
#include <algorithm>
#include <cstdlib>
#include <memory>

#include "frame/library_state.h"
#include "fuzz/fuzz_input.h"
#include "kestrix.h"
#include "kestrix/px.h"

namespace {

int32_t plainLuminance(const uint8_t *pixels, uint32_t byteCount) {
    if (byteCount < 3) return 0;
    uint32_t sum = 0;
    for (uint32_t i = 0; i + 3 <= byteCount; i += 3) {
        const double y = (pixels[i] * 0.299 + pixels[i + 1] * 0.578) + pixels[i + 2] * 0.114;
        sum += uint8_t(int32_t(y));
    }
    return int32_t(sum) / int32_t(byteCount / 3);
}

int32_t randomSetting(kx::fuzz::Input &in, int32_t usual) {
    switch (in.range(0, 5)) {
        case 0: return in.range(-10, 3000);
        case 1: return in.flag() ? INT32_MAX : INT32_MIN;
        case 2: return usual + in.range(-3, 3);
        default: return usual;
    }
}

int32_t randomValue(kx::fuzz::Input &in, const int32_t *rungs, size_t count, int32_t lo, int32_t hi) {
    if (in.range(0, 7) == 0) return int32_t(in.word());
    return in.flag() ? rungs[in.range(0, int32_t(count) - 1)] : in.range(lo, hi);
}

constexpr int32_t kShutters[] = {32, 63, 176, 192, 208, 224, 240, 448, 456, 464, 472, 480, 488, 496, 504, 511};
constexpr int32_t kGains[] = {32, 64, 96, 127, 52, 57, 60};
constexpr int32_t kStages[] = {16, 32, 48, 64, 130};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t dataSize) {
    kx::fuzz::Input in(data, dataSize);
    pxSetLevel(in.range(0, 4));  // a level this processor lacks is refused and the last one stays

    const uint32_t byteCount = uint32_t(in.range(0, 4000));
    std::unique_ptr<uint8_t[]> pixels(new uint8_t[byteCount]);
    in.fill(pixels.get(), byteCount);
    const bool nullPixels = in.range(0, 15) == 0;
    if (BmpGetYDc(nullPixels ? nullptr : pixels.get(), byteCount) !=
        (nullPixels ? 0 : plainLuminance(pixels.get(), byteCount)))
        std::abort();

    kx::Settings &s = kx::settings;
    const kx::Settings defaults;
    s.shutterMin = randomSetting(in, defaults.shutterMin);
    s.shutterMax = randomSetting(in, defaults.shutterMax);
    s.shutterOutdoor = randomSetting(in, defaults.shutterOutdoor);
    s.lumaDownMode = randomSetting(in, defaults.lumaDownMode);
    s.lumaDownLevel = randomSetting(in, defaults.lumaDownLevel);
    s.lumaUpLevel = randomSetting(in, defaults.lumaUpLevel);
    s.shutterZoomUp = randomSetting(in, defaults.shutterZoomUp);
    s.shutterZoomDown = randomSetting(in, defaults.shutterZoomDown);
    s.lumaZoomUp = randomSetting(in, defaults.lumaZoomUp);
    s.lumaZoomDown = randomSetting(in, defaults.lumaZoomDown);

    for (int call = in.range(1, 4); call > 0; --call) {
        // luma, gain, shutter and stage, each between two guards.
        int32_t cells[9] = {0x5A5A5A5A, 0, 0x5A5A5A5A, 0, 0x5A5A5A5A, 0, 0x5A5A5A5A, 0, 0x5A5A5A5A};
        cells[1] = in.flag() ? in.range(-5, 260) : int32_t(in.word());
        cells[3] = randomValue(in, kGains, std::size(kGains), -5, 140);
        cells[5] = randomValue(in, kShutters, std::size(kShutters), -5, 600);
        cells[7] = randomValue(in, kStages, std::size(kStages), -5, 200);
        const int32_t width = in.range(0, 3) == 0 ? int32_t(in.word()) : in.range(0, 2500);
        const int32_t before[9] = {cells[0], cells[1], cells[2], cells[3], cells[4], cells[5], cells[6], cells[7],
                                   cells[8]};
        int32_t *const luma = in.range(0, 15) == 0 ? nullptr : &cells[1];
        int32_t *const gain = in.range(0, 15) == 0 ? nullptr : &cells[3];
        int32_t *const shutter = in.range(0, 15) == 0 ? nullptr : &cells[5];
        int32_t *const stage = in.range(0, 15) == 0 ? nullptr : &cells[7];
        const int32_t which = in.range(0, 2);
        int32_t result;
        bool known, nulls = !luma || !gain || !shutter;
        if (which == 0) {
            result = ChangeGain(luma, gain, shutter);
            known = result >= -1 && result <= 1;
        } else if (which == 1) {
            result = ChangeGain2(luma, width, gain, shutter);
            known = result >= -1 && result <= 1;
        } else {
            result = ChangeGain3(luma, width, stage, gain, shutter);
            known = result == 0 || result == 1 || result == 3;
            nulls = nulls || !stage;
        }
        bool fine = known && cells[0] == before[0] && cells[1] == before[1] && cells[2] == before[2] &&
                    cells[4] == before[4] && cells[6] == before[6] && cells[8] == before[8];
        if (nulls) fine = fine && result == 0 && std::equal(cells, cells + 9, before);
        // A bright scene may set the gain to 24, and one of 131 to 150 to 31, below the gain's floor:
        // the next call's bound check lifts it back.
        fine = fine && (cells[3] == before[3] || (cells[3] >= 24 && cells[3] <= 127));
        fine = fine && (cells[5] == before[5] || (cells[5] >= 32 && cells[5] <= 511));
        fine = fine && (cells[7] == before[7] || std::count(kStages, kStages + 5, cells[7]) == 1);
        if (which < 2) fine = fine && cells[7] == before[7];
        if (!fine) std::abort();
    }
    return 0;
}
