// Facets of a geometry.
#pragma once

#include "xsi_siobject.h"
#include "xsi_longarray.h"
#include "xsi_sample.h"

namespace XSI {

class CPointRefArray;
class CSegmentRefArray;
// A facet of a geometry: for meshes, a polygon.
class Facet : public SIObject {
public:
    Facet();
    Facet(const CRef& ref);
    Facet(const Facet& other) = default;
    ~Facet() override;
    Facet& operator=(const Facet& other);
    Facet& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    LONG GetIndex() const;
    CPointRefArray GetPoints() const;
    CSegmentRefArray GetSegments() const;
    LONG GetNbPoints() const;
    CSampleRefArray GetSamples() const;
};

// Facets of a geometry.
class CFacetRefArray : public CRefArray {
public:
    CFacetRefArray(LONG size = 0) : CRefArray(size) {}
    CFacetRefArray(const CRefArray& other) : CRefArray(other) {}
    CLongArray GetIndexArray() const;

};

}  // namespace XSI
