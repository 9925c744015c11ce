// The Gradient Curve Map from a user's side: applied to a row of points, given curves, moved,
// driven from its page.
#include <gtest/gtest.h>

#include "nurbs/nurbs.h"
#include "scene/host.h"
#include "xsi_clusterproperty.h"
#include "xsi_customproperty.h"

using namespace XSI;

namespace {

const std::wstring kMap = L"row.polymsh.cls.WeightMapCls.GradientCurveWeightMap";
const std::wstring kProp = kMap + L"_GradientCurveMap";

struct GradientCurveTest : ::testing::Test {
    standin::Host host{std::filesystem::temp_directory_path()};

    GradientCurveTest() {
        host.GetLog().SetEcho(false);
        EXPECT_EQ(host.LoadPlugin(ORBELIN_PLUGIN_PATH), CStatus::OK);
        // Two rows of 11 points along X, 1 apart, from x = 0 to x = 10, at z = 0.
        CRef row = host.CreatePrim(L"Grid", L"row", {{L"sizex", 10}, {L"sizez", 0}, {L"subdivu", 10}, {L"subdivv", 1}});
        Move(row, 5, 0, 0);
        host.Select({row});
        Run(L"Orbelin_zrGradientCurveMapApplyCmd", {});
    }
    CStatus Run(const std::wstring& command, std::vector<CValue> values) {
        CValueArray args;
        for (const CValue& v : values) args.Add(v);
        CValue ret;
        return host.ExecuteCommand(command, args, ret);
    }
    void Move(const CRef& object, double x, double y, double z, double scale = 1.0) {
        MATH::CTransformation t;
        t.SetIdentity();
        t.SetTranslationFromValues(x, y, z);
        t.SetScalingFromValues(scale, scale, scale);
        host.SetTransform(object, t);
    }
    // A straight curve object (degree 1) from a to b.
    CRef Line(const wchar_t* name, standin::mesh::Vec3 a, standin::mesh::Vec3 b) {
        return host.CreateCurveList(name, {standin::nurbs::Curve({a, b}, 1, false)});
    }
    void Set(const std::wstring& param, const CValue& v) { ASSERT_EQ(host.SetValue(kProp + L"." + param, v), CStatus::OK); }
    CValue Get(const std::wstring& param) {
        CValue v;
        host.GetValue(kProp + L"." + param, v);
        return v;
    }
    void Connect(const wchar_t* object) {
        ASSERT_EQ(Run(L"Orbelin_zrGradientCurveMapAddConnexionCmd", {CValue(kProp.c_str()), CValue(object)}), CStatus::OK);
    }
    std::vector<double> Weights() {
        CDoubleArray w = ClusterProperty(host.Find(kMap)).GetElements().GetArray();
        return std::vector<double>(w.GetArray(), w.GetArray() + w.GetCount() / 2);  // the first row
    }
    size_t Count(const std::wstring& text) {
        size_t n = 0;
        for (const auto& e : host.GetLog().entries()) n += e.text == text;
        return n;
    }
};

TEST_F(GradientCurveTest, ApplyingMakesThePropertyAndItsPage) {
    CustomProperty prop(host.Find(kProp));
    ASSERT_TRUE(prop.IsValid());
    CParameterRefArray params = prop.GetParameters();
    ASSERT_EQ(params.GetCount(), 9 + 60);
    const wchar_t* names[] = {L"Enable", L"OpMode", L"OpWeightPostProcess", L"Min", L"Max", L"StartFrame",
                              L"EndFrame", L"CleanCacheIdx", L"OperatorFullPath", L"Enabled_0", L"Factor_0"};
    for (LONG i = 0; i < 11; ++i) EXPECT_EQ(std::wstring(Parameter(params[i]).GetScriptName().GetWideString()), names[i]);
    EXPECT_EQ(static_cast<double>(Get(L"Factor_29")), 1.0);
    EXPECT_EQ(std::wstring(Get(L"OperatorFullPath").GetAsText().GetWideString()), kMap + L".zrGradientCurveMapOp");
    EXPECT_TRUE(host.IsPageOpen(host.Find(kProp)));
    // The cache controls show in the caching mode only; a post-process change does not rebuild.
    std::wstring page = host.DescribePage(host.Find(kProp));
    EXPECT_EQ(page.find(L"Clean Cache"), std::wstring::npos);
    Set(L"OpMode", CValue(LONG(2)));
    host.NotifyParameterChanged(host.Find(kProp + L".OpMode"));
    page = host.DescribePage(host.Find(kProp));
    EXPECT_NE(page.find(L"Clean Cache"), std::wstring::npos);
    EXPECT_NE(page.find(L" Keep Maximum Mode "), std::wstring::npos);
}

TEST_F(GradientCurveTest, ValuesRunAlongTheNearestCurveAndFollowBothObjects) {
    CRef line = Line(L"line", {0, 0, 1}, {10, 0, 1});
    Connect(L"line");
    std::vector<double> w = Weights();
    for (int i = 0; i <= 10; ++i) EXPECT_NEAR(w[size_t(i)], i / 10.0, 1e-12) << i;
    EXPECT_GE(Count(L"Connexion Enabled"), 1u);
    // The curve object moves by 5: points before it take its start.
    Move(line, 5, 0, 0);
    w = Weights();
    for (int i = 0; i <= 10; ++i) EXPECT_NEAR(w[size_t(i)], std::max(0, i - 5) / 10.0, 1e-12) << i;
    // Scaled by 2 about its centre (the line now runs 5 .. 25 in the world).
    Move(line, 5, 0, 0, 2.0);
    w = Weights();
    for (int i = 0; i <= 10; ++i) EXPECT_NEAR(w[size_t(i)], std::max(0.0, (i - 5) / 20.0), 1e-12) << i;
    // The mesh moves by 10: its points run 10 .. 20.
    Move(host.Find(L"row"), 15, 0, 0);
    w = Weights();
    for (int i = 0; i <= 10; ++i) EXPECT_NEAR(w[size_t(i)], (i + 5) / 20.0, 1e-12) << i;
    // Nothing changed: the operator does not run again.
    const size_t runs = Count(L"Connexion Enabled");
    Weights();
    EXPECT_EQ(Count(L"Connexion Enabled"), runs);
}

TEST_F(GradientCurveTest, TiesFactorsDisabledConnexionsAndReach) {
    // Two lines as far from the row, on either side: the first connexion wins.
    Line(L"a", {0, 0, 2}, {10, 0, 2});
    Line(L"b", {10, 0, -2}, {0, 0, -2});
    Connect(L"a");
    Connect(L"b");
    std::vector<double> w = Weights();
    for (int i = 0; i <= 10; ++i) EXPECT_NEAR(w[size_t(i)], i / 10.0, 1e-12) << i;
    Set(L"Factor_0", CValue(0.0));
    for (double v : Weights()) EXPECT_EQ(v, 0.0);
    // Connexion 0 switched off: its line is said, and the other curve takes over.
    Set(L"Enabled_0", CValue(false));
    w = Weights();
    EXPECT_GE(Count(L"Connexion Not Enabled"), 1u);
    for (int i = 0; i <= 10; ++i) EXPECT_NEAR(w[size_t(i)], 1.0 - i / 10.0, 1e-12) << i;
    // Change Range onto 2 .. 4.
    Set(L"OpWeightPostProcess", CValue(LONG(2)));
    Set(L"Min", CValue(2.0));
    Set(L"Max", CValue(4.0));
    w = Weights();
    for (int i = 0; i <= 10; ++i) EXPECT_NEAR(w[size_t(i)], 4.0 - i / 5.0, 1e-12) << i;
    // Out of reach (more than 1000 away): the weights stay as the map held them below the operator.
    Set(L"OpWeightPostProcess", CValue(LONG(0)));
    CDoubleArray held(ClusterProperty(host.Find(kMap)).GetElements().GetCount());
    for (LONG i = 0; i < held.GetCount(); ++i) held[i] = 0.25;
    ClusterProperty(host.Find(kMap)).GetElements().PutArray(held);
    Move(host.Find(L"b"), 0, 2000, 0);
    for (double v : Weights()) EXPECT_EQ(v, 0.25);
    Move(host.Find(L"b"), 0, 999, 0);  // within reach again
    EXPECT_NEAR(Weights()[4], 0.6, 1e-12);
}

TEST_F(GradientCurveTest, RemovingConnexionsFromThePage) {
    Line(L"a", {0, 0, 2}, {10, 0, 2});
    Line(L"b", {10, 0, -1}, {0, 0, -1});
    Connect(L"a");
    Connect(L"b");
    EXPECT_NEAR(Weights()[0], 1.0, 1e-12);  // b is nearer
    Set(L"Factor_1", CValue(0.5));
    ASSERT_EQ(host.PressButton(host.Find(kProp), L"Remove_1"), CStatus::OK);
    EXPECT_NEAR(Weights()[3], 0.3, 1e-12);
    // The shared removal moves parameter blocks counted from index 14, past this tool's own
    // pairs (from 9): Factor_1 keeps its value.
    EXPECT_EQ(static_cast<double>(Get(L"Factor_1")), 0.5);
    ASSERT_EQ(host.PressButton(host.Find(kProp), L"RemoveAll"), CStatus::OK);
    EXPECT_EQ(Count(L"[OrbelinPlugin] >> Connexion to a.crvlist added successfully!"), 1u);
    for (double v : Weights()) EXPECT_EQ(v, 0.0);  // no curve left: nothing written over the map's zeros
    // A curve given to a property of another kind is refused.
    EXPECT_EQ(Run(L"Orbelin_zrGradientCurveMapAddConnexionCmd", {CValue(L"a"), CValue(L"b")}), CStatus::InvalidArgument);
    EXPECT_EQ(Count(L"[OrbelinPlugin] >> Please use the GradientCurveMap CustomProperty as the first argument of the command!"), 1u);
}

}  // namespace
