// The Gradient Hair Comb's property: Define (the Shape curve made with its three keys in one
// edit), its page, and an event callback that accepts every event.
#include "maps/haircomb/binding/haircomb_tool.h"
#include "shell/guard.h"
#include "shell/page.h"
#include "xsi_context.h"
#include "xsi_fcurve.h"
#include "xsi_ppglayout.h"

using namespace XSI;
using namespace orbelin;
using namespace orbelin::haircomb;

SICALLBACK Orbelin_zrGradientMapHairCombProp_Define(CRef& in_ctxt) {
    return CallbackGuard(L"Orbelin_zrGradientMapHairCombProp_Define", [&] {
        CustomProperty property(Context(in_ctxt).GetSource());
        DefineParameters(property, kRows, -1, -1);
        // The height profile along a strand: up to a quarter of the way, then down to a tenth.
        FCurve shape(property.GetParameter(L"Shape").GetValue());
        shape.RemoveKeys();
        shape.BeginEdit();
        shape.AddKey(CTime(0.0), CValue(0.0));
        shape.AddKey(CTime(40.0), CValue(25.0));
        shape.AddKey(CTime(100.0), CValue(10.0));
        shape.EndEdit();
        return CStatus(CStatus::OK);
    });
}

SICALLBACK Orbelin_zrGradientMapHairCombProp_DefineLayout(CRef& in_ctxt) {
    return CallbackGuard(L"Orbelin_zrGradientMapHairCombProp_DefineLayout", [&] {
        PPGLayout layout = Context(in_ctxt).GetSource();
        layout.PutAttribute(siUIHelpFile, CValue(L"https://orbelin.example/help/gradienthaircomb.html"));
        layout.Clear();
        layout.AddTab(L"General");
        layout.AddItem(L"Enable", L"Enable");
        layout.AddItem(L"CombHigh", L"Comb High");
        layout.AddItem(L"CombWidth", L"Comb Width");
        layout.AddFCurve(L"Shape");
        return CStatus(CStatus::OK);
    });
}

SICALLBACK Orbelin_zrGradientMapHairCombProp_PPGEvent(const CRef&) { return CStatus::OK; }
