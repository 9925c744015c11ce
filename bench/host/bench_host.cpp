// The stand-in's scene at production size: a 1,000 x 1,000 grid made with its topology
// ready for neighbour queries, and one pass of Vertex::GetNeighborVertices(1) over every
// vertex through the object model. A straightforward adjacency (one std::vector per
// vertex, edges found through a std::map) is measured beside it as the reference.
#include <benchmark/benchmark.h>

#include <map>

#include "scene/host.h"
#include "scene/nodes.h"
#include "xsi_polygonmesh.h"
#include "xsi_primitive.h"
#include "xsi_vertex.h"
#include "xsi_x3dobject.h"

namespace {

constexpr int kSubdiv = 1000;

std::map<std::wstring, double> GridOptions() {
    return {{L"sizex", 100}, {L"sizez", 100}, {L"subdivu", kSubdiv}, {L"subdivv", kSubdiv}};
}

void BM_CreateGrid(benchmark::State& state) {
    standin::Host host;
    host.GetLog().SetEcho(false);
    size_t bytes = 0, points = 0;
    for (auto _ : state) {
        XSI::CRef grid = host.CreatePrim(L"Grid", L"grid", GridOptions());
        auto* node = XSI::Host::As<standin::X3DNode>(grid);
        auto* mesh = static_cast<standin::PolyMeshNode*>(node->primitive->geometry.get());
        bytes = mesh->mesh.MemoryBytes();
        points = static_cast<size_t>(mesh->mesh.VertexCount());
        state.PauseTiming();
        host.Delete(grid);
        state.ResumeTiming();
    }
    state.counters["points"] = static_cast<double>(points);
    state.counters["bytes_per_point"] = static_cast<double>(bytes) / static_cast<double>(points);
}
BENCHMARK(BM_CreateGrid)->Unit(benchmark::kMillisecond)->Iterations(3);

// Reference: the adjacency a naive host would build, one vector per vertex.
void BM_ReferenceAdjacency(benchmark::State& state) {
    const int n = kSubdiv + 1;
    for (auto _ : state) {
        std::map<std::pair<int, int>, int> edges;
        std::vector<std::vector<int>> adjacency(static_cast<size_t>(n) * n);
        for (int r = 0; r < kSubdiv; ++r)
            for (int c = 0; c < kSubdiv; ++c) {
                int q[4] = {r * n + c, r * n + c + 1, (r + 1) * n + c + 1, (r + 1) * n + c};
                for (int k = 0; k < 4; ++k) {
                    int a = q[k], b = q[(k + 1) % 4];
                    if (edges.emplace(std::minmax(a, b), static_cast<int>(edges.size())).second) {
                        adjacency[static_cast<size_t>(a)].push_back(b);
                        adjacency[static_cast<size_t>(b)].push_back(a);
                    }
                }
            }
        benchmark::DoNotOptimize(adjacency.data());
    }
}
BENCHMARK(BM_ReferenceAdjacency)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_NeighborPassThroughObjectModel(benchmark::State& state) {
    standin::Host host;
    host.GetLog().SetEcho(false);
    XSI::CRef grid = host.CreatePrim(L"Grid", L"grid", GridOptions());
    XSI::PolygonMesh mesh(XSI::X3DObject(grid).GetActivePrimitive().GetGeometry());
    XSI::CVertexRefArray vertices = mesh.GetVertices();
    long long total = 0;
    for (auto _ : state) {
        total = 0;
        for (LONG i = 0; i < vertices.GetCount(); ++i) {
            XSI::Vertex v(vertices[i]);
            total += v.GetNeighborVertices(1).GetCount();
        }
        benchmark::DoNotOptimize(total);
    }
    state.counters["vertices"] = static_cast<double>(vertices.GetCount());
    state.counters["neighbours"] = static_cast<double>(total);
}
BENCHMARK(BM_NeighborPassThroughObjectModel)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
