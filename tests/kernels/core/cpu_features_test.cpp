// The feature word from the registers of leaf 1, and the query itself.
#include <gtest/gtest.h>

#include <cstdint>

#include "kernels/core/cpu_features.h"
#include "kestrix/px.h"

namespace {

int xcr0Reads = 0;
uint64_t xcr0Value = 0;
uint64_t fakeXcr0() {
    ++xcr0Reads;
    return xcr0Value;
}

struct LeafRow {
    const char *what;
    uint32_t ecx;
    uint32_t edx;
    uint64_t xcr0;
    uint64_t word;
    int reads;  // how often xcr0 may be read
};

constexpr uint32_t B(int n) { return 1u << n; }

const LeafRow kRows[] = {
    {"nothing", 0, 0, 0x7, 0x0, 0},
    {"MMX EDX 23", 0, B(23), 0x7, 0x1, 0},
    {"SSE EDX 25", 0, B(25), 0x7, 0x2, 0},
    {"SSE2 EDX 26", 0, B(26), 0x7, 0x4, 0},
    {"SSE3 ECX 0", B(0), 0, 0x7, 0x8, 0},
    {"SSSE3 ECX 9", B(9), 0, 0x7, 0x10, 0},
    {"MOVBE ECX 22", B(22), 0, 0x7, 0x20, 0},
    {"SSE4.1 ECX 19", B(19), 0, 0x7, 0x40, 0},
    {"SSE4.2 ECX 20", B(20), 0, 0x7, 0x80, 0},
    {"AVX ECX 28 without OSXSAVE: xcr0 unread", B(28), 0, 0x7, 0x100, 0},
    {"OSXSAVE ECX 27 without AVX: xcr0 unread", B(27), 0, 0x7, 0x0, 0},
    {"AVX and OSXSAVE, xcr0 SSE and AVX state", B(27) | B(28), 0, 0x7, 0x300, 1},
    {"AVX and OSXSAVE, xcr0 bits 1 and 2 only", B(27) | B(28), 0, 0x6, 0x300, 1},
    {"AVX and OSXSAVE, xcr0 without AVX state", B(27) | B(28), 0, 0x3, 0x100, 1},
    {"AVX and OSXSAVE, xcr0 without SSE state", B(27) | B(28), 0, 0x5, 0x100, 1},
    {"AES ECX 25", B(25), 0, 0x7, 0x400, 0},
    {"PCLMULQDQ ECX 1", B(1), 0, 0x7, 0x800, 0},
    {"other bits give nothing", ~(B(0) | B(1) | B(9) | B(19) | B(20) | B(22) | B(25) | B(27) | B(28)),
     ~(B(23) | B(25) | B(26)), 0x7, 0x0, 0},
    {"everything", 0xFFFFFFFFu, 0xFFFFFFFFu, 0xFFFFFFFFFFFFFFFFull, 0xFFF, 1},
};

TEST(CpuFeatures, WordFromLeaf1) {
    for (const LeafRow &row : kRows) {
        SCOPED_TRACE(row.what);
        xcr0Reads = 0;
        xcr0Value = row.xcr0;
        EXPECT_EQ(px::featuresFromLeaf1(row.ecx, row.edx, fakeXcr0), row.word);
        EXPECT_EQ(xcr0Reads, row.reads);
    }
}

TEST(CpuFeatures, NullWord) {
    uint32_t leaf[4] = {0xAAAAAAAAu, 0xAAAAAAAAu, 0xAAAAAAAAu, 0xAAAAAAAAu};
    EXPECT_EQ(pxGetFeatures(nullptr, leaf), PxStsNullPtr);
    for (uint32_t r : leaf) EXPECT_EQ(r, 0xAAAAAAAAu);
}

TEST(CpuFeatures, QueryTagSpellsQryleafx) {
    const char text[8] = {'q', 'r', 'y', 'l', 'e', 'a', 'f', 'x'};
    uint64_t word = 0;
    for (int i = 7; i >= 0; --i) word = (word << 8) | static_cast<uint8_t>(text[i]);
    EXPECT_EQ(word, px::kQueryLeafTag);
}

TEST(CpuFeatures, CachedAndConsistentWithLeaf1) {
    uint64_t first = 0x123;
    ASSERT_EQ(pxGetFeatures(&first, nullptr), PxStsOk);
    EXPECT_EQ(first & ~0xFFFull, 0u);  // bits above 11 are 0
    uint64_t second = 0;
    uint32_t leaf1[4] = {0, 0, 0, 0};
    ASSERT_EQ(pxGetFeatures(&second, leaf1), PxStsOk);
    EXPECT_EQ(second, first);
    // The registers of leaf 1 give the same bits; bit 9 also depends on xcr0, so leave it out.
    const uint64_t fromRegs = px::featuresFromLeaf1(leaf1[2], leaf1[3], [] { return uint64_t{0}; });
    EXPECT_EQ(fromRegs & ~0x200ull, first & ~0x200ull);
    // Every x86-64 processor has SSE2.
    EXPECT_EQ(first & 0x7, 0x7u);
}

TEST(CpuFeatures, QueryOfAnyLeaf) {
    uint64_t plain = 0;
    ASSERT_EQ(pxGetFeatures(&plain, nullptr), PxStsOk);
    uint64_t tagged = px::kQueryLeafTag;
    uint32_t leaf0[4] = {0, 0xBBBBBBBBu, 0, 0xBBBBBBBBu};
    ASSERT_EQ(pxGetFeatures(&tagged, leaf0), PxStsOk);
    EXPECT_EQ(tagged, plain);  // the word is filled as always
    EXPECT_GE(leaf0[0], 1u);   // the highest leaf
    EXPECT_NE(leaf0[1], 0xBBBBBBBBu);
    // Leaf 1 asked by tag gives the same registers as the ordinary query (EAX, the signature).
    uint32_t byTag[4] = {1, 0, 0, 0};
    tagged = px::kQueryLeafTag;
    ASSERT_EQ(pxGetFeatures(&tagged, byTag), PxStsOk);
    uint32_t ordinary[4] = {0, 0, 0, 0};
    uint64_t word = 0;
    ASSERT_EQ(pxGetFeatures(&word, ordinary), PxStsOk);
    EXPECT_EQ(byTag[0], ordinary[0]);
    EXPECT_EQ(byTag[2], ordinary[2]);
    // Without the tag, the words given in leafOut are not a leaf number.
    uint32_t notAsked[4] = {0, 0, 0, 0};
    uint64_t almost = px::kQueryLeafTag + 1;
    ASSERT_EQ(pxGetFeatures(&almost, notAsked), PxStsOk);
    EXPECT_EQ(notAsked[0], ordinary[0]);
}

}  // namespace
