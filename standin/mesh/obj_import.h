// Polygon meshes from Wavefront OBJ files, read with tinyobjloader.
#pragma once

#include <string>

#include "mesh/polymesh.h"

namespace standin::mesh {

// Positions ("v") and faces ("f") only: texture coordinates, normals, lines, groups and
// materials are ignored. Polygons are kept exactly as written (no triangulation), in file
// order across groups and objects, so polygon i is the file's (i+1)-th face; points keep the
// file's order, unused ones included (isolated points).
//
// Throws std::runtime_error "cannot import OBJ file '<path>': <why>" when the file is missing
// or unreadable, cannot be parsed, holds no face, or holds a face the mesh cannot take: fewer
// than 3 corners, a vertex number out of range or repeated, more than 255 corners (the
// most tinyobjloader can report).
PolyMesh ImportObj(const std::string& path);

}  // namespace standin::mesh
