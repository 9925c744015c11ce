// Transformations: scaling, rotation and translation.
//
// A point p in object space maps to p·S·R·T (scale, then rotate, then translate). Rotation
// angles are radians about X, Y, Z applied in the transformation's rotation order (XYZ by
// default). Mul(a, b) is "a then b".
//
// The full matrix is what maps points, so products and inverses are exact even when they
// are not a plain S·R·T (non-uniform scale under a rotation gives shear). The scaling,
// rotation and translation read back exactly what the Set* calls put; after SetMatrix4,
// Mul or Invert they are decomposed from the matrix (shear, if any, is not reported),
// and a later Set* of one part rebuilds the matrix from the three parts.
#pragma once

#include "sicppsdk.h"
#include "xsi_matrix4.h"
#include "xsi_rotation.h"
#include "xsi_vector3.h"

namespace XSI::MATH {

class CTransformation {
public:
    CTransformation() = default;

    CTransformation& SetIdentity();

    CTransformation& SetTranslationFromValues(double x, double y, double z);
    void GetTranslationValues(double& x, double& y, double& z) const { m_pos.Get(x, y, z); }
    void SetTranslation(const CVector3& v) { SetTranslationFromValues(v.GetX(), v.GetY(), v.GetZ()); }
    CVector3 GetTranslation() const { return m_pos; }
    void SetPosX(const double& x) { SetTranslationFromValues(x, m_pos.GetY(), m_pos.GetZ()); }
    void SetPosY(const double& y) { SetTranslationFromValues(m_pos.GetX(), y, m_pos.GetZ()); }
    void SetPosZ(const double& z) { SetTranslationFromValues(m_pos.GetX(), m_pos.GetY(), z); }
    double GetPosX() const { return m_pos.GetX(); }
    double GetPosY() const { return m_pos.GetY(); }
    double GetPosZ() const { return m_pos.GetZ(); }

    // Radians; the first form keeps the current rotation order.
    CTransformation& SetRotationFromXYZAnglesValues(double x, double y, double z);
    CTransformation& SetRotationFromXYZAnglesValues(double x, double y, double z, CRotation::RotationOrder order);
    void GetRotationFromXYZAnglesValues(double& x, double& y, double& z) const { m_rot.GetXYZAnglesValues(x, y, z); }
    void SetRotationFromXYZAngles(const CVector3& angles) { SetRotationFromXYZAnglesValues(angles.GetX(), angles.GetY(), angles.GetZ()); }
    CVector3 GetRotationXYZAngles() const { return m_rot.GetXYZAngles(); }
    void SetRotation(const CRotation& r);
    CRotation GetRotation() const { return m_rot; }
    CRotation::RotationOrder GetRotationOrder() const { return m_rot.GetOrder(); }

    CTransformation& SetScalingFromValues(double x, double y, double z);
    void GetScalingValues(double& x, double& y, double& z) const { m_scl.Get(x, y, z); }
    void SetScaling(const CVector3& s) { SetScalingFromValues(s.GetX(), s.GetY(), s.GetZ()); }
    CVector3 GetScaling() const { return m_scl; }

    CMatrix4 GetMatrix4() const { return m_matrix; }
    // Keeps the current rotation order for the decomposed angles.
    void SetMatrix4(const CMatrix4& m);

    // this = this then t.
    CTransformation& MulInPlace(const CTransformation& t) { return Mul(*this, t); }
    // this = a then b; either may be this transformation.
    CTransformation& Mul(const CTransformation& a, const CTransformation& b);
    // No change to this transformation when the one inverted is singular (a zero scale).
    CTransformation& InvertInPlace() { return Invert(*this); }
    CTransformation& Invert(const CTransformation& t);

    // Compare the mappings (the matrices).
    bool Equals(const CTransformation& t) const { return m_matrix == t.m_matrix; }
    bool EpsilonEquals(const CTransformation& t, double epsilon) const { return m_matrix.EpsilonEquals(t.m_matrix, epsilon); }
    bool operator==(const CTransformation& t) const { return Equals(t); }
    bool operator!=(const CTransformation& t) const { return !Equals(t); }

private:
    friend class CVector3;
    void Compose();
    void Decompose();

    CVector3 m_scl{1.0, 1.0, 1.0};
    CRotation m_rot;
    CVector3 m_pos;
    CMatrix4 m_matrix;  // m_scl · m_rot · m_pos unless set whole
};

}  // namespace XSI::MATH
