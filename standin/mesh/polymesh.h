// A polygon mesh as arrays: points, polygons, and the topology derived from them once,
// ready for neighbour queries at any distance.
//
// Conventions (every list below is in this order, and tests rely on it):
// - Polygon p's corners are polyVertices[offsets[p] .. offsets[p+1]); corner c joins its
//   vertex to the next corner's (the last wraps to the first). A sample (polygon node) is a
//   corner: sample index = global corner index.
// - Edges are numbered in order of first appearance when walking polygons in order, corners
//   in order; EdgeVertices(e) gives the corner's vertex, then the next corner's.
// - Per vertex: incident edges in increasing edge index, neighbour vertices in the same order
//   (the other end of each incident edge), incident polygons and samples in increasing index.
// - Per edge: incident polygons in increasing index.
// - Neighbour queries fill a caller's vector (cleared first) ring by ring (ring 1, then 2 ...),
//   each element once, in the order the rings are reached; the start element is left out.
#pragma once

#include <cstdint>
#include <ranges>
#include <span>
#include <utility>
#include <vector>

namespace standin::mesh {

struct Vec3 {
    double x = 0.0, y = 0.0, z = 0.0;
};

class PolyMesh {
public:
    PolyMesh() = default;
    // Validates and derives the topology. Throws std::invalid_argument naming the first
    // bad polygon (an index out of range, fewer than 3 corners, a vertex repeated in it).
    static PolyMesh Build(std::vector<Vec3> points, std::vector<int32_t> polyOffsets, std::vector<int32_t> polyVertices);

    int32_t VertexCount() const { return static_cast<int32_t>(m_points.size()); }
    int32_t PolygonCount() const { return static_cast<int32_t>(m_polyOffsets.empty() ? 0 : m_polyOffsets.size() - 1); }
    int32_t EdgeCount() const { return static_cast<int32_t>(m_edgeVerts.size() / 2); }
    int32_t SampleCount() const { return static_cast<int32_t>(m_polyVerts.size()); }

    std::span<const Vec3> Positions() const { return m_points; }
    // Same count required (std::invalid_argument otherwise); the topology is kept.
    void SetPositions(std::span<const Vec3> positions);
    // Unit normals: a polygon's from Newell's method; a vertex's the normalised sum of its
    // polygons' area-weighted normals, (0,0,0) for a vertex without polygons.
    std::span<const Vec3> VertexNormals() const;
    std::span<const Vec3> PolygonNormals() const;

    std::span<const int32_t> PolygonVertices(int32_t p) const { return Range(m_polyOffsets, m_polyVerts, p); }
    std::span<const int32_t> PolygonEdges(int32_t p) const { return Range(m_polyOffsets, m_cornerEdge, p); }
    // Samples are corners: a polygon's samples are its own range of corner indices.
    std::ranges::iota_view<int32_t, int32_t> PolygonSamples(int32_t p) const {
        return {m_polyOffsets[static_cast<size_t>(p)], m_polyOffsets[static_cast<size_t>(p) + 1]};
    }
    std::pair<int32_t, int32_t> EdgeVertices(int32_t e) const {
        return {m_edgeVerts[static_cast<size_t>(2 * e)], m_edgeVerts[static_cast<size_t>(2 * e + 1)]};
    }
    std::span<const int32_t> VertexNeighbors(int32_t v) const { return Range(m_vertEdgeOffsets, m_vertNeighbors, v); }
    std::span<const int32_t> VertexEdges(int32_t v) const { return Range(m_vertEdgeOffsets, m_vertEdges, v); }
    std::span<const int32_t> VertexPolygons(int32_t v) const { return Range(m_vertPolyOffsets, m_vertPolys, v); }
    std::span<const int32_t> VertexSamples(int32_t v) const { return Range(m_vertPolyOffsets, m_vertSamples, v); }
    std::span<const int32_t> EdgePolygons(int32_t e) const { return Range(m_edgePolyOffsets, m_edgePolys, e); }
    int32_t SampleVertex(int32_t s) const { return m_polyVerts[static_cast<size_t>(s)]; }
    int32_t SamplePolygon(int32_t s) const;

    void VertexNeighborVertices(int32_t v, int32_t d, std::vector<int32_t>& out) const;
    void VertexNeighborEdges(int32_t v, int32_t d, std::vector<int32_t>& out) const;
    void VertexNeighborPolygons(int32_t v, int32_t d, std::vector<int32_t>& out) const;
    void EdgeNeighborVertices(int32_t e, int32_t d, std::vector<int32_t>& out) const;
    void EdgeNeighborEdges(int32_t e, int32_t d, std::vector<int32_t>& out) const;
    void EdgeNeighborPolygons(int32_t e, int32_t d, std::vector<int32_t>& out) const;
    void PolygonNeighborVertices(int32_t p, int32_t d, std::vector<int32_t>& out) const;
    void PolygonNeighborEdges(int32_t p, int32_t d, std::vector<int32_t>& out) const;
    void PolygonNeighborPolygons(int32_t p, int32_t d, std::vector<int32_t>& out) const;
    // Union of the polygons' corners (ring 1, in order of first appearance), grown by edges.
    void PolygonsNeighborVertices(std::span<const int32_t> polygons, int32_t d, std::vector<int32_t>& out) const;

    // Bytes held by every array of the mesh (capacities), for memory budgets.
    size_t MemoryBytes() const;

private:
    std::vector<Vec3> m_points;
    std::vector<int32_t> m_polyOffsets, m_polyVerts, m_cornerEdge;
    std::vector<int32_t> m_edgeVerts;
    std::vector<int32_t> m_vertEdgeOffsets, m_vertEdges, m_vertNeighbors;
    // A polygon holds a vertex at most once, so a vertex has as many samples as polygons:
    // both lists share one offsets array.
    std::vector<int32_t> m_vertPolyOffsets, m_vertPolys, m_vertSamples;
    std::vector<int32_t> m_edgePolyOffsets, m_edgePolys;

    // Derived lazily; the host is single-threaded.
    mutable std::vector<Vec3> m_vertexNormals, m_polygonNormals;
    mutable bool m_normalsDirty = true;
    // Visited marks for queries: an epoch per query, so nothing the size of the mesh is cleared.
    mutable std::vector<uint32_t> m_vertStamp, m_edgeStamp, m_polyStamp;
    mutable uint32_t m_epoch = 0;

    static std::span<const int32_t> Range(const std::vector<int32_t>& offsets, const std::vector<int32_t>& items, int32_t i) {
        auto b = static_cast<size_t>(offsets[static_cast<size_t>(i)]);
        auto e = static_cast<size_t>(offsets[static_cast<size_t>(i) + 1]);
        return {items.data() + b, e - b};
    }
    void ComputeNormals() const;
    uint32_t NewEpoch() const;
    // Appends to `out` the vertices of rings 2 .. d around the ring-1 vertices already in
    // out[ringStart ..) (all stamped with the current epoch).
    void GrowVertices(std::vector<int32_t>& out, size_t ringStart, int32_t d) const;
    // Appends the edges (or polygons) incident to `vertices`, each once, skipping stamped ones.
    void IncidentEdges(std::span<const int32_t> vertices, uint32_t epoch, std::vector<int32_t>& out) const;
    void IncidentPolygons(std::span<const int32_t> vertices, uint32_t epoch, std::vector<int32_t>& out) const;
};

}  // namespace standin::mesh
