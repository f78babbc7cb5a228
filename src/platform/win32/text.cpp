#include <windows.h>

#include "platform/platform.h"

namespace kx::platform {

int32_t wideToNarrow(const uint16_t *text, int32_t length, char *buffer, int32_t size) {
    return WideCharToMultiByte(CP_ACP, 0, reinterpret_cast<LPCWCH>(text), length, buffer, size, nullptr, nullptr);
}

}  // namespace kx::platform
