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
    BeginToolPage(layout, L"smoothmap.html", L"Smooth Weightmap");
    AddModeGroup(layout, property, L"Input");
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

// The page is rebuilt when it opens and when the mode changes. Its Clean Cache button has no
// handler: pressing it leaves the cache as it is (only a change of CleanCacheIdx cleans it).
ORBELIN_MODE_PAGE_PROPERTY(Orbelin_zrSmoothMapProp, orbelin::smooth::kRows, orbelin::smooth::kStartFrame,
                           orbelin::smooth::kEndFrame, orbelin::smooth::BuildLayout, nullptr)
