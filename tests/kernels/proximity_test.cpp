// The proximity kernel: hand-computed cases, and the fast search checked against the
// straightforward all-pairs evaluation on random scenes with random falloff curves.
#include <gtest/gtest.h>

#include <random>

#include "anim/fcurve.h"
#include "proximity/evaluate.h"

using namespace orbelin::proximity;

namespace {

Falloff FromCurve(const std::shared_ptr<standin::FCurve>& curve) {
    std::vector<orbelin::CurveKey> keys;
    for (const standin::FCurveKey& k : curve->keys())
        keys.push_back({k.time, k.value, k.interpolation, k.leftX, k.leftY, k.rightX, k.rightY});
    return Falloff(keys, curve->GetInterpolation(), curve->GetExtrapolation());
}

std::shared_ptr<standin::FCurve> Linear() {
    auto c = std::make_shared<standin::FCurve>();
    c->AddKey(0, 0);
    c->AddKey(100, 1);
    return c;
}

Connexion Points(std::vector<Point> pts, double factor = 1.0) {
    Connexion c;
    c.pointSet = true;
    c.factor = factor;
    c.points = std::make_shared<PointIndex>(pts);
    return c;
}

TEST(ProximityKernel, HandComputedCases) {
    std::vector<Point> elements{{0, 0, 0}, {5, 0, 0}, {10, 0, 0}};
    std::vector<double> base{0.3, 0.3, 0.3};
    Falloff linear = FromCurve(Linear());
    Options o;  // near 0, far 10, additive
    std::vector<Connexion> one{Points({{0, 0, 0}})};
    Result r = Evaluate(elements, base, one, linear, o);
    EXPECT_NEAR(r.weights[0], 1.0, 1e-15);
    EXPECT_NEAR(r.weights[1], 0.5, 1e-15);
    EXPECT_EQ(r.weights[2], 0.0);  // at far: does not count, D = far
    // Factors 1 and 3, normalised: 0.25 and 0.75.
    std::vector<Connexion> two{Points({{0, 0, 0}}, 1.0), Points({{10, 0, 0}}, 3.0)};
    o.additive = false;
    r = Evaluate(elements, base, two, linear, o);
    EXPECT_NEAR(r.weights[0], 0.25, 1e-15);
    EXPECT_NEAR(r.weights[2], 0.75, 1e-15);
    // Disabled connexions: the base weights.
    two[0].enabled = two[1].enabled = false;
    EXPECT_EQ(Evaluate(elements, base, two, linear, o).weights, base);
    // An empty point set: D = far.
    std::vector<Connexion> empty{Points({})};
    EXPECT_EQ(Evaluate(elements, base, empty, linear, Options{}).weights, (std::vector<double>{0, 0, 0}));
    // near = far: far becomes near + 0.0001, and a candidate at near gives r = near.
    Options narrow;
    narrow.nearRange = narrow.farRange = 2.0;
    r = Evaluate(std::vector<Point>{{2, 0, 0}}, std::vector<double>{0}, one, linear, narrow);
    EXPECT_TRUE(r.farAdjusted);
    EXPECT_EQ(r.farUsed, 2.0001);
    EXPECT_NEAR(r.weights[0], 1.0 - 2.0 / 2.0001, 1e-15);
}

TEST(ProximityKernel, PostProcesses) {
    std::vector<Point> elements{{0, 0, 0}, {2, 0, 0}, {9, 0, 0}};
    std::vector<double> base(3, 0.0);
    std::vector<Connexion> one{Points({{0, 0, 0}})};
    Options clamp;
    clamp.postProcess = 1;
    clamp.lower = 0.2;
    clamp.upper = 0.7;
    Falloff linear = FromCurve(Linear());
    EXPECT_EQ(Evaluate(elements, base, one, linear, clamp).weights, (std::vector<double>{0.7, 0.7, 0.2}));
    Options range;
    range.postProcess = 2;
    range.lower = 10;
    range.upper = 20;
    std::vector<double> w = Evaluate(elements, base, one, linear, range).weights;
    EXPECT_NEAR(w[0], 20, 1e-12);
    EXPECT_NEAR(w[2], 10, 1e-12);
    EXPECT_NEAR(w[1], 10 + 10 * (0.8 - 0.1) / 0.9, 1e-12);
}

// Curves of every end behaviour: bounded, a constant tail below 1, falling, periodic, none.
std::shared_ptr<standin::FCurve> RandomCurve(std::mt19937& rng, int kind) {
    std::uniform_real_distribution<double> u(0, 1);
    auto c = std::make_shared<standin::FCurve>();
    int keys = 2 + static_cast<int>(rng() % 4);
    double t = 0;
    for (int k = 0; k < keys; ++k) {
        double v = u(rng) * 1.2;
        if (kind == 0 && k == keys - 1) v = 1.0 + u(rng) * 0.5;      // ends at or above 1
        if (kind == 1 && k == keys - 1) v = 0.2 + u(rng) * 0.6;      // ends below 1, held
        c->AddKey(t, v, k % 3 == 2 ? standin::FCurveKey::Linear : standin::FCurveKey::Default);
        t += 10 + u(rng) * 60;
    }
    if (kind == 2) c->SetExtrapolation(standin::FCurve::LinearExtrapolation);
    if (kind == 3) c->SetExtrapolation(standin::FCurve::PeriodicExtrapolation);
    if (kind == 4) c->RemoveKeys();
    return c;
}

TEST(ProximityKernel, FastSearchEqualsAllPairsOnRandomScenes) {
    std::mt19937 rng(11);
    std::uniform_real_distribution<double> coord(-5, 5), unit(0, 1);
    for (int round = 0; round < 60; ++round) {
        // Now and then enough elements for the work to be split between threads.
        std::vector<Point> elements(round % 10 < 2 ? 10000 : 300);
        for (Point& p : elements) p = {coord(rng) * 3, coord(rng) * 0.2, coord(rng)};
        // In order along x, the chunks of the split are narrow: many lie out of every reach.
        if (round % 10 == 1) std::sort(elements.begin(), elements.end());
        std::vector<double> base(elements.size());
        for (double& b : base) b = unit(rng);
        std::vector<Connexion> connexions;
        for (int k = 0; k < 1 + static_cast<int>(rng() % 3); ++k) {
            std::vector<Point> pts(static_cast<size_t>(rng() % 200));
            for (Point& p : pts) p = {coord(rng) * 0.5 + 1, coord(rng) * 0.5, coord(rng) * 0.5};
            Connexion c = Points(pts, 0.5 + unit(rng) * 2);
            c.enabled = rng() % 5 != 0;
            connexions.push_back(c);
        }
        Connexion distances;
        distances.distances.resize(elements.size());
        for (double& d : distances.distances) d = unit(rng) * 6;
        connexions.push_back(distances);
        Options o;
        o.nearRange = unit(rng) * 2;
        o.farRange = o.nearRange + 0.5 + unit(rng) * 4;
        o.additive = rng() % 2;
        o.postProcess = static_cast<int>(rng() % 3);
        o.lower = unit(rng) * 0.3;
        o.upper = 0.5 + unit(rng);
        Falloff falloff = FromCurve(RandomCurve(rng, round % 5));
        std::vector<double> fast = Evaluate(elements, base, connexions, falloff, o).weights;
        std::vector<double> slow = EvaluateStraight(elements, base, connexions, falloff, o).weights;
        ASSERT_EQ(fast.size(), slow.size());
        for (size_t i = 0; i < fast.size(); ++i)
            ASSERT_NEAR(fast[i], slow[i], 1e-12 * std::max(1.0, std::abs(slow[i]))) << "round " << round << " element " << i;
    }
}

TEST(ProximityKernel, SettledDistanceFromTheCurvesEnd) {
    Options o;
    o.nearRange = 1.0;
    o.farRange = 3.0;
    // Reaching 1 at its last key: nothing past far counts.
    EXPECT_NEAR(SettledDistance(FromCurve(Linear()), o), 3.0, 1e-9);
    // Ending at 0.5, constant after: everything past far counts alike.
    auto half = std::make_shared<standin::FCurve>();
    half->AddKey(0, 0);
    half->AddKey(100, 0.5, standin::FCurve::LinearInterpolation);
    EXPECT_NEAR(SettledDistance(FromCurve(half), o), 3.0, 1e-9);
    // The same carried on linearly reaches 1 at t = 200: d = 1 + 200 x 2 / 100.
    half->SetExtrapolation(standin::FCurve::LinearExtrapolation);
    EXPECT_NEAR(SettledDistance(FromCurve(half), o), 5.0, 1e-9);
    // Falling after its last key, it never settles.
    auto falling = std::make_shared<standin::FCurve>();
    falling->AddKey(0, 0.5, standin::FCurve::LinearInterpolation);
    falling->AddKey(100, 0.2, standin::FCurve::LinearInterpolation);
    falling->SetExtrapolation(standin::FCurve::LinearExtrapolation);
    EXPECT_TRUE(std::isinf(SettledDistance(FromCurve(falling), o)));
    // A range too narrow is widened first, as the evaluation does.
    o.farRange = 0.5;
    EXPECT_NEAR(SettledDistance(FromCurve(Linear()), o), 1.0001, 1e-9);
}

// The grid, sized for one radius or another, on sets that are spread, flat, all at one place,
// or far from the origin, must find exactly the points within any radius asked for.
TEST(ProximityKernel, PointIndexFindsExactlyThePointsWithinTheRadius) {
    std::mt19937 rng(5);
    std::uniform_real_distribution<double> coord(-1, 1);
    for (int shape = 0; shape < 4; ++shape) {
        std::vector<Point> pts(2000);
        const double offset = shape == 3 ? 1e7 : 0.0;
        for (Point& p : pts) {
            p = {coord(rng) + offset, coord(rng), coord(rng) - offset};
            if (shape == 1) p[1] = 0.25;         // flat
            if (shape == 2) p = {0.5, 0.5, 0.5};  // one place
        }
        pts.push_back(pts[7]);  // duplicates are kept
        PointIndex index(pts);
        for (double prepared : {0.0, 0.05, 0.4, 3.0}) {
            if (prepared > 0) index.Prepare(prepared);
            for (int k = 0; k < 40; ++k) {
                Point q{coord(rng) + offset, coord(rng), coord(rng) - offset};
                if (k % 5 == 0) q = pts[static_cast<size_t>(k)];  // on a point
                double radius = k % 7 == 0 ? prepared : std::abs(coord(rng));
                std::vector<uint32_t> found;
                index.Within(q, radius, [&](uint32_t i, double) { found.push_back(i); });
                std::sort(found.begin(), found.end());
                std::vector<uint32_t> expected;
                for (uint32_t i = 0; i < pts.size(); ++i) {
                    double dx = q[0] - pts[i][0], dy = q[1] - pts[i][1], dz = q[2] - pts[i][2];
                    if (dx * dx + dy * dy + dz * dz <= radius * radius) expected.push_back(i);
                }
                ASSERT_EQ(found, expected) << "shape " << shape << " prepared " << prepared << " query " << k;
            }
        }
        // A query that is not a number finds nothing; neither does a radius that is not one.
        std::vector<uint32_t> found;
        index.Within({std::nan(""), 0, 0}, 1.0, [&](uint32_t i, double) { found.push_back(i); });
        index.Within(pts[0], std::nan(""), [&](uint32_t i, double) { found.push_back(i); });
        EXPECT_TRUE(found.empty());
    }
}

}  // namespace
