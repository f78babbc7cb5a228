// A Win32 client of Kestrix.dll: the window of the shared window tests, and the four exports kept
// for old clients.
#include <gtest/gtest.h>
#include <windows.h>

#include <vector>

#include "kestrix.h"

namespace kx::test {
namespace {
HWND window = nullptr;

void pump() {
    MSG message;
    for (int round = 0; round < 20; ++round) {
        while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageA(&message);
        Sleep(10);
    }
}

TEST(Stubs, ReturnTheirConstants) {
    EXPECT_EQ(IsGreenMode(), 0);
    EXPECT_EQ(JpegGetYDc(), 0);
    EXPECT_EQ(JpegDecompress(), 1);
    EXPECT_EQ(JpegDecompressToBmp(), 1);
}
}  // namespace

// Borderless, so that its window rectangle is its client area.
int32_t openWindow(int32_t width, int32_t height) {
    static const ATOM windowClass = [] {
        WNDCLASSA description{};
        description.lpfnWndProc = DefWindowProcA;
        description.hInstance = GetModuleHandleA(nullptr);
        description.hbrBackground = CreateSolidBrush(RGB(128, 128, 128));
        description.lpszClassName = "KestrixPaintTest";
        return RegisterClassA(&description);
    }();
    window = CreateWindowExA(WS_EX_TOPMOST, MAKEINTATOM(windowClass), "paint", WS_POPUP | WS_VISIBLE, 0, 0, width,
                             height, nullptr, nullptr, GetModuleHandleA(nullptr), nullptr);
    UpdateWindow(window);
    pump();
    return static_cast<int32_t>(reinterpret_cast<intptr_t>(window));
}

std::vector<uint32_t> readWindow(int32_t width, int32_t height) {
    std::vector<uint32_t> pixels;
    HDC dc = GetWindowDC(window);
    for (int32_t i = 0; i < width * height; ++i) {
        const COLORREF pixel = GetPixel(dc, i % width, i / width);
        pixels.push_back(uint32_t{GetRValue(pixel)} << 16 | uint32_t{GetGValue(pixel)} << 8 | GetBValue(pixel));
    }
    ReleaseDC(window, dc);
    return pixels;
}

void closeWindow() {
    DestroyWindow(window);
    pump();
}

}  // namespace kx::test
