// The Proximity Map from a user's side: applied to a grid, given connexions, evaluated as
// frames play, driven from its page.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

#include "nurbs/nurbs.h"
#include "scene/host.h"
#include "xsi_clusterproperty.h"
#include "xsi_customproperty.h"
#include "xsi_fcurve.h"
#include "xsi_ppglayout.h"

using namespace XSI;

namespace {

const std::wstring kMap = L"floor.polymsh.cls.WeightMapCls.ProximityWeightMap";
const std::wstring kProp = kMap + L"_ProximityMap";

struct ProximityTest : ::testing::Test {
    standin::Host host{std::filesystem::temp_directory_path()};

    ProximityTest() {
        host.GetLog().SetEcho(false);
        EXPECT_EQ(host.LoadPlugin(ORBELIN_PLUGIN_PATH), CStatus::OK);
        // A row of 11 points along X, 1 apart, from x = 0 to x = 10.
        CRef floor = host.CreatePrim(L"Grid", L"floor", {{L"sizex", 10}, {L"sizez", 0}, {L"subdivu", 10}, {L"subdivv", 1}});
        MATH::CTransformation t;
        t.SetIdentity();
        t.SetTranslationFromValues(5, 0, 0);
        host.SetTransform(floor, t);
        host.Select({floor});
        Run(L"Orbelin_zrProximityMapApplyCmd", {});
    }
    CStatus Run(const std::wstring& command, std::vector<CValue> values) {
        CValueArray args;
        for (const CValue& v : values) args.Add(v);
        CValue ret;
        return host.ExecuteCommand(command, args, ret);
    }
    void Set(const std::wstring& param, const CValue& v) { ASSERT_EQ(host.SetValue(kProp + L"." + param, v), CStatus::OK); }
    CValue Get(const std::wstring& param) {
        CValue v;
        host.GetValue(kProp + L"." + param, v);
        return v;
    }
    std::vector<double> Weights() {
        CDoubleArray w = ClusterProperty(host.Find(kMap)).GetElements().GetArray();
        return std::vector<double>(w.GetArray(), w.GetArray() + w.GetCount() / 2);  // the first row of points
    }
    CRef NullAt(const wchar_t* name, double x, const CRef& parent = CRef()) {
        CRef n = host.CreateNull(name, parent);
        MATH::CTransformation t;
        t.SetIdentity();
        t.SetTranslationFromValues(x, 0, 0);
        host.SetTransform(n, t);
        return n;
    }
    void Connect(const wchar_t* object) {
        ASSERT_EQ(Run(L"Orbelin_zrProximityMapAddConnexionCmd", {CValue(kProp.c_str()), CValue(object)}), CStatus::OK);
    }
    // Every parameter of the property, as (script name, value text).
    std::vector<std::pair<std::wstring, std::wstring>> Parameters() {
        std::vector<std::pair<std::wstring, std::wstring>> out;
        CParameterRefArray params = CustomProperty(host.Find(kProp)).GetParameters();
        for (LONG i = 0; i < params.GetCount(); ++i) {
            Parameter p(params[i]);
            out.emplace_back(p.GetScriptName().GetWideString(), p.GetValue().GetAsText().GetWideString());
        }
        return out;
    }
    std::wstring Page() {
        bool cancelled = false;
        host.InspectObj(host.Find(kProp), siRecycle, cancelled);
        return host.DescribePage(host.Find(kProp));
    }
    size_t Count(const std::wstring& text) {
        size_t n = 0;
        for (const auto& e : host.GetLog().entries()) n += e.text == text;
        return n;
    }
};

TEST_F(ProximityTest, ApplyingMakesThePropertyTheOperatorAndOpensThePage) {
    CustomProperty prop(host.Find(kProp));
    ASSERT_TRUE(prop.IsValid());
    CParameterRefArray params = prop.GetParameters();
    EXPECT_EQ(params.GetCount(), 14 + 60);
    const wchar_t* names[] = {L"Enable", L"OpMode", L"OpWeightPostProcess", L"Near", L"Far", L"StartFrame", L"EndFrame",
                              L"AddMode", L"CleanCacheIdx", L"ProcessingMode", L"Falloff", L"OperatorFullPath", L"Min",
                              L"Max", L"Enabled_0", L"Factor_0"};
    for (LONG i = 0; i < 16; ++i) EXPECT_EQ(std::wstring(Parameter(params[i]).GetScriptName().GetWideString()), names[i]);
    EXPECT_EQ(std::wstring(Parameter(params[73]).GetScriptName().GetWideString()), L"Factor_29");
    EXPECT_EQ(static_cast<LONG>(Get(L"OpMode")), 1);
    EXPECT_EQ(static_cast<LONG>(Get(L"EndFrame")), 100);
    EXPECT_EQ(std::wstring(Get(L"OperatorFullPath").GetAsText().GetWideString()), kMap + L".zrProximityMapOp");
    FCurve falloff(Get(L"Falloff"));
    EXPECT_NEAR(static_cast<double>(falloff.Eval(37.0)), 0.37, 1e-12);
    EXPECT_TRUE(host.IsPageOpen(host.Find(kProp)));
    // The frame range comes from the play control when the property is made.
    host.SetValue(L"PlayControl.Out", CValue(48.0));
    host.Select({host.Find(L"floor")});
    Run(L"Orbelin_zrProximityMapApplyCmd", {});
    CValue end;
    host.GetValue(L"floor.polymsh.cls.WeightMapCls1.ProximityWeightMap_ProximityMap.EndFrame", end);
    EXPECT_EQ(static_cast<LONG>(end), 48);
}

TEST_F(ProximityTest, WeightsFallWithDistanceThroughTheFalloff) {
    NullAt(L"n", 0.0);
    Connect(L"n");
    std::vector<double> w = Weights();
    // near 0, far 10, linear falloff: D = d, weight = 1 - d / 10.
    for (int i = 0; i <= 10; ++i) EXPECT_NEAR(w[static_cast<size_t>(i)], 1.0 - i / 10.0, 1e-12) << i;
    // A connexion exactly at the near distance adds (1 - near / far) x factor.
    Set(L"Near", CValue(3.0));
    Set(L"Factor_0", CValue(2.0));
    EXPECT_NEAR(Weights()[3], (1.0 - 3.0 / 10.0) * 2.0, 1e-12);
}

TEST_F(ProximityTest, FactorsAreNormalisedOutsideAdditiveMode) {
    NullAt(L"a", 0.0);
    NullAt(L"b", 10.0);
    Connect(L"a");
    Connect(L"b");
    Set(L"AddMode", CValue(false));
    Set(L"Factor_1", CValue(3.0));
    std::vector<double> w = Weights();
    EXPECT_NEAR(w[0], 0.25 * 1.0 + 0.75 * 0.0, 1e-12);
    EXPECT_NEAR(w[10], 0.25 * 0.0 + 0.75 * 1.0, 1e-12);
    // All connexions disabled: the weight map's own weights come through.
    Set(L"Enabled_0", CValue(false));
    Set(L"Enabled_1", CValue(false));
    for (double v : Weights()) EXPECT_EQ(v, 0.0);
}

TEST_F(ProximityTest, ANarrowRangeIsWidenedWithOneWarningPerEvaluation) {
    NullAt(L"n", 0.0);
    Connect(L"n");
    Set(L"Near", CValue(2.0));
    Set(L"Far", CValue(2.0));
    std::vector<double> w = Weights();
    EXPECT_EQ(Count(L"Far Range internally set to 2.0001!"), 1u);
    EXPECT_EQ(host.GetLog().entries().back().severity, siWarningMsg);
    EXPECT_NEAR(w[1], 1.0 - 2.0 / 2.0001, 1e-12);  // within near: r = near
    Weights();  // nothing changed: no new evaluation, no new warning
    EXPECT_EQ(Count(L"Far Range internally set to 2.0001!"), 1u);
}

TEST_F(ProximityTest, EveryKindOfGeometryConnects) {
    // A point set: the mean of the counted candidates' r, not the nearest.
    host.CreatePolyMesh(L"pts", standin::mesh::PolyMesh::Build({{0, 0, 0}, {2, 0, 0}, {1, 1, 0}}, {0, 3}, {0, 1, 2}));
    Connect(L"pts");
    double d0 = 0, d1 = 2, d2 = std::sqrt(2.0);
    EXPECT_NEAR(Weights()[0], 1.0 - (d0 + d1 + d2) / 3.0 / 10.0, 1e-12);
    Run(L"Orbelin_zrProximityMapRemoveConnexionCmd", {CValue(kProp.c_str())});
    // A curve and a surface: the distance to their closest point.
    host.CreateCurveList(L"line", {standin::nurbs::Curve({{0, 0, 5}, {10, 0, 5}}, 1, false)});
    Connect(L"line");
    EXPECT_NEAR(Weights()[4], 0.5, 1e-6);
    Run(L"Orbelin_zrProximityMapRemoveConnexionCmd", {CValue(kProp.c_str())});
    CRef surf = host.CreateSurfaceMesh(L"sheet", {standin::nurbs::GridSurface(40, 40, 2, 2)});
    MATH::CTransformation t;
    t.SetIdentity();
    t.SetTranslationFromValues(0, 2, 0);
    host.SetTransform(surf, t);
    Connect(L"sheet");
    EXPECT_NEAR(Weights()[7], 0.8, 1e-6);
}

// Elements far from a curve or surface skip its closest-point search; their weights must not
// show it, whether the falloff lets far candidates count (a constant tail below 1) or not.
TEST_F(ProximityTest, ElementsBeyondACurvesOrSurfacesReachKeepTheDefinedWeights) {
    standin::nurbs::Curve ring = standin::nurbs::Circle(1.0);
    standin::nurbs::Surface ball = standin::nurbs::SphereSurface(1.5);
    host.CreateCurveList(L"ring", {ring});
    host.CreateSurfaceMesh(L"ball", {ball});
    Set(L"Far", CValue(2.5));
    FCurve falloff(Get(L"Falloff"));
    for (bool surface : {false, true}) {
        SCOPED_TRACE(surface ? "surface" : "curve");
        Run(L"Orbelin_zrProximityMapRemoveConnexionCmd", {CValue(kProp.c_str())});
        Connect(surface ? L"ball" : L"ring");
        auto distance = [&](size_t i) {
            standin::mesh::Vec3 p{double(i), 0.0, 0.0};
            return std::sqrt(surface ? ball.Closest(p).squaredDistance : ring.Closest(p).squaredDistance);
        };
        falloff.BeginEdit();
        falloff.RemoveKeys();
        falloff.AddKey(CTime(0.0), CValue(0.0), siLinearKeyInterpolation);
        falloff.AddKey(CTime(100.0), CValue(1.0), siLinearKeyInterpolation);
        falloff.EndEdit();
        std::vector<double> w = Weights();
        for (size_t i = 0; i <= 10; ++i) {
            double d = distance(i);
            EXPECT_NEAR(w[i], d < 2.5 ? 1.0 - d / 2.5 : 0.0, 1e-9) << i;
        }
        // Half way up at 100 and constant after: every element counts, at most with r = far / 2.
        falloff.BeginEdit();
        falloff.RemoveKeys();
        falloff.AddKey(CTime(0.0), CValue(0.0), siLinearKeyInterpolation);
        falloff.AddKey(CTime(100.0), CValue(0.5), siLinearKeyInterpolation);
        falloff.PutExtrapolation(siConstantExtrapolation);
        falloff.EndEdit();
        w = Weights();
        for (size_t i = 0; i <= 10; ++i) EXPECT_NEAR(w[i], 1.0 - 0.5 * std::min(distance(i), 2.5) / 2.5, 1e-9) << i;
        EXPECT_EQ(w[10], 0.5);
    }
}

TEST_F(ProximityTest, ClampAndChangeRange) {
    NullAt(L"n", 0.0);
    Connect(L"n");
    Set(L"OpWeightPostProcess", CValue(LONG(1)));
    Set(L"Min", CValue(0.2));
    Set(L"Max", CValue(0.7));
    std::vector<double> w = Weights();
    EXPECT_EQ(w[0], 0.7);
    EXPECT_NEAR(w[5], 0.5, 1e-12);
    EXPECT_EQ(w[9], 0.2);
    Set(L"OpWeightPostProcess", CValue(LONG(2)));
    Set(L"Min", CValue(-1.0));
    Set(L"Max", CValue(1.0));
    w = Weights();
    EXPECT_NEAR(w[0], 1.0, 1e-12);
    EXPECT_NEAR(w[10], -1.0, 1e-12);
    EXPECT_NEAR(w[5], 0.0, 1e-12);
}

TEST_F(ProximityTest, KeepMaximumLeavesAWetTrail) {
    CRef ball = NullAt(L"ball", 0.0);
    MATH::CTransformation t;
    t.SetIdentity();
    for (int f = 1; f <= 11; ++f) {
        t.SetTranslationFromValues(f - 1.0, 0, 0);
        host.SetTransform(ball, t, f);
    }
    Connect(L"ball");
    Set(L"Far", CValue(1.0));
    Set(L"OpMode", CValue(LONG(2)));
    Set(L"ProcessingMode", CValue(LONG(1)));
    for (int f = 1; f <= 11; ++f) {
        host.SetFrame(f);
        std::vector<double> w = Weights();
        for (int i = 0; i < f; ++i) EXPECT_NEAR(w[static_cast<size_t>(i)], 1.0, 1e-12) << "frame " << f << " point " << i;
    }
    // The page now shows the caching controls.
    EXPECT_NE(host.DescribePage(host.Find(kProp)).find(L"Clean Cache"), std::wstring::npos);
}

// Frames beyond int32 come to its ends; at the first one Keep Maximum once read the frame
// before it, which overflowed.
TEST_F(ProximityTest, HugeFramesAreCachedAtTheEndsOfTheTimeLine) {
    NullAt(L"ball", 0.0);
    Connect(L"ball");
    Set(L"Far", CValue(1.0));
    Set(L"OpMode", CValue(LONG(2)));
    Set(L"ProcessingMode", CValue(LONG(1)));
    Set(L"StartFrame", CValue(LONG(-10000)));
    for (double frame : {-1e300, 1e300, 5.0}) {
        host.SetFrame(frame);
        std::vector<double> w = Weights();
        EXPECT_NEAR(w[0], 1.0, 1e-12) << frame;
        EXPECT_NEAR(w[10], 0.0, 1e-12) << frame;
    }
}

// Every press of Clean Cache rebuilds the cache, also with the counter at its largest.
TEST_F(ProximityTest, CleanCacheRebuildsWithTheCounterAtItsLargest) {
    CRef ball = NullAt(L"ball", 0.0);
    Connect(L"ball");
    Set(L"Far", CValue(1.0));
    Set(L"OpMode", CValue(LONG(2)));
    Set(L"CleanCacheIdx", CValue(LONG(2147483647)));
    host.SetFrame(1);
    EXPECT_NEAR(Weights()[0], 1.0, 1e-12);
    MATH::CTransformation t;
    t.SetIdentity();
    t.SetTranslationFromValues(10, 0, 0);
    host.SetTransform(ball, t);
    EXPECT_NEAR(Weights()[0], 1.0, 1e-12);  // the cached frame
    ASSERT_EQ(host.PressButton(host.Find(kProp), L"CleanCache"), CStatus::OK);
    EXPECT_EQ(static_cast<LONG>(Get(L"CleanCacheIdx")), -2147483647 - 1);
    std::vector<double> w = Weights();
    EXPECT_NEAR(w[0], 0.0, 1e-12);
    EXPECT_NEAR(w[10], 1.0, 1e-12);
}

TEST_F(ProximityTest, ThePageAddsAndRemovesConnexions) {
    NullAt(L"a", 0.0);
    NullAt(L"b", 10.0);
    CRef prop = host.Find(kProp);
    // With nothing selected the button asks for the object; with a selection it takes it.
    host.ClearSelection();
    host.PickQueue().push_back({L"a", 1, 0});
    ASSERT_EQ(host.PressButton(prop, L"Connect"), CStatus::OK);
    host.Select({host.Find(L"b")});
    ASSERT_EQ(host.PressButton(prop, L"Connect"), CStatus::OK);
    EXPECT_TRUE(host.PickQueue().empty());
    Set(L"Factor_1", CValue(2.0));
    EXPECT_NE(host.DescribePage(prop).find(L"Remove_1"), std::wstring::npos);
    ASSERT_EQ(host.PressButton(prop, L"Remove_0"), CStatus::OK);
    EXPECT_EQ(static_cast<double>(Get(L"Factor_0")), 2.0);  // b's block moved down
    EXPECT_EQ(host.DescribePage(prop).find(L"Remove_1"), std::wstring::npos);
    EXPECT_NEAR(Weights()[10], 2.0, 1e-12);
    ASSERT_EQ(host.PressButton(prop, L"RemoveAll"), CStatus::OK);
    EXPECT_EQ(host.DescribePage(prop).find(L"Remove_0"), std::wstring::npos);
    EXPECT_EQ(host.PressButton(prop, L"CleanCache"), CStatus::InvalidArgument);  // not shown outside caching
    Set(L"OpMode", CValue(LONG(2)));
    ASSERT_EQ(host.PressButton(prop, L"CleanCache"), CStatus::OK);
    EXPECT_EQ(static_cast<LONG>(Get(L"CleanCacheIdx")), 1);
}

TEST_F(ProximityTest, RemovingAConnexionThatDoesNotExistChangesNothing) {
    NullAt(L"a", 0.0);
    NullAt(L"b", 5.0);
    NullAt(L"c", 10.0);
    for (const wchar_t* n : {L"a", L"b", L"c"}) Connect(n);
    // Every value away from its default, so that a shift or a reset anywhere shows.
    Set(L"OpWeightPostProcess", CValue(LONG(2)));
    Set(L"Near", CValue(0.5));
    Set(L"Min", CValue(0.25));
    Set(L"Max", CValue(0.75));
    for (int k = 0; k < 4; ++k) Set(L"Factor_" + std::to_wstring(k), CValue(k + 2.0));
    Set(L"Enabled_3", CValue(false));
    const auto before = Parameters();
    const std::vector<double> weights = Weights();
    const double inf = std::numeric_limits<double>::infinity();
    const std::vector<CValue> bad{
        CValue(LONG(-2)), CValue(LONG(3)), CValue(LONG(8)), CValue(LONG(INT32_MAX)), CValue(LONG(INT32_MIN)),
        CValue(2147483648.0), CValue(-2147483648.0), CValue(-2147483649.0), CValue(1e300), CValue(LLONG(1) << 40),
        CValue(std::nan("")), CValue(inf), CValue(-inf), CValue(1.5), CValue(-0.5), CValue(L"two"), CValue(L"1.5"),
        CValue(L""), CValue(L"99999999999"), CValue(host.Find(L"a"))};
    for (const CValue& index : bad) {
        SCOPED_TRACE(index.GetAsText().GetAsciiString());
        EXPECT_EQ(Run(L"Orbelin_zrProximityMapRemoveConnexionCmd", {CValue(kProp.c_str()), index}), CStatus::InvalidArgument);
        const auto& last = host.GetLog().entries().back();
        EXPECT_EQ(last.severity, siErrorMsg);
        EXPECT_EQ(last.text.rfind(L"[OrbelinPlugin] >> Invalid connexion index: ", 0), 0u) << std::string(last.text.begin(), last.text.end());
        EXPECT_EQ(Parameters(), before);
    }
    EXPECT_EQ(Weights(), weights);
    EXPECT_NE(Page().find(L"Remove_2"), std::wstring::npos);
    // A number given as a double or as decimal text still names its connexion.
    ASSERT_EQ(Run(L"Orbelin_zrProximityMapRemoveConnexionCmd", {CValue(kProp.c_str()), CValue(L"1")}), CStatus::OK);
    EXPECT_EQ(static_cast<double>(Get(L"Factor_1")), 4.0);
    ASSERT_EQ(Run(L"Orbelin_zrProximityMapRemoveConnexionCmd", {CValue(kProp.c_str()), CValue(0.0)}), CStatus::OK);
    EXPECT_EQ(static_cast<double>(Get(L"Factor_0")), 4.0);
    EXPECT_EQ(static_cast<double>(Get(L"Factor_1")), 1.0);
}

TEST_F(ProximityTest, APageButtonWithoutAConnexionNumberRemovesNothing) {
    NullAt(L"a", 0.0);
    Connect(L"a");
    CRef prop = host.Find(kProp);
    Page();
    PPGLayout layout = CustomProperty(prop).GetPPGLayout();
    for (const wchar_t* button : {L"Remove_", L"Remove_x", L"Remove_0x", L"Remove_-1", L"Remove_99999999999"}) {
        layout.AddButton(button, L"Remove");
        EXPECT_EQ(host.PressButton(prop, button), CStatus::InvalidArgument) << std::wstring(button);
        EXPECT_EQ(host.GetLog().entries().back().text, L"[OrbelinPlugin] >> Invalid connexion button: " + std::wstring(button) + L"!");
    }
    EXPECT_NE(Page().find(L"Remove_0"), std::wstring::npos);
    EXPECT_NEAR(Weights()[0], 1.0, 1e-12);
}

TEST_F(ProximityTest, RemovingFromADeletedOperatorReportsItOnce) {
    NullAt(L"a", 0.0);
    Connect(L"a");
    host.Delete(host.Find(kMap + L".zrProximityMapOp"));
    for (std::vector<CValue> args : {std::vector<CValue>{CValue(kProp.c_str())}, {CValue(kProp.c_str()), CValue(LONG(0))}}) {
        size_t from = host.GetLog().Count();
        EXPECT_EQ(Run(L"Orbelin_zrProximityMapRemoveConnexionCmd", args), CStatus::OK);
        auto lines = host.GetLog().LinesSince(from);
        ASSERT_FALSE(lines.empty());
        EXPECT_EQ(lines.back().text, L"[OrbelinPlugin] >> Operator zrProximityMapOp not found!!");
        EXPECT_EQ(lines.back().severity, siErrorMsg);
        size_t errors = 0;
        for (const auto& e : lines) errors += e.severity == siErrorMsg;
        EXPECT_EQ(errors, 1u);
    }
}

// Deleting a connected object drops its connexion as the host does: the map is the one of
// the objects left, the later connexions move down, the page shows what remains.
TEST_F(ProximityTest, ADeletedObjectLeavesTheMapAsIfNeverConnected) {
    Set(L"Far", CValue(4.0));
    CRef rig = host.CreateModel(L"rig");
    NullAt(L"a", 1.0, rig);
    NullAt(L"b", 5.0);
    NullAt(L"c", 9.0);
    auto weightsWith = [&](std::initializer_list<const wchar_t*> objects) {
        Run(L"Orbelin_zrProximityMapRemoveConnexionCmd", {CValue(kProp.c_str())});
        for (const wchar_t* n : objects) Connect(n);
        return Weights();
    };
    const std::vector<double> none = weightsWith({}), a = weightsWith({L"rig.a"}), ac = weightsWith({L"rig.a", L"c"});
    weightsWith({L"rig.a", L"b", L"c"});
    ASSERT_NE(a, none);
    auto erase = [&](const wchar_t* name) {
        CValueArray args;
        args.Add(CValue(name));
        CValue ret;
        ASSERT_EQ(host.ExecuteCommand(L"DeleteObj", args, ret), CStatus::OK);
    };
    erase(L"b");  // the middle one: c moves down to connexion 1
    EXPECT_EQ(Weights(), ac);
    std::wstring page = Page();
    EXPECT_NE(page.find(L"Remove_1"), std::wstring::npos);
    EXPECT_EQ(page.find(L"Remove_2"), std::wstring::npos);
    erase(L"c");  // now the last one
    EXPECT_EQ(Weights(), a);
    erase(L"rig");  // a goes with its model
    EXPECT_EQ(Weights(), none);
    EXPECT_EQ(Page().find(L"Remove_0"), std::wstring::npos);
    EXPECT_EQ(host.GetLog().CountWith(siErrorMsg), 0u);
}

}  // namespace
