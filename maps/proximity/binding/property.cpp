// The Proximity Map's property: Define, the page and its events.
#include "maps/proximity/binding/proximity_tool.h"
#include "shell/guard.h"
#include "shell/log.h"
#include "shell/page.h"
#include "xsi_application.h"
#include "xsi_context.h"
#include "xsi_fcurve.h"
#include "xsi_operator.h"
#include "xsi_ppglayout.h"

using namespace XSI;

namespace orbelin::proximity {

namespace {

// The pair of connexion k, added when a page shows a connexion beyond the pairs made ahead.
void EnsurePair(CustomProperty& property, LONG k) { EnsureConnexionPair(property, k, kEnabledRow, kFactorRow); }

}  // namespace

void BuildLayout(CustomProperty& property) {
    PPGLayout layout = property.GetPPGLayout();
    LONG mode = property.GetParameterValue(L"OpMode");
    BeginToolPage(layout, L"proximitymap.html", L"Proximity Weightmap");
    layout.AddGroup(L"Mode");
    layout.AddEnumControl(L"OpMode", EnumItems({{L" Hold ", 0}, {L" Read From Objects ", 1}, {L" Read From Objects - Caching ", 2}}),
                          L"Mode");
    if (mode == 2) {
        layout.AddButton(L"CleanCache", L"Clean Cache");
        layout.AddItem(L"StartFrame", L"Start Frame");
        layout.AddItem(L"EndFrame", L"End Frame");
        layout.AddEnumControl(L"ProcessingMode", EnumItems({{L" Normal Caching ", 0}, {L" Keep Maximum ", 1}}), L"Processing");
    }
    layout.EndGroup();
    layout.AddGroup(L"Spatial Range");
    layout.AddItem(L"Near", L"Near");
    layout.AddItem(L"Far", L"Far");
    layout.AddFCurve(L"Falloff");
    layout.EndGroup();
    layout.AddGroup(L"Post-Process");
    layout.AddEnumControl(L"OpWeightPostProcess", EnumItems({{L" None ", 0}, {L" Clamp ", 1}, {L" Change Range ", 2}}),
                          L"Post-Process");
    // The bounds mean nothing without a post-process.
    if (static_cast<LONG>(property.GetParameterValue(L"OpWeightPostProcess")) != 0) {
        layout.AddItem(L"Min", L"Min");
        layout.AddItem(L"Max", L"Max");
    }
    layout.EndGroup();

    layout.AddTab(L"Connexions");
    layout.AddRow();
    layout.AddButton(L"Connect", L"Add Connexion");
    layout.AddButton(L"RemoveAll", L"Remove All Connexion");
    layout.EndRow();
    layout.AddItem(L"AddMode", L"Additive Mode");
    CRef op = FindOperator(property.GetParameterValue(L"OperatorFullPath").GetAsText());
    if (!op.IsValid()) {
        LogError(L"Operator zrProximityMap not found!");
        return;
    }
    LONG count = Operator(op).GetNumInstancesInGroup(ThisTool().connexionGroup);
    for (LONG k = 0; k < count; ++k) {
        EnsurePair(property, k);
        CRef target = Operator(op).GetPortAt(0, ThisTool().connexionGroup, k).GetTarget();
        AddConnexionGroup(layout, SIObject(target).GetParent().GetAsText(), k);
    }
}

}  // namespace orbelin::proximity

using namespace orbelin;
using namespace orbelin::proximity;

SICALLBACK Orbelin_zrProximityMapProp_Define(CRef& in_ctxt) {
    return CallbackGuard(L"Orbelin_zrProximityMapProp_Define", [&] {
        CustomProperty property(Context(in_ctxt).GetSource());
        DefineParameters(property, kRows, kStartFrame, kEndFrame);
        for (LONG k = 0; k < kPairsInAdvance; ++k) EnsurePair(property, k);
        // The default falloff maps the range linearly: keys (0, 0) and (100, 1).
        FCurve falloff(property.GetParameter(L"Falloff").GetValue());
        falloff.RemoveKeys();
        falloff.BeginEdit();
        falloff.AddKey(CTime(0.0), CValue(0.0));
        falloff.AddKey(CTime(100.0), CValue(1.0));
        falloff.EndEdit();
        return CStatus(CStatus::OK);
    });
}

SICALLBACK Orbelin_zrProximityMapProp_DefineLayout(CRef& in_ctxt) {
    (void)in_ctxt;  // the page is built when it opens: it depends on the parameters' values
    return CStatus::OK;
}

SICALLBACK Orbelin_zrProximityMapProp_PPGEvent(const CRef& in_ctxt) {
    static const ConnexionPage page{L"Orbelin_zrProximityMapAddConnexionCmd", L"Orbelin_zrProximityMapRemoveConnexionCmd",
                                    {L"OpMode", L"OpWeightPostProcess"}, RemoveButtonRule::NumberAfterPrefix, BuildLayout};
    return CallbackGuard(L"Orbelin_zrProximityMapProp_PPGEvent", [&] { return ConnexionPageEvent(in_ctxt, page); });
}
