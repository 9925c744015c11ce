// Null objects.
#pragma once

#include "xsi_x3dobject.h"

namespace XSI {

// A 3D object without geometry.
class Null : public X3DObject {
public:
    Null();
    Null(const CRef& ref);
    Null(const Null& other) = default;
    ~Null() override;
    Null& operator=(const Null& other);
    Null& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;

};

}  // namespace XSI
