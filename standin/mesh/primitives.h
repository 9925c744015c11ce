// Procedural polygon meshes, in object space (Y up, right-handed), centred at the origin.
//
// Every polygon faces outward: its corners run counter-clockwise seen from outside, so its
// Newell normal (PolyMesh::PolygonNormals) points out; the grid's face +Y. "Around Y" angles
// start at +X and turn counter-clockwise seen from +Y, i.e. from +X towards -Z.
//
// Arguments that make no sense throw std::invalid_argument: a subdivision below the minimum
// given with each function, a negative or non-finite size, or so many subdivisions that the
// corners would not fit int32 indices. Zero sizes are accepted (a flat, degenerate mesh).
#pragma once

#include "mesh/polymesh.h"

namespace standin::mesh {

// In the XZ plane, y = 0, spanning [-sizeX/2, sizeX/2] x [-sizeZ/2, sizeZ/2]. subdivU >= 1
// columns of quads along X, subdivV >= 1 rows along Z: (subdivU + 1) * (subdivV + 1) points,
// point index = row * (subdivU + 1) + column, row 0 at z = -sizeZ/2 and column 0 at
// x = -sizeX/2. Quad index = row * subdivU + column; quad (r, c) has corners (r, c),
// (r + 1, c), (r + 1, c + 1), (r, c + 1) in (row, column) terms.
PolyMesh Grid(double sizeX, double sizeZ, int subdivU, int subdivV);
// Edge `length`: point i has x, y, z = +length/2 where bit 0, 1, 2 of i is set, -length/2
// otherwise. Quads in the order -X, +X, -Y, +Y, -Z, +Z.
PolyMesh Cube(double length);
// A UV sphere: point 0 is the north pole (+Y), then subdivV - 1 rings of subdivU points from
// north to south (ring j, 1-based, at polar angle pi * j / subdivV; point i of a ring at
// 2 pi i / subdivU around Y), then the south pole: subdivU * (subdivV - 1) + 2 points.
// Polygons: the north fan of subdivU triangles, the quads ring band by ring band, the south
// fan; each pole has valence subdivU. subdivU >= 3, subdivV >= 2.
PolyMesh Sphere(double radius, int subdivU, int subdivV);
// Along Y, from y = -height/2 to height/2: subdivV + 1 rings of subdivU points from bottom
// to top (point index = ring * subdivU + i, i around Y), subdivU * subdivV side quads ring
// band by band, then with `caps` one subdivU-gon at the bottom and one at the top.
// subdivU >= 3, subdivV >= 1.
PolyMesh Cylinder(double radius, double height, int subdivU, int subdivV, bool caps);
// Around Y, in the XZ plane: subdivU sections around Y, each a ring of subdivV points around
// the tube (point index = section * subdivV + j, point j at angle 2 pi j / subdivV from the
// outside of the tube towards +Y). subdivU * subdivV quads, the same numbering as the points.
// subdivU >= 3, subdivV >= 3.
PolyMesh Torus(double majorRadius, double minorRadius, int subdivU, int subdivV);

}  // namespace standin::mesh
