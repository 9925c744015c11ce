// The Proximity Map at production size, through the stand-in with the plug-in loaded: a
// 1,000 x 1,000 grid weight map (1,002,001 elements) and a sphere of 2,002 or 90,602 points
// whose far range covers about 2% of it.
//
// Each case times updates (the sphere moved, the map evaluated) beside a tight loop that
// computes the same defined result with nothing around it: a grid of cells over the sphere's
// points, a plain radius query per element on all cores, the straight-line default falloff
// written out. It prints the pairs of element and point in reach, the CPU time per pair, the
// ratio of the update to the tight loop, the speed-up from the second core, the allocations
// and fresh memory pages of an update after the first, and how far the weights are from the
// tight loop's and from the all-pairs evaluation (on a sample of the elements).
#include <benchmark/benchmark.h>

#include <sched.h>
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <new>
#include <thread>

#include "anim/fcurve.h"
#include "common/parallel.h"
#include "nurbs/nurbs.h"
#include "proximity/evaluate.h"
#include "scene/host.h"
#include "scene/nodes.h"
#include "scene/operators.h"
#include "xsi_clusterproperty.h"
#include "xsi_geometry.h"
#include "xsi_primitive.h"
#include "xsi_x3dobject.h"
#include "timing.h"

// Allocations of a megabyte or more, counted while an update runs.
namespace {

using orbelin::bench::Median;
using orbelin::bench::Seconds;
std::atomic<bool> g_counting{false};
std::atomic<size_t> g_bigAllocations{0};
constexpr size_t kBig = 1 << 20;
}  // namespace

// Replaced as a pair: what this new gives, this delete frees.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
void* operator new(size_t n) {
    if (g_counting.load(std::memory_order_relaxed) && n >= kBig) ++g_bigAllocations;
    if (void* p = std::malloc(n ? n : 1)) return p;
    throw std::bad_alloc();
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, size_t) noexcept { std::free(p); }
#pragma GCC diagnostic pop

namespace {

using namespace orbelin::proximity;

const std::wstring kMap = L"floor.polymsh.cls.WeightMapCls.ProximityWeightMap";
const std::wstring kProp = kMap + L"_ProximityMap";
constexpr double kFar = 5.0;

struct Scene {
    standin::Host host;
    XSI::CRef floor, ball;
    double x = 0.0;
    Scene(int subdivu, int subdivv) {
        host.GetLog().SetEcho(false);
        host.LoadPlugin(ORBELIN_PLUGIN_PATH);
        floor = host.CreatePrim(L"Grid", L"floor", {{L"sizex", 100}, {L"sizez", 100}, {L"subdivu", 1000}, {L"subdivv", 1000}});
        ball = host.CreatePrim(L"Sphere", L"ball", {{L"radius", 3}, {L"subdivu", subdivu}, {L"subdivv", subdivv}});
        host.Select({floor});
        Run(L"Orbelin_zrProximityMapApplyCmd", {});
        Run(L"Orbelin_zrProximityMapAddConnexionCmd", {XSI::CValue(kProp.c_str()), XSI::CValue(L"ball")});
        host.SetValue(kProp + L".Far", XSI::CValue(kFar));
    }
    void Run(const std::wstring& command, std::vector<XSI::CValue> values) {
        XSI::CValueArray args;
        for (const auto& v : values) args.Add(v);
        XSI::CValue ret;
        host.ExecuteCommand(command, args, ret);
    }
    void Move(XSI::CRef object, double to) {
        XSI::MATH::CTransformation t;
        t.SetIdentity();
        t.SetTranslationFromValues(to, 0, 0);
        host.SetTransform(object, t);
    }
    // Moves the ball on and evaluates the map where the host keeps it (no copy for the reader).
    const std::vector<double>& Update() {
        Move(ball, x += 0.5);
        return standin::EvaluatedValues(*XSI::Host::As<standin::ClusterPropertyNode>(host.Find(kMap)));
    }
    XSI::CDoubleArray Read() { return XSI::ClusterProperty(host.Find(kMap)).GetElements().GetArray(); }
};

std::vector<Point> WorldPoints(const XSI::CRef& object, double dx) {
    XSI::MATH::CVector3Array p = XSI::X3DObject(object).GetActivePrimitive().GetGeometry().GetPoints().GetPositionArray();
    std::vector<Point> out(static_cast<size_t>(p.GetCount()));
    for (LONG i = 0; i < p.GetCount(); ++i) out[static_cast<size_t>(i)] = {p[i].GetX() + dx, p[i].GetY(), p[i].GetZ()};
    return out;
}

double ProcessCpuSeconds() {
    timespec ts{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

long MinorFaults() {
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    return u.ru_minflt;
}

// The tight loop: cells of the far range's size over the points, each element looking in the
// 27 cells around its own; r = d for the default falloff with near 0, counted when below far.
struct TightLoop {
    double cell;
    Point lo{};
    int64_t n[3] = {1, 1, 1};
    std::vector<std::vector<Point>> cells;

    TightLoop(const std::vector<Point>& points, double far) : cell(far) {
        Point hi = points.front();
        lo = hi;
        for (const Point& p : points)
            for (size_t a = 0; a < 3; ++a) lo[a] = std::min(lo[a], p[a]), hi[a] = std::max(hi[a], p[a]);
        for (size_t a = 0; a < 3; ++a) n[a] = static_cast<int64_t>((hi[a] - lo[a]) / cell) + 1;
        cells.resize(static_cast<size_t>(n[0] * n[1] * n[2]));
        for (const Point& p : points) cells[static_cast<size_t>(Cell(Axis(p[0], 0), Axis(p[1], 1), Axis(p[2], 2)))].push_back(p);
    }
    int64_t Axis(double v, size_t a) const { return static_cast<int64_t>(std::floor((v - lo[a]) / cell)); }
    int64_t Cell(int64_t x, int64_t y, int64_t z) const { return (z * n[1] + y) * n[0] + x; }

    // Weights of every element, and the pairs in reach (distance <= far) seen on the way.
    std::vector<double> Run(const std::vector<Point>& elements, double far, size_t& pairs) const {
        std::vector<double> w(elements.size());
        std::atomic<size_t> total{0};
        const double far2 = far * far;
        orbelin::ForChunks(elements.size(), [&](size_t begin, size_t end) {
            size_t inReach = 0;
            for (size_t i = begin; i < end; ++i) {
                const Point& p = elements[i];
                double sum = 0.0;
                size_t counted = 0;
                const int64_t c[3] = {Axis(p[0], 0), Axis(p[1], 1), Axis(p[2], 2)};
                for (int64_t z = std::max<int64_t>(c[2] - 1, 0); z <= std::min(c[2] + 1, n[2] - 1); ++z)
                    for (int64_t y = std::max<int64_t>(c[1] - 1, 0); y <= std::min(c[1] + 1, n[1] - 1); ++y)
                        for (int64_t x = std::max<int64_t>(c[0] - 1, 0); x <= std::min(c[0] + 1, n[0] - 1); ++x)
                            for (const Point& q : cells[static_cast<size_t>(Cell(x, y, z))]) {
                                double ex = p[0] - q[0], ey = p[1] - q[1], ez = p[2] - q[2];
                                double d2 = ex * ex + ey * ey + ez * ez;
                                if (d2 > far2) continue;
                                ++inReach;
                                double d = std::sqrt(d2);
                                if (d < far) {
                                    sum += d;
                                    ++counted;
                                }
                            }
                w[i] = 1.0 - (counted ? sum / static_cast<double>(counted) : far) / far;
            }
            total += inReach;
        });
        pairs = total;
        return w;
    }
};

struct UpdateTimes {
    double wall, cpu;
    double bigAllocations, faults;
};

UpdateTimes TimeUpdates(Scene& scene, int updates) {
    std::vector<double> wall, cpu, allocations, faults;
    for (int k = 0; k < updates; ++k) {
        long f0 = MinorFaults();
        g_bigAllocations = 0;
        g_counting = true;
        double c0 = ProcessCpuSeconds();
        auto start = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(scene.Update().data());
        wall.push_back(Seconds(start));
        cpu.push_back(ProcessCpuSeconds() - c0);
        g_counting = false;
        allocations.push_back(static_cast<double>(g_bigAllocations.load()));
        faults.push_back(static_cast<double>(MinorFaults() - f0));
    }
    return {Median(wall), Median(cpu), Median(allocations), Median(faults)};
}

// The updates on one CPU of the process's, then on all of them.
double SecondCoreSpeedup(Scene& scene, double allCoresWall) {
    cpu_set_t all, one;
    if (sched_getaffinity(0, sizeof all, &all) != 0 || CPU_COUNT(&all) < 2) return 1.0;
    CPU_ZERO(&one);
    for (int c = 0; c < CPU_SETSIZE; ++c)
        if (CPU_ISSET(c, &all)) {
            CPU_SET(c, &one);
            break;
        }
    sched_setaffinity(0, sizeof one, &one);
    double single = TimeUpdates(scene, 3).wall;
    sched_setaffinity(0, sizeof all, &all);
    return single / allCoresWall;
}

void SphereCase(benchmark::State& state, int subdivu, int subdivv, size_t sampleStride) {
    Scene scene(subdivu, subdivv);
    scene.Update();  // the first update makes the buffers the later ones reuse
    UpdateTimes t{};
    for (auto _ : state) t = TimeUpdates(scene, 5);
    const std::vector<double> weights = scene.Update();
    const double ballX = scene.x;

    std::vector<Point> elements = WorldPoints(scene.floor, 0);
    std::vector<Point> points = WorldPoints(scene.ball, ballX);
    TightLoop tight(points, kFar);
    size_t pairs = 0;
    std::vector<double> tightWeights;
    std::vector<double> tightTimes;
    for (int k = 0; k < 5; ++k) {
        auto start = std::chrono::steady_clock::now();
        tightWeights = tight.Run(elements, kFar, pairs);
        tightTimes.push_back(Seconds(start));
    }
    const double tightWall = Median(tightTimes);
    const double speedup = SecondCoreSpeedup(scene, t.wall);

    double worstTight = 0.0;
    for (size_t i = 0; i < weights.size(); ++i) worstTight = std::max(worstTight, std::abs(weights[i] - tightWeights[i]));
    // The all-pairs evaluation on every sampleStride-th element.
    std::vector<Point> sample;
    for (size_t i = 0; i < elements.size(); i += sampleStride) sample.push_back(elements[i]);
    Connexion c;
    c.pointSet = true;
    c.points = std::make_shared<PointIndex>(points);
    standin::FCurve curve;
    curve.AddKey(0, 0);
    curve.AddKey(100, 1);
    std::vector<orbelin::CurveKey> keys;
    for (const standin::FCurveKey& k : curve.keys()) keys.push_back({k.time, k.value, k.interpolation, k.leftX, k.leftY, k.rightX, k.rightY});
    Falloff falloff(keys, curve.GetInterpolation(), curve.GetExtrapolation());
    Options o;
    o.farRange = kFar;
    std::vector<Connexion> connexions{c};
    Result reference = EvaluateStraight(sample, std::vector<double>(sample.size(), 0.0), connexions, falloff, o);
    double worstAllPairs = 0.0;
    for (size_t s = 0; s < sample.size(); ++s)
        worstAllPairs = std::max(worstAllPairs, std::abs(reference.weights[s] - weights[s * sampleStride]));

    const double nsPerPair = t.cpu / static_cast<double>(pairs) * 1e9;
    state.counters["update_ms"] = t.wall * 1e3;
    state.counters["tight_loop_ms"] = tightWall * 1e3;
    state.counters["ratio"] = t.wall / tightWall;
    state.counters["pairs_in_reach"] = static_cast<double>(pairs);
    state.counters["cpu_ns_per_pair"] = nsPerPair;
    state.counters["second_core_speedup"] = speedup;
    std::printf("%zu-point sphere: %zu pairs in reach; update %.1f ms (%.1f ns of CPU per pair), tight loop %.1f ms, "
                "ratio %.2f; second core speed-up %.2fx on %zu CPUs\n"
                "    per update after the first: %.0f allocations of 1 MB or more, %.0f fresh memory pages; weights "
                "within %.2g of the tight loop's and %.2g of the all-pairs evaluation (%zu sampled elements)\n",
                points.size(), pairs, t.wall * 1e3, nsPerPair, tightWall * 1e3, t.wall / tightWall, speedup,
                orbelin::WorkerCount(), t.bigAllocations, t.faults, worstTight, worstAllPairs, sample.size());
}

void BM_ProximityUpdateSphere2k(benchmark::State& state) { SphereCase(state, 50, 41, 50); }
BENCHMARK(BM_ProximityUpdateSphere2k)->Unit(benchmark::kMillisecond)->Iterations(1);

void BM_ProximityUpdateSphere90k(benchmark::State& state) { SphereCase(state, 300, 303, 1000); }
BENCHMARK(BM_ProximityUpdateSphere90k)->Unit(benchmark::kMillisecond)->Iterations(1);

void BM_ProximityUpdateNothingChanged(benchmark::State& state) {
    Scene scene(50, 41);
    scene.Read();
    for (auto _ : state) benchmark::DoNotOptimize(scene.Read());
}
BENCHMARK(BM_ProximityUpdateNothingChanged)->Unit(benchmark::kMillisecond)->Iterations(5);

// The sphere's connexion replaced by `object`, which then moves a little before every read.
void UpdatesWithConnexion(benchmark::State& state, const std::function<XSI::CRef(standin::Host&)>& make) {
    Scene scene(50, 41);
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
