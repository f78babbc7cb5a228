// Processor levels: the feature word, the choice of level, pxSetLevel, and pxCopyC1 at every level.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "kernels/core/cpu_features.h"
#include "level_scope.h"
#include "kestrix/px.h"

namespace {

constexpr uint32_t kIntel[3] = {0x756E6547u, 0x49656E69u, 0x6C65746Eu};    // "Genu" "ineI" "ntel"
constexpr uint32_t kAmd[3] = {0x68747541u, 0x69746E65u, 0x444D4163u};      // "Auth" "enti" "cAMD"
constexpr uint32_t kSwapped[3] = {0x756E6547u, 0x6C65746Eu, 0x49656E69u};  // ECX before EDX

int xcr0Reads = 0;
uint64_t xcr0Value = 0;
uint64_t fakeXcr0() { ++xcr0Reads; return xcr0Value; }

TEST(CpuFeatures, WordFromLeaf1) {
    // One bit each: {in ECX (1) or EDX (0), register bit, word bit}.
    const int bits[][3] = {{0, 23, 0}, {0, 25, 1}, {0, 26, 2}, {1, 0, 3}, {1, 9, 4}, {1, 22, 5},
                           {1, 19, 6}, {1, 20, 7}, {1, 28, 8}, {1, 25, 10}, {1, 1, 11}};
    for (const auto &b : bits) {
        const uint32_t r = 1u << b[1];
        EXPECT_EQ(px::featuresFromLeaf1(b[0] ? r : 0, b[0] ? 0 : r, fakeXcr0), 1ull << b[2]) << b[1];
    }
    const uint32_t avxOs = (1u << 27) | (1u << 28);
    const struct { uint32_t ecx, edx; uint64_t xcr0, word; int reads; } rows[] = {
        {1u << 27, 0, 0x7, 0x0, 0},    // OSXSAVE without AVX: xcr0 is not read
        {avxOs, 0, 0x6, 0x300, 1},     // xcr0 bits 1 and 2 give bit 9
        {avxOs, 0, 0x3, 0x100, 1},     // no AVX state
        {avxOs, 0, 0x5, 0x100, 1},     // no SSE state
        {~(avxOs | 0x02580203u), ~0x06800000u, 0x7, 0x0, 0},  // every other bit gives nothing
        {~0u, ~0u, ~0ull, 0xFFF, 1},
    };
    for (const auto &row : rows) {
        xcr0Reads = 0;
        xcr0Value = row.xcr0;
        EXPECT_EQ(px::featuresFromLeaf1(row.ecx, row.edx, fakeXcr0), row.word) << std::hex << row.ecx;
        EXPECT_EQ(xcr0Reads, row.reads) << std::hex << row.ecx;
    }
}

TEST(CpuFeatures, Query) {
    uint32_t leaf[4] = {0xAAAAAAAAu, 0xAAAAAAAAu, 0xAAAAAAAAu, 0xAAAAAAAAu};
    EXPECT_EQ(pxGetFeatures(nullptr, leaf), PxStsNullPtr);
    for (uint32_t r : leaf) EXPECT_EQ(r, 0xAAAAAAAAu);
    EXPECT_EQ(0, std::memcmp(&px::kQueryLeafTag, "qryleafx", 8));
    uint64_t word = 0x123, again = 0, tag = px::kQueryLeafTag;
    uint32_t leaf1[4] = {}, byTag[4] = {1, 0, 0, 0};
    ASSERT_EQ(pxGetFeatures(&word, nullptr), PxStsOk);
    ASSERT_EQ(pxGetFeatures(&again, leaf1), PxStsOk);
    ASSERT_EQ(pxGetFeatures(&tag, byTag), PxStsOk);
    EXPECT_EQ(again, word);
    EXPECT_EQ(tag, word);  // the word is filled as always
    EXPECT_EQ(word & ~0xFFFull, 0u);
    EXPECT_EQ(word & 0x7, 0x7u);  // every x86-64 processor has SSE2
    EXPECT_EQ(byTag[0], leaf1[0]);
    EXPECT_EQ(byTag[2], leaf1[2]);
}

TEST(LevelChoice, EveryRow) {
    const struct { const char *what; uint64_t features; bool queryOk; const uint32_t *vendor; int32_t avx, level;
                   uint64_t mask; int32_t flag; PxStatus status; } rows[] = {
        {"SSE2 only", 0x7, true, kIntel, 0, 0, 0x7, 0, PxStsOk},
        {"SSSE3, no MOVBE or SSE4.1", 0x91F, true, kIntel, 0, 1, 0x1F, 0, PxStsOk},
        {"SSSE3 and MOVBE", 0xC3F, true, kIntel, 0, 2, 0x3F, 1, PxStsOk},
        {"SSE4.1 and MOVBE: step 3 first", 0x7F, true, kIntel, 0, 3, 0x5F, 0, PxStsOk},
        {"SSE4.1 alone", 0x40, true, kIntel, 0, 3, 0x40, 0, PxStsOk},
        {"MOVBE without SSSE3", 0x2F, true, kIntel, 0, 0, 0x7, 0, PxStsOk},
        {"AVX with OS support, switch off", 0xFFF, true, kIntel, 0, 3, 0xCDF, 0, PxStsOk},
        {"AVX without OS support", 0xDFF, true, kIntel, 0, 3, 0xCDF, 0, PxStsOk},
        {"AVX with OS support, switch on", 0xFFF, true, kIntel, -7, 4, 0xFDF, 0, PxStsOk},
        {"switch on, no OS support", 0xDFF, true, kIntel, 1, 3, 0xCDF, 0, PxStsOk},
        {"failed query ignores the word", 0xFFF, false, kIntel, 1, 0, 0x7, 0, PxStsOk},
        {"failed query, other vendor", 0xFFF, false, kAmd, 0, 0, 0x7, 0, PxStsNotVendor},
        {"other vendor keeps its level, status 20", 0x3F, true, kAmd, 0, 2, 0x3F, 1, 20},
        {"vendor words out of order", 0x1F, true, kSwapped, 0, 1, 0x1F, 0, PxStsNotVendor},
    };
    for (const auto &row : rows) {
        const px::LevelChoice c = px::decideLevel(row.features, row.queryOk, row.vendor, row.avx);
        EXPECT_EQ(c.level, row.level) << row.what;
        EXPECT_EQ(c.mask, row.mask) << row.what;
        EXPECT_EQ(c.level2Flag, row.flag) << row.what;
        EXPECT_EQ(c.status, row.status) << row.what;
    }
}

TEST(LevelChoice, Runnable) {
    const struct { int32_t level; uint64_t features; bool avx2, runs; } rows[] = {
        {0, 0x0, false, true},  {1, 0xF, false, false}, {2, 0x1F, false, true},  // level 2 needs no MOVBE
        {3, 0x3F, false, false}, {3, 0x5F, false, true}, {4, 0xFFF, false, false},
        {4, 0xDFF, true, false},  // no OS support for AVX
        {4, 0xFFF, true, true},  {-1, 0xFFF, true, false}, {5, 0xFFF, true, false},
    };
    for (const auto &row : rows)
        EXPECT_EQ(px::levelRunnable(row.level, row.features, row.avx2), row.runs) << row.level << " " << row.features;
}

// On this processor: decideLevel's choice with the switch off (never 4), and pxSetLevel takes
// exactly the levels the processor runs, leaving the level alone otherwise.
TEST(LevelChoice, ThisProcessor) {
    const kx::test::LevelScope scope;
    const PxStatus status = pxChooseLevel();
    uint64_t features = 0, tag = px::kQueryLeafTag;
    uint32_t leaf0[4] = {};
    ASSERT_EQ(pxGetFeatures(&features, nullptr), PxStsOk);
    ASSERT_EQ(pxGetFeatures(&tag, leaf0), PxStsOk);
    const uint32_t vendor[3] = {leaf0[1], leaf0[3], leaf0[2]};
    const px::LevelChoice expected = px::decideLevel(features, true, vendor, 0);
    EXPECT_EQ(px::pxAvxEnabled, 0);
    EXPECT_EQ(pxGetLevel(), expected.level);
    EXPECT_EQ(px::pxFeatureMask, expected.mask);
    EXPECT_EQ(px::pxLevel2Flag, expected.level2Flag);
    EXPECT_EQ(status, expected.status);
    EXPECT_NE(pxGetLevel(), 4);
    for (int32_t level : {0, 1, 2, 3, 4, -1, 5, INT32_MIN}) {
        ASSERT_EQ(pxSetLevel(0), PxStsOk);
        const bool runs = px::processorRuns(level);
        EXPECT_EQ(pxSetLevel(level), runs ? PxStsOk : PxStsBadSize) << level;
        EXPECT_EQ(pxGetLevel(), runs ? level : 0) << level;
    }
}

// Every level the processor runs: a row-by-row copy, nothing around it touched, the same checks.
TEST(CopyC1, EveryLevel) {
    std::vector<int32_t> widths = {95, 96, 97, 127, 128, 129, 352, 721};
    for (int32_t w = 1; w <= 67; ++w) widths.push_back(w);
    kx::test::forEachLevel(0, [&](int32_t level) {
        for (int32_t w : widths)
            for (int32_t pad : {0, 5}) {
                const int32_t h = 3, srcStep = w + pad, dstStep = w + 2 * pad;
                std::vector<uint8_t> src(size_t(srcStep) * (h - 1) + w);  // ends at the last pixel
                for (size_t i = 0; i < src.size(); ++i) src[i] = uint8_t(i * 7 + w);
                std::vector<uint8_t> dst(80 + dstStep * h, 0xA5), expected = dst;  // 40 sentinels each side
                for (int32_t y = 0; y < h; ++y) std::memcpy(&expected[40 + y * dstStep], &src[y * srcStep], w);
                ASSERT_EQ(pxCopyC1(src.data(), srcStep, dst.data() + 40, dstStep, PxSize{w, h}), PxStsOk);
                ASSERT_EQ(dst, expected) << "level " << level << " width " << w << " pad " << pad;
            }
        const struct { int null; PxSize size; PxStatus status; } rows[] = {
            {1, {4, 4}, PxStsNullPtr}, {2, {4, 4}, PxStsNullPtr}, {1, {0, 0}, PxStsNullPtr},  // pointers first
            {0, {0, 4}, PxStsBadSize}, {0, {4, -3}, PxStsBadSize}, {0, {1, 1}, PxStsOk}};
        for (const auto &row : rows) {
            const uint8_t src[16] = {9};
            uint8_t dst[16];
            std::memset(dst, 0xA5, sizeof dst);
            EXPECT_EQ(pxCopyC1(row.null == 1 ? nullptr : src, 4, row.null == 2 ? nullptr : dst, 4, row.size),
                      row.status);
            for (int i = 0; i < 16; ++i) EXPECT_EQ(dst[i], i == 0 && row.status == PxStsOk ? 9 : 0xA5) << i;
        }
    });
}

}  // namespace
