// The Proximity Map at production size, through the stand-in with the plug-in loaded: a
// 1,000 x 1,000 grid weight map (1,002,001 elements) and a 2,002-point sphere covering about
// 2% of it. One update (the sphere moved, the map read) is timed beside the straightforward
// all-pairs evaluation of the same inputs, run once, and the results are compared. The same
// update with a NURBS curve and a NURBS surface as the connexion, and a read when nothing
// changed, are timed too.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <functional>

#include "anim/fcurve.h"
#include "nurbs/nurbs.h"
#include "proximity/evaluate.h"
#include "scene/host.h"
#include "xsi_clusterproperty.h"
#include "xsi_geometry.h"
#include "xsi_primitive.h"
#include "xsi_x3dobject.h"

namespace {

using namespace orbelin::proximity;

const std::wstring kMap = L"floor.polymsh.cls.WeightMapCls.ProximityWeightMap";
const std::wstring kProp = kMap + L"_ProximityMap";

struct Scene {
    standin::Host host;
    XSI::CRef ball;
    Scene() {
        host.GetLog().SetEcho(false);
        host.LoadPlugin(ORBELIN_PLUGIN_PATH);
        XSI::CRef floor = host.CreatePrim(L"Grid", L"floor", {{L"sizex", 100}, {L"sizez", 100}, {L"subdivu", 1000}, {L"subdivv", 1000}});
        ball = host.CreatePrim(L"Sphere", L"ball", {{L"radius", 3}, {L"subdivu", 50}, {L"subdivv", 41}});
        host.Select({floor});
        Run(L"Orbelin_zrProximityMapApplyCmd", {});
        Run(L"Orbelin_zrProximityMapAddConnexionCmd", {XSI::CValue(kProp.c_str()), XSI::CValue(L"ball")});
        host.SetValue(kProp + L".Far", XSI::CValue(5.0));
    }
    void Run(const std::wstring& command, std::vector<XSI::CValue> values) {
        XSI::CValueArray args;
        for (const auto& v : values) args.Add(v);
        XSI::CValue ret;
        host.ExecuteCommand(command, args, ret);
    }
    void Move(XSI::CRef object, double x) {
        XSI::MATH::CTransformation t;
        t.SetIdentity();
        t.SetTranslationFromValues(x, 0, 0);
        host.SetTransform(object, t);
    }
    XSI::CDoubleArray Read() { return XSI::ClusterProperty(host.Find(kMap)).GetElements().GetArray(); }
};

std::vector<Point> WorldPoints(const XSI::CRef& object, double dx) {
    XSI::MATH::CVector3Array p = XSI::X3DObject(object).GetActivePrimitive().GetGeometry().GetPoints().GetPositionArray();
    std::vector<Point> out(static_cast<size_t>(p.GetCount()));
    for (LONG i = 0; i < p.GetCount(); ++i) out[static_cast<size_t>(i)] = {p[i].GetX() + dx, p[i].GetY(), p[i].GetZ()};
    return out;
}

void BM_ProximityUpdateThroughStandIn(benchmark::State& state) {
    Scene scene;
    double x = 0;
    XSI::CDoubleArray w;
    auto updates = std::chrono::steady_clock::duration::zero();
    for (auto _ : state) {
        auto start = std::chrono::steady_clock::now();
        scene.Move(scene.ball, x += 0.5);
        w = scene.Read();
        updates += std::chrono::steady_clock::now() - start;
    }
    double updateSeconds = std::chrono::duration<double>(updates).count() / static_cast<double>(state.iterations());
    double touched = 0;
    for (LONG i = 0; i < w.GetCount(); ++i) touched += w[i] > 0;
    state.counters["elements"] = w.GetCount();
    state.counters["influenced_share"] = touched / w.GetCount();

    // The straightforward evaluation of the last update's inputs, once, and the comparison.
    std::vector<Point> elements = WorldPoints(scene.host.Find(L"floor"), 0);
    Connexion c;
    c.pointSet = true;
    c.points = std::make_shared<PointIndex>(WorldPoints(scene.ball, x));
    auto curve = std::make_shared<standin::FCurve>();
    curve->AddKey(0, 0);
    curve->AddKey(100, 1);
    Falloff falloff{[curve](double t) { return curve->Eval(t); }, true, 100, 1};
    Options o;
    o.farRange = 5;
    std::vector<double> base(elements.size(), 0.0);
    std::vector<Connexion> connexions{c};
    auto start = std::chrono::steady_clock::now();
    Result reference = EvaluateStraight(elements, base, connexions, falloff, o);
    double referenceSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    double worst = 0;
    for (size_t i = 0; i < reference.weights.size(); ++i)
        worst = std::max(worst, std::abs(reference.weights[i] - w[static_cast<LONG>(i)]) / std::max(1.0, std::abs(reference.weights[i])));
    state.counters["reference_s"] = referenceSeconds;
    state.counters["max_rel_diff"] = worst;
    state.counters["speedup"] = referenceSeconds / updateSeconds;
    std::printf("one update through the stand-in: %.0f ms; straightforward all-pairs evaluation: %.2f s\n"
                "speed-up %.1fx (at least 20x wanted); largest relative difference %.3g\n",
                updateSeconds * 1000, referenceSeconds, referenceSeconds / updateSeconds, worst);
}
BENCHMARK(BM_ProximityUpdateThroughStandIn)->Unit(benchmark::kMillisecond)->Iterations(5);

void BM_ProximityUpdateNothingChanged(benchmark::State& state) {
    Scene scene;
    scene.Read();
    for (auto _ : state) benchmark::DoNotOptimize(scene.Read());
}
BENCHMARK(BM_ProximityUpdateNothingChanged)->Unit(benchmark::kMillisecond)->Iterations(5);

// The sphere's connexion replaced by `object`, which then moves a little before every read.
void UpdatesWithConnexion(benchmark::State& state, const std::function<XSI::CRef(standin::Host&)>& make) {
    Scene scene;
    scene.Run(L"Orbelin_zrProximityMapRemoveConnexionCmd", {XSI::CValue(kProp.c_str())});
    XSI::CRef object = make(scene.host);
    scene.Run(L"Orbelin_zrProximityMapAddConnexionCmd", {XSI::CValue(kProp.c_str()), XSI::CValue(object.GetAsText())});
    double x = 0;
    for (auto _ : state) {
        scene.Move(object, x += 0.5);
        benchmark::DoNotOptimize(scene.Read());
    }
}

void BM_ProximityUpdateCurveConnexion(benchmark::State& state) {
    UpdatesWithConnexion(state, [](standin::Host& host) { return host.CreateCurveList(L"ring", {standin::nurbs::Circle(10.0)}); });
}
BENCHMARK(BM_ProximityUpdateCurveConnexion)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_ProximityUpdateSurfaceConnexion(benchmark::State& state) {
    UpdatesWithConnexion(state, [](standin::Host& host) { return host.CreateSurfaceMesh(L"dome", {standin::nurbs::SphereSurface(4.0)}); });
}
BENCHMARK(BM_ProximityUpdateSurfaceConnexion)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
