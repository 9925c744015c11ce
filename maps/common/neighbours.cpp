#include "common/neighbours.h"

#include <stdexcept>

namespace orbelin {

void ValidateNeighbours(const NeighbourLists& n) {
    if (n.vertexCount == 0 && n.offsets.empty()) return;
    if (n.offsets.size() != n.vertexCount + 1 || n.offsets[0] != 0 || n.offsets[n.vertexCount] > n.indices.size())
        throw std::invalid_argument("neighbour lists do not match the vertex count");
    for (size_t v = 0; v < n.vertexCount; ++v)
        if (n.offsets[v] > n.offsets[v + 1]) throw std::invalid_argument("neighbour offsets decrease");
    for (size_t i = 0; i < n.offsets[n.vertexCount]; ++i)
        if (n.indices[i] >= n.vertexCount) throw std::invalid_argument("a neighbour index names no vertex");
}

}  // namespace orbelin
