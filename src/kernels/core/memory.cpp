#include "kernels/core/memory.h"

#include <cstdint>
#include <cstdlib>

#include "kestrix/px.h"

namespace px {

const MemTable pxMemTable = {std::malloc, std::calloc, std::realloc, std::free};

namespace {

// The 40 bytes beyond the request cover the worst alignment shift (31) plus the 8-byte slot that
// keeps the block's own address just before the aligned result.
constexpr std::uintptr_t kExtra = 40;

void *allocBytes(std::int64_t size) {
    // A size that a 32-bit count cannot hold is refused like any other impossible request.
    if (size < 1 || size > INT32_MAX) return nullptr;
    void *block = pxMemTable.allocate(static_cast<std::size_t>(size) + kExtra);
    if (block == nullptr) return nullptr;
    const std::uintptr_t start = reinterpret_cast<std::uintptr_t>(block);
    const std::uintptr_t aligned = (start + 39) & ~static_cast<std::uintptr_t>(31);
    reinterpret_cast<void **>(aligned)[-1] = block;
    return reinterpret_cast<void *>(aligned);
}

}  // namespace
}  // namespace px

extern "C" {

void *pxAlloc(int32_t size) { return px::allocBytes(size); }

void pxFree(void *ptr) {
    if (ptr == nullptr) return;
    px::pxMemTable.release(static_cast<void **>(ptr)[-1]);
}

uint8_t *pxAllocBytes(int32_t count) { return static_cast<uint8_t *>(px::allocBytes(count)); }

uint16_t *pxAlloc16(int32_t count) {
    if (count < 1) return nullptr;
    return static_cast<uint16_t *>(px::allocBytes(int64_t{count} * 2));
}

uint32_t *pxAlloc32(int32_t count) {
    if (count < 1) return nullptr;
    return static_cast<uint32_t *>(px::allocBytes(int64_t{count} * 4));
}

}  // extern "C"
