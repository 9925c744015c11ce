// Texture coordinates from a gradient, on plain arrays: v follows each vertex's gradient and u
// is laid out in strips that climb the gradient from the root vertices (gradient exactly 0).
//
// 1. Roots are the vertices reading exactly 0.0, in vertex order; `vIncrement` is the smallest
//    other value (100000 when there is none).
// 2. The roots are ordered as a chain from the start root (`rootVertex` when it is a root,
//    else the first): each next one is the first neighbour of the last, in list order, that is
//    a root not yet in the chain. The chain stops where no such neighbour is left, so roots
//    that do not follow one another are left out of it (they start no strip).
// 3. Chain position i starts at u = i / R with width du = 1 / R, R the number of roots. Pass by
//    pass, each start climbs: its unvisited neighbours with a greater gradient are taken,
//    greatest first (list order on ties), and a strip is walked towards each; u moves
//    (c + 2) strip widths after each of them, c being their number. From the second pass on,
//    without `autoShift`, `rightShift` is added to a start's u.
// 4. The strip walker writes one polygon per step and goes on while the gradient rises:
//    through the opposite vertex at valence 4, the highest neighbour below valence 4, and at a
//    branch point (valence above 4) the highest neighbour whose own continuation climbs
//    furthest; a branch point becomes a start of the next pass, and branching (two side strips
//    at u + du and u + 2 du at each valence-4 step) holds for the rest of the strip. A strip
//    gives back the greatest u it or its side strips started at; `maxU` (at least 1) is the
//    greatest of them.
// 5. Polygons no strip wrote are filled in index order as a cell of width du (the last start's)
//    and height vIncrement from the smallest u and v of the written samples of the polygons
//    sharing an edge with them.
// 6. With `normalize`, every u is divided by maxU, and the result value is R * maxU (else R).
//
// Sample s is polygon corner s (polygons in order, corners in order); its u and v are
// uvw[3 s] and uvw[3 s + 1]; w is left alone, and so is everything when there is no root.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "gradient/propagate.h"

namespace orbelin::gradient {

struct UVOptions {
    double rightShift = 0.0;
    bool normalize = true;
    bool autoShift = true;
    int64_t rootVertex = -1;
};

// The polygons: polygon p's corners are corners[offsets[p] .. offsets[p+1]), each a vertex
// index; the neighbour lists must be the edge neighbours of the same mesh.
struct UVMesh {
    Neighbours neighbours;
    std::span<const uint32_t> offsets;
    std::span<const uint32_t> corners;
};

struct UVResult {
    size_t rootCount = 0;        // 0: nothing was written
    std::vector<int32_t> chain;  // the ordered roots
    double vIncrement = 100000.0;
    double maxU = 1.0;
    double value = 0.0;          // the command's return value
};

enum class UVStage { Reordering, Strips, Filling };

// `gradient`: one value per vertex. `uvw`: three per sample, read and written in place.
// Malformed meshes (a corner naming no vertex, offsets that do not fit) are refused with
// std::invalid_argument; `stage` is called as each stage begins, with what is known so far
// (vIncrement before the reordering, the chain before the strips).
using UVStageCallback = std::function<void(UVStage, const UVResult&)>;
UVResult UVFromGradient(const UVMesh& mesh, std::span<const double> gradient, std::span<double> uvw,
                        const UVOptions& options, const UVStageCallback& stage = {});

}  // namespace orbelin::gradient
