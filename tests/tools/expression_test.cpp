// The Expression Map from a user's side: applied to a small mesh, driven by its presets, its
// page buttons and connected weight maps, with the log lines a user sees for a broken formula.
#include <gtest/gtest.h>

#include <cmath>

#include "scene/host.h"
#include "tool_session.h"
#include "xsi_cluster.h"
#include "xsi_clusterproperty.h"
#include "xsi_customproperty.h"
#include "xsi_operator.h"
#include "xsi_parameter.h"

using namespace XSI;

namespace {

const std::wstring kMap = L"m.polymsh.cls.WeightMapCls.ExpressionWeightMap";
const std::wstring kProp = kMap + L"_ExpressionMap";
const std::wstring kOp = kMap + L".zrExpressionMapOp";
using tooltest::W;

using tooltest::ExpectWeights;

// Four points: (0,0,0), (1,2,2), (-1,0,3), (2,-1,0).
struct ExpressionTest : tooltest::ToolSession {
    ExpressionTest() : ToolSession({{0, 0, 0}, {1, 2, 2}, {-1, 0, 3}, {2, -1, 0}}, L"Orbelin_zrExpressionMapApplyCmd", kMap, kProp, kOp) {}
    void Connect(const CRef& map) {
        CValueArray list;
        list.Add(CValue(map));
        ASSERT_EQ(Run(L"Orbelin_zrExpressionMapAddConnexionCmd", {CValue(kProp.c_str()), CValue(list)}), CStatus::OK);
    }
    LONG Connexions() { return ConnexionsIn(3); }
};

TEST_F(ExpressionTest, ThePropertyHoldsItsFixedParametersThenThirtyPairs) {
    CParameterRefArray params = CustomProperty(host.Find(kProp)).GetParameters();
    ASSERT_EQ(params.GetCount(), 19 + 60);
    const wchar_t* fixed[] = {L"Enable", L"Expression", L"PostProcMin", L"PostProcMax", L"Variable_a", L"Variable_b",
                              L"Random_Seed", L"PostProcessing", L"Translation_X", L"Translation_Y", L"Translation_Z",
                              L"Rotation_X", L"Rotation_Y", L"Rotation_Z", L"Scale_X", L"Scale_Y", L"Scale_Z",
                              L"Helpers", L"OperatorFullPath"};
    for (LONG i = 0; i < 19; ++i) EXPECT_EQ(Parameter(params[i]).GetScriptName(), CString(fixed[i])) << i;
    for (LONG i = 0; i < 30; ++i) {
        EXPECT_EQ(Parameter(params[19 + 2 * i]).GetScriptName(), CString(L"Enabled_") + CValue(i).GetAsText());
        EXPECT_EQ(Parameter(params[20 + 2 * i]).GetScriptName(), CString(L"Factor_") + CValue(i).GetAsText());
    }
    EXPECT_EQ(Get(L"Expression").GetAsText(), CString(L"w"));
    EXPECT_EQ(static_cast<LONG>(Get(L"PostProcessing")), 2);
    const std::wstring helpers = Get(L"Helpers").GetAsText().GetWideString();
    EXPECT_EQ(helpers.rfind(L"function cond (a,b,c)\r\n"), 3 * 61u);  // after three lines of 59 characters
    EXPECT_EQ(helpers.substr(helpers.size() - 9), L"\r\nend\r\n\r\n");
    EXPECT_EQ(Get(L"OperatorFullPath").GetAsText(), CString(kOp.c_str()));
    ExpectWeights(Weights(), {0, 0, 0, 0});  // "w" over a new map
}

// Each preset sets its formula; with no offsets and no post-process the values are the
// formula's at each point (w = 0.5, 1, -1, 0.25).
TEST_F(ExpressionTest, PresetsSetTheirFormulas) {
    Set(L"PostProcessing", CValue(LONG(0)));
    const W w{0.5, 1.0, -1.0, 0.25};
    const double x[] = {0, 1, -1, 2}, y[] = {0, 2, 0, -1}, z[] = {0, 2, 3, 0};
    struct Case {
        const wchar_t* button;
        const wchar_t* formula;
        std::function<double(size_t)> value;
    };
    const Case cases[] = {
        {L"Negate", L"-w", [&](size_t i) { return -w[i]; }},
        {L"Invert", L"1 - w", [&](size_t i) { return 1 - w[i]; }},
        {L"Contrast", L"a - (a-w)*b", [&](size_t i) { return 0.5 - (0.5 - w[i]) * 2.0; }},
        {L"Square", L"w^2", [&](size_t i) { return w[i] * w[i]; }},
        {L"Linear_X", L"x", [&](size_t i) { return x[i]; }},
        {L"Linear_Y", L"y", [&](size_t i) { return y[i]; }},
        {L"Linear_Z", L"z", [&](size_t i) { return z[i]; }},
        {L"Absolute_X", L"math.abs(x)", [&](size_t i) { return std::abs(x[i]); }},
        {L"Absolute_Y", L"math.abs(y)", [&](size_t i) { return std::abs(y[i]); }},
        {L"Absolute_Z", L"math.abs(z)", [&](size_t i) { return std::abs(z[i]); }},
        {L"Radial_XY", L"x^2 + y^2", [&](size_t i) { return x[i] * x[i] + y[i] * y[i]; }},
        {L"Radial_YZ", L"y^2 + z^2", [&](size_t i) { return y[i] * y[i] + z[i] * z[i]; }},
        {L"Radial_XYZ", L"x^2 + y^2 + z^2", [&](size_t i) { return x[i] * x[i] + y[i] * y[i] + z[i] * z[i]; }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << std::string(c.button, c.button + std::wcslen(c.button)));
        Put(host.Find(kMap), w);
        Press(c.button);
        EXPECT_EQ(Get(L"Expression").GetAsText(), CString(c.formula));
        W want;
        for (size_t i = 0; i < 4; ++i) want.push_back(c.value(i));
        ExpectWeights(Weights(), want);
    }
    // Random and Funky X draw from the seeded generator: the same seed, the same map.
    Press(L"Random");
    EXPECT_EQ(Get(L"Expression").GetAsText(), CString(L"r*a"));
    Put(host.Find(kMap), w);
    const W first = Weights();
    for (double v : first) EXPECT_TRUE(v >= 0 && v <= 0.5);
    Put(host.Find(kMap), w);
    EXPECT_EQ(Weights(), first);
    Set(L"Random_Seed", CValue(LONG(42)));
    EXPECT_NE(Weights(), first);
    Press(L"Funky_X");
    EXPECT_EQ(Get(L"Expression").GetAsText(), CString(L"cond(y>0, r, a*r+b*x^2/2)"));
    // Radial XYZ with the default change range: 0, 9, 10 and 5 over [0, 10].
    Set(L"PostProcessing", CValue(LONG(2)));
    Press(L"Radial_XYZ");
    ExpectWeights(Weights(), {0, 0.9, 1, 0.5});
}

TEST_F(ExpressionTest, OffsetsMoveScaleAndTurnThePositions) {
    Set(L"PostProcessing", CValue(LONG(0)));
    Set(L"Expression", CValue(L"x + 100*y + 10000*z"));
    Set(L"Scale_X", CValue(2.0));
    Set(L"Translation_Y", CValue(1.0));
    // Scaled first, then turned 90 degrees about Z (x, y) -> (-y, x), then moved.
    Set(L"Rotation_Z", CValue(90.0));
    const double x[] = {0, 1, -1, 2}, y[] = {0, 2, 0, -1}, z[] = {0, 2, 3, 0};
    W want;
    for (size_t i = 0; i < 4; ++i) {
        const double sx = 2 * x[i], sy = y[i];
        want.push_back(-sy + 100 * (sx + 1) + 10000 * z[i]);
    }
    W got = Weights();
    ASSERT_EQ(got.size(), 4u);
    for (size_t i = 0; i < 4; ++i) EXPECT_NEAR(got[i], want[i], 1e-9) << i;
}

TEST_F(ExpressionTest, ConnexionsGiveTheirFactorAndWeightAndFollowTheirMaps) {
    Set(L"PostProcessing", CValue(LONG(0)));
    CRef a = Source({0.1, 0.2, 0.3, 0.4});
    CRef b = Source({1, 2, 3, 4});
    Connect(a);
    Connect(b);
    ASSERT_EQ(Connexions(), 2);
    Set(L"Factor_0", CValue(10.0));
    Set(L"Factor_1", CValue(0.5));
    Set(L"Expression", CValue(L"v0*w0 + v1*w1"));
    ExpectWeights(Weights(), {1.5, 3, 4.5, 6});
    Put(a, {0, 0, 0, 1});
    ExpectWeights(Weights(), {0.5, 1, 1.5, 12});
    // A disabled connexion keeps its factor; its weights read 0.
    Set(L"Enabled_1", CValue(false));
    Set(L"Expression", CValue(L"v1 + w1 + w0"));
    ExpectWeights(Weights(), {0.5, 0.5, 0.5, 1.5});
    EXPECT_NE(Page().find(L"Enable w1"), std::wstring::npos);
    // Linear_Y looks like a "Remove_" button: it removes connexion 0 before setting "y". The
    // shift of the parameter blocks counts from 14, inside this tool's own settings, which it
    // leaves alone: the helper text, the offsets and the factors stay as they were.
    Set(L"Helpers", CValue(L"function double(v) return 2 * v end\n"));
    Set(L"Scale_Y", CValue(3.0));
    Press(L"Linear_Y");
    EXPECT_EQ(Connexions(), 1);
    EXPECT_EQ(Get(L"Expression").GetAsText(), CString(L"y"));
    EXPECT_EQ(Get(L"Helpers").GetAsText(), CString(L"function double(v) return 2 * v end\n"));
    EXPECT_EQ(static_cast<double>(Get(L"Scale_Y")), 3.0);
    EXPECT_EQ(static_cast<double>(Get(L"Scale_Z")), 1.0);
    EXPECT_EQ(Get(L"OperatorFullPath").GetAsText(), CString(kOp.c_str()));
    EXPECT_EQ(static_cast<double>(Get(L"Factor_0")), 10.0);
    Press(L"Negate");
    EXPECT_EQ(Connexions(), 1);
    Press(L"Remove_0");
    EXPECT_EQ(Connexions(), 0);
    // With no connexion left, Linear_X removes nothing and logs no error.
    const size_t errors = host.GetLog().CountWith(siErrorMsg);
    Press(L"Linear_X");
    EXPECT_EQ(host.GetLog().CountWith(siErrorMsg), errors);
    EXPECT_EQ(Get(L"Expression").GetAsText(), CString(L"x"));
}

TEST_F(ExpressionTest, BrokenFormulasAreReportedAndLeaveTheMapAsItCame) {
    Set(L"PostProcessing", CValue(LONG(0)));
    Put(host.Find(kMap), {0.25, 0.5, 0.75, 1});
    size_t from = host.GetLog().entries().size();
    Set(L"Expression", CValue(L"w +"));
    ExpectWeights(Weights(), {0.25, 0.5, 0.75, 1});
    std::vector<std::wstring> lines = LogSince(from);
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines[lines.size() - 2], L"[OrbelinPlugin] >> Expression : w +");
    EXPECT_EQ(lines.back().rfind(L"[OrbelinPlugin] >> Invalid Syntax of expression : ", 0), 0u);

    from = host.GetLog().entries().size();
    Set(L"Expression", CValue(L"'abc'"));
    ExpectWeights(Weights(), {0.25, 0.5, 0.75, 1});
    EXPECT_EQ(LogSince(from).back(), L"[OrbelinPlugin] >> Expression must return a number!");
    Set(L"Expression", CValue(L"'42'"));  // a numeric string is a number
    ExpectWeights(Weights(), {42, 42, 42, 42});

    // Fails only where w <= 0.5: those points get 0, silently.
    from = host.GetLog().entries().size();
    Set(L"Expression", CValue(L"cond(w > 0.5, w, nil) + 0"));
    ExpectWeights(Weights(), {0, 0, 0.75, 1});
    EXPECT_TRUE(LogSince(from).empty());

    // A helper that never ends for one point: stopped, 0 there, one warning.
    Set(L"Helpers", CValue(L"function spin(w) if w == 0.75 then while true do end end return w end\n"));
    from = host.GetLog().entries().size();
    Set(L"Expression", CValue(L"spin(w)"));
    ExpectWeights(Weights(), {0.25, 0.5, 0, 1});
    lines = LogSince(from);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NE(lines[0].find(L"1 point(s) ran out"), std::wstring::npos);
    // Disabled: the map passes through.
    Set(L"Enable", CValue(false));
    ExpectWeights(Weights(), {0.25, 0.5, 0.75, 1});
}

TEST_F(ExpressionTest, CommandsAndPageWithoutTheirOperator) {
    EXPECT_EQ(Run(L"Orbelin_zrExpressionMapAddConnexionCmd", {CValue(mesh)}), CStatus::InvalidArgument);
    EXPECT_EQ(host.GetLog().entries().back().text,
              L"[OrbelinPlugin] >> Please use the ExpressionMap CustomProperty as the first argument of the command!");
    EXPECT_EQ(Run(L"Orbelin_zrExpressionMapRemoveConnexionCmd", {CValue(mesh), CValue(LONG(-1))}), CStatus::InvalidArgument);
    EXPECT_EQ(host.GetLog().entries().back().text,
              L"[OrbelinPlugin] >> Please use the zrExpressionMap CustomProperty as the first argument of the command!");
    Set(L"OperatorFullPath", CValue(L""));
    EXPECT_EQ(Run(L"Orbelin_zrExpressionMapAddConnexionCmd", {CValue(kProp.c_str())}), CStatus::InvalidArgument);
    EXPECT_EQ(host.GetLog().entries().back().text,
              L"[OrbelinPlugin] >> ExpressionMap Operator not found in the ExpressionMap CustomProperty!");
    const std::wstring page = Page();
    EXPECT_NE(page.find(L"Remove All Connexion"), std::wstring::npos);
    EXPECT_NE(page.find(L"Radial XYZ"), std::wstring::npos);
    EXPECT_NE(page.find(L"LUA Helpers"), std::wstring::npos);
    bool logged = false;
    for (const auto& e : host.GetLog().entries())
        logged |= e.text == L"[OrbelinPlugin] >> Operator zrWeightMapExpressioner not found!";
    EXPECT_TRUE(logged);
}

}  // namespace
