#include "mesh/polymesh.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <string>

namespace standin::mesh {

namespace {

constexpr size_t kMaxIndex = static_cast<size_t>(std::numeric_limits<int32_t>::max());

// Counts in, exclusive prefix sums out: offsets[i] becomes where item i's list starts. The
// array keeps its last slot (count 0) which becomes the total.
void CountsToOffsets(std::vector<int32_t>& offsets) {
    int32_t running = 0;
    for (int32_t& o : offsets) {
        int32_t c = o;
        o = running;
        running += c;
    }
}

// The cursor where the next item of each list goes while filling a CSR array.
std::vector<int32_t> FillCursors(const std::vector<int32_t>& offsets) {
    return std::vector<int32_t>(offsets.begin(), offsets.end() - 1);
}

std::string PolygonName(size_t p) { return "polygon " + std::to_string(p); }

// Throws on the first bad polygon. `seen` is a scratch array of one entry per point, all 0,
// returned all 0: it remembers in which polygon (+1) a vertex was last seen, which finds a
// repeated vertex in O(corners) instead of comparing every pair of corners of an n-gon.
void Validate(size_t pointCount, const std::vector<int32_t>& offsets, const std::vector<int32_t>& verts,
              std::vector<uint32_t>& seen) {
    if (pointCount > kMaxIndex) throw std::invalid_argument("too many points for int32 indices");
    if (verts.size() > kMaxIndex) throw std::invalid_argument("too many polygon corners for int32 indices");
    if (offsets.front() != 0) throw std::invalid_argument("polygon offsets must start at 0");
    const size_t np = offsets.size() - 1;
    const auto nv = static_cast<int32_t>(pointCount);
    for (size_t p = 0; p < np; ++p) {
        // Offsets are checked before any corner is read, so a bad offset cannot read out of range.
        const int32_t b = offsets[p], e = offsets[p + 1];
        if (e < b)
            throw std::invalid_argument(PolygonName(p) + ": offsets must increase, but go from " + std::to_string(b) +
                                        " to " + std::to_string(e));
        if (static_cast<size_t>(e) > verts.size())
            throw std::invalid_argument(PolygonName(p) + " ends at corner " + std::to_string(e) + ", past the " +
                                        std::to_string(verts.size()) + " corners given");
        if (e - b < 3)
            throw std::invalid_argument(PolygonName(p) + " has " + std::to_string(e - b) +
                                        " corners; a polygon needs at least 3");
        const auto mark = static_cast<uint32_t>(p + 1);
        for (int32_t c = b; c < e; ++c) {
            const int32_t v = verts[static_cast<size_t>(c)];
            if (v < 0 || v >= nv)
                throw std::invalid_argument(PolygonName(p) + " uses vertex " + std::to_string(v) + ", but there are " +
                                            std::to_string(nv) + " points");
            if (seen[static_cast<size_t>(v)] == mark)
                throw std::invalid_argument(PolygonName(p) + " uses vertex " + std::to_string(v) + " twice");
            seen[static_cast<size_t>(v)] = mark;
        }
    }
    if (static_cast<size_t>(offsets.back()) != verts.size())
        throw std::invalid_argument("polygon offsets end at " + std::to_string(offsets.back()) + " but " +
                                    std::to_string(verts.size()) + " corners are given");
    std::fill(seen.begin(), seen.end(), 0u);
}

}  // namespace

PolyMesh PolyMesh::Build(std::vector<Vec3> points, std::vector<int32_t> offsets, std::vector<int32_t> verts) {
    if (offsets.empty()) offsets.push_back(0);
    // The vertex stamps double as the validation's scratch: allocated once, handed over zeroed.
    std::vector<uint32_t> vertStamp(points.size(), 0u);
    Validate(points.size(), offsets, verts, vertStamp);

    PolyMesh m;
    m.m_points = std::move(points);
    m.m_polyOffsets = std::move(offsets);
    m.m_polyVerts = std::move(verts);
    m.m_vertStamp = std::move(vertStamp);
    const auto nv = static_cast<size_t>(m.VertexCount());
    const auto np = static_cast<size_t>(m.PolygonCount());
    const size_t corners = m.m_polyVerts.size();
    const std::vector<int32_t>& polyOffsets = m.m_polyOffsets;
    const std::vector<int32_t>& polyVerts = m.m_polyVerts;

    // Edges. An edge is found again by bucketing every walked pair under its smaller vertex:
    // a bucket holds only the few edges of one vertex, so the lookup is a short linear scan
    // over one contiguous run, and the whole thing is two passes over the corners with no
    // hashing and no per-vertex allocation. The first corner to walk a pair names the edge,
    // which gives the documented numbering.
    std::vector<int32_t> bucketOffsets(nv + 1, 0);
    auto forEachCorner = [&](auto&& f) {  // f(polygon, corner, its vertex, next corner's vertex)
        for (size_t p = 0; p < np; ++p) {
            const int32_t b = polyOffsets[p], e = polyOffsets[p + 1];
            for (int32_t c = b; c < e; ++c)
                f(p, static_cast<size_t>(c), polyVerts[static_cast<size_t>(c)],
                  polyVerts[static_cast<size_t>(c + 1 < e ? c + 1 : b)]);
        }
    };
    forEachCorner([&](size_t, size_t, int32_t a, int32_t b) { ++bucketOffsets[static_cast<size_t>(std::min(a, b))]; });
    CountsToOffsets(bucketOffsets);
    std::vector<int32_t> fill = FillCursors(bucketOffsets);
    struct Known {
        int32_t other, edge;  // the larger vertex of the pair, and the edge's index
    };
    std::vector<Known> bucket(corners);
    m.m_cornerEdge.resize(corners);
    // Closed manifold meshes have about half as many edges as corners; open or non-manifold
    // ones more, and then the vector grows once or twice before being trimmed.
    m.m_edgeVerts.reserve(corners + corners / 8 + 8);
    forEachCorner([&](size_t, size_t c, int32_t a, int32_t b) {
        const auto lo = static_cast<size_t>(std::min(a, b));
        const int32_t hi = std::max(a, b);
        int32_t edge = -1;
        for (auto i = static_cast<size_t>(bucketOffsets[lo]), end = static_cast<size_t>(fill[lo]); i < end; ++i)
            if (bucket[i].other == hi) {
                edge = bucket[i].edge;
                break;
            }
        if (edge < 0) {
            edge = static_cast<int32_t>(m.m_edgeVerts.size() / 2);
            m.m_edgeVerts.push_back(a);
            m.m_edgeVerts.push_back(b);
            bucket[static_cast<size_t>(fill[lo]++)] = {hi, edge};
        }
        m.m_cornerEdge[c] = edge;
    });
    std::vector<Known>().swap(bucket);
    m.m_edgeVerts.shrink_to_fit();
    const auto ne = static_cast<size_t>(m.EdgeCount());

    // Vertex -> edges and neighbours. Filling in edge order gives increasing edge indices.
    m.m_vertEdgeOffsets.assign(nv + 1, 0);
    for (int32_t v : m.m_edgeVerts) ++m.m_vertEdgeOffsets[static_cast<size_t>(v)];
    CountsToOffsets(m.m_vertEdgeOffsets);
    m.m_vertEdges.resize(m.m_edgeVerts.size());
    m.m_vertNeighbors.resize(m.m_edgeVerts.size());
    fill = FillCursors(m.m_vertEdgeOffsets);
    for (size_t e = 0; e < ne; ++e) {
        const int32_t a = m.m_edgeVerts[2 * e], b = m.m_edgeVerts[2 * e + 1];
        const auto ia = static_cast<size_t>(fill[static_cast<size_t>(a)]++);
        m.m_vertEdges[ia] = static_cast<int32_t>(e);
        m.m_vertNeighbors[ia] = b;
        const auto ib = static_cast<size_t>(fill[static_cast<size_t>(b)]++);
        m.m_vertEdges[ib] = static_cast<int32_t>(e);
        m.m_vertNeighbors[ib] = a;
    }

    // Vertex -> polygons and samples. Filling in corner order gives increasing indices.
    m.m_vertPolyOffsets.assign(nv + 1, 0);
    for (int32_t v : polyVerts) ++m.m_vertPolyOffsets[static_cast<size_t>(v)];
    CountsToOffsets(m.m_vertPolyOffsets);
    m.m_vertPolys.resize(corners);
    m.m_vertSamples.resize(corners);
    fill = FillCursors(m.m_vertPolyOffsets);
    forEachCorner([&](size_t p, size_t c, int32_t a, int32_t) {
        const auto i = static_cast<size_t>(fill[static_cast<size_t>(a)]++);
        m.m_vertPolys[i] = static_cast<int32_t>(p);
        m.m_vertSamples[i] = static_cast<int32_t>(c);
    });

    // Edge -> polygons. A polygon walks an edge at most once (its vertices are distinct), so
    // filling in corner order gives increasing polygon indices without duplicates.
    m.m_edgePolyOffsets.assign(ne + 1, 0);
    for (int32_t e : m.m_cornerEdge) ++m.m_edgePolyOffsets[static_cast<size_t>(e)];
    CountsToOffsets(m.m_edgePolyOffsets);
    m.m_edgePolys.resize(corners);
    fill = FillCursors(m.m_edgePolyOffsets);
    forEachCorner([&](size_t p, size_t c, int32_t, int32_t) {
        m.m_edgePolys[static_cast<size_t>(fill[static_cast<size_t>(m.m_cornerEdge[c])]++)] = static_cast<int32_t>(p);
    });

    m.m_edgeStamp.assign(ne, 0u);
    m.m_polyStamp.assign(np, 0u);
    return m;
}

int32_t PolyMesh::SamplePolygon(int32_t s) const {
    auto it = std::upper_bound(m_polyOffsets.begin(), m_polyOffsets.end(), s);
    return static_cast<int32_t>(it - m_polyOffsets.begin()) - 1;
}

void PolyMesh::SetPositions(std::span<const Vec3> positions) {
    if (positions.size() != m_points.size())
        throw std::invalid_argument("SetPositions: " + std::to_string(positions.size()) + " positions given for " +
                                    std::to_string(m_points.size()) + " points");
    std::copy(positions.begin(), positions.end(), m_points.begin());
    m_normalsDirty = true;
}

void PolyMesh::ComputeNormals() const {
    const auto np = static_cast<size_t>(PolygonCount());
    m_polygonNormals.assign(np, Vec3{});
    m_vertexNormals.assign(m_points.size(), Vec3{});
    for (size_t p = 0; p < np; ++p) {
        auto vs = PolygonVertices(static_cast<int32_t>(p));
        // Newell's method: exact for planar polygons, a sound average for warped ones, and
        // its length is twice the polygon's area, so summing it unnormalised into the
        // vertices weights each polygon by its area at no extra cost.
        Vec3 n;
        for (size_t i = 0; i < vs.size(); ++i) {
            const Vec3& a = m_points[static_cast<size_t>(vs[i])];
            const Vec3& b = m_points[static_cast<size_t>(vs[i + 1 < vs.size() ? i + 1 : 0])];
            n.x += (a.y - b.y) * (a.z + b.z);
            n.y += (a.z - b.z) * (a.x + b.x);
            n.z += (a.x - b.x) * (a.y + b.y);
        }
        for (int32_t v : vs) m_vertexNormals[static_cast<size_t>(v)] += n;
        m_polygonNormals[p] = n.Normalized();
    }
    for (Vec3& n : m_vertexNormals) n = n.Normalized();
    m_normalsDirty = false;
}

std::span<const Vec3> PolyMesh::VertexNormals() const {
    if (m_normalsDirty) ComputeNormals();
    return m_vertexNormals;
}

std::span<const Vec3> PolyMesh::PolygonNormals() const {
    if (m_normalsDirty) ComputeNormals();
    return m_polygonNormals;
}

uint32_t PolyMesh::NewEpoch() const {
    if (++m_epoch == 0) {
        // Wrapped after 2^32 queries: stamps from 2^32 queries ago would read as visited.
        std::fill(m_vertStamp.begin(), m_vertStamp.end(), 0u);
        std::fill(m_edgeStamp.begin(), m_edgeStamp.end(), 0u);
        std::fill(m_polyStamp.begin(), m_polyStamp.end(), 0u);
        m_epoch = 1;
    }
    return m_epoch;
}

void PolyMesh::CheckVertex(int32_t v) const {
    if (v < 0 || v >= VertexCount())
        throw std::out_of_range("vertex " + std::to_string(v) + " out of range (" + std::to_string(VertexCount()) + " vertices)");
}

void PolyMesh::CheckEdge(int32_t e) const {
    if (e < 0 || e >= EdgeCount())
        throw std::out_of_range("edge " + std::to_string(e) + " out of range (" + std::to_string(EdgeCount()) + " edges)");
}

void PolyMesh::CheckPolygon(int32_t p) const {
    if (p < 0 || p >= PolygonCount())
        throw std::out_of_range("polygon " + std::to_string(p) + " out of range (" + std::to_string(PolygonCount()) +
                                " polygons)");
}

void PolyMesh::GrowVertexRings(std::vector<int32_t>& list, size_t ringBegin, int32_t rings) const {
    const uint32_t epoch = m_epoch;
    size_t ringEnd = list.size();
    // Indices, not iterators: `list` grows (and may reallocate) while its last ring is read.
    for (int32_t r = 0; r < rings && ringBegin < ringEnd; ++r) {
        for (size_t i = ringBegin; i < ringEnd; ++i)
            for (int32_t n : VertexNeighbors(list[i]))
                if (m_vertStamp[static_cast<size_t>(n)] != epoch) {
                    m_vertStamp[static_cast<size_t>(n)] = epoch;
                    list.push_back(n);
                }
        ringBegin = ringEnd;
        ringEnd = list.size();
    }
}

void PolyMesh::AppendIncidentEdges(std::span<const int32_t> vertices, std::vector<int32_t>& out) const {
    const uint32_t epoch = m_epoch;
    for (int32_t v : vertices)
        for (int32_t e : VertexEdges(v))
            if (m_edgeStamp[static_cast<size_t>(e)] != epoch) {
                m_edgeStamp[static_cast<size_t>(e)] = epoch;
                out.push_back(e);
            }
}

void PolyMesh::AppendIncidentPolygons(std::span<const int32_t> vertices, std::vector<int32_t>& out) const {
    const uint32_t epoch = m_epoch;
    for (int32_t v : vertices)
        for (int32_t p : VertexPolygons(v))
            if (m_polyStamp[static_cast<size_t>(p)] != epoch) {
                m_polyStamp[static_cast<size_t>(p)] = epoch;
                out.push_back(p);
            }
}

void PolyMesh::VertexNeighborVertices(int32_t v, int32_t d, std::vector<int32_t>& out) const {
    CheckVertex(v);
    out.clear();
    if (d < 1) return;
    const uint32_t epoch = NewEpoch();
    m_vertStamp[static_cast<size_t>(v)] = epoch;
    // Ring 1 straight from the neighbour list (distinct by construction), so v itself never
    // has to be removed from the output.
    for (int32_t n : VertexNeighbors(v)) {
        m_vertStamp[static_cast<size_t>(n)] = epoch;
        out.push_back(n);
    }
    GrowVertexRings(out, 0, d - 1);
}

void PolyMesh::VertexNeighborEdges(int32_t v, int32_t d, std::vector<int32_t>& out) const {
    CheckVertex(v);
    out.clear();
    if (d < 1) return;
    const uint32_t epoch = NewEpoch();
    m_vertStamp[static_cast<size_t>(v)] = epoch;
    m_scratch.assign(1, v);
    GrowVertexRings(m_scratch, 0, d - 1);
    AppendIncidentEdges(m_scratch, out);
}

void PolyMesh::VertexNeighborPolygons(int32_t v, int32_t d, std::vector<int32_t>& out) const {
    CheckVertex(v);
    out.clear();
    if (d < 1) return;
    const uint32_t epoch = NewEpoch();
    m_vertStamp[static_cast<size_t>(v)] = epoch;
    m_scratch.assign(1, v);
    GrowVertexRings(m_scratch, 0, d - 1);
    AppendIncidentPolygons(m_scratch, out);
}

void PolyMesh::EdgeNeighborVertices(int32_t e, int32_t d, std::vector<int32_t>& out) const {
    CheckEdge(e);
    out.clear();
    if (d < 1) return;
    const uint32_t epoch = NewEpoch();
    auto [a, b] = EdgeVertices(e);
    m_vertStamp[static_cast<size_t>(a)] = m_vertStamp[static_cast<size_t>(b)] = epoch;
    out.push_back(a);
    out.push_back(b);
    GrowVertexRings(out, 0, d - 1);
}

void PolyMesh::EdgeNeighborEdges(int32_t e, int32_t d, std::vector<int32_t>& out) const {
    CheckEdge(e);
    out.clear();
    if (d < 1) return;
    const uint32_t epoch = NewEpoch();
    auto [a, b] = EdgeVertices(e);
    m_vertStamp[static_cast<size_t>(a)] = m_vertStamp[static_cast<size_t>(b)] = epoch;
    m_edgeStamp[static_cast<size_t>(e)] = epoch;  // incident to both ends, but never listed
    m_scratch.assign({a, b});
    GrowVertexRings(m_scratch, 0, d - 1);
    AppendIncidentEdges(m_scratch, out);
}

void PolyMesh::EdgeNeighborPolygons(int32_t e, int32_t d, std::vector<int32_t>& out) const {
    CheckEdge(e);
    out.clear();
    if (d < 1) return;
    const uint32_t epoch = NewEpoch();
    for (int32_t p : EdgePolygons(e)) {
        m_polyStamp[static_cast<size_t>(p)] = epoch;
        out.push_back(p);
    }
    if (d == 1) return;
    auto [a, b] = EdgeVertices(e);
    m_vertStamp[static_cast<size_t>(a)] = m_vertStamp[static_cast<size_t>(b)] = epoch;
    m_scratch.assign({a, b});
    GrowVertexRings(m_scratch, 0, d - 1);
    AppendIncidentPolygons(m_scratch, out);
}

void PolyMesh::PolygonNeighborVertices(int32_t p, int32_t d, std::vector<int32_t>& out) const {
    const int32_t one[1] = {p};
    PolygonsNeighborVertices(one, d, out);
}

void PolyMesh::PolygonsNeighborVertices(std::span<const int32_t> polygons, int32_t d, std::vector<int32_t>& out) const {
    for (int32_t p : polygons) CheckPolygon(p);
    out.clear();
    if (d < 1) return;
    const uint32_t epoch = NewEpoch();
    for (int32_t p : polygons)
        for (int32_t v : PolygonVertices(p))
            if (m_vertStamp[static_cast<size_t>(v)] != epoch) {
                m_vertStamp[static_cast<size_t>(v)] = epoch;
                out.push_back(v);
            }
    GrowVertexRings(out, 0, d - 1);
}

void PolyMesh::PolygonNeighborEdges(int32_t p, int32_t d, std::vector<int32_t>& out) const {
    CheckPolygon(p);
    out.clear();
    if (d < 1) return;
    const uint32_t epoch = NewEpoch();
    for (int32_t e : PolygonEdges(p)) {
        m_edgeStamp[static_cast<size_t>(e)] = epoch;
        out.push_back(e);
    }
    if (d == 1) return;
    m_scratch.clear();
    for (int32_t v : PolygonVertices(p)) {
        m_vertStamp[static_cast<size_t>(v)] = epoch;
        m_scratch.push_back(v);
    }
    GrowVertexRings(m_scratch, 0, d - 2);
    AppendIncidentEdges(m_scratch, out);
}

void PolyMesh::PolygonNeighborPolygons(int32_t p, int32_t d, std::vector<int32_t>& out) const {
    CheckPolygon(p);
    out.clear();
    if (d < 1) return;
    const uint32_t epoch = NewEpoch();
    m_polyStamp[static_cast<size_t>(p)] = epoch;
    auto appendAcrossEdges = [&](int32_t from) {
        for (int32_t e : PolygonEdges(from))
            for (int32_t q : EdgePolygons(e))
                if (m_polyStamp[static_cast<size_t>(q)] != epoch) {
                    m_polyStamp[static_cast<size_t>(q)] = epoch;
                    out.push_back(q);
                }
    };
    appendAcrossEdges(p);
    // The output is its own queue: ring k is out[ringBegin, ringEnd).
    size_t ringBegin = 0, ringEnd = out.size();
    for (int32_t r = 1; r < d && ringBegin < ringEnd; ++r) {
        for (size_t i = ringBegin; i < ringEnd; ++i) appendAcrossEdges(out[i]);
        ringBegin = ringEnd;
        ringEnd = out.size();
    }
}

size_t PolyMesh::MemoryBytes() const {
    auto bytes = [](const auto& v) { return v.capacity() * sizeof(*v.data()); };
    return bytes(m_points) + bytes(m_polyOffsets) + bytes(m_polyVerts) + bytes(m_cornerEdge) + bytes(m_edgeVerts) +
           bytes(m_vertEdgeOffsets) + bytes(m_vertEdges) + bytes(m_vertNeighbors) + bytes(m_vertPolyOffsets) +
           bytes(m_vertPolys) + bytes(m_vertSamples) + bytes(m_edgePolyOffsets) + bytes(m_edgePolys) +
           bytes(m_vertexNormals) + bytes(m_polygonNormals) + bytes(m_vertStamp) + bytes(m_edgeStamp) +
           bytes(m_polyStamp) + bytes(m_scratch);
}

}  // namespace standin::mesh
