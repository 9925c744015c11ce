// The Cache Map at production size: a weight map of 1,000,000 elements.
//
// The frame files are timed beside a bare fwrite / fread of the same bytes in the same run
// (writing one frame; reading one frame exact, and blended from two files), and a replay from
// the RAM cache, through the stand-in with the plug-in loaded, beside a copy of the array.
// Each figure is the median of 15, run in turn with its baseline; the ratios are printed on lines with the word "ratio".
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "cache/files.h"
#include "scene/host.h"
#include "scene/nodes.h"
#include "scene/operators.h"
#include "xsi_clusterproperty.h"
#include "timing.h"

namespace fs = std::filesystem;

namespace {

using orbelin::bench::Median;
using orbelin::bench::Seconds;
using orbelin::bench::Compare;

constexpr size_t kWeights = 1000000;
constexpr int kRuns = 15;

struct Folder {
    fs::path path;
    Folder() {
        std::string pattern = (fs::temp_directory_path() / "bench-cache-XXXXXX").string();
        path = ::mkdtemp(pattern.data());
    }
    ~Folder() {
        std::error_code ec;
        fs::remove_all(path, ec);
    }
};

std::vector<double> Random(unsigned seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> d(0, 1);
    std::vector<double> w(kWeights);
    for (double& x : w) x = d(rng);
    return w;
}

void BareWrite(const std::string& path, const std::vector<double>& w) {
    std::FILE* f = std::fopen(path.c_str(), "wb");
    const int32_t n = static_cast<int32_t>(w.size());
    std::fwrite(&n, 4, 1, f);
    std::fwrite(w.data(), 8, w.size(), f);
    std::fclose(f);
}

void BareRead(const std::string& path, std::vector<double>& into) {
    std::FILE* f = std::fopen(path.c_str(), "rb");
    int32_t n = 0;
    if (std::fread(&n, 4, 1, f) != 1 || std::fread(into.data(), 8, into.size(), f) != into.size()) std::abort();
    std::fclose(f);
}

void Report(const char* what, double ours, const char* bareWhat, double bare, const char* wanted) {
    std::printf("%s: %.2f ms; %s %.2f ms; ratio %.2f (%s)\n", what, ours * 1e3, bareWhat, bare * 1e3, ours / bare, wanted);
}

void BM_CacheFiles(benchmark::State& state) {
    Folder dir;
    const std::string a = (dir.path / "a.wmc").string(), b = (dir.path / "b.wmc").string();
    const std::string bareA = (dir.path / "bare_a.wmc").string(), bareB = (dir.path / "bare_b.wmc").string();
    const std::vector<double> wa = Random(1), wb = Random(2);
    std::vector<double> into(kWeights), other(kWeights), blended(kWeights), scratch;
    for (auto _ : state) {
        // The same bytes, the file replaced each time, as playing over a cache does.
        const auto [write, bareWrite] =
            Compare([&] { orbelin::cache::WriteFrameFile(a, wa); }, [&] { BareWrite(bareA, wa); }, kRuns);
        BareWrite(bareB, wb);
        orbelin::cache::WriteFrameFile(b, wb);
        if (fs::file_size(a) != fs::file_size(bareA)) std::abort();

        auto allocate = [&](std::vector<double>& v) {
            return [&v](size_t n) {
                v.resize(n);
                return v.data();
            };
        };
        const auto [read, bareRead] = Compare([&] { orbelin::cache::ReadFrame(a, nullptr, 0, kWeights, allocate(into), scratch); },
                                              [&] { BareRead(bareA, into); }, kRuns);
        if (into != wa) std::abort();
        const auto [blend, bareBoth] =
            Compare([&] { orbelin::cache::ReadFrame(a, &b, 0.25, kWeights, allocate(blended), scratch); },
                    [&] {
                        BareRead(bareA, into);
                        BareRead(bareB, other);
                    },
                    kRuns);
        for (size_t i = 0; i < kWeights; i += 9973)
            if (blended[i] != 0.75 * wa[i] + 0.25 * wb[i]) std::abort();

        std::printf("one frame of %zu weights (%zu bytes), medians of %d, each run in turn with its baseline:\n", kWeights, 4 + 8 * kWeights, kRuns);
        Report("  write one frame", write, "bare fwrite", bareWrite, "at most 1.5 wanted");
        Report("  read one frame, exact", read, "bare fread", bareRead, "at most 1.5 wanted");
        Report("  read one frame, blended from two files", blend, "bare fread of both", bareBoth, "at most 1.5 wanted");
        state.counters["write_ratio"] = write / bareWrite;
        state.counters["read_ratio"] = read / bareRead;
        state.counters["blend_ratio"] = blend / bareBoth;
    }
}
BENCHMARK(BM_CacheFiles)->Unit(benchmark::kMillisecond)->Iterations(1);

// The operator through the stand-in: a grid of 1,002,001 points with a Cache Map.
struct Scene {
    Folder dir;
    standin::Host host{dir.path};
    std::wstring map, property;

    Scene() {
        host.GetLog().SetEcho(false);
        host.LoadPlugin(ORBELIN_PLUGIN_PATH);
        host.Select({host.CreatePrim(L"Grid", L"floor",
                                     {{L"sizex", 100}, {L"sizez", 100}, {L"subdivu", 1000}, {L"subdivv", 1000}})});
        XSI::CValueArray args;
        XSI::CValue ret;
        host.ExecuteCommand(L"Orbelin_zrCacheMapApplyCmd", args, ret);
        map = L"floor.polymsh.cls.WeightMapCls.CacheWeightMap";
        property = map + L"_CacheMap";
        const std::vector<double> w = Random(3);
        XSI::CDoubleArray a;
        a.Attach(w.data(), static_cast<LONG>(w.size()));
        XSI::ClusterProperty(host.Find(map)).GetElements().PutArray(a);
    }
    const std::vector<double>& Evaluate() {
        return standin::EvaluatedValues(*XSI::Host::As<standin::ClusterPropertyNode>(host.Find(map)));
    }
    void Set(const std::wstring& param, const XSI::CValue& v) { host.SetValue(property + L"." + param, v); }
};

void BM_CacheOperator(benchmark::State& state) {
    Scene scene;
    for (auto _ : state) {
        // Cache To RAM: frames 1 and 2 recorded, then replayed in turn.
        scene.Set(L"OpMode", XSI::CValue(LONG(1)));
        for (double f : {1.0, 2.0}) {
            scene.host.SetFrame(f);
            scene.Evaluate();
        }
        double frame = 1;
        auto update = [&] {
            frame = 3 - frame;
            scene.host.SetFrame(frame);
            benchmark::DoNotOptimize(scene.Evaluate().data());
        };
        const std::vector<double> source = scene.Evaluate();
        std::vector<double> copy(source.size());
        const auto [replay, bareCopy] = Compare(update, [&] {
            std::copy(source.begin(), source.end(), copy.begin());
            benchmark::DoNotOptimize(copy.data());
        }, kRuns);
        std::printf("the operator on %zu elements, medians of %d, each run in turn with its baseline:\n", source.size(), kRuns);
        Report("  replay a frame from the RAM cache (one update)", replay, "a copy of the array", bareCopy,
               "at most 2 wanted");
        state.counters["replay_ratio"] = replay / bareCopy;

        // The whole update in the file modes, for scale: it also reads the input through the
        // object model and writes the output back.
        scene.Set(L"OpMode", XSI::CValue(LONG(4)));
        std::vector<double> writes, reads;
        for (int i = 0; i < kRuns; ++i) writes.push_back(Seconds(update));
        scene.Set(L"OpMode", XSI::CValue(LONG(3)));
        for (int i = 0; i < kRuns; ++i) reads.push_back(Seconds(update));
        const double write = Median(writes), read = Median(reads);
        std::printf("  one update writing its frame file %.2f ms, reading it %.2f ms (with the object model's copies)\n",
                    write * 1e3, read * 1e3);
    }
}
BENCHMARK(BM_CacheOperator)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
