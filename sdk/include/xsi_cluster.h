// Clusters: named subsets of a geometry's components.
#pragma once

#include "xsi_sceneitem.h"
#include "xsi_longarray.h"

namespace XSI {

// Geometry index of each element of a cluster.
class CClusterElementArray {
public:
    CClusterElementArray();
    CClusterElementArray(const CClusterElementArray& other);
    ~CClusterElementArray();
    CClusterElementArray& operator=(const CClusterElementArray& other);
    CLongArray GetArray() const;
    LONG GetCount() const;
    LONG GetItem(LONG index) const;
    LONG FindIndex(LONG element) const;

private:
    friend class Cluster;
    CRef m_cluster;
};

// A cluster of points, polygons, edges or samples.
class Cluster : public SceneItem {
public:
    Cluster();
    Cluster(const CRef& ref);
    Cluster(const Cluster& other) = default;
    ~Cluster() override;
    Cluster& operator=(const Cluster& other);
    Cluster& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    CClusterElementArray GetElements() const;
    CStatus FindIndex(LONG geometryIndex, LONG& out_clusterIndex) const;
    bool IsAlwaysComplete() const;
};

}  // namespace XSI
