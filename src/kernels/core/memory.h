// Scratch memory of the kernels: the table of allocation routines behind pxAlloc and pxFree.
#pragma once

#include <cstddef>

namespace px {

// The four allocation routines in the order malloc, calloc, realloc, free. Only the first and the
// last are used. There is no setter, so the table is constant.
struct MemTable {
    void *(*allocate)(std::size_t);
    void *(*allocateZeroed)(std::size_t, std::size_t);
    void *(*reallocate)(void *, std::size_t);
    void (*release)(void *);
};

extern const MemTable pxMemTable;

}  // namespace px
