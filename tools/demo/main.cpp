// kestrix-demo: a surveillance client on the Kestrix library, on an embedded scene or on real video,
// leaving pictures of what the library did. See --help.
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
#include "scene.h"
#include "sources.h"
#include "x11_window.h"

namespace kx::demo {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

// The embedded scene's luminance in daylight at the camera's resting exposure. Footage is taken to
// be lit by its own luminance over this, which gives the shutter width its camera would report.
constexpr double kDaylightLuma = 113.0;

// The frame whose stacked fields are shown woven and deinterlaced side by side.
constexpr int32_t kDeinterlaceFrame = 72;
// Frames of the embedded scene shown as the window showed them: the person in the gate zone, the
// deinterlaced person, the road zone, the falling light, the dark, and after the floodlight.
constexpr int32_t kSceneSnapshots[] = {52, 72, 110, 175, 205, 245};

class Progress {
public:
    explicit Progress(int32_t total) : total_(total), shown_(isatty(2) != 0) {}
    void update(int32_t done, bool last = false) {
        const auto now = Clock::now();
        if (!shown_ || (!last && now - drawn_ < std::chrono::milliseconds(100))) return;
        drawn_ = now;
        const double seconds = std::chrono::duration<double>(now - start_).count();
        const double rate = seconds > 0 ? done / seconds : 0;
        if (total_ > 0) {
            char bar[31] = {};
            const int32_t filled = std::min(done, total_) * 30 / total_;
            for (int32_t i = 0; i < 30; ++i) bar[i] = i < filled ? '#' : '.';
            std::fprintf(stderr, "\r[%s] %d/%d frames  %.0f frames/s ", bar, done, total_, rate);
        } else {
            std::fprintf(stderr, "\r%d frames  %.0f frames/s ", done, rate);
        }
        if (last) std::fputc('\n', stderr);
    }

private:
    int32_t total_;
    bool shown_;
    Clock::time_point start_ = Clock::now(), drawn_;
};

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

int run(const Options &options) {
    std::unique_ptr<RawSource> footage;
    std::optional<Scene> scene;
    RunInfo info;
    if (!options.input.empty()) {
        footage = std::make_unique<FfmpegSource>(options.input);
        info.source = fs::path(options.input).filename().string();
    } else if (options.rawWidth) {
        footage = std::make_unique<RawSource>(0, options.rawWidth, options.rawHeight, Scene::kFramesPerSecond);
        info.source = "standard input";
    } else {
        scene.emplace();
        info.source = "embedded scene";
    }
    info.width = footage ? footage->width() : Scene::kWidth;
    info.height = footage ? footage->height() : Scene::kHeight;
    info.framesPerSecond = footage ? footage->framesPerSecond() : Scene::kFramesPerSecond;
    info.sensitivity = options.sensitivity;
    info.cameraSteered = !footage;
    info.zones = options.zones;
    if (info.zones.empty() && scene) {
        for (const Zone &zone : Scene::zones()) {
            info.zones.push_back(zone.rect);
            info.zoneNames.push_back(zone.name);
        }
    } else if (info.zones.empty()) {
        info.zones.push_back({0, 0, info.width, info.height});
        info.zoneNames.push_back("whole frame");
    }
    const int32_t total =
        scene ? (options.frames ? std::min(options.frames, Scene::kFrames) : Scene::kFrames) : options.frames;

    std::error_code failed;
    fs::create_directories(options.out, failed);
    if (failed) throw std::runtime_error("cannot make " + options.out + ": " + failed.message());
    const fs::path out(options.out);
    std::vector<std::string> written;
    auto writePicture = [&](const std::string &name, const RgbImage &picture) {
        writePng((out / name).string(), picture);
        written.push_back((out / name).string());
    };

    X11Display display(!options.show);
    const PaintLayout layout = paintLayoutFor(info.width, info.height);
    X11Window window(display, layout.windowWidth, layout.windowHeight, options.show);
    const std::string camera = scene ? "Yard camera 1" : info.source.substr(0, 200);
    Client client(info.width, info.height, {options.sensitivity, info.zones, camera}, window.id());

    std::vector<FrameRecord> records;
    ThumbnailPicker thumbnails;
    Progress progress(total);
    CameraSettings settings;  // steers the scene; on footage only what the camera would be asked for
    int32_t luma = static_cast<int32_t>(kDaylightLuma);
    Frame frame, woven;
    const auto start = Clock::now();
    int32_t nextSnapshot = 0;  // footage: frames 0, 50, 100, 200, 400, ...
    int32_t lastSnapshot = -1;
    for (int32_t index = 0; total == 0 || index < total; ++index) {
        bool stacked = false;
        int32_t shutterWidth = 0;
        if (scene) {
            scene->render(index, settings, frame);
            stacked = Scene::stackedFields(index);
            shutterWidth = reportedShutterWidth(Scene::light(index));
        } else {
            if (!footage->next(frame)) break;
            shutterWidth = reportedShutterWidth(std::max(luma, 1) / kDaylightLuma);
        }
        const bool compareFields = stacked && index == kDeinterlaceFrame;
        if (compareFields) {
            woven = frame;
            client.weave(woven);
        }
        records.push_back(client.handle(index, frame, stacked, shutterWidth, settings, info.framesPerSecond));
        luma = records.back().luma;

        if (compareFields) {
            const RECT who = Scene::person(index);
            const int32_t x = (who.left + who.right) / 2 - 80, y = who.top;
            const RgbImage before = toRgb(woven, x, y, 160, 120, 2), after = toRgb(frame, x, y, 160, 120, 2);
            writePicture("deinterlace.png", contactSheet({before, after}, 2));
        }
        const bool snapshot = scene ? std::find(std::begin(kSceneSnapshots), std::end(kSceneSnapshots), index) !=
                                          std::end(kSceneSnapshots)
                                    : index == nextSnapshot;
        if (snapshot) {
            writePicture(snapshotName(index), window.read());
            lastSnapshot = index;
            nextSnapshot = nextSnapshot ? 2 * nextSnapshot : 50;
        }
        thumbnails.offer(index, client.thumbnail());
        if (options.show)
            std::this_thread::sleep_until(start + (index + 1) * std::chrono::seconds(1) / info.framesPerSecond);
        progress.update(index + 1);
    }
    const int32_t done = static_cast<int32_t>(records.size());
    progress.update(done, true);
    if (!done) throw std::runtime_error("no frames to show");
    if (!scene && lastSnapshot != done - 1) {
        writePicture(snapshotName(done - 1), window.read());  // the last frame is still in the window
    }
    writePicture("contact-sheet.png", contactSheet(thumbnails.pictures(), 5));
    writeText((out / "plot.svg").string(), plotSvg(records, info));
    written.push_back((out / "plot.svg").string());
    writeText((out / "summary.txt").string(), summaryText(records, info));
    written.push_back((out / "summary.txt").string());
    for (const std::string &path : written) std::printf("wrote %s\n", path.c_str());
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
