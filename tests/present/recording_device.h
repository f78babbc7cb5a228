// A paint device that draws nothing and keeps every call with its arguments.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "frame/library_state.h"
#include "platform/paint.h"

namespace kx::test {

enum class Op {
    GetWindowDC,
    ReleaseDC,
    SetDIBits,
    CreateBrush,
    FrameRect,
    DeleteObject,
    SetBkMode,
    SetTextAlign,
    SetTextColor,
    TextOut,
    WideToNarrow
};

struct Call {
    explicit Call(Op kind, platform::PaintContext context = nullptr) : op(kind), dc(context) {}

    Op op;
    platform::PaintContext dc;
    int32_t window = 0;
    // SetDIBitsToDevice
    int32_t x = 0, y = 0, width = 0, height = 0, sourceX = 0, sourceY = 0;
    uint32_t startScan = 0, scanCount = 0, colourUse = 0;
    const void *bits = nullptr;
    const BITMAPINFOHEADER *headerAddress = nullptr;
    BITMAPINFOHEADER header{};  // as it stood during the call
    // brushes, outlines, text
    platform::PaintBrush brush = nullptr;
    RECT rect{};
    uint32_t value = 0;       // colour, mode or alignment passed
    uint32_t textColour = 0;  // the colour in effect when text was drawn
    std::string text;
    int32_t length = 0, size = 0;
};

class RecordingDevice : public platform::PaintDevice {
public:
    // How the text conversion behaves: the platform's own, or a forced failure.
    enum class Conversion { Platform, Fail, Throw, Negative };

    std::vector<Call> calls;
    Conversion conversion = Conversion::Platform;
    uint32_t textColour = 0x000000;  // a fresh context draws black text

    static platform::PaintContext context() { return reinterpret_cast<platform::PaintContext>(0x1000); }

    std::vector<Call> only(Op op) const {
        std::vector<Call> out;
        for (const Call &call : calls) {
            if (call.op == op) out.push_back(call);
        }
        return out;
    }

    platform::PaintContext getWindowDC(int32_t window) override {
        Call call{Op::GetWindowDC};
        call.window = window;
        calls.push_back(call);
        return context();
    }
    int32_t releaseDC(int32_t window, platform::PaintContext dc) override {
        Call call{Op::ReleaseDC};
        call.window = window;
        call.dc = dc;
        calls.push_back(call);
        return 1;
    }
    int32_t setDIBitsToDevice(platform::PaintContext dc, int32_t x, int32_t y, int32_t width, int32_t height,
                              int32_t sourceX, int32_t sourceY, uint32_t startScan, uint32_t scanCount,
                              const void *bits, const BITMAPINFOHEADER *header, uint32_t colourUse) override {
        Call call{Op::SetDIBits, dc};
        call.x = x;
        call.y = y;
        call.width = width;
        call.height = height;
        call.sourceX = sourceX;
        call.sourceY = sourceY;
        call.startScan = startScan;
        call.scanCount = scanCount;
        call.bits = bits;
        call.headerAddress = header;
        call.header = *header;
        call.colourUse = colourUse;
        calls.push_back(call);
        return static_cast<int32_t>(scanCount);
    }
    platform::PaintBrush createSolidBrush(uint32_t colour) override {
        Call call{Op::CreateBrush};
        call.value = colour;
        call.brush = reinterpret_cast<platform::PaintBrush>(static_cast<uintptr_t>(0x2000 + calls.size()));
        calls.push_back(call);
        return call.brush;
    }
    int32_t frameRect(platform::PaintContext dc, const RECT *rect, platform::PaintBrush brush) override {
        Call call{Op::FrameRect, dc};
        call.rect = *rect;
        call.brush = brush;
        calls.push_back(call);
        return 1;
    }
    int32_t deleteObject(platform::PaintBrush brush) override {
        Call call{Op::DeleteObject};
        call.brush = brush;
        calls.push_back(call);
        return 1;
    }
    int32_t setBkMode(platform::PaintContext dc, int32_t mode) override {
        Call call{Op::SetBkMode, dc};
        call.value = static_cast<uint32_t>(mode);
        calls.push_back(call);
        return platform::kOpaque;
    }
    uint32_t setTextAlign(platform::PaintContext dc, uint32_t align) override {
        Call call{Op::SetTextAlign, dc};
        call.value = align;
        calls.push_back(call);
        return 0;
    }
    uint32_t setTextColor(platform::PaintContext dc, uint32_t colour) override {
        Call call{Op::SetTextColor, dc};
        call.value = colour;
        calls.push_back(call);
        const uint32_t before = textColour;
        textColour = colour;
        return before;
    }
    int32_t textOut(platform::PaintContext dc, int32_t x, int32_t y, const char *text, int32_t length) override {
        Call call{Op::TextOut, dc};
        call.x = x;
        call.y = y;
        call.text.assign(text, static_cast<size_t>(length));
        call.length = length;
        call.textColour = textColour;
        calls.push_back(call);
        return 1;
    }
    int32_t wideToNarrow(const uint16_t *text, int32_t length, char *buffer, int32_t size) override {
        Call call{Op::WideToNarrow};
        call.bits = text;
        call.length = length;
        call.size = size;
        calls.push_back(call);
        switch (conversion) {
            case Conversion::Fail:
                return 0;
            case Conversion::Throw:
                throw std::runtime_error("conversion");
            case Conversion::Negative:
                return -1;
            case Conversion::Platform:
                break;
        }
        return platform::wideToNarrow(text, length, buffer, size);
    }
};

// Installs a device for the length of a test, and the shared block as the library's attach makes it.
class PaintTest {
public:
    PaintTest() {
        ScratchWidth = 1600;
        ScratchHeight = 1200;
        FrameScratch = new uint8_t[1600 * 1200 * 3 + 40]();
        platform::setPaintDevice(&device);
    }
    ~PaintTest() {
        platform::setPaintDevice(nullptr);
        delete[] FrameScratch;
        FrameScratch = nullptr;
    }
    PaintTest(const PaintTest &) = delete;
    PaintTest &operator=(const PaintTest &) = delete;

    RecordingDevice device;
};

}  // namespace kx::test
