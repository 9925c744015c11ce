// Procedural polygon meshes, in object space, every polygon facing outward
// (counter-clockwise seen from outside).
#pragma once

#include "mesh/polymesh.h"

namespace standin::mesh {

// In the XZ plane, centred, normals +Y; (subdivU + 1) x (subdivV + 1) points, point index =
// row * (subdivU + 1) + column, columns along X, rows along Z.
PolyMesh Grid(double sizeX, double sizeZ, int subdivU, int subdivV);
// Centred, edge `length`: 8 points, 6 quads.
PolyMesh Cube(double length);
// Point 0 is the north pole (+Y), then subdivV - 1 rings of subdivU points from north to
// south, then the south pole; triangle fans at the poles, quads elsewhere.
PolyMesh Sphere(double radius, int subdivU, int subdivV);
// Along Y, centred: subdivV + 1 rings of subdivU points from bottom to top, quads between,
// and one n-gon cap at each end when `caps`.
PolyMesh Cylinder(double radius, double height, int subdivU, int subdivV, bool caps);
// In the XZ plane: subdivU sections around Y, each a ring of subdivV points around the tube.
PolyMesh Torus(double majorRadius, double minorRadius, int subdivU, int subdivV);

}  // namespace standin::mesh
