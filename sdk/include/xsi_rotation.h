// Rotations as Euler angles (radians) about X, Y and Z with a rotation order.
//
// Order siXYZ rotates about X first, then Y, then Z: with row vectors the matrix is
// Rx·Ry·Rz. Positive angles turn counter-clockwise looking down the axis (right-handed).
#pragma once

#include "sicppsdk.h"
#include "xsi_matrix4.h"
#include "xsi_vector3.h"

namespace XSI::MATH {

class CRotation {
public:
    enum RotationOrder { siXYZ = 0, siXZY = 1, siYXZ = 2, siYZX = 3, siZXY = 4, siZYX = 5 };

    CRotation() = default;
    CRotation(double x, double y, double z, RotationOrder order = siXYZ) : m_angles(x, y, z), m_order(order) {}

    CRotation& SetIdentity() { m_angles.PutNull(); return *this; }
    CRotation& SetFromXYZAnglesValues(double x, double y, double z, RotationOrder order = siXYZ) {
        m_angles.Set(x, y, z);
        m_order = order;
        return *this;
    }
    CRotation& SetFromXYZAngles(const CVector3& angles, RotationOrder order = siXYZ) {
        m_angles = angles;
        m_order = order;
        return *this;
    }
    void GetXYZAnglesValues(double& x, double& y, double& z) const { m_angles.Get(x, y, z); }
    CVector3 GetXYZAngles() const { return m_angles; }
    RotationOrder GetOrder() const { return m_order; }

    // The rotation part of a matrix whose upper 3×3 block is a pure rotation, as angles
    // in the given order.
    CRotation& SetFromMatrix4(const CMatrix4& m, RotationOrder order = siXYZ);
    // Upper 3×3 block = the rotation, no translation.
    CMatrix4 GetMatrix4() const;

    // Same orientation: compares matrices, so different angle sets or orders may be equal.
    bool EpsilonEquals(const CRotation& r, double epsilon) const { return GetMatrix4().EpsilonEquals(r.GetMatrix4(), epsilon); }
    bool Equals(const CRotation& r) const { return GetMatrix4() == r.GetMatrix4(); }
    bool operator==(const CRotation& r) const { return Equals(r); }
    bool operator!=(const CRotation& r) const { return !Equals(r); }

private:
    CVector3 m_angles;
    RotationOrder m_order = siXYZ;
};

}  // namespace XSI::MATH
