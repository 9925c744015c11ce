// The gradient commands from a user's side: the build command on a grid from a corner, its
// dialog, targets, root pick and Cancel; the UV strips on a grid and a cylinder.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <set>

#include "scene/host.h"
#include "xsi_cluster.h"
#include "xsi_clusterproperty.h"
#include "xsi_geometry.h"
#include "xsi_polygonmesh.h"
#include "xsi_primitive.h"
#include "xsi_x3dobject.h"

using namespace XSI;

namespace {

struct GradientTest : ::testing::Test {
    standin::Host host{std::filesystem::temp_directory_path()};
    CRef grid;

    GradientTest() {
        host.GetLog().SetEcho(false);
        EXPECT_EQ(host.LoadPlugin(ORBELIN_PLUGIN_PATH), CStatus::OK);
        grid = host.CreatePrim(L"Grid", L"grid", {{L"subdivu", 4}, {L"subdivv", 4}});
    }
    CRef Cluster(const CRef& object, std::vector<LONG> indices, const std::wstring& name) {
        CLongArray a;
        for (LONG i : indices) a.Add(i);
        XSI::Cluster c;
        EXPECT_EQ(X3DObject(object).GetActivePrimitive().GetGeometry().AddCluster(L"pnt", name.c_str(), a, c), CStatus::OK);
        return c.GetRef();
    }
    // Runs the build command; `flags` are CreateCurvatureMap, CreateSingVerticesCluster,
    // CreateLocalMaxCluster, AskForParams.
    CStatus Build(const CValue& target, const CValue& root, std::array<bool, 4> flags, CValue& ret) {
        CValueArray args(6);
        args[0] = target, args[1] = root;
        for (LONG i = 0; i < 4; ++i) args[2 + i] = CValue(flags[static_cast<size_t>(i)]);
        return host.ExecuteCommand(L"Orbelin_zrGradientMapBuildCmd", args, ret);
    }
    std::vector<double> Weights(const std::wstring& path) {
        CDoubleArray w = ClusterProperty(host.Find(path)).GetElements().GetArray();
        return {w.GetArray(), w.GetArray() + w.GetCount()};
    }
    std::vector<LONG> Elements(const std::wstring& path) {
        CLongArray a = XSI::Cluster(host.Find(path)).GetElements().GetArray();
        return {a.GetArray(), a.GetArray() + a.GetCount()};
    }
    bool Logged(const std::wstring& text) { return host.GetLog().Contains(text); }
    static bool Done(const standin::LogEntry& e) { return e.text.find(L" Done ---") != std::wstring::npos; }
    size_t DoneLines() {
        const auto& e = host.GetLog().entries();
        return static_cast<size_t>(std::count_if(e.begin(), e.end(), Done));
    }
};

const std::wstring kGradient = L"grid.polymsh.cls.WeightMapCls.GradientWeightMap";

TEST_F(GradientTest, GridFromACornerGivesRingsOverEightAndItsClusters) {
    CRef root = Cluster(grid, {0}, L"Root");
    CValue ret;
    ASSERT_EQ(Build(CValue(grid), CValue(root), {true, true, true, false}, ret), CStatus::OK);
    EXPECT_EQ(static_cast<double>(ret), 8.0);
    std::vector<double> g = Weights(kGradient);
    ASSERT_EQ(g.size(), 25u);
    for (int row = 0; row < 5; ++row)
        for (int col = 0; col < 5; ++col) EXPECT_EQ(g[static_cast<size_t>(row * 5 + col)], (row + col) / 8.0);
    // The curvature map sits on the gradient map's cluster; a flat grid reads 0 everywhere.
    std::vector<double> c = Weights(L"grid.polymsh.cls.WeightMapCls.CurvatureWeightMap");
    EXPECT_EQ(c, std::vector<double>(25, 0.0));
    std::vector<LONG> singular = Elements(L"grid.polymsh.cls.SingVertices");
    std::set<LONG> border;
    for (LONG i = 0; i < 25; ++i)
        if (i % 5 == 0 || i % 5 == 4 || i / 5 == 0 || i / 5 == 4) border.insert(i);
    EXPECT_EQ(std::set<LONG>(singular.begin(), singular.end()), border);
    EXPECT_EQ(singular.size(), 16u);
    EXPECT_EQ(Elements(L"grid.polymsh.cls.LocalMaximaVertices"), std::vector<LONG>{24});
    EXPECT_TRUE(Logged(L"[OrbelinPlugin] [ Build GradientMap ]"));
    EXPECT_EQ(DoneLines(), 1u);
    // The bar went over every vertex, ring by ring, and is hidden again.
    EXPECT_EQ(host.Progress().GetMaximum(), 25);
    EXPECT_EQ(host.Progress().GetValue(), 25);
    EXPECT_EQ(host.Progress().GetCaption(), L"Processing");
    EXPECT_FALSE(host.Progress().GetVisible());
    // Without the flags only the gradient map is made.
    CRef other = host.CreatePrim(L"Grid", L"other", {{L"subdivu", 2}, {L"subdivv", 2}});
    ASSERT_EQ(Build(CValue(other), CValue(Cluster(other, {4}, L"Root")), {false, false, false, false}, ret), CStatus::OK);
    EXPECT_EQ(static_cast<double>(ret), 2.0);
    EXPECT_TRUE(host.Find(L"other.polymsh.cls.WeightMapCls.GradientWeightMap").IsValid());
    EXPECT_FALSE(host.Find(L"other.polymsh.cls.WeightMapCls.CurvatureWeightMap").IsValid());
    EXPECT_FALSE(host.Find(L"other.polymsh.cls.SingVertices").IsValid());
    EXPECT_FALSE(host.Find(L"other.polymsh.cls.LocalMaximaVertices").IsValid());
}

// DistanceMode (the argument after AskForParams): 1 edge paths, 2 geodesic; the ring walk's
// curvature, clusters and return value stay; other modes are refused before anything is made.
TEST_F(GradientTest, DistanceModesFillTheSameMapAndBadModesAreRefused) {
    auto build = [&](const CRef& object, const CRef& root, const CValue& mode, CValue& ret) {
        CValueArray args(7);
        args[0] = CValue(object), args[1] = CValue(root);
        args[2] = args[3] = args[4] = CValue(true);
        args[5] = CValue(false), args[6] = mode;
        return host.ExecuteCommand(L"Orbelin_zrGradientMapBuildCmd", args, ret);
    };
    // A 4 x 4 grid of 8 x 4 units: steps of 2 one way and 1 the other.
    CRef wide = host.CreatePrim(L"Grid", L"wide", {{L"sizex", 8}, {L"sizez", 4}, {L"subdivu", 4}, {L"subdivv", 4}});
    MATH::CVector3Array points = PolygonMesh(X3DObject(wide).GetActivePrimitive().GetGeometry()).GetVertices().GetPositionArray();
    const std::wstring map = L"wide.polymsh.cls.WeightMapCls.GradientWeightMap";
    CRef root = Cluster(wide, {0}, L"Root");
    CValue ret;
    ASSERT_EQ(build(wide, root, CValue(LONG{0}), ret), CStatus::OK);
    const std::vector<double> rings = Weights(map);
    for (int row = 0; row < 5; ++row)
        for (int col = 0; col < 5; ++col) EXPECT_EQ(rings[static_cast<size_t>(row * 5 + col)], (row + col) / 8.0);
    const std::vector<LONG> singular = Elements(L"wide.polymsh.cls.SingVertices");

    // The map itself as the target: the later builds rewrite it.
    const CRef target = host.Find(map);
    ASSERT_EQ(build(target, root, CValue(LONG{1}), ret), CStatus::OK);
    EXPECT_EQ(static_cast<double>(ret), 8.0);
    std::vector<double> g = Weights(map);
    ASSERT_EQ(g.size(), 25u);
    for (LONG v = 0; v < 25; ++v) {
        const double manhattan = std::abs(points[v].GetX() - points[0].GetX()) + std::abs(points[v].GetZ() - points[0].GetZ());
        EXPECT_NEAR(g[static_cast<size_t>(v)], manhattan / 12.0, 1e-12) << v;
    }
    EXPECT_EQ(Weights(L"wide.polymsh.cls.WeightMapCls.CurvatureWeightMap1"), std::vector<double>(25, 0.0));
    EXPECT_EQ(Elements(L"wide.polymsh.cls.SingVertices1"), singular);

    ASSERT_EQ(build(target, root, CValue(2.0), ret), CStatus::OK);
    EXPECT_EQ(static_cast<double>(ret), 8.0);
    g = Weights(map);
    EXPECT_EQ(g[0], 0.0);
    EXPECT_EQ(*std::max_element(g.begin(), g.end()), 1.0);
    EXPECT_EQ(std::max_element(g.begin(), g.end()) - g.begin(), 24);
    for (double x : g) EXPECT_TRUE(x >= 0.0 && x <= 1.0);
    // Straight along the 2-unit edges: half the way along the row is about 4 / sqrt(80).
    EXPECT_NEAR(g[2], 4.0 / std::sqrt(80.0), 0.05);

    for (const CValue& bad : {CValue(LONG{3}), CValue(LONG{-1}), CValue(1.5), CValue(std::nan(""))}) {
        const size_t before = host.GetLog().entries().size();
        EXPECT_EQ(build(target, root, bad, ret), CStatus::InvalidArgument);
        EXPECT_TRUE(Logged(L"DistanceMode must be 0 (ring count), 1 (edge paths) or 2 (geodesic)"));
        EXPECT_GT(host.GetLog().entries().size(), before);
    }
    EXPECT_FALSE(host.Find(L"wide.polymsh.cls.SingVertices3").IsValid());  // nothing made when refused
    EXPECT_EQ(Weights(map), g);
}

TEST_F(GradientTest, TheDialogSetsTheFlagsOrCancelsEverything) {
    CRef root = Cluster(grid, {0}, L"Root");
    CValue ret;
    // The page turns on what the arguments left off; the page goes away afterwards.
    host.PageQueue().push_back({{{L"CreateLocalMaxCluster", CValue(true)}}, false});
    ASSERT_EQ(Build(CValue(grid), CValue(root), {false, false, false, true}, ret), CStatus::OK);
    EXPECT_TRUE(host.PageQueue().empty());
    EXPECT_EQ(host.GetLog().CountWith(2), 0u);
    EXPECT_TRUE(host.Find(L"grid.polymsh.cls.LocalMaximaVertices").IsValid());
    EXPECT_FALSE(host.Find(L"grid.polymsh.cls.SingVertices").IsValid());
    EXPECT_FALSE(host.Find(L"Gradient Map Parameters").IsValid());
    EXPECT_FALSE(host.Find(L"Gradient_Map_Parameters").IsValid());

    // Cancelled: nothing made, an error and the closing line, success.
    CRef other = host.CreatePrim(L"Grid", L"other", {{L"subdivu", 2}, {L"subdivv", 2}});
    host.PageQueue().push_back({{}, true});
    const size_t done = DoneLines();
    ASSERT_EQ(Build(CValue(other), CValue(root), {true, true, true, true}, ret), CStatus::OK);
    EXPECT_TRUE(ret.IsEmpty());
    EXPECT_TRUE(Logged(L"[OrbelinPlugin] >> Command Canceled by user."));
    EXPECT_EQ(DoneLines(), done + 1);
    EXPECT_FALSE(host.Find(L"other.polymsh.cls.WeightMapCls").IsValid());
    EXPECT_FALSE(host.Find(L"Gradient_Map_Parameters").IsValid());
}

TEST_F(GradientTest, WrongTargetsAndAbandonedPicksMakeNothing) {
    CRef root = Cluster(grid, {0}, L"Root");
    CValue ret;
    // A null is no target: an error, E_INVALIDARG, and no closing line.
    CRef null = host.CreateNull(L"empty");
    ASSERT_EQ(Build(CValue(XSI::CRef()), CValue(root), {false, false, false, false}, ret), CStatus::InvalidArgument);
    EXPECT_TRUE(Logged(L"[OrbelinPlugin] >> You must select at least one target Object, Cluster or WeighMap!"));
    EXPECT_EQ(DoneLines(), 0u);
    // An object that is no polygon mesh cannot take a gradient.
    EXPECT_EQ(Build(CValue(null), CValue(root), {false, false, false, false}, ret), CStatus::InvalidArgument);
    EXPECT_EQ(DoneLines(), 0u);
    // No root given and the pick abandoned: an error, the closing line, success, no map.
    ASSERT_EQ(Build(CValue(grid), CValue(), {false, false, false, false}, ret), CStatus::OK);
    EXPECT_TRUE(Logged(L"[OrbelinPlugin] >> Command Canceled: You must pick at least one Root cluster!"));
    EXPECT_EQ(DoneLines(), 1u);
    EXPECT_FALSE(host.Find(kGradient).IsValid());
    EXPECT_TRUE(ret.IsEmpty());
    // The same with the root picked.
    host.PickQueue().push_back({L"grid.polymsh.cls.Root", 1, 0});
    ASSERT_EQ(Build(CValue(grid), CValue(), {false, false, false, false}, ret), CStatus::OK);
    EXPECT_EQ(static_cast<double>(ret), 8.0);
    // A root cluster of a bigger mesh names vertices this one does not have.
    CRef big = host.CreatePrim(L"Grid", L"big", {{L"subdivu", 9}, {L"subdivv", 9}});
    ASSERT_EQ(Build(CValue(grid), CValue(Cluster(big, {99}, L"Far")), {false, false, false, false}, ret),
              CStatus::InvalidArgument);
    EXPECT_TRUE(Logged(L"[OrbelinPlugin] >> The Root cluster big.polymsh.cls.Far names vertex 99, which grid does not have!"));
}

TEST_F(GradientTest, AWeightMapTargetTakesTheGradientItself) {
    CValueArray args(5);
    args[0] = CValue(L""), args[1] = CValue(grid), args[2] = CValue(L"Mine"), args[3] = CValue(L""), args[4] = CValue(false);
    CValue made;
    ASSERT_EQ(host.ExecuteCommand(L"CreateWeightMap", args, made), CStatus::OK);
    const CValueArray& created = made;
    CRef map(created[0]);
    CValue ret;
    ASSERT_EQ(Build(CValue(map), CValue(Cluster(grid, {24}, L"Root")), {false, false, false, false}, ret), CStatus::OK);
    std::vector<double> g = Weights(SIObject(map).GetFullName().GetWideString());
    EXPECT_EQ(g[24], 0.0);
    EXPECT_EQ(g[0], 1.0);
    EXPECT_FALSE(host.Find(kGradient).IsValid());

    // A cluster as target: the walk stays inside it when the root is inside.
    CRef half = Cluster(grid, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, L"Half");
    ASSERT_EQ(Build(CValue(half), CValue(Cluster(grid, {0}, L"Corner")), {false, false, false, false}, ret), CStatus::OK);
    EXPECT_EQ(static_cast<double>(ret), 6.0);
    std::vector<double> h = Weights(L"grid.polymsh.cls.Half.GradientWeightMap");
    ASSERT_EQ(h.size(), 10u);
    EXPECT_EQ(h[9], 5.0 / 6.0);
}

TEST_F(GradientTest, AnAllQuadMeshGetsVertexZeroAsSingular) {
    CRef torus = host.CreatePrim(L"Torus", L"torus", {{L"subdivu", 8}, {L"subdivv", 6}});
    CValue ret;
    ASSERT_EQ(Build(CValue(torus), CValue(Cluster(torus, {3}, L"Root")), {true, true, true, false}, ret), CStatus::OK);
    EXPECT_EQ(Elements(L"torus.polymsh.cls.SingVertices"), std::vector<LONG>{0});
    // A torus curves everywhere; the curvature is 1 - |cos| of the largest normal turn.
    for (double c : Weights(L"torus.polymsh.cls.WeightMapCls.CurvatureWeightMap")) {
        EXPECT_GT(c, 0.0);
        EXPECT_LT(c, 1.0);
    }
}

TEST_F(GradientTest, CancelAfterTheFirstRingKeepsTheInitialWeights) {
    // Cancel is pressed from the start: the walk sees it once the first ring is done.
    host.Progress().CancelAfter(0);
    CValue ret;
    ASSERT_EQ(Build(CValue(grid), CValue(Cluster(grid, {0}, L"Root")), {true, true, true, false}, ret), CStatus::OK);
    EXPECT_TRUE(ret.IsEmpty());
    EXPECT_EQ(Weights(kGradient), std::vector<double>(25, 0.0));
    EXPECT_TRUE(host.Find(L"grid.polymsh.cls.WeightMapCls.CurvatureWeightMap").IsValid());
    EXPECT_FALSE(host.Find(L"grid.polymsh.cls.SingVertices").IsValid());
    EXPECT_FALSE(host.Find(L"grid.polymsh.cls.LocalMaximaVertices").IsValid());
    EXPECT_EQ(DoneLines(), 0u);
}

}  // namespace

namespace {

struct UVTest : GradientTest {
    // A gradient map built from the root vertices `roots` of `object`.
    CRef Gradient(const CRef& object, std::vector<LONG> roots) {
        CValue ret;
        EXPECT_EQ(Build(CValue(object), CValue(Cluster(object, roots, L"Root")), {false, false, false, false}, ret),
                  CStatus::OK);
        return host.Find(std::wstring(SIObject(object).GetFullName().GetWideString()) +
                         L".polymsh.cls.WeightMapCls.GradientWeightMap");
    }
    CStatus UV(const CValue& map, CValue& ret, double shift = 0.0, bool normalize = true, bool autoShift = true,
               LONG root = -1, bool ask = false) {
        CValueArray args(6);
        args[0] = map, args[1] = CValue(shift), args[2] = CValue(normalize), args[3] = CValue(autoShift);
        args[4] = CValue(root), args[5] = CValue(ask);
        return host.ExecuteCommand(L"Orbelin_zrUVFromGradientMapCmd", args, ret);
    }
    // (u, v) of each sample.
    std::vector<std::array<double, 2>> UVs(const std::wstring& object) {
        CDoubleArray a = ClusterProperty(host.Find(object + L".polymsh.cls.Texture_Coordinates_AUTO.zrGradientUVs"))
                             .GetElements()
                             .GetArray();
        std::vector<std::array<double, 2>> out;
        for (LONG i = 0; i + 2 < a.GetCount(); i += 3) out.push_back({a[i], a[i + 1]});
        return out;
    }
};

void ExpectUVs(const std::vector<std::array<double, 2>>& got, const std::vector<std::array<double, 2>>& want) {
    ASSERT_EQ(got.size(), want.size());
    for (size_t s = 0; s < got.size(); ++s) {
        EXPECT_NEAR(got[s][0], want[s][0], 1e-12) << "sample " << s;
        EXPECT_NEAR(got[s][1], want[s][1], 1e-12) << "sample " << s;
    }
}

constexpr double k3 = 1.0 / 3.0, k23 = 2.0 / 3.0;

TEST_F(UVTest, GridStripsClimbFromTheFirstRow) {
    // A 3 x 3 grid, roots the first row (gradient = row / 2). Worked by hand through the walk:
    // each root climbs one strip of width 1/3; the second and third overwrite the first's
    // quads, so the first column of u stays unused. Samples are quad corners in quad order.
    CRef g3 = host.CreatePrim(L"Grid", L"g3", {{L"subdivu", 2}, {L"subdivv", 2}});
    CRef map = Gradient(g3, {0, 1, 2});
    CValue ret;
    ASSERT_EQ(UV(CValue(map), ret), CStatus::OK);
    EXPECT_EQ(static_cast<double>(ret), 3.0);
    EXPECT_EQ(host.Progress().GetMaximum(), 4);
    EXPECT_EQ(host.Progress().GetValue(), 3);
    EXPECT_EQ(host.Progress().GetCaption(), L"Post-Processing UVs");
    ExpectUVs(UVs(L"g3"), {{k3, 0}, {k3, .5}, {k23, .5}, {k23, 0},      // quad 0: 0 3 4 1
                           {k23, 0}, {k23, .5}, {1, .5}, {1, 0},       // quad 1: 1 4 5 2
                           {k3, .5}, {k3, 1}, {k23, 1}, {k23, .5},     // quad 2: 3 6 7 4
                           {k23, .5}, {k23, 1}, {1, 1}, {1, .5}});     // quad 3: 4 7 8 5
    for (const char* line : {"Gradient Mapg3.polymsh.cls.WeightMapCls.GradientWeightMap", "Before CreateProjection!",
                             "After CreateProjection!", "Nb Vertices9",
                             "[OrbelinPlugin] >> Vertical Incrementation: 0.5", "[OrbelinPlugin] >> Vertex 0 : 0",
                             "[OrbelinPlugin] >> Vertex 1 : 1", "[OrbelinPlugin] >> Vertex 2 : 2"})
        EXPECT_TRUE(Logged(std::wstring(line, line + std::strlen(line)))) << line;

    // Again, from the last root, unnormalised: the property is reused and overwritten.
    const size_t before = host.GetLog().Count();
    ASSERT_EQ(UV(CValue(map), ret, 0.0, false, true, 2), CStatus::OK);
    EXPECT_EQ(static_cast<double>(ret), 3.0);
    for (const auto& line : host.GetLog().LinesSince(before)) EXPECT_EQ(line.text.find(L"CreateProjection"), std::wstring::npos);
    EXPECT_TRUE(Logged(L"[OrbelinPlugin] >> Vertex 0 : 2"));
    std::vector<std::array<double, 2>> again = UVs(L"g3");
    // Root 2 now takes u = 0: quad 1 lies at [0, 1/3].
    EXPECT_NEAR(again[4][0], 0.0, 1e-12);
    EXPECT_NEAR(again[6][0], k3, 1e-12);
    EXPECT_EQ(XSI::Cluster(host.Find(L"g3.polymsh.cls.Texture_Coordinates_AUTO")).GetProperties().GetCount(), 1);
}

TEST_F(UVTest, CylinderStripsAndTheFillOfAnUncoveredQuad) {
    // An open cylinder of 3 x 1 quads, roots the bottom ring (gradient 0 below, 1 above).
    // Worked by hand: the strips of roots 0, 1 and 2 write quads 2, 1 and 2 again; quad 0 is
    // never written and is filled from its written edge neighbours' smallest u and v (2/3, 0)
    // with the last start's width 1/3 and the vertical step 1. The page, accepted as it is,
    // changes nothing.
    CRef tube = host.CreatePrim(L"Cylinder", L"tube", {{L"subdivu", 3}, {L"subdivv", 1}, {L"caps", 0}});
    CRef map = Gradient(tube, {0, 1, 2});
    CValue ret;
    ASSERT_EQ(UV(CValue(map), ret, 0, true, true, -1, true), CStatus::OK);
    EXPECT_EQ(host.GetLog().CountWith(2), 0u);
    EXPECT_EQ(static_cast<double>(ret), 3.0);
    ExpectUVs(UVs(L"tube"), {{k23, 0}, {1, 0}, {1, 1}, {k23, 1},      // quad 0: 0 1 4 3 (filled)
                             {k23, 0}, {k3, 0}, {k3, 1}, {k23, 1},    // quad 1: 1 2 5 4
                             {1, 0}, {k23, 0}, {k23, 1}, {1, 1}});    // quad 2: 2 0 3 5
    EXPECT_TRUE(Logged(L"[OrbelinPlugin] >> Vertical Incrementation: 1"));
}

TEST_F(UVTest, APoleBranchesIntoStripsOfTheirOwn) {
    // From the pole of a sphere (valence 8) the strips branch: every written value is a
    // finite, non-negative u and a v between 0 and 1 + the vertical step, and a second run
    // gives the same layout.
    CRef ball = host.CreatePrim(L"Sphere", L"ball", {{L"subdivu", 8}, {L"subdivv", 6}});
    CRef map = Gradient(ball, {0});
    CValue ret;
    ASSERT_EQ(UV(CValue(map), ret), CStatus::OK);
    const double roots = 1.0, value = static_cast<double>(ret);
    EXPECT_GE(value, roots);  // one root, times maxU >= 1
    const auto first = UVs(L"ball");
    for (const auto& uv : first) {
        EXPECT_TRUE(std::isfinite(uv[0]) && uv[0] >= 0.0);
        EXPECT_TRUE(uv[1] >= 0.0 && uv[1] <= 1.0 + 1.0 / 6.0);
    }
    ASSERT_EQ(UV(CValue(map), ret), CStatus::OK);
    const auto second = UVs(L"ball");
    EXPECT_EQ(first, second);
    EXPECT_EQ(static_cast<double>(ret), value);
}

TEST_F(UVTest, RefusalsAndCancelWriteNothing) {
    CValue ret;
    // Not a weight map.
    ASSERT_EQ(UV(CValue(grid), ret), CStatus::InvalidArgument);
    EXPECT_TRUE(Logged(L"[OrbelinPlugin] >> You must select a Gradient WeighMap!"));
    // The dialog cancelled.
    CRef map = Gradient(grid, {0});
    host.PageQueue().push_back({{}, true});
    ASSERT_EQ(UV(CValue(map), ret, 0, true, true, -1, true), CStatus::OK);
    EXPECT_TRUE(Logged(L"[OrbelinPlugin] >> Command Canceled by user."));
    EXPECT_FALSE(host.Find(L"grid.polymsh.cls.Texture_Coordinates_AUTO").IsValid());
    // A map with no 0 has no roots: refused before anything is made.
    CDoubleArray ones(25);
    for (LONG i = 0; i < 25; ++i) ones[i] = 1.0;
    ClusterProperty(map).GetElements().PutArray(ones);
    ASSERT_EQ(UV(CValue(map), ret), CStatus::InvalidArgument);
    EXPECT_TRUE(Logged(L"[OrbelinPlugin] >> The Gradient WeighMap has no root vertex: no weight is 0!"));
    EXPECT_FALSE(host.Find(L"grid.polymsh.cls.Texture_Coordinates_AUTO").IsValid());
    // A map on part of the mesh cannot say where every vertex stands.
    CValue made;
    ASSERT_EQ(Build(CValue(Cluster(grid, {0, 1}, L"Part")), CValue(Cluster(grid, {0}, L"R")), {false, false, false, false}, made),
              CStatus::OK);
    ASSERT_EQ(UV(CValue(host.Find(L"grid.polymsh.cls.Part.GradientWeightMap")), ret), CStatus::InvalidArgument);
    EXPECT_TRUE(Logged(L"[OrbelinPlugin] >> The Gradient WeighMap must cover every vertex of its mesh!"));
}

}  // namespace
