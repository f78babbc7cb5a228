#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace kx::platform {
namespace {

// Code page 1252 on both platforms.
struct ConversionCase {
    const char *what;
    std::vector<uint16_t> text;
    std::string expected;
};

const ConversionCase kConversions[] = {
    {"ASCII", {'C', 'a', 'm', ' ', '1'}, "Cam 1"},
    {"Latin-1 stays", {0xE9, 0xFC, 0xA0, 0xFF}, "\xE9\xFC\xA0\xFF"},
    {"the code page's own 0x80 to 0x9F", {0x20AC, 0x201A, 0x0178, 0x2122}, "\x80\x82\x9F\x99"},
    {"a CJK character has no place", {'a', 0x4E2D, 'b'}, "a?b"},
    {"zero units are converted too", {'a', 0, 'b'}, std::string("a\0b", 3)},
};

TEST(TextTest, CodePage1252) {
    for (const ConversionCase &c : kConversions) {
        SCOPED_TRACE(c.what);
        char buffer[256];
        std::memset(buffer, 0x55, sizeof buffer);
        const int32_t length = static_cast<int32_t>(c.text.size());
        ASSERT_EQ(wideToNarrow(c.text.data(), length, buffer, 256), length);
        EXPECT_EQ(std::string(buffer, c.expected.size()), c.expected);
        EXPECT_EQ(static_cast<uint8_t>(buffer[length]), 0x55);  // nothing past the result
    }
}

TEST(TextTest, TerminatedTextAndSizeQuery) {
    const uint16_t text[] = {'a', 'b', 'c', 0, 'x'};
    char buffer[8] = {};
    EXPECT_EQ(wideToNarrow(text, -1, buffer, 8), 4);  // with its terminator
    EXPECT_STREQ(buffer, "abc");
    EXPECT_EQ(wideToNarrow(text, 5, nullptr, 0), 5);  // size 0 asks for the length
    EXPECT_EQ(wideToNarrow(text, 0, buffer, 8), 0);   // an empty text is a failure
}

#if !defined(_WIN32)
// The platform's own function maps some characters to look-alikes and writes part of a text that
// does not fit; the portable one keeps to the stricter rule.
TEST(TextTest, PortableRules) {
    const uint16_t macron[] = {0x0100, 0x0080, 0xD83D, 0xDE00};
    char buffer[256];
    EXPECT_EQ(wideToNarrow(macron, 4, buffer, 256), 4);
    EXPECT_EQ(std::string(buffer, 4), "????");

    std::vector<uint16_t> tooLong(300, 'x');
    std::memset(buffer, 0x55, sizeof buffer);
    EXPECT_EQ(wideToNarrow(tooLong.data(), 300, buffer, 256), 0);
    for (char b : buffer) ASSERT_EQ(static_cast<uint8_t>(b), 0x55);
    EXPECT_EQ(wideToNarrow(tooLong.data(), 256, buffer, 256), 256);
}
#endif

}  // namespace
}  // namespace kx::platform
