#include <algorithm>
#include <cstring>
#include <iterator>

#include "platform/platform.h"
#include "platform/posix/best_fit_1252.h"

namespace kx::platform {

namespace {

// Code page 1252 above ASCII: bytes 0x80 to 0x9F carry these characters; the five that the code
// page leaves open convert to themselves, as the platform's table has it. 0xA0 to 0xFF are Latin-1.
constexpr uint16_t kHighControls[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

char toCodePage1252(uint16_t unit) {
    if (unit < 0x80 || (unit >= 0xA0 && unit <= 0xFF)) return static_cast<char>(unit);
    for (int i = 0; i < 32; ++i) {
        if (kHighControls[i] == unit) return static_cast<char>(0x80 + i);
    }
    // Outside the code page the platform falls back to a look-alike where it has one (U+0100 'A',
    // U+221E '8'); surrogates and the rest become '?', one per unit.
    const auto fit = std::lower_bound(std::begin(kBestFit1252), std::end(kBestFit1252), unit,
                                      [](const BestFit1252 &entry, uint16_t key) { return entry.unit < key; });
    if (fit != std::end(kBestFit1252) && fit->unit == unit) return static_cast<char>(fit->byte);
    return '?';
}

uint16_t unitAt(const uint16_t *text, int32_t index) {
    // The caller's text need not be aligned to 16 bits.
    uint16_t unit;
    std::memcpy(&unit, reinterpret_cast<const char *>(text) + 2 * static_cast<size_t>(index), sizeof unit);
    return unit;
}

}  // namespace

int32_t wideToNarrow(const uint16_t *text, int32_t length, char *buffer, int32_t size) {
    if (text == nullptr || length == 0 || length < -1 || size < 0 || (size > 0 && buffer == nullptr)) return 0;
    // -1: the text ends at its terminator, which is converted too.
    int32_t count = length;
    if (length == -1) {
        count = 0;
        while (unitAt(text, count) != 0) ++count;
        ++count;
    }
    // Every unit becomes one byte, so the result's length is known before anything is written.
    if (size == 0) return count;
    if (count > size) return 0;
    for (int32_t i = 0; i < count; ++i) buffer[i] = toCodePage1252(unitAt(text, i));
    return count;
}

}  // namespace kx::platform
