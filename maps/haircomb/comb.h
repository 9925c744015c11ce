// The gradient hair comb: every strand of a hair laid down along the direction in which a
// gradient rises on the emitter mesh, shaped by a height profile, and rescaled to the polyline
// length it had.
//
// A strand is a fixed polyline of kStrandPoints points; strand i owns points 14i .. 14i+13 and
// grows from one emitter vertex, its root.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "common/function_curve.h"

namespace orbelin::haircomb {

inline constexpr size_t kStrandPoints = 14;

// A root that names no emitter vertex: the strand is left as it is.
inline constexpr int32_t kNoRoot = -1;

// The emitter mesh as the comb reads it.
//   positions, normals: 3 doubles (x, y, z) per vertex, vertexCount vertices
//   offsets: vertexCount + 1 entries; neighbours[offsets[v] .. offsets[v+1]) are the vertices
//            one edge away from v, in the host's order
struct Emitter {
    size_t vertexCount = 0;
    std::span<const double> positions, normals;
    std::span<const uint32_t> offsets, neighbours;
};

struct Options {
    double high = 1.0;   // CombHigh: height of the comb along the normal
    double width = 1.0;  // CombWidth: length of the comb along the surface
    // The height at each point of a strand: the Shape curve at 100 (k + 1) / 14, over 100.
    std::array<double, kStrandPoints> profile{};
};

// profile[k] = shape(100 (k + 1) / 14) / 100.
std::array<double, kStrandPoints> Profile(const FunctionCurve& shape);

// The root of each of `strandCount` strands. When the strand count is the vertex count, strand
// i grows from vertex i. Otherwise from the vertices of the cluster's polygons, polygons in
// cluster order and each polygon's corners in order, every vertex the first time it is met;
// `polygonData` holds the mesh's polygons as the host gives them (a count, then that many
// vertex indices, per polygon). Strands past that list, and every strand when `hasCluster` is
// false, take kNoRoot, except that without a cluster they grow from vertex 0 (when the mesh
// has one). Polygons or corners naming nothing are passed over.
std::vector<int32_t> StrandRoots(size_t strandCount, size_t vertexCount, std::span<const int32_t> polygonData,
                                 bool hasCluster, std::span<const int32_t> clusterPolygons);

// The gradient at each of `vertexCount` vertices: weights[i] at vertex i when there is one
// weight per vertex; otherwise 0 everywhere but at the cluster's elements, which take their
// weights (`elements` one per weight; an element naming no vertex is passed over).
void GradientPerVertex(size_t vertexCount, std::span<const double> weights, std::span<const int32_t> elements,
                       std::span<double> out);

// Combs the strands in place. points: 3 doubles per point, kStrandPoints points per strand, one
// strand per root; gradient: one per emitter vertex.
// For each strand with root r: among r's neighbours the greatest gradient (>= from -2) and the
// smallest (<= from 2); when they are equal the strand is left as it is. `up` and `down` are the
// average positions of the neighbours at the greatest and at the smallest; the comb's tangent
// t is ((n x (up - down)) x n), normalised unless zero, n the normal at r. Point k (s = (k+1)/14)
// goes to t (s width) + n (high profile[k]) from the root, and the strand is scaled about the
// root to the polyline length it had from the root.
// Defined where the literal arithmetic would divide by zero: a root without neighbours, or
// whose greatest or smallest gradient no neighbour has (gradients beyond -2..2), leaves its
// strand as it is; a comb of length 0 puts every point on the root.
// Returns the number of strands combed. The strands are split over the cores.
size_t Comb(const Emitter& emitter, std::span<const int32_t> roots, std::span<const double> gradient, const Options& options,
            std::span<double> points);

}  // namespace orbelin::haircomb
