#include "kernels/core/cache_size.h"

#include <algorithm>

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

namespace px {
namespace {

// "GenuineIntel" as leaf 0 spells it in EBX, EDX, ECX.
bool isIntel(const CpuidAnswers &a) {
    return a.vendor[0] == 0x756E6547 && a.vendor[1] == 0x49656E69 && a.vendor[2] == 0x6C65746E;
}

struct Descriptor {
    uint8_t code;
    int32_t bytes;
};

constexpr int32_t KB = 1024;
constexpr int32_t MB = 1024 * 1024;

// Leaf-2 descriptors of second- and third-level caches, from the largest to the smallest, as the
// processor vendor publishes them. The first 43 rows are those of 512 KB and more:
//   EC EB 4D EA 4C E4 4B 47 DE 4A 4E E3 D8 49 46 29 DD 48 E2 D7 D2 85 7D 45 25 DC
//   D6 D1 87 84 7C 78 44 24 23 D0 22 86 83 80 7F 7B 43
// and the last 12 those of smaller caches, down to 128 KB:
//   3D 21 3C 42 7A 82 3A 1D 39 3B 79 41
// The first row found among the descriptor bytes wins, so a processor naming both its second- and
// third-level cache gets the larger.
constexpr Descriptor kLeaf2Table[] = {
    {0xEC, 24 * MB}, {0xEB, 18 * MB}, {0x4D, 16 * MB}, {0xEA, 12 * MB}, {0x4C, 12 * MB},
    {0xE4, 8 * MB},  {0x4B, 8 * MB},  {0x47, 8 * MB},  {0xDE, 6 * MB},  {0x4A, 6 * MB},
    {0x4E, 6 * MB},  {0xE3, 4 * MB},  {0xD8, 4 * MB},  {0x49, 4 * MB},  {0x46, 4 * MB},
    {0x29, 4 * MB},  {0xDD, 3 * MB},  {0x48, 3 * MB},  {0xE2, 2 * MB},  {0xD7, 2 * MB},
    {0xD2, 2 * MB},  {0x85, 2 * MB},  {0x7D, 2 * MB},  {0x45, 2 * MB},  {0x25, 2 * MB},
    {0xDC, 1536 * KB}, {0xD6, 1 * MB}, {0xD1, 1 * MB}, {0x87, 1 * MB}, {0x84, 1 * MB},
    {0x7C, 1 * MB},  {0x78, 1 * MB},  {0x44, 1 * MB},  {0x24, 1 * MB},  {0x23, 1 * MB},
    {0xD0, 512 * KB}, {0x22, 512 * KB}, {0x86, 512 * KB}, {0x83, 512 * KB}, {0x80, 512 * KB},
    {0x7F, 512 * KB}, {0x7B, 512 * KB}, {0x43, 512 * KB},
    // Smaller caches, looked up only by processors without leaf 4.
    {0x3D, 384 * KB}, {0x21, 256 * KB}, {0x3C, 256 * KB}, {0x42, 256 * KB}, {0x7A, 256 * KB},
    {0x82, 256 * KB}, {0x3A, 192 * KB}, {0x1D, 128 * KB}, {0x39, 128 * KB}, {0x3B, 128 * KB},
    {0x79, 128 * KB}, {0x41, 128 * KB},
};
static_assert(sizeof kLeaf2Table / sizeof kLeaf2Table[0] == 43 + 12);

CacheAnswer fromLeaf4(const CpuidAnswers &a) {
    int64_t largest = 0;
    for (const auto &sub : a.leaf4) {
        const uint32_t type = sub[0] & 31;
        if (type == 0) break;
        if (type == 2) continue;  // instruction cache
        const int64_t ways = (sub[1] >> 22) + 1;
        const int64_t partitions = ((sub[1] >> 12) & 0x3FF) + 1;
        const int64_t lineSize = (sub[1] & 0xFFF) + 1;
        const int64_t sets = int64_t{sub[2]} + 1;
        largest = std::max(largest, ways * partitions * lineSize * sets);
    }
    if (largest <= 0) return {PxStsNoCacheInfo, 0};
    // No cache comes near 2 GB; the kept size is a 32-bit word.
    return {PxStsOk, static_cast<int32_t>(std::min<int64_t>(largest, INT32_MAX))};
}

CacheAnswer fromLeaf2(const CpuidAnswers &a) {
    // Registers with bit 31 set hold no descriptors; the low byte of EAX is the repeat count.
    uint8_t bytes[16];
    int count = 0;
    for (int r = 0; r < 4; ++r) {
        const uint32_t reg = a.leaf2[r];
        if (reg & 0x80000000u) continue;
        for (int b = (r == 0 ? 1 : 0); b < 4; ++b) bytes[count++] = static_cast<uint8_t>(reg >> (8 * b));
    }
    for (const Descriptor &row : kLeaf2Table) {
        if (std::find(bytes, bytes + count, row.code) != bytes + count) return {PxStsOk, row.bytes};
    }
    return {PxStsNoCacheInfo, 0};
}

}  // namespace

CacheAnswer cacheSizeFrom(const CpuidAnswers &answers) {
    if (answers.maxLeaf < 2 || !isIntel(answers)) return {PxStsNoCpuInfo, 0};
    if (answers.maxLeaf >= 4) return fromLeaf4(answers);
    return fromLeaf2(answers);
}

CpuidAnswers readCpuid() {
    CpuidAnswers a;
#if defined(__x86_64__) || defined(__i386__)
    unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
    if (__get_cpuid_max(0, nullptr) == 0) return a;
    __cpuid(0, eax, ebx, ecx, edx);
    a.maxLeaf = eax;
    a.vendor[0] = ebx;
    a.vendor[1] = edx;
    a.vendor[2] = ecx;
    if (a.maxLeaf >= 2) {
        __cpuid(2, eax, ebx, ecx, edx);
        a.leaf2[0] = eax;
        a.leaf2[1] = ebx;
        a.leaf2[2] = ecx;
        a.leaf2[3] = edx;
    }
    if (a.maxLeaf >= 4) {
        for (unsigned sub = 0; sub < 32; ++sub) {
            __cpuid_count(4, sub, eax, ebx, ecx, edx);
            a.leaf4[sub][0] = eax;
            a.leaf4[sub][1] = ebx;
            a.leaf4[sub][2] = ecx;
            a.leaf4[sub][3] = edx;
            if ((eax & 31) == 0) break;
        }
    }
#endif
    return a;
}

PxStatus cacheSizeOnce(int32_t *size, CacheState &state, CpuidAnswers (*source)()) {
    if (size == nullptr) return PxStsNullPtr;
    PxStatus status = state.status.load(std::memory_order_acquire);
    if (status == 1) {
        // Two threads may both get here; they store the same values, so no lock is needed. The
        // size goes first: a status other than 1 vouches for it.
        const CacheAnswer answer = cacheSizeFrom(source());
        state.size.store(answer.size, std::memory_order_relaxed);
        state.status.store(answer.status, std::memory_order_release);
        status = answer.status;
    }
    *size = state.size.load(std::memory_order_relaxed);
    return status;
}

namespace {
CacheState keptCacheSize;
}

}  // namespace px

extern "C" PxStatus pxCacheSize(int32_t *size) { return px::cacheSizeOnce(size, px::keptCacheSize, px::readCpuid); }
