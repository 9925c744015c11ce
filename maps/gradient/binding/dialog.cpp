#include "maps/gradient/binding/dialog.h"

#include <cwchar>

#include "xsi_application.h"
#include "xsi_context.h"
#include "xsi_customproperty.h"
#include "xsi_model.h"
#include "xsi_parameter.h"
#include "xsi_ppglayout.h"
#include "xsi_uitoolkit.h"

using namespace XSI;

namespace orbelin::gradient {

bool AskParameters(const Dialog& dialog, CValueArray& values) {
    Application app;
    CustomProperty page(app.GetActiveSceneRoot().AddProperty(L"CustomProperty", false, dialog.property));
    if (!page.IsValid()) return false;  // no page to show: the arguments stand
    constexpr INT kPersistable = 4;
    for (size_t i = 0; i < dialog.parameters.size(); ++i) {
        Parameter p;
        const LONG at = static_cast<LONG>(i);
        page.AddParameter(dialog.parameters[i].name, dialog.parameters[i].type, kPersistable, L"", L"",
                          at < values.GetCount() ? values[at] : CValue(), p);
    }
    PPGLayout layout = page.GetPPGLayout();
    layout.Clear();
    layout.AddTab(dialog.property);
    const wchar_t* group = nullptr;
    for (const DialogItem& item : dialog.items) {
        if (!group || std::wcscmp(group, item.group) != 0) {
            if (group) layout.EndGroup();
            layout.AddGroup(item.group, true);
            group = item.group;
        }
        layout.AddItem(item.parameter, item.label);
    }
    if (group) layout.EndGroup();

    CValueArray inspect(5);
    inspect[0] = CValue(page.GetRef());
    inspect[1] = CValue(L"");
    inspect[2] = CValue(dialog.title);
    inspect[3] = CValue(LONG{4});  // siModal
    inspect[4] = CValue(false);
    CValue cancelled;
    app.ExecuteCommand(L"InspectObj", inspect, cancelled);

    values.Resize(static_cast<LONG>(dialog.parameters.size()));
    for (size_t i = 0; i < dialog.parameters.size(); ++i)
        values[static_cast<LONG>(i)] = page.GetParameterValue(dialog.parameters[i].name);
    CValueArray remove(1);
    remove[0] = CValue(page.GetFullName());
    CValue none;
    app.ExecuteCommand(L"DeleteObj", remove, none);
    return cancelled.m_t == CValue::siBool && static_cast<bool>(cancelled);
}

CValueArray CommandArguments(CRef& context) {
    CValue args = Context(context).GetAttribute(L"Arguments");
    return args.m_t == CValue::siArray ? static_cast<CValueArray&>(args) : CValueArray();
}

bool ArgumentFlag(const CValueArray& args, LONG i, bool otherwise) {
    return i < args.GetCount() && !args[i].IsEmpty() ? static_cast<bool>(args[i]) : otherwise;
}

double ArgumentNumber(const CValueArray& args, LONG i, double otherwise) {
    return i < args.GetCount() && !args[i].IsEmpty() ? static_cast<double>(args[i]) : otherwise;
}

Progress::Progress(LONG maximum, const CString& caption) : m_bar(Application().GetUIToolkit().GetProgressBar()) {
    m_bar.PutMaximum(maximum);
    m_bar.PutValue(0);
    m_bar.PutStep(1);
    m_bar.PutVisible(true);
    m_bar.PutCaption(caption);
}

Progress::~Progress() { m_bar.PutVisible(false); }

CRef FirstObject(const CValue& collection) {
    switch (collection.m_t) {
    case CValue::siRef:
        return collection;
    case CValue::siArray: {
        const CValueArray& items = collection;
        return items.GetCount() > 0 && items[0].m_t == CValue::siRef ? CRef(items[0]) : CRef();
    }
    case CValue::siRefArray: {
        const CRefArray& items = collection;
        return items.GetCount() > 0 ? items[0] : CRef();
    }
    default:
        return CRef();
    }
}

}  // namespace orbelin::gradient
