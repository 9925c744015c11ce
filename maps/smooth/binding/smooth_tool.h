// The Smooth Map's property: its parameters in definition order (the operator reads them by
// these indices), its page, and the names its command and operator share.
#pragma once

#include "shell/installation.h"
#include "shell/live_operator.h"
#include "shell/parameters.h"

namespace orbelin::smooth {

enum Param : LONG {
    kEnable,
    kOpMode,
    kPostProcess,
    kMin,
    kMax,
    kStartFrame,
    kEndFrame,
    kCleanCacheIdx,
    kRadius,
    kRepeat,
    kUseFaceNeighbors,
    kOperatorFullPath,  // after the indexed ones: the operator reads it by name
    kParamCount,
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
    {L"Radius", L"Recursivity", ParamType::Int, 5, 1, true, 1, 10, 1, 3},
    {L"Repeat", L"Repetitivity", ParamType::Int, 5, 1, true, 1, 10, 1, 10},
    {L"UseFaceNeighbors", L"UseFaceNeighbors", ParamType::Bool, 5, 0, false, 0, 0, 0, 0},
    {L"OperatorFullPath", L"", ParamType::String, 4, 0, false, 0, 0, 0, 0},
};
static_assert(std::size(kRows) == kParamCount, "one row per parameter, in index order");

// The smooth has no Keep Maximum: its caching is always the normal one.
inline constexpr ExecutionLayout kExecution{kEnable, kOpMode, kStartFrame, kEndFrame, kCleanCacheIdx, -1};

inline const LiveTool& ThisTool() { return Tool(L"SmoothMap"); }

// Rebuilds the property's page whole.
void BuildLayout(XSI::CustomProperty& property);

}  // namespace orbelin::smooth
