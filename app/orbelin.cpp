// The orbelin command: the stand-in host with the plug-in loaded, driven from the shell.
//
//   orbelin info [--plugin PATH]
//   orbelin run SCRIPT.lua [--project DIR] [--plugin PATH]
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>

#include "core/text.h"
#include "scene/host.h"
#include "script/lua_host.h"

namespace {

namespace fs = std::filesystem;

// The plug-in is installed beside the command: <prefix>/bin/orbelin, <prefix>/lib/libOrbelin.so.
fs::path DefaultPlugin() {
    std::error_code ec;
    fs::path exe = fs::read_symlink("/proc/self/exe", ec);
    if (ec) return "libOrbelin.so";
    return exe.parent_path().parent_path() / "lib" / "libOrbelin.so";
}

std::string U8(const std::wstring& s) { return XSI::Host::ToUtf8(s); }

bool Load(standin::Host& host, const fs::path& plugin) {
    if (!fs::exists(plugin)) {
        std::cerr << "orbelin: no plug-in at " << plugin.string() << " (build it, or pass --plugin)\n";
        return false;
    }
    if (!host.LoadPlugin(plugin).Succeeded()) {
        std::cerr << "orbelin: the plug-in " << plugin.string() << " could not be loaded (see the log above)\n";
        return false;
    }
    return true;
}

int Info(const fs::path& plugin) {
    standin::Host host;
    if (!Load(host, plugin)) return 1;
    for (const standin::PluginInfo& p : host.Plugins()) {
        std::cout << "Plug-in:    " << U8(p.name) << "\n"
                  << "Version:    " << p.major << "." << p.minor << "\n"
                  << "Author:     " << U8(p.author) << "\n"
                  << "Site:       " << U8(p.url) << "\n"
                  << "Contact:    " << U8(p.email) << "\n"
                  << "Help:       " << U8(p.help) << "\n"
                  << "Categories: " << U8(p.categories) << "\n"
                  << "File:       " << U8(p.file) << "\n\n";
        std::cout << "Menus (" << p.menus.size() << "):\n";
        for (const auto& m : p.menus)
            std::cout << "  " << U8(m.name) << " (anchor " << m.anchor << (m.displayAsSubmenu ? ", sub-menu" : "")
                      << (m.dynamic ? ", dynamic" : "") << ")\n";
        std::cout << "\n" << U8(host.DescribeMenus()) << "\n";
        std::cout << "Properties (" << p.properties.size() << "):\n";
        for (const auto& name : p.properties) std::cout << "  " << U8(name) << "\n";
        std::cout << "\nCommands (" << p.commands.size() << "):\n";
        for (const auto& name : p.commands) std::cout << U8(host.DescribeCommand(name)) << "\n";
        std::cout << "Operators registered: " << p.operators.size() << "\n";
    }
    return 0;
}

int Run(const fs::path& script, const fs::path& project, const fs::path& plugin) {
    if (!fs::is_directory(project)) {
        std::cerr << "orbelin: no project folder at " << project.string() << "\n";
        return 1;
    }
    standin::Host host(fs::absolute(project));
    host.Progress().SetDrawing(isatty(STDERR_FILENO) != 0);
    if (!Load(host, plugin)) return 1;
    fs::path file = script.is_absolute() || fs::exists(script) ? script : fs::absolute(project) / script;
    return standin::RunScript(host, file, std::cerr);
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{"Orbelin: weight-map tools in the stand-in host"};
    app.require_subcommand(1);
    // "--plugin" belongs to every subcommand and may come before or after its name.
    app.fallthrough();
    fs::path plugin = DefaultPlugin();
    app.add_option("--plugin", plugin, "the plug-in library to load");

    CLI::App* info = app.add_subcommand("info", "show the plug-in as the host registers it");
    CLI::App* run = app.add_subcommand("run", "run a Lua scene script");
    std::string script;
    std::string project = fs::current_path().string();
    run->add_option("script", script, "the scene script")->required();
    run->add_option("--project", project, "the project folder (relative paths resolve here)");

    CLI11_PARSE(app, argc, argv);
    try {
        if (info->parsed()) return Info(plugin);
        if (run->parsed()) return Run(script, project, plugin);
    } catch (const std::exception& e) {
        std::cerr << "orbelin: " << e.what() << "\n";
        return 1;
    }
    return 0;
}
