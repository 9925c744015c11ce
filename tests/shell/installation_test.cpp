// Installing a live tool's operator and managing its connexions, with the plug-in loaded so
// that the tools' property types exist. The property's parameters are laid out here the way
// a tool's Define lays them out: fixed ones, OperatorFullPath at 11, then Enabled_k/Factor_k.
#include "support.h"

#include <cmath>
#include <limits>

#include "shell/installation.h"
#include "shell/targets.h"
#include "xsi_application.h"
#include "xsi_cluster.h"
#include "xsi_operator.h"

using namespace XSI;
using namespace shelltest;

namespace {

class InstallationTest : public PluginTest {
protected:
    CRef map, op;
    CustomProperty prop;

    void SetUp() override {
        PluginTest::SetUp();
        host.AddPresetFolder(ORBELIN_PRESETS_DIR);
        host.CreatePrim(L"Grid", L"grid");
        for (const wchar_t* n : {L"a", L"b", L"c"}) host.CreatePrim(L"Sphere", n);
        host.Select({host.Find(L"grid")});
        map = orbelin::ResolveTargets(L"ProximityWeightMap")[0];
        prop = orbelin::CreateToolProperty(map, L"ProximityMap");
        Parameter p;
        for (LONG i = 0; i < 14; ++i) {
            CString name = i == 11 ? CString(L"OperatorFullPath") : L"P" + CString(CValue(i));
            prop.AddParameter(name, i == 11 ? CValue::siString : CValue::siDouble, 5, name, L"",
                              i == 11 ? CValue(L"") : CValue(0.0), p);
        }
        for (LONG k = 0; k < 4; ++k) {
            prop.AddParameter(L"Enabled_" + CString(CValue(k)), CValue::siBool, 5, L"", L"", CValue(true), p);
            prop.AddParameter(L"Factor_" + CString(CValue(k)), CValue::siDouble, 5, L"", L"", CValue(1.0), CValue(-1000.0),
                              CValue(1000.0), CValue(0.0), CValue(3.0), p);
        }
        op = orbelin::ApplyOperator(L"zrProximityMapOp", SIObject(map).GetFullName() + L";grid;" + prop.GetFullName());
        prop.PutParameterValue(L"OperatorFullPath", CValue(op.GetAsText()));
    }

    CString Path() { return prop.GetParameterValue(L"OperatorFullPath").GetAsText(); }
    double Factor(LONG k) { return prop.GetParameterValue(L"Factor_" + CString(CValue(k))); }
    bool Enabled(LONG k) { return prop.GetParameterValue(L"Enabled_" + CString(CValue(k))); }
    LONG Connexions() { return Operator(op).GetNumInstancesInGroup(3); }
    void ConnectThree() {
        for (const wchar_t* n : {L"a", L"b", L"c"})
            ASSERT_EQ(orbelin::AddConnexion(Path(), X3DObject(host.Find(n)).GetActivePrimitive().GetRef(), 3), CStatus::OK);
    }
};

TEST_F(InstallationTest, PropertyAndOperatorAreNamedAfterTheWeightMap) {
    EXPECT_EQ(W(prop.GetFullName()), L"grid.polymsh.cls.WeightMapCls.ProximityWeightMap_ProximityMap");
    EXPECT_EQ(W(prop.GetType()), L"Orbelin_zrProximityMapProp");
    ASSERT_TRUE(op.IsValid());
    EXPECT_EQ(W(op.GetAsText()), L"grid.polymsh.cls.WeightMapCls.ProximityWeightMap.zrProximityMapOp");
    EXPECT_EQ(orbelin::FindOperator(Path()), op);
    EXPECT_FALSE(orbelin::FindOperator(L"grid.nothing").IsValid());
    EXPECT_FALSE(orbelin::FindOperator(SIObject(map).GetFullName()).IsValid());  // not an operator
    Operator o(op);
    EXPECT_EQ(o.GetPortAt(0, 1, 0).GetTarget(), X3DObject(host.Find(L"grid")).GetActivePrimitive().GetRef());
    EXPECT_EQ(o.GetPortAt(0, 2, 0).GetTarget(), prop.GetRef());
}

TEST_F(InstallationTest, ConnexionsAreAddedWithTheirMessages) {
    std::size_t from = host.GetLog().Count();
    ConnectThree();
    EXPECT_EQ(Connexions(), 3);
    EXPECT_EQ(LinesSince(from)[0],
              std::make_pair(int(siInfoMsg), std::wstring(L"[OrbelinPlugin] >> Connexion to a.polymsh added successfully!")));
    from = host.GetLog().Count();
    EXPECT_EQ(orbelin::AddConnexion(L"grid.nothing", host.Find(L"a"), 3), CStatus::Fail);
    EXPECT_EQ(LinesSince(from).back(),
              std::make_pair(int(siErrorMsg), std::wstring(L"[OrbelinPlugin] >> Operator grid.nothing not found!")));
    // A pick that brings back nothing usable.
    host.PickQueue().push_back({L"PlayControl", 1, 0});
    from = host.GetLog().Count();
    EXPECT_EQ(orbelin::PickAndAddConnexion(orbelin::Tool(L"ProximityMap"), Path()), CStatus::Fail);
    auto lines = LinesSince(from);
    EXPECT_EQ(lines.front().second, L"[OrbelinPlugin] >>  >> Pick A Object");
    EXPECT_EQ(lines.back(), std::make_pair(int(siErrorMsg), std::wstring(L"[OrbelinPlugin] >> Invalid Object: ")));
}

TEST_F(InstallationTest, RemovingOneConnexionShiftsTheLaterBlocksDown) {
    ConnectThree();
    for (LONG k = 0; k < 3; ++k) prop.PutParameterValue(L"Factor_" + CString(CValue(k)), CValue(k + 1.0));
    prop.PutParameterValue(L"Enabled_1", CValue(false));
    std::size_t from = host.GetLog().Count();
    ASSERT_EQ(orbelin::RemoveConnexions(prop, 0, orbelin::Tool(L"ProximityMap")), CStatus::OK);
    EXPECT_EQ(Connexions(), 2);
    EXPECT_DOUBLE_EQ(Factor(0), 2.0);
    EXPECT_FALSE(Enabled(0));
    EXPECT_DOUBLE_EQ(Factor(1), 3.0);
    EXPECT_TRUE(Enabled(1));
    EXPECT_DOUBLE_EQ(Factor(2), 1.0);  // the last block is back to its defaults
    auto lines = LinesSince(from);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].second, L"[OrbelinPlugin] >> Removing connexion 0");
    EXPECT_EQ(lines[1].second, L"[OrbelinPlugin] >> Connexion 0 removed successfully!");
    // The remaining connexions are the later ones, in order.
    EXPECT_EQ(Operator(op).GetPortAt(0, 3, 0).GetTarget(), X3DObject(host.Find(L"b")).GetActivePrimitive().GetRef());
}

TEST_F(InstallationTest, RemovingAllConnexionsResetsEveryBlock) {
    ConnectThree();
    for (LONG k = 0; k < 3; ++k) prop.PutParameterValue(L"Factor_" + CString(CValue(k)), CValue(5.0));
    ASSERT_EQ(orbelin::RemoveConnexions(prop, -1, orbelin::Tool(L"ProximityMap")), CStatus::OK);
    EXPECT_EQ(Connexions(), 0);
    for (LONG k = 0; k < 3; ++k) EXPECT_DOUBLE_EQ(Factor(k), 1.0);
}

TEST_F(InstallationTest, MissingOperatorsAreReportedAsTheToolsAlwaysDid) {
    // An empty path is an invalid argument.
    prop.PutParameterValue(L"OperatorFullPath", CValue(L""));
    std::size_t from = host.GetLog().Count();
    EXPECT_EQ(orbelin::RemoveConnexions(prop, -1, orbelin::Tool(L"ProximityMap")), CStatus::InvalidArgument);
    EXPECT_EQ(LinesSince(from).back(),
              std::make_pair(int(siErrorMsg), std::wstring(L"[OrbelinPlugin] >> Operator not found: ")));
    // A deleted operator is named as the Proximity one by every tool, and is not a failure.
    prop.PutParameterValue(L"OperatorFullPath", CValue(op.GetAsText()));
    host.Delete(op);
    for (const wchar_t* tool : {L"ProximityMap", L"MixMap", L"ExpressionMap", L"GradientCurveMap"}) {
        from = host.GetLog().Count();
        EXPECT_EQ(orbelin::RemoveConnexions(prop, 0, orbelin::Tool(tool)), CStatus::OK) << tool;
        EXPECT_EQ(LinesSince(from).back(), std::make_pair(int(siErrorMsg),
                                                          std::wstring(L"[OrbelinPlugin] >> Operator zrProximityMapOp not found!!")));
    }
}

TEST_F(InstallationTest, OneRemovalFindsBlocksFromFourteenForEveryTool) {
    // With the Mix Map's constants (first block at 6), removing one connexion still shifts the
    // blocks that start at 14: the behaviour scenes were made with.
    ConnectThree();
    prop.PutParameterValue(L"Factor_1", CValue(7.0));
    prop.PutParameterValue(L"P6", CValue(9.0));
    orbelin::LiveTool mix = orbelin::Tool(L"MixMap");
    mix.connexionGroup = 3;  // this operator's connexions
    ASSERT_EQ(orbelin::RemoveConnexions(prop, 0, mix), CStatus::OK);
    EXPECT_DOUBLE_EQ(Factor(0), 7.0);
    EXPECT_DOUBLE_EQ(static_cast<double>(prop.GetParameterValue(L"P6")), 9.0);
}

TEST(ConnexionIndexTest, OnlyWholeNumbersWithinRangeNameAConnexion) {
    const std::pair<CValue, LONG> accepted[] = {
        {CValue(LONG(0)), 0}, {CValue(LONG(-1)), -1}, {CValue(LLONG(7)), 7}, {CValue(ULLONG(3)), 3}, {CValue(2.0), 2},
        {CValue(3.0f), 3}, {CValue(-2147483648.0), INT32_MIN}, {CValue(2147483647.0), INT32_MAX}, {CValue(L"12"), 12},
        {CValue(L"-1"), -1}, {CValue(L"2147483647"), INT32_MAX}};
    for (const auto& [value, expected] : accepted) {
        LONG index = 99;
        EXPECT_TRUE(orbelin::ConnexionIndex(value, index)) << value.GetAsText().GetAsciiString();
        EXPECT_EQ(index, expected);
    }
    const double inf = std::numeric_limits<double>::infinity();
    const CValue refused[] = {CValue(),         CValue(2147483648.0),     CValue(-2147483649.0), CValue(std::nan("")),
                              CValue(inf),      CValue(-inf),             CValue(1.5),           CValue(LLONG(1) << 40),
                              CValue(~ULLONG(0)), CValue(L""),            CValue(L"-"),          CValue(L"1.5"),
                              CValue(L" 1"),    CValue(L"12a"),           CValue(L"2147483648"), CValue(L"99999999999"),
                              CValue(true),     CValue(CRef())};
    for (const CValue& value : refused) {
        LONG index = 99;
        EXPECT_FALSE(orbelin::ConnexionIndex(value, index)) << value.GetAsText().GetAsciiString();
        EXPECT_EQ(index, 99);
    }
}

TEST_F(InstallationTest, AnIndexThatNamesNoConnexionChangesNothing) {
    ConnectThree();
    CParameterRefArray params = prop.GetParameters();
    for (LONG i = 0; i < params.GetCount(); ++i)
        if (Parameter(params[i]).GetValueType() == CValue::siDouble) Parameter(params[i]).PutValue(CValue(i + 0.5));
    auto values = [&] {
        std::vector<std::wstring> out;
        for (LONG i = 0; i < params.GetCount(); ++i) out.push_back(W(Parameter(params[i]).GetValue().GetAsText()));
        return out;
    };
    const auto before = values();
    for (const wchar_t* word : {L"ProximityMap", L"MixMap"}) {
        orbelin::LiveTool tool = orbelin::Tool(word);
        tool.connexionGroup = 3;  // this operator's connexions
        for (LONG index : {LONG(-2), LONG(3), LONG(4), LONG(INT32_MAX), LONG(INT32_MIN)}) {
            std::size_t from = host.GetLog().Count();
            EXPECT_EQ(orbelin::RemoveConnexions(prop, index, tool), CStatus::InvalidArgument) << W(CValue(index).GetAsText());
            auto lines = LinesSince(from);
            ASSERT_EQ(lines.size(), 1u);
            EXPECT_EQ(lines[0], std::make_pair(int(siErrorMsg), L"[OrbelinPlugin] >> Invalid connexion index: " +
                                                                     W(CValue(index).GetAsText()) +
                                                                     L"! The connexions are numbered from 0 to 2; -1 "
                                                                     L"removes them all."));
            EXPECT_EQ(values(), before);
            EXPECT_EQ(Connexions(), 3);
        }
    }
    ASSERT_EQ(orbelin::RemoveConnexions(prop, -1, orbelin::Tool(L"ProximityMap")), CStatus::OK);
    std::size_t from = host.GetLog().Count();
    EXPECT_EQ(orbelin::RemoveConnexions(prop, 0, orbelin::Tool(L"ProximityMap")), CStatus::InvalidArgument);
    EXPECT_EQ(LinesSince(from).back().second, L"[OrbelinPlugin] >> Invalid connexion index: 0! There is no connexion to remove.");
}

}  // namespace
