#include "shell/pick.h"

#include "shell/log.h"
#include "xsi_application.h"
#include "xsi_comapihandler.h"
#include "xsi_selection.h"
#include "xsi_value.h"

namespace orbelin {

namespace {
// The pick result is an automation collection keyed by the output arguments' names.
XSI::CValue PickOutput(const XSI::CValue& result, const wchar_t* name) {
    XSI::CComAPIHandler coll(result);
    XSI::CValue item;
    coll.Call(L"Item", item, XSI::CValue(XSI::CString(name)));
    return XSI::CComAPIHandler(item).GetProperty(L"Value");
}

LONG AsLong(const XSI::CValue& v) { return v.IsEmpty() ? 0 : static_cast<LONG>(v); }
}  // namespace

XSI::CStatus PickElementEx(const XSI::CString& filter, const XSI::CString& leftMessage,
                           const XSI::CString& rightMessage, XSI::CRef& out_picked, LONG& out_button,
                           LONG& out_modifier) {
    out_picked = XSI::CRef();
    out_button = 0;
    out_modifier = 0;

    XSI::CComAPIHandler xsi;
    XSI::CStatus st = xsi.CreateInstance(L"XSI.Application");
    if (!st.Succeeded()) return st;
    XSI::CComAPIHandler app(xsi.GetProperty(L"Application"));

    XSI::CValueArray args(7);
    args[0] = XSI::CValue(filter);
    args[1] = XSI::CValue(leftMessage);
    args[2] = XSI::CValue(rightMessage);
    args[5] = XSI::CValue(LONG(0));
    XSI::CValue result;
    st = app.Call(L"PickElement", result, args);
    if (!st.Succeeded()) return st;

    XSI::CValue picked = PickOutput(result, L"PickedElement");
    out_button = AsLong(PickOutput(result, L"ButtonPressed"));
    out_modifier = AsLong(PickOutput(result, L"ModifierPressed"));
    if (picked.m_t == XSI::CValue::siRef) out_picked = picked;
    return XSI::CStatus::OK;
}

XSI::CRefArray PickTargets(const XSI::CString& filter) {
    LogInfo(L"Pick Target(s)...");
    XSI::CRefArray targets;
    XSI::Selection selection = XSI::Application().GetSelection();
    for (;;) {
        XSI::CRef picked;
        LONG button = 0, modifier = 0;
        PickElementEx(filter, L"Pick Target", L"", picked, button, modifier);
        if (button == 0) break;
        // A pick that names nothing ends the session too: asking again could never end if the
        // host keeps answering that way.
        if (!picked.IsValid()) break;
        LogInfo(L"Picked : " + picked.GetAsText());
        selection.Add(picked);
        targets.Add(picked);
    }
    return targets;
}

XSI::CRef PickOne(const XSI::CString& what, const XSI::CString& filter) {
    LogInfo(L" >> Pick A " + what);
    XSI::CRef picked;
    LONG button = 0, modifier = 0;
    PickElementEx(filter, L"Pick A " + what, L"", picked, button, modifier);
    return picked;
}

}  // namespace orbelin
