// Neighbour lists built from the polygons must be the object model's, order included: the
// smoothing's result depends on the order.
#include "shell/host/mesh_neighbours.h"
#include "support.h"
#include "xsi_polygonface.h"
#include "xsi_polygonmesh.h"
#include "xsi_primitive.h"
#include "xsi_vertex.h"
#include "xsi_x3dobject.h"

namespace {

using namespace XSI;

class MeshNeighboursTest : public shelltest::HostTest {
protected:
    Geometry GeometryOf(const CRef& object) { return X3DObject(object).GetActivePrimitive().GetGeometry(); }

    std::vector<uint32_t> ListOf(const orbelin::PackedNeighbours& n, size_t v) {
        return {n.indices.begin() + n.offsets[v], n.indices.begin() + n.offsets[v + 1]};
    }
    std::vector<uint32_t> Plain(const CVertexRefArray& vertices, LONG skip) {
        std::vector<uint32_t> out;
        for (LONG i = 0; i < vertices.GetCount(); ++i)
            if (Vertex(vertices[i]).GetIndex() != skip) out.push_back(static_cast<uint32_t>(Vertex(vertices[i]).GetIndex()));
        return out;
    }
    // Every vertex's lists against the per-vertex queries.
    void ExpectHostOrder(const CRef& object) {
        Geometry geometry = GeometryOf(object);
        orbelin::MeshTopology topology;
        ASSERT_TRUE(orbelin::ReadTopology(geometry, topology));
        orbelin::PackedNeighbours edges, faces, corners;
        orbelin::EdgeNeighbours(topology, edges);
        orbelin::FaceNeighbours(topology, faces);
        orbelin::CornerNeighbours(topology, corners);
        CVertexRefArray vertices = PolygonMesh(geometry.GetRef()).GetVertices();
        ASSERT_EQ(edges.VertexCount(), static_cast<size_t>(vertices.GetCount()));
        ASSERT_EQ(faces.VertexCount(), static_cast<size_t>(vertices.GetCount()));
        for (LONG v = 0; v < vertices.GetCount(); ++v) {
            Vertex vertex(vertices[v]);
            EXPECT_EQ(ListOf(edges, size_t(v)), Plain(vertex.GetNeighborVertices(1), -1)) << v;
            CVertexRefArray around = vertex.GetNeighborPolygons(1).GetNeighborVertices(1);
            EXPECT_EQ(ListOf(faces, size_t(v)), Plain(around, v)) << v;
            // Corners: every polygon's vertices, polygon after polygon, repeats kept.
            std::vector<uint32_t> all;
            CPolygonFaceRefArray polygons = vertex.GetNeighborPolygons(1);
            for (LONG i = 0; i < polygons.GetCount(); ++i)
                for (uint32_t u : Plain(PolygonFace(polygons[i]).GetVertices(), v)) all.push_back(u);
            EXPECT_EQ(ListOf(corners, size_t(v)), all) << v;
        }
    }
};

TEST_F(MeshNeighboursTest, ListsAreTheObjectModelsInItsOrder) {
    ExpectHostOrder(host.CreatePrim(L"Grid", L"grid", {{L"subdivu", 5}, {L"subdivv", 4}}));
    ExpectHostOrder(host.CreatePrim(L"Sphere", L"ball", {}));
    // Triangles, quads and a pentagon wound both ways, a fan and a point no polygon uses.
    ExpectHostOrder(host.CreatePolyMesh(
        L"odd", standin::mesh::PolyMesh::Build({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {0, 1, 0}, {1, 1, 0}, {2, 1, 0}, {3, 1, 0},
                                                 {1, 2, 0}, {5, 5, 5}, {2, 2, 0}},
                                                {0, 4, 7, 10, 15, 18},
                                                {0, 1, 4, 3, 4, 1, 5, 2, 5, 1, 5, 6, 9, 7, 4, 7, 3, 4})));
}

TEST_F(MeshNeighboursTest, MalformedPolygonDataIsCutAtTheFirstBadPolygon) {
    orbelin::MeshTopology topology;
    topology.vertexCount = 4;
    for (LONG v : {3, 0, 1, 2, 3, 1, 2, 9}) topology.polygons.Add(v);  // the second names vertex 9
    orbelin::PackedNeighbours edges, faces;
    orbelin::EdgeNeighbours(topology, edges);
    orbelin::FaceNeighbours(topology, faces);
    EXPECT_EQ(ListOf(edges, 0), (std::vector<uint32_t>{1, 2}));
    EXPECT_EQ(ListOf(edges, 3), std::vector<uint32_t>{});
    EXPECT_EQ(ListOf(faces, 2), (std::vector<uint32_t>{0, 1}));
    topology.polygons.Clear();
    for (LONG v : {3, 0, 1, 2, 7, 1}) topology.polygons.Add(v);  // a count past the end
    orbelin::EdgeNeighbours(topology, edges);
    EXPECT_EQ(edges.indices.size(), 6u);
    topology.polygons.Clear();
    topology.polygons.Add(-1);
    orbelin::EdgeNeighbours(topology, edges);
    EXPECT_TRUE(edges.indices.empty());
    EXPECT_EQ(edges.VertexCount(), 4u);
    // Not a polygon mesh: no topology at all.
    EXPECT_FALSE(orbelin::ReadTopology(Geometry(), topology));
    EXPECT_EQ(topology.vertexCount, 0);
}

}  // namespace
