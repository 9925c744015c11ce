// Closest points on curves and surfaces for a production-size batch: the 1,002,001 points of
// a 1001 x 1001 grid over [-50, 50]^2 in the plane y = 0, one query each, as a proximity map
// asks them of a connected curve or surface.
//
// Budget on the 2-core build machine (release build): a few microseconds per query, i.e. a
// few seconds per million, for a circle, a sheet and a sphere. Every query's parameters are
// computed in full (the first query also builds the curve's or surface's search structure,
// which the timing includes).
//
// Counters: queries; s_per_query; mean_distance (a checksum of the answers).
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "nurbs/nurbs.h"

namespace {

using standin::mesh::Vec3;
namespace nurbs = standin::nurbs;

constexpr int kSide = 1001;

template <class Query>
void RunGrid(benchmark::State& state, Query query) {
    double total = 0.0;
    for (auto _ : state) {
        total = 0.0;
        for (int i = 0; i < kSide; ++i)
            for (int j = 0; j < kSide; ++j) total += std::sqrt(query(Vec3{-50.0 + 0.1 * i, 0.0, -50.0 + 0.1 * j}));
        benchmark::DoNotOptimize(total);
    }
    const double queries = static_cast<double>(kSide) * kSide;
    state.counters["queries"] = queries;
    state.counters["mean_distance"] = total / queries;
    state.counters["s_per_query"] =
        benchmark::Counter(queries, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// A 20 x 20 bicubic sheet of 4 x 4 spans two units above the points' plane.
nurbs::Surface LiftedSheet() {
    std::vector<Vec3> points;
    for (int j = 0; j < 7; ++j)
        for (int i = 0; i < 7; ++i) points.push_back({-10.0 + 20.0 * i / 6, 2.0, -10.0 + 20.0 * j / 6});
    return nurbs::Surface(points, 7, 7, 3, 3, false, false);
}

void BM_ClosestOnSurface(benchmark::State& state) {
    const int which = static_cast<int>(state.range(0));
    const nurbs::Surface s = which == 0 ? LiftedSheet() : which == 1 ? nurbs::SphereSurface(3.0) : nurbs::GridSurface(100, 100, 8, 8);
    state.SetLabel(which == 0 ? "sheet 20x20 lifted by 2" : which == 1 ? "sphere r=3" : "grid 100x100, 8x8 spans, in the plane");
    RunGrid(state, [&](const Vec3& p) { return s.Closest(p).squaredDistance; });
}
BENCHMARK(BM_ClosestOnSurface)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->Iterations(1);

void BM_ClosestOnCircle(benchmark::State& state) {
    const nurbs::Curve c = nurbs::Circle(10.0);  // closed cubic, 8 spans, in the points' plane
    RunGrid(state, [&](const Vec3& p) { return c.Closest(p).squaredDistance; });
}
BENCHMARK(BM_ClosestOnCircle)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
