// The Expression Map's property: its parameters in definition order (the operator reads the
// connexion pairs by position), its presets, and the names its commands, page and operator
// share.
#pragma once

#include <iterator>
#include <string_view>

#include "shell/installation.h"
#include "shell/parameters.h"

namespace orbelin::expression {

enum Param : LONG {
    kEnable,
    kExpression,
    kPostProcMin,
    kPostProcMax,
    kVariableA,
    kVariableB,
    kRandomSeed,
    kPostProcessing,
    kTranslationX,
    kTranslationY,
    kTranslationZ,
    kRotationX,
    kRotationY,
    kRotationZ,
    kScaleX,
    kScaleY,
    kScaleZ,
    kHelpers,
    kOperatorFullPath,
    kFirstConnexion,  // then Enabled_i at 19 + 2i and Factor_i at 20 + 2i
};

// The default helper text: `cond(c, p, q)`, each line ended by CR LF, and one empty line more.
inline constexpr const wchar_t* kHelpersText =
    L"-----------------------------------------------------------\r\n"
    L"-- This Function returns b if a is true, c if a is false --\r\n"
    L"-----------------------------------------------------------\r\n"
    L"function cond (a,b,c)\r\n"
    L"    if a then return b\r\n"
    L"    else return c\r\n"
    L"    end\r\n"
    L"end\r\n"
    L"\r\n";

inline constexpr ParamRow kRows[] = {
    {L"Enable", L"", ParamType::Bool, 5, 1, false, 0, 0, 0, 0},
    {L"Expression", L"", ParamType::String, 5, 0, false, 0, 0, 0, 0, L"w"},
    {L"PostProcMin", L"", ParamType::Double, 5, 0, true, -10000, 10000, -1, 1},
    {L"PostProcMax", L"", ParamType::Double, 5, 1, true, -10000, 10000, -1, 1},
    {L"Variable_a", L"", ParamType::Double, 5, 0.5, true, -10000, 10000, 0, 1},
    {L"Variable_b", L"", ParamType::Double, 5, 2, true, -10000, 10000, 0, 5},
    {L"Random_Seed", L"", ParamType::Int, 5, 0, true, 0, 100, 0, 100},
    {L"PostProcessing", L"", ParamType::Int, 5, 2, false, 0, 0, 0, 0},
    {L"Translation_X", L"", ParamType::Double, 5, 0, true, -10000, 10000, -10, 10},
    {L"Translation_Y", L"", ParamType::Double, 5, 0, true, -10000, 10000, -10, 10},
    {L"Translation_Z", L"", ParamType::Double, 5, 0, true, -10000, 10000, -10, 10},
    {L"Rotation_X", L"", ParamType::Double, 5, 0, true, -10000, 10000, -180, 180},
    {L"Rotation_Y", L"", ParamType::Double, 5, 0, true, -10000, 10000, -180, 180},
    {L"Rotation_Z", L"", ParamType::Double, 5, 0, true, -10000, 10000, -180, 180},
    {L"Scale_X", L"", ParamType::Double, 5, 1, true, -10000, 10000, -10, 10},
    {L"Scale_Y", L"", ParamType::Double, 5, 1, true, -10000, 10000, -10, 10},
    {L"Scale_Z", L"", ParamType::Double, 5, 1, true, -10000, 10000, -10, 10},
    {L"Helpers", L"", ParamType::String, 5, 0, false, 0, 0, 0, 0, kHelpersText},
    {L"OperatorFullPath", L"", ParamType::String, 4, 0, false, 0, 0, 0, 0},
};
static_assert(std::size(kRows) == kFirstConnexion, "one row per fixed parameter, in index order");

// The pairs Define makes ahead of any connexion.
inline constexpr ParamRow kEnabledRow{L"Enabled_", L"", ParamType::Bool, 5, 1, false, 0, 0, 0, 0};
inline constexpr ParamRow kFactorRow{L"Factor_", L"", ParamType::Double, 5, 1, true, -1000, 1000, 0, 3};
inline constexpr LONG kPairsInAdvance = 30;
// The pair a page makes for a connexion beyond those: its factor starts at 0 in 0 to 4.
inline constexpr ParamRow kPageFactorRow{L"Factor_", L"", ParamType::Double, 5, 0, true, 0, 4, 0, 4};

inline LONG EnabledIndex(LONG i) { return kFirstConnexion + 2 * i; }
inline LONG FactorIndex(LONG i) { return kFirstConnexion + 2 * i + 1; }

// The preset buttons, in the page's order (five rows of three), and the formula each sets.
struct Preset {
    const wchar_t* button;
    const wchar_t* label;
    const wchar_t* expression;
};
inline constexpr Preset kPresets[] = {
    {L"Negate", L"Negate", L"-w"},
    {L"Invert", L"Invert", L"1 - w"},
    {L"Contrast", L"Contrast", L"a - (a-w)*b"},
    {L"Square", L"Square", L"w^2"},
    {L"Random", L"Random", L"r*a"},
    {L"Funky_X", L"Funky X", L"cond(y>0, r, a*r+b*x^2/2)"},
    {L"Linear_X", L"Linear X", L"x"},
    {L"Linear_Y", L"Linear Y", L"y"},
    {L"Linear_Z", L"Linear Z", L"z"},
    {L"Absolute_X", L"Absolute X", L"math.abs(x)"},
    {L"Absolute_Y", L"Absolute Y", L"math.abs(y)"},
    {L"Absolute_Z", L"Absolute Z", L"math.abs(z)"},
    {L"Radial_XY", L"Radial XY", L"x^2 + y^2"},
    {L"Radial_YZ", L"Radial YZ", L"y^2 + z^2"},
    {L"Radial_XYZ", L"Radial XYZ", L"x^2 + y^2 + z^2"},
};

inline const LiveTool& ThisTool() { return Tool(L"ExpressionMap"); }

// Rebuilds the property's page whole: the four tabs and one group per connexion.
void BuildLayout(XSI::CustomProperty& property);

}  // namespace orbelin::expression
