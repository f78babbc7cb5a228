// Zones as the element's users write them: rectangles in picture pixels, the top row first.
#pragma once

#include <kestrix.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kx::gst {

// The mask of MotionCompare has eight bits: zones past the eighth are not watched.
inline constexpr int32_t kMaxWatchedZones = 8;

// "l,t,r,b;l,t,r,b": integers, spaces allowed around them, a trailing ';' allowed; "" is no zone.
// false (and zones untouched) for anything else.
bool parseZones(std::string_view text, std::vector<RECT> &zones);
std::string formatZones(const std::vector<RECT> &zones);

// Which of the given zones a detector watches, by their index in the list, in its order: empty
// rectangles dropped and one that lies inside its neighbour removed by the detector's own rule,
// at most the first eight of those left. Handing the detector exactly these makes its mask bit i
// belong to the i-th of them.
std::vector<int32_t> watchedZones(const std::vector<RECT> &zones);

// The same picture rows counted from the bottom: a frame whose first memory row is the picture's
// top, read as a bottom-up frame, shows the picture's row y as its image row height - 1 - y.
RECT flipRows(const RECT &zone, int32_t height);

}  // namespace kx::gst
