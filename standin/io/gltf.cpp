#include "io/gltf.h"

#include <tiny_gltf.h>

#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

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
    uint32_t highest = 0;
    for (uint32_t v : mesh.triangles) highest = std::max(highest, v);
    if (!mesh.triangles.empty() && highest >= points) throw fail("a triangle names point " + std::to_string(highest) + " of " + std::to_string(points));
    for (const GltfAttribute& a : mesh.attributes) {
        if (a.values.size() != points)
            throw fail("attribute '" + a.name + "' has " + std::to_string(a.values.size()) + " values for " + std::to_string(points) + " points");
    }
    if (!mesh.colours.empty() && mesh.colours.size() != 3 * points) throw fail("colours are not three per point");
}

// The bounds glTF asks for on positions, over the finite coordinates (0 where none is). Four
// points at a time into twelve running bounds, which the compiler keeps in vector registers;
// NaN fails every comparison and so never enters a bound, and a bound left infinite sends the
// axis through the careful loop.
void PositionBounds(std::span<const float> p, tinygltf::Accessor& accessor) {
    constexpr float kInf = std::numeric_limits<float>::infinity();
    float lo[12], hi[12];
    std::fill(lo, lo + 12, kInf);
    std::fill(hi, hi + 12, -kInf);
    const size_t blocks = p.size() / 12 * 12;
    for (size_t i = 0; i < blocks; i += 12)
        for (size_t j = 0; j < 12; ++j) {
            lo[j] = p[i + j] < lo[j] ? p[i + j] : lo[j];
            hi[j] = p[i + j] > hi[j] ? p[i + j] : hi[j];
        }
    for (size_t i = blocks; i < p.size(); ++i) {
        lo[i % 3] = p[i] < lo[i % 3] ? p[i] : lo[i % 3];
        hi[i % 3] = p[i] > hi[i % 3] ? p[i] : hi[i % 3];
    }
    accessor.minValues.assign(3, 0.0);
    accessor.maxValues.assign(3, 0.0);
    for (size_t k = 0; k < 3; ++k) {
        float l = kInf, h = -kInf;
        for (size_t j = k; j < 12; j += 3) l = std::min(l, lo[j]), h = std::max(h, hi[j]);
        if (std::isinf(l) || std::isinf(h)) {  // an infinite coordinate, or none at all
            l = kInf, h = -kInf;
            for (size_t i = k; i < p.size(); i += 3)
                if (std::isfinite(p[i])) l = std::min(l, p[i]), h = std::max(h, p[i]);
        }
        if (l <= h) accessor.minValues[k] = l, accessor.maxValues[k] = h;
    }
}

// Chunk lengths in a binary file are 32-bit.
constexpr size_t kMostData = std::numeric_limits<uint32_t>::max() - (1u << 20);

}  // namespace

struct GltfFile::Impl {
    tinygltf::Model model;  // the document; its one buffer's bytes are kept apart, in `data`
    std::vector<GltfMeshShape> shapes;
    // Per mesh: the accessors of its positions, triangles, attributes and colours (-1: none).
    struct Accessors {
        int positions = -1, triangles = -1, colours = -1;
        std::vector<int> attributes;
    };
    std::vector<Accessors> accessors;
    // Left as the allocator gives it (no zeroing of what is about to be filled), and never
    // copied on the way to a binary file.
    std::unique_ptr<unsigned char[]> data;
    size_t size = 0;

    // Lays out `count` values of `components` 4-byte components as a view and an accessor.
    int Add(size_t count, int componentType, int type, int components, int target) {
        tinygltf::BufferView view;
        view.buffer = 0;
        view.byteOffset = size;
        view.byteLength = count * static_cast<size_t>(components) * 4;
        view.target = target;
        size += view.byteLength;
        model.bufferViews.push_back(view);
        tinygltf::Accessor accessor;
        accessor.bufferView = static_cast<int>(model.bufferViews.size() - 1);
        accessor.componentType = componentType;
        accessor.type = type;
        accessor.count = count;
        model.accessors.push_back(accessor);
        return static_cast<int>(model.accessors.size() - 1);
    }

    template <class T>
    std::span<T> Data(int accessor) {
        if (accessor < 0) return {};
        const tinygltf::Accessor& a = model.accessors[static_cast<size_t>(accessor)];
        const tinygltf::BufferView& view = model.bufferViews[static_cast<size_t>(a.bufferView)];
        // Every view starts at a multiple of 4 in a block from the allocator: aligned.
        return {reinterpret_cast<T*>(data.get() + view.byteOffset), view.byteLength / sizeof(T)};
    }
};

GltfFile::GltfFile(std::vector<GltfMeshShape> meshes) : m_impl(std::make_unique<Impl>()) {
    size_t size = 0;
    for (const GltfMeshShape& m : meshes) {
        std::set<std::string> names{"POSITION", "COLOR_0"};
        for (const std::string& name : m.attributes)
            if (name.empty() || !names.insert(name).second)
                throw std::invalid_argument("glTF mesh '" + m.name + "': an attribute without a name, or two named '" + name + "'");
        // Counted in doubles so that no product overflows before the comparison.
        const double bytes = 4.0 * (static_cast<double>(m.points) * (3.0 + static_cast<double>(m.attributes.size()) + (m.colours ? 3.0 : 0.0)) +
                                    3.0 * static_cast<double>(m.triangles));
        if (bytes > static_cast<double>(kMostData - size))
            throw std::invalid_argument("glTF mesh '" + m.name + "': over the 4 GiB of data a file holds");
        size += static_cast<size_t>(bytes);
    }
    Impl& d = *m_impl;
    d.model.asset.version = "2.0";
    d.model.asset.generator = "orbelin";
    d.data.reset(new unsigned char[std::max<size_t>(size, 1)]);
    tinygltf::Scene scene;
    for (const GltfMeshShape& m : meshes) {
        tinygltf::Node node;
        node.name = m.name;
        if (!Identity(m.matrix)) node.matrix.assign(m.matrix.begin(), m.matrix.end());
        if (!m.extras.empty()) node.extras = Extras(m.extras);
        Impl::Accessors a;
        a.attributes.assign(m.attributes.size(), -1);  // a mesh without points has empty arrays
        if (m.points > 0) {
            tinygltf::Primitive primitive;
            a.positions = d.Add(m.points, TINYGLTF_COMPONENT_TYPE_FLOAT, TINYGLTF_TYPE_VEC3, 3, kArrayBuffer);
            primitive.attributes["POSITION"] = a.positions;
            for (size_t i = 0; i < m.attributes.size(); ++i)
                primitive.attributes[m.attributes[i]] = a.attributes[i] =
                    d.Add(m.points, TINYGLTF_COMPONENT_TYPE_FLOAT, TINYGLTF_TYPE_SCALAR, 1, kArrayBuffer);
            if (m.colours) primitive.attributes["COLOR_0"] = a.colours = d.Add(m.points, TINYGLTF_COMPONENT_TYPE_FLOAT, TINYGLTF_TYPE_VEC3, 3, kArrayBuffer);
            primitive.mode = m.triangles > 0 ? kTriangles : kPoints;
            if (m.triangles > 0)
                primitive.indices = a.triangles =
                    d.Add(3 * m.triangles, TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT, TINYGLTF_TYPE_SCALAR, 1, kElementArrayBuffer);
            tinygltf::Mesh mesh;
            mesh.name = m.name;
            mesh.primitives.push_back(std::move(primitive));
            d.model.meshes.push_back(std::move(mesh));
            node.mesh = static_cast<int>(d.model.meshes.size() - 1);
        }
        d.accessors.push_back(std::move(a));
        d.model.nodes.push_back(std::move(node));
        scene.nodes.push_back(static_cast<int>(d.model.nodes.size() - 1));
    }
    if (!scene.nodes.empty()) {                                    // an empty scene is no valid scene: then none
        d.model.scenes.push_back(std::move(scene));
        d.model.defaultScene = 0;
    }
    d.shapes = std::move(meshes);
}

GltfFile::~GltfFile() = default;

std::span<float> GltfFile::Positions(size_t mesh) { return m_impl->Data<float>(m_impl->accessors.at(mesh).positions); }
std::span<uint32_t> GltfFile::Triangles(size_t mesh) { return m_impl->Data<uint32_t>(m_impl->accessors.at(mesh).triangles); }
std::span<float> GltfFile::Attribute(size_t mesh, size_t attribute) { return m_impl->Data<float>(m_impl->accessors.at(mesh).attributes.at(attribute)); }
void GltfFile::SetPositionBounds(size_t mesh) {
    const int position = m_impl->accessors.at(mesh).positions;
    if (position >= 0) PositionBounds(Positions(mesh), m_impl->model.accessors[static_cast<size_t>(position)]);
}

std::span<float> GltfFile::Colours(size_t mesh) { return m_impl->Data<float>(m_impl->accessors.at(mesh).colours); }

void GltfFile::Write(const std::filesystem::path& file, const std::map<std::string, std::string>& extras) {
    const std::string extension = file.extension().string();
    if (extension != ".glb" && extension != ".gltf")
        throw std::invalid_argument("glTF file '" + file.string() + "': the name must end in .glb (binary) or .gltf (text)");
    Impl& d = *m_impl;
    for (size_t i = 0; i < d.shapes.size(); ++i) {
        const int position = d.accessors[i].positions;
        if (position >= 0 && d.model.accessors[static_cast<size_t>(position)].minValues.empty())
            PositionBounds(Positions(i), d.model.accessors[static_cast<size_t>(position)]);
    }
    d.model.asset.extras = extras.empty() ? tinygltf::Value() : Extras(extras);
    const auto failed = [&] { return std::runtime_error("cannot write " + file.string() + ": the glTF writer failed"); };
    if (extension == ".gltf") {
        // The text form carries the data inside, as base64: the library writes it all.
        tinygltf::Model model = d.model;
        if (d.size > 0) {  // glTF has no empty buffers
            model.buffers.emplace_back();
            model.buffers[0].data.assign(d.data.get(), d.data.get() + d.size);
        }
        WriteFileWith(file, [&](std::ostream& out) {
            if (!tinygltf::TinyGLTF().WriteGltfSceneToStream(&model, out, /*prettyPrint=*/true, /*writeBinary=*/false) || !out) throw failed();
        });
        return;
    }
    // The library would copy the whole buffer before writing a binary file, which for a large
    // mesh costs as much as a third of the write. So it serialises the document without the
    // buffer, the buffer's entry (its length only: the binary chunk) is added to its text, and
    // the container around the two chunks is framed here: a 12-byte header, then each chunk as
    // its length, its type and its bytes padded to 4 (the text with spaces, the data with zeros).
    std::ostringstream text;
    if (!tinygltf::TinyGLTF().WriteGltfSceneToStream(&d.model, text, /*prettyPrint=*/false, /*writeBinary=*/false)) throw failed();
    nlohmann::json document = nlohmann::json::parse(text.str());
    if (d.size > 0) document["buffers"] = nlohmann::json::array({{{"byteLength", d.size}}});
    std::string json = document.dump();
    json.resize((json.size() + 3) / 4 * 4, ' ');
    const size_t dataLength = (d.size + 3) / 4 * 4;
    const size_t total = 12 + 8 + json.size() + (d.size > 0 ? 8 + dataLength : 0);
    if (total > std::numeric_limits<uint32_t>::max())
        throw std::invalid_argument("glTF file '" + file.string() + "': " + std::to_string(total) + " bytes, over the 4 GiB a binary file holds");
    WriteFileWith(file, [&](std::ostream& out) {
        const auto word = [&](uint32_t v) {
            const unsigned char bytes[4] = {static_cast<unsigned char>(v), static_cast<unsigned char>(v >> 8), static_cast<unsigned char>(v >> 16),
                                            static_cast<unsigned char>(v >> 24)};
            out.write(reinterpret_cast<const char*>(bytes), 4);
        };
        constexpr uint32_t kMagic = 0x46546C67, kVersion = 2, kJson = 0x4E4F534A, kBin = 0x004E4942;  // "glTF", "JSON", "BIN\0"
        word(kMagic), word(kVersion), word(static_cast<uint32_t>(total));
        word(static_cast<uint32_t>(json.size())), word(kJson);
        out.write(json.data(), static_cast<std::streamsize>(json.size()));
        if (d.size > 0) {
            word(static_cast<uint32_t>(dataLength)), word(kBin);
            out.write(reinterpret_cast<const char*>(d.data.get()), static_cast<std::streamsize>(d.size));
            out.write("\0\0\0", static_cast<std::streamsize>(dataLength - d.size));
        }
    });
}

void WriteGltf(const std::filesystem::path& file, const GltfDocument& document) {
    std::vector<GltfMeshShape> shapes;
    for (const GltfMesh& m : document.meshes) {
        Check(m);
        GltfMeshShape shape{m.name, m.positions.size() / 3, m.triangles.size() / 3, {}, !m.colours.empty(), m.matrix, m.extras};
        for (const GltfAttribute& a : m.attributes) shape.attributes.push_back(a.name);
        shapes.push_back(std::move(shape));
    }
    GltfFile out(std::move(shapes));
    const auto copy = [](const auto& from, auto to) { std::copy(from.begin(), from.end(), to.begin()); };
    for (size_t i = 0; i < document.meshes.size(); ++i) {
        const GltfMesh& m = document.meshes[i];
        copy(m.positions, out.Positions(i));
        copy(m.triangles, out.Triangles(i));
        copy(m.colours, out.Colours(i));
        for (size_t a = 0; a < m.attributes.size(); ++a) copy(m.attributes[a].values, out.Attribute(i, a));
    }
    out.Write(file, document.extras);
}

}  // namespace standin::io
