// A polygon mesh as flat arrays: points, polygons, and the topology derived from them once,
// ready for neighbour queries at any distance. No host types: the object model wraps it.
//
// Layout. Every per-element list is CSR (an offsets array of count + 1 entries and one flat
// array of int32 indices), never a std::vector per element: a million-point mesh is a dozen
// allocations, and walking a neighbourhood touches contiguous memory.
//
// Numbering and order (every list below is in this order; the tests pin each one):
// - Polygon p's corners are polyVertices[offsets[p] .. offsets[p+1]). Corner c joins its
//   vertex to the next corner's vertex, the last corner wrapping to the first.
// - A sample (the host's "polygon node") is a corner: sample index = global corner index, so
//   polygon p's samples are offsets[p] .. offsets[p+1] - 1 in corner order.
// - Edges are the unique undirected vertex pairs joined by a corner, numbered in order of first
//   appearance when walking polygons in order and each polygon's corners in order.
//   EdgeVertices(e) = (start, end) of the corner that first walked it.
// - PolygonVertices(p): corner order. PolygonEdges(p): the edge of each corner, corner order.
// - VertexEdges(v): incident edges in increasing edge index. VertexNeighbors(v): the other end
//   of each of those edges, in the same order (so VertexNeighbors(v)[i] is reached through
//   VertexEdges(v)[i]).
// - VertexPolygons(v) and VertexSamples(v): increasing index; a polygon holds a vertex at most
//   once, so VertexSamples(v)[i] is v's corner in VertexPolygons(v)[i].
// - EdgePolygons(e): increasing polygon index (more than two on non-manifold edges).
// - Isolated points (used by no polygon) are allowed: every list of theirs is empty.
//
// Neighbour queries (X...Neighbor...(start, d, out)):
// - `out` is cleared, then filled ring by ring: all of ring 1, then ring 2, ... up to ring d.
//   Each element appears once and the start element itself never appears. d < 1 gives an
//   empty result. A start index out of range throws std::out_of_range.
// - Vertex rings grow breadth-first through VertexNeighbors: ring k+1 lists the not yet
//   reached neighbours of ring k's vertices, vertex by vertex in ring-k order, each vertex's
//   neighbours in VertexNeighbors order.
// - Edges and polygons found "through vertices" are listed vertex by vertex in the vertex
//   rings' order, each vertex's VertexEdges / VertexPolygons in their order, skipping those
//   already listed. Since ring k of edges (polygons) is exactly the new ones incident to
//   vertex ring k-1, the output is ordered by ring.
// - Queries allocate nothing but the growth of `out` (and, the first time a neighbourhood is
//   that large, of an internal scratch list): visited marks are stamps compared with a
//   per-query epoch, never cleared per query.
//
// Threads: const members are NOT safe to call concurrently (queries share the scratch and
// the stamps; normals are computed lazily). The host is single-threaded.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>
#include <utility>
#include <vector>

namespace standin::mesh {

// Consecutive indices [first, last). (Not std::ranges::iota_view: clang 14, which builds the
// fuzz targets, cannot compile the one of libstdc++ 12.)
struct IndexRange {
    struct iterator {
        using iterator_category = std::forward_iterator_tag;
        using value_type = int32_t;
        using difference_type = std::ptrdiff_t;
        using pointer = const int32_t*;
        using reference = int32_t;
        int32_t i = 0;
        int32_t operator*() const { return i; }
        iterator& operator++() { ++i; return *this; }
        iterator operator++(int) { return {i++}; }
        bool operator==(const iterator&) const = default;
    };
    int32_t first = 0, last = 0;
    iterator begin() const { return {first}; }
    iterator end() const { return {last}; }
    size_t size() const { return static_cast<size_t>(last - first); }
};

// Helpers are members rather than free functions so that they never meet, through
// argument-dependent lookup, the free Dot/Length helpers other files keep for Vec3.
struct Vec3 {
    double x = 0.0, y = 0.0, z = 0.0;

    friend bool operator==(const Vec3&, const Vec3&) = default;
    friend Vec3 operator+(const Vec3& a, const Vec3& b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
    friend Vec3 operator-(const Vec3& a, const Vec3& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
    friend Vec3 operator*(const Vec3& a, double s) { return {a.x * s, a.y * s, a.z * s}; }
    friend Vec3 operator*(double s, const Vec3& a) { return a * s; }
    Vec3& operator+=(const Vec3& b) { return *this = *this + b; }

    double Dot(const Vec3& b) const { return x * b.x + y * b.y + z * b.z; }
    Vec3 Cross(const Vec3& b) const { return {y * b.z - z * b.y, z * b.x - x * b.z, x * b.y - y * b.x}; }
    double Length() const { return std::sqrt(Dot(*this)); }
    // The unit vector along this one, or (0,0,0) when it has no length (no direction to keep).
    Vec3 Normalized() const {
        double len = Length();
        return len > 0 ? *this * (1.0 / len) : Vec3{};
    }
};

class PolyMesh {
public:
    PolyMesh() = default;  // no points, no polygons

    // Validates, then derives the whole topology. `polyOffsets` holds PolygonCount() + 1
    // entries, starting at 0 and ending at polyVertices.size() (an empty vector means no
    // polygons). Throws std::invalid_argument with a message naming the first bad polygon:
    // offsets not increasing or past the corners, fewer than 3 corners, a vertex index out of
    // range, a vertex used twice by one polygon. Counts must fit int32.
    static PolyMesh Build(std::vector<Vec3> points, std::vector<int32_t> polyOffsets, std::vector<int32_t> polyVertices);

    int32_t VertexCount() const { return static_cast<int32_t>(m_points.size()); }
    int32_t PolygonCount() const { return static_cast<int32_t>(m_polyOffsets.empty() ? 0 : m_polyOffsets.size() - 1); }
    int32_t EdgeCount() const { return static_cast<int32_t>(m_edgeVerts.size() / 2); }
    int32_t SampleCount() const { return static_cast<int32_t>(m_polyVerts.size()); }

    std::span<const Vec3> Positions() const { return m_points; }
    // Replaces every position (same count, else std::invalid_argument); the topology is kept
    // and the normals are recomputed on next use.
    void SetPositions(std::span<const Vec3> positions);
    // Unit normals, computed on first use after Build or SetPositions. A polygon's is Newell's
    // normal (right hand around the corners: counter-clockwise seen from the side it faces),
    // (0,0,0) for a degenerate polygon. A vertex's is the normalised sum of its polygons'
    // normals weighted by their areas; (0,0,0) for an isolated point or when they cancel out.
    std::span<const Vec3> VertexNormals() const;
    std::span<const Vec3> PolygonNormals() const;

    // Plain accessors: indices are preconditions, not checked (like operator[]).
    std::span<const int32_t> PolygonVertices(int32_t p) const { return Range(m_polyOffsets, m_polyVerts, p); }
    std::span<const int32_t> PolygonEdges(int32_t p) const { return Range(m_polyOffsets, m_cornerEdge, p); }
    IndexRange PolygonSamples(int32_t p) const {
        return {m_polyOffsets[static_cast<size_t>(p)], m_polyOffsets[static_cast<size_t>(p) + 1]};
    }
    std::pair<int32_t, int32_t> EdgeVertices(int32_t e) const {
        return {m_edgeVerts[2 * static_cast<size_t>(e)], m_edgeVerts[2 * static_cast<size_t>(e) + 1]};
    }
    std::span<const int32_t> VertexNeighbors(int32_t v) const { return Range(m_vertEdgeOffsets, m_vertNeighbors, v); }
    std::span<const int32_t> VertexEdges(int32_t v) const { return Range(m_vertEdgeOffsets, m_vertEdges, v); }
    std::span<const int32_t> VertexPolygons(int32_t v) const { return Range(m_vertPolyOffsets, m_vertPolys, v); }
    std::span<const int32_t> VertexSamples(int32_t v) const { return Range(m_vertPolyOffsets, m_vertSamples, v); }
    std::span<const int32_t> EdgePolygons(int32_t e) const { return Range(m_edgePolyOffsets, m_edgePolys, e); }
    int32_t SampleVertex(int32_t s) const { return m_polyVerts[static_cast<size_t>(s)]; }
    // A binary search in the polygon offsets (O(log P)): not worth 4 bytes per corner.
    int32_t SamplePolygon(int32_t s) const;

    // Neighbourhoods; see the header comment for the common rules (rings, order, d < 1).
    // Vertices within d edges of v.
    void VertexNeighborVertices(int32_t v, int32_t d, std::vector<int32_t>& out) const;
    // Edges incident to a vertex within d-1 edges of v (d = 1: VertexEdges(v)).
    void VertexNeighborEdges(int32_t v, int32_t d, std::vector<int32_t>& out) const;
    // Polygons incident to a vertex within d-1 edges of v (d = 1: VertexPolygons(v)).
    void VertexNeighborPolygons(int32_t v, int32_t d, std::vector<int32_t>& out) const;
    // Vertices within d-1 edges of e's ends: ring 1 is (start, end) of e.
    void EdgeNeighborVertices(int32_t e, int32_t d, std::vector<int32_t>& out) const;
    // Edges other than e incident to a vertex within d-1 edges of e's ends (d = 1: the edges
    // sharing a vertex with e, those at e's start first).
    void EdgeNeighborEdges(int32_t e, int32_t d, std::vector<int32_t>& out) const;
    // Ring 1: EdgePolygons(e). For d >= 2, adds the polygons incident to a vertex within d-1
    // edges of e's ends (ring 2 therefore also holds the polygons touching e at one end only).
    void EdgeNeighborPolygons(int32_t e, int32_t d, std::vector<int32_t>& out) const;
    // Ring 1: PolygonVertices(p); then grown by edges.
    void PolygonNeighborVertices(int32_t p, int32_t d, std::vector<int32_t>& out) const;
    // Ring 1: PolygonEdges(p); ring k >= 2: the edges incident to vertex ring k-1 of
    // PolygonNeighborVertices(p, ...), i.e. grown by vertex incidence.
    void PolygonNeighborEdges(int32_t p, int32_t d, std::vector<int32_t>& out) const;
    // Polygons sharing an edge with p, then with those, ...: ring k+1 lists, for each polygon
    // of ring k in order, its edges in corner order, each edge's EdgePolygons in order.
    void PolygonNeighborPolygons(int32_t p, int32_t d, std::vector<int32_t>& out) const;
    // Ring 1: the union of the polygons' corners, each vertex once, in order of first
    // appearance (polygons in the given order, corners in order); then grown by edges.
    // Repeated polygons are harmless.
    void PolygonsNeighborVertices(std::span<const int32_t> polygons, int32_t d, std::vector<int32_t>& out) const;

    // Bytes held by every array of the mesh, counted by capacity: points, topology, the
    // query stamps and scratch, and the normals once computed (48 bytes per point and
    // polygon more). sizeof(PolyMesh) itself is not included.
    size_t MemoryBytes() const;

private:
    std::vector<Vec3> m_points;
    std::vector<int32_t> m_polyOffsets, m_polyVerts;
    std::vector<int32_t> m_cornerEdge;  // per corner: the edge it walks
    std::vector<int32_t> m_edgeVerts;   // per edge: start, end
    std::vector<int32_t> m_vertEdgeOffsets, m_vertEdges, m_vertNeighbors;
    // A polygon holds a vertex at most once, so a vertex has as many samples as polygons:
    // both lists share one offsets array.
    std::vector<int32_t> m_vertPolyOffsets, m_vertPolys, m_vertSamples;
    std::vector<int32_t> m_edgePolyOffsets, m_edgePolys;

    mutable std::vector<Vec3> m_vertexNormals, m_polygonNormals;
    mutable bool m_normalsDirty = true;
    // Visited marks: an element is visited by the current query when its stamp equals the
    // query's epoch, so starting a query costs one increment instead of clearing arrays the
    // size of the mesh. Sized at Build, so queries never allocate them.
    mutable std::vector<uint32_t> m_vertStamp, m_edgeStamp, m_polyStamp;
    mutable uint32_t m_epoch = 0;
    // Vertex rings that a query needs but does not return (edge and polygon queries).
    mutable std::vector<int32_t> m_scratch;

    static std::span<const int32_t> Range(const std::vector<int32_t>& offsets, const std::vector<int32_t>& items, int32_t i) {
        auto b = static_cast<size_t>(offsets[static_cast<size_t>(i)]);
        auto e = static_cast<size_t>(offsets[static_cast<size_t>(i) + 1]);
        return {items.data() + b, e - b};
    }
    void ComputeNormals() const;
    uint32_t NewEpoch() const;
    void CheckVertex(int32_t v) const;
    void CheckEdge(int32_t e) const;
    void CheckPolygon(int32_t p) const;
    // Appends vertices to `list` whose items from `ringBegin` on form the last ring reached
    // (all of `list` stamped with the current epoch), `rings` more rings at most.
    void GrowVertexRings(std::vector<int32_t>& list, size_t ringBegin, int32_t rings) const;
    // Appends the edges (polygons) incident to `vertices` that are not stamped yet, stamping them.
    void AppendIncidentEdges(std::span<const int32_t> vertices, std::vector<int32_t>& out) const;
    void AppendIncidentPolygons(std::span<const int32_t> vertices, std::vector<int32_t>& out) const;
};

}  // namespace standin::mesh
