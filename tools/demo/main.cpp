// kestrix-demo: a surveillance client on the Kestrix library, on an embedded scene or on real video,
// leaving pictures of what the library did; or a wall of such cameras. See --help.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>

#include "client.h"
#include "options.h"
#include "outputs.h"
#include "progress.h"
#include "scene.h"
#include "sources.h"
#include "wall.h"
#include "x11_window.h"

namespace kx::demo {
namespace {

using Clock = std::chrono::steady_clock;

// The frame whose stacked fields are shown woven and deinterlaced side by side.
constexpr int32_t kDeinterlaceFrame = 72;
// Frames of the embedded scene shown as the window showed them: the person in the gate zone, the
// deinterlaced person, the road zone, the falling light, the dark, and after the floodlight.
constexpr int32_t kSceneSnapshots[] = {52, 72, 110, 175, 205, 245};

// Keeps one thumbnail in every `stride` frames, halving them (and doubling the stride) when there
// are 24, so a stream of any length leaves an even spread.
class ThumbnailPicker {
public:
    void offer(int32_t index, const Frame &thumbnail) {
        if (index % stride_) return;
        pictures_.push_back(toRgb(thumbnail));
        if (pictures_.size() < 24) return;
        for (size_t i = 0; i < pictures_.size() / 2; ++i) pictures_[i] = std::move(pictures_[2 * i]);
        pictures_.resize(pictures_.size() / 2);
        stride_ *= 2;
    }
    const std::vector<RgbImage> &pictures() const { return pictures_; }

private:
    int32_t stride_ = 25;
    std::vector<RgbImage> pictures_;
};

std::string snapshotName(int32_t index) {
    char name[32];
    std::snprintf(name, sizeof(name), "frame-%04d.png", index);
    return name;
}

// Where the frames come from: the embedded scene, a video through ffmpeg, or standard input.
struct Stream {
    std::unique_ptr<RawSource> footage;
    std::optional<Scene> scene;
    RunInfo info;
    int32_t total = 0;  // 0: until the footage ends
};

Stream openStream(const Options &options) {
    Stream stream;
    RunInfo &info = stream.info;
    if (!options.inputs.empty()) {
        stream.footage = std::make_unique<FfmpegSource>(options.inputs.front());
        info.source = std::filesystem::path(options.inputs.front()).filename().string();
    } else if (options.rawWidth) {
        stream.footage =
            std::make_unique<RawSource>(0, options.rawWidth, options.rawHeight, Scene::kFramesPerSecond);
        info.source = "standard input";
    } else {
        stream.scene.emplace();
        info.source = "embedded scene";
    }
    const RawSource *footage = stream.footage.get();
    info.width = footage ? footage->width() : Scene::kWidth;
    info.height = footage ? footage->height() : Scene::kHeight;
    info.framesPerSecond = footage ? footage->framesPerSecond() : Scene::kFramesPerSecond;
    info.sensitivity = options.sensitivity;
    info.cameraSteered = !footage;
    chooseZones(info, options.zones, stream.scene.has_value());
    stream.total = stream.scene ? (options.frames ? std::min(options.frames, Scene::kFrames) : Scene::kFrames)
                                : options.frames;
    return stream;
}

// One camera in one window, frame by frame, and the pictures it leaves.
class CameraRun {
public:
    CameraRun(const Options &options, Stream &stream)
        : options_(options),
          stream_(stream),
          out_(options.out),
          display_(!options.show),
          window_(display_, layoutOf(stream).windowWidth, layoutOf(stream).windowHeight, options.show),
          client_(stream.info.width, stream.info.height,
                  {options.sensitivity, stream.info.zones,
                   stream.scene ? "Yard camera 1" : stream.info.source.substr(0, 200)},
                  window_.id()) {}

    void play() {
        Progress progress(stream_.total);
        start_ = Clock::now();
        for (int32_t index = 0; stream_.total == 0 || index < stream_.total; ++index) {
            if (!nextFrame(index)) break;
            show(index);
            if (options_.show) {
                const auto period = std::chrono::seconds(1) / stream_.info.framesPerSecond;
                std::this_thread::sleep_until(start_ + (index + 1) * period);
            }
            progress.update(index + 1);
        }
        progress.update(static_cast<int32_t>(records_.size()), true);
    }

    void finish() {
        const int32_t done = static_cast<int32_t>(records_.size());
        if (!done) throw std::runtime_error("no frames to show");
        if (!stream_.scene && lastSnapshot_ != done - 1) {
            out_.picture(snapshotName(done - 1), window_.read());  // the last frame is still in the window
        }
        out_.picture("contact-sheet.png", contactSheet(thumbnails_.pictures(), 5));
        out_.text("plot.svg", plotSvg(records_, stream_.info));
        out_.text("summary.txt", summaryText(records_, stream_.info));
        out_.report();
    }

private:
    static PaintLayout layoutOf(const Stream &stream) { return paintLayoutFor(stream.info.width, stream.info.height); }

    // The frame as the camera delivers it; false when the footage has ended.
    bool nextFrame(int32_t index) {
        stacked_ = false;
        if (stream_.scene) {
            stream_.scene->render(index, settings_, frame_);
            stacked_ = Scene::stackedFields(index);
            shutterWidth_ = reportedShutterWidth(Scene::light(index));
            return true;
        }
        if (!stream_.footage->next(frame_)) return false;
        shutterWidth_ = reportedShutterWidth(std::max(luma_, 1) / kDaylightLuma);
        return true;
    }

    // Through the client and into the window, with the pictures this frame leaves.
    void show(int32_t index) {
        const bool compareFields = stacked_ && index == kDeinterlaceFrame;
        if (compareFields) {
            woven_ = frame_;
            client_.weave(woven_);
        }
        records_.push_back(
            client_.handle(index, frame_, stacked_, shutterWidth_, settings_, stream_.info.framesPerSecond));
        luma_ = records_.back().luma;
        if (compareFields) {
            const RECT who = Scene::person(index);
            const int32_t x = (who.left + who.right) / 2 - 80, y = who.top;
            const RgbImage before = toRgb(woven_, x, y, 160, 120, 2), after = toRgb(frame_, x, y, 160, 120, 2);
            out_.picture("deinterlace.png", contactSheet({before, after}, 2));
        }
        const bool snapshot = stream_.scene ? std::find(std::begin(kSceneSnapshots), std::end(kSceneSnapshots),
                                                        index) != std::end(kSceneSnapshots)
                                            : index == nextSnapshot_;
        if (snapshot) {
            out_.picture(snapshotName(index), window_.read());
            lastSnapshot_ = index;
            nextSnapshot_ = nextSnapshot_ ? 2 * nextSnapshot_ : 50;  // footage: frames 0, 50, 100, 200, ...
        }
        thumbnails_.offer(index, client_.thumbnail());
    }

    const Options &options_;
    Stream &stream_;
    OutputDirectory out_;
    X11Display display_;
    X11Window window_;
    Client client_;
    std::vector<FrameRecord> records_;
    ThumbnailPicker thumbnails_;
    CameraSettings settings_;  // steers the scene; on footage only what the camera would be asked for
    int32_t luma_ = static_cast<int32_t>(kDaylightLuma);
    int32_t shutterWidth_ = 0;
    bool stacked_ = false;
    Frame frame_, woven_;
    Clock::time_point start_;
    int32_t nextSnapshot_ = 0, lastSnapshot_ = -1;
};

int run(const Options &options) {
    if (options.wall) return runWall(options);
    Stream stream = openStream(options);
    CameraRun camera(options, stream);
    camera.play();
    camera.finish();
    return 0;
}

}  // namespace
}  // namespace kx::demo

int main(int argc, char **argv) {
    using namespace kx::demo;
    Options options;
    try {
        options = parseOptions(argc, argv);
    } catch (const std::exception &e) {
        std::fprintf(stderr, "kestrix-demo: %s\n", e.what());
        return 2;
    }
    if (options.help) {
        std::fputs(usage(), stdout);
        return 0;
    }
    try {
        return run(options);
    } catch (const std::exception &e) {
        if (isatty(2)) std::fputc('\n', stderr);  // below the progress bar
        std::fprintf(stderr, "kestrix-demo: %s\n", e.what());
        return 1;
    }
}
