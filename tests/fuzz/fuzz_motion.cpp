// A detector driven by MotionInit and MotionCompare with random zones, sensitivities, frame sizes
// and depths, on frames exactly as large as their headers say. Every call returns 1, and the mask
// names only zones the detector has.
#include <cstdlib>

#include "fuzz/fuzz_input.h"
#include "kestrix.h"
#include "motion/motion_detector.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    kx::fuzz::Input in(data, size);
    void *handle = MotionOpen();
    auto *detector = static_cast<kx::MotionDetector *>(handle);
    const uint16_t depths[] = {16, 24, 8, 32, 1, 0};
    for (int step = in.range(1, 12); step > 0; --step) {
        if (in.range(0, 3) == 0) {
            std::vector<RECT> zones(size_t(in.range(0, 10)));
            for (RECT &r : zones) r = {in.range(-64, 200), in.range(-64, 200), in.range(-64, 200), in.range(-64, 200)};
            if (MotionInit(handle, in.range(-30, 30), zones.data(), int32_t(zones.size())) != 1) std::abort();
            detector->warmUpFrames = in.flag() ? kx::kWarmUpFrames : kx::kWarmUpFrames - 1;
        }
        const int32_t w = in.range(0, 120), h = in.range(0, 90);
        const uint16_t bits = depths[in.range(0, 5)];
        const BITMAPINFOHEADER header{40, w, h, 1, bits, 0, 0, 0, 0, 0, 0};
        std::vector<uint8_t> frame(size_t((int64_t{w} * bits + 31) / 32 * 4 * h));
        in.fill(frame.data(), frame.size());
        for (int repeat = in.range(1, 3); repeat > 0; --repeat) {
            uint8_t mask = 0xA5;
            if (MotionCompare(handle, &header, frame.data(), &mask) != 1) std::abort();
            const int32_t zones = detector->zones.size();
            if (zones < 8 && (mask >> zones) != 0) std::abort();
        }
    }
    MotionClose(handle);
    return 0;
}
