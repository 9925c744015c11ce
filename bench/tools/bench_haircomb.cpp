// The Gradient Hair Comb at production size, through the stand-in with the plug-in loaded: a
// 1,000 x 1,000 grid (1,002,001 points) as the emitter, 100,000 strands (1.4 M hair points)
// grown from a polygon cluster of 25,000 separate quads spread over it, and a gradient map over
// the whole grid.
//
// One update (CombHigh changed, the strands combed again) is timed beside the straightforward
// version of the same result: each root's neighbours fetched through the object model
// (Vertex::GetNeighborVertices), the comb written out strand by strand on one thread. The
// results are compared; the ratio of the two is printed.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <vector>

#include "scene/hair.h"
#include "scene/host.h"
#include "scene/nodes.h"
#include "scene/operators.h"
#include "xsi_cluster.h"
#include "xsi_clusterproperty.h"
#include "xsi_customproperty.h"
#include "xsi_fcurve.h"
#include "xsi_geometry.h"
#include "xsi_time.h"
#include "xsi_polygonface.h"
#include "xsi_polygonmesh.h"
#include "xsi_primitive.h"
#include "xsi_vertex.h"
#include "xsi_x3dobject.h"
#include "timing.h"

namespace {

using orbelin::bench::Median;
using orbelin::bench::Seconds;

using XSI::MATH::CVector3;
using XSI::MATH::CVector3Array;

const std::wstring kProp = L"Fur.GradientMapHairComb";

struct Scene {
    standin::Host host;
    XSI::CRef floor, patch, hair, map;
    Scene() {
        host.GetLog().SetEcho(false);
        host.LoadPlugin(ORBELIN_PLUGIN_PATH);
        floor = host.CreatePrim(L"Grid", L"floor", {{L"sizex", 100}, {L"sizez", 100}, {L"subdivu", 1000}, {L"subdivv", 1000}});
        XSI::Geometry geometry = XSI::X3DObject(floor).GetActivePrimitive().GetGeometry();
        // Quads two columns apart on every twentieth row: 25,000 quads, 100,000 vertices.
        XSI::CLongArray polygons;
        for (LONG b = 0; b < 50; ++b)
            for (LONG a = 0; a < 500; ++a) polygons.Add(20 * b * 1000 + 2 * a);
        XSI::Cluster c;
        geometry.AddCluster(L"poly", L"Patch", polygons, c);
        patch = c.GetRef();
        hair = standin::CreateHair(host, floor, L"Fur", patch, {1.0, 0.1, 1});
        // The gradient: a ramp along x with ripples across it, as a gradient map would give
        // rings around its roots.
        XSI::CValueArray args;
        for (XSI::CValue v : {XSI::CValue(L""), XSI::CValue(floor), XSI::CValue(L"Gradient"), XSI::CValue(L""), XSI::CValue(false)})
            args.Add(v);
        XSI::CValue made;
        host.ExecuteCommand(L"CreateWeightMap", args, made);
        map = XSI::CRef(static_cast<const XSI::CValueArray&>(made)[0]);
        CVector3Array pos = geometry.GetPoints().GetPositionArray();
        XSI::CDoubleArray w(pos.GetCount());
        for (LONG i = 0; i < w.GetCount(); ++i) w[i] = std::round((pos[i].GetX() + 50.0) * 2.0 + 3.0 * std::sin(pos[i].GetZ())) / 200.0;
        XSI::ClusterProperty(map).GetElements().PutArray(w);
        XSI::CValueArray list;
        list.Add(XSI::CValue(hair));
        list.Add(XSI::CValue(map));
        XSI::CValueArray applyArgs(1);
        applyArgs[0] = XSI::CValue(list);
        host.ExecuteCommand(L"Orbelin_zrGradientMapHairCombApplyCmd", applyArgs, made);
    }
    const std::vector<double>& Evaluate() {
        auto* geometry = XSI::Host::As<standin::HairGeometryNode>(XSI::X3DObject(hair).GetActivePrimitive().GetGeometry().GetRef());
        return geometry->Positions();
    }
};

double Length(const CVector3& a) { return std::sqrt(a.GetX() * a.GetX() + a.GetY() * a.GetY() + a.GetZ() * a.GetZ()); }
CVector3 Sub(const CVector3& a, const CVector3& b) { return CVector3(a.GetX() - b.GetX(), a.GetY() - b.GetY(), a.GetZ() - b.GetZ()); }
CVector3 Add(const CVector3& a, const CVector3& b) { return CVector3(a.GetX() + b.GetX(), a.GetY() + b.GetY(), a.GetZ() + b.GetZ()); }
CVector3 Scale(const CVector3& a, double s) { return CVector3(a.GetX() * s, a.GetY() * s, a.GetZ() * s); }
CVector3 Cross(const CVector3& a, const CVector3& b) {
    return CVector3(a.GetY() * b.GetZ() - a.GetZ() * b.GetY(), a.GetZ() * b.GetX() - a.GetX() * b.GetZ(),
                    a.GetX() * b.GetY() - a.GetY() * b.GetX());
}

// The comb written out literally over the object model, from the strands as they grew.
std::vector<double> Straightforward(Scene& scene, const std::vector<double>& grown, double high, double width,
                                    const double* profile) {
    XSI::PolygonMesh mesh(XSI::X3DObject(scene.floor).GetActivePrimitive().GetGeometry().GetRef());
    const CVector3Array positions = mesh.GetPoints().GetPositionArray(), normals = mesh.GetPoints().GetNormalArray();
    const XSI::CDoubleArray gradient = XSI::ClusterProperty(scene.map).GetElements().GetArray();
    // The roots: the cluster's polygons' vertices, each the first time it is met.
    std::vector<LONG> roots;
    std::vector<char> met(static_cast<size_t>(positions.GetCount()), 0);
    XSI::CPolygonFaceRefArray polygons = mesh.GetPolygons();
    XSI::CLongArray patch = XSI::Cluster(scene.patch).GetElements().GetArray();
    for (LONG i = 0; i < patch.GetCount(); ++i) {
        XSI::CVertexRefArray corners = XSI::PolygonFace(polygons[patch[i]]).GetNeighborVertices(1);
        for (LONG c = 0; c < corners.GetCount(); ++c) {
            const LONG v = XSI::Vertex(corners[c]).GetIndex();
            if (!met[static_cast<size_t>(v)]) met[static_cast<size_t>(v)] = 1, roots.push_back(v);
        }
    }
    XSI::CVertexRefArray vertices = mesh.GetVertices();
    std::vector<double> out = grown;
    for (size_t i = 0; i < roots.size(); ++i) {
        const LONG r = roots[i];
        XSI::CVertexRefArray nb = XSI::Vertex(vertices[r]).GetNeighborVertices(1);
        double greatest = -2.0, smallest = 2.0;
        for (LONG j = 0; j < nb.GetCount(); ++j) {
            const double g = gradient[XSI::Vertex(nb[j]).GetIndex()];
            if (g >= greatest) greatest = g;
            if (g <= smallest) smallest = g;
        }
        if (nb.GetCount() == 0 || greatest == smallest) continue;
        CVector3 up(0, 0, 0), down(0, 0, 0);
        double ups = 0, downs = 0;
        for (LONG j = 0; j < nb.GetCount(); ++j) {
            const LONG u = XSI::Vertex(nb[j]).GetIndex();
            if (gradient[u] == greatest) up = Add(up, positions[u]), ups += 1;
            if (gradient[u] == smallest) down = Add(down, positions[u]), downs += 1;
        }
        const CVector3 d = Sub(CVector3(up.GetX() / ups, up.GetY() / ups, up.GetZ() / ups),
                               CVector3(down.GetX() / downs, down.GetY() / downs, down.GetZ() / downs));
        const CVector3& n = normals[r];
        CVector3 t = Cross(Cross(n, d), n);
        const double tl = Length(t);
        if (tl != 0.0) t = CVector3(t.GetX() / tl, t.GetY() / tl, t.GetZ() / tl);
        double combLen = 0.0, origLen = 0.0;
        CVector3 prev = positions[r], last(0, 0, 0), combed[14];
        for (int k = 0; k < 14; ++k) {
            const double s = (k + 1) / 14.0;
            const CVector3 p = Add(Scale(t, s * width), Scale(n, high * profile[k]));
            const double* g = &grown[(i * 14 + static_cast<size_t>(k)) * 3];
            const CVector3 in(g[0], g[1], g[2]);
            combLen += Length(Sub(p, last));
            origLen += Length(Sub(in, prev));
            prev = in;
            last = p;
            combed[k] = p;
        }
        const double scale = origLen / combLen;
        for (int k = 0; k < 14; ++k) {
            const CVector3 q = Add(Scale(combed[k], scale), positions[r]);
            double* o = &out[(i * 14 + static_cast<size_t>(k)) * 3];
            o[0] = q.GetX(), o[1] = q.GetY(), o[2] = q.GetZ();
        }
    }
    return out;
}

void BM_HairCombUpdate(benchmark::State& state) {
    Scene scene;
    scene.host.SetValue(kProp + L".Enable", XSI::CValue(false));
    const std::vector<double> grown = scene.Evaluate();
    scene.host.SetValue(kProp + L".Enable", XSI::CValue(true));
    scene.Evaluate();  // the first update builds the neighbour lists the later ones reuse
    std::vector<double> times;
    double high = 0.5;
    for (auto _ : state)
        for (int k = 0; k < 5; ++k) {
            high = high == 0.5 ? 0.75 : 0.5;
            scene.host.SetValue(kProp + L".CombHigh", XSI::CValue(high));
            auto start = std::chrono::steady_clock::now();
            benchmark::DoNotOptimize(scene.Evaluate().data());
            times.push_back(Seconds(start));
        }
    const double update = Median(times);
    const std::vector<double> ours = scene.Evaluate();
    // The Shape's profile from the host's own evaluation of the curve.
    XSI::FCurve shape(XSI::CustomProperty(scene.host.Find(kProp)).GetParameter(L"Shape").GetValue());
    double profile[14];
    for (int k = 0; k < 14; ++k) profile[k] = static_cast<double>(shape.Eval(XSI::CTime(100.0 * (k + 1) / 14.0))) / 100.0;
    auto start = std::chrono::steady_clock::now();
    const std::vector<double> plain = Straightforward(scene, grown, high, 1.0, profile);
    const double slow = Seconds(start);
    double worst = 0.0;
    size_t moved = 0;
    for (size_t i = 0; i < plain.size(); ++i) {
        worst = std::max(worst, std::abs(plain[i] - ours[i]));
        moved += plain[i] != grown[i];
    }
    state.counters["update_ms"] = update * 1e3;
    state.counters["straightforward_ms"] = slow * 1e3;
    state.counters["ratio"] = slow / update;
    std::printf("%zu strands (%zu hair points) on %zu emitter points: one update %.1f ms (50 ms wanted); straightforward "
                "version %.0f ms, ratio %.1f; largest difference %.3g (%zu coordinates combed)\n",
                ours.size() / 42, ours.size() / 3, static_cast<size_t>(1002001), update * 1e3, slow * 1e3, slow / update,
                worst, moved);
}
BENCHMARK(BM_HairCombUpdate)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
