// The kernel library's own load step, for when a program links libkestrix-px alone: the level is
// chosen as the library loads, as libkestrix's attach does for its copy of the kernels, so that no
// caller runs level 0 for want of a call to pxChooseLevel.
#include "kestrix/px.h"

__attribute__((constructor)) static void kestrixPxAttach() { pxChooseLevel(); }
