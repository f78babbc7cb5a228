// A block of bytes between two no-access pages. It ends where the second begins, or with atFront
// starts where the first ends, so that a read or write past its end (or before its start) faults
// in every build, not only under the sanitizers.
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
    explicit GuardedBuffer(size_t size, uint8_t fill = 0, bool atFront = false)
        : size_(size), body_((size + kPage - 1) / kPage * kPage) {
        const size_t total = body_ + 2 * kPage;
#if defined(_WIN32)
        base_ = static_cast<uint8_t *>(VirtualAlloc(nullptr, total, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
        DWORD old;
        VirtualProtect(base_, kPage, PAGE_NOACCESS, &old);
        VirtualProtect(base_ + kPage + body_, kPage, PAGE_NOACCESS, &old);
#else
        base_ = static_cast<uint8_t *>(mmap(nullptr, total, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        mprotect(base_, kPage, PROT_NONE);
        mprotect(base_ + kPage + body_, kPage, PROT_NONE);
#endif
        data_ = base_ + kPage + (atFront ? 0 : body_ - size_);
        std::memset(base_ + kPage, fill, body_);
    }
    ~GuardedBuffer() {
#if defined(_WIN32)
        VirtualFree(base_, 0, MEM_RELEASE);
#else
        munmap(base_, body_ + 2 * kPage);
#endif
    }
    GuardedBuffer(const GuardedBuffer &) = delete;
    GuardedBuffer &operator=(const GuardedBuffer &) = delete;

    uint8_t *data() const { return data_; }
    size_t size() const { return size_; }

private:
    static constexpr size_t kPage = 4096;
    size_t size_;
    size_t body_;
    uint8_t *base_;
    uint8_t *data_;
};

}  // namespace kx::test
