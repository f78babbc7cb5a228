#include "kernels/core/level.h"

#include "kernels/core/cpu_features.h"
#include "kestrix/px.h"

namespace px {
int32_t PxLevel = 0;
}  // namespace px

extern "C" int32_t pxGetLevel(void) { return px::PxLevel; }

extern "C" PxStatus pxSetLevel(int32_t level) {
    if (level < 0 || level >= px::kLevelCount || !px::processorRuns(level)) return PxStsBadSize;
    px::PxLevel = level;
    return PxStsOk;
}
