// The host as a plug-in sees it: loading, command arguments, missing callbacks, properties
// and their pages, through a small fixture plug-in.
#include <gtest/gtest.h>

#include "scene/host.h"
#include "xsi_customproperty.h"
#include "xsi_sceneitem.h"

using namespace XSI;

namespace {

struct PluginHostTest : ::testing::Test {
    standin::Host host{std::filesystem::temp_directory_path()};
    PluginHostTest() {
        host.GetLog().SetEcho(false);
        EXPECT_EQ(host.LoadPlugin(FIXTURE_PLUGIN_PATH), CStatus::OK);
    }
    std::vector<std::wstring> LogSince(size_t from) {
        std::vector<std::wstring> out;
        for (size_t i = from; i < host.GetLog().Count(); ++i) out.push_back(host.GetLog().entries()[i].text);
        return out;
    }
    CValueArray Echo(CValueArray args) {
        CValue ret;
        EXPECT_EQ(host.ExecuteCommand(L"FixtureEchoCmd", args, ret), CStatus::OK);
        CValueArray out = ret;
        return out;
    }
};

TEST_F(PluginHostTest, LoadingRecordsTheRegistrationAndReportsAMissingMenuCallback) {
    ASSERT_EQ(host.Plugins().size(), 1u);
    const standin::PluginInfo& p = host.Plugins()[0];
    EXPECT_EQ(p.name, L"Fixture");
    EXPECT_EQ(p.major, 2);
    EXPECT_EQ(p.commands, (std::vector<std::wstring>{L"FixtureEchoCmd", L"FixtureNoExecuteCmd"}));
    EXPECT_EQ(p.properties, (std::vector<std::wstring>{L"FixtureProp"}));
    // The menu is registered, but the library has no FixtureMenu_Init to fill it.
    EXPECT_EQ(host.GetLog().entries().back().text, L"Callback not found: FixtureMenu_Init");
    EXPECT_NE(host.DescribeCommand(L"FixtureEchoCmd").find(L"Count = 3 (integer)"), std::wstring::npos);
    EXPECT_EQ(host.LoadPlugin("/nonexistent/libNothing.so"), CStatus::Fail);
}

TEST_F(PluginHostTest, ArgumentsTakeDefaultsSelectionAndResolvedObjects) {
    CRef g = host.CreatePrim(L"Grid", L"g");
    host.CreatePrim(L"Cube", L"c");
    host.Select({g});
    CValueArray r = Echo(CValueArray());
    ASSERT_EQ(r.GetCount(), 3);
    EXPECT_EQ(static_cast<LONG>(r[0]), 3);        // the declared default
    EXPECT_EQ(static_cast<LONG>(r[1]), 1);        // an empty collection is the selection
    EXPECT_EQ(std::wstring(r[2].GetAsText().GetWideString()), L"none");
    CValueArray args;
    args.Add(CValue(LONG(7)));
    args.Add(CValue(L"g,c"));
    args.Add(CValue(L"c"));
    r = Echo(args);
    EXPECT_EQ(static_cast<LONG>(r[0]), 7);
    EXPECT_EQ(static_cast<LONG>(r[1]), 2);
    EXPECT_EQ(std::wstring(r[2].GetAsText().GetWideString()), L"c");
}

TEST_F(PluginHostTest, ACommandWithoutExecuteFailsAndSaysSo) {
    size_t before = host.GetLog().Count();
    CValueArray args;
    CValue ret;
    EXPECT_EQ(host.ExecuteCommand(L"FixtureNoExecuteCmd", args, ret), CStatus::Fail);
    EXPECT_EQ(LogSince(before), (std::vector<std::wstring>{L"Callback not found: FixtureNoExecuteCmd_Execute"}));
    EXPECT_EQ(host.GetLog().entries().back().severity, siErrorMsg);
}

TEST_F(PluginHostTest, PropertiesAreDefinedAndTheirPagesReceiveEvents) {
    SceneItem g(host.CreatePrim(L"Grid", L"g"));
    Property made = g.AddProperty(L"FixtureProp", false, L"Settings");
    CustomProperty prop(made.GetRef());
    ASSERT_TRUE(prop.IsValid());
    EXPECT_EQ(std::wstring(prop.GetType().GetWideString()), L"FixtureProp");
    CParameterRefArray params = prop.GetParameters();
    ASSERT_EQ(params.GetCount(), 4);
    EXPECT_EQ(std::wstring(Parameter(params[3]).GetScriptName().GetWideString()), L"Curve");
    std::wstring page = host.DescribePage(prop.GetRef());
    EXPECT_NE(page.find(L"Amount"), std::wstring::npos);
    EXPECT_EQ(page.find(L"Extra"), std::wstring::npos);

    size_t before = host.GetLog().Count();
    bool cancelled = true;
    ASSERT_EQ(host.InspectObj(prop.GetRef(), siRecycle, cancelled), CStatus::OK);
    EXPECT_FALSE(cancelled);
    EXPECT_TRUE(host.IsPageOpen(prop.GetRef()));
    ASSERT_EQ(host.SetValue(L"g.Settings.Mode", CValue(LONG(1))), CStatus::OK);
    ASSERT_EQ(host.SetValue(L"g.Settings.Amount", CValue(2.0)), CStatus::OK);
    ASSERT_EQ(host.PressButton(prop.GetRef(), L"Go"), CStatus::OK);
    EXPECT_EQ(LogSince(before), (std::vector<std::wstring>{L"fixture: 1 Settings", L"fixture: 3 Mode", L"fixture: 3 Amount",
                                                           L"fixture: 4 Settings", L"fixture: button Go"}));
    EXPECT_DOUBLE_EQ(static_cast<double>(prop.GetParameterValue(L"Amount")), 3.0);
    EXPECT_NE(host.DescribePage(prop.GetRef()).find(L"Extra"), std::wstring::npos);  // rebuilt on Mode
    EXPECT_EQ(host.PressButton(prop.GetRef(), L"NoSuchButton"), CStatus::InvalidArgument);
    ASSERT_EQ(host.PressButton(prop.GetRef(), L"Close"), CStatus::OK);
    EXPECT_FALSE(host.IsPageOpen(prop.GetRef()));
    // A closed page hears nothing.
    before = host.GetLog().Count();
    host.SetValue(L"g.Settings.Amount", CValue(1.0));
    EXPECT_TRUE(LogSince(before).empty());
}

TEST_F(PluginHostTest, ModalPagesTakeTheScriptsAnswers) {
    SceneItem g(host.CreatePrim(L"Grid", L"g"));
    CustomProperty prop(g.AddProperty(L"FixtureProp", false, L"Ask").GetRef());
    host.PageQueue().push_back({{{L"Amount", CValue(4.0)}, {L"Mode", CValue(LONG(1))}}, false});
    host.PageQueue().push_back({{}, true});
    bool cancelled = true;
    ASSERT_EQ(host.InspectObj(prop.GetRef(), siModal, cancelled), CStatus::OK);
    EXPECT_FALSE(cancelled);
    EXPECT_FALSE(host.IsPageOpen(prop.GetRef()));
    EXPECT_DOUBLE_EQ(static_cast<double>(prop.GetParameterValue(L"Amount")), 4.0);
    ASSERT_EQ(host.InspectObj(prop.GetRef(), siModal, cancelled), CStatus::OK);
    EXPECT_TRUE(cancelled);
    // Through the command, a cancelled modal page raises unless asked not to.
    host.PageQueue().push_back({{}, true});
    CValueArray args;
    args.Add(CValue(L"g.Ask"));
    args.Add(CValue(L""));
    args.Add(CValue(L""));
    args.Add(CValue(LONG(siModal)));
    args.Add(CValue(false));
    CValue ret;
    EXPECT_EQ(host.ExecuteCommand(L"InspectObj", args, ret), CStatus::OK);
    EXPECT_TRUE(static_cast<bool>(ret));
}

}  // namespace
