// Segments of a geometry.
#pragma once

#include "xsi_siobject.h"
#include "xsi_longarray.h"
#include "xsi_sample.h"

namespace XSI {

class CPointRefArray;
// A segment of a geometry: for meshes, an edge.
class Segment : public SIObject {
public:
    Segment();
    Segment(const CRef& ref);
    Segment(const Segment& other) = default;
    ~Segment() override;
    Segment& operator=(const Segment& other);
    Segment& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    LONG GetIndex() const;
    CPointRefArray GetPoints() const;
    CSampleRefArray GetSamples() const;
};

// Segments of a geometry.
class CSegmentRefArray : public CRefArray {
public:
    CSegmentRefArray(LONG size = 0) : CRefArray(size) {}
    CSegmentRefArray(const CRefArray& other) : CRefArray(other) {}
    CLongArray GetIndexArray() const;

};

}  // namespace XSI
