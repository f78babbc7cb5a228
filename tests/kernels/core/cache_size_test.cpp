#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "kernels/core/cache_size.h"

namespace {

using px::CpuidAnswers;

constexpr uint32_t kIntel[3] = {0x756E6547, 0x49656E69, 0x6C65746E};  // "Genu" "ineI" "ntel"
constexpr uint32_t kAmd[3] = {0x68747541, 0x69746E65, 0x444D4163};    // "Auth" "enti" "cAMD"

CpuidAnswers answers(const uint32_t (&vendor)[3], uint32_t maxLeaf) {
    CpuidAnswers a;
    a.maxLeaf = maxLeaf;
    for (int i = 0; i < 3; ++i) a.vendor[i] = vendor[i];
    return a;
}

void setLeaf4(CpuidAnswers &a, int sub, uint32_t eax, uint32_t ebx, uint32_t ecx) {
    a.leaf4[sub][0] = eax;
    a.leaf4[sub][1] = ebx;
    a.leaf4[sub][2] = ecx;
}

// A desktop processor of recent years: 32 KB L1d, 32 KB L1i, 256 KB L2, 8 MB L3.
CpuidAnswers leaf4Processor() {
    CpuidAnswers a = answers(kIntel, 0x16);
    setLeaf4(a, 0, 0x1C004121, 0x01C0003F, 0x0000003F);  // L1d: 8 ways * 64 B * 64 sets
    setLeaf4(a, 1, 0x1C004122, 0x01C0003F, 0x0000003F);  // L1i
    setLeaf4(a, 2, 0x1C004143, 0x00C0003F, 0x000003FF);  // L2: 4 * 64 * 1024
    setLeaf4(a, 3, 0x1C03C163, 0x03C0003F, 0x00001FFF);  // L3: 16 * 64 * 8192
    return a;
}

struct Case {
    const char *what;
    CpuidAnswers answers;
    PxStatus status;
    int32_t size;
};

std::vector<Case> cases() {
    std::vector<Case> rows;
    rows.push_back({"leaf 4: the L3 is the largest", leaf4Processor(), PxStsOk, 8388608});
    {
        // An instruction cache bigger than all else is skipped: the L2 of 256 KB is the answer.
        CpuidAnswers a = leaf4Processor();
        setLeaf4(a, 1, 0x1C004122, 0x03C0003F, 0x0000FFFF);
        setLeaf4(a, 3, 0, 0, 0);
        rows.push_back({"leaf 4: instruction cache skipped", a, PxStsOk, 262144});
    }
    {
        // The walk ends at the first subleaf of type 0; what follows it is not looked at.
        CpuidAnswers a = leaf4Processor();
        setLeaf4(a, 2, 0, 0, 0);
        rows.push_back({"leaf 4: ends at type 0", a, PxStsOk, 32768});
    }
    {
        // Ways 2, partitions 2, line 2, sets 2 of a unified cache: 2 * 2 * 2 * 2.
        CpuidAnswers a = answers(kIntel, 4);
        setLeaf4(a, 0, 0x00000003, (1u << 22) | (1u << 12) | 1u, 1);
        rows.push_back({"leaf 4: every field counts", a, PxStsOk, 16});
    }
    rows.push_back({"leaf 4: no cache reported", answers(kIntel, 0x0B), PxStsNoCacheInfo, 0});
    {
        // A processor of the late 1990s with maximum leaf 2: descriptor 0x43 in EDX, 512 KB L2.
        CpuidAnswers a = answers(kIntel, 2);
        a.leaf2[0] = 0x03020101;
        a.leaf2[3] = 0x0C040843;
        rows.push_back({"leaf 2: 0x43", a, PxStsOk, 524288});
    }
    {
        // Its successor with the serial-number leaf (maximum 3): descriptor 0x82, 256 KB, from the
        // rows below 512 KB.
        CpuidAnswers a = answers(kIntel, 3);
        a.leaf2[0] = 0x03020101;
        a.leaf2[3] = 0x0C040882;
        rows.push_back({"leaf 2: 0x82", a, PxStsOk, 262144});
    }
    {
        // 0x41 (128 KB) before 0x25 (2 MB) in the registers: the larger row wins.
        CpuidAnswers a = answers(kIntel, 2);
        a.leaf2[0] = 0x00004101;
        a.leaf2[1] = 0x00000025;
        rows.push_back({"leaf 2: largest row first", a, PxStsOk, 2097152});
    }
    {
        CpuidAnswers a = answers(kIntel, 2);
        a.leaf2[0] = 0x00000001;
        a.leaf2[1] = 0x000000EC;
        rows.push_back({"leaf 2: 0xEC is 24 MB", a, PxStsOk, 25165824});
    }
    {
        // A register with bit 31 set holds no descriptors.
        CpuidAnswers a = answers(kIntel, 2);
        a.leaf2[0] = 0x03020101;
        a.leaf2[3] = 0x8C040843;
        rows.push_back({"leaf 2: bit 31 drops the register", a, PxStsNoCacheInfo, 0});
    }
    {
        // The low byte of EAX is the repeat count, not a descriptor.
        CpuidAnswers a = answers(kIntel, 2);
        a.leaf2[0] = 0x00000043;
        rows.push_back({"leaf 2: low byte of EAX", a, PxStsNoCacheInfo, 0});
    }
    {
        CpuidAnswers a = leaf4Processor();
        for (int i = 0; i < 3; ++i) a.vendor[i] = kAmd[i];
        rows.push_back({"foreign vendor", a, PxStsNoCpuInfo, 0});
    }
    rows.push_back({"maximum leaf 1", answers(kIntel, 1), PxStsNoCpuInfo, 0});
    return rows;
}

TEST(CacheSizeTest, RecordedProcessors) {
    for (const Case &c : cases()) {
        const px::CacheAnswer got = px::cacheSizeFrom(c.answers);
        EXPECT_EQ(got.status, c.status) << c.what;
        EXPECT_EQ(got.size, c.size) << c.what;
    }
}

int queries = 0;
CpuidAnswers countedLeaf4() {
    ++queries;
    return leaf4Processor();
}
CpuidAnswers countedForeign() {
    ++queries;
    return answers(kAmd, 0x10);
}

TEST(CacheSizeTest, AskedOnceAndKept) {
    px::CacheState state;
    queries = 0;
    EXPECT_EQ(px::cacheSizeOnce(nullptr, state, countedLeaf4), PxStsNullPtr);
    EXPECT_EQ(queries, 0);
    for (int call = 0; call < 3; ++call) {
        int32_t size = -1;
        EXPECT_EQ(px::cacheSizeOnce(&size, state, countedLeaf4), PxStsOk);
        EXPECT_EQ(size, 8388608);
    }
    EXPECT_EQ(queries, 1);
}

TEST(CacheSizeTest, FailureIsKeptToo) {
    px::CacheState state;
    queries = 0;
    for (int call = 0; call < 3; ++call) {
        int32_t size = -1;
        EXPECT_EQ(px::cacheSizeOnce(&size, state, countedForeign), PxStsNoCpuInfo);
        EXPECT_EQ(size, 0);
    }
    EXPECT_EQ(queries, 1);
}

TEST(CacheSizeTest, LiveQueryAnswersTheSameTwice) {
    EXPECT_EQ(pxCacheSize(nullptr), PxStsNullPtr);
    int32_t first = -1, second = -1;
    const PxStatus status = pxCacheSize(&first);
    EXPECT_TRUE(status == PxStsOk || status == PxStsNoCpuInfo || status == PxStsNoCacheInfo) << status;
    EXPECT_EQ(pxCacheSize(&second), status);
    EXPECT_EQ(first, second);
    if (status == PxStsOk) {
        EXPECT_GT(first, 0);
    }
}

}  // namespace
