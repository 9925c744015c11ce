// Host internals shared by the stand-in's implementation files.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "scene/host.h"
#include "scene/nodes.h"

namespace standin {

struct LoadedPlugin {
    void* handle = nullptr;
    size_t info = 0;  // index into Host::Plugins()
    Ptr<PluginRegistrarNode> registrar;
};

using BuiltinCommand = std::function<CStatus(Host&, CValueArray&, CValue&)>;

struct Host::Impl {
    Ptr<ModelNode> root;
    Ptr<CustomPropertyNode> playControl;
    Ptr<ServiceNode> application, selection, dictionary, uiToolkit, progressBar;
    std::vector<CRef> selected;
    std::vector<Ptr<PolyMeshNode>> deforming;  // meshes with keyed point positions

    std::vector<LoadedPlugin> plugins;
    std::vector<Ptr<CommandNode>> commands;          // registration order
    std::map<std::wstring, size_t> propertyTypes;    // registered property name -> plugin
    std::vector<Ptr<MenuItemNode>> menus;            // one root menu per registration
    std::map<std::wstring, BuiltinCommand> builtins;

    CommandNode* FindCommand(const std::wstring& name) const;
};

// Calls a plug-in callback `symbol` taking a context reference. False (and a logged host
// error) when the plug-in does not export it; `status` receives its result.
bool CallContextCallback(Host& host, const std::wstring& symbol, const CRef& context, CStatus& status,
                         bool reportMissing = true);

// A new callback context of class `cls` whose source is `source`.
Ptr<ContextNode> MakeContext(siClassID cls, const CRef& source);

// Resolves what a command argument names: a CRef, a path, or a comma-separated list of paths.
std::vector<CRef> ResolveObjects(Host& host, const CValue& value);

void RegisterBuiltinCommands(Host& host);

// Creates a custom property of a registered type (running Define and DefineLayout),
// a plain custom property, or a user data blob under `owner`.
Ptr<ProjectItemNode> CreateProperty(Host& host, SceneItemNode& owner, const std::wstring& preset,
                                    const std::wstring& name);

// Host names never hold spaces: the host turns them into underscores.
std::wstring SanitizeName(const std::wstring& name);

}  // namespace standin
