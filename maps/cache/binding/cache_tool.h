// The Cache Map's property: its parameters in definition order (the operator reads them by
// these indices), its page, and the file-system services its command and operator share.
#pragma once

#include <limits>

#include "shell/installation.h"
#include "shell/parameters.h"
#include "xsi_string.h"

namespace orbelin::cache {

enum Param : LONG {
    kEnable,
    kOpMode,
    kStartFrame,
    kEndFrame,
    kOffset,
    kRootPath,
    kTimingMode,
    kTimingScale,
    kTimingWarp,
    kParamCount,
};

inline constexpr ParamRow kRows[] = {
    {L"Enable", L"Enable", ParamType::Bool, 5, 1, false, 0, 0, 0, 0},
    {L"OpMode", L"Mode", ParamType::Int, 5, 1, true, 0, 4, 0, 4},
    {L"StartFrame", L"StartFrame", ParamType::Int, 5, 1, true, -10000, 10000, 1, 100},
    {L"EndFrame", L"EndFrame", ParamType::Int, 5, 100, true, -10000, 10000, 1, 100},
    {L"Offset", L"Offset", ParamType::Int, 5, 0, true, -10000, 10000, -10, 10},
    {L"RootPath", L"", ParamType::String, 4, 0, false, 0, 0, 0, 0},
    {L"TimingMode", L"TimingMode", ParamType::Int, 5, 0, true, 0, 2, 0, 2},
    {L"TimingScale", L"TimingScale", ParamType::Double, 5, 0, true, std::numeric_limits<double>::lowest(),
     std::numeric_limits<double>::max(), -2, 2},
    {L"TimingWarp", L"", ParamType::FCurve, 0, 0, false, 0, 0, 0, 0},
};
static_assert(std::size(kRows) == kParamCount, "one row per parameter, in index order");

enum Mode : LONG { kHold = 0, kCacheToRam = 1, kReadFileCacheToRam = 2, kReadFile = 3, kWriteFile = 4 };

inline const LiveTool& ThisTool() { return Tool(L"CacheMap"); }

// Rebuilds the property's page whole: what it shows depends on the mode and the timing mode.
void BuildLayout(XSI::CustomProperty& property);

// The host's resolution of a user path (its "zrResolvePath" command); empty when the command
// gives nothing.
XSI::CString ResolvePath(const XSI::CString& path);
// Creates the one directory at the resolved `path` (not its parents); 0 when it was created.
LONG MakeDirectory(const XSI::CString& path);
// The project's "CacheMap" folder, created (and logged) when missing.
XSI::CString DefaultCacheRoot();
// A host path as the file system takes it.
std::string FileSystemPath(const XSI::CString& path);

}  // namespace orbelin::cache
