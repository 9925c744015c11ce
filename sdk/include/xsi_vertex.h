// Vertices of polygon meshes.
#pragma once

#include "xsi_point.h"

namespace XSI {

class CEdgeRefArray;
class CPolygonFaceRefArray;
// A vertex of a polygon mesh.
class CVertexRefArray;

class Vertex : public Point {
public:
    Vertex();
    Vertex(const CRef& ref);
    Vertex(const Vertex& other) = default;
    ~Vertex() override;
    Vertex& operator=(const Vertex& other);
    Vertex& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    CVertexRefArray GetNeighborVertices(LONG distance = 1) const;
    CEdgeRefArray GetNeighborEdges(LONG distance = 1) const;
    CPolygonFaceRefArray GetNeighborPolygons(LONG distance = 1) const;
    bool GetIsBoundary() const;
};

// Vertices of a polygon mesh.
class CVertexRefArray : public CPointRefArray {
public:
    CVertexRefArray(LONG size = 0) : CPointRefArray(size) {}
    CVertexRefArray(const CRefArray& other) : CPointRefArray(other) {}
    CLongArray GetIndexArray() const;
    CRef GetItem(LONG index) const override;
    CVertexRefArray GetNeighborVertices(LONG distance = 1) const;
    CEdgeRefArray GetNeighborEdges(LONG distance = 1) const;
    CPolygonFaceRefArray GetNeighborPolygons(LONG distance = 1) const;
};

}  // namespace XSI
