#include "shell/registry.h"

#include <vector>

#include "shell/targets.h"
#include "xsi_argument.h"
#include "xsi_command.h"
#include "xsi_decl.h"
#include "xsi_menu.h"
#include "xsi_pluginregistrar.h"
#include "xsi_value.h"

namespace orbelin {

namespace {
XSI::CValue DefaultValue(const ArgDefault& d) {
    switch (d.type) {
    case ArgDefault::Type::Long:
        return XSI::CValue(d.longValue);
    case ArgDefault::Type::Double:
        return XSI::CValue(d.doubleValue);
    case ArgDefault::Type::Bool:
        return XSI::CValue(d.boolValue);
    case ArgDefault::Type::None:
        break;
    }
    return XSI::CValue();
}
}  // namespace

void RegisterPlugin(XSI::PluginRegistrar& registrar) {
    // The registrar's own (SIObject) name is the plug-in's name.
    registrar.PutName(L"Orbelin Plug-in");
    registrar.PutAuthor(L"Orbelin team");
    registrar.PutVersion(1, 0);
    registrar.PutURL(L"https://orbelin.example/");
    registrar.PutEmail(L"support@orbelin.example");
    registrar.PutCategories(L"Miscellaneous Tools");
    registrar.PutHelp(L"https://orbelin.example/help/");

    // Built once by its Init: the entries never depend on the scene.
    registrar.RegisterMenu(XSI::siMenuTbGetPropertyPSetID, kMenuName, true, false);
    for (const wchar_t* word : kPropertyToolWords) registrar.RegisterProperty(ToolPropertyType(word));
    for (const CommandDecl& cmd : kCommands) registrar.RegisterCommand(cmd.name, cmd.name);
}

void DeclareCommand(XSI::Command& command, const CommandDecl& decl) {
    command.PutDescription(decl.description);
    command.PutTooltip(decl.tooltip);
    command.SetFlag(XSI::siSupportsKeyAssignment, true);
    command.EnableReturnValue(true);

    XSI::ArgumentArray arguments = command.GetArguments();
    for (const ArgumentDecl& arg : decl.arguments) {
        switch (arg.kind) {
        case ArgKind::Value:
            arguments.Add(arg.name, DefaultValue(arg.def));
            break;
        case ArgKind::Collection:
            arguments.AddWithHandler(arg.name, L"Collection");
            break;
        case ArgKind::Object:
            arguments.AddObjectArgument(arg.name);
            break;
        }
    }
}

void BuildMenu(XSI::Menu& menu) {
    menu.PutName(kMenuCaption);
    // menus[d] receives the entries of depth d; a sub-menu entry opens depth d + 1.
    std::vector<XSI::Menu> menus{menu};
    for (const MenuEntry& entry : kMenu) {
        if (entry.depth < 0 || static_cast<std::size_t>(entry.depth) >= menus.size()) continue;
        menus.resize(static_cast<std::size_t>(entry.depth) + 1);
        XSI::Menu& parent = menus.back();
        XSI::MenuItem item;
        switch (entry.kind) {
        case MenuEntry::Kind::Command:
            parent.AddCommandItem(entry.caption, entry.command, item);
            break;
        case MenuEntry::Kind::Separator:
            parent.AddSeparatorItem();
            break;
        case MenuEntry::Kind::SubMenu:
            // An item of the sub-menu style is a menu of its own.
            parent.AddItem(entry.caption, XSI::siMenuItemSubmenu, item);
            menus.emplace_back(item.GetRef());
            break;
        }
    }
}

}  // namespace orbelin
