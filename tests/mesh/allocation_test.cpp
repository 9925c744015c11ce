// Queries allocate nothing once the caller's vector (and the mesh's scratch) are large
// enough: the global operator new is replaced for this test program to count calls.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "mesh/polymesh.h"
#include "mesh/primitives.h"
#include "mesh_test_util.h"

namespace {
std::atomic<long> g_allocations{0};
}

void* operator new(std::size_t size) {
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* p = std::malloc(size == 0 ? 1 : size)) return p;
    throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return ::operator new(size); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }

using namespace standin::mesh;
using namespace mesh_test;

namespace {

// Every query from every start at distances 1..5, into one vector.
void RunEveryQuery(const PolyMesh& m, Ids& out) {
    for (int32_t d = 1; d <= 5; ++d) {
        for (int32_t v = 0; v < m.VertexCount(); ++v) {
            m.VertexNeighborVertices(v, d, out);
            m.VertexNeighborEdges(v, d, out);
            m.VertexNeighborPolygons(v, d, out);
        }
        for (int32_t e = 0; e < m.EdgeCount(); ++e) {
            m.EdgeNeighborVertices(e, d, out);
            m.EdgeNeighborEdges(e, d, out);
            m.EdgeNeighborPolygons(e, d, out);
        }
        for (int32_t p = 0; p < m.PolygonCount(); ++p) {
            m.PolygonNeighborVertices(p, d, out);
            m.PolygonNeighborEdges(p, d, out);
            m.PolygonNeighborPolygons(p, d, out);
        }
        const int32_t seeds[] = {0, m.PolygonCount() / 2, m.PolygonCount() - 1};
        m.PolygonsNeighborVertices(seeds, d, out);
    }
}

TEST(Allocation, QueriesAllocateNothingOnceWarm) {
    for (const PolyMesh& m : {Grid(1, 1, 12, 9), Sphere(1, 9, 7)}) {
        Ids out;
        RunEveryQuery(m, out);  // grows `out` and the scratch to the largest neighbourhood
        const long before = g_allocations.load();
        RunEveryQuery(m, out);
        EXPECT_EQ(g_allocations.load() - before, 0);
    }
}

TEST(Allocation, TheCounterCounts) {
    const long before = g_allocations.load();
    Ids v(100);
    EXPECT_GT(g_allocations.load(), before);
}

}  // namespace
