#include "mesh/obj_import.h"

#include <tiny_obj_loader.h>

#include <filesystem>
#include <stdexcept>

namespace standin::mesh {

PolyMesh ImportObj(const std::string& path) {
    auto fail = [&](const std::string& why) { return std::runtime_error("cannot import OBJ file '" + path + "': " + why); };
    if (!std::filesystem::is_regular_file(path)) throw fail("no such file");
    tinyobj::ObjReaderConfig config;
    config.triangulate = false;
    config.vertex_color = false;
    tinyobj::ObjReader reader;
    if (!reader.ParseFromFile(path, config)) {
        std::string why = reader.Error();
        while (!why.empty() && (why.back() == '\n' || why.back() == '\r')) why.pop_back();
        throw fail(why.empty() ? "the file could not be parsed" : why);
    }
    const tinyobj::attrib_t& attrib = reader.GetAttrib();
    std::vector<Vec3> points;
    points.reserve(attrib.vertices.size() / 3);
    for (size_t i = 0; i + 2 < attrib.vertices.size(); i += 3)
        points.push_back({attrib.vertices[i], attrib.vertices[i + 1], attrib.vertices[i + 2]});
    std::vector<int32_t> offsets{0}, verts;
    for (const tinyobj::shape_t& shape : reader.GetShapes()) {
        size_t index = 0;
        for (unsigned char n : shape.mesh.num_face_vertices) {
            for (unsigned char k = 0; k < n; ++k) verts.push_back(shape.mesh.indices[index + k].vertex_index);
            index += n;
            offsets.push_back(static_cast<int32_t>(verts.size()));
        }
    }
    if (offsets.size() < 2) throw fail("it holds no polygon");
    try {
        return PolyMesh::Build(std::move(points), std::move(offsets), std::move(verts));
    } catch (const std::invalid_argument& e) {
        throw fail(e.what());
    }
}

}  // namespace standin::mesh
