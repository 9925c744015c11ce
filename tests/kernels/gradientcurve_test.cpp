#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "gradientcurve/evaluate.h"

namespace gc = orbelin::gradientcurve;

namespace {

gc::Curve Line(gc::Vec3 a, gc::Vec3 b) {
    const double knots[] = {0, 0, 1, 1};
    const gc::Vec4 points[] = {{a[0], a[1], a[2], 1}, {b[0], b[1], b[2], 1}};
    return gc::Curve(1, knots, points);
}

// A clamped cubic through random control points, knots 0 .. spans (not normalised).
gc::Curve RandomCubic(std::mt19937& rng, int spans, double extent, bool rational) {
    std::uniform_real_distribution<double> coord(-extent, extent), weight(0.3, 3.0);
    std::vector<gc::Vec4> points(static_cast<size_t>(spans + 3));
    for (auto& p : points) p = {coord(rng), coord(rng), coord(rng) * 0.2, rational ? weight(rng) : 1.0};
    std::vector<double> knots{0, 0, 0};
    for (int k = 0; k <= spans; ++k) knots.push_back(k);
    knots.insert(knots.end(), {double(spans), double(spans), double(spans)});
    return gc::Curve(3, knots, points);
}

double Sq(double v) { return v * v; }

struct Scene {
    std::vector<gc::Vec3> vertices;
    std::vector<int> elements;
    std::vector<double> incoming;
    std::vector<gc::Connexion> connexions;
};

std::vector<double> Weights(const Scene& s, gc::Options o, bool straight = false) {
    std::vector<double> out(s.elements.size());
    if (straight) gc::EvaluateStraight(s.vertices, s.elements, s.incoming, s.connexions, o, out);
    else gc::Evaluate(s.vertices, s.elements, s.incoming, s.connexions, o, out);
    return out;
}

// Vertices along the x axis at 0, 1, ... n-1 (y = 2), every one an element.
Scene Row(int n, double incoming = 0.5) {
    Scene s;
    for (int i = 0; i < n; ++i) {
        s.vertices.push_back({double(i), 2.0, 0.0});
        s.elements.push_back(i);
        s.incoming.push_back(incoming);
    }
    return s;
}

gc::Connexion With(gc::Curve c, double factor = 1.0) {
    gc::Connexion k;
    k.factor = factor;
    k.curves.push_back(std::move(c));
    return k;
}

}  // namespace

TEST(GradientCurveCurve, ClosestPointsAreTheGlobalMinimum) {
    // A line: the parameter is the projection.
    gc::ClosestPoint p;
    ASSERT_TRUE(Line({0, 0, 0}, {10, 0, 0}).Closest({2.5, 3, 0}, 1e300, p));
    EXPECT_NEAR(p.normalized, 0.25, 1e-12);
    EXPECT_NEAR(p.squaredDistance, 9.0, 1e-12);
    // Past the end: the end point.
    ASSERT_TRUE(Line({0, 0, 0}, {10, 0, 0}).Closest({12, 1, 0}, 1e300, p));
    EXPECT_DOUBLE_EQ(p.normalized, 1.0);
    EXPECT_NEAR(p.squaredDistance, 5.0, 1e-12);
    // Not nearer than the distance to beat: nothing.
    EXPECT_FALSE(Line({0, 0, 0}, {10, 0, 0}).Closest({2.5, 3, 0}, 9.0 - 1e-9, p));

    // A rational quarter circle of radius 1 (knots 2 .. 6): from (2, 2, 0) the middle, 45 degrees.
    const double knots[] = {2, 2, 2, 6, 6, 6};
    const gc::Vec4 arc[] = {{1, 0, 0, 1}, {1, 1, 0, std::sqrt(0.5)}, {0, 1, 0, 1}};
    gc::Curve circle(2, knots, arc);
    ASSERT_TRUE(circle.Closest({2, 2, 0}, 1e300, p));
    EXPECT_NEAR(p.normalized, 0.5, 1e-9);
    EXPECT_NEAR(p.u, 4.0, 1e-8);
    EXPECT_NEAR(p.squaredDistance, Sq(std::sqrt(8.0) - 1.0), 1e-12);

    // Random cubics, rational or not: never farther than the best of a dense sampling, and the
    // parameter found gives the distance found.
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> coord(-6, 6);
    for (int trial = 0; trial < 40; ++trial) {
        gc::Curve c = RandomCubic(rng, 1 + trial % 5, 4.0, trial % 2 == 1);
        ASSERT_FALSE(c.Empty());
        const gc::Vec3 q{coord(rng), coord(rng), coord(rng)};
        ASSERT_TRUE(c.Closest(q, 1e300, p));
        double sampled = 1e300;
        for (int k = 0; k <= 20000; ++k) {
            const gc::Vec3 x = c.Evaluate(c.UMin() + (c.UMax() - c.UMin()) * k / 20000.0);
            sampled = std::min(sampled, Sq(x[0] - q[0]) + Sq(x[1] - q[1]) + Sq(x[2] - q[2]));
        }
        EXPECT_LE(p.squaredDistance, sampled * (1 + 1e-12) + 1e-12) << trial;
        const gc::Vec3 x = c.Evaluate(p.u);
        EXPECT_NEAR(Sq(x[0] - q[0]) + Sq(x[1] - q[1]) + Sq(x[2] - q[2]), p.squaredDistance, 1e-9) << trial;
    }
}

TEST(GradientCurveCurve, DataThatDescribeNoCurveGiveAnEmptyOne) {
    const gc::Vec4 two[] = {{0, 0, 0, 1}, {1, 0, 0, 1}};
    const double good[] = {0, 0, 1, 1}, decreasing[] = {0, 1, 0.5, 1}, nan[] = {0, NAN, 1, 1}, flat[] = {1, 1, 1, 1};
    EXPECT_FALSE(gc::Curve(1, good, two).Empty());
    EXPECT_TRUE(gc::Curve(0, good, two).Empty());
    EXPECT_TRUE(gc::Curve(4, good, two).Empty());
    EXPECT_TRUE(gc::Curve(1, decreasing, two).Empty());
    EXPECT_TRUE(gc::Curve(1, nan, two).Empty());
    EXPECT_TRUE(gc::Curve(1, flat, two).Empty());
    EXPECT_TRUE(gc::Curve(1, std::span<const double>(good, 3), two).Empty());
    gc::ClosestPoint p;
    EXPECT_FALSE(gc::Curve(1, flat, two).Closest({0, 0, 0}, 1e300, p));
}

TEST(GradientCurveEvaluate, NearestCurveTiesFactorsAndReach) {
    // Two curves along x, at y = 0 and y = 4: the row at y = 2 is as near to both.
    Scene s = Row(5);
    s.connexions.push_back(With(Line({0, 0, 0}, {4, 0, 0}), 1.0));
    s.connexions.push_back(With(Line({4, 4, 0}, {0, 4, 0}), 1.0));
    std::vector<double> out = Weights(s, {});
    for (int i = 0; i < 5; ++i) EXPECT_NEAR(out[i], i / 4.0, 1e-12) << "the first connexion wins a tie";
    // The same curves as one connexion's curve list: the first curve wins.
    Scene list = Row(5);
    list.connexions.push_back(With(Line({4, 4, 0}, {0, 4, 0})));
    list.connexions[0].curves.push_back(Line({0, 0, 0}, {4, 0, 0}));
    out = Weights(list, {});
    for (int i = 0; i < 5; ++i) EXPECT_NEAR(out[i], 1.0 - i / 4.0, 1e-12);

    // Factor 0: every point nearest to that curve gets 0; a disabled connexion is not there.
    s.connexions[0].factor = 0.0;
    s.vertices[4][1] = 3.0;  // now nearer to the second curve: 0 along it at x = 4
    s.vertices[3][1] = 3.0;
    out = Weights(s, {});
    EXPECT_EQ(out[0], 0.0);
    EXPECT_EQ(out[1], 0.0);
    EXPECT_NEAR(out[3], 0.25, 1e-12);
    s.connexions[1].enabled = false;
    out = Weights(s, {});
    for (double v : out) EXPECT_EQ(v, 0.0);

    // Farther than 1000 units from every curve: the weight stays as it came.
    Scene far = Row(3, 0.75);
    far.vertices[2] = {0, 1000.5, 0};
    far.connexions.push_back(With(Line({0, 0, 0}, {2, 0, 0}), 2.0));
    out = Weights(far, {});
    EXPECT_NEAR(out[1], 1.0, 1e-12);
    EXPECT_EQ(out[2], 0.75);
    // No connexion at all: nothing is written.
    far.connexions.clear();
    EXPECT_EQ(Weights(far, {}), far.incoming);
}

TEST(GradientCurveEvaluate, PostProcesses) {
    Scene s = Row(5);
    s.connexions.push_back(With(Line({0, 0, 0}, {4, 0, 0}), 2.0));  // values 0, .5, 1, 1.5, 2
    gc::Options clamp{gc::kClamp, 0.5, 1.5};
    EXPECT_EQ(Weights(s, clamp), (std::vector<double>{0.5, 0.5, 1.0, 1.5, 1.5}));
    // Change Range: 0 .. 2 onto 10 .. 20.
    std::vector<double> out = Weights(s, {gc::kChangeRange, 10, 20});
    for (int i = 0; i < 5; ++i) EXPECT_NEAR(out[i], 10 + 2.5 * i, 1e-12);
    // All the values taken equal: left as they are.
    Scene flat = Row(3);
    flat.connexions.push_back(With(Line({0, 0, 0}, {0, 0, 1}), 1.0));  // every vertex projects on its start
    out = Weights(flat, {gc::kChangeRange, 10, 20});
    for (double v : out) EXPECT_EQ(v, 0.0);
    // The range counts the values a nearer curve replaced later: vertex 0 takes 0.4, then 0.9
    // from a nearer curve; vertex 1 takes 1, then -0.2 from a nearer curve. The range is -0.2 .. 1.
    Scene two;
    two.vertices = {{0, 1, 0}, {10, 1, 0}};
    two.elements = {0, 1};
    two.incoming = {0, 0};
    gc::Connexion first = With(Line({-2, 3, 0}, {3, 3, 0}), 1.0);
    first.curves.push_back(Line({10, -50, 0}, {10, 0, 0}));
    two.connexions.push_back(first);
    two.connexions.push_back(With(Line({-9, 0.5, 0}, {1, 0.5, 0}), 1.0));
    two.connexions.push_back(With(Line({15, 1, 0.5}, {10, 1, 0.5}), -0.2));
    out = Weights(two, {gc::kChangeRange, 0, 1});
    EXPECT_NEAR(out[0], (0.9 + 0.2) / 1.2, 1e-12);
    EXPECT_NEAR(out[1], 0.0, 1e-12);
    EXPECT_EQ(out, Weights(two, {gc::kChangeRange, 0, 1}, true));
}

TEST(GradientCurveEvaluate, TransformsOfTheMeshAndOfEachCurveObject) {
    Scene s = Row(5);
    for (auto& v : s.vertices) v[1] = 0.0;
    gc::Connexion c = With(Line({0, 0, 0}, {8, 0, 0}));
    // The mesh moved by +4 in x: the vertices are at 4 .. 8 in the world.
    c.toWorld[12] = 4.0;
    // The curve object scaled by 2 (its line runs 0 .. 16 in the world): world to curve halves.
    c.toCurve[0] = c.toCurve[5] = c.toCurve[10] = 0.5;
    s.connexions.push_back(c);
    std::vector<double> out = Weights(s, {});
    for (int i = 0; i < 5; ++i) EXPECT_NEAR(out[i], (4.0 + i) / 16.0, 1e-12);
    // Distances are measured in each curve object's space: a curve scaled down looks farther.
    Scene t = Row(1);
    t.vertices[0] = {0, 3, 0};
    t.connexions.push_back(With(Line({0, 0, 0}, {1, 0, 0}), 1.0));   // 3 away, value 0
    t.connexions.push_back(With(Line({-1, 4, 0}, {1, 4, 0}), 1.0));  // 1 away in the world
    t.connexions[1].toCurve[0] = t.connexions[1].toCurve[5] = t.connexions[1].toCurve[10] = 10.0;  // 10 in its space
    EXPECT_EQ(Weights(t, {})[0], 0.0);
}

TEST(GradientCurveEvaluate, FastSearchEqualsEveryCurveForEveryElement) {
    std::mt19937 rng(11);
    std::uniform_real_distribution<double> coord(-20, 20), unit(0, 1);
    for (int trial = 0; trial < 8; ++trial) {
        Scene s;
        const int n = 1500 + trial * 100;
        for (int i = 0; i < n; ++i) {
            s.vertices.push_back({coord(rng), coord(rng), coord(rng) * 0.1});
            s.incoming.push_back(unit(rng));
        }
        // Elements in vertex order, some of them sharing a vertex or naming none.
        for (int i = 0; i < n; ++i) s.elements.push_back(unit(rng) < 0.05 ? int(unit(rng) * n * 1.1) : i);
        const int connexions = 1 + trial % 6;
        for (int j = 0; j < connexions; ++j) {
            gc::Connexion c;
            c.enabled = unit(rng) > 0.15;
            c.factor = unit(rng) < 0.2 ? 0.0 : coord(rng) / 10;
            c.toWorld[12] = coord(rng) * 0.1;
            c.toCurve[13] = coord(rng) * 0.1;
            c.toCurve[0] = 0.5 + unit(rng);
            for (int k = 0; k < 1 + j % 3; ++k) c.curves.push_back(RandomCubic(rng, 1 + k, 15, (j + k) % 2 == 0));
            if (trial % 4 == 3) c.curves.push_back(c.curves.front());  // a copy: exact ties
            s.connexions.push_back(std::move(c));
        }
        for (int post = 0; post < 3; ++post) {
            gc::Options o{post, -0.3, 0.7};
            EXPECT_EQ(Weights(s, o), Weights(s, o, true)) << "trial " << trial << " post-process " << post;
        }
    }
}
