// The choice of level as a function of the feature word, the vendor words and the AVX switch.
#include <gtest/gtest.h>

#include <cstdint>

#include "kernels/core/cpu_features.h"
#include "kestrix/px.h"

namespace {

constexpr uint32_t kIntel[3] = {0x756E6547u, 0x49656E69u, 0x6C65746Eu};  // "Genu" "ineI" "ntel"
constexpr uint32_t kOther[3] = {0x68747541u, 0x69746E65u, 0x444D4163u};  // "Auth" "enti" "cAMD"
// The right words in the order EBX, ECX, EDX instead of EBX, EDX, ECX.
constexpr uint32_t kSwapped[3] = {0x756E6547u, 0x6C65746Eu, 0x49656E69u};

struct ChoiceRow {
    const char *what;
    uint64_t features;
    bool queryOk;
    const uint32_t *vendor;
    int32_t avxEnabled;
    int32_t level;
    uint64_t mask;
    int32_t flag;
    PxStatus status;
};

const ChoiceRow kRows[] = {
    {"SSE2 only", 0x7, true, kIntel, 0, 0, 0x7, 0, PxStsOk},
    {"nothing at all", 0x0, true, kIntel, 0, 0, 0x0, 0, PxStsOk},
    {"SSE3 without SSSE3", 0xF, true, kIntel, 0, 0, 0x7, 0, PxStsOk},
    {"SSSE3, no MOVBE, no SSE4.1", 0x1F, true, kIntel, 0, 1, 0x1F, 0, PxStsOk},
    {"SSSE3 alone keeps only bit 4 and below", 0x91F, true, kIntel, 0, 1, 0x1F, 0, PxStsOk},
    {"SSSE3 and MOVBE, no SSE4.1", 0x3F, true, kIntel, 0, 2, 0x3F, 1, PxStsOk},
    {"SSSE3, MOVBE, AES, CLMUL", 0xC3F, true, kIntel, 0, 2, 0x3F, 1, PxStsOk},
    {"SSE4.1 with MOVBE: step 3 first, MOVBE masked out", 0x7F, true, kIntel, 0, 3, 0x5F, 0, PxStsOk},
    {"SSE4.1 with nothing below it", 0x40, true, kIntel, 0, 3, 0x40, 0, PxStsOk},
    {"MOVBE without SSSE3", 0x2F, true, kIntel, 0, 0, 0x7, 0, PxStsOk},
    {"AVX with OS support, switch off", 0xFFF, true, kIntel, 0, 3, 0xCDF, 0, PxStsOk},
    {"AVX without OS support", 0xDFF, true, kIntel, 0, 3, 0xCDF, 0, PxStsOk},
    {"AVX with OS support, switch on", 0xFFF, true, kIntel, 1, 4, 0xFDF, 0, PxStsOk},
    {"switch on, any non-zero value", 0x3FF, true, kIntel, -7, 4, 0x3DF, 0, PxStsOk},
    {"switch on, no OS support", 0xDFF, true, kIntel, 1, 3, 0xCDF, 0, PxStsOk},
    {"switch on, OS bit without AVX", 0xEFF, true, kIntel, 1, 3, 0xCDF, 0, PxStsOk},
    {"failed query ignores the word", 0xFFF, false, kIntel, 1, 0, 0x7, 0, PxStsOk},
    {"failed query, other vendor", 0xFFF, false, kOther, 0, 0, 0x7, 0, PxStsNotVendor},
    {"other vendor keeps level 3, status 20", 0xFFF, true, kOther, 0, 3, 0xCDF, 0, 20},
    {"other vendor keeps level 2", 0x3F, true, kOther, 0, 2, 0x3F, 1, PxStsNotVendor},
    {"other vendor keeps level 0", 0x7, true, kOther, 0, 0, 0x7, 0, PxStsNotVendor},
    {"vendor words out of order", 0x1F, true, kSwapped, 0, 1, 0x1F, 0, PxStsNotVendor},
};

TEST(LevelChoice, EveryRow) {
    for (const ChoiceRow &row : kRows) {
        SCOPED_TRACE(row.what);
        const px::LevelChoice c = px::decideLevel(row.features, row.queryOk, row.vendor, row.avxEnabled);
        EXPECT_EQ(c.level, row.level);
        EXPECT_EQ(c.mask, row.mask);
        EXPECT_EQ(c.level2Flag, row.flag);
        EXPECT_EQ(c.status, row.status);
    }
}

struct RunnableRow {
    const char *what;
    int32_t level;
    uint64_t features;
    bool avx2;
    bool runs;
};

const RunnableRow kRunnable[] = {
    {"level 0 runs anywhere", 0, 0x0, false, true},
    {"level 1 needs SSSE3", 1, 0xF, false, false},
    {"level 1 with SSSE3", 1, 0x1F, false, true},
    {"level 2 needs no MOVBE to be forced", 2, 0x1F, false, true},
    {"level 2 without SSSE3", 2, 0x2F, false, false},
    {"level 3 needs SSE4.1", 3, 0x3F, false, false},
    {"level 3 with SSE4.1", 3, 0x5F, false, true},
    {"level 4 needs AVX2", 4, 0xFFF, false, false},
    {"level 4 needs the OS to save AVX", 4, 0xDFF, true, false},
    {"level 4 with AVX, OS support and AVX2", 4, 0xFFF, true, true},
    {"below 0", -1, 0xFFF, true, false},
    {"above 4", 5, 0xFFF, true, false},
};

TEST(LevelChoice, Runnable) {
    for (const RunnableRow &row : kRunnable) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(px::levelRunnable(row.level, row.features, row.avx2), row.runs);
    }
}

// The AVX switch is never set by the library, so the chosen level is never 4.
TEST(LevelChoice, ChooseOnThisProcessor) {
    const int32_t before = pxGetLevel();
    const PxStatus status = pxChooseLevel();
    EXPECT_TRUE(status == PxStsOk || status == PxStsNotVendor);
    EXPECT_EQ(px::pxAvxEnabled, 0);

    uint64_t features = 0;
    ASSERT_EQ(pxGetFeatures(&features, nullptr), PxStsOk);
    uint32_t leaf0[4] = {0, 0, 0, 0};
    uint64_t tag = px::kQueryLeafTag;
    ASSERT_EQ(pxGetFeatures(&tag, leaf0), PxStsOk);
    const uint32_t vendor[3] = {leaf0[1], leaf0[3], leaf0[2]};
    const px::LevelChoice expected = px::decideLevel(features, true, vendor, 0);
    EXPECT_EQ(pxGetLevel(), expected.level);
    EXPECT_EQ(px::pxFeatureMask, expected.mask);
    EXPECT_EQ(px::pxLevel2Flag, expected.level2Flag);
    EXPECT_EQ(status, expected.status);
    EXPECT_NE(pxGetLevel(), 4);
    pxSetLevel(before);
}

// What the processor can run, asked independently of the library's own helper.
bool canRun(int32_t level) {
    uint64_t features = 0;
    if (pxGetFeatures(&features, nullptr) != PxStsOk) return level == 0;
    uint32_t regs[4] = {0, 0, 0, 0};
    uint64_t tag = px::kQueryLeafTag;
    pxGetFeatures(&tag, regs);
    bool avx2 = false;
    if (regs[0] >= 7) {
        uint32_t leaf7[4] = {7, 0, 0, 0};
        tag = px::kQueryLeafTag;
        pxGetFeatures(&tag, leaf7);
        avx2 = (leaf7[1] >> 5) & 1;
    }
    switch (level) {
        case 0: return true;
        case 1:
        case 2: return (features & 0x10) != 0;
        case 3: return (features & 0x50) == 0x50;
        case 4: return (features & 0x350) == 0x350 && avx2;
        default: return false;
    }
}

TEST(SetLevel, OutOfRangeLeavesTheLevel) {
    const int32_t before = pxGetLevel();
    for (int32_t bad : {-1, 5, 6, -2147483647 - 1, 2147483647}) {
        EXPECT_EQ(pxSetLevel(bad), PxStsBadSize) << bad;
        EXPECT_EQ(pxGetLevel(), before) << bad;
    }
}

TEST(SetLevel, EachLevelThisProcessorRuns) {
    const int32_t before = pxGetLevel();
    for (int32_t level = 0; level <= 4; ++level) {
        ASSERT_EQ(pxSetLevel(0), PxStsOk);
        if (canRun(level)) {
            EXPECT_EQ(pxSetLevel(level), PxStsOk) << level;
            EXPECT_EQ(pxGetLevel(), level);
        } else {
            EXPECT_EQ(pxSetLevel(level), PxStsBadSize) << level;
            EXPECT_EQ(pxGetLevel(), 0);
        }
    }
    pxSetLevel(before);
}

}  // namespace
