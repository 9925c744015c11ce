// Meshes with per-vertex values out to glTF 2.0, for viewers and packages that read it.
//
// Each mesh becomes a node (its object-to-world matrix) with one triangle primitive: POSITION
// (single floats, with the bounds glTF asks for), the triangles as 32-bit indices, one SCALAR
// single-float attribute per named value set (application attributes start with an
// underscore, as "_WEIGHT_Weight_Map"), and COLOR_0 (linear RGB floats) when colours are given.
// A mesh with points but no triangles is written as points; one without points as a node only.
// Everything sits in one buffer: inside the file for ".glb" (binary), as a base64 data URI
// for ".gltf" (text), so every file stands alone.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace standin::io {

struct GltfAttribute {
    std::string name;           // the attribute's name, as written
    std::vector<float> values;  // one per point
};

struct GltfMesh {
    std::string name;
    std::vector<float> positions;     // x, y, z per point, in object space
    std::vector<uint32_t> triangles;  // three point indices each
    // Object to world, column-major as glTF stores it (the identity by default).
    std::array<double, 16> matrix{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    std::vector<GltfAttribute> attributes;
    std::vector<float> colours;                // empty, or r, g, b per point (linear)
    std::map<std::string, std::string> extras;  // written as the node's "extras"
};

struct GltfDocument {
    std::vector<GltfMesh> meshes;
    std::map<std::string, std::string> extras;  // the asset's "extras"
};

// Writes the file whole or not at all (see WriteFileWhole), creating its folders. Throws
// std::invalid_argument for a name that ends neither in ".glb" nor ".gltf", attribute or
// colour counts that do not match the points, a triangle index naming no point, or more than
// 4 GiB of data; std::runtime_error naming the file when it cannot be written.
void WriteGltf(const std::filesystem::path& file, const GltfDocument& document);

}  // namespace standin::io
