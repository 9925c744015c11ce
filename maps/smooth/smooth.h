// One evaluation of the Smooth Map on plain arrays.
//
// Each element (a weight-map point, naming a mesh vertex p) takes, at each pass, the average of
// the weights its neighbourhood had at the start of the pass, post-processed; `repeat` passes
// are made, and the result is what the last pass wrote for each element's vertex.
//
// The neighbourhood of p:
// - radius <= 0: p's neighbour list, each entry counted as often as it occurs.
// - radius >= 1: a depth-first walk from p at depth 1. Walking vertex v at depth d marks v, then
//   for each neighbour n of v in list order that is not marked: count n, and when d <= radius
//   walk n at depth d + 1. A vertex is marked only when it is walked, so vertices met at the
//   last depth can be counted several times through different parents, and the list order
//   decides which; p is marked first and never counted. (radius 1: the neighbours and their
//   neighbours.)
// Vertices outside the cluster weigh 0 and still count, which pulls the cluster's border to 0.
//
// Post-process of every average at every pass: clamp (1) into [min, max] with the comparisons
// `m = max > a ? a : max; if !(m > min) a = min; else if !(max > a) a = max`; change range (2)
// records the largest and smallest average seen (starting from -10000 and 10000) and at the end,
// when they differ, maps each result value v to (d >= 0 ? v - lo : -v - lo) * scale + min with
// d = v - lo, scale = (max - min) / (hi - lo). The sign rule is deliberate and kept.
//
// Defined where the data is unusual:
// - An element whose vertex has nothing to count (an empty list; with radius >= 1 also a list
//   naming only the vertex itself) keeps the weight its vertex had at the start of the pass
//   instead of 0/0; that value is post-processed like any average. `Stats::withoutNeighbours` says how many elements did so, for a warning.
// - An element whose vertex index names no vertex (< 0 or >= vertexCount) reads and writes
//   nothing; its result is 0 and the final change-range stretch leaves it at 0.
// - `repeat` < 1 makes no pass: every valid element's result is 0 (then stretched by change range
//   from the untouched -10000 / 10000 bounds, as the definition gives).
// - When a vertex is named by several elements, the later element's weight is the one read.
// - Weights missing at the end of `weights` (shorter than `cluster`) are 0.
//
// The passes are split over the cores; each element's sums are made in the walk's order, so the
// result is the one the straightforward recursive definition gives, bit for bit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "common/neighbours.h"

namespace orbelin::smooth {

// Neighbour lists of every vertex (see common/neighbours.h); anything but what that header
// describes is refused with std::invalid_argument.
using Neighbours = NeighbourLists;

struct Options {
    int radius = 1;
    int repeat = 1;
    int postProcess = 0;  // 0 none, 1 clamp, 2 change range
    double min = 0.0, max = 1.0;
};

struct Stats {
    size_t withoutNeighbours = 0;  // elements (counted once, not per pass) that kept their weight
};

struct Result : Stats {
    std::vector<double> weights;
};

// Kept by the caller between evaluations so that repeated updates allocate nothing
// element-sized. Not to be shared by two evaluations running at once.
struct Workspace {
    struct Frame {
        uint32_t vertex;
        uint32_t next;  // position in the packed indices of the next neighbour to look at
        int64_t depth;
    };
    struct Walker {
        std::vector<uint32_t> marks;  // marks[v] == generation: v has been walked for this element
        uint32_t generation = 0;
        std::vector<Frame> stack;
    };
    std::vector<double> cur, next, averages;
    std::vector<Walker> walkers;
};

// `cluster`: the vertex index of each element; `weights`: the input weight of each element.
// `result`: one weight per element (same size as `cluster`, else std::invalid_argument).
Stats Smooth(const Neighbours& neighbours, std::span<const int32_t> cluster, std::span<const double> weights,
             const Options& options, std::span<double> result, Workspace& workspace);
Result Smooth(const Neighbours& neighbours, std::span<const int32_t> cluster, std::span<const double> weights,
              const Options& options);

}  // namespace orbelin::smooth
