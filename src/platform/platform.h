// The operations the exported layer needs from its platform, declared once. win32/ implements
// them with the real Windows calls; posix/ reproduces what those calls do.
#pragma once

#include <cstdint>
#include <string>

namespace kx::platform {

// a * b / c in 64-bit arithmetic, rounded half away from zero; -1 when c is 0 or the result
// does not fit 32 bits (the platform's MulDiv).
int32_t mulDiv(int32_t a, int32_t b, int32_t c);

// Seconds since 1970, as the platform's current-time query reports them.
int64_t currentTime();

// Pixels of a counted image: movable global memory on Windows, malloc elsewhere. Never zeroed.
uint8_t *allocImageBits(uint32_t size);
void freeImageBits(uint8_t *bits);

// The process's current directory as the platform reports it (no trailing separator, unless it
// is a root), and the separator that goes between it and a file name.
std::string currentDirectory();
#if defined(_WIN32)
constexpr char kPathSeparator = '\\';
#else
constexpr char kPathSeparator = '/';
#endif

// GetPrivateProfileStringA: copies the key's value, or defaultText when the file, section or key
// is missing, into buffer (size characters with the terminator) and returns the length copied.
uint32_t readProfileString(const char *section, const char *key, const char *defaultText, char *buffer,
                           uint32_t size, const char *file);

// WideCharToMultiByte(CP_ACP, 0, text, length, buffer, size, NULL, NULL): the bytes written, or 0
// when the conversion fails (a result that does not fit writes nothing).
int32_t wideToNarrow(const uint16_t *text, int32_t length, char *buffer, int32_t size);

}  // namespace kx::platform
