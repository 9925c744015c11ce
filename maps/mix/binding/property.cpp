// The Mix Map's property: Define, the page and its events.
#include "maps/mix/binding/mix_tool.h"
#include "shell/guard.h"
#include "shell/log.h"
#include "shell/page.h"
#include "xsi_context.h"
#include "xsi_operator.h"
#include "xsi_port.h"
#include "xsi_ppglayout.h"

using namespace XSI;

namespace orbelin::mix {

void BuildLayout(CustomProperty& property) {
    PPGLayout layout = property.GetPPGLayout();
    BeginToolPage(layout, L"mixmap.html", L"Weightmap Mixer");
    layout.AddGroup(L"Mode");
    PPGItem mode = layout.AddEnumControl(
        L"OpMode",
        EnumItems({{L" Hold ", 0}, {L" Live - Average ", 1}, {L" Live - Addititive ", 2}, {L" Live - Maximum ", 3}}),
        L"Mode");
    mode.PutAttribute(siUINoLabel, CValue(true));
    layout.EndGroup();
    layout.AddGroup(L"Post-Process");
    layout.AddEnumControl(L"OpWeightPostProcess", EnumItems({{L" None ", 0}, {L" Clamp ", 1}, {L" Change Range ", 2}}),
                          L"Post-Process");
    layout.AddItem(L"RangeMin", L"Min");
    layout.AddItem(L"RangeMax", L"Max");
    layout.EndGroup();

    AddConnexionsTab(layout);
    AddConnexionGroups(layout, property, ThisTool().connexionGroup, kEnabledRow, kPageFactorRow,
                       L"Operator zrWeightMapMixer not found!");
}

}  // namespace orbelin::mix

using namespace orbelin;
using namespace orbelin::mix;

SICALLBACK Orbelin_zrMixMapProp_Define(CRef& in_ctxt) {
    return CallbackGuard(L"Orbelin_zrMixMapProp_Define", [&] {
        CustomProperty property(Context(in_ctxt).GetSource());
        DefineParameters(property, kRows, -1, -1);  // no frame range
        for (LONG k = 0; k < kPairsInAdvance; ++k) EnsureConnexionPair(property, k, kEnabledRow, kFactorRow);
        return CStatus(CStatus::OK);
    });
}

SICALLBACK Orbelin_zrMixMapProp_DefineLayout(CRef& in_ctxt) {
    (void)in_ctxt;  // the page is built when it opens: it shows the operator's connexions
    return CStatus::OK;
}

SICALLBACK Orbelin_zrMixMapProp_PPGEvent(const CRef& in_ctxt) {
    static const ConnexionPage page{L"Orbelin_zrMixMapAddConnexionCmd", L"Orbelin_zrMixMapRemoveConnexionCmd", {},
                                    RemoveButtonRule::FourDigitsAfterUnderscoreAt6, BuildLayout};
    return CallbackGuard(L"Orbelin_zrMixMapProp_PPGEvent", [&] { return ConnexionPageEvent(in_ctxt, page); });
}
