#include "kernels/core/level.h"

#include "kestrix/px.h"

namespace px {
int32_t PxLevel = 0;
}  // namespace px

extern "C" int32_t pxGetLevel(void) { return px::PxLevel; }
