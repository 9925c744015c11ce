// Polygon meshes.
#pragma once

#include "xsi_geometry.h"
#include "xsi_vertex.h"
#include "xsi_edge.h"
#include "xsi_polygonface.h"

namespace XSI {

// The geometry of a polygon mesh: vertices, edges, polygons, samples.
class PolygonMesh : public Geometry {
public:
    PolygonMesh();
    PolygonMesh(const CRef& ref);
    PolygonMesh(const PolygonMesh& other) = default;
    ~PolygonMesh() override;
    PolygonMesh& operator=(const PolygonMesh& other);
    PolygonMesh& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    CVertexRefArray GetVertices() const;
    CEdgeRefArray GetEdges() const;
    CPolygonFaceRefArray GetPolygons() const;
    CStatus Get(MATH::CVector3Array& out_vertices, CLongArray& out_polygonData) const;
};

}  // namespace XSI
