// The mesh's contract on meshes small enough to count by hand: validation, numbering, the
// order of every list, neighbourhoods at distance 1 and 2, samples, normals.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "mesh/polymesh.h"
#include "mesh/primitives.h"
#include "mesh_test_util.h"

using namespace standin::mesh;
using namespace mesh_test;

namespace {

std::string BuildError(std::vector<Vec3> pts, std::vector<int32_t> offsets, std::vector<int32_t> verts) {
    try {
        PolyMesh::Build(std::move(pts), std::move(offsets), std::move(verts));
    } catch (const std::invalid_argument& e) {
        return e.what();
    }
    return "no error";
}

#define EXPECT_CONTAINS(haystack, needle) EXPECT_NE(std::string(haystack).find(needle), std::string::npos) << (haystack)

void ExpectVec(const Vec3& got, const Vec3& want, double tol = 1e-12) {
    EXPECT_NEAR(got.x, want.x, tol);
    EXPECT_NEAR(got.y, want.y, tol);
    EXPECT_NEAR(got.z, want.z, tol);
}

TEST(PolyMeshBuild, RejectsBrokenInputNamingThePolygon) {
    std::vector<Vec3> pts(4);
    std::string m = BuildError(pts, {0, 3, 5}, {0, 1, 2, 0, 1});
    EXPECT_CONTAINS(m, "polygon 1");
    EXPECT_CONTAINS(m, "at least 3");
    m = BuildError(pts, {0, 3, 6}, {0, 1, 2, 0, 2, 9});
    EXPECT_CONTAINS(m, "polygon 1");
    EXPECT_CONTAINS(m, "vertex 9");
    m = BuildError(pts, {0, 3, 6}, {0, 1, 2, 0, 2, -1});
    EXPECT_CONTAINS(m, "polygon 1");
    EXPECT_CONTAINS(m, "vertex -1");
    m = BuildError(pts, {0, 4}, {0, 1, 2, 1});
    EXPECT_CONTAINS(m, "polygon 0");
    EXPECT_CONTAINS(m, "vertex 1 twice");
    // Decreasing offsets, and an offset past the corners: caught before any corner is read.
    m = BuildError(pts, {0, 3, 2, 6}, {0, 1, 2, 0, 1, 3});
    EXPECT_CONTAINS(m, "polygon 1");
    EXPECT_CONTAINS(m, "increase");
    m = BuildError(pts, {0, 10, 6}, {0, 1, 2, 0, 1, 3});
    EXPECT_CONTAINS(m, "polygon 0");
    EXPECT_CONTAINS(m, "past the 6 corners");
    EXPECT_CONTAINS(BuildError(pts, {1, 4}, {0, 1, 2, 3}), "start at 0");
    EXPECT_CONTAINS(BuildError(pts, {0, 3}, {0, 1, 2, 3}), "end at 3 but 4 corners");
    // The same vertex in two polygons is of course fine, and so is no polygon at all.
    EXPECT_NO_THROW(PolyMesh::Build(pts, {0, 3, 6}, {0, 1, 2, 2, 1, 3}));
    EXPECT_EQ(PolyMesh::Build(pts, {}, {}).PolygonCount(), 0);
    EXPECT_EQ(PolyMesh::Build(pts, {0}, {}).EdgeCount(), 0);
}

// The 2 x 2 grid, by hand. Points (row * 3 + column, rows along Z):
//
//   6 - 7 - 8        quads: 0 = {0,3,4,1}  1 = {1,4,5,2}
//   | 2 | 3 |               2 = {3,6,7,4}  3 = {4,7,8,5}
//   3 - 4 - 5
//   | 0 | 1 |        edges in order of first appearance:
//   0 - 1 - 2          0:0-3 1:3-4 2:4-1 3:1-0 | 4:4-5 5:5-2 6:2-1 | 7:3-6 8:6-7 9:7-4 | 10:7-8 11:8-5
class Grid2x2 : public ::testing::Test {
protected:
    PolyMesh g = Grid(2, 2, 2, 2);
};

TEST_F(Grid2x2, Counts) {
    EXPECT_EQ(g.VertexCount(), 9);
    EXPECT_EQ(g.EdgeCount(), 12);
    EXPECT_EQ(g.PolygonCount(), 4);
    EXPECT_EQ(g.SampleCount(), 16);
    EXPECT_EQ(g.VertexCount() - g.EdgeCount() + g.PolygonCount(), 1);  // a disc
}

TEST_F(Grid2x2, PolygonsEdgesAndTheirOrder) {
    EXPECT_EQ(ToIds(g.PolygonVertices(0)), (Ids{0, 3, 4, 1}));
    EXPECT_EQ(ToIds(g.PolygonVertices(3)), (Ids{4, 7, 8, 5}));
    const std::pair<int32_t, int32_t> edges[] = {{0, 3}, {3, 4}, {4, 1}, {1, 0}, {4, 5}, {5, 2},
                                                 {2, 1}, {3, 6}, {6, 7}, {7, 4}, {7, 8}, {8, 5}};
    for (int32_t e = 0; e < 12; ++e) EXPECT_EQ(g.EdgeVertices(e), edges[e]) << "edge " << e;
    EXPECT_EQ(ToIds(g.PolygonEdges(0)), (Ids{0, 1, 2, 3}));
    EXPECT_EQ(ToIds(g.PolygonEdges(1)), (Ids{2, 4, 5, 6}));
    EXPECT_EQ(ToIds(g.PolygonEdges(2)), (Ids{7, 8, 9, 1}));
    EXPECT_EQ(ToIds(g.PolygonEdges(3)), (Ids{9, 10, 11, 4}));
    EXPECT_EQ(ToIds(g.EdgePolygons(0)), (Ids{0}));
    EXPECT_EQ(ToIds(g.EdgePolygons(1)), (Ids{0, 2}));
    EXPECT_EQ(ToIds(g.EdgePolygons(4)), (Ids{1, 3}));
    EXPECT_EQ(ToIds(g.EdgePolygons(9)), (Ids{2, 3}));
}

TEST_F(Grid2x2, PerVertexLists) {
    // Incident edges in increasing index; neighbours are their other ends, in the same order.
    EXPECT_EQ(ToIds(g.VertexEdges(0)), (Ids{0, 3}));
    EXPECT_EQ(ToIds(g.VertexNeighbors(0)), (Ids{3, 1}));
    EXPECT_EQ(ToIds(g.VertexEdges(1)), (Ids{2, 3, 6}));
    EXPECT_EQ(ToIds(g.VertexNeighbors(1)), (Ids{4, 0, 2}));
    EXPECT_EQ(ToIds(g.VertexEdges(4)), (Ids{1, 2, 4, 9}));
    EXPECT_EQ(ToIds(g.VertexNeighbors(4)), (Ids{3, 1, 5, 7}));
    EXPECT_EQ(ToIds(g.VertexPolygons(0)), (Ids{0}));
    EXPECT_EQ(ToIds(g.VertexPolygons(1)), (Ids{0, 1}));
    EXPECT_EQ(ToIds(g.VertexPolygons(4)), (Ids{0, 1, 2, 3}));
    EXPECT_EQ(ToIds(g.VertexPolygons(7)), (Ids{2, 3}));
}

TEST_F(Grid2x2, Samples) {
    // A sample is a corner: polygon p's samples are its corner range.
    EXPECT_EQ(ToIds(g.PolygonSamples(0)), (Ids{0, 1, 2, 3}));
    EXPECT_EQ(ToIds(g.PolygonSamples(2)), (Ids{8, 9, 10, 11}));
    const Ids perVertex[] = {{0}, {3, 4}, {7}, {1, 8}, {2, 5, 11, 12}, {6, 15}, {9}, {10, 13}, {14}};
    for (int32_t v = 0; v < 9; ++v) {
        EXPECT_EQ(ToIds(g.VertexSamples(v)), perVertex[v]) << "vertex " << v;
        // VertexSamples(v)[i] is v's corner in VertexPolygons(v)[i].
        for (size_t i = 0; i < g.VertexSamples(v).size(); ++i) {
            EXPECT_EQ(g.SampleVertex(g.VertexSamples(v)[i]), v);
            EXPECT_EQ(g.SamplePolygon(g.VertexSamples(v)[i]), g.VertexPolygons(v)[i]);
        }
    }
    for (int32_t s = 0; s < 16; ++s) EXPECT_EQ(g.SamplePolygon(s), s / 4) << "sample " << s;
    EXPECT_EQ(g.SampleVertex(13), 7);
}

TEST_F(Grid2x2, VertexNeighbourhoods) {
    // A corner (0), the middle of a border (1) and the centre (4), at distance 1 and 2.
    EXPECT_EQ(Query(g, &PolyMesh::VertexNeighborVertices, 0, 1), (Ids{3, 1}));
    EXPECT_EQ(Query(g, &PolyMesh::VertexNeighborVertices, 0, 2), (Ids{3, 1, 4, 6, 2}));
    EXPECT_EQ(Query(g, &PolyMesh::VertexNeighborVertices, 0, 3), (Ids{3, 1, 4, 6, 2, 5, 7}));
    EXPECT_EQ(Query(g, &PolyMesh::VertexNeighborVertices, 0, 100), (Ids{3, 1, 4, 6, 2, 5, 7, 8}));
    EXPECT_EQ(Query(g, &PolyMesh::VertexNeighborVertices, 1, 1), (Ids{4, 0, 2}));
    EXPECT_EQ(Query(g, &PolyMesh::VertexNeighborVertices, 1, 2), (Ids{4, 0, 2, 3, 5, 7}));
    EXPECT_EQ(Query(g, &PolyMesh::VertexNeighborVertices, 4, 1), (Ids{3, 1, 5, 7}));
    EXPECT_EQ(Query(g, &PolyMesh::VertexNeighborVertices, 4, 2), (Ids{3, 1, 5, 7, 0, 6, 2, 8}));

    EXPECT_EQ(Query(g, &PolyMesh::VertexNeighborEdges, 0, 1), (Ids{0, 3}));
    EXPECT_EQ(Query(g, &PolyMesh::VertexNeighborEdges, 0, 2), (Ids{0, 3, 1, 7, 2, 6}));
    EXPECT_EQ(Query(g, &PolyMesh::VertexNeighborEdges, 1, 1), (Ids{2, 3, 6}));
    EXPECT_EQ(Query(g, &PolyMesh::VertexNeighborEdges, 1, 2), (Ids{2, 3, 6, 1, 4, 9, 0, 5}));
    EXPECT_EQ(Query(g, &PolyMesh::VertexNeighborEdges, 4, 1), (Ids{1, 2, 4, 9}));
    EXPECT_EQ(Query(g, &PolyMesh::VertexNeighborEdges, 4, 2), (Ids{1, 2, 4, 9, 0, 7, 3, 6, 5, 11, 8, 10}));

    EXPECT_EQ(Query(g, &PolyMesh::VertexNeighborPolygons, 0, 1), (Ids{0}));
    EXPECT_EQ(Query(g, &PolyMesh::VertexNeighborPolygons, 0, 2), (Ids{0, 2, 1}));
    EXPECT_EQ(Query(g, &PolyMesh::VertexNeighborPolygons, 1, 1), (Ids{0, 1}));
    EXPECT_EQ(Query(g, &PolyMesh::VertexNeighborPolygons, 1, 2), (Ids{0, 1, 2, 3}));
    EXPECT_EQ(Query(g, &PolyMesh::VertexNeighborPolygons, 4, 1), (Ids{0, 1, 2, 3}));
    EXPECT_EQ(Query(g, &PolyMesh::VertexNeighborPolygons, 4, 2), (Ids{0, 1, 2, 3}));
}

TEST_F(Grid2x2, EdgeNeighbourhoods) {
    // Edge 1 (3-4) is inside, edge 0 (0-3) on the border.
    EXPECT_EQ(Query(g, &PolyMesh::EdgeNeighborVertices, 1, 1), (Ids{3, 4}));
    EXPECT_EQ(Query(g, &PolyMesh::EdgeNeighborVertices, 1, 2), (Ids{3, 4, 0, 6, 1, 5, 7}));
    EXPECT_EQ(Query(g, &PolyMesh::EdgeNeighborEdges, 1, 1), (Ids{0, 7, 2, 4, 9}));
    EXPECT_EQ(Query(g, &PolyMesh::EdgeNeighborEdges, 1, 2), (Ids{0, 7, 2, 4, 9, 3, 8, 6, 5, 11, 10}));
    EXPECT_EQ(Query(g, &PolyMesh::EdgeNeighborEdges, 0, 1), (Ids{3, 1, 7}));
    EXPECT_EQ(Query(g, &PolyMesh::EdgeNeighborPolygons, 1, 1), (Ids{0, 2}));
    EXPECT_EQ(Query(g, &PolyMesh::EdgeNeighborPolygons, 1, 2), (Ids{0, 2, 1, 3}));
    EXPECT_EQ(Query(g, &PolyMesh::EdgeNeighborPolygons, 0, 1), (Ids{0}));
    EXPECT_EQ(Query(g, &PolyMesh::EdgeNeighborPolygons, 0, 2), (Ids{0, 2, 1, 3}));
}

TEST_F(Grid2x2, PolygonNeighbourhoods) {
    EXPECT_EQ(Query(g, &PolyMesh::PolygonNeighborVertices, 0, 1), (Ids{0, 3, 4, 1}));
    EXPECT_EQ(Query(g, &PolyMesh::PolygonNeighborVertices, 0, 2), (Ids{0, 3, 4, 1, 6, 5, 7, 2}));
    EXPECT_EQ(Query(g, &PolyMesh::PolygonNeighborVertices, 0, 3), (Ids{0, 3, 4, 1, 6, 5, 7, 2, 8}));
    EXPECT_EQ(Query(g, &PolyMesh::PolygonNeighborEdges, 0, 1), (Ids{0, 1, 2, 3}));
    EXPECT_EQ(Query(g, &PolyMesh::PolygonNeighborEdges, 0, 2), (Ids{0, 1, 2, 3, 7, 4, 9, 6}));
    EXPECT_EQ(Query(g, &PolyMesh::PolygonNeighborEdges, 0, 3), (Ids{0, 1, 2, 3, 7, 4, 9, 6, 8, 5, 11, 10}));
    EXPECT_EQ(Query(g, &PolyMesh::PolygonNeighborPolygons, 0, 1), (Ids{2, 1}));
    EXPECT_EQ(Query(g, &PolyMesh::PolygonNeighborPolygons, 0, 2), (Ids{2, 1, 3}));
    EXPECT_EQ(Query(g, &PolyMesh::PolygonNeighborPolygons, 3, 1), (Ids{2, 1}));

    // Several polygons: corners in order of first appearance, each once.
    Ids out{-1};
    const int32_t polys[] = {3, 0, 3};
    g.PolygonsNeighborVertices(polys, 1, out);
    EXPECT_EQ(out, (Ids{4, 7, 8, 5, 0, 3, 1}));
    g.PolygonsNeighborVertices(polys, 2, out);
    EXPECT_EQ(out, (Ids{4, 7, 8, 5, 0, 3, 1, 6, 2}));
}

TEST_F(Grid2x2, QueryEdgeCases) {
    // d < 1 is nothing; a start out of range throws.
    EXPECT_TRUE(Query(g, &PolyMesh::VertexNeighborVertices, 4, 0).empty());
    EXPECT_TRUE(Query(g, &PolyMesh::PolygonNeighborPolygons, 0, -3).empty());
    EXPECT_THROW(Query(g, &PolyMesh::VertexNeighborVertices, 9, 1), std::out_of_range);
    EXPECT_THROW(Query(g, &PolyMesh::VertexNeighborEdges, -1, 1), std::out_of_range);
    EXPECT_THROW(Query(g, &PolyMesh::EdgeNeighborVertices, 12, 1), std::out_of_range);
    EXPECT_THROW(Query(g, &PolyMesh::PolygonNeighborEdges, 4, 1), std::out_of_range);
    Ids out;
    const int32_t polys[] = {0, 4};
    EXPECT_THROW(g.PolygonsNeighborVertices(polys, 1, out), std::out_of_range);
    EXPECT_THROW(Query(PolyMesh(), &PolyMesh::VertexNeighborVertices, 0, 1), std::out_of_range);
    // A query right after a throwing one is unaffected.
    EXPECT_EQ(Query(g, &PolyMesh::VertexNeighborVertices, 1, 1), (Ids{4, 0, 2}));
}

TEST_F(Grid2x2, NormalsFaceUp) {
    for (const Vec3& n : g.PolygonNormals()) ExpectVec(n, {0, 1, 0});
    for (const Vec3& n : g.VertexNormals()) ExpectVec(n, {0, 1, 0});
}

// Two triangles sharing the edge 1-2, and point 4 used by no polygon.
TEST(PolyMesh, IsolatedPoint) {
    PolyMesh m = PolyMesh::Build({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}, {5, 5, 5}}, {0, 3, 6}, {0, 1, 2, 2, 1, 3});
    EXPECT_EQ(m.VertexCount(), 5);
    EXPECT_EQ(m.EdgeCount(), 5);
    EXPECT_EQ(m.EdgeVertices(3), std::make_pair(1, 3));  // 2-1 is edge 1 again
    EXPECT_TRUE(m.VertexEdges(4).empty());
    EXPECT_TRUE(m.VertexNeighbors(4).empty());
    EXPECT_TRUE(m.VertexPolygons(4).empty());
    EXPECT_TRUE(m.VertexSamples(4).empty());
    EXPECT_EQ(m.VertexNormals()[4], Vec3{});
    ExpectVec(m.VertexNormals()[0], {0, 0, 1});
    for (QueryFn f : {&PolyMesh::VertexNeighborVertices, &PolyMesh::VertexNeighborEdges, &PolyMesh::VertexNeighborPolygons})
        EXPECT_TRUE(Query(m, f, 4, 5).empty());
    // ... and no neighbourhood ever reaches it.
    EXPECT_EQ(Query(m, &PolyMesh::VertexNeighborVertices, 0, 5), (Ids{1, 2, 3}));
    EXPECT_EQ(Query(m, &PolyMesh::PolygonNeighborVertices, 0, 5), (Ids{0, 1, 2, 3}));
}

// The cube, by hand. Point i has coordinate bits x = 1, y = 2, z = 4; quads -X +X -Y +Y -Z +Z.
TEST(Cube, CountsListsAndNormals) {
    PolyMesh c = Cube(2);
    EXPECT_EQ(c.VertexCount(), 8);
    EXPECT_EQ(c.EdgeCount(), 12);
    EXPECT_EQ(c.PolygonCount(), 6);
    EXPECT_EQ(c.SampleCount(), 24);
    EXPECT_EQ(c.VertexCount() - c.EdgeCount() + c.PolygonCount(), 2);
    for (int32_t e = 0; e < c.EdgeCount(); ++e) EXPECT_EQ(c.EdgePolygons(e).size(), 2u);
    for (int32_t v = 0; v < 8; ++v) {
        EXPECT_EQ(c.VertexNeighbors(v).size(), 3u);
        EXPECT_EQ(c.VertexSamples(v).size(), 3u);
        EXPECT_EQ(Query(c, &PolyMesh::VertexNeighborVertices, v, 2).size(), 6u);  // all but v and its opposite
        EXPECT_EQ(Query(c, &PolyMesh::VertexNeighborVertices, v, 3).size(), 7u);
        // Corner normals along the diagonals, outward.
        const Vec3& p = c.Positions()[static_cast<size_t>(v)];
        ExpectVec(c.VertexNormals()[static_cast<size_t>(v)], p * (1.0 / std::sqrt(3.0)));
    }
    EXPECT_EQ(Query(c, &PolyMesh::VertexNeighborVertices, 0, 1), (Ids{4, 2, 1}));
    EXPECT_EQ(Query(c, &PolyMesh::VertexNeighborVertices, 0, 2), (Ids{4, 2, 1, 6, 5, 3}));
    EXPECT_EQ(Query(c, &PolyMesh::VertexNeighborPolygons, 0, 1), (Ids{0, 2, 4}));
    EXPECT_EQ(Query(c, &PolyMesh::VertexNeighborPolygons, 0, 2).size(), 6u);
    EXPECT_EQ(Query(c, &PolyMesh::PolygonNeighborPolygons, 0, 1), (Ids{2, 5, 3, 4}));  // all but +X
    EXPECT_EQ(Query(c, &PolyMesh::PolygonNeighborPolygons, 0, 2), (Ids{2, 5, 3, 4, 1}));
    EXPECT_EQ(Query(c, &PolyMesh::EdgeNeighborEdges, 0, 1).size(), 4u);
    const Vec3 faces[] = {{-1, 0, 0}, {1, 0, 0}, {0, -1, 0}, {0, 1, 0}, {0, 0, -1}, {0, 0, 1}};
    for (int32_t p = 0; p < 6; ++p) ExpectVec(c.PolygonNormals()[static_cast<size_t>(p)], faces[p]);
}

// Sphere(1, 4, 3): north pole 0, rings 1..4 and 5..8, south pole 9; 4 + 4 + 4 polygons.
TEST(Sphere, CountsAndPoles) {
    PolyMesh s = Sphere(1, 4, 3);
    EXPECT_EQ(s.VertexCount(), 10);
    EXPECT_EQ(s.EdgeCount(), 20);
    EXPECT_EQ(s.PolygonCount(), 12);
    EXPECT_EQ(s.SampleCount(), 4 * 3 + 4 * 4 + 4 * 3);
    EXPECT_EQ(s.VertexCount() - s.EdgeCount() + s.PolygonCount(), 2);
    EXPECT_EQ(ToIds(s.VertexNeighbors(0)), (Ids{1, 2, 3, 4}));
    EXPECT_EQ(ToIds(s.VertexPolygons(0)), (Ids{0, 1, 2, 3}));
    EXPECT_EQ(ToIds(s.VertexNeighbors(9)), (Ids{5, 6, 7, 8}));
    EXPECT_EQ(ToIds(s.VertexPolygons(9)), (Ids{8, 9, 10, 11}));
    EXPECT_EQ(Query(s, &PolyMesh::VertexNeighborVertices, 0, 2), (Ids{1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(Query(s, &PolyMesh::VertexNeighborVertices, 0, 3).back(), 9);
    ExpectVec(s.VertexNormals()[0], {0, 1, 0});
    ExpectVec(s.VertexNormals()[9], {0, -1, 0});
    for (int32_t v = 0; v < s.VertexCount(); ++v)
        EXPECT_GT(s.VertexNormals()[static_cast<size_t>(v)].Dot(s.Positions()[static_cast<size_t>(v)]), 0.9);
    // Pole valence is the number of subdivisions around, whatever the size.
    PolyMesh big = Sphere(3, 24, 12);
    EXPECT_EQ(big.VertexNeighbors(0).size(), 24u);
    EXPECT_EQ(big.VertexNeighbors(big.VertexCount() - 1).size(), 24u);
    for (int32_t p : big.VertexPolygons(0)) EXPECT_EQ(big.PolygonVertices(p).size(), 3u);
}

TEST(PolyMesh, NormalsWeightByArea) {
    // Triangle 0 (area 2) faces +Z, triangle 1 (area 1) faces +Y; they share points 0 and 1.
    PolyMesh m = PolyMesh::Build({{0, 0, 0}, {2, 0, 0}, {0, 2, 0}, {0, 0, 1}}, {0, 3, 6}, {0, 1, 2, 0, 3, 1});
    ExpectVec(m.PolygonNormals()[0], {0, 0, 1});
    ExpectVec(m.PolygonNormals()[1], {0, 1, 0});
    const Vec3 shared = Vec3{0, 1, 2}.Normalized();
    ExpectVec(m.VertexNormals()[0], shared);
    ExpectVec(m.VertexNormals()[1], shared);
    ExpectVec(m.VertexNormals()[2], {0, 0, 1});
    // A degenerate polygon has no normal, and weighs nothing.
    PolyMesh flat = PolyMesh::Build({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}}, {0, 3}, {0, 1, 2});
    EXPECT_EQ(flat.PolygonNormals()[0], Vec3{});
    EXPECT_EQ(flat.VertexNormals()[1], Vec3{});
}

TEST(PolyMesh, SetPositionsKeepsTopologyAndRefreshesNormals) {
    PolyMesh g = Grid(2, 2, 2, 2);
    std::vector<Vec3> pos(g.Positions().begin(), g.Positions().end());
    ExpectVec(g.VertexNormals()[0], {0, 1, 0});
    for (Vec3& p : pos) std::swap(p.y, p.z);  // stand the grid up: (x, 0, z) -> (x, z, 0)
    g.SetPositions(pos);
    EXPECT_EQ(g.Positions()[8], (Vec3{1, 1, 0}));
    ExpectVec(g.VertexNormals()[4], {0, 0, -1});  // the swap mirrors, so the winding turns round
    ExpectVec(g.PolygonNormals()[2], {0, 0, -1});
    EXPECT_EQ(g.EdgeCount(), 12);
    EXPECT_EQ(Query(g, &PolyMesh::VertexNeighborVertices, 4, 1), (Ids{3, 1, 5, 7}));
    pos.pop_back();
    EXPECT_THROW(g.SetPositions(pos), std::invalid_argument);
    EXPECT_EQ(g.Positions()[8], (Vec3{1, 1, 0}));  // unchanged by the refused call
}

TEST(PolyMesh, NonManifoldEdge) {
    // Three triangles on the edge 0-1: a fan of fins.
    PolyMesh m = PolyMesh::Build(std::vector<Vec3>(5), {0, 3, 6, 9}, {0, 1, 2, 1, 0, 3, 0, 1, 4});
    EXPECT_EQ(m.EdgeCount(), 7);
    EXPECT_EQ(ToIds(m.EdgePolygons(0)), (Ids{0, 1, 2}));
    EXPECT_EQ(Query(m, &PolyMesh::PolygonNeighborPolygons, 1, 1), (Ids{0, 2}));
    EXPECT_EQ(Query(m, &PolyMesh::EdgeNeighborEdges, 0, 1), (Ids{2, 3, 6, 1, 4, 5}));
}

TEST(PolyMesh, MemoryBytesCountsEveryArray) {
    PolyMesh g = Grid(1, 1, 10, 10);
    const size_t before = g.MemoryBytes();
    // 121 points, 400 corners, 220 edges: at least the points, five int32 arrays of one entry
    // per corner and three of two per edge (edge ends, vertex edges, vertex neighbours).
    EXPECT_GE(before, 121 * sizeof(Vec3) + (5 * 400 + 3 * 2 * 220) * sizeof(int32_t));
    g.VertexNormals();
    EXPECT_GE(g.MemoryBytes(), before + (121 + 100) * sizeof(Vec3));
    EXPECT_EQ(PolyMesh().MemoryBytes(), 0u);
}

TEST(PolyMesh, CopiesAreIndependent) {
    PolyMesh a = Grid(2, 2, 2, 2);
    PolyMesh b = a;
    std::vector<Vec3> pos(a.Positions().begin(), a.Positions().end());
    for (Vec3& p : pos) p.y = p.x;
    b.SetPositions(pos);
    ExpectVec(a.VertexNormals()[4], {0, 1, 0});
    EXPECT_NEAR(b.VertexNormals()[4].y, std::sqrt(0.5), 1e-12);
    EXPECT_EQ(Query(b, &PolyMesh::VertexNeighborVertices, 0, 2), Query(a, &PolyMesh::VertexNeighborVertices, 0, 2));
}

}  // namespace
