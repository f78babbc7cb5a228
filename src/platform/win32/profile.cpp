#include <windows.h>

#include <vector>

#include "platform/platform.h"

namespace kx::platform {

std::string currentDirectory() {
    // Asked twice: first for the length the path needs, then into a buffer one byte longer.
    const DWORD needed = GetCurrentDirectoryA(0, nullptr);
    std::vector<char> buffer(static_cast<size_t>(needed) + 1, '\0');
    GetCurrentDirectoryA(needed, buffer.data());
    return std::string(buffer.data());
}

uint32_t readProfileString(const char *section, const char *key, const char *defaultText, char *buffer,
                           uint32_t size, const char *file) {
    return GetPrivateProfileStringA(section, key, defaultText, buffer, size, file);
}

}  // namespace kx::platform
