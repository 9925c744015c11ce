// The Smooth Map from a user's side: applied to a grid, checked against the recursive
// definition written over the object model's own neighbour queries, driven from its page.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <random>

#include "core/object.h"
#include "scene/host.h"
#include "scene/nodes.h"
#include "xsi_cluster.h"
#include "xsi_clusterproperty.h"
#include "xsi_customproperty.h"
#include "xsi_polygonface.h"
#include "xsi_polygonmesh.h"
#include "xsi_primitive.h"
#include "xsi_vertex.h"
#include "xsi_x3dobject.h"

using namespace XSI;

namespace {

const std::wstring kMap = L"grid.polymsh.cls.WeightMapCls.SmoothWeightMap";
const std::wstring kProp = kMap + L"_SmoothMap";

struct Settings {
    LONG radius = 1, repeat = 1, post = 0;
    bool faces = false;
    double min = 0, max = 1;
};

struct SmoothTest : ::testing::Test {
    standin::Host host{std::filesystem::temp_directory_path()};
    CRef grid;
    std::mt19937 rng{7};

    SmoothTest() {
        host.GetLog().SetEcho(false);
        EXPECT_EQ(host.LoadPlugin(ORBELIN_PLUGIN_PATH), CStatus::OK);
        grid = host.CreatePrim(L"Grid", L"grid", {{L"subdivu", 6}, {L"subdivv", 5}});
        Apply(grid);
    }
    void Apply(const CRef& target) {
        host.Select({target});
        CValueArray args;
        CValue ret;
        ASSERT_EQ(host.ExecuteCommand(L"Orbelin_zrSmoothMapApplyCmd", args, ret), CStatus::OK);
    }
    void Set(const std::wstring& param, const CValue& v, const std::wstring& prop = kProp) {
        ASSERT_EQ(host.SetValue(prop + L"." + param, v), CStatus::OK) << std::string(param.begin(), param.end());
    }
    CValue Get(const std::wstring& param) {
        CValue v;
        host.GetValue(kProp + L"." + param, v);
        return v;
    }
    void Use(const Settings& s, const std::wstring& prop = kProp) {
        Set(L"Radius", CValue(s.radius), prop);
        Set(L"Repeat", CValue(s.repeat), prop);
        Set(L"OpWeightPostProcess", CValue(s.post), prop);
        Set(L"UseFaceNeighbors", CValue(s.faces), prop);
        Set(L"Min", CValue(s.min), prop);
        Set(L"Max", CValue(s.max), prop);
    }
    std::vector<double> Weights(const std::wstring& map = kMap) {
        CDoubleArray w = ClusterProperty(host.Find(map)).GetElements().GetArray();
        return {w.GetArray(), w.GetArray() + w.GetCount()};
    }
    // New input weights under the operator, in [lo, hi).
    std::vector<double> SetInput(double lo = 0, double hi = 1, const std::wstring& map = kMap) {
        ClusterProperty wm(host.Find(map));
        std::uniform_real_distribution<double> d(lo, hi);
        CDoubleArray in(wm.GetElements().GetCount());
        for (LONG i = 0; i < in.GetCount(); ++i) in[i] = d(rng);
        EXPECT_EQ(wm.GetElements().PutArray(in), CStatus::OK);
        return {in.GetArray(), in.GetArray() + in.GetCount()};
    }
    std::wstring Page() {
        bool cancelled = false;
        host.InspectObj(host.Find(kProp), siRecycle, cancelled);
        return host.DescribePage(host.Find(kProp));
    }

    // The smoothing as defined, vertex by vertex through the object model: a depth-first walk
    // with late marks (or the plain list for radius <= 0), clamp at every pass; an element
    // with nothing to count keeps its weight.
    static std::vector<double> Reference(const CRef& object, const std::wstring& map, const std::vector<double>& in,
                                         const Settings& s) {
        Geometry geometry = X3DObject(object).GetActivePrimitive().GetGeometry();
        CVertexRefArray vertices = PolygonMesh(geometry.GetRef()).GetVertices();
        const size_t V = static_cast<size_t>(vertices.GetCount());
        std::vector<std::vector<LONG>> lists(V);
        for (size_t v = 0; v < V; ++v) {
            Vertex vertex(vertices[LONG(v)]);
            CVertexRefArray n = s.faces ? vertex.GetNeighborPolygons(1).GetNeighborVertices(1) : vertex.GetNeighborVertices(1);
            for (LONG i = 0; i < n.GetCount(); ++i)
                if (Vertex(n[i]).GetIndex() != LONG(v)) lists[v].push_back(Vertex(n[i]).GetIndex());
        }
        CLongArray cluster = Cluster(SIObject(Standin(map)).GetParent()).GetElements().GetArray();
        std::vector<double> cur(V, 0.0), next(V, 0.0);
        for (LONG j = 0; j < cluster.GetCount(); ++j) cur[size_t(cluster[j])] = in[size_t(j)];
        for (LONG pass = 0; pass < s.repeat; ++pass) {
            for (LONG j = 0; j < cluster.GetCount(); ++j) {
                const LONG p = cluster[j];
                double sum = 0;
                int count = 0;
                std::vector<bool> visited(V, false);
                std::function<void(LONG, LONG)> gather = [&](LONG v, LONG depth) {
                    visited[size_t(v)] = true;
                    for (LONG n : lists[size_t(v)])
                        if (!visited[size_t(n)]) {
                            sum += cur[size_t(n)];
                            ++count;
                            if (depth <= s.radius) gather(n, depth + 1);
                        }
                };
                if (s.radius >= 1) gather(p, 1);
                else
                    for (LONG n : lists[size_t(p)]) sum += cur[size_t(n)], ++count;
                double a = count ? sum / count : cur[size_t(p)];
                if (s.post == 1) a = std::min(std::max(a, s.min), s.max);
                next[size_t(p)] = a;
            }
            cur = next;
        }
        std::vector<double> out;
        for (LONG j = 0; j < cluster.GetCount(); ++j) out.push_back(next[size_t(cluster[j])]);
        return out;
    }
    static CRef Standin(const std::wstring& path) { return standin::Host::Current().Find(path); }
};

TEST_F(SmoothTest, ApplyingMakesThePropertyWithItsParametersAndOpensThePage) {
    CustomProperty prop(host.Find(kProp));
    ASSERT_TRUE(prop.IsValid());
    CParameterRefArray params = prop.GetParameters();
    const wchar_t* names[] = {L"Enable", L"OpMode", L"OpWeightPostProcess", L"Min", L"Max", L"StartFrame", L"EndFrame",
                              L"CleanCacheIdx", L"Radius", L"Repeat", L"UseFaceNeighbors", L"OperatorFullPath"};
    ASSERT_EQ(params.GetCount(), 12);
    for (LONG i = 0; i < 12; ++i) EXPECT_EQ(std::wstring(Parameter(params[i]).GetScriptName().GetWideString()), names[i]);
    EXPECT_EQ(std::wstring(Get(L"OperatorFullPath").GetAsText().GetWideString()), kMap + L".zrSmoothMapOp");
    EXPECT_TRUE(static_cast<bool>(Get(L"Enable")));
    EXPECT_EQ(static_cast<LONG>(Get(L"OpMode")), 1);
    EXPECT_EQ(static_cast<double>(Get(L"Max")), 1.0);
    EXPECT_EQ(static_cast<LONG>(Get(L"Radius")), 1);
    EXPECT_EQ(static_cast<LONG>(Get(L"Repeat")), 1);
    EXPECT_FALSE(static_cast<bool>(Get(L"UseFaceNeighbors")));
    Parameter radius(params[8]);
    EXPECT_EQ(static_cast<double>(radius.GetMin()), 1.0);
    EXPECT_EQ(static_cast<double>(radius.GetMax()), 10.0);
    EXPECT_EQ(static_cast<double>(radius.GetSuggestedMax()), 3.0);
    EXPECT_EQ(static_cast<double>(Parameter(params[4]).GetSuggestedMax()), 20.0);
    EXPECT_EQ(radius.GetCapabilities(), 5);
    EXPECT_TRUE(host.IsPageOpen(host.Find(kProp)));
    // The frame range comes from the play control when the property is made.
    host.SetValue(L"PlayControl.In", CValue(5.0));
    host.SetValue(L"PlayControl.Out", CValue(48.0));
    Apply(host.Find(L"grid"));
    CValue start, end;
    host.GetValue(L"grid.polymsh.cls.WeightMapCls1.SmoothWeightMap_SmoothMap.StartFrame", start);
    host.GetValue(L"grid.polymsh.cls.WeightMapCls1.SmoothWeightMap_SmoothMap.EndFrame", end);
    EXPECT_EQ(static_cast<LONG>(start), 5);
    EXPECT_EQ(static_cast<LONG>(end), 48);
}

TEST_F(SmoothTest, EveryRadiusAndNeighbourhoodIsTheRecursiveDefinition) {
    for (LONG radius : {1, 2, 3})
        for (bool faces : {false, true})
            for (LONG repeat : {1, 2}) {
                SCOPED_TRACE(testing::Message() << "radius " << radius << " faces " << faces << " repeat " << repeat);
                Settings s{radius, repeat, 0, faces};
                Use(s);
                std::vector<double> in = SetInput();
                EXPECT_EQ(Weights(), Reference(grid, kMap, in, s));
            }
    // Radius 1, edges, one pass, on an inner point of a flat map: its 4 neighbours and their 8
    // further neighbours, the centre not counted; the border points are pulled towards 0.
    Use(Settings{});
    ClusterProperty wm(host.Find(kMap));
    CDoubleArray ones(wm.GetElements().GetCount());
    for (LONG i = 0; i < ones.GetCount(); ++i) ones[i] = 1.0;
    wm.GetElements().PutArray(ones);
    std::vector<double> w = Weights();
    EXPECT_EQ(w[2 * 7 + 3], 1.0);
    for (double v : w) EXPECT_EQ(v, 1.0);  // the whole grid is in the cluster: nothing outside
}

// Radius 0 and Repeat 0 lie below their ranges: a script may still set them (the object model's
// PutValue clamps). Radius 0 averages the plain neighbour list; Repeat 0 makes no pass, so
// the map is all zero.
TEST_F(SmoothTest, RadiusAndRepeatBelowTheirRangesFromScriptsAndClampAtEveryPass) {
    std::vector<double> in = SetInput(0.5, 1.0);
    Set(L"Radius", CValue(LONG(0)));
    EXPECT_EQ(static_cast<LONG>(Get(L"Radius")), 0);
    for (bool faces : {false, true}) {
        Settings direct{0, 1, 0, faces};
        Use(direct);
        in = SetInput(0.5, 1.0);
        EXPECT_EQ(Weights(), Reference(grid, kMap, in, direct)) << "faces " << faces;
    }
    Set(L"Repeat", CValue(LONG(0)));
    EXPECT_EQ(static_cast<LONG>(Get(L"Repeat")), 0);
    for (double v : Weights()) EXPECT_EQ(v, 0.0);
    CustomProperty prop(host.Find(kProp));
    EXPECT_EQ(prop.PutParameterValue(CString(L"Repeat"), CValue(LONG(-4))), CStatus::OK);
    EXPECT_EQ(static_cast<LONG>(Get(L"Repeat")), 1);
    EXPECT_EQ(prop.PutParameterValue(CString(L"Radius"), CValue(LONG(40))), CStatus::OK);
    EXPECT_EQ(static_cast<LONG>(Get(L"Radius")), 10);
    Settings s{1, 3, 1, false, 0.2, 0.6};
    Use(s);
    in = SetInput(-2.0, 3.0);
    std::vector<double> w = Weights();
    EXPECT_EQ(w, Reference(grid, kMap, in, s));
    Settings late = s;
    late.post = 0;
    std::vector<double> unclamped = Reference(grid, kMap, in, late);
    bool differs = false;
    for (size_t i = 0; i < w.size(); ++i) {
        EXPECT_GE(w[i], 0.2);
        EXPECT_LE(w[i], 0.6);
        differs |= w[i] != std::min(std::max(unclamped[i], 0.2), 0.6);
    }
    EXPECT_TRUE(differs) << "clamping only the last pass would give the same weights";
}

TEST_F(SmoothTest, APartialClusterIsPulledTowardsZeroAtItsBorder) {
    Geometry geometry = X3DObject(grid).GetActivePrimitive().GetGeometry();
    CLongArray part;
    for (LONG v : {9, 10, 11, 16, 17, 18, 23, 24, 25, 30}) part.Add(v);
    Cluster cls;
    ASSERT_EQ(geometry.AddCluster(L"pnt", L"Part", part, cls), CStatus::OK);
    Apply(cls.GetRef());
    const std::wstring map = L"grid.polymsh.cls.Part.SmoothWeightMap", prop = map + L"_SmoothMap";
    for (bool faces : {false, true}) {
        Settings s{1, 2, 0, faces};
        Use(s, prop);
        std::vector<double> in = SetInput(0.5, 1.0, map);
        std::vector<double> w = Weights(map);
        EXPECT_EQ(w, Reference(grid, map, in, s));
        EXPECT_LT(w[9], 0.5);  // the lone point below the block: mostly outside neighbours
    }
}

TEST_F(SmoothTest, AnIsolatedPointKeepsItsWeightWithAWarning) {
    host.CreatePolyMesh(L"lone", standin::mesh::PolyMesh::Build({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {5, 5, 5}}, {0, 3}, {0, 1, 2}));
    Apply(host.Find(L"lone"));
    const std::wstring map = L"lone.polymsh.cls.WeightMapCls.SmoothWeightMap";
    std::vector<double> in = SetInput(0.0, 1.0, map);
    const size_t from = host.GetLog().Count();
    std::vector<double> w = Weights(map);
    EXPECT_EQ(w[3], in[3]);
    // Vertex 0 walks 1, which counts 2 before 2 is walked: late marks count it twice.
    EXPECT_EQ(w[0], (in[1] + in[2] + in[2]) / 3);
    auto lines = host.GetLog().LinesSince(from);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].severity, siWarningMsg);
    EXPECT_EQ(lines[0].text, L"[OrbelinPlugin] >> Smooth Map: 1 point(s) without neighbours; their weight was kept.");
}

TEST_F(SmoothTest, HoldFreezesAndCachingKeepsEachFrame) {
    SetInput();
    Set(L"OpMode", CValue(LONG(0)));
    const std::vector<double> held = Weights();
    SetInput();
    EXPECT_EQ(Weights(), held);
    Set(L"OpMode", CValue(LONG(2)));
    host.SetFrame(1);
    std::vector<double> in = SetInput();
    const std::vector<double> atOne = Weights();
    EXPECT_EQ(atOne, Reference(grid, kMap, in, Settings{}));
    SetInput();
    EXPECT_EQ(Weights(), atOne);  // cached
    // The page's Clean Cache button does nothing: the frame stays cached.
    ASSERT_NE(Page().find(L"Clean Cache"), std::wstring::npos);
    EXPECT_EQ(host.PressButton(host.Find(kProp), L"CleanCache"), CStatus::OK);
    EXPECT_EQ(static_cast<LONG>(Get(L"CleanCacheIdx")), 0);
    EXPECT_EQ(Weights(), atOne);
    host.SetFrame(2);
    EXPECT_NE(Weights(), atOne);
    Set(L"CleanCacheIdx", CValue(LONG(1)));
    host.SetFrame(1);
    EXPECT_NE(Weights(), atOne);
}

TEST_F(SmoothTest, ThePageShowsTheFrameRangeOnlyWhenCaching) {
    std::wstring page = Page();
    for (const wchar_t* text : {L"Smooth Weightmap", L"Execution State", L"Use Face Neighbors", L"Repeat", L"Post-Process",
                                L" Read From Input - Caching ", L" Change Range ", L"smoothmap.html"})
        EXPECT_NE(page.find(text), std::wstring::npos) << std::wstring(text);
    EXPECT_EQ(page.find(L"Clean Cache"), std::wstring::npos);
    EXPECT_EQ(page.find(L"Start Frame"), std::wstring::npos);
    Set(L"OpMode", CValue(LONG(2)));
    page = host.DescribePage(host.Find(kProp));
    EXPECT_NE(page.find(L"Start Frame"), std::wstring::npos);
    EXPECT_NE(page.find(L"End Frame"), std::wstring::npos);
    Set(L"Radius", CValue(LONG(2)));  // other changes leave the page as it is
    EXPECT_EQ(host.DescribePage(host.Find(kProp)), page);
}

TEST_F(SmoothTest, NewPolygonsRebuildTheListsAndNewPositionsKeepThem) {
    Settings s{1, 1, 0, false};
    std::vector<double> in = SetInput();
    const std::vector<double> before = Weights();
    // Moved points: the same neighbourhoods, the same weights.
    std::vector<standin::mesh::Vec3> moved;
    auto* node = dynamic_cast<standin::PolyMeshNode*>(X3DObject(grid).GetActivePrimitive().GetGeometry().GetRef().GetHostObject());
    ASSERT_NE(node, nullptr);
    for (const auto& p : node->mesh.Positions()) moved.push_back({p.x, p.y + p.x * p.x, p.z});
    host.SetPointPositions(grid, moved);
    EXPECT_EQ(Weights(), before);
    // The same points joined otherwise: every quad split into two triangles.
    std::vector<int32_t> offsets{0}, corners;
    for (int32_t p = 0; p < node->mesh.PolygonCount(); ++p) {
        auto c = node->mesh.PolygonVertices(p);
        for (int32_t t : {c[0], c[1], c[2], c[0], c[2], c[3]}) corners.push_back(t);
        offsets.push_back(offsets.back() + 3);
        offsets.push_back(offsets.back() + 3);
    }
    node->mesh = standin::mesh::PolyMesh::Build(moved, offsets, corners);
    XSI::Host::Touch(node);
    const std::vector<double> after = Weights();
    EXPECT_EQ(after, Reference(grid, kMap, in, s));
    EXPECT_NE(after, before);
}

}  // namespace
