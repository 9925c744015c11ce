// Metric distances for the Gradient Map, on plain arrays.
//
// Both give, per vertex, the distance from the nearest root, +infinity where no root reaches:
// - EdgePathDistances: the shortest path along the edges (neighbour lists), each edge as long
//   as the straight line between its two points (Dijkstra).
// - GeodesicDistances: a distance across the faces by the heat method. The polygons are cut
//   into fans of triangles from their first corner; with the cotangent Laplacian L and the
//   lumped mass M (a third of the area of each triangle around a vertex), one implicit heat
//   step (M + t L) u = roots' indicator with t = (mean edge length)^2, the heat's gradient per
//   triangle normalised and turned away from the roots, its divergence, and the Poisson
//   equation L d = -div solved with d = 0 at the roots. Both systems are solved by conjugate
//   gradients (Jacobi preconditioner), the Poisson one starting from the edge-path distances.
//   Only vertices joined to a root through triangles are reached; small negative values left
//   by the solve read 0.
//
// Restriction: as in the ring walk, when a root lies in the target list only target vertices
// are walked (edges, or triangles whose corners are all targets).
//
// Refused with std::invalid_argument: indices naming no vertex, neighbour lists or polygon
// data that do not match the vertex count, fewer than 3 coordinates per vertex, and a point
// or an edge length that is not finite where a distance uses it.
//
// NormaliseDistances turns distances into the Gradient Map's values for the target list:
// distance / largest finite distance; unreached vertices read 0 (as in the ring walk, where
// they keep level 0), and when no vertex is farther than 0 (only roots, or none) all read 0.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "common/neighbours.h"

namespace orbelin::gradient {

enum class DistanceMode : int { Rings = 0, EdgePaths = 1, Geodesic = 2 };

struct MetricInput {
    NeighbourLists neighbours;                 // edge neighbours of every vertex
    std::span<const double> points;            // 3 per vertex (x, y, z)
    std::span<const uint32_t> polygonOffsets;  // polygon p has corners [offsets[p], offsets[p+1])
    std::span<const uint32_t> corners;         // vertex index per corner
    std::span<const int32_t> roots;
    std::span<const int32_t> targets;
};

// Called now and then during the geodesic solves; returning false stops them (the result is
// then empty).
using KeepGoing = std::function<bool()>;

std::vector<double> EdgePathDistances(const MetricInput& input);
std::vector<double> GeodesicDistances(const MetricInput& input, const KeepGoing& keepGoing = {});

// One value per target; `largest` receives the divisor (0 when nothing is farther than 0).
std::vector<double> NormaliseDistances(std::span<const double> distances, std::span<const int32_t> targets,
                                       double* largest = nullptr);

}  // namespace orbelin::gradient
