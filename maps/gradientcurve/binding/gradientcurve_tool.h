// The Gradient Curve Map's property: its parameters in definition order (the operator reads
// them by these indices), its page, and the names its commands and operator share.
#pragma once

#include "shell/installation.h"
#include "shell/live_operator.h"
#include "shell/parameters.h"

namespace orbelin::gradientcurve {

enum Param : LONG {
    kEnable,
    kOpMode,
    kPostProcess,
    kMin,
    kMax,
    kStartFrame,
    kEndFrame,
    kCleanCacheIdx,
    kOperatorFullPath,
    kFirstConnexion,  // then Enabled_k at 9 + 2k and Factor_k at 10 + 2k
};

inline constexpr ParamRow kRows[] = {
    {L"Enable", L"Enable", ParamType::Bool, 5, 1, false, 0, 0, 0, 0},
    {L"OpMode", L"Mode", ParamType::Int, 5, 1, true, 0, 4, 0, 4},
    {L"OpWeightPostProcess", L"OpWeightPostProcess", ParamType::Int, 5, 0, true, 0, 4, 0, 4},
    {L"Min", L"Min", ParamType::Double, 5, 0, true, -1000, 1000, 0, 10},
    {L"Max", L"Max", ParamType::Double, 5, 1, true, -1000, 1000, 0, 20},
    {L"StartFrame", L"StartFrame", ParamType::Int, 5, 1, true, -10000, 10000, 1, 100},
    {L"EndFrame", L"EndFrame", ParamType::Int, 5, 100, true, -10000, 10000, 1, 100},
    {L"CleanCacheIdx", L"CleanCacheIdx", ParamType::Int, 5, 0, false, 0, 0, 0, 0},
    {L"OperatorFullPath", L"", ParamType::String, 4, 0, false, 0, 0, 0, 0},
};
static_assert(std::size(kRows) == kFirstConnexion, "one row per fixed parameter, in index order");

// The pairs Define makes ahead of any connexion.
inline constexpr ParamRow kEnabledRow{L"Enabled_", L"", ParamType::Bool, 5, 1, false, 0, 0, 0, 0};
inline constexpr ParamRow kFactorRow{L"Factor_", L"", ParamType::Double, 5, 1, true, -1000, 1000, 0, 3};
inline constexpr LONG kPairsInAdvance = 30;
// The pair a page makes for a connexion beyond those: its factor starts at 0, so such a
// connexion has no influence until the user gives it one.
inline constexpr ParamRow kPageFactorRow{L"Factor_", L"", ParamType::Double, 5, 0, true, 0, 4, 0, 4};

// The tool has no Keep Maximum parameter: its caching is always the normal one.
inline constexpr ExecutionLayout kExecution{kEnable, kOpMode, kStartFrame, kEndFrame, kCleanCacheIdx, -1};

inline LONG EnabledIndex(LONG k) { return kFirstConnexion + 2 * k; }
inline LONG FactorIndex(LONG k) { return kFirstConnexion + 2 * k + 1; }

inline const LiveTool& ThisTool() { return Tool(L"GradientCurveMap"); }

// Rebuilds the property's page whole: the settings tab and one group per connexion.
void BuildLayout(XSI::CustomProperty& property);

}  // namespace orbelin::gradientcurve
