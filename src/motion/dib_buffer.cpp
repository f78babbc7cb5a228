#include <cstring>

#include "motion/motion_detector.h"
#include "platform/platform.h"

namespace kx {

DibBuffer::~DibBuffer() {
    if (bits) {
        platform::freeImageBits(bits);
        bits = nullptr;
    }
}

int32_t DibBuffer::create(DibBuffer **out) {
    if (!out) return 0;
    *out = nullptr;
    DibBuffer *buffer = new DibBuffer();
    buffer->refCount = 1;
    *out = buffer;
    return 1;
}

bool DibBuffer::prepare(const BITMAPINFOHEADER *description) {
    if (description != &header) std::memcpy(&header, description, sizeof(header));
    if (header.biSizeImage == 0) {
        const int32_t rowUnits = (int32_t{header.biBitCount} * static_cast<int32_t>(header.biWidth) + 31) / 32;
        header.biSizeImage = static_cast<uint32_t>(rowUnits) * static_cast<uint32_t>(header.biHeight) * 4u;
    }
    // Always fresh pixels: the old ones may be of another size.
    if (bits) {
        platform::freeImageBits(bits);
        bits = nullptr;
    }
    bits = platform::allocImageBits(header.biSizeImage);
    return bits != nullptr;
}

int32_t DibBuffer::release() {
    const int32_t left = --refCount;
    if (left == 0) delete this;
    return left;
}

}  // namespace kx
