// What the plug-in registers, as data: the properties, the commands with their declarations,
// and the menu. XSILoadPlugin, the commands' Init callbacks, the menu's Init and the tests all
// walk these tables, so a name, a text or an argument is written down exactly once.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

#include "sicppsdk.h"

namespace XSI {
class PluginRegistrar;
class Command;
class Menu;
}  // namespace XSI

namespace orbelin {

// ---- Properties: one per live tool, registered as ToolPropertyType(word), in this order.

inline constexpr std::array<const wchar_t*, 8> kPropertyToolWords{
    L"ExpressionMap",      L"ProximityMap", L"TensionMap",  L"SmoothMap",
    L"GradientCurveMap",   L"MixMap",       L"CacheMap",    L"GradientMapHairComb",
};

// ---- Commands.

// How a command argument is declared: a plain value with its default, a list of objects
// resolved by the host's "Collection" handler, or a single object.
enum class ArgKind { Value, Collection, Object };

struct ArgDefault {
    enum class Type { None, Long, Double, Bool };
    Type type = Type::None;
    LONG longValue = 0;
    double doubleValue = 0.0;
    bool boolValue = false;
};

struct ArgumentDecl {
    const wchar_t* name;
    ArgKind kind;
    ArgDefault def;
};

constexpr ArgumentDecl LongArg(const wchar_t* name, LONG v) {
    return {name, ArgKind::Value, {ArgDefault::Type::Long, v, 0.0, false}};
}
constexpr ArgumentDecl DoubleArg(const wchar_t* name, double v) {
    return {name, ArgKind::Value, {ArgDefault::Type::Double, 0, v, false}};
}
constexpr ArgumentDecl BoolArg(const wchar_t* name, bool v) {
    return {name, ArgKind::Value, {ArgDefault::Type::Bool, 0, 0.0, v}};
}
constexpr ArgumentDecl CollectionArg(const wchar_t* name) { return {name, ArgKind::Collection, {}}; }
constexpr ArgumentDecl ObjectArg(const wchar_t* name) { return {name, ArgKind::Object, {}}; }

struct CommandDecl {
    const wchar_t* name;  // also the script name
    const wchar_t* description;
    const wchar_t* tooltip;
    std::span<const ArgumentDecl> arguments;
};

namespace args {
// Connexion commands take the tool's property first; removing defaults to every connexion.
inline constexpr ArgumentDecl kExpressionAdd[] = {ObjectArg(L"ExpressionMapPPG"), CollectionArg(L"ObjectsToConnect")};
inline constexpr ArgumentDecl kExpressionRemove[] = {ObjectArg(L"ExpressionMapPPG"), LongArg(L"IndiceToDisconnect", -1)};
inline constexpr ArgumentDecl kProximityAdd[] = {ObjectArg(L"ProximityMapPPG"), CollectionArg(L"ObjectsToConnect")};
inline constexpr ArgumentDecl kProximityRemove[] = {ObjectArg(L"ProximityMapPPG"), LongArg(L"IndiceToDisconnect", -1)};
inline constexpr ArgumentDecl kGradientCurveAdd[] = {ObjectArg(L"GradientCurveMapPPG"),
                                                     CollectionArg(L"ObjectsToConnect")};
inline constexpr ArgumentDecl kGradientCurveRemove[] = {ObjectArg(L"GradientCurveMapPPG"),
                                                        LongArg(L"IndiceToDisconnect", -1)};
inline constexpr ArgumentDecl kMixAdd[] = {ObjectArg(L"MixMapPPG"), CollectionArg(L"ObjectsToConnect")};
inline constexpr ArgumentDecl kMixRemove[] = {ObjectArg(L"MixMapPPG"), LongArg(L"IndiceToDisconnect", -1)};
inline constexpr ArgumentDecl kTensionResetPose[] = {CollectionArg(L"udbTensionMap")};
inline constexpr ArgumentDecl kClustersMapBuild[] = {CollectionArg(L"Clusters"), LongArg(L"Cropping", 1)};
inline constexpr ArgumentDecl kGradientMapBuild[] = {
    CollectionArg(L"Target"),
    ObjectArg(L"RootCluster"),
    BoolArg(L"CreateCurvatureMap", false),
    BoolArg(L"CreateSingVerticesCluster", false),
    BoolArg(L"CreateLocalMaxCluster", false),
    BoolArg(L"AskForParams", true),
    LongArg(L"DistanceMode", 0),
};
inline constexpr ArgumentDecl kUVFromGradientMap[] = {
    CollectionArg(L"gradientWeightMap"), DoubleArg(L"uvRightShift", 0.0), BoolArg(L"uvNormalize", true),
    BoolArg(L"autoShift", true),         LongArg(L"rootVerticeIdx", -1),  BoolArg(L"AskForParams", true),
};
inline constexpr ArgumentDecl kHairCombApply[] = {CollectionArg(L"ObjectsToConnect")};
}  // namespace args

// Registration order. The texts are the ones users have always seen, typos included
// ("lauch", "an Proximity"): scripts and documentation quote them.
inline constexpr std::array<CommandDecl, 20> kCommands{{
    {L"Orbelin_zrExpressionMapApplyCmd", L"Create an Expression Weightmap.", L"Create an Expression Weightmap.", {}},
    {L"Orbelin_zrExpressionMapAddConnexionCmd",
     L"Add Connexion to Expression Map: select the ExpressionMap CustomProperty and lauch it!",
     L"Add Connexion to Expression Map", args::kExpressionAdd},
    {L"Orbelin_zrExpressionMapRemoveConnexionCmd",
     L"Remove a Connexion from the Expression Map: default behavior removes all connexions!",
     L"Remove a Connexion from the Expression Map", args::kExpressionRemove},
    {L"Orbelin_zrProximityMapApplyCmd", L"Create a Proximity Weightmap.", L"Create an Proximity Weightmap.", {}},
    {L"Orbelin_zrProximityMapAddConnexionCmd",
     L"Add Connexion to Proximity Map: select the ProximityMap CustomProperty and lauch it!",
     L"Add Connexion to Proximity Map", args::kProximityAdd},
    {L"Orbelin_zrProximityMapRemoveConnexionCmd",
     L"Remove a Connexion from the Proximity Map: default behavior removes all connexions!",
     L"Remove a Connexion from the Proximity Map", args::kProximityRemove},
    {L"Orbelin_zrTensionMapApplyCmd", L"Create a Tension Weightmap.", L"Create a Tension Weightmap.", {}},
    {L"Orbelin_zrTensionMapResetPoseCmd", L"Reset zrTensionMap UserDataBlob Pose",
     L"Reset zrTensionMap UserDataBlob Pose", args::kTensionResetPose},
    {L"Orbelin_zrSmoothMapApplyCmd", L"Apply a Smooth to a Weightmap.", L"Apply a Smooth to a Weightmap.", {}},
    {L"Orbelin_zrGradientCurveMapApplyCmd", L"Create a GradientCurve Weightmap.",
     L"Create an GradientCurve Weightmap.", {}},
    {L"Orbelin_zrGradientCurveMapAddConnexionCmd",
     L"Add Connexion to GradientCurve Map: select the GradientCurveMap CustomProperty and lauch it!",
     L"Add Connexion to GradientCurve Map", args::kGradientCurveAdd},
    {L"Orbelin_zrGradientCurveMapRemoveConnexionCmd",
     L"Remove a Connexion from the GradientCurve Map: default behavior removes all connexions!",
     L"Remove a Connexion from the GradientCurve Map", args::kGradientCurveRemove},
    {L"Orbelin_zrMixMapApplyCmd", L"Create a Mix Weightmap.", L"Create an Mix Weightmap.", {}},
    {L"Orbelin_zrMixMapAddConnexionCmd", L"Add Connexion to Mix Map: select the MixMap CustomProperty and lauch it!",
     L"Add Connexion to Mix Map", args::kMixAdd},
    {L"Orbelin_zrMixMapRemoveConnexionCmd",
     L"Remove a Connexion from the Mix Map: default behavior removes all connexions!",
     L"Remove a Connexion from the Mix Map", args::kMixRemove},
    {L"Orbelin_zrCacheMapApplyCmd", L"Create a Cache Weightmap.", L"Create an Cache Weightmap.", {}},
    {L"Orbelin_zrClustersMapBuildCmd",
     L"Create a Weightmap with full value where selected clusters are defined and null value where else. "
     L"Negative cropping is possible to only keep borders of clusters.",
     L"Create a Clusters Weightmap.", args::kClustersMapBuild},
    {L"Orbelin_zrGradientMapBuildCmd", L"Create a Gradient Weightmap.", L"Create a Gradient Weightmap.",
     args::kGradientMapBuild},
    {L"Orbelin_zrUVFromGradientMapCmd", L"Create an UV Set from a Gradient Weightmap.",
     L"Create an UV Set from a Gradient Weightmap.", args::kUVFromGradientMap},
    // The hair comb shares the Proximity Map's texts: the page and scripts of its users say so.
    {L"Orbelin_zrGradientMapHairCombApplyCmd", L"Create a Proximity Weightmap.", L"Create an Proximity Weightmap.",
     args::kHairCombApply},
}};

// Index of a command in kCommands, -1 when it is not there. Usable in constant expressions,
// so an Init callback for an unknown name does not compile.
constexpr int CommandIndex(std::wstring_view name) {
    for (std::size_t i = 0; i < kCommands.size(); ++i)
        if (name == kCommands[i].name) return static_cast<int>(i);
    return -1;
}

// ---- Menu.

inline constexpr const wchar_t* kMenuName = L"Orbelin_Menu";
inline constexpr const wchar_t* kMenuCaption = L"&Orbelin";

// Entries in display order; `depth` 1 puts an entry in the sub-menu opened just before it.
struct MenuEntry {
    enum class Kind { Command, Separator, SubMenu };
    Kind kind;
    int depth;
    const wchar_t* caption;
    const wchar_t* command;
};

// Live tools in alphabetical order, then the gradient tools: the order users learnt, kept
// apart from the registration order on purpose.
inline constexpr std::array<MenuEntry, 13> kMenu{{
    {MenuEntry::Kind::Command, 0, L"Cache Map", L"Orbelin_zrCacheMapApplyCmd"},
    {MenuEntry::Kind::Command, 0, L"Clusters Map", L"Orbelin_zrClustersMapBuildCmd"},
    {MenuEntry::Kind::Command, 0, L"Expression Map", L"Orbelin_zrExpressionMapApplyCmd"},
    {MenuEntry::Kind::Command, 0, L"Mix Map", L"Orbelin_zrMixMapApplyCmd"},
    {MenuEntry::Kind::Command, 0, L"Proximity Map", L"Orbelin_zrProximityMapApplyCmd"},
    {MenuEntry::Kind::Command, 0, L"Smooth Map", L"Orbelin_zrSmoothMapApplyCmd"},
    {MenuEntry::Kind::Command, 0, L"Tension Map", L"Orbelin_zrTensionMapApplyCmd"},
    {MenuEntry::Kind::Separator, 0, L"", L""},
    {MenuEntry::Kind::Command, 0, L"Gradient Map", L"Orbelin_zrGradientMapBuildCmd"},
    {MenuEntry::Kind::Command, 0, L"Gradient Curve Map", L"Orbelin_zrGradientCurveMapApplyCmd"},
    {MenuEntry::Kind::SubMenu, 0, L"Gradient Map Tools", L""},
    {MenuEntry::Kind::Command, 1, L"Gradient Hair Comb", L"Orbelin_zrGradientMapHairCombApplyCmd"},
    {MenuEntry::Kind::Command, 1, L"UV From Gradient Map", L"Orbelin_zrUVFromGradientMapCmd"},
}};

constexpr bool MenuCommandsAreRegistered() {
    for (const MenuEntry& e : kMenu)
        if (e.kind == MenuEntry::Kind::Command && CommandIndex(e.command) < 0) return false;
    return true;
}
static_assert(MenuCommandsAreRegistered(), "a menu entry runs a command that is not registered");

// ---- What the callbacks do with the tables. None of these checks the host's answers:
// registration has no way to report a partial failure, and a half-declared plug-in is still
// more use to the user than none.

// Name, maker, version, category, help, then the menu, the properties and the commands.
void RegisterPlugin(XSI::PluginRegistrar& registrar);
// Description, tooltip, key assignment, return value and the arguments in order.
void DeclareCommand(XSI::Command& command, const CommandDecl& decl);
// Caption and entries of the plug-in's menu.
void BuildMenu(XSI::Menu& menu);

}  // namespace orbelin
