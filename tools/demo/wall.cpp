#include "wall.h"

#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "progress.h"
#include "scene.h"
#include "sources.h"
#include "x11_window.h"

namespace kx::demo {

namespace {

using Clock = std::chrono::steady_clock;

double cpuMs(clockid_t clock) {
    timespec t{};
    clock_gettime(clock, &t);
    return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_nsec) / 1e6;
}

// A process's processor time from /proc, in milliseconds; -1 when it cannot be read.
double processCpuMs(pid_t pid) {
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    if (!std::getline(stat, line)) return -1;
    // Fields after the name, which is in parentheses and may hold spaces: state is the first, and
    // user and system time (in clock ticks) the 12th and 13th.
    std::istringstream fields(line.substr(line.rfind(')') + 2));
    std::string field;
    double ticks = 0;
    for (int i = 1; i <= 13 && fields >> field; ++i) {
        if (i >= 12) ticks += std::stod(field);
    }
    return ticks * 1e3 / static_cast<double>(sysconf(_SC_CLK_TCK));
}

// One camera of the wall: its source, its client and its window.
class WallCamera {
public:
    // footage null: the scene.
    WallCamera(int32_t number, const Options &options, const Scene *scene, std::unique_ptr<RawSource> footage,
               const X11Window &wall, const WallLayout &layout)
        : scene_(scene), offset_(wallSceneOffset(number)), seed_(static_cast<uint32_t>(number)),
          footage_(std::move(footage)) {
        RunInfo &info = report_.info;
        if (footage_) {
            const std::string &input = options.inputs[static_cast<size_t>(number) % options.inputs.size()];
            info.source = std::filesystem::path(input).filename().string();
        } else {
            info.source = "scene from frame " + std::to_string(offset_);
        }
        info.width = footage_ ? footage_->width() : Scene::kWidth;
        info.height = footage_ ? footage_->height() : Scene::kHeight;
        info.framesPerSecond = Scene::kFramesPerSecond;
        info.sensitivity = options.sensitivity;
        info.cameraSteered = scene_ != nullptr;
        chooseZones(info, options.zones, scene_ != nullptr);
        report_.name = "Camera " + std::to_string(number + 1);
        ClientOptions clientOptions{options.sensitivity, info.zones, report_.name, layout.cellWidth,
                                    layout.cellHeight, false};
        const PaintLayout paint = paintLayoutFor(info.width, info.height, layout.cellWidth, layout.cellHeight);
        window_ = std::make_unique<X11Window>(wall, layout.left(number), layout.top(number), paint.windowWidth,
                                              paint.windowHeight);
        client_ = std::make_unique<Client>(info.width, info.height, clientOptions, window_->id());
    }

    // The next frame through the client into the window, and the client's processor time in
    // clientMs; false when the footage has ended.
    bool step(int32_t tick, double &clientMs) {
        int32_t shutterWidth = 0;
        if (scene_) {
            const int32_t index = (offset_ + tick) % Scene::kFrames;
            // The scene's ten seconds loop, and the camera starts over at its resting exposure, as the
            // floodlight of the last second has turned it down as far as it goes.
            if (index == 0 && tick > 0) settings_ = CameraSettings{};
            scene_->renderQuick(index, settings_, seed_, frame_);
            shutterWidth = reportedShutterWidth(Scene::light(index));
        } else {
            if (!footage_->next(frame_)) return false;
            shutterWidth = reportedShutterWidth(std::max(luma_, 1) / kDaylightLuma);
        }
        const double before = cpuMs(CLOCK_THREAD_CPUTIME_ID);
        const int32_t framesPerSecond = report_.info.framesPerSecond;
        report_.records.push_back(client_->handle(tick, frame_, false, shutterWidth, settings_, framesPerSecond));
        clientMs += cpuMs(CLOCK_THREAD_CPUTIME_ID) - before;
        luma_ = report_.records.back().luma;
        return true;
    }

    const WallCameraReport &report() const { return report_; }
    // Forgets frames past the wall's last whole tick: the one where a video ended for another camera.
    void keep(int32_t frames) {
        if (report_.records.size() > static_cast<size_t>(frames)) report_.records.resize(static_cast<size_t>(frames));
    }

private:
    const Scene *scene_;
    int32_t offset_;
    uint32_t seed_;
    std::unique_ptr<RawSource> footage_;
    WallCameraReport report_;
    std::unique_ptr<X11Window> window_;
    std::unique_ptr<Client> client_;
    CameraSettings settings_;
    int32_t luma_ = static_cast<int32_t>(kDaylightLuma);
    Frame frame_;
};

// The progress line's addition, short enough for a terminal of 100 columns: the processor time a
// camera-frame so far.
std::string figuresText(const WallFigures &f) {
    char text[120];
    const int used =
        std::snprintf(text, sizeof(text), "a camera; CPU a camera-frame: client %.2f ms, all %.2f", f.clientMs,
                      f.processMs);
    if (f.serverMs >= 0 && used > 0) {
        std::snprintf(text + used, sizeof(text) - static_cast<size_t>(used), ", X %.2f ", f.serverMs);
    }
    return text;
}

class Wall {
public:
    Wall(const Options &options, X11Display &display)
        : options_(options), display_(display), scene_(options.inputs.empty() ? std::make_unique<Scene>() : nullptr) {
        // A decoder a camera, even where cameras share a video: each plays it at its own pace.
        std::vector<std::unique_ptr<RawSource>> footage(static_cast<size_t>(options.wall));
        for (size_t camera = 0; !scene_ && camera < footage.size(); ++camera) {
            footage[camera] = std::make_unique<FfmpegSource>(options.inputs[camera % options.inputs.size()]);
        }
        // The cells are made for the first camera's frames; other sizes fit inside them.
        layout_ = scene_ ? wallLayoutFor(options.wall, Scene::kWidth, Scene::kHeight)
                         : wallLayoutFor(options.wall, footage[0]->width(), footage[0]->height());
        window_ = std::make_unique<X11Window>(display, layout_.width, layout_.height, options.show);
        for (int32_t camera = 0; camera < options.wall; ++camera) {
            cameras_.push_back(std::make_unique<WallCamera>(camera, options, scene_.get(),
                                                            std::move(footage[static_cast<size_t>(camera)]),
                                                            *window_, layout_));
        }
        figures_.cameras = options.wall;
        figures_.realTime = !options.fast;
        figures_.sharedMemory = display.offersSharedMemory();
    }

    // Tick by tick, every camera one frame, at 25 a second or as fast as it goes.
    void play() {
        const int32_t total = scene_ ? (options_.frames ? options_.frames : Scene::kFrames) : options_.frames;
        Progress progress(total, 10);
        const auto start = Clock::now();
        const double processStart = cpuMs(CLOCK_PROCESS_CPUTIME_ID);
        const pid_t server = display_.serverProcess();
        const double serverStart = server > 0 ? processCpuMs(server) : -1;
        double clientMs = 0;
        int32_t tick = 0;
        for (; total == 0 || tick < total; ++tick) {
            const auto stepped = [&](auto &camera) { return camera->step(tick, clientMs); };
            if (!std::all_of(cameras_.begin(), cameras_.end(), stepped)) break;  // a video has ended
            const double cameraFrames = static_cast<double>(tick + 1) * figures_.cameras;
            figures_.clientMs = clientMs / cameraFrames;
            figures_.processMs = (cpuMs(CLOCK_PROCESS_CPUTIME_ID) - processStart) / cameraFrames;
            if (serverStart >= 0 && progress.due()) {
                figures_.serverMs = (processCpuMs(server) - serverStart) / cameraFrames;
            }
            if (!options_.fast) std::this_thread::sleep_until(start + (tick + 1) * std::chrono::milliseconds(40));
            progress.update(tick + 1, false, figuresText(figures_));
        }
        figures_.frames = tick;
        for (auto &camera : cameras_) camera->keep(tick);
        figures_.seconds = std::chrono::duration<double>(Clock::now() - start).count();
        if (serverStart >= 0 && tick) {
            figures_.serverMs = (processCpuMs(server) - serverStart) / (tick * figures_.cameras);
        }
        progress.update(tick, true, figuresText(figures_));
        if (!tick) throw std::runtime_error("no frames to show");
    }

    void finish() {
        OutputDirectory out(options_.out);
        out.picture("wall.png", window_->read());
        std::vector<WallCameraReport> reports;
        for (const auto &camera : cameras_) reports.push_back(camera->report());
        out.text("summary.txt", wallSummaryText(reports, layout_, figures_));
        out.report();
    }

private:
    const Options &options_;
    X11Display &display_;
    std::unique_ptr<Scene> scene_;  // shared by the cameras: they only read it
    WallLayout layout_;
    std::unique_ptr<X11Window> window_;
    std::vector<std::unique_ptr<WallCamera>> cameras_;  // after the window: their windows go first
    WallFigures figures_;
};

}  // namespace

WallLayout wallLayoutFor(int32_t cameras, int32_t frameWidth, int32_t frameHeight, int32_t maxWidth,
                         int32_t maxHeight) {
    WallLayout layout;
    layout.columns = static_cast<int32_t>(std::ceil(std::sqrt(static_cast<double>(std::max(cameras, 1)))));
    layout.rows = (std::max(cameras, 1) + layout.columns - 1) / layout.columns;
    const int32_t slotWidth = (maxWidth - kWallGap * (layout.columns + 1)) / layout.columns;
    const int32_t slotHeight = (maxHeight - kWallGap * (layout.rows + 1)) / layout.rows;
    const PaintLayout cell = paintLayoutFor(frameWidth, frameHeight, slotWidth, slotHeight);
    layout.cellWidth = cell.windowWidth;
    layout.cellHeight = cell.windowHeight;
    layout.width = kWallGap + layout.columns * (layout.cellWidth + kWallGap);
    layout.height = kWallGap + layout.rows * (layout.cellHeight + kWallGap);
    return layout;
}

int32_t wallSceneOffset(int32_t camera) { return camera * 53 % Scene::kFrames; }

std::string wallSummaryText(const std::vector<WallCameraReport> &cameras, const WallLayout &layout,
                            const WallFigures &f) {
    std::ostringstream text;
    char line[640];
    std::snprintf(line, sizeof(line),
                  "kestrix-demo --wall %d: %d frames a camera, %s\n"
                  "wall: %dx%d windows of %dx%d in %dx%d; the X server %s shared-memory images (MIT-SHM)\n"
                  "run: %.1f s, %.1f frames a second a camera, %.0f camera-frames a second\n"
                  "processor time a camera-frame: client %.3f ms (detector, exposure, paint), whole demo %.3f ms",
                  f.cameras, f.frames, f.realTime ? "in real time (25 frames a second)" : "as fast as it goes",
                  layout.columns, layout.rows, layout.cellWidth, layout.cellHeight, layout.width, layout.height,
                  f.sharedMemory ? "offers" : "does not offer", f.seconds, f.framesPerSecond(),
                  f.framesPerSecond() * f.cameras, f.clientMs, f.processMs);
    text << line;
    if (f.serverMs >= 0) {
        std::snprintf(line, sizeof(line), ", X server %.3f ms", f.serverMs);
        text << line;
    }
    std::snprintf(line, sizeof(line), "\ncameras one core keeps at 25 frames a second, on the client's time: %.0f\n\n",
                  f.camerasPerCore());
    text << line;
    for (const WallCameraReport &camera : cameras) {
        text << camera.name << ": " << camera.info.source << ", " << camera.records.size() << " frames of "
             << camera.info.width << "x" << camera.info.height << "; in motion:";
        for (size_t zone = 0; zone < camera.info.zones.size(); ++zone) {
            text << (zone ? ", " : " ") << zoneLabel(camera.info, zone) << ": "
                 << framesInMotion(camera.records, zone).size();
        }
        const auto moves = std::count_if(camera.records.begin(), camera.records.end(),
                                         [](const FrameRecord &r) { return !(r.after == r.before); });
        text << "; " << moves << " exposure moves";
        if (!camera.records.empty()) {
            const FrameRecord &last = camera.records.back();
            text << "; at the end gain " << last.after.gain << ", shutter " << last.after.shutter << ", stage "
                 << last.after.stage << ", luminance " << last.luma;
        }
        text << "\n";
    }
    return text.str();
}

int runWall(const Options &options) {
    X11Display display(!options.show);
    Wall wall(options, display);
    wall.play();
    wall.finish();
    return 0;
}

}  // namespace kx::demo
