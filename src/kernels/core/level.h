// The processor level and the five-slot dispatch tables of the kernels.
#pragma once

#include <cstdint>

namespace px {

// 0 to 4, chosen once when the library loads; the index into every dispatch table.
extern int32_t PxLevel;

constexpr int kLevelCount = 5;

// A kernel's forms by level. Slots 1 and 2 always hold the same form.
template <typename Fn>
using DispatchTable = Fn *const[kLevelCount];

}  // namespace px
