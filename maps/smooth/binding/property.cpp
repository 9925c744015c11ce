// The Smooth Map's property: Define, the page and its events.
#include "maps/smooth/binding/smooth_tool.h"
#include "shell/guard.h"
#include "shell/page.h"
#include "xsi_context.h"
#include "xsi_ppglayout.h"

using namespace XSI;

namespace orbelin::smooth {

void BuildLayout(CustomProperty& property) {
    PPGLayout layout = property.GetPPGLayout();
    LONG mode = property.GetParameterValue(L"OpMode");
    BeginToolPage(layout, L"smoothmap.html", L"Smooth Weightmap");
    layout.AddGroup(L"Mode");
    PPGItem modeItem = layout.AddEnumControl(
        L"OpMode", EnumItems({{L" Hold ", 0}, {L" Read From Input ", 1}, {L" Read From Input - Caching ", 2}}), L"Mode");
    modeItem.PutAttribute(siUINoLabel, CValue(true));
    if (mode == 2) {
        layout.AddButton(L"CleanCache", L"Clean Cache");
        layout.AddItem(L"StartFrame", L"Start Frame");
        layout.AddItem(L"EndFrame", L"End Frame");
    }
    layout.EndGroup();
    layout.AddGroup(L"Smooth");
    layout.AddItem(L"Radius", L"Radius");
    layout.AddItem(L"Repeat", L"Repeat");
    layout.AddItem(L"UseFaceNeighbors", L"Use Face Neighbors");
    layout.EndGroup();
    layout.AddGroup(L"Post-Process");
    layout.AddItem(L"Min", L"Min");
    layout.AddItem(L"Max", L"Max");
    layout.AddEnumControl(L"OpWeightPostProcess", EnumItems({{L" None ", 0}, {L" Clamp ", 1}, {L" Change Range ", 2}}),
                          L"Post-Process");
    layout.EndGroup();
}

}  // namespace orbelin::smooth

using namespace orbelin;
using namespace orbelin::smooth;

SICALLBACK Orbelin_zrSmoothMapProp_Define(CRef& in_ctxt) {
    return CallbackGuard(L"Orbelin_zrSmoothMapProp_Define", [&] {
        CustomProperty property(Context(in_ctxt).GetSource());
        DefineParameters(property, kRows, kStartFrame, kEndFrame);
        return CStatus(CStatus::OK);
    });
}

SICALLBACK Orbelin_zrSmoothMapProp_DefineLayout(CRef& in_ctxt) {
    (void)in_ctxt;  // the page is built when it opens: it depends on the mode
    return CStatus::OK;
}

// The page is rebuilt when it opens and when the mode changes. Its Clean Cache button has no
// handler: pressing it leaves the cache as it is (only a change of CleanCacheIdx cleans it).
SICALLBACK Orbelin_zrSmoothMapProp_PPGEvent(const CRef& in_ctxt) {
    return CallbackGuard(L"Orbelin_zrSmoothMapProp_PPGEvent", [&] { return ModePageEvent(in_ctxt, BuildLayout); });
}
