// The Mix Map's property: its parameters in definition order (the operator reads them by
// these indices), its page, and the names its commands and operator share.
#pragma once

#include "shell/installation.h"
#include "shell/parameters.h"

namespace orbelin::mix {

enum Param : LONG {
    kEnable,
    kOpMode,
    kPostProcess,
    kRangeMin,
    kRangeMax,
    kOperatorFullPath,
    kFirstConnexion,  // then Enabled_k at 6 + 2k and Factor_k at 7 + 2k
};

inline constexpr ParamRow kRows[] = {
    {L"Enable", L"Enable", ParamType::Bool, 5, 1, false, 0, 0, 0, 0},
    {L"OpMode", L"Mode", ParamType::Int, 5, 1, true, 0, 4, 0, 4},
    {L"OpWeightPostProcess", L"OpWeightPostProcess", ParamType::Int, 5, 0, true, 0, 4, 0, 4},
    {L"RangeMin", L"RangeMin", ParamType::Double, 5, 0, true, -1000, 1000, -2, 2},
    {L"RangeMax", L"RangeMax", ParamType::Double, 5, 1, true, -1000, 1000, -2, 2},
    {L"OperatorFullPath", L"", ParamType::String, 4, 0, false, 0, 0, 0, 0},
};
static_assert(std::size(kRows) == kFirstConnexion, "one row per fixed parameter, in index order");

// The pairs Define makes ahead of any connexion.
inline constexpr ParamRow kEnabledRow{L"Enabled_", L"", ParamType::Bool, 5, 1, false, 0, 0, 0, 0};
inline constexpr ParamRow kFactorRow{L"Factor_", L"", ParamType::Double, 5, 1, true, -1000, 1000, 0, 3};
inline constexpr LONG kPairsInAdvance = 30;
// The pair a page makes for a connexion beyond those: its factor starts at 0, so a connexion
// added past the thirtieth has no influence until the user gives it one.
inline constexpr ParamRow kPageFactorRow{L"Factor_", L"", ParamType::Double, 5, 0, true, 0, 4, 0, 4};

inline LONG EnabledIndex(LONG k) { return kFirstConnexion + 2 * k; }
inline LONG FactorIndex(LONG k) { return kFirstConnexion + 2 * k + 1; }

inline const LiveTool& ThisTool() { return Tool(L"MixMap"); }

// Rebuilds the property's page whole: the settings tab and one group per connexion.
void BuildLayout(XSI::CustomProperty& property);

}  // namespace orbelin::mix
