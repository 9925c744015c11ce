// Points of a geometry.
#pragma once

#include "xsi_siobject.h"
#include "xsi_vector3.h"
#include "xsi_longarray.h"
#include "xsi_sample.h"

namespace XSI {

// A point of a geometry.
class Point : public SIObject {
public:
    Point();
    Point(const CRef& ref);
    Point(const Point& other) = default;
    ~Point() override;
    Point& operator=(const Point& other);
    Point& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    LONG GetIndex() const;
    MATH::CVector3 GetPosition() const;
    CStatus PutPosition(const MATH::CVector3& position);
    MATH::CVector3 GetNormal(bool& io_valid) const;
    CSampleRefArray GetSamples() const;
};

// Points of a geometry.
class CPointRefArray : public CRefArray {
public:
    CPointRefArray(LONG size = 0) : CRefArray(size) {}
    CPointRefArray(const CRefArray& other) : CRefArray(other) {}
    CLongArray GetIndexArray() const;
    MATH::CVector3Array GetPositionArray() const;
    CStatus PutPositionArray(const MATH::CVector3Array& positions);
    MATH::CVector3Array GetNormalArray() const;
};

}  // namespace XSI
