// kestrix-demo as a user runs it, painting on the display the test runs under: raw frames over a
// pipe, a part of the embedded scene, and the one-line errors of bad input.
#include <gtest/gtest.h>
#include <png.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <vector>

#include "frame/temp_dir.h"

namespace {

using kx::test::TempDir;

struct Result {
    int status = -1;
    std::string errors;
};

// Runs the demo with `arguments` (shell words), `input` on its standard input.
Result runDemo(const TempDir &dir, const std::string &arguments, const std::string &input = "") {
    dir.write("input", input);
    const std::string command = std::string(KX_DEMO_PROGRAM) + " --out '" + (dir.path / "out").string() + "' " +
                                arguments + " <'" + (dir.path / "input").string() + "' >/dev/null 2>'" +
                                (dir.path / "errors").string() + "'";
    Result result;
    const int status = std::system(command.c_str());
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    std::stringstream errors;
    errors << std::ifstream(dir.path / "errors").rdbuf();
    result.errors = errors.str();
    return result;
}

bool isOneLine(const std::string &text) {
    return text.rfind("kestrix-demo: ", 0) == 0 && text.find('\n') == text.size() - 1;
}

// Pixels of one colour in a part of a PNG.
int32_t countColour(const std::string &path, uint32_t rgb, int32_t x0, int32_t y0, int32_t x1, int32_t y1,
                    int32_t &width, int32_t &height) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, path.c_str())) return -1;
    image.format = PNG_FORMAT_RGB;
    std::vector<uint8_t> pixels(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr)) return -1;
    width = static_cast<int32_t>(image.width);
    height = static_cast<int32_t>(image.height);
    int32_t count = 0;
    for (int32_t y = y0; y < y1; ++y) {
        for (int32_t x = x0; x < x1; ++x) {
            const uint8_t *p = &pixels[(static_cast<size_t>(y) * image.width + x) * 3];
            count += (uint32_t{p[0]} << 16 | uint32_t{p[1]} << 8 | p[2]) == rgb;
        }
    }
    return count;
}

// Five frames of 64x48: a window of that size, painted as it is; snapshots of the first and the
// last frame.
TEST(DemoProgram, RawFramesOverAPipe) {
    const TempDir dir;
    std::string frames(64 * 48 * 3 * 5, '\0');
    for (size_t i = 0; i < frames.size(); ++i) frames[i] = static_cast<char>(i * 7 / 3);
    const Result result = runDemo(dir, "--raw 64x48", frames);
    ASSERT_EQ(result.status, 0) << result.errors;
    for (const char *name : {"frame-0000.png", "frame-0004.png", "contact-sheet.png", "plot.svg", "summary.txt"}) {
        EXPECT_TRUE(std::filesystem::exists(dir.path / "out" / name)) << name;
    }
    std::stringstream summary;
    summary << std::ifstream(dir.path / "out" / "summary.txt").rdbuf();
    EXPECT_EQ(summary.str().rfind("kestrix-demo: standard input, 5 frames of 64x48 at 25 frames a second\n", 0), 0u);
}

// Frame 52 of the scene, the person in the gate zone: the window is 512x384 and the camera's name
// top left is red, over its white halo.
TEST(DemoProgram, EmbeddedSceneSnapshot) {
    const TempDir dir;
    const Result result = runDemo(dir, "--frames 75");
    ASSERT_EQ(result.status, 0) << result.errors;
    int32_t width = 0, height = 0;
    const std::string snapshot = (dir.path / "out" / "frame-0052.png").string();
    EXPECT_GT(countColour(snapshot, 0xFF0000, 0, 0, 120, 20, width, height), 50);
    EXPECT_GT(countColour(snapshot, 0xFFFFFF, 0, 0, 120, 20, width, height), 50);
    EXPECT_EQ(width, 512);
    EXPECT_EQ(height, 384);
    EXPECT_TRUE(std::filesystem::exists(dir.path / "out" / "deinterlace.png"));
}

// Four cameras of the scene, 40 frames as fast as they go: wall.png is the 2x2 wall of 504x376
// windows with gaps of 2, each showing its zones outlined in red, and the summary has a line a camera.
TEST(DemoProgram, WallOfFourCameras) {
    const TempDir dir;
    const Result result = runDemo(dir, "--wall 4 --fast --frames 40");
    ASSERT_EQ(result.status, 0) << result.errors;
    const std::string wall = (dir.path / "out" / "wall.png").string();
    int32_t width = 0, height = 0;
    for (int32_t camera = 0; camera < 4; ++camera) {
        const int32_t left = 2 + camera % 2 * 506, top = 2 + camera / 2 * 378;
        EXPECT_GT(countColour(wall, 0xFF0000, left, top, left + 504, top + 376, width, height), 1000) << camera;
        EXPECT_EQ(countColour(wall, 0x000000, left + 504, top, left + 506, top + 376, width, height), 2 * 376);
    }
    EXPECT_EQ(width, 1014);
    EXPECT_EQ(height, 758);
    std::stringstream summary;
    summary << std::ifstream(dir.path / "out" / "summary.txt").rdbuf();
    EXPECT_EQ(summary.str().rfind("kestrix-demo --wall 4: 40 frames a camera, as fast as it goes\n", 0), 0u);
    for (const char *camera : {"Camera 1: scene from frame 0,", "Camera 4: scene from frame 159,"}) {
        EXPECT_NE(summary.str().find(camera), std::string::npos) << camera;
    }
}

// Stopped by --frames before the footage ends: a decoder blocked on the full pipe, or a producer on
// standard input that keeps writing, must not hold the demo. Each run is killed after 30 s, which
// fails it; a demo that stops cleanly takes about a second.
TEST(DemoProgram, StoppingBeforeTheFootageEndsExitsAtOnce) {
    if (std::system("command -v ffmpeg >/dev/null") != 0) GTEST_SKIP() << "ffmpeg is not installed";
    const TempDir dir;
    const std::string clip = (dir.path / "clip.avi").string();
    // 270 frames of 160x120, 15 MB decoded: far more than a pipe holds after frame 150.
    ASSERT_EQ(std::system(("ffmpeg -v error -nostdin -f lavfi -i testsrc=size=160x120:rate=25 -frames:v 270 '" +
                           clip + "'").c_str()),
              0);
    const std::string demo = std::string("timeout -s KILL 30 ") + KX_DEMO_PROGRAM + " --out '" +
                             (dir.path / "out").string() + "' ";
    const struct { const char *what; std::string command; } runs[] = {
        {"ffmpeg", demo + "--input '" + clip + "' --frames 150"},
        {"a producer", "head -c 200000000 /dev/zero | " + demo + "--raw 64x48 --frames 20"},
    };
    for (const auto &run : runs) {
        const int status = std::system((run.command + " >/dev/null 2>&1").c_str());
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << run.what << ": " << status;
    }
    std::stringstream summary;
    summary << std::ifstream(dir.path / "out" / "summary.txt").rdbuf();
    EXPECT_NE(summary.str().find("20 frames of 64x48"), std::string::npos);
}

TEST(DemoProgram, BadInputIsOneLineAndAFailure) {
    const struct { const char *arguments; size_t inputBytes; int status; } rows[] = {
        {"--input /nonexistent/video.mp4", 0, 1},  // ffmpeg cannot open it
        {"--input '{input}'", 100, 1},               // 100 bytes that are no video
        {"--raw 64x48", 64 * 48 * 3 + 5, 1},         // ends 5 bytes into the second frame
        {"--raw 64x4", 0, 2},                        // a side below 8
        {"--sensitivity 12", 0, 2},
    };
    for (const auto &row : rows) {
        const TempDir dir;
        std::string arguments = row.arguments;
        if (const size_t at = arguments.find("{input}"); at != std::string::npos) {
            arguments.replace(at, 7, (dir.path / "input").string());
        }
        const Result result = runDemo(dir, arguments, std::string(row.inputBytes, 'x'));
        EXPECT_EQ(result.status, row.status) << row.arguments;
        EXPECT_TRUE(isOneLine(result.errors)) << row.arguments << ": " << result.errors;
    }
}

}  // namespace
