// Shared by the mesh tests: spans and queries as plain vectors, for EXPECT_EQ.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "mesh/polymesh.h"

namespace mesh_test {

using standin::mesh::PolyMesh;
using Ids = std::vector<int32_t>;
using QueryFn = void (PolyMesh::*)(int32_t, int32_t, std::vector<int32_t>&) const;

template <class R>
Ids ToIds(const R& range) {
    return Ids(range.begin(), range.end());
}

inline Ids Query(const PolyMesh& m, QueryFn f, int32_t start, int32_t d) {
    Ids out{-99};  // not empty: queries must clear it
    (m.*f)(start, d, out);
    return out;
}

}  // namespace mesh_test
