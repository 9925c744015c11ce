// The Clusters Map: 1 on the vertices the chosen clusters cover, 0 elsewhere, optionally
// cropped by vertex rings.
//
// Cropping c: 0 keeps the covered area as it is. Otherwise a covered vertex is a border
// vertex when some vertex within |c| rings of it (over the mesh's edges) is not covered; a
// vertex without neighbours is never one. A positive c keeps the covered vertices that are
// not border vertices (the area shrinks by c rings); a negative c keeps only the border
// vertices (a band of width |c| inside the area's edge).
//
// Rings are counted over the polygons' sides (a mesh's edges). The border is found by one
// breadth-first walk from every uncovered vertex at once, stopped at depth |c|: a covered vertex
// reached is a border vertex. Linear in the mesh's size, whatever c is.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace orbelin::clusters {

enum class Kind { Points, Edges, Polygons, Other };

// One cluster's elements. Points: vertex indices; Polygons: polygon indices; Edges: the two
// end vertices of each edge, one pair per element; Other: ignored. Indices naming nothing are
// passed over.
struct ClusterElements {
    Kind kind = Kind::Other;
    std::span<const int32_t> indices;
};

// `polygons`: the mesh's polygons as the host gives them (a vertex count, then that many
// vertex indices, polygon after polygon; cut at the first polygon running past the end).
// Returns one weight per vertex.
std::vector<double> ClustersMap(size_t vertexCount, std::span<const int32_t> polygons,
                                std::span<const ClusterElements> clusters, int64_t cropping);

}  // namespace orbelin::clusters
