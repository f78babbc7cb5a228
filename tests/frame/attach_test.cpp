// Loads the built library as a client does, with a settings file in the current directory, and
// checks through ChangeGain3 that the file was read at load and kept after the directory changed.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "temp_dir.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace {

using ChangeGain3Fn = int32_t (*)(const int32_t *, int32_t, int32_t *, int32_t *, int32_t *);

// Y, W, stage, G, S in; stage, G, S out by default (no file) and with this file.
constexpr const char *kFile =
    "[SHUTTERWITH]\r\nMIN=300\r\nMAX=400\r\nZOOMUPLEVEL=1200\r\nZOOMDOWNLEVEL=1100\r\n"
    "[YDC]\r\nDOWNLEVEL=150\r\nZOOMUPLEVEL=80\r\nZOOMDOWNLEVEL=90\r\n";
const int32_t kRows[][11] = {
    {91, 350, 64, 127, 511, 64, 96, 176, 64, 127, 176},   // by default below MIN; with the file in the window
    {79, 1200, 64, 127, 176, 64, 127, 176, 64, 127, 511},  // W reaches ZOOMUPLEVEL 1200, Y under 80
    {170, 100, 64, 32, 32, 64, 32, 32, 48, 32, 32},        // Y over DOWNLEVEL 150 outdoors: stage down
};

// 0 when every row gives what the settings in force should give, else the failing row's number.
int checkRows(ChangeGain3Fn changeGain3, bool withFile) {
    for (int i = 0; i < 3; ++i) {
        const int32_t *row = kRows[i];
        int32_t out[3] = {row[2], row[3], row[4]};
        changeGain3(&row[0], row[1], &out[0], &out[1], &out[2]);
        if (std::memcmp(out, row + (withFile ? 8 : 5), sizeof out) != 0) return i + 1;
    }
    return 0;
}

#if defined(_WIN32)
int loadAndCheck(const std::filesystem::path &dir, bool withFile) {
    kx::test::InDir inside(dir);
    std::string path = KX_LIBRARY_PATH;
    if (path[0] == '/') path = "Z:" + path;  // the host's root is drive Z: under Wine
    HMODULE library = LoadLibraryA(path.c_str());
    if (!library) return 100;
    std::filesystem::current_path(std::filesystem::temp_directory_path());
    auto fn = reinterpret_cast<ChangeGain3Fn>(reinterpret_cast<void *>(GetProcAddress(library, "ChangeGain3")));
    const int result = fn ? checkRows(fn, withFile) : 101;
    FreeLibrary(library);
    return result;
}
#else
// In a child process, so that every load is the library's first in its process.
int loadAndCheck(const std::filesystem::path &dir, bool withFile) {
    const pid_t pid = fork();
    if (pid == 0) {
        void *library = chdir(dir.c_str()) == 0 ? dlopen(KX_LIBRARY_PATH, RTLD_NOW) : nullptr;
        auto fn = library ? reinterpret_cast<ChangeGain3Fn>(dlsym(library, "ChangeGain3")) : nullptr;
        _exit(fn && chdir("/") == 0 ? checkRows(fn, withFile) : 100);
    }
    int status = 0;
    return pid > 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status) ? WEXITSTATUS(status) : 101;
}
#endif

TEST(Attach, SettingsComeFromTheCurrentDirectoryAtLoad) {
    kx::test::TempDir withFile, empty;
    withFile.write("kestrix.ini", kFile);
    EXPECT_EQ(loadAndCheck(withFile.path, true), 0);
    EXPECT_EQ(loadAndCheck(empty.path, false), 0);
}

}  // namespace
