// JpegDecompress3 and JpegDecompress2 through a device that reads what a paint would read, with
// random windows, frames, roads, levels and resize targets. Frames are as large as their rows
// padded to 32 bits say; the shared block must hold every byte the resize writes and the paint
// reads. Sizes stay small so that a run takes well under a millisecond: the shared block is
// shrunk now and then to a small window's, so that growing it is explored at small sizes too.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "frame/library_state.h"
#include "fuzz/fuzz_input.h"
#include "kestrix.h"
#include "kestrix/px.h"
#include "platform/paint.h"

namespace {

// Draws nothing; reads every byte of the image rows that the paint would show from the block.
class ReadingDevice final : public kx::platform::PaintDevice {
public:
    kx::platform::PaintContext getWindowDC(int32_t) override { return this; }
    int32_t releaseDC(int32_t, kx::platform::PaintContext) override { return 1; }
    int32_t setDIBitsToDevice(kx::platform::PaintContext, int32_t, int32_t, int32_t, int32_t, int32_t, int32_t,
                              uint32_t, uint32_t scanCount, const void *bits, const BITMAPINFOHEADER *header,
                              uint32_t) override {
        if (bits != kx::FrameScratch || header->biWidth <= 0) return 0;
        const int64_t stride = (int64_t{header->biWidth} * header->biBitCount + 31) / 32 * 4;
        int64_t rows = header->biHeight < 0 ? -int64_t{header->biHeight} : header->biHeight;
        if (rows > scanCount) rows = scanCount;
        const auto *p = static_cast<const volatile uint8_t *>(bits);
        for (int64_t k = 0; k < stride * rows; k += 61) sum += p[k];
        if (stride * rows > 0) sum += p[stride * rows - 1];
        return static_cast<int32_t>(rows);
    }
    kx::platform::PaintBrush createSolidBrush(uint32_t) override { return this; }
    int32_t frameRect(kx::platform::PaintContext, const RECT *, kx::platform::PaintBrush) override { return 1; }
    int32_t deleteObject(kx::platform::PaintBrush) override { return 1; }
    int32_t setBkMode(kx::platform::PaintContext, int32_t) override { return 1; }
    uint32_t setTextAlign(kx::platform::PaintContext, uint32_t) override { return 0; }
    uint32_t setTextColor(kx::platform::PaintContext, uint32_t) override { return 0; }
    int32_t textOut(kx::platform::PaintContext, int32_t, int32_t, const char *text, int32_t length) override {
        for (int32_t i = 0; i < length; ++i) sum += uint8_t(text[i]);
        return 1;
    }
    uint32_t sum = 0;
};

ReadingDevice device;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    kx::fuzz::Input in(data, size);
    kx::platform::setPaintDevice(&device);
    pxSetLevel(in.range(0, 4));  // a level this processor lacks is refused and the last one stays
    if (!kx::FrameScratch || in.range(0, 7) == 0) {
        const int32_t side = in.range(0, 16) * 8;
        kx::replaceFrameScratch(uint64_t(side) * uint64_t(side) * 3 + 40, 0);
        kx::ScratchWidth = kx::ScratchHeight = side;
    }
    const int32_t knownSizes[][2] = {{720, 480}, {720, 576}, {352, 240}, {352, 288}, {176, 128}};
    int32_t fw = in.range(0, 120), fh = in.range(0, 90);
    if (in.range(0, 7) == 0) {
        const int32_t k = in.range(0, 4);
        fw = knownSizes[k][0], fh = knownSizes[k][1];
    }
    const uint16_t bits = in.range(0, 3) == 0 ? uint16_t(in.range(0, 40)) : 24;
    const int32_t width = in.range(-10, 160), height = in.range(-10, 120);
    BITMAPINFOHEADER header{40, fw, fh, 1, bits, 0, 0, 0, 0, 0, 0};
    // The paint reads rows padded to 32 bits; the resize reads three bytes a pixel from rows of
    // bits * width / 8 bytes, whatever the depth.
    const int64_t stride = (int64_t{fw} * bits + 31) / 32 * 4;
    const int64_t resized = fh > 0 ? (int64_t{fh} - 1) * (int64_t{bits} * fw / 8) + 3 * int64_t{fw} : 0;
    // The frame ends where one block, made once, ends, so that a read past it still meets the
    // sanitizer's red zone, and large camera frames cost no fresh pages on every run. A tile of the
    // input, doubled up to the frame's size, fills it.
    static std::vector<uint8_t> arena(size_t(720) * 576 * 40 / 8);  // the largest: 720x576, 40 bits
    const size_t frameBytes = size_t(std::max(stride * fh, resized));
    uint8_t *const pixels = arena.data() + arena.size() - frameBytes;
    size_t filled = std::min<size_t>(frameBytes, 256);
    in.fill(pixels, filled);
    for (; filled && filled < frameBytes; filled *= 2)
        std::memcpy(pixels + filled, pixels, std::min(filled, frameBytes - filled));
    std::vector<RECT> zones(size_t(in.range(0, 4)));
    for (RECT &r : zones) r = {in.range(-50, 800), in.range(-50, 600), in.range(-50, 800), in.range(-50, 600)};
    uint16_t text[8];
    for (uint16_t &c : text) c = uint16_t(in.range(0, 0x2FF));
    const int32_t before = header.biHeight;
    int32_t result;
    if (in.flag()) {
        result = JpegDecompress2(7, width, height, zones.data(), int32_t(zones.size()), &header, pixels, text,
                                 8, in.range(-1, 2), text, 8);
    } else {
        result = JpegDecompress3(7, width, height, zones.data(), int32_t(zones.size()), &header, pixels, text,
                                 8, in.range(-1, 2), text, 8, 0, 0, 0, nullptr, in.range(0, 1), in.range(0, 1));
    }
    if (result != 1 || header.biHeight != before) std::abort();
    return 0;
}
