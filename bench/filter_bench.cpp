// pxSharpenC3 and pxFilterC3's smoothing case over a VGA frame's inner region, beside OpenCV's
// cv::filter2D with the same kernel as 32-bit floats on the same region, and a memcpy of the same
// output bytes.
#include <cstdint>
#include <string>
#include <vector>

#include "bench_cases.h"
#include "kestrix/px.h"

#if defined(KX_BENCH_OPENCV)
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace kx::bench {
namespace {

#if defined(KX_BENCH_OPENCV)
// cv::filter2D on the same region (the frame less a one-pixel margin, which the 3x3 window reads),
// its kernel as CV_32F: the smoothing kernel over 16, or the sharpen mask (16 in the middle, -1
// around, over 8).
void opencvFilter(benchmark::State &state, PxSize region, bool sharpen) {
    cv::setNumThreads(0);  // the calling thread only, as Kestrix works
    const int32_t width = region.width + 2, height = region.height + 2;
    const std::vector<uint8_t> &bytes = randomBytes(size_t{3} * width * height);
    const cv::Mat frame(height, width, CV_8UC3, const_cast<uint8_t *>(bytes.data()));
    std::vector<uint8_t> out(bytes.size());
    cv::Mat outFrame(height, width, CV_8UC3, out.data());
    const cv::Rect inner(1, 1, region.width, region.height);
    const cv::Mat src = frame(inner);
    cv::Mat dst = outFrame(inner);
    cv::Mat kernel = sharpen ? (cv::Mat_<float>(3, 3) << -1, -1, -1, -1, 16, -1, -1, -1, -1) / 8.0f
                             : (cv::Mat_<float>(3, 3) << 1, 2, 1, 2, 4, 2, 1, 2, 1) / 16.0f;
    timeCalls(state, size_t{3} * region.width * region.height, [&] { cv::filter2D(src, dst, -1, kernel); });
}
#endif

// Every level the processor can run: level 3 runs the SSSE3 forms, level 4 the AVX2 ones.
[[maybe_unused]] const bool registered = [] {
    for (const bool sharpen : {true, false}) {
        addFamily(sharpen ? "sharpen" : "filter", [sharpen](const std::string &group, const kx::cases::Geometry &g) {
#if defined(KX_BENCH_OPENCV)
            const PxSize region{g.width, g.height};
            add(group + "/opencv", [=](benchmark::State &state) { opencvFilter(state, region, sharpen); });
#else
            (void)group, (void)g, (void)sharpen;
#endif
        });
    }
    return true;
}();

}  // namespace
}  // namespace kx::bench
