// The profile reader against files of every shape the settings file may take. The Windows build
// runs the same rows against the platform's own reader.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "frame/settings.h"
#include "platform/platform.h"
#include "temp_dir.h"

namespace {

struct ProfileRow {
    const char *what;
    const char *bytes;  // null: no file
    size_t size;        // byte count, so that the rows may hold any byte
    const char *section;
    const char *key;
    uint32_t length;
    const char *buffer;
    int32_t value;  // the integer setting read with default 777
};

#define FILE_BYTES(text) text, sizeof(text) - 1

const ProfileRow kRows[] = {
    {"file missing", nullptr, 0, "YDC", "UPLEVEL", 3, "777", 777},
    {"section missing", FILE_BYTES("[OTHER]\r\nUPLEVEL=5\r\n"), "YDC", "UPLEVEL", 3, "777", 777},
    {"key missing", FILE_BYTES("[YDC]\r\nDOWNLEVEL=5\r\n"), "YDC", "UPLEVEL", 3, "777", 777},
    {"KEY=250", FILE_BYTES("[YDC]\r\nUPLEVEL=250\r\n"), "YDC", "UPLEVEL", 3, "250", 250},
    {"KEY=-5", FILE_BYTES("[YDC]\r\nUPLEVEL=-5\r\n"), "YDC", "UPLEVEL", 2, "-5", -5},
    {"KEY=12abc", FILE_BYTES("[YDC]\r\nUPLEVEL=12abc\r\n"), "YDC", "UPLEVEL", 5, "12abc", 12},
    {"KEY=abc", FILE_BYTES("[YDC]\r\nUPLEVEL=abc\r\n"), "YDC", "UPLEVEL", 3, "abc", 0},
    {"empty value", FILE_BYTES("[YDC]\r\nUPLEVEL=\r\n"), "YDC", "UPLEVEL", 0, "", 0},
    {"empty value on the last line", FILE_BYTES("[YDC]\r\nUPLEVEL="), "YDC", "UPLEVEL", 0, "", 0},
    {"key without '='", FILE_BYTES("[YDC]\r\nUPLEVEL\r\n"), "YDC", "UPLEVEL", 3, "777", 777},
    {"only spaces", FILE_BYTES("[YDC]\r\nUPLEVEL=   \r\n"), "YDC", "UPLEVEL", 0, "", 0},
    {"spaces around '='", FILE_BYTES("[YDC]\r\nUPLEVEL = 250\r\n"), "YDC", "UPLEVEL", 3, "250", 250},
    {"indent and trailing spaces", FILE_BYTES("[YDC]\r\n  UPLEVEL=250  \r\n"), "YDC", "UPLEVEL", 3, "250", 250},
    {"tab after '='", FILE_BYTES("[YDC]\r\nUPLEVEL=\t250\r\n"), "YDC", "UPLEVEL", 3, "250", 250},
    {"double quotes", FILE_BYTES("[YDC]\r\nUPLEVEL=\"250\"\r\n"), "YDC", "UPLEVEL", 3, "250", 250},
    {"single quotes", FILE_BYTES("[YDC]\r\nUPLEVEL='250'\r\n"), "YDC", "UPLEVEL", 3, "250", 250},
    {"quotes keep inner spaces", FILE_BYTES("[YDC]\r\nUPLEVEL=\" 250 \"\r\n"), "YDC", "UPLEVEL", 5, " 250 ", 250},
    {"one quote stays", FILE_BYTES("[YDC]\r\nUPLEVEL=\"250\r\n"), "YDC", "UPLEVEL", 4, "\"250", 0},
    {"inline comment is value", FILE_BYTES("[YDC]\r\nUPLEVEL=250 ;c\r\n"), "YDC", "UPLEVEL", 6, "250 ;c", 250},
    {"comment line", FILE_BYTES("[YDC]\r\n;UPLEVEL=250\r\n"), "YDC", "UPLEVEL", 3, "777", 777},
    {"comment before the key", FILE_BYTES("[YDC]\r\n; note\r\nUPLEVEL=250\r\n"), "YDC", "UPLEVEL", 3, "250", 250},
    {"hash line", FILE_BYTES("[YDC]\r\n#UPLEVEL=250\r\n"), "YDC", "UPLEVEL", 3, "777", 777},
    {"lower case in the file", FILE_BYTES("[ydc]\r\nuplevel=250\r\n"), "YDC", "UPLEVEL", 3, "250", 250},
    {"mixed case lookup", FILE_BYTES("[YDC]\r\nUPLEVEL=250\r\n"), "Ydc", "UpLevel", 3, "250", 250},
    {"spaces in brackets", FILE_BYTES("[ YDC ]\r\nUPLEVEL=250\r\n"), "YDC", "UPLEVEL", 3, "250", 250},
    {"duplicated key: first", FILE_BYTES("[YDC]\r\nUPLEVEL=1\r\nUPLEVEL=2\r\n"), "YDC", "UPLEVEL", 1, "1", 1},
    {"duplicated section: first", FILE_BYTES("[YDC]\r\nUPLEVEL=1\r\n[YDC]\r\nUPLEVEL=2\r\n"), "YDC", "UPLEVEL", 1,
     "1", 1},
    {"duplicated section, key only in second", FILE_BYTES("[YDC]\r\nDOWNLEVEL=1\r\n[YDC]\r\nUPLEVEL=2\r\n"), "YDC",
     "UPLEVEL", 3, "777", 777},
    {"shared key, SHUTTERWITH", FILE_BYTES("[SHUTTERWITH]\r\nZOOMUPLEVEL=1900\r\n[YDC]\r\nZOOMUPLEVEL=70\r\n"),
     "SHUTTERWITH", "ZOOMUPLEVEL", 4, "1900", 1900},
    {"shared key, YDC", FILE_BYTES("[SHUTTERWITH]\r\nZOOMUPLEVEL=1900\r\n[YDC]\r\nZOOMUPLEVEL=70\r\n"), "YDC",
     "ZOOMUPLEVEL", 2, "70", 70},
    {"LF line ends", FILE_BYTES("[YDC]\nUPLEVEL=250\n"), "YDC", "UPLEVEL", 3, "250", 250},
    {"CR line ends", FILE_BYTES("[YDC]\rUPLEVEL=250\r"), "YDC", "UPLEVEL", 3, "250", 250},
    {"no newline at the end", FILE_BYTES("[YDC]\r\nUPLEVEL=250"), "YDC", "UPLEVEL", 3, "250", 250},
    {"UTF-8 byte order mark", FILE_BYTES("\xEF\xBB\xBF[YDC]\r\nUPLEVEL=250\r\n"), "YDC", "UPLEVEL", 3, "250", 250},
    {"key before any section", FILE_BYTES("UPLEVEL=250\r\n[YDC]\r\n"), "YDC", "UPLEVEL", 3, "777", 777},
    {"plus sign", FILE_BYTES("[YDC]\r\nUPLEVEL=+7\r\n"), "YDC", "UPLEVEL", 2, "+7", 7},
    {"hex is not read", FILE_BYTES("[YDC]\r\nUPLEVEL=0x10\r\n"), "YDC", "UPLEVEL", 4, "0x10", 0},
    {"space inside the value", FILE_BYTES("[YDC]\r\nUPLEVEL=1 2\r\n"), "YDC", "UPLEVEL", 3, "1 2", 1},
    {"second '=' is value", FILE_BYTES("[YDC]\r\nUPLEVEL==5\r\n"), "YDC", "UPLEVEL", 2, "=5", 0},
    {"empty file", FILE_BYTES(""), "YDC", "UPLEVEL", 3, "777", 777},
};

TEST(ProfileReader, EveryRow) {
    kx::test::TempDir dir;
    for (const ProfileRow &row : kRows) {
        SCOPED_TRACE(row.what);
        const std::string file =
            row.bytes ? dir.write("case.ini", std::string(row.bytes, row.size)) : (dir.path() / "none.ini").string();
        char buffer[1024];
        std::memset(buffer, 'x', sizeof buffer);
        const uint32_t length = kx::platform::readProfileString(row.section, row.key, "777", buffer, 1024, file.c_str());
        EXPECT_EQ(length, row.length);
        EXPECT_STREQ(buffer, row.buffer);
        EXPECT_EQ(kx::ReadIntSetting(file, row.section, row.key, 777), row.value);
    }
}

TEST(ProfileReader, LongValueIsCut) {
    kx::test::TempDir dir;
    const std::string value(2000, '7');
    const std::string file = dir.write("long.ini", "[YDC]\r\nUPLEVEL=" + value + "\r\n");
    char buffer[1024];
    EXPECT_EQ(kx::platform::readProfileString("YDC", "UPLEVEL", "777", buffer, 1024, file.c_str()), 1023u);
    EXPECT_EQ(std::string(buffer), value.substr(0, 1023));
    char small[4];
    std::memset(small, 'x', sizeof small);
    EXPECT_EQ(kx::platform::readProfileString("YDC", "UPLEVEL", "777", small, 4, file.c_str()), 3u);
    EXPECT_STREQ(small, "777");
    EXPECT_EQ(kx::ReadStringSetting(file, "YDC", "UPLEVEL", "1"), value.substr(0, 1023));
}

TEST(ProfileReader, DefaultIsCutToo) {
    kx::test::TempDir dir;
    char small[3];
    const std::string file = (dir.path() / "none.ini").string();
    EXPECT_EQ(kx::platform::readProfileString("YDC", "UPLEVEL", "12345", small, 3, file.c_str()), 2u);
    EXPECT_STREQ(small, "12");
}

}  // namespace
