// Polygon meshes from Wavefront OBJ files: positions and faces, polygons kept as written.
#pragma once

#include <string>

#include "mesh/polymesh.h"

namespace standin::mesh {

// Throws std::runtime_error naming the file and the problem (missing, unreadable, no faces,
// a face the mesh cannot hold).
PolyMesh ImportObj(const std::string& path);

}  // namespace standin::mesh
