// Registration, menus, commands, contexts, pages, selection, progress and the automation
// bridge of the object model.
#include "scene/host_impl.h"
#include "sdk/wrap.h"
#include "xsi_application.h"
#include "xsi_comapihandler.h"
#include "xsi_command.h"
#include "xsi_context.h"
#include "xsi_menu.h"
#include "xsi_operatorcontext.h"
#include "xsi_pluginregistrar.h"
#include "xsi_ppgeventcontext.h"
#include "xsi_ppglayout.h"
#include "xsi_progressbar.h"
#include "xsi_selection.h"
#include "xsi_uitoolkit.h"

using namespace XSI;
using namespace standin;

namespace {

AttrValue ToAttr(const CValue& v) {
    switch (v.m_t) {
        case CValue::siEmpty: return std::monostate{};
        case CValue::siBool: return static_cast<bool>(v);
        case CValue::siDouble: case CValue::siFloat: return static_cast<double>(v);
        case CValue::siString: return std::wstring(v.GetAsText().GetWideString());
        default:
            if (v.m_t == CValue::siInt1 || v.m_t == CValue::siInt2 || v.m_t == CValue::siInt4 || v.m_t == CValue::siInt8 ||
                v.m_t == CValue::siUInt1 || v.m_t == CValue::siUInt2 || v.m_t == CValue::siUInt4 || v.m_t == CValue::siUInt8)
                return static_cast<int64_t>(static_cast<LLONG>(v));
            return std::wstring(v.GetAsText().GetWideString());
    }
}

CValue FromAttr(const AttrValue& a) {
    if (auto* b = std::get_if<bool>(&a)) return CValue(*b);
    if (auto* i = std::get_if<int64_t>(&a)) return CValue(static_cast<LONG>(*i));
    if (auto* d = std::get_if<double>(&a)) return CValue(*d);
    if (auto* s = std::get_if<std::wstring>(&a)) return CValue(CString(s->c_str()));
    return CValue();
}

// Enumeration items arrive as a flat list: label, value, label, value ...
AttrList ToPairs(const CValueArray& items) {
    AttrList out;
    for (LONG i = 0; i + 1 < items.GetCount(); i += 2)
        out.emplace_back(std::wstring(items[i].GetAsText().GetWideString()), ToAttr(items[i + 1]));
    return out;
}

Layout* LayoutOf(const CRef& ref) {
    auto* n = NodeOf<LayoutNode>(ref);
    return n && n->owner && n->owner->alive ? &n->owner->layout : nullptr;
}

PPGItem ItemRef(const CRef& layoutRef, size_t index) {
    auto* n = NodeOf<LayoutNode>(layoutRef);
    if (!n) return PPGItem();
    auto item = Make<LayoutItemNode>();
    item->owner = n->owner;
    item->index = index;
    return PPGItem(XSI::Host::RefOf(item.get()));
}

LayoutItem* ItemOf(const CRef& ref) {
    auto* n = NodeOf<LayoutItemNode>(ref);
    if (!n || !n->owner || !n->owner->alive || n->index >= n->owner->layout.Count()) return nullptr;
    return &n->owner->layout.item(n->index);
}

PluginInfo* InfoOf(const CRef& ref) {
    auto* r = NodeOf<PluginRegistrarNode>(ref);
    if (!r) return nullptr;
    return const_cast<PluginInfo*>(&standin::Host::Current().Plugins()[r->plugin]);
}

Ptr<MenuItemNode> NewMenuItem(MenuItemNode& menu, const CString& label, siMenuItemStyle style) {
    auto item = Make<MenuItemNode>();
    item->cls = style == siMenuItemSubmenu ? siMenuID : siMenuItemID;
    item->style = style;
    item->name = W(label);
    item->parent = &menu;
    menu.items.push_back(item);
    return item;
}

}  // namespace

namespace XSI {

// ---- PPGLayout and PPGItem

XSI_WRAPPER(PPGLayout, siPPGLayoutID)
XSI_WRAPPER(PPGItem, siPPGItemID)

CStatus PPGLayout::Clear() {
    Layout* l = LayoutOf(m_ref);
    if (!l) return CStatus::InvalidArgument;
    l->Clear();
    return CStatus::OK;
}

CStatus PPGLayout::Delete() {
    Layout* l = LayoutOf(m_ref);
    if (!l) return CStatus::InvalidArgument;
    l->Delete();
    return CStatus::OK;
}

#define LAYOUT_OR_EMPTY(l)            \
    Layout* l = LayoutOf(m_ref);      \
    if (!l) return PPGItem();

PPGItem PPGLayout::AddTab(const CString& label) { LAYOUT_OR_EMPTY(l) return ItemRef(m_ref, l->AddTab(W(label))); }
PPGItem PPGLayout::AddGroup(const CString& label, bool showFrame, LONG width) {
    LAYOUT_OR_EMPTY(l) return ItemRef(m_ref, l->AddGroup(W(label), showFrame, width));
}
PPGItem PPGLayout::EndGroup() { LAYOUT_OR_EMPTY(l) return ItemRef(m_ref, l->EndGroup()); }
CStatus PPGLayout::AddRow() {
    Layout* l = LayoutOf(m_ref);
    if (!l) return CStatus::InvalidArgument;
    l->AddRow();
    return CStatus::OK;
}
CStatus PPGLayout::EndRow() {
    Layout* l = LayoutOf(m_ref);
    if (!l) return CStatus::InvalidArgument;
    l->EndRow();
    return CStatus::OK;
}
PPGItem PPGLayout::AddItem(const CString& name, const CString& label, const CString& controlType) {
    LAYOUT_OR_EMPTY(l) return ItemRef(m_ref, l->AddItem(W(name), W(label), W(controlType)));
}
PPGItem PPGLayout::AddButton(const CString& name, const CString& label) {
    LAYOUT_OR_EMPTY(l) return ItemRef(m_ref, l->AddButton(W(name), W(label)));
}
PPGItem PPGLayout::AddEnumControl(const CString& name, const CValueArray& items, const CString& label,
                                  const CString& controlType) {
    LAYOUT_OR_EMPTY(l) return ItemRef(m_ref, l->AddEnumControl(W(name), ToPairs(items), W(label), W(controlType)));
}
PPGItem PPGLayout::AddString(const CString& name, const CString& label, bool multiline, LONG height) {
    LAYOUT_OR_EMPTY(l) return ItemRef(m_ref, l->AddString(W(name), W(label), multiline, height));
}
PPGItem PPGLayout::AddFCurve(const CString& name, LONG height) {
    LAYOUT_OR_EMPTY(l) return ItemRef(m_ref, l->AddFCurve(W(name), height));
}
PPGItem PPGLayout::AddStaticText(const CString& text, LONG width, LONG height) {
    LAYOUT_OR_EMPTY(l) return ItemRef(m_ref, l->AddStaticText(W(text), width, height));
}
PPGItem PPGLayout::AddSpacer(LONG width, LONG height) { LAYOUT_OR_EMPTY(l) return ItemRef(m_ref, l->AddSpacer(width, height)); }

CStatus PPGLayout::PutAttribute(const CString& name, const CValue& value) {
    Layout* l = LayoutOf(m_ref);
    if (!l) return CStatus::InvalidArgument;
    l->SetAttribute(W(name), ToAttr(value));
    return CStatus::OK;
}

CValue PPGLayout::GetAttribute(const CString& name) const {
    Layout* l = LayoutOf(m_ref);
    return l ? FromAttr(l->GetAttribute(W(name))) : CValue();
}

CStatus PPGLayout::PutLogic(const CString& logic) { return PutAttribute(CString(L"Logic"), CValue(logic)); }

PPGItem PPGLayout::GetItem(const CString& name) const {
    Layout* l = LayoutOf(m_ref);
    if (!l) return PPGItem();
    size_t i = l->FindItem(W(name));
    return i == Layout::npos ? PPGItem() : ItemRef(m_ref, i);
}

PPGItem PPGLayout::GetItem(LONG index) const {
    Layout* l = LayoutOf(m_ref);
    if (!l || index < 0 || static_cast<size_t>(index) >= l->Count()) return PPGItem();
    return ItemRef(m_ref, static_cast<size_t>(index));
}

LONG PPGLayout::GetCount() const {
    Layout* l = LayoutOf(m_ref);
    return l ? static_cast<LONG>(l->Count()) : 0;
}

CStatus PPGItem::PutAttribute(const CString& name, const CValue& value) {
    LayoutItem* it = ItemOf(m_ref);
    if (!it) return CStatus::InvalidArgument;
    it->SetAttribute(W(name), ToAttr(value));
    return CStatus::OK;
}

CValue PPGItem::GetAttribute(const CString& name) const {
    LayoutItem* it = ItemOf(m_ref);
    return it ? FromAttr(it->GetAttribute(W(name))) : CValue();
}

CStatus PPGItem::PutUIItems(const CValueArray& items) {
    LayoutItem* it = ItemOf(m_ref);
    if (!it) return CStatus::InvalidArgument;
    it->uiItems = ToPairs(items);
    return CStatus::OK;
}

CValueArray PPGItem::GetUIItems() const {
    CValueArray out;
    if (LayoutItem* it = ItemOf(m_ref))
        for (const auto& [label, value] : it->uiItems) {
            out.Add(CValue(CString(label.c_str())));
            out.Add(FromAttr(value));
        }
    return out;
}

CString PPGItem::GetName() const { LayoutItem* it = ItemOf(m_ref); return it ? S(it->name) : CString(); }
CString PPGItem::GetLabel() const { LayoutItem* it = ItemOf(m_ref); return it ? S(it->label) : CString(); }
CStatus PPGItem::PutLabel(const CString& label) {
    LayoutItem* it = ItemOf(m_ref);
    if (!it) return CStatus::InvalidArgument;
    it->label = W(label);
    return CStatus::OK;
}
CString PPGItem::GetType() const { LayoutItem* it = ItemOf(m_ref); return it ? S(it->controlType) : CString(); }
CStatus PPGItem::PutWidthPercentage(LONG p) {
    LayoutItem* it = ItemOf(m_ref);
    if (!it) return CStatus::InvalidArgument;
    it->widthPercentage = p;
    return CStatus::OK;
}
CStatus PPGItem::PutLabelPercentage(LONG p) { return PutAttribute(CString(L"LabelPercentage"), CValue(p)); }

// ---- Contexts

XSI_WRAPPER(Context, siContextID)
XSI_WRAPPER(PPGEventContext, siPPGEventContextID)
XSI_WRAPPER(OperatorContext, siOperatorContextID)

CRef Context::GetSource() const {
    auto* c = NodeOf<ContextNode>(m_ref);
    return c ? c->source : CRef();
}

CValue Context::GetAttribute(const CString& name) {
    auto* c = NodeOf<ContextNode>(m_ref);
    return c ? c->Attribute(W(name)) : CValue();
}

CStatus Context::PutAttribute(const CString& name, const CValue& value) {
    auto* c = NodeOf<ContextNode>(m_ref);
    if (!c) return CStatus::InvalidArgument;
    c->SetAttribute(W(name), value);
    return CStatus::OK;
}

CValue Context::GetUserData() {
    auto* c = NodeOf<ContextNode>(m_ref);
    return c ? c->userData : CValue();
}

CStatus Context::PutUserData(const CValue& value) {
    auto* c = NodeOf<ContextNode>(m_ref);
    if (!c) return CStatus::InvalidArgument;
    c->userData = value;
    return CStatus::OK;
}

PPGEventContext::PPGEvent PPGEventContext::GetEventID() const {
    auto* c = NodeOf<ContextNode>(m_ref);
    return c ? static_cast<PPGEvent>(c->eventID) : siUndefined;
}

CRefArray PPGEventContext::GetInspectedObjects() const {
    CRefArray out;
    CRef src = GetSource();
    if (src.IsA(siParameterID)) src = SIObject(src).GetParent();
    if (src.IsValid()) out.Add(src);
    return out;
}

CRef OperatorContext::GetOutputTarget() const { NotAvailable("OperatorContext::GetOutputTarget"); return CRef(); }
CRef OperatorContext::GetOutputPort() const { NotAvailable("OperatorContext::GetOutputPort"); return CRef(); }
CTime OperatorContext::GetTime() const { return CTime(standin::Host::Current().Frame()); }
CValue OperatorContext::GetInputValue(LONG, LONG, LONG) const { NotAvailable("OperatorContext::GetInputValue"); return CValue(); }
CValue OperatorContext::GetParameterValue(const CString&) const { NotAvailable("OperatorContext::GetParameterValue"); return CValue(); }

// ---- Registration

XSI_WRAPPER(PluginRegistrar, siPluginRegistrarID)
XSI_WRAPPER(PluginItem, siPluginItemID)

CStatus PluginItem::PutHelp(const CString&) { return CStatus::OK; }
CStatus PluginItem::PutCategories(const CString&) { return CStatus::OK; }

#define REGISTRAR_SET(field, value)                       \
    PluginInfo* info = InfoOf(m_ref);                     \
    if (!info) return CStatus::InvalidArgument;           \
    info->field = value;                                  \
    return CStatus::OK;

CStatus PluginRegistrar::PutAuthor(const CString& v) { REGISTRAR_SET(author, W(v)) }
CStatus PluginRegistrar::PutURL(const CString& v) { REGISTRAR_SET(url, W(v)) }
CStatus PluginRegistrar::PutEmail(const CString& v) { REGISTRAR_SET(email, W(v)) }
CStatus PluginRegistrar::PutHelp(const CString& v) { REGISTRAR_SET(help, W(v)) }
CStatus PluginRegistrar::PutCategories(const CString& v) { REGISTRAR_SET(categories, W(v)) }

CStatus PluginRegistrar::PutVersion(LONG major, LONG minor) {
    PluginInfo* info = InfoOf(m_ref);
    if (!info) return CStatus::InvalidArgument;
    info->major = major;
    info->minor = minor;
    return CStatus::OK;
}

CStatus PluginRegistrar::GetVersion(LONG& major, LONG& minor) const {
    PluginInfo* info = InfoOf(m_ref);
    if (!info) return CStatus::InvalidArgument;
    major = info->major;
    minor = info->minor;
    return CStatus::OK;
}

CStatus PluginRegistrar::PutUserData(const CValue& v) {
    auto* r = NodeOf<PluginRegistrarNode>(m_ref);
    if (!r) return CStatus::InvalidArgument;
    r->userData = v;
    return CStatus::OK;
}

CValue PluginRegistrar::GetUserData() const {
    auto* r = NodeOf<PluginRegistrarNode>(m_ref);
    return r ? r->userData : CValue();
}

CString PluginRegistrar::GetAuthor() const { PluginInfo* i = InfoOf(m_ref); return i ? S(i->author) : CString(); }
CString PluginRegistrar::GetURL() const { PluginInfo* i = InfoOf(m_ref); return i ? S(i->url) : CString(); }
CString PluginRegistrar::GetEmail() const { PluginInfo* i = InfoOf(m_ref); return i ? S(i->email) : CString(); }
CString PluginRegistrar::GetFilename() const { PluginInfo* i = InfoOf(m_ref); return i ? S(i->file) : CString(); }
CString PluginRegistrar::GetOriginPath() const {
    PluginInfo* i = InfoOf(m_ref);
    return i ? S(std::filesystem::path(i->file).parent_path().wstring() + L"/") : CString();
}

PluginItem PluginRegistrar::RegisterProperty(const CString& name) {
    PluginInfo* info = InfoOf(m_ref);
    if (!info) return PluginItem();
    info->properties.push_back(W(name));
    auto* r = NodeOf<PluginRegistrarNode>(m_ref);
    standin::Host::Current().impl().propertyTypes[W(name)] = r->plugin;
    auto item = Make<PluginItemNode>();
    item->name = W(name);
    return PluginItem(XSI::Host::RefOf(item.get()));
}

PluginItem PluginRegistrar::RegisterCommand(const CString& scriptName) { return RegisterCommand(scriptName, scriptName); }

PluginItem PluginRegistrar::RegisterCommand(const CString& name, const CString& scriptName) {
    PluginInfo* info = InfoOf(m_ref);
    if (!info) return PluginItem();
    auto& impl = standin::Host::Current().impl();
    std::wstring n = W(scriptName.IsEmpty() ? name : scriptName);
    if (impl.FindCommand(n)) {
        standin::Host::Current().HostError(L"RegisterCommand: a command named " + n + L" exists already");
        return PluginItem();
    }
    info->commands.push_back(n);
    auto cmd = Make<CommandNode>();
    cmd->name = n;
    impl.commands.push_back(cmd);
    auto item = Make<PluginItemNode>();
    item->name = n;
    return PluginItem(XSI::Host::RefOf(item.get()));
}

PluginItem PluginRegistrar::RegisterMenu(siMenuAnchorPoints anchor, const CString& menuName, bool displayAsSubmenu,
                                         bool dynamic) {
    PluginInfo* info = InfoOf(m_ref);
    if (!info) return PluginItem();
    info->menus.push_back({static_cast<LONG>(anchor), W(menuName), displayAsSubmenu, dynamic});
    auto item = Make<PluginItemNode>();
    item->name = W(menuName);
    return PluginItem(XSI::Host::RefOf(item.get()));
}

PluginItem PluginRegistrar::RegisterOperator(const CString& name) {
    PluginInfo* info = InfoOf(m_ref);
    if (!info) return PluginItem();
    info->operators.push_back(W(name));
    auto item = Make<PluginItemNode>();
    item->name = W(name);
    return PluginItem(XSI::Host::RefOf(item.get()));
}

// ---- Menus

XSI_WRAPPER(MenuItem, siMenuItemID)
XSI_WRAPPER(Menu, siMenuID)

CStatus MenuItem::PutCallback(const CString& cb) {
    auto* m = NodeOf<MenuItemNode>(m_ref);
    if (!m) return CStatus::InvalidArgument;
    m->callback = W(cb);
    return CStatus::OK;
}
CString MenuItem::GetCallback() const { auto* m = NodeOf<MenuItemNode>(m_ref); return m ? S(m->callback) : CString(); }
CStatus MenuItem::PutCommand(const CString& c) {
    auto* m = NodeOf<MenuItemNode>(m_ref);
    if (!m) return CStatus::InvalidArgument;
    m->command = W(c);
    return CStatus::OK;
}
CString MenuItem::GetCommand() const { auto* m = NodeOf<MenuItemNode>(m_ref); return m ? S(m->command) : CString(); }
siMenuItemStyle MenuItem::GetStyle() const { auto* m = NodeOf<MenuItemNode>(m_ref); return m ? m->style : siMenuItemUndefined; }
bool MenuItem::IsEnabled() const { auto* m = NodeOf<MenuItemNode>(m_ref); return m && m->enabled; }
CStatus MenuItem::PutEnabled(bool on) {
    auto* m = NodeOf<MenuItemNode>(m_ref);
    if (!m) return CStatus::InvalidArgument;
    m->enabled = on;
    return CStatus::OK;
}

CStatus Menu::AddItem(const CString& label, siMenuItemStyle style, MenuItem& out) {
    auto* m = NodeOf<MenuItemNode>(m_ref);
    if (!m) return CStatus::InvalidArgument;
    out = MenuItem(XSI::Host::RefOf(NewMenuItem(*m, label, style).get()));
    return CStatus::OK;
}

Menu Menu::AddSubMenu(const CString& label) {
    auto* m = NodeOf<MenuItemNode>(m_ref);
    if (!m) return Menu();
    return Menu(XSI::Host::RefOf(NewMenuItem(*m, label, siMenuItemSubmenu).get()));
}

CStatus Menu::AddCommandItem(const CString& label, const CString& command, MenuItem& out) {
    auto* m = NodeOf<MenuItemNode>(m_ref);
    if (!m) return CStatus::InvalidArgument;
    Ptr<MenuItemNode> item = NewMenuItem(*m, label, siMenuItem);
    item->command = W(command);
    out = MenuItem(XSI::Host::RefOf(item.get()));
    return CStatus::OK;
}

CStatus Menu::AddCallbackItem(const CString& label, const CString& callback, MenuItem& out) {
    auto* m = NodeOf<MenuItemNode>(m_ref);
    if (!m) return CStatus::InvalidArgument;
    Ptr<MenuItemNode> item = NewMenuItem(*m, label, siMenuItem);
    item->callback = W(callback);
    out = MenuItem(XSI::Host::RefOf(item.get()));
    return CStatus::OK;
}

CStatus Menu::AddSeparatorItem() {
    auto* m = NodeOf<MenuItemNode>(m_ref);
    if (!m) return CStatus::InvalidArgument;
    NewMenuItem(*m, CString(), siMenuItemSeparator);
    return CStatus::OK;
}

CStatus Menu::PutFilter(const CString&) { return CStatus::OK; }

CRefArray Menu::GetItems() const {
    CRefArray out;
    if (auto* m = NodeOf<MenuItemNode>(m_ref))
        for (const auto& i : m->items) out.Add(XSI::Host::RefOf(i.get()));
    return out;
}

// ---- Commands and arguments

XSI_WRAPPER(Command, siCommandID)
XSI_WRAPPER(Argument, siArgumentID)
XSI_WRAPPER(ArgumentArray, siCommandID)

ArgumentArray Command::GetArguments() { return ArgumentArray(m_ref); }

#define COMMAND_SET(field, value)                         \
    auto* c = NodeOf<CommandNode>(m_ref);                 \
    if (!c) return CStatus::InvalidArgument;              \
    c->field = value;                                     \
    return CStatus::OK;

CStatus Command::PutDescription(const CString& d) { COMMAND_SET(description, W(d)) }
CString Command::GetDescription() const { auto* c = NodeOf<CommandNode>(m_ref); return c ? S(c->description) : CString(); }
CStatus Command::PutTooltip(const CString& t) { COMMAND_SET(tooltip, W(t)) }
CString Command::GetTooltip() const { auto* c = NodeOf<CommandNode>(m_ref); return c ? S(c->tooltip) : CString(); }
CStatus Command::EnableReturnValue(bool on) { COMMAND_SET(returnValue, on) }
bool Command::IsReturnValueEnabled() const { auto* c = NodeOf<CommandNode>(m_ref); return c && c->returnValue; }
CStatus Command::SetFlag(LONG flag, bool value) { COMMAND_SET(flags[flag], value) }
bool Command::GetFlag(LONG flag) const {
    auto* c = NodeOf<CommandNode>(m_ref);
    if (!c) return false;
    auto it = c->flags.find(flag);
    return it != c->flags.end() && it->second;
}
CString Command::GetScriptingName() const { return GetName(); }

CStatus Command::Execute(CValue& out_return) {
    auto* c = NodeOf<CommandNode>(m_ref);
    if (!c) return CStatus::InvalidArgument;
    CValueArray args;
    for (const auto& a : c->arguments) args.Add(a->value);
    return standin::Host::Current().ExecuteCommand(c->name, args, out_return);
}

CValue Argument::GetValue() const { auto* a = NodeOf<ArgumentNode>(m_ref); return a ? a->value : CValue(); }
CStatus Argument::PutValue(const CValue& v) {
    auto* a = NodeOf<ArgumentNode>(m_ref);
    if (!a) return CStatus::InvalidArgument;
    a->value = v;
    return CStatus::OK;
}
siArgumentFlags Argument::GetFlags() const { return siArgumentInput; }
CStatus Argument::PutHandler(const CString& h) {
    auto* a = NodeOf<ArgumentNode>(m_ref);
    if (!a) return CStatus::InvalidArgument;
    a->handler = W(h);
    return CStatus::OK;
}
CString Argument::GetHandler() const { auto* a = NodeOf<ArgumentNode>(m_ref); return a ? S(a->handler) : CString(); }

namespace {
Argument NewArgument(const CRef& command, const CString& name, const CValue& def, const std::wstring& handler, bool object) {
    auto* c = NodeOf<CommandNode>(command);
    if (!c) return Argument();
    auto a = Make<ArgumentNode>();
    a->name = W(name);
    a->value = def;
    a->handler = handler;
    a->objectArgument = object;
    a->parent = c;
    c->arguments.push_back(a);
    return Argument(XSI::Host::RefOf(a.get()));
}
}  // namespace

Argument ArgumentArray::Add(const CString& name, const CValue& def) { return NewArgument(m_ref, name, def, L"", false); }
Argument ArgumentArray::AddWithHandler(const CString& name, const CString& handler, const CString& def) {
    return NewArgument(m_ref, name, def.IsEmpty() ? CValue() : CValue(def), W(handler), false);
}
Argument ArgumentArray::AddObjectArgument(const CString& name) { return NewArgument(m_ref, name, CValue(), L"", true); }

Argument ArgumentArray::GetItem(LONG index) const {
    auto* c = NodeOf<CommandNode>(m_ref);
    if (!c || index < 0 || static_cast<size_t>(index) >= c->arguments.size()) return Argument();
    return Argument(XSI::Host::RefOf(c->arguments[static_cast<size_t>(index)].get()));
}

Argument ArgumentArray::GetItem(const CString& name) const {
    auto* c = NodeOf<CommandNode>(m_ref);
    if (!c) return Argument();
    for (const auto& a : c->arguments)
        if (a->name == W(name)) return Argument(XSI::Host::RefOf(a.get()));
    return Argument();
}

LONG ArgumentArray::GetCount() const {
    auto* c = NodeOf<CommandNode>(m_ref);
    return c ? static_cast<LONG>(c->arguments.size()) : 0;
}

// ---- Application, selection, UI toolkit, progress bar

Application::Application() {
    if (standin::Host* h = standin::Host::CurrentOrNull()) m_ref = h->ApplicationRef();
}
Application::Application(const CRef& ref) { Assign(ref, siApplicationID); }
Application::~Application() {}
Application& Application::operator=(const Application& other) { m_ref = other.m_ref; return *this; }
Application& Application::operator=(const CRef& ref) { m_ref = CRef(); Assign(ref, siApplicationID); return *this; }
bool Application::IsA(siClassID id) const { return m_ref.IsA(id); }
siClassID Application::GetClassID() const { return siApplicationID; }

Selection Application::GetSelection() const { return Selection(standin::Host::Current().SelectionRef()); }
Model Application::GetActiveSceneRoot() const { return Model(standin::Host::Current().RootRef()); }

CString Application::GetInstallationPath(siInstallationPath which) const {
    standin::Host& h = standin::Host::Current();
    std::wstring p = h.ProjectDir().wstring();
    if (which != siProjectPath) p = std::filesystem::path(p).wstring();
    if (p.empty() || p.back() != L'/') p += L'/';
    return S(p);
}

UIToolkit Application::GetUIToolkit() const { return UIToolkit(standin::Host::Current().UIToolkitRef()); }

CStatus Application::LogMessage(const CString& message, siSeverityType severity) const {
    standin::Host::Current().GetLog().Add(W(message), static_cast<int>(severity));
    return CStatus::OK;
}

CStatus Application::ExecuteCommand(const CString& name, const CValueArray& args, CValue& io_return) const {
    CValueArray copy(args);
    return standin::Host::Current().ExecuteCommand(W(name), copy, io_return);
}

CStatus Application::ExecuteCommand(const CString& name, CValueArray& args, CValue& io_return) const {
    return standin::Host::Current().ExecuteCommand(W(name), args, io_return);
}

CString Application::GetVersion() const { return CString(L"1.0"); }
bool Application::IsInteractive() const { return false; }

XSI_WRAPPER(Selection, siSelectionID)

CRef Selection::GetItem(LONG index) const {
    std::vector<CRef> sel = standin::Host::Current().Selection();
    return index >= 0 && static_cast<size_t>(index) < sel.size() ? sel[static_cast<size_t>(index)] : CRef();
}

CRef Selection::GetItem(const CString& name) const {
    for (const CRef& r : standin::Host::Current().Selection())
        if (r.GetAsText() == name) return r;
    return CRef();
}

CStatus Selection::Add(const CRef& object, siSelectMode) {
    if (!object.IsValid()) return CStatus::InvalidArgument;
    standin::Host::Current().AddToSelection(object);
    return CStatus::OK;
}

CStatus Selection::Remove(const CRef& object, siSelectMode) {
    standin::Host& h = standin::Host::Current();
    std::vector<CRef> sel = h.Selection();
    std::erase_if(sel, [&](const CRef& r) { return r == object; });
    h.Select(sel);
    return CStatus::OK;
}

CStatus Selection::Clear() {
    standin::Host::Current().ClearSelection();
    return CStatus::OK;
}

LONG Selection::GetCount() const { return static_cast<LONG>(standin::Host::Current().Selection().size()); }

CRefArray Selection::GetArray() const {
    CRefArray out;
    for (const CRef& r : standin::Host::Current().Selection()) out.Add(r);
    return out;
}

CStatus Selection::SetAsText(const CString& text) {
    standin::Host& h = standin::Host::Current();
    h.Select(ResolveObjects(h, CValue(text)));
    return CStatus::OK;
}

CString Selection::GetAsText() const {
    std::wstring out;
    for (const CRef& r : standin::Host::Current().Selection()) {
        if (!out.empty()) out += L",";
        out += W(r.GetAsText());
    }
    return S(out);
}

XSI_WRAPPER(UIToolkit, siUIToolkitID)

ProgressBar UIToolkit::GetProgressBar() const { return ProgressBar(standin::Host::Current().ProgressBarRef()); }

CStatus UIToolkit::MsgBox(const CString& message, LONG, const CString& caption, LONG& out_result) {
    standin::Host::Current().GetLog().Add(W(caption) + L": " + W(message), siInfoMsg);
    out_result = 1;  // OK: nobody is there to answer otherwise
    return CStatus::OK;
}

XSI_WRAPPER(ProgressBar, siProgressBarID)

namespace {
standin::ProgressBar& Bar() { return standin::Host::Current().Progress(); }
}  // namespace

LONG ProgressBar::GetMaximum() const { return Bar().GetMaximum(); }
CStatus ProgressBar::PutMaximum(LONG v) { Bar().SetMaximum(v); return CStatus::OK; }
LONG ProgressBar::GetMinimum() const { return Bar().GetMinimum(); }
CStatus ProgressBar::PutMinimum(LONG v) { Bar().SetMinimum(v); return CStatus::OK; }
LONG ProgressBar::GetStep() const { return Bar().GetStep(); }
CStatus ProgressBar::PutStep(LONG v) { Bar().SetStep(v); return CStatus::OK; }
LONG ProgressBar::GetValue() const { return Bar().GetValue(); }
CStatus ProgressBar::PutValue(LONG v) { Bar().SetValue(v); return CStatus::OK; }
CString ProgressBar::GetCaption() const { return S(Bar().GetCaption()); }
CStatus ProgressBar::PutCaption(const CString& c) { Bar().SetCaption(W(c)); return CStatus::OK; }
CString ProgressBar::GetStatusText() const { return S(Bar().GetStatusText()); }
CStatus ProgressBar::PutStatusText(const CString& t) { Bar().SetStatusText(W(t)); return CStatus::OK; }
bool ProgressBar::GetVisible() const { return Bar().GetVisible(); }
CStatus ProgressBar::PutVisible(bool v) { Bar().SetVisible(v); return CStatus::OK; }
bool ProgressBar::IsCancelPressed() const { return Bar().IsCancelPressed(); }
LONG ProgressBar::Increment(LONG step) { return Bar().Increment(step); }
CStatus ProgressBar::PutCancelEnabled(bool on) { Bar().SetCancelEnabled(on); return CStatus::OK; }
bool ProgressBar::IsCancelEnabled() const { return Bar().IsCancelEnabled(); }

// ---- The automation bridge

CComAPIHandler::CComAPIHandler() {}
CComAPIHandler::CComAPIHandler(const CValue& object) { Attach(object); }
CComAPIHandler::CComAPIHandler(const CComAPIHandler& other) : m_object(other.m_object) {}
CComAPIHandler::~CComAPIHandler() {}
CComAPIHandler& CComAPIHandler::operator=(const CComAPIHandler& other) {
    m_object = other.m_object;
    return *this;
}

CStatus CComAPIHandler::CreateInstance(const CString& progID) {
    standin::Host& h = standin::Host::Current();
    std::wstring id = W(progID);
    if (id == L"XSI.Application") m_object = h.ApplicationRef();
    else if (id == L"XSI.UIToolkit") m_object = h.UIToolkitRef();
    else return CStatus::Fail;
    return CStatus::OK;
}

CStatus CComAPIHandler::Attach(const CValue& object) {
    if (object.m_t != CValue::siRef) {
        m_object = CRef();
        return CStatus::InvalidArgument;
    }
    m_object = CRef(object);
    return CStatus::OK;
}

CStatus CComAPIHandler::Detach() {
    m_object = CRef();
    return CStatus::OK;
}

CValue CComAPIHandler::GetProperty(const CString& name) const {
    CValue ret;
    Invoke(name, PropertyGet, ret);
    return ret;
}

CStatus CComAPIHandler::PutProperty(const CString& name, const CValue& value) const {
    CValue ret;
    CValueArray args;
    args.Add(value);
    return Invoke(name, PropertyPut, ret, args);
}

CStatus CComAPIHandler::Call(const CString& method, CValue& io_return, const CValueArray& args) const {
    return Invoke(method, Method, io_return, args);
}

CStatus CComAPIHandler::Call(const CString& method, CValue& io_return, const CValue& a1) const {
    CValueArray args;
    args.Add(a1);
    return Invoke(method, Method, io_return, args);
}

CStatus CComAPIHandler::Call(const CString& method, CValue& io_return, const CValue& a1, const CValue& a2) const {
    CValueArray args;
    args.Add(a1);
    args.Add(a2);
    return Invoke(method, Method, io_return, args);
}

CStatus CComAPIHandler::Call(const CString& method, CValue& io_return, const CValue& a1, const CValue& a2,
                             const CValue& a3) const {
    CValueArray args;
    args.Add(a1);
    args.Add(a2);
    args.Add(a3);
    return Invoke(method, Method, io_return, args);
}

CStatus CComAPIHandler::Call(const CString& method, CValue& io_return, const CValue& a1, const CValue& a2,
                             const CValue& a3, const CValue& a4) const {
    CValueArray args;
    args.Add(a1);
    args.Add(a2);
    args.Add(a3);
    args.Add(a4);
    return Invoke(method, Method, io_return, args);
}

CStatus CComAPIHandler::Invoke(const CString& name, LONG flags, CValue& io_return, const CValueArray& args) const {
    io_return = CValue();
    if (!m_object.IsValid()) return CStatus::Fail;
    return m_object.GetHostObject()->Invoke(W(name), flags, args, io_return);
}

CValue CComAPIHandler::GetRef() const { return m_object.IsValid() ? CValue(m_object) : CValue(); }

}  // namespace XSI
