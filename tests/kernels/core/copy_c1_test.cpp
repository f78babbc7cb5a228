// pxCopyC1 at every level this processor runs, against a plain row-by-row copy.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "kestrix/px.h"

namespace {

constexpr uint8_t kSentinel = 0xA5;

// Runs body once for each level the processor can run, with that level set; restores the level.
template <typename Body>
void forEachLevel(Body body) {
    const int32_t before = pxGetLevel();
    for (int32_t level = 0; level <= 4; ++level) {
        if (pxSetLevel(level) != PxStsOk) continue;
        SCOPED_TRACE(testing::Message() << "level " << level);
        body(level);
    }
    pxSetLevel(before);
}

uint8_t pattern(int32_t x, int32_t y, int32_t w) { return static_cast<uint8_t>(x * 7 + y * 31 + w * 3 + 1); }

TEST(CopyC1, MatchesPlainCopy) {
    forEachLevel([](int32_t) {
        for (int32_t width = 1; width <= 67; ++width) {
            for (int32_t pad : {0, 5, 32}) {
                const int32_t height = 4;
                const int32_t srcStep = width + pad;
                const int32_t dstStep = width + (pad ? pad + 3 : 0);
                // The source ends exactly at its last pixel, so a read past the width shows under ASan.
                std::vector<uint8_t> src(static_cast<size_t>(srcStep) * (height - 1) + width);
                for (int32_t y = 0; y < height; ++y)
                    for (int32_t x = 0; x < width; ++x) src[y * srcStep + x] = pattern(x, y, width);
                if (pad)
                    for (int32_t y = 0; y + 1 < height; ++y)
                        for (int32_t x = width; x < srcStep; ++x) src[y * srcStep + x] = 0x11;
                const int32_t guard = 40;
                std::vector<uint8_t> dst(guard + static_cast<size_t>(dstStep) * height + guard, kSentinel);
                ASSERT_EQ(pxCopyC1(src.data(), srcStep, dst.data() + guard, dstStep, PxSize{width, height}), PxStsOk);
                for (size_t i = 0; i < dst.size(); ++i) {
                    const int64_t off = static_cast<int64_t>(i) - guard;
                    const int32_t y = off >= 0 ? static_cast<int32_t>(off / dstStep) : -1;
                    const int32_t x = off >= 0 ? static_cast<int32_t>(off % dstStep) : -1;
                    const bool inside = off >= 0 && y < height && x < width;
                    const uint8_t expected = inside ? pattern(x, y, width) : kSentinel;
                    ASSERT_EQ(dst[i], expected) << "width " << width << " pad " << pad << " byte " << off;
                }
            }
        }
    });
}

TEST(CopyC1, LargeWidths) {
    forEachLevel([](int32_t) {
        for (int32_t width : {95, 96, 97, 127, 128, 129, 352, 721}) {
            const int32_t height = 3, step = width + 1;
            std::vector<uint8_t> src(static_cast<size_t>(step) * height);
            for (size_t i = 0; i < src.size(); ++i) src[i] = static_cast<uint8_t>(i * 13 + 5);
            std::vector<uint8_t> dst(src.size(), kSentinel), expected(src.size(), kSentinel);
            for (int32_t y = 0; y < height; ++y) std::memcpy(&expected[y * step], &src[y * step], width);
            ASSERT_EQ(pxCopyC1(src.data(), step, dst.data(), step, PxSize{width, height}), PxStsOk);
            EXPECT_EQ(dst, expected) << width;
        }
    });
}

struct StatusRow {
    const char *what;
    bool nullSrc;
    bool nullDst;
    PxSize size;
    PxStatus status;
};

const StatusRow kStatusRows[] = {
    {"null source", true, false, {4, 4}, PxStsNullPtr},
    {"null destination", false, true, {4, 4}, PxStsNullPtr},
    {"pointers before sizes", true, false, {0, 0}, PxStsNullPtr},
    {"width 0", false, false, {0, 4}, PxStsBadSize},
    {"height 0", false, false, {4, 0}, PxStsBadSize},
    {"negative width", false, false, {-1, 4}, PxStsBadSize},
    {"negative height", false, false, {4, -3}, PxStsBadSize},
    {"smallest plane", false, false, {1, 1}, PxStsOk},
};

TEST(CopyC1, Statuses) {
    forEachLevel([](int32_t) {
        for (const StatusRow &row : kStatusRows) {
            SCOPED_TRACE(row.what);
            const uint8_t src[16] = {9, 8, 7, 6, 5, 4, 3, 2, 1, 0, 1, 2, 3, 4, 5, 6};
            uint8_t dst[16];
            std::memset(dst, kSentinel, sizeof dst);
            EXPECT_EQ(pxCopyC1(row.nullSrc ? nullptr : src, 4, row.nullDst ? nullptr : dst, 4, row.size), row.status);
            const bool copied = row.status == PxStsOk;
            EXPECT_EQ(dst[0], copied ? 9 : kSentinel);
            for (int i = 1; i < 16; ++i) EXPECT_EQ(dst[i], kSentinel) << i;
        }
    });
}

}  // namespace
