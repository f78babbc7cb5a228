// Processor features and the choice of level, as plain functions of what the processor reports.
#pragma once

#include <cstdint>

#include "kestrix/px.h"

namespace px {

// Bits of the feature word (leaf 1 of cpuid, plus the operating system's AVX state).
enum : uint64_t {
    PxFeatMmx = 0x1,
    PxFeatSse = 0x2,
    PxFeatSse2 = 0x4,
    PxFeatSse3 = 0x8,
    PxFeatSsse3 = 0x10,
    PxFeatMovbe = 0x20,
    PxFeatSse41 = 0x40,
    PxFeatSse42 = 0x80,
    PxFeatAvx = 0x100,
    PxFeatAvxOs = 0x200,
    PxFeatAes = 0x400,
    PxFeatPclmul = 0x800,
};

// "qryleafx" read as a little-endian 64-bit word: asks pxGetFeatures for any leaf and subleaf.
constexpr uint64_t kQueryLeafTag = 0x786661656C797271ull;

// The switch that level 4 needs. Nothing in the library sets it, so level 4 is never chosen.
extern int32_t pxAvxEnabled;
// What the chosen level may use, and whether level 2 was chosen. Recorded, never read.
extern uint64_t pxFeatureMask;
extern int32_t pxLevel2Flag;

// The feature word from the registers of cpuid leaf 1. xcr0 is consulted only when ECX says that
// both AVX and OSXSAVE are there; readXcr0 is not called otherwise.
uint64_t featuresFromLeaf1(uint32_t ecx, uint32_t edx, uint64_t (*readXcr0)());

struct LevelChoice {
    int32_t level;
    uint64_t mask;
    int32_t level2Flag;
    PxStatus status;
};

// The choice of level from the feature word, whether the query worked, the vendor words of cpuid
// leaf 0 (EBX, EDX, ECX) and the AVX switch.
LevelChoice decideLevel(uint64_t features, bool queryOk, const uint32_t vendor[3], int32_t avxEnabled);

// Whether a processor with these features (and AVX2 from leaf 7, or not) can run a level's forms.
bool levelRunnable(int32_t level, uint64_t features, bool avx2);

// Whether this processor can run a level's forms.
bool processorRuns(int32_t level);

}  // namespace px
