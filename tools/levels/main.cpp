// kestrix-levels: runs every pixel kernel at each processor level this machine can run and sets
// the result beside level 0, the reference. What a user runs when a result looks wrong on one
// machine: it shows the level the library takes when it loads, and which level differs, by how much.
//
//   kestrix-levels [--size WIDTHxHEIGHT] [--repeat N] [--all] [image.bmp]
//
// The cases are the ones the level harness and the benchmarks run: by default those the benchmarks
// time, with --all every one. It uses the public kernel API alone (kestrix/px.h), so it reports
// whatever forms the library holds; the cases that need more are left out.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <list>
#include <string>
#include <vector>

#include "kernel_cases.h"
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

// Blocks for the cases on an image: every input takes the image's bytes, row after row and each row
// from its start, wrapping at the image's ends, so that a block of another shape (a filter's margin,
// a 4:2:0 plane) still holds the picture's content. Outputs start as a sentinel.
class ImageBlocks final : public kx::cases::BlockSource {
public:
    explicit ImageBlocks(const Image &image) : image_(image) {}
    kx::cases::Block input(int32_t rowBytes, int32_t rows, int32_t step) override {
        const kx::cases::Block b = make(rowBytes, rows, step, 0);
        const size_t imageRow = static_cast<size_t>(image_.step());
        for (int32_t y = 0; y < rows; ++y) {
            const uint8_t *from = &image_.bytes[(static_cast<size_t>(y) % image_.height) * imageRow];
            uint8_t *to = b.data + static_cast<size_t>(y) * step;
            for (int32_t x = 0; x < rowBytes; ++x) to[x] = from[static_cast<size_t>(x) % imageRow];
        }
        return b;
    }
    kx::cases::Block output(int32_t rowBytes, int32_t rows, int32_t step) override {
        return make(rowBytes, rows, step, 0xA5);
    }

private:
    kx::cases::Block make(int32_t rowBytes, int32_t rows, int32_t step, uint8_t fill) {
        const size_t bytes = kx::cases::blockBytes(rowBytes, rows, step);
        blocks_.emplace_back(std::max<size_t>(bytes, 1), fill);
        return {blocks_.back().data(), step, bytes};
    }
    const Image &image_;
    std::list<std::vector<uint8_t>> blocks_;  // a list: blocks stay where they are as more are made
};

double bestSeconds(const std::function<PxStatus()> &call, int repeat) {
    double best = 1e30;
    for (int r = 0; r < repeat; ++r) {
        const auto start = std::chrono::steady_clock::now();
        call();
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        best = std::min(best, took.count());
    }
    return best;
}

int usage() {
    std::fprintf(stderr, "usage: kestrix-levels [--size WIDTHxHEIGHT] [--repeat N] [--all] [image.bmp]\n");
    return 2;
}

struct Options {
    int32_t width = 1280, height = 720;
    int repeat = 5;
    bool all = false;
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
        } else if (arg == "--all") {
            options.all = true;
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

// One row per level: the status, the largest difference and the bytes that differ from level 0,
// and the best time. Every level starts from fresh blocks of the same content and sentinel, so
// bytes written at one level only count too. False when the case cannot run through this API.
bool reportCase(const kx::cases::KernelCase &kernelCase, const Image &in, const std::vector<int32_t> &levels,
                int repeat) {
    const kx::cases::Geometry geometry{in.width, in.height};
    std::vector<uint8_t> reference;
    for (const int32_t level : levels) {
        pxSetLevel(level);
        ImageBlocks blocks(in);
        const kx::cases::Prepared prepared = kernelCase.prepare(geometry, blocks, kx::cases::Entries{});
        if (!prepared.call) return false;
        const PxStatus status = prepared.call();
        const std::vector<uint8_t> out = kx::cases::outputBytes(prepared);
        if (level == 0) reference = out;
        int largest = 0;
        size_t differing = 0;
        for (size_t i = 0; i < out.size(); ++i) {
            const int d = std::abs(out[i] - reference[i]);
            largest = std::max(largest, d);
            differing += d != 0;
        }
        const std::string name = std::string(kernelCase.call) + " " + kernelCase.name;
        std::printf("%-44s %5d %6d %13d %15zu %12.1f\n", name.c_str(), level, status, largest, differing,
                    bestSeconds(prepared.call, repeat) * 1e6);
    }
    return true;
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
    std::printf("%-44s %5s %6s %13s %15s %12s\n", "kernel case", "level", "status", "largest diff",
                "differing bytes", "time (us)");
    for (const kx::cases::KernelCase &kernelCase : kx::cases::kernelCases())
        if (options.all || !kernelCase.frames.empty()) reportCase(kernelCase, in, levels.runnable, options.repeat);
    pxSetLevel(levels.atLoad);
    return 0;
}
