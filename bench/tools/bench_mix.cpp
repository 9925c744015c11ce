// The Mix Map at production size, through the stand-in with the plug-in loaded: a 1,000 x 1,000
// grid (1,002,001 points) with 30 weight maps mixed by their average into a 31st.
//
// An update (one input map changed, the mix evaluated) is timed beside a bare loop that reads
// the 30 weight arrays through their clusters and sums them: memory traffic is the floor, and
// the ratio of the two is printed. A read when nothing changed is timed too.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <random>
#include <vector>

#include "scene/host.h"
#include "scene/nodes.h"
#include "scene/operators.h"
#include "xsi_cluster.h"
#include "xsi_clusterproperty.h"
#include "xsi_siobject.h"
#include "timing.h"

namespace {

using orbelin::bench::Median;
using orbelin::bench::Seconds;

constexpr int kMaps = 30;

struct Scene {
    standin::Host host;
    std::vector<std::wstring> maps;
    std::wstring mixed, property;

    Scene() {
        host.GetLog().SetEcho(false);
        host.LoadPlugin(ORBELIN_PLUGIN_PATH);
        host.CreatePrim(L"Grid", L"floor", {{L"sizex", 100}, {L"sizez", 100}, {L"subdivu", 1000}, {L"subdivv", 1000}});
        std::mt19937 rng(1);
        std::uniform_real_distribution<double> u(0, 1);
        for (int k = 0; k < kMaps; ++k) {
            maps.push_back(CreateMap(L"Input" + std::to_wstring(k)));
            Fill(maps.back(), rng);
        }
        mixed = CreateMap(L"Mixed");
        property = mixed + L"_MixMap";
        host.Select({host.Find(mixed)});
        Run(L"Orbelin_zrMixMapApplyCmd", {});
        for (const std::wstring& map : maps) {
            host.PickQueue().push_back({map, 1, 0});
            Run(L"Orbelin_zrMixMapAddConnexionCmd", {XSI::CValue(property.c_str())});
        }
    }
    std::wstring CreateMap(const std::wstring& name) {
        XSI::CValueArray args;
        args.Add(XSI::CValue());
        args.Add(XSI::CValue(L"floor"));
        args.Add(XSI::CValue(name.c_str()));
        XSI::CValue made;
        host.ExecuteCommand(L"CreateWeightMap", args, made);
        const XSI::CValueArray& list = made;
        return XSI::CRef(list[0]).GetAsText().GetWideString();
    }
    void Fill(const std::wstring& map, std::mt19937& rng) {
        std::uniform_real_distribution<double> u(0, 1);
        XSI::ClusterProperty wm(host.Find(map));
        XSI::CDoubleArray a(wm.GetElements().GetCount());
        for (LONG i = 0; i < a.GetCount(); ++i) a[i] = u(rng);
        wm.GetElements().PutArray(a);
    }
    void Run(const std::wstring& command, std::vector<XSI::CValue> values) {
        XSI::CValueArray args;
        for (const auto& v : values) args.Add(v);
        XSI::CValue ret;
        host.ExecuteCommand(command, args, ret);
    }
    const std::vector<double>& Evaluate() {
        return standin::EvaluatedValues(*XSI::Host::As<standin::ClusterPropertyNode>(host.Find(mixed)));
    }
};

// Reads every input through its cluster and sums them per point: what any mix has to read.
std::vector<double> BareSum(Scene& scene, size_t points) {
    std::vector<double> sum(points, 0.0);
    for (const std::wstring& map : scene.maps) {
        XSI::ClusterProperty wm(scene.host.Find(map));
        XSI::CDoubleArray w = wm.GetElements().GetArray();
        XSI::CLongArray index = XSI::Cluster(XSI::SIObject(wm).GetParent()).GetElements().GetArray();
        const LONG n = std::min(w.GetCount(), index.GetCount());
        for (LONG j = 0; j < n; ++j) sum[static_cast<size_t>(index[j])] += w[j];
    }
    return sum;
}

void BM_MixAverageOf30(benchmark::State& state) {
    Scene scene;
    scene.Evaluate();  // the first update makes the buffers the later ones reuse
    std::mt19937 rng(7);
    std::vector<double> updates, bare;
    for (auto _ : state)
        for (int k = 0; k < 5; ++k) {
            scene.Fill(scene.maps[static_cast<size_t>(k)], rng);
            auto start = std::chrono::steady_clock::now();
            benchmark::DoNotOptimize(scene.Evaluate().data());
            updates.push_back(Seconds(start));
        }
    const std::vector<double> mixed = scene.Evaluate();
    std::vector<double> sum;
    for (int k = 0; k < 5; ++k) {
        auto start = std::chrono::steady_clock::now();
        sum = BareSum(scene, mixed.size());
        bare.push_back(Seconds(start));
    }
    // With every factor 1, the average is the sum over 30.
    double worst = 0.0;
    for (size_t i = 0; i < mixed.size(); ++i) worst = std::max(worst, std::abs(mixed[i] - sum[i] / kMaps));
    const double update = Median(updates), floor = Median(bare);
    state.counters["update_ms"] = update * 1e3;
    state.counters["bare_loop_ms"] = floor * 1e3;
    state.counters["ratio"] = update / floor;
    std::printf("30 maps averaged on 1,002,001 points: one update %.1f ms, bare loop reading and summing them %.1f ms, "
                "ratio %.2f (at most 2 wanted); largest difference from sum / 30: %.3g\n",
                update * 1e3, floor * 1e3, update / floor, worst);
}
BENCHMARK(BM_MixAverageOf30)->Unit(benchmark::kMillisecond)->Iterations(1);

// Reading the mix again when nothing changed: no recompute.
void BM_MixNothingChanged(benchmark::State& state) {
    Scene scene;
    scene.Evaluate();
    for (auto _ : state) benchmark::DoNotOptimize(scene.Evaluate().data());
}
BENCHMARK(BM_MixNothingChanged)->Unit(benchmark::kMillisecond)->Iterations(5);

}  // namespace

BENCHMARK_MAIN();
