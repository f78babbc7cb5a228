// Scratch memory, block fill and copy, and the cache size from recorded cpuid answers.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

#include "kernels/core/cache_size.h"
#include "kestrix/px.h"

namespace {

uintptr_t address(const void *p) { return reinterpret_cast<uintptr_t>(p); }

TEST(Memory, Alloc) {
    for (int32_t bad : {0, -5, INT32_MIN}) EXPECT_EQ(pxAlloc(bad), nullptr) << bad;
    EXPECT_EQ(pxAllocBytes(0), nullptr);
    EXPECT_EQ(pxAlloc16(-1), nullptr);
    EXPECT_EQ(pxAlloc32(0), nullptr);
    pxFree(nullptr);
    // Many sizes, so that malloc hands out blocks at several alignments.
    std::vector<void *> kept;
    for (int32_t size = 1; size < 600; size += 7) {
        auto *p = static_cast<uint8_t *>(pxAlloc(size));
        ASSERT_NE(p, nullptr);
        const uintptr_t block = address(static_cast<void **>(static_cast<void *>(p))[-1]);
        EXPECT_EQ(address(p) % 32, 0u) << size;
        EXPECT_EQ(address(p), (block + 39) & ~uintptr_t{31}) << size;  // 8 to 39 bytes past the block
        std::memset(p, 0xA5, static_cast<size_t>(size));
        kept.push_back(p);
    }
    for (void *p : kept) pxFree(p);
    // Whole elements of 2 and 4 bytes: under ASan a short block shows at the last one.
    uint16_t *h = pxAlloc16(3);
    uint32_t *w = pxAlloc32(3);
    ASSERT_TRUE(h && w);
    EXPECT_EQ((address(h) | address(w)) % 32, 0u);
    h[2] = 0xFFFF;
    w[2] = 0xFFFFFFFF;
    pxFree(h);
    pxFree(w);
}

TEST(Blocks, BytesWritten) {
    for (int offset = 0; offset < 32; ++offset) {  // one byte at every alignment
        alignas(32) std::array<uint8_t, 64> buffer;
        buffer.fill(0xEE);
        ASSERT_EQ(pxZero(buffer.data() + offset, 1), PxStsOk);
        for (int i = 0; i < 64; ++i) ASSERT_EQ(buffer[i], i == offset ? 0 : 0xEE) << offset << " " << i;
    }
    const uint8_t four[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    uint8_t out[8] = {0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE};
    ASSERT_EQ(pxCopy(four, out, 1), PxStsOk);  // a count of 1 is four bytes
    const uint8_t expected[8] = {1, 2, 3, 4, 0xEE, 0xEE, 0xEE, 0xEE};
    EXPECT_EQ(0, std::memcmp(out, expected, 8));
    std::array<uint8_t, 200> src, dst;
    for (int i = 0; i < 200; ++i) src[i] = static_cast<uint8_t>(i * 7 + 1);
    for (int offset = 0; offset < 16; ++offset) {  // pxCopyLine counts bytes
        dst.fill(0xEE);
        ASSERT_EQ(pxCopyLine(src.data() + offset, dst.data() + 1, 150), PxStsOk);
        for (int i = 0; i < 200; ++i) ASSERT_EQ(dst[i], i >= 1 && i <= 150 ? src[offset + i - 1] : 0xEE) << i;
    }
}

// Pointers are checked before counts; a failure writes nothing.
TEST(Blocks, Statuses) {
    uint8_t a[8] = {}, b[8] = {9, 9, 9, 9, 9, 9, 9, 9};
    EXPECT_EQ(pxZero(nullptr, 0), PxStsNullPtr);
    EXPECT_EQ(pxZero(b, 0), PxStsBadSize);
    EXPECT_EQ(pxZero(b, -1), PxStsBadSize);
    EXPECT_EQ(pxCopy(nullptr, b, 1), PxStsNullPtr);
    EXPECT_EQ(pxCopy(a, nullptr, 1), PxStsNullPtr);
    EXPECT_EQ(pxCopy(a, b, 0), PxStsBadSize);
    EXPECT_EQ(pxCopyLine(nullptr, b, 1), PxStsNullPtr);
    EXPECT_EQ(pxCopyLine(a, nullptr, 0), PxStsNullPtr);
    EXPECT_EQ(pxCopyLine(a, b, -3), PxStsBadSize);
    for (uint8_t v : b) EXPECT_EQ(v, 9);
}

using Leaf4 = std::array<uint32_t, 3>;  // EAX, EBX, ECX of one subleaf
// A desktop processor: 32 KB L1d (8 ways * 64 B * 64 sets), L1i, 256 KB L2, 8 MB L3 (16 * 64 * 8192).
const Leaf4 kL1d{0x1C004121, 0x01C0003F, 0x3F}, kL1i{0x1C004122, 0x01C0003F, 0x3F},
    kL2{0x1C004143, 0x00C0003F, 0x3FF}, kL3{0x1C03C163, 0x03C0003F, 0x1FFF}, kEnd{0, 0, 0};

px::CpuidAnswers answers(uint32_t maxLeaf, std::vector<Leaf4> leaf4 = {}, std::array<uint32_t, 4> leaf2 = {},
                         bool intel = true) {
    px::CpuidAnswers a;
    const uint32_t intelWords[3] = {0x756E6547, 0x49656E69, 0x6C65746E}, amd[3] = {0x68747541, 0x69746E65, 0x444D4163};
    for (int i = 0; i < 3; ++i) a.vendor[i] = intel ? intelWords[i] : amd[i];
    a.maxLeaf = maxLeaf;
    for (size_t s = 0; s < leaf4.size(); ++s) std::copy(leaf4[s].begin(), leaf4[s].end(), a.leaf4[s]);
    std::copy(leaf2.begin(), leaf2.end(), a.leaf2);
    return a;
}

TEST(CacheSize, RecordedProcessors) {
    const Leaf4 bigL1i{0x1C004122, 0x03C0003F, 0xFFFF};
    const struct { const char *what; px::CpuidAnswers a; PxStatus status; int32_t size; } rows[] = {
        {"leaf 4: the L3", answers(0x16, {kL1d, kL1i, kL2, kL3}), PxStsOk, 8388608},
        {"leaf 4: instruction cache skipped", answers(0x16, {kL1d, bigL1i, kL2}), PxStsOk, 262144},
        {"leaf 4: ends at type 0", answers(0x16, {kL1d, kL1i, kEnd, kL3}), PxStsOk, 32768},
        {"leaf 4: no cache", answers(0x0B), PxStsNoCacheInfo, 0},
        {"leaf 2: 0x43 in EDX, 512 KB", answers(2, {}, {0x03020101, 0, 0, 0x0C040843}), PxStsOk, 524288},
        {"leaf 2: 0x82, a row below 512 KB", answers(3, {}, {0x03020101, 0, 0, 0x0C040882}), PxStsOk, 262144},
        {"leaf 2: 0x41 before 0x25, the larger row wins", answers(2, {}, {0x4101, 0x25}), PxStsOk, 2097152},
        {"leaf 2: 0xEC is 24 MB", answers(2, {}, {0x01, 0xEC}), PxStsOk, 25165824},
        {"leaf 2: bit 31 drops the register", answers(2, {}, {0x03020101, 0, 0, 0x8C040843}), PxStsNoCacheInfo, 0},
        {"leaf 2: low byte of EAX is no descriptor", answers(2, {}, {0x43}), PxStsNoCacheInfo, 0},
        {"other vendor", answers(0x16, {kL1d, kL1i, kL2, kL3}, {}, false), PxStsNoCpuInfo, 0},
        {"maximum leaf 1", answers(1), PxStsNoCpuInfo, 0},
    };
    for (const auto &row : rows) {
        const px::CacheAnswer got = px::cacheSizeFrom(row.a);
        EXPECT_EQ(got.status, row.status) << row.what;
        EXPECT_EQ(got.size, row.size) << row.what;
    }
}

int queries = 0;

// The query runs once, and a failure is kept as well.
TEST(CacheSize, AskedOnceAndKept) {
    px::CpuidAnswers (*const sources[2])() = {[] { ++queries; return answers(0x16, {kL1d, kL1i, kL2, kL3}); },
                                              [] { ++queries; return answers(0x16, {}, {}, false); }};
    for (int s = 0; s < 2; ++s) {
        px::CacheState state;
        queries = 0;
        EXPECT_EQ(px::cacheSizeOnce(nullptr, state, sources[s]), PxStsNullPtr);
        for (int call = 0; call < 3; ++call) {
            int32_t size = -1;
            EXPECT_EQ(px::cacheSizeOnce(&size, state, sources[s]), s == 0 ? PxStsOk : PxStsNoCpuInfo);
            EXPECT_EQ(size, s == 0 ? 8388608 : 0);
        }
        EXPECT_EQ(queries, 1);
    }
    EXPECT_EQ(pxCacheSize(nullptr), PxStsNullPtr);
}

}  // namespace
