#include <gtest/gtest.h>

#include <vector>

#include "resize_test_support.h"

namespace {

using namespace resize_test;

// Every level this processor can run gives the bytes of level 0, on random content, widths around
// the vector widths, padded and tight steps, both interpolations.
TEST(ResizeLevelsTest, EveryLevelMatchesTheReference) {
    struct Case {
        int32_t srcW, srcH, pad;
        PxRect rect;
        double fx, fy;
    };
    std::vector<Case> cases;
    for (int32_t w : {1, 2, 3, 5, 15, 16, 17, 31, 32, 33, 47, 64, 67}) {
        cases.push_back({w, 9, 0, {0, 0, w, 9}, 1.9, 0.8});
        cases.push_back({w, 9, 5, {0, 1, w, 7}, 0.55, 3.1});
        cases.push_back({w + 3, 12, 1, {1, 2, w, 10}, 11.0 / 7.0, 1.0});
    }
    cases.push_back({720, 20, 0, {0, 0, 720, 20}, 800.0 / 720.0, 600.0 / 576.0});

    const int32_t saved = pxGetLevel();
    for (const Case &c : cases) {
        const Image src = randomImage(c.srcW, c.srcH, c.pad, static_cast<uint32_t>(c.srcW * 31 + c.pad));
        for (int32_t interpolation : {PxNearest, PxLinear}) {
            ASSERT_EQ(pxSetLevel(0), PxStsOk);
            Output reference(1400, 40);
            ASSERT_EQ(resize(src, c.rect, reference, c.fx, c.fy, interpolation), PxStsOk);
            for (int32_t level = 1; level < 5; ++level) {
                if (pxSetLevel(level) != PxStsOk) continue;  // not runnable here
                Output out(1400, 40);
                ASSERT_EQ(resize(src, c.rect, out, c.fx, c.fy, interpolation), PxStsOk);
                EXPECT_EQ(out.bytes, reference.bytes)
                    << "level " << level << " width " << c.srcW << " interpolation " << interpolation;
            }
        }
    }
    pxSetLevel(saved);
}

}  // namespace
