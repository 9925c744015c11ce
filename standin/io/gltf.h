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
#include <memory>
#include <span>
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

// The same file filled in place, for large meshes: the shapes first, then each mesh's arrays
// are written straight into the file's data (no copy of the gathered arrays), then Write.
struct GltfMeshShape {
    std::string name;
    size_t points = 0, triangles = 0;
    std::vector<std::string> attributes;  // names, in order
    bool colours = false;
    std::array<double, 16> matrix{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    std::map<std::string, std::string> extras;
};

class GltfFile {
public:
    // Throws std::invalid_argument for an attribute without a name or with the name of
    // another (POSITION and COLOR_0 included), or more than 4 GiB of data.
    explicit GltfFile(std::vector<GltfMeshShape> meshes);
    ~GltfFile();
    GltfFile(const GltfFile&) = delete;
    GltfFile& operator=(const GltfFile&) = delete;

    // Each mesh's arrays, as long as its shape says (x, y, z per point; three indices per
    // triangle; a value per point; r, g, b per point). They start out undefined: fill them all.
    std::span<float> Positions(size_t mesh);
    std::span<uint32_t> Triangles(size_t mesh);
    std::span<float> Attribute(size_t mesh, size_t attribute);
    std::span<float> Colours(size_t mesh);  // empty without colours

    // Works out the bounds of a mesh's positions once they are filled, for a filler that does
    // it while they are in cache (on its own thread, as it touches only that mesh); Write
    // works out those of the meshes left without.
    void SetPositionBounds(size_t mesh);

    // Writes as WriteGltf does, with `extras` as the asset's. The triangles' indices are the
    // filler's to keep below the point count (they are not checked here).
    void Write(const std::filesystem::path& file, const std::map<std::string, std::string>& extras = {});

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace standin::io
