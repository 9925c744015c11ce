// Metric distances for the Gradient Map: edge paths and the heat method on flat grids, pieces
// no root reaches, the normalisation and the refusals.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <vector>

#include "gradient/metric.h"

using namespace orbelin::gradient;

namespace {

// A flat grid of `cols` x `rows` quads, spacing hx along x and hz along z, vertex z * (cols+1) + x;
// `shift` moves it along y and numbers its vertices from `first` (for meshes in pieces).
struct Mesh {
    std::vector<double> points;
    std::vector<std::vector<uint32_t>> around;
    std::vector<uint32_t> polygonOffsets{0}, corners, offsets, indices;

    void AddGrid(int cols, int rows, double hx, double hz, double y = 0.0) {
        const auto first = static_cast<uint32_t>(around.size());
        const int w = cols + 1;
        around.resize(around.size() + static_cast<size_t>(w * (rows + 1)));
        auto id = [&](int x, int z) { return first + static_cast<uint32_t>(z * w + x); };
        for (int z = 0; z <= rows; ++z)
            for (int x = 0; x <= cols; ++x) {
                points.insert(points.end(), {x * hx, y, z * hz});
                if (x > 0) around[id(x, z)].push_back(id(x - 1, z));
                if (x < cols) around[id(x, z)].push_back(id(x + 1, z));
                if (z > 0) around[id(x, z)].push_back(id(x, z - 1));
                if (z < rows) around[id(x, z)].push_back(id(x, z + 1));
            }
        for (int z = 0; z < rows; ++z)
            for (int x = 0; x < cols; ++x) {
                corners.insert(corners.end(), {id(x, z), id(x + 1, z), id(x + 1, z + 1), id(x, z + 1)});
                polygonOffsets.push_back(static_cast<uint32_t>(corners.size()));
            }
    }
    MetricInput Input(const std::vector<int32_t>& roots, const std::vector<int32_t>& targets = {}) {
        offsets = {0};
        indices.clear();
        for (const auto& a : around) {
            indices.insert(indices.end(), a.begin(), a.end());
            offsets.push_back(static_cast<uint32_t>(indices.size()));
        }
        return {{around.size(), offsets, indices}, points, polygonOffsets, corners, roots, targets};
    }
};

TEST(GradientMetric, EdgePathsOnAGridAreManhattanDistances) {
    Mesh m;
    m.AddGrid(12, 7, 0.5, 0.25);
    const std::vector<int32_t> roots{3 * 13 + 5};
    const std::vector<double> d = EdgePathDistances(m.Input(roots));
    ASSERT_EQ(d.size(), 13u * 8u);
    for (int z = 0; z <= 7; ++z)
        for (int x = 0; x <= 12; ++x)
            EXPECT_NEAR(d[static_cast<size_t>(z * 13 + x)], std::abs(x - 5) * 0.5 + std::abs(z - 3) * 0.25, 1e-12)
                << x << ", " << z;
    // Two roots: the nearer one counts.
    const std::vector<int32_t> two{0, 7 * 13 + 12};
    const std::vector<double> e = EdgePathDistances(m.Input(two));
    EXPECT_DOUBLE_EQ(e[static_cast<size_t>(7 * 13 + 11)], 0.5);
    EXPECT_DOUBLE_EQ(e[1], 0.5);
    // A root inside the targets keeps the walk in them: with column 6 left out below row 7,
    // the far side is reached over the top row only.
    std::vector<int32_t> targets;
    for (int32_t v = 0; v < 13 * 8; ++v)
        if (v % 13 != 6 || v / 13 == 7) targets.push_back(v);
    const std::vector<int32_t> corner{0};
    const std::vector<double> f = EdgePathDistances(m.Input(corner, targets));
    EXPECT_DOUBLE_EQ(f[12], 12 * 0.5 + 2 * 7 * 0.25);
    EXPECT_TRUE(std::isinf(f[6]));
}

TEST(GradientMetric, GeodesicOnAFlatGridFollowsTheStraightLine) {
    Mesh m;
    m.AddGrid(60, 60, 0.2, 0.2);
    // From a whole row: the distance to the row, within 2% from 10 rows out, within a quarter
    // of a step closer in.
    std::vector<int32_t> row;
    for (int32_t x = 0; x <= 60; ++x) row.push_back(x);
    std::vector<double> d = GeodesicDistances(m.Input(row));
    for (int z = 0; z <= 60; ++z)
        for (int x = 0; x <= 60; ++x)
            EXPECT_NEAR(d[static_cast<size_t>(z * 61 + x)], z * 0.2, z >= 10 ? 0.02 * z * 0.2 : 0.05) << x << ", " << z;
    // From one point in the middle the heat method is rougher: within 6% from 10 steps out,
    // within a step closer in.
    const std::vector<int32_t> centre{30 * 61 + 30};
    d = GeodesicDistances(m.Input(centre));
    EXPECT_EQ(d[30 * 61 + 30], 0.0);
    double worst = 0.0;
    for (int z = 0; z <= 60; ++z)
        for (int x = 0; x <= 60; ++x) {
            const double straight = std::hypot(x - 30, z - 30) * 0.2;
            const double got = d[static_cast<size_t>(z * 61 + x)];
            if (straight >= 10 * 0.2) worst = std::max(worst, std::abs(got - straight) / straight);
            else EXPECT_NEAR(got, straight, 0.2) << x << ", " << z;
        }
    EXPECT_LT(worst, 0.06);
    // Edge paths on the same grid are longer off the axes: the geodesic is not them.
    const std::vector<double> e = EdgePathDistances(m.Input(centre));
    EXPECT_NEAR(e[60 * 61 + 60], 60 * 0.2, 1e-9);
    EXPECT_NEAR(d[60 * 61 + 60], std::hypot(30, 30) * 0.2, 0.06 * std::hypot(30, 30) * 0.2);
}

TEST(GradientMetric, APieceWithoutARootIsUnreachedAndReadsZero) {
    Mesh m;
    m.AddGrid(4, 4, 1.0, 1.0);
    m.AddGrid(3, 3, 1.0, 1.0, 5.0);  // vertices 25..40, apart
    const std::vector<int32_t> roots{0};
    std::vector<int32_t> all;
    for (int32_t v = 0; v < 41; ++v) all.push_back(v);
    for (bool geodesic : {false, true}) {
        const std::vector<double> d = geodesic ? GeodesicDistances(m.Input(roots)) : EdgePathDistances(m.Input(roots));
        for (size_t v = 25; v < 41; ++v) EXPECT_TRUE(std::isinf(d[v])) << v;
        double largest = -1.0;
        const std::vector<double> g = NormaliseDistances(d, all, &largest);
        EXPECT_NEAR(largest, geodesic ? std::hypot(4.0, 4.0) : 8.0, geodesic ? 0.15 : 1e-12);
        EXPECT_EQ(g[0], 0.0);
        EXPECT_EQ(g[24], 1.0);
        for (size_t v = 25; v < 41; ++v) EXPECT_EQ(g[v], 0.0);
        for (double x : g) EXPECT_TRUE(x >= 0.0 && x <= 1.0);
    }
    // A root on each piece reaches both.
    const std::vector<int32_t> both{0, 40};
    const std::vector<double> d = GeodesicDistances(m.Input(both));
    EXPECT_NEAR(d[25], std::hypot(3.0, 3.0), 0.1);
    EXPECT_NEAR(EdgePathDistances(m.Input(both))[25], 6.0, 1e-12);
}

TEST(GradientMetric, NothingFartherThanZeroReadsZeroNotNaN) {
    const std::vector<double> roots{0.0, 0.0, std::numeric_limits<double>::infinity()};
    const std::vector<int32_t> targets{0, 1, 2};
    double largest = -1.0;
    EXPECT_EQ(NormaliseDistances(roots, targets, &largest), std::vector<double>(3, 0.0));
    EXPECT_EQ(largest, 0.0);
    Mesh m;
    m.AddGrid(2, 2, 1.0, 1.0);
    const std::vector<double> none = GeodesicDistances(m.Input({}));
    for (double x : none) EXPECT_TRUE(std::isinf(x));
    EXPECT_EQ(NormaliseDistances(none, targets), std::vector<double>(3, 0.0));
}

TEST(GradientMetric, BadDataIsRefusedAndCancelStops) {
    Mesh m;
    m.AddGrid(3, 3, 1.0, 1.0);
    const std::vector<int32_t> roots{0}, bad{16}, negative{-1};
    EXPECT_THROW(EdgePathDistances(m.Input(bad)), std::invalid_argument);
    EXPECT_THROW(GeodesicDistances(m.Input(negative)), std::invalid_argument);
    EXPECT_THROW(GeodesicDistances(m.Input(roots, bad)), std::invalid_argument);
    Mesh huge = m;
    huge.points[3 * 5] = 1e308, huge.points[3 * 6] = -1e308;  // an edge longer than a double
    EXPECT_THROW(EdgePathDistances(huge.Input(roots)), std::invalid_argument);
    EXPECT_THROW(GeodesicDistances(huge.Input(roots)), std::invalid_argument);
    Mesh nan = m;
    nan.points[3 * 9 + 1] = std::numeric_limits<double>::quiet_NaN();
    EXPECT_THROW(EdgePathDistances(nan.Input(roots)), std::invalid_argument);
    EXPECT_THROW(GeodesicDistances(nan.Input(roots)), std::invalid_argument);
    Mesh shortPoints = m;
    shortPoints.points.resize(10);
    EXPECT_THROW(EdgePathDistances(shortPoints.Input(roots)), std::invalid_argument);
    Mesh badCorner = m;
    badCorner.corners[2] = 99;
    EXPECT_THROW(GeodesicDistances(badCorner.Input(roots)), std::invalid_argument);
    Mesh badOffsets = m;
    badOffsets.polygonOffsets.back() = 1000;
    EXPECT_THROW(GeodesicDistances(badOffsets.Input(roots)), std::invalid_argument);
    // Degenerate faces (all points in one spot) are left out: only the root is reached.
    Mesh flat = m;
    for (double& p : flat.points) p = 0.0;
    const std::vector<double> d = GeodesicDistances(flat.Input(roots));
    EXPECT_EQ(d[0], 0.0);
    for (size_t v = 1; v < d.size(); ++v) EXPECT_TRUE(std::isinf(d[v]));
    // Cancel during the solves gives nothing.
    Mesh big;
    big.AddGrid(40, 40, 1.0, 1.0);
    EXPECT_TRUE(GeodesicDistances(big.Input(roots), [] { return false; }).empty());
}

}  // namespace
