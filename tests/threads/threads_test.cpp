// Detectors, steppers, BmpProcess and the kernels from several threads at once, each on its own
// data, as the thread rules allow: every thread gets what one thread alone gets. The level and
// the processor caches are shared and read (or filled) by all of them.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <thread>
#include <vector>

#include "kestrix.h"
#include "kestrix/px.h"

namespace {

constexpr int32_t kW = 64, kH = 48;

// Everything one thread computes; equal across threads and to a lone run.
struct Outcome {
    std::vector<uint8_t> masks;
    std::array<int32_t, 8> exposure{};
    std::vector<uint8_t> woven, resized, planes, deinterlaced, sharpened, filtered;
    int32_t level = -1, cacheStatus = 0, cacheSize = 0;
    uint64_t features = 0;
    bool operator==(const Outcome &) const = default;
};

Outcome work(uint32_t seed) {
    Outcome out;
    // A detector of its own, fed frames with a dot on the second zone's grid (42, 24) that blinks.
    void *detector = MotionOpen();
    const RECT zones[] = {{4, 4, 30, 30}, {34, 4, 60, 44}};
    MotionInit(detector, 9, zones, 2);
    BITMAPINFOHEADER header{40, kW, kH, 1, 24, 0, kW * kH * 3, 0, 0, 0, 0};
    std::vector<uint8_t> frame(size_t(kW) * kH * 3, uint8_t(seed));
    for (int i = 0; i < 40; ++i) {
        frame[size_t((kH - 1 - 24) * kW * 3 + 42 * 3)] = uint8_t(200 * (i % 2));
        uint8_t mask = 0;
        MotionCompare(detector, &header, frame.data(), &mask);
        out.masks.push_back(mask);
    }
    MotionClose(detector);

    // The steppers and the luminance measure.
    int32_t y = BmpGetYDc(frame.data(), uint32_t(frame.size())), g = 40, s = 63, stage = 130;
    out.exposure[0] = y;
    out.exposure[1] = ChangeGain(&y, &g, &s);
    out.exposure[2] = ChangeGain2(&y, 1200, &g, &s);
    out.exposure[3] = ChangeGain3(&y, 100, &stage, &g, &s);
    out.exposure[4] = g, out.exposure[5] = s, out.exposure[6] = stage;

    // Fields woven and deinterlaced in place.
    out.woven = frame;
    for (size_t i = 0; i < out.woven.size(); ++i) out.woven[i] = uint8_t(i * 7 + seed);
    std::vector<uint8_t> scratch(out.woven.size() * 2);
    out.exposure[7] = BmpProcess(&header, out.woven.data(), int32_t(out.woven.size()), scratch.data(),
                                 int32_t(scratch.size()), 2);

    // Kernels, which all read the level chosen at load.
    out.resized.assign(size_t(100) * 70 * 3, 0);
    pxResizeC3(out.woven.data(), {kW, kH}, kW * 3, {0, 0, kW, kH}, out.resized.data(), 100 * 3, {100, 70},
               100.0 / kW, 70.0 / kH, PxLinear);
    out.planes.assign(size_t(kW) * kH * 3 / 2, 0);
    uint8_t *const planes[3] = {out.planes.data(), out.planes.data() + kW * kH, out.planes.data() + kW * kH * 5 / 4};
    const int32_t steps[3] = {kW, kW / 2, kW / 2};
    pxRgbToYuv420(out.woven.data(), kW * 3, planes, steps, {kW, kH});
    out.deinterlaced.assign(size_t(kW) * kH, 0);
    pxDeinterlaceEdge(out.planes.data(), kW, out.deinterlaced.data(), kW, {kW, kH}, 0, 1);
    // The filters over the region inside a one-pixel margin.
    const uint8_t *inner = out.woven.data() + kW * 3 + 3;
    out.sharpened.assign(out.woven.size(), 0);
    pxSharpenC3(inner, kW * 3, out.sharpened.data(), kW * 3, {kW - 2, kH - 2});
    const int32_t blur[9] = {1, 2, 1, 2, 4, 2, 1, 2, 1};
    out.filtered.assign(out.woven.size(), 0);
    pxFilterC3(out.woven.data(), kW * 3, out.filtered.data(), kW * 3, {kW - 2, kH - 2}, blur, {3, 3}, {2, 2}, 16);
    out.level = pxGetLevel();
    out.cacheStatus = pxCacheSize(&out.cacheSize);
    pxGetFeatures(&out.features, nullptr);
    return out;
}

TEST(Threads, IndependentWorkGivesWhatOneThreadGives) {
    pxChooseLevel();  // as the library's load does, before any other thread runs
    constexpr int kThreads = 4;
    std::array<Outcome, kThreads> outcomes;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) threads.emplace_back([&outcomes, t] { outcomes[t] = work(uint32_t(t % 2)); });
    for (std::thread &thread : threads) thread.join();
    for (int t = 0; t < kThreads; ++t) EXPECT_TRUE(outcomes[t] == work(uint32_t(t % 2))) << "thread " << t;
    EXPECT_NE(outcomes[0].masks, std::vector<uint8_t>(40, 0));  // the dot was seen
}

}  // namespace
