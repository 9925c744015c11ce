// The Tension Map's property: its parameters in definition order (the operator reads them by
// these indices), its page, the reference blob, and the names its commands and operator share.
#pragma once

#include "shell/installation.h"
#include "shell/live_operator.h"
#include "shell/parameters.h"
#include "xsi_x3dobject.h"

namespace orbelin::tension {

enum Param : LONG {
    kEnable,
    kOpMode,
    kPostProcess,
    kMin,
    kMax,
    kStartFrame,
    kEndFrame,
    kCleanCacheIdx,
    kFactor,
    kBlobFullPath,
    kParamCount,
};

inline constexpr ParamRow kRows[] = {
    {L"Enable", L"Enable", ParamType::Bool, 5, 1, false, 0, 0, 0, 0},
    {L"OpMode", L"Mode", ParamType::Int, 5, 1, true, 0, 4, 0, 4},
    {L"OpWeightPostProcess", L"OpWeightPostProcess", ParamType::Int, 5, 1, true, 0, 4, 0, 4},
    {L"Min", L"Near", ParamType::Double, 5, -1, true, -1000, 1000, 0, 10},
    {L"Max", L"Far", ParamType::Double, 5, 1, true, -1000, 1000, 0, 20},
    {L"StartFrame", L"StartFrame", ParamType::Int, 5, 1, true, -10000, 10000, 1, 100},
    {L"EndFrame", L"EndFrame", ParamType::Int, 5, 100, true, -10000, 10000, 1, 100},
    {L"CleanCacheIdx", L"CleanCacheIdx", ParamType::Int, 5, 0, false, 0, 0, 0, 0},
    {L"Factor", L"Factor", ParamType::Double, 5, 1, true, -1000, 1000, -10, 10},
    {L"BlobFullPath", L"BlobFullPath", ParamType::String, 4, 0, false, 0, 0, 0, 0},
};
static_assert(std::size(kRows) == kParamCount, "one row per parameter, in index order");

// The tension has no Keep Maximum: its caching is always the normal one.
inline constexpr ExecutionLayout kExecution{kEnable, kOpMode, kStartFrame, kEndFrame, kCleanCacheIdx, -1};

inline constexpr const wchar_t* kBlobName = L"TensionMapBlob";
inline constexpr const wchar_t* kResetCommand = L"Orbelin_zrTensionMapResetPoseCmd";

inline const LiveTool& ThisTool() { return Tool(L"TensionMap"); }

// Rebuilds the property's page whole.
void BuildLayout(XSI::CustomProperty& property);

// Runs the reset command on the blob at `blobPath` (the page's button, and applying the tool).
void RunResetPose(const XSI::CString& blobPath);

// Applying the tool to a weight map whose property is made: the blob "TensionMapBlob" added to
// the map's object, its path kept in BlobFullPath, the pose of now made the reference, and the
// operator applied (weight map; object; property; blob).
void InstallOperator(const XSI::CRef& weightMap, XSI::CustomProperty& property);

}  // namespace orbelin::tension
