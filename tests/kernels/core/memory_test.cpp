#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "kestrix/px.h"

namespace {

uintptr_t address(const void *p) { return reinterpret_cast<uintptr_t>(p); }
const void *storedBlock(const void *p) { return static_cast<const void *const *>(p)[-1]; }

TEST(MemoryTest, SizesBelowOneGiveNull) {
    EXPECT_EQ(pxAlloc(0), nullptr);
    EXPECT_EQ(pxAlloc(-5), nullptr);
    EXPECT_EQ(pxAlloc(INT32_MIN), nullptr);
    EXPECT_EQ(pxAllocBytes(0), nullptr);
    EXPECT_EQ(pxAlloc16(-1), nullptr);
    EXPECT_EQ(pxAlloc32(0), nullptr);
}

TEST(MemoryTest, ResultsAreAlignedWithTheBlockJustBefore) {
    // Many sizes, so that malloc hands out blocks at several alignments.
    std::vector<void *> kept;
    for (int32_t size = 1; size < 600; size += 7) {
        auto *p = static_cast<uint8_t *>(pxAlloc(size));
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(address(p) % 32, 0u) << size;
        // The aligned result lies 8 to 39 bytes past the block it came from: (block + 39) & ~31.
        const uintptr_t block = address(storedBlock(p));
        EXPECT_EQ(address(p), (block + 39) & ~uintptr_t{31}) << size;
        if (block % 16 == 0) {
            EXPECT_TRUE(address(p) - block == 16 || address(p) - block == 32) << size;
        }
        std::memset(p, 0xA5, static_cast<size_t>(size));  // the whole request is usable
        kept.push_back(p);
    }
    for (void *p : kept) pxFree(p);
}

TEST(MemoryTest, ElementWrappersAllocateWholeElements) {
    uint16_t *h = pxAlloc16(3);
    uint32_t *w = pxAlloc32(3);
    uint8_t *b = pxAllocBytes(3);
    ASSERT_NE(h, nullptr);
    ASSERT_NE(w, nullptr);
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(address(h) % 32, 0u);
    EXPECT_EQ(address(w) % 32, 0u);
    EXPECT_EQ(address(b) % 32, 0u);
    h[2] = 0xFFFF;
    w[2] = 0xFFFFFFFF;
    b[2] = 0xFF;
    pxFree(h);
    pxFree(w);
    pxFree(b);
}

TEST(MemoryTest, FreeOfNullDoesNothing) { pxFree(nullptr); }

}  // namespace
