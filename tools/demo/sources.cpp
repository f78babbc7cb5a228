#include "sources.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <vector>

extern char **environ;

namespace kx::demo {

namespace {

// Starts a program with its standard output (and, with joinErrors, its errors) on a pipe whose
// reading end is returned in `out`; other output goes nowhere.
pid_t spawn(const std::vector<std::string> &args, bool joinErrors, int &out) {
    int pipeEnds[2];
    if (pipe(pipeEnds) != 0) throw std::runtime_error("cannot make a pipe");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, pipeEnds[1], 1);
    if (joinErrors) {
        posix_spawn_file_actions_adddup2(&actions, pipeEnds[1], 2);
    } else {
        posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    }
    posix_spawn_file_actions_addclose(&actions, pipeEnds[0]);
    posix_spawn_file_actions_addclose(&actions, pipeEnds[1]);
    std::vector<char *> argv;
    for (const std::string &arg : args) argv.push_back(const_cast<char *>(arg.c_str()));
    argv.push_back(nullptr);
    pid_t child = 0;
    const int failed = posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(pipeEnds[1]);
    if (failed) {
        close(pipeEnds[0]);
        throw std::runtime_error("cannot start " + args[0] + ": " + std::strerror(failed));
    }
    out = pipeEnds[0];
    return child;
}

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

int waitFor(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {}
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
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
    const pid_t probe = spawn({"ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries",
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
    decoder_ = spawn({"ffmpeg", "-v", "error", "-nostdin", "-i", path, "-f", "rawvideo", "-pix_fmt", "bgr24", "-"},
                     false, fd_);
}

int FfmpegSource::finish() {
    if (decoder_ <= 0) return 0;
    const pid_t decoder = decoder_;
    decoder_ = 0;
    return waitFor(decoder);
}

FfmpegSource::~FfmpegSource() {
    if (decoder_ > 0) {
        kill(decoder_, SIGTERM);  // stopped early, by --frames
        finish();
    }
}

bool FfmpegSource::next(Frame &frame) {
    if (RawSource::next(frame)) return true;
    if (finish() != 0 && frames_ == 0) throw std::runtime_error(path_ + ": ffmpeg could not decode it");
    return false;
}

}  // namespace kx::demo
