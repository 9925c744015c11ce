// The Cache Map's command (apply) and the file-system services it shares with the operator:
// the host's path resolution, directory creation, the project's cache root.
#include "cache/files.h"
#include "maps/cache/binding/cache_tool.h"
#include "shell/guard.h"
#include "shell/tool_commands.h"
#include "shell/log.h"
#include "shell/page.h"
#include "xsi_application.h"
#include "xsi_fcurve.h"
#include "xsi_model.h"
#include "xsi_operator.h"
#include "xsi_parameter.h"

using namespace XSI;

namespace orbelin::cache {

CString ResolvePath(const CString& path) {
    CValueArray args(1);
    args[0] = CValue(path);
    CValue resolved;
    Application().ExecuteCommand(L"zrResolvePath", args, resolved);
    return resolved.IsEmpty() ? CString() : resolved.GetAsText();
}

std::string FileSystemPath(const CString& path) { return path.GetAsciiString(); }

LONG MakeDirectory(const CString& path) { return CreateDirectory(FileSystemPath(ResolvePath(path))) ? 0 : 1; }

CString DefaultCacheRoot() {
    CString root = Application().GetInstallationPath(siProjectPath);
    const std::wstring text = root.GetWideString();
    if (text.empty() || text.back() != kSeparator) root += kSeparator;
    root += L"CacheMap";
    if (MakeDirectory(root) == 0) {
        LogInfo(L"Created CacheMap Directory:");
        LogInfo(L"[" + root + L"]");
    }
    return root;
}

namespace {

// Connection set: the weight map (read and written), the property, the primitive. FullPath
// keeps the scene root the host leaves out of full names, so that every path has six parts.
CRef ApplyCacheMapOperator(CustomProperty& property, const CRef& weightMap) {
    SIObject map(weightMap);
    const CRef primitive = SIObject(map.GetParent()).GetParent();
    CRef op = ApplyOperator(ThisTool().op, map.GetFullName() + L";" + property.GetFullName() + L";" + primitive.GetAsText());
    CString fullPath = map.GetFullName();
    if (ProjectItem(weightMap).GetModel().GetName() == CString(L"Scene_Root")) fullPath = L"Scene_Root." + fullPath;
    ProjectItem installed(op);
    installed.PutParameterValue(L"FullPath", CValue(fullPath));
    // A curve on FE makes the operator depend on time; the evaluation never reads it.
    FCurve curve;
    installed.GetParameter(L"FE").AddFCurve(siDefaultFCurve, curve);
    return op;
}

void Install(const CRef& weightMap, CustomProperty& property) {
    property.PutParameterValue(L"RootPath", CValue(DefaultCacheRoot()));
    property.PutParameterValue(L"StartFrame", CValue(PlayControlValue(L"PlayControl.In")));
    property.PutParameterValue(L"EndFrame", CValue(PlayControlValue(L"PlayControl.Out")));
    ApplyCacheMapOperator(property, weightMap);
}

}  // namespace

}  // namespace orbelin::cache

ORBELIN_APPLY_COMMAND(CacheMap, orbelin::cache::Install)
