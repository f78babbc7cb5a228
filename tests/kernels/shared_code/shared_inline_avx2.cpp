// The fault the object check is there to catch: an inline function that a per-level file compiles
// and keeps (here by taking its address), which the linker may then keep in place of a plain
// file's copy.
#include <cstdint>

inline int32_t twice(int32_t v) { return 2 * v; }

int32_t (*sharedInline)(int32_t) = twice;
