// Metric distances for the Gradient Map, on plain arrays.
//
// Both give, per vertex, the distance from the nearest root, +infinity where no root reaches:
// - EdgePathDistances: the shortest path along the edges (neighbour lists), each edge as long
//   as the straight line between its two points (Dijkstra).
// - GeodesicDistances: a distance across the faces by fast marching. The polygons are cut into
//   fans of triangles from their first corner; triangles of no area are left out. Vertices
//   settle nearest first from a heap, as in Dijkstra, and when one settles each triangle
//   around it offers its other corners two ways on: along the edge, and across the triangle
//   from its two settled corners a and b. The way across takes their distances as coming from
//   one point S, unfolded into the triangle's plane on the far side of ab (|S - a| = d(a),
//   |S - b| = d(b)), and gives |S - c| when the straight line from S to c crosses ab; when it
//   does not, the shortest way bends round a or b and the edges' way stands. An obtuse corner
//   can settle before the two corners its way across needs: it is opened again when they have
//   settled (at most four times, so the work stays O(n log n) on any mesh).
//   Accuracy: exact on a flat or unrollable mesh from point roots (to rounding); from a
//   straight row of roots, whose front is a line and not a circle, it reads short by up to
//   about an eighth of a step, an error that stops growing a few steps out (1.2% at 10 steps
//   on a square grid, less farther out); within 0.4% from a point on a flat grid whose points
//   are moved by up to 0.35 of a step; within 2% of the arc length on a sphere, the
//   worst near the point opposite the root, where the fronts meet.
//   Chosen over the heat method (a heat step, then a Poisson equation over the heat's
//   normalised gradient): the heat decays like e^(-distance/step), so far from the roots its
//   gradient is lost below the solver's tolerance, and the two sparse solves took over a hundred
//   times the marching's time on a large mesh. A Poisson pass over the marching's directions
//   is not made: the marching alone is within the figures above.
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
