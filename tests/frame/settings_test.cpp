// The profile reader and the settings reads; the Windows build runs the rows against the platform's reader.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>

#include "frame/settings.h"
#include "kestrix/px.h"
#include "level_scope.h"
#include "platform/platform.h"
#include "temp_dir.h"

namespace {

using kx::test::TempDir;

// File bytes (null: no file), then what the reader reports with default "777": the length, the
// buffer's text, and ReadIntSetting's value.
struct ProfileRow {
    const char *bytes;
    uint32_t length;
    const char *text;
    int32_t value;
    const char *section = "YDC", *key = "UPLEVEL";
};

const ProfileRow kRows[] = {
    // Missing file, section or key; the read outcomes of the settings; an empty value is not the default.
    {nullptr, 3, "777", 777}, {"[OTHER]\r\nUPLEVEL=5\r\n", 3, "777", 777}, {"[YDC]\r\nDOWNLEVEL=5\r\n", 3, "777", 777},
    {"[YDC]\r\nUPLEVEL=250\r\n", 3, "250", 250}, {"[YDC]\r\nUPLEVEL=-5\r\n", 2, "-5", -5},
    {"[YDC]\r\nUPLEVEL=12abc\r\n", 5, "12abc", 12}, {"[YDC]\r\nUPLEVEL=abc\r\n", 3, "abc", 0},
    {"[YDC]\r\nUPLEVEL=\r\n", 0, "", 0}, {"[YDC]\r\nUPLEVEL=", 0, "", 0}, {"[YDC]\r\nUPLEVEL\r\n", 3, "777", 777},
    // Spaces and tabs around key and value go, quotes around the value go, the value is all after the first '='.
    {"[YDC]\r\nUPLEVEL=   \r\n", 0, "", 0}, {"[YDC]\r\nUPLEVEL = 250\r\n", 3, "250", 250},
    {"[YDC]\r\n  UPLEVEL=250  \r\n", 3, "250", 250}, {"[YDC]\r\nUPLEVEL=\t250\r\n", 3, "250", 250},
    {"[YDC]\r\nUPLEVEL=\"250\"\r\n", 3, "250", 250}, {"[YDC]\r\nUPLEVEL='250'\r\n", 3, "250", 250},
    {"[YDC]\r\nUPLEVEL=\" 250 \"\r\n", 5, " 250 ", 250}, {"[YDC]\r\nUPLEVEL=\"250\r\n", 4, "\"250", 0},
    {"[YDC]\r\nUPLEVEL==5\r\n", 2, "=5", 0},
    // Comments are whole lines only.
    {"[YDC]\r\nUPLEVEL=250 ;c\r\n", 6, "250 ;c", 250}, {"[YDC]\r\n;UPLEVEL=250\r\n", 3, "777", 777},
    {"[YDC]\r\n; note\r\nUPLEVEL=250\r\n", 3, "250", 250},
    // Names match without case and spaces; the first key and the first section of a name count.
    {"[ydc]\r\nuplevel=250\r\n", 3, "250", 250}, {"[YDC]\r\nUPLEVEL=250\r\n", 3, "250", 250, "Ydc", "UpLevel"},
    {"[ YDC ]\r\nUPLEVEL=250\r\n", 3, "250", 250}, {"[YDC]\r\nUPLEVEL=1\r\nUPLEVEL=2\r\n", 1, "1", 1},
    {"[YDC]\r\nDOWNLEVEL=1\r\n[YDC]\r\nUPLEVEL=2\r\n", 3, "777", 777},
    {"[SHUTTERWITH]\r\nZOOMUPLEVEL=1900\r\n[YDC]\r\nZOOMUPLEVEL=70\r\n", 2, "70", 70, "YDC", "ZOOMUPLEVEL"},
    {"UPLEVEL=250\r\n[YDC]\r\n", 3, "777", 777},
    // Any line end, or none at the end; a UTF-8 byte order mark.
    {"[YDC]\nUPLEVEL=250\n", 3, "250", 250}, {"[YDC]\rUPLEVEL=250\r", 3, "250", 250},
    {"[YDC]\r\nUPLEVEL=250", 3, "250", 250}, {"\xEF\xBB\xBF[YDC]\r\nUPLEVEL=250\r\n", 3, "250", 250},
};

TEST(ProfileReader, EveryRow) {
    TempDir dir;
    for (const ProfileRow &row : kRows) {
        SCOPED_TRACE(testing::PrintToString(row.bytes));
        const std::string file = row.bytes ? dir.write("case.ini", row.bytes) : (dir.path / "none.ini").string();
        char buffer[1024];
        std::memset(buffer, 'x', sizeof buffer);
        EXPECT_EQ(kx::platform::readProfileString(row.section, row.key, "777", buffer, 1024, file.c_str()), row.length);
        EXPECT_STREQ(buffer, row.text);
        EXPECT_EQ(kx::ReadStringSetting(file, row.section, row.key, "777"), row.text);
        EXPECT_EQ(kx::ReadIntSetting(file, row.section, row.key, 777), row.value);
    }
}

TEST(Settings, LongValuesAreCutAndDefaultsSurviveTheirText) {
    TempDir dir;
    const std::string value(2000, '7');
    const std::string file = dir.write("kestrix.ini", "[YDC]\r\nUPLEVEL=" + value + "\r\n");
    EXPECT_EQ(kx::ReadStringSetting(file, "YDC", "UPLEVEL", "1"), value.substr(0, 1023));
    for (int32_t d : {-5, 2147483647, -2147483647 - 1}) EXPECT_EQ(kx::ReadIntSetting(file, "YDC", "MAX", d), d);
}

std::array<int32_t, 10> fields(const kx::Settings &s) {
    static_assert(sizeof s == 40);
    std::array<int32_t, 10> out;
    std::memcpy(out.data(), &s, sizeof s);
    return out;
}

TEST(Settings, AllTenFromTheFileInTheCurrentDirectory) {
    const kx::Settings odd{-1, 1, 2, 3, 4, 5, 6, 7, 8, 12345};
    const struct { const char *file; kx::Settings before; std::array<int32_t, 10> after; } rows[] = {
        {"[SHUTTERWITH]\r\nMIN=1\r\nMAX=2\r\nOUTDOOR=3\r\nZOOMUPLEVEL=7\r\nZOOMDOWNLEVEL=8\r\n"
         "[YDC]\r\nDOWNMODE=4\r\nDOWNLEVEL=5\r\nUPLEVEL=6\r\nZOOMUPLEVEL=9\r\nZOOMDOWNLEVEL=10\r\n",
         {}, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}},
        // The zoom keys of the two sections are four settings.
        {"[YDC]\r\nZOOMUPLEVEL=70\r\n", {}, {523, 1000, 130, 200, 180, 100, 1960, 1500, 70, 120}},
        // No file: each read falls back on the setting's current value.
        {nullptr, {}, {523, 1000, 130, 200, 180, 100, 1960, 1500, 60, 120}},
        {nullptr, odd, fields(odd)},
    };
    for (const auto &row : rows) {
        TempDir dir;
        if (row.file) dir.write("kestrix.ini", row.file);
        kx::test::InDir inside(dir.path);
        kx::Settings read = row.before;
        kx::readSettings(read);
        EXPECT_EQ(fields(read), row.after) << (row.file ? row.file : "no file");
    }
}

// The highest level at most `asked` that this processor runs.
int32_t runnableUpTo(int32_t asked) {
    const kx::test::LevelScope scope;
    while (!scope.set(asked)) --asked;
    return asked;
}

TEST(Settings, LevelKeyAsksForALevelCappedAtTheProcessor) {
    const kx::test::LevelScope scope;
    constexpr int32_t kKept = -1;  // the level in force before the read stays
    const struct { const char *file; int32_t level; } rows[] = {
        {nullptr, kKept},
        {"[SHUTTERWITH]\r\nMIN=1\r\n", kKept},
        {"[PX]\r\nLEVEL=\r\n", kKept},
        {"[PX]\r\nLEVEL=-1\r\n", kKept},
        {"[PX]\r\nLEVEL=4\r\n", runnableUpTo(4)},
        {"[PX]\r\nLEVEL=9\r\n", runnableUpTo(4)},
        {"[px]\r\nlevel=3\r\n", runnableUpTo(3)},
        {"[PX]\r\nLEVEL=1\r\n", runnableUpTo(1)},
        {"[PX]\r\nLEVEL=0\r\n", 0},
        // Read as the other settings are: atol of the text.
        {"[PX]\r\nLEVEL=abc\r\n", 0},
        {"[PX]\r\nLEVEL=4x\r\n", runnableUpTo(4)},
    };
    for (const int32_t before : {0, runnableUpTo(3)}) {
        for (const auto &row : rows) {
            SCOPED_TRACE(testing::Message() << (row.file ? row.file : "no file") << ", level before " << before);
            TempDir dir;
            if (row.file) dir.write("kestrix.ini", row.file);
            kx::test::InDir inside(dir.path);
            ASSERT_TRUE(scope.set(before));
            kx::readLevelSetting();
            EXPECT_EQ(pxGetLevel(), row.level == kKept ? before : row.level);
        }
    }
}

}  // namespace
