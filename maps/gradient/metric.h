// Metric distances for the Gradient Map, on plain arrays.
//
// Both give, per vertex, the distance from the nearest root, +infinity where no root reaches:
// - EdgePathDistances: the shortest path along the edges (neighbour lists), each edge as long
//   as the straight line between its two points (Dijkstra).
// - GeodesicDistances: a distance across the faces by fast marching that carries, with each
//   distance, where it comes from. The polygons are cut into fans of triangles from their first
//   corner; triangles of no area are left out. Vertices settle nearest first from a heap, as in
//   Dijkstra. Each vertex keeps an origin: the root (or the corner the way bends round) its
//   distance comes from, with that corner's own distance as an offset, and the point standing
//   for it unfolded into the plane of the last triangle crossed. When a vertex settles, each
//   triangle around it offers its other corners:
//   - along the edge: straight on from the settled corner's origin, or, when the way bends
//     round that corner, the corner itself as the origin;
//   - across the triangle, when both its other corners have settled: if they come from the same
//     origin, the point at their distances from it, placed in the triangle's plane on the far
//     side of their edge (this uses lengths on the surface only, so folds and curvature cost
//     nothing); if from different origins (fronts from two roots meeting), each one's point
//     turned about the line where its plane meets the triangle's into the latter (as a hinge
//     opens), and kept only if not shorter than the straight line through space. Either is
//     taken when the straight line from the point to the corner crosses that edge.
//   The smallest offer stands, so the distance to a set of roots is the distance to the
//   nearest one, not a blend of their fronts. An obtuse corner can settle before the corners
//   its straight way needs: it is opened again when they settle (at most four times, so the
//   work stays O(n log n) on any mesh). About a second on a million vertices.
//   Accuracy: on a flat mesh, and over folds, every offer is the length of a real path, so the
//   distance is never short; it is exact (to rounding) from point roots and from a row of roots
//   along a grid's lines on a regular grid, within about 1% from a row across its diagonals or a
//   ring of roots, and within 2.5% on a grid whose points are moved by up to a quarter of a
//   step (all from 10 steps out). On a sphere it is within 2% of the arc length, short near the
//   point opposite the root, where the ways from all sides meet. No distance is shorter than
//   the straight line through space; on a bumpy jittered surface it also stays within the edge
//   paths.
//   Chosen over the heat method (a heat step, then a Poisson equation over the heat's
//   normalised gradient): the heat decays like e^(-distance/step), so far from the roots its
//   gradient is lost below the solver's tolerance (6% off from a point), and the two sparse
//   solves took over a hundred times the marching's time on a large mesh. Fitting a point to
//   two corners' distances whatever their origins reads short wherever fronts from several
//   roots merge into one straighter than a circle (9% from a diagonal row); carrying each
//   corner's own point everywhere instead drifts on curved surfaces (below the straight line
//   through space on a bumpy one). No Poisson pass follows: it would blur distances that are
//   already exact on flat and unrolled pieces.
//   Only vertices joined to a root through triangles are reached.
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

// Called now and then during the geodesic marching; returning false stops it (the result is
// then empty).
using KeepGoing = std::function<bool()>;

std::vector<double> EdgePathDistances(const MetricInput& input);
std::vector<double> GeodesicDistances(const MetricInput& input, const KeepGoing& keepGoing = {});

// One value per target; `largest` receives the divisor (0 when nothing is farther than 0).
std::vector<double> NormaliseDistances(std::span<const double> distances, std::span<const int32_t> targets,
                                       double* largest = nullptr);

}  // namespace orbelin::gradient
