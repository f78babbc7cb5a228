// The stretch family scales through the platform's StretchDIB and filters with pxSharpenC3 and
// pxFilterC3. Until those filter kernels exist these exports refuse every call with -1 and touch
// nothing, so a client can bind to all names of the table today.
#include "kestrix.h"

extern "C" {

KX_API int32_t BmpStretchDIB(const BITMAPINFOHEADER *, const uint8_t *, BITMAPINFOHEADER *, uint8_t *, uint8_t *,
                             int32_t, int32_t) {
    return -1;
}

KX_API int32_t BmpStretchDIBEx(const BITMAPINFOHEADER *, const uint8_t *, BITMAPINFOHEADER *, uint8_t *, uint8_t *,
                               int32_t, int32_t, const int32_t *, int32_t) {
    return -1;
}

KX_API int32_t BmpStretchDIBEx2(const BITMAPINFOHEADER *, uint8_t *, uint8_t *, int32_t, const int32_t *, int32_t) {
    return -1;
}
}
