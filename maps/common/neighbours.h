// Vertex neighbour lists as the kernels take them: packed, the list of v being
// indices[offsets[v] .. offsets[v+1]).
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace orbelin {

// Sizes: offsets has vertexCount + 1 entries, non-decreasing, offsets[vertexCount] <=
// indices.size(); every index < vertexCount.
struct NeighbourLists {
    size_t vertexCount = 0;
    std::span<const uint32_t> offsets;
    std::span<const uint32_t> indices;
    // Unchecked, like operator[].
    std::span<const uint32_t> Of(size_t v) const { return indices.subspan(offsets[v], offsets[v + 1] - offsets[v]); }
};

// Throws std::invalid_argument unless the lists are as described above (no vertices and no
// offsets at all is an empty mesh).
void ValidateNeighbours(const NeighbourLists& lists);

}  // namespace orbelin
