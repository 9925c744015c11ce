// The Tension Map on plain arrays: how far each vertex's surroundings are spread compared with a
// reference pose.
//
// Spread of a vertex v: S(v) / c(v), where S(v) sums, over every polygon around v and every
// corner u of that polygon, |pos(u) - pos(v)|^2, counting only terms strictly above 0, and c(v)
// is the number of terms counted. A vertex shared by two polygons around v is counted once per
// polygon; v itself, and any vertex lying exactly on it, adds nothing. A vertex without a
// polygon around it (or whose corners all lie on it) has the spread 0/0, a NaN.
//
// Tension: t(v) = (spread(v) / ref(v) - 1) * factor, then post-processed (common/
// post_process.h): clamp as it is produced, or change range over every vertex of the mesh (not
// only the cluster's). A NaN or infinite tension (no polygon, a reference of 0 or NaN) is not
// guarded: it goes through the comparisons as it is.
//
// The neighbourhoods are packed lists: the list of v holds the corners of its polygons, polygon
// after polygon, v's own corners left out (they add nothing), so that the topology is walked once
// when it changes and not at every evaluation. The vertices are split over the cores; each
// vertex's terms are summed in its list's order, so with lists in the host's order (polygons
// around v as Vertex::GetNeighborPolygons gives them, corners as PolygonFace::GetVertices gives
// them) every value is bit for bit the one the per-vertex definition gives. In another order the
// sums differ by rounding only: at most c(v) * 2^-53 of S(v) relative, far below 1e-12 for the
// tens of terms a vertex has.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "common/post_process.h"

namespace orbelin::tension {

// The list of v is indices[offsets[v] .. offsets[v+1]). Sizes: offsets has vertexCount + 1
// non-decreasing entries, offsets[vertexCount] <= indices.size(), every index < vertexCount.
// Anything else is refused with std::invalid_argument.
struct Neighbourhoods {
    size_t vertexCount = 0;
    std::span<const uint32_t> offsets;
    std::span<const uint32_t> indices;
};

struct Options {
    double factor = 1.0;
    int postProcess = kPostClamp;  // 0 none, 1 clamp, 2 change range
    double min = -1.0, max = 1.0;
};

// `positions`: x, y, z of every vertex (3 x vertexCount values); `spreads`: one per vertex.
// Sizes other than those are refused with std::invalid_argument.
void Spreads(const Neighbourhoods& neighbourhoods, std::span<const double> positions, std::span<double> spreads);

// The same spreads straight from the polygons, for a single evaluation that would not reuse
// neighbourhoods: each polygon adds its terms to each of its corners, polygons in order and
// corners in order, which is the order the per-vertex definition meets them in, so the values
// are the same bit for bit (for polygons naming each vertex once, as meshes do). `polygons`:
// per polygon its corner count then its corners' vertex indices; the data is read up to the
// first polygon that runs past its end or names no vertex. Nothing vertex-sized is built but
// the counts.
void SpreadsOfPolygons(size_t vertexCount, std::span<const int32_t> polygons, std::span<const double> positions,
                       std::span<double> spreads);

// The post-processed tension of every vertex into `tensions` (one per vertex), against
// `reference` (one spread per vertex); gives the range seen (for change range; the sentinels
// when another post-process is chosen).
RangeSeen Tensions(const Neighbourhoods& neighbourhoods, std::span<const double> positions,
                   std::span<const double> reference, const Options& options, std::span<double> tensions);

// The weights of a cluster: out[k] = tensions[cluster[k]], then, for change range when the
// range seen is not a single value, remapped onto [min, max]. An element naming no vertex
// reads 0 and is left at 0. `out` has one entry per element.
void ClusterWeights(std::span<const double> tensions, std::span<const int32_t> cluster, const Options& options,
                    const RangeSeen& seen, std::span<double> out);

}  // namespace orbelin::tension
