// Procedural primitives: counts, the documented point numbering, closed and consistently
// wound surfaces facing outward, and refused arguments.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <string>

#include "mesh/primitives.h"
#include "mesh_test_util.h"

using namespace standin::mesh;
using namespace mesh_test;

namespace {

const double kPi = std::acos(-1.0);

void ExpectVec(const Vec3& got, const Vec3& want, double tol = 1e-12) {
    EXPECT_NEAR(got.x, want.x, tol);
    EXPECT_NEAR(got.y, want.y, tol);
    EXPECT_NEAR(got.z, want.z, tol);
}

// Consistent winding: two polygons sharing an edge walk it in opposite directions, and no
// polygon pair walks one the same way. `closed`: every edge has exactly two polygons.
void ExpectConsistentWinding(const PolyMesh& m, bool closed, const std::string& name) {
    std::map<std::pair<int32_t, int32_t>, int> walks;  // directed corner pairs
    for (int32_t p = 0; p < m.PolygonCount(); ++p) {
        auto c = m.PolygonVertices(p);
        for (size_t i = 0; i < c.size(); ++i) ++walks[{c[i], c[(i + 1) % c.size()]}];
    }
    for (const auto& [pair, count] : walks) {
        EXPECT_EQ(count, 1) << name << ": edge " << pair.first << "-" << pair.second << " walked twice the same way";
        if (closed) {
            EXPECT_EQ(walks.count({pair.second, pair.first}), 1u) << name << ": border edge " << pair.first << "-" << pair.second;
        }
    }
    if (closed) {
        for (int32_t e = 0; e < m.EdgeCount(); ++e) EXPECT_EQ(m.EdgePolygons(e).size(), 2u) << name << " edge " << e;
    }
}

Vec3 Centre(const PolyMesh& m, int32_t p) {
    Vec3 c;
    for (int32_t v : m.PolygonVertices(p)) c += m.Positions()[static_cast<size_t>(v)];
    return c * (1.0 / static_cast<double>(m.PolygonVertices(p).size()));
}

TEST(Primitives, CountsAndEulerCharacteristic) {
    struct Case {
        const char* name;
        PolyMesh mesh;
        int points, edges, polygons, samples, euler;
    };
    const Case cases[] = {
        {"grid", Grid(8, 8, 4, 3), 20, 31, 12, 48, 1},
        {"cube", Cube(2), 8, 12, 6, 24, 2},
        {"sphere", Sphere(1, 6, 4), 6 * 3 + 2, 6 * 3 + 6 * 4, 24, 6 * 3 * 2 + 6 * 2 * 4, 2},
        {"thin sphere", Sphere(1, 3, 2), 5, 9, 6, 18, 2},
        {"cylinder", Cylinder(1, 2, 6, 2, true), 18, 30, 14, 60, 2},
        {"open cylinder", Cylinder(1, 2, 6, 2, false), 18, 30, 12, 48, 0},
        {"torus", Torus(3, 1, 8, 6), 48, 96, 48, 192, 0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.mesh.VertexCount(), c.points) << c.name;
        EXPECT_EQ(c.mesh.EdgeCount(), c.edges) << c.name;
        EXPECT_EQ(c.mesh.PolygonCount(), c.polygons) << c.name;
        EXPECT_EQ(c.mesh.SampleCount(), c.samples) << c.name;
        EXPECT_EQ(c.mesh.VertexCount() - c.mesh.EdgeCount() + c.mesh.PolygonCount(), c.euler) << c.name;
    }
}

TEST(Primitives, SurfacesAreClosedAndConsistentlyWound) {
    ExpectConsistentWinding(Grid(3, 2, 4, 3), false, "grid");
    ExpectConsistentWinding(Cube(1), true, "cube");
    ExpectConsistentWinding(Sphere(1, 7, 5), true, "sphere");
    ExpectConsistentWinding(Sphere(1, 3, 2), true, "thin sphere");
    ExpectConsistentWinding(Cylinder(1, 2, 5, 3, true), true, "cylinder");
    ExpectConsistentWinding(Cylinder(1, 2, 5, 3, false), false, "open cylinder");
    ExpectConsistentWinding(Torus(2, 0.5, 6, 5), true, "torus");
}

TEST(Primitives, PolygonsFaceOutward) {
    auto check = [](const PolyMesh& m, const std::string& name, auto outward) {
        for (int32_t p = 0; p < m.PolygonCount(); ++p) {
            const Vec3 c = Centre(m, p);
            EXPECT_GT(m.PolygonNormals()[static_cast<size_t>(p)].Dot(outward(c)), 0.5) << name << " polygon " << p;
        }
        for (int32_t v = 0; v < m.VertexCount(); ++v) {
            const Vec3 pos = m.Positions()[static_cast<size_t>(v)];
            EXPECT_GT(m.VertexNormals()[static_cast<size_t>(v)].Dot(outward(pos)), 0.0) << name << " vertex " << v;
        }
    };
    auto fromCentre = [](const Vec3& c) { return c.Normalized(); };
    check(Cube(2), "cube", fromCentre);
    check(Sphere(2, 8, 6), "sphere", fromCentre);
    check(Cylinder(1, 2, 8, 2, false), "open cylinder", [](const Vec3& c) { return Vec3{c.x, 0, c.z}.Normalized(); });
    check(Cylinder(1, 1, 8, 1, true), "cylinder", fromCentre);
    // A torus faces away from its tube's core circle (radius 3 in the XZ plane).
    check(Torus(3, 1, 8, 6), "torus", [](const Vec3& c) {
        const double r = std::hypot(c.x, c.z);
        return (c - Vec3{3 * c.x / r, 0, 3 * c.z / r}).Normalized();
    });
    const PolyMesh grid = Grid(5, 2, 5, 2);  // named: a span must not outlive its mesh
    for (const Vec3& n : grid.PolygonNormals()) ExpectVec(n, {0, 1, 0});
}

TEST(Primitives, GridNumbering) {
    PolyMesh g = Grid(4, 2, 4, 2);  // 5 columns along X, 3 rows along Z
    ASSERT_EQ(g.VertexCount(), 15);
    for (int r = 0; r <= 2; ++r)
        for (int c = 0; c <= 4; ++c) ExpectVec(g.Positions()[static_cast<size_t>(r * 5 + c)], {-2.0 + c, 0, -1.0 + r});
    // Quad (r, c) = r * subdivU + c, corners (r,c) (r+1,c) (r+1,c+1) (r,c+1).
    EXPECT_EQ(ToIds(g.PolygonVertices(0)), (Ids{0, 5, 6, 1}));
    EXPECT_EQ(ToIds(g.PolygonVertices(1 * 4 + 3)), (Ids{8, 13, 14, 9}));
    // A non-square grid keeps its sizes.
    PolyMesh rect = Grid(10, 1, 1, 1);
    ExpectVec(rect.Positions()[3], {5, 0, 0.5});
}

TEST(Primitives, CubeNumbering) {
    PolyMesh c = Cube(3);
    for (int i = 0; i < 8; ++i)
        ExpectVec(c.Positions()[static_cast<size_t>(i)], {(i & 1) ? 1.5 : -1.5, (i & 2) ? 1.5 : -1.5, (i & 4) ? 1.5 : -1.5});
}

TEST(Primitives, SphereNumbering) {
    PolyMesh s = Sphere(2, 4, 4);
    ExpectVec(s.Positions()[0], {0, 2, 0});
    ExpectVec(s.Positions()[static_cast<size_t>(s.VertexCount() - 1)], {0, -2, 0});
    // Ring 2 of 3 is the equator; its point 1 is a quarter turn from +X towards -Z.
    ExpectVec(s.Positions()[1 + 4 + 0], {2, 0, 0});
    ExpectVec(s.Positions()[1 + 4 + 1], {0, 0, -2});
    for (const Vec3& p : s.Positions()) EXPECT_NEAR(p.Length(), 2.0, 1e-12);
    // The north fan first, then the quads, then the south fan.
    EXPECT_EQ(ToIds(s.PolygonVertices(0)), (Ids{0, 1, 2}));
    EXPECT_EQ(s.PolygonVertices(4).size(), 4u);
    EXPECT_EQ(ToIds(s.PolygonVertices(s.PolygonCount() - 1)), (Ids{12, 13, 9}));
}

TEST(Primitives, CylinderNumberingAndCaps) {
    PolyMesh c = Cylinder(2, 4, 6, 2, true);
    ExpectVec(c.Positions()[0], {2, -2, 0});
    ExpectVec(c.Positions()[6 * 2], {2, 2, 0});
    ExpectVec(c.Positions()[6 + 3], {-2, 0, 0});
    const int32_t bottom = c.PolygonCount() - 2, top = c.PolygonCount() - 1;
    EXPECT_EQ(c.PolygonVertices(bottom).size(), 6u);
    EXPECT_EQ(ToIds(c.PolygonVertices(top)), (Ids{12, 13, 14, 15, 16, 17}));
    ExpectVec(c.PolygonNormals()[static_cast<size_t>(bottom)], {0, -1, 0});
    ExpectVec(c.PolygonNormals()[static_cast<size_t>(top)], {0, 1, 0});
}

TEST(Primitives, TorusNumbering) {
    PolyMesh t = Torus(3, 1, 4, 4);
    ExpectVec(t.Positions()[0], {4, 0, 0});   // section 0, outside of the tube
    ExpectVec(t.Positions()[1], {3, 1, 0});   // a quarter turn round the tube, towards +Y
    ExpectVec(t.Positions()[4], {0, 0, -4});  // section 1, a quarter turn round Y
    EXPECT_EQ(ToIds(t.PolygonVertices(0)), (Ids{0, 4, 5, 1}));
    EXPECT_EQ(ToIds(t.PolygonVertices(15)), (Ids{15, 3, 0, 12}));  // both seams wrap
}

TEST(Primitives, RefuseNonsense) {
    const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
    EXPECT_THROW(Grid(1, 1, 0, 1), std::invalid_argument);
    EXPECT_THROW(Grid(1, 1, 1, -2), std::invalid_argument);
    EXPECT_THROW(Grid(-1, 1, 1, 1), std::invalid_argument);
    EXPECT_THROW(Grid(1, nan, 1, 1), std::invalid_argument);
    EXPECT_THROW(Grid(1, 1, 100000, 100000), std::invalid_argument);  // 4e10 corners: not int32
    EXPECT_THROW(Grid(1, 1, std::numeric_limits<int>::max(), std::numeric_limits<int>::max()), std::invalid_argument);
    EXPECT_THROW(Cube(-0.5), std::invalid_argument);
    EXPECT_THROW(Cube(inf), std::invalid_argument);
    EXPECT_THROW(Sphere(1, 2, 4), std::invalid_argument);
    EXPECT_THROW(Sphere(1, 3, 1), std::invalid_argument);
    EXPECT_THROW(Sphere(-1, 8, 8), std::invalid_argument);
    EXPECT_THROW(Cylinder(1, 1, 2, 1, true), std::invalid_argument);
    EXPECT_THROW(Cylinder(1, 1, 3, 0, true), std::invalid_argument);
    EXPECT_THROW(Cylinder(1, -1, 3, 1, false), std::invalid_argument);
    EXPECT_THROW(Torus(1, 1, 2, 3), std::invalid_argument);
    EXPECT_THROW(Torus(1, 1, 3, 2), std::invalid_argument);
    EXPECT_THROW(Torus(1, -1, 3, 3), std::invalid_argument);
    // Zero sizes are allowed: a degenerate but valid mesh.
    EXPECT_EQ(Grid(0, 0, 1, 1).VertexCount(), 4);
    EXPECT_EQ(Cube(0).PolygonNormals()[0], Vec3{});
}

}  // namespace
