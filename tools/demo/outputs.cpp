#include "outputs.h"

#if KX_DEMO_PNG
#include <png.h>
#endif

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace kx::demo {

RgbImage toRgb(const Frame &frame, int32_t x, int32_t y, int32_t width, int32_t height, int32_t zoom) {
    RgbImage picture(width * zoom, height * zoom);
    for (int32_t py = 0; py < picture.height; ++py) {
        const int32_t fy = std::clamp(y + py / zoom, 0, frame.height - 1);
        for (int32_t px = 0; px < picture.width; ++px) {
            const int32_t fx = std::clamp(x + px / zoom, 0, frame.width - 1);
            const uint8_t *bgr = frame.row(fy) + static_cast<size_t>(fx) * 3;
            uint8_t *rgb = picture.at(px, py);
            rgb[0] = bgr[2];
            rgb[1] = bgr[1];
            rgb[2] = bgr[0];
        }
    }
    return picture;
}

#if KX_DEMO_PNG
bool pngSupported() { return true; }

void writePng(const std::string &path, const RgbImage &image) {
    std::unique_ptr<FILE, int (*)(FILE *)> file(std::fopen(path.c_str(), "wb"), std::fclose);
    if (!file) throw std::runtime_error("cannot write " + path);
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (!info || setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        throw std::runtime_error("cannot write " + path);
    }
    png_init_io(png, file.get());
    png_set_IHDR(png, info, static_cast<png_uint_32>(image.width), static_cast<png_uint_32>(image.height), 8,
                 PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    for (int32_t y = 0; y < image.height; ++y) png_write_row(png, image.at(0, y));
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    if (std::fflush(file.get()) != 0) throw std::runtime_error("cannot write " + path);
}
#else
bool pngSupported() { return false; }

void writePng(const std::string &path, const RgbImage &) {
    throw std::runtime_error("cannot write " + path + ": kestrix-demo was built without libpng");
}
#endif

void writeText(const std::string &path, const std::string &text) {
    std::ofstream out(path, std::ios::binary);
    out << text;
    if (!out.flush()) throw std::runtime_error("cannot write " + path);
}

OutputDirectory::OutputDirectory(const std::string &path) : path_(path) {
    std::error_code failed;
    std::filesystem::create_directories(path, failed);
    if (failed) throw std::runtime_error("cannot make " + path + ": " + failed.message());
}

void OutputDirectory::picture(const std::string &name, const RgbImage &image) {
    if (!pngSupported()) {
        ++picturesLeftOut_;
        return;
    }
    const std::string path = (std::filesystem::path(path_) / name).string();
    writePng(path, image);
    written_.push_back(path);
}

void OutputDirectory::text(const std::string &name, const std::string &content) {
    const std::string path = (std::filesystem::path(path_) / name).string();
    writeText(path, content);
    written_.push_back(path);
}

void OutputDirectory::report() const {
    for (const std::string &path : written_) std::printf("wrote %s\n", path.c_str());
    if (picturesLeftOut_) {
        std::printf("wrote no pictures (%d left out): kestrix-demo was built without libpng; install it (Debian: "
                    "libpng-dev) and build again\n",
                    picturesLeftOut_);
    }
}

RgbImage contactSheet(const std::vector<RgbImage> &pictures, int32_t columns) {
    constexpr int32_t kGap = 4;
    int32_t cellWidth = 0, cellHeight = 0;
    for (const RgbImage &p : pictures) {
        cellWidth = std::max(cellWidth, p.width);
        cellHeight = std::max(cellHeight, p.height);
    }
    const int32_t count = static_cast<int32_t>(pictures.size());
    columns = std::max(1, std::min(columns, count));
    const int32_t rows = (count + columns - 1) / columns;
    RgbImage sheet(kGap + columns * (cellWidth + kGap), kGap + rows * (cellHeight + kGap));
    std::fill(sheet.pixels.begin(), sheet.pixels.end(), uint8_t{32});
    for (int32_t i = 0; i < count; ++i) {
        const RgbImage &p = pictures[static_cast<size_t>(i)];
        const int32_t left = kGap + i % columns * (cellWidth + kGap), top = kGap + i / columns * (cellHeight + kGap);
        for (int32_t y = 0; y < p.height; ++y) std::copy_n(p.at(0, y), p.width * 3, sheet.at(left, top + y));
    }
    return sheet;
}

namespace {

// Consecutive frame numbers joined: first and last of each run.
std::vector<std::pair<int32_t, int32_t>> runsOf(const std::vector<int32_t> &frames) {
    std::vector<std::pair<int32_t, int32_t>> runs;
    for (int32_t frame : frames) {
        if (!runs.empty() && runs.back().second + 1 == frame) {
            runs.back().second = frame;
        } else {
            runs.emplace_back(frame, frame);
        }
    }
    return runs;
}

}  // namespace

std::string frameRuns(const std::vector<int32_t> &frames) {
    std::string text;
    for (const auto &[first, last] : runsOf(frames)) {
        if (!text.empty()) text += ", ";
        text += std::to_string(first);
        if (last > first) text.append("-").append(std::to_string(last));
    }
    return text.empty() ? "none" : text;
}

void chooseZones(RunInfo &info, const std::vector<RECT> &given, bool scene) {
    info.zones = given;
    info.zoneNames.clear();
    if (!given.empty()) return;
    if (scene) {
        for (const Zone &zone : Scene::zones()) {
            info.zones.push_back(zone.rect);
            info.zoneNames.push_back(zone.name);
        }
        return;
    }
    info.zones.push_back({0, 0, info.width, info.height});
    info.zoneNames.push_back("whole frame");
}

std::vector<int32_t> framesInMotion(const std::vector<FrameRecord> &records, size_t zone) {
    std::vector<int32_t> frames;
    for (const FrameRecord &r : records) {
        if (zone < 8 && (r.mask >> zone & 1)) frames.push_back(r.index);
    }
    return frames;
}

std::string zoneLabel(const RunInfo &info, size_t i) {
    return "zone " + std::to_string(i) + (i < info.zoneNames.size() ? " " + info.zoneNames[i] : std::string());
}

namespace {

// A file name or zone name as SVG text.
std::string escaped(const std::string &text) {
    std::string out;
    for (char c : text) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            default:
                out += c;
        }
    }
    return out;
}

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof(text), "%.1f", value);
    return text;
}

}  // namespace

namespace {

// Where things stand in the plot: the value plot on top, a lane a zone beneath, seconds at the bottom.
struct PlotGeometry {
    static constexpr double kLeft = 110, kPlotWidth = 700, kTop = 36, kPlotHeight = 220, kLaneHeight = 22;
    size_t zoneCount;
    double lanesTop, height, frames;

    PlotGeometry(size_t records, size_t zones)
        : zoneCount(std::min<size_t>(zones, 8)),
          lanesTop(kTop + kPlotHeight + 34),
          height(lanesTop + kLaneHeight * static_cast<double>(zoneCount) + 40),
          frames(std::max<double>(1, static_cast<double>(records))) {}
    double x(double index) const { return kLeft + index * kPlotWidth / frames; }
};

// The title, the stacked-field frames shaded across the plot, its border and the level scale.
void plotGround(std::ostream &svg, const PlotGeometry &g, const std::vector<FrameRecord> &records,
                const RunInfo &info) {
    using G = PlotGeometry;
    svg << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << G::kLeft + G::kPlotWidth + 170 << "\" height=\""
        << g.height << "\" font-family=\"sans-serif\" font-size=\"12\">\n"
        << "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n"
        << "<text x=\"" << G::kLeft << "\" y=\"20\" font-size=\"14\">" << escaped(info.source)
        << ": exposure loop and motion, " << records.size() << " frames</text>\n";
    std::vector<int32_t> stacked;
    for (const FrameRecord &r : records) {
        if (r.stacked) stacked.push_back(r.index);
    }
    for (const auto &[first, last] : runsOf(stacked)) {
        svg << "<rect x=\"" << number(g.x(first)) << "\" y=\"" << G::kTop << "\" width=\""
            << number(g.x(last + 1) - g.x(first)) << "\" height=\"" << G::kPlotHeight << "\" fill=\"#fff2c0\"/>\n";
    }
    svg << "<rect x=\"" << G::kLeft << "\" y=\"" << G::kTop << "\" width=\"" << G::kPlotWidth << "\" height=\""
        << G::kPlotHeight << "\" fill=\"none\" stroke=\"#888\"/>\n";
    for (int32_t level : {0, 64, 128, 192, 255}) {
        const double y = G::kTop + G::kPlotHeight * (1 - level / 255.0);
        svg << "<text x=\"" << G::kLeft - 6 << "\" y=\"" << number(y + 4) << "\" text-anchor=\"end\">" << level
            << "</text>\n";
    }
}

// Luminance, gain, shutter and stage, each on its own scale, with the legend.
void plotSeries(std::ostream &svg, const PlotGeometry &g, const std::vector<FrameRecord> &records) {
    using G = PlotGeometry;
    struct Series {
        const char *name, *colour;
        double range;
        int32_t (*value)(const FrameRecord &);
    };
    const Series series[] = {
        {"luminance (0-255)", "#000000", 255, [](const FrameRecord &r) { return r.luma; }},
        {"gain (0-127)", "#d62728", 127, [](const FrameRecord &r) { return r.after.gain; }},
        {"shutter (0-511)", "#1f77b4", 511, [](const FrameRecord &r) { return r.after.shutter; }},
        {"stage (0-130)", "#2ca02c", 130, [](const FrameRecord &r) { return r.after.stage; }},
    };
    const double legendX = G::kLeft + G::kPlotWidth;
    double legendY = G::kTop + 10;
    for (const Series &s : series) {
        svg << "<polyline fill=\"none\" stroke=\"" << s.colour << "\" stroke-width=\"1.5\" points=\"";
        for (size_t i = 0; i < records.size(); ++i) {
            const double level = std::clamp(s.value(records[i]) / s.range, 0.0, 1.0);
            svg << (i ? " " : "") << number(g.x(i + 0.5)) << "," << number(G::kTop + G::kPlotHeight * (1 - level));
        }
        svg << "\"/>\n<line x1=\"" << legendX + 12 << "\" y1=\"" << legendY - 4 << "\" x2=\"" << legendX + 30
            << "\" y2=\"" << legendY - 4 << "\" stroke=\"" << s.colour << "\" stroke-width=\"2\"/><text x=\""
            << legendX + 36 << "\" y=\"" << legendY << "\">" << s.name << "</text>\n";
        legendY += 18;
    }
    svg << "<rect x=\"" << legendX + 12 << "\" y=\"" << legendY - 10 << "\" width=\"18\" height=\"10\" "
        << "fill=\"#fff2c0\"/><text x=\"" << legendX + 36 << "\" y=\"" << legendY << "\">stacked fields</text>\n";
}

// Ticks above the plot where ChangeGain3 moved the camera, a lane a zone with a bar for every frame
// in motion, and the seconds along the bottom.
void plotEvents(std::ostream &svg, const PlotGeometry &g, const std::vector<FrameRecord> &records,
                const RunInfo &info) {
    using G = PlotGeometry;
    for (const FrameRecord &r : records) {
        if (r.after == r.before) continue;
        const double x = g.x(r.index + 0.5);
        svg << "<line x1=\"" << number(x) << "\" y1=\"" << G::kTop - 8 << "\" x2=\"" << number(x) << "\" y2=\""
            << G::kTop << "\" stroke=\"#d62728\"/>\n";
    }
    svg << "<text x=\"" << G::kLeft - 6 << "\" y=\"" << G::kTop - 1 << "\" text-anchor=\"end\">moves</text>\n";
    for (size_t zone = 0; zone < g.zoneCount; ++zone) {
        const double y = g.lanesTop + G::kLaneHeight * static_cast<double>(zone);
        svg << "<text x=\"" << G::kLeft - 6 << "\" y=\"" << y + 13 << "\" text-anchor=\"end\">"
            << escaped(zoneLabel(info, zone)) << "</text>\n<rect x=\"" << G::kLeft << "\" y=\"" << y
            << "\" width=\"" << G::kPlotWidth << "\" height=\"" << G::kLaneHeight - 6 << "\" fill=\"#f0f0f0\"/>\n";
        for (const auto &[first, last] : runsOf(framesInMotion(records, zone))) {
            svg << "<rect x=\"" << number(g.x(first)) << "\" y=\"" << y << "\" width=\""
                << number(g.x(last + 1) - g.x(first)) << "\" height=\"" << G::kLaneHeight - 6
                << "\" fill=\"#d62728\"/>\n";
        }
    }
    const double axisY = g.lanesTop + G::kLaneHeight * static_cast<double>(g.zoneCount) + 14;
    const int32_t seconds = static_cast<int32_t>(g.frames) / info.framesPerSecond;
    const int32_t step = std::max(1, seconds / 10);
    for (int32_t s = 0; s <= seconds; s += step) {
        svg << "<text x=\"" << number(g.x(s * info.framesPerSecond)) << "\" y=\"" << axisY
            << "\" text-anchor=\"middle\">" << s << " s</text>\n";
    }
}

}  // namespace

std::string plotSvg(const std::vector<FrameRecord> &records, const RunInfo &info) {
    const PlotGeometry geometry(records.size(), info.zones.size());
    std::ostringstream svg;
    plotGround(svg, geometry, records, info);
    plotSeries(svg, geometry, records);
    plotEvents(svg, geometry, records, info);
    svg << "</svg>\n";
    return svg.str();
}

std::string summaryText(const std::vector<FrameRecord> &records, const RunInfo &info) {
    std::ostringstream text;
    text << "kestrix-demo: " << info.source << ", " << records.size() << " frames of " << info.width << "x"
         << info.height << " at " << info.framesPerSecond << " frames a second\n"
         << "sensitivity " << info.sensitivity << "; frames count from 0, and a zone is watched from frame 31 on\n\n"
         << "frames in motion, per zone (left, top, right, bottom in picture pixels):\n";
    for (size_t zone = 0; zone < info.zones.size(); ++zone) {
        const RECT &r = info.zones[zone];
        const std::vector<int32_t> frames = framesInMotion(records, zone);
        text << "  " << zoneLabel(info, zone) << " (" << r.left << ", " << r.top << ", " << r.right << ", " << r.bottom
             << "): " << frames.size() << " frames: " << frameRuns(frames) << "\n";
    }
    std::vector<const FrameRecord *> moves;
    for (const FrameRecord &r : records) {
        if (!(r.after == r.before)) moves.push_back(&r);
    }
    text << "\nexposure moves of ChangeGain3 (" << moves.size() << ")"
         << (info.cameraSteered ? ":\n" : ", asked of a camera this footage does not follow:\n");
    for (const FrameRecord *r : moves) {
        char line[160];
        std::snprintf(line, sizeof(line),
                      "  frame %4d  luminance %3d  shutter width %4d  result %d:  gain %3d -> %3d  shutter %3d -> %3d  "
                      "stage %3d -> %3d\n",
                      r->index, r->luma, r->shutterWidth, r->move, r->before.gain, r->after.gain, r->before.shutter,
                      r->after.shutter, r->before.stage, r->after.stage);
        text << line;
    }
    if (!records.empty()) {
        const FrameRecord &last = records.back();
        text << "\nat the end: gain " << last.after.gain << ", shutter " << last.after.shutter << ", stage "
             << last.after.stage << ", luminance " << last.luma << "\n";
    }
    return text.str();
}

}  // namespace kx::demo
