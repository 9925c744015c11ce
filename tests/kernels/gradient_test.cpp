// The gradient walk on hand-built meshes: a 5 x 5 grid from a corner worked out by hand,
// restricted and unrestricted walks, the unguarded normalisation, meshes in pieces, Cancel.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>

#include "gradient/propagate.h"

using namespace orbelin::gradient;

namespace {

using Lists = std::vector<std::vector<uint32_t>>;

struct Mesh {
    std::vector<uint32_t> offsets{0}, indices;
    std::vector<double> normals;
    explicit Mesh(const Lists& lists) {
        for (const auto& l : lists) {
            indices.insert(indices.end(), l.begin(), l.end());
            offsets.push_back(static_cast<uint32_t>(indices.size()));
            normals.insert(normals.end(), {0.0, 0.0, 1.0});
        }
    }
    Neighbours View() const { return {offsets.size() - 1, offsets, indices}; }
};

// Edge neighbours of a grid of w x h vertices (vertex x + w * y), in the order its quads meet them.
Lists Grid(uint32_t w, uint32_t h, uint32_t first = 0, Lists lists = {}) {
    lists.resize(first + size_t{w} * h);
    auto add = [&](uint32_t a, uint32_t b) {
        if (std::find(lists[a].begin(), lists[a].end(), b) == lists[a].end()) lists[a].push_back(b);
    };
    for (uint32_t y = 0; y + 1 < h; ++y)
        for (uint32_t x = 0; x + 1 < w; ++x) {
            uint32_t q[4] = {first + y * w + x, first + y * w + x + 1, first + (y + 1) * w + x + 1,
                             first + (y + 1) * w + x};
            for (int i = 0; i < 4; ++i) add(q[i], q[(i + 1) % 4]), add(q[(i + 1) % 4], q[i]);
        }
    return lists;
}

std::vector<int32_t> All(size_t n) {
    std::vector<int32_t> v(n);
    for (size_t i = 0; i < n; ++i) v[i] = static_cast<int32_t>(i);
    return v;
}

std::set<int32_t> Set(const std::vector<int32_t>& v) { return {v.begin(), v.end()}; }

}  // namespace

TEST(GradientWalk, GridFromACornerGivesRingOverEight) {
    Mesh mesh(Grid(5, 5));
    std::vector<int32_t> roots{0}, targets = All(25);
    std::vector<size_t> rings;
    Propagation p = Propagate({mesh.View(), mesh.normals, roots, targets, true}, [&](size_t k) {
        rings.push_back(k);
        return true;
    });
    ASSERT_FALSE(p.cancelled);
    EXPECT_EQ(p.maxLevel, 8.0);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 5; ++x) EXPECT_EQ(p.gradient[static_cast<size_t>(x + 5 * y)], (x + y) / 8.0) << x << "," << y;
    // Ring sizes 1 2 3 4 5 4 3 2 1, and the loop ends with the ring that reached the last vertex.
    EXPECT_EQ(rings, (std::vector<size_t>{1, 2, 3, 4, 5, 4, 3, 2, 1}));
    // The border is singular (corners valence 2, sides 3), the 9 inner vertices are not; the
    // list follows the rings.
    std::set<int32_t> border;
    for (int i = 0; i < 25; ++i)
        if (i % 5 == 0 || i % 5 == 4 || i / 5 == 0 || i / 5 == 4) border.insert(i);
    EXPECT_EQ(Set(p.singular), border);
    EXPECT_EQ(p.singular.size(), 16u);
    EXPECT_EQ(p.singular.front(), 0);
    EXPECT_EQ(p.singular.back(), 24);
    EXPECT_EQ(p.maxima, (std::vector<int32_t>{24}));
    // A flat grid has parallel normals everywhere.
    for (double c : p.curvature) EXPECT_EQ(c, 0.0);
}

TEST(GradientWalk, CurvatureIsOneMinusTheSmallestAbsoluteDot) {
    // A path 0 - 1 - 2 with normals at right angles and opposite: |dot| clears the sign.
    Mesh mesh({{1}, {0, 2}, {1}});
    mesh.normals = {1, 0, 0, 0, 0, 1, -1, 0, 0};
    std::vector<int32_t> roots{0}, targets{2, 1, 0};
    Propagation p = Propagate({mesh.View(), mesh.normals, roots, targets, true});
    EXPECT_EQ(p.curvature, (std::vector<double>{1.0, 1.0, 1.0}));
    EXPECT_EQ(p.gradient, (std::vector<double>{1.0, 0.5, 0.0}));
    mesh.normals = {0, 0, 1, 0, 0.6, 0.8, 0, 0, -1};
    p = Propagate({mesh.View(), mesh.normals, roots, targets, true});
    EXPECT_NEAR(p.curvature[1], 0.2, 1e-15);
    EXPECT_NEAR(p.curvature[2], 0.2, 1e-15);
    // Without curvature nothing is read from the normals.
    p = Propagate({mesh.View(), {}, roots, targets, false});
    EXPECT_TRUE(p.curvature.empty());
    // Non-finite normals never lower the minimum.
    mesh.normals.assign(9, std::nan(""));
    p = Propagate({mesh.View(), mesh.normals, roots, targets, true});
    EXPECT_EQ(p.curvature, (std::vector<double>{0.0, 0.0, 0.0}));
}

TEST(GradientWalk, RootInTheTargetRestrictsTheWalkAndCountsAnEmptyPass) {
    Mesh mesh(Grid(5, 5));
    // The target: the first two rows; a root inside it keeps the walk there.
    std::vector<int32_t> targets = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, roots{0};
    Propagation p = Propagate({mesh.View(), mesh.normals, roots, targets, false});
    // Rings 0..5 (R = 6 non-empty rings) and one empty pass: maxLevel 6, the farthest ring 5/6.
    EXPECT_EQ(p.maxLevel, 6.0);
    for (int i = 0; i < 10; ++i) EXPECT_EQ(p.gradient[static_cast<size_t>(i)], (i % 5 + i / 5) / 6.0);
    // Only reached vertices are listed; vertex 9 (valence 3) is a local maximum.
    for (int32_t s : p.singular) EXPECT_LT(s, 10);
    EXPECT_EQ(p.maxima, (std::vector<int32_t>{9}));

    // No root inside the target: the whole grid is walked and only the gathering is restricted.
    std::vector<int32_t> outside{24};
    p = Propagate({mesh.View(), mesh.normals, outside, targets, false});
    EXPECT_EQ(p.maxLevel, 8.0);
    for (int i = 0; i < 10; ++i) EXPECT_EQ(p.gradient[static_cast<size_t>(i)], (8 - i % 5 - i / 5) / 8.0);
    EXPECT_EQ(p.singular.size(), 16u);
}

TEST(GradientWalk, DegenerateRootListsDivideUnguarded) {
    Mesh mesh(Grid(3, 3));
    std::vector<int32_t> targets = All(9), none, every = All(9);
    // No roots: nothing runs, maxLevel -1, every value 0 / -1.
    size_t calls = 0;
    Propagation p = Propagate({mesh.View(), mesh.normals, none, targets, true}, [&](size_t) { return ++calls, true; });
    EXPECT_EQ(calls, 0u);
    EXPECT_EQ(p.maxLevel, -1.0);
    for (double g : p.gradient) EXPECT_TRUE(g == 0.0 && std::signbit(g));
    EXPECT_TRUE(p.maxima.empty());
    EXPECT_TRUE(p.singular.empty());
    // All roots: one ring, maxLevel 0, the roots read 0/0; no maximum survives NaN.
    p = Propagate({mesh.View(), mesh.normals, every, targets, true});
    EXPECT_EQ(p.maxLevel, 0.0);
    for (double g : p.gradient) EXPECT_TRUE(std::isnan(g));
    EXPECT_EQ(p.singular.size(), 8u);
    EXPECT_TRUE(p.maxima.empty());
    // An empty mesh.
    Mesh empty(Lists{});
    p = Propagate({empty.View(), {}, none, none, false});
    EXPECT_EQ(p.maxLevel, -1.0);
    EXPECT_TRUE(p.gradient.empty());
}

TEST(GradientWalk, PiecesWithoutRootsKeepZeroOverMaxLevel) {
    // Two 3 x 3 grids side by side in the numbering; the root is in the first.
    Mesh mesh(Grid(3, 3, 9, Grid(3, 3)));
    std::vector<int32_t> roots{0}, targets = All(18);
    Propagation p = Propagate({mesh.View(), mesh.normals, roots, targets, false});
    // 5 rings and an empty pass: maxLevel 5.
    EXPECT_EQ(p.maxLevel, 5.0);
    EXPECT_EQ(p.gradient[8], 4.0 / 5.0);
    for (size_t i = 9; i < 18; ++i) EXPECT_EQ(p.gradient[i], 0.0);
    // The unreached piece holds no candidate, so no maximum there; its far corner is one.
    EXPECT_EQ(p.maxima, (std::vector<int32_t>{8}));
    for (int32_t s : p.singular) EXPECT_LT(s, 9);
}

TEST(GradientWalk, OnlyCandidatesCanBeMaxima) {
    // A path 0 - 1 - 2 - 3 with the root listed twice: the second visit of 0 admits nothing
    // (a candidate, but 1 is higher); the walk has processed 4 vertices when 2 admits 3, so 3
    // stays in the front unprocessed (gradient 0, singular at the end). Vertex 2 is then
    // above all its neighbours, but it admitted a vertex: no maximum.
    Mesh mesh({{1}, {0, 2}, {1, 3}, {2}});
    std::vector<int32_t> roots{0, 0}, targets = All(4);
    Propagation p = Propagate({mesh.View(), mesh.normals, roots, targets, false});
    EXPECT_EQ(p.maxLevel, 2.0);
    EXPECT_EQ(p.gradient, (std::vector<double>{0.0, 0.5, 1.0, 0.0}));
    EXPECT_TRUE(p.maxima.empty());
    EXPECT_EQ(p.singular, (std::vector<int32_t>{0, 0, 1, 2, 3}));
    // A lone vertex with no neighbours at all is a candidate, and a maximum when it reads >= 0.
    Mesh lone(Lists(1));
    std::vector<int32_t> r0{0}, t0{0};
    p = Propagate({lone.View(), lone.normals, r0, t0, true});
    EXPECT_EQ(p.maxLevel, 0.0);
    EXPECT_TRUE(p.maxima.empty());  // 0/0 is not >= 0
    EXPECT_EQ(p.singular, (std::vector<int32_t>{0}));
    EXPECT_EQ(p.curvature, (std::vector<double>{0.0}));  // minDot stays 1
}

TEST(GradientWalk, CancelAfterTheFirstRingGivesNoResult) {
    Mesh mesh(Grid(5, 5));
    std::vector<int32_t> roots{0}, targets = All(25);
    int calls = 0;
    Propagation p = Propagate({mesh.View(), mesh.normals, roots, targets, true}, [&](size_t) { return ++calls < 1; });
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(p.cancelled);
    EXPECT_TRUE(p.gradient.empty());
    EXPECT_TRUE(p.curvature.empty());
    EXPECT_TRUE(p.singular.empty());
    EXPECT_TRUE(p.maxima.empty());
}

TEST(GradientWalk, IndicesNamingNoVertexAreRefused) {
    Mesh mesh(Grid(2, 2));
    std::vector<int32_t> bad{4}, negative{-1}, ok{0};
    EXPECT_THROW(Propagate({mesh.View(), mesh.normals, bad, ok, false}), std::invalid_argument);
    EXPECT_THROW(Propagate({mesh.View(), mesh.normals, ok, negative, false}), std::invalid_argument);
    EXPECT_THROW(Propagate({mesh.View(), {}, ok, ok, true}), std::invalid_argument);
    mesh.indices[0] = 7;
    EXPECT_THROW(Propagate({mesh.View(), mesh.normals, ok, ok, false}), std::invalid_argument);
}
