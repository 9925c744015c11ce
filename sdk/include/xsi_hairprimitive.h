// Hair primitives.
#pragma once

#include "xsi_primitive.h"

namespace XSI {

// The primitive of a hair object: strands of points.
class HairPrimitive : public Primitive {
public:
    HairPrimitive();
    HairPrimitive(const CRef& ref);
    HairPrimitive(const HairPrimitive& other) = default;
    ~HairPrimitive() override;
    HairPrimitive& operator=(const HairPrimitive& other);
    HairPrimitive& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;

};

}  // namespace XSI
