// Loading the plug-in: what the host ends up knowing about it. Names and texts are walked from
// the registration tables; the literals below are spot checks that the tables say what users
// know.
#include "shell/registry.h"
#include "support.h"

namespace {

using shelltest::PluginTest;

bool Has(const std::wstring& text, const std::wstring& part) { return text.find(part) != std::wstring::npos; }

TEST_F(PluginTest, RegistersOneMenuThePropertiesAndCommandsInOrderAndNoOperator) {
    ASSERT_EQ(host.Plugins().size(), 1u);
    const standin::PluginInfo& p = host.Plugins()[0];
    EXPECT_EQ(p.name, L"Orbelin Plug-in");
    EXPECT_EQ(std::pair(p.major, p.minor), std::pair(1, 0));
    EXPECT_EQ(p.categories, L"Miscellaneous Tools");
    EXPECT_FALSE(p.author.empty() || p.url.empty() || p.email.empty() || p.help.empty());

    ASSERT_EQ(p.menus.size(), 1u);
    EXPECT_EQ(p.menus[0].anchor, 23);
    EXPECT_EQ(p.menus[0].name, L"Orbelin_Menu");
    EXPECT_TRUE(p.menus[0].displayAsSubmenu);
    EXPECT_FALSE(p.menus[0].dynamic);

    ASSERT_EQ(p.properties.size(), 8u);
    EXPECT_EQ(p.properties.front(), L"Orbelin_zrExpressionMapProp");
    EXPECT_EQ(p.properties.back(), L"Orbelin_zrGradientMapHairCombProp");
    std::vector<std::wstring> commands;
    for (const auto& row : orbelin::kCommands) commands.push_back(row.name);
    EXPECT_EQ(p.commands, commands);
    EXPECT_TRUE(p.operators.empty());
    // An Init the host could not find, or one that failed, is logged as an error.
    EXPECT_EQ(host.GetLog().CountWith(2), 0u);
}

// The rest of the line that starts with `key`.
std::wstring Line(const std::wstring& text, const std::wstring& key) {
    auto at = text.find(L"\n" + key);
    if (at == std::wstring::npos) return L"<missing>";
    at += 1 + key.size();
    return text.substr(at, text.find(L'\n', at) - at);
}

// A row without an exported Init, or an Init wired to another row, shows up here.
TEST_F(PluginTest, EveryCommandIsDeclaredAsItsRowSays) {
    for (const orbelin::CommandDecl& row : orbelin::kCommands) {
        std::wstring text = host.DescribeCommand(row.name);
        SCOPED_TRACE(text);
        EXPECT_EQ(Line(text, L"  description: "), L"\"" + std::wstring(row.description) + L"\"");
        EXPECT_EQ(Line(text, L"  tooltip: "), L"\"" + std::wstring(row.tooltip) + L"\"");
        EXPECT_TRUE(Has(Line(text, L"  flags:") + L" ", L" 8 "));
        EXPECT_EQ(Line(text, L"  return value: "), L"yes");
        std::size_t at = text.find(L"  arguments:");
        for (const orbelin::ArgumentDecl& a : row.arguments) {
            std::wstring expected = L"\n    " + std::wstring(a.name);
            if (a.kind == orbelin::ArgKind::Object) expected += L" (object)";
            if (a.kind == orbelin::ArgKind::Collection) expected += L" (handler Collection)";
            expected += L" = ";
            at = text.find(expected, at);
            ASSERT_NE(at, std::wstring::npos) << "argument " << a.name << " missing or out of order";
        }
        std::size_t declared = 0;
        for (std::size_t i = text.find(L"  arguments:"); (i = text.find(L"\n    ", i + 1)) != std::wstring::npos;)
            ++declared;
        EXPECT_EQ(declared, row.arguments.size());
    }
}

TEST_F(PluginTest, DeclaresDefaultsAndTextsAsUsersKnowThem) {
    EXPECT_TRUE(Has(host.DescribeCommand(L"Orbelin_zrProximityMapRemoveConnexionCmd"),
                    L"  description: \"Remove a Connexion from the Proximity Map: default behavior removes all "
                    L"connexions!\"\n"));
    EXPECT_TRUE(Has(host.DescribeCommand(L"Orbelin_zrProximityMapRemoveConnexionCmd"),
                    L"    IndiceToDisconnect = -1 (integer)\n"));
    EXPECT_TRUE(Has(host.DescribeCommand(L"Orbelin_zrMixMapAddConnexionCmd"),
                    L"select the MixMap CustomProperty and lauch it!\"\n"));
    EXPECT_TRUE(Has(host.DescribeCommand(L"Orbelin_zrClustersMapBuildCmd"), L"    Cropping = 1 (integer)\n"));
    EXPECT_TRUE(Has(host.DescribeCommand(L"Orbelin_zrUVFromGradientMapCmd"),
                    L"    uvRightShift = 0 (double)\n    uvNormalize = True (boolean)\n    autoShift = True (boolean)\n"
                    L"    rootVerticeIdx = -1 (integer)\n    AskForParams = True (boolean)\n"));
    EXPECT_TRUE(Has(host.DescribeCommand(L"Orbelin_zrGradientMapBuildCmd"),
                    L"    CreateCurvatureMap = False (boolean)\n    CreateSingVerticesCluster = False (boolean)\n"
                    L"    CreateLocalMaxCluster = False (boolean)\n    AskForParams = True (boolean)\n"));
    // The hair comb keeps the Proximity Map's texts, "an" before a consonant included.
    EXPECT_TRUE(Has(host.DescribeCommand(L"Orbelin_zrGradientMapHairCombApplyCmd"),
                    L"  description: \"Create a Proximity Weightmap.\"\n"
                    L"  tooltip: \"Create an Proximity Weightmap.\"\n"));
}

TEST_F(PluginTest, BuildsTheMenuInItsOwnOrder) {
    EXPECT_EQ(host.DescribeMenus(),
              L"&Orbelin\n"
              L"  Cache Map -> Orbelin_zrCacheMapApplyCmd\n"
              L"  Clusters Map -> Orbelin_zrClustersMapBuildCmd\n"
              L"  Expression Map -> Orbelin_zrExpressionMapApplyCmd\n"
              L"  Mix Map -> Orbelin_zrMixMapApplyCmd\n"
              L"  Proximity Map -> Orbelin_zrProximityMapApplyCmd\n"
              L"  Smooth Map -> Orbelin_zrSmoothMapApplyCmd\n"
              L"  Tension Map -> Orbelin_zrTensionMapApplyCmd\n"
              L"  ----\n"
              L"  Gradient Map -> Orbelin_zrGradientMapBuildCmd\n"
              L"  Gradient Curve Map -> Orbelin_zrGradientCurveMapApplyCmd\n"
              L"  Gradient Map Tools (sub-menu)\n"
              L"    Gradient Hair Comb -> Orbelin_zrGradientMapHairCombApplyCmd\n"
              L"    UV From Gradient Map -> Orbelin_zrUVFromGradientMapCmd\n");
}

TEST_F(PluginTest, UnloadingLogsNothing) {
    std::size_t before = host.GetLog().Count();
    EXPECT_EQ(host.UnloadPlugins(), XSI::CStatus::OK);
    EXPECT_EQ(host.GetLog().Count(), before);
}

// The host reaches the plug-in only by name: callbacks exported, shared services hidden (a
// second plug-in built on them would otherwise bind to this one's copy).
TEST_F(PluginTest, ExportsCallbacksOnly) {
    for (const wchar_t* name : {L"XSILoadPlugin", L"XSIUnloadPlugin", L"Orbelin_Menu_Init"})
        EXPECT_NE(host.FindCallback(name), nullptr) << name;
    for (const orbelin::CommandDecl& row : orbelin::kCommands)
        EXPECT_NE(host.FindCallback(std::wstring(row.name) + L"_Init"), nullptr) << row.name;
    EXPECT_EQ(host.FindCallback(L"_ZN7orbelin7LogInfoERKN3XSI7CStringE"), nullptr);
    EXPECT_EQ(host.FindCallback(L"_ZN7orbelin14RegisterPluginERN3XSI15PluginRegistrarE"), nullptr);
}

}  // namespace
