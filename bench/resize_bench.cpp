// pxResizeC3: nearest and linear on camera frames scaled to the painting window, beside libyuv's
// RGBScale and OpenCV's cv::resize doing the same scaling; cubic and Lanczos beside cv::resize's
// filters of the same name, and supersampling beside its INTER_AREA and libyuv's box filter on the
// three planes. swscale's filter of each kind (for linear, also its fast bilinear) and a memcpy of
// the output bytes sit beside each case.
#include <cstdint>
#include <string>
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

// A camera frame of each size into the 800x600 window of the client's frame, and D1 doubled.
constexpr Scaling kScalings[] = {{{352, 288}, {800, 600}},  {{720, 576}, {800, 600}},  {{720, 576}, {1600, 1200}},
                                 {{1280, 720}, {800, 600}}, {{1920, 1080}, {800, 600}}, {{717, 576}, {799, 600}}};

void resizeC3(benchmark::State &state, Scaling s, int32_t interpolation) {
    const std::vector<uint8_t> &src = randomBytes(bytesC3(s.from));
    std::vector<uint8_t> dst(bytesC3(s.to));
    const PxRect rect{0, 0, s.from.width, s.from.height};
    const double fx = static_cast<double>(s.to.width) / s.from.width;
    const double fy = static_cast<double>(s.to.height) / s.from.height;
    timeCalls(state, dst.size(), [&] {
        benchmark::DoNotOptimize(pxResizeC3(src.data(), s.from, 3 * s.from.width, rect, dst.data(), 3 * s.to.width,
                                            s.to, fx, fy, interpolation));
    });
}

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

std::string groupName(const char *kernel, Scaling s) {
    return std::string(kernel) + "/" + sizeName(s.from) + "_to_" + sizeName(s.to);
}

void addKestrix(const std::string &group, Scaling s, int32_t interpolation) {
    addLevels(group, [=](benchmark::State &state) { resizeC3(state, s, interpolation); });
    addMemcpy(group, bytesC3(s.to));
    addSwscale(group, s, interpolation);
}

// Nearest and linear with the peers' filters of the same name.
void addWithPeers(const char *kernel, Scaling s, int32_t interpolation) {
    const std::string group = groupName(kernel, s);
    addKestrix(group, s, interpolation);
#if defined(KX_BENCH_LIBYUV)
    const libyuv::FilterMode filter = interpolation == PxNearest ? libyuv::kFilterNone : libyuv::kFilterBilinear;
    add(group + "/libyuv", [=](benchmark::State &state) { libyuvScale(state, s, filter); });
#endif
#if defined(KX_BENCH_OPENCV)
    const int cvInterpolation = interpolation == PxNearest ? cv::INTER_NEAREST : cv::INTER_LINEAR;
    add(group + "/opencv", [=](benchmark::State &state) { opencvResize(state, s, cvInterpolation); });
#endif
}

// Cubic, Lanczos and supersampling with OpenCV's filters of the same kind, and for supersampling
// libyuv's box filter.
void addFilterWithPeers(const char *kernel, Scaling s, int32_t interpolation) {
    const std::string group = groupName(kernel, s);
    addKestrix(group, s, interpolation);
#if defined(KX_BENCH_LIBYUV)
    if (interpolation == PxSuper) add(group + "/libyuv", [=](benchmark::State &state) { libyuvBoxPlanes(state, s); });
#endif
#if defined(KX_BENCH_OPENCV)
    const int cvInterpolation = interpolation == PxCubic     ? cv::INTER_CUBIC
                                : interpolation == PxLanczos ? cv::INTER_LANCZOS4
                                                             : cv::INTER_AREA;
    add(group + "/opencv", [=](benchmark::State &state) { opencvResize(state, s, cvInterpolation); });
#endif
}

const bool registered = [] {
    for (const Scaling &s : kScalings) {
        addWithPeers("nearest", s, PxNearest);
        addWithPeers("linear", s, PxLinear);
    }
    // The float filters on the road's size, beside OpenCV's cubic and four-lobed Lanczos.
    addFilterWithPeers("cubic", kScalings[1], PxCubic);
    addFilterWithPeers("lanczos", kScalings[1], PxLanczos);
    // Supersampling only shrinks: 1080p to a third.
    addFilterWithPeers("super", {{1920, 1080}, {640, 360}}, PxSuper);
    return true;
}();

}  // namespace
}  // namespace kx::bench
