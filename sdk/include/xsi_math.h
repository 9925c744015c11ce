// Free math functions: mapping positions between spaces, angle units.
#pragma once

#include "sicppsdk.h"
#include "xsi_transformation.h"
#include "xsi_vector3.h"

namespace XSI::MATH {

inline constexpr double PI = 3.14159265358979323846;

inline constexpr double DegreesToRadians(double degrees) { return degrees * (PI / 180.0); }
inline constexpr double RadiansToDegrees(double radians) { return radians * (180.0 / PI); }

// pos·objectSpace: a position in the object's space, in world space.
CVector3 MapObjectPositionToWorldSpace(const CTransformation& objectSpace, const CVector3& pos);
// pos·objectSpace⁻¹: a world position, in the object's space (the full matrix is inverted,
// so non-uniform scale is handled).
CVector3 MapWorldPositionToObjectSpace(const CTransformation& objectSpace, const CVector3& pos);
// The world position of pos (given in objectSpace), expressed in targetSpace.
CVector3 MapObjectPositionToObjectSpace(const CTransformation& objectSpace, const CTransformation& targetSpace,
                                        const CVector3& pos);

}  // namespace XSI::MATH
