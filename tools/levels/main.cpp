// kestrix-levels: runs every pixel kernel at each processor level this machine can run and sets
// the result beside level 0, the reference. What a user runs when a result looks wrong on one
// machine: it shows the level the library takes when it loads, and which level differs, by how much.
//
//   kestrix-levels [--size WIDTHxHEIGHT] [--repeat N] [image.bmp]
//
// It uses the public kernel API alone (kestrix/px.h), so it reports whatever forms the library holds.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "kestrix/px.h"

namespace {

// An 8-bit three-channel image, top-down rows of 3 * width bytes.
struct Image {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<uint8_t> bytes;
    int32_t step() const { return 3 * width; }
};

// Gradients, a slanted edge and noise: smooth runs for the interpolations, edges for the
// deinterlace, and values that land next to halves for the float sums.
Image generatedImage(int32_t width, int32_t height) {
    Image image{width, height, std::vector<uint8_t>(static_cast<size_t>(width) * height * 3)};
    uint32_t state = 0x2545F491u;
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            state ^= state << 13, state ^= state >> 17, state ^= state << 5;  // xorshift32
            uint8_t *p = &image.bytes[(static_cast<size_t>(y) * width + x) * 3];
            const bool bright = 2 * x + y > width;
            p[0] = static_cast<uint8_t>(x * 255 / std::max(1, width - 1));
            p[1] = static_cast<uint8_t>(bright ? 200 + (state & 31) : 40 + (state & 31));
            p[2] = static_cast<uint8_t>(state >> 24);
        }
    }
    return image;
}

uint32_t readLe(const std::vector<uint8_t> &b, size_t at, int bytes) {
    uint32_t v = 0;
    for (int i = bytes - 1; i >= 0; --i) v = (v << 8) | b[at + i];
    return v;
}

// An uncompressed 24-bit BMP file, rows bottom-up (or top-down for a negative height) and padded
// to 32 bits, as a top-down image. Empty on anything else.
Image bmpImage(const char *path, std::string &error) {
    std::ifstream file(path, std::ios::binary);
    const std::vector<uint8_t> b((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (!file.is_open() || b.size() < 54 || b[0] != 'B' || b[1] != 'M') {
        error = "not a BMP file";
        return {};
    }
    const uint32_t offset = readLe(b, 10, 4);
    const int32_t width = static_cast<int32_t>(readLe(b, 18, 4));
    const int32_t rawHeight = static_cast<int32_t>(readLe(b, 22, 4));
    if (readLe(b, 28, 2) != 24 || readLe(b, 30, 4) != 0) {
        error = "only uncompressed 24-bit BMP files are read";
        return {};
    }
    const int32_t height = rawHeight < 0 ? -rawHeight : rawHeight;
    // The filters' regions keep a one-pixel margin inside the image: 3 x 3 is the least.
    if (width < 3 || height < 3 || width > 32768 || height > 32768) {
        error = "image size out of range (3 x 3 to 32768 x 32768)";
        return {};
    }
    const size_t fileStep = (static_cast<size_t>(width) * 24 + 31) / 32 * 4;
    if (offset > b.size() || (b.size() - offset) / fileStep < static_cast<size_t>(height)) {
        error = "file shorter than its header says";
        return {};
    }
    Image image{width, height, std::vector<uint8_t>(static_cast<size_t>(width) * height * 3)};
    for (int32_t y = 0; y < height; ++y) {
        const int32_t fileRow = rawHeight < 0 ? y : height - 1 - y;
        std::memcpy(&image.bytes[static_cast<size_t>(y) * image.step()], &b[offset + fileRow * fileStep],
                    static_cast<size_t>(image.step()));
    }
    return image;
}

// One kernel call on the input, writing into out; out is the same size for every level.
struct KernelCase {
    const char *name;
    size_t outBytes;
    PxStatus (*run)(const Image &in, const std::vector<uint8_t> &aux, uint8_t *out);
};

// 4:2:0 planes of an image, one after another in one block: Y, then U, then V.
struct Planes {
    int32_t steps[3];
    size_t offsets[3];
    size_t bytes;
};

Planes planesOf(const Image &in) {
    const int32_t cw = (in.width + 1) / 2, ch = (in.height + 1) / 2;
    const size_t y = static_cast<size_t>(in.width) * in.height, c = static_cast<size_t>(cw) * ch;
    return {{in.width, cw, cw}, {0, y, y + c}, y + 2 * c};
}

PxStatus resize(const Image &in, uint8_t *out, int32_t interpolation) {
    const PxSize outSize{in.width * 3 / 4 + 1, in.height * 3 / 4 + 1};
    return pxResizeC3(in.bytes.data(), {in.width, in.height}, in.step(), {0, 0, in.width, in.height}, out,
                      outSize.width * 3, outSize, 0.75, 0.75, interpolation);
}

size_t resizeBytes(const Image &in) {
    return static_cast<size_t>(in.width * 3 / 4 + 1) * 3 * static_cast<size_t>(in.height * 3 / 4 + 1);
}

// Regions of the filters leave a one-pixel margin, which the 3 x 3 windows read.
PxSize innerSize(const Image &in) { return {std::max(1, in.width - 2), std::max(1, in.height - 2)}; }
const uint8_t *innerOrigin(const Image &in) { return in.bytes.data() + in.step() + 3; }

std::vector<KernelCase> kernelCases(const Image &image) {
    const size_t rgb = image.bytes.size(), plane = static_cast<size_t>(image.width) * image.height;
    return {
        {"pxFilterC3 box 3x3 / 9", rgb,
         [](const Image &in, const std::vector<uint8_t> &, uint8_t *out) {
             static const int32_t box[9] = {1, 1, 1, 1, 1, 1, 1, 1, 1};
             return pxFilterC3(innerOrigin(in), in.step(), out, in.step(), innerSize(in), box, {3, 3}, {1, 1}, 9);
         }},
        {"pxSharpenC3", rgb,
         [](const Image &in, const std::vector<uint8_t> &, uint8_t *out) {
             return pxSharpenC3(innerOrigin(in), in.step(), out, in.step(), innerSize(in));
         }},
        {"pxCopyC1", rgb,
         [](const Image &in, const std::vector<uint8_t> &, uint8_t *out) {
             return pxCopyC1(in.bytes.data(), in.step(), out, in.step(), {in.step(), in.height});
         }},
        {"pxResizeC3 nearest x0.75", resizeBytes(image),
         [](const Image &in, const std::vector<uint8_t> &, uint8_t *out) { return resize(in, out, PxNearest); }},
        {"pxResizeC3 linear x0.75", resizeBytes(image),
         [](const Image &in, const std::vector<uint8_t> &, uint8_t *out) { return resize(in, out, PxLinear); }},
        {"pxResizeC3 cubic x0.75", resizeBytes(image),
         [](const Image &in, const std::vector<uint8_t> &, uint8_t *out) { return resize(in, out, PxCubic); }},
        {"pxResizeC3 lanczos x0.75", resizeBytes(image),
         [](const Image &in, const std::vector<uint8_t> &, uint8_t *out) { return resize(in, out, PxLanczos); }},
        {"pxResizeC3 super x0.75", resizeBytes(image),
         [](const Image &in, const std::vector<uint8_t> &, uint8_t *out) { return resize(in, out, PxSuper); }},
        {"pxRgbToYuv420", planesOf(image).bytes,
         [](const Image &in, const std::vector<uint8_t> &, uint8_t *out) {
             const Planes p = planesOf(in);
             uint8_t *const planes[3] = {out + p.offsets[0], out + p.offsets[1], out + p.offsets[2]};
             return pxRgbToYuv420(in.bytes.data(), in.step(), planes, p.steps, {in.width, in.height});
         }},
        {"pxYuv420ToRgb", rgb,
         [](const Image &in, const std::vector<uint8_t> &yuv, uint8_t *out) {
             const Planes p = planesOf(in);
             const uint8_t *const planes[3] = {yuv.data() + p.offsets[0], yuv.data() + p.offsets[1],
                                               yuv.data() + p.offsets[2]};
             return pxYuv420ToRgb(planes, p.steps, out, in.step(), {in.width, in.height});
         }},
        {"pxDeinterlaceEdge", plane,
         [](const Image &in, const std::vector<uint8_t> &yuv, uint8_t *out) {
             // The luminance plane, as the field processing of the exports hands it over; copyLine
             // keeps every read inside the plane.
             return pxDeinterlaceEdge(yuv.data(), in.width, out, in.width, {in.width, in.height}, 1, 1);
         }},
    };
}

double secondsOf(const KernelCase &kernel, const Image &in, const std::vector<uint8_t> &aux, uint8_t *out,
                 int repeat, PxStatus &status) {
    double best = 1e30;
    for (int r = 0; r < repeat; ++r) {
        const auto start = std::chrono::steady_clock::now();
        status = kernel.run(in, aux, out);
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        best = std::min(best, took.count());
    }
    return best;
}

int usage() {
    std::fprintf(stderr, "usage: kestrix-levels [--size WIDTHxHEIGHT] [--repeat N] [image.bmp]\n");
    return 2;
}

struct Options {
    int32_t width = 1280, height = 720;
    int repeat = 5;
    const char *path = nullptr;
};

// False on arguments it does not take.
bool parseOptions(int argc, char **argv, Options &options) {
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--size" && i + 1 < argc) {
            if (std::sscanf(argv[++i], "%dx%d", &options.width, &options.height) != 2 || options.width < 3 ||
                options.height < 3 || options.width > 16384 || options.height > 16384)
                return false;
        } else if (arg == "--repeat" && i + 1 < argc) {
            options.repeat = std::atoi(argv[++i]);
            if (options.repeat < 1) return false;
        } else if (!arg.empty() && arg[0] != '-' && !options.path) {
            options.path = argv[i];
        } else {
            return false;
        }
    }
    return true;
}

// The level the library takes when it loads and the levels this processor runs, printed.
struct Levels {
    int32_t atLoad;
    std::vector<int32_t> runnable;
};

Levels reportLevels() {
    // The shared libraries make this call when they load, and the static archive (the Windows form
    // of this tool) does not, so the tool makes it itself: its choice is the level the exports run at.
    const PxStatus chooseStatus = pxChooseLevel();
    Levels levels{pxGetLevel(), {}};
    uint64_t features = 0;
    pxGetFeatures(&features, nullptr);
    std::printf("level chosen at load: %d (status %d), processor features 0x%03llx\n", levels.atLoad, chooseStatus,
                static_cast<unsigned long long>(features));
    std::printf("levels this processor runs:");
    for (int32_t level = 0; level <= 4; ++level) {
        if (pxSetLevel(level) == PxStsOk) {
            levels.runnable.push_back(level);
            std::printf(" %d", level);
        }
    }
    std::printf("\n");
    return levels;
}

// Y, U and V planes of the input at level 0, the input of the conversion back and of the deinterlace.
std::vector<uint8_t> planesAtLevelZero(const Image &in) {
    pxSetLevel(0);
    const Planes p = planesOf(in);
    std::vector<uint8_t> yuv(p.bytes);
    uint8_t *const planes[3] = {yuv.data() + p.offsets[0], yuv.data() + p.offsets[1], yuv.data() + p.offsets[2]};
    pxRgbToYuv420(in.bytes.data(), in.step(), planes, p.steps, {in.width, in.height});
    return yuv;
}

// One row per level: the status, the largest difference and the bytes that differ from level 0,
// and the best time. Every level writes over the same sentinel, so bytes written at one level only
// count too.
void reportKernel(const KernelCase &kernel, const Image &in, const std::vector<uint8_t> &yuv,
                  const std::vector<int32_t> &levels, int repeat) {
    std::vector<uint8_t> reference(kernel.outBytes, 0xA5), out(kernel.outBytes);
    for (const int32_t level : levels) {
        pxSetLevel(level);
        std::fill(out.begin(), out.end(), uint8_t{0xA5});
        PxStatus status = kernel.run(in, yuv, out.data());
        if (level == 0) reference = out;
        int largest = 0;
        size_t differing = 0;
        for (size_t i = 0; i < out.size(); ++i) {
            const int d = std::abs(out[i] - reference[i]);
            largest = std::max(largest, d);
            differing += d != 0;
        }
        const double seconds = secondsOf(kernel, in, yuv, out.data(), repeat, status);
        std::printf("%-26s %5d %6d %13d %15zu %12.1f\n", kernel.name, level, status, largest, differing,
                    seconds * 1e6);
    }
}

}  // namespace

int main(int argc, char **argv) {
    Options options;
    if (!parseOptions(argc, argv, options)) return usage();
    Image in;
    if (options.path) {
        std::string error;
        in = bmpImage(options.path, error);
        if (in.bytes.empty()) {
            std::fprintf(stderr, "kestrix-levels: %s: %s\n", options.path, error.c_str());
            return 1;
        }
    } else {
        in = generatedImage(options.width, options.height);
    }

    const Levels levels = reportLevels();
    std::printf("input: %s %d x %d, best of %d runs\n\n", options.path ? options.path : "generated", in.width,
                in.height, options.repeat);
    const std::vector<uint8_t> yuv = planesAtLevelZero(in);
    std::printf("%-26s %5s %6s %13s %15s %12s\n", "kernel", "level", "status", "largest diff", "differing bytes",
                "time (us)");
    for (const KernelCase &kernel : kernelCases(in)) reportKernel(kernel, in, yuv, levels.runnable, options.repeat);
    pxSetLevel(levels.atLoad);
    return 0;
}
