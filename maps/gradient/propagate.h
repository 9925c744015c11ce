// The Gradient Map's ring walk on plain arrays.
//
// From the root vertices the walk goes ring by ring over edge neighbours. Every vertex of a
// ring gets the ring's number; the numbers are divided at the end by the number of the last
// pass (`maxLevel`), so the roots read 0 and the farthest ring 1. The distance is the number
// of edges crossed, whatever their lengths. In the same walk:
// - curvature: 1 - the smallest |n_u . n_v| over v's neighbours u (dot product summed x, y, z
//   in that order), for every vertex taken out of a front;
// - singular vertices: those of valence other than 4, in the order they are taken out of the
//   fronts;
// - local maxima: among the vertices that admitted no new vertex when they were processed
//   (the candidates), those whose gradient is >= every neighbour's gradient (and >= 0).
//
// The walk, pass by pass: the current front is processed in order; each vertex looks at all
// its neighbours for the curvature and admits those never reached (and, when a root lies in
// the target cluster, only those of the target cluster) to the next front. The loop goes on
// while the front processed in the pass before was not empty, and stops once as many vertices
// have been processed as the mesh has. So when the walk runs dry before reaching every vertex
// (a restricted walk, a mesh in pieces) one more, empty pass counts, and the farthest ring
// reads (R-1)/R for R non-empty rings. This is the defined result and is kept.
//
// Defined where the data is unusual (none of it traps):
// - No roots: no pass runs, maxLevel is -1, every gradient reads -0.0, no maxima.
// - Every vertex a root: maxLevel is 0 and the roots read 0/0 (NaN); unreached vertices
//   elsewhere read 0/0 too. Unreached vertices read 0 / maxLevel.
// - A non-finite normal gives non-finite dot products, which never lower the minimum.
// - A root or target index that names no vertex (< 0 or >= vertexCount), or neighbour lists
//   that do not match the vertex count, are refused with std::invalid_argument.
//
// Cancel: `afterRing` is called at the end of every pass with the number of vertices that the
// pass processed (0 for the empty pass); returning false stops the walk at once, and the
// result then holds nothing but `cancelled`.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "common/neighbours.h"

namespace orbelin::gradient {

// Neighbour lists of every vertex in the host's order (see common/neighbours.h).
using Neighbours = NeighbourLists;

struct PropagationInput {
    Neighbours neighbours;
    std::span<const double> normals;  // 3 per vertex (x, y, z); may be empty without curvature
    std::span<const int32_t> roots;   // root cluster's vertex indices, cluster order
    std::span<const int32_t> targets; // target cluster's vertex indices, cluster order
    bool wantCurvature = false;
};

struct Propagation {
    bool cancelled = false;
    double maxLevel = 0.0;
    std::vector<double> gradient;   // one per target element
    std::vector<double> curvature;  // one per target element; empty without curvature
    std::vector<int32_t> singular;
    std::vector<int32_t> maxima;
};

// Returns false to stop the walk (the user's Cancel); gets the vertices processed in the pass.
using RingCallback = std::function<bool(size_t processedInPass)>;

Propagation Propagate(const PropagationInput& input, const RingCallback& afterRing = {});

}  // namespace orbelin::gradient
