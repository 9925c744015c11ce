// Models, the scene root among them.
#pragma once

#include "xsi_x3dobject.h"

namespace XSI {

// A model: a 3D object that groups other objects.
class Model : public X3DObject {
public:
    Model();
    Model(const CRef& ref);
    Model(const Model& other) = default;
    ~Model() override;
    Model& operator=(const Model& other);
    Model& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;

};

}  // namespace XSI
