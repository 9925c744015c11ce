#include "shell/page.h"

#include <algorithm>
#include <cwctype>

#include "shell/log.h"
#include "shell/numbers.h"
#include "xsi_application.h"
#include "xsi_operator.h"
#include "xsi_port.h"
#include "xsi_parameter.h"
#include "xsi_ppgeventcontext.h"

namespace orbelin {

using XSI::CString;
using XSI::CValue;
using XSI::CValueArray;

CValueArray EnumItems(std::initializer_list<std::pair<const wchar_t*, LONG>> items) {
    CValueArray out;
    for (const auto& [label, value] : items) {
        out.Add(CValue(label));
        out.Add(CValue(value));
    }
    return out;
}

LONG PlayControlValue(const wchar_t* which) {
    CValueArray args(1);
    args[0] = CValue(which);
    CValue value;
    XSI::Application().ExecuteCommand(L"GetValue", args, value);
    return value.IsEmpty() ? 0 : static_cast<LONG>(value);
}

void DefineParameters(XSI::CustomProperty& property, std::span<const ParamRow> rows, LONG startFrame, LONG endFrame) {
    for (size_t i = 0; i < rows.size(); ++i) {
        const auto index = static_cast<LONG>(i);
        if (index == startFrame) AddParameter(property, rows[i], PlayControlValue(L"PlayControl.In"));
        else if (index == endFrame) AddParameter(property, rows[i], PlayControlValue(L"PlayControl.Out"));
        else AddParameter(property, rows[i]);
    }
}

void BeginToolPage(XSI::PPGLayout& layout, const wchar_t* helpFile, const wchar_t* tab) {
    layout.PutAttribute(XSI::siUIHelpFile, CValue(CString(L"https://orbelin.example/help/") + helpFile));
    layout.Clear();
    layout.AddTab(tab);
    layout.AddGroup(L"Execution State");
    layout.AddItem(L"Enable", L"Enable");
    layout.EndGroup();
}

void AddModeGroup(XSI::PPGLayout& layout, const XSI::CustomProperty& property, const wchar_t* what) {
    const CString live = CString(L" Read From ") + what + L" ", caching = CString(L" Read From ") + what + L" - Caching ";
    layout.AddGroup(L"Mode");
    XSI::PPGItem mode = layout.AddEnumControl(
        L"OpMode", EnumItems({{L" Hold ", 0}, {live.GetWideString(), 1}, {caching.GetWideString(), 2}}), L"Mode");
    mode.PutAttribute(XSI::siUINoLabel, CValue(true));
    if (static_cast<LONG>(property.GetParameterValue(L"OpMode")) == 2) {
        layout.AddButton(L"CleanCache", L"Clean Cache");
        layout.AddItem(L"StartFrame", L"Start Frame");
        layout.AddItem(L"EndFrame", L"End Frame");
    }
    layout.EndGroup();
}

XSI::CStatus ModePageEvent(const XSI::CRef& context, PageBuilder build, ButtonHandler button,
                           std::initializer_list<const wchar_t*> rebuildOn) {
    XSI::PPGEventContext ctxt(context);
    if (ctxt.GetEventID() == XSI::PPGEventContext::siOnInit) {
        XSI::CustomProperty property(ctxt.GetSource());
        build(property);
        ctxt.PutAttribute(L"Refresh", CValue(true));
    } else if (ctxt.GetEventID() == XSI::PPGEventContext::siParameterChange) {
        XSI::Parameter changed(ctxt.GetSource());
        const CString name = changed.GetScriptName();
        if (std::any_of(rebuildOn.begin(), rebuildOn.end(), [&](const wchar_t* w) { return name == CString(w); })) {
            XSI::CustomProperty property(changed.GetParent());
            build(property);
            ctxt.PutAttribute(L"Refresh", CValue(true));
        }
    } else if (ctxt.GetEventID() == XSI::PPGEventContext::siButtonClicked && button) {
        XSI::CustomProperty property(ctxt.GetSource());
        button(property, ctxt.GetAttribute(L"Button"));
    }
    return XSI::CStatus::OK;
}

void EnsureConnexionPair(XSI::CustomProperty& property, LONG k, const ParamRow& enabledRow, const ParamRow& factorRow) {
    const CString suffix(CValue(k).GetAsText());
    for (const ParamRow* row : {&enabledRow, &factorRow}) {
        const CString name = CString(row->script) + suffix;
        if (property.GetParameter(name).IsValid()) continue;
        ParamRow named = *row;
        named.script = named.label = name.GetWideString();
        AddParameter(property, named);
    }
}

void AddConnexionGroup(XSI::PPGLayout& layout, const CString& label, LONG k) {
    const CString n(CValue(k).GetAsText());
    layout.AddGroup(label);
    layout.AddRow();
    layout.AddItem(L"Enabled_" + n, L"Enabled");
    layout.AddButton(L"Remove_" + n, L"Remove");
    layout.EndRow();
    layout.AddItem(L"WeightMap_" + n, L"WeightMap");
    layout.AddItem(L"Factor_" + n, L"Factor");
    layout.EndGroup();
}

void AddConnexionsTab(XSI::PPGLayout& layout) {
    layout.AddTab(L"Connexions");
    layout.AddRow();
    layout.AddButton(L"Connect", L"Add Connexion");
    layout.AddButton(L"RemoveAll", L"Remove All Connexion");
    layout.EndRow();
}

void AddConnexionGroups(XSI::PPGLayout& layout, XSI::CustomProperty& property, LONG group, const ParamRow& enabledRow,
                        const ParamRow& factorRow, const wchar_t* missingOperator) {
    XSI::CRef op = FindOperator(property.GetParameterValue(L"OperatorFullPath").GetAsText());
    if (!op.IsValid()) {
        LogError(missingOperator);
        return;
    }
    const LONG count = XSI::Operator(op).GetNumInstancesInGroup(group);
    for (LONG k = 0; k < count; ++k) {
        EnsureConnexionPair(property, k, enabledRow, factorRow);
        AddConnexionGroup(layout, XSI::Operator(op).GetPortAt(0, group, k).GetTarget().GetAsText(), k);
    }
}

bool RemoveButtonIndex(const CString& button, RemoveButtonRule rule, LONG& k) {
    const std::wstring name = button.GetWideString();
    if (rule == RemoveButtonRule::NumberAfterPrefix) {
        if (name.rfind(L"Remove_", 0) != 0) return false;
        return ConnexionIndex(CValue(button.GetSubString(7)), k) && k >= 0;
    }
    const bool leading = rule == RemoveButtonRule::LeadingNumberAfterUnderscoreAt6;
    if (name.size() < (leading ? 7u : 8u) || name[6] != L'_') return false;
    k = 0;
    size_t digits = 0;
    for (size_t i = 7; i < name.size() && digits < 4 && std::iswdigit(name[i]); ++i, ++digits) k = k * 10 + (name[i] - L'0');
    return digits > 0 || leading;
}

namespace {

// The instances of the connexion group of the operator the property names; 0 without one.
LONG ConnexionCount(const XSI::CustomProperty& property, LONG group) {
    if (group < 0) return 0;
    XSI::CRef op = FindOperator(property.GetParameterValue(L"OperatorFullPath").GetAsText());
    return op.IsValid() ? std::max<LONG>(XSI::Operator(op).GetNumInstancesInGroup(group), 0) : 0;
}

}  // namespace


XSI::CStatus ConnexionPageEvent(const XSI::CRef& context, const ConnexionPage& page) {
    XSI::PPGEventContext ctxt(context);
    auto refresh = [&] { ctxt.PutAttribute(L"Refresh", CValue(true)); };
    switch (ctxt.GetEventID()) {
        case XSI::PPGEventContext::siOnInit: {
            XSI::CustomProperty property(ctxt.GetSource());
            page.build(property);
            refresh();
            break;
        }
        case XSI::PPGEventContext::siParameterChange: {
            XSI::Parameter changed(ctxt.GetSource());
            const CString name = changed.GetScriptName();
            for (const wchar_t* watched : page.rebuildOn)
                if (name == CString(watched)) {
                    XSI::CustomProperty property(changed.GetParent());
                    page.build(property);
                    refresh();
                    break;
                }
            break;
        }
        case XSI::PPGEventContext::siButtonClicked: {
            XSI::CustomProperty property(ctxt.GetSource());
            const CString button = ctxt.GetAttribute(L"Button");
            CValueArray args;
            args.Add(CValue(property.GetRef()));
            CValue ignored;
            LONG k = -1;
            if (button == CString(L"Connect")) {
                XSI::Application().ExecuteCommand(page.addCommand, args, ignored);
                refresh();
            } else if (button == CString(L"CleanCache")) {
                LONG idx = property.GetParameterValue(L"CleanCacheIdx");
                property.PutParameterValue(L"CleanCacheIdx", CValue(LONG(NextCounter(idx))));
            } else if (button == CString(L"RemoveAll")) {
                XSI::Application().ExecuteCommand(page.removeCommand, args, ignored);
                refresh();
            } else if (RemoveButtonIndex(button, page.removeRule, k)) {
                // A button that only looks like a "Remove_" one removes a connexion that exists.
                if (button.FindString(L"Remove_") == 0 || k < ConnexionCount(property, page.connexionGroup)) {
                    args.Add(CValue(k));
                    XSI::Application().ExecuteCommand(page.removeCommand, args, ignored);
                    refresh();
                }
            } else if (button.FindString(L"Remove_") == 0) {
                LogError(L"Invalid connexion button: " + button + L"!");
                return XSI::CStatus(XSI::CStatus::InvalidArgument);
            }
            if (page.otherButton) page.otherButton(property, button);
            break;
        }
        default: break;
    }
    return XSI::CStatus(XSI::CStatus::OK);
}

}  // namespace orbelin
