// The Mix Map from a user's side: applied to a mesh, fed with other weight maps of it, mixed in
// every mode, driven from its page.
#include <gtest/gtest.h>

#include "scene/host.h"
#include "tool_session.h"
#include "scene/operators.h"
#include "xsi_cluster.h"
#include "xsi_clusterproperty.h"
#include "xsi_customproperty.h"
#include "xsi_geometry.h"
#include "xsi_operator.h"
#include "xsi_parameter.h"
#include "xsi_primitive.h"
#include "xsi_x3dobject.h"

using namespace XSI;

namespace {

const std::wstring kMap = L"m.polymsh.cls.WeightMapCls.MixWeightMap";
const std::wstring kProp = kMap + L"_MixMap";
const std::wstring kOp = kMap + L".zrMixMapOp";
using tooltest::W;

using tooltest::ExpectWeights;

struct MixTest : tooltest::ToolSession {
    MixTest() : ToolSession({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, L"Orbelin_zrMixMapApplyCmd", kMap, kProp, kOp) {}
    // A weight map given to the command is asked for again with a pick (the command takes given
    // 3D objects and primitives only), so the user's answer is queued first.
    void Connect(const CRef& object) {
        if (object.IsA(siClusterPropertyID)) host.PickQueue().push_back({std::wstring(object.GetAsText().GetWideString()), 1, 0});
        ASSERT_EQ(Run(L"Orbelin_zrMixMapAddConnexionCmd", {CValue(kProp.c_str()), CValue(object)}), CStatus::OK);
        EXPECT_TRUE(host.PickQueue().empty());
    }
    LONG Connexions() { return ConnexionsIn(2); }
};

const W kA{0.2, 0.4, 0.6, 0.8};
const W kB{1.0, 0.5, 0.0, -0.5};

TEST_F(MixTest, ApplyingMakesThePropertyTheOperatorAndThePage) {
    CustomProperty prop(host.Find(kProp));
    ASSERT_TRUE(prop.IsValid());
    CParameterRefArray params = prop.GetParameters();
    ASSERT_EQ(params.GetCount(), 6 + 60);
    const wchar_t* names[] = {L"Enable", L"OpMode", L"OpWeightPostProcess", L"RangeMin", L"RangeMax", L"OperatorFullPath",
                              L"Enabled_0", L"Factor_0"};
    for (LONG i = 0; i < 8; ++i) EXPECT_EQ(std::wstring(Parameter(params[i]).GetScriptName().GetWideString()), names[i]);
    Parameter last(params[65]);
    EXPECT_EQ(std::wstring(last.GetScriptName().GetWideString()), L"Factor_29");
    EXPECT_EQ(static_cast<double>(last.GetDefault()), 1.0);
    EXPECT_EQ(static_cast<double>(last.GetMin()), -1000.0);
    EXPECT_EQ(static_cast<LONG>(Get(L"OpMode")), 1);
    EXPECT_EQ(std::wstring(Get(L"OperatorFullPath").GetAsText().GetWideString()), kOp);
    EXPECT_TRUE(host.IsPageOpen(host.Find(kProp)));
    std::wstring page = Page();
    for (const wchar_t* text : {L"Weightmap Mixer", L" Live - Addititive ", L"Change Range", L"Remove All Connexion"})
        EXPECT_NE(page.find(text), std::wstring::npos) << std::wstring(text);
    ExpectWeights(Weights(), {0, 0, 0, 0});  // no connexion
}

TEST_F(MixTest, ConnexionsAreGivenOrPickedAsWeightMaps) {
    CRef a = Source(kA), b = Source(kB);
    Connect(a);
    host.ClearSelection();
    host.PickQueue().push_back({std::wstring(SIObject(b).GetFullName().GetWideString()), 1, 0});
    ASSERT_EQ(host.PressButton(host.Find(kProp), L"Connect"), CStatus::OK);
    EXPECT_TRUE(host.PickQueue().empty());
    EXPECT_EQ(Connexions(), 2);
    Set(L"Factor_1", CValue(3.0));
    ExpectWeights(Weights(), {0.25 * 0.2 + 0.75 * 1.0, 0.25 * 0.4 + 0.75 * 0.5, 0.25 * 0.6, 0.25 * 0.8 - 0.75 * 0.5});
    EXPECT_NE(Page().find(SIObject(b).GetFullName().GetWideString()), std::wstring::npos);
}

TEST_F(MixTest, EveryModeAndPostProcess) {
    Connect(Source(kA));
    Connect(Source(kB));
    Set(L"OpMode", CValue(LONG(2)));  // Additive: A + 3B
    Set(L"Factor_1", CValue(3.0));
    ExpectWeights(Weights(), {3.2, 1.9, 0.6, -0.7});
    Set(L"OpMode", CValue(LONG(3)));  // Maximum: 2A then B, never below 0
    Set(L"Factor_0", CValue(2.0));
    Set(L"Factor_1", CValue(1.0));
    ExpectWeights(Weights(), {1.0, 0.8, 1.2, 1.6});
    Set(L"Factor_0", CValue(-1.0));
    Set(L"Factor_1", CValue(-1.0));
    ExpectWeights(Weights(), {0, 0, 0, 0.5});
    // Factors summing to 0 mix nothing, also in Average.
    Set(L"OpMode", CValue(LONG(1)));
    Set(L"Factor_0", CValue(1.0));
    ExpectWeights(Weights(), {0, 0, 0, 0});
    // Clamp acts at every step: 1.0 then 0.5 + 0.5 ... clamped again; with B negative it falls.
    Set(L"OpMode", CValue(LONG(2)));
    Set(L"Factor_1", CValue(1.0));
    Set(L"OpWeightPostProcess", CValue(LONG(1)));
    Set(L"RangeMin", CValue(0.1));
    Set(L"RangeMax", CValue(0.7));
    // A clamped: .2 .4 .6 .7; + B: 1.2 .9 .6 .2 clamped: .7 .7 .6 .2
    ExpectWeights(Weights(), {0.7, 0.7, 0.6, 0.2});
    // Change Range over the steps' extremes: 0.2 (A's first) to 1.2 (A + B's first) onto -1..1.
    Set(L"OpWeightPostProcess", CValue(LONG(2)));
    Set(L"RangeMin", CValue(-1.0));
    Set(L"RangeMax", CValue(1.0));
    ExpectWeights(Weights(), {1.0, 0.4, -0.2, -0.8});
    // Nothing mixed: every zero goes to the middle of the range.
    Set(L"Enabled_0", CValue(false));
    Set(L"Enabled_1", CValue(false));
    Set(L"RangeMin", CValue(0.0));
    ExpectWeights(Weights(), {0.5, 0.5, 0.5, 0.5});
}

TEST_F(MixTest, HoldCapturesOnlyWhenComingFromDisabled) {
    CRef a = Source(kA);
    Put(host.Find(kMap), {0.9, 0.9, 0.9, 0.9});  // the map's own weights, below the operator
    Connect(a);
    ExpectWeights(Weights(), kA);
    // From a live mode Hold keeps the last result, whatever the connexions do next.
    Set(L"OpMode", CValue(LONG(0)));
    Put(a, {0, 0, 0, 0});
    ExpectWeights(Weights(), kA);
    // Entered from disabled it freezes the map's own weights.
    Set(L"Enable", CValue(false));
    Weights();
    Set(L"Enable", CValue(true));
    ExpectWeights(Weights(), {0.9, 0.9, 0.9, 0.9});
    Set(L"OpMode", CValue(LONG(1)));
    ExpectWeights(Weights(), {0, 0, 0, 0});
}

TEST_F(MixTest, DisabledRefusedDeletedAndPartialConnexions) {
    CRef a = Source(kA), b = Source(kB);
    Connect(a);
    Connect(b);
    Set(L"Enabled_1", CValue(false));  // its factor is 0: A alone
    ExpectWeights(Weights(), kA);
    // An object given where a weight map is wanted is refused by the host: nothing changes.
    CRef other = host.CreatePolyMesh(L"o", standin::mesh::PolyMesh::Build({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 3}, {0, 1, 2}));
    Connect(other);
    EXPECT_EQ(host.GetLog().CountWith(siErrorMsg), 1u);
    ASSERT_EQ(Connexions(), 2);
    ExpectWeights(Weights(), kA);
    // Deleting a map drops its connexion; the parameters stay where they are.
    CValueArray args(1);
    args[0] = CValue(SIObject(a).GetFullName());
    CValue ret;
    ASSERT_EQ(host.ExecuteCommand(L"DeleteObj", args, ret), CStatus::OK);
    ASSERT_EQ(Connexions(), 1);  // b, now read with Enabled_0 and Factor_0
    ExpectWeights(Weights(), kB);
    // A map on points 1 and 3 only: the others read 0 from it.
    Run(L"Orbelin_zrMixMapRemoveConnexionCmd", {CValue(kProp.c_str())});
    CLongArray points;
    points.Add(3);
    points.Add(1);
    Cluster part;
    ASSERT_EQ(X3DObject(mesh).GetActivePrimitive().GetGeometry().AddCluster(L"pnt", L"part", points, part), CStatus::OK);
    Connect(Source({0.7, 0.5}, part.GetRef()));
    ExpectWeights(Weights(), {0, 0.5, 0, 0.7});
}

// Removing one connexion shifts the blocks found from index 14 (the Mix Map's pairs start at
// 6): the pairs 4 to 6 move, the connexions' own pairs stay.
TEST_F(MixTest, RemovingConnexionsMovesTheBlocksFrom14) {
    for (const W& w : {kA, kB, W{1, 1, 1, 1}}) Connect(Source(w));
    for (int k = 0; k <= 6; ++k) Set(L"Factor_" + std::to_wstring(k), CValue(k + 2.0));
    Set(L"OpMode", CValue(LONG(2)));
    ASSERT_EQ(host.PressButton(host.Find(kProp), L"Remove_0"), CStatus::OK);
    ASSERT_EQ(Connexions(), 2);
    const double want[] = {2, 3, 4, 5, 7, 8, 1};
    for (int k = 0; k <= 6; ++k) EXPECT_EQ(static_cast<double>(Get(L"Factor_" + std::to_wstring(k))), want[k]) << k;
    ExpectWeights(Weights(), {2 * 1.0 + 3, 2 * 0.5 + 3, 3, -2 * 0.5 + 3});
    ASSERT_EQ(host.PressButton(host.Find(kProp), L"RemoveAll"), CStatus::OK);
    EXPECT_EQ(Connexions(), 0);
    EXPECT_EQ(static_cast<double>(Get(L"Factor_0")), 1.0);
    EXPECT_EQ(static_cast<double>(Get(L"Factor_1")), 1.0);
    ExpectWeights(Weights(), {0, 0, 0, 0});
}

// The connexion commands refuse a first argument that is not the tool's property, each with
// the tool's own wording (the Mix Map's says MixMap in both, the Proximity Map's Remove zr...).
TEST_F(MixTest, ConnexionCommandsNameTheirToolWhenRefusingTheirFirstArgument) {
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"Orbelin_zrMixMapAddConnexionCmd", L"Please use the MixMap CustomProperty as the first argument of the command!"},
        {L"Orbelin_zrMixMapRemoveConnexionCmd", L"Please use the MixMap CustomProperty as the first argument of the command!"},
        {L"Orbelin_zrProximityMapRemoveConnexionCmd",
         L"Please use the zrProximityMap CustomProperty as the first argument of the command!"},
    };
    for (const auto& [command, message] : cases) {
        EXPECT_EQ(Run(command, {CValue(mesh), CValue(LONG(-1))}), CStatus::InvalidArgument) << std::wstring(command);
        EXPECT_EQ(host.GetLog().entries().back().text, std::wstring(L"[OrbelinPlugin] >> ") + message);
    }
}

// A connexion past the thirtieth gets its pair from the page, with no influence at first.
TEST_F(MixTest, TheThirtyFirstConnexionStartsWithFactorZero) {
    CRef a = Source(kA);
    Set(L"OpMode", CValue(LONG(2)));
    for (int k = 0; k < 31; ++k) Connect(a);
    Parameter factor = CustomProperty(host.Find(kProp)).GetParameter(L"Factor_30");
    ASSERT_TRUE(factor.IsValid());
    EXPECT_EQ(static_cast<double>(factor.GetDefault()), 0.0);
    EXPECT_EQ(static_cast<double>(factor.GetMax()), 4.0);
    EXPECT_TRUE(static_cast<bool>(Get(L"Enabled_30")));
    ExpectWeights(Weights(), {30 * 0.2, 30 * 0.4, 30 * 0.6, 30 * 0.8});
}

TEST_F(MixTest, FollowsAConnectedMapOverFramesAndOnlyThen) {
    CRef a = Source(kA);
    Connect(a);
    auto stamp = [&] { return dynamic_cast<standin::OperatorNode&>(*host.Find(kOp).GetHostObject()).outputStamp; };
    ExpectWeights(Weights(), kA);
    const auto first = stamp();
    Weights();
    host.SetFrame(host.Frame());
    Weights();
    EXPECT_EQ(stamp(), first);  // writing OperatorFullPath back must not count as a change
    Put(a, kB);
    ExpectWeights(Weights(), kB);
    EXPECT_NE(stamp(), first);
    // A map made by another operator that changes with the frame.
    Run(L"Orbelin_zrMixMapRemoveConnexionCmd", {CValue(kProp.c_str())});
    CRef ball = host.CreateNull(L"ball");
    MATH::CTransformation t;
    t.SetIdentity();
    for (int f = 1; f <= 2; ++f) {
        t.SetTranslationFromValues(f == 1 ? 0.0 : 1.0, 0, 0);
        host.SetTransform(ball, t, f);
    }
    host.Select({mesh});
    ASSERT_EQ(Run(L"Orbelin_zrProximityMapApplyCmd", {}), CStatus::OK);
    CRef proximity = host.Find(L"m.polymsh.cls.WeightMapCls2.ProximityWeightMap");
    ASSERT_TRUE(proximity.IsValid());
    ASSERT_EQ(Run(L"Orbelin_zrProximityMapAddConnexionCmd",
                  {CValue(SIObject(proximity).GetFullName() + L"_ProximityMap"), CValue(ball)}),
              CStatus::OK);
    Connect(proximity);
    W seen[2];
    for (int f = 1; f <= 2; ++f) {
        host.SetFrame(f);
        seen[f - 1] = Weights();
        CDoubleArray p = ClusterProperty(proximity).GetElements().GetArray();
        ExpectWeights(seen[f - 1], W(p.GetArray(), p.GetArray() + p.GetCount()));
    }
    EXPECT_NE(seen[0], seen[1]);
}

TEST_F(MixTest, WithTheOperatorDeletedThePageShowsOnlyItsButtons) {
    Connect(Source(kA));
    host.Delete(host.Find(kOp));
    std::wstring page = Page();
    EXPECT_NE(page.find(L"Add Connexion"), std::wstring::npos);
    EXPECT_EQ(page.find(L"Remove_0"), std::wstring::npos);
    EXPECT_EQ(host.GetLog().entries().back().text, L"[OrbelinPlugin] >> Operator zrWeightMapMixer not found!");
}

}  // namespace
