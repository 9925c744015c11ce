// Polygon meshes from Wavefront OBJ files, read with tinyobjloader.
#pragma once

#include <string>
#include <string_view>

#include "mesh/polymesh.h"

namespace standin::mesh {

// Positions ("v") and faces ("f") only: texture coordinates, normals, lines, groups and
// materials are ignored. Polygons are kept exactly as written (no triangulation), in file
// order across groups and objects, so polygon i is the file's (i+1)-th face; points keep the
// file's order, unused ones included (isolated points).
//
// Material libraries are not read. A UTF-8 byte-order mark at the start is skipped.
//
// Throws std::runtime_error "cannot import OBJ file '<path>': <why>" when the file is missing
// or unreadable, cannot be parsed, holds no face, or holds a face the mesh cannot take: no
// corner or fewer than 3, a corner that is not a vertex number, a vertex number out of range,
// 0 or repeated, more than 255 corners (the most tinyobjloader can report). Errors about one
// face name its line and its number, both counted from 1.
PolyMesh ImportObj(const std::string& path);

// The same from the file's text; `name` stands for the path in errors.
PolyMesh ImportObjText(std::string_view text, const std::string& name);

}  // namespace standin::mesh
