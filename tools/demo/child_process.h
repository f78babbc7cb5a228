// The demo's child processes: ffmpeg and ffprobe reading footage, Xvfb when there is no display.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace kx::demo {

// Starts a program with its standard output (and, with joinErrors, its errors) on a pipe whose
// reading end is returned in `out`; standard input and other output go nowhere. Throws when the
// program cannot be started.
pid_t spawnReading(const std::vector<std::string> &args, bool joinErrors, int &out);

// Waits for a child to end: its exit status, or 128 plus the signal that ended it.
int waitFor(pid_t child);

// Asks a child to end (SIGTERM), gives it `grace` to do so, then kills it, and reaps it either way.
// A child writing into a pipe must have that pipe's reading end closed first, or it may never see
// the request: a write into a full pipe is restarted after the signal handler runs.
int stopChild(pid_t child, std::chrono::milliseconds grace);

}  // namespace kx::demo
