#include "mesh/polymesh.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

namespace standin::mesh {

namespace {

void CountsToOffsets(std::vector<int32_t>& offsets) {
    int32_t running = 0;
    for (int32_t& o : offsets) {
        int32_t c = o;
        o = running;
        running += c;
    }
}

}  // namespace

PolyMesh PolyMesh::Build(std::vector<Vec3> points, std::vector<int32_t> offsets, std::vector<int32_t> verts) {
    const auto nv = static_cast<int32_t>(points.size());
    if (offsets.empty()) offsets.push_back(0);
    if (offsets.front() != 0 || static_cast<size_t>(offsets.back()) != verts.size())
        throw std::invalid_argument("polygon offsets must start at 0 and end at the number of corners");
    const auto np = static_cast<int32_t>(offsets.size() - 1);
    for (int32_t p = 0; p < np; ++p) {
        int32_t b = offsets[static_cast<size_t>(p)], e = offsets[static_cast<size_t>(p) + 1];
        std::string where = "polygon " + std::to_string(p);
        if (e - b < 3) throw std::invalid_argument(where + " has fewer than 3 corners");
        for (int32_t c = b; c < e; ++c) {
            int32_t v = verts[static_cast<size_t>(c)];
            if (v < 0 || v >= nv) throw std::invalid_argument(where + " uses vertex " + std::to_string(v) + ", which does not exist");
            for (int32_t k = b; k < c; ++k)
                if (verts[static_cast<size_t>(k)] == v)
                    throw std::invalid_argument(where + " uses vertex " + std::to_string(v) + " twice");
        }
    }

    PolyMesh m;
    m.m_points = std::move(points);
    m.m_polyOffsets = std::move(offsets);
    m.m_polyVerts = std::move(verts);
    const size_t corners = m.m_polyVerts.size();

    // Edges: every corner is bucketed under its smaller vertex; the first corner of a pair
    // to be walked names the edge.
    std::vector<int32_t> bucketOffsets(static_cast<size_t>(nv) + 1, 0);
    auto next = [&](int32_t p, int32_t c) {
        int32_t e = m.m_polyOffsets[static_cast<size_t>(p) + 1];
        return c + 1 < e ? c + 1 : m.m_polyOffsets[static_cast<size_t>(p)];
    };
    for (int32_t p = 0; p < np; ++p)
        for (int32_t c = m.m_polyOffsets[static_cast<size_t>(p)]; c < m.m_polyOffsets[static_cast<size_t>(p) + 1]; ++c) {
            int32_t a = m.m_polyVerts[static_cast<size_t>(c)], b = m.m_polyVerts[static_cast<size_t>(next(p, c))];
            ++bucketOffsets[static_cast<size_t>(std::min(a, b))];
        }
    CountsToOffsets(bucketOffsets);
    std::vector<int32_t> fill(bucketOffsets.begin(), bucketOffsets.end() - 1);
    std::vector<std::pair<int32_t, int32_t>> bucket(corners, {-1, -1});  // (other vertex, edge)
    m.m_cornerEdge.assign(corners, -1);
    m.m_edgeVerts.reserve(corners + 2);
    for (int32_t p = 0; p < np; ++p)
        for (int32_t c = m.m_polyOffsets[static_cast<size_t>(p)]; c < m.m_polyOffsets[static_cast<size_t>(p) + 1]; ++c) {
            int32_t a = m.m_polyVerts[static_cast<size_t>(c)], b = m.m_polyVerts[static_cast<size_t>(next(p, c))];
            auto lo = static_cast<size_t>(std::min(a, b));
            int32_t hi = std::max(a, b);
            int32_t edge = -1;
            for (auto i = static_cast<size_t>(bucketOffsets[lo]); i < static_cast<size_t>(fill[lo]); ++i)
                if (bucket[i].first == hi) {
                    edge = bucket[i].second;
                    break;
                }
            if (edge < 0) {
                edge = static_cast<int32_t>(m.m_edgeVerts.size() / 2);
                m.m_edgeVerts.push_back(a);
                m.m_edgeVerts.push_back(b);
                bucket[static_cast<size_t>(fill[lo]++)] = {hi, edge};
            }
            m.m_cornerEdge[static_cast<size_t>(c)] = edge;
        }
    m.m_edgeVerts.shrink_to_fit();
    const int32_t ne = m.EdgeCount();

    // Vertex -> edges and neighbours, in edge order.
    m.m_vertEdgeOffsets.assign(static_cast<size_t>(nv) + 1, 0);
    for (int32_t v : m.m_edgeVerts) ++m.m_vertEdgeOffsets[static_cast<size_t>(v)];
    CountsToOffsets(m.m_vertEdgeOffsets);
    m.m_vertEdges.resize(m.m_edgeVerts.size());
    m.m_vertNeighbors.resize(m.m_edgeVerts.size());
    fill.assign(m.m_vertEdgeOffsets.begin(), m.m_vertEdgeOffsets.end() - 1);
    for (int32_t e = 0; e < ne; ++e) {
        auto [a, b] = m.EdgeVertices(e);
        auto ia = static_cast<size_t>(fill[static_cast<size_t>(a)]++);
        m.m_vertEdges[ia] = e;
        m.m_vertNeighbors[ia] = b;
        auto ib = static_cast<size_t>(fill[static_cast<size_t>(b)]++);
        m.m_vertEdges[ib] = e;
        m.m_vertNeighbors[ib] = a;
    }

    // Vertex -> polygons and samples, in corner order.
    m.m_vertPolyOffsets.assign(static_cast<size_t>(nv) + 1, 0);
    for (int32_t v : m.m_polyVerts) ++m.m_vertPolyOffsets[static_cast<size_t>(v)];
    CountsToOffsets(m.m_vertPolyOffsets);
    m.m_vertPolys.resize(corners);
    m.m_vertSamples.resize(corners);
    fill.assign(m.m_vertPolyOffsets.begin(), m.m_vertPolyOffsets.end() - 1);
    for (int32_t p = 0; p < np; ++p)
        for (int32_t c = m.m_polyOffsets[static_cast<size_t>(p)]; c < m.m_polyOffsets[static_cast<size_t>(p) + 1]; ++c) {
            auto i = static_cast<size_t>(fill[static_cast<size_t>(m.m_polyVerts[static_cast<size_t>(c)])]++);
            m.m_vertPolys[i] = p;
            m.m_vertSamples[i] = c;
        }

    // Edge -> polygons.
    m.m_edgePolyOffsets.assign(static_cast<size_t>(ne) + 1, 0);
    for (int32_t e : m.m_cornerEdge) ++m.m_edgePolyOffsets[static_cast<size_t>(e)];
    CountsToOffsets(m.m_edgePolyOffsets);
    m.m_edgePolys.resize(corners);
    fill.assign(m.m_edgePolyOffsets.begin(), m.m_edgePolyOffsets.end() - 1);
    for (int32_t p = 0; p < np; ++p)
        for (int32_t c = m.m_polyOffsets[static_cast<size_t>(p)]; c < m.m_polyOffsets[static_cast<size_t>(p) + 1]; ++c)
            m.m_edgePolys[static_cast<size_t>(fill[static_cast<size_t>(m.m_cornerEdge[static_cast<size_t>(c)])]++)] = p;
    return m;
}

int32_t PolyMesh::SamplePolygon(int32_t s) const {
    auto it = std::upper_bound(m_polyOffsets.begin(), m_polyOffsets.end(), s);
    return static_cast<int32_t>(it - m_polyOffsets.begin()) - 1;
}

void PolyMesh::SetPositions(std::span<const Vec3> positions) {
    if (positions.size() != m_points.size())
        throw std::invalid_argument("SetPositions: " + std::to_string(positions.size()) + " positions for " +
                                    std::to_string(m_points.size()) + " points");
    std::copy(positions.begin(), positions.end(), m_points.begin());
    m_normalsDirty = true;
}

void PolyMesh::ComputeNormals() const {
    const int32_t np = PolygonCount(), nv = VertexCount();
    m_polygonNormals.assign(static_cast<size_t>(np), Vec3{});
    m_vertexNormals.assign(static_cast<size_t>(nv), Vec3{});
    for (int32_t p = 0; p < np; ++p) {
        auto vs = PolygonVertices(p);
        Vec3 n;
        for (size_t i = 0; i < vs.size(); ++i) {
            const Vec3& a = m_points[static_cast<size_t>(vs[i])];
            const Vec3& b = m_points[static_cast<size_t>(vs[(i + 1) % vs.size()])];
            n.x += (a.y - b.y) * (a.z + b.z);
            n.y += (a.z - b.z) * (a.x + b.x);
            n.z += (a.x - b.x) * (a.y + b.y);
        }
        // Newell's vector is twice the area along the normal: summing it weights by area.
        for (int32_t v : vs) {
            Vec3& vn = m_vertexNormals[static_cast<size_t>(v)];
            vn.x += n.x;
            vn.y += n.y;
            vn.z += n.z;
        }
        double len = std::sqrt(n.x * n.x + n.y * n.y + n.z * n.z);
        if (len > 0) m_polygonNormals[static_cast<size_t>(p)] = {n.x / len, n.y / len, n.z / len};
    }
    for (Vec3& n : m_vertexNormals) {
        double len = std::sqrt(n.x * n.x + n.y * n.y + n.z * n.z);
        n = len > 0 ? Vec3{n.x / len, n.y / len, n.z / len} : Vec3{};
    }
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
    if (m_vertStamp.size() != m_points.size()) m_vertStamp.assign(m_points.size(), 0);
    if (m_edgeStamp.size() != static_cast<size_t>(EdgeCount())) m_edgeStamp.assign(static_cast<size_t>(EdgeCount()), 0);
    if (m_polyStamp.size() != static_cast<size_t>(PolygonCount())) m_polyStamp.assign(static_cast<size_t>(PolygonCount()), 0);
    if (++m_epoch == 0) {  // wrapped: old marks could be mistaken for new ones
        std::fill(m_vertStamp.begin(), m_vertStamp.end(), 0);
        std::fill(m_edgeStamp.begin(), m_edgeStamp.end(), 0);
        std::fill(m_polyStamp.begin(), m_polyStamp.end(), 0);
        m_epoch = 1;
    }
    return m_epoch;
}

void PolyMesh::GrowVertices(std::vector<int32_t>& out, size_t ringStart, int32_t d) const {
    const uint32_t epoch = m_epoch;
    size_t ringEnd = out.size();
    for (int32_t ring = 2; ring <= d && ringStart < ringEnd; ++ring) {
        for (size_t i = ringStart; i < ringEnd; ++i)
            for (int32_t n : VertexNeighbors(out[i]))
                if (m_vertStamp[static_cast<size_t>(n)] != epoch) {
                    m_vertStamp[static_cast<size_t>(n)] = epoch;
                    out.push_back(n);
                }
        ringStart = ringEnd;
        ringEnd = out.size();
    }
}

void PolyMesh::IncidentEdges(std::span<const int32_t> vertices, uint32_t epoch, std::vector<int32_t>& out) const {
    for (int32_t v : vertices)
        for (int32_t e : VertexEdges(v))
            if (m_edgeStamp[static_cast<size_t>(e)] != epoch) {
                m_edgeStamp[static_cast<size_t>(e)] = epoch;
                out.push_back(e);
            }
}

void PolyMesh::IncidentPolygons(std::span<const int32_t> vertices, uint32_t epoch, std::vector<int32_t>& out) const {
    for (int32_t v : vertices)
        for (int32_t p : VertexPolygons(v))
            if (m_polyStamp[static_cast<size_t>(p)] != epoch) {
                m_polyStamp[static_cast<size_t>(p)] = epoch;
                out.push_back(p);
            }
}

void PolyMesh::VertexNeighborVertices(int32_t v, int32_t d, std::vector<int32_t>& out) const {
    out.clear();
    if (d < 1) return;
    uint32_t epoch = NewEpoch();
    m_vertStamp[static_cast<size_t>(v)] = epoch;
    for (int32_t n : VertexNeighbors(v))
        if (m_vertStamp[static_cast<size_t>(n)] != epoch) {
            m_vertStamp[static_cast<size_t>(n)] = epoch;
            out.push_back(n);
        }
    GrowVertices(out, 0, d);
}

void PolyMesh::VertexNeighborEdges(int32_t v, int32_t d, std::vector<int32_t>& out) const {
    std::vector<int32_t> verts;
    if (d > 1) VertexNeighborVertices(v, d - 1, verts);
    verts.insert(verts.begin(), v);
    out.clear();
    if (d < 1) return;
    IncidentEdges(verts, NewEpoch(), out);
}

void PolyMesh::VertexNeighborPolygons(int32_t v, int32_t d, std::vector<int32_t>& out) const {
    std::vector<int32_t> verts;
    if (d > 1) VertexNeighborVertices(v, d - 1, verts);
    verts.insert(verts.begin(), v);
    out.clear();
    if (d < 1) return;
    IncidentPolygons(verts, NewEpoch(), out);
}

void PolyMesh::EdgeNeighborVertices(int32_t e, int32_t d, std::vector<int32_t>& out) const {
    out.clear();
    if (d < 1) return;
    uint32_t epoch = NewEpoch();
    auto [a, b] = EdgeVertices(e);
    for (int32_t x : {a, b}) {
        m_vertStamp[static_cast<size_t>(x)] = epoch;
        out.push_back(x);
    }
    GrowVertices(out, 0, d);
}

void PolyMesh::EdgeNeighborEdges(int32_t e, int32_t d, std::vector<int32_t>& out) const {
    out.clear();
    if (d < 1) return;
    uint32_t epoch = NewEpoch();
    m_edgeStamp[static_cast<size_t>(e)] = epoch;
    std::vector<int32_t> frontier{e}, ends;
    for (int32_t ring = 1; ring <= d && !frontier.empty(); ++ring) {
        size_t start = out.size();
        for (int32_t f : frontier) {
            auto [a, b] = EdgeVertices(f);
            ends = {a, b};
            IncidentEdges(ends, epoch, out);
        }
        frontier.assign(out.begin() + static_cast<std::ptrdiff_t>(start), out.end());
    }
}

void PolyMesh::EdgeNeighborPolygons(int32_t e, int32_t d, std::vector<int32_t>& out) const {
    out.clear();
    if (d < 1) return;
    if (d == 1) {
        auto ps = EdgePolygons(e);
        out.assign(ps.begin(), ps.end());
        return;
    }
    std::vector<int32_t> verts;
    EdgeNeighborVertices(e, d - 1, verts);
    IncidentPolygons(verts, NewEpoch(), out);
}

void PolyMesh::PolygonNeighborVertices(int32_t p, int32_t d, std::vector<int32_t>& out) const {
    int32_t one[1] = {p};
    PolygonsNeighborVertices(one, d, out);
}

void PolyMesh::PolygonsNeighborVertices(std::span<const int32_t> polygons, int32_t d, std::vector<int32_t>& out) const {
    out.clear();
    if (d < 1) return;
    uint32_t epoch = NewEpoch();
    for (int32_t p : polygons)
        for (int32_t v : PolygonVertices(p))
            if (m_vertStamp[static_cast<size_t>(v)] != epoch) {
                m_vertStamp[static_cast<size_t>(v)] = epoch;
                out.push_back(v);
            }
    GrowVertices(out, 0, d);
}

void PolyMesh::PolygonNeighborEdges(int32_t p, int32_t d, std::vector<int32_t>& out) const {
    out.clear();
    if (d < 1) return;
    std::vector<int32_t> verts;
    if (d > 1) PolygonNeighborVertices(p, d - 1, verts);
    uint32_t epoch = NewEpoch();
    for (int32_t e : PolygonEdges(p)) {
        m_edgeStamp[static_cast<size_t>(e)] = epoch;
        out.push_back(e);
    }
    IncidentEdges(verts, epoch, out);
}

void PolyMesh::PolygonNeighborPolygons(int32_t p, int32_t d, std::vector<int32_t>& out) const {
    out.clear();
    if (d < 1) return;
    uint32_t epoch = NewEpoch();
    m_polyStamp[static_cast<size_t>(p)] = epoch;
    std::vector<int32_t> frontier{p};
    for (int32_t ring = 1; ring <= d && !frontier.empty(); ++ring) {
        size_t start = out.size();
        for (int32_t f : frontier)
            for (int32_t e : PolygonEdges(f))
                for (int32_t q : EdgePolygons(e))
                    if (m_polyStamp[static_cast<size_t>(q)] != epoch) {
                        m_polyStamp[static_cast<size_t>(q)] = epoch;
                        out.push_back(q);
                    }
        frontier.assign(out.begin() + static_cast<std::ptrdiff_t>(start), out.end());
    }
}

size_t PolyMesh::MemoryBytes() const {
    auto bytes = [](const auto& v) { return v.capacity() * sizeof(v[0]); };
    return bytes(m_points) + bytes(m_polyOffsets) + bytes(m_polyVerts) + bytes(m_cornerEdge) + bytes(m_edgeVerts) +
           bytes(m_vertEdgeOffsets) + bytes(m_vertEdges) + bytes(m_vertNeighbors) + bytes(m_vertPolyOffsets) +
           bytes(m_vertPolys) + bytes(m_vertSamples) + bytes(m_edgePolyOffsets) + bytes(m_edgePolys) +
           bytes(m_vertexNormals) + bytes(m_polygonNormals) + bytes(m_vertStamp) + bytes(m_edgeStamp) +
           bytes(m_polyStamp);
}

}  // namespace standin::mesh
