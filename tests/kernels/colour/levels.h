// Runs a test body at each level this processor can run, then puts the chosen level back.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>

#include "kestrix/px.h"

template <class Body>
void forEachLevel(int32_t from, Body body) {
    const int32_t saved = pxGetLevel();
    for (int32_t level = from; level <= 4; ++level) {
        SCOPED_TRACE(testing::Message() << "level " << level);
        if (pxSetLevel(level) == PxStsOk) body(level);
    }
    pxSetLevel(saved);
}
