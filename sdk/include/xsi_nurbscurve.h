// NURBS curves.
#pragma once

#include "xsi_siobject.h"
#include "xsi_vector3.h"

namespace XSI {

// One curve of a curve list.
class NurbsCurve : public SIObject {
public:
    NurbsCurve();
    NurbsCurve(const CRef& ref);
    NurbsCurve(const NurbsCurve& other) = default;
    ~NurbsCurve() override;
    NurbsCurve& operator=(const NurbsCurve& other);
    NurbsCurve& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    CStatus GetNormalizedUFromU(double u, double& out_normalizedU) const;
    CStatus GetUFromNormalizedU(double normalizedU, double& out_u) const;
    CStatus EvaluatePosition(double u, MATH::CVector3& out_pos, MATH::CVector3& out_tangent, MATH::CVector3& out_normal,
                             MATH::CVector3& out_binormal) const;
    CStatus GetLength(double& out_length) const;
    CStatus GetDegree(LONG& out_degree) const;
    CStatus GetClosed(bool& out_closed) const;
    LONG GetIndex() const;
};

// Curves of a curve list.
class CNurbsCurveRefArray : public CRefArray {
public:
    CNurbsCurveRefArray(LONG size = 0) : CRefArray(size) {}
    CNurbsCurveRefArray(const CRefArray& other) : CRefArray(other) {}
};

}  // namespace XSI
