#include "shell/host/mesh_neighbours.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <unordered_set>

#include "xsi_math.h"
#include "xsi_polygonmesh.h"

namespace orbelin {

namespace {

// Where each well-formed polygon's corners start in the data, and how many it has.
struct Polygon {
    LONG first, count;
};

std::vector<Polygon> Polygons(const MeshTopology& topology) {
    std::vector<Polygon> out;
    const XSI::CLongArray& data = topology.polygons;
    const LONG size = data.GetCount();
    for (LONG i = 0; i < size;) {
        const LONG count = data[i];
        if (count < 0 || count > size - i - 1) break;
        for (LONG c = 0; c < count; ++c)
            if (data[i + 1 + c] < 0 || data[i + 1 + c] >= topology.vertexCount) return out;
        out.push_back({i + 1, count});
        i += 1 + count;
    }
    return out;
}

// Packs per-vertex counts into offsets (count + 1 entries) and sizes the indices.
void Pack(std::vector<uint32_t>& counts, PackedNeighbours& out) {
    out.offsets.assign(counts.size() + 1, 0);
    for (size_t v = 0; v < counts.size(); ++v) out.offsets[v + 1] = out.offsets[v] + counts[v];
    out.indices.resize(out.offsets.back());
}

}  // namespace

bool MeshTopology::operator==(const MeshTopology& other) const {
    if (vertexCount != other.vertexCount || polygons.GetCount() != other.polygons.GetCount()) return false;
    return std::equal(polygons.GetArray(), polygons.GetArray() + polygons.GetCount(), other.polygons.GetArray());
}

bool ReadTopology(const XSI::Geometry& geometry, MeshTopology& out) {
    XSI::MATH::CVector3Array points;
    return ReadTopology(geometry, out, points);
}

bool ReadTopology(const XSI::Geometry& geometry, MeshTopology& out, XSI::MATH::CVector3Array& points) {
    out.vertexCount = 0;
    out.polygons.Clear();
    if (geometry.GetRef().GetClassID() != XSI::siPolygonMeshID) return false;
    if (XSI::PolygonMesh(geometry.GetRef()).Get(points, out.polygons) != XSI::CStatus::OK) {
        out = MeshTopology();
        return false;
    }
    out.vertexCount = points.GetCount();
    return true;
}

void EdgeNeighbours(const MeshTopology& topology, PackedNeighbours& out) {
    const size_t vertices = static_cast<size_t>(std::max<LONG>(topology.vertexCount, 0));
    const XSI::CLongArray& data = topology.polygons;
    const std::vector<Polygon> polygons = Polygons(topology);
    // Edges are numbered as first walked, so a vertex's edges in increasing number are its
    // neighbours in the order the corners touching it (walked in order) first name them: every
    // corner lists its far end at both of its ends, then repeats are dropped. No edge table.
    std::vector<uint32_t> counts(vertices, 0);
    for (const Polygon& p : polygons)
        for (LONG c = 0; c < p.count; ++c) {
            auto a = static_cast<uint32_t>(data[p.first + c]), b = static_cast<uint32_t>(data[p.first + (c + 1) % p.count]);
            if (a != b) ++counts[a], ++counts[b];
        }
    Pack(counts, out);
    std::vector<uint32_t> fill(out.offsets.begin(), out.offsets.end() - 1);
    for (const Polygon& p : polygons)
        for (LONG c = 0; c < p.count; ++c) {
            auto a = static_cast<uint32_t>(data[p.first + c]), b = static_cast<uint32_t>(data[p.first + (c + 1) % p.count]);
            if (a == b) continue;
            out.indices[fill[a]++] = b;
            out.indices[fill[b]++] = a;
        }
    // Compacted in place, each vertex's first mentions kept: mark[u] == v + 1 when u is
    // already in v's list.
    std::vector<uint32_t> mark(vertices, 0);
    uint32_t write = 0;
    for (size_t v = 0; v < vertices; ++v) {
        const auto self = static_cast<uint32_t>(v + 1);
        const uint32_t begin = out.offsets[v], end = out.offsets[v + 1];
        out.offsets[v] = write;
        for (uint32_t i = begin; i < end; ++i) {
            const uint32_t u = out.indices[i];
            if (mark[u] == self) continue;
            mark[u] = self;
            out.indices[write++] = u;
        }
    }
    if (vertices > 0) out.offsets[vertices] = write;
    out.indices.resize(write);
}

namespace {

// The polygons around each vertex, in increasing index, each once (a polygon naming a vertex
// twice is around it once).
void PolygonsAround(const MeshTopology& topology, const std::vector<Polygon>& polygons, PackedNeighbours& around) {
    const size_t vertices = static_cast<size_t>(std::max<LONG>(topology.vertexCount, 0));
    const XSI::CLongArray& data = topology.polygons;
    // last[v] = the polygon (+ 1) that last listed v.
    std::vector<uint32_t> counts(vertices, 0), last(vertices, 0);
    for (size_t k = 0; k < polygons.size(); ++k)
        for (LONG c = 0; c < polygons[k].count; ++c) {
            const auto v = static_cast<size_t>(data[polygons[k].first + c]);
            if (last[v] != k + 1) last[v] = static_cast<uint32_t>(k + 1), ++counts[v];
        }
    Pack(counts, around);
    std::vector<uint32_t> fill(around.offsets.begin(), around.offsets.end() - 1);
    std::fill(last.begin(), last.end(), 0u);
    for (size_t k = 0; k < polygons.size(); ++k)
        for (LONG c = 0; c < polygons[k].count; ++c) {
            const auto v = static_cast<size_t>(data[polygons[k].first + c]);
            if (last[v] == k + 1) continue;
            last[v] = static_cast<uint32_t>(k + 1);
            around.indices[fill[v]++] = static_cast<uint32_t>(k);
        }
}

// The well-formed polygons and, for each vertex, the polygons around it.
struct Around {
    const XSI::CLongArray& data;
    std::vector<Polygon> polygons;
    PackedNeighbours around;
    size_t vertices;

    explicit Around(const MeshTopology& topology)
        : data(topology.polygons), polygons(Polygons(topology)),
          vertices(static_cast<size_t>(std::max<LONG>(topology.vertexCount, 0))) {
        PolygonsAround(topology, polygons, around);
    }
    // Calls visit(u) for every corner u of every polygon around v: polygons in increasing
    // index, corners in order.
    template <class Visit>
    void ForCorners(size_t v, Visit&& visit) const {
        for (uint32_t i = around.offsets[v]; i < around.offsets[v + 1]; ++i) {
            const Polygon& p = polygons[around.indices[i]];
            for (LONG c = 0; c < p.count; ++c) visit(static_cast<uint32_t>(data[p.first + c]));
        }
    }
};

}  // namespace

void FaceNeighbours(const MeshTopology& topology, PackedNeighbours& out) {
    const Around around(topology);
    const size_t vertices = around.vertices;
    // The corners of those polygons, each vertex once: a mark per vertex holding the last vertex
    // (+ 1) whose list took it.
    std::vector<uint32_t> mark(vertices, 0);
    out.offsets.assign(vertices + 1, 0);
    out.indices.clear();
    for (size_t v = 0; v < vertices; ++v) {
        const auto self = static_cast<uint32_t>(v + 1);
        mark[v] = self;
        around.ForCorners(v, [&](uint32_t u) {
            if (mark[u] == self) return;
            mark[u] = self;
            out.indices.push_back(u);
        });
        out.offsets[v + 1] = static_cast<uint32_t>(out.indices.size());
    }
}

void CornerNeighbours(const MeshTopology& topology, PackedNeighbours& out) {
    const Around around(topology);
    const size_t vertices = around.vertices;
    // One pass, into storage reserved for the most it can take (each corner of a polygon lists
    // the others): growing a million vertices' dozen entries by doubling would touch twice the
    // memory. The lists grow with the square of a polygon's size; past what their offsets can
    // count, the mesh is refused rather than listed wrong.
    size_t most = 0;
    for (const Polygon& p : around.polygons) most += static_cast<size_t>(p.count) * static_cast<size_t>(p.count - 1);
    if (most > std::numeric_limits<uint32_t>::max())
        throw std::length_error("the polygons of this mesh have too many corners to list around each point");
    out.indices.clear();
    out.indices.reserve(most);
    out.offsets.assign(vertices + 1, 0);
    for (size_t v = 0; v < vertices; ++v) {
        around.ForCorners(v, [&](uint32_t u) {
            if (u != v) out.indices.push_back(u);
        });
        out.offsets[v + 1] = static_cast<uint32_t>(out.indices.size());
    }
}

}  // namespace orbelin
