#include "io/gltf.h"

#include <tiny_gltf.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>

#include "io/file_out.h"

namespace standin::io {

namespace {

constexpr int kArrayBuffer = 34962;         // vertex attributes
constexpr int kElementArrayBuffer = 34963;  // indices
constexpr int kTriangles = 4, kPoints = 0;

tinygltf::Value Extras(const std::map<std::string, std::string>& extras) {
    tinygltf::Value::Object object;
    for (const auto& [key, value] : extras) object.emplace(key, tinygltf::Value(value));
    return tinygltf::Value(std::move(object));
}

bool Identity(const std::array<double, 16>& m) {
    for (size_t i = 0; i < 16; ++i)
        if (m[i] != (i % 5 == 0 ? 1.0 : 0.0)) return false;
    return true;
}

void Check(const GltfMesh& mesh) {
    const size_t points = mesh.positions.size() / 3;
    auto fail = [&](const std::string& what) { return std::invalid_argument("glTF mesh '" + mesh.name + "': " + what); };
    if (mesh.positions.size() % 3 != 0) throw fail("positions are not three per point");
    if (mesh.triangles.size() % 3 != 0) throw fail("triangle corners are not three per triangle");
    for (uint32_t v : mesh.triangles)
        if (v >= points) throw fail("a triangle names point " + std::to_string(v) + " of " + std::to_string(points));
    for (const GltfAttribute& a : mesh.attributes) {
        if (a.values.size() != points)
            throw fail("attribute '" + a.name + "' has " + std::to_string(a.values.size()) + " values for " + std::to_string(points) + " points");
        if (a.name.empty()) throw fail("an attribute has no name");
    }
    if (!mesh.colours.empty() && mesh.colours.size() != 3 * points) throw fail("colours are not three per point");
}

// Appends `count` values as a buffer view and an accessor over it; the accessor's index.
template <class T>
int AddAccessor(tinygltf::Model& model, std::vector<unsigned char>& bytes, const std::vector<T>& values, int componentType, int type,
                int components, int target) {
    tinygltf::BufferView view;
    view.buffer = 0;
    view.byteOffset = bytes.size();
    view.byteLength = values.size() * sizeof(T);
    view.target = target;
    const size_t at = bytes.size();
    bytes.resize(at + view.byteLength);
    if (view.byteLength) std::memcpy(bytes.data() + at, values.data(), view.byteLength);
    model.bufferViews.push_back(view);

    tinygltf::Accessor accessor;
    accessor.bufferView = static_cast<int>(model.bufferViews.size() - 1);
    accessor.byteOffset = 0;
    accessor.componentType = componentType;
    accessor.type = type;
    accessor.count = values.size() / static_cast<size_t>(components);
    model.accessors.push_back(accessor);
    return static_cast<int>(model.accessors.size() - 1);
}

// The bounds glTF asks for on positions, over the finite coordinates (0 where none is).
void PositionBounds(const std::vector<float>& p, tinygltf::Accessor& accessor) {
    accessor.minValues.assign(3, std::numeric_limits<double>::infinity());
    accessor.maxValues.assign(3, -std::numeric_limits<double>::infinity());
    for (size_t i = 0; i < p.size(); ++i) {
        if (!std::isfinite(p[i])) continue;
        accessor.minValues[i % 3] = std::min(accessor.minValues[i % 3], static_cast<double>(p[i]));
        accessor.maxValues[i % 3] = std::max(accessor.maxValues[i % 3], static_cast<double>(p[i]));
    }
    for (size_t k = 0; k < 3; ++k)
        if (accessor.minValues[k] > accessor.maxValues[k]) accessor.minValues[k] = accessor.maxValues[k] = 0.0;
}

size_t DataSize(const GltfDocument& document) {
    size_t bytes = 0;
    for (const GltfMesh& m : document.meshes) {
        bytes += (m.positions.size() + m.colours.size() + m.triangles.size()) * 4;
        for (const GltfAttribute& a : m.attributes) bytes += a.values.size() * 4;
    }
    return bytes;
}

}  // namespace

void WriteGltf(const std::filesystem::path& file, const GltfDocument& document) {
    const std::string extension = file.extension().string();
    if (extension != ".glb" && extension != ".gltf")
        throw std::invalid_argument("glTF file '" + file.string() + "': the name must end in .glb (binary) or .gltf (text)");
    for (const GltfMesh& m : document.meshes) Check(m);
    // Chunk lengths in a binary file are 32-bit.
    const size_t size = DataSize(document);
    if (size > std::numeric_limits<uint32_t>::max() - (1u << 20))
        throw std::invalid_argument("glTF file '" + file.string() + "': " + std::to_string(size) + " bytes of data, over the 4 GiB a file holds");

    tinygltf::Model model;
    model.asset.version = "2.0";
    model.asset.generator = "orbelin";
    if (!document.extras.empty()) model.asset.extras = Extras(document.extras);
    model.buffers.emplace_back();
    std::vector<unsigned char>& bytes = model.buffers[0].data;
    bytes.reserve(size);
    tinygltf::Scene scene;

    for (const GltfMesh& m : document.meshes) {
        tinygltf::Node node;
        node.name = m.name;
        if (!Identity(m.matrix)) node.matrix.assign(m.matrix.begin(), m.matrix.end());
        if (!m.extras.empty()) node.extras = Extras(m.extras);
        if (!m.positions.empty()) {
            tinygltf::Primitive primitive;
            const int position = AddAccessor(model, bytes, m.positions, TINYGLTF_COMPONENT_TYPE_FLOAT, TINYGLTF_TYPE_VEC3, 3, kArrayBuffer);
            PositionBounds(m.positions, model.accessors[static_cast<size_t>(position)]);
            primitive.attributes["POSITION"] = position;
            for (const GltfAttribute& a : m.attributes)
                primitive.attributes[a.name] = AddAccessor(model, bytes, a.values, TINYGLTF_COMPONENT_TYPE_FLOAT, TINYGLTF_TYPE_SCALAR, 1, kArrayBuffer);
            if (!m.colours.empty())
                primitive.attributes["COLOR_0"] = AddAccessor(model, bytes, m.colours, TINYGLTF_COMPONENT_TYPE_FLOAT, TINYGLTF_TYPE_VEC3, 3, kArrayBuffer);
            if (!m.triangles.empty()) {
                primitive.indices = AddAccessor(model, bytes, m.triangles, TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT, TINYGLTF_TYPE_SCALAR, 1, kElementArrayBuffer);
                primitive.mode = kTriangles;
            } else {
                primitive.mode = kPoints;
            }
            tinygltf::Mesh mesh;
            mesh.name = m.name;
            mesh.primitives.push_back(std::move(primitive));
            model.meshes.push_back(std::move(mesh));
            node.mesh = static_cast<int>(model.meshes.size() - 1);
        }
        model.nodes.push_back(std::move(node));
        scene.nodes.push_back(static_cast<int>(model.nodes.size() - 1));
    }
    if (bytes.empty()) model.buffers.clear();  // glTF has no empty buffers
    if (!scene.nodes.empty()) {  // an empty scene is no valid scene: then none
        model.scenes.push_back(std::move(scene));
        model.defaultScene = 0;
    }

    const bool binary = extension == ".glb";
    WriteFileWith(file, [&](std::ostream& out) {
        tinygltf::TinyGLTF writer;
        if (!writer.WriteGltfSceneToStream(&model, out, /*prettyPrint=*/!binary, binary) || !out)
            throw std::runtime_error("cannot write " + file.string() + ": the glTF writer failed");
    });
}

}  // namespace standin::io
