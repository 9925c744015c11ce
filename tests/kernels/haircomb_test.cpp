// The hair comb's kernel by hand: strand roots, the gradient per vertex, and the comb on a
// small fan of neighbours (flat gradients, CombHigh 0, CombWidth 0, lengths kept, the defined
// degenerate cases), and the split over the cores against strands combed one at a time.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "haircomb/comb.h"

using namespace orbelin;
using namespace orbelin::haircomb;

namespace {

// Vertex 0 at the origin with four neighbours on the XZ plane: 1 at +X, 2 at -X, 3 at +Z, 4 at
// -Z; every normal +Y. Vertices 1..4 have no neighbours.
struct Fan {
    std::vector<double> positions{0, 0, 0, 1, 0, 0, -1, 0, 0, 0, 0, 1, 0, 0, -1};
    std::vector<double> normals{0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0};
    std::vector<uint32_t> offsets{0, 4, 4, 4, 4, 4};
    std::vector<uint32_t> neighbours{1, 2, 3, 4};
    Emitter View() const { return {5, positions, normals, offsets, neighbours}; }
};

// One strand standing up from the origin, its points 0.1 apart: polyline length 1.4.
std::vector<double> StandingStrand() {
    std::vector<double> p(3 * kStrandPoints);
    for (size_t k = 0; k < kStrandPoints; ++k) p[3 * k + 1] = 0.1 * static_cast<double>(k + 1);
    return p;
}

double PolylineLength(const std::vector<double>& p, size_t strand, const double* root) {
    double len = 0.0;
    const double* prev = root;
    for (size_t k = 0; k < kStrandPoints; ++k) {
        const double* q = &p[(strand * kStrandPoints + k) * 3];
        len += std::hypot(q[0] - prev[0], q[1] - prev[1], q[2] - prev[2]);
        prev = q;
    }
    return len;
}

Options Ramp(double high, double width) {
    Options o;
    o.high = high;
    o.width = width;
    for (size_t k = 0; k < kStrandPoints; ++k) o.profile[k] = 0.02 * static_cast<double>(k + 1);
    return o;
}

TEST(HairCombKernel, AFlatGradientAndTheDegenerateRootsLeaveTheStrandAsItIs) {
    Fan fan;
    const std::vector<double> in = StandingStrand();
    const std::vector<int32_t> roots{0};
    auto combOnce = [&](std::vector<double> gradient, std::vector<int32_t> r = {0}) {
        std::vector<double> p = in;
        EXPECT_EQ(Comb(fan.View(), r, gradient, Ramp(1, 1), p), 0u);
        EXPECT_EQ(p, in);
    };
    combOnce({0.3, 0.5, 0.5, 0.5, 0.5});            // every neighbour alike
    combOnce({0.0, 1.0, 0.0, 0.0, 0.0}, {1});       // a root without neighbours
    combOnce({0.0, 1.0, 0.0, 0.0, 0.0}, {kNoRoot}); // no root
    combOnce({0.0, 1.0, 0.0, 0.0, 0.0}, {5});       // a root past the mesh
    combOnce({0.0, 3.0, 3.0, 5.0, 5.0});            // above 2: no neighbour is the smallest
    combOnce({0.0, NAN, NAN, NAN, NAN});            // nothing compares
}

TEST(HairCombKernel, CombsAlongTheRiseAndKeepsThePolylineLength) {
    Fan fan;
    std::vector<double> p = StandingStrand();
    // Rising toward +X and a little toward +Z (the smallest at -X only).
    ASSERT_EQ(Comb(fan.View(), std::vector<int32_t>{0}, std::vector<double>{0, 1, 0, 0.5, 0.5}, Ramp(0.5, 1), p), 1u);
    const double root[3] = {0, 0, 0};
    EXPECT_NEAR(PolylineLength(p, 0, root), 1.4, 1e-12);
    for (size_t k = 0; k < kStrandPoints; ++k) {
        EXPECT_GT(p[3 * k], 0.0);             // along +X: up (+X) minus down (-X)
        EXPECT_NEAR(p[3 * k + 2], 0.0, 1e-15);  // nothing across
        EXPECT_GT(p[3 * k + 1], 0.0);
    }
    // Up is the average of the neighbours at the greatest: +X and +Z at 1, (0.5, 0, 0.5),
    // against -X alone at 0: the tangent (1.5, 0, 0.5).
    std::vector<double> q = StandingStrand();
    Comb(fan.View(), std::vector<int32_t>{0}, std::vector<double>{0, 1, 0, 1, 0.5}, Ramp(0, 1), q);
    EXPECT_NEAR(q[2] / q[0], 1.0 / 3.0, 1e-12);
}

TEST(HairCombKernel, CombHighZeroLaysTheStrandFlatAndCombWidthZeroStandsItOnTheProfile) {
    Fan fan;
    const std::vector<double> gradient{0, 1, 0, 0.5, 0.5};
    const double root[3] = {0, 0, 0};

    std::vector<double> flat = StandingStrand();
    Comb(fan.View(), std::vector<int32_t>{0}, gradient, Ramp(0, 0.7), flat);
    for (size_t k = 0; k < kStrandPoints; ++k) {
        EXPECT_NEAR(flat[3 * k], 0.1 * static_cast<double>(k + 1), 1e-12);  // evenly along +X, full length
        EXPECT_EQ(flat[3 * k + 1], 0.0);
    }

    std::vector<double> standing = StandingStrand();
    Options o = Ramp(1, 0);
    o.profile = {0.0, 0.1, 0.2, 0.25, 0.25, 0.2, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.8, 0.9};
    Comb(fan.View(), std::vector<int32_t>{0}, gradient, o, standing);
    // Along the normal, each point at the profile's height scaled to the strand's length: the
    // comb's polyline goes up to 0.25, back to 0.2, up to 0.9 (length 0.25 + 0.05 + 0.7).
    const double scale = 1.4 / 1.0;
    for (size_t k = 0; k < kStrandPoints; ++k) {
        EXPECT_EQ(standing[3 * k], 0.0);
        EXPECT_EQ(standing[3 * k + 2], 0.0);
        EXPECT_NEAR(standing[3 * k + 1], o.profile[k] * scale, 1e-12);
    }
    EXPECT_NEAR(PolylineLength(standing, 0, root), 1.4, 1e-12);

    // Both 0: a comb of no length puts the strand on its root.
    std::vector<double> none = StandingStrand();
    Comb(fan.View(), std::vector<int32_t>{0}, gradient, Ramp(0, 0), none);
    for (double v : none) EXPECT_EQ(v, 0.0);
}

TEST(HairCombKernel, ProfileSamplesTheShapeAtTheStrandsPoints) {
    FunctionCurve line({{0.0, 0.0, CurveKey::Linear}, {100.0, 100.0, CurveKey::Linear}}, FunctionCurve::LinearInterpolation,
                       FunctionCurve::ConstantExtrapolation);
    const auto p = Profile(line);
    for (size_t k = 0; k < kStrandPoints; ++k) EXPECT_NEAR(p[k], static_cast<double>(k + 1) / 14.0, 1e-12);
}

TEST(HairCombKernel, RootsAndGradientsPerVertex) {
    // Two quads sharing the edge 1-4: 0 1 4 3 and 1 2 5 4.
    const std::vector<int32_t> polys{4, 0, 1, 4, 3, 4, 1, 2, 5, 4};
    EXPECT_EQ(StrandRoots(6, 6, polys, false, {}), (std::vector<int32_t>{0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(StrandRoots(6, 6, polys, true, std::vector<int32_t>{1}), (std::vector<int32_t>{0, 1, 2, 3, 4, 5}));
    // The second polygon first, then the first one's vertices not met yet; strands past the
    // list have no root.
    EXPECT_EQ(StrandRoots(7, 6, polys, true, std::vector<int32_t>{1, 0}), (std::vector<int32_t>{1, 2, 5, 4, 0, 3, kNoRoot}));
    EXPECT_EQ(StrandRoots(3, 6, polys, true, std::vector<int32_t>{1, 0, 7, -1}), (std::vector<int32_t>{1, 2, 5}));
    // Without a cluster every strand grows from vertex 0 (none on an empty mesh).
    EXPECT_EQ(StrandRoots(2, 6, polys, false, {}), (std::vector<int32_t>{0, 0}));
    EXPECT_EQ(StrandRoots(2, 0, {}, false, {}), (std::vector<int32_t>{kNoRoot, kNoRoot}));
    // A polygon running past the data is cut off.
    EXPECT_EQ(StrandRoots(2, 6, std::vector<int32_t>{9, 0, 1}, true, std::vector<int32_t>{0}), (std::vector<int32_t>{kNoRoot, kNoRoot}));

    std::vector<double> g(4, -1.0);
    GradientPerVertex(4, std::vector<double>{0.1, 0.2, 0.3, 0.4}, {}, g);
    EXPECT_EQ(g, (std::vector<double>{0.1, 0.2, 0.3, 0.4}));
    GradientPerVertex(4, std::vector<double>{0.5, 0.7, 0.9}, std::vector<int32_t>{3, 1, 9}, g);
    EXPECT_EQ(g, (std::vector<double>{0, 0.7, 0, 0.5}));
}

TEST(HairCombKernel, ManyStrandsOverTheCoresMatchOneAtATime) {
    // A row of fans: vertex 5f is the hub of fan f, with the fan's layout shifted along X.
    const size_t fans = 9000;  // enough for every core to take chunks
    Fan one;
    std::vector<double> pos, nrm, grad;
    std::vector<uint32_t> off{0}, nb;
    std::mt19937 rng(5);
    std::uniform_real_distribution<double> u(0.0, 1.0);
    for (size_t f = 0; f < fans; ++f) {
        for (size_t v = 0; v < 5; ++v) {
            pos.insert(pos.end(), {one.positions[3 * v] + 3.0 * static_cast<double>(f), one.positions[3 * v + 1], one.positions[3 * v + 2]});
            nrm.insert(nrm.end(), {0.0, 1.0, 0.0});
            grad.push_back(std::round(u(rng) * 4) / 4);
        }
        for (uint32_t v : {1u, 2u, 3u, 4u}) nb.push_back(static_cast<uint32_t>(5 * f) + v);
        off.push_back(static_cast<uint32_t>(nb.size()));
        for (int v = 0; v < 4; ++v) off.push_back(static_cast<uint32_t>(nb.size()));
    }
    const Emitter e{5 * fans, pos, nrm, off, nb};
    std::vector<int32_t> roots(fans);
    std::vector<double> strands;
    for (size_t f = 0; f < fans; ++f) {
        roots[f] = static_cast<int32_t>(5 * f);
        for (size_t k = 0; k < kStrandPoints; ++k)
            strands.insert(strands.end(), {3.0 * static_cast<double>(f) + 0.01 * u(rng), 0.1 * static_cast<double>(k + 1), 0.0});
    }
    std::vector<double> all = strands;
    const size_t combed = Comb(e, roots, grad, Ramp(0.6, 0.8), all);
    size_t alone = 0;
    for (size_t f = 0; f < fans; ++f) {
        std::vector<double> s(strands.begin() + static_cast<std::ptrdiff_t>(f * 42), strands.begin() + static_cast<std::ptrdiff_t>(f * 42 + 42));
        alone += Comb(e, std::vector<int32_t>{roots[f]}, grad, Ramp(0.6, 0.8), s);
        for (size_t i = 0; i < 42; ++i) ASSERT_EQ(all[f * 42 + i], s[i]) << "strand " << f;
    }
    EXPECT_EQ(combed, alone);
    EXPECT_GT(combed, fans / 2);
}

}  // namespace
