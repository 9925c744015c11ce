#include "mesh/primitives.h"

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

namespace standin::mesh {

namespace {

const double kPi = std::acos(-1.0);

void Require(bool ok, const char* what) {
    if (!ok) throw std::invalid_argument(what);
}

bool Size(double s) { return std::isfinite(s) && s >= 0; }

// Checked before the loops, whose index arithmetic is int32. Every primitive has fewer points
// than corners, so bounding the corners bounds both. In double: 4 * INT_MAX^2 overflows int64,
// and the bound is far below where doubles stop being exact.
void RequireCorners(double corners) {
    Require(corners <= std::numeric_limits<int32_t>::max(), "too many subdivisions: the mesh would not fit int32 indices");
}

struct Builder {
    std::vector<Vec3> points;
    std::vector<int32_t> offsets{0}, verts;
    void Poly(std::initializer_list<int32_t> corners) {
        verts.insert(verts.end(), corners.begin(), corners.end());
        offsets.push_back(static_cast<int32_t>(verts.size()));
    }
    void Poly(const std::vector<int32_t>& corners) {
        verts.insert(verts.end(), corners.begin(), corners.end());
        offsets.push_back(static_cast<int32_t>(verts.size()));
    }
    PolyMesh Done() { return PolyMesh::Build(std::move(points), std::move(offsets), std::move(verts)); }
};

}  // namespace

PolyMesh Grid(double sizeX, double sizeZ, int su, int sv) {
    Require(su >= 1 && sv >= 1, "a grid needs at least one subdivision each way");
    Require(Size(sizeX) && Size(sizeZ), "a grid's size must be finite and not negative");
    RequireCorners(4.0 * su * sv);
    Builder b;
    const int cols = su + 1;
    b.points.reserve(static_cast<size_t>(cols) * static_cast<size_t>(sv + 1));
    for (int r = 0; r <= sv; ++r)
        for (int c = 0; c <= su; ++c) b.points.push_back({-sizeX / 2 + sizeX * c / su, 0.0, -sizeZ / 2 + sizeZ * r / sv});
    b.offsets.reserve(static_cast<size_t>(su) * static_cast<size_t>(sv) + 1);
    b.verts.reserve(static_cast<size_t>(su) * static_cast<size_t>(sv) * 4);
    for (int r = 0; r < sv; ++r)
        for (int c = 0; c < su; ++c) {
            int32_t a = r * cols + c;
            b.Poly({a, a + cols, a + cols + 1, a + 1});
        }
    return b.Done();
}

PolyMesh Cube(double length) {
    Require(Size(length), "a cube's length must be finite and not negative");
    const double h = length / 2;
    Builder b;
    for (int i = 0; i < 8; ++i) b.points.push_back({(i & 1) ? h : -h, (i & 2) ? h : -h, (i & 4) ? h : -h});
    b.Poly({0, 4, 6, 2});  // -X
    b.Poly({1, 3, 7, 5});  // +X
    b.Poly({0, 1, 5, 4});  // -Y
    b.Poly({2, 6, 7, 3});  // +Y
    b.Poly({0, 2, 3, 1});  // -Z
    b.Poly({4, 5, 7, 6});  // +Z
    return b.Done();
}

PolyMesh Sphere(double radius, int su, int sv) {
    Require(su >= 3 && sv >= 2, "a sphere needs at least 3 subdivisions around and 2 from pole to pole");
    Require(Size(radius), "a sphere's radius must be finite and not negative");
    RequireCorners(4.0 * su * sv);
    Builder b;
    b.points.push_back({0, radius, 0});
    for (int j = 1; j < sv; ++j) {
        double lat = kPi * j / sv;
        for (int i = 0; i < su; ++i) {
            double lon = 2 * kPi * i / su;
            b.points.push_back({radius * std::sin(lat) * std::cos(lon), radius * std::cos(lat), -radius * std::sin(lat) * std::sin(lon)});
        }
    }
    const int32_t south = static_cast<int32_t>(b.points.size());
    b.points.push_back({0, -radius, 0});
    auto ring = [&](int j, int i) { return 1 + (j - 1) * su + (i % su); };
    for (int i = 0; i < su; ++i) b.Poly({0, ring(1, i), ring(1, i + 1)});
    for (int j = 1; j < sv - 1; ++j)
        for (int i = 0; i < su; ++i) b.Poly({ring(j, i), ring(j + 1, i), ring(j + 1, i + 1), ring(j, i + 1)});
    for (int i = 0; i < su; ++i) b.Poly({ring(sv - 1, i), south, ring(sv - 1, i + 1)});
    return b.Done();
}

PolyMesh Cylinder(double radius, double height, int su, int sv, bool caps) {
    Require(su >= 3 && sv >= 1, "a cylinder needs at least 3 subdivisions around and 1 along");
    Require(Size(radius) && Size(height), "a cylinder's radius and height must be finite and not negative");
    RequireCorners(4.0 * su * sv + 2.0 * su);
    Builder b;
    for (int j = 0; j <= sv; ++j)
        for (int i = 0; i < su; ++i) {
            double a = 2 * kPi * i / su;
            b.points.push_back({radius * std::cos(a), -height / 2 + height * j / sv, -radius * std::sin(a)});
        }
    auto at = [&](int j, int i) { return j * su + (i % su); };
    for (int j = 0; j < sv; ++j)
        for (int i = 0; i < su; ++i) b.Poly({at(j, i), at(j, i + 1), at(j + 1, i + 1), at(j + 1, i)});
    if (caps) {
        // The bottom cap runs clockwise seen from +Y, so that it faces -Y.
        std::vector<int32_t> bottom, top;
        for (int i = su - 1; i >= 0; --i) bottom.push_back(at(0, i));
        for (int i = 0; i < su; ++i) top.push_back(at(sv, i));
        b.Poly(bottom);
        b.Poly(top);
    }
    return b.Done();
}

PolyMesh Torus(double majorRadius, double minorRadius, int su, int sv) {
    Require(su >= 3 && sv >= 3, "a torus needs at least 3 subdivisions each way");
    Require(Size(majorRadius) && Size(minorRadius), "a torus's radii must be finite and not negative");
    RequireCorners(4.0 * su * sv);
    Builder b;
    for (int i = 0; i < su; ++i) {
        double a = 2 * kPi * i / su;
        for (int j = 0; j < sv; ++j) {
            double t = 2 * kPi * j / sv;
            double r = majorRadius + minorRadius * std::cos(t);
            b.points.push_back({r * std::cos(a), minorRadius * std::sin(t), -r * std::sin(a)});
        }
    }
    auto at = [&](int i, int j) { return (i % su) * sv + (j % sv); };
    for (int i = 0; i < su; ++i)
        for (int j = 0; j < sv; ++j) b.Poly({at(i, j), at(i + 1, j), at(i + 1, j + 1), at(i, j + 1)});
    return b.Done();
}

}  // namespace standin::mesh
