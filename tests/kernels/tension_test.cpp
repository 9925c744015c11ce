// The tension kernel: spreads and tensions by hand on a grid and a cube, the post-processes at
// their edges (NaN and infinite tensions, equal tensions, the sentinels), and the parallel
// evaluation bit for bit against the definition written per vertex over polygons, on a large
// irregular mesh.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <stdexcept>
#include <vector>

#include "tension/tension.h"

using namespace orbelin;
using namespace orbelin::tension;

namespace {

using Polys = std::vector<std::vector<uint32_t>>;

struct Mesh {
    std::vector<double> xyz;
    Polys polygons;
    size_t Count() const { return xyz.size() / 3; }
    // The polygons containing each vertex, in increasing index.
    Polys Around() const {
        Polys around(Count());
        for (uint32_t k = 0; k < polygons.size(); ++k)
            for (uint32_t u : polygons[k])
                if (around[u].empty() || around[u].back() != k) around[u].push_back(k);
        return around;
    }
};

// Quads of a w x h vertex grid with unit spacing in x and z.
Mesh Grid(uint32_t w, uint32_t h) {
    Mesh m;
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x) m.xyz.insert(m.xyz.end(), {double(x), 0.0, double(y)});
    for (uint32_t y = 0; y + 1 < h; ++y)
        for (uint32_t x = 0; x + 1 < w; ++x) m.polygons.push_back({y * w + x, y * w + x + 1, (y + 1) * w + x + 1, (y + 1) * w + x});
    return m;
}

// The packed lists, polygons around a vertex in increasing index, own corners left out.
struct Packed {
    std::vector<uint32_t> offsets{0}, indices;
    explicit Packed(const Mesh& m) {
        const Polys around = m.Around();
        for (uint32_t v = 0; v < m.Count(); ++v) {
            for (uint32_t k : around[v])
                for (uint32_t u : m.polygons[k])
                    if (u != v) indices.push_back(u);
            offsets.push_back(static_cast<uint32_t>(indices.size()));
        }
    }
    Neighbourhoods View() const { return {offsets.size() - 1, offsets, indices}; }
};

// The definition, literally: every polygon containing v, every corner (v's own included),
// squared distances > 0.
double ReferenceSpread(const Mesh& m, const Polys& around, uint32_t v) {
    double sum = 0.0;
    size_t count = 0;
    for (uint32_t k : around[v]) {
        for (uint32_t u : m.polygons[k]) {
            double d = 0.0;
            for (int a = 0; a < 3; ++a) d += (m.xyz[3 * u + a] - m.xyz[3 * v + a]) * (m.xyz[3 * u + a] - m.xyz[3 * v + a]);
            if (d > 0.0) sum += d, ++count;
        }
    }
    return sum / static_cast<double>(count);
}

// The polygons as the host lists them: a count, then the corners.
std::vector<int32_t> HostPolygons(const Mesh& m) {
    std::vector<int32_t> out;
    for (const auto& poly : m.polygons) {
        out.push_back(static_cast<int32_t>(poly.size()));
        out.insert(out.end(), poly.begin(), poly.end());
    }
    return out;
}

// Spreads from the packed neighbourhoods; those straight from the polygons must be the same.
std::vector<double> SpreadsOf(const Mesh& m) {
    Packed p(m);
    std::vector<double> s(m.Count()), direct(m.Count());
    Spreads(p.View(), m.xyz, s);
    SpreadsOfPolygons(m.Count(), HostPolygons(m), m.xyz, direct);
    for (size_t v = 0; v < s.size(); ++v)
        if (!std::isnan(s[v])) EXPECT_EQ(direct[v], s[v]) << v;
        else EXPECT_TRUE(std::isnan(direct[v])) << v;
    return s;
}

std::vector<double> TensionsOf(const Mesh& m, const std::vector<double>& ref, const Options& o, RangeSeen* seen = nullptr) {
    Packed p(m);
    std::vector<double> t(m.Count());
    RangeSeen r = Tensions(p.View(), m.xyz, ref, o, t);
    if (seen) *seen = r;
    return t;
}

}  // namespace

TEST(TensionKernel, SpreadsByHand) {
    // 3 x 3 grid: the centre has four quads, each giving two edge neighbours (1) and a diagonal
    // (2): 12 terms, the edge neighbours twice each; a corner has one quad, 3 terms.
    Mesh g = Grid(3, 3);
    std::vector<double> s = SpreadsOf(g);
    EXPECT_DOUBLE_EQ(s[4], 16.0 / 12.0);
    EXPECT_DOUBLE_EQ(s[0], 4.0 / 3.0);
    // A border middle vertex: two quads, 6 terms: 1 + 1 + 2 and 1 + 1 + 2.
    EXPECT_DOUBLE_EQ(s[1], 8.0 / 6.0);
    // Moving the centre up by 1 changes only the terms to it: each edge term 1 -> 2, diagonal 2 -> 3.
    g.xyz[3 * 4 + 1] = 1.0;
    s = SpreadsOf(g);
    EXPECT_DOUBLE_EQ(s[4], (8 * 2.0 + 4 * 3.0) / 12.0);


    // A vertex lying on another counts nothing for it; an isolated vertex spreads 0/0.
    Mesh tri;
    tri.xyz = {0, 0, 0, 0, 0, 0, 1, 0, 0, 5, 5, 5};
    tri.polygons = {{0, 1, 2}};
    s = SpreadsOf(tri);
    EXPECT_DOUBLE_EQ(s[0], 1.0);  // the term to vertex 1 is 0: one term left
    EXPECT_DOUBLE_EQ(s[2], 1.0);
    EXPECT_TRUE(std::isnan(s[3]));
}

TEST(TensionKernel, TensionsAndPostProcesses) {
    Mesh rest = Grid(4, 3);
    const std::vector<double> ref = SpreadsOf(rest);
    Options none{1.0, kPostNone, -1, 1}, clamp{1.0, kPostClamp, -1, 1};
    for (double t : TensionsOf(rest, ref, clamp)) EXPECT_EQ(t, 0.0);

    // Uniform scales (by 2: t = 3, clamped; by 0.5 with factor 2: -1.5).
    Mesh big = rest, small = rest;
    for (double& c : big.xyz) c *= 2;
    for (double& c : small.xyz) c *= 0.5;
    for (double t : TensionsOf(big, ref, clamp)) EXPECT_EQ(t, 1.0);
    Options doubled = none;
    doubled.factor = 2.0;
    for (double t : TensionsOf(small, ref, doubled)) EXPECT_DOUBLE_EQ(t, -1.5);
    // Min wins a clamp when Min >= Max.
    Options crossed{1.0, kPostClamp, 0.5, 0.25};
    for (double t : TensionsOf(big, ref, crossed)) EXPECT_EQ(t, 0.5);

    // Change range with every tension equal: seen as one value, nothing remapped.
    Options range{1.0, kPostChangeRange, 0, 1};
    RangeSeen seen;
    std::vector<double> t = TensionsOf(big, ref, range, &seen);
    EXPECT_FALSE(seen.Stretches());
    std::vector<int32_t> cluster{0, 5, -1, 11, 12};
    std::vector<double> w(cluster.size());
    ClusterWeights(t, cluster, range, seen, w);
    EXPECT_EQ(w, (std::vector<double>{3.0, 3.0, 0.0, 3.0, 0.0}));

    // Stretched: the range comes from every vertex, also those outside the cluster.
    Mesh bent = rest;
    bent.xyz[3 * 5 + 1] = 0.5;  // an interior vertex lifted
    t = TensionsOf(bent, ref, range, &seen);
    ASSERT_TRUE(seen.Stretches());
    double hi = -1e300, lo = 1e300;
    for (double v : t) hi = std::max(hi, v), lo = std::min(lo, v);
    EXPECT_EQ(seen.hi, hi);
    EXPECT_EQ(seen.lo, lo);
    Options target{1.0, kPostChangeRange, -2, 2};
    std::vector<int32_t> one{5, 3};
    std::vector<double> w2(2);
    ClusterWeights(t, one, target, seen, w2);
    EXPECT_DOUBLE_EQ(w2[0], 2.0);   // vertex 5 is the most stretched
    EXPECT_DOUBLE_EQ(w2[1], -2.0);  // a corner away from it, untouched: 0, the smallest seen

    // Sentinels: tensions all below -10000 leave the largest seen at -10000.
    Options huge{-1e6, kPostChangeRange, 0, 1};
    TensionsOf(big, ref, huge, &seen);
    EXPECT_EQ(seen.hi, -10000.0);
    EXPECT_EQ(seen.lo, -3e6);
}

TEST(TensionKernel, NonFiniteValuesPassThrough) {
    // Vertex 3 has no polygon (0/0); the reference of vertex 0 is 0 (x/0).
    Mesh m;
    m.xyz = {0, 0, 0, 1, 0, 0, 0, 1, 0, 9, 9, 9};
    m.polygons = {{0, 1, 2}};
    std::vector<double> ref = SpreadsOf(m);
    ASSERT_TRUE(std::isnan(ref[3]));
    ref[0] = 0.0;
    std::vector<double> t = TensionsOf(m, ref, {1.0, kPostNone, -1, 1});
    EXPECT_TRUE(std::isinf(t[0]) && t[0] > 0);
    EXPECT_TRUE(std::isnan(t[3]));
    // Clamp: max > NaN and max > inf are false, so both give Max.
    t = TensionsOf(m, ref, {1.0, kPostClamp, -1, 0.5});
    EXPECT_EQ(t[0], 0.5);
    EXPECT_EQ(t[3], 0.5);
    // Change range: NaN is never seen, infinity is; the weights stay non-finite, nothing traps.
    RangeSeen seen;
    t = TensionsOf(m, ref, {1.0, kPostChangeRange, 0, 1}, &seen);
    EXPECT_EQ(seen.hi, std::numeric_limits<double>::infinity());
    std::vector<int32_t> all{0, 1, 2, 3};
    std::vector<double> w(4);
    ClusterWeights(t, all, {1.0, kPostChangeRange, 0, 1}, seen, w);
    EXPECT_TRUE(std::isnan(w[3]));
    EXPECT_EQ(w[1], 0.0);  // scale 1 / inf: the finite ones collapse onto Min
}

TEST(TensionKernel, ParallelEqualsDefinitionAndRefusesBadSizes) {
    // An irregular mesh of triangles, quads and pentagons over a jittered grid, large enough
    // to be split over the cores, some vertices left without polygons.
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> jitter(-0.3, 0.3);
    const uint32_t w = 140, h = 120;
    Mesh m = Grid(w, h);
    for (double& c : m.xyz) c += jitter(rng);
    Polys mixed;
    for (size_t i = 0; i < m.polygons.size(); ++i) {
        auto q = m.polygons[i];
        if (i % 7 == 0) continue;  // holes
        if (i % 3 == 0) {
            mixed.push_back({q[0], q[1], q[2]});
            mixed.push_back({q[0], q[2], q[3]});
        } else if (i % 5 == 0 && q[1] + 1 < w * h) {
            mixed.push_back({q[0], q[1], q[1] + 1, q[2], q[3]});  // a pentagon reaching one vertex further
        } else {
            mixed.push_back(q);
        }
    }
    m.polygons = mixed;
    Mesh moved = m;
    for (double& c : moved.xyz) c = c * 1.1 + jitter(rng);
    const Polys around = m.Around();
    std::vector<double> ref(m.Count());
    for (uint32_t v = 0; v < m.Count(); ++v) ref[v] = ReferenceSpread(m, around, v);
    EXPECT_EQ(SpreadsOf(m).size(), ref.size());
    const std::vector<double> fast = SpreadsOf(m);
    for (uint32_t v = 0; v < m.Count(); ++v) {
        if (std::isnan(ref[v])) EXPECT_TRUE(std::isnan(fast[v]));
        else EXPECT_EQ(fast[v], ref[v]) << v;
    }
    const Options o{1.5, kPostNone, -1, 1};
    const std::vector<double> t = TensionsOf(moved, ref, o);
    for (uint32_t v = 0; v < m.Count(); ++v) {
        const double expected = (ReferenceSpread(moved, around, v) / ref[v] - 1.0) * 1.5;
        if (std::isnan(expected)) EXPECT_TRUE(std::isnan(t[v]));
        else EXPECT_EQ(t[v], expected) << v;
    }

    Packed p(m);
    std::vector<double> out(m.Count()), shortOut(m.Count() - 1);
    std::vector<double> xyzShort(m.xyz.begin(), m.xyz.end() - 1);
    EXPECT_THROW(Spreads(p.View(), xyzShort, out), std::invalid_argument);
    EXPECT_THROW(Spreads(p.View(), m.xyz, shortOut), std::invalid_argument);
    EXPECT_THROW(Tensions(p.View(), m.xyz, shortOut, o, out), std::invalid_argument);
    std::vector<uint32_t> badIndices = p.indices;
    badIndices[0] = static_cast<uint32_t>(m.Count());
    EXPECT_THROW(Spreads(Neighbourhoods{m.Count(), p.offsets, badIndices}, m.xyz, out), std::invalid_argument);
    // Polygon data is read up to the first polygon that runs past the end or names no vertex.
    std::vector<int32_t> cut = {3, 0, 1, 2, 3, 1, 2, 99, 3, 0, 2, 3};
    std::vector<double> four(4), xyz4(m.xyz.begin(), m.xyz.begin() + 12);
    SpreadsOfPolygons(4, cut, xyz4, four);
    EXPECT_FALSE(std::isnan(four[0]));
    EXPECT_TRUE(std::isnan(four[3]));  // only the refused polygons reach it
    cut = {3, 0, 1, 2, 5, 1};
    SpreadsOfPolygons(4, cut, xyz4, four);
    EXPECT_FALSE(std::isnan(four[2]));
    EXPECT_THROW(SpreadsOfPolygons(4, cut, xyzShort, four), std::invalid_argument);
    std::vector<int32_t> cluster{0, 1};
    std::vector<double> one(1);
    EXPECT_THROW(ClusterWeights(out, cluster, o, RangeSeen(), one), std::invalid_argument);
}
