// Loads the built library as a client does, with a settings file in the current directory, and
// checks through ChangeGain3 that the file's values were read at load and kept.
#include <gtest/gtest.h>

#include <cstdint>
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

constexpr const char *kCustomFile =
    "[SHUTTERWITH]\r\nMIN=300\r\nMAX=400\r\nZOOMUPLEVEL=1200\r\nZOOMDOWNLEVEL=1100\r\n"
    "[YDC]\r\nDOWNLEVEL=150\r\nZOOMUPLEVEL=80\r\nZOOMDOWNLEVEL=90\r\n";

struct AttachRow {
    int32_t y, w, stage, g, s;
    int32_t customStage, customG, customS;    // with the file above
    int32_t defaultStage, defaultG, defaultS; // with no file
};

const AttachRow kRows[] = {
    // W 350 is inside the window 300..400, so full exposure ends (Y 91 > 90); by default it is
    // below MIN and the gain steps down from 127 to 96.
    {91, 350, 64, 127, 511, 64, 127, 176, 64, 96, 176},
    // W 1200 reaches ZOOMUPLEVEL and Y 79 is under 80: full exposure; by default nothing.
    {79, 1200, 64, 127, 176, 64, 127, 511, 64, 127, 176},
    // Y 170 is over DOWNLEVEL 150 at an outdoor width: the stage steps down; by default nothing.
    {170, 100, 64, 32, 32, 48, 32, 32, 64, 32, 32},
};

// 0 when every row gives what the settings in force should give, else the first failing row + 1.
int checkRows(ChangeGain3Fn changeGain3, bool custom) {
    int rowNumber = 0;
    for (const AttachRow &row : kRows) {
        ++rowNumber;
        int32_t stage = row.stage, g = row.g, s = row.s;
        changeGain3(&row.y, row.w, &stage, &g, &s);
        const int32_t wantStage = custom ? row.customStage : row.defaultStage;
        const int32_t wantG = custom ? row.customG : row.defaultG;
        const int32_t wantS = custom ? row.customS : row.defaultS;
        if (stage != wantStage || g != wantG || s != wantS) return rowNumber;
    }
    return 0;
}

#if defined(_WIN32)

std::string libraryPath() {
    std::string path = KX_LIBRARY_PATH;
    // A cross build names the library by its host path; the host's root is drive Z: under Wine.
    if (!path.empty() && path[0] == '/') path = "Z:" + path;
    return path;
}

int loadAndCheck(const kx::test::TempDir &dir, bool custom) {
    const std::filesystem::path saved = std::filesystem::current_path();
    if (!SetCurrentDirectoryA(dir.path().string().c_str())) return 100;
    HMODULE library = LoadLibraryA(libraryPath().c_str());
    if (!library) return 101;
    auto changeGain3 = reinterpret_cast<ChangeGain3Fn>(reinterpret_cast<void *>(GetProcAddress(library, "ChangeGain3")));
    // The settings were read at load; a later directory holds no file and changes nothing.
    SetCurrentDirectoryA(std::filesystem::temp_directory_path().string().c_str());
    const int result = changeGain3 ? checkRows(changeGain3, custom) : 102;
    FreeLibrary(library);
    std::filesystem::current_path(saved);
    return result;
}

#else

// In a child process, so that every load is the library's first in its process.
int loadAndCheck(const kx::test::TempDir &dir, bool custom) {
    const pid_t pid = fork();
    if (pid < 0) return 100;
    if (pid == 0) {
        if (chdir(dir.path().c_str()) != 0) _exit(101);
        void *library = dlopen(KX_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
        if (!library) _exit(102);
        auto changeGain3 = reinterpret_cast<ChangeGain3Fn>(dlsym(library, "ChangeGain3"));
        if (!changeGain3) _exit(103);
        // The settings were read at load; a later directory holds no file and changes nothing.
        if (chdir("/") != 0) _exit(104);
        _exit(checkRows(changeGain3, custom));
    }
    int status = 0;
    if (waitpid(pid, &status, 0) != pid) return 105;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 106;
}

#endif

TEST(Attach, SettingsFileInCurrentDirectory) {
    kx::test::TempDir dir;
    dir.write("kestrix.ini", kCustomFile);
    EXPECT_EQ(loadAndCheck(dir, true), 0);
}

TEST(Attach, NoSettingsFileGivesDefaults) {
    kx::test::TempDir dir;
    EXPECT_EQ(loadAndCheck(dir, false), 0);
}

}  // namespace
