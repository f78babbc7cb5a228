// Every level form of every dispatched kernel against its reference, on random content. Each case
// of the shared list runs at every level this processor can run, over widths 1 to 67
// (around the 16- and 32-byte vector widths) and a few wide rows, with tight and padded steps.
// Inputs and outputs end at a page boundary, so a read or write past the last byte a kernel may
// touch faults; outputs start sentinel-filled, so the padding left alone is compared too.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <list>
#include <memory>
#include <set>
#include <random>
#include <string>
#include <vector>

#include "guarded_buffer.h"
#include "level_scope.h"
#include "kernels/colour/luma_sum.h"
#include "kernels/colour/yuv420.h"
#include "kernel_cases.h"
#include "kestrix/px.h"

namespace {

using kx::cases::Block;
using kx::cases::Geometry;
using kx::cases::KernelCase;
using kx::test::GuardedBuffer;

constexpr uint8_t kSentinel = 0xEE;

// Blocks between no-access pages, each ending with its last row's last byte: inputs random from the
// seed, outputs sentinel-filled.
class GuardedBlocks final : public kx::cases::BlockSource {
public:
    explicit GuardedBlocks(uint32_t seed) : random_(seed) {}
    Block input(int32_t rowBytes, int32_t rows, int32_t step) override {
        const Block b = make(rowBytes, rows, step);
        for (size_t i = 0; i < b.size; ++i) b.data[i] = uint8_t(random_());
        return b;
    }
    Block output(int32_t rowBytes, int32_t rows, int32_t step) override { return make(rowBytes, rows, step); }

private:
    Block make(int32_t rowBytes, int32_t rows, int32_t step) {
        const size_t bytes = kx::cases::blockBytes(rowBytes, rows, step);
        buffers_.push_back(std::make_unique<GuardedBuffer>(std::max<size_t>(bytes, 1), kSentinel));
        return {buffers_.back()->data(), step, bytes};
    }
    std::mt19937 random_;
    std::vector<std::unique_ptr<GuardedBuffer>> buffers_;
};

// The functions the cases call beyond the public API: the luminance sum, and for the reference of
// levels 1 to 4 of the conversions their fixed-point rules.
const kx::cases::Entries kEntries{pxRgbToYuv420, pxYuv420ToRgb, px::lumaSum};
const kx::cases::Entries kFixedPointEntries{px::pxRgbToYuv420_fixed15, px::pxYuv420ToRgb_fixed15, px::lumaSum};

// A case's run at the current level on inputs drawn from the seed: the status, then every byte of
// every output block.
std::vector<uint8_t> run(const KernelCase &kernelCase, const Geometry &g, uint32_t seed,
                         const kx::cases::Entries &entries = kEntries) {
    GuardedBlocks blocks(seed);
    const kx::cases::Prepared prepared = kernelCase.prepare(g, blocks, entries);
    // The status first: taken in the same expression as the bytes, the call might run after them.
    const uint8_t status = uint8_t(prepared.call() & 0xFF);
    std::vector<uint8_t> bytes = kx::cases::outputBytes(prepared);
    bytes.insert(bytes.begin(), status);
    return bytes;
}

std::vector<Geometry> geometries() {
    std::vector<Geometry> list;
    for (int32_t w = 1; w <= 67; ++w) {
        list.push_back({w, 1 + w % 6, 0});
        list.push_back({w, 2 + w % 3, 1 + w % 7});
    }
    for (int32_t w : {127, 128, 129, 255, 256, 257, 721}) list.push_back({w, 5, w % 5});
    return list;
}

// Counts the bytes off by one, which only a case with a share may have; any other difference fails.
size_t expectSame(const std::vector<uint8_t> &got, const std::vector<uint8_t> &want, const KernelCase &kernelCase) {
    EXPECT_EQ(got.size(), want.size());
    if (got.size() != want.size()) return 0;
    EXPECT_EQ(got[0], want[0]) << "status";
    size_t offByOne = 0;
    for (size_t i = 0; i < got.size(); ++i) {
        const int difference = std::abs(int(got[i]) - int(want[i]));
        if (difference == 0) continue;
        if (difference != 1 || kernelCase.shareOffByOne == 0) {
            ADD_FAILURE() << "byte " << i << ": " << int(got[i]) << " against " << int(want[i]);
            return offByOne;
        }
        ++offByOne;
    }
    return offByOne;
}

class LevelForms : public testing::TestWithParam<size_t> {};

// The share of bytes off by one is taken over all geometries of a level: a small image with one such
// byte says nothing of the share.
TEST_P(LevelForms, MatchTheirReference) {
    const KernelCase &kernelCase = kx::cases::kernelCases()[GetParam()];
    const kx::test::LevelScope scope;
    size_t offByOne[5] = {}, compared[5] = {};
    uint32_t seed = 1;
    for (const Geometry &g : geometries()) {
        if (g.height < kernelCase.minHeight) continue;
        SCOPED_TRACE(testing::Message() << g.width << "x" << g.height << " pad " << g.pad);
        ++seed;
        ASSERT_TRUE(scope.set(0));
        const std::vector<uint8_t> want = run(kernelCase, g, seed, kernelCase.fixedPointAbove0 ? kFixedPointEntries : kEntries);
        for (int32_t level = 1; level <= 4; ++level) {
            if (!scope.set(level)) continue;  // not runnable on this processor
            SCOPED_TRACE(testing::Message() << "level " << level);
            offByOne[level] += expectSame(run(kernelCase, g, seed), want, kernelCase);
            compared[level] += want.size();
            if (HasFailure()) break;
        }
        if (HasFailure()) break;
    }
    for (int32_t level = 1; level <= 4; ++level)
        EXPECT_LE(double(offByOne[level]), kernelCase.shareOffByOne * double(compared[level])) << "level " << level;
}

INSTANTIATE_TEST_SUITE_P(Kernels, LevelForms, testing::Range(size_t{0}, kx::cases::kernelCases().size()),
                         [](const testing::TestParamInfo<size_t> &info) {
                             std::string name = kx::cases::kernelCases()[info.param].name;
                             for (char &c : name)
                                 if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
                             return name;
                         });


// The list the benchmarks and kestrix-levels take their cases from: names tell cases apart (they
// name the tests above and the tool's rows), and on every frame a case names it writes blocks of the
// sizes it needs, its first input holds at least the frame's pixels, and it moves no more bytes than
// its blocks hold.
TEST(KernelCases, NameFramesTheyCanRunOn) {
    std::set<std::string> names;
    for (const KernelCase &kernelCase : kx::cases::kernelCases()) {
        SCOPED_TRACE(kernelCase.name);
        EXPECT_TRUE(names.insert(kernelCase.name).second) << "named twice";
        for (const Geometry &frame : kernelCase.frames) {
            SCOPED_TRACE(kx::cases::frameName(frame));
            class Sizes final : public kx::cases::BlockSource {
            public:
                Block input(int32_t rowBytes, int32_t rows, int32_t step) override { return make(rowBytes, rows, step); }
                Block output(int32_t rowBytes, int32_t rows, int32_t step) override { return make(rowBytes, rows, step); }
                Block make(int32_t rowBytes, int32_t rows, int32_t step) {
                    blocks.emplace_back(kx::cases::blockBytes(rowBytes, rows, step));
                    return {blocks.back().data(), step, blocks.back().size()};
                }
                std::list<std::vector<uint8_t>> blocks;
            } sizes;
            const kx::cases::Prepared prepared = kernelCase.prepare(frame, sizes, kEntries);
            ASSERT_TRUE(prepared.call);
            EXPECT_GE(sizes.blocks.front().size(), size_t(frame.width) * size_t(frame.height));
            size_t blockBytes = 0;
            for (const std::vector<uint8_t> &b : sizes.blocks) blockBytes += b.size();
            EXPECT_GT(prepared.yardstickBytes, 0u);
            EXPECT_LE(prepared.yardstickBytes, blockBytes);
        }
    }
}

}  // namespace
