// kestrix-demo: watches two zones of a generated 320 x 240 stream in which a bright square starts
// moving once the detector has warmed up, and prints the motion mask of every frame.
#include <cstdio>
#include <cstring>
#include <vector>

#include "kestrix.h"

namespace {

constexpr int32_t kWidth = 320;
constexpr int32_t kHeight = 240;
constexpr int32_t kStep = (kWidth * 24 + 31) / 32 * 4;  // rows end on a 32-bit boundary
constexpr int32_t kSquare = 24;
constexpr int kFrames = 40;

// A grey frame with a white square whose top-left corner is (left, top), rows stored bottom-up.
void paintFrame(std::vector<uint8_t> &pixels, int32_t left, int32_t top) {
    std::memset(pixels.data(), 64, pixels.size());
    for (int32_t y = top; y < top + kSquare; ++y) {
        uint8_t *row = pixels.data() + static_cast<size_t>(kHeight - 1 - y) * kStep;
        std::memset(row + 3 * left, 255, 3 * kSquare);
    }
}

}  // namespace

int main() {
    BITMAPINFOHEADER header;
    std::memset(&header, 0, sizeof(header));
    header.biSize = sizeof(header);
    header.biWidth = kWidth;
    header.biHeight = kHeight;
    header.biPlanes = 1;
    header.biBitCount = 24;
    std::vector<uint8_t> pixels(static_cast<size_t>(kStep) * kHeight);

    // Zone 0 is the left half, zone 1 the right half, y counted from the top of the image.
    const RECT zones[2] = {{8, 8, 160, 232}, {160, 8, 312, 232}};

    void *detector = MotionOpen();
    if (!detector) {
        std::fprintf(stderr, "kestrix-demo: no detector\n");
        return 1;
    }
    MotionInit(detector, 4, zones, 2);

    // The first 30 frames only warm the detector up and the 31st becomes the reference; after
    // that the square crosses from left to right, 12 pixels a frame, and stops at frame 38.
    for (int frame = 1; frame <= kFrames; ++frame) {
        const int step = frame <= 31 ? 0 : (frame < 38 ? frame - 31 : 38 - 31);
        const int32_t left = 100 + 12 * step;
        paintFrame(pixels, left, 100);
        uint8_t mask = 0;
        MotionCompare(detector, &header, pixels.data(), &mask);
        std::printf("frame %2d  square at x %3d  mask 0x%02x%s%s\n", frame, left, mask,
                    (mask & 1) ? "  left" : "", (mask & 2) ? "  right" : "");
    }

    MotionClose(detector);
    return 0;
}
