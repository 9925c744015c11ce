// The Expression Map's property: Define, the page with its presets and connexions, its events.
#include "maps/expression/binding/expression_tool.h"
#include "shell/guard.h"
#include "shell/log.h"
#include "shell/page.h"
#include "xsi_context.h"
#include "xsi_operator.h"
#include "xsi_port.h"
#include "xsi_ppglayout.h"

using namespace XSI;

namespace orbelin::expression {

namespace {

void AddItems(PPGLayout& layout, std::initializer_list<std::pair<const wchar_t*, const wchar_t*>> items) {
    for (const auto& [name, label] : items) layout.AddItem(name, label);
}

// A preset sets the formula; the update then runs with it.
void PresetButton(CustomProperty& property, const CString& button) {
    for (const Preset& preset : kPresets)
        if (button == CString(preset.button)) {
            property.PutParameterValue(L"Expression", CValue(preset.expression));
            return;
        }
}

}  // namespace

void BuildLayout(CustomProperty& property) {
    PPGLayout layout = property.GetPPGLayout();
    layout.Clear();
    layout.PutAttribute(siUIHelpFile, CValue(L"https://orbelin.example/help/expressionmap.html"));

    layout.AddTab(L"Weightmap Expression");
    layout.AddItem(L"Enable");
    layout.AddGroup(L"General");
    AddItems(layout, {{L"Expression", L""}, {L"Variable_a", L"Variable a"}, {L"Variable_b", L"Variable b"},
                      {L"Random_Seed", L"Random Seed"}});
    layout.EndGroup();
    layout.AddGroup(L"Post Processing");
    layout.AddEnumControl(L"PostProcessing", EnumItems({{L" None ", 0}, {L" Clamp ", 1}, {L" Change Range ", 2}}),
                          L"Post-Process");
    AddItems(layout, {{L"PostProcMin", L"Minimum Value"}, {L"PostProcMax", L"Maximum Value"}});
    layout.EndGroup();
    layout.AddGroup(L"Presets");
    for (size_t i = 0; i < std::size(kPresets); ++i) {
        if (i % 3 == 0) layout.AddRow();
        layout.AddButton(kPresets[i].button, kPresets[i].label);
        if (i % 3 == 2) layout.EndRow();
    }
    layout.EndGroup();

    layout.AddTab(L"Transformation Offsets");
    layout.AddGroup(L"Position Offsets");
    AddItems(layout, {{L"Translation_X", L"Translation X"}, {L"Translation_Y", L"Translation Y"}, {L"Translation_Z", L"Translation Z"}});
    layout.EndGroup();
    layout.AddGroup(L"Rotation Offsets");
    AddItems(layout, {{L"Rotation_X", L"Rotation X"}, {L"Rotation_Y", L"Rotation Y"}, {L"Rotation_Z", L"Rotation Z"}});
    layout.EndGroup();
    layout.AddGroup(L"Scale Offsets");
    AddItems(layout, {{L"Scale_X", L"Scale X"}, {L"Scale_Y", L"Scale Y"}, {L"Scale_Z", L"Scale Z"}});
    layout.EndGroup();

    layout.AddTab(L"LUA Helpers");
    layout.AddGroup(L"Helpers");
    layout.AddString(L"Helpers", L"", true, 180).PutAttribute(siUINoLabel, CValue(true));
    layout.EndGroup();

    AddConnexionsTab(layout);
    CRef op = FindOperator(property.GetParameterValue(L"OperatorFullPath").GetAsText());
    if (!op.IsValid()) {
        LogError(L"Operator zrWeightMapExpressioner not found!");
        return;
    }
    const LONG group = ThisTool().connexionGroup;
    const LONG count = Operator(op).GetNumInstancesInGroup(group);
    for (LONG i = 0; i < count; ++i) {
        EnsureConnexionPair(property, i, kEnabledRow, kPageFactorRow);
        const CString n(CValue(i).GetAsText());
        layout.AddGroup(Operator(op).GetPortAt(0, group, i).GetTarget().GetAsText());
        layout.AddRow();
        layout.AddItem(L"Enabled_" + n, L"Enable w" + n);
        layout.AddButton(L"Remove_" + n, L"Remove");
        layout.EndRow();
        layout.AddItem(L"Factor_" + n, L"v" + n);
        layout.EndGroup();
    }
}

}  // namespace orbelin::expression

using namespace orbelin;
using namespace orbelin::expression;

SICALLBACK Orbelin_zrExpressionMapProp_Define(CRef& in_ctxt) {
    return CallbackGuard(L"Orbelin_zrExpressionMapProp_Define", [&] {
        CustomProperty property(Context(in_ctxt).GetSource());
        DefineParameters(property, kRows, -1, -1);  // no frame range
        for (LONG i = 0; i < kPairsInAdvance; ++i) EnsureConnexionPair(property, i, kEnabledRow, kFactorRow);
        return CStatus(CStatus::OK);
    });
}

SICALLBACK Orbelin_zrExpressionMapProp_DefineLayout(CRef& in_ctxt) {
    (void)in_ctxt;  // the page is built when it opens: it shows the operator's connexions
    return CStatus::OK;
}

SICALLBACK Orbelin_zrExpressionMapProp_PPGEvent(const CRef& in_ctxt) {
    static const ConnexionPage page{L"Orbelin_zrExpressionMapAddConnexionCmd",
                                    L"Orbelin_zrExpressionMapRemoveConnexionCmd",
                                    {},
                                    RemoveButtonRule::LeadingNumberAfterUnderscoreAt6,
                                    BuildLayout,
                                    ThisTool().connexionGroup,
                                    PresetButton};
    return CallbackGuard(L"Orbelin_zrExpressionMapProp_PPGEvent", [&] { return ConnexionPageEvent(in_ctxt, page); });
}
