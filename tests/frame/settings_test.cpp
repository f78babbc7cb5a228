#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "frame/settings.h"
#include "platform/platform.h"
#include "temp_dir.h"

namespace {

struct IntRow {
    const char *what;
    const char *bytes;  // null: no file
    int32_t defaultValue;
    int32_t expected;
};

const IntRow kIntRows[] = {
    {"file missing: default", nullptr, 523, 523},
    {"section missing: default", "[SHUTTER]\r\nMIN=250\r\n", 523, 523},
    {"key missing: default", "[SHUTTERWITH]\r\nMAX=250\r\n", 523, 523},
    {"negative default rendered and read back", "[SHUTTERWITH]\r\n", -5, -5},
    {"largest default", "[SHUTTERWITH]\r\n", 2147483647, 2147483647},
    {"smallest default", "[SHUTTERWITH]\r\n", -2147483647 - 1, -2147483647 - 1},
    {"250", "[SHUTTERWITH]\r\nMIN=250\r\n", 523, 250},
    {"-5", "[SHUTTERWITH]\r\nMIN=-5\r\n", 523, -5},
    {"12abc stops at the letter", "[SHUTTERWITH]\r\nMIN=12abc\r\n", 523, 12},
    {"abc gives 0", "[SHUTTERWITH]\r\nMIN=abc\r\n", 523, 0},
    {"empty gives 0, not the default", "[SHUTTERWITH]\r\nMIN=\r\n", 523, 0},
};

TEST(Settings, ReadIntSetting) {
    kx::test::TempDir dir;
    for (const IntRow &row : kIntRows) {
        SCOPED_TRACE(row.what);
        const std::string file =
            row.bytes ? dir.write("kestrix.ini", row.bytes) : (dir.path() / "missing.ini").string();
        EXPECT_EQ(kx::ReadIntSetting(file, "SHUTTERWITH", "MIN", row.defaultValue), row.expected);
    }
}

TEST(Settings, ReadStringSettingEmptyValue) {
    kx::test::TempDir dir;
    const std::string file = dir.write("kestrix.ini", "[YDC]\r\nUPLEVEL=\r\nDOWNLEVEL=x y\r\n");
    EXPECT_EQ(kx::ReadStringSetting(file, "YDC", "UPLEVEL", "100"), "");
    EXPECT_EQ(kx::ReadStringSetting(file, "YDC", "DOWNLEVEL", "100"), "x y");
    EXPECT_EQ(kx::ReadStringSetting(file, "YDC", "DOWNMODE", "100"), "100");
}

TEST(Settings, PathIsCurrentDirectory) {
    kx::test::TempDir dir;
    kx::test::ScopedCurrentDir inside(dir.path());
    const std::string current = kx::platform::currentDirectory();
    EXPECT_EQ(kx::SettingsPath(), current + kx::platform::kPathSeparator + "kestrix.ini");
    EXPECT_TRUE(std::filesystem::equivalent(current, dir.path()));
}

TEST(Settings, AllTenFromTheCurrentDirectory) {
    kx::test::TempDir dir;
    dir.write("kestrix.ini",
              "[SHUTTERWITH]\r\nMIN=1\r\nMAX=2\r\nOUTDOOR=3\r\nZOOMUPLEVEL=7\r\nZOOMDOWNLEVEL=8\r\n"
              "[YDC]\r\nDOWNMODE=4\r\nDOWNLEVEL=5\r\nUPLEVEL=6\r\nZOOMUPLEVEL=9\r\nZOOMDOWNLEVEL=10\r\n");
    kx::test::ScopedCurrentDir inside(dir.path());
    kx::Settings read;
    kx::readSettings(read);
    EXPECT_EQ(read.shutterMin, 1);
    EXPECT_EQ(read.shutterMax, 2);
    EXPECT_EQ(read.shutterOutdoor, 3);
    EXPECT_EQ(read.lumaDownMode, 4);
    EXPECT_EQ(read.lumaDownLevel, 5);
    EXPECT_EQ(read.lumaUpLevel, 6);
    EXPECT_EQ(read.shutterZoomUp, 7);
    EXPECT_EQ(read.shutterZoomDown, 8);
    EXPECT_EQ(read.lumaZoomUp, 9);
    EXPECT_EQ(read.lumaZoomDown, 10);
}

// The zoom keys exist in both sections: one key in [YDC] changes that one setting only.
TEST(Settings, SharedKeyNamesAreFourSettings) {
    kx::test::TempDir dir;
    dir.write("kestrix.ini", "[YDC]\r\nZOOMUPLEVEL=70\r\n");
    kx::test::ScopedCurrentDir inside(dir.path());
    kx::Settings read;
    kx::readSettings(read);
    kx::Settings expected;
    expected.lumaZoomUp = 70;
    EXPECT_EQ(read.lumaZoomUp, 70);
    EXPECT_EQ(read.shutterZoomUp, 1960);
    EXPECT_EQ(read.shutterZoomDown, 1500);
    EXPECT_EQ(read.lumaZoomDown, 120);
    EXPECT_EQ(std::memcmp(&read, &expected, sizeof read), 0);
}

// Each read takes the setting's current value as default, so a missing file changes nothing.
TEST(Settings, MissingFileKeepsCurrentValues) {
    kx::test::TempDir dir;
    kx::test::ScopedCurrentDir inside(dir.path());
    kx::Settings read;
    kx::readSettings(read);
    const kx::Settings defaults;
    EXPECT_EQ(std::memcmp(&read, &defaults, sizeof read), 0);
    EXPECT_EQ(read.shutterMin, 523);
    EXPECT_EQ(read.lumaZoomDown, 120);

    kx::Settings odd;
    odd.shutterMin = -1;
    odd.lumaZoomDown = 12345;
    kx::readSettings(odd);
    EXPECT_EQ(odd.shutterMin, -1);
    EXPECT_EQ(odd.lumaZoomDown, 12345);
}

}  // namespace
