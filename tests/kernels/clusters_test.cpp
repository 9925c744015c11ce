#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "clusters/clusters.h"

namespace cl = orbelin::clusters;

namespace {

// A grid of n x n quads: vertex (r, c) is r * (n + 1) + c, polygon (r, c) is r * n + c.
struct Grid {
    int n;
    std::vector<int32_t> polygons;
    explicit Grid(int size) : n(size) {
        const int w = n + 1;
        for (int r = 0; r < n; ++r)
            for (int c = 0; c < n; ++c) polygons.insert(polygons.end(), {4, r * w + c, r * w + c + 1, (r + 1) * w + c + 1, (r + 1) * w + c});
    }
    size_t Vertices() const { return size_t((n + 1) * (n + 1)); }
    std::vector<double> Map(const std::vector<cl::ClusterElements>& clusters, int64_t cropping) const {
        return cl::ClustersMap(Vertices(), polygons, clusters, cropping);
    }
    // The vertices (r, c) with r0 <= r <= r1 and c0 <= c <= c1 set to 1.
    std::vector<double> Block(int r0, int r1, int c0, int c1) const {
        std::vector<double> w(Vertices(), 0.0);
        for (int r = r0; r <= r1; ++r)
            for (int c = c0; c <= c1; ++c) w[size_t(r * (n + 1) + c)] = 1.0;
        return w;
    }
};

}  // namespace

TEST(ClustersMap, PolygonBlockCroppedInsideAndToItsBorder) {
    const Grid g(10);
    // Faces (3..6, 3..6): a 4 x 4 block covering vertices 3..7 each way.
    std::vector<int32_t> faces;
    for (int r = 3; r <= 6; ++r)
        for (int c = 3; c <= 6; ++c) faces.push_back(r * 10 + c);
    const std::vector<cl::ClusterElements> block{{cl::Kind::Polygons, faces}};
    EXPECT_EQ(g.Map(block, 0), g.Block(3, 7, 3, 7));
    EXPECT_EQ(g.Map(block, 1), g.Block(4, 6, 4, 6));
    EXPECT_EQ(g.Map(block, 2), g.Block(5, 5, 5, 5));
    EXPECT_EQ(g.Map(block, 3), g.Block(0, -1, 0, -1));
    std::vector<double> ring = g.Block(3, 7, 3, 7);
    for (size_t v = 0; v < ring.size(); ++v) ring[v] -= g.Block(4, 6, 4, 6)[v];
    EXPECT_EQ(g.Map(block, -1), ring);
    EXPECT_EQ(std::count(ring.begin(), ring.end(), 1.0), 16);
    std::vector<double> band2 = g.Block(3, 7, 3, 7);
    band2[5 * 11 + 5] = 0.0;
    EXPECT_EQ(g.Map(block, -2), band2) << "the band of width 2 is all but the centre";
    EXPECT_EQ(g.Map(block, -1000000), g.Map(block, 0));
    EXPECT_EQ(g.Map(block, INT64_MIN), g.Map(block, 0));
    EXPECT_EQ(g.Map(block, INT64_MAX), g.Block(0, -1, 0, -1));
}

TEST(ClustersMap, WholeMeshPointsEdgesAndBadIndices) {
    const Grid g(4);
    std::vector<int32_t> all(16);
    for (int i = 0; i < 16; ++i) all[size_t(i)] = i;
    const std::vector<cl::ClusterElements> whole{{cl::Kind::Polygons, all}};
    EXPECT_EQ(g.Map(whole, 1), std::vector<double>(25, 1.0)) << "no vertex has an uncovered neighbour";
    EXPECT_EQ(g.Map(whole, -1), std::vector<double>(25, 0.0));
    // Points, exactly; indices naming nothing are passed over; other kinds are ignored.
    const std::vector<int32_t> points{0, 12, 24, -1, 25, 1000}, ends{5, 6, 6, 11}, junk{1, 2, 3};
    std::vector<double> expected(25, 0.0);
    expected[0] = expected[12] = expected[24] = 1.0;
    EXPECT_EQ(g.Map({{cl::Kind::Points, points}, {cl::Kind::Other, junk}}, 0), expected);
    expected[5] = expected[6] = expected[11] = 1.0;
    EXPECT_EQ(g.Map({{cl::Kind::Points, points}, {cl::Kind::Edges, ends}}, 0), expected);
    // A lone covered point: with cropping, a border (all its neighbours are uncovered).
    EXPECT_EQ(g.Map({{cl::Kind::Points, std::span<const int32_t>(points.data() + 1, 1)}}, 1), std::vector<double>(25, 0.0));
    // A vertex no polygon uses has no neighbours: never a border. Malformed polygons are cut
    // at the first that runs past the end, and their indices naming no vertex are passed over.
    const std::vector<int32_t> lone{25};
    const std::vector<cl::ClusterElements> loneCluster{{cl::Kind::Points, lone}};
    EXPECT_EQ(cl::ClustersMap(26, g.polygons, loneCluster, 1)[25], 1.0);
    const std::vector<int32_t> broken{4, 0, 1, 6, 99, 9, 2, 3}, first{0, 1};
    const std::vector<cl::ClusterElements> firstTwo{{cl::Kind::Polygons, first}};
    const std::vector<double> cut = cl::ClustersMap(25, broken, firstTwo, 0);
    EXPECT_EQ(std::count(cut.begin(), cut.end(), 1.0), 3);
    EXPECT_EQ(cl::ClustersMap(25, broken, firstTwo, -1), std::vector<double>(25, 0.0))
        << "its covered vertices are joined only to one another";
}
