// The Tension Map's property: Define, the page and its events.
#include "maps/tension/binding/tension_tool.h"
#include "shell/guard.h"
#include "shell/numbers.h"
#include "shell/page.h"
#include "xsi_application.h"
#include "xsi_context.h"
#include "xsi_ppglayout.h"

using namespace XSI;

namespace orbelin::tension {

void BuildLayout(CustomProperty& property) {
    PPGLayout layout = property.GetPPGLayout();
    LONG mode = property.GetParameterValue(L"OpMode");
    BeginToolPage(layout, L"tensionmap.html", L"Tension Weightmap");
    layout.AddButton(L"ResetPose", L"Reset Reference Pose");
    layout.AddGroup(L"Mode");
    PPGItem modeItem = layout.AddEnumControl(
        L"OpMode", EnumItems({{L" Hold ", 0}, {L" Read From Blob ", 1}, {L" Read From Blob - Caching ", 2}}), L"Mode");
    modeItem.PutAttribute(siUINoLabel, CValue(true));
    if (mode == 2) {
        layout.AddButton(L"CleanCache", L"Clean Cache");
        layout.AddItem(L"StartFrame", L"Start Frame");
        layout.AddItem(L"EndFrame", L"End Frame");
    }
    layout.EndGroup();
    layout.AddGroup(L"Post-Process");
    layout.AddItem(L"Factor", L"Factor");
    layout.AddEnumControl(L"OpWeightPostProcess", EnumItems({{L" None ", 0}, {L" Clamp ", 1}, {L" Change Range ", 2}}),
                          L"Post-Process");
    layout.AddItem(L"Min");  // shown as "Near", its display name
    layout.AddItem(L"Max");  // "Far"
    layout.EndGroup();
}

void RunResetPose(const CString& blobPath) {
    CValueArray args(1);
    args[0] = CValue(blobPath);
    CValue ignored;
    Application().ExecuteCommand(kResetCommand, args, ignored);
}

}  // namespace orbelin::tension

using namespace orbelin;
using namespace orbelin::tension;

SICALLBACK Orbelin_zrTensionMapProp_Define(CRef& in_ctxt) {
    return CallbackGuard(L"Orbelin_zrTensionMapProp_Define", [&] {
        CustomProperty property(Context(in_ctxt).GetSource());
        DefineParameters(property, kRows, kStartFrame, kEndFrame);
        return CStatus(CStatus::OK);
    });
}

SICALLBACK Orbelin_zrTensionMapProp_DefineLayout(CRef& in_ctxt) {
    (void)in_ctxt;  // the page is built when it opens: it depends on the mode
    return CStatus::OK;
}

namespace {

// "CleanCache" moves the cache counter on (the caching mode then starts again), "ResetPose"
// makes the mesh as it is now the reference.
void PressButton(CustomProperty& property, const CString& button) {
    if (button == CString(L"CleanCache")) {
        LONG idx = property.GetParameterValue(L"CleanCacheIdx");
        property.PutParameterValue(L"CleanCacheIdx", CValue(LONG(NextCounter(idx))));
    } else if (button == CString(L"ResetPose")) {
        RunResetPose(property.GetParameterValue(L"BlobFullPath").GetAsText());
    }
}

}  // namespace

SICALLBACK Orbelin_zrTensionMapProp_PPGEvent(const CRef& in_ctxt) {
    return CallbackGuard(L"Orbelin_zrTensionMapProp_PPGEvent", [&] { return ModePageEvent(in_ctxt, BuildLayout, PressButton); });
}
