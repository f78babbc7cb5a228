#include "zones.h"

#include <algorithm>
#include <charconv>

namespace kx::gst {

namespace {

bool isEmpty(const RECT &r) { return r.right <= r.left || r.bottom <= r.top; }
bool equal(const RECT &a, const RECT &b) {
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

std::string_view trimmed(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
    return s;
}

bool parseInt(std::string_view s, int32_t &value) {
    s = trimmed(s);
    if (!s.empty() && s.front() == '+') s.remove_prefix(1);
    const auto [end, error] = std::from_chars(s.data(), s.data() + s.size(), value);
    return !s.empty() && error == std::errc() && end == s.data() + s.size();
}

}  // namespace

bool parseZones(std::string_view text, std::vector<RECT> &zones) {
    std::vector<RECT> parsed;
    text = trimmed(text);
    while (!text.empty()) {
        const size_t end = text.find(';');
        const std::string_view item = text.substr(0, end);
        text = end == std::string_view::npos ? std::string_view{} : text.substr(end + 1);
        int32_t values[4];
        std::string_view rest = item;
        for (int i = 0; i < 4; ++i) {
            const size_t comma = rest.find(',');
            if ((i < 3) == (comma == std::string_view::npos)) return false;
            if (!parseInt(rest.substr(0, comma), values[i])) return false;
            rest = i < 3 ? rest.substr(comma + 1) : std::string_view{};
        }
        parsed.push_back({values[0], values[1], values[2], values[3]});
        text = trimmed(text);
    }
    zones = std::move(parsed);
    return true;
}

std::string formatZones(const std::vector<RECT> &zones) {
    std::string text;
    for (const RECT &z : zones) {
        if (!text.empty()) text += ';';
        text += std::to_string(z.left) + ',' + std::to_string(z.top) + ',' + std::to_string(z.right) + ',' +
                std::to_string(z.bottom);
    }
    return text;
}

std::vector<int32_t> watchedZones(const std::vector<RECT> &zones) {
    std::vector<int32_t> kept;
    for (size_t i = 0; i < zones.size(); ++i) {
        if (!isEmpty(zones[i])) kept.push_back(static_cast<int32_t>(i));
    }
    // Only neighbours are compared, from the end of the list, one removal at a time, as the
    // detector does it: a rectangle inside one that is not its neighbour stays.
    for (bool removed = true; removed && !kept.empty();) {
        removed = false;
        for (size_t i = kept.size() - 1; i >= 1; --i) {
            const RECT &a = zones[static_cast<size_t>(kept[i])], &b = zones[static_cast<size_t>(kept[i - 1])];
            const RECT both = {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
                               std::min(a.bottom, b.bottom)};
            if (isEmpty(both)) continue;
            if (equal(both, a)) {
                kept.erase(kept.begin() + static_cast<std::ptrdiff_t>(i));
            } else if (equal(both, b)) {
                kept.erase(kept.begin() + static_cast<std::ptrdiff_t>(i - 1));
            } else {
                continue;
            }
            removed = true;
            break;
        }
    }
    if (kept.size() > kMaxWatchedZones) kept.resize(kMaxWatchedZones);
    return kept;
}

RECT flipRows(const RECT &zone, int32_t height) {
    // 64-bit on the way: a zone far outside the picture stays far outside, it does not wrap in.
    auto clamp = [](int64_t v) { return static_cast<int32_t>(std::clamp<int64_t>(v, INT32_MIN, INT32_MAX)); };
    return {zone.left, clamp(int64_t{height} - zone.bottom), zone.right, clamp(int64_t{height} - zone.top)};
}

}  // namespace kx::gst
