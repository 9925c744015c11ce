// Plug-in loading as the host does it: the library is opened, its load entry point is
// given a registrar, and every callback is looked up by its exported name when needed.
#include <dlfcn.h>

#include <sstream>

#include "core/text.h"
#include "scene/host_impl.h"
#include "xsi_pluginregistrar.h"
#include "xsi_string.h"

namespace standin {

namespace {
using LoadFn = XSI::CStatus (*)(XSI::PluginRegistrar&);
using UnloadFn = XSI::CStatus (*)(const XSI::PluginRegistrar&);
using ContextFn = XSI::CStatus (*)(XSI::CRef&);

std::wstring StripSpaces(std::wstring s) {
    std::erase(s, L' ');
    return s;
}

std::wstring ValueText(const CValue& v) {
    if (v.IsEmpty()) return L"(empty)";
    std::wstring t = v.GetAsText().GetWideString();
    switch (v.m_t) {
        case CValue::siString: return L"\"" + t + L"\"";
        case CValue::siBool: return t + L" (boolean)";
        case CValue::siDouble: case CValue::siFloat: return t + L" (double)";
        case CValue::siInt1: case CValue::siInt2: case CValue::siInt4: case CValue::siInt8:
        case CValue::siUInt1: case CValue::siUInt2: case CValue::siUInt4: case CValue::siUInt8: return t + L" (integer)";
        default: return t;
    }
}

void DescribeItems(const MenuItemNode& menu, int depth, std::wostringstream& out) {
    for (const auto& item : menu.items) {
        out << std::wstring(static_cast<size_t>(depth) * 2, L' ');
        if (item->style == XSI::siMenuItemSeparator) {
            out << L"----\n";
            continue;
        }
        out << item->name;
        if (!item->command.empty()) out << L" -> " << item->command;
        if (!item->callback.empty()) out << L" -> callback " << item->callback;
        if (item->style == XSI::siMenuItemSubmenu) out << L" (sub-menu)";
        out << L"\n";
        DescribeItems(*item, depth + 1, out);
    }
}
}  // namespace

Ptr<ContextNode> MakeContext(siClassID cls, const CRef& source) {
    auto ctx = Make<ContextNode>();
    ctx->cls = cls;
    ctx->source = source;
    return ctx;
}

void* Host::FindCallback(const std::wstring& symbol) const {
    std::string name = XSI::Host::ToUtf8(StripSpaces(symbol));
    for (const auto& p : m_impl->plugins)
        if (void* f = p.handle ? dlsym(p.handle, name.c_str()) : nullptr) return f;
    return nullptr;
}

bool CallContextCallback(Host& host, const std::wstring& symbol, const CRef& context, CStatus& status,
                         bool reportMissing) {
    auto fn = reinterpret_cast<ContextFn>(host.FindCallback(symbol));
    if (!fn) {
        if (reportMissing) host.HostError(L"Callback not found: " + StripSpaces(symbol));
        status = CStatus::Fail;
        return false;
    }
    CRef ctx = context;
    try {
        status = fn(ctx);
    } catch (const std::exception& e) {
        host.HostError(StripSpaces(symbol) + L" raised an error: " + XSI::Host::FromUtf8(e.what()));
        status = CStatus::Fail;
    } catch (...) {
        host.HostError(StripSpaces(symbol) + L" raised an error");
        status = CStatus::Fail;
    }
    return true;
}

CStatus Host::LoadPlugin(const std::filesystem::path& library) {
    void* handle = dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        const char* why = dlerror();
        HostError(L"Cannot load plug-in " + library.wstring() + L": " + XSI::Host::FromUtf8(why ? why : "unknown error"));
        return CStatus::Fail;
    }
    auto load = reinterpret_cast<LoadFn>(dlsym(handle, "XSILoadPlugin"));
    if (!load) {
        HostError(L"Cannot load plug-in " + library.wstring() + L": XSILoadPlugin not found");
        dlclose(handle);
        return CStatus::Fail;
    }
    Impl& d = *m_impl;
    AddPresetFolder(std::filesystem::absolute(library).parent_path().parent_path() / "presets");
    PluginInfo info;
    info.file = library.wstring();
    m_pluginInfo.push_back(info);
    LoadedPlugin lp;
    lp.handle = handle;
    lp.info = m_pluginInfo.size() - 1;
    lp.registrar = Make<PluginRegistrarNode>();
    lp.registrar->plugin = lp.info;
    lp.registrar->name = library.stem().wstring();
    d.plugins.push_back(lp);

    XSI::PluginRegistrar reg(XSI::Host::RefOf(lp.registrar.get()));
    CStatus st;
    try {
        st = load(reg);
    } catch (...) {
        st = CStatus::Fail;
    }
    if (!st.Succeeded()) {
        HostError(L"Plug-in " + library.wstring() + L" failed to load");
        return st;
    }
    PluginInfo& pi = m_pluginInfo[lp.info];
    // Commands are declared by their Init callbacks, menus built by theirs, once, after registration.
    for (const std::wstring& name : pi.commands) {
        CommandNode* cmd = d.FindCommand(name);
        if (!cmd || cmd->initialised) continue;
        cmd->initialised = true;
        auto ctx = MakeContext(XSI::siContextID, XSI::Host::RefOf(cmd));
        CStatus s;
        CallContextCallback(*this, name + L"_Init", XSI::Host::RefOf(ctx.get()), s, false);
    }
    for (const auto& m : pi.menus) {
        auto menu = Make<MenuItemNode>();
        menu->cls = XSI::siMenuID;
        menu->style = XSI::siMenuItemSubmenu;
        menu->name = m.name;
        d.menus.push_back(menu);
        auto ctx = MakeContext(XSI::siContextID, XSI::Host::RefOf(menu.get()));
        CStatus s;
        CallContextCallback(*this, m.name + L"_Init", XSI::Host::RefOf(ctx.get()), s, true);
    }
    return CStatus::OK;
}

CStatus Host::UnloadPlugins() {
    Impl& d = *m_impl;
    for (auto& p : d.plugins) {
        if (!p.handle) continue;
        if (auto unload = reinterpret_cast<UnloadFn>(dlsym(p.handle, "XSIUnloadPlugin"))) {
            XSI::PluginRegistrar reg(XSI::Host::RefOf(p.registrar.get()));
            try {
                unload(reg);
            } catch (...) {
            }
        }
    }
    // The library stays mapped until the host ends: values it created may still be alive.
    d.commands.clear();
    d.menus.clear();
    d.propertyTypes.clear();
    m_pluginInfo.clear();
    for (auto& p : d.plugins) p.registrar = Ptr<PluginRegistrarNode>();
    return CStatus::OK;
}

bool Host::HasCommand(const std::wstring& name) const {
    return m_impl->FindCommand(name) != nullptr || m_impl->builtins.count(name) != 0;
}

std::wstring Host::DescribeMenus() const {
    std::wostringstream out;
    for (const auto& menu : m_impl->menus) {
        out << menu->name << L"\n";
        DescribeItems(*menu, 1, out);
    }
    return out.str();
}

std::wstring Host::DescribeCommand(const std::wstring& name) const {
    CommandNode* c = m_impl->FindCommand(name);
    if (!c) return L"";
    std::wostringstream out;
    out << c->name << L"\n";
    out << L"  description: \"" << c->description << L"\"\n";
    out << L"  tooltip: \"" << c->tooltip << L"\"\n";
    out << L"  flags:";
    bool any = false;
    for (const auto& [flag, on] : c->flags)
        if (on) {
            out << L" " << flag;
            any = true;
        }
    if (!any) out << L" none";
    out << L"\n  return value: " << (c->returnValue ? L"yes" : L"no") << L"\n";
    out << L"  arguments:";
    if (c->arguments.empty()) out << L" none";
    out << L"\n";
    for (const auto& a : c->arguments) {
        out << L"    " << a->name;
        if (a->objectArgument) out << L" (object)";
        if (!a->handler.empty()) out << L" (handler " << a->handler << L")";
        out << L" = " << ValueText(a->value) << L"\n";
    }
    return out.str();
}

}  // namespace standin
