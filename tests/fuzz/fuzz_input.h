// Reads a fuzzer's bytes as small numbers in ranges; an exhausted input reads as zeros.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace kx::fuzz {

class Input {
public:
    Input(const uint8_t *data, size_t size) : data_(data), size_(size) {}

    uint32_t word() {
        uint32_t value = 0;
        for (int i = 0; i < 4; ++i) value = value << 8 | byte();
        return value;
    }
    uint8_t byte() { return at_ < size_ ? data_[at_++] : 0; }
    // A value in lo..hi, both included.
    int32_t range(int32_t lo, int32_t hi) {
        return lo + static_cast<int32_t>(word() % static_cast<uint32_t>(int64_t{hi} - lo + 1));
    }
    bool flag() { return byte() & 1; }
    // A factor: mostly positive and moderate, sometimes zero or negative.
    double factor() {
        const int32_t kind = range(0, 15);
        if (kind == 0) return 0.0;
        if (kind == 1) return -range(1, 100) / 16.0;
        return range(1, 4000) / 1000.0;
    }
    void fill(uint8_t *out, size_t count) {
        for (size_t i = 0; i < count; ++i) out[i] = byte();
    }

private:
    const uint8_t *data_;
    size_t size_;
    size_t at_ = 0;
};

constexpr uint8_t kSentinel = 0xA5;

// A destination filled with the sentinel, and a check that only the rows x bytes block at the
// given step changed (or nothing, with a failure status).
struct Sentinelled {
    std::vector<uint8_t> bytes;
    explicit Sentinelled(size_t size) : bytes(size, kSentinel) {}
    uint8_t *data() { return bytes.data(); }
    bool untouchedOutside(int64_t rows, int64_t rowBytes, int64_t step) const {
        for (size_t k = 0; k < bytes.size(); ++k) {
            const int64_t row = int64_t(k) / step, column = int64_t(k) % step;
            const bool inside = row < rows && column < rowBytes;
            if (!inside && bytes[k] != kSentinel) return false;
        }
        return true;
    }
};

}  // namespace kx::fuzz
