// Curves and surfaces: shapes through known points, closest points against dense sampling.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <tuple>
#include <vector>

#include "nurbs/nurbs.h"

using namespace standin::nurbs;
using standin::mesh::Vec3;

namespace {

double Dist(const Vec3& a, const Vec3& b) { return std::sqrt((a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y) + (a.z - b.z) * (a.z - b.z)); }

// Reference nearest distances, from Evaluate alone: dense samples, then the lowest ones
// narrowed by golden section (curves) or by a grid search in a shrinking window (surfaces).
double CurveReference(const Curve& c, const Vec3& p) {
    const int n = 400 * static_cast<int>(std::lround(c.UMax() - c.UMin()));
    const double h = (c.UMax() - c.UMin()) / n;
    std::vector<double> d(static_cast<size_t>(n) + 1);
    for (int i = 0; i <= n; ++i) d[static_cast<size_t>(i)] = Dist(c.Evaluate(c.UMin() + h * i), p);
    std::vector<std::pair<double, int>> valleys;
    for (int i = 0; i <= n; ++i) {
        int prev = i > 0 ? i - 1 : (c.Closed() ? n - 1 : i), next = i < n ? i + 1 : (c.Closed() ? 1 : i);
        if (d[static_cast<size_t>(i)] <= d[static_cast<size_t>(prev)] && d[static_cast<size_t>(i)] <= d[static_cast<size_t>(next)])
            valleys.push_back({d[static_cast<size_t>(i)], i});
    }
    std::sort(valleys.begin(), valleys.end());
    double best = valleys.front().first;
    const double g = (std::sqrt(5.0) - 1) / 2;
    for (size_t k = 0; k < std::min<size_t>(valleys.size(), 6); ++k) {
        double a = std::max(c.UMin(), c.UMin() + h * (valleys[k].second - 1)), b = std::min(c.UMax(), a + 2 * h);
        while (b - a > 1e-13) {
            double x = b - g * (b - a), y = a + g * (b - a);
            if (Dist(c.Evaluate(x), p) < Dist(c.Evaluate(y), p)) b = y;
            else a = x;
        }
        best = std::min(best, Dist(c.Evaluate((a + b) / 2), p));
    }
    return best;
}

double SurfaceReference(const Surface& s, const Vec3& p) {
    const int nu = 16 * static_cast<int>(std::lround(s.UMax() - s.UMin())), nv = 16 * static_cast<int>(std::lround(s.VMax() - s.VMin()));
    const double hu = (s.UMax() - s.UMin()) / nu, hv = (s.VMax() - s.VMin()) / nv;
    auto f = [&](double u, double v) { return Dist(s.Evaluate(std::clamp(u, s.UMin(), s.UMax()), std::clamp(v, s.VMin(), s.VMax())), p); };
    std::vector<std::tuple<double, double, double>> samples;
    for (int i = 0; i <= nu; ++i)
        for (int j = 0; j <= nv; ++j) samples.emplace_back(f(s.UMin() + hu * i, s.VMin() + hv * j), s.UMin() + hu * i, s.VMin() + hv * j);
    std::sort(samples.begin(), samples.end());
    // From the nearest samples at distinct places (a pole is one place), a grid search in a
    // window that halves around the best point found.
    double best = std::get<0>(samples.front());
    std::vector<Vec3> seen;
    for (size_t k = 0; k < samples.size() && seen.size() < 8; ++k) {
        auto [d, u, v] = samples[k];
        Vec3 at = s.Evaluate(u, v);
        if (std::any_of(seen.begin(), seen.end(), [&](const Vec3& q) { return Dist(q, at) < 1e-9; })) continue;
        seen.push_back(at);
        for (double wu = 2 * hu, wv = 2 * hv; wu > 1e-13; wu /= 2, wv /= 2) {
            double cu = u, cv = v;
            for (int i = -3; i <= 3; ++i)
                for (int j = -3; j <= 3; ++j) {
                    double tu = std::clamp(cu + wu * i / 3, s.UMin(), s.UMax()), tv = std::clamp(cv + wv * j / 3, s.VMin(), s.VMax());
                    double td = f(tu, tv);
                    if (td < d) std::tie(d, u, v) = std::tuple{td, tu, tv};
                }
        }
        best = std::min(best, d);
    }
    return best;
}

// The closest point agrees with the reference to 1e-6 and is never farther; its parameters
// lie in the domain and give back its position.
void ExpectClosestCurvePoint(const Curve& c, const Vec3& p) {
    SCOPED_TRACE(::testing::Message() << "point " << p.x << ", " << p.y << ", " << p.z);
    CurvePoint r = c.Closest(p);
    ASSERT_GE(r.u, c.UMin());
    ASSERT_LE(r.u, c.UMax());
    EXPECT_LT(Dist(r.position, c.Evaluate(r.u)), 1e-9);
    EXPECT_NEAR(r.squaredDistance, Dist(r.position, p) * Dist(r.position, p), 1e-9 * (1 + r.squaredDistance));
    double reference = CurveReference(c, p), d = std::sqrt(r.squaredDistance);
    EXPECT_LE(d, reference + 1e-12);
    EXPECT_NEAR(d, reference, 1e-6);
}

void ExpectClosestSurfacePoint(const Surface& s, const Vec3& p) {
    SCOPED_TRACE(::testing::Message() << "point " << p.x << ", " << p.y << ", " << p.z);
    SurfacePoint r = s.Closest(p);
    ASSERT_TRUE(r.u >= s.UMin() && r.u <= s.UMax() && r.v >= s.VMin() && r.v <= s.VMax());
    EXPECT_LT(Dist(r.position, s.Evaluate(r.u, r.v)), 1e-9);
    EXPECT_NEAR(r.squaredDistance, Dist(r.position, p) * Dist(r.position, p), 1e-9 * (1 + r.squaredDistance));
    double reference = SurfaceReference(s, p), d = std::sqrt(r.squaredDistance);
    EXPECT_LE(d, reference + 1e-12);
    EXPECT_NEAR(d, reference, 1e-6);
}

// Points around a shape of the given size: random ones near it, ones on it, far ones.
std::vector<Vec3> QueryPoints(std::mt19937& rng, double size, const std::function<Vec3(std::mt19937&)>& onShape) {
    std::uniform_real_distribution<double> near(-1.5 * size, 1.5 * size), far(-100 * size, 100 * size);
    std::vector<Vec3> out;
    for (int i = 0; i < 12; ++i) out.push_back({near(rng), near(rng), near(rng)});
    for (int i = 0; i < 4; ++i) out.push_back(onShape(rng));
    for (int i = 0; i < 3; ++i) out.push_back({far(rng), far(rng), far(rng)});
    return out;
}

std::vector<Vec3> RandomPoints(std::mt19937& rng, int n, double size) {
    std::uniform_real_distribution<double> coord(-size, size);
    std::vector<Vec3> out;
    for (int i = 0; i < n; ++i) out.push_back({coord(rng), coord(rng), coord(rng)});
    return out;
}

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

TEST(Nurbs, ClosestCurvePointsOfEveryDegreeOpenClosedAndWeighted) {
    std::mt19937 rng(11);
    std::uniform_real_distribution<double> weight(0.3, 3.0);
    std::vector<Curve> curves{Circle(10.0), Spiral(1.5, 3.0, 2.0)};
    for (int degree = 1; degree <= 3; ++degree)
        for (bool closed : {false, true}) {
            std::vector<Vec3> points = RandomPoints(rng, 7, 2.0);
            std::vector<double> weights;
            for (size_t i = 0; i < points.size(); ++i) weights.push_back(weight(rng));
            curves.emplace_back(points, degree, closed);
            curves.emplace_back(points, degree, closed, weights);
        }
    // Repeated control points: a span that shrinks to a point, and a corner.
    curves.emplace_back(std::vector<Vec3>{{0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {2, 1, 0}, {2, 1, 0}, {2, 1, 0}, {3, -1, 1}}, 3, false);
    for (const Curve& c : curves) {
        SCOPED_TRACE(::testing::Message() << "degree " << c.Degree() << (c.Closed() ? " closed" : " open"));
        for (const Vec3& p : QueryPoints(rng, 2.0, [&](std::mt19937& r) {
                 return c.Evaluate(c.UFromNormalized(std::uniform_real_distribution<double>(0, 1)(r)));
             }))
            ExpectClosestCurvePoint(c, p);
        // Beyond an open curve's ends, and at its end points.
        if (!c.Closed())
            for (double u : {c.UMin(), c.UMax()}) {
                Vec3 end = c.Evaluate(u), tangent = c.Derivative(u);
                double outward = u == c.UMin() ? -1.0 : 1.0;
                ExpectClosestCurvePoint(c, end);
                ExpectClosestCurvePoint(c, {end.x + outward * tangent.x, end.y + outward * tangent.y, end.z + outward * tangent.z});
            }
    }
}

TEST(Nurbs, ClosestPointOnACircleFromItsCentreIsOnTheCircle) {
    Curve c = Circle(10.0);
    CurvePoint r = c.Closest({0, 0, 0});
    EXPECT_NEAR(std::sqrt(r.squaredDistance), CurveReference(c, {0, 0, 0}), 1e-6);
    EXPECT_NEAR(std::hypot(r.position.x, r.position.z), 10.0, 0.1);
}

TEST(Nurbs, SurfacesEvaluateAsTensorProducts) {
    // Degree 1 both ways: bilinear between the four corners of each patch.
    Surface bilinear({{0, 0, 0}, {2, 0, 0}, {4, 1, 0}, {0, 0, 2}, {2, 3, 2}, {4, 0, 2}}, 3, 2, 1, 1, false, false);
    Vec3 mid = bilinear.Evaluate(0.5, 0.25);  // patch 0: corners (0,0,0) (2,0,0) (0,0,2) (2,3,2)
    EXPECT_LT(Dist(mid, {1.0, 0.25 * 1.5, 0.5}), 1e-12);
    EXPECT_LT(Dist(bilinear.Evaluate(2.0, 1.0), {4, 0, 2}), 1e-12);
    EXPECT_LT(Dist(bilinear.Evaluate(-5.0, 7.0), {0, 0, 2}), 1e-12);  // clamped to the domain
    // Weights pull the surface towards the heavier point: w = 3 at (2,3,2) at the patch's middle.
    Surface weighted({{0, 0, 0}, {2, 0, 0}, {4, 1, 0}, {0, 0, 2}, {2, 3, 2}, {4, 0, 2}}, 3, 2, 1, 1, false, false, {1, 1, 1, 1, 3, 1});
    EXPECT_LT(Dist(weighted.Evaluate(0.5, 0.5), {8 / 6.0, 9 / 6.0, 8 / 6.0}), 1e-12);
    // A closed direction wraps: the sphere's seam and its poles.
    Surface sphere = SphereSurface(2.0);
    for (double v : {0.5, 2.0, 3.7})
        EXPECT_LT(Dist(sphere.Evaluate(sphere.UMin(), v), sphere.Evaluate(sphere.UMax(), v)), 1e-12);
    EXPECT_LT(Dist(sphere.Evaluate(1.3, sphere.VMax()), {0, 2, 0}), 1e-12);
    Surface grid = GridSurface(4, 6, 2, 3);
    EXPECT_LT(Dist(grid.Evaluate(grid.UMax(), grid.VMin()), {2, 0, -3}), 1e-12);
    EXPECT_THROW(Surface({{0, 0, 0}, {1, 0, 0}, {0, 0, 1}, {1, 0, 1}}, 2, 2, 2, 1, false, false), std::invalid_argument);
    EXPECT_THROW(Surface({{0, 0, 0}, {1, 0, 0}, {0, 0, 1}, {1, 0, 1}}, 2, 2, 1, 1, false, false, {1, 1, 0, 1}), std::invalid_argument);
}

TEST(Nurbs, ClosestSurfacePointsMatchTheReference) {
    std::mt19937 rng(5);
    std::uniform_real_distribution<double> height(-1.0, 1.0), weight(0.4, 2.5);
    std::vector<Vec3> bumps;
    std::vector<double> weights;
    for (int j = 0; j < 5; ++j)
        for (int i = 0; i < 6; ++i) {
            bumps.push_back({i - 2.5, height(rng), j - 2.0});
            weights.push_back(weight(rng));
        }
    // Closing a direction folds the sheet back on itself: tight turns.
    std::vector<Surface> surfaces{GridSurface(4, 4, 2, 2), SphereSurface(3.0), Surface(bumps, 6, 5, 3, 3, false, false),
                                  Surface(bumps, 6, 5, 2, 2, false, false, weights), Surface(bumps, 6, 5, 1, 1, false, false),
                                  Surface(bumps, 6, 5, 3, 2, true, false), Surface(bumps, 6, 5, 1, 3, false, true, weights)};
    for (size_t k = 0; k < surfaces.size(); ++k) {
        SCOPED_TRACE(::testing::Message() << "surface " << k);
        const Surface& s = surfaces[k];
        for (const Vec3& p : QueryPoints(rng, 3.0, [&](std::mt19937& r) {
                 std::uniform_real_distribution<double> n(0, 1);
                 return s.Evaluate(s.UMin() + n(r) * (s.UMax() - s.UMin()), s.VMin() + n(r) * (s.VMax() - s.VMin()));
             }))
            ExpectClosestSurfacePoint(s, p);
        // Near and beyond the edges and corners of the domain.
        for (double a : {0.0, 0.02, 0.5, 1.0})
            for (double b : {0.0, 1.0}) {
                Vec3 q = s.Evaluate(s.UMin() + a * (s.UMax() - s.UMin()), s.VMin() + b * (s.VMax() - s.VMin()));
                ExpectClosestSurfacePoint(s, {q.x * 1.3, q.y + 0.5, q.z * 1.3});
                ExpectClosestSurfacePoint(s, {q.x * 1.01, q.y - 0.01, q.z * 0.99});
            }
    }
}

TEST(Nurbs, ClosestPointsJustOffFoldedSheets) {
    // Closed directions over an open grid of bumps fold the sheet back on itself, and uneven
    // weights bunch it up: narrow valleys of the distance that coarse sampling steps over.
    std::mt19937 rng(14);
    std::uniform_real_distribution<double> height(-1.5, 1.5), weight(0.2, 4.0), jitter(-1.0, 1.0);
    for (int k = 0; k < 3; ++k) {
        std::vector<Vec3> bumps;
        std::vector<double> weights;
        for (int j = 0; j < 6; ++j)
            for (int i = 0; i < 7; ++i) {
                bumps.push_back({i - 3.0 + 0.3 * jitter(rng), height(rng), j - 2.5 + 0.3 * jitter(rng)});
                weights.push_back(weight(rng));
            }
        const Surface s = k == 0 ? Surface(bumps, 7, 6, 3, 1, true, false)
                          : k == 1 ? Surface(bumps, 7, 6, 1, 3, false, true, weights)
                                   : Surface(bumps, 7, 6, 2, 2, true, true, weights);
        SCOPED_TRACE(::testing::Message() << "surface " << k);
        std::uniform_real_distribution<double> u(s.UMin(), s.UMax()), v(s.VMin(), s.VMax());
        for (int n = 0; n < 40; ++n) {
            Vec3 q = s.Evaluate(u(rng), v(rng));
            ExpectClosestSurfacePoint(s, {q.x + 0.05 * jitter(rng), q.y + 0.05 * jitter(rng), q.z + 0.05 * jitter(rng)});
        }
    }
}

// The k-th of four bumpy sheets drawn from `seed`: degrees (1 + k % 3, 3 - k % 3), closed in U
// for k = 2 and in V for k = 3, weighted for odd k.
Surface BumpySheet(unsigned seed, int which) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> h(-1.5, 1.5), w(0.2, 4.0), c(-1, 1);
    for (int k = 0;; ++k) {
        std::vector<Vec3> pts;
        std::vector<double> ws;
        for (int j = 0; j < 6; ++j)
            for (int i = 0; i < 7; ++i) {
                double x = i - 3.0 + 0.3 * c(rng), y = h(rng), z = j - 2.5 + 0.3 * c(rng);
                pts.push_back({x, y, z});
                ws.push_back(w(rng));
            }
        if (k == which) return Surface(pts, 7, 6, 1 + k % 3, 3 - k % 3, k == 2, k == 3, k % 2 ? ws : std::vector<double>{});
    }
}

TEST(Nurbs, ClosestPointsInNarrowValleys) {
    // A large Newton step leaving for another valley; a fold between coarse samples.
    ExpectClosestSurfacePoint(BumpySheet(23, 1), {-0.030347037070801441, 2.7653673933238396, -2.1739649932704213});
    ExpectClosestSurfacePoint(BumpySheet(14, 2), {2.3698975726344331, 0.10819727911144711, -2.1218030107171169});
    ExpectClosestSurfacePoint(BumpySheet(16, 2), {2.3271015358564733, -0.82733619356645771, -0.51299897535025818});
}

TEST(Nurbs, ClosestSpherePointsAtThePolesAndTheCentre) {
    Surface sphere = SphereSurface(3.0);
    for (const Vec3& p : std::vector<Vec3>{{0, 5, 0}, {0, -5, 0}, {0, 3, 0}, {0, 2.5, 0}, {1e-3, 2.9, 0}, {0.2, -4, 0.1},
                                           {-0.05, 3.0, 0.02}, {0, 0, 0}, {0.01, 0.02, -0.01}, {0.3, -0.2, 0.1}, {1.2, 0.4, -0.9}})
        ExpectClosestSurfacePoint(sphere, p);
    SurfacePoint above = sphere.Closest({0, 7, 0});
    EXPECT_NEAR(above.position.y, 3.0, 1e-9);
    EXPECT_NEAR(above.v, sphere.VMax(), 1e-9);
}

TEST(Nurbs, ClosestPointsOnAnOpenSurfaceClampToItsEdges) {
    Surface grid = GridSurface(4, 4, 2, 2);
    SurfacePoint corner = grid.Closest({5, 1, -6});
    EXPECT_LT(Dist(corner.position, {2, 0, -2}), 1e-9);
    EXPECT_DOUBLE_EQ(corner.u, grid.UMax());
    EXPECT_DOUBLE_EQ(corner.v, grid.VMin());
    SurfacePoint edge = grid.Closest({0.7, -2, 9});
    EXPECT_LT(Dist(edge.position, {0.7, 0, 2}), 1e-9);
    EXPECT_DOUBLE_EQ(edge.v, grid.VMax());
}

}  // namespace
