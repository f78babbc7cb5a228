#include "options.h"

#include <cstdio>
#include <stdexcept>

#include "sources.h"

namespace kx::demo {

namespace {

int32_t parseNumber(const std::string &option, const std::string &text, int32_t low, int32_t high) {
    int value = 0, used = 0;
    if (std::sscanf(text.c_str(), "%d%n", &value, &used) != 1 || used != static_cast<int>(text.size()) || value < low ||
        value > high) {
        throw std::invalid_argument(option + " takes a number from " + std::to_string(low) + " to " +
                                    std::to_string(high) + ", not \"" + text + "\"");
    }
    return value;
}

}  // namespace

std::vector<RECT> parseZones(const std::string &text) {
    std::vector<RECT> zones;
    size_t at = 0;
    while ((at = text.find_first_not_of(" ;", at)) != std::string::npos) {
        const size_t end = text.find_first_of(" ;", at);
        const std::string item = text.substr(at, end - at);
        RECT r{};
        int used = 0;
        if (std::sscanf(item.c_str(), "%d,%d,%d,%d%n", &r.left, &r.top, &r.right, &r.bottom, &used) != 4 ||
            used != static_cast<int>(item.size()) || r.right <= r.left || r.bottom <= r.top) {
            throw std::invalid_argument("--zones takes rectangles left,top,right,bottom; \"" + item + "\" is not one");
        }
        zones.push_back(r);
        at = end;
    }
    if (zones.empty() || zones.size() > 8) throw std::invalid_argument("--zones takes 1 to 8 rectangles");
    return zones;
}

Options parseOptions(int argc, const char *const *argv) {
    Options o;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        auto value = [&]() -> std::string {
            if (i + 1 >= argc) throw std::invalid_argument(arg + " needs a value");
            return argv[++i];
        };
        if (arg == "--help" || arg == "-h") {
            o.help = true;
        } else if (arg == "--show") {
            o.show = true;
        } else if (arg == "--out") {
            o.out = value();
        } else if (arg == "--frames") {
            o.frames = parseNumber(arg, value(), 1, 1000000);
        } else if (arg == "--sensitivity") {
            o.sensitivity = parseNumber(arg, value(), 0, 9);
        } else if (arg == "--zones") {
            o.zones = parseZones(value());
        } else if (arg == "--input") {
            o.inputs.push_back(value());
        } else if (arg == "--wall") {
            o.wall = parseNumber(arg, value(), 1, 64);
        } else if (arg == "--fast") {
            o.fast = true;
        } else if (arg == "--raw") {
            const std::string size = value();
            if (!parseSize(size, o.rawWidth, o.rawHeight)) {
                throw std::invalid_argument("--raw takes WxH with sides from 8 to 4096, not \"" + size + "\"");
            }
        } else {
            throw std::invalid_argument("unknown argument \"" + arg + "\" (see --help)");
        }
    }
    if (!o.inputs.empty() && o.rawWidth) throw std::invalid_argument("--input and --raw exclude each other");
    if (o.wall && o.rawWidth) throw std::invalid_argument("--wall takes the scene or --input videos, not --raw");
    if (!o.wall && o.inputs.size() > 1) throw std::invalid_argument("several --input videos need --wall");
    if (!o.wall && o.fast) throw std::invalid_argument("--fast is for --wall; one camera runs as fast as it goes");
    return o;
}

const char *usage() {
    return "usage: kestrix-demo [--out DIR] [--show] [--frames N] [--sensitivity 0-9] [--zones \"L,T,R,B ...\"]\n"
           "                    [--input VIDEO | --raw WxH]\n"
           "       kestrix-demo --wall N [--fast] [--out DIR] [--show] [--frames N] [--sensitivity 0-9]\n"
           "                    [--zones \"L,T,R,B ...\"] [--input VIDEO ...]\n"
           "\n"
           "Runs a surveillance client on the Kestrix library: with no input, on ten seconds of an embedded\n"
           "720x576 scene; with --input, on any video ffmpeg reads; with --raw, on packed BGR24 frames, top row\n"
           "first, read from standard input. It paints every frame into an X window (on DISPLAY, or on an Xvfb\n"
           "of its own) and writes into DIR (out/demo): snapshots of the window, a contact sheet of sharpened\n"
           "thumbnails, a before/after crop of the deinterlace, plot.svg and summary.txt.\n"
           "\n"
           "  --show         play the stream in a window on your display\n"
           "  --frames N     stop after N frames\n"
           "  --sensitivity  motion sensitivity, 0 (least) to 9 (most); 4 by default\n"
           "  --zones        up to 8 zones in frame pixels, y from the top; a zone inside its neighbour in the\n"
           "                 list is dropped, and the mask bits follow the zones that remain\n"
           "\n"
           "With --wall N (1 to 64) it paints N cameras into a grid of windows inside one window, each camera\n"
           "with its own detector, exposure loop and zones: the scene, each camera at another moment of it\n"
           "and with its own noise, or the --input videos in turn (the wall stops when the shortest ends).\n"
           "It runs at 25 frames a second a camera, shows frames a second and processor time a camera, and\n"
           "writes wall.png (the whole wall at the end) and summary.txt with the figures.\n"
           "\n"
           "  --fast         run the wall as fast as it goes\n";
}

}  // namespace kx::demo
