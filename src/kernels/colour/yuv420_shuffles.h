// The byte shuffles of the vector 4:2:0 forms: 16 packed three-byte pixels (48 bytes, three
// 16-byte registers) to one register per channel and back. Data only, so the per-level files can
// share it without sharing code compiled for one level with another.
#pragma once

#include <array>
#include <cstdint>

namespace px {

// A byte shuffle of one 16-byte register; -128 zeroes the byte, so three shuffles can be ORed.
using ShuffleMask = std::array<int8_t, 16>;
// [channel][part]: what each of the three parts contributes to a channel register, or the reverse.
using ShuffleMasks = std::array<std::array<ShuffleMask, 3>, 3>;

// Byte i of channel c's register is byte 3i + c of the 48: the pixels in their order.
constexpr ShuffleMasks kPackedToChannels = [] {
    ShuffleMasks masks{};
    for (int channel = 0; channel < 3; ++channel)
        for (int part = 0; part < 3; ++part)
            for (int i = 0; i < 16; ++i) {
                const int at = 3 * i + channel - 16 * part;
                masks[channel][part][size_t(i)] = int8_t(at >= 0 && at < 16 ? at : -128);
            }
    return masks;
}();

// The reverse, from channel registers that hold the even pixels 0, 2, ..., 14 in their first 8
// bytes and the odd ones in the last 8, as a pack of even and odd lanes leaves them: byte j of
// part p is byte 16p + j of the 48, taken from the channel it belongs to.
constexpr ShuffleMasks kEvenOddChannelsToPacked = [] {
    ShuffleMasks masks{};
    for (int channel = 0; channel < 3; ++channel)
        for (int part = 0; part < 3; ++part)
            for (int j = 0; j < 16; ++j) {
                const int at = 16 * part + j, pixel = at / 3;
                masks[channel][part][size_t(j)] = int8_t(at % 3 == channel ? pixel / 2 + 8 * (pixel % 2) : -128);
            }
    return masks;
}();

}  // namespace px
