// The stand-in's scene through the object model: names, lookup, deletion, properties,
// parameters and function curves.
#include <gtest/gtest.h>

#include "scene/host.h"
#include "scene/names.h"
#include "xsi_application.h"
#include "xsi_cluster.h"
#include "xsi_clusterproperty.h"
#include "xsi_customproperty.h"
#include "xsi_fcurve.h"
#include "xsi_kinematics.h"
#include "xsi_model.h"
#include "xsi_nurbscurvelist.h"
#include "xsi_nurbssurfacemesh.h"

#include <cmath>
#include "xsi_polygonmesh.h"
#include "xsi_primitive.h"
#include "xsi_x3dobject.h"

using namespace XSI;

namespace {

std::wstring Text(const CString& s) { return s.GetWideString(); }

struct SceneTest : ::testing::Test {
    standin::Host host{std::filesystem::temp_directory_path()};
    SceneTest() { host.GetLog().SetEcho(false); }

    CRef NewWeightMap(const std::wstring& target, const std::wstring& name) {
        CValueArray args;
        args.Add(CValue(L""));
        args.Add(CValue(target.c_str()));
        args.Add(CValue(name.c_str()));
        args.Add(CValue(L""));
        args.Add(CValue(false));
        CValue ret;
        EXPECT_EQ(host.ExecuteCommand(L"CreateWeightMap", args, ret), CStatus::OK);
        CValueArray made = ret;
        return made.GetCount() ? CRef(made[0]) : CRef();
    }
};

TEST_F(SceneTest, FullNamesFollowTheHostsForm) {
    CRef grid = host.CreatePrim(L"Grid", L"grid");
    CRef model = host.CreateModel(L"Rig");
    CRef sphere = host.CreatePrim(L"Sphere", L"sphere", {}, model);
    EXPECT_EQ(Text(grid.GetAsText()), L"grid");
    EXPECT_EQ(Text(sphere.GetAsText()), L"Rig.sphere");
    X3DObject g(grid);
    EXPECT_EQ(Text(g.GetActivePrimitive().GetFullName()), L"grid.polymsh");
    EXPECT_EQ(Text(g.GetKinematics().GetGlobal().GetFullName()), L"grid.kine.global");
    EXPECT_EQ(Text(g.GetType()), L"polymsh");
    CRef wm = NewWeightMap(L"grid", L"ProximityWeightMap");
    EXPECT_EQ(Text(wm.GetAsText()), L"grid.polymsh.cls.WeightMapCls.ProximityWeightMap");
    EXPECT_EQ(Text(SIObject(wm).GetType()), L"wtmap");
    // A second map on the object gets a cluster of its own; names never clash.
    CRef wm2 = NewWeightMap(L"grid", L"ProximityWeightMap");
    EXPECT_EQ(Text(wm2.GetAsText()), L"grid.polymsh.cls.WeightMapCls1.ProximityWeightMap");
    EXPECT_EQ(Text(host.CreatePrim(L"Grid", L"grid").GetAsText()), L"grid1");
    // Components are named after their object.
    CVertexRefArray verts = PolygonMesh(g.GetActivePrimitive().GetGeometry()).GetVertices();
    EXPECT_EQ(Text(verts[3].GetAsText()), L"grid.pnt[3]");
}

// Objects of one name get base, base1, base2 ... the first name free, found without a scan
// of their siblings: a count of names looked at grows with the number of objects, not faster.
TEST_F(SceneTest, SameNamedObjectsTakeTheFirstFreeSuffixInLinearWork) {
    constexpr uint64_t kCount = 4000;
    std::vector<CRef> made;
    const uint64_t before = standin::NameIndex::Comparisons();
    for (uint64_t i = 0; i < kCount; ++i) made.push_back(host.CreateNull(L"n"));
    const uint64_t spent = standin::NameIndex::Comparisons() - before;
    EXPECT_LT(spent, 5 * kCount);
    EXPECT_EQ(Text(made[0].GetAsText()), L"n");
    EXPECT_EQ(Text(made[1].GetAsText()), L"n1");
    EXPECT_EQ(Text(made[kCount - 1].GetAsText()), L"n3999");

    // Deletions and renames free names and take them; the next name is still the first free.
    host.Delete(made[7]);
    host.Delete(made[1]);
    EXPECT_EQ(Text(host.CreateNull(L"n").GetAsText()), L"n1");
    EXPECT_EQ(Text(host.CreateNull(L"n").GetAsText()), L"n7");
    EXPECT_EQ(X3DObject(made[3]).PutName(L"n4000"), CStatus::OK);
    EXPECT_EQ(Text(host.CreateNull(L"n").GetAsText()), L"n3");
    EXPECT_EQ(Text(host.CreateNull(L"n").GetAsText()), L"n4001");
    // Names are per parent.
    CRef model = host.CreateModel(L"Rig");
    EXPECT_EQ(Text(host.CreateNull(L"n", model).GetAsText()), L"Rig.n");
}

// Clusters of an object and properties of a cluster are named the same way.
TEST_F(SceneTest, SameNamedClustersAndPropertiesTakeTheFirstFreeSuffixInLinearWork) {
    host.CreatePrim(L"Grid", L"grid", {{L"subdivu", 1}, {L"subdivv", 1}});
    constexpr uint64_t kCount = 500;
    const uint64_t before = standin::NameIndex::Comparisons();
    for (uint64_t i = 0; i < kCount; ++i) NewWeightMap(L"grid", L"W");
    for (uint64_t i = 0; i < kCount; ++i) NewWeightMap(L"grid.polymsh.cls.WeightMapCls", L"W");
    const uint64_t spent = standin::NameIndex::Comparisons() - before;
    EXPECT_LT(spent, 2 * 5 * kCount);
    EXPECT_TRUE(host.Find(L"grid.polymsh.cls.WeightMapCls499.W").IsValid());
    EXPECT_TRUE(host.Find(L"grid.polymsh.cls.WeightMapCls.W500").IsValid());
    host.Delete(host.Find(L"grid.polymsh.cls.WeightMapCls.W12"));
    EXPECT_EQ(Text(NewWeightMap(L"grid.polymsh.cls.WeightMapCls", L"W").GetAsText()), L"grid.polymsh.cls.WeightMapCls.W12");
    host.Delete(host.Find(L"grid.polymsh.cls.WeightMapCls3"));
    EXPECT_EQ(Text(NewWeightMap(L"grid", L"W").GetAsText()), L"grid.polymsh.cls.WeightMapCls3.W");
}

TEST_F(SceneTest, LookupByPathFindsEveryKindOfObject) {
    host.CreateModel(L"Rig");
    CRef sphere = host.CreatePrim(L"Sphere", L"sphere", {}, host.Find(L"Rig"));
    CRef wm = NewWeightMap(L"Rig.sphere", L"Weight Map");
    for (const wchar_t* path : {L"Rig", L"Rig.sphere", L"Rig.sphere.polymsh", L"Rig.sphere.kine.local",
                                L"Rig.sphere.polymsh.cls.WeightMapCls", L"Rig.sphere.polymsh.cls.WeightMapCls.Weight_Map",
                                L"PlayControl.In", L"Scene_Root.Rig.sphere"})
        EXPECT_TRUE(host.Find(path).IsValid()) << path;
    EXPECT_EQ(host.Find(L"Scene_Root.Rig.sphere"), sphere);
    EXPECT_FALSE(host.Find(L"Rig.sphere.polymsh.cls").IsValid());
    EXPECT_FALSE(host.Find(L"nothing").IsValid());
    EXPECT_FALSE(host.Find(L"").IsValid());
    CRef viaSet;
    EXPECT_EQ(viaSet.Set(CString(L"Rig.sphere.polymsh.cls.WeightMapCls.Weight_Map")), CStatus::OK);
    EXPECT_EQ(viaSet, wm);
    EXPECT_EQ(viaSet.Set(CString(L"Rig.nothing")), CStatus::InvalidArgument);
    CValue in;
    ASSERT_EQ(host.GetValue(L"PlayControl.In", in), CStatus::OK);
    EXPECT_EQ(static_cast<double>(in), 1.0);
}

TEST_F(SceneTest, DeletedObjectsBecomeInvalidReferences) {
    CRef grid = host.CreatePrim(L"Grid", L"grid");
    CRef wm = NewWeightMap(L"grid", L"map");
    CRef vertex = PolygonMesh(X3DObject(grid).GetActivePrimitive().GetGeometry()).GetVertices()[0];
    host.Select({grid});
    ASSERT_TRUE(vertex.IsValid());
    CValueArray args;
    args.Add(CValue(L"grid"));
    CValue ret;
    EXPECT_EQ(host.ExecuteCommand(L"DeleteObj", args, ret), CStatus::OK);
    EXPECT_FALSE(grid.IsValid());
    EXPECT_FALSE(wm.IsValid());
    EXPECT_FALSE(vertex.IsValid());
    EXPECT_EQ(X3DObject(grid).GetActivePrimitive().IsValid(), false);
    EXPECT_TRUE(host.Selection().empty());
    EXPECT_FALSE(host.Find(L"grid").IsValid());
    EXPECT_EQ(grid.GetClassID(), siUnknownClassID);
}

TEST_F(SceneTest, ClassesAndWrappers) {
    CRef grid = host.CreatePrim(L"Grid", L"grid");
    CRef null = host.CreateNull(L"n");
    CRef model = host.CreateModel(L"m");
    EXPECT_EQ(grid.GetClassID(), siX3DObjectID);
    EXPECT_TRUE(null.IsA(siX3DObjectID));
    EXPECT_TRUE(model.IsA(siX3DObjectID));
    EXPECT_TRUE(grid.IsA(siSceneItemID));
    EXPECT_FALSE(grid.IsA(siClusterID));
    EXPECT_EQ(Text(grid.GetClassIDName()), L"X3DObject");
    // A wrapper of the wrong class stays empty.
    EXPECT_FALSE(Cluster(grid).IsValid());
    EXPECT_TRUE(SceneItem(grid).IsValid());
    Primitive prim = X3DObject(grid).GetActivePrimitive();
    EXPECT_EQ(prim.GetClassID(), siPrimitiveID);
    EXPECT_EQ(prim.GetGeometry().GetRef().GetClassID(), siPolygonMeshID);
    EXPECT_EQ(SIObject(prim).GetParent(), grid);
    EXPECT_EQ(X3DObject(host.RootRef()).GetChildren().GetCount(), 3);
    EXPECT_EQ(Text(Application().GetActiveSceneRoot().GetName()), L"Scene_Root");
}

TEST_F(SceneTest, WeightMapValuesAreReadAndWrittenWhole) {
    host.CreatePrim(L"Grid", L"grid", {{L"subdivu", 2}, {L"subdivv", 2}});
    ClusterProperty wm(NewWeightMap(L"grid", L"map"));
    ASSERT_TRUE(wm.IsValid());
    CClusterPropertyElementArray values = wm.GetElements();
    ASSERT_EQ(values.GetCount(), 9);
    Cluster cls(SIObject(wm).GetParent());
    CLongArray elements = cls.GetElements().GetArray();
    for (LONG i = 0; i < 9; ++i) EXPECT_EQ(elements[i], i);
    CDoubleArray w = values.GetArray();
    for (LONG i = 0; i < 9; ++i) w[i] = i * 0.5;
    EXPECT_EQ(values.PutArray(w), CStatus::OK);
    EXPECT_EQ(wm.GetElements().GetArray()[8], 4.0);
    CDoubleArray wrong(3);
    size_t before = host.GetLog().Count();
    EXPECT_EQ(values.PutArray(wrong), CStatus::InvalidArgument);
    EXPECT_GT(host.GetLog().Count(), before);
    EXPECT_EQ(wm.GetElements().GetArray()[8], 4.0);
}

TEST_F(SceneTest, CustomPropertyParametersKeepTypesRangesAndOrder) {
    SceneItem grid(host.CreatePrim(L"Grid", L"grid"));
    CustomProperty prop;
    ASSERT_EQ(grid.AddCustomProperty(CString(L"Settings"), false, prop), CStatus::OK);
    Parameter p;
    ASSERT_EQ(prop.AddParameter(CString(L"Near"), CValue::siDouble, 5, CString(L"Near"), CString(), CValue(0.0),
                                CValue(-10.0), CValue(10.0), CValue(0.0), CValue(5.0), p),
              CStatus::OK);
    ASSERT_EQ(prop.AddParameter(CString(L"Mode"), CValue::siInt4, 5, CString(L"Mode"), CString(), CValue(LONG(1)),
                                CValue(LONG(0)), CValue(LONG(4)), CValue(LONG(0)), CValue(LONG(4)), p),
              CStatus::OK);
    ASSERT_EQ(prop.AddParameter(CString(L"Path"), CValue::siString, 4, CString(), CString(), CValue(), p), CStatus::OK);
    EXPECT_EQ(prop.AddParameter(CString(L"Near"), CValue::siDouble, 5, CString(), CString(), CValue(0.0), p),
              CStatus::InvalidArgument);
    CParameterRefArray params = prop.GetParameters();
    ASSERT_EQ(params.GetCount(), 3);
    EXPECT_EQ(Text(Parameter(params[1]).GetScriptName()), L"Mode");
    EXPECT_EQ(static_cast<LONG>(prop.GetParameterValue(CString(L"Mode"))), 1);
    EXPECT_EQ(prop.PutParameterValue(CString(L"Near"), CValue(25.0)), CStatus::OK);
    EXPECT_EQ(static_cast<double>(prop.GetParameterValue(CString(L"Near"))), 10.0);  // clamped to the range
    // A script may go past the range with a finite number; an infinity comes to the range's end.
    EXPECT_EQ(host.SetValue(L"grid.Settings.Near", CValue(25.0)), CStatus::OK);
    EXPECT_EQ(static_cast<double>(prop.GetParameterValue(CString(L"Near"))), 25.0);
    EXPECT_EQ(host.SetValue(L"grid.Settings.Near", CValue(-HUGE_VAL)), CStatus::OK);
    EXPECT_EQ(static_cast<double>(prop.GetParameterValue(CString(L"Near"))), -10.0);
    EXPECT_EQ(prop.PutParameterValue(CString(L"Mode"), CValue(2.7)), CStatus::OK);
    EXPECT_EQ(prop.GetParameterValue(CString(L"Mode")).m_t, CValue::siInt4);
    EXPECT_EQ(Text(prop.GetParameterValue(CString(L"Path")).GetAsText()), L"");
    EXPECT_EQ(Text(prop.GetFullName()), L"grid.Settings");
    EXPECT_TRUE(host.Find(L"grid.Settings.Near").IsValid());
    EXPECT_EQ(host.SetValue(L"grid.Settings.Near", CValue(-3.0)), CStatus::OK);
    EXPECT_EQ(static_cast<double>(prop.GetParameterValue(CString(L"Near"))), -3.0);
}

TEST_F(SceneTest, FunctionCurveParameterWithDefaultKeysIsAStraightLine) {
    SceneItem grid(host.CreatePrim(L"Grid", L"grid"));
    CustomProperty prop;
    grid.AddCustomProperty(CString(L"Curves"), false, prop);
    Parameter param = prop.AddFCurveParameter(CString(L"Falloff"));
    FCurve curve(param.GetValue());
    ASSERT_TRUE(curve.IsValid());
    curve.AddKey(CTime(20.0), CValue(5.0));
    EXPECT_EQ(curve.RemoveKeys(), 1);
    curve.BeginEdit();
    curve.AddKey(CTime(0.0), CValue(0.0));
    curve.AddKey(CTime(100.0), CValue(1.0));
    curve.EndEdit();
    ASSERT_EQ(curve.GetNumKeys(), 2);
    for (double t : {0.0, 12.5, 33.0, 50.0, 99.0, 100.0})
        EXPECT_NEAR(static_cast<double>(curve.Eval(t)), t / 100.0, 1e-12) << t;
    // Outside the keys: held by default, continued with the end slope when linear.
    EXPECT_NEAR(static_cast<double>(curve.Eval(150.0)), 1.0, 1e-12);
    EXPECT_NEAR(static_cast<double>(curve.Eval(-20.0)), 0.0, 1e-12);
    curve.PutExtrapolation(siLinearExtrapolation);
    EXPECT_NEAR(static_cast<double>(curve.Eval(150.0)), 1.5, 1e-12);
    EXPECT_NEAR(static_cast<double>(curve.Eval(-20.0)), -0.2, 1e-12);
    curve.PutExtrapolation(siConstantExtrapolation);
    curve.PutInterpolation(siConstantInterpolation);
    EXPECT_NEAR(static_cast<double>(curve.Eval(60.0)), 0.0, 1e-12);
}

TEST_F(SceneTest, TransformsComposeDownTheHierarchy) {
    CRef model = host.CreateModel(L"Rig");
    CRef ball = host.CreatePrim(L"Sphere", L"ball", {}, model);
    MATH::CTransformation t;
    t.SetIdentity();
    t.SetTranslationFromValues(1, 2, 3);
    X3DObject(model).GetKinematics().GetLocal().PutTransform(t);
    t.SetTranslationFromValues(0, 0, 10);
    X3DObject(ball).GetKinematics().GetLocal().PutTransform(t);
    MATH::CTransformation g = X3DObject(ball).GetKinematics().GetGlobal().GetTransform();
    double x, y, z;
    g.GetTranslationValues(x, y, z);
    EXPECT_DOUBLE_EQ(x, 1);
    EXPECT_DOUBLE_EQ(y, 2);
    EXPECT_DOUBLE_EQ(z, 13);
    // Setting the global transform keeps it global under the parent.
    t.SetTranslationFromValues(5, 5, 5);
    X3DObject(ball).GetKinematics().GetGlobal().PutTransform(t);
    X3DObject(ball).GetKinematics().GetLocal().GetTransform().GetTranslationValues(x, y, z);
    EXPECT_DOUBLE_EQ(x, 4);
    EXPECT_DOUBLE_EQ(y, 3);
    EXPECT_DOUBLE_EQ(z, 2);
}

TEST_F(SceneTest, ProjectionsHoldThreeValuesPerSample) {
    host.CreatePrim(L"Grid", L"grid", {{L"subdivu", 2}, {L"subdivv", 2}});
    host.ClearSelection();
    CValueArray args;
    args.Add(CValue(L"grid"));
    CValue ret;
    ASSERT_EQ(host.ExecuteCommand(L"CreateProjection", args, ret), CStatus::OK);
    CValueArray made = ret;
    ClusterProperty uv(made[0]);
    ASSERT_TRUE(uv.IsValid());
    EXPECT_EQ(uv.GetValueSize(), 3);
    EXPECT_EQ(uv.GetElements().GetCount(), 16);  // one per polygon corner
    EXPECT_EQ(uv.GetPropertyType(), siClusterPropertyUVType);
    Cluster samples(SIObject(uv).GetParent());
    EXPECT_EQ(Text(samples.GetType()), L"sample");
    EXPECT_TRUE(samples.IsAlwaysComplete());
    // The grid lies in XZ, so the planar XY projection spreads u over X and keeps v at 0.
    CDoubleArray values = uv.GetElements().GetArray();
    double umin = 1, umax = 0;
    for (LONG i = 0; i < values.GetCount(); i += 3) umin = std::min(umin, values[i]), umax = std::max(umax, values[i]);
    EXPECT_EQ(umin, 0.0);
    EXPECT_EQ(umax, 1.0);
    args[0] = CValue(L"PlayControl");
    EXPECT_EQ(host.ExecuteCommand(L"CreateProjection", args, ret), CStatus::InvalidArgument);
}

TEST_F(SceneTest, CurveAndSurfaceObjectsAnswerClosestPointQueries) {
    std::vector<standin::nurbs::Curve> curves{standin::nurbs::Circle(2.0), standin::nurbs::Spiral(1.0, 4.0, 1.5)};
    X3DObject obj(host.CreateCurveList(L"curves", curves));
    EXPECT_EQ(Text(obj.GetType()), L"crvlist");
    EXPECT_EQ(Text(obj.GetActivePrimitive().GetFullName()), L"curves.crvlist");
    NurbsCurveList list(obj.GetActivePrimitive().GetGeometry());
    ASSERT_TRUE(list.IsValid());
    EXPECT_EQ(list.GetRef().GetClassID(), siNurbsCurveListID);
    CNurbsCurveRefArray crvs = list.GetCurves();
    ASSERT_EQ(crvs.GetCount(), 2);
    MATH::CVector3 p(5, 0, 0), pos;
    LONG index = -1;
    double d2 = 0, u = 0;
    ASSERT_EQ(list.GetClosestCurvePosition(p, index, d2, u, pos), CStatus::OK);
    EXPECT_EQ(index, 0);
    EXPECT_NEAR(std::sqrt(d2), 3.0, 0.02);
    MATH::CVector3 diff;
    diff.Sub(pos, p);
    EXPECT_NEAR(diff.GetLength(), std::sqrt(d2), 1e-9);
    double n = -1;
    NurbsCurve(crvs[0]).GetNormalizedUFromU(u, n);
    EXPECT_GE(n, 0.0);
    EXPECT_LE(n, 1.0);
    LONG degree = 0;
    bool closed = false;
    NurbsCurve(crvs[0]).GetDegree(degree);
    NurbsCurve(crvs[1]).GetClosed(closed);
    EXPECT_EQ(degree, 3);
    EXPECT_FALSE(closed);
    EXPECT_GT(list.GetPoints().GetCount(), 8);

    X3DObject surf(host.CreateSurfaceMesh(L"floor", {standin::nurbs::GridSurface(4, 4, 2, 2)}));
    NurbsSurfaceMesh mesh(surf.GetActivePrimitive().GetGeometry());
    ASSERT_TRUE(mesh.IsValid());
    MATH::CVector3 above(0.5, 3, 0.25);
    double v = 0;
    ASSERT_EQ(mesh.GetClosestSurfacePosition(above, index, d2, u, v, pos), CStatus::OK);
    EXPECT_NEAR(d2, 9.0, 1e-6);
    EXPECT_NEAR(pos.GetX(), 0.5, 1e-6);
    EXPECT_NEAR(pos.GetZ(), 0.25, 1e-6);
}

TEST_F(SceneTest, FailingHostOperationsSaySo) {
    size_t before = host.GetLog().Count();
    CValueArray args;
    CValue ret;
    EXPECT_EQ(host.ExecuteCommand(L"ApplyOp", args, ret), CStatus::InvalidArgument);
    EXPECT_EQ(host.ExecuteCommand(L"NoSuchCommand", args, ret), CStatus::MemberNotFound);
    // An operation this host does not provide fails loudly instead of inventing an answer.
    EXPECT_EQ(Point().PutPosition(MATH::CVector3(1, 2, 3)), CStatus::NotImpl);
    ASSERT_EQ(host.GetLog().Count(), before + 3);
    for (size_t i = before; i < before + 3; ++i) EXPECT_EQ(host.GetLog().entries()[i].severity, siErrorMsg);
    EXPECT_EQ(host.GetLog().entries()[before + 1].text, L"Unknown command: NoSuchCommand");
}

}  // namespace
