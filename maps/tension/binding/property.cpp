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
    BeginToolPage(layout, L"tensionmap.html", L"Tension Weightmap");
    layout.AddButton(L"ResetPose", L"Reset Reference Pose");
    AddModeGroup(layout, property, L"Blob");
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

}  // namespace orbelin::tension

ORBELIN_MODE_PAGE_PROPERTY(Orbelin_zrTensionMapProp, orbelin::tension::kRows, orbelin::tension::kStartFrame,
                           orbelin::tension::kEndFrame, orbelin::tension::BuildLayout, orbelin::tension::PressButton)
