// The Proximity Map's property: its parameters in definition order (the operator reads them
// by these indices), its page, and the names its commands and operator share.
#pragma once

#include "shell/installation.h"
#include "shell/live_operator.h"
#include "shell/parameters.h"

namespace orbelin::proximity {

enum Param : LONG {
    kEnable,
    kOpMode,
    kPostProcess,
    kNear,
    kFar,
    kStartFrame,
    kEndFrame,
    kAddMode,
    kCleanCacheIdx,
    kProcessingMode,
    kFalloff,
    kOperatorFullPath,
    kMin,
    kMax,
    kFirstConnexion,  // then Enabled_k at 14 + 2k and Factor_k at 15 + 2k
};

inline constexpr ParamRow kRows[] = {
    {L"Enable", L"Enable", ParamType::Bool, 5, 1, false, 0, 0, 0, 0},
    {L"OpMode", L"Mode", ParamType::Int, 5, 1, true, 0, 4, 0, 4},
    {L"OpWeightPostProcess", L"OpWeightPostProcess", ParamType::Int, 5, 0, true, 0, 4, 0, 4},
    {L"Near", L"Near", ParamType::Double, 5, 0, true, -1000, 1000, 0, 10},
    {L"Far", L"Far", ParamType::Double, 5, 10, true, -1000, 1000, 0, 20},
    {L"StartFrame", L"StartFrame", ParamType::Int, 5, 1, true, -10000, 10000, 1, 100},
    {L"EndFrame", L"EndFrame", ParamType::Int, 5, 100, true, -10000, 10000, 1, 100},
    {L"AddMode", L"AddMode", ParamType::Bool, 5, 1, false, 0, 0, 0, 0},
    {L"CleanCacheIdx", L"CleanCacheIdx", ParamType::Int, 5, 0, false, 0, 0, 0, 0},
    {L"ProcessingMode", L"ProcessingMode", ParamType::Int, 5, 0, false, 0, 0, 0, 0},
    {L"Falloff", L"", ParamType::FCurve, 0, 0, false, 0, 0, 0, 0},
    {L"OperatorFullPath", L"", ParamType::String, 4, 0, false, 0, 0, 0, 0},
    {L"Min", L"Min", ParamType::Double, 5, 0, true, -1000, 1000, 0, 10},
    {L"Max", L"Max", ParamType::Double, 5, 1, true, -1000, 1000, 0, 20},
};
static_assert(std::size(kRows) == kFirstConnexion, "one row per fixed parameter, in index order");

inline constexpr ParamRow kEnabledRow{L"Enabled_", L"", ParamType::Bool, 5, 1, false, 0, 0, 0, 0};
inline constexpr ParamRow kFactorRow{L"Factor_", L"", ParamType::Double, 5, 1, true, -1000, 1000, 0, 3};
inline constexpr LONG kPairsInAdvance = 30;

// Where the operator reads the execution parameters (its ports are the shared layout's).
inline constexpr ExecutionLayout kExecution{kEnable, kOpMode, kStartFrame, kEndFrame, kCleanCacheIdx, kProcessingMode};

inline LONG EnabledIndex(LONG k) { return kFirstConnexion + 2 * k; }
inline LONG FactorIndex(LONG k) { return kFirstConnexion + 2 * k + 1; }

inline const LiveTool& ThisTool() { return Tool(L"ProximityMap"); }

// Rebuilds the property's page whole: the settings tab and one group per connexion.
void BuildLayout(XSI::CustomProperty& property);

}  // namespace orbelin::proximity
