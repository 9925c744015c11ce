// Primitives: the geometry-bearing part of 3D objects.
#pragma once

#include "xsi_projectitem.h"
#include "xsi_geometry.h"

namespace XSI {

// The primitive of a 3D object.
class Primitive : public ProjectItem {
public:
    Primitive();
    Primitive(const CRef& ref);
    Primitive(const Primitive& other) = default;
    ~Primitive() override;
    Primitive& operator=(const Primitive& other);
    Primitive& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    Geometry GetGeometry(double time = DBL_MAX) const;
    Geometry GetGeometry(double time, siConstructionMode mode) const;
};

}  // namespace XSI
