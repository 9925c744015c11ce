// The Clusters Map command from a user's side: clusters of a grid turned into weight maps.
#include <gtest/gtest.h>

#include <cmath>

#include "scene/host.h"
#include "xsi_cluster.h"
#include "xsi_clusterproperty.h"
#include "xsi_geometry.h"
#include "xsi_primitive.h"
#include "xsi_x3dobject.h"

using namespace XSI;

namespace {

// An 8 x 8 grid: vertex (r, c) is r * 9 + c, polygon (r, c) is r * 8 + c.
struct ClustersMapTest : ::testing::Test {
    standin::Host host{std::filesystem::temp_directory_path()};
    CRef grid;

    ClustersMapTest() {
        host.GetLog().SetEcho(false);
        EXPECT_EQ(host.LoadPlugin(ORBELIN_PLUGIN_PATH), CStatus::OK);
        grid = host.CreatePrim(L"Grid", L"grid", {{L"sizex", 8}, {L"sizez", 8}, {L"subdivu", 8}, {L"subdivv", 8}});
    }
    std::wstring MakeCluster(const wchar_t* type, const wchar_t* name, const std::vector<LONG>& indices) {
        CLongArray a;
        for (LONG i : indices) a.Add(i);
        Cluster c;
        EXPECT_EQ(X3DObject(grid).GetActivePrimitive().GetGeometry().AddCluster(type, name, a, c), CStatus::OK);
        return c.GetFullName().GetWideString();
    }
    CStatus Build(std::vector<CValue> clusters, CValue cropping) {
        CValueArray list;
        for (const CValue& c : clusters) list.Add(c);
        CValueArray args;
        args.Add(CValue(list));
        args.Add(cropping);
        CValue ret;
        return host.ExecuteCommand(L"Orbelin_zrClustersMapBuildCmd", args, ret);
    }
    std::vector<double> Map(const std::wstring& name) {
        CDoubleArray w = ClusterProperty(host.Find(L"grid.polymsh.cls.WeightMapCls" + name)).GetElements().GetArray();
        return std::vector<double>(w.GetArray(), w.GetArray() + w.GetCount());
    }
    std::vector<double> Block(int r0, int r1, int c0, int c1) {
        std::vector<double> w(81, 0.0);
        for (int r = r0; r <= r1; ++r)
            for (int c = c0; c <= c1; ++c) w[size_t(r * 9 + c)] = 1.0;
        return w;
    }
    size_t Count(const std::wstring& text) {
        size_t n = 0;
        for (const auto& e : host.GetLog().entries()) n += e.text == text;
        return n;
    }
};

TEST_F(ClustersMapTest, PolygonBlockCroppedByRings) {
    std::vector<LONG> faces;
    for (int r = 2; r <= 5; ++r)
        for (int c = 2; c <= 5; ++c) faces.push_back(r * 8 + c);
    const std::wstring block = MakeCluster(L"poly", L"Block", faces);
    ASSERT_EQ(Build({CValue(block.c_str())}, CValue(LONG(0))), CStatus::OK);
    EXPECT_EQ(Map(L".WMFromBlock"), Block(2, 6, 2, 6));
    EXPECT_EQ(Count(L"[OrbelinPlugin] [ Build ClustersMap ]"), 1u);
    EXPECT_EQ(Count(L"[OrbelinPlugin] >> Build Clusters into: [grid.polymsh.cls.WeightMapCls.WMFromBlock]"), 1u);
    // The command selects the object alone.
    ASSERT_EQ(host.Selection().size(), 1u);
    EXPECT_EQ(host.Selection()[0].GetAsText(), CString(L"grid"));
    ASSERT_EQ(Build({CValue(block.c_str())}, CValue(LONG(1))), CStatus::OK);
    EXPECT_EQ(Count(L"[OrbelinPlugin] >> Crop Clusters Area of 1"), 1u);
    EXPECT_EQ(Map(L"1.WMFromBlock"), Block(3, 5, 3, 5));
    ASSERT_EQ(Build({CValue(block.c_str())}, CValue(LONG(2))), CStatus::OK);
    EXPECT_EQ(Map(L"2.WMFromBlock"), Block(4, 4, 4, 4));
    ASSERT_EQ(Build({CValue(block.c_str())}, CValue(LONG(-1))), CStatus::OK);
    EXPECT_EQ(Count(L"[OrbelinPlugin] >> Crop Clusters Area of 1"), 2u);
    std::vector<double> ring = Map(L"3.WMFromBlock");
    EXPECT_EQ(std::count(ring.begin(), ring.end(), 1.0), 16);
    for (size_t v = 0; v < ring.size(); ++v) EXPECT_EQ(ring[v], Block(2, 6, 2, 6)[v] - Block(3, 5, 3, 5)[v]) << v;
}

TEST_F(ClustersMapTest, WholeMeshPointsAndEdgesNamedAfterTheirClusters) {
    std::vector<LONG> all(64);
    for (LONG i = 0; i < 64; ++i) all[size_t(i)] = i;
    const std::wstring whole = MakeCluster(L"poly", L"All", all);
    ASSERT_EQ(Build({CValue(whole.c_str())}, CValue(LONG(1))), CStatus::OK);
    EXPECT_EQ(Map(L".WMFromAll"), std::vector<double>(81, 1.0));
    ASSERT_EQ(Build({CValue(whole.c_str())}, CValue(LONG(-1))), CStatus::OK);
    EXPECT_EQ(Map(L"1.WMFromAll"), std::vector<double>(81, 0.0));
    // Points with Cropping 0, and an edge cluster: its edges' ends.
    const std::wstring points = MakeCluster(L"pnt", L"Left", {0, 40, 80});
    const std::wstring edges = MakeCluster(L"edge", L"Arm", {0});
    ASSERT_EQ(Build({CValue(points.c_str()), CValue(edges.c_str())}, CValue(LONG(0))), CStatus::OK);
    std::vector<double> w = Map(L"2.WMFromLeftArm");
    EXPECT_EQ(w[0], 1.0);
    EXPECT_EQ(w[40], 1.0);
    EXPECT_EQ(w[80], 1.0);
    EXPECT_EQ(std::count(w.begin(), w.end(), 1.0), 4) << "edge 0 adds one vertex beside vertex 0";
}

TEST_F(ClustersMapTest, WithoutClustersTheUserPicksOne) {
    const std::wstring points = MakeCluster(L"pnt", L"Tip", {7});
    // A non-cluster argument leads to the pick.
    host.PickQueue().push_back({points, 1, 0});
    ASSERT_EQ(Build({CValue(L"grid")}, CValue(LONG(0))), CStatus::OK);
    EXPECT_EQ(Count(L"[OrbelinPlugin] >> Please pick at least one cluster..."), 1u);
    std::vector<double> w = Map(L".WMFromTip");
    EXPECT_EQ(w[7], 1.0);
    EXPECT_EQ(std::count(w.begin(), w.end(), 1.0), 1);
    // None picked: an error, and no weight map.
    EXPECT_EQ(Build({}, CValue(LONG(0))), CStatus::InvalidArgument);
    EXPECT_EQ(Count(L"[OrbelinPlugin] >> You must select or pick at least one cluster!"), 1u);
    // A cropping that is no whole number is refused before anything is made.
    EXPECT_EQ(Build({CValue(points.c_str())}, CValue(std::nan(""))), CStatus::InvalidArgument);
    EXPECT_FALSE(host.Find(L"grid.polymsh.cls.WeightMapCls1.WMFromTip").IsValid());
}

}  // namespace
