#include "sources.h"

#include "child_process.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace kx::demo {

namespace {

// Reads up to `size` bytes; fewer only at the end of the input.
size_t readFully(int fd, uint8_t *data, size_t size) {
    size_t done = 0;
    while (done < size) {
        const ssize_t got = read(fd, data + done, size - done);
        if (got == 0) break;
        if (got < 0) {
            if (errno == EINTR) continue;
            throw std::runtime_error(std::string("cannot read the frames: ") + std::strerror(errno));
        }
        done += static_cast<size_t>(got);
    }
    return done;
}

std::string firstLine(const std::string &text) {
    const std::string line = text.substr(0, text.find('\n'));
    return line.empty() ? "no video stream" : line;
}

}  // namespace

bool parseSize(const std::string &text, int32_t &width, int32_t &height) {
    int w = 0, h = 0, used = 0;
    if (std::sscanf(text.c_str(), "%5dx%5d%n", &w, &h, &used) != 2 || used != static_cast<int>(text.size())) {
        return false;
    }
    if (w < 8 || h < 8 || w > 4096 || h > 4096) return false;
    width = w;
    height = h;
    return true;
}

std::string findProgram(const std::string &name) {
    const char *path = std::getenv("PATH");
    std::stringstream dirs(path ? path : "");
    for (std::string dir; std::getline(dirs, dir, ':');) {
        const std::string candidate = (dir.empty() ? "." : dir) + "/" + name;
        struct stat info;
        if (stat(candidate.c_str(), &info) == 0 && S_ISREG(info.st_mode) && access(candidate.c_str(), X_OK) == 0) {
            return candidate;
        }
    }
    return {};
}

RawSource::RawSource(int fd, int32_t width, int32_t height, int32_t framesPerSecond)
    : fd_(fd), width_(width), height_(height), framesPerSecond_(framesPerSecond) {}

RawSource::~RawSource() {
    if (fd_ > 2) close(fd_);
}

bool RawSource::next(Frame &frame) {
    if (frame.width != width_ || frame.height != height_) frame = Frame(width_, height_);
    const size_t got = readFully(fd_, frame.pixels.data(), frame.pixels.size());
    if (got == 0) return false;
    if (got < frame.pixels.size()) {
        throw std::runtime_error("the input ended " + std::to_string(got) + " bytes into frame " +
                                 std::to_string(frames_ + 1) + " of " + std::to_string(width_) + "x" +
                                 std::to_string(height_) + " (is that the frames' size?)");
    }
    ++frames_;
    return true;
}

FfmpegSource::FfmpegSource(const std::string &path) : RawSource(-1, 0, 0, 25), path_(path) {
    if (findProgram("ffmpeg").empty() || findProgram("ffprobe").empty()) {
        throw std::runtime_error(
            "--input needs ffmpeg and ffprobe, which are not installed (scripts/demo installs them)");
    }
    int probeOut = -1;
    const pid_t probe = spawnReading({"ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries",
                               "stream=width,height,avg_frame_rate", "-of", "csv=p=0", path},
                              true, probeOut);
    std::string answer;
    char buffer[512];
    for (ssize_t got; (got = read(probeOut, buffer, sizeof(buffer))) > 0;)
        answer.append(buffer, static_cast<size_t>(got));
    close(probeOut);
    const int status = waitFor(probe);
    int w = 0, h = 0, rate = 0, base = 1;
    const int fields = std::sscanf(answer.c_str(), "%d,%d,%d/%d", &w, &h, &rate, &base);
    if (status != 0 || fields < 2) {
        const std::string reason = firstLine(answer);  // ffprobe names the file in most of its messages
        throw std::runtime_error(reason.find(path) == std::string::npos ? path + ": " + reason : reason);
    }
    int32_t width = 0, height = 0;
    if (!parseSize(std::to_string(w) + "x" + std::to_string(h), width, height)) {
        throw std::runtime_error(path + ": a video of " + std::to_string(w) + "x" + std::to_string(h) +
                                 " is outside 8x8 to 4096x4096");
    }
    width_ = width;
    height_ = height;
    if (fields == 4 && rate > 0 && base > 0) framesPerSecond_ = std::max(1, (rate + base / 2) / base);
    decoder_ = spawnReading({"ffmpeg", "-v", "error", "-nostdin", "-i", path, "-f", "rawvideo", "-pix_fmt", "bgr24", "-"},
                     false, fd_);
}

int FfmpegSource::finish() {
    if (decoder_ <= 0) return 0;
    const pid_t decoder = decoder_;
    decoder_ = 0;
    return waitFor(decoder);
}

FfmpegSource::~FfmpegSource() {
    if (decoder_ <= 0) return;
    // Stopped early, by --frames: the decoder may be blocked writing into the full pipe, and
    // closing it is what ends that write.
    close(fd_);
    fd_ = -1;
    stopChild(decoder_, std::chrono::seconds(2));
}

bool FfmpegSource::next(Frame &frame) {
    if (RawSource::next(frame)) return true;
    if (finish() != 0 && frames_ == 0) throw std::runtime_error(path_ + ": ffmpeg could not decode it");
    return false;
}

}  // namespace kx::demo
