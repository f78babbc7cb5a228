#include "frame/settings.h"

#include <algorithm>
#include <cstdlib>

#include "kestrix/px.h"
#include "platform/platform.h"

namespace kx {

namespace {

constexpr const char *kSettingsFile = "kestrix.ini";
constexpr uint32_t kWorkBufferSize = 1024;

// atol, kept to 32 bits: long is 64-bit off Windows, and the values wrap there as they do on Windows.
int32_t textToInt(const std::string &text) {
    return static_cast<int32_t>(static_cast<uint32_t>(std::atol(text.c_str())));
}

}  // namespace

std::string SettingsPath() {
    // Not normalised: at the root of a drive the separator is doubled, which the platform accepts.
    return platform::currentDirectory() + platform::kPathSeparator + kSettingsFile;
}

std::string ReadStringSetting(const std::string &file, const char *section, const char *key,
                              const char *defaultText) {
    char buffer[kWorkBufferSize];
    buffer[0] = '\0';
    const uint32_t length = platform::readProfileString(section, key, defaultText, buffer, kWorkBufferSize, file.c_str());
    // A key with an empty value reports 0 and gives the empty string, not the default.
    if (length == 0) return std::string();
    return std::string(buffer);
}

int32_t ReadIntSetting(const std::string &file, const char *section, const char *key, int32_t defaultValue) {
    const std::string defaultText = std::to_string(defaultValue);
    return textToInt(ReadStringSetting(file, section, key, defaultText.c_str()));
}

void readSettings(Settings &target) {
    // The path is built again for every read; the order is that of the settings' declaration.
    target.shutterMin = ReadIntSetting(SettingsPath(), "SHUTTERWITH", "MIN", target.shutterMin);
    target.shutterMax = ReadIntSetting(SettingsPath(), "SHUTTERWITH", "MAX", target.shutterMax);
    target.shutterOutdoor = ReadIntSetting(SettingsPath(), "SHUTTERWITH", "OUTDOOR", target.shutterOutdoor);
    target.lumaDownMode = ReadIntSetting(SettingsPath(), "YDC", "DOWNMODE", target.lumaDownMode);
    target.lumaDownLevel = ReadIntSetting(SettingsPath(), "YDC", "DOWNLEVEL", target.lumaDownLevel);
    target.lumaUpLevel = ReadIntSetting(SettingsPath(), "YDC", "UPLEVEL", target.lumaUpLevel);
    target.shutterZoomUp = ReadIntSetting(SettingsPath(), "SHUTTERWITH", "ZOOMUPLEVEL", target.shutterZoomUp);
    target.shutterZoomDown = ReadIntSetting(SettingsPath(), "SHUTTERWITH", "ZOOMDOWNLEVEL", target.shutterZoomDown);
    target.lumaZoomUp = ReadIntSetting(SettingsPath(), "YDC", "ZOOMUPLEVEL", target.lumaZoomUp);
    target.lumaZoomDown = ReadIntSetting(SettingsPath(), "YDC", "ZOOMDOWNLEVEL", target.lumaZoomDown);
}

void readLevelSetting() {
    // An empty default text: a missing file, section or key and an empty value all read as "".
    const std::string text = ReadStringSetting(SettingsPath(), "PX", "LEVEL", "");
    if (text.empty()) return;
    int32_t level = std::min(textToInt(text), kHighestLevel);
    if (level < 0) return;
    // Level 0 runs everywhere, so the walk down ends.
    while (pxSetLevel(level) != PxStsOk) --level;
}

}  // namespace kx
