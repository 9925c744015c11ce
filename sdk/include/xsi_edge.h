// Edges of polygon meshes.
#pragma once

#include "xsi_segment.h"
#include "xsi_vertex.h"

namespace XSI {

class CEdgeRefArray;
// An edge of a polygon mesh.
class Edge : public Segment {
public:
    Edge();
    Edge(const CRef& ref);
    Edge(const Edge& other) = default;
    ~Edge() override;
    Edge& operator=(const Edge& other);
    Edge& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    CVertexRefArray GetVertices() const;
    CVertexRefArray GetNeighborVertices(LONG distance = 1) const;
    CEdgeRefArray GetNeighborEdges(LONG distance = 1) const;
    CPolygonFaceRefArray GetNeighborPolygons(LONG distance = 1) const;
    bool GetIsBoundary() const;
};

// Edges of a polygon mesh.
class CEdgeRefArray : public CSegmentRefArray {
public:
    CEdgeRefArray(LONG size = 0) : CSegmentRefArray(size) {}
    CEdgeRefArray(const CRefArray& other) : CSegmentRefArray(other) {}
    CLongArray GetIndexArray() const;
    CVertexRefArray GetNeighborVertices(LONG distance = 1) const;
    CEdgeRefArray GetNeighborEdges(LONG distance = 1) const;
    CPolygonFaceRefArray GetNeighborPolygons(LONG distance = 1) const;
};

}  // namespace XSI
