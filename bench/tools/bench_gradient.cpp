// The Gradient Map tools at production size, through the stand-in with the plug-in loaded: a
// 1,000 x 1,000 grid (1,002,001 points) with a root cluster of one row (1,001 points).
//
// Each case is timed beside the straightforward version of the same computation, asking the
// object model for a vertex's neighbours every time the definition fetches them (the ring
// walk, the leftover front, the local maxima), with the results compared; the ratios are
// printed. Medians of three runs.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <vector>

#include "gradient/metric.h"
#include "gradient/propagate.h"
#include "gradient/uv_strips.h"
#include "scene/host.h"
#include "scene/nodes.h"
#include "xsi_cluster.h"
#include "xsi_clusterproperty.h"
#include "xsi_geometry.h"
#include "xsi_polygonmesh.h"
#include "xsi_primitive.h"
#include "xsi_vertex.h"
#include "xsi_x3dobject.h"
#include "timing.h"

namespace {

using orbelin::bench::Median;
using orbelin::bench::Seconds;

using namespace XSI;
using Clock = std::chrono::steady_clock;

constexpr LONG kSide = 1000;  // quads along each side

struct Scene {
    standin::Host host;
    CRef floor, root, map;
    Scene() {
        host.GetLog().SetEcho(false);
        host.LoadPlugin(ORBELIN_PLUGIN_PATH);
        floor = host.CreatePrim(L"Grid", L"floor", {{L"sizex", 100}, {L"sizez", 100}, {L"subdivu", kSide}, {L"subdivv", kSide}});
        CLongArray row;
        for (LONG i = 0; i <= kSide; ++i) row.Add(i);
        Cluster c;
        Mesh().AddCluster(L"pnt", L"Root", row, c);
        root = c.GetRef();
        CValueArray args(5);
        args[0] = CValue(L""), args[1] = CValue(L"floor"), args[2] = CValue(L"GradientWeightMap"), args[3] = CValue(L"");
        args[4] = CValue(false);
        CValue made;
        host.ExecuteCommand(L"CreateWeightMap", args, made);
        map = CRef(static_cast<const CValueArray&>(made)[0]);
    }
    Geometry Mesh() const { return X3DObject(floor).GetActivePrimitive().GetGeometry(); }
    const standin::mesh::PolyMesh& Plain() const {
        return dynamic_cast<standin::PolyMeshNode*>(XSI::Host::As<standin::X3DNode>(floor)->primitive->geometry.get())->mesh;
    }
    CValue Build(bool everything) {
        return Build(everything, 0);
    }
    CValue Build(bool everything, LONG distanceMode) {
        CValueArray args(7);
        args[0] = CValue(map), args[1] = CValue(root);
        args[2] = args[3] = args[4] = CValue(everything);
        args[5] = CValue(false), args[6] = CValue(distanceMode);
        CValue ret;
        host.ExecuteCommand(L"Orbelin_zrGradientMapBuildCmd", args, ret);
        return ret;
    }
    std::vector<double> Weights(const CRef& m) const {
        CDoubleArray a = ClusterProperty(m).GetElements().GetArray();
        return {a.GetArray(), a.GetArray() + a.GetCount()};
    }
};

// Part of the ring walk written as defined: neighbour lists fetched from the object model,
// vertex by vertex, each time the walk needs them.
struct Straightforward {
    std::vector<double> gradient, curvature;
    std::vector<LONG> singular, maxima;
    double maxLevel = 0.0;

    static std::vector<LONG> NeighboursOf(const CVertexRefArray& all, LONG v) {
        CVertexRefArray n = Vertex(all[v]).GetNeighborVertices(1);
        CLongArray idx = n.GetIndexArray();
        return {idx.GetArray(), idx.GetArray() + idx.GetCount()};
    }

    void Run(const Geometry& geometry, const CLongArray& roots, const CLongArray& targets) {
        PolygonMesh mesh(geometry);
        CVertexRefArray all = mesh.GetVertices();
        MATH::CVector3Array normals = all.GetNormalArray();
        const LONG n = all.GetCount();
        std::vector<uint16_t> state(static_cast<size_t>(n), 0), inTarget(static_cast<size_t>(n), 0);
        std::vector<double> g(static_cast<size_t>(n), 0.0), c(static_cast<size_t>(n), 0.0);
        std::vector<LONG> front, nextFront, candidates;
        for (LONG i = 0; i < targets.GetCount(); ++i) inTarget[static_cast<size_t>(targets[i])] = 1;
        bool restrict = false;
        for (LONG i = 0; i < roots.GetCount(); ++i) {
            if (inTarget[static_cast<size_t>(roots[i])]) restrict = true;
            state[static_cast<size_t>(roots[i])] = 2;
            front.push_back(roots[i]);
        }
        singular.clear(), maxima.clear();
        double level = 0.0;
        LONG processed = 0;
        size_t ringSize = front.size();
        while (n >= 1 && ringSize >= 1) {
            nextFront.clear();
            ringSize = front.size();
            processed += static_cast<LONG>(ringSize);
            for (LONG v : front) {
                std::vector<LONG> around = NeighboursOf(all, v);
                const MATH::CVector3& nv = normals[v];
                double minDot = 1.0;
                bool added = false;
                for (LONG u : around) {
                    const MATH::CVector3& nu = normals[u];
                    double d = std::fabs(nu.GetX() * nv.GetX() + nu.GetY() * nv.GetY() + nu.GetZ() * nv.GetZ());
                    if (minDot > d) minDot = d;
                    if (state[static_cast<size_t>(u)] == 0 && (!restrict || inTarget[static_cast<size_t>(u)] == 1)) {
                        nextFront.push_back(u);
                        state[static_cast<size_t>(u)] = 2;
                        added = true;
                    }
                }
                if (!added) candidates.push_back(v);
                c[static_cast<size_t>(v)] = 1.0 - minDot;
                g[static_cast<size_t>(v)] = level;
                state[static_cast<size_t>(v)] = 1;
                if (around.size() != 4) singular.push_back(v);
            }
            front = nextFront;
            level += 1.0;
            if (processed >= n) break;
        }
        for (LONG v : nextFront)
            if (NeighboursOf(all, v).size() != 4) singular.push_back(v);
        maxLevel = level + 0.0 - 1.0;
        for (double& x : g) x = x / maxLevel;
        for (LONG v : candidates) {
            double m = 0.0;
            for (LONG u : NeighboursOf(all, v))
                if (g[static_cast<size_t>(u)] > m) m = g[static_cast<size_t>(u)];
            if (g[static_cast<size_t>(v)] >= m) maxima.push_back(v);
        }
        gradient.resize(static_cast<size_t>(targets.GetCount()));
        curvature.resize(gradient.size());
        for (LONG i = 0; i < targets.GetCount(); ++i) {
            gradient[static_cast<size_t>(i)] = g[static_cast<size_t>(targets[i])];
            curvature[static_cast<size_t>(i)] = c[static_cast<size_t>(targets[i])];
        }
    }
};

bool Same(const std::vector<int32_t>& a, const std::vector<LONG>& b) { return std::equal(a.begin(), a.end(), b.begin(), b.end()); }

// The ring walk alone, from the plain arrays the command gathers.
void BM_GradientPropagation(benchmark::State& state) {
    Scene scene;
    const auto& mesh = scene.Plain();
    const size_t n = static_cast<size_t>(mesh.VertexCount());
    std::vector<uint32_t> offsets{0}, indices;
    std::vector<double> normals;
    for (int32_t v = 0; v < mesh.VertexCount(); ++v) {
        for (int32_t u : mesh.VertexNeighbors(v)) indices.push_back(static_cast<uint32_t>(u));
        offsets.push_back(static_cast<uint32_t>(indices.size()));
        const auto& nv = mesh.VertexNormals()[static_cast<size_t>(v)];
        normals.insert(normals.end(), {nv.x, nv.y, nv.z});
    }
    std::vector<int32_t> roots, targets(n);
    for (int32_t i = 0; i <= kSide; ++i) roots.push_back(i);
    for (size_t i = 0; i < n; ++i) targets[i] = static_cast<int32_t>(i);
    orbelin::gradient::Propagation p;
    std::vector<double> times;
    for (auto _ : state)
        for (int k = 0; k < 3; ++k) {
            auto start = Clock::now();
            p = orbelin::gradient::Propagate({{n, offsets, indices}, normals, roots, targets, true});
            times.push_back(Seconds(start));
        }
    const double fast = Median(times);
    CLongArray r, t;
    for (int32_t v : roots) r.Add(v);
    for (int32_t v : targets) t.Add(v);
    Straightforward plain;
    auto start = Clock::now();
    plain.Run(scene.Mesh(), r, t);
    const double slow = Seconds(start);
    const bool equal = p.gradient == plain.gradient && p.curvature == plain.curvature && Same(p.singular, plain.singular) &&
                       Same(p.maxima, plain.maxima) && p.maxLevel == plain.maxLevel;
    state.counters["propagation_ms"] = fast * 1e3;
    state.counters["ratio"] = slow / fast;
    std::printf("propagation: %.1f ms (0.2 s wanted); straightforward version %.0f ms, ratio %.1f; results %s (maxLevel %g)\n",
                fast * 1e3, slow * 1e3, slow / fast, equal ? "equal" : "DIFFERENT", p.maxLevel);
}
BENCHMARK(BM_GradientPropagation)->Unit(benchmark::kMillisecond)->Iterations(1);

// The whole build command: topology and normals read, the walk, both maps and both clusters
// written; beside it the straightforward walk with the same writes through the object model.
void BM_GradientBuildCommand(benchmark::State& state) {
    Scene scene;
    std::vector<double> times;
    CValue ret;
    for (auto _ : state)
        for (int k = 0; k < 3; ++k) {
            auto start = Clock::now();
            ret = scene.Build(true);
            times.push_back(Seconds(start));
        }
    const double command = Median(times);
    const std::vector<double> ours = scene.Weights(scene.map);

    auto start = Clock::now();
    Straightforward plain;
    plain.Run(scene.Mesh(), Cluster(scene.root).GetElements().GetArray(), Cluster(ClusterProperty(scene.map).GetParent()).GetElements().GetArray());
    CDoubleArray out(static_cast<LONG>(plain.gradient.size()));
    for (size_t i = 0; i < plain.gradient.size(); ++i) out[static_cast<LONG>(i)] = plain.gradient[i];
    ClusterProperty(scene.map).GetElements().PutArray(out);
    for (size_t i = 0; i < plain.curvature.size(); ++i) out[static_cast<LONG>(i)] = plain.curvature[i];
    ClusterProperty(scene.map).GetElements().PutArray(out);  // stands for the curvature map
    Cluster made;
    CLongArray singular, maxima;
    for (LONG v : plain.singular) singular.Add(v);
    for (LONG v : plain.maxima) maxima.Add(v);
    scene.Mesh().AddCluster(L"pnt", L"PlainSing", singular, made);
    scene.Mesh().AddCluster(L"pnt", L"PlainMax", maxima, made);
    const double slow = Seconds(start);
    const bool equal = ours == plain.gradient && static_cast<double>(ret) == plain.maxLevel;
    state.counters["command_ms"] = command * 1e3;
    state.counters["ratio"] = slow / command;
    std::printf("build command: %.0f ms (1 s wanted); straightforward version %.0f ms, ratio %.1f; results %s\n",
                command * 1e3, slow * 1e3, slow / command, equal ? "equal" : "DIFFERENT");
}
BENCHMARK(BM_GradientBuildCommand)->Unit(benchmark::kMillisecond)->Iterations(1);

// The metric distances on the same grid from the same row: the kernels alone (edge paths,
// 0.5 s wanted; the geodesic, also from the centre point alone) beside the ring walk, then the
// command in modes 1 and 2.
void BM_GradientMetric(benchmark::State& state) {
    Scene scene;
    const auto& mesh = scene.Plain();
    const size_t n = static_cast<size_t>(mesh.VertexCount());
    std::vector<uint32_t> offsets{0}, indices, polygonOffsets{0}, corners;
    std::vector<double> points;
    for (int32_t v = 0; v < mesh.VertexCount(); ++v) {
        for (int32_t u : mesh.VertexNeighbors(v)) indices.push_back(static_cast<uint32_t>(u));
        offsets.push_back(static_cast<uint32_t>(indices.size()));
    }
    MATH::CVector3Array xyz;
    CLongArray descr;
    PolygonMesh(scene.Mesh()).Get(xyz, descr);
    for (LONG i = 0; i < xyz.GetCount(); ++i) points.insert(points.end(), {xyz[i].GetX(), xyz[i].GetY(), xyz[i].GetZ()});
    for (LONG i = 0; i < descr.GetCount();) {
        const LONG count = descr[i++];
        for (LONG c = 0; c < count; ++c) corners.push_back(static_cast<uint32_t>(descr[i++]));
        polygonOffsets.push_back(static_cast<uint32_t>(corners.size()));
    }
    std::vector<int32_t> roots, targets(n);
    for (int32_t i = 0; i <= kSide; ++i) roots.push_back(i);
    for (size_t i = 0; i < n; ++i) targets[i] = static_cast<int32_t>(i);
    const orbelin::gradient::MetricInput in{{n, offsets, indices}, points, polygonOffsets, corners, roots, targets};
    const std::vector<int32_t> centre{kSide / 2 * (kSide + 1) + kSide / 2};
    const orbelin::gradient::MetricInput fromPoint{{n, offsets, indices}, points, polygonOffsets, corners, centre, targets};
    std::vector<double> rings, edges, geodesicRow, geodesicPoint;
    std::vector<double> edgePaths, row, point;
    for (auto _ : state)
        for (int k = 0; k < 3; ++k) {
            auto start = Clock::now();
            orbelin::gradient::Propagate({{n, offsets, indices}, {}, roots, targets, false});
            rings.push_back(Seconds(start));
            start = Clock::now();
            edgePaths = orbelin::gradient::EdgePathDistances(in);
            edges.push_back(Seconds(start));
            start = Clock::now();
            row = orbelin::gradient::GeodesicDistances(in);
            geodesicRow.push_back(Seconds(start));
            start = Clock::now();
            point = orbelin::gradient::GeodesicDistances(fromPoint);
            geodesicPoint.push_back(Seconds(start));
        }
    // From a whole row the distance is the distance to the row; from the centre the straight
    // line (relative error from 10 steps out).
    double edgeError = 0.0, rowError = 0.0, pointError = 0.0;
    const size_t c = static_cast<size_t>(centre[0]);
    const double step = 100.0 / kSide;
    for (size_t v = 0; v < n; ++v) {
        const double toRow = std::abs(points[3 * v + 2] - points[2]);
        edgeError = std::max(edgeError, std::abs(edgePaths[v] - toRow));
        rowError = std::max(rowError, std::abs(row[v] - toRow));
        const double straight = std::hypot(points[3 * v] - points[3 * c], points[3 * v + 2] - points[3 * c + 2]);
        if (straight >= 10 * step) pointError = std::max(pointError, std::abs(point[v] - straight) / straight);
    }
    const double ring = Median(rings), edge = Median(edges), geoRow = Median(geodesicRow), geoPoint = Median(geodesicPoint);
    auto start = Clock::now();
    scene.Build(false, 1);
    const double command = Seconds(start);
    start = Clock::now();
    scene.Build(false, 2);
    const double geodesicCommand = Seconds(start);
    state.counters["edge_paths_ms"] = edge * 1e3;
    state.counters["geodesic_row_ms"] = geoRow * 1e3;
    state.counters["geodesic_point_ms"] = geoPoint * 1e3;
    std::printf("metric distances: ring walk %.0f ms; edge paths %.0f ms (0.5 s wanted), ratio to the ring walk %.1f, "
                "largest error %.2g; build command in edge-path mode %.0f ms\n",
                ring * 1e3, edge * 1e3, edge / ring, edgeError, command * 1e3);
    std::printf("geodesic from the row %.0f ms, ratio to the ring walk %.1f, to the edge paths %.1f, largest error %.2g "
                "(step %.2g); from the centre point %.0f ms, ratio to the edge paths %.1f, largest relative error %.2g "
                "from 10 steps out; build command in geodesic mode %.0f ms\n",
                geoRow * 1e3, geoRow / ring, geoRow / edge, rowError, step, geoPoint * 1e3, geoPoint / edge, pointError,
                geodesicCommand * 1e3);
}
BENCHMARK(BM_GradientMetric)->Unit(benchmark::kMillisecond)->Iterations(1);

// The UV command on the gradient of that grid; beside it the same strips from neighbour lists
// fetched vertex by vertex through the object model.
void BM_GradientUVCommand(benchmark::State& state) {
    Scene scene;
    scene.Build(false);
    std::vector<double> times;
    CValue ret;
    const std::wstring uvs = L"floor.polymsh.cls.Texture_Coordinates_AUTO.zrGradientUVs";
    for (auto _ : state)
        for (int k = 0; k < 3; ++k) {
            CValueArray args(6);
            args[0] = CValue(scene.map), args[1] = CValue(0.0), args[2] = CValue(true), args[3] = CValue(true);
            args[4] = CValue(LONG{-1}), args[5] = CValue(false);
            auto start = Clock::now();
            scene.host.ExecuteCommand(L"Orbelin_zrUVFromGradientMapCmd", args, ret);
            times.push_back(Seconds(start));
        }
    const double command = Median(times);
    const std::vector<double> ours = scene.Weights(scene.host.Find(uvs));

    auto start = Clock::now();
    PolygonMesh mesh(scene.Mesh());
    CVertexRefArray all = mesh.GetVertices();
    std::vector<uint32_t> offsets{0}, indices, polyOffsets{0}, corners;
    for (LONG v = 0; v < all.GetCount(); ++v) {
        for (LONG u : Straightforward::NeighboursOf(all, v)) indices.push_back(static_cast<uint32_t>(u));
        offsets.push_back(static_cast<uint32_t>(indices.size()));
    }
    MATH::CVector3Array points;
    CLongArray descr;
    mesh.Get(points, descr);
    for (LONG i = 0; i < descr.GetCount();) {
        const LONG count = descr[i++];
        for (LONG c = 0; c < count; ++c) corners.push_back(static_cast<uint32_t>(descr[i++]));
        polyOffsets.push_back(static_cast<uint32_t>(corners.size()));
    }
    const std::vector<double> g = scene.Weights(scene.map);
    std::vector<double> uvw(3 * corners.size(), 0.0);
    orbelin::gradient::UVResult r = orbelin::gradient::UVFromGradient(
        {{static_cast<size_t>(all.GetCount()), offsets, indices}, polyOffsets, corners}, g, uvw, {});
    const double slow = Seconds(start);
    double worst = 0.0;
    for (size_t i = 0; i < uvw.size(); ++i) worst = std::max(worst, std::abs(uvw[i] - ours[i]));
    state.counters["command_ms"] = command * 1e3;
    state.counters["ratio"] = slow / command;
    std::printf("UV command: %.0f ms (1 s wanted); straightforward version %.0f ms, ratio %.1f; largest difference %.3g, "
                "return %g / %g\n",
                command * 1e3, slow * 1e3, slow / command, worst, static_cast<double>(ret), r.value);
}
BENCHMARK(BM_GradientUVCommand)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
