// Hair in the stand-in: a hair object grown from an emitter's polygon cluster, its generator in
// the primitive's construction history, strands that follow the emitter as it deforms, and
// the points its operators write.
#include <gtest/gtest.h>

#include <cmath>

#include "scene/hair.h"
#include "scene/host.h"
#include "scene/nodes.h"
#include "xsi_cluster.h"
#include "xsi_comapihandler.h"
#include "xsi_geometry.h"
#include "xsi_hairprimitive.h"
#include "xsi_operator.h"
#include "xsi_primitive.h"
#include "xsi_x3dobject.h"

using namespace XSI;

namespace {

struct HairTest : ::testing::Test {
    standin::Host host{std::filesystem::temp_directory_path()};
    HairTest() { host.GetLog().SetEcho(false); }

    // A 2 x 2 grid: 9 vertices, polygons 0..3.
    CRef Grid() { return host.CreatePrim(L"Grid", L"floor", {{L"sizex", 2}, {L"sizez", 2}, {L"subdivu", 2}, {L"subdivv", 2}}); }
    CRef PolyCluster(const CRef& obj, std::initializer_list<LONG> polys) {
        CLongArray idx;
        for (LONG p : polys) idx.Add(p);
        Cluster c;
        EXPECT_EQ(X3DObject(obj).GetActivePrimitive().GetGeometry().AddCluster(L"poly", L"Root", idx, c), CStatus::OK);
        return c.GetRef();
    }
    MATH::CVector3Array Points(const CRef& hair) { return X3DObject(hair).GetActivePrimitive().GetGeometry().GetPoints().GetPositionArray(); }
};

TEST_F(HairTest, IsAHairObjectWithItsGeneratorInTheConstructionHistory) {
    CRef grid = Grid();
    CRef cls = PolyCluster(grid, {3, 0});
    CRef hair = standin::CreateHair(host, grid, L"Fur", cls, {});
    EXPECT_EQ(std::wstring(hair.GetAsText().GetWideString()), L"Fur");
    EXPECT_EQ(std::wstring(X3DObject(hair).GetType().GetWideString()), L"hair");
    Primitive prim = X3DObject(hair).GetActivePrimitive();
    EXPECT_TRUE(prim.IsA(siHairPrimitiveID));
    EXPECT_TRUE(HairPrimitive(prim.GetRef()).IsValid());
    EXPECT_EQ(std::wstring(prim.GetFullName().GetWideString()), L"Fur.hair");

    CComAPIHandler bridge(prim.GetRef());
    CComAPIHandler history(bridge.GetProperty(L"ConstructionHistory"));
    CValue found;
    ASSERT_EQ(history.Call(L"Find", found, CValue(L"hairGenOp")), CStatus::OK);
    Operator gen(found);
    ASSERT_TRUE(gen.IsValid());
    EXPECT_EQ(gen.GetClassID(), siOperatorID);
    EXPECT_EQ(std::wstring(gen.GetFullName().GetWideString()), L"Fur.hair.hairGenOp");
    ASSERT_EQ(gen.GetNumInstancesInGroup(1), 1);
    EXPECT_EQ(gen.GetPortAt(0, 1, 0).GetTarget(), cls);
    // Nothing else of that type: an empty answer, as the host's Find gives.
    ASSERT_EQ(history.Call(L"Find", found, CValue(L"twistop")), CStatus::OK);
    EXPECT_TRUE(found.IsEmpty());

    // A hair grown from the whole emitter has nothing on the generator's port group 1.
    CRef whole = standin::CreateHair(host, grid, L"", CRef(), {});
    CComAPIHandler wholeHistory(CComAPIHandler(X3DObject(whole).GetActivePrimitive().GetRef()).GetProperty(L"ConstructionHistory"));
    wholeHistory.Call(L"Find", found, CValue(L"hairGenOp"));
    EXPECT_EQ(Operator(found).GetNumInstancesInGroup(1), 0);
    EXPECT_EQ(Points(whole).GetCount(), 9 * 14);
}

TEST_F(HairTest, StrandsGrowFromTheClusterVerticesInFirstMetOrderAlongTheNormal) {
    CRef grid = Grid();
    // Polygon 3's corners first, then polygon 0's (vertex 4 is shared and met once).
    std::vector<LONG> polys{3, 0};
    auto* m = dynamic_cast<standin::PolyMeshNode*>(XSI::Host::As<standin::X3DNode>(grid)->primitive->geometry.get());
    std::vector<int32_t> expected;
    for (LONG p : polys)
        for (int32_t v : m->mesh.PolygonVertices(p))
            if (std::find(expected.begin(), expected.end(), v) == expected.end()) expected.push_back(v);
    EXPECT_EQ(standin::HairRoots(m->mesh, &polys), expected);
    ASSERT_EQ(expected.size(), 7u);

    CRef hair = standin::CreateHair(host, grid, L"Fur", PolyCluster(grid, {3, 0}), {2.0, 0.0, 1});
    MATH::CVector3Array pts = Points(hair);
    ASSERT_EQ(pts.GetCount(), 7 * 14);
    for (size_t i = 0; i < expected.size(); ++i) {
        standin::mesh::Vec3 root = m->mesh.Positions()[static_cast<size_t>(expected[i])];
        for (LONG k = 0; k < 14; ++k) {
            const MATH::CVector3& p = pts[static_cast<LONG>(i) * 14 + k];
            EXPECT_DOUBLE_EQ(p.GetX(), root.x);
            EXPECT_NEAR(p.GetY(), root.y + 2.0 * (k + 1) / 14.0, 1e-12);  // a flat grid's normal is +Y
            EXPECT_DOUBLE_EQ(p.GetZ(), root.z);
        }
    }
}

TEST_F(HairTest, StrandsFollowTheEmitterAsItDeforms) {
    CRef grid = Grid();
    CRef hair = standin::CreateHair(host, grid, L"Fur", CRef(), {1.0, 0.2, 7});
    std::vector<standin::mesh::Vec3> rest = host.RestPositions(grid), raised = rest;
    for (auto& p : raised) p.y += 3.0;
    host.SetPointPositions(grid, rest, 1.0);
    host.SetPointPositions(grid, raised, 11.0);
    host.SetFrame(1.0);
    MATH::CVector3Array before = Points(hair);
    host.SetFrame(11.0);
    MATH::CVector3Array after = Points(hair);
    ASSERT_EQ(before.GetCount(), after.GetCount());
    for (LONG i = 0; i < before.GetCount(); ++i) {
        EXPECT_NEAR(after[i].GetY() - before[i].GetY(), 3.0, 1e-12);
        EXPECT_DOUBLE_EQ(after[i].GetX(), before[i].GetX());
    }
    // The noise strays each strand a little, the same way every time.
    CRef again = standin::CreateHair(host, grid, L"Fur", CRef(), {1.0, 0.2, 7});
    MATH::CVector3Array same = Points(again);
    for (LONG i = 0; i < after.GetCount(); ++i) EXPECT_EQ(same[i].GetX(), after[i].GetX());
    EXPECT_NE(after[13].GetX(), rest[0].x);  // strand 0 strays off the normal
}

TEST_F(HairTest, BadGrowthIsRefused) {
    CRef grid = Grid();
    CRef other = host.CreatePrim(L"Cube", L"box");
    CRef pnt;
    {
        CLongArray idx;
        idx.Add(0);
        Cluster c;
        X3DObject(grid).GetActivePrimitive().GetGeometry().AddCluster(L"pnt", L"P", idx, c);
        pnt = c.GetRef();
    }
    EXPECT_THROW(standin::CreateHair(host, host.CreateNull(L"n"), L"", CRef(), {}), std::invalid_argument);
    EXPECT_THROW(standin::CreateHair(host, grid, L"", pnt, {}), std::invalid_argument);
    EXPECT_THROW(standin::CreateHair(host, grid, L"", PolyCluster(other, {0}), {}), std::invalid_argument);
    EXPECT_THROW(standin::CreateHair(host, grid, L"", CRef(), {std::nan(""), 0.0, 1}), std::invalid_argument);
    EXPECT_THROW(standin::CreateHair(host, grid, L"", CRef(), {1.0, -1.0, 1}), std::invalid_argument);
    EXPECT_THROW(standin::CreateHair(host, grid, L"", CRef(), {0.0, 0.0, 1}), std::invalid_argument);
}

TEST_F(HairTest, AnEmitterDeletedLeavesTheStrandsAtTheOriginAndNothingDangling) {
    CRef grid = Grid();
    CRef hair = standin::CreateHair(host, grid, L"Fur", CRef(), {});
    host.Delete(grid);
    MATH::CVector3Array pts = Points(hair);
    ASSERT_EQ(pts.GetCount(), 9 * 14);
    for (LONG i = 0; i < pts.GetCount(); ++i) EXPECT_EQ(pts[i].GetLength(), 0.0);
}

}  // namespace

namespace {

TEST_F(HairTest, AGeneratorDeletedLeavesTheStrandsWhereTheyWere) {
    CRef grid = Grid();
    CRef hair = standin::CreateHair(host, grid, L"Fur", CRef(), {1.0, 0.1, 3});
    MATH::CVector3Array before = Points(hair);
    host.Delete(host.Find(L"Fur.hair.hairGenOp"));
    EXPECT_FALSE(host.Find(L"Fur.hair.hairGenOp").IsValid());
    MATH::CVector3Array after = Points(hair);
    ASSERT_EQ(after.GetCount(), before.GetCount());
    for (LONG i = 0; i < before.GetCount(); ++i) EXPECT_EQ(after[i].GetY(), before[i].GetY());
}

}  // namespace
