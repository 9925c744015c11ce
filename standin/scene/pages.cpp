// Properties that plug-ins define, and their pages: creation runs Define and DefineLayout;
// an open page receives PPGEvent on open, on parameter change, on button press and on close.
#include "scene/host_impl.h"
#include "xsi_string.h"

namespace standin {

namespace {

CustomPropertyNode* PluginProperty(const CRef& ref) {
    auto* p = XSI::Host::As<CustomPropertyNode>(ref);
    if (!p) return nullptr;
    Host& host = Host::Current();
    return host.impl().propertyTypes.count(p->type) ? p : nullptr;
}

// Runs the property's PPGEvent; the page closes when the callback asks for it.
CStatus PageEvent(Host& host, CustomPropertyNode& prop, LONG eventID, const CRef& source, const std::wstring& button) {
    auto ctx = MakeContext(XSI::siPPGEventContextID, source);
    ctx->eventID = eventID;
    if (!button.empty()) ctx->SetAttribute(L"Button", CValue(XSI::CString(button.c_str())));
    CStatus st;
    bool needed = eventID == XSI::siButtonClicked;  // a button without an event handler is a broken page
    if (!CallContextCallback(host, prop.type + L"_PPGEvent", XSI::Host::RefOf(ctx.get()), st, needed))
        return needed ? CStatus::Fail : CStatus::OK;
    CValue close = ctx->Attribute(L"Close");
    if (!close.IsEmpty() && static_cast<bool>(close)) prop.pageOpen = false;
    return st;
}

}  // namespace

Ptr<ProjectItemNode> CreateProperty(Host& host, SceneItemNode& owner, const std::wstring& preset,
                                    const std::wstring& name) {
    Ptr<ProjectItemNode> made;
    bool registered = host.impl().propertyTypes.count(preset) != 0;
    if (preset == L"UserDataBlob") {
        made = Make<UserDataBlobNode>();
    } else if (preset == L"CustomProperty" || preset == L"customparamset" || registered) {
        auto cp = Make<CustomPropertyNode>();
        cp->type = registered ? preset : L"customparamset";
        made = cp;
    } else {
        host.HostError(L"AddProperty: unknown property preset " + preset);
        return made;
    }
    made->name = owner.UniquePropertyName(SanitizeName(name.empty() ? preset : name));
    made->parent = &owner;
    owner.properties.push_back(made);
    if (registered) {
        auto* cp = static_cast<CustomPropertyNode*>(made.get());
        CStatus st;
        auto ctx = MakeContext(XSI::siContextID, XSI::Host::RefOf(cp));
        CallContextCallback(host, preset + L"_Define", XSI::Host::RefOf(ctx.get()), st, true);
        auto layout = Make<LayoutNode>();
        layout->owner = Ptr<CustomPropertyNode>(cp);
        auto lctx = MakeContext(XSI::siContextID, XSI::Host::RefOf(layout.get()));
        CallContextCallback(host, preset + L"_DefineLayout", XSI::Host::RefOf(lctx.get()), st, false);
    }
    return made;
}

CStatus Host::InspectObj(const CRef& property, LONG mode, bool& cancelled) {
    cancelled = false;
    if (!property.IsValid()) {
        HostError(L"InspectObj: the object to inspect does not exist");
        return CStatus::InvalidArgument;
    }
    auto* prop = XSI::Host::As<CustomPropertyNode>(property);
    if (!prop) return CStatus::OK;  // other objects show the host's own pages
    prop->pageOpen = true;
    CustomPropertyNode* withEvents = PluginProperty(property);
    if (withEvents) PageEvent(*this, *prop, XSI::siOnInit, property, L"");
    if (mode != XSI::siModal) return CStatus::OK;
    // A modal page waits for the person: the script's next answer fills it in and closes it.
    PageAnswer answer;
    if (!m_pages.empty()) {
        answer = m_pages.front();
        m_pages.pop_front();
    }
    for (const auto& [scriptName, value] : answer.values) {
        ParameterNode* p = prop->FindParam(scriptName);
        if (!p || !p->Assign(value)) {
            HostError(L"InspectObj: the page of " + prop->FullName() + L" has no parameter " + scriptName +
                      L" that takes that value");
            continue;
        }
        NotifyParameterChanged(XSI::Host::RefOf(p));
    }
    if (withEvents && prop->pageOpen) PageEvent(*this, *prop, XSI::siOnClosed, property, L"");
    prop->pageOpen = false;
    cancelled = answer.cancel;
    return CStatus::OK;
}

CStatus Host::PressButton(const CRef& property, const std::wstring& button) {
    CustomPropertyNode* prop = PluginProperty(property);
    if (!prop) {
        HostError(L"PressButton: " + std::wstring(property.GetAsText().GetWideString()) +
                  L" is not a property with a page");
        return CStatus::InvalidArgument;
    }
    if (!prop->pageOpen) {
        bool cancelled = false;
        InspectObj(property, XSI::siRecycle, cancelled);
    }
    if (prop->layout.FindItem(button) == Layout::npos) {
        HostError(L"PressButton: the page of " + prop->FullName() + L" has no button " + button);
        return CStatus::InvalidArgument;
    }
    return PageEvent(*this, *prop, XSI::siButtonClicked, property, button);
}

bool Host::IsPageOpen(const CRef& property) const {
    auto* prop = XSI::Host::As<CustomPropertyNode>(property);
    return prop && prop->pageOpen;
}

std::wstring Host::DescribePage(const CRef& property) const {
    auto* prop = XSI::Host::As<CustomPropertyNode>(property);
    return prop ? prop->layout.Describe() : std::wstring();
}

void Host::NotifyParameterChanged(const CRef& parameter) {
    auto* p = XSI::Host::As<ParameterNode>(parameter);
    if (!p) return;
    auto* prop = dynamic_cast<CustomPropertyNode*>(p->parent);
    if (!prop || !prop->pageOpen) return;
    CRef propRef = XSI::Host::RefOf(prop);
    if (PluginProperty(propRef)) PageEvent(*this, *prop, XSI::siParameterChange, parameter, L"");
}

}  // namespace standin
