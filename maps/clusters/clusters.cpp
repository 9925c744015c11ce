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
                                std::span<const uint32_t> neighbourOffsets, std::span<const uint32_t> neighbours,
                                std::span<const ClusterElements> clusters, int64_t cropping) {
    std::vector<uint8_t> covered(vertexCount, 0);
    std::vector<size_t> starts;
    bool startsMade = false;
    for (const ClusterElements& c : clusters) {
        switch (c.kind) {
            case Kind::Points:
            case Kind::Edges:
                for (int32_t v : c.indices) Cover(covered, v);
                break;
            case Kind::Polygons:
                if (!startsMade) {
                    starts = PolygonStarts(polygons);
                    startsMade = true;
                }
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
    const bool lists = neighbourOffsets.size() == vertexCount + 1;
    // Depth from the nearest uncovered vertex, for the covered vertices within reach.
    std::vector<uint32_t> front, next;
    std::vector<uint8_t> border(vertexCount, 0);
    for (size_t v = 0; v < vertexCount; ++v)
        if (!covered[v]) front.push_back(static_cast<uint32_t>(v));
    for (uint64_t depth = 1; depth <= rings && !front.empty() && lists; ++depth) {
        next.clear();
        for (uint32_t v : front) {
            const uint32_t end = std::min<uint32_t>(neighbourOffsets[v + 1], static_cast<uint32_t>(neighbours.size()));
            for (uint32_t k = neighbourOffsets[v]; k < end; ++k) {
                const uint32_t w = neighbours[k];
                if (w >= vertexCount || !covered[w] || border[w]) continue;
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
