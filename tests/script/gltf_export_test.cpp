// Weight maps taken out of a scene to glTF from a script, read back with the library people
// read them with: names, counts, the weights bit for bit (as the single floats weight maps
// hold), one file per frame following an animated map, and what is refused.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "../render/gltf_read.h"
#include "core/text.h"
#include "script/gltf_export.h"
#include "support.h"

namespace {

namespace fs = std::filesystem;

struct GltfExport : scripttest::Session {
    GltfExport() : Session("orbelin_gltf_export_test") {}
    // A 3 x 2 grid (12 points) moved to x = 4, with a map on all its points and one on four.
    static constexpr const char* kScene =
        "local grid = CreatePrim('Grid', 'grid', {sizex = 3, sizez = 2, subdivu = 3, subdivv = 2})\n"
        "SetTransform(grid, {pos = {4, 0, 0}})\n"
        "full = ExecuteCommand('CreateWeightMap', {'', grid, 'Full', '', false})[1]\n"
        "local w = {}\n"
        "for i = 1, 12 do w[i] = i / 7 end\n"
        "w[2] = -0.0\n"
        "w[3] = 1e-42\n"
        "SetWeights(full, w)\n"
        "local some = CreateCluster(grid, 'pnt', {0, 5, 6, 11}, 'Some')\n"
        "part = ExecuteCommand('CreateWeightMap', {'', some, 'Part', '', false})[1]\n"
        "SetWeights(part, {0.5, 0.25, 0.125, 1})\n"
        "CreatePrim('Sphere', 'ball', {radius = 1})\n";

    // Runs `code` after the scene, then the weights of the map `full` as the script reads them.
    std::vector<double> RunAndReadFull(const std::string& code) {
        const size_t from = host.GetLog().Count();
        EXPECT_EQ(Run(std::string(kScene) + code + "\nlocal w = GetWeights(full)\nfor i = 1, #w do LogMessage(string.format('%.17g', w[i])) end\n"), 0)
            << err.str();
        std::vector<double> out;
        for (size_t i = from; i < host.GetLog().Count(); ++i) out.push_back(std::stod(XSI::Host::ToUtf8(host.GetLog().entries()[i].text)));
        return out;
    }
};

TEST_F(GltfExport, MapsGoOutAsWeightAttributesOfTheirMeshes) {
    const std::vector<double> full = RunAndReadFull(
        "files = ExportGLTF('out/grid.glb', {objects = {'grid'}, colors = true})\n"
        "assert(#files == 1 and files[1]:match('out/grid.glb$'), files[1])\n"
        "ExportGLTF('out/maps.gltf', {weightmaps = {part}})\n"
        "ExportGLTF('out/all.glb')\n");
    ASSERT_EQ(full.size(), 12u);

    const tinygltf::Model grid = gltf_read::Load(dir / "out" / "grid.glb");
    ASSERT_EQ(grid.meshes.size(), 1u) << "the object asked for only";
    EXPECT_EQ(grid.nodes.at(0).name, "grid");
    ASSERT_EQ(grid.nodes[0].matrix.size(), 16u);
    EXPECT_EQ(grid.nodes[0].matrix[12], 4.0) << "the translation, column-major";
    const std::vector<float> w = gltf_read::Attribute(grid, 0, "_WEIGHT_Full");
    ASSERT_EQ(w.size(), 12u);
    for (size_t i = 0; i < 12; ++i) EXPECT_TRUE(gltf_read::SameBits(w[i], static_cast<float>(full[i]))) << i;
    EXPECT_EQ(gltf_read::Attribute(grid, 0, "_WEIGHT_Part"), (std::vector<float>{0.5f, 0, 0, 0, 0, 0.25f, 0.125f, 0, 0, 0, 0, 1}))
        << "points outside the cluster read 0";
    EXPECT_EQ(gltf_read::Attribute(grid, 0, "POSITION").size(), 36u);
    const tinygltf::Primitive& p = grid.meshes[0].primitives.at(0);
    EXPECT_EQ(gltf_read::Values<uint32_t>(grid, p.indices).size(), 6u * 2 * 3) << "six quads as two triangles each";
    const std::vector<float> colours = gltf_read::Attribute(grid, 0, "COLOR_0");
    ASSERT_EQ(colours.size(), 36u);
    EXPECT_LT(colours[2], colours[3 * 11 + 2] + 1.0f);
    for (float c : colours) EXPECT_TRUE(c >= 0.0f && c <= 1.0f) << c;
    EXPECT_NE(grid.nodes[0].extras.Get("_WEIGHT_Full").Get<std::string>().find("Full"), std::string::npos) << "names its map";

    const tinygltf::Model maps = gltf_read::Load(dir / "out" / "maps.gltf");
    ASSERT_EQ(maps.meshes.size(), 1u);
    EXPECT_EQ(maps.meshes[0].primitives[0].attributes.count("_WEIGHT_Full"), 0u) << "only the map asked for";
    EXPECT_EQ(maps.meshes[0].primitives[0].attributes.count("_WEIGHT_Part"), 1u);

    const tinygltf::Model all = gltf_read::Load(dir / "out" / "all.glb");
    ASSERT_EQ(all.meshes.size(), 2u) << "every mesh of the scene";
    EXPECT_EQ(all.nodes.at(1).name, "ball");
    EXPECT_EQ(all.meshes[1].primitives[0].attributes.size(), 1u) << "a mesh without maps: positions only";
}

TEST_F(GltfExport, OneFilePerFrameFollowsAnAnimatedMap) {
    ASSERT_EQ(host.LoadPlugin(ORBELIN_PLUGIN_PATH), XSI::CStatus::OK);
    const std::string scene =
        "local floor = CreatePrim('Grid', 'floor', {sizex = 10, sizez = 10, subdivu = 6, subdivv = 6})\n"
        "CreateNull('n')\n"
        "SetTransform('n', {pos = {-5, 0, 0}}, 1)\n"
        "SetTransform('n', {pos = {5, 0, 0}}, 4)\n"
        "SelectObj(floor)\n"
        "ExecuteCommand('Orbelin_zrProximityMapApplyCmd', {})\n"
        "map = 'floor.polymsh.cls.WeightMapCls.ProximityWeightMap'\n"
        "ExecuteCommand('Orbelin_zrProximityMapAddConnexionCmd', {map .. '_ProximityMap', 'n'})\n"
        "SetValue(map .. '_ProximityMap.Far', 6)\n"
        "SetFrame(2)\n"
        "files = ExportGLTF('bake/floor.glb', {weightmaps = {map}, frames = {first = 1, last = 4}})\n"
        "assert(#files == 4, #files)\n"
        "assert(GetFrame() == 2, 'the frame is put back')\n"
        "ExportGLTF('bake/hash_###.glb', {weightmaps = {map}, frames = {-1, 3}})\n"
        "ExportGLTF('bake/one_####.gltf', {weightmaps = {map}, frames = 7})\n"
        "for f = 1, 4 do\n"
        "  SetFrame(f)\n"
        "  WriteWeightsCSV(map, string.format('bake/floor.%04d.csv', f))\n"
        "end\n";
    ASSERT_EQ(Run(scene), 0) << err.str();
    for (const char* name : {"hash_-001.glb", "hash_003.glb", "one_0007.gltf"}) EXPECT_TRUE(fs::exists(dir / "bake" / name)) << name;

    std::vector<float> previous;
    for (int f = 1; f <= 4; ++f) {
        char stem[32];
        std::snprintf(stem, sizeof stem, "floor.%04d", f);
        const tinygltf::Model model = gltf_read::Load(dir / "bake" / (std::string(stem) + ".glb"));
        EXPECT_EQ(model.asset.extras.Get("frame").Get<std::string>(), std::to_string(f));
        const std::vector<float> w = gltf_read::Attribute(model, 0, "_WEIGHT_ProximityWeightMap");
        std::ifstream csv(dir / "bake" / (std::string(stem) + ".csv"));
        std::string line;
        std::getline(csv, line);
        size_t i = 0;
        for (; std::getline(csv, line); ++i) {
            const double weight = std::stod(line.substr(line.rfind(',') + 1));
            ASSERT_LT(i, w.size());
            EXPECT_TRUE(gltf_read::SameBits(w[i], static_cast<float>(weight))) << "frame " << f << " point " << i;
        }
        EXPECT_EQ(i, w.size());
        EXPECT_NE(w, previous) << "the map moves with the null";
        previous = w;
    }
}

TEST_F(GltfExport, WhatCannotBeExportedIsRefusedAndNothingWritten) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"ExportGLTF('x.obj')", "must end in .glb (binary) or .gltf (text)"},
        {"ExportGLTF('x.glb', {objects = {'nosuch'}})", "'nosuch' is not a polygon mesh object"},
        {"ExportGLTF('x.glb', {weightmaps = {'grid'}})", "'grid' is not a weight map"},
        {"ExportGLTF('x.glb', {frames = {1.5}})", "frames must be whole numbers"},
        {"ExportGLTF('x.glb', {frames = {first = 3, last = 1}})", "last frame before its first"},
        {"ExportGLTF('x.glb', {frames = {}})", "names no frame"},
        {"ExportGLTF('x.glb', {frames = 0/0})", "frames must be whole numbers"},
        {"ExportGLTF('x.glb', {colour = true})", "unknown option 'colour'"},
        {"ExportGLTF('x.glb', {colormap = 'rainbow'})", "unknown colour map 'rainbow'"},
        {"ExportGLTF('x.glb', {range = {1, 0}})", "the smaller first"},
        {"ExportGLTF('x.glb', {colors = 'ball'})", "'ball' is not a weight map"},
    };
    EXPECT_EQ(Run("ExportGLTF('x.glb')"), 1) << "an empty scene";
    EXPECT_NE(err.str().find("there is no polygon mesh to export"), std::string::npos) << err.str();
    for (const auto& [code, message] : cases) {
        err.str("");
        EXPECT_EQ(Run(std::string(kScene) + code), 1) << code;
        EXPECT_NE(err.str().find(message), std::string::npos) << code << "\n" << err.str();
    }
    EXPECT_FALSE(fs::exists(dir / "x.glb"));

    // Stopped between frames (Ctrl-C during a script): the files of the frames before stay.
    standin::GltfExportRequest request;
    request.file = dir / "stop_#.glb";
    request.objects = {"grid"};
    request.frames = {1, 2, 3, 4};
    int asked = 0;
    request.keepGoing = [&] { return ++asked <= 2; };
    EXPECT_THROW(standin::ExportGltf(host, request), std::runtime_error);
    EXPECT_TRUE(fs::exists(dir / "stop_1.glb") && fs::exists(dir / "stop_2.glb"));
    EXPECT_FALSE(fs::exists(dir / "stop_3.glb"));
}

}  // namespace

namespace {

// `orbelin export` as people run it: the script first, then one file per frame of the range.
TEST(GltfExportCommand, RunsTheScriptThenWritesEachFrame) {
    const fs::path dir = fs::temp_directory_path() / ("orbelin_export_command_" + std::to_string(::getpid()));
    fs::remove_all(dir);
    fs::create_directories(dir);
    std::ofstream(dir / "scene.lua") << "local g = CreatePrim('Grid', 'g', {subdivu = 2, subdivv = 2})\n"
                                        "local m = ExecuteCommand('CreateWeightMap', {'', g, 'W', '', false})[1]\n"
                                        "SetWeights(m, {0, 0.25, 0.5, 0.75, 1, 0.75, 0.5, 0.25, 0})\n"
                                        "SetTransform(g, {pos = {0, 0, 0}}, 1)\n"
                                        "SetTransform(g, {pos = {0, 3, 0}}, 3)\n";
    const std::string command = scripttest::ShellQuoted(ORBELIN_COMMAND_PATH) + " export scene.lua 'out/g_##.gltf' --frames 1-3 --colors --range 0,2" +
                                " --plugin " + scripttest::ShellQuoted(ORBELIN_PLUGIN_PATH) + " --project " + scripttest::ShellQuoted(dir.string());
    std::string output;
    ASSERT_EQ(scripttest::RunCommand(command, dir / "log", output), 0) << output;
    for (int f = 1; f <= 3; ++f) {
        const fs::path file = dir / "out" / ("g_0" + std::to_string(f) + ".gltf");
        EXPECT_NE(output.find(file.string()), std::string::npos) << output;
        const tinygltf::Model model = gltf_read::Load(file);
        ASSERT_EQ(model.meshes.size(), 1u);
        EXPECT_EQ(gltf_read::Attribute(model, 0, "_WEIGHT_W"), (std::vector<float>{0, 0.25f, 0.5f, 0.75f, 1, 0.75f, 0.5f, 0.25f, 0}));
        const std::vector<double>& matrix = model.nodes.at(0).matrix;  // left out when it is the identity
        EXPECT_NEAR(matrix.empty() ? 0.0 : matrix.at(13), 1.5 * (f - 1), 1e-9) << "the object's height at frame " << f;
        EXPECT_EQ(matrix.empty(), f == 1);
        // Colours over 0..2: the highest weight, 1, sits in the middle of the map, not at its end.
        const std::vector<float> colours = gltf_read::Attribute(model, 0, "COLOR_0");
        ASSERT_EQ(colours.size(), 27u);
        EXPECT_NE(colours[3 * 4 + 1], colours[0 + 1]);
    }
    // A bad range is refused before the script runs.
    std::string reversed = command;
    reversed.replace(reversed.find("--frames 1-3"), 12, "--frames 3-1");
    EXPECT_EQ(scripttest::RunCommand(reversed, dir / "log", output), 1) << output;
    EXPECT_NE(output.find("reversed"), std::string::npos) << output;
    EXPECT_EQ(scripttest::RunCommand(scripttest::ShellQuoted(ORBELIN_COMMAND_PATH) + " export scene.lua g.png --plugin " +
                                         scripttest::ShellQuoted(ORBELIN_PLUGIN_PATH) + " --project " + scripttest::ShellQuoted(dir.string()),
                                     dir / "log", output),
              1);
    EXPECT_NE(output.find("must end in .glb (binary) or .gltf (text)"), std::string::npos) << output;
    fs::remove_all(dir);
}

}  // namespace
