#include "child_process.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <thread>

extern char **environ;

namespace kx::demo {

namespace {

int statusOf(int status) { return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status); }

}  // namespace

pid_t spawnReading(const std::vector<std::string> &args, bool joinErrors, int &out) {
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

int waitFor(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {}
    return statusOf(status);
}

int stopChild(pid_t child, std::chrono::milliseconds grace) {
    kill(child, SIGTERM);
    const auto deadline = std::chrono::steady_clock::now() + grace;
    int status = 0;
    while (std::chrono::steady_clock::now() < deadline) {
        const pid_t done = waitpid(child, &status, WNOHANG);
        if (done == child) return statusOf(status);
        if (done < 0 && errno != EINTR) return -1;  // not our child, or already reaped
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    kill(child, SIGKILL);
    return waitFor(child);
}

}  // namespace kx::demo
