// Operators applied from presets: nesting, ports, connexions through the automation bridge,
// and evaluation that runs an operator again only when something it reads changed.
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

#include "scene/host.h"
#include "xsi_clusterproperty.h"
#include "xsi_comapihandler.h"
#include "xsi_kinematics.h"
#include "xsi_operator.h"
#include "xsi_polygonmesh.h"
#include "xsi_primitive.h"
#include "xsi_x3dobject.h"

using namespace XSI;

namespace {

namespace fs = std::filesystem;

const char* kPreset = R"({
  "name": "FixtureOp",
  "callbacks": {"init": "FixtureOp_Init", "update": "FixtureOp_Update", "term": "FixtureOp_Term"},
  "groups": [
    {"name": "WeightMap", "ports": [
      {"name": "InWeightMap", "reads": "self"},
      {"name": "InCluster", "reads": "cluster"},
      {"name": "OutWeightMap", "kind": "output", "reads": "self"}]},
    {"name": "Property", "ports": [{"name": "InProperty", "reads": "self"}]},
    {"name": "Maps", "repeat": true, "ports": [{"name": "InMap", "reads": "self"}, {"name": "InMapCluster", "reads": "cluster"}]},
    {"name": "Objects", "repeat": true, "ports": [
      {"name": "InPrimitive", "reads": "primitive"}, {"name": "InGlobal", "reads": "global"}]}
  ]
})";

struct OperatorTest : ::testing::Test {
    fs::path dir = fs::temp_directory_path() / ("orbelin_operator_test_" + std::to_string(::getpid()));
    standin::Host host{dir};
    CRef grid, map, other, prop, op;

    OperatorTest() {
        fs::create_directories(dir);
        std::ofstream(dir / "FixtureOp.json") << kPreset;
        std::ofstream(dir / "BrokenOp.json") << "{ \"name\": ";
        host.AddPresetFolder(dir);
        host.GetLog().SetEcho(false);
        EXPECT_EQ(host.LoadPlugin(FIXTURE_PLUGIN_PATH), CStatus::OK);
        grid = host.CreatePrim(L"Grid", L"grid", {{L"subdivu", 1}, {L"subdivv", 1}});
        map = NewMap(L"map", 1.0);
        other = NewMap(L"other", 0.0);
        prop = SceneItem(grid).AddProperty(L"FixtureProp", false, L"Settings").GetRef();
        op = Apply(L"FixtureOp", L"grid.polymsh.cls.WeightMapCls.map;grid.Settings");
    }
    ~OperatorTest() override { fs::remove_all(dir); }

    CRef NewMap(const wchar_t* name, double value) {
        CValueArray args;
        args.Add(CValue(L""));
        args.Add(CValue(L"grid"));
        args.Add(CValue(name));
        CValue ret;
        EXPECT_EQ(host.ExecuteCommand(L"CreateWeightMap", args, ret), CStatus::OK);
        const CValueArray& made = ret;
        CRef wm = made[0];
        CDoubleArray w(4);
        for (LONG i = 0; i < 4; ++i) w[i] = value;
        ClusterProperty(wm).GetElements().PutArray(w);
        return wm;
    }
    CRef Apply(const wchar_t* preset, const wchar_t* set) {
        CValueArray args;
        args.Add(CValue(preset));
        args.Add(CValue(set));
        args.Add(CValue(L""));
        args.Add(CValue(LONG(0)));
        args.Add(CValue());
        args.Add(CValue(L""));
        CValue ret;
        if (host.ExecuteCommand(L"ApplyOp", args, ret) != CStatus::OK) return CRef();
        const CValueArray& made = ret;
        return made[0];
    }
    double Read() { return ClusterProperty(map).GetElements().GetArray()[0]; }
    size_t Updates() {
        size_t n = 0;
        for (const auto& e : host.GetLog().entries())
            if (e.text.rfind(L"fixture: update", 0) == 0) ++n;
        return n;
    }
    LONG Connect(LONG group, const wchar_t* object) {
        CComAPIHandler h{CValue(op)};
        CValue ret;
        CValueArray args;
        args.Add(CValue(group));
        args.Add(CValue(object));
        EXPECT_EQ(h.Call(L"ConnectToGroup", ret, args), CStatus::OK);
        return ret;
    }
};

TEST_F(OperatorTest, AppliedFromItsPresetAndNestedUnderItsWeightMap) {
    ASSERT_TRUE(op.IsValid());
    EXPECT_EQ(op.GetClassID(), siCustomOperatorID);
    EXPECT_EQ(std::wstring(op.GetAsText().GetWideString()), L"grid.polymsh.cls.WeightMapCls.map.FixtureOp");
    EXPECT_EQ(host.Find(L"grid.polymsh.cls.WeightMapCls.map.FixtureOp"), op);
    Operator o(op);
    EXPECT_EQ(o.GetNumPortGroups(), 4);
    EXPECT_EQ(o.GetNumInstancesInGroup(0), 1);
    EXPECT_EQ(o.GetNumInstancesInGroup(2), 0);
    EXPECT_EQ(o.GetPortAt(1, 0, 0).GetTarget().GetClassID(), siClusterID);
    EXPECT_EQ(std::wstring(o.GetPortAt(2, 0, 0).GetName().GetWideString()), L"OutWeightMap");
    EXPECT_TRUE(o.GetPortAt(2, 0, 0).IsA(siOutputPortID));
    EXPECT_FALSE(o.GetPortAt(0, 2, 0).IsValid());
    EXPECT_EQ(host.GetLog().entries().back().text, L"fixture: init");
    EXPECT_FALSE(Apply(L"NoSuchOp", L"grid.polymsh.cls.WeightMapCls.map;grid.Settings").IsValid());
    EXPECT_FALSE(Apply(L"BrokenOp", L"grid.polymsh.cls.WeightMapCls.map;grid.Settings").IsValid());
    EXPECT_FALSE(Apply(L"FixtureOp", L"grid.polymsh.cls.WeightMapCls.map").IsValid());  // the property group is missing
}

// Operators applied again to one map are named like any objects of one name.
TEST_F(OperatorTest, SameNamedOperatorsTakeTheFirstFreeSuffix) {
    const wchar_t* set = L"grid.polymsh.cls.WeightMapCls.map;grid.Settings";
    EXPECT_EQ(std::wstring(Apply(L"FixtureOp", set).GetAsText().GetWideString()), L"grid.polymsh.cls.WeightMapCls.map.FixtureOp1");
    CRef second = Apply(L"FixtureOp", set);
    EXPECT_EQ(std::wstring(second.GetAsText().GetWideString()), L"grid.polymsh.cls.WeightMapCls.map.FixtureOp2");
    host.Delete(op);
    EXPECT_EQ(std::wstring(Apply(L"FixtureOp", set).GetAsText().GetWideString()), L"grid.polymsh.cls.WeightMapCls.map.FixtureOp");
    EXPECT_EQ(std::wstring(Apply(L"FixtureOp", set).GetAsText().GetWideString()), L"grid.polymsh.cls.WeightMapCls.map.FixtureOp3");
}

TEST_F(OperatorTest, UpdatesOnlyWhenSomethingItReadsChanged) {
    EXPECT_DOUBLE_EQ(Read(), 1.5);  // below 1 + Amount 0.5
    EXPECT_EQ(Updates(), 1u);
    Read();
    host.SetFrame(1.0);
    Read();
    SceneItem(grid).AddProperty(L"CustomProperty", false, L"Unrelated");
    Read();
    EXPECT_EQ(Updates(), 1u);

    host.SetFrame(2.0);
    Read();
    EXPECT_EQ(Updates(), 2u);
    host.SetValue(L"grid.Settings.Amount", CValue(2.0));
    EXPECT_DOUBLE_EQ(Read(), 3.0);
    EXPECT_EQ(Updates(), 3u);
    host.SetValue(L"grid.Settings.Amount", CValue(2.0));  // the same value is no change
    Read();
    EXPECT_EQ(Updates(), 3u);

    // A connected weight map: its own changes reach the operator.
    EXPECT_EQ(Connect(2, L"grid.polymsh.cls.WeightMapCls1.other"), 0);
    Read();
    EXPECT_EQ(Updates(), 4u);
    CDoubleArray w(4);
    for (LONG i = 0; i < 4; ++i) w[i] = 10.0;
    ClusterProperty(other).GetElements().PutArray(w);
    EXPECT_DOUBLE_EQ(Read(), 13.0);
    EXPECT_EQ(Updates(), 5u);

    // A connected object: its transform and its geometry.
    CRef ball = host.CreatePrim(L"Sphere", L"ball");
    Connect(3, L"ball");
    Read();
    EXPECT_EQ(Updates(), 6u);
    MATH::CTransformation t;
    t.SetIdentity();
    t.SetTranslationFromValues(1, 0, 0);
    X3DObject(ball).GetKinematics().GetLocal().PutTransform(t);
    Read();
    EXPECT_EQ(Updates(), 7u);
    CPointRefArray pts = X3DObject(ball).GetActivePrimitive().GetGeometry().GetPoints();
    pts.PutPositionArray(pts.GetPositionArray());
    Read();
    EXPECT_EQ(Updates(), 8u);
    Read();
    EXPECT_EQ(Updates(), 8u);

    // Disconnecting is a change too.
    CComAPIHandler h{CValue(op)};
    CValue ret;
    EXPECT_EQ(h.Call(L"DisconnectGroup", ret, CValue(LONG(2)), CValue(LONG(0))), CStatus::OK);
    EXPECT_DOUBLE_EQ(Read(), 3.0);
    EXPECT_EQ(Updates(), 9u);
}

TEST_F(OperatorTest, StackedOperatorsReadTheValueBelowThem) {
    CRef second = Apply(L"FixtureOp", L"grid.polymsh.cls.WeightMapCls.map;grid.Settings");
    ASSERT_TRUE(second.IsValid());
    EXPECT_EQ(std::wstring(second.GetAsText().GetWideString()), L"grid.polymsh.cls.WeightMapCls.map.FixtureOp1");
    EXPECT_DOUBLE_EQ(Read(), 2.0);  // 1 + 0.5 + 0.5
    // Writing the map from outside changes what is below both.
    CDoubleArray w(4);
    ClusterProperty(map).GetElements().PutArray(w);
    EXPECT_DOUBLE_EQ(Read(), 1.0);
}

TEST_F(OperatorTest, DeletingTheOperatorOrClosingTheSceneTerminatesIt) {
    Read();
    CValueArray args;
    args.Add(CValue(op.GetAsText()));
    CValue ret;
    ASSERT_EQ(host.ExecuteCommand(L"DeleteObj", args, ret), CStatus::OK);
    EXPECT_EQ(host.GetLog().entries().back().text, L"fixture: term");
    EXPECT_FALSE(op.IsValid());
    EXPECT_DOUBLE_EQ(Read(), 1.0);  // the stored value again
    CRef again = Apply(L"FixtureOp", L"grid.polymsh.cls.WeightMapCls.map;grid.Settings");
    ASSERT_TRUE(again.IsValid());
    host.Clear();
    EXPECT_EQ(host.GetLog().entries().back().text, L"fixture: term");
    EXPECT_FALSE(again.IsValid());
}

// Deleting what a repeated instance reads (a weight map's cluster, an object's model) drops
// that instance: the later ones move down and the operator updates at the next read.
TEST_F(OperatorTest, DeletingWhatAnInstanceReadsDropsTheInstance) {
    CDoubleArray ten(4);
    for (LONG i = 0; i < 4; ++i) ten[i] = 10.0;
    ClusterProperty(other).GetElements().PutArray(ten);
    CRef third = NewMap(L"third", 5.0);
    Connect(2, L"grid.polymsh.cls.WeightMapCls1.other");
    Connect(2, L"grid.polymsh.cls.WeightMapCls2.third");
    CRef rig = host.CreateModel(L"rig");
    CRef ball = host.CreatePrim(L"Sphere", L"ball", {}, host.CreateNull(L"arm", rig));
    host.CreatePrim(L"Sphere", L"kept");
    Connect(3, ball.GetAsText().GetWideString());
    Connect(3, L"kept");
    EXPECT_DOUBLE_EQ(Read(), 1.5 + 10.0 + 5.0);
    size_t updates = Updates();
    host.Delete(host.Find(L"grid.polymsh.cls.WeightMapCls1"));
    Operator o(op);
    EXPECT_EQ(o.GetNumInstancesInGroup(2), 1);
    EXPECT_EQ(o.GetPortAt(0, 2, 0).GetTarget(), third);
    EXPECT_DOUBLE_EQ(Read(), 6.5);
    EXPECT_EQ(Updates(), updates + 1);
    host.Delete(rig);
    EXPECT_EQ(o.GetNumInstancesInGroup(3), 1);
    EXPECT_EQ(o.GetPortAt(0, 3, 0).GetTarget(), X3DObject(host.Find(L"kept")).GetActivePrimitive().GetRef());
    Read();
    EXPECT_EQ(Updates(), updates + 2);
}

}  // namespace
