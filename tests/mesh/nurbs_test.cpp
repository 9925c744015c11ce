// Curves and surfaces: shapes through known points, closest points against dense sampling.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "nurbs/nurbs.h"

using namespace standin::nurbs;
using standin::mesh::Vec3;

namespace {

double Dist(const Vec3& a, const Vec3& b) { return std::sqrt((a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y) + (a.z - b.z) * (a.z - b.z)); }

TEST(Nurbs, OpenCurvesEndOnTheirEndPoints) {
    for (int degree = 1; degree <= 3; ++degree) {
        Curve c({{0, 0, 0}, {1, 2, 0}, {3, 2, 0}, {4, 0, 0}, {5, 1, 1}}, degree, false);
        EXPECT_LT(Dist(c.Evaluate(c.UMin()), {0, 0, 0}), 1e-12);
        EXPECT_LT(Dist(c.Evaluate(c.UMax()), {5, 1, 1}), 1e-12);
        EXPECT_DOUBLE_EQ(c.NormalizedFromU(c.UMax()), 1.0);
        EXPECT_DOUBLE_EQ(c.UFromNormalized(0.5), (c.UMin() + c.UMax()) / 2);
    }
    Curve line({{0, 0, 0}, {2, 0, 0}}, 1, false);
    EXPECT_NEAR(line.Length(), 2.0, 1e-9);
    EXPECT_THROW(Curve({{0, 0, 0}, {1, 0, 0}}, 3, false), std::invalid_argument);
    EXPECT_THROW(Curve({{0, 0, 0}, {1, 0, 0}}, 4, false), std::invalid_argument);
}

TEST(Nurbs, CircleIsRoundAndClosed) {
    Curve c = Circle(2.0, 8);
    EXPECT_TRUE(c.Closed());
    for (int i = 0; i <= 64; ++i) {
        Vec3 p = c.Evaluate(c.UFromNormalized(i / 64.0));
        EXPECT_NEAR(std::hypot(p.x, p.z), 2.0, 0.02);
        EXPECT_DOUBLE_EQ(p.y, 0.0);
    }
    EXPECT_LT(Dist(c.Evaluate(c.UMin()), c.Evaluate(c.UMax())), 1e-12);
    EXPECT_NEAR(c.Length(), 2 * std::acos(-1.0) * 2.0, 0.05);
}

TEST(Nurbs, ClosestCurvePointBeatsDenseSampling) {
    std::mt19937 rng(3);
    std::uniform_real_distribution<double> coord(-4, 4);
    for (const Curve& c : {Circle(2.0), Spiral(1.5, 3.0, 2.0), Curve({{0, 0, 0}, {1, 3, 0}, {2, -3, 1}, {3, 0, 0}}, 2, false)}) {
        for (int k = 0; k < 20; ++k) {
            Vec3 p{coord(rng), coord(rng), coord(rng)};
            CurvePoint best = c.Closest(p);
            EXPECT_NEAR(best.squaredDistance, Dist(best.position, p) * Dist(best.position, p), 1e-9);
            double dense = 1e300;
            for (int i = 0; i <= 20000; ++i) {
                Vec3 q = c.Evaluate(c.UFromNormalized(i / 20000.0));
                dense = std::min(dense, Dist(q, p));
            }
            EXPECT_LE(std::sqrt(best.squaredDistance), dense + 1e-9);
            EXPECT_GT(std::sqrt(best.squaredDistance), dense - 1e-3);
        }
    }
}

TEST(Nurbs, ClosestSurfacePoint) {
    Surface grid = GridSurface(4, 4, 2, 2);
    SurfacePoint above = grid.Closest({0.3, 2.0, -0.4});
    EXPECT_NEAR(above.position.x, 0.3, 1e-6);
    EXPECT_NEAR(above.position.z, -0.4, 1e-6);
    EXPECT_NEAR(above.squaredDistance, 4.0, 1e-6);
    Surface sphere = SphereSurface(2.0);
    SurfacePoint s = sphere.Closest({5, 1, 0});
    double r = std::sqrt(s.position.x * s.position.x + s.position.y * s.position.y + s.position.z * s.position.z);
    // The point found is on the surface and no farther than any sampled point.
    EXPECT_NEAR(Dist(s.position, sphere.Evaluate(s.u, s.v)), 0.0, 1e-12);
    double dense = 1e300;
    for (int i = 0; i <= 200; ++i)
        for (int j = 0; j <= 200; ++j) {
            double u = sphere.UMin() + (sphere.UMax() - sphere.UMin()) * i / 200;
            double v = sphere.VMin() + (sphere.VMax() - sphere.VMin()) * j / 200;
            dense = std::min(dense, Dist(sphere.Evaluate(u, v), {5, 1, 0}));
        }
    EXPECT_LE(std::sqrt(s.squaredDistance), dense + 1e-9);
    EXPECT_GT(r, 1.5);
}

}  // namespace
