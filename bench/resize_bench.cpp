// pxResizeC3's cases on the frames they name: nearest and linear on camera frames scaled to the
// painting window, beside libyuv's RGBScale and OpenCV's cv::resize doing the same scaling; cubic
// and Lanczos beside cv::resize's filters of the same name, and supersampling beside its INTER_AREA
// and libyuv's box filter on the three planes. swscale's filter of each kind (for linear, also its
// fast bilinear) and a memcpy of the output bytes sit beside each case.
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "bench_cases.h"
#include "kestrix/px.h"
#include "swscale_peer.h"

#if defined(KX_BENCH_LIBYUV)
#include <libyuv/scale.h>
#include <libyuv/scale_rgb.h>
#endif
#if defined(KX_BENCH_OPENCV)
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace kx::bench {
namespace {

struct Scaling {
    PxSize from, to;
};

#if defined(KX_BENCH_LIBYUV)
void libyuvScale(benchmark::State &state, Scaling s, libyuv::FilterMode filter) {
    const std::vector<uint8_t> &src = randomBytes(bytesC3(s.from));
    std::vector<uint8_t> dst(bytesC3(s.to));
    timeCalls(state, dst.size(), [&] {
        benchmark::DoNotOptimize(libyuv::RGBScale(src.data(), 3 * s.from.width, s.from.width, s.from.height,
                                                  dst.data(), 3 * s.to.width, s.to.width, s.to.height, filter));
    });
}

// libyuv has no box filter for packed pixels: the same shrink on three planes of the frame's size.
void libyuvBoxPlanes(benchmark::State &state, Scaling s) {
    const size_t plane = size_t{1} * s.from.width * s.from.height;
    const std::vector<uint8_t> &src = randomBytes(3 * plane);
    std::vector<uint8_t> dst(bytesC3(s.to));
    const size_t outPlane = dst.size() / 3;
    timeCalls(state, dst.size(), [&] {
        for (size_t p = 0; p < 3; ++p)
            libyuv::ScalePlane(src.data() + p * plane, s.from.width, s.from.width, s.from.height,
                               dst.data() + p * outPlane, s.to.width, s.to.width, s.to.height, libyuv::kFilterBox);
    });
}
#endif

#if defined(KX_BENCH_OPENCV)
void opencvResize(benchmark::State &state, Scaling s, int interpolation) {
    cv::setNumThreads(0);  // the calling thread only, as Kestrix works
    // cv::Mat wants a writable pointer even for an input it only reads.
    const cv::Mat src(s.from.height, s.from.width, CV_8UC3, const_cast<uint8_t *>(randomBytes(bytesC3(s.from)).data()));
    std::vector<uint8_t> dstBytes(bytesC3(s.to));
    cv::Mat dst(s.to.height, s.to.width, CV_8UC3, dstBytes.data());
    timeCalls(state, dstBytes.size(), [&] { cv::resize(src, dst, dst.size(), 0, 0, interpolation); });
}
#endif

#if defined(KX_BENCH_SWSCALE)
void swscaleResize(benchmark::State &state, Scaling s, int flags) {
    const std::vector<uint8_t> &src = randomBytes(bytesC3(s.from));
    std::vector<uint8_t> dst(bytesC3(s.to));
    SwsImage from, to;
    from.planes[0] = src.data();
    from.steps[0] = 3 * s.from.width;
    to.planes[0] = dst.data();
    to.steps[0] = 3 * s.to.width;
    swscaleCalls(state, s.from, AV_PIX_FMT_BGR24, from, s.to, AV_PIX_FMT_BGR24, to, flags, dst.size());
}

// swscale's filters for each interpolation; linear has its exact and its fast bilinear.
void addSwscale(const std::string &group, Scaling s, int32_t interpolation) {
    const auto at = [=](int flags) { return [=](benchmark::State &state) { swscaleResize(state, s, flags); }; };
    switch (interpolation) {
        case PxNearest: add(group + "/swscale", at(SWS_POINT)); break;
        case PxLinear:
            add(group + "/swscale", at(SWS_BILINEAR));
            add(group + "/swscale_fast", at(SWS_FAST_BILINEAR));
            break;
        case PxCubic: add(group + "/swscale", at(SWS_BICUBIC)); break;
        case PxLanczos: add(group + "/swscale", at(SWS_LANCZOS)); break;
        default: add(group + "/swscale", at(SWS_AREA)); break;
    }
}
#else
void addSwscale(const std::string &, Scaling, int32_t) {}
#endif

// The peers' filters of the same kind: for nearest and linear libyuv's, for supersampling its box
// filter; OpenCV's of the same name (its area filter for supersampling, its four-lobed Lanczos);
// swscale's.
void addPeers([[maybe_unused]] const std::string &group, [[maybe_unused]] Scaling s, int32_t interpolation) {
    addSwscale(group, s, interpolation);
#if defined(KX_BENCH_LIBYUV)
    if (interpolation == PxNearest || interpolation == PxLinear) {
        const libyuv::FilterMode filter = interpolation == PxNearest ? libyuv::kFilterNone : libyuv::kFilterBilinear;
        add(group + "/libyuv", [=](benchmark::State &state) { libyuvScale(state, s, filter); });
    } else if (interpolation == PxSuper) {
        add(group + "/libyuv", [=](benchmark::State &state) { libyuvBoxPlanes(state, s); });
    }
#endif
#if defined(KX_BENCH_OPENCV)
    const int cvInterpolation = interpolation == PxNearest   ? cv::INTER_NEAREST
                                : interpolation == PxLinear  ? cv::INTER_LINEAR
                                : interpolation == PxCubic   ? cv::INTER_CUBIC
                                : interpolation == PxLanczos ? cv::INTER_LANCZOS4
                                                             : cv::INTER_AREA;
    add(group + "/opencv", [=](benchmark::State &state) { opencvResize(state, s, cvInterpolation); });
#endif
}

// Each frame a resize case names is scaled to its window.
[[maybe_unused]] const bool registered = [] {
    const std::pair<const char *, int32_t> families[] = {
        {"nearest", PxNearest}, {"linear", PxLinear}, {"cubic", PxCubic}, {"lanczos", PxLanczos}, {"super", PxSuper}};
    for (const auto &[family, interpolation] : families) {
        addFamily(family, [interpolation](const std::string &group, const kx::cases::Geometry &g) {
            addPeers(group, {{g.width, g.height}, g.to}, interpolation);
        });
    }
    return true;
}();

}  // namespace
}  // namespace kx::bench
