// Geometry of a primitive.
#pragma once

#include "xsi_siobject.h"
#include "xsi_point.h"
#include "xsi_facet.h"
#include "xsi_segment.h"
#include "xsi_sample.h"

namespace XSI {

class Cluster;
// Points and clusters of a primitive's geometry.
class Geometry : public SIObject {
public:
    Geometry();
    Geometry(const CRef& ref);
    Geometry(const Geometry& other) = default;
    ~Geometry() override;
    Geometry& operator=(const Geometry& other);
    Geometry& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    CPointRefArray GetPoints() const;
    CFacetRefArray GetFacets() const;
    CSegmentRefArray GetSegments() const;
    CSampleRefArray GetSamples() const;
    CRefArray GetClusters() const;
    CStatus AddCluster(const CString& type, const CString& name, const CLongArray& indices, Cluster& io_cluster);
    CStatus AddEmptyCluster(const CString& type, const CString& name, Cluster& io_cluster);
};

}  // namespace XSI
