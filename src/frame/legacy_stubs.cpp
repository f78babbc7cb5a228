// Four exports kept for old clients. They read no argument and touch no state; each pair is one
// body under two names.
#include "kestrix.h"

extern "C" {

KX_API int32_t IsGreenMode(void) { return 0; }
KX_API int32_t JpegDecompress(void) { return 1; }

#if !defined(_WIN32)
// On Windows the module definition file gives the second names.
KX_API int32_t JpegGetYDc(void) __attribute__((alias("IsGreenMode")));
KX_API int32_t JpegDecompressToBmp(void) __attribute__((alias("JpegDecompress")));
#endif
}
