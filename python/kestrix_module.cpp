// kestrix._kestrix: the thin compiled layer under the kestrix package. It checks numpy arrays,
// describes them to the C exports (kestrix.h) and the kernels (kestrix/px.h), and releases the GIL
// around every library call. Policy (names, defaults, events) lives in the Python package above.
#include <kestrix.h>
#include <kestrix/px.h>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace py = pybind11;

namespace {

// Bytes the binding has copied out of callers' frames. Only the motion path copies (a top-down
// frame turned bottom-up); the tests read this to hold the zero-copy promises of the others.
std::atomic<uint64_t> copiedBytes{0};

// A library status that is an error: the Python package turns it into KestrixError.
struct StatusError {
    std::string function;
    int32_t status;
    std::string name;
};

const char *pxStatusName(PxStatus status) {
    switch (status) {
    case PxStsOk: return "PxStsOk";
    case PxStsBadSize: return "PxStsBadSize";
    case PxStsNullPtr: return "PxStsNullPtr";
    case PxStsNoMem: return "PxStsNoMem";
    case PxStsBadStep: return "PxStsBadStep";
    case PxStsBadInterpolation: return "PxStsBadInterpolation";
    case PxStsBadFactor: return "PxStsBadFactor";
    case PxStsBadDivisor: return "PxStsBadDivisor";
    case PxStsNoResult: return "PxStsNoResult";
    case PxStsNotVendor: return "PxStsNotVendor";
    case PxStsNoIntersection: return "PxStsNoIntersection";
    case PxStsOddSize: return "PxStsOddSize";
    case PxStsNoCpuInfo: return "PxStsNoCpuInfo";
    case PxStsNoCacheInfo: return "PxStsNoCacheInfo";
    default: return "PxStsUnknown";
    }
}

// Errors raise; warnings and success come back as values.
PxStatus checked(const char *function, PxStatus status) {
    if (status < 0) {
        throw StatusError{function, status, pxStatusName(status)};
    }
    return status;
}

// An 8-bit array whose last axis (or last two, for frames) is packed; rows may lie anywhere.
struct View {
    uint8_t *data;      // first element: the top row
    int32_t height;
    int32_t width;
    ptrdiff_t rowStep;  // bytes from one row to the next, may be negative
};

[[noreturn]] void raiseType(const std::string &message) { throw py::type_error(message); }
[[noreturn]] void raiseValue(const std::string &message) { throw py::value_error(message); }

// "(a, b, c)" of an array's shape or strides, for the messages.
std::string tupleText(const py::array &a, bool strides) {
    std::string text = "(";
    for (py::ssize_t i = 0; i < a.ndim(); ++i) {
        if (i) {
            text += ", ";
        }
        text += std::to_string(strides ? a.strides(i) : a.shape(i));
    }
    text += a.ndim() == 1 ? ",)" : ")";
    return text;
}
std::string shapeText(const py::array &a) { return tupleText(a, false); }
std::string stridesText(const py::array &a) { return tupleText(a, true); }

py::array asUint8Array(const py::handle &object, const char *what) {
    if (!py::isinstance<py::array>(object)) {
        raiseType(std::string(what) + " must be a numpy.ndarray, not " +
                  std::string(py::str(py::type::handle_of(object).attr("__name__"))));
    }
    auto array = py::reinterpret_borrow<py::array>(object);
    if (!array.dtype().is(py::dtype::of<uint8_t>())) {
        raiseType(std::string(what) + " must have dtype uint8, not " + std::string(py::str(array.dtype())));
    }
    return array;
}

void checkExtent(py::ssize_t height, py::ssize_t width, py::ssize_t rowStep, const char *what) {
    constexpr py::ssize_t limit = std::numeric_limits<int32_t>::max();
    if (height > limit || width > limit / 3 || rowStep > limit || rowStep < -limit || height * width > limit / 3) {
        raiseValue(std::string(what) + " is too large for the library's 32-bit sizes");
    }
}

// An (height, width, 3) frame (channels 3) or an (height, width) plane (channels 1) whose samples
// are packed in each row; the row step is free. A frame needs a row and a column; a plane may be
// empty (the chroma of a one-row frame), which the kernels judge.
View imageView(const py::handle &object, const char *what, int channels, bool writable) {
    py::array array = asUint8Array(object, what);
    const std::string name(what);
    if (channels == 3 ? array.ndim() != 3 || array.shape(2) != 3 : array.ndim() != 2) {
        raiseValue(name + (channels == 3 ? " must have shape (height, width, 3), not "
                                         : " must have shape (height, width), not ") + shapeText(array));
    }
    if (channels == 3 && (array.shape(0) < 1 || array.shape(1) < 1)) {
        raiseValue(name + " must have at least one row and one column, not " + shapeText(array));
    }
    const bool packed = channels == 3 ? array.strides(2) == 1 && array.strides(1) == 3
                                      : array.shape(1) < 2 || array.strides(1) == 1;
    if (!packed) {
        raiseValue(name + (channels == 3 ? " must have its pixels packed in each row (strides (row, 3, 1)), not "
                                         : " must have its samples packed in each row (strides (row, 1)), not ") +
                   stridesText(array) + "; numpy.ascontiguousarray gives such a copy");
    }
    if (writable && !array.writeable()) {
        raiseValue(name + " must be writable");
    }
    checkExtent(array.shape(0), array.shape(1), array.strides(0), what);
    // Read-only arrays are fine for inputs; mutable_data() would refuse them.
    auto *data = const_cast<uint8_t *>(static_cast<const uint8_t *>(array.data()));
    return {data, static_cast<int32_t>(array.shape(0)),
            static_cast<int32_t>(array.shape(1)), array.strides(0)};
}

View frameView(const py::handle &object, const char *what, bool writable = false) {
    return imageView(object, what, 3, writable);
}

View planeView(const py::handle &object, const char *what, bool writable = false) {
    return imageView(object, what, 1, writable);
}

// A frame the exports read as one block of tightly packed rows, top row first in memory.
View packedFrame(const py::handle &object, const char *what, bool writable = false) {
    View view = frameView(object, what, writable);
    if (view.rowStep != 3 * static_cast<ptrdiff_t>(view.width)) {
        raiseValue(std::string(what) + " must be C-contiguous (rows of width * 3 bytes, top row first); "
                   "numpy.ascontiguousarray gives such a copy");
    }
    return view;
}

// The bytes a view spans, for the overlap checks of kernels whose source and destination must differ.
std::pair<uintptr_t, uintptr_t> span(const View &v, int32_t bytesPerRow) {
    auto first = reinterpret_cast<uintptr_t>(v.data);
    uintptr_t low = first, high = first;
    if (v.height > 0) {
        auto last = static_cast<intptr_t>(first) + static_cast<intptr_t>(v.height - 1) * v.rowStep;
        low = std::min(first, static_cast<uintptr_t>(last));
        high = std::max(first, static_cast<uintptr_t>(last));
    }
    return {low, high + static_cast<uintptr_t>(bytesPerRow)};
}

void checkApart(const View &a, int32_t aRow, const View &b, int32_t bRow, const char *what) {
    auto [aLow, aHigh] = span(a, aRow);
    auto [bLow, bHigh] = span(b, bRow);
    if (aLow < bHigh && bLow < aHigh) {
        raiseValue(std::string(what) + ": the source and the output must not share memory");
    }
}

int32_t step32(const View &v) { return static_cast<int32_t>(v.rowStep); }

BITMAPINFOHEADER dibHeader(int32_t width, int32_t height, uint32_t sizeImage) {
    BITMAPINFOHEADER header{};
    header.biSize = 40;
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = 24;
    header.biSizeImage = sizeImage;
    return header;
}

// ---- Motion detection.

using Zone = std::array<int32_t, 4>;  // left, top, right, bottom, y counted down from the top

class Detector {
public:
    Detector(const std::vector<Zone> &zones, int32_t sensitivity) {
        handle_ = MotionOpen();
        if (!handle_) {
            throw std::bad_alloc();
        }
        init(zones, sensitivity);
    }
    ~Detector() { MotionClose(handle_); }
    Detector(const Detector &) = delete;
    Detector &operator=(const Detector &) = delete;

    void init(const std::vector<Zone> &zones, int32_t sensitivity) {
        // The library indexes its tables with the sensitivity unchecked.
        if (sensitivity < 0 || sensitivity > 9) {
            raiseValue("sensitivity must be 0 to 9, not " + std::to_string(sensitivity));
        }
        std::vector<RECT> rects;
        for (const Zone &z : zones) {
            rects.push_back(RECT{z[0], z[1], z[2], z[3]});
        }
        py::gil_scoped_release release;
        std::lock_guard<std::mutex> lock(mutex_);
        openOrThrow();
        MotionInit(handle_, sensitivity, rects.data(), static_cast<int32_t>(rects.size()));
    }

    // The library reads frames bottom-up with rows padded to 4 bytes. A frame whose memory already
    // is so (a negative row step of exactly width * 3, e.g. dib[::-1]) goes as it is; any other is
    // turned over into the detector's own block first.
    int compare(const py::handle &object) {
        View frame = frameView(object, "frame");
        const int32_t rowBytes = 3 * frame.width;
        const int32_t step = (rowBytes + 3) / 4 * 4;
        if (static_cast<int64_t>(step) * frame.height > std::numeric_limits<int32_t>::max()) {
            raiseValue("frame is too large for the library's 32-bit sizes");
        }
        const bool bottomUp = frame.rowStep == -static_cast<ptrdiff_t>(step) && step == rowBytes;
        BITMAPINFOHEADER header = dibHeader(frame.width, frame.height, static_cast<uint32_t>(step * frame.height));
        uint8_t mask = 0;
        py::gil_scoped_release release;
        std::lock_guard<std::mutex> lock(mutex_);
        openOrThrow();
        const uint8_t *pixels;
        if (bottomUp) {
            pixels = frame.data + static_cast<ptrdiff_t>(frame.height - 1) * frame.rowStep;
        } else {
            staging_.resize(static_cast<size_t>(step) * frame.height);
            for (int32_t y = 0; y < frame.height; ++y) {
                uint8_t *row = staging_.data() + static_cast<size_t>(frame.height - 1 - y) * step;
                std::memcpy(row, frame.data + y * frame.rowStep, rowBytes);
                std::memset(row + rowBytes, 0, step - rowBytes);  // the scan reads into the padding
            }
            copiedBytes.fetch_add(static_cast<uint64_t>(step) * frame.height, std::memory_order_relaxed);
            pixels = staging_.data();
        }
        MotionCompare(handle_, &header, pixels, &mask);
        return mask;
    }

    void close() {
        py::gil_scoped_release release;
        std::lock_guard<std::mutex> lock(mutex_);
        MotionClose(handle_);
        handle_ = nullptr;
        staging_ = {};
    }

    bool closed() const { return handle_ == nullptr; }

private:
    void openOrThrow() const {
        if (!handle_) {
            // Thrown without the GIL; pybind11 takes it back before translating.
            throw std::invalid_argument("the detector is closed");
        }
    }

    // A detector is used by one thread at a time: calls from several Python threads queue here.
    std::mutex mutex_;
    void *handle_ = nullptr;
    std::vector<uint8_t> staging_;
};

// ---- Exposure.

int32_t luminance(const py::handle &object) {
    View frame = frameView(object, "frame");
    const ptrdiff_t rowBytes = 3 * static_cast<ptrdiff_t>(frame.width);
    // The mean does not depend on the order of the pixels: any single block will do, either way up.
    if (frame.rowStep != rowBytes && frame.rowStep != -rowBytes) {
        raiseValue("frame must hold its pixels in one block (C-contiguous, or rows packed bottom-up); "
                   "numpy.ascontiguousarray gives such a copy");
    }
    const uint8_t *first = frame.rowStep > 0 ? frame.data : frame.data + (frame.height - 1) * frame.rowStep;
    const auto count = static_cast<uint32_t>(rowBytes * frame.height);
    py::gil_scoped_release release;
    return BmpGetYDc(first, count);
}

py::tuple changeGain(int32_t luma, int32_t gain, int32_t shutter) {
    int32_t result;
    {
        py::gil_scoped_release release;
        result = ChangeGain(&luma, &gain, &shutter);
    }
    return py::make_tuple(result, gain, shutter);
}

py::tuple changeGain2(int32_t luma, int32_t shutterWidth, int32_t gain, int32_t shutter) {
    int32_t result;
    {
        py::gil_scoped_release release;
        result = ChangeGain2(&luma, shutterWidth, &gain, &shutter);
    }
    return py::make_tuple(result, gain, shutter);
}

py::tuple changeGain3(int32_t luma, int32_t shutterWidth, int32_t stage, int32_t gain, int32_t shutter) {
    int32_t result;
    {
        py::gil_scoped_release release;
        result = ChangeGain3(&luma, shutterWidth, &stage, &gain, &shutter);
    }
    return py::make_tuple(result, stage, gain, shutter);
}

// ---- Bitmap operations: they read rows in memory order, tightly packed, so a C-contiguous frame
// goes as it is.

void bmpProcess(const py::handle &object, int32_t mode) {
    View frame = packedFrame(object, "frame", true);
    const int32_t size = 3 * frame.width * frame.height;
    BITMAPINFOHEADER header = dibHeader(frame.width, frame.height, static_cast<uint32_t>(size));
    int32_t result;
    {
        py::gil_scoped_release release;
        // Zeroed, so that what the scratch lends to the last row (odd heights, the deinterlace's
        // last luminance row) is the same on every call.
        std::vector<uint8_t> scratch(static_cast<size_t>(size));
        result = BmpProcess(&header, frame.data, size, scratch.data(), size, mode);
    }
    if (result == 0) {
        throw StatusError{"BmpProcess", result, "BadArgument"};
    }
    if (result == -1) {
        throw StatusError{"BmpProcess", result, "BadMode"};
    }
}

void raiseStretch(const char *function, int32_t result) {
    if (result == -1) {
        throw StatusError{function, result, "NullPointer"};
    }
    if (result == -2) {
        throw StatusError{function, result, "SizeTooSmall"};
    }
    if (result != 0) {
        throw StatusError{function, result, "ScaleTooLarge"};
    }
}

std::vector<int32_t> kernel9(const std::vector<int32_t> &kernel) {
    if (kernel.size() != 9) {
        raiseValue("kernel must hold nine integers (3 x 3), not " + std::to_string(kernel.size()));
    }
    return kernel;
}

void stretch(const py::handle &source, const py::handle &destination, int32_t scale, int32_t passes,
             const std::optional<std::vector<int32_t>> &kernel, int32_t divisor) {
    View src = packedFrame(source, "frame");
    View dst = packedFrame(destination, "out", true);
    checkApart(src, 3 * src.width, dst, 3 * dst.width, "stretch");
    // A scale below -1 gives negative extents, which the library does not catch.
    if (scale < -1) {
        raiseValue("scale must be -1 (fit), 0 (fill) or a whole multiple above 0, not " + std::to_string(scale));
    }
    std::vector<int32_t> coefficients;
    if (kernel) {
        coefficients = kernel9(*kernel);
        // The kernel form cuts 12 columns and 5 rows off each side of the source first.
        if (src.width <= 24 || src.height <= 10) {
            raiseValue("with a kernel, the frame must be more than 24 pixels wide and 10 high");
        }
    }
    const int32_t srcSize = 3 * src.width * src.height;
    const int32_t dstSize = 3 * dst.width * dst.height;
    BITMAPINFOHEADER srcHeader = dibHeader(src.width, src.height, static_cast<uint32_t>(srcSize));
    BITMAPINFOHEADER dstHeader = dibHeader(dst.width, dst.height, static_cast<uint32_t>(dstSize));
    int32_t result;
    {
        py::gil_scoped_release release;
        std::vector<uint8_t> work(static_cast<size_t>(dstSize));
        result = kernel ? BmpStretchDIBEx(&srcHeader, src.data, &dstHeader, dst.data, work.data(), scale, passes,
                                          coefficients.data(), divisor)
                        : BmpStretchDIB(&srcHeader, src.data, &dstHeader, dst.data, work.data(), scale, passes);
    }
    raiseStretch(kernel ? "BmpStretchDIBEx" : "BmpStretchDIB", result);
}

void stretchFilter(const py::handle &object, int32_t passes, const std::vector<int32_t> &kernel, int32_t divisor) {
    View frame = packedFrame(object, "frame", true);
    std::vector<int32_t> coefficients = kernel9(kernel);
    const int32_t size = 3 * frame.width * frame.height;
    BITMAPINFOHEADER header = dibHeader(frame.width, frame.height, static_cast<uint32_t>(size));
    int32_t result;
    {
        py::gil_scoped_release release;
        std::vector<uint8_t> work(static_cast<size_t>(size));
        result = BmpStretchDIBEx2(&header, frame.data, work.data(), passes, coefficients.data(), divisor);
    }
    raiseStretch("BmpStretchDIBEx2", result);
}

// ---- Kernels: top row first, with free row steps, so every frame goes as it is.

PxStatus resize(const py::handle &source, const std::array<int32_t, 4> &rect, const py::handle &destination,
                double xFactor, double yFactor, int32_t interpolation) {
    View src = frameView(source, "frame");
    View dst = frameView(destination, "out", true);
    checkApart(src, 3 * src.width, dst, 3 * dst.width, "resize");
    PxStatus status;
    {
        py::gil_scoped_release release;
        status = pxResizeC3(src.data, PxSize{src.width, src.height}, step32(src),
                            PxRect{rect[0], rect[1], rect[2], rect[3]}, dst.data, step32(dst),
                            PxSize{dst.width, dst.height}, xFactor, yFactor, interpolation);
    }
    return checked("pxResizeC3", status);
}

PxStatus rgbToYuv420(const py::handle &source, const py::handle &y, const py::handle &u, const py::handle &v) {
    View src = frameView(source, "frame");
    View planes[3] = {planeView(y, "y", true), planeView(u, "u", true), planeView(v, "v", true)};
    if (planes[0].height != src.height || planes[0].width != src.width) {
        raiseValue("y must have the frame's height and width");
    }
    for (int i = 1; i < 3; ++i) {
        if (planes[i].height != src.height / 2 || planes[i].width != src.width / 2) {
            raiseValue("u and v must have half the frame's height and width, rounded down");
        }
    }
    uint8_t *const pointers[3] = {planes[0].data, planes[1].data, planes[2].data};
    const int32_t steps[3] = {step32(planes[0]), step32(planes[1]), step32(planes[2])};
    PxStatus status;
    {
        py::gil_scoped_release release;
        status = pxRgbToYuv420(src.data, step32(src), pointers, steps, PxSize{src.width, src.height});
    }
    return checked("pxRgbToYuv420", status);
}

PxStatus yuv420ToRgb(const py::handle &y, const py::handle &u, const py::handle &v, const py::handle &destination) {
    View planes[3] = {planeView(y, "y"), planeView(u, "u"), planeView(v, "v")};
    View dst = frameView(destination, "out", true);
    if (planes[0].height != dst.height || planes[0].width != dst.width) {
        raiseValue("out must have the y plane's height and width");
    }
    for (int i = 1; i < 3; ++i) {
        if (planes[i].height < dst.height / 2 || planes[i].width < dst.width / 2) {
            raiseValue("u and v must have at least half the y plane's height and width, rounded down");
        }
        checkApart(planes[i], planes[i].width, dst, 3 * dst.width, "yuv420_to_rgb");
    }
    checkApart(planes[0], planes[0].width, dst, 3 * dst.width, "yuv420_to_rgb");
    const uint8_t *const pointers[3] = {planes[0].data, planes[1].data, planes[2].data};
    const int32_t steps[3] = {step32(planes[0]), step32(planes[1]), step32(planes[2])};
    PxStatus status;
    {
        py::gil_scoped_release release;
        status = pxYuv420ToRgb(pointers, steps, dst.data, step32(dst), PxSize{dst.width, dst.height});
    }
    return checked("pxYuv420ToRgb", status);
}

// With copyLine 0 the unpaired row reads one row beyond the plane; the caller then hands a plane
// with that row included (one row more than the output), so that nothing is read outside it.
PxStatus deinterlacePlane(const py::handle &source, const py::handle &destination, int32_t field, bool copyLine) {
    View src = planeView(source, "plane");
    View dst = planeView(destination, "out", true);
    if (field != 0 && field != 1) {
        raiseValue("field must be 0 or 1, not " + std::to_string(field));
    }
    if (src.width != dst.width || src.height != dst.height + (copyLine ? 0 : 1)) {
        raiseValue(copyLine ? "out must have the plane's shape"
                            : "without copy_line the plane must have one row more than out");
    }
    checkApart(src, src.width, dst, dst.width, "deinterlace_plane");
    const uint8_t *first = (!copyLine && field == 0) ? src.data + src.rowStep : src.data;
    PxStatus status;
    {
        py::gil_scoped_release release;
        status = pxDeinterlaceEdge(first, step32(src), dst.data, step32(dst), PxSize{dst.width, dst.height}, field,
                                   copyLine ? 1 : 0);
    }
    return checked("pxDeinterlaceEdge", status);
}

// The output is the region the whole window fits in: (height - kh + 1) x (width - kw + 1), its
// first pixel where the anchor lets every tap stay inside the frame.
PxStatus filter(const py::handle &source, const py::handle &destination,
                const py::array_t<int32_t, py::array::c_style | py::array::forcecast> &kernel,
                const std::array<int32_t, 2> &anchor, int32_t divisor) {
    View src = frameView(source, "frame");
    View dst = frameView(destination, "out", true);
    if (kernel.ndim() != 2 || kernel.shape(0) < 1 || kernel.shape(1) < 1) {
        raiseValue("kernel must be a two-dimensional array of integers");
    }
    const auto kh = static_cast<int32_t>(kernel.shape(0));
    const auto kw = static_cast<int32_t>(kernel.shape(1));
    if (anchor[0] < 0 || anchor[0] >= kw || anchor[1] < 0 || anchor[1] >= kh) {
        raiseValue("anchor must lie inside the kernel");
    }
    if (dst.width != src.width - kw + 1 || dst.height != src.height - kh + 1) {
        raiseValue("out must have the shape (height - kernel height + 1, width - kernel width + 1, 3)");
    }
    checkApart(src, 3 * src.width, dst, 3 * dst.width, "filter3");
    const uint8_t *first = src.data + (kh - 1 - anchor[1]) * src.rowStep + 3 * (kw - 1 - anchor[0]);
    const int32_t *coefficients = kernel.data();
    PxStatus status;
    {
        py::gil_scoped_release release;
        status = pxFilterC3(first, step32(src), dst.data, step32(dst), PxSize{dst.width, dst.height}, coefficients,
                            PxSize{kw, kh}, PxPoint{anchor[0], anchor[1]}, divisor);
    }
    return checked("pxFilterC3", status);
}

PxStatus sharpen(const py::handle &source, const py::handle &destination) {
    View src = frameView(source, "frame");
    View dst = frameView(destination, "out", true);
    if (dst.width != src.width - 2 || dst.height != src.height - 2) {
        raiseValue("out must have the shape (height - 2, width - 2, 3)");
    }
    checkApart(src, 3 * src.width, dst, 3 * dst.width, "sharpen3");
    const uint8_t *first = src.data + src.rowStep + 3;
    PxStatus status;
    {
        py::gil_scoped_release release;
        status = pxSharpenC3(first, step32(src), dst.data, step32(dst), PxSize{dst.width, dst.height});
    }
    return checked("pxSharpenC3", status);
}

}  // namespace

PYBIND11_MODULE(_kestrix, m) {
    m.doc() = "The compiled layer of kestrix: array checks and the library calls, with the GIL released.";

    // Held for the life of the process, as the module is.
    static PyObject *errorType =
        py::object(py::module_::import("kestrix._errors").attr("KestrixError")).release().ptr();
    py::register_exception_translator([](std::exception_ptr pointer) {
        try {
            if (pointer) {
                std::rethrow_exception(pointer);
            }
        } catch (const StatusError &e) {
            py::object error = py::handle(errorType)(e.function, e.status, e.name);
            PyErr_SetObject(errorType, error.ptr());
        }
    });

    py::class_<Detector>(m, "Detector")
        .def(py::init<const std::vector<Zone> &, int32_t>(), py::arg("zones"), py::arg("sensitivity"))
        .def("init", &Detector::init, py::arg("zones"), py::arg("sensitivity"))
        .def("compare", &Detector::compare, py::arg("frame"))
        .def("close", &Detector::close)
        .def_property_readonly("closed", &Detector::closed);

    m.def("luminance", &luminance, py::arg("frame"));
    m.def("change_gain", &changeGain, py::arg("luma"), py::arg("gain"), py::arg("shutter"));
    m.def("change_gain2", &changeGain2, py::arg("luma"), py::arg("shutter_width"), py::arg("gain"),
          py::arg("shutter"));
    m.def("change_gain3", &changeGain3, py::arg("luma"), py::arg("shutter_width"), py::arg("stage"),
          py::arg("gain"), py::arg("shutter"));

    m.def("bmp_process", &bmpProcess, py::arg("frame"), py::arg("mode"));
    m.def("stretch", &stretch, py::arg("frame"), py::arg("out"), py::arg("scale"), py::arg("passes"),
          py::arg("kernel"), py::arg("divisor"));
    m.def("stretch_filter", &stretchFilter, py::arg("frame"), py::arg("passes"), py::arg("kernel"),
          py::arg("divisor"));

    m.def("resize", &resize, py::arg("frame"), py::arg("rect"), py::arg("out"), py::arg("x_factor"),
          py::arg("y_factor"), py::arg("interpolation"));
    m.def("rgb_to_yuv420", &rgbToYuv420, py::arg("frame"), py::arg("y"), py::arg("u"), py::arg("v"));
    m.def("yuv420_to_rgb", &yuv420ToRgb, py::arg("y"), py::arg("u"), py::arg("v"), py::arg("out"));
    m.def("deinterlace_plane", &deinterlacePlane, py::arg("plane"), py::arg("out"), py::arg("field"),
          py::arg("copy_line"));
    m.def("filter", &filter, py::arg("frame"), py::arg("out"), py::arg("kernel"), py::arg("anchor"),
          py::arg("divisor"));
    m.def("sharpen", &sharpen, py::arg("frame"), py::arg("out"));

    m.def("get_level", [] { return pxGetLevel(); });
    m.def("set_level", [](int32_t level) { return checked("pxSetLevel", pxSetLevel(level)); }, py::arg("level"));
    m.def("choose_level", [] { return checked("pxChooseLevel", pxChooseLevel()); });
    m.def("copied_bytes", [] { return copiedBytes.load(std::memory_order_relaxed); });
}
