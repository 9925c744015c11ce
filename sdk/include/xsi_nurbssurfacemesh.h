// NURBS surface meshes.
#pragma once

#include "xsi_geometry.h"

namespace XSI {

// The geometry of a surface object: one or more NURBS surfaces.
class NurbsSurfaceMesh : public Geometry {
public:
    NurbsSurfaceMesh();
    NurbsSurfaceMesh(const CRef& ref);
    NurbsSurfaceMesh(const NurbsSurfaceMesh& other) = default;
    ~NurbsSurfaceMesh() override;
    NurbsSurfaceMesh& operator=(const NurbsSurfaceMesh& other);
    NurbsSurfaceMesh& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    CStatus GetClosestSurfacePosition(MATH::CVector3& in_pos, LONG& out_surfaceIndex, double& out_squaredDistance,
                                      double& out_u, double& out_v, MATH::CVector3& out_pos) const;
};

}  // namespace XSI
