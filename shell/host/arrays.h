// Host objects read into plain arrays for the kernels, on the host's thread. What a kernel
// then does with them (from any thread) never goes back to the host.
#pragma once

#include <array>
#include <vector>

#include "common/function_curve.h"
#include "xsi_fcurve.h"
#include "xsi_geometry.h"
#include "xsi_longarray.h"
#include "xsi_transformation.h"

namespace orbelin {

using Vec3 = std::array<double, 3>;

// A function curve's keys, tangents, interpolation and extrapolation.
FunctionCurve ReadCurve(const XSI::FCurve& curve);

// The world positions of every point of a geometry, into `out` (its storage reused).
void ReadWorldPositions(const XSI::Geometry& geometry, const XSI::MATH::CTransformation& toWorld, std::vector<Vec3>& out);
// The world positions of the points `indices` names, in that order; an index that names no
// point gives the world origin.
void ReadWorldPositions(const XSI::Geometry& geometry, const XSI::MATH::CTransformation& toWorld,
                        const XSI::CLongArray& indices, std::vector<Vec3>& out);

}  // namespace orbelin
