// PNG files libpng reads back, a well-formed SVG plot, the summary's lines, and the command line.
#include <gtest/gtest.h>
#include <png.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

#include "frame/temp_dir.h"
#include "options.h"
#include "outputs.h"

namespace kx::demo {
namespace {

using kx::test::TempDir;

RgbImage readPng(const std::string &path) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, path.c_str())) return {};
    image.format = PNG_FORMAT_RGB;
    RgbImage picture(static_cast<int32_t>(image.width), static_cast<int32_t>(image.height));
    if (!png_image_finish_read(&image, nullptr, picture.pixels.data(), 0, nullptr)) return {};
    return picture;
}

RgbImage filled(int32_t width, int32_t height, uint8_t value) {
    RgbImage picture(width, height);
    for (size_t i = 0; i < picture.pixels.size(); ++i) picture.pixels[i] = static_cast<uint8_t>(value + i);
    return picture;
}

TEST(DemoOutputs, PngReadsBackAsWritten) {
    const TempDir dir;
    const std::string path = (dir.path / "picture.png").string();
    const RgbImage picture = filled(5, 3, 200);  // 45 bytes counting up from 200, wrapping past 255
    writePng(path, picture);
    const RgbImage back = readPng(path);
    EXPECT_EQ(back.width, 5);
    EXPECT_EQ(back.height, 3);
    EXPECT_EQ(back.pixels, picture.pixels);
    EXPECT_THROW(writePng((dir.path / "missing" / "picture.png").string(), picture), std::runtime_error);
}

// Three 2x2 pictures, two to a row, 4 pixels apart on a ground of 32: 16 x 16.
TEST(DemoOutputs, ContactSheet) {
    const RgbImage sheet = contactSheet({filled(2, 2, 10), filled(2, 2, 100), filled(1, 1, 150)}, 2);
    EXPECT_EQ(sheet.width, 16);
    EXPECT_EQ(sheet.height, 16);
    const struct { int32_t x, y, red; } rows[] = {
        {4, 4, 10}, {5, 5, 19}, {10, 4, 100}, {11, 5, 109}, {4, 10, 150}, {5, 10, 32}, {0, 0, 32}, {15, 15, 32},
    };
    for (const auto &row : rows) EXPECT_EQ(sheet.at(row.x, row.y)[0], row.red) << row.x << "," << row.y;
}

TEST(DemoOutputs, FrameRuns) {
    EXPECT_EQ(frameRuns({}), "none");
    EXPECT_EQ(frameRuns({7}), "7");
    EXPECT_EQ(frameRuns({3, 4, 5, 7, 9, 10}), "3-5, 7, 9-10");
}

// Five frames: zone 0 in motion in frames 1 to 3, stacked fields in 2, the gain raised in 4.
std::vector<FrameRecord> fiveFrames() {
    std::vector<FrameRecord> records(5);
    for (int32_t i = 0; i < 5; ++i) {
        records[static_cast<size_t>(i)].index = i;
        records[static_cast<size_t>(i)].luma = 40 * i;
        records[static_cast<size_t>(i)].shutterWidth = 1200;
        records[static_cast<size_t>(i)].mask = i >= 1 && i <= 3;
    }
    records[2].stacked = true;
    records[4].after.gain = 64;
    return records;
}

RunInfo twoZones() {
    RunInfo info;
    info.source = "a&b.mp4";
    info.width = 64;
    info.height = 48;
    info.zones = {{2, 2, 30, 40}, {32, 2, 62, 40}};
    info.zoneNames = {"left<", "right"};
    return info;
}

size_t count(const std::string &text, const std::string &part) {
    size_t n = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
    return n;
}

// Every element is closed, by itself or by its end tag; the names from outside are escaped.
TEST(DemoOutputs, PlotIsWellFormedSvg) {
    const std::string svg = plotSvg(fiveFrames(), twoZones());
    EXPECT_EQ(svg.rfind("<svg xmlns=\"http://www.w3.org/2000/svg\"", 0), 0u);
    EXPECT_EQ(svg.substr(svg.size() - 7), "</svg>\n");
    EXPECT_EQ(count(svg, "<"), count(svg, "/>") + 2 * count(svg, "</"));
    EXPECT_EQ(count(svg, "&"), count(svg, "&amp;") + count(svg, "&lt;"));
    EXPECT_EQ(count(svg, "<polyline"), 4u);  // luminance, gain, shutter, stage
    EXPECT_EQ(count(svg, "fill=\"#d62728\""), 1u);  // one run of motion: frames 1 to 3 of zone 0
    EXPECT_EQ(count(svg, "stroke=\"#d62728\"/>"), 1u);  // one move tick
    EXPECT_NE(svg.find("a&amp;b.mp4"), std::string::npos);
    EXPECT_NE(svg.find("zone 0 left&lt;"), std::string::npos);
}

TEST(DemoOutputs, SummaryLines) {
    RunInfo info = twoZones();
    info.cameraSteered = false;
    const std::string summary = summaryText(fiveFrames(), info);
    for (const char *line : {
             "kestrix-demo: a&b.mp4, 5 frames of 64x48 at 25 frames a second\n",
             "  zone 0 left< (2, 2, 30, 40): 3 frames: 1-3\n",
             "  zone 1 right (32, 2, 62, 40): 0 frames: none\n",
             "exposure moves of ChangeGain3 (1), asked of a camera this footage does not follow:\n",
             "  frame    4  luminance 160  shutter width 1200  result 0:  gain  32 ->  64  shutter 176 -> 176  "
             "stage  64 ->  64\n",
             "at the end: gain 64, shutter 176, stage 64, luminance 160\n",
         }) {
        EXPECT_NE(summary.find(line), std::string::npos) << line;
    }
}

TEST(DemoOptions, Accepted) {
    const char *argv[] = {"kestrix-demo", "--out", "o", "--frames", "9", "--sensitivity", "0", "--zones",
                          "1,2,3,4; 5,6,70,80", "--raw", "64x48", "--show"};
    const Options o = parseOptions(12, argv);
    EXPECT_EQ(o.out, "o");
    EXPECT_EQ(o.frames, 9);
    EXPECT_EQ(o.sensitivity, 0);
    ASSERT_EQ(o.zones.size(), 2u);
    EXPECT_EQ((std::vector<int32_t>{o.zones[1].left, o.zones[1].top, o.zones[1].right, o.zones[1].bottom}),
              (std::vector<int32_t>{5, 6, 70, 80}));
    EXPECT_EQ(o.rawWidth, 64);
    EXPECT_EQ(o.rawHeight, 48);
    EXPECT_TRUE(o.show);
    const char *wall[] = {"kestrix-demo", "--wall", "16", "--fast", "--input", "a.mp4", "--input", "b.mp4"};
    const Options w = parseOptions(8, wall);
    EXPECT_EQ(w.wall, 16);
    EXPECT_TRUE(w.fast);
    EXPECT_EQ(w.inputs, (std::vector<std::string>{"a.mp4", "b.mp4"}));
}

TEST(DemoOptions, Refused) {
    const std::vector<std::vector<const char *>> rows = {
        {"--sensitivity", "10"},         // 0 to 9
        {"--frames", "0"},               // at least one
        {"--frames", "12x"},             // not a number
        {"--zones", "5,5,5,9"},          // empty: right not beyond left
        {"--zones", "1,2,3"},            // three numbers
        {"--zones", "0,0,1,1 0,0,1,1 0,0,1,1 0,0,1,1 0,0,1,1 0,0,1,1 0,0,1,1 0,0,1,1 0,0,1,1"},  // nine
        {"--raw", "7x48"},               // sides from 8
        {"--raw", "64x48x3"},            // trailing text
        {"--input", "a.mp4", "--raw", "64x48"},  // one input
        {"--out"},                       // no value
        {"--colour"},                    // unknown
        {"--wall", "0"},                 // 1 to 64 cameras
        {"--wall", "65"},
        {"--wall", "4", "--raw", "64x48"},         // the scene or videos
        {"--input", "a.mp4", "--input", "b.mp4"},  // several videos: a wall
        {"--fast"},                                // a wall's
    };
    for (const auto &row : rows) {
        std::vector<const char *> argv = {"kestrix-demo"};
        argv.insert(argv.end(), row.begin(), row.end());
        EXPECT_THROW(parseOptions(static_cast<int>(argv.size()), argv.data()), std::invalid_argument) << row[0];
    }
}

}  // namespace
}  // namespace kx::demo
