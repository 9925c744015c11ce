// The Gradient Hair Comb from a user's side: hair grown on a patch of a grid, a gradient map
// on the grid, the apply command with its arguments in either order, and the combed strands.
#include <gtest/gtest.h>

#include <cmath>

#include "scene/hair.h"
#include "scene/host.h"
#include "xsi_cluster.h"
#include "xsi_clusterproperty.h"
#include "xsi_customproperty.h"
#include "xsi_fcurve.h"
#include "xsi_geometry.h"
#include "xsi_operator.h"
#include "xsi_primitive.h"
#include "xsi_x3dobject.h"

using namespace XSI;

namespace {

const std::wstring kProp = L"Fur.GradientMapHairComb";
const std::wstring kOp = L"Fur.hair.zrGradientMapHairCombOp";

struct HairCombTest : ::testing::Test {
    standin::Host host{std::filesystem::temp_directory_path()};
    CRef grid, patch, hair, map;

    // A 4 x 4 grid, its vertices 1 apart from -2 to 2 (vertex i at x = i % 5 - 2, z = i / 5 - 2);
    // strands of length 1 on polygons 5 then 0; the map rises with x.
    HairCombTest() {
        host.GetLog().SetEcho(false);
        EXPECT_EQ(host.LoadPlugin(ORBELIN_PLUGIN_PATH), CStatus::OK);
        grid = host.CreatePrim(L"Grid", L"grid", {{L"sizex", 4}, {L"sizez", 4}, {L"subdivu", 4}, {L"subdivv", 4}});
        patch = Cluster(grid, L"poly", {5, 0}, L"Patch");
        hair = standin::CreateHair(host, grid, L"Fur", patch, {1.0, 0.0, 1});
        map = WeightMap(grid, [](const MATH::CVector3& p) { return p.GetX(); });
    }
    CRef Cluster(const CRef& obj, const wchar_t* type, std::initializer_list<LONG> items, const wchar_t* name) {
        CLongArray idx;
        for (LONG i : items) idx.Add(i);
        XSI::Cluster c;
        EXPECT_EQ(X3DObject(obj).GetActivePrimitive().GetGeometry().AddCluster(type, name, idx, c), CStatus::OK);
        return c.GetRef();
    }
    template <class F>
    CRef WeightMap(const CRef& target, F weight) {
        CValueArray args;
        for (CValue v : {CValue(L""), CValue(target), CValue(L"Gradient"), CValue(L""), CValue(false)}) args.Add(v);
        CValue ret;
        EXPECT_EQ(host.ExecuteCommand(L"CreateWeightMap", args, ret), CStatus::OK);
        ClusterProperty wm(static_cast<const CValueArray&>(ret)[0]);
        CLongArray elements = XSI::Cluster(wm.GetParent()).GetElements().GetArray();
        MATH::CVector3Array pos = Points(grid);
        CDoubleArray w(elements.GetCount());
        for (LONG i = 0; i < w.GetCount(); ++i) w[i] = weight(pos[elements[i]]);
        wm.GetElements().PutArray(w);
        return wm.GetRef();
    }
    CStatus Apply(std::initializer_list<CRef> items) {
        CValueArray list;
        for (const CRef& r : items) list.Add(CValue(r));
        CValueArray args(1);
        args[0] = CValue(list);
        CValue ret;
        return host.ExecuteCommand(L"Orbelin_zrGradientMapHairCombApplyCmd", args, ret);
    }
    MATH::CVector3Array Points(const CRef& obj) { return X3DObject(obj).GetActivePrimitive().GetGeometry().GetPoints().GetPositionArray(); }
    void Set(const std::wstring& param, const CValue& v) { ASSERT_EQ(host.SetValue(kProp + L"." + param, v), CStatus::OK); }
    bool Logged(const std::wstring& text, int severity) {
        for (const auto& e : host.GetLog().LinesSince(0))
            if (e.severity == severity && e.text == L"[OrbelinPlugin] >> " + text) return true;
        return false;
    }
    // The roots the patch gives: polygon 5's corners, then polygon 0's not met yet.
    std::vector<LONG> Roots() {
        std::vector<LONG> roots;
        for (LONG p : {5, 0}) {
            auto* m = dynamic_cast<standin::PolyMeshNode*>(X3DObject(grid).GetActivePrimitive().GetGeometry().GetRef().GetHostObject());
            for (int32_t v : m->mesh.PolygonVertices(p))
                if (std::find(roots.begin(), roots.end(), v) == roots.end()) roots.push_back(v);
        }
        return roots;
    }
    double StrandLength(const MATH::CVector3Array& pts, LONG strand, const MATH::CVector3& root) {
        double len = 0.0;
        MATH::CVector3 prev = root;
        for (LONG k = 0; k < 14; ++k) {
            MATH::CVector3 d;
            d.Sub(pts[strand * 14 + k], prev);
            len += d.GetLength();
            prev = pts[strand * 14 + k];
        }
        return len;
    }
};

TEST_F(HairCombTest, AppliedWithItsArgumentsInEitherOrder) {
    ASSERT_EQ(Apply({map, hair}), CStatus::OK);
    EXPECT_TRUE(Logged(L"Object Argument 0 : wtmap", 8));
    EXPECT_TRUE(Logged(L"Object Argument 1 : hair", 8));
    EXPECT_TRUE(Logged(L"Apply to: [Fur]", 8));
    EXPECT_TRUE(Logged(L"Nb Connected clusters: 1", 8));
    EXPECT_TRUE(Logged(L"Cluster found on the Hair Generator: grid.polymsh.cls.Patch", 8));
    EXPECT_TRUE(host.GetLog().Contains(L"[ Apply GradientMapHairComb ]"));
    CRef prop = host.Find(kProp);
    ASSERT_TRUE(prop.IsValid());
    EXPECT_EQ(std::wstring(CustomProperty(prop).GetType().GetWideString()), L"Orbelin_zrGradientMapHairCombProp");
    EXPECT_TRUE(host.IsPageOpen(prop));
    CRef comb = host.Find(L"Fur.hair.cls.HairCombCls");
    ASSERT_TRUE(comb.IsValid());
    EXPECT_EQ(std::wstring(XSI::Cluster(comb).GetType().GetWideString()), L"pnt");
    // The six parts of the connection set, in their port groups.
    Operator op(host.Find(kOp));
    ASSERT_TRUE(op.IsValid());
    EXPECT_EQ(op.GetPortAt(0, 1, 0).GetTarget(), prop);
    EXPECT_EQ(op.GetPortAt(0, 2, 0).GetTarget(), map);
    EXPECT_EQ(op.GetPortAt(0, 3, 0).GetTarget(), X3DObject(grid).GetActivePrimitive().GetRef());
    EXPECT_EQ(op.GetPortAt(0, 4, 0).GetTarget(), patch);
    EXPECT_EQ(op.GetPortAt(0, 5, 0).GetTarget(), comb);

    // Hair first, and two hairs: the last one is combed.
    CRef other = standin::CreateHair(host, grid, L"Other", patch, {});
    ASSERT_EQ(Apply({hair, map, other}), CStatus::OK);
    EXPECT_TRUE(host.Find(L"Other.hair.zrGradientMapHairCombOp").IsValid());
    EXPECT_TRUE(host.Find(L"Other.GradientMapHairComb").IsValid());
    EXPECT_FALSE(host.Find(L"Fur.GradientMapHairComb1").IsValid());

    // The property's parameters and its Shape curve.
    CustomProperty p(prop);
    EXPECT_EQ(static_cast<double>(p.GetParameterValue(L"CombHigh")), 1.0);
    EXPECT_EQ(static_cast<double>(p.GetParameterValue(L"CombWidth")), 1.0);
    FCurve shape(p.GetParameter(L"Shape").GetValue());
    ASSERT_EQ(shape.GetNumKeys(), 3);
    const double keys[3][2] = {{0, 0}, {40, 25}, {100, 10}};
    for (LONG k = 0; k < 3; ++k) {
        EXPECT_EQ(shape.GetKeyTime(k).GetTime(), keys[k][0]);
        EXPECT_EQ(static_cast<double>(shape.GetKeyValue(k)), keys[k][1]);
    }
}

TEST_F(HairCombTest, WithoutAHairOrAMapNothingIsMade) {
    for (auto items : {std::initializer_list<CRef>{}, {map}, {hair, hair}}) {
        ASSERT_EQ(Apply(items), CStatus::OK);
        EXPECT_TRUE(Logged(L"Please select a hair object and a weightmap (or use it at command argument)!", 2));
    }
    EXPECT_FALSE(host.Find(kProp).IsValid());
    EXPECT_FALSE(host.Find(kOp).IsValid());
}

TEST_F(HairCombTest, EnableOffAndAFlatGradientLeaveTheStrandsAsTheyGrew) {
    const MATH::CVector3Array grown = Points(hair);
    ASSERT_EQ(Apply({hair, map}), CStatus::OK);
    const MATH::CVector3Array combed = Points(hair);
    EXPECT_NE(combed[13].GetX(), grown[13].GetX());
    Set(L"Enable", CValue(false));
    MATH::CVector3Array off = Points(hair);
    for (LONG i = 0; i < grown.GetCount(); ++i) EXPECT_EQ(off[i].GetY(), grown[i].GetY());
    Set(L"Enable", CValue(true));
    CDoubleArray half(25);
    for (LONG i = 0; i < 25; ++i) half[i] = 0.5;
    ClusterProperty(map).GetElements().PutArray(half);
    MATH::CVector3Array flat = Points(hair);
    for (LONG i = 0; i < grown.GetCount(); ++i) EXPECT_EQ(flat[i].GetY(), grown[i].GetY());
}

TEST_F(HairCombTest, StrandsRiseFromTheClustersVerticesInFirstMetOrderAndKeepTheirLength) {
    ASSERT_EQ(Apply({hair, map}), CStatus::OK);
    const std::vector<LONG> roots = Roots();
    const MATH::CVector3Array grid_ = Points(grid);
    MATH::CVector3Array pts = Points(hair);
    ASSERT_EQ(pts.GetCount(), static_cast<LONG>(roots.size()) * 14);
    for (size_t i = 0; i < roots.size(); ++i) {
        const MATH::CVector3& r = grid_[roots[i]];
        EXPECT_NEAR(StrandLength(pts, static_cast<LONG>(i), r), 1.0, 1e-12);
        EXPECT_GT(pts[static_cast<LONG>(i) * 14 + 13].GetX(), r.GetX());  // combed toward the rise
    }
    // CombWidth 0: every strand stands over its root along the normal, at the profile's heights.
    Set(L"CombWidth", CValue(0.0));
    pts = Points(hair);
    for (size_t i = 0; i < roots.size(); ++i)
        for (LONG k = 0; k < 14; ++k) {
            EXPECT_EQ(pts[static_cast<LONG>(i) * 14 + k].GetX(), grid_[roots[i]].GetX()) << "strand " << i;
            EXPECT_EQ(pts[static_cast<LONG>(i) * 14 + k].GetZ(), grid_[roots[i]].GetZ()) << "strand " << i;
        }
    // CombHigh 0: every strand lies straight on the grid, its points evenly spaced from the
    // root over its whole length, rising in x (on the border also along it).
    Set(L"CombWidth", CValue(1.0));
    Set(L"CombHigh", CValue(0.0));
    pts = Points(hair);
    for (size_t i = 0; i < roots.size(); ++i) {
        const MATH::CVector3& r = grid_[roots[i]];
        const MATH::CVector3& tip = pts[static_cast<LONG>(i) * 14 + 13];
        EXPECT_NEAR(std::hypot(tip.GetX() - r.GetX(), tip.GetZ() - r.GetZ()), 1.0, 1e-12);
        EXPECT_GT(tip.GetX(), r.GetX());
        for (LONG k = 0; k < 14; ++k) {
            const MATH::CVector3& q = pts[static_cast<LONG>(i) * 14 + k];
            EXPECT_EQ(q.GetY(), 0.0);
            EXPECT_NEAR(q.GetX() - r.GetX(), (tip.GetX() - r.GetX()) * (k + 1) / 14.0, 1e-12);
            EXPECT_NEAR(q.GetZ() - r.GetZ(), (tip.GetZ() - r.GetZ()) * (k + 1) / 14.0, 1e-12);
        }
    }
    // Vertex 6 is inside the grid: its strand goes straight along +X.
    const auto at6 = std::find(roots.begin(), roots.end(), 6) - roots.begin();
    EXPECT_NEAR(pts[static_cast<LONG>(at6) * 14 + 13].GetX(), grid_[6].GetX() + 1.0, 1e-12);
}

TEST_F(HairCombTest, AGradientOnAPartialClusterIsZeroElsewhere) {
    // Hair on every vertex; the map only on the vertices at x > 0.5, all 1.
    CRef whole = standin::CreateHair(host, grid, L"Fur2", CRef(), {1.0, 0.0, 1});
    CRef right = Cluster(grid, L"pnt", {3, 4, 8, 9, 13, 14, 18, 19, 23, 24}, L"Right");
    CRef partial = WeightMap(right, [](const MATH::CVector3&) { return 1.0; });
    const MATH::CVector3Array grown = Points(whole);
    ASSERT_EQ(Apply({whole, partial}), CStatus::OK);
    MATH::CVector3Array pts = Points(whole);
    auto last = [&](const MATH::CVector3Array& a, LONG v) { return a[v * 14 + 13]; };
    EXPECT_GT(last(pts, 12).GetX(), 0.0);                  // x = 0: its +X neighbour is in the map
    EXPECT_GT(last(pts, 13).GetX(), 1.0);                  // x = 1: its -X neighbour is not
    EXPECT_EQ(last(pts, 14).GetX(), last(grown, 14).GetX());  // x = 2: every neighbour at 1
    EXPECT_EQ(last(pts, 11).GetX(), last(grown, 11).GetX());  // x = -1: every neighbour at 0
}

TEST_F(HairCombTest, AHairWithoutGeneratorStillGetsTheComb) {
    host.Delete(host.Find(L"Fur.hair.hairGenOp"));
    ASSERT_EQ(Apply({hair, map}), CStatus::OK);
    // The warning names what the search gave: nothing, so an empty text and its class.
    bool named = false;
    for (const auto& e : host.GetLog().LinesSince(0))
        named = named || (e.severity == 4 && e.text.starts_with(L"[OrbelinPlugin] >>  - "));
    EXPECT_TRUE(named);
    EXPECT_TRUE(Logged(L"No Hair Generator found on the hair: cannot find if there is a Input cluster, sorry!", 4));
    EXPECT_TRUE(host.Find(kProp).IsValid());
    EXPECT_TRUE(host.Find(L"Fur.hair.cls.HairCombCls").IsValid());
    Operator op(host.Find(kOp));
    ASSERT_TRUE(op.IsValid());
    EXPECT_EQ(op.GetNumInstancesInGroup(4), 0);  // the empty fifth part
    // 7 strands on a 25-vertex emitter, and no cluster to find their roots in.
    Points(hair);
    EXPECT_TRUE(Logged(L"Sorry, unable to retrieve the Hair Polygon Cluster!", 2));
}

TEST_F(HairCombTest, AGradientMapWhoseClusterIsGoneIsTold) {
    CRef right = Cluster(grid, L"pnt", {3, 4, 8}, L"Right");
    CRef partial = WeightMap(right, [](const MATH::CVector3&) { return 1.0; });
    ASSERT_EQ(Apply({hair, partial}), CStatus::OK);
    Points(hair);
    EXPECT_FALSE(Logged(L"Sorry, unable to retrieve the Gradient Weightmap Cluster!", 2));
    host.Delete(right);
    host.SetFrame(2.0);
    const MATH::CVector3Array grown = Points(hair);
    EXPECT_TRUE(Logged(L"Sorry, unable to retrieve the Gradient Weightmap Cluster!", 2));
    // Without a gradient nothing rises: the strands stay as they grew.
    EXPECT_EQ(grown.GetCount(), 7 * 14);
    EXPECT_EQ(grown[13].GetY(), 1.0);
}

}  // namespace
