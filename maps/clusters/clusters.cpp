#include "clusters/clusters.h"

#include <algorithm>
#include <limits>

namespace orbelin::clusters {

namespace {

void Cover(std::vector<uint8_t>& covered, int64_t v) {
    if (v >= 0 && static_cast<uint64_t>(v) < covered.size()) covered[static_cast<size_t>(v)] = 1;
}

// Where each polygon starts in the host's polygon array; cut at the first polygon whose
// count runs past the end.
std::vector<size_t> PolygonStarts(std::span<const int32_t> polygons) {
    std::vector<size_t> starts;
    for (size_t at = 0; at < polygons.size();) {
        const int32_t count = polygons[at];
        if (count < 0 || static_cast<size_t>(count) > polygons.size() - at - 1) break;
        starts.push_back(at);
        at += 1 + static_cast<size_t>(count);
    }
    return starts;
}

}  // namespace

std::vector<double> ClustersMap(size_t vertexCount, std::span<const int32_t> polygons,
                                std::span<const ClusterElements> clusters, int64_t cropping) {
    std::vector<uint8_t> covered(vertexCount, 0);
    const std::vector<size_t> starts = PolygonStarts(polygons);
    for (const ClusterElements& c : clusters) {
        switch (c.kind) {
            case Kind::Points:
            case Kind::Edges:
                for (int32_t v : c.indices) Cover(covered, v);
                break;
            case Kind::Polygons:
                for (int32_t p : c.indices) {
                    if (p < 0 || static_cast<size_t>(p) >= starts.size()) continue;
                    const size_t at = starts[static_cast<size_t>(p)];
                    for (int32_t k = 0; k < polygons[at]; ++k) Cover(covered, polygons[at + 1 + static_cast<size_t>(k)]);
                }
                break;
            case Kind::Other: break;
        }
    }
    std::vector<double> weights(vertexCount, 0.0);
    if (cropping == 0) {
        for (size_t v = 0; v < vertexCount; ++v) weights[v] = covered[v] ? 1.0 : 0.0;
        return weights;
    }
    const bool band = cropping < 0;
    // |c| past the vertex count reaches as far as the vertex count does (and -INT64_MIN has no value).
    const uint64_t rings = std::min<uint64_t>(cropping == std::numeric_limits<int64_t>::min()
                                                  ? std::numeric_limits<uint64_t>::max()
                                                  : static_cast<uint64_t>(band ? -cropping : cropping),
                                              vertexCount);
    // Each vertex's covered neighbours across the polygons' sides: the walk only ever steps
    // onto covered vertices. A side shared by two polygons is listed twice, which it does not mind.
    std::vector<uint32_t> offsets(vertexCount + 1, 0), neighbours;
    auto sides = [&](auto&& take) {
        for (size_t at : starts) {
            const int32_t n = polygons[at];
            for (int32_t k = 0; k < n; ++k) {
                const int32_t a = polygons[at + 1 + static_cast<size_t>(k)], b = polygons[at + 1 + static_cast<size_t>((k + 1) % n)];
                if (a == b || a < 0 || b < 0 || static_cast<size_t>(a) >= vertexCount || static_cast<size_t>(b) >= vertexCount) continue;
                take(static_cast<uint32_t>(a), static_cast<uint32_t>(b));
            }
        }
    };
    sides([&](uint32_t a, uint32_t b) {
        offsets[a + 1] += covered[b];
        offsets[b + 1] += covered[a];
    });
    for (size_t v = 0; v < vertexCount; ++v) offsets[v + 1] += offsets[v];
    neighbours.resize(offsets[vertexCount]);
    std::vector<uint32_t> fill(offsets.begin(), offsets.end() - 1);
    sides([&](uint32_t a, uint32_t b) {
        if (covered[b]) neighbours[fill[a]++] = b;
        if (covered[a]) neighbours[fill[b]++] = a;
    });
    // Depth from the nearest uncovered vertex, for the covered vertices within reach.
    std::vector<uint32_t> front, next;
    std::vector<uint8_t> border(vertexCount, 0);
    for (size_t v = 0; v < vertexCount; ++v)
        if (!covered[v] && offsets[v + 1] > offsets[v]) front.push_back(static_cast<uint32_t>(v));
    const std::vector<uint32_t>& neighbourOffsets = offsets;
    for (uint64_t depth = 1; depth <= rings && !front.empty(); ++depth) {
        next.clear();
        for (uint32_t v : front) {
            for (uint32_t k = neighbourOffsets[v]; k < neighbourOffsets[v + 1]; ++k) {
                const uint32_t w = neighbours[k];
                if (border[w]) continue;
                border[w] = 1;
                next.push_back(w);
            }
        }
        front.swap(next);
    }
    for (size_t v = 0; v < vertexCount; ++v)
        weights[v] = band ? (border[v] ? 1.0 : 0.0) : (covered[v] && !border[v] ? 1.0 : 0.0);
    return weights;
}

}  // namespace orbelin::clusters
