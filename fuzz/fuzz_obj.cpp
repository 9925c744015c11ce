// OBJ import from any text: a mesh or a std::runtime_error, nothing else.
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string_view>

#include "mesh/obj_import.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    try {
        standin::mesh::PolyMesh m = standin::mesh::ImportObjText(std::string_view(reinterpret_cast<const char*>(data), size), "fuzz.obj");
        // Walk what was built: every polygon's corners are points of the mesh.
        for (int p = 0; p < m.PolygonCount(); ++p)
            for (int v : m.PolygonVertices(p))
                if (v < 0 || v >= m.VertexCount()) __builtin_trap();
    } catch (const std::runtime_error&) {
    }
    return 0;
}
