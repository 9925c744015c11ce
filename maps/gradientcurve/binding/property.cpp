// The Gradient Curve Map's property: Define, the page and its events.
#include "maps/gradientcurve/binding/gradientcurve_tool.h"
#include "shell/guard.h"
#include "shell/log.h"
#include "shell/page.h"
#include "xsi_context.h"
#include "xsi_operator.h"
#include "xsi_port.h"
#include "xsi_ppglayout.h"

using namespace XSI;

namespace orbelin::gradientcurve {

void BuildLayout(CustomProperty& property) {
    PPGLayout layout = property.GetPPGLayout();
    layout.PutAttribute(siUIHelpFile, CValue(L"https://orbelin.example/help/gradientcurvemap.html"));
    layout.Clear();
    const LONG mode = property.GetParameterValue(L"OpMode");

    layout.AddTab(L"GradientCurve Weightmap");
    layout.AddGroup(L"Execution State");
    layout.AddItem(L"Enable", L"Enable");
    layout.EndGroup();
    layout.AddGroup(L"Mode");
    layout.AddEnumControl(L"OpMode", EnumItems({{L" Hold ", 0}, {L" Read From Objects ", 1}, {L" Read From Objects - Caching ", 2}}),
                          L"Mode");
    if (mode == 2) {
        layout.AddButton(L"CleanCache", L"Clean Cache");
        layout.AddItem(L"StartFrame", L"Start Frame");
        layout.AddItem(L"EndFrame", L"End Frame");
        // Shown, as the page always has; the property has no such parameter.
        layout.AddEnumControl(L"ProcessingMode", EnumItems({{L" Simple Mode ", 0}, {L" Keep Maximum Mode ", 1}}),
                              L"Processing Mode");
    }
    layout.EndGroup();
    layout.AddGroup(L"Post-Process");
    layout.AddEnumControl(L"OpWeightPostProcess", EnumItems({{L" None ", 0}, {L" Clamp ", 1}, {L" Change Range ", 2}}),
                          L"Post-Process");
    layout.AddItem(L"Min", L"Min");
    layout.AddItem(L"Max", L"Max");
    layout.EndGroup();

    AddConnexionsTab(layout);
    layout.AddItem(L"AddMode", L"Additive Mode");  // an item without a parameter, as the page has always shown
    AddConnexionGroups(layout, property, ThisTool().connexionGroup, kEnabledRow, kPageFactorRow,
                       L"Operator zrGradientCurveMap not found!");
}

}  // namespace orbelin::gradientcurve

using namespace orbelin;
using namespace orbelin::gradientcurve;

SICALLBACK Orbelin_zrGradientCurveMapProp_Define(CRef& in_ctxt) {
    return CallbackGuard(L"Orbelin_zrGradientCurveMapProp_Define", [&] {
        CustomProperty property(Context(in_ctxt).GetSource());
        DefineParameters(property, kRows, kStartFrame, kEndFrame);
        for (LONG k = 0; k < kPairsInAdvance; ++k) EnsureConnexionPair(property, k, kEnabledRow, kFactorRow);
        return CStatus(CStatus::OK);
    });
}

SICALLBACK Orbelin_zrGradientCurveMapProp_DefineLayout(CRef& in_ctxt) {
    (void)in_ctxt;  // the page is built when it opens: it shows the mode's controls and the connexions
    return CStatus::OK;
}

SICALLBACK Orbelin_zrGradientCurveMapProp_PPGEvent(const CRef& in_ctxt) {
    static const ConnexionPage page{L"Orbelin_zrGradientCurveMapAddConnexionCmd",
                                    L"Orbelin_zrGradientCurveMapRemoveConnexionCmd",
                                    {L"OpMode"},
                                    RemoveButtonRule::FourDigitsAfterUnderscoreAt6,
                                    BuildLayout,
                                    ThisTool().connexionGroup};
    return CallbackGuard(L"Orbelin_zrGradientCurveMapProp_PPGEvent", [&] { return ConnexionPageEvent(in_ctxt, page); });
}
