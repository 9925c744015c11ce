// Installing a live tool on a weight map and managing the inputs ("connexions") of its
// operator: the mechanism every live tool shares, driven by its row of constants.
#pragma once

#include <array>
#include <functional>
#include <string_view>

#include "xsi_customproperty.h"
#include "xsi_ref.h"
#include "xsi_status.h"
#include "xsi_string.h"
#include "xsi_value.h"

namespace orbelin {

// What a live tool's commands need to know of it.
struct LiveTool {
    const wchar_t* word;           // "ProximityMap"
    const wchar_t* defaultMapName; // name of the weight maps made for it
    const wchar_t* op;             // operator preset name
    const wchar_t* applyTitle;     // the Apply command's banner title
    // Connexions (tools with a variable number of inputs; blockSize 0 for the others):
    LONG firstConnexionParameter;  // index of the first per-connexion parameter
    LONG blockSize;                // parameters per connexion
    LONG connexionGroup;           // the operator's port group that repeats
    const wchar_t* pickWhat;       // "Pick A " + what
    const wchar_t* pickFilter;     // picking filter
    // The tool's name in Remove Connexion's first-argument error (some tools say "zr" + word).
    const wchar_t* removeArgumentName;
    // Add Connexion takes the weight maps it is given; otherwise it takes given objects through
    // their primitive and asks for anything else.
    bool connectsGivenWeightMaps;
};

inline constexpr std::array<LiveTool, 7> kLiveTools{{
    {L"ProximityMap", L"ProximityWeightMap", L"zrProximityMapOp", L"Apply ProximityMap", 14, 2, 3, L"Object",
     L"sceneobject", L"zrProximityMap", false},
    {L"MixMap", L"MixWeightMap", L"zrMixMapOp", L"Apply MixMapOp", 6, 2, 2, L"WeightMap", L"property", L"MixMap", false},
    {L"ExpressionMap", L"ExpressionWeightMap", L"zrExpressionMapOp", L"Apply ExpressionMapOp", 19, 2, 3, L"WeightMap",
     L"property", L"zrExpressionMap", true},
    {L"GradientCurveMap", L"GradientCurveWeightMap", L"zrGradientCurveMapOp", L"Apply GradientCurveMap", 9, 2, 3,
     L"Curve", L"curve", L"GradientCurveMap", false},
    {L"CacheMap", L"CacheWeightMap", L"zrCacheMapOp", L"Apply CacheMapOp", 0, 0, 0, L"", L"", L"", false},
    {L"TensionMap", L"TensionWeightMap", L"zrTensionMapOp", L"Apply TensionMapOp", 0, 0, 0, L"", L"", L"", false},
    {L"SmoothMap", L"SmoothWeightMap", L"zrSmoothMapOp", L"Apply SmoothMap", 0, 0, 0, L"", L"", L"", false},
}};

constexpr int ToolIndex(std::wstring_view word) {
    for (std::size_t i = 0; i < kLiveTools.size(); ++i)
        if (word == kLiveTools[i].word) return static_cast<int>(i);
    return -1;
}

const LiveTool& Tool(const wchar_t* word);

// Applies an operator preset with a connection set through the host's ApplyOp; the new
// operator, or an invalid reference.
XSI::CRef ApplyOperator(const XSI::CString& preset, const XSI::CString& connectionSet);
// Adds the tool's property next to the weight map (under its cluster), named after both.
XSI::CustomProperty CreateToolProperty(const XSI::CRef& weightMap, const XSI::CString& toolWord);
// The custom operator at `path`, or an invalid reference.
XSI::CRef FindOperator(const XSI::CString& path);
XSI::CStatus ConnectToGroup(const XSI::CRef& op, LONG group, const XSI::CRef& object);
// What a command was given: the context attribute "Arguments" as an array (empty otherwise).
XSI::CValueArray Arguments(const XSI::CRef& context);
// Opens a property's page (InspectObj, inspect mode 1).
void InspectProperty(const XSI::CString& fullName);
XSI::CStatus DisconnectGroup(const XSI::CRef& op, LONG group, LONG instance);

// Connects one object to the operator at `operatorPath` (its connexion group), logging the
// outcome; E_FAIL when the operator is gone or the host refuses.
XSI::CStatus AddConnexion(const XSI::CString& operatorPath, const XSI::CRef& object, LONG group);
// Asks the user for an object, then connects what the tool takes of it.
XSI::CStatus PickAndAddConnexion(const LiveTool& tool, const XSI::CString& operatorPath);
// What a tool connects of a picked object: a 3D object's primitive, a primitive itself, a
// weight map itself; invalid for anything else.
XSI::CRef ConnexionTarget(const XSI::CRef& object);
// Removes connexion `index` (shifting the later parameter blocks down) or, with -1, all of
// them; the property's parameters stay in step. Any other index changes nothing and gives
// E_INVALIDARG. `operatorFound` tells whether there was an operator to work on.
XSI::CStatus RemoveConnexions(XSI::CustomProperty& property, LONG index, const LiveTool& tool,
                              bool* operatorFound = nullptr);
// A connexion index as a caller may give it: an integer, a double with an integral value, or
// a text of decimal digits (with a leading "-"), all within LONG's range. False for anything
// else (fractions, NaN, infinities, other texts, objects), which must not be read as some index.
bool ConnexionIndex(const XSI::CValue& value, LONG& index);

// The commands' shared bodies. `rebuildPage` rebuilds the property's page after a change.
using PageBuilder = void (*)(XSI::CustomProperty&);
using Installer = std::function<void(const XSI::CRef& weightMap, XSI::CustomProperty& property)>;
// Without an installer the tool's operator is applied with the connection set of a tool that
// reads the weight map, its object and its property (port groups 0, 1 and 2).
XSI::CStatus ApplyToolCommand(const LiveTool& tool, Installer install = nullptr);
XSI::CStatus AddConnexionCommand(XSI::CRef& context, const LiveTool& tool, PageBuilder rebuildPage);
XSI::CStatus RemoveConnexionCommand(XSI::CRef& context, const LiveTool& tool, PageBuilder rebuildPage);

}  // namespace orbelin
