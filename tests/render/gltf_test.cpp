// glTF files as written and read back by the library people read them with.
#include "io/gltf.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <limits>

#include "gltf_read.h"

namespace {

namespace fs = std::filesystem;
using standin::io::GltfDocument;
using standin::io::GltfMesh;
using standin::io::WriteGltf;

struct Gltf : ::testing::Test {
    fs::path dir = fs::temp_directory_path() / ("orbelin_gltf_test_" + std::to_string(::getpid()));
    Gltf() { fs::remove_all(dir); }
    ~Gltf() override { fs::remove_all(dir); }

    // Two quads side by side, moved by 5 along x, with awkward values: signed zero, a
    // subnormal, the largest float, a NaN with a payload.
    static GltfMesh Quads() {
        GltfMesh m;
        m.name = "strip";
        m.positions = {0, 0, 0, 1, 0, 0, 2, 0, 0, 0, 0, 1, 1, 0, 1, 2, 0, 1};
        m.triangles = {0, 1, 4, 0, 4, 3, 1, 2, 5, 1, 5, 4};
        m.matrix[12] = 5.0;
        float nan;
        const uint32_t bits = 0x7fc01234u;
        std::memcpy(&nan, &bits, sizeof nan);
        m.attributes.push_back({"_WEIGHT_a", {0.0f, -0.0f, std::numeric_limits<float>::denorm_min(), std::numeric_limits<float>::max(), nan, 1.0f / 3.0f}});
        m.attributes.push_back({"_WEIGHT_b", {1, 2, 3, 4, 5, 6}});
        m.colours.assign(18, 0.25f);
        m.extras["object"] = "grid";
        return m;
    }
};

TEST_F(Gltf, WhatIsWrittenReadsBackBitForBitInBothForms) {
    GltfDocument doc;
    doc.meshes.push_back(Quads());
    doc.extras["frame"] = "12";
    for (const char* name : {"strip.glb", "text/strip.gltf"}) {
        const fs::path file = dir / name;
        WriteGltf(file, doc);
        const tinygltf::Model model = gltf_read::Load(file);
        ASSERT_EQ(model.meshes.size(), 1u) << name;
        ASSERT_EQ(model.nodes.size(), 1u);
        EXPECT_EQ(model.nodes[0].name, "strip");
        EXPECT_EQ(model.nodes[0].mesh, 0);
        ASSERT_EQ(model.nodes[0].matrix.size(), 16u);
        EXPECT_EQ(model.nodes[0].matrix[12], 5.0);
        EXPECT_EQ(model.nodes[0].extras.Get("object").Get<std::string>(), "grid");
        EXPECT_EQ(model.asset.extras.Get("frame").Get<std::string>(), "12");
        ASSERT_EQ(model.scenes.size(), 1u);
        EXPECT_EQ(model.scenes[0].nodes, std::vector<int>{0});

        const tinygltf::Primitive& p = model.meshes[0].primitives.at(0);
        EXPECT_EQ(p.mode, TINYGLTF_MODE_TRIANGLES);
        EXPECT_EQ(p.attributes.size(), 4u) << "POSITION, two weights, COLOR_0";
        EXPECT_EQ(gltf_read::Values<uint32_t>(model, p.indices), doc.meshes[0].triangles);
        EXPECT_EQ(gltf_read::Attribute(model, 0, "POSITION"), doc.meshes[0].positions);
        const tinygltf::Accessor& position = model.accessors.at(static_cast<size_t>(p.attributes.at("POSITION")));
        EXPECT_EQ(position.minValues, (std::vector<double>{0, 0, 0}));
        EXPECT_EQ(position.maxValues, (std::vector<double>{2, 0, 1}));
        EXPECT_EQ(gltf_read::Attribute(model, 0, "COLOR_0"), doc.meshes[0].colours);
        EXPECT_EQ(gltf_read::Attribute(model, 0, "_WEIGHT_b"), doc.meshes[0].attributes[1].values);
        const std::vector<float> a = gltf_read::Attribute(model, 0, "_WEIGHT_a");
        ASSERT_EQ(a.size(), 6u);
        for (size_t i = 0; i < a.size(); ++i)
            EXPECT_TRUE(gltf_read::SameBits(a[i], doc.meshes[0].attributes[0].values[i])) << name << " value " << i;
    }
    EXPECT_FALSE(fs::exists(dir / "text" / "strip.bin")) << "the text form carries its data inside";
}

TEST_F(Gltf, MeshesWithoutTrianglesOrPointsAndSeveralMeshes) {
    GltfDocument doc;
    GltfMesh points;
    points.name = "cloud";
    points.positions = {0, 0, 0, 1, 1, 1};
    points.attributes.push_back({"_WEIGHT_w", {0.5f, 0.25f}});
    GltfMesh empty;
    empty.name = "nothing";
    empty.attributes.push_back({"_WEIGHT_w", {}});
    doc.meshes = {points, empty, Quads()};
    WriteGltf(dir / "mixed.glb", doc);
    const tinygltf::Model model = gltf_read::Load(dir / "mixed.glb");
    ASSERT_EQ(model.nodes.size(), 3u);
    ASSERT_EQ(model.meshes.size(), 2u);
    EXPECT_EQ(model.nodes[0].mesh, 0);
    EXPECT_EQ(model.nodes[1].mesh, -1) << "no points, no mesh";
    EXPECT_EQ(model.nodes[2].mesh, 1);
    EXPECT_TRUE(model.nodes[0].matrix.empty()) << "identity left out";
    EXPECT_EQ(model.meshes[0].primitives[0].mode, TINYGLTF_MODE_POINTS);
    EXPECT_EQ(model.meshes[0].primitives[0].indices, -1);
    EXPECT_EQ(gltf_read::Attribute(model, 0, "_WEIGHT_w"), (std::vector<float>{0.5f, 0.25f}));
    EXPECT_EQ(gltf_read::Attribute(model, 1, "_WEIGHT_b"), (std::vector<float>{1, 2, 3, 4, 5, 6}));

    // Nothing at all still makes a valid file.
    WriteGltf(dir / "none.glb", GltfDocument{});
    EXPECT_TRUE(gltf_read::Load(dir / "none.glb").nodes.empty());
}

TEST_F(Gltf, BadDocumentsAndUnwritablePlacesLeaveNoFile) {
    GltfDocument doc;
    doc.meshes.push_back(Quads());
    EXPECT_THROW(WriteGltf(dir / "strip.obj", doc), std::invalid_argument);
    GltfMesh wrongCount = Quads();
    wrongCount.attributes[1].values.pop_back();
    EXPECT_THROW(WriteGltf(dir / "a.glb", GltfDocument{{wrongCount}, {}}), std::invalid_argument);
    GltfMesh badIndex = Quads();
    badIndex.triangles[4] = 6;
    EXPECT_THROW(WriteGltf(dir / "b.glb", GltfDocument{{badIndex}, {}}), std::invalid_argument);
    GltfMesh twice = Quads();
    twice.attributes[1].name = "_WEIGHT_a";
    EXPECT_THROW(WriteGltf(dir / "d.glb", GltfDocument{{twice}, {}}), std::invalid_argument);
    twice.attributes[1].name = "POSITION";
    EXPECT_THROW(WriteGltf(dir / "d.glb", GltfDocument{{twice}, {}}), std::invalid_argument);
    GltfMesh badColours = Quads();
    badColours.colours.resize(17);
    EXPECT_THROW(WriteGltf(dir / "c.glb", GltfDocument{{badColours}, {}}), std::invalid_argument);
    EXPECT_FALSE(fs::exists(dir)) << "refused before anything was made";

    // A folder where the file should be: refused, the folder untouched.
    fs::create_directories(dir / "taken.glb");
    EXPECT_THROW(WriteGltf(dir / "taken.glb", doc), std::runtime_error);
    EXPECT_TRUE(fs::is_directory(dir / "taken.glb"));

    // A file written before is replaced whole.
    WriteGltf(dir / "kept.glb", doc);
    const auto before = fs::file_size(dir / "kept.glb");
    doc.meshes[0].attributes.pop_back();
    WriteGltf(dir / "kept.glb", doc);
    EXPECT_LT(fs::file_size(dir / "kept.glb"), before);
    EXPECT_EQ(gltf_read::Load(dir / "kept.glb").meshes.at(0).primitives.at(0).attributes.size(), 3u);
    size_t files = 0;
    for ([[maybe_unused]] const auto& e : fs::directory_iterator(dir)) ++files;
    EXPECT_EQ(files, 2u) << "no temporary left behind";
}

}  // namespace
