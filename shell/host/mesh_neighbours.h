// A polygon mesh's vertex neighbour lists, built once from its polygons in plain code and
// packed (offsets, indices) for the kernels. Asking the object model vertex by vertex costs a
// call and an array per vertex; the lists here are in the host's own order, so a kernel whose
// result depends on that order gives what the per-vertex queries would.
#pragma once

#include <cstdint>
#include <vector>

#include "xsi_geometry.h"
#include "xsi_longarray.h"
#include "xsi_vector3.h"

namespace orbelin {

struct PackedNeighbours {
    std::vector<uint32_t> offsets;  // vertexCount + 1 entries
    std::vector<uint32_t> indices;
    size_t VertexCount() const { return offsets.empty() ? 0 : offsets.size() - 1; }
};

// The polygons of a mesh as the host gives them (count, then that many vertex indices, per
// polygon) with the number of its vertices.
struct MeshTopology {
    LONG vertexCount = 0;
    XSI::CLongArray polygons;
    bool operator==(const MeshTopology& other) const;
};

// Reads the topology of a polygon mesh geometry; false (and an empty topology) for any other.
bool ReadTopology(const XSI::Geometry& geometry, MeshTopology& out);
// The same, with the positions of its points read in the same call (their storage reused).
bool ReadTopology(const XSI::Geometry& geometry, MeshTopology& out, XSI::MATH::CVector3Array& points);

// The vertices joined to each vertex by an edge, in Vertex::GetNeighborVertices(1)'s order:
// by edge, edges numbered as first walked (polygons in order, corners in order, each corner to
// the next). Malformed polygon data (a count running past the end, an index naming no vertex)
// is cut at the first bad polygon; a corner joining a vertex to itself makes no edge.
void EdgeNeighbours(const MeshTopology& topology, PackedNeighbours& out);
// The vertices of the polygons around each vertex, other than itself, each once: polygons in
// increasing index, corners in order.
void FaceNeighbours(const MeshTopology& topology, PackedNeighbours& out);
// The corners of the polygons around each vertex, polygon after polygon (increasing index),
// corners in order, the vertex's own corners left out: a vertex shared by two of those
// polygons is listed twice. In the order Vertex::GetNeighborPolygons(1) then
// PolygonFace::GetVertices give them.
void CornerNeighbours(const MeshTopology& topology, PackedNeighbours& out);

}  // namespace orbelin
