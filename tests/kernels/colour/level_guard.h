// Forces a processor level for the length of a scope and puts the previous one back.
#pragma once

#include <cstdint>
#include <vector>

#include "kestrix/px.h"

class LevelGuard {
public:
    LevelGuard() : saved_(pxGetLevel()) {}
    ~LevelGuard() { pxSetLevel(saved_); }
    LevelGuard(const LevelGuard &) = delete;
    LevelGuard &operator=(const LevelGuard &) = delete;
    // False when this processor cannot run the level; the level is then unchanged.
    bool set(int32_t level) { return pxSetLevel(level) == PxStsOk; }

private:
    int32_t saved_;
};

// The levels from..4 that this processor can run.
inline std::vector<int32_t> runnableLevels(int32_t from) {
    LevelGuard guard;
    std::vector<int32_t> levels;
    for (int32_t level = from; level <= 4; ++level) {
        if (guard.set(level)) levels.push_back(level);
    }
    return levels;
}
