// Block fill and copy of the kernels. The bytes written are those of memset and memcpy, so those do
// the work at every level. No cache-size strategy (streaming stores for blocks larger than the
// cache) is kept: it does not pay against the C library's own routines, which tune for this.
#include <cstdint>
#include <cstring>

#include "kestrix/px.h"

extern "C" {

PxStatus pxZero(void *dst, int32_t count) {
    if (dst == nullptr) return PxStsNullPtr;
    if (count < 1) return PxStsBadSize;
    std::memset(dst, 0, static_cast<size_t>(count));
    return PxStsOk;
}

PxStatus pxCopy(const void *src, void *dst, int32_t count) {
    if (src == nullptr || dst == nullptr) return PxStsNullPtr;
    if (count < 1) return PxStsBadSize;
    std::memcpy(dst, src, static_cast<size_t>(count) * 4);
    return PxStsOk;
}

PxStatus pxCopyLine(const void *src, void *dst, int32_t count) {
    if (src == nullptr || dst == nullptr) return PxStsNullPtr;
    if (count < 1) return PxStsBadSize;
    std::memcpy(dst, src, static_cast<size_t>(count));
    return PxStsOk;
}

}  // extern "C"
