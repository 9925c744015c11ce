#include "shell/host/mesh_neighbours.h"

#include <algorithm>

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
    out = MeshTopology();
    if (geometry.GetRef().GetClassID() != XSI::siPolygonMeshID) return false;
    XSI::MATH::CVector3Array points;
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

void FaceNeighbours(const MeshTopology& topology, PackedNeighbours& out) {
    const size_t vertices = static_cast<size_t>(std::max<LONG>(topology.vertexCount, 0));
    const XSI::CLongArray& data = topology.polygons;
    const std::vector<Polygon> polygons = Polygons(topology);
    // The polygons around each vertex, in increasing index.
    PackedNeighbours around;
    std::vector<uint32_t> counts(vertices, 0);
    for (const Polygon& p : polygons)
        for (LONG c = 0; c < p.count; ++c) ++counts[static_cast<size_t>(data[p.first + c])];
    Pack(counts, around);
    std::vector<uint32_t> fill(around.offsets.begin(), around.offsets.end() - 1);
    for (size_t k = 0; k < polygons.size(); ++k)
        for (LONG c = 0; c < polygons[k].count; ++c) around.indices[fill[static_cast<size_t>(data[polygons[k].first + c])]++] = static_cast<uint32_t>(k);
    // Then their corners, each vertex once: a mark per vertex holding the last vertex (+ 1)
    // whose list took it.
    std::vector<uint32_t> mark(vertices, 0);
    out.offsets.assign(vertices + 1, 0);
    out.indices.clear();
    for (size_t v = 0; v < vertices; ++v) {
        const auto self = static_cast<uint32_t>(v + 1);
        mark[v] = self;
        for (uint32_t i = around.offsets[v]; i < around.offsets[v + 1]; ++i) {
            const Polygon& p = polygons[around.indices[i]];
            for (LONG c = 0; c < p.count; ++c) {
                const auto u = static_cast<uint32_t>(data[p.first + c]);
                if (mark[u] == self) continue;
                mark[u] = self;
                out.indices.push_back(u);
            }
        }
        out.offsets[v + 1] = static_cast<uint32_t>(out.indices.size());
    }
}

}  // namespace orbelin
