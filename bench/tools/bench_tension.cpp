// The Tension Map at production size, through the stand-in with the plug-in loaded: a 1,000 x
// 1,000 grid (1,002,001 points) with keyed point positions (a swell and ripples that grow over the frames),
// its map evaluated at each frame against the reference taken when the tool was applied.
//
// One update (the frame changed, the points moved, the map evaluated) is timed beside the
// straightforward version of the same result: the definition followed literally, asking the
// object model for each vertex's polygons and each polygon's vertices. The results are
// compared; the ratio of the two is printed. Also timed: the reset command on that grid, and
// reading the map again when nothing changed.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <vector>

#include "scene/host.h"
#include "scene/nodes.h"
#include "scene/operators.h"
#include "xsi_geometry.h"
#include "xsi_polygonface.h"
#include "xsi_polygonmesh.h"
#include "xsi_primitive.h"
#include "xsi_userdatablob.h"
#include "xsi_vertex.h"
#include "xsi_x3dobject.h"
#include "timing.h"

namespace {

using orbelin::bench::Median;
using orbelin::bench::Seconds;

const std::wstring kMap = L"floor.polymsh.cls.WeightMapCls.TensionWeightMap";
const std::wstring kBlob = L"floor.TensionMapBlob";

struct Scene {
    standin::Host host;
    XSI::CRef floor;
    Scene() {
        host.GetLog().SetEcho(false);
        host.LoadPlugin(ORBELIN_PLUGIN_PATH);
        floor = host.CreatePrim(L"Grid", L"floor", {{L"sizex", 100}, {L"sizez", 100}, {L"subdivu", 1000}, {L"subdivv", 1000}});
        host.Select({floor});
        XSI::CValueArray none;
        XSI::CValue made;
        host.ExecuteCommand(L"Orbelin_zrTensionMapApplyCmd", none, made);
        // Keys: the rest shape at frame 1, a swell of height 8 at frame 100.
        auto* node = dynamic_cast<standin::PolyMeshNode*>(
            XSI::X3DObject(floor).GetActivePrimitive().GetGeometry().GetRef().GetHostObject());
        std::vector<standin::mesh::Vec3> rest(node->mesh.Positions().begin(), node->mesh.Positions().end()), swell = rest;
        for (auto& p : swell) p.y += 8.0 * std::exp(-(p.x * p.x + p.z * p.z) / 400.0) + 0.1 * std::sin(p.x * 8.0);
        host.SetPointPositions(floor, rest, 1);
        host.SetPointPositions(floor, swell, 100);
    }
    const std::vector<double>& Evaluate() {
        return standin::EvaluatedValues(*XSI::Host::As<standin::ClusterPropertyNode>(host.Find(kMap)));
    }
};

// The definition, literally, with the default clamp to [-1, 1].
std::vector<double> Straightforward(const XSI::CRef& mesh, const std::vector<double>& reference) {
    XSI::CVertexRefArray vertices = XSI::PolygonMesh(mesh).GetVertices();
    std::vector<double> out;
    out.reserve(static_cast<size_t>(vertices.GetCount()));
    for (LONG v = 0; v < vertices.GetCount(); ++v) {
        XSI::Vertex vertex(vertices[v]);
        const XSI::MATH::CVector3 p = vertex.GetPosition();
        XSI::CPolygonFaceRefArray polygons = vertex.GetNeighborPolygons(1);
        double sum = 0.0, count = 0.0;
        for (LONG i = 0; i < polygons.GetCount(); ++i) {
            XSI::MATH::CVector3Array corners = XSI::PolygonFace(polygons[i]).GetVertices().GetPositionArray();
            for (LONG c = 0; c < corners.GetCount(); ++c) {
                const double dx = corners[c].GetX() - p.GetX(), dy = corners[c].GetY() - p.GetY(), dz = corners[c].GetZ() - p.GetZ();
                const double d = dx * dx + dy * dy + dz * dz;
                if (d > 0.0) sum += d, count += 1;
            }
        }
        const double t = (sum / count) / reference[static_cast<size_t>(v)] - 1.0;
        out.push_back(std::min(std::max(t, -1.0), 1.0));
    }
    return out;
}

void BM_TensionUpdate(benchmark::State& state) {
    Scene scene;
    scene.host.SetFrame(2);
    scene.Evaluate();  // the first update builds the neighbourhoods the later ones reuse
    std::vector<double> times;
    double frame = 10;
    for (auto _ : state)
        for (int k = 0; k < 5; ++k) {
            scene.host.SetFrame(frame);  // the host moves the points here
            frame += 10;
            auto start = std::chrono::steady_clock::now();
            benchmark::DoNotOptimize(scene.Evaluate().data());
            times.push_back(Seconds(start));
        }
    const double update = Median(times);
    const std::vector<double> ours = scene.Evaluate();
    const unsigned char* bytes = nullptr;
    unsigned int size = 0;
    XSI::UserDataBlob(scene.host.Find(kBlob)).GetValue(bytes, size);
    std::vector<double> reference(size / sizeof(double));
    std::copy_n(reinterpret_cast<const double*>(bytes), reference.size(), reference.data());
    auto start = std::chrono::steady_clock::now();
    const std::vector<double> plain =
        Straightforward(XSI::X3DObject(scene.floor).GetActivePrimitive().GetGeometry().GetRef(), reference);
    const double slow = Seconds(start);
    double worst = 0.0, stretched = 0.0;
    for (size_t i = 0; i < plain.size(); ++i) {
        worst = std::max(worst, std::abs(plain[i] - ours[i]));
        stretched = std::max(stretched, ours[i]);
    }
    state.counters["update_ms"] = update * 1e3;
    state.counters["straightforward_ms"] = slow * 1e3;
    state.counters["ratio"] = slow / update;
    std::printf("one update %.1f ms (0.1 s wanted); straightforward version %.0f ms, ratio %.1f (at least 10 wanted); "
                "largest difference %.3g (largest tension %.3f)\n",
                update * 1e3, slow * 1e3, slow / update, worst, stretched);
}
BENCHMARK(BM_TensionUpdate)->Unit(benchmark::kMillisecond)->Iterations(1);

void BM_TensionResetPose(benchmark::State& state) {
    Scene scene;
    scene.host.SetFrame(50);
    std::vector<double> times;
    for (auto _ : state)
        for (int k = 0; k < 3; ++k) {
            XSI::CValueArray args(1);
            args[0] = XSI::CValue(kBlob.c_str());
            XSI::CValue ret;
            auto start = std::chrono::steady_clock::now();
            scene.host.ExecuteCommand(L"Orbelin_zrTensionMapResetPoseCmd", args, ret);
            times.push_back(Seconds(start));
        }
    state.counters["reset_ms"] = Median(times) * 1e3;
    std::printf("reset command %.1f ms (0.3 s wanted)\n", Median(times) * 1e3);
}
BENCHMARK(BM_TensionResetPose)->Unit(benchmark::kMillisecond)->Iterations(1);

// Reading the map again when nothing changed: no recompute.
void BM_TensionNothingChanged(benchmark::State& state) {
    Scene scene;
    scene.host.SetFrame(30);
    scene.Evaluate();
    for (auto _ : state) benchmark::DoNotOptimize(scene.Evaluate().data());
}
BENCHMARK(BM_TensionNothingChanged)->Unit(benchmark::kMillisecond)->Iterations(5);

}  // namespace

BENCHMARK_MAIN();
