// pxSharpenC3 and pxFilterC3 over a VGA frame's inner region, beside OpenCV's cv::filter2D with the
// same kernel as 32-bit floats on the same region, and a memcpy of the same output bytes.
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "bench_cases.h"
#include "kestrix/px.h"

#if defined(KX_BENCH_OPENCV)
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace kx::bench {
namespace {

// A 640x480 frame and its region less a one-pixel margin, which the 3x3 window reads.
constexpr int32_t kFrameWidth = 640, kFrameHeight = 480, kStep = 3 * kFrameWidth;
constexpr PxSize kRegion{638, 478};
constexpr size_t kRegionBytes = size_t{3} * kRegion.width * kRegion.height;

// Runs one kernel call per iteration on the region at (1, 1) of src into the same place of dst.
template <class Kernel> void region(benchmark::State &state, Kernel kernel) {
    const std::vector<uint8_t> &src = randomBytes(size_t{kStep} * kFrameHeight);
    std::vector<uint8_t> dst(src.size());
    timeCalls(state, kRegionBytes, [&] {
        benchmark::DoNotOptimize(kernel(src.data() + kStep + 3, dst.data() + kStep + 3));
    });
}

void sharpenC3(benchmark::State &state) {
    region(state, [](const uint8_t *src, uint8_t *dst) { return pxSharpenC3(src, kStep, dst, kStep, kRegion); });
}

// A 3x3 smoothing kernel summing to 16: the shift rule, as the filter passes of the exports use it.
void filterC3(benchmark::State &state) {
    static const int32_t kernel[9] = {1, 2, 1, 2, 4, 2, 1, 2, 1};
    region(state, [](const uint8_t *src, uint8_t *dst) {
        return pxFilterC3(src, kStep, dst, kStep, kRegion, kernel, {3, 3}, {1, 1}, 16);
    });
}

#if defined(KX_BENCH_OPENCV)
// cv::filter2D on the same region of the same frame, its kernel as CV_32F: the smoothing kernel
// over 16, or the sharpen mask (16 in the middle, -1 around, over 8).
void opencvFilter(benchmark::State &state, bool sharpen) {
    cv::setNumThreads(0);  // the calling thread only, as Kestrix works
    const std::vector<uint8_t> &bytes = randomBytes(size_t{kStep} * kFrameHeight);
    const cv::Mat frame(kFrameHeight, kFrameWidth, CV_8UC3, const_cast<uint8_t *>(bytes.data()));
    std::vector<uint8_t> out(bytes.size());
    cv::Mat outFrame(kFrameHeight, kFrameWidth, CV_8UC3, out.data());
    const cv::Rect inner(1, 1, kRegion.width, kRegion.height);
    const cv::Mat src = frame(inner);
    cv::Mat dst = outFrame(inner);
    cv::Mat kernel = sharpen ? (cv::Mat_<float>(3, 3) << -1, -1, -1, -1, 16, -1, -1, -1, -1) / 8.0f
                             : (cv::Mat_<float>(3, 3) << 1, 2, 1, 2, 4, 2, 1, 2, 1) / 16.0f;
    timeCalls(state, kRegionBytes, [&] { cv::filter2D(src, dst, -1, kernel); });
}
#endif

// Every level the processor can run: level 3 runs the SSSE3 forms, level 4 the AVX2 ones.
[[maybe_unused]] const bool registered = [] {
    using Run = void (*)(benchmark::State &);
    for (const auto &[kernel, run] : {std::pair<const char *, Run>{"sharpen", sharpenC3}, {"filter", filterC3}}) {
        const std::string group = std::string(kernel) + "/" + sizeName(kRegion);
        addLevels(group, run);
        addMemcpy(group, kRegionBytes);
#if defined(KX_BENCH_OPENCV)
        const bool sharpen = run == sharpenC3;
        add(group + "/opencv", [sharpen](benchmark::State &state) { opencvFilter(state, sharpen); });
#endif
    }
    return true;
}();

}  // namespace
}  // namespace kx::bench
