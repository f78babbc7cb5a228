// The processor's largest data cache, decided from recorded cpuid answers so that the decision
// can be checked against the answers of processors other than the one at hand.
#pragma once

#include <atomic>

#include <cstdint>

#include "kestrix/px.h"

namespace px {

// The cpuid answers the cache query looks at. Leaves above maxLeaf are never read and stay 0.
struct CpuidAnswers {
    uint32_t maxLeaf = 0;       // EAX of leaf 0
    uint32_t vendor[3] = {};    // EBX, EDX, ECX of leaf 0
    uint32_t leaf2[4] = {};     // EAX, EBX, ECX, EDX of leaf 2
    uint32_t leaf4[32][4] = {}; // EAX, EBX, ECX, EDX of leaf 4, subleaves 0 to 31
};

struct CacheAnswer {
    PxStatus status;
    int32_t size;
};

// The size and status that the answers give (PxStsOk, PxStsNoCpuInfo or PxStsNoCacheInfo).
CacheAnswer cacheSizeFrom(const CpuidAnswers &answers);

// The answers of the processor at hand.
CpuidAnswers readCpuid();

// What pxCacheSize keeps: status 1 means not asked yet. Threads that ask at once may each run
// the query and store the same answer; atomics keep those stores from tearing or racing.
struct CacheState {
    std::atomic<PxStatus> status{1};
    std::atomic<int32_t> size{0};
};

// pxCacheSize over a given state and source of answers: the source is asked at most once, and
// every call after the first answers from the state.
PxStatus cacheSizeOnce(int32_t *size, CacheState &state, CpuidAnswers (*source)());

}  // namespace px
