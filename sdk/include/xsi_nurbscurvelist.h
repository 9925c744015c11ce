// NURBS curve lists.
#pragma once

#include "xsi_boolarray.h"
#include "xsi_doublearray.h"
#include "xsi_geometry.h"
#include "xsi_longarray.h"
#include "xsi_nurbscurve.h"

namespace XSI {

// The geometry of a curve object: one or more NURBS curves.
class NurbsCurveList : public Geometry {
public:
    NurbsCurveList();
    NurbsCurveList(const CRef& ref);
    NurbsCurveList(const NurbsCurveList& other) = default;
    ~NurbsCurveList() override;
    NurbsCurveList& operator=(const NurbsCurveList& other);
    NurbsCurveList& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    CNurbsCurveRefArray GetCurves() const;
    CStatus GetClosestCurvePosition(MATH::CVector3& in_pos, LONG& out_curveIndex, double& out_squaredDistance,
                                    double& out_u, MATH::CVector3& out_pos) const;
    CStatus GetLength(double& out_length) const;
    CStatus GetClosed(bool& out_closed) const;
    // Every curve's description, curve after curve: control points as x, y, z, w (four
    // values each), knots, and per curve the counts of both, closedness, degree and knot
    // parameterisation. The stand-in gives the siIGESNurbs form only.
    CStatus Get(siNurbsFormat in_format, CDoubleArray& out_controlPoints, CLongArray& out_numControlPoints,
                CDoubleArray& out_knots, CLongArray& out_numKnots, CBoolArray& out_closed, CLongArray& out_degree,
                CLongArray& out_parameterization) const;
};

}  // namespace XSI
