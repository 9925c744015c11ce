// The Clusters Map command at production size, through the stand-in with the plug-in loaded:
// a 1,000 x 1,000 grid (1,002,001 points) with a polygon cluster of a quarter of its polygons,
// cropped to its border band of 3 rings.
//
// The command is timed beside the straightforward version of the same computation: the
// definition followed literally, asking the object model for each polygon's corners and for
// each covered vertex's neighbours within 3 rings. The results are compared; the ratios (to the
// 0.2 s wanted, and of the straightforward version to the command) are printed.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

#include "scene/host.h"
#include "xsi_cluster.h"
#include "xsi_clusterproperty.h"
#include "xsi_geometry.h"
#include "xsi_polygonface.h"
#include "xsi_polygonmesh.h"
#include "xsi_primitive.h"
#include "xsi_vertex.h"
#include "xsi_x3dobject.h"
#include "timing.h"

namespace {

using orbelin::bench::Median;
using orbelin::bench::Seconds;

constexpr int kSide = 1000;
constexpr LONG kCropping = -3;

void BM_ClustersBorderBand(benchmark::State& state) {
    standin::Host host;
    host.GetLog().SetEcho(false);
    host.LoadPlugin(ORBELIN_PLUGIN_PATH);
    XSI::CRef floor = host.CreatePrim(L"Grid", L"floor", {{L"sizex", 100}, {L"sizez", 100}, {L"subdivu", kSide}, {L"subdivv", kSide}});
    XSI::Geometry geometry = XSI::X3DObject(floor).GetActivePrimitive().GetGeometry();
    XSI::CLongArray quarter;
    for (LONG r = 0; r < kSide / 2; ++r)
        for (LONG c = 0; c < kSide / 2; ++c) quarter.Add(r * kSide + c);
    XSI::Cluster cluster;
    geometry.AddCluster(L"poly", L"Quarter", quarter, cluster);

    std::vector<double> times;
    for (auto _ : state)
        for (int k = 0; k < 3; ++k) {
            XSI::CValueArray list, args;
            list.Add(XSI::CValue(cluster.GetRef()));
            args.Add(XSI::CValue(list));
            args.Add(XSI::CValue(kCropping));
            XSI::CValue ret;
            auto start = std::chrono::steady_clock::now();
            host.ExecuteCommand(L"Orbelin_zrClustersMapBuildCmd", args, ret);
            times.push_back(Seconds(start));
        }
    const double build = Median(times);
    XSI::CDoubleArray made = XSI::ClusterProperty(host.Find(L"floor.polymsh.cls.WeightMapCls.WMFromQuarter")).GetElements().GetArray();

    // The definition, literally, through the object model.
    auto start = std::chrono::steady_clock::now();
    XSI::PolygonMesh mesh(geometry.GetRef());
    const XSI::CPolygonFaceRefArray polygons = mesh.GetPolygons();
    const XSI::CVertexRefArray vertices = mesh.GetVertices();
    std::vector<char> covered(static_cast<size_t>(vertices.GetCount()), 0);
    for (LONG i = 0; i < quarter.GetCount(); ++i) {
        const XSI::CVertexRefArray corners = XSI::PolygonFace(polygons.GetItem(quarter[i])).GetNeighborVertices(1);
        for (LONG k = 0; k < corners.GetCount(); ++k) covered[static_cast<size_t>(XSI::Vertex(corners.GetItem(k)).GetIndex())] = 1;
    }
    std::vector<double> reference(covered.size(), 0.0);
    for (size_t v = 0; v < covered.size(); ++v) {
        if (!covered[v]) continue;
        const XSI::CVertexRefArray near = XSI::Vertex(vertices.GetItem(static_cast<LONG>(v))).GetNeighborVertices(-kCropping);
        for (LONG k = 0; k < near.GetCount(); ++k)
            if (!covered[static_cast<size_t>(XSI::Vertex(near.GetItem(k)).GetIndex())]) {
                reference[v] = 1.0;
                break;
            }
    }
    const double slow = Seconds(start);
    size_t differ = 0;
    for (size_t v = 0; v < reference.size(); ++v) differ += v >= static_cast<size_t>(made.GetCount()) || made[static_cast<LONG>(v)] != reference[v];

    state.counters["build_ms"] = build * 1e3;
    state.counters["straightforward_ms"] = slow * 1e3;
    state.counters["ratio"] = build / 0.2;
    std::printf("one build %.0f ms, ratio to 0.2 s %.2f (at most 1 wanted); straightforward version %.0f ms, ratio %.1f; "
                "%zu of %zu weights differ\n",
                build * 1e3, build / 0.2, slow * 1e3, slow / build, differ, reference.size());
}
BENCHMARK(BM_ClustersBorderBand)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
