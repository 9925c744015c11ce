// Cluster properties: per-element values such as weight maps.
#pragma once

#include "xsi_property.h"
#include "xsi_doublearray.h"

namespace XSI {

// The values of a cluster property, one block of GetValueSize() doubles per cluster element.
class CClusterPropertyElementArray {
public:
    CClusterPropertyElementArray();
    CClusterPropertyElementArray(const CClusterPropertyElementArray& other);
    ~CClusterPropertyElementArray();
    CClusterPropertyElementArray& operator=(const CClusterPropertyElementArray& other);
    CDoubleArray GetArray() const;
    CStatus PutArray(const CDoubleArray& values);
    LONG GetCount() const;
    LONG GetValueSize() const;
    CDoubleArray GetItem(LONG index) const;
    CStatus PutItem(LONG index, const CDoubleArray& values);

private:
    friend class ClusterProperty;
    CRef m_property;
};

// A property holding values per cluster element.
class ClusterProperty : public Property {
public:
    ClusterProperty();
    ClusterProperty(const CRef& ref);
    ClusterProperty(const ClusterProperty& other) = default;
    ~ClusterProperty() override;
    ClusterProperty& operator=(const ClusterProperty& other);
    ClusterProperty& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    CClusterPropertyElementArray GetElements() const;
    LONG GetValueSize() const;
    siClusterPropertyType GetPropertyType() const;
};

}  // namespace XSI
