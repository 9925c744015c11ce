// The smooth kernel: hand-computed cases on a 3x3 grid, and the parallel walk checked bit for bit
// against the definition written literally (real recursion, a visited array cleared per element)
// on grids and small irregular meshes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <random>

#include "smooth/smooth.h"

using namespace orbelin::smooth;

namespace {

using Lists = std::vector<std::vector<uint32_t>>;

struct Packed {
    std::vector<uint32_t> offsets{0}, indices;
    explicit Packed(const Lists& lists) {
        for (const auto& l : lists) {
            indices.insert(indices.end(), l.begin(), l.end());
            offsets.push_back(static_cast<uint32_t>(indices.size()));
        }
    }
    Neighbours View() const { return {offsets.size() - 1, offsets, indices}; }
};

// Edge neighbours (or, with `face`, the other vertices of the quads around each vertex, shared
// ones repeated) of a grid of w x h vertices, in the order the quads meet them.
Lists Grid(uint32_t w, uint32_t h, bool face = false) {
    Lists lists(size_t{w} * h);
    auto add = [&](uint32_t a, uint32_t b) {
        if (face || std::find(lists[a].begin(), lists[a].end(), b) == lists[a].end()) lists[a].push_back(b);
    };
    for (uint32_t y = 0; y + 1 < h; ++y)
        for (uint32_t x = 0; x + 1 < w; ++x) {
            uint32_t q[4] = {y * w + x, y * w + x + 1, (y + 1) * w + x + 1, (y + 1) * w + x};
            for (int i = 0; i < 4; ++i)
                for (int k = 1; k < 4; ++k)
                    if (face || k != 2) add(q[i], q[(i + k) % 4]);
        }
    return lists;
}

void Walk(const Lists& lists, const std::vector<double>& cur, uint32_t v, int depth, int radius,
          std::vector<bool>& visited, double& sum, int& count) {
    visited[v] = true;
    for (uint32_t n : lists[v])
        if (!visited[n]) {
            sum += cur[n];
            count += 1;
            if (depth <= radius) Walk(lists, cur, n, depth + 1, radius, visited, sum, count);
        }
}

std::vector<double> Reference(const Lists& lists, const std::vector<int32_t>& cluster,
                              const std::vector<double>& weights, const Options& o) {
    const size_t V = lists.size();
    auto valid = [&](int32_t p) { return p >= 0 && size_t(p) < V; };
    std::vector<double> cur(V, 0.0), next(V, 0.0);
    for (size_t j = 0; j < cluster.size(); ++j)
        if (valid(cluster[j])) cur[cluster[j]] = weights[j];
    double maxSeen = -10000.0, minSeen = 10000.0;
    std::vector<bool> visited(V);
    for (int pass = 0; pass < o.repeat; ++pass) {
        for (size_t j = 0; j < cluster.size(); ++j) {
            if (!valid(cluster[j])) continue;
            const uint32_t p = cluster[j];
            double sum = 0;
            int count = 0;
            if (o.radius >= 1) {
                visited.assign(V, false);
                Walk(lists, cur, p, 1, o.radius, visited, sum, count);
            } else {
                for (uint32_t n : lists[p]) sum += cur[n], count += 1;
            }
            double a = count ? sum / count : cur[p];
            if (o.postProcess == 1) {
                double m = o.max > a ? a : o.max;
                if (!(m > o.min)) a = o.min;
                else if (!(o.max > a)) a = o.max;
            } else if (o.postProcess == 2) {
                if (a > maxSeen) maxSeen = a;
                if (a < minSeen) minSeen = a;
            }
            next[p] = a;
        }
        cur = next;
    }
    std::vector<double> result(cluster.size(), 0.0);
    for (size_t j = 0; j < cluster.size(); ++j)
        if (valid(cluster[j])) result[j] = next[cluster[j]];
    if (o.postProcess == 2 && maxSeen != minSeen) {
        double scale = (o.max - o.min) / (maxSeen - minSeen);
        for (size_t j = 0; j < cluster.size(); ++j) {
            if (!valid(cluster[j])) continue;
            double v = result[j], d = v - minSeen;
            result[j] = (d >= 0 ? v - minSeen : -v - minSeen) * scale + o.min;
        }
    }
    return result;
}

void ExpectSameBits(const std::vector<double>& a, const std::vector<double>& b, const std::string& what) {
    ASSERT_EQ(a.size(), b.size()) << what;
    for (size_t i = 0; i < a.size(); ++i)
        ASSERT_EQ(std::memcmp(&a[i], &b[i], sizeof(double)), 0) << what << " element " << i << ": " << a[i] << " vs " << b[i];
}

// The 3x3 grid, listed by hand (row-major, neighbours in increasing index).
const Lists kGrid3{{1, 3}, {0, 2, 4}, {1, 5}, {0, 4, 6}, {1, 3, 5, 7}, {2, 4, 8}, {3, 7}, {4, 6, 8}, {5, 7}};

TEST(SmoothKernel, HandComputedOnThreeByThreeGrid) {
    Packed g(kGrid3);
    std::vector<int32_t> all{0, 1, 2, 3, 4, 5, 6, 7, 8};
    // Corners 1, edge midpoints 0, centre 100.
    std::vector<double> w{1, 0, 1, 0, 100, 0, 1, 0, 1};
    Options o;  // radius 1, one pass
    Result r = Smooth(g.View(), all, w, o);
    // Centre: its 4 neighbours once, and each corner twice (met from two unmarked parents at the
    // last depth), the centre never: 8 / 12.
    EXPECT_EQ(r.weights[4], 8.0 / 12.0);
    // Corner 0: 1, then 2 and 4 through 1; 3, then 4 again and 6 through 3.
    EXPECT_EQ(r.weights[0], (0.0 + 1 + 100 + 0 + 100 + 1) / 6.0);
    EXPECT_EQ(r.withoutNeighbours, 0u);
    o.radius = 0;
    r = Smooth(g.View(), all, w, o);
    EXPECT_EQ(r.weights[4], 0.0);
    EXPECT_EQ(r.weights[1], 102.0 / 3.0);
    // Clamp into [0, 1] at every pass: the edges' 34 becomes 1 in the first pass, which the
    // centre averages in the second.
    o.postProcess = 1;
    o.repeat = 2;
    r = Smooth(g.View(), all, w, o);
    EXPECT_EQ(r.weights[4], 1.0);
    // No pass: all zeros, and change range stretches them from the untouched bounds.
    o.repeat = 0;
    o.postProcess = 0;
    EXPECT_EQ(Smooth(g.View(), all, w, o).weights, std::vector<double>(9, 0.0));
    o.postProcess = 2;
    o.min = 2;
    o.max = 4;
    for (double x : Smooth(g.View(), all, w, o).weights) EXPECT_DOUBLE_EQ(x, 3.0);
}

TEST(SmoothKernel, UnusualElements) {
    // 0-1-2 a path, 3 alone, 4 listing only itself.
    Lists lists{{1}, {0, 2}, {1}, {}, {4}};
    Packed g(lists);
    std::vector<int32_t> cluster{0, 3, 4, -1, 5, 2, 1, 3};
    std::vector<double> w{0.5, 7, 9, 3, 3, 0.25, 1, 8};
    Options o;
    o.repeat = 5;
    Result r = Smooth(g.View(), cluster, w, o);
    EXPECT_EQ(r.weights[1], 8.0);  // kept, and the later of the two weights given for vertex 3
    EXPECT_EQ(r.weights[7], 8.0);
    EXPECT_EQ(r.weights[2], 9.0);  // itself only: nothing counted with a walk
    EXPECT_EQ(r.weights[3], 0.0);  // names no vertex
    EXPECT_EQ(r.weights[4], 0.0);
    EXPECT_EQ(r.withoutNeighbours, 3u);  // counted once, not per pass
    ExpectSameBits(r.weights, Reference(lists, cluster, w, o), "walk");
    o.radius = 0;  // a direct list counts the vertex itself
    r = Smooth(g.View(), cluster, w, o);
    EXPECT_EQ(r.weights[2], 9.0);
    EXPECT_EQ(r.withoutNeighbours, 2u);
    // Change range leaves an element that names no vertex at 0.
    o.postProcess = 2;
    o.min = 5;
    r = Smooth(g.View(), cluster, w, o);
    EXPECT_EQ(r.weights[3], 0.0);
    ExpectSameBits(r.weights, Reference(lists, cluster, w, o), "direct, change range");
}

TEST(SmoothKernel, MatchesDefinitionOnSmallMeshes) {
    std::vector<std::pair<std::string, Lists>> meshes;
    meshes.emplace_back("grid", Grid(7, 6));
    meshes.emplace_back("grid, face neighbours", Grid(5, 5, true));
    Lists fan(9);  // pole 0, ring 1..8 closed
    for (uint32_t i = 1; i <= 8; ++i) {
        fan[0].push_back(i);
        fan[i] = {0, i == 8 ? 1u : i + 1, i == 1 ? 8u : i - 1};
    }
    meshes.emplace_back("fan with a pole", fan);
    Lists strip(12);  // triangle strip 2 x 6, the border vertices with fewer neighbours
    for (uint32_t i = 0; i + 2 < 12; ++i)
        for (uint32_t a : {i, i + 1, i + 2})
            for (uint32_t b : {i, i + 1, i + 2})
                if (a != b && std::find(strip[a].begin(), strip[a].end(), b) == strip[a].end()) strip[a].push_back(b);
    meshes.emplace_back("strip", strip);
    Lists isolated = Grid(4, 3);
    isolated.push_back({});
    meshes.emplace_back("isolated vertex", isolated);
    Lists pieces = Grid(3, 3);
    for (const auto& l : Grid(4, 2)) {
        pieces.emplace_back();
        for (uint32_t n : l) pieces.back().push_back(n + 9);
    }
    meshes.emplace_back("two pieces", pieces);

    std::mt19937 rng(5);
    std::uniform_real_distribution<double> weight(-0.5, 1.5);
    for (const auto& [name, lists] : meshes) {
        Packed g(lists);
        const int32_t V = static_cast<int32_t>(lists.size());
        // Part of the mesh, shuffled, with a vertex named twice and one index naming no vertex.
        std::vector<int32_t> cluster;
        for (int32_t v = 0; v < V; v += 1 + (v % 3 == 0)) cluster.push_back(v);
        std::shuffle(cluster.begin(), cluster.end(), rng);
        const int32_t twice = cluster[3];
        cluster.insert(cluster.begin() + 1, twice);
        cluster.push_back(V + 2);
        std::vector<double> w(cluster.size());
        for (double& x : w) x = weight(rng);
        Workspace ws;  // shared by every case: reuse must not change results
        for (int radius : {0, 1, 3})
            for (int repeat : {0, 1, 5})
                for (int post : {0, 1, 2}) {
                    Options o{radius, repeat, post, 0.1, 0.9};
                    std::vector<double> got(cluster.size());
                    Smooth(g.View(), cluster, w, o, got, ws);
                    ExpectSameBits(got, Reference(lists, cluster, w, o),
                                   name + " radius " + std::to_string(radius) + " repeat " + std::to_string(repeat) +
                                       " post " + std::to_string(post));
                }
    }
}

TEST(SmoothKernel, MatchesDefinitionOnALargeGridSplitOverThreads) {
    const Lists lists = Grid(200, 200);
    Packed g(lists);
    std::vector<int32_t> cluster;
    std::vector<double> w;
    std::mt19937 rng(11);
    std::uniform_real_distribution<double> weight(0, 1);
    for (int32_t v = 0; v < 200 * 200; ++v)
        if (v % 200 < 170) cluster.push_back(v), w.push_back(weight(rng));
    Workspace ws;
    // Marks about to wrap: stale marks must not be taken for the new generation.
    Options o{1, 2, 2, -1, 1};
    std::vector<double> got(cluster.size());
    Smooth(g.View(), cluster, w, o, got, ws);
    for (Workspace::Walker& walker : ws.walkers) walker.generation = std::numeric_limits<uint32_t>::max() - 3;
    Smooth(g.View(), cluster, w, o, got, ws);
    ExpectSameBits(got, Reference(lists, cluster, w, o), "radius 1");
    o = Options{3, 1, 1, 0.2, 0.8};
    Smooth(g.View(), cluster, w, o, got, ws);
    ExpectSameBits(got, Reference(lists, cluster, w, o), "radius 3");
}

TEST(SmoothKernel, RefusesMalformedLists) {
    Packed g(kGrid3);
    std::vector<int32_t> cluster{0};
    std::vector<double> w{1}, out(1), two(2);
    auto refused = [&](std::vector<uint32_t> offsets, std::vector<uint32_t> indices, size_t V, std::span<double> to) {
        Workspace ws;
        EXPECT_THROW(Smooth({V, offsets, indices}, cluster, w, Options{}, to, ws), std::invalid_argument);
    };
    refused(g.offsets, g.indices, 9, two);   // not one result per element
    refused(g.offsets, g.indices, 10, out);  // offsets one short
    auto badIndex = g.indices, decreasing = g.offsets, past = g.offsets;
    badIndex[3] = 9;
    std::swap(decreasing[2], decreasing[3]);
    past.back() += 1;
    refused(g.offsets, badIndex, 9, out);
    refused(decreasing, g.indices, 9, out);
    refused(past, g.indices, 9, out);
}

}  // namespace
