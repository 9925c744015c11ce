// Metric distances for the Gradient Map: edge paths and the heat method on flat grids, pieces
// no root reaches, the normalisation and the refusals.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <initializer_list>
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
    // A polygon over existing points, its edges joined as neighbours.
    void AddPolygon(std::initializer_list<uint32_t> polygon) {
        corners.insert(corners.end(), polygon);
        polygonOffsets.push_back(static_cast<uint32_t>(corners.size()));
        around.resize(points.size() / 3);
        const std::vector<uint32_t> p(polygon);
        for (size_t c = 0; c < p.size(); ++c) {
            const uint32_t a = p[c], b = p[(c + 1) % p.size()];
            if (std::find(around[a].begin(), around[a].end(), b) == around[a].end()) {
                around[a].push_back(b);
                around[b].push_back(a);
            }
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

// The largest error relative to `expected` over the vertices at least `far` from the roots;
// nearer ones must be within `near` of it.
double WorstRelativeError(const std::vector<double>& got, const std::vector<double>& expected, double far, double near) {
    double worst = 0.0;
    for (size_t v = 0; v < expected.size(); ++v) {
        if (expected[v] >= far) worst = std::max(worst, std::abs(got[v] - expected[v]) / expected[v]);
        else EXPECT_NEAR(got[v], expected[v], near) << v;
    }
    return worst;
}

// The straight distance in the x-z plane from each of `points` to the nearest root.
std::vector<double> StraightToNearest(const std::vector<double>& points, const std::vector<int32_t>& roots) {
    std::vector<double> nearest(points.size() / 3, std::numeric_limits<double>::infinity());
    for (size_t v = 0; v < nearest.size(); ++v)
        for (int32_t r : roots) {
            const auto rv = static_cast<size_t>(r);
            nearest[v] = std::min(nearest[v], std::hypot(points[3 * v] - points[3 * rv], points[3 * v + 2] - points[3 * rv + 2]));
        }
    return nearest;
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
    // From one point, in the middle or in a corner: within 2% from 10 steps out, within a step
    // closer in.
    for (const auto& [cx, cz] : {std::pair{30, 30}, std::pair{0, 0}}) {
        const std::vector<int32_t> root{cz * 61 + cx};
        d = GeodesicDistances(m.Input(root));
        EXPECT_EQ(d[static_cast<size_t>(root[0])], 0.0);
        EXPECT_LT(WorstRelativeError(d, StraightToNearest(m.points, root), 10 * 0.2, 0.2), 0.02) << cx << ", " << cz;
    }
    // A diagonal row of roots (the front crosses the triangles' diagonals), and the points moved
    // about by up to a quarter of a step (a fixed pseudo-random pattern: triangles of every
    // shape, obtuse ones too) from the middle point and from a row: the distance to the nearest
    // root within 2% from 10 steps out.
    Mesh jittered = m;
    uint32_t seed = 12345;
    auto next = [&] {
        seed = seed * 1664525u + 1013904223u;
        return (static_cast<double>(seed >> 8) / 16777216.0 - 0.5) * 0.5 * 0.2;
    };
    for (size_t v = 0; v < jittered.points.size(); v += 3) jittered.points[v] += next(), jittered.points[v + 2] += next();
    std::vector<int32_t> diagonal;
    for (int32_t x = 0; x <= 60; ++x) diagonal.push_back(x * 61 + x);
    const std::vector<int32_t> middle{30 * 61 + 30};
    for (const auto& [mesh, roots] : {std::pair{&m, diagonal}, std::pair{&jittered, middle}, std::pair{&jittered, row}}) {
        d = GeodesicDistances(mesh->Input(roots));
        EXPECT_LT(WorstRelativeError(d, StraightToNearest(mesh->points, roots), 10 * 0.2, 0.2), 0.02)
            << roots.size() << " roots";
    }
    // Edge paths on the same grid are longer off the axes: the geodesic is not them.
    const std::vector<int32_t> centre{30 * 61 + 30};
    d = GeodesicDistances(m.Input(centre));
    const std::vector<double> e = EdgePathDistances(m.Input(centre));
    EXPECT_NEAR(e[60 * 61 + 60], 60 * 0.2, 1e-9);
    EXPECT_NEAR(d[60 * 61 + 60], std::hypot(30, 30) * 0.2, 0.02 * std::hypot(30, 30) * 0.2);
}

TEST(GradientMetric, GeodesicOnASphereIsTheArcLength) {
    // A sphere of radius 2 in 48 rings of 96 quads (triangles round the poles), rooted on the
    // equator; the distance to a point is the radius times the angle between them.
    constexpr int kRings = 48, kAround = 96;
    constexpr double kRadius = 2.0, kPi = 3.14159265358979323846;
    Mesh m;
    m.points = {0.0, kRadius, 0.0};
    for (int i = 1; i < kRings; ++i)
        for (int j = 0; j < kAround; ++j) {
            const double theta = kPi * i / kRings, phi = 2 * kPi * j / kAround;
            m.points.insert(m.points.end(), {kRadius * std::sin(theta) * std::cos(phi), kRadius * std::cos(theta),
                                             kRadius * std::sin(theta) * std::sin(phi)});
        }
    m.points.insert(m.points.end(), {0.0, -kRadius, 0.0});
    const auto last = static_cast<uint32_t>((kRings - 1) * kAround + 1);
    auto id = [](int i, int j) { return static_cast<uint32_t>(1 + (i - 1) * kAround + (j % kAround)); };
    for (int j = 0; j < kAround; ++j) {
        m.AddPolygon({0, id(1, j + 1), id(1, j)});
        for (int i = 1; i + 1 < kRings; ++i) m.AddPolygon({id(i, j), id(i, j + 1), id(i + 1, j + 1), id(i + 1, j)});
        m.AddPolygon({last, id(kRings - 1, j), id(kRings - 1, j + 1)});
    }
    const std::vector<int32_t> root{static_cast<int32_t>(id(kRings / 2, 0))};
    const std::vector<double> d = GeodesicDistances(m.Input(root));
    std::vector<double> arc;
    for (size_t v = 0; v <= last; ++v) {
        const double cosine = m.points[3 * v] / kRadius;
        arc.push_back(kRadius * std::acos(std::clamp(cosine, -1.0, 1.0)));
    }
    const double step = kRadius * kPi / kRings;
    EXPECT_LT(WorstRelativeError(d, arc, 10 * step, step), 0.03);
}

TEST(GradientMetric, GeodesicOnABumpySurfaceLiesBetweenTheChordAndTheEdgePaths) {
    // Hills and dales about 5 apart, 1 and then 3 high, over a jittered grid: no distance is
    // shorter than the straight line through space to the nearest root, nor longer than the
    // way along the edges.
    for (const double height : {1.0, 3.0}) {
        Mesh m;
        m.AddGrid(60, 60, 0.2, 0.2);
        uint32_t seed = 99;
        auto next = [&] {
            seed = seed * 1664525u + 1013904223u;
            return (static_cast<double>(seed >> 8) / 16777216.0 - 0.5) * 0.5 * 0.2;
        };
        for (size_t v = 0; v < m.points.size(); v += 3) {
            m.points[v] += next(), m.points[v + 2] += next();
            m.points[v + 1] = height * std::sin(1.3 * m.points[v]) * std::cos(0.9 * m.points[v + 2]);
        }
        for (const std::vector<int32_t>& roots : {std::vector<int32_t>{30 * 61 + 30}, std::vector<int32_t>{0, 1, 2, 3, 4, 5, 6, 7, 8}}) {
            const std::vector<double> d = GeodesicDistances(m.Input(roots)), e = EdgePathDistances(m.Input(roots));
            for (size_t v = 0; v < d.size(); ++v) {
                double chord = std::numeric_limits<double>::infinity();
                for (int32_t r : roots) {
                    const auto rv = static_cast<size_t>(r);
                    chord = std::min(chord, std::hypot(m.points[3 * v] - m.points[3 * rv], m.points[3 * v + 1] - m.points[3 * rv + 1],
                                                       m.points[3 * v + 2] - m.points[3 * rv + 2]));
                }
                EXPECT_GE(d[v], chord * (1.0 - 1e-9)) << height << ": " << v;
                EXPECT_LE(d[v], e[v] * (1.0 + 1e-9)) << height << ": " << v;
            }
        }
    }
}

TEST(GradientMetric, GeodesicOverAFoldIsTheUnfoldedStraightLine) {
    // A grid folded along a row, up by 30, 90 and 150 degrees: unfolded it is flat, so the
    // distance is the straight line in the flat grid, from a point on either side of the fold
    // and from a row of roots.
    Mesh flat;
    flat.AddGrid(60, 60, 0.2, 0.2);
    std::vector<int32_t> row;
    for (int32_t x = 20; x <= 40; ++x) row.push_back(x);
    for (const double degrees : {30.0, 90.0, 150.0}) {
        Mesh m = flat;
        const double angle = degrees * 3.14159265358979323846 / 180.0;
        for (size_t v = 0; v < m.points.size(); v += 3) {
            const double beyond = m.points[v + 2] - 6.0;
            if (beyond > 0.0) m.points[v + 1] = beyond * std::sin(angle), m.points[v + 2] = 6.0 + beyond * std::cos(angle);
        }
        for (const std::vector<int32_t>& roots : {std::vector<int32_t>{15 * 61 + 15}, std::vector<int32_t>{50 * 61 + 45}, row}) {
            const std::vector<double> d = GeodesicDistances(m.Input(roots));
            EXPECT_LT(WorstRelativeError(d, StraightToNearest(flat.points, roots), 10 * 0.2, 0.02), 0.002)
                << degrees << " degrees, root " << roots[0];
        }
    }
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
        EXPECT_NEAR(largest, geodesic ? std::hypot(4.0, 4.0) : 8.0, 1e-12);
        EXPECT_EQ(g[0], 0.0);
        EXPECT_EQ(g[24], 1.0);
        for (size_t v = 25; v < 41; ++v) EXPECT_EQ(g[v], 0.0);
        for (double x : g) EXPECT_TRUE(x >= 0.0 && x <= 1.0);
    }
    // A root on each piece reaches both.
    const std::vector<int32_t> both{0, 40};
    const std::vector<double> d = GeodesicDistances(m.Input(both));
    EXPECT_NEAR(d[25], std::hypot(3.0, 3.0), 1e-12);
    EXPECT_NEAR(EdgePathDistances(m.Input(both))[25], 6.0, 1e-12);
    // A root inside the targets (the first piece's three left columns) keeps the geodesic in
    // them; a root outside them does not.
    std::vector<int32_t> left;
    for (int32_t v = 0; v < 25; ++v)
        if (v % 5 <= 2) left.push_back(v);
    const std::vector<double> inside = GeodesicDistances(m.Input(roots, left));
    EXPECT_NEAR(inside[22], std::hypot(2.0, 4.0), 1e-12);
    EXPECT_TRUE(std::isinf(inside[3]) && std::isinf(inside[24]));
    const std::vector<int32_t> outside{24};
    EXPECT_NEAR(GeodesicDistances(m.Input(outside, left))[0], std::hypot(4.0, 4.0), 1e-12);
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
    // Far out but measurable: the same distances, scaled, and no overflow into NaN.
    Mesh far = m;
    for (double& p : far.points) p *= 1e150;
    const std::vector<double> scaled = GeodesicDistances(far.Input(roots));
    for (size_t v = 0; v < scaled.size(); ++v)
        EXPECT_NEAR(scaled[v] / 1e150, std::hypot(static_cast<double>(v % 4), static_cast<double>(v / 4)), 1e-9) << v;
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

