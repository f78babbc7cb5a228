// A Win32 client of Kestrix.dll: paints into a real window through the two paint exports and reads
// the window back, as an application sees it. Also the four kept-for-old-clients exports.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <vector>

#include "kestrix.h"

namespace {

TEST(Stubs, ReturnTheirConstants) {
    EXPECT_EQ(IsGreenMode(), 0);
    EXPECT_EQ(JpegGetYDc(), 0);
    EXPECT_EQ(JpegDecompress(), 1);
    EXPECT_EQ(JpegDecompressToBmp(), 1);
}

constexpr COLORREF kGrey = RGB(128, 128, 128);
constexpr COLORREF kBackdrop = RGB(64, 64, 64);

struct Box {
    int left = INT_MAX, top = INT_MAX, right = INT_MIN, bottom = INT_MIN;  // inclusive
    int count = 0;
    void add(int x, int y) {
        left = std::min(left, x);
        top = std::min(top, y);
        right = std::max(right, x);
        bottom = std::max(bottom, y);
        ++count;
    }
};

struct Frame {
    BITMAPINFOHEADER header{};
    std::vector<uint8_t> pixels;
    Frame(int width, int height) {
        header.biSize = 40;
        header.biWidth = width;
        header.biHeight = height;
        header.biPlanes = 1;
        header.biBitCount = 24;
        header.biSizeImage = static_cast<DWORD>(width * height * 3);
        pixels.resize(header.biSizeImage);
        uint32_t state = 99;
        for (uint8_t &p : pixels) {
            state = state * 1103515245u + 12345u;
            p = static_cast<uint8_t>(state >> 16);
        }
    }
    void fill(COLORREF colour) {
        for (size_t i = 0; i < pixels.size(); i += 3) {
            pixels[i] = GetBValue(colour);
            pixels[i + 1] = GetGValue(colour);
            pixels[i + 2] = GetRValue(colour);
        }
    }
    COLORREF at(int x, int row) const {
        const uint8_t *p = pixels.data() + (static_cast<size_t>(row) * header.biWidth + x) * 3;
        return RGB(p[2], p[1], p[0]);
    }
};

class Window : public ::testing::Test {
protected:
    void TearDown() override {
        if (window) DestroyWindow(window);
        pump();
    }

    static void pump() {
        MSG message;
        for (int round = 0; round < 20; ++round) {
            while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageA(&message);
            Sleep(10);
        }
    }

    // A borderless window at the screen's corner: its window rectangle is its client area.
    int32_t open(int w, int h) {
        width = w;
        height = h;
        static ATOM windowClass = [] {
            WNDCLASSA description{};
            description.lpfnWndProc = DefWindowProcA;
            description.hInstance = GetModuleHandleA(nullptr);
            description.hbrBackground = CreateSolidBrush(kGrey);
            description.lpszClassName = "KestrixPaintTest";
            return RegisterClassA(&description);
        }();
        window = CreateWindowExA(WS_EX_TOPMOST, MAKEINTATOM(windowClass), "paint", WS_POPUP | WS_VISIBLE, 0, 0, w, h,
                                 nullptr, nullptr, GetModuleHandleA(nullptr), nullptr);
        UpdateWindow(window);
        pump();
        return static_cast<int32_t>(reinterpret_cast<intptr_t>(window));
    }

    // The window's pixels through a 24-bit top-down DIB section, as COLORREF values.
    std::vector<COLORREF> readBack() {
        BITMAPINFO info{};
        info.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
        info.bmiHeader.biWidth = width;
        info.bmiHeader.biHeight = -height;
        info.bmiHeader.biPlanes = 1;
        info.bmiHeader.biBitCount = 24;
        void *bits = nullptr;
        HDC screen = GetWindowDC(window);
        HDC memory = CreateCompatibleDC(screen);
        HBITMAP section = CreateDIBSection(memory, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
        HGDIOBJ old = SelectObject(memory, section);
        BitBlt(memory, 0, 0, width, height, screen, 0, 0, SRCCOPY);
        GdiFlush();
        std::vector<COLORREF> out;
        const size_t stride = (static_cast<size_t>(width) * 3 + 3) / 4 * 4;
        for (int y = 0; y < height; ++y) {
            const uint8_t *row = static_cast<const uint8_t *>(bits) + y * stride;
            for (int x = 0; x < width; ++x) out.push_back(RGB(row[3 * x + 2], row[3 * x + 1], row[3 * x]));
        }
        SelectObject(memory, old);
        DeleteObject(section);
        DeleteDC(memory);
        ReleaseDC(window, screen);
        return out;
    }

    COLORREF pixel(const std::vector<COLORREF> &pixels, int x, int y) const {
        return pixels[static_cast<size_t>(y) * width + x];
    }

    Box boxOf(const std::vector<COLORREF> &pixels, COLORREF colour, int x0, int y0, int x1, int y1) const {
        Box box;
        for (int y = y0; y < y1; ++y) {
            for (int x = x0; x < x1; ++x) {
                if (pixel(pixels, x, y) == colour) box.add(x, y);
            }
        }
        return box;
    }

    void expectRim(const std::vector<COLORREF> &pixels) const {
        int wrong = 0;
        for (int x = 0; x < width; ++x) {
            wrong += pixel(pixels, x, 0) != kGrey;
            wrong += pixel(pixels, x, height - 1) != kGrey;
        }
        for (int y = 0; y < height; ++y) {
            wrong += pixel(pixels, 0, y) != kGrey;
            wrong += pixel(pixels, width - 1, y) != kGrey;
        }
        EXPECT_EQ(wrong, 0);
    }

    HWND window = nullptr;
    int width = 0, height = 0;
};

TEST_F(Window, SameSizeInsideTheRim) {
    const int32_t id = open(64, 48);
    Frame frame(64, 48);
    ASSERT_EQ(JpegDecompress2(id, 64, 48, nullptr, 0, &frame.header, frame.pixels.data(), nullptr, 0, 0, nullptr, 0),
              1);
    EXPECT_EQ(frame.header.biHeight, 48);
    const auto pixels = readBack();
    expectRim(pixels);
    int wrong = 0;
    for (int y = 1; y < 47; ++y) {
        for (int x = 1; x < 63; ++x) wrong += pixel(pixels, x, y) != frame.at(x, y);
    }
    EXPECT_EQ(wrong, 0);
}

TEST_F(Window, CropRoadOffset) {
    // 720x576 into 640x480: window column x shows frame column x + 39, from source x 40.
    const int32_t id = open(640, 480);
    Frame frame(720, 576);
    ASSERT_EQ(JpegDecompress3(id, 640, 480, nullptr, 0, &frame.header, frame.pixels.data(), nullptr, 0, 0, nullptr,
                              0, 0, 0, 0, nullptr, 0, 0),
              1);
    const auto pixels = readBack();
    expectRim(pixels);
    int wrong = 0;
    for (int y = 1; y < 479; ++y) {
        for (int x = 1; x < 639; ++x) wrong += pixel(pixels, x, y) != frame.at(x + 39, y);
    }
    EXPECT_EQ(wrong, 0);
}

TEST_F(Window, RedOutline) {
    // Same size, so the zone stands as given: drawn on x 60 and 119, y 60 and 99.
    const int32_t id = open(200, 150);
    Frame frame(200, 150);
    frame.fill(kBackdrop);
    const RECT zone = {60, 60, 120, 100};
    ASSERT_EQ(JpegDecompress2(id, 200, 150, &zone, 1, &frame.header, frame.pixels.data(), nullptr, 0, 0, nullptr, 0),
              1);
    const auto pixels = readBack();
    const Box red = boxOf(pixels, RGB(255, 0, 0), 0, 0, 200, 150);
    EXPECT_EQ(red.left, 60);
    EXPECT_EQ(red.top, 60);
    EXPECT_EQ(red.right, 119);
    EXPECT_EQ(red.bottom, 99);
    EXPECT_EQ(red.count, 2 * 60 + 2 * 38);
    EXPECT_EQ(pixel(pixels, 90, 80), kBackdrop);
}

TEST_F(Window, WhiteHaloAroundColouredText) {
    const int32_t id = open(320, 120);
    Frame frame(320, 120);
    frame.fill(kBackdrop);
    const wchar_t topLeft[] = L"Cam 1";
    const wchar_t bottomRight[] = L"12:34";
    for (int textState : {0, 1}) {
        SCOPED_TRACE(textState);
        // JpegDecompress2 takes 16-bit text; JpegDecompress3 here narrow text.
        if (textState == 0) {
            ASSERT_EQ(JpegDecompress2(id, 320, 120, nullptr, 0, &frame.header, frame.pixels.data(), topLeft, 5,
                                      textState, bottomRight, 5),
                      1);
        } else {
            ASSERT_EQ(JpegDecompress3(id, 320, 120, nullptr, 0, &frame.header, frame.pixels.data(), "Cam 1", 5,
                                      textState, "12:34", 5, 0, 0, 0, nullptr, 0, 0),
                      1);
        }
        const auto pixels = readBack();
        const COLORREF colour = textState == 0 ? RGB(255, 0, 0) : RGB(0, 0, 255);
        const Box text = boxOf(pixels, colour, 0, 0, 160, 60);
        const Box halo = boxOf(pixels, RGB(255, 255, 255), 0, 0, 160, 60);
        ASSERT_GT(text.count, 5);
        EXPECT_GT(halo.count, text.count);
        EXPECT_LT(halo.left, text.left);
        EXPECT_LT(halo.top, text.top);
        EXPECT_GT(halo.right, text.right);
        EXPECT_GT(halo.bottom, text.bottom);

        const Box blue = boxOf(pixels, RGB(0, 0, 255), 160, 60, 320, 120);
        const Box around = boxOf(pixels, RGB(255, 255, 255), 160, 60, 320, 120);
        ASSERT_GT(blue.count, 5);
        EXPECT_GT(around.count, blue.count);
        EXPECT_GT(around.right, blue.right);
        EXPECT_GT(around.bottom, blue.bottom);
        EXPECT_LE(around.right, 318);  // the cell ends at width - 1 for the outermost copy
        EXPECT_LE(around.bottom, 118);
        EXPECT_GT(blue.right, 280);  // right-aligned
    }
}

}  // namespace
