#include "kernels/core/cpu_features.h"

#include <atomic>

#include "kernels/core/level.h"

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#define PX_HAS_CPUID 1
#else
#define PX_HAS_CPUID 0
#endif

namespace px {

int32_t pxAvxEnabled = 0;
uint64_t pxFeatureMask = 0;
int32_t pxLevel2Flag = 0;

namespace {

// The feature cache: the word, and a marker that stays 0 until a query has filled it. Threads
// that fill it at once store the same word; the marker is set after it and read before it.
std::atomic<uint64_t> cachedFeatures{0};
std::atomic<int32_t> cachedFeaturesValid{0};

// Answers yes for every code but 70, which is the AVX switch.
int32_t featureAllowed(int32_t code) { return code == 70 ? pxAvxEnabled : 1; }

// The three vendor words of "GenuineIntel", in the register order EBX, EDX, ECX.
constexpr uint32_t kVendor[3] = {0x756E6547u, 0x49656E69u, 0x6C65746Eu};

#if PX_HAS_CPUID
uint64_t readXcr0Register() {
    uint32_t lo = 0, hi = 0;
    // Inline: the _xgetbv intrinsic needs -mxsave, and this file runs on every processor.
    __asm__ volatile("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
    return (static_cast<uint64_t>(hi) << 32) | lo;
}

bool cpuidUsable() { return __get_cpuid_max(0, nullptr) >= 1; }

void runCpuid(uint32_t leaf, uint32_t subleaf, uint32_t out[4]) {
    unsigned a = 0, b = 0, c = 0, d = 0;
    __cpuid_count(leaf, subleaf, a, b, c, d);
    out[0] = a;
    out[1] = b;
    out[2] = c;
    out[3] = d;
}
#else
uint64_t readXcr0Register() { return 0; }
bool cpuidUsable() { return false; }
void runCpuid(uint32_t, uint32_t, uint32_t out[4]) { out[0] = out[1] = out[2] = out[3] = 0; }
#endif

inline bool bit(uint32_t reg, int n) { return ((reg >> n) & 1u) != 0; }

}  // namespace

uint64_t featuresFromLeaf1(uint32_t ecx, uint32_t edx, uint64_t (*readXcr0)()) {
    uint64_t f = 0;
    if (bit(edx, 23)) f |= PxFeatMmx;
    if (bit(edx, 25)) f |= PxFeatSse;
    if (bit(edx, 26)) f |= PxFeatSse2;
    if (bit(ecx, 0)) f |= PxFeatSse3;
    if (bit(ecx, 9)) f |= PxFeatSsse3;
    if (bit(ecx, 22)) f |= PxFeatMovbe;
    if (bit(ecx, 19)) f |= PxFeatSse41;
    if (bit(ecx, 20)) f |= PxFeatSse42;
    if (bit(ecx, 28)) f |= PxFeatAvx;
    // xgetbv faults unless OSXSAVE (bit 27) is set, so it is read only when bits 27 and 28 say so.
    if (bit(ecx, 27) && bit(ecx, 28)) {
        if ((readXcr0() & 0x6) == 0x6) f |= PxFeatAvxOs;
    }
    if (bit(ecx, 25)) f |= PxFeatAes;
    if (bit(ecx, 1)) f |= PxFeatPclmul;
    return f;
}

LevelChoice decideLevel(uint64_t features, bool queryOk, const uint32_t vendor[3], int32_t avxEnabled) {
    LevelChoice choice{0, 0x7, 0, PxStsOk};
    const auto has = [features](uint64_t bits) { return (features & bits) == bits; };
    if (!queryOk) {
        choice = {0, 0x7, 0, PxStsOk};
    } else if (has(PxFeatAvx | PxFeatAvxOs) && avxEnabled != 0) {
        choice = {4, features & 0xFDF, 0, PxStsOk};
    } else if (has(PxFeatSse41)) {
        choice = {3, features & 0xCDF, 0, PxStsOk};
    } else if (has(PxFeatSsse3 | PxFeatMovbe)) {
        choice = {2, features & 0x3F, 1, PxStsOk};
    } else if (has(PxFeatSsse3)) {
        choice = {1, features & 0x1F, 0, PxStsOk};
    } else {
        choice = {0, features & 0x7, 0, PxStsOk};
    }
    // Information only: a processor of another maker keeps the level its features give.
    const bool known = vendor[0] == kVendor[0] && vendor[1] == kVendor[1] && vendor[2] == kVendor[2];
    choice.status = known ? PxStsOk : PxStsNotVendor;
    return choice;
}

bool levelRunnable(int32_t level, uint64_t features, bool avx2) {
    const auto has = [features](uint64_t bits) { return (features & bits) == bits; };
    switch (level) {
        case 0:
            return true;
        case 1:
        case 2:
            return has(PxFeatSsse3);
        case 3:
            // Built with -msse4.1, which lets the compiler use SSSE3 as well.
            return has(PxFeatSsse3 | PxFeatSse41);
        case 4:
            // Built with -mavx2: AVX with the operating system's support, and AVX2 itself.
            return has(PxFeatSsse3 | PxFeatSse41 | PxFeatAvx | PxFeatAvxOs) && avx2;
        default:
            return false;
    }
}

bool processorRuns(int32_t level) {
    uint64_t features = 0;
    if (pxGetFeatures(&features, nullptr) != PxStsOk) return level == 0;
    bool avx2 = false;
    if (level == 4 && cpuidUsable()) {
        uint32_t regs[4];
        runCpuid(0, 0, regs);
        if (regs[0] >= 7) {
            runCpuid(7, 0, regs);
            avx2 = bit(regs[1], 5);
        }
    }
    return levelRunnable(level, features, avx2);
}

}  // namespace px

extern "C" PxStatus pxGetFeatures(uint64_t *features, uint32_t leafOut[4]) {
    if (!features) return PxStsNullPtr;
    // A filled cache answers alone: the processor is asked once.
    const bool filled = px::cachedFeaturesValid.load(std::memory_order_acquire) != 0;
    if (!filled && !px::cpuidUsable()) return PxStsNoCpuInfo;
    const bool query = *features == px::kQueryLeafTag;
    if (!filled) {
        uint32_t regs[4];
        px::runCpuid(1, 0, regs);
        px::cachedFeatures.store(px::featuresFromLeaf1(regs[2], regs[3], px::readXcr0Register),
                                 std::memory_order_relaxed);
        px::cachedFeaturesValid.store(1, std::memory_order_release);
    }
    *features = px::cachedFeatures.load(std::memory_order_relaxed);
    if (leafOut) {
        if (query) {
            px::runCpuid(leafOut[0], leafOut[2], leafOut);
        } else {
            px::runCpuid(1, 0, leafOut);
        }
    }
    return PxStsOk;
}

extern "C" PxStatus pxChooseLevel(void) {
    uint64_t features = 0;
    const bool ok = pxGetFeatures(&features, nullptr) == PxStsOk;
    uint32_t vendor[3] = {0, 0, 0};
    if (px::cpuidUsable()) {
        uint32_t regs[4];
        px::runCpuid(0, 0, regs);
        vendor[0] = regs[1];
        vendor[1] = regs[3];
        vendor[2] = regs[2];
    }
    // The AVX step asks the switch through the query function, code 70.
    const px::LevelChoice choice = px::decideLevel(features, ok, vendor, px::featureAllowed(70));
    px::PxLevel = choice.level;
    px::pxFeatureMask = choice.mask;
    px::pxLevel2Flag = choice.level2Flag;
    return choice.status;
}
