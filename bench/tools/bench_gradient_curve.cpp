// The Gradient Curve Map at production size, through the stand-in with the plug-in loaded: a
// 1,000 x 1,000 grid (1,002,001 points) with 10 cubic NURBS curves spread over it, one of them
// moved before each update.
//
// Each update is timed beside the straightforward version of the same evaluation (every curve
// for every element, on one thread) on the same data; the results are compared and the ratio
// printed. Reading the map again when nothing changed is timed too: it must not recompute.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <random>
#include <vector>

#include "gradientcurve/evaluate.h"
#include "nurbs/nurbs.h"
#include "scene/host.h"
#include "scene/nodes.h"
#include "scene/operators.h"
#include "xsi_geometry.h"
#include "xsi_primitive.h"
#include "xsi_x3dobject.h"
#include "timing.h"

namespace {

using orbelin::bench::Median;
using orbelin::bench::Seconds;

const std::wstring kMap = L"floor.polymsh.cls.WeightMapCls.GradientCurveWeightMap";
const std::wstring kProp = kMap + L"_GradientCurveMap";
constexpr int kCurves = 10;

struct Scene {
    standin::Host host;
    XSI::CRef floor;
    std::vector<standin::nurbs::Curve> curves;
    Scene() {
        host.GetLog().SetEcho(false);
        host.LoadPlugin(ORBELIN_PLUGIN_PATH);
        floor = host.CreatePrim(L"Grid", L"floor", {{L"sizex", 100}, {L"sizez", 100}, {L"subdivu", 1000}, {L"subdivv", 1000}});
        host.Select({floor});
        XSI::CValueArray none;
        XSI::CValue ret;
        host.ExecuteCommand(L"Orbelin_zrGradientCurveMapApplyCmd", none, ret);
        // Wavy curves across the grid, 8 control points each, a little above it.
        std::mt19937 rng(3);
        std::uniform_real_distribution<double> across(-50, 50), wave(-4, 4);
        for (int c = 0; c < kCurves; ++c) {
            std::vector<standin::mesh::Vec3> points;
            const double z0 = across(rng), x0 = -50 + 10 * c;
            for (int k = 0; k < 8; ++k) points.push_back({x0 + wave(rng) + 3 * k, 1.0 + wave(rng) / 4, z0 + 12 * (k - 3.5) / 1.2});
            curves.emplace_back(points, 3, false);
            const std::wstring name = L"curve" + std::to_wstring(c);
            host.CreateCurveList(name, {curves.back()});
            XSI::CValueArray args;
            args.Add(XSI::CValue(kProp.c_str()));
            args.Add(XSI::CValue(name.c_str()));
            host.ExecuteCommand(L"Orbelin_zrGradientCurveMapAddConnexionCmd", args, ret);
        }
    }
    const std::vector<double>& Evaluate() {
        return standin::EvaluatedValues(*XSI::Host::As<standin::ClusterPropertyNode>(host.Find(kMap)));
    }
    void MoveFirstCurve(double x) {
        XSI::MATH::CTransformation t;
        t.SetIdentity();
        t.SetTranslationFromValues(x, 0, 0);
        host.SetTransform(host.Find(L"curve0"), t);
    }
};

void BM_GradientCurveUpdate(benchmark::State& state) {
    Scene scene;
    scene.Evaluate();
    std::vector<double> times;
    double x = 0.0;
    for (auto _ : state)
        for (int k = 0; k < 3; ++k) {
            scene.MoveFirstCurve(x += 0.5);
            auto start = std::chrono::steady_clock::now();
            benchmark::DoNotOptimize(scene.Evaluate().data());
            times.push_back(Seconds(start));
        }
    const double update = Median(times);
    const std::vector<double> ours = scene.Evaluate();

    // The same evaluation, every curve for every element, on the same plain data.
    namespace gc = orbelin::gradientcurve;
    XSI::MATH::CVector3Array positions =
        XSI::X3DObject(scene.floor).GetActivePrimitive().GetGeometry().GetPoints().GetPositionArray();
    std::vector<gc::Vec3> vertices(static_cast<size_t>(positions.GetCount()));
    for (size_t i = 0; i < vertices.size(); ++i) {
        const auto& p = positions[static_cast<LONG>(i)];
        vertices[i] = {p.GetX(), p.GetY(), p.GetZ()};
    }
    std::vector<int> elements(vertices.size());
    for (size_t i = 0; i < elements.size(); ++i) elements[i] = static_cast<int>(i);
    std::vector<gc::Connexion> connexions(kCurves);
    for (int c = 0; c < kCurves; ++c) {
        const auto& curve = scene.curves[static_cast<size_t>(c)];
        std::vector<gc::Vec4> points;
        for (const auto& h : curve.HomogeneousPoints()) points.push_back({h[0] / h[3], h[1] / h[3], h[2] / h[3], h[3]});
        connexions[static_cast<size_t>(c)].curves.emplace_back(curve.Degree(), curve.Knots(), points);
    }
    connexions[0].toCurve[12] = -x;  // the first curve object was moved by x
    std::vector<double> incoming(vertices.size(), 0.0), reference(vertices.size()), alone(vertices.size());
    // The kernel alone on the same data, its buffers kept as the operator keeps them.
    gc::Workspace workspace;
    std::vector<double> kernelTimes;
    for (int k = 0; k < 4; ++k) {
        auto begin = std::chrono::steady_clock::now();
        gc::Evaluate(vertices, elements, incoming, connexions, {}, alone, workspace);
        if (k > 0) kernelTimes.push_back(Seconds(begin));
    }
    auto start = std::chrono::steady_clock::now();
    gc::EvaluateStraight(vertices, elements, incoming, connexions, {}, reference);
    const double slow = Seconds(start);
    size_t differ = 0;
    for (size_t i = 0; i < reference.size(); ++i) differ += reference[i] != ours[i];

    state.counters["update_ms"] = update * 1e3;
    state.counters["straightforward_ms"] = slow * 1e3;
    state.counters["ratio"] = slow / update;
    std::printf("one update %.0f ms (at most 500 wanted), the kernel alone %.0f ms; straightforward version %.0f ms, "
                "ratio %.1f (at least 5 wanted); %zu of %zu weights differ\n",
                update * 1e3, Median(kernelTimes) * 1e3, slow * 1e3, slow / update, differ, reference.size());
}
BENCHMARK(BM_GradientCurveUpdate)->Unit(benchmark::kMillisecond)->Iterations(1);

// Reading the map again when nothing changed: no recompute.
void BM_GradientCurveNothingChanged(benchmark::State& state) {
    Scene scene;
    auto start = std::chrono::steady_clock::now();
    scene.Evaluate();
    const double first = Seconds(start);
    std::vector<double> times;
    for (auto _ : state) {
        start = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(scene.Evaluate().data());
        times.push_back(Seconds(start));
    }
    std::printf("reading again with nothing changed %.3f ms, ratio to an update %.5f\n", Median(times) * 1e3,
                Median(times) / first);
}
BENCHMARK(BM_GradientCurveNothingChanged)->Unit(benchmark::kMillisecond)->Iterations(5);

}  // namespace

BENCHMARK_MAIN();
