// The UV strips' kernel on a 3 x 3 grid of quads: the root chain and its breaks, the start
// root, the vertical step, and the inputs it refuses. (The layouts themselves are worked by
// hand in the tool tests, through the command.)
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "gradient/uv_strips.h"

using namespace orbelin::gradient;

namespace {

// A 3 x 3 grid (vertex row * 3 + column) of 4 quads, and its edge neighbours in the order the
// corners first name them.
struct Grid {
    std::vector<uint32_t> polyOffsets{0, 4, 8, 12, 16};
    std::vector<uint32_t> corners{0, 3, 4, 1, 1, 4, 5, 2, 3, 6, 7, 4, 4, 7, 8, 5};
    std::vector<uint32_t> offsets{0}, indices;
    Grid() {
        std::vector<std::vector<uint32_t>> lists(9);
        auto mention = [&](uint32_t a, uint32_t b) {
            if (std::find(lists[a].begin(), lists[a].end(), b) == lists[a].end()) lists[a].push_back(b);
        };
        for (size_t p = 0; p + 1 < polyOffsets.size(); ++p)
            for (uint32_t c = polyOffsets[p]; c < polyOffsets[p + 1]; ++c) {
                const uint32_t a = corners[c], b = corners[c + 1 < polyOffsets[p + 1] ? c + 1 : polyOffsets[p]];
                mention(a, b), mention(b, a);
            }
        for (const auto& l : lists) {
            indices.insert(indices.end(), l.begin(), l.end());
            offsets.push_back(static_cast<uint32_t>(indices.size()));
        }
    }
    UVMesh View() const { return {{9, offsets, indices}, polyOffsets, corners}; }
};

}  // namespace

TEST(GradientUV, TheChainStopsWhereNoRootFollows) {
    Grid grid;
    // Roots 0 and 2 are not neighbours: the chain from 0 ends at once, yet the widths count
    // both roots.
    std::vector<double> g{0, 0.5, 0, 0.5, 0.5, 0.5, 1, 1, 1}, uvw(48, 0.0);
    std::vector<UVStage> stages;
    UVResult r = UVFromGradient(grid.View(), g, uvw, {}, [&](UVStage s, const UVResult&) { stages.push_back(s); });
    EXPECT_EQ(r.rootCount, 2u);
    EXPECT_EQ(r.chain, (std::vector<int32_t>{0}));
    EXPECT_EQ(r.vIncrement, 0.5);
    EXPECT_EQ(r.value, 2.0 * r.maxU);
    EXPECT_EQ(stages, (std::vector<UVStage>{UVStage::Reordering, UVStage::Strips, UVStage::Filling}));
    for (double x : uvw) EXPECT_TRUE(std::isfinite(x));
    // Asked to start from 2, the chain is {2}; from a vertex that is no root, or none at all, 0.
    UVOptions options;
    options.rootVertex = 2;
    EXPECT_EQ(UVFromGradient(grid.View(), g, uvw, options).chain, (std::vector<int32_t>{2}));
    for (int64_t start : {int64_t{4}, int64_t{9}, int64_t{1} << 40, int64_t{-7}}) {
        options.rootVertex = start;
        EXPECT_EQ(UVFromGradient(grid.View(), g, uvw, options).chain, (std::vector<int32_t>{0})) << start;
    }
}

TEST(GradientUV, NoRootsWriteNothingAndTwoLevelsStepByOne) {
    Grid grid;
    std::vector<double> g(9, 0.25), uvw(48, 7.0);
    UVResult r = UVFromGradient(grid.View(), g, uvw, {});
    EXPECT_EQ(r.rootCount, 0u);
    EXPECT_EQ(r.vIncrement, 0.25);
    EXPECT_EQ(uvw, std::vector<double>(48, 7.0));
    // A map of only 0 and 1 steps by 1; w is never written; without normalising the value is
    // the root count.
    g = {0, 0, 0, 1, 1, 1, 1, 1, 1};
    UVOptions plain;
    plain.normalize = false;
    r = UVFromGradient(grid.View(), g, uvw, plain);
    EXPECT_EQ(r.vIncrement, 1.0);
    EXPECT_EQ(r.value, 3.0);
    for (size_t s = 2; s < uvw.size(); s += 3) EXPECT_EQ(uvw[s], 7.0);
}

TEST(GradientUV, MalformedInputIsRefused) {
    Grid grid;
    std::vector<double> g(9, 0.0), uvw(48, 0.0), shortG(8, 0.0), shortUV(47, 0.0);
    EXPECT_THROW(UVFromGradient(grid.View(), shortG, uvw, {}), std::invalid_argument);
    EXPECT_THROW(UVFromGradient(grid.View(), g, shortUV, {}), std::invalid_argument);
    grid.corners[5] = 9;
    EXPECT_THROW(UVFromGradient(grid.View(), g, uvw, {}), std::invalid_argument);
    grid.corners[5] = 4;
    grid.polyOffsets[2] = 3;  // offsets that go back
    EXPECT_THROW(UVFromGradient(grid.View(), g, uvw, {}), std::invalid_argument);
}
