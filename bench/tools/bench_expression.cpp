// The Expression Map's engine at production size, on plain arrays: a 1,000 x 1,000 grid
// (1,002,001 points, all in the map's cluster), the formula `w*a + math.sin(x)*b` with
// positions, with no connexion and then with 4.
//
// Each evaluation (the engine's whole work: scatter, chunk, a new state, the trial call, every
// point, Change Range, the output) is timed beside, in the same run:
// (1) a bare loop that calls the same Lua function once per point through the C API with the
//     same arguments (push f, the 7 + 2n numbers, lua_pcall, lua_tonumber, lua_settop), in a
//     state made beforehand: the interpreter's own floor;
// (2) the same formula written as a C++ loop.
// It prints ns per point for the three and the ratios, on lines with the word "ratio".
// Medians of 7 evaluations after a first one (which makes the buffers the later ones reuse), in
// the thread's CPU time (wall times printed beside).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <random>
#include <string>
#include <vector>

#include "expression/expression.h"
#include "scene/host.h"
#include "scene/nodes.h"
#include "scene/operators.h"
#include "xsi_clusterproperty.h"

extern "C" {
#include <lauxlib.h>
#include <lua.h>
#include <lualib.h>
}

namespace {

using namespace orbelin::expression;

constexpr int kSide = 1001;
constexpr size_t kPoints = size_t{kSide} * kSide;
constexpr wchar_t kFormula[] = L"w*a + math.sin(x)*b";

struct Grid {
    std::vector<double> positions, weights;
    std::vector<int32_t> indices;
    std::vector<std::vector<double>> maps;  // the connexions' values (same cluster)
    Grid() {
        positions.reserve(3 * kPoints);
        for (int j = 0; j < kSide; ++j)
            for (int i = 0; i < kSide; ++i) {
                positions.push_back(-50.0 + 0.1 * i);
                positions.push_back(0.0);
                positions.push_back(-50.0 + 0.1 * j);
            }
        std::mt19937 rng(1);
        std::uniform_real_distribution<double> u(0, 1);
        weights.resize(kPoints);
        for (double& w : weights) w = u(rng);
        indices.resize(kPoints);
        for (size_t k = 0; k < kPoints; ++k) indices[k] = static_cast<int32_t>(k);
        maps.assign(4, std::vector<double>(kPoints));
        for (auto& m : maps)
            for (double& w : m) w = u(rng);
    }
};

// The thread's CPU time: the machines these run on are shared, and a single-threaded loop's CPU
// time is what its cost is (wall times are printed too).
double CpuNow() {
    timespec t;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}
double WallNow() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}
struct Clock {
    double cpu = CpuNow(), wall = WallNow();
};
struct Took {
    double cpu, wall;
};
Took Since(const Clock& c) { return {CpuNow() - c.cpu, WallNow() - c.wall}; }

double Median(std::vector<Took> v, bool cpu = true) {
    std::vector<double> x;
    for (const Took& t : v) x.push_back(cpu ? t.cpu : t.wall);
    std::sort(x.begin(), x.end());
    return x[x.size() / 2];
}

// The same Lua function called once per point through the C API, nothing else.
Took BareLoop(const Grid& g, size_t n, double a, double b, std::vector<double>& out) {
    lua_State* L = luaL_newstate();
    luaL_openlibs(L);
    std::string params;
    for (size_t i = 0; i < n; ++i) params += ", v" + std::to_string(i) + ", w" + std::to_string(i);
    const std::string chunk = "function f (w, a, b, r, x, y, z" + params + ")\n\treturn (w*a + math.sin(x)*b)\nend\n";
    luaL_loadbuffer(L, chunk.data(), chunk.size(), "Expression");
    lua_pcall(L, 0, 0, 0);
    lua_checkstack(L, static_cast<int>(7 + 2 * n + 4));
    lua_getfield(L, LUA_GLOBALSINDEX, "f");
    const int nargs = static_cast<int>(7 + 2 * n);
    const Clock start;
    for (size_t k = 0; k < kPoints; ++k) {
        lua_pushvalue(L, 1);
        lua_pushnumber(L, g.weights[k]);
        lua_pushnumber(L, a);
        lua_pushnumber(L, b);
        lua_pushnumber(L, 0.0);
        lua_pushnumber(L, g.positions[3 * k]);
        lua_pushnumber(L, g.positions[3 * k + 1]);
        lua_pushnumber(L, g.positions[3 * k + 2]);
        for (size_t i = 0; i < n; ++i) {
            lua_pushnumber(L, 1.0);
            lua_pushnumber(L, g.maps[i][k]);
        }
        lua_pcall(L, nargs, 1, 0);
        out[k] = lua_tonumber(L, -1);
        lua_settop(L, -2);
    }
    const Took s = Since(start);
    lua_close(L);
    return s;
}

Took CppLoop(const Grid& g, double a, double b, std::vector<double>& out) {
    const Clock start;
    for (size_t k = 0; k < kPoints; ++k) out[k] = g.weights[k] * a + std::sin(g.positions[3 * k]) * b;
    benchmark::DoNotOptimize(out.data());
    return Since(start);
}

void Run(benchmark::State& state, size_t n) {
    static const Grid g;
    std::vector<Connexion> connexions;
    for (size_t i = 0; i < n; ++i) connexions.push_back({1.0, true, g.maps[i], g.indices});
    Inputs in;
    in.expression = kFormula;
    in.helpers = kDefaultHelpers;
    in.pointCount = kPoints;
    in.positions = g.positions;
    in.clusterIndices = g.indices;
    in.weights = g.weights;
    in.connexions = connexions;
    Options guarded, unguarded;
    unguarded.hookInterval = 0;
    Workspace ws;
    Result result;
    std::vector<double> bareOut(kPoints), cppOut(kPoints);

    // The values agree with the bare loop's (no post-processing for this check).
    Inputs raw = in;
    raw.postProcess = None;
    Evaluate(raw, guarded, ws, result);
    BareLoop(g, n, in.a, in.b, bareOut);
    size_t differ = 0;
    for (size_t k = 0; k < kPoints; ++k) differ += result.output[k] != bareOut[k];

    std::vector<Took> kernel, kernelNoGuard, bare, cpp;
    for (auto _ : state)
        for (int r = 0; r < 7; ++r) {
            Clock start;
            Evaluate(in, guarded, ws, result);
            kernel.push_back(Since(start));
            start = Clock();
            Evaluate(in, unguarded, ws, result);
            kernelNoGuard.push_back(Since(start));
            bare.push_back(BareLoop(g, n, in.a, in.b, bareOut));
            cpp.push_back(CppLoop(g, in.a, in.b, cppOut));
        }
    if (result.status != Status::Ok) std::printf("evaluation failed!\n");
    const double ns = 1e9 / kPoints;
    const double k = Median(kernel) * ns, k0 = Median(kernelNoGuard) * ns, bl = Median(bare) * ns,
                 c = Median(cpp) * ns;
    state.counters["kernel_ns_per_point"] = k;
    state.counters["bare_capi_ns_per_point"] = bl;
    state.counters["cpp_ns_per_point"] = c;
    std::printf("%zu connexion(s), %zu points, `w*a + math.sin(x)*b` (Change Range), CPU time: engine %.1f ns per point "
                "(%.1f ms an evaluation; without the runaway guard %.1f ns), bare C API loop %.1f ns, C++ loop %.1f ns; "
                "%zu values differ from the bare loop's\n",
                n, kPoints, k, k * kPoints * 1e-6, k0, bl, c, differ);
    std::printf("%zu connexion(s), wall time: engine %.1f ns per point, bare C API loop %.1f ns, C++ loop %.1f ns\n", n,
                Median(kernel, false) * ns, Median(bare, false) * ns, Median(cpp, false) * ns);
    std::printf("%zu connexion(s): ratio engine / bare C API loop %.2f (at most 1.2 wanted); "
                "ratio engine / C++ loop %.1f\n",
                n, k / bl, k / c);
}

// The whole update through the plug-in in the stand-in, on the same grid: the operator reads the
// map, its cluster, the points' positions and the settings, runs the engine and writes the
// result. Timed after a change of `Variable_a`, beside the engine alone on the same inputs.
void BM_ExpressionUpdateThroughThePlugin(benchmark::State& state) {
    standin::Host host;
    host.GetLog().SetEcho(false);
    host.LoadPlugin(ORBELIN_PLUGIN_PATH);
    host.CreatePrim(L"Grid", L"floor", {{L"sizex", 100}, {L"sizez", 100}, {L"subdivu", kSide - 1}, {L"subdivv", kSide - 1}});
    host.Select({host.Find(L"floor")});
    XSI::CValueArray none;
    XSI::CValue made;
    host.ExecuteCommand(L"Orbelin_zrExpressionMapApplyCmd", none, made);
    const std::wstring map = L"floor.polymsh.cls.WeightMapCls.ExpressionWeightMap", prop = map + L"_ExpressionMap";
    host.SetValue(prop + L".Expression", XSI::CValue(kFormula));
    auto* node = XSI::Host::As<standin::ClusterPropertyNode>(host.Find(map));
    standin::EvaluatedValues(*node);
    std::vector<double> times;
    double a = 0.5;
    for (auto _ : state)
        for (int r = 0; r < 5; ++r) {
            host.SetValue(prop + L".Variable_a", XSI::CValue(a += 0.125));
            const auto start = std::chrono::steady_clock::now();
            benchmark::DoNotOptimize(standin::EvaluatedValues(*node).data());
            times.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        }
    std::sort(times.begin(), times.end());
    const double update = times[times.size() / 2];
    state.counters["update_ms"] = update * 1e3;
    std::printf("through the plug-in, no connexion: one update %.1f ms, %.1f ns per point (wall time, median of 5; "
                "under 100 ns wanted)\n", update * 1e3, update * 1e9 / kPoints);
}
BENCHMARK(BM_ExpressionUpdateThroughThePlugin)->Unit(benchmark::kMillisecond)->Iterations(1);

void BM_ExpressionNoConnexion(benchmark::State& state) { Run(state, 0); }
void BM_ExpressionFourConnexions(benchmark::State& state) { Run(state, 4); }
BENCHMARK(BM_ExpressionNoConnexion)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_ExpressionFourConnexions)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
