#include <cstdlib>
#include <ctime>

#include "platform/platform.h"

namespace kx::platform {

int32_t mulDiv(int32_t a, int32_t b, int32_t c) {
    if (c == 0) return -1;
    int64_t product = int64_t{a} * b;
    int64_t divisor = c;
    if (divisor < 0) {
        product = -product;
        divisor = -divisor;
    }
    // Round half away from zero, as the platform does.
    int64_t result = product >= 0 ? (product + divisor / 2) / divisor : (product - divisor / 2) / divisor;
    if (result > INT32_MAX || result < -INT32_MAX) return -1;
    return static_cast<int32_t>(result);
}

int64_t currentTime() { return static_cast<int64_t>(std::time(nullptr)); }

uint8_t *allocImageBits(uint32_t size) { return static_cast<uint8_t *>(std::malloc(size)); }

void freeImageBits(uint8_t *bits) { std::free(bits); }

}  // namespace kx::platform
