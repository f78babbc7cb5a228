// JpegDecompress3 and JpegDecompress2 through a device that reads what a paint would read, with
// random windows, frames, roads and resize targets. Frames are as large as their rows padded to
// 32 bits say; the shared block must hold every byte the resize writes and the paint reads.
#include <algorithm>
#include <cstdlib>

#include "frame/library_state.h"
#include "fuzz/fuzz_input.h"
#include "kestrix.h"
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
    if (!kx::FrameScratch) kx::replaceFrameScratch(1600 * 1200 * 3 + 40, 0);
    const int32_t knownSizes[][2] = {{720, 480}, {720, 576}, {352, 240}, {352, 288}, {176, 128}};
    int32_t fw = in.range(0, 200), fh = in.range(0, 150);
    if (in.range(0, 3) == 0) {
        const int32_t k = in.range(0, 4);
        fw = knownSizes[k][0], fh = knownSizes[k][1];
    }
    const uint16_t bits = in.range(0, 3) == 0 ? uint16_t(in.range(0, 40)) : 24;
    // Mostly windows under the block of attach; now and then one that grows it.
    const bool large = in.range(0, 7) == 0;
    const int32_t width = in.range(-10, large ? 2100 : 400), height = in.range(-10, large ? 1400 : 300);
    BITMAPINFOHEADER header{40, fw, fh, 1, bits, 0, 0, 0, 0, 0, 0};
    // The paint reads rows padded to 32 bits; the resize reads three bytes a pixel from rows of
    // bits * width / 8 bytes, whatever the depth.
    const int64_t stride = (int64_t{fw} * bits + 31) / 32 * 4;
    const int64_t resized = fh > 0 ? (int64_t{fh} - 1) * (int64_t{bits} * fw / 8) + 3 * int64_t{fw} : 0;
    std::vector<uint8_t> pixels(size_t(std::max(stride * fh, resized)));
    in.fill(pixels.data(), pixels.size());
    std::vector<RECT> zones(size_t(in.range(0, 4)));
    for (RECT &r : zones) r = {in.range(-50, 800), in.range(-50, 600), in.range(-50, 800), in.range(-50, 600)};
    uint16_t text[8];
    for (uint16_t &c : text) c = uint16_t(in.range(0, 0x2FF));
    const int32_t before = header.biHeight;
    int32_t result;
    if (in.flag()) {
        result = JpegDecompress2(7, width, height, zones.data(), int32_t(zones.size()), &header, pixels.data(), text,
                                 8, in.range(-1, 2), text, 8);
    } else {
        result = JpegDecompress3(7, width, height, zones.data(), int32_t(zones.size()), &header, pixels.data(), text,
                                 8, in.range(-1, 2), text, 8, 0, 0, 0, nullptr, in.range(0, 1), in.range(0, 1));
    }
    if (result != 1 || header.biHeight != before) std::abort();
    return 0;
}
