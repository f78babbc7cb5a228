// Reading the ten settings from kestrix.ini in the current directory.
#pragma once

#include <cstdint>
#include <string>

#include "frame/library_state.h"

namespace kx {

// The current directory, a separator, then "kestrix.ini"; built anew for every read.
std::string SettingsPath();

// The text of a key, or the empty string when the platform reports a length of 0.
std::string ReadStringSetting(const std::string &file, const char *section, const char *key,
                              const char *defaultText);

// atol of the text read, with defaultValue rendered in decimal as the default text.
int32_t ReadIntSetting(const std::string &file, const char *section, const char *key, int32_t defaultValue);

// Reads all ten settings in their order, each with its current value as default.
void readSettings(Settings &target);

// The highest processor level there is (AVX2).
constexpr int32_t kHighestLevel = 4;

// [PX] LEVEL, read at load after the ten settings: the kernels run at the highest level, at most the
// one asked for (4 for anything above), that the processor and the build run. With no such key, an
// empty value or one below 0, the level chosen for the processor stays.
void readLevelSetting();

}  // namespace kx
