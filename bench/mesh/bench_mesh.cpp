// The mesh at production size: a 1,000 x 1,000-subdivision grid (1,002,001 points, a
// million quads, two million edges) built with its topology ready, its memory per point,
// and full passes of neighbour queries over every vertex.
//
// Budgets on the 2-core build machine (release build): build under 1 s, under 300 bytes per
// point with every array counted, a VertexNeighborVertices(v, 1) pass well under 1 s.
//
// Counters: points; bytes_per_point (MemoryBytes() / points: points, topology, query stamps
// and scratch); bytes_per_point_with_normals (once VertexNormals() has run);
// s_per_vertex for the passes.
#include <benchmark/benchmark.h>

#include <vector>

#include "mesh/polymesh.h"
#include "mesh/primitives.h"

namespace {

using standin::mesh::PolyMesh;

constexpr int kSubdiv = 1000;

PolyMesh BigGrid() { return standin::mesh::Grid(100, 100, kSubdiv, kSubdiv); }

// Grid(): the points and quads generated, validated, and every topology array derived.
void BM_GridWithTopology(benchmark::State& state) {
    size_t bytes = 0, points = 0;
    for (auto _ : state) {
        PolyMesh m = BigGrid();
        bytes = m.MemoryBytes();
        points = static_cast<size_t>(m.VertexCount());
        benchmark::DoNotOptimize(m);
        state.PauseTiming();  // freeing ~200 MB is not part of building
        m = PolyMesh();
        state.ResumeTiming();
    }
    state.counters["points"] = static_cast<double>(points);
    state.counters["bytes_per_point"] = static_cast<double>(bytes) / static_cast<double>(points);
}
BENCHMARK(BM_GridWithTopology)->Unit(benchmark::kMillisecond)->Iterations(5);

// PolyMesh::Build alone, from arrays already made: validation and topology.
void BM_BuildTopology(benchmark::State& state) {
    const PolyMesh source = BigGrid();
    std::vector<standin::mesh::Vec3> points(source.Positions().begin(), source.Positions().end());
    std::vector<int32_t> offsets{0}, verts;
    for (int32_t p = 0; p < source.PolygonCount(); ++p) {
        for (int32_t v : source.PolygonVertices(p)) verts.push_back(v);
        offsets.push_back(static_cast<int32_t>(verts.size()));
    }
    for (auto _ : state) {
        state.PauseTiming();
        auto pts = points;
        auto off = offsets;
        auto vs = verts;
        state.ResumeTiming();
        PolyMesh m = PolyMesh::Build(std::move(pts), std::move(off), std::move(vs));
        benchmark::DoNotOptimize(m);
        state.PauseTiming();
        m = PolyMesh();
        state.ResumeTiming();
    }
    state.counters["polygons"] = static_cast<double>(source.PolygonCount());
}
BENCHMARK(BM_BuildTopology)->Unit(benchmark::kMillisecond)->Iterations(5);

// The first VertexNormals() after a build or SetPositions: polygon and vertex normals.
void BM_VertexNormals(benchmark::State& state) {
    PolyMesh m = BigGrid();
    std::vector<standin::mesh::Vec3> points(m.Positions().begin(), m.Positions().end());
    for (auto _ : state) {
        state.PauseTiming();
        m.SetPositions(points);  // marks the normals stale
        state.ResumeTiming();
        benchmark::DoNotOptimize(m.VertexNormals().data());
    }
    state.counters["bytes_per_point_with_normals"] =
        static_cast<double>(m.MemoryBytes()) / static_cast<double>(m.VertexCount());
}
BENCHMARK(BM_VertexNormals)->Unit(benchmark::kMillisecond)->Iterations(5);

// One VertexNeighborVertices(v, d) per vertex, every vertex, into one reused vector: the way
// a weight-map tool walks a mesh. Argument: d.
void BM_VertexNeighborVerticesPass(benchmark::State& state) {
    const PolyMesh m = BigGrid();
    const auto d = static_cast<int32_t>(state.range(0));
    std::vector<int32_t> out;
    long long total = 0;
    for (auto _ : state) {
        total = 0;
        for (int32_t v = 0; v < m.VertexCount(); ++v) {
            m.VertexNeighborVertices(v, d, out);
            total += static_cast<long long>(out.size());
        }
        benchmark::DoNotOptimize(total);
    }
    state.counters["vertices"] = static_cast<double>(m.VertexCount());
    state.counters["neighbours"] = static_cast<double>(total);
    // Seconds per vertex, printed with an SI prefix (e.g. "15.5n" for 15.5 ns).
    state.counters["s_per_vertex"] = benchmark::Counter(static_cast<double>(m.VertexCount()),
                                                        benchmark::Counter::kIsIterationInvariantRate |
                                                            benchmark::Counter::kInvert);
}
BENCHMARK(BM_VertexNeighborVerticesPass)->Arg(1)->Arg(2)->Arg(3)->Unit(benchmark::kMillisecond)->Iterations(3);

// The same pass for polygons around each vertex: vertex rings, then their incident polygons.
void BM_VertexNeighborPolygonsPass(benchmark::State& state) {
    const PolyMesh m = BigGrid();
    const auto d = static_cast<int32_t>(state.range(0));
    std::vector<int32_t> out;
    long long total = 0;
    for (auto _ : state) {
        total = 0;
        for (int32_t v = 0; v < m.VertexCount(); ++v) {
            m.VertexNeighborPolygons(v, d, out);
            total += static_cast<long long>(out.size());
        }
        benchmark::DoNotOptimize(total);
    }
    state.counters["neighbours"] = static_cast<double>(total);
}
BENCHMARK(BM_VertexNeighborPolygonsPass)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
