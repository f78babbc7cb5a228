// The walk of a row pass that gathers its groups by a plan made once per call: every group runs the
// common way, straight through, except the few the plan lists apart, so that the loop has no test
// per group. File-local in every form that includes it, so no code is shared across instruction sets.
#pragma once

#include <cstdint>

namespace px {
namespace {

// Groups from 0 on: exception e stands at group stopOf(e), in rising order, and stopOf(count) is the
// group count. group(g) runs a common group, exception(g, e) a listed one.
template <class StopOf, class Group, class Exception>
inline void runPlannedGroups(int32_t count, StopOf stopOf, Group group, Exception exception) {
    int32_t g = 0;
    for (int32_t e = 0;; ++e) {
        const int32_t stop = stopOf(e);
#pragma GCC unroll 4
        for (; g < stop; ++g) group(g);
        if (e == count) return;
        exception(g++, e);
    }
}

}  // namespace
}  // namespace px
