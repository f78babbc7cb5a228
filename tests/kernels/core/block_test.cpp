#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <cstdint>

#include "kestrix/px.h"

namespace {

TEST(BlockTest, ZeroOfOneByteAtEveryAlignment) {
    for (int offset = 0; offset < 32; ++offset) {
        alignas(32) std::array<uint8_t, 64> buffer;
        buffer.fill(0xEE);
        ASSERT_EQ(pxZero(buffer.data() + offset, 1), PxStsOk);
        for (int i = 0; i < 64; ++i) EXPECT_EQ(buffer[i], i == offset ? 0 : 0xEE) << offset << " " << i;
    }
}

TEST(BlockTest, CopyCountsFourByteElements) {
    const uint8_t src[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    uint8_t dst[8] = {0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE};
    ASSERT_EQ(pxCopy(src, dst, 1), PxStsOk);
    const uint8_t expected[8] = {1, 2, 3, 4, 0xEE, 0xEE, 0xEE, 0xEE};
    EXPECT_EQ(0, std::memcmp(dst, expected, 8));
}

TEST(BlockTest, CopyLineCountsBytes) {
    for (int offset = 0; offset < 16; ++offset) {
        std::array<uint8_t, 200> src, dst;
        for (int i = 0; i < 200; ++i) src[i] = static_cast<uint8_t>(i * 7 + 1);
        dst.fill(0xEE);
        ASSERT_EQ(pxCopyLine(src.data() + offset, dst.data() + 1, 150), PxStsOk);
        EXPECT_EQ(dst[0], 0xEE);
        for (int i = 0; i < 150; ++i) EXPECT_EQ(dst[1 + i], src[offset + i]);
        EXPECT_EQ(dst[151], 0xEE);
    }
}

// Pointers are checked before counts; a failure writes nothing.
TEST(BlockTest, Statuses) {
    uint8_t a[8] = {}, b[8] = {9, 9, 9, 9, 9, 9, 9, 9};
    struct Row {
        const char *what;
        PxStatus got;
        PxStatus expected;
    } rows[] = {
        {"zero null", pxZero(nullptr, 4), PxStsNullPtr},
        {"zero null, bad count", pxZero(nullptr, 0), PxStsNullPtr},
        {"zero count 0", pxZero(b, 0), PxStsBadSize},
        {"zero count -1", pxZero(b, -1), PxStsBadSize},
        {"copy null src", pxCopy(nullptr, b, 1), PxStsNullPtr},
        {"copy null dst", pxCopy(a, nullptr, 1), PxStsNullPtr},
        {"copy count 0", pxCopy(a, b, 0), PxStsBadSize},
        {"line null src", pxCopyLine(nullptr, b, 1), PxStsNullPtr},
        {"line null dst, count 0", pxCopyLine(a, nullptr, 0), PxStsNullPtr},
        {"line count -3", pxCopyLine(a, b, -3), PxStsBadSize},
    };
    for (const Row &row : rows) EXPECT_EQ(row.got, row.expected) << row.what;
    for (uint8_t v : b) EXPECT_EQ(v, 9);
}

}  // namespace
