// _kxbench: the yardsticks of the Python frame benchmark (python_frame.py), compiled so that they
// carry no interpreter cost: the same three calls a C client makes per frame, on the DIBs it holds,
// and a memcpy of each frame. Each call times a batch of frames and returns nanoseconds of processor time.
#include <kestrix.h>
#include <kestrix/px.h>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <array>
#include <ctime>
#include <cstring>
#include <vector>

namespace py = pybind11;

namespace {

using Frames = std::vector<py::array_t<uint8_t, py::array::c_style>>;

// Processor time of the calling thread, as time.thread_time_ns() gives it on the Python side: other
// work on the machine does not count.
int64_t threadNanoseconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000000000 + now.tv_nsec;
}

// A C client: MotionCompare, BmpGetYDc and pxResizeC3 (linear) on bottom-up DIBs whose rows are
// width * 3 bytes (a multiple of 4 at 720 pixels); the resize reads the DIB top row first with a
// negative step.
class ClientFrame {
public:
    ClientFrame(const std::vector<std::array<int32_t, 4>> &zones, int32_t sensitivity) : detector_(MotionOpen()) {
        std::vector<RECT> rects;
        for (const auto &z : zones) {
            rects.push_back(RECT{z[0], z[1], z[2], z[3]});
        }
        MotionInit(detector_, sensitivity, rects.data(), static_cast<int32_t>(rects.size()));
    }
    ~ClientFrame() { MotionClose(detector_); }
    ClientFrame(const ClientFrame &) = delete;
    ClientFrame &operator=(const ClientFrame &) = delete;

    int64_t run(const Frames &dibs, int32_t width, int32_t height, py::array_t<uint8_t, py::array::c_style> &out,
                size_t first, size_t count) {
        BITMAPINFOHEADER header{40, width, height, 1, 24, 0, static_cast<uint32_t>(width * height * 3), 0, 0, 0, 0};
        const int32_t step = width * 3;
        const auto outWidth = static_cast<int32_t>(out.shape(1));
        const auto outHeight = static_cast<int32_t>(out.shape(0));
        uint8_t *dst = out.mutable_data();
        int64_t sink = 0;
        const int64_t start = threadNanoseconds();
        for (size_t i = 0; i < count; ++i) {
            const uint8_t *dib = dibs[(first + i) % dibs.size()].data();
            uint8_t mask = 0;
            MotionCompare(detector_, &header, dib, &mask);
            sink += mask + BmpGetYDc(dib, static_cast<uint32_t>(step * height));
            sink += pxResizeC3(dib + static_cast<ptrdiff_t>(height - 1) * step, PxSize{width, height}, -step,
                               PxRect{0, 0, width, height}, dst, outWidth * 3, PxSize{outWidth, outHeight},
                               static_cast<double>(outWidth) / width, static_cast<double>(outHeight) / height,
                               PxLinear);
        }
        const int64_t elapsed = threadNanoseconds() - start;
        masks_ += sink;
        return elapsed;
    }

private:
    void *detector_;
    int64_t masks_ = 0;  // keeps the results alive
};

int64_t copyFrames(const Frames &frames, py::array_t<uint8_t, py::array::c_style> &out, size_t first,
                   size_t count) {
    uint8_t *dst = out.mutable_data();
    const int64_t start = threadNanoseconds();
    for (size_t i = 0; i < count; ++i) {
        const auto &frame = frames[(first + i) % frames.size()];
        std::memcpy(dst, frame.data(), static_cast<size_t>(frame.size()));
        asm volatile("" : : "r"(dst) : "memory");
    }
    return threadNanoseconds() - start;
}

}  // namespace

PYBIND11_MODULE(_kxbench, m) {
    py::class_<ClientFrame>(m, "ClientFrame")
        .def(py::init<const std::vector<std::array<int32_t, 4>> &, int32_t>())
        .def("run", &ClientFrame::run);
    m.def("copy_frames", &copyFrames);
}
