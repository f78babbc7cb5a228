// A block of bytes that ends where a no-access page begins, so that a read or write past its end
// faults in every build, not only under the sanitizers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/mman.h>
#endif

namespace kx::test {

class GuardedBuffer {
public:
    explicit GuardedBuffer(size_t size, uint8_t fill = 0) : size_(size), body_((size + 4095) / 4096 * 4096) {
#if defined(_WIN32)
        base_ = static_cast<uint8_t *>(VirtualAlloc(nullptr, body_ + 4096, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
        DWORD old;
        VirtualProtect(base_ + body_, 4096, PAGE_NOACCESS, &old);
#else
        base_ = static_cast<uint8_t *>(
            mmap(nullptr, body_ + 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        mprotect(base_ + body_, 4096, PROT_NONE);
#endif
        std::memset(base_, fill, body_);
    }
    ~GuardedBuffer() {
#if defined(_WIN32)
        VirtualFree(base_, 0, MEM_RELEASE);
#else
        munmap(base_, body_ + 4096);
#endif
    }
    GuardedBuffer(const GuardedBuffer &) = delete;
    GuardedBuffer &operator=(const GuardedBuffer &) = delete;

    uint8_t *data() const { return base_ + body_ - size_; }
    size_t size() const { return size_; }
    // The bytes before data() on its pages: a run of the fill value that nothing may change.
    const uint8_t *front() const { return base_; }
    size_t frontSize() const { return body_ - size_; }

private:
    size_t size_;
    size_t body_;
    uint8_t *base_;
};

}  // namespace kx::test
