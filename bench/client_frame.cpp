// What a client pays for one camera frame, through the library's exports: a 720x576 24-bit frame
// through MotionCompare with three zones, BmpGetYDc, ChangeGain3, and JpegDecompress3 by the resize
// road into an 800x600 window with a resize target of its own. Timed frame by frame, best and
// median over the frames, first with one camera on one thread, then with one camera on each of two
// threads at once, their paint calls serialised by a lock as the library's thread rules require.
//
// Output, one line each, for scripts/bench:
//   level <n> display <yes|no> mit_shm <yes|no>
//   frame threads=<n> frames=<n> best_us=<t> median_us=<t> cpu_best_us=<t> cpu_median_us=<t> frames_per_s=<f>
//   call name=<export> best_us=<t> median_us=<t>        (one thread)
// Times are wall times of the calling thread, and (cpu_) the processor time it used: the difference
// is mostly waiting for the X server, which does its part of the paint in its own process.
// Painting needs an X display (DISPLAY); without one the paint calls do nothing, but the resize is
// still done. Where the server offers MIT-SHM the library paints through shared memory, else
// through the socket; scripts/bench runs both.
#include <time.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <array>
#include <barrier>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <vector>

#include "kestrix.h"
#include "kestrix/px.h"
#include "x11_extension.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int32_t kFrameWidth = 720, kFrameHeight = 576, kWindowWidth = 800, kWindowHeight = 600;
constexpr int32_t kRowBytes = kFrameWidth * 3;  // already a multiple of 4
constexpr int32_t kTimedFrames = 200;
constexpr int32_t kWarmUpFrames = 40;  // MotionCompare swallows the first 30 after MotionInit
constexpr int32_t kFramesInLoop = 8;
constexpr int32_t kCalls = 4;
constexpr const char *kCallNames[kCalls] = {"MotionCompare", "BmpGetYDc", "ChangeGain3", "JpegDecompress3"};

double micros(Clock::duration d) { return std::chrono::duration<double, std::micro>(d).count(); }

double threadCpuMicros() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) * 1e6 + double(t.tv_nsec) / 1e3;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

double best(const std::vector<double> &values) { return *std::min_element(values.begin(), values.end()); }

// Windows on a connection of the program's own; the library paints through its own connection.
class Display {
public:
    Display() : connection_(xcb_connect(nullptr, nullptr)) {
        if (xcb_connection_has_error(connection_)) {
            xcb_disconnect(connection_);
            connection_ = nullptr;
        }
    }
    ~Display() {
        if (connection_) xcb_disconnect(connection_);
    }
    Display(const Display &) = delete;
    Display &operator=(const Display &) = delete;

    bool open() const { return connection_ != nullptr; }

    // Whether the server offers the shared-memory images the library paints through where it can.
    bool sharedMemory() const { return connection_ && kx::tools::serverOffers(connection_, "MIT-SHM"); }

    // The id the paint exports take; 0 without a display, which they accept and paint nothing for.
    int32_t window(int16_t x, int16_t y) {
        if (!connection_) return 0;
        const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
        const uint32_t values[] = {0x808080, 1};  // background; override-redirect, so nothing moves it
        const xcb_window_t id = xcb_generate_id(connection_);
        xcb_create_window(connection_, XCB_COPY_FROM_PARENT, id, screen->root, x, y, kWindowWidth, kWindowHeight, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                          XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
        xcb_map_window(connection_, id);
        std::free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
        return static_cast<int32_t>(id);
    }

private:
    xcb_connection_t *connection_;
};

// One camera: its detector, a loop of frames in which a bright square crosses the first zone over a
// still, textured scene, the client's exposure state, and its window and resize target.
class Camera {
public:
    Camera(int32_t window, uint32_t seed) : window_(window), resizeTarget_(size_t{3} * kWindowWidth * kWindowHeight) {
        header_ = {40, kFrameWidth, kFrameHeight, 1, 24, 0, uint32_t(kRowBytes * kFrameHeight), 0, 0, 0, 0};
        uint32_t noise = seed;
        std::vector<uint8_t> scene(size_t{kRowBytes} * kFrameHeight);
        for (int32_t y = 0; y < kFrameHeight; ++y) {
            for (int32_t x = 0; x < kRowBytes; ++x) {
                noise = noise * 1664525u + 1013904223u;
                scene[size_t(y) * kRowBytes + x] = uint8_t((x / 3 + y) / 6 + (noise >> 28));
            }
        }
        for (int32_t f = 0; f < kFramesInLoop; ++f) {
            std::vector<uint8_t> &frame = frames_[size_t(f)] = scene;
            for (int32_t y = 200; y < 296; ++y) {
                for (int32_t x = 24 * f; x < 24 * f + 96; ++x) {
                    std::fill_n(&frame[size_t(y) * kRowBytes + size_t(x) * 3], 3, uint8_t(230));
                }
            }
        }
        detector_ = MotionOpen();
        MotionInit(detector_, 5, kZones, 3);
    }
    ~Camera() { MotionClose(detector_); }
    Camera(const Camera &) = delete;
    Camera &operator=(const Camera &) = delete;

    // The four calls of one frame, each call's time into calls.
    void frame(int32_t index, std::mutex &paintLock, std::array<Clock::duration, kCalls> &calls) {
        const uint8_t *pixels = frames_[size_t(index % kFramesInLoop)].data();
        const Clock::time_point t0 = Clock::now();
        uint8_t mask = 0;
        MotionCompare(detector_, &header_, pixels, &mask);
        const Clock::time_point t1 = Clock::now();
        int32_t luma = BmpGetYDc(pixels, uint32_t(kRowBytes * kFrameHeight));
        const Clock::time_point t2 = Clock::now();
        ChangeGain3(&luma, 600, &stage_, &gain_, &shutter_);
        const Clock::time_point t3 = Clock::now();
        {
            const std::lock_guard<std::mutex> paintOneAtATime(paintLock);
            JpegDecompress3(window_, kWindowWidth, kWindowHeight, kZones, 3, &header_, pixels, "Cam 1", 5, 0,
                            "12:00:00", 8, 0, 0, 0, resizeTarget_.data(), 1, 0);
        }
        const Clock::time_point t4 = Clock::now();
        calls = {t1 - t0, t2 - t1, t3 - t2, t4 - t3};
    }

private:
    static constexpr RECT kZones[3] = {{40, 160, 360, 340}, {380, 40, 700, 260}, {380, 300, 700, 540}};

    int32_t window_;
    BITMAPINFOHEADER header_;
    std::array<std::vector<uint8_t>, kFramesInLoop> frames_;
    std::vector<uint8_t> resizeTarget_;
    void *detector_ = nullptr;
    int32_t gain_ = 64, shutter_ = 200, stage_ = 0;
};

struct Run {
    std::vector<double> frameUs;                     // every frame of every camera
    std::vector<double> frameCpuUs;                  // the processor time of the same frames
    std::array<std::vector<double>, kCalls> callUs;  // the same, call by call
    double framesPerSecond = 0;
};

// Each camera on a thread of its own, all starting together after their warm-up.
Run run(std::vector<Camera *> cameras) {
    std::mutex paintLock;
    std::barrier start(std::ptrdiff_t(cameras.size()) + 1);
    std::vector<Run> perCamera(cameras.size());
    std::vector<std::thread> threads;
    for (size_t c = 0; c < cameras.size(); ++c) {
        threads.emplace_back([&, c] {
            std::array<Clock::duration, kCalls> calls;
            for (int32_t f = 0; f < kWarmUpFrames; ++f) cameras[c]->frame(f, paintLock, calls);
            start.arrive_and_wait();
            for (int32_t f = 0; f < kTimedFrames; ++f) {
                const double cpuBefore = threadCpuMicros();
                cameras[c]->frame(f, paintLock, calls);
                perCamera[c].frameCpuUs.push_back(threadCpuMicros() - cpuBefore);
                Clock::duration whole{};
                for (int32_t i = 0; i < kCalls; ++i) {
                    perCamera[c].callUs[size_t(i)].push_back(micros(calls[size_t(i)]));
                    whole += calls[size_t(i)];
                }
                perCamera[c].frameUs.push_back(micros(whole));
            }
        });
    }
    start.arrive_and_wait();
    const Clock::time_point begin = Clock::now();
    for (std::thread &t : threads) t.join();
    const double seconds = micros(Clock::now() - begin) / 1e6;

    Run all;
    for (const Run &r : perCamera) {
        all.frameUs.insert(all.frameUs.end(), r.frameUs.begin(), r.frameUs.end());
        all.frameCpuUs.insert(all.frameCpuUs.end(), r.frameCpuUs.begin(), r.frameCpuUs.end());
        for (size_t i = 0; i < kCalls; ++i) all.callUs[i].insert(all.callUs[i].end(), r.callUs[i].begin(), r.callUs[i].end());
    }
    all.framesPerSecond = double(all.frameUs.size()) / seconds;
    return all;
}

void report(size_t threads, const Run &r) {
    std::printf("frame threads=%zu frames=%zu best_us=%.1f median_us=%.1f cpu_best_us=%.1f cpu_median_us=%.1f "
                "frames_per_s=%.1f\n",
                threads, r.frameUs.size(), best(r.frameUs), median(r.frameUs), best(r.frameCpuUs),
                median(r.frameCpuUs), r.framesPerSecond);
}

}  // namespace

int main() {
    // The library chose its level when it loaded, by the rule pxChooseLevel applies here.
    pxChooseLevel();
    Display display;
    std::printf("level %d display %s mit_shm %s\n", pxGetLevel(), display.open() ? "yes" : "no",
                display.sharedMemory() ? "yes" : "no");

    Camera first(display.window(0, 0), 1), second(display.window(224, 168), 2);
    const Run alone = run({&first});
    report(1, alone);
    for (size_t i = 0; i < kCalls; ++i) {
        std::printf("call name=%s best_us=%.1f median_us=%.1f\n", kCallNames[i], best(alone.callUs[i]),
                    median(alone.callUs[i]));
    }
    report(2, run({&first, &second}));
    return 0;
}
