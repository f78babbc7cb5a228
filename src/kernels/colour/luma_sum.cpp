#include "kernels/colour/luma_sum.h"

#include "kernels/core/level.h"

namespace px {
namespace {

const DispatchTable<uint32_t(const uint8_t *, uint32_t)> lumaSumTable = {lumaSum_ref, lumaSum_ssse3, lumaSum_ssse3,
                                                                         lumaSum_ssse3, lumaSum_avx2};

}  // namespace

uint32_t lumaSum(const uint8_t *pixels, uint32_t count) { return lumaSumTable[PxLevel](pixels, count); }

}  // namespace px
