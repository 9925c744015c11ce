// Topology queries through the object model on meshes whose answers can be counted by hand.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "scene/host.h"
#include "xsi_edge.h"
#include "xsi_polygonface.h"
#include "xsi_polygonmesh.h"
#include "xsi_primitive.h"
#include "xsi_vertex.h"
#include "xsi_x3dobject.h"

using namespace XSI;

namespace {

std::set<LONG> Indices(const CRefArray& a) {
    std::set<LONG> out;
    for (LONG i = 0; i < a.GetCount(); ++i) out.insert(static_cast<LONG>(a[i].GetComponentIndex()));
    return out;
}

bool NoDuplicates(const CRefArray& a) { return Indices(a).size() == static_cast<size_t>(a.GetCount()); }

struct TopologyTest : ::testing::Test {
    standin::Host host{std::filesystem::temp_directory_path()};
    TopologyTest() { host.GetLog().SetEcho(false); }
    PolygonMesh Mesh(const wchar_t* kind, std::map<std::wstring, double> o = {}) {
        return PolygonMesh(X3DObject(host.CreatePrim(kind, L"m", o)).GetActivePrimitive().GetGeometry());
    }
};

// A 2 x 2 grid: vertices 0..8, row by row; 4 is the centre, 0 a corner, 1 the middle of a border.
TEST_F(TopologyTest, GridNeighboursAtDistanceOneAndTwo) {
    PolygonMesh m = Mesh(L"Grid", {{L"subdivu", 2}, {L"subdivv", 2}});
    CVertexRefArray v = m.GetVertices();
    ASSERT_EQ(v.GetCount(), 9);
    EXPECT_EQ(m.GetEdges().GetCount(), 12);
    EXPECT_EQ(m.GetPolygons().GetCount(), 4);
    EXPECT_EQ(m.GetSamples().GetCount(), 16);

    Vertex centre(v[4]), corner(v[0]), border(v[1]);
    EXPECT_EQ(Indices(centre.GetNeighborVertices(1)), (std::set<LONG>{1, 3, 5, 7}));
    EXPECT_EQ(Indices(centre.GetNeighborVertices(2)), (std::set<LONG>{0, 1, 2, 3, 5, 6, 7, 8}));
    EXPECT_EQ(Indices(corner.GetNeighborVertices(1)), (std::set<LONG>{1, 3}));
    EXPECT_EQ(Indices(corner.GetNeighborVertices(2)), (std::set<LONG>{1, 2, 3, 4, 6}));
    EXPECT_EQ(Indices(border.GetNeighborVertices(1)), (std::set<LONG>{0, 2, 4}));
    EXPECT_TRUE(NoDuplicates(centre.GetNeighborVertices(2)));
    // Ring 1 comes before ring 2.
    CVertexRefArray ring = corner.GetNeighborVertices(2);
    EXPECT_EQ((std::set<LONG>{static_cast<LONG>(ring[0].GetComponentIndex()), static_cast<LONG>(ring[1].GetComponentIndex())}),
              (std::set<LONG>{1, 3}));
    EXPECT_EQ(centre.GetNeighborEdges(1).GetCount(), 4);
    EXPECT_EQ(centre.GetNeighborPolygons(1).GetCount(), 4);
    EXPECT_EQ(corner.GetNeighborPolygons(1).GetCount(), 1);
    EXPECT_EQ(corner.GetNeighborPolygons(2).GetCount(), 3);
    EXPECT_TRUE(corner.GetIsBoundary());
    EXPECT_FALSE(centre.GetIsBoundary());
    EXPECT_EQ(centre.GetSamples().GetCount(), 4);
    EXPECT_EQ(corner.GetSamples().GetCount(), 1);
    // The polygons around the centre reach every vertex, each once.
    CVertexRefArray all = centre.GetNeighborPolygons(1).GetNeighborVertices(1);
    EXPECT_EQ(all.GetCount(), 9);
    EXPECT_TRUE(NoDuplicates(all));
}

TEST_F(TopologyTest, GridPolygonsAndEdges) {
    PolygonMesh m = Mesh(L"Grid", {{L"subdivu", 2}, {L"subdivv", 2}});
    CPolygonFaceRefArray polys = m.GetPolygons();
    PolygonFace p0(polys[0]);
    EXPECT_EQ(p0.GetVertices().GetCount(), 4);
    EXPECT_EQ(Indices(p0.GetNeighborVertices(1)), Indices(p0.GetVertices()));
    EXPECT_EQ(p0.GetNeighborPolygons(1).GetCount(), 2);
    EXPECT_EQ(p0.GetNeighborPolygons(2).GetCount(), 3);
    EXPECT_EQ(p0.GetEdges().GetCount(), 4);
    EXPECT_EQ(p0.GetSamples().GetCount(), 4);
    int inner = 0, outer = 0;
    CEdgeRefArray edges = m.GetEdges();
    for (LONG i = 0; i < edges.GetCount(); ++i) {
        Edge e(edges[i]);
        EXPECT_EQ(Indices(e.GetNeighborVertices(1)), Indices(e.GetVertices()));
        (e.GetNeighborPolygons(1).GetCount() == 2 ? inner : outer)++;
        EXPECT_EQ(e.GetIsBoundary(), e.GetNeighborPolygons(1).GetCount() == 1);
    }
    EXPECT_EQ(inner, 4);
    EXPECT_EQ(outer, 8);
}

TEST_F(TopologyTest, CubeCounts) {
    PolygonMesh m = Mesh(L"Cube");
    CVertexRefArray v = m.GetVertices();
    ASSERT_EQ(v.GetCount(), 8);
    EXPECT_EQ(m.GetEdges().GetCount(), 12);
    EXPECT_EQ(m.GetPolygons().GetCount(), 6);
    EXPECT_EQ(m.GetSamples().GetCount(), 24);
    for (LONG i = 0; i < 8; ++i) {
        Vertex x(v[i]);
        EXPECT_EQ(x.GetNeighborVertices(1).GetCount(), 3);
        EXPECT_EQ(x.GetNeighborVertices(2).GetCount(), 6);  // all but itself and the opposite corner
        EXPECT_EQ(x.GetNeighborVertices(3).GetCount(), 7);
        EXPECT_EQ(x.GetNeighborVertices(9).GetCount(), 7);
        EXPECT_EQ(x.GetNeighborPolygons(1).GetCount(), 3);
        EXPECT_EQ(x.GetSamples().GetCount(), 3);
        EXPECT_FALSE(x.GetIsBoundary());
        bool valid = false;
        MATH::CVector3 n = x.GetNormal(valid);
        EXPECT_TRUE(valid);
        EXPECT_NEAR(n.GetLength(), 1.0, 1e-12);
        // Outward: the normal points the way the corner does.
        EXPECT_GT(n.Dot(x.GetPosition()), 0.0);
    }
    EXPECT_EQ(PolygonFace(m.GetPolygons()[0]).GetNeighborPolygons(1).GetCount(), 4);
    EXPECT_EQ(Edge(m.GetEdges()[0]).GetNeighborEdges(1).GetCount(), 4);
}

TEST_F(TopologyTest, SphereHasPolesWithFans) {
    PolygonMesh m = Mesh(L"Sphere", {{L"subdivu", 8}, {L"subdivv", 8}});
    CVertexRefArray v = m.GetVertices();
    LONG n = v.GetCount(), f = m.GetPolygons().GetCount(), e = m.GetEdges().GetCount();
    EXPECT_EQ(n, 8 * 7 + 2);
    EXPECT_EQ(f, 64);
    EXPECT_EQ(n - e + f, 2);  // a closed surface of genus 0
    int poles = 0;
    for (LONG i = 0; i < n; ++i) {
        LONG valence = Vertex(v[i]).GetNeighborVertices(1).GetCount();
        if (valence == 8) ++poles;
        else EXPECT_EQ(valence, 4);
    }
    EXPECT_EQ(poles, 2);
    MATH::CVector3Array pos = m.GetPoints().GetPositionArray();
    for (LONG i = 0; i < n; ++i) EXPECT_NEAR(pos[i].GetLength(), 4.0, 1e-9);
}

TEST_F(TopologyTest, PositionsAndIndexArrays) {
    PolygonMesh m = Mesh(L"Grid", {{L"sizex", 2}, {L"sizez", 2}, {L"subdivu", 2}, {L"subdivv", 2}});
    CPointRefArray pts = m.GetPoints();
    CLongArray idx = pts.GetIndexArray();
    for (LONG i = 0; i < idx.GetCount(); ++i) EXPECT_EQ(idx[i], i);
    MATH::CVector3Array pos = pts.GetPositionArray();
    EXPECT_DOUBLE_EQ(pos[4].GetX(), 0.0);
    EXPECT_DOUBLE_EQ(pos[4].GetZ(), 0.0);
    MATH::CVector3Array normals = pts.GetNormalArray();
    for (LONG i = 0; i < normals.GetCount(); ++i) EXPECT_NEAR(normals[i].GetY(), 1.0, 1e-12);
    pos[4].PutY(2.0);
    EXPECT_EQ(pts.PutPositionArray(pos), CStatus::OK);
    EXPECT_DOUBLE_EQ(m.GetPoints().GetPositionArray()[4].GetY(), 2.0);
    EXPECT_LT(m.GetPoints().GetNormalArray()[0].GetY(), 1.0);  // normals follow the new shape
    MATH::CVector3Array shorter(3);
    EXPECT_EQ(pts.PutPositionArray(shorter), CStatus::InvalidArgument);
}

}  // namespace
