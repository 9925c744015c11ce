#include "shell/targets.h"

#include "shell/pick.h"
#include "xsi_application.h"
#include "xsi_decl.h"
#include "xsi_selection.h"
#include "xsi_siobject.h"
#include "xsi_value.h"

namespace orbelin {

namespace {
// The first object of a command's result, whichever collection form the host returns.
XSI::CRef FirstResult(const XSI::CValue& result) {
    switch (result.m_t) {
    case XSI::CValue::siRef:
        return result;
    case XSI::CValue::siArray: {
        const XSI::CValueArray& items = result;
        return items.GetCount() > 0 ? XSI::CRef(items[0]) : XSI::CRef();
    }
    case XSI::CValue::siRefArray: {
        const XSI::CRefArray& items = result;
        return items.GetCount() > 0 ? items[0] : XSI::CRef();
    }
    default:
        return XSI::CRef();
    }
}

XSI::CRef NewWeightMap(const XSI::Application& app, const XSI::CRef& target, const XSI::CString& name) {
    XSI::CValueArray args(5);
    args[0] = XSI::CValue(L"");                                          // host's default preset
    args[1] = XSI::CValue(XSI::SIObject(target).GetFullName());
    args[2] = XSI::CValue(name);
    args[3] = XSI::CValue(L"");                                          // no cluster name
    args[4] = XSI::CValue(false);                                        // do not inspect it
    XSI::CValue result;
    if (!app.ExecuteCommand(L"CreateWeightMap", args, result).Succeeded()) return XSI::CRef();
    return FirstResult(result);
}
}  // namespace

XSI::CRefArray ResolveTargets(const XSI::CString& weightMapName) {
    XSI::Application app;
    XSI::Selection selection = app.GetSelection();
    XSI::CRefArray targets = selection.GetCount() == 0 ? PickTargets(XSI::siObjectFilter) : selection.GetArray();

    XSI::CRefArray weightMaps;
    for (LONG i = 0; i < targets.GetCount(); ++i) {
        const XSI::CRef& target = targets[i];
        if (target.IsA(XSI::siClusterPropertyID)) {
            weightMaps.Add(target);
        } else if (target.IsA(XSI::siClusterID) || target.IsA(XSI::siX3DObjectID)) {
            XSI::CRef created = NewWeightMap(app, target, weightMapName);
            if (created.IsValid()) weightMaps.Add(created);
        }
    }
    return weightMaps;
}

XSI::CString ToolPropertyType(const XSI::CString& toolWord) { return L"Orbelin_zr" + toolWord + L"Prop"; }

XSI::CString ToolPropertyName(const XSI::CString& weightMapName, const XSI::CString& toolWord) {
    return weightMapName + L"_" + toolWord;
}

}  // namespace orbelin
