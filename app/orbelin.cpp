// The orbelin command: the stand-in host with the plug-in loaded, driven from the shell.
//
//   orbelin info [--plugin PATH]
//   orbelin run SCRIPT.lua [--project DIR] [--plugin PATH]
//   orbelin demo [--out DIR] [--plugin PATH]
//
// A script stopped by Ctrl-C ends the command with 130, as a shell reports SIGINT.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iostream>
#include <vector>

#include "core/text.h"
#include "scene/host.h"
#include "script/lua_host.h"

namespace {

namespace fs = std::filesystem;

// The folder above the command's: <prefix> for <prefix>/bin/orbelin. Empty when unknown.
fs::path Prefix() {
    std::error_code ec;
    fs::path exe = fs::read_symlink("/proc/self/exe", ec);
    return ec ? fs::path() : exe.parent_path().parent_path();
}

// The plug-in is installed beside the command: <prefix>/bin/orbelin, <prefix>/lib/libOrbelin.so.
fs::path DefaultPlugin() {
    fs::path prefix = Prefix();
    return prefix.empty() ? fs::path("libOrbelin.so") : prefix / "lib" / "libOrbelin.so";
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

// The examples the demo runs, in order; each writes into its own folder under the output folder.
constexpr const char* kDemoExamples[] = {"proximity", "mix",      "smooth",         "expression", "cache",
                                         "tension",   "gradient", "clusters",       "gradient_curve", "haircomb"};

// Where an example is: beside the command (<prefix>/share/orbelin/examples), else in the source
// tree the command was built from.
std::vector<fs::path> ExamplePlaces(const std::string& name) {
    std::vector<fs::path> places;
    if (fs::path prefix = Prefix(); !prefix.empty()) places.push_back(prefix / "share" / "orbelin" / "examples" / (name + ".lua"));
    places.push_back(fs::path(ORBELIN_EXAMPLES_DIR) / (name + ".lua"));
    return places;
}

// Runs one example in a scene of its own with its results in `out`/`name`, then lists the
// pictures it wrote.
int RunExample(const std::string& name, const fs::path& out, const fs::path& plugin) {
    std::vector<fs::path> places = ExamplePlaces(name);
    auto script = std::find_if(places.begin(), places.end(), [](const fs::path& p) { return fs::is_regular_file(p); });
    if (script == places.end()) {
        std::cerr << "orbelin: the demo scene " << name << ".lua is missing; looked in:\n";
        for (const fs::path& p : places) std::cerr << "  " << p.string() << "\n";
        return 1;
    }
    const fs::path results = out / name;
    standin::Host host(out);
    host.Progress().SetDrawing(isatty(STDERR_FILENO) != 0);
    if (!Load(host, plugin)) return 1;
    std::error_code ec;
    fs::create_directories(results, ec);
    if (ec || ::access(results.c_str(), W_OK | X_OK) != 0) {
        std::cerr << "orbelin: cannot write into " << results.string() << (ec ? ": " + ec.message() : std::string()) << "\n";
        return 1;
    }
    // Timestamps of some file systems are coarse: a second's slack, so that nothing just
    // written is missed.
    const auto started = fs::file_time_type::clock::now() - std::chrono::seconds(1);
    if (int rc = standin::RunScript(host, *script, std::cerr, {{"OUTPUT_DIR", out.string()}}); rc != 0) return rc;

    std::vector<fs::path> pictures;
    for (const fs::directory_entry& e : fs::directory_iterator(results))
        if (e.is_regular_file() && e.path().extension() == ".png" && e.last_write_time() >= started) pictures.push_back(e.path());
    std::sort(pictures.begin(), pictures.end());
    std::cout << "\n" << name << ": pictures written (" << pictures.size() << "):\n";
    for (const fs::path& p : pictures) std::cout << "  " << p.string() << "\n";
    std::cout << "in " << results.string() << " (with the weights as CSV)\n";
    return 0;
}

// Runs every example of the demo, each into its own folder under `outArg`.
int Demo(const fs::path& outArg, const fs::path& plugin) {
    const fs::path out = fs::absolute(outArg).lexically_normal();
    for (const char* name : kDemoExamples)
        if (int rc = RunExample(name, out, plugin); rc != 0) return rc;
    return 0;
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
    CLI::App* demo = app.add_subcommand("demo", "run the examples (proximity, mix, smooth, expression): weights and pictures");
    std::string out = "out";
    demo->add_option("--out", out, "the folder the results go into (default: out/ here)");

    CLI11_PARSE(app, argc, argv);
    try {
        if (info->parsed()) return Info(plugin);
        if (run->parsed()) return Run(script, project, plugin);
        if (demo->parsed()) return Demo(out, plugin);
    } catch (const std::exception& e) {
        std::cerr << "orbelin: " << e.what() << "\n";
        return 1;
    }
    return 0;
}
