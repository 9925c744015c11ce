// Samples (polygon nodes).
#pragma once

#include "xsi_siobject.h"
#include "xsi_longarray.h"

namespace XSI {

// A sample of a geometry: for meshes, a polygon node.
class Sample : public SIObject {
public:
    Sample();
    Sample(const CRef& ref);
    Sample(const Sample& other) = default;
    ~Sample() override;
    Sample& operator=(const Sample& other);
    Sample& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    LONG GetIndex() const;
};

// Samples of a geometry.
class CSampleRefArray : public CRefArray {
public:
    CSampleRefArray(LONG size = 0) : CRefArray(size) {}
    CSampleRefArray(const CRefArray& other) : CRefArray(other) {}
    CLongArray GetIndexArray() const;

};

}  // namespace XSI
