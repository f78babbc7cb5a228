// Scalar rules of the resize that the plain files share. Inline, so no file compiled for a wider
// instruction set may include this header: a copy of these merged from such a file could run on a
// processor without that set.
#pragma once

#include <cstdint>

namespace px {

// Truncation toward zero as the processor's conversion does it: a value out of the 32-bit range
// (or not a number) gives the most negative value.
inline int32_t truncateToInt32(double v) {
    if (v > -2147483649.0 && v < 2147483648.0) return static_cast<int32_t>(v);
    return INT32_MIN;
}

// The store of the float passes (cubic, Lanczos): 0.5000001, a hair above a half, sends a value at
// or just below n + 0.5 up; only here is the overshoot of the filters limited.
inline uint8_t storeFloatSample(float value) {
    const int32_t n = truncateToInt32(static_cast<double>(value) + 0.5000001);
    return static_cast<uint8_t>(n < 0 ? 0 : n > 255 ? 255 : n);
}

}  // namespace px
