// The current directory, and a profile reader that parses as the Windows one does.
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "platform/platform.h"

namespace kx::platform {

std::string currentDirectory() {
    std::vector<char> buffer(256);
    while (getcwd(buffer.data(), buffer.size()) == nullptr) {
        // No current directory (it was removed): a path that opens nothing, so every key keeps
        // its default, rather than the root's file.
        if (errno != ERANGE) return ".";
        buffer.resize(buffer.size() * 2);
    }
    return std::string(buffer.data());
}

namespace {

// Space, tab, the line-end characters, vertical tab, form feed, and the old end-of-file mark.
bool isProfileSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r') || c == '\x1a'; }

char lowerAscii(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

bool sameName(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (lowerAscii(a[i]) != lowerAscii(b[i])) return false;
    return true;
}

std::string_view trim(std::string_view s) {
    while (!s.empty() && isProfileSpace(s.front())) s.remove_prefix(1);
    while (!s.empty() && isProfileSpace(s.back())) s.remove_suffix(1);
    return s;
}

bool readFile(const char *path, std::string &text) {
    FILE *f = std::fopen(path, "rb");
    if (!f) return false;
    char chunk[4096];
    size_t n;
    while ((n = std::fread(chunk, 1, sizeof chunk, f)) > 0) text.append(chunk, n);
    std::fclose(f);
    return true;
}

// The value of key in the first section named section. Lines are split at CR and LF, and trimmed.
// A line "[name]" opens a section (the name trimmed, up to the last ']'); lines before the first
// section belong to none. Any other line is a key: its name up to the first '=' (trimmed), its
// value after it (trimmed), or no value at all without an '='. Comment lines are not special: a
// ';' or '#' stays part of the key's name, and so such a key never matches. The first key of a
// name in the first section of a name wins. Returns false when there is no such key with a value.
bool findValue(std::string_view text, std::string_view section, std::string_view key, std::string_view &value) {
    if (text.size() >= 3 && text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
    bool seenSection = false;  // a later section of the same name is never searched
    bool inSection = false;
    size_t pos = 0;
    while (pos < text.size()) {
        size_t end = pos;
        while (end < text.size() && text[end] != '\n' && text[end] != '\r') ++end;
        const std::string_view line = trim(text.substr(pos, end - pos));
        pos = end;
        while (pos < text.size() && (text[pos] == '\n' || text[pos] == '\r')) ++pos;
        if (line.empty()) continue;

        if (line.front() == '[') {
            const size_t close = line.rfind(']');
            if (close != std::string_view::npos && close > 0) {
                if (inSection) return false;
                const std::string_view name = trim(line.substr(1, close - 1));
                inSection = !seenSection && sameName(name, section);
                if (inSection) seenSection = true;
                continue;
            }
            // No closing bracket: the line is read as a key.
        }
        if (!inSection) continue;
        const size_t equals = line.find('=');
        const std::string_view name = trim(line.substr(0, equals));
        if (!sameName(name, key)) continue;
        if (equals == std::string_view::npos) return false;  // a key without a value gives the default
        value = trim(line.substr(equals + 1));
        return true;
    }
    return false;
}

// Copies text into buffer, cut to size - 1 characters. With stripQuotes, a value wholly inside a
// matching pair of single or double quotes loses the opening one, and the closing one if it fits.
uint32_t copyEntry(std::string_view text, char *buffer, uint32_t size, bool stripQuotes) {
    bool quoted = false;
    if (stripQuotes && text.size() >= 2 && (text.front() == '"' || text.front() == '\'') && text.back() == text.front()) {
        quoted = true;
        text.remove_prefix(1);
    }
    size_t length = text.size();
    if (length > size - 1) length = size - 1;
    std::memcpy(buffer, text.data(), length);
    if (quoted && length == text.size()) --length;  // the closing quote fitted: drop it
    buffer[length] = '\0';
    return static_cast<uint32_t>(length);
}

}  // namespace

uint32_t readProfileString(const char *section, const char *key, const char *defaultText, char *buffer,
                           uint32_t size, const char *file) {
    if (!buffer || size == 0) return 0;
    std::string_view fallback = defaultText ? defaultText : "";
    // The platform drops trailing spaces of the default text.
    while (!fallback.empty() && fallback.back() == ' ') fallback.remove_suffix(1);
    if (!section || !key) {
        buffer[0] = '\0';
        return 0;
    }
    std::string text;
    // Without a file the default is copied as it is; from a read file, it is treated as a value.
    if (!file || !readFile(file, text)) return copyEntry(fallback, buffer, size, false);
    std::string_view value;
    if (findValue(text, trim(section), trim(key), value)) return copyEntry(value, buffer, size, true);
    return copyEntry(fallback, buffer, size, true);
}

}  // namespace kx::platform
