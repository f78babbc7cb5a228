// The kernel level in tests: a scope that puts back the level in force when it was made, however
// the test leaves it (a failed ASSERT returns early), and a run of a body at every level.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>

#include "kestrix/px.h"

namespace kx::test {

class LevelScope {
public:
    LevelScope() : saved_(pxGetLevel()) {}
    ~LevelScope() { pxSetLevel(saved_); }
    LevelScope(const LevelScope &) = delete;
    LevelScope &operator=(const LevelScope &) = delete;

    // Whether this processor runs the level; only then is it in force.
    bool set(int32_t level) const { return pxSetLevel(level) == PxStsOk; }

private:
    int32_t saved_;
};

// Runs body(level) at each level from `from` up that this processor runs, then puts the level back.
template <class Body>
void forEachLevel(int32_t from, Body body) {
    const LevelScope scope;
    for (int32_t level = from; level <= 4; ++level) {
        SCOPED_TRACE(testing::Message() << "level " << level);
        if (scope.set(level)) body(level);
    }
}

}  // namespace kx::test
