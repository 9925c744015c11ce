// Polygons of polygon meshes.
#pragma once

#include "xsi_facet.h"
#include "xsi_vertex.h"
#include "xsi_edge.h"

namespace XSI {

class CPolygonFaceRefArray;
// A polygon of a polygon mesh.
class PolygonFace : public Facet {
public:
    PolygonFace();
    PolygonFace(const CRef& ref);
    PolygonFace(const PolygonFace& other) = default;
    ~PolygonFace() override;
    PolygonFace& operator=(const PolygonFace& other);
    PolygonFace& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    CVertexRefArray GetVertices() const;
    CEdgeRefArray GetEdges() const;
    CVertexRefArray GetNeighborVertices(LONG distance = 1) const;
    CEdgeRefArray GetNeighborEdges(LONG distance = 1) const;
    CPolygonFaceRefArray GetNeighborPolygons(LONG distance = 1) const;
};

// Polygons of a polygon mesh.
class CPolygonFaceRefArray : public CFacetRefArray {
public:
    CPolygonFaceRefArray(LONG size = 0) : CFacetRefArray(size) {}
    CPolygonFaceRefArray(const CRefArray& other) : CFacetRefArray(other) {}
    CLongArray GetIndexArray() const;
    CVertexRefArray GetNeighborVertices(LONG distance = 1) const;
    CEdgeRefArray GetNeighborEdges(LONG distance = 1) const;
    CPolygonFaceRefArray GetNeighborPolygons(LONG distance = 1) const;
    MATH::CVector3Array GetNormalArray() const;
};

}  // namespace XSI
