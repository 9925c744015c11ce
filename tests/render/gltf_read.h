// Reading glTF files back in tests, with the library people read them with: the model, and an
// accessor's values exactly as stored.
#pragma once

#include <gtest/gtest.h>
#include <tiny_gltf.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace gltf_read {

inline tinygltf::Model Load(const std::filesystem::path& file) {
    tinygltf::TinyGLTF loader;
    tinygltf::Model model;
    std::string error, warning;
    const bool ok = file.extension() == ".glb" ? loader.LoadBinaryFromFile(&model, &error, &warning, file.string())
                                               : loader.LoadASCIIFromFile(&model, &error, &warning, file.string());
    EXPECT_TRUE(ok) << file << ": " << error;
    EXPECT_TRUE(warning.empty()) << warning;
    return model;
}

// An accessor's components, copied from the buffer as they lie (4-byte components, packed).
template <class T>
std::vector<T> Values(const tinygltf::Model& model, int accessorIndex) {
    static_assert(sizeof(T) == 4);
    const tinygltf::Accessor& a = model.accessors.at(static_cast<size_t>(accessorIndex));
    const tinygltf::BufferView& view = model.bufferViews.at(static_cast<size_t>(a.bufferView));
    const tinygltf::Buffer& buffer = model.buffers.at(static_cast<size_t>(view.buffer));
    const size_t components = static_cast<size_t>(tinygltf::GetNumComponentsInType(static_cast<uint32_t>(a.type)));
    std::vector<T> out(a.count * components);
    const size_t at = view.byteOffset + a.byteOffset, bytes = out.size() * sizeof(T);
    EXPECT_LE(at + bytes, buffer.data.size());
    EXPECT_LE(a.byteOffset + bytes, view.byteLength);
    if (at + bytes <= buffer.data.size()) std::memcpy(out.data(), buffer.data.data() + at, bytes);
    return out;
}

// The attribute of a mesh's first primitive, as floats (empty, with a failure, when missing).
inline std::vector<float> Attribute(const tinygltf::Model& model, size_t mesh, const std::string& name) {
    const auto& attributes = model.meshes.at(mesh).primitives.at(0).attributes;
    auto it = attributes.find(name);
    if (it == attributes.end()) {
        ADD_FAILURE() << "no attribute " << name;
        return {};
    }
    EXPECT_EQ(model.accessors.at(static_cast<size_t>(it->second)).componentType, TINYGLTF_COMPONENT_TYPE_FLOAT);
    return Values<float>(model, it->second);
}

inline bool SameBits(float a, float b) { return std::memcmp(&a, &b, sizeof a) == 0; }

}  // namespace gltf_read
