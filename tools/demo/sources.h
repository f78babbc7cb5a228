// Real footage for the demo: raw BGR24 frames from standard input, or any video ffmpeg reads,
// decoded by an ffmpeg process into a pipe.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

#include "frame.h"

namespace kx::demo {

// "WxH" with both sides from 8 to 4096; false for anything else.
bool parseSize(const std::string &text, int32_t &width, int32_t &height);

// The full path of a program on PATH, or empty.
std::string findProgram(const std::string &name);

class RawSource {
public:
    // Frames of width x height packed BGR24, top row first, from an open descriptor (taken over).
    RawSource(int fd, int32_t width, int32_t height, int32_t framesPerSecond);
    virtual ~RawSource();
    RawSource(const RawSource &) = delete;
    RawSource &operator=(const RawSource &) = delete;

    int32_t width() const { return width_; }
    int32_t height() const { return height_; }
    int32_t framesPerSecond() const { return framesPerSecond_; }
    // The next frame; false at the end of the input. Throws when the input ends inside a frame.
    virtual bool next(Frame &frame);

protected:
    int fd_;
    int32_t width_, height_, framesPerSecond_;
    int32_t frames_ = 0;
};

class FfmpegSource : public RawSource {
public:
    // Throws with a one-line reason when ffmpeg is missing or cannot read the file.
    explicit FfmpegSource(const std::string &path);
    ~FfmpegSource() override;
    bool next(Frame &frame) override;

private:
    int finish();  // the decoder's exit status

    pid_t decoder_ = 0;
    std::string path_;
};

}  // namespace kx::demo
