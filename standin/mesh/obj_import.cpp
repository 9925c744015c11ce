#include "mesh/obj_import.h"

#include <tiny_obj_loader.h>

#include <filesystem>
#include <stdexcept>

namespace standin::mesh {

namespace {

std::string TrimLineEnds(std::string s) {
    while (!s.empty() && (s.back() == '\n' || s.back() == '\r')) s.pop_back();
    return s;
}

}  // namespace

PolyMesh ImportObj(const std::string& path) {
    auto fail = [&](const std::string& why) { return std::runtime_error("cannot import OBJ file '" + path + "': " + why); };
    std::error_code ec;
    const auto status = std::filesystem::status(path, ec);
    if (!std::filesystem::exists(status)) throw fail("no such file");
    if (!std::filesystem::is_regular_file(status)) throw fail("not a regular file");

    tinyobj::ObjReaderConfig config;
    config.triangulate = false;
    config.vertex_color = false;
    tinyobj::ObjReader reader;
    if (!reader.ParseFromFile(path, config)) {
        std::string why = TrimLineEnds(reader.Error());
        throw fail(why.empty() ? "the file could not be parsed" : why);
    }
    // tinyobjloader drops faces of fewer than 3 corners with only a warning; the polygons after
    // them would then not match the file's face numbers, so such a file is refused.
    if (reader.Warning().find("Degenerated face") != std::string::npos)
        throw fail("a face has fewer than 3 corners");

    const tinyobj::attrib_t& attrib = reader.GetAttrib();
    const size_t pointCount = attrib.vertices.size() / 3;
    std::vector<Vec3> points;
    points.reserve(pointCount);
    for (size_t i = 0; i < pointCount; ++i)
        points.push_back({attrib.vertices[3 * i], attrib.vertices[3 * i + 1], attrib.vertices[3 * i + 2]});

    std::vector<int32_t> offsets{0}, verts;
    size_t face = 0;
    for (const tinyobj::shape_t& shape : reader.GetShapes()) {
        const tinyobj::mesh_t& mesh = shape.mesh;
        // Corner counts are stored as unsigned char: a face of 256 corners or more comes back
        // with its count wrapped, which shows as counts that no longer add up to the indices.
        size_t total = 0;
        for (unsigned char n : mesh.num_face_vertices) total += n;
        if (total != mesh.indices.size()) throw fail("a face has more than 255 corners, more than tinyobjloader can read");
        size_t index = 0;
        for (unsigned char n : mesh.num_face_vertices) {
            ++face;
            for (size_t k = 0; k < n; ++k) {
                const int v = mesh.indices[index + k].vertex_index;
                // Reported in the file's terms: faces and vertices numbered from 1.
                // (A negative index is a relative one that reached back before the first vertex.)
                if (v < 0)
                    throw fail("face " + std::to_string(face) + " refers to a vertex before the first one");
                if (static_cast<size_t>(v) >= pointCount)
                    throw fail("face " + std::to_string(face) + " refers to vertex " + std::to_string(static_cast<long long>(v) + 1) +
                               ", but the file defines " + std::to_string(pointCount) + " vertices");
                verts.push_back(v);
            }
            index += n;
            offsets.push_back(static_cast<int32_t>(verts.size()));
        }
    }
    if (face == 0) throw fail(pointCount == 0 ? "no geometry: the file holds no vertex and no face" : "no geometry: the file holds no face");
    try {
        return PolyMesh::Build(std::move(points), std::move(offsets), std::move(verts));
    } catch (const std::invalid_argument& e) {
        throw fail(std::string(e.what()) + " (polygons numbered from 0 in file order)");
    }
}

}  // namespace standin::mesh
