// The orbelin command: the stand-in host with the plug-in loaded, driven from the shell.
//
//   orbelin info [--plugin PATH]
//   orbelin run SCRIPT.lua [--project DIR] [--frames A-B] [--plugin PATH]
//   orbelin demo [--out DIR] [--only NAME,...] [--frames A-B] [--plugin PATH]
//   orbelin export SCRIPT.lua FILE.glb|FILE.gltf [--objects P,...] [--weightmaps P,...] [--frames A-B]
//                  [--colors] [--color-by MAP] [--colormap perceptual|diverging] [--range MIN,MAX]
//                  [--project DIR] [--plugin PATH]
//       runs the script, then writes its meshes with their weight maps as glTF, one file per
//       frame of the range (the current frame without one)
//
// --frames gives the scripts the frame range A to B (or the one frame A) as the globals
// FIRST_FRAME and LAST_FRAME; whole numbers, negative ones allowed ("-5-10", "-10--5").
// A script stopped by Ctrl-C ends the command with 130, as a shell reports SIGINT.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <iostream>
#include <optional>
#include <sstream>
#include <vector>

#include "core/text.h"
#include "frames.h"
#include "io/file_out.h"
#include "render/render.h"
#include "scene/host.h"
#include "script/gltf_export.h"
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

// The globals that give a script its frame range, none when no range was asked for.
standin::ScriptGlobals FrameGlobals(const std::optional<orbelin::app::FrameRange>& frames) {
    if (!frames) return {};
    return {{"FIRST_FRAME", static_cast<double>(frames->first)}, {"LAST_FRAME", static_cast<double>(frames->last)}};
}

// Runs the script in a host on the project folder, then `after` (if any) on that host.
int Run(const fs::path& script, const fs::path& project, const fs::path& plugin, const standin::ScriptGlobals& globals,
        const std::function<int(standin::Host&)>& after = {}) {
    if (!fs::is_directory(project)) {
        std::cerr << "orbelin: no project folder at " << project.string() << "\n";
        return 1;
    }
    standin::Host host(fs::absolute(project));
    host.Progress().SetDrawing(isatty(STDERR_FILENO) != 0);
    if (!Load(host, plugin)) return 1;
    fs::path file = script.is_absolute() || fs::exists(script) ? script : fs::absolute(project) / script;
    if (int rc = standin::RunScript(host, file, std::cerr, globals); rc != 0 || !after) return rc;
    return after(host);
}

// Runs the script, then exports what `request` asks for over `range` (the frame the script
// left without one).
int Export(const fs::path& script, const fs::path& project, const fs::path& plugin, const std::optional<orbelin::app::FrameRange>& range,
           standin::GltfExportRequest request) {
    if (range && (range->first < -standin::kMostExportFrame || range->last > standin::kMostExportFrame)) {
        std::cerr << "orbelin: export frames must lie within " << -standin::kMostExportFrame << " to " << standin::kMostExportFrame << "\n";
        return 1;
    }
    return Run(script, project, plugin, FrameGlobals(range), [&](standin::Host& host) {
        if (range)
            for (int f = range->first; f <= range->last; ++f) request.frames.push_back(f);
        for (const fs::path& written : standin::ExportGltf(host, request)) std::cout << written.string() << "\n";
        return 0;
    });
}

// The examples the demo runs, in order, each writing into its own folder under the output
// folder: the tool it shows (the label on the contact sheet) and the picture that stands for it
// there (when it did not write that one, its first picture does).
struct DemoExample {
    const char* name;
    const char* tool;
    const char* picture;
};
constexpr DemoExample kDemoExamples[] = {
    {"proximity", "Proximity Map", "frame50.png"},
    {"mix", "Mix Map", "mix_frame30.png"},
    {"smooth", "Smooth Map", "radius3_repeat5.png"},
    {"expression", "Expression Map", "ripple.png"},
    {"cache", "Cache Map", "half_speed_frame40.png"},
    {"tension", "Tension Map", "tube_frame20.png"},
    {"gradient", "Gradient Map", "figure_gradient.png"},
    {"clusters", "Clusters Map", "cropping2.png"},
    {"gradient_curve", "Gradient Curve Map", "frame40.png"},
    {"haircomb", "Gradient Hair Comb", "combed.png"},
    {"chain", "Chained tools", "mixed_smoothed_frame20.png"},
};

// What one example wrote into its folder (paths relative to it, sorted).
struct ExampleFiles {
    const DemoExample* example = nullptr;
    fs::path folder;
    std::vector<fs::path> pictures, tables, others;
};

std::vector<fs::path> ExamplePlaces(const std::string& name) {
    std::vector<fs::path> places;
    if (fs::path prefix = Prefix(); !prefix.empty()) places.push_back(prefix / "share" / "orbelin" / "examples" / (name + ".lua"));
    places.push_back(fs::path(ORBELIN_EXAMPLES_DIR) / (name + ".lua"));
    return places;
}

// Runs one example in a scene of its own with its results in `out`/`name`, then lists the
// pictures it wrote; `files` gets everything it wrote.
int RunExample(const std::string& name, const fs::path& out, const fs::path& plugin, standin::ScriptGlobals globals,
               ExampleFiles& files) {
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
    globals["OUTPUT_DIR"] = out.string();
    if (int rc = standin::RunScript(host, *script, std::cerr, globals); rc != 0) return rc;

    files.folder = results;
    for (auto it = fs::recursive_directory_iterator(results); it != fs::recursive_directory_iterator(); ++it) {
        if (!it->is_regular_file() || it->last_write_time() < started) continue;
        const fs::path rel = it->path().lexically_relative(results);
        const bool top = rel.parent_path().empty();
        (top && rel.extension() == ".png" ? files.pictures : top && rel.extension() == ".csv" ? files.tables : files.others).push_back(rel);
    }
    for (auto* list : {&files.pictures, &files.tables, &files.others}) std::sort(list->begin(), list->end());
    std::cout << "\n" << name << ": pictures written (" << files.pictures.size() << "):\n";
    for (const fs::path& p : files.pictures) std::cout << "  " << (results / p).string() << "\n";
    std::cout << "in " << results.string() << " (with the weights as CSV)\n";
    return 0;
}

// The contact sheet: one labelled thumbnail per example that wrote a picture.
void WriteContactSheet(const std::vector<ExampleFiles>& runs, const fs::path& file) {
    std::vector<standin::render::SheetEntry> entries;
    for (const ExampleFiles& run : runs) {
        if (run.pictures.empty()) continue;
        const fs::path preferred = run.example->picture;
        const bool wrote = std::find(run.pictures.begin(), run.pictures.end(), preferred) != run.pictures.end();
        const fs::path shown = run.folder / (wrote ? preferred : run.pictures.front());
        entries.push_back({run.example->tool, standin::render::ReadPng(shown.string())});
    }
    if (entries.empty()) throw std::runtime_error("no example wrote a picture: no contact sheet");
    standin::render::SheetOptions options;
    options.title = "orbelin demo: one picture per example";
    standin::render::WritePng(standin::render::ContactSheet(entries, options), file.string());
}

// The index: per example its folder and the files it wrote, then the contact sheet.
void WriteIndex(const std::vector<ExampleFiles>& runs, const fs::path& out, const fs::path& sheet, const fs::path& file) {
    std::ostringstream text;
    text << "orbelin demo: results in " << out.string() << "\n";
    const auto list = [&](const char* what, const std::vector<fs::path>& files) {
        text << "  " << what << " (" << files.size() << ")" << (files.empty() ? "" : ":") << "\n";
        for (const fs::path& p : files) text << "    " << p.string() << "\n";
    };
    for (const ExampleFiles& run : runs) {
        text << "\n" << run.example->name << " (" << run.example->tool << "): " << run.folder.lexically_relative(out).string() << "/\n";
        list("pictures", run.pictures);
        list("weights as CSV", run.tables);
        text << "  other files (cache frames and the like): " << run.others.size() << "\n";
    }
    text << "\ncontact sheet: " << sheet.lexically_relative(out).string() << "\n";
    standin::io::WriteFileWhole(file, text.str());
}

// Runs the examples of the demo (all, or those named in `only`), each into its own folder
// under `outArg` and with `globals` set, then writes the contact sheet and the index beside
// those folders.
int Demo(const fs::path& outArg, const fs::path& plugin, const std::vector<std::string>& only, const standin::ScriptGlobals& globals) {
    for (const std::string& name : only)
        if (std::none_of(std::begin(kDemoExamples), std::end(kDemoExamples), [&](const DemoExample& e) { return name == e.name; })) {
            std::cerr << "orbelin: the demo has no example \"" << name << "\"; it has:";
            for (const DemoExample& e : kDemoExamples) std::cerr << " " << e.name;
            std::cerr << "\n";
            return 1;
        }
    const fs::path out = fs::absolute(outArg).lexically_normal();
    std::vector<ExampleFiles> runs;
    for (const DemoExample& example : kDemoExamples) {
        if (!only.empty() && std::find(only.begin(), only.end(), example.name) == only.end()) continue;
        runs.push_back({&example, {}, {}, {}, {}});
        if (int rc = RunExample(example.name, out, plugin, globals, runs.back()); rc != 0) return rc;
    }
    const fs::path sheet = out / "contact_sheet.png", index = out / "index.txt";
    WriteContactSheet(runs, sheet);
    WriteIndex(runs, out, sheet, index);
    std::cout << "\ncontact sheet: " << sheet.string() << "\nindex: " << index.string() << "\n";
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
    CLI::App* demo = app.add_subcommand("demo", "run the examples, one per tool and one chaining them: weights, pictures, a contact sheet and an index");
    std::string out = "out";
    demo->add_option("--out", out, "the folder the results go into (default: out/ here)");
    std::vector<std::string> only;
    demo->add_option("--only", only, "run only these examples (by name, e.g. smooth,chain)")->delimiter(',');
    CLI::App* exporter = app.add_subcommand("export", "run a scene script, then write its meshes with their weight maps as glTF (.glb or .gltf)");
    standin::GltfExportRequest request;
    std::string exportFile;
    std::vector<double> range;
    exporter->add_option("script", script, "the scene script")->required();
    exporter->add_option("file", exportFile, "the glTF file (.glb binary, .gltf text); a run of # in its name becomes the frame")->required();
    exporter->add_option("--project", project, "the project folder (relative paths resolve here)");
    exporter->add_option("--objects", request.objects, "the meshes to write (default: every mesh, or those of --weightmaps)")->delimiter(',');
    exporter->add_option("--weightmaps", request.weightmaps, "the weight maps to write (default: every map of each mesh)")->delimiter(',');
    exporter->add_flag("--colors", request.colours, "also write each mesh's first map as vertex colours (COLOR_0)");
    exporter->add_option("--color-by", request.colourBy, "the weight map the colours show (implies --colors)");
    exporter->add_option("--colormap", request.colourMap, "perceptual (default) or diverging");
    exporter->add_option("--range", range, "MIN,MAX: the values the colours span (default 0,1)")->delimiter(',')->expected(2);
    std::string frames;
    for (CLI::App* command : {run, demo, exporter})
        command->add_option("--frames", frames, "the frame range A-B (or the one frame A) the scripts play, as FIRST_FRAME and LAST_FRAME");

    CLI11_PARSE(app, argc, argv);
    try {
        std::optional<orbelin::app::FrameRange> frameRange;
        if (run->count("--frames") + demo->count("--frames") + exporter->count("--frames") > 0) frameRange = orbelin::app::ParseFrameRange(frames);
        if (info->parsed()) return Info(plugin);
        if (run->parsed()) return Run(script, project, plugin, FrameGlobals(frameRange));
        if (demo->parsed()) return Demo(out, plugin, only, FrameGlobals(frameRange));
        if (exporter->parsed()) {
            request.file = exportFile;
            request.colours = request.colours || !request.colourBy.empty();
            if (range.size() == 2) request.rangeMin = range[0], request.rangeMax = range[1];
            return Export(script, project, plugin, frameRange, request);
        }
    } catch (const std::exception& e) {
        std::cerr << "orbelin: " << e.what() << "\n";
        return 1;
    }
    return 0;
}
