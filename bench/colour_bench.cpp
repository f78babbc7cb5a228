// pxRgbToYuv420 and pxYuv420ToRgb on each frame size, beside libyuv's RGB24ToI420 and I420ToRGB24,
// OpenCV's cvtColor to and from I420 and swscale's BGR24 to and from YUV420P, and a memcpy of the
// bytes written. Kestrix leaves out an odd last column or row, so the peers get the even part: the
// same work.
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "bench_cases.h"
#include "kestrix/px.h"
#include "swscale_peer.h"

#if defined(KX_BENCH_LIBYUV)
#include <libyuv/convert.h>
#include <libyuv/convert_argb.h>
#endif
#if defined(KX_BENCH_OPENCV)
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace kx::bench {
namespace {

// One block of 4:2:0 planes, Y then U then V, each row as long as the samples it holds: the
// layout libyuv and OpenCV call I420, and Kestrix reads and writes it through its plane steps.
struct Planes {
    explicit Planes(PxSize size)
        : even{size.width & ~1, size.height & ~1},
          yStep(size.width),
          cStep(size.width / 2),
          bytes(randomBytes(size_t(yStep) * size.height + size_t(2) * cStep * (size.height / 2))) {
        pointers[0] = bytes.data();
        pointers[1] = pointers[0] + size_t(yStep) * size.height;
        pointers[2] = pointers[1] + size_t(cStep) * (size.height / 2);
    }
    // What a conversion writes of the planes: the even part.
    size_t written() const { return size_t(even.width) * even.height * 3 / 2; }

    PxSize even;
    int32_t yStep, cStep;
    std::vector<uint8_t> bytes;
    uint8_t *pointers[3];
    int32_t steps[3] = {yStep, cStep, cStep};
};

#if defined(KX_BENCH_LIBYUV)
void libyuvRgbToYuv(benchmark::State &state, PxSize size) {
    const std::vector<uint8_t> &rgb = randomBytes(bytesC3(size));
    Planes planes(size);
    timeCalls(state, planes.written(), [&] {
        benchmark::DoNotOptimize(libyuv::RGB24ToI420(rgb.data(), 3 * size.width, planes.pointers[0], planes.yStep,
                                                     planes.pointers[1], planes.cStep, planes.pointers[2],
                                                     planes.cStep, planes.even.width, planes.even.height));
    });
}

void libyuvYuvToRgb(benchmark::State &state, PxSize size) {
    const Planes planes(size);
    std::vector<uint8_t> rgb(bytesC3(size));
    timeCalls(state, bytesC3(planes.even), [&] {
        benchmark::DoNotOptimize(libyuv::I420ToRGB24(planes.pointers[0], planes.yStep, planes.pointers[1],
                                                     planes.cStep, planes.pointers[2], planes.cStep, rgb.data(),
                                                     3 * size.width, planes.even.width, planes.even.height));
    });
}
#endif

#if defined(KX_BENCH_OPENCV)
// OpenCV sees I420 as one plane of height * 3 / 2 rows, which needs rows as long as the width:
// the planes are even-sized and tight for it.
void opencvRgbToYuv(benchmark::State &state, PxSize size) {
    cv::setNumThreads(0);  // the calling thread only, as Kestrix works
    const PxSize even{size.width & ~1, size.height & ~1};
    // cv::Mat wants a writable pointer even for an input it only reads.
    const cv::Mat rgb(even.height, even.width, CV_8UC3, const_cast<uint8_t *>(randomBytes(bytesC3(size)).data()),
                      size_t{3} * size.width);
    cv::Mat yuv(even.height * 3 / 2, even.width, CV_8UC1);
    timeCalls(state, yuv.total(), [&] { cv::cvtColor(rgb, yuv, cv::COLOR_BGR2YUV_I420); });
}

void opencvYuvToRgb(benchmark::State &state, PxSize size) {
    cv::setNumThreads(0);
    const PxSize even{size.width & ~1, size.height & ~1};
    const cv::Mat yuv(even.height * 3 / 2, even.width, CV_8UC1,
                      const_cast<uint8_t *>(randomBytes(size_t(even.width) * even.height * 3 / 2).data()));
    std::vector<uint8_t> bytes(bytesC3(size));
    cv::Mat rgb(even.height, even.width, CV_8UC3, bytes.data(), size_t{3} * size.width);
    timeCalls(state, bytesC3(even), [&] { cv::cvtColor(yuv, rgb, cv::COLOR_YUV2BGR_I420); });
}
#endif

#if defined(KX_BENCH_SWSCALE)
// BGR24 to and from YUV420P at the same size: a conversion, no scaling.
void swscaleRgbToYuv(benchmark::State &state, PxSize size) {
    const std::vector<uint8_t> &rgb = randomBytes(bytesC3(size));
    Planes planes(size);
    SwsImage from, to;
    from.planes[0] = rgb.data();
    from.steps[0] = 3 * size.width;
    for (int p = 0; p < 3; ++p) {
        to.planes[p] = planes.pointers[p];
        to.steps[p] = planes.steps[p];
    }
    swscaleCalls(state, planes.even, AV_PIX_FMT_BGR24, from, planes.even, AV_PIX_FMT_YUV420P, to, SWS_POINT,
                 planes.written());
}

void swscaleYuvToRgb(benchmark::State &state, PxSize size) {
    const Planes planes(size);
    // swscale's vector converters write whole groups of pixels, past the end of a row whose width
    // is no multiple of their group: room for the last row's overhang.
    std::vector<uint8_t> rgb(bytesC3(size) + 3 * 64);
    SwsImage from, to;
    for (int p = 0; p < 3; ++p) {
        from.planes[p] = planes.pointers[p];
        from.steps[p] = planes.steps[p];
    }
    to.planes[0] = rgb.data();
    to.steps[0] = 3 * size.width;
    swscaleCalls(state, planes.even, AV_PIX_FMT_YUV420P, from, planes.even, AV_PIX_FMT_BGR24, to, SWS_POINT,
                 bytesC3(planes.even));
}
#endif

template <class Run> auto at(PxSize size, Run run) {
    return [=](benchmark::State &state) { run(state, size); };
}

// The peers of each conversion, on the frame's size; a peer that is not built has none.
using Peer = void (*)(benchmark::State &, PxSize);
#if !defined(KX_BENCH_LIBYUV)
constexpr Peer libyuvRgbToYuv = nullptr, libyuvYuvToRgb = nullptr;
#endif
#if !defined(KX_BENCH_OPENCV)
constexpr Peer opencvRgbToYuv = nullptr, opencvYuvToRgb = nullptr;
#endif
#if !defined(KX_BENCH_SWSCALE)
constexpr Peer swscaleRgbToYuv = nullptr, swscaleYuvToRgb = nullptr;
#endif
struct Conversion {
    const char *family;
    Peer libyuv, opencv, swscale;
};

[[maybe_unused]] const bool registered = [] {
    static const Conversion conversions[] = {
        {"rgb_to_yuv420", libyuvRgbToYuv, opencvRgbToYuv, swscaleRgbToYuv},
        {"yuv420_to_rgb", libyuvYuvToRgb, opencvYuvToRgb, swscaleYuvToRgb},
    };
    for (const Conversion &conversion : conversions) {
        addFamily(conversion.family, [&conversion](const std::string &group, const kx::cases::Geometry &g) {
            const PxSize size{g.width, g.height};
            const std::pair<const char *, Peer> peers[] = {
                {"libyuv", conversion.libyuv}, {"opencv", conversion.opencv}, {"swscale", conversion.swscale}};
            for (const auto &[name, peer] : peers)
                if (peer) add(group + "/" + name, at(size, peer));
        });
    }
    return true;
}();

}  // namespace
}  // namespace kx::bench
